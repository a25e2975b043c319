// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Where rows and frames begin and end in a file whose row length is known.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "Hypothesis.h"

namespace VexaGuess {

struct Geometry {
    uint64_t offset = 0;
    uint32_t width = 0;
    uint32_t height = 0;
    uint64_t stride = 0;  ///< 0 for tight rows
    uint64_t frames = 1;
    uint64_t rest = 0;   ///< bytes after the last whole frame
    double bits = 0;     ///< that the file takes in this layout
    double penalty = 0;  ///< for what bits do not tell
};

constexpr double kUsualBits = 4;  ///< per byte, for which penalties are meant

/// Penalties weigh as much as what they are added to: long padding makes all costs small.
inline double Score(double bits, double penalty) {
    return bits * (1 + penalty / kUsualBits);
}

/// Every way to cut the file into frames that is worth a look, the likeliest first; at most `most`.
std::vector<Geometry> GeometriesOf(std::span<const uint8_t> bytes, uint64_t fileBytes, const Hypothesis& hypothesis,
                                   size_t most);

}  // namespace VexaGuess
