// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The frames of one input in their order, whether it is a mapped file or a stream.
#pragma once

#include <memory>

#include "input/FrameSource.h"

namespace VexaTool {

class FrameFeed {
  public:
    FrameFeed(const std::string& path, const InputOptions& options);

    const RawShape& Shape() const;

    /// How many frames there will be, if that is known.
    std::optional<uint64_t> Count() const;

    /// The next frame: the mapped bytes themselves, or bytes read into `buffer`. False after the last one.
    /// An input without any frame is a Failure.
    bool Next(Bytes& frame, std::vector<uint8_t>& buffer);

  private:
    std::string m_path;
    std::unique_ptr<MappedFrames> m_mapped;
    std::unique_ptr<FrameStream> m_stream;
    uint64_t m_most;
    uint64_t m_given = 0;
};

}  // namespace VexaTool
