// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The frame kernels for x86-64 processors with AVX-512 F, BW, VL, DQ and VBMI. This file is compiled for them, so it
// must not emit anything that the linker could share with other files: everything has internal linkage.
#if defined(__GNUC__) && !defined(__clang__) && __GNUC__ < 13
// GCC bug 105593: the "undefined" operands inside its own AVX-512 intrinsics are reported.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"
#endif
#include <immintrin.h>

#include "kernels/FrameKernels.h"
#include "kernels/KernelTable.h"

namespace VexaFrames {
namespace Avx512 {
namespace {

using namespace Vexa::Kernels;

/// Serves what is too short for these registers.
constexpr const FrameKernels& kFallback = kAvx2FrameKernels;

#include "kernels/vector/Avx512Vbmi.inc"

#include "kernels/simd/Blocks.inc"

template <size_t kStep>
inline constexpr size_t kOverread = 64 - 4 * kStep;

template <class Order, size_t kStep>
struct OfOneLoad {
    static constexpr size_t At(size_t i) { return i / 16 * kStep + Order::At(i % 16); }
};

template <class Order, size_t kStep>
[[gnu::always_inline]] inline U8 LoadShuffled(const uint8_t* from) {
    return Permute<OfOneLoad<Order, kStep>>(Load<U8>(from));
}

#include "kernels/FrameRows.inc"

}  // namespace
}  // namespace Avx512

constinit const FrameKernels kAvx512FrameKernels = Avx512::MakeFrameKernels("avx512");

}  // namespace VexaFrames
