// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Other libraries that do the job of one of our cases. Each library has a file of its own in this folder, built when
// the library is installed; the file adds its rows to one list before main. A row says which case it competitors, which
// functions it calls and in what its job differs; how far the pictures differ is measured, not claimed.
//
// All run in one thread with the fastest settings that give the same picture, or the nearest that there is. Where a
// library needs two steps, they take turns on strips that stay in the first-level cache.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "Measure.h"

namespace Bench {

/// Where a work reads and writes: the case's own source frame, and a destination of the size that the case needs.
struct Frame {
    uint8_t* dst;
    const uint8_t* src;
    uint32_t width;
    uint32_t height;

    size_t Pixels() const { return size_t{width} * height; }
};

struct Competitor {
    const char* library;
    const char* job;         ///< name of the Case
    const char* how;         ///< the functions that it calls
    const char* difference;  ///< what it does otherwise; empty when nothing
    bool redFirst;           ///< it writes R, G, B where the case writes B, G, R
    Work (*prepare)(const Frame& frame);
};

/// All rows of the libraries that were found when this was built.
std::vector<Competitor>& Competitors();

/// Adds rows to Competitors(); one static object of it per library.
struct Registration {
    explicit Registration(std::span<const Competitor> competitors);
};

/// Rows of a strip that stays in the first-level cache.
inline uint32_t StripRows(uint32_t width) {
    return width >= 4096 ? 1 : 4096 / width;
}

/// Calls step(first row, rows) for strips that cover the height.
template <class Step>
void ForStrips(uint32_t width, uint32_t height, Step step) {
    const uint32_t stripRows = StripRows(width);
    for (uint32_t y = 0; y < height; y += stripRows) {
        step(y, height - y < stripRows ? height - y : stripRows);
    }
}

using SharedBytes = std::shared_ptr<std::vector<uint8_t>>;

/// A strip's worth of memory between two steps.
inline SharedBytes MakeStrip(uint32_t width, size_t bytesPerPixel) {
    return std::make_shared<std::vector<uint8_t>>(size_t{StripRows(width)} * width * bytesPerPixel);
}

/// The source without the bytes that our converters skip, and in another order, made once before the measurement:
/// byte i of each new group is byte order[i] of a group of groupBytes.
SharedBytes Repack(const uint8_t* src, size_t groups, size_t groupBytes, std::span<const uint8_t> order);

}  // namespace Bench
