// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The pieces of the reference, one file per family, and the few steps that they share. Only the reference's own files
// include this; everything else includes Reference.h.
#pragma once

#include "Reference.h"

namespace Reference {

void ConvertGrey(const Converter& converter, uint8_t* dst, const uint8_t* src, uint32_t width, uint32_t height,
                 uint32_t shift);
void ConvertPackedColour(const Converter& converter, uint8_t* dst, const uint8_t* src, uint32_t width, uint32_t height,
                         uint32_t shift);
void ConvertYuv(const Converter& converter, uint8_t* dst, const uint8_t* src, uint32_t width, uint32_t height);
void ConvertBayer(const Converter& converter, uint8_t* dst, const uint8_t* src, uint32_t width, uint32_t height,
                  uint32_t shift);
void ConvertAcpi(const Converter& converter, uint8_t* dst, const uint8_t* src, uint32_t width, uint32_t height);

/// A sample of 1 or 2 bytes, the low byte first.
inline uint32_t SampleAt(const uint8_t* src, uint32_t sampleBytes, size_t index) {
    const uint8_t* at = src + index * sampleBytes;
    return sampleBytes == 1 ? at[0] : at[0] + 256u * at[1];
}

/// Eight bits of a sample of a run of pixels.
inline uint32_t Reduce(uint32_t sample, uint32_t shift) {
    return (sample >> (shift % 32)) % 256;
}

inline void StorePixel(uint8_t* dst, uint32_t pixelBytes, size_t index, uint32_t blue, uint32_t green, uint32_t red) {
    uint8_t* pixel = dst + index * pixelBytes;
    pixel[0] = static_cast<uint8_t>(blue);
    pixel[1] = static_cast<uint8_t>(green);
    pixel[2] = static_cast<uint8_t>(red);
    if (pixelBytes == 4) {
        pixel[3] = 255;
    }
}

/// Colour of a Bayer site: 'R', 'G' or 'B'.
inline char SiteColour(Phase phase, int64_t row, int64_t column) {
    static constexpr char kPatterns[5][5] = {"    ", "GRBG", "RGGB", "GBRG", "BGGR"};
    return kPatterns[static_cast<int>(phase)][(row % 2) * 2 + column % 2];
}

}  // namespace Reference
