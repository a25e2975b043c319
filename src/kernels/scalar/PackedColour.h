// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Runs of packed-colour pixels, one after another: three samples per pixel.
#pragma once

#include "kernels/scalar/Samples.h"

namespace Vexa::Kernels::Scalar {

template <class Sample, ColourOrder order, Layout layout>
void PackedColour(uint8_t* dst, const uint8_t* src, size_t count, uint32_t shift) {
    constexpr size_t kBlueAt = order == kBgrOrder ? 0 : 2;
    constexpr size_t kRedAt = 2 - kBlueAt;
    for (size_t i = 0; i < count; ++i) {
        StorePixel<layout>(dst, i, Sample::At(src, 3 * i + kBlueAt) >> shift, Sample::At(src, 3 * i + 1) >> shift,
                           Sample::At(src, 3 * i + kRedAt) >> shift);
    }
}

template <ColourOrder order, Layout layout>
void PackedColour8(uint8_t* dst, const uint8_t* src, size_t count) {
    PackedColour<Sample8, order, layout>(dst, src, count, 0);
}

template <ColourOrder order, Layout layout>
void PackedColourN(uint8_t* dst, const uint8_t* src, size_t count, uint32_t shift) {
    PackedColour<Sample16, order, layout>(dst, src, count, shift);
}

}  // namespace Vexa::Kernels::Scalar
