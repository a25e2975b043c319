// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// One way to read the bytes of a file, and what it costs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "Residuals.h"

namespace VexaGuess {

/// How samples share bytes.
enum class Packing {
    kBytes,      ///< 8 bits each
    kWords,      ///< little-endian 16-bit words
    kBits10,     ///< 10p: a bit stream, least significant bit first; 4 samples in 5 bytes
    kBits12,     ///< 12p: 2 samples in 3 bytes
    k10Packed,   ///< 2 samples in 3 bytes, the low bits of both in the middle one
    k12Packed,   ///< the same with 12 bits
    kCsi2Raw10,  ///< 4 bytes of high bits, then one with the low bits of all four
    kCsi2Raw12,  ///< 2 bytes of high bits, then one with the low bits of both
};

/// What the samples of a row are.
enum class Sites {
    kMono,
    kBayer,   ///< colours alternate along rows and columns
    kColour,  ///< three samples per pixel, red and blue outside
    kUyv,
    kUyvy,
    kYuyv,
    kUyyvyy,
};

/// Packed rows that follow each other without a gap may begin inside a byte. Then two or four of them together are
/// whole bytes and are taken as one.
///
///     rows 1    | row      |padding| row      |padding| ...
///     rows 2    | row      .row      | row      .row      | ...
struct Hypothesis {
    Packing packing;
    Sites sites;
    size_t rowBytes;   ///< from the beginning of `rows` rows to that of the next ones
    size_t rows;       ///< 1, 2 or 4
    size_t alignment;  ///< bytes before the first whole group of samples
    double bitsPerByte = 0;
    double doubt = 0;    ///< penalty for unlikely rows
    bool alike = false;  ///< high and low bytes of its words are equally hard to predict
};

/// Samples per group of bytes, and bytes per group.
struct GroupSize {
    size_t samples;
    size_t bytes;

    size_t BitsPerSample() const { return 8 * bytes / samples; }
};
GroupSize GroupOf(Packing packing);

/// Bytes of a row of so many samples.
size_t PackedBytes(Packing packing, size_t samples);

/// Samples that repeat as one unit along a row: 2 for a mosaic, 3 for colour, 4 for UYVY ...
size_t SitePeriod(Sites sites);

/// Bytes after which packing and sites repeat together along a row; rows begin at a multiple of it from `alignment` on.
size_t UnitBytes(Packing packing, Sites sites);

/// Of one row, with padding that could be samples.
size_t RowSamples(const Hypothesis& hypothesis);
size_t RowPixels(const Hypothesis& hypothesis);
/// Samples per pixel, in the mean.
double SamplesPerPixel(Sites sites);

/// The bytes that a measure looks at: blocks spread evenly over the file, the same for every hypothesis, so that all of
/// them explain the same part of the picture.
struct Look {
    size_t blocks;
    size_t blockBytes;
    Measure measure;
};

/// The samples of the rows of a block that begins at `start`, without the low bits that are clear in all of them; empty
/// if it has too few.
Plane SamplesOf(std::span<const uint8_t> bytes, const Hypothesis& hypothesis, size_t start, size_t blockBytes);

/// Bits that a byte takes when its samples are predicted from their neighbours of the same kind; 8 or more where
/// nothing predicts anything, and for rows too short or too few to tell.
double BitsPerByte(std::span<const uint8_t> bytes, Hypothesis& hypothesis, const Look& look);

/// Bits of a row when its samples are predicted from their neighbours of the same kind.
double RowBits(const Plane& samples, Sites sites, Measure measure);

/// Every hypothesis for a row length, without costs, for a file that begins with a frame, or whose last frame ends with
/// it.
std::vector<Hypothesis> HypothesesFor(size_t rowBytes, uint64_t fileBytes);

}  // namespace VexaGuess
