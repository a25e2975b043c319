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
    bool KeepsAll() const { return m_keepsAll; }

    /// True when the file of this frame exists and is to stay.
    bool Keeps(uint64_t frame) const { return m_names.FilePerFrame() && m_plan.Keeps(m_names.Of(frame)); }

    /// True when nothing of all frames remains unless Commit succeeds.
    bool AllOrNothing() const { return m_file && !m_file->WritesDirectly(); }

    void Write(uint64_t frame, Bytes bytes);

    /// After the last frame.
    void Commit();

  private:
    OutputPlan& m_plan;
    ResultNames m_names;
    RawShape m_tight;
    bool m_keepsAll;
    std::unique_ptr<OutputFile> m_file;
};

}  // namespace VexaTool
