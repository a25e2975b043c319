// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The reference of the default demosaic, 8 bits and more. A pixel keeps its own sample; a missing colour is the mean of
// those nearest samples of that colour that lie in the picture, and the pixel's own sample where there are none.
//
//     edge neighbours  . x .     corners  x . x     beside  . . .     above and below  . x .
//                      x . x              . . .             x . x                      . . .
//                      . x .              x . x             . . .                      . x .
#include <initializer_list>

#include "Families.h"

namespace Reference {
namespace {

struct Offset {
    int row;
    int column;
};

struct Mosaic {
    const uint8_t* src;
    uint32_t sampleBytes;
    int64_t width;
    int64_t height;
    uint32_t shift;

    bool Holds(int64_t row, int64_t column) const { return row >= 0 && row < height && column >= 0 && column < width; }
    uint32_t At(int64_t row, int64_t column) const {
        return SampleAt(src, sampleBytes, static_cast<size_t>(row * width + column));
    }

    /// The mean of `count` samples, shifted; only 8 bits of it are kept.
    uint32_t Mean(uint32_t sum, uint32_t count) const {
        uint32_t mean = 0;
        if (count == 1) {
            mean = sum >> (shift % 32);
        } else if (count == 2) {
            mean = sum >> ((shift + 1) % 32);
        } else if (count == 4) {
            mean = sum >> ((shift + 2) % 32);
        } else {
            // A divisor that reached the sign bit is a negative number of which the sum is less than one.
            const uint32_t divisor = 3u << (shift % 32);
            mean = (divisor & 0x80000000u) != 0 ? 0 : sum / divisor;
        }
        return mean % 256;
    }

    uint32_t MeanOf(int64_t row, int64_t column, std::initializer_list<Offset> neighbours) const {
        uint32_t sum = 0;
        uint32_t count = 0;
        for (const Offset offset : neighbours) {
            if (Holds(row + offset.row, column + offset.column)) {
                sum += At(row + offset.row, column + offset.column);
                ++count;
            }
        }
        return count == 0 ? Own(row, column) : Mean(sum, count);
    }

    uint32_t Own(int64_t row, int64_t column) const { return Mean(At(row, column), 1); }
    uint32_t Edges(int64_t row, int64_t column) const {
        return MeanOf(row, column, {{0, -1}, {0, 1}, {-1, 0}, {1, 0}});
    }
    uint32_t Corners(int64_t row, int64_t column) const {
        return MeanOf(row, column, {{-1, -1}, {-1, 1}, {1, -1}, {1, 1}});
    }
    uint32_t Beside(int64_t row, int64_t column) const { return MeanOf(row, column, {{0, -1}, {0, 1}}); }
    uint32_t AboveAndBelow(int64_t row, int64_t column) const { return MeanOf(row, column, {{-1, 0}, {1, 0}}); }
};

}  // namespace

void ConvertBayer(const Converter& converter, uint8_t* dst, const uint8_t* src, uint32_t width, uint32_t height,
                  uint32_t shift) {
    const Mosaic mosaic = {src, converter.SampleBytes(), width, height, shift % 256};
    for (int64_t r = 0; r < mosaic.height; ++r) {
        for (int64_t c = 0; c < mosaic.width; ++c) {
            const char site = SiteColour(converter.phase, r, c);
            const bool redRow =
                SiteColour(converter.phase, r, c) == 'R' || SiteColour(converter.phase, r, c + 1) == 'R';
            uint32_t red = 0;
            uint32_t green = 0;
            uint32_t blue = 0;
            if (site == 'R') {
                red = mosaic.Own(r, c);
                green = mosaic.Edges(r, c);
                blue = mosaic.Corners(r, c);
            } else if (site == 'B') {
                red = mosaic.Corners(r, c);
                green = mosaic.Edges(r, c);
                blue = mosaic.Own(r, c);
            } else {
                green = mosaic.Own(r, c);
                red = redRow ? mosaic.Beside(r, c) : mosaic.AboveAndBelow(r, c);
                blue = redRow ? mosaic.AboveAndBelow(r, c) : mosaic.Beside(r, c);
            }
            StorePixel(dst, converter.pixelBytes, static_cast<size_t>(r * mosaic.width + c), blue, green, red);
        }
    }
}

}  // namespace Reference
