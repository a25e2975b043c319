// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Grey. The count of pixels is a product modulo 2^32.
#include "Families.h"

namespace Reference {

void ConvertGrey(const Converter& converter, uint8_t* dst, const uint8_t* src, uint32_t width, uint32_t height,
                 uint32_t shift) {
    const uint32_t pixels = width * height;
    for (uint32_t i = 0; i < pixels; ++i) {
        const uint32_t grey = Reduce(SampleAt(src, converter.SampleBytes(), i), shift);
        StorePixel(dst, converter.pixelBytes, i, grey, grey, grey);
    }
}

}  // namespace Reference
