// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// What a file of raw frames may hold, from its length and its bytes alone.
//
//     bytes -> row lengths (autocorrelation) -> packing and sites (how well samples predict each other)
//           -> rows and frames (seams, the file's length, usual shapes) -> names (depth, green sites)
//
// Three things no statistic can tell, so both answers are listed, one after the other: red from blue in a mosaic and in
// packed colour; the depth of words that stay below a smaller maximum; a mosaic of a scene without colour from grey.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace VexaGuess {

struct Guess {
    std::string format;  ///< name of the pixel format, as "BayerRG12p"
    uint32_t width = 0;
    uint32_t height = 0;
    uint64_t stride = 0;  ///< bytes from row to row; 0: tight
    uint64_t offset = 0;  ///< bytes before the first frame
    unsigned shift = 0;   ///< unused low bits of each word, for values in the high bits
    uint64_t frames = 1;
    uint64_t rest = 0;       ///< bytes behind the last whole frame
    double bitsPerByte = 0;  ///< what a byte costs in this layout; 8: it explains nothing
    double score = 0;        ///< the same with penalties for unusual shapes; the smaller the likelier
    std::vector<std::string> evidence;
};

/// The likeliest layouts, the best first, at most `most`; none for a file that is too short. `bytes` is the beginning
/// of the file, all of it or at least some megabytes.
std::vector<Guess> RankLayouts(std::span<const uint8_t> bytes, uint64_t fileBytes, size_t most);

/// Above this cost per byte a layout explains nothing: the file is compressed, encrypted or no picture.
inline constexpr double kExplainsNothing = 7.5;

}  // namespace VexaGuess
