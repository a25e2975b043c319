// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// What the edges of rows look like: where they are, whether they stand upright, what lies behind them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "Hypothesis.h"

namespace VexaGuess {

/// The place in a row where one picture row ends and the next one begins.
struct Seam {
    size_t byte = 0;            ///< of the row, from alignment on
    bool found = false;         ///< false where left and right edges are too alike to tell
    bool wrongRows = false;     ///< rows are halves of rows, or two in one, or mix two kinds of samples
    double leaning = 0;         ///< penalty, if rows of a slightly other length would stand more upright
    bool sitesDiffer = false;   ///< some sites of a mosaic are brighter than the others throughout
    double emptyRows = 0;       ///< the share of rows whose samples are all alike
    size_t paddingSamples = 0;  ///< samples before the seam that are the same in every row
};
Seam FindSeam(std::span<const uint8_t> bytes, const Hypothesis& hypothesis);

/// Where each row begins anew with what follows it, up to the next one: padding that was not cleared since the row was
/// copied. Its first byte, for rows that begin at `phase`; 0 where there is none.
///
///     | 3 1 4 1 5 9 2 6 : 3 1 4 1 | 2 7 1 8 2 8 1 8 : 2 7 1 8 | ...
size_t RepeatedFrom(std::span<const uint8_t> bytes, size_t rowBytes, size_t phase);

/// Bytes of so many samples of whole groups.
size_t BytesOfSamples(const Hypothesis& hypothesis, size_t samples);

}  // namespace VexaGuess
