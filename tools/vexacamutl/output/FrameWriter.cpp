// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See FrameWriter.h.
#include "output/FrameWriter.h"

#include "Failure.h"

namespace VexaTool {

FrameWriter::FrameWriter(OutputPlan& plan, ResultNames names, const RawShape& tight)
    : m_plan(plan),
      m_names(std::move(names)),
      m_tight(tight),
      m_keepsAll(!m_names.FilePerFrame() && m_plan.Keeps(m_names.Of(0))) {
    if (m_keepsAll) {
        m_plan.CountSkipped();
    } else if (!m_names.FilePerFrame()) {
        m_file = std::make_unique<OutputFile>(m_names.Of(0), m_plan.Options().Rules());
    }
}

void FrameWriter::Write(uint64_t frame, Bytes bytes) {
    if (m_names.FilePerFrame()) {
        const std::string path = m_names.Of(frame);
        m_plan.CheckFrame(path);
        m_plan.Write(path, bytes, m_tight);
        return;
    }
    if (frame > 0 && !m_names.TakesMany()) {
        throw Failure(ExitCode::kUsage, "there is more than one frame for " + m_names.Of(0) +
                                            "; number the outputs (out_%05d." + ExtensionOf(m_plan.Options().kind) +
                                            "), or use --output-dir or --frame");
    }
    m_file->Write(bytes);
}

void FrameWriter::Commit() {
    if (m_file) {
        m_file->Commit();
        m_plan.WriteSidecarOf(m_names.Of(0), m_tight);
    }
}

}  // namespace VexaTool
