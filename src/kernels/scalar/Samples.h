// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Reading samples, storing pixels and reducing means to 8 bits, each rule once. Shared by the scalar kernels and the
// border code of the converters.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kernels/KernelTable.h"

namespace Vexa::Kernels {

/// An 8-bit frame's sample at an index.
struct Sample8 {
    static constexpr size_t kBytes = 1;
    static uint32_t At(const uint8_t* samples, size_t index) { return samples[index]; }
};

/// A 16-bit frame's sample: a little-endian word, at any address.
struct Sample16 {
    static constexpr size_t kBytes = 2;
    static uint32_t At(const uint8_t* samples, size_t index) {
        return samples[2 * index] | static_cast<uint32_t>(samples[2 * index + 1]) << 8;
    }
};

template <Layout layout>
void StorePixel(uint8_t* dst, size_t pixel, uint32_t blue, uint32_t green, uint32_t red) {
    uint8_t* out = dst + pixel * kBytesPerPixel<layout>;
    out[0] = static_cast<uint8_t>(blue);
    out[1] = static_cast<uint8_t>(green);
    out[2] = static_cast<uint8_t>(red);
    if constexpr (layout == kBgra) {
        out[3] = 0xFF;
    }
}

/// Truncated means of 1 to 4 samples, brought down by a right shift that is folded into the division. The caller
/// keeps the low 8 bits. Required: every count is taken modulo 32, and the divisor of three wraps in 32 bits.
struct MeanReduction {
    uint32_t shift = 0;  ///< below 32

    uint32_t Own(uint32_t sample) const { return sample >> shift; }
    uint32_t OfTwo(uint32_t sum) const { return sum >> ((shift + 1) & 31); }
    uint32_t OfThree(uint32_t sum) const { return sum / (3u << shift); }
    uint32_t OfFour(uint32_t sum) const { return sum >> ((shift + 2) & 31); }

    bool CountsWrap() const { return shift >= 30; }
};

}  // namespace Vexa::Kernels
