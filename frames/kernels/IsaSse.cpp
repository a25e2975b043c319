// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The frame kernels for x86-64 processors with SSE4.1. This file is compiled for them, so it must not emit
// anything that the linker could share with other files: everything has internal linkage.
#include <immintrin.h>

#include "kernels/FrameKernels.h"
#include "kernels/KernelTable.h"

namespace VexaFrames {
namespace Sse {
namespace {

using namespace Vexa::Kernels;

/// Serves what is too short for these registers.
constexpr const FrameKernels& kFallback = kScalarFrameKernels;

#include "kernels/vector/Sse.inc"

#include "kernels/simd/Blocks.inc"

#include "kernels/LoadShuffled128.inc"

[[gnu::always_inline]] inline I32 SumOfProducts(I16 a, I16 b) {
    return reinterpret_cast<I32>(_mm_madd_epi16(Raw(a), Raw(b)));
}

#include "kernels/FrameRows.inc"

}  // namespace
}  // namespace Sse

constinit const FrameKernels kSseFrameKernels = Sse::MakeFrameKernels("sse4.1");

}  // namespace VexaFrames
