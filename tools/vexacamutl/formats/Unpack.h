// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// From the bytes of a file to a tight frame: rows without padding, samples in bytes or in the low bits of 16-bit words.
#pragma once

#include <vector>

#include "formats/Bytes.h"
#include "formats/RawShape.h"

namespace VexaTool {

/// The tight frame: `raw` itself, or a copy in `scratch`.
Bytes TightFrame(const RawShape& shape, Bytes raw, std::vector<uint8_t>& scratch);

/// The shape of what TightFrame returns.
RawShape TightShape(const RawShape& shape);

/// 16-bit samples into the frame of a packed layout; the inverse of the unpacking.
std::vector<uint8_t> PackSamples(const RawShape& packed, const uint8_t* samples);

}  // namespace VexaTool
