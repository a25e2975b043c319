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

struct Hypothesis {
    Packing packing;
    Sites sites;
    size_t rowBytes;   ///< from one row to the next
    size_t alignment;  ///< bytes before the first whole group of samples
    double bitsPerByte = 0;
};

/// Samples per group of bytes, and bytes per group.
struct GroupSize {
    size_t samples;
    size_t bytes;
};
GroupSize GroupOf(Packing packing);

/// Samples that repeat as one unit along a row: 2 for a mosaic, 3 for colour, 4 for UYVY ...
size_t SitePeriod(Sites sites);

/// Significant bits, by the packing; 16 for words.
unsigned DepthOf(Packing packing);

/// Bytes after which packing and sites repeat together along a row; rows begin at a multiple of it from `alignment` on.
size_t UnitBytes(Packing packing, Sites sites);

size_t RowSamples(const Hypothesis& hypothesis);
size_t RowPixels(const Hypothesis& hypothesis);

/// The bytes that a measure looks at: blocks spread evenly over the file, the same for every hypothesis, so that all of
/// them explain the same part of the picture.
struct Look {
    size_t blocks;
    size_t blockBytes;
    Measure measure;
};

/// The samples of the rows of a block that begins at `start`; empty if it has too few.
Plane SamplesOf(std::span<const uint8_t> bytes, const Hypothesis& hypothesis, size_t start, size_t blockBytes);

/// Bits that a byte takes when its samples are predicted from their neighbours of the same kind; 8 or more where
/// nothing predicts anything, and for rows too short or too few to tell.
double BitsPerByte(std::span<const uint8_t> bytes, const Hypothesis& hypothesis, const Look& look);

/// Every hypothesis for a row length, without costs. With `anyAlignment` groups may start at every byte.
std::vector<Hypothesis> HypothesesFor(size_t rowBytes, bool anyAlignment);

}  // namespace VexaGuess
