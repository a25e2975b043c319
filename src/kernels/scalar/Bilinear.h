// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// One row of bilinear demosaicing, plainly: the columns that have a neighbour on both sides.
//
//     above   . v .      at a green site: X is the mean of the two h, Z of the two v
//     row     h G h      at an X site:    green is the mean of the four neighbours on the edges,
//     below   . v .                       Z the mean of the four on the corners
#pragma once

#include "kernels/scalar/Samples.h"

namespace Vexa::Kernels::Scalar {

template <class Sample, GreenRule rule, RowKind kind, Layout layout>
void BayerColumns(uint8_t* dst, const uint8_t* above, const uint8_t* row, const uint8_t* below, size_t width,
                  MeanReduction mean) {
    for (size_t c = 1; c + 1 < width; ++c) {
        const uint32_t own = Sample::At(row, c);
        const uint32_t sides = Sample::At(row, c - 1) + Sample::At(row, c + 1);
        const uint32_t verticals = Sample::At(above, c) + Sample::At(below, c);
        uint32_t green = 0;
        uint32_t x = 0;
        uint32_t z = 0;
        if ((c % 2 == 0) == kStartsWithGreen<kind>) {
            green = mean.Own(own);
            x = mean.OfTwo(sides);
            z = mean.OfTwo(verticals);
        } else {
            const uint32_t corners = Sample::At(above, c - 1) + Sample::At(above, c + 1) + Sample::At(below, c - 1) +
                                     Sample::At(below, c + 1);
            x = mean.Own(own);
            z = mean.OfFour(corners);
            if constexpr (rule == kFourGreens) {
                green = mean.OfFour(sides + verticals);
            } else if constexpr (rule == kThreeGreens) {
                green = mean.OfThree(sides + Sample::At(below, c));
            } else {
                green = mean.OfTwo(sides);
            }
        }
        StorePixel<layout>(dst, c, kHoldsRed<kind> ? z : x, green, kHoldsRed<kind> ? x : z);
    }
}

}  // namespace Vexa::Kernels::Scalar
