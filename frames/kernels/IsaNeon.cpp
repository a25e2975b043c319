// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The frame kernels for 64-bit ARM processors. This file is compiled for them, so it must not emit
// anything that the linker could share with other files: everything has internal linkage.
#include <arm_neon.h>

#include "kernels/FrameKernels.h"
#include "kernels/KernelTable.h"

namespace VexaFrames {
namespace Neon {
namespace {

using namespace Vexa::Kernels;

/// Serves what is too short for these registers.
constexpr const FrameKernels& kFallback = kScalarFrameKernels;

#include "kernels/vector/Neon.inc"

#include "kernels/simd/Blocks.inc"

#include "kernels/LoadShuffled128.inc"

[[gnu::always_inline]] inline I32 SumOfProducts(I16 a, I16 b) {
    const int32x4_t low = vmull_s16(vget_low_s16(Raw(a)), vget_low_s16(Raw(b)));
    return reinterpret_cast<I32>(vpaddq_s32(low, vmull_high_s16(Raw(a), Raw(b))));
}

#include "kernels/FrameRows.inc"

}  // namespace
}  // namespace Neon

constinit const FrameKernels kNeonFrameKernels = Neon::MakeFrameKernels("neon");

}  // namespace VexaFrames
