// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Packed colour. The count of pixels is a product modulo 2^32.
#include "Families.h"

namespace Reference {

void ConvertPackedColour(const Converter& converter, uint8_t* dst, const uint8_t* src, uint32_t width, uint32_t height,
                         uint32_t shift) {
    if (converter.name == std::string_view("ConvBGR8PToBGR")) {
        const uint32_t bytes = width * (height * 3);  // wraps where a count of pixels would not
        for (uint32_t i = 0; i < bytes; ++i) {
            dst[i] = src[i];
        }
        return;
    }
    const uint32_t pixels = width * height;
    for (uint32_t i = 0; i < pixels; ++i) {
        uint32_t part[3];
        for (uint32_t k = 0; k < 3; ++k) {
            part[k] = Reduce(SampleAt(src, converter.SampleBytes(), size_t{i} * 3 + k), shift);
        }
        const uint32_t red = converter.redFirst ? part[0] : part[2];
        const uint32_t blue = converter.redFirst ? part[2] : part[0];
        StorePixel(dst, converter.pixelBytes, i, blue, part[1], red);
    }
}

}  // namespace Reference
