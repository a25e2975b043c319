// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Runs of grey pixels, one after another.
#pragma once

#include "catalogue/VexaCamUtl.h"
#include "kernels/scalar/Samples.h"

namespace Vexa::Kernels::Scalar {

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

}  // namespace Vexa::Kernels::Scalar
