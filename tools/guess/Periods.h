// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Row lengths of a file of unknown layout, from its bytes alone.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace VexaGuess {

/// The correlation of bytes with those `lag` further on, for lags from 0 to half the number of bytes; 1 at lag 0. Empty
/// for bytes that are all alike. A picture correlates with itself one row further on, so its row length is a peak; in a
/// Bayer mosaic two rows are the stronger one.
std::vector<double> Autocorrelation(std::span<const uint8_t> bytes);

/// The lags that stand out most from their surroundings, the best first; at most `count`, none below `shortest`.
std::vector<size_t> ProminentLags(const std::vector<double>& correlation, size_t shortest, size_t count);

}  // namespace VexaGuess
