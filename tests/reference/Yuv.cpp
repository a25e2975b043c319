// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// YUV, and the entries of its lookup tables. The count of pixels is a product modulo 2^32.
#include <algorithm>

#include "Families.h"

namespace Reference {
namespace {

uint8_t LimitToByte(double value) {
    const int whole = static_cast<int>(value);  // towards zero
    return static_cast<uint8_t>(std::min(std::max(whole, 0), 255));
}

}  // namespace

uint32_t GreenRow(uint32_t u, uint32_t v) {
    const float fromV = static_cast<float>(static_cast<int>(v) - 128) * 0.714f;
    const float fromU = static_cast<float>(static_cast<int>(u) - 128) * 0.344f;
    const float sum = fromV + fromU;
    const int row = static_cast<int>(static_cast<double>(sum) + 256.5);
    return std::min<uint32_t>(static_cast<uint32_t>(row) & 0xFFFFu, 511u);
}

uint8_t Red(uint32_t v, uint32_t y) {
    return LimitToByte((y + (static_cast<double>(v) - 128) * 1.402) + 0.5);
}

uint8_t Blue(uint32_t u, uint32_t y) {
    return LimitToByte((y + (static_cast<double>(u) - 128) * 1.772) + 0.5);
}

uint8_t Green(uint32_t row, uint32_t y) {
    const int green = static_cast<int>(y) + 256 - static_cast<int>(row);
    return static_cast<uint8_t>(std::min(std::max(green, 0), 255));
}

void ConvertYuv(const Converter& converter, uint8_t* dst, const uint8_t* src, uint32_t width, uint32_t height) {
    // Where the luma samples of a group lie, and V; U is always the first byte.
    static constexpr uint32_t kLuma411[] = {1, 2, 4, 5};
    static constexpr uint32_t kLuma422[] = {1, 3};
    static constexpr uint32_t kLuma444[] = {1};
    const uint32_t* luma = kLuma444;
    if (converter.groupPixels == 4) {
        luma = kLuma411;
    } else if (converter.groupPixels == 2) {
        luma = kLuma422;
    }
    const uint32_t vAt = converter.groupPixels == 4 ? 3 : 2;
    const uint32_t groups = width * height / converter.groupPixels;
    for (size_t g = 0; g < groups; ++g) {
        const uint8_t* group = src + g * converter.groupBytes;
        const uint32_t u = group[0];
        const uint32_t v = group[vAt];
        for (uint32_t k = 0; k < converter.groupPixels; ++k) {
            const uint32_t y = group[luma[k]];
            StorePixel(dst, converter.pixelBytes, g * converter.groupPixels + k, Blue(u, y), Green(GreenRow(u, v), y),
                       Red(v, y));
        }
    }
}

}  // namespace Reference
