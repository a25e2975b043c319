// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Runs of pixels, plainly: grey, packed colour and YUV, one unit after another.
#pragma once

#include "catalogue/VexaCamUtl.h"
#include "kernels/plain/Samples.h"

namespace Vexa::Kernels::Plain {

template <Layout layout>
void StoreGrey(uint8_t* dst, size_t pixel, uint8_t grey) {
    if constexpr (layout == kBgra) {
        const uint32_t bgra = auiMono2BGRA[grey];
        StorePixel<layout>(dst, pixel, bgra, bgra >> 8, bgra >> 16);
    } else {
        StorePixel<layout>(dst, pixel, grey, grey, grey);
    }
}

template <Layout layout>
void Mono8(uint8_t* dst, const uint8_t* src, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        StoreGrey<layout>(dst, i, src[i]);
    }
}

template <Layout layout>
void MonoN(uint8_t* dst, const uint8_t* src, size_t count, uint32_t shift) {
    for (size_t i = 0; i < count; ++i) {
        StoreGrey<layout>(dst, i, static_cast<uint8_t>(Sample16::At(src, i) >> shift));
    }
}

/// Three samples a pixel.
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

/// One pixel by the tables of PrepareLUT; `row` is the green row of (u, v).
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

/// Units in reverse order; kOrder[i] is the byte of the source unit that becomes byte i.
template <size_t... kOrder>
void Reverse(uint8_t* dst, const uint8_t* src, size_t count) {
    constexpr size_t kUnit = sizeof...(kOrder);
    const uint8_t* unit = src + count * kUnit;
    for (size_t i = 0; i < count; ++i) {
        unit -= kUnit;
        ((*dst++ = unit[kOrder]), ...);
    }
}

}  // namespace Vexa::Kernels::Plain
