// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The frame kernels for x86-64 processors with AVX2. This file is compiled for them, so it must not emit
// anything that the linker could share with other files: everything has internal linkage.
#include <immintrin.h>

#include "kernels/FrameKernels.h"
#include "kernels/KernelTable.h"

namespace VexaFrames {
namespace Avx2 {
namespace {

using namespace Vexa::Kernels;

/// Serves what is too short for these registers.
constexpr const FrameKernels& kFallback = kSseFrameKernels;

#include "kernels/vector/Avx2.inc"

#include "kernels/simd/Blocks.inc"

template <size_t kStep>
inline constexpr size_t kOverread = 16 - kStep;

template <class Order>
struct InBothBlocks {
    static constexpr size_t At(size_t i) { return Order::At(i % 16); }
};

template <class Order, size_t kStep>
[[gnu::always_inline]] inline U8 LoadShuffled(const uint8_t* from) {
    const __m128i first = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
    const __m128i second = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + kStep));
    return Shuffle128<InBothBlocks<Order>>(reinterpret_cast<U8>(_mm256_set_m128i(second, first)));
}

[[gnu::always_inline]] inline I32 SumOfProducts(I16 a, I16 b) {
    return reinterpret_cast<I32>(_mm256_madd_epi16(Raw(a), Raw(b)));
}

#include "kernels/FrameRows.inc"

}  // namespace
}  // namespace Avx2

constinit const FrameKernels kAvx2FrameKernels = Avx2::MakeFrameKernels("avx2");

}  // namespace VexaFrames
