// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The bytes of bitmap and raw files.
#include "Reference.h"

namespace Reference {
namespace {

/// Appends a number, the low byte first.
void Append(std::vector<uint8_t>& file, uint64_t value, uint32_t bytes) {
    for (uint32_t i = 0; i < bytes; ++i) {
        file.push_back(static_cast<uint8_t>(value >> (8 * i)));
    }
}

}  // namespace

std::vector<uint8_t> BitmapFile(uint32_t bitsPerPixel, const uint8_t* picture, uint32_t width, uint32_t height,
                                size_t stride) {
    const bool grey = bitsPerPixel == 8;
    const size_t rowBytes = size_t{width} * (bitsPerPixel / 8);
    const size_t paddedRowBytes = (rowBytes + 3) / 4 * 4;
    const uint64_t pixelBytes = static_cast<uint32_t>(paddedRowBytes * height);
    const uint64_t pixelsAt = grey ? 1126 : 102;
    std::vector<uint8_t> file;
    file.reserve(pixelsAt + paddedRowBytes * height);
    Append(file, 0x4D42, 2);
    Append(file, pixelsAt + pixelBytes, 8);
    Append(file, 0, 4);
    Append(file, pixelsAt, 8);
    Append(file, 80, 8);
    Append(file, width, 8);
    Append(file, height, 8);
    Append(file, 1, 2);
    Append(file, bitsPerPixel, 2);
    Append(file, 0, 4);
    Append(file, 0, 8);
    Append(file, pixelBytes, 8);
    Append(file, grey ? 160000 : 16000, 8);
    Append(file, grey ? 160000 : 16000, 8);
    Append(file, grey ? 256 : 0, 8);
    Append(file, grey ? 256 : 0, 8);
    for (uint32_t i = 0; grey && i < 256; ++i) {
        Append(file, i * 0x010101u, 4);
    }
    for (size_t r = height; r-- > 0;) {
        for (size_t i = 0; i < paddedRowBytes; ++i) {
            file.push_back(i < rowBytes ? picture[r * stride + i] : uint8_t{0});
        }
    }
    return file;
}

std::vector<uint8_t> RawFile(const uint8_t* frame, PixelFormat format, uint32_t width, uint32_t height) {
    const uint32_t bitsPerPixel = format / 0x10000 % 0x100;
    const uint32_t rowBytes = bitsPerPixel * width / 8;
    std::vector<uint8_t> file;
    for (const uint32_t word : {format, width, height, rowBytes}) {
        Append(file, word, 4);
    }
    file.insert(file.end(), frame, frame + rowBytes * height);
    return file;
}

}  // namespace Reference
