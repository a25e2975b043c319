// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See FrameWriter.h.
#include "output/FrameWriter.h"

#include "Failure.h"

namespace VexaTool {

FrameWriter::FrameWriter(OutputPlan& plan, ResultNames names, const RawShape& tight)
    : plan_(plan),
      names_(std::move(names)),
      tight_(tight),
      keepsAll_(!names_.FilePerFrame() && plan_.Keeps(names_.Of(0))) {
    if (keepsAll_) {
        plan_.CountSkipped();
    } else if (!names_.FilePerFrame()) {
        file_ = std::make_unique<OutputFile>(names_.Of(0), plan_.Options().Rules());
    }
}

void FrameWriter::Write(uint64_t frame, Bytes bytes) {
    if (names_.FilePerFrame()) {
        const std::string path = names_.Of(frame);
        plan_.CheckFrame(path);
        plan_.Write(path, bytes, tight_);
        return;
    }
    if (frame > 0 && !names_.TakesMany()) {
        throw Failure(ExitCode::kUsage, "there is more than one frame for " + names_.Of(0) +
                                            "; number the outputs (out_%05d." + ExtensionOf(plan_.Options().kind) +
                                            "), or use --output-dir or --frame");
    }
    file_->Write(bytes);
}

void FrameWriter::Commit() {
    if (file_) {
        file_->Commit();
        plan_.WriteSidecarOf(names_.Of(0), tight_);
    }
}

}  // namespace VexaTool
