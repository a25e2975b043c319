// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Which packings, arrangements of sites and row lengths are worth a closer look.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "Hypothesis.h"

namespace VexaGuess {

/// The cheapest hypotheses of every packing and sites, the cheapest first; empty for bytes without any period. Row
/// lengths come from the bytes' autocorrelation, from usual widths that divide `fileBytes` and from the fractions,
/// multiples and neighbours of those that prove cheap.
std::vector<Hypothesis> BestHypotheses(std::span<const uint8_t> bytes, uint64_t fileBytes);

}  // namespace VexaGuess
