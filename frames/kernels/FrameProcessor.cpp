// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The ladder of tables. The choice is made when the library is loaded; until then the scalar kernels serve. The compiler's
// runtime knows the processor and whether the operating system saves its registers.
#include "kernels/FrameProcessor.h"

#include <algorithm>

namespace VexaFrames {

namespace {

constexpr const FrameKernels* kLadder[] = {
    &kScalarFrameKernels,
};

[[gnu::constructor]] void ChooseAtLoad() {
    for (const FrameKernels* kernels : kLadder) {
        if (!CanRunFrameKernels(*kernels)) {
            return;
        }
        s_frameKernels = kernels;
    }
}

}  // namespace

std::span<const FrameKernels* const> AllFrameKernels() {
    return kLadder;
}

bool CanRunFrameKernels(const FrameKernels& kernels) {
    return &kernels == &kScalarFrameKernels;
}

}  // namespace VexaFrames
