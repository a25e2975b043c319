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

/// How well bytes agree with those `lag` further on, for lags from 0 to half the number of bytes; 1 at lag 0. Empty for
/// bytes that are all alike. A picture correlates with itself one row further on, so its row length is a peak; in a
/// Bayer mosaic two rows are the stronger one.
using Correlation = std::vector<double>;

struct Correlations {
    Correlation all;   ///< of all bytes
    Correlation even;  ///< of bytes 0, 2, 4, ..: the noise of words' low bytes hides what their high bytes show
    Correlation odd;   ///< of bytes 1, 3, 5, ..
};
Correlations Autocorrelations(std::span<const uint8_t> bytes);

/// The lags that stand out most from their surroundings, the best first; at most `count`, none below `shortest`.
std::vector<size_t> ProminentLags(const Correlation& correlation, size_t shortest, size_t count);

/// The lag near the given one whose multiples correlate best: in a smooth picture the peak is broad, and what is off by
/// one is off by m at m rows.
size_t SharpenedLag(const Correlation& correlation, size_t lag);

}  // namespace VexaGuess
