// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Runs of YUV groups, one after another, by the tables of PrepareLUT.
#pragma once

#include "catalogue/VexaCamUtl.h"
#include "kernels/scalar/Samples.h"

namespace Vexa::Kernels::Scalar {

/// One pixel; `row` is the green row of (u, v).
template <Layout layout>
void StoreYuv(uint8_t* dst, size_t pixel, size_t y, size_t u, size_t v, size_t row) {
    if constexpr (layout == kBgra) {
        const uint32_t bgra = auiYUV2G[row * 256 + y] + auiYV2R[v * 256 + y] + aucYU2B[u * 256 + y];
        StorePixel<layout>(dst, pixel, bgra, bgra >> 8, bgra >> 16);
    } else {
        StorePixel<layout>(dst, pixel, aucYU2B[u * 256 + y], aucYUV2G[row * 256 + y], aucYV2R[v * 256 + y]);
    }
}

/// Groups of kStride bytes with U in byte 0, V in byte kVAt and luma in the bytes kLumaAt.
template <Layout layout, size_t kStride, size_t kVAt, size_t... kLumaAt>
void YuvGroups(uint8_t* dst, const uint8_t* src, size_t count) {
    size_t pixel = 0;
    for (size_t i = 0; i < count; ++i) {
        const uint8_t* group = src + i * kStride;
        const size_t u = group[0];
        const size_t v = group[kVAt];
        const size_t row = auiYUVC_UV[u * 256 + v];
        (StoreYuv<layout>(dst, pixel++, group[kLumaAt], u, v, row), ...);
    }
}

template <Layout layout>
void Yuv411(uint8_t* dst, const uint8_t* src, size_t count) {
    YuvGroups<layout, 6, 3, 1, 2, 4, 5>(dst, src, count);
}

/// Required: to BGR a group takes five bytes, the last of which is skipped.
template <Layout layout>
void Yuv422(uint8_t* dst, const uint8_t* src, size_t count) {
    YuvGroups<layout, layout == kBgra ? 4 : 5, 2, 1, 3>(dst, src, count);
}

/// Required: a pixel takes four bytes, the last of which is skipped.
template <Layout layout>
void Yuv444(uint8_t* dst, const uint8_t* src, size_t count) {
    YuvGroups<layout, 4, 2, 1>(dst, src, count);
}

}  // namespace Vexa::Kernels::Scalar
