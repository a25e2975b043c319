// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Writes the frames of one input in their order: all into one file, or each into its own.
#pragma once

#include <functional>
#include <memory>

#include "output/OutputPlan.h"

namespace VexaTool {

class FrameWriter {
  public:
    /// After OutputPlan::Begin. `tight` is the shape of the frames that are written as raw ones.
    FrameWriter(OutputPlan& plan, ResultNames names, const RawShape& tight);

    /// True when the one file for all frames exists and is to stay.
    bool KeepsAll() const { return keepsAll_; }

    /// True when the file of this frame exists and is to stay.
    bool Keeps(uint64_t frame) const { return names_.FilePerFrame() && plan_.Keeps(names_.Of(frame)); }

    /// True when nothing of all frames remains unless Commit succeeds.
    bool AllOrNothing() const { return file_ && !file_->WritesDirectly(); }

    void Write(uint64_t frame, Bytes bytes);

    /// After the last frame.
    void Commit();

  private:
    OutputPlan& plan_;
    ResultNames names_;
    RawShape tight_;
    bool keepsAll_;
    std::unique_ptr<OutputFile> file_;
};

}  // namespace VexaTool
