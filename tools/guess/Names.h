// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// What the samples of a layout may be called.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "Geometry.h"
#include "Hypothesis.h"

namespace VexaGuess {

/// A format's name and the unused low bits of its words; `doubt` is added to the score.
struct Name {
    std::string format;
    unsigned shift = 0;
    double doubt = 0;
    std::string evidence;
};

/// A number in words: `format` is one of printf with one place for it.
std::string Text(const char* format, double value);

/// Every name that the samples may go by: depth, order of colours and phase of a mosaic are read off them.
std::vector<Name> NamesOf(std::span<const uint8_t> bytes, const Hypothesis& hypothesis, const Geometry& geometry);

}  // namespace VexaGuess
