// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Frames of every format from a drawn scene: discs before a background that varies slowly, with colour and sensor
// noise. Nothing here is shared with the library or the guesser: the packings are written down from their drawings, bit
// by bit.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace GuessScenes {

using Bytes = std::vector<uint8_t>;

/// Every format name that the guesser may answer.
std::vector<std::string> AllFormats();

/// One frame of that format. `seed` chooses the scene; width is a multiple of 4, height of 2.
Bytes Frame(const std::string& format, uint32_t width, uint32_t height, uint32_t seed);

/// Rows with `padding` bytes of the given value behind each.
Bytes Padded(const Bytes& frame, uint32_t height, size_t padding, uint8_t value);

/// Whether nothing in a file tells the two formats apart: they differ in the places of red and blue.
bool DifferInRedAndBlue(const std::string& a, const std::string& b);

}  // namespace GuessScenes
