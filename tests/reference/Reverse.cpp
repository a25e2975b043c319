// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Reversal of whole frames.
#include <array>

#include "Reference.h"

namespace Reference {
namespace {

constexpr std::array<PixelFormat, 23> kReversibleFormats = {
    0x01080001, 0x01080008, 0x01080009, 0x0108000A, 0x0108000B,              // 1 byte
    0x01100003, 0x01100005, 0x01100007, 0x0110000C, 0x0110000D, 0x0110000E,  // 2 bytes
    0x0110000F, 0x01100010, 0x01100011, 0x01100012, 0x01100013,              //
    0x02180014, 0x02180015,                                                  // 3 bytes
    0x02300018, 0x02300019, 0x0230001B,                                      // 6 bytes
    0x020C001E, 0x0210001F,                                                  // groups
};

/// Which byte of a source unit comes to byte k of a reversed unit.
uint32_t SourceByte(PixelFormat format, uint32_t k) {
    static constexpr uint32_t kOrder411[] = {0, 5, 4, 3, 2, 1};
    static constexpr uint32_t kOrder422[] = {0, 3, 2, 1};
    if (format == 0x020C001E) {
        return kOrder411[k];
    }
    return format == 0x0210001F ? kOrder422[k] : k;
}

void ReverseRun(uint8_t* dst, const uint8_t* src, PixelFormat format, size_t units) {
    const uint32_t unitBytes = UnitOf(format).unitBytes;
    for (size_t i = 0; i < units; ++i) {
        for (uint32_t k = 0; k < unitBytes; ++k) {
            dst[i * unitBytes + k] = src[(units - 1 - i) * unitBytes + SourceByte(format, k)];
        }
    }
}

size_t BytesOfPixels(PixelFormat format, uint64_t pixels) {
    const ReversalUnit unit = UnitOf(format);
    return static_cast<size_t>(pixels * unit.unitBytes / unit.unitPixels);
}

}  // namespace

std::span<const PixelFormat> ReversibleFormats() {
    return kReversibleFormats;
}

ReversalUnit UnitOf(PixelFormat format) {
    for (size_t i = 0; i < kReversibleFormats.size(); ++i) {
        if (kReversibleFormats[i] == format) {
            if (i >= 21) {
                return i == 21 ? ReversalUnit{6, 4} : ReversalUnit{4, 2};
            }
            return ReversalUnit{i < 5 ? 1u : i < 16 ? 2u : i < 18 ? 3u : 6u, 1};
        }
    }
    return {0, 1};
}

size_t FrameBytes(PixelFormat format, uint32_t width, uint32_t height) {
    // Of 4:1:1, whose odd rows round down, a copied frame may hold more than its rows.
    const size_t rows = BytesOfPixels(format, width) * height;
    const size_t run = BytesOfPixels(format, uint64_t{width} * height);
    return rows > run ? rows : run;
}

void Reverse(uint8_t* dst, const uint8_t* src, PixelFormat format, uint32_t width, uint32_t height, bool mirror,
             bool upsideDown) {
    const ReversalUnit unit = UnitOf(format);
    const size_t rowBytes = BytesOfPixels(format, width);
    if (mirror && upsideDown) {
        const uint32_t pixels = width * height;
        if (unit.unitPixels > 1 || pixels - 1 < 0x80000000u) {
            ReverseRun(dst, src, format, pixels / unit.unitPixels);
        }
    } else if (mirror) {
        const size_t units = width / unit.unitPixels;
        for (size_t r = 0; r < height; ++r) {
            ReverseRun(dst + r * units * unit.unitBytes, src + r * rowBytes, format, units);
        }
    } else if (upsideDown) {
        for (size_t r = 0; r < height; ++r) {
            for (size_t i = 0; i < rowBytes; ++i) {
                dst[r * rowBytes + i] = src[(height - 1 - r) * rowBytes + i];
            }
        }
    } else {
        const size_t bytes = BytesOfPixels(format, width * height);
        for (size_t i = 0; i < bytes; ++i) {
            dst[i] = src[i];
        }
    }
}

}  // namespace Reference
