// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The reference of the frames layer: frames are written bit by bit, pictures made by the reference of the
// converters, levels in floating point as the header states them. It shares no code with the library; of the library's
// functions it calls none.
#pragma once

#include <VexaCamFrames.h>

#include <cstdint>
#include <string>
#include <vector>

#include "Patterns.h"

namespace FramesModel {

/// Sample words of a frame, one after the other, `channels` per pixel (YUV: U, Y, V). Words with a shift or with bits
/// above the depth are kept as they lie in the buffer.
struct Frame {
    VcfLayout layout;
    const VcfFormat* format;
    uint32_t channels;
    std::vector<uint32_t> words;

    uint32_t Word(uint32_t row, uint32_t column, uint32_t channel = 0) const {
        return words[(size_t{row} * layout.width + column) * channels + channel];
    }
    /// The sample: shift applied.
    uint32_t Sample(uint32_t row, uint32_t column, uint32_t channel = 0) const {
        return Word(row, column, channel) >> layout.shift;
    }
};

/// A frame with random samples.
Frame MakeFrame(const VcfLayout& layout, Reference::Random& random);

/// Bytes from the start of the buffer to the end of the last pixel.
uint64_t Length(const Frame& frame);

/// Writes the frame into a buffer of Length bytes; all other bits stay.
void Write(const Frame& frame, uint8_t* buffer);

/// The byte that levels make of a sample in a channel (0 red, 1 green, 2 blue).
uint8_t Level(const VcfSettings& settings, const VcfFormat& format, uint32_t sample, uint32_t channel);

/// Bytes of a pixel of the output.
uint32_t PixelBytes(uint32_t output);

/// The picture, rows without padding.
std::vector<uint8_t> Picture(const Frame& frame, uint32_t output, const VcfSettings& settings);

/// A text for failures: format, size, stride and so on.
std::string Describe(const VcfLayout& layout);

}  // namespace FramesModel
