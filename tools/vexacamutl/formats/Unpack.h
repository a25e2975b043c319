// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// From the bytes of a file to the frame that the library takes: rows without padding, samples in bytes or 16-bit words.
//
// The packed transport layouts of 10 and 12 bits, least significant bit of a byte on the right:
//
//     10p, 12p (bit stream)    sample n begins at bit n * 10 (or 12), low bits first
//     12Packed                 | AAAAAAAA | BBBBaaaa | BBBBBBBB |    a: low 4 bits of A; the middle byte's upper half
//                                                                    holds the low 4 bits of B
//     10Packed                 | AAAAAAAA | --bb--aa | BBBBBBBB |    aa, bb: low 2 bits
#pragma once

#include <vector>

#include "formats/Bytes.h"
#include "formats/RawShape.h"

namespace VexaTool {

/// The frame for the library. Either `raw` itself or a copy in `scratch`, without padding and unpacked.
Bytes TightFrame(const RawShape& shape, Bytes raw, std::vector<uint8_t>& scratch);

/// The shape of what TightFrame returns.
RawShape TightShape(const RawShape& shape);

/// `count` 16-bit samples into a packed layout; the inverse of the unpacking.
std::vector<uint8_t> PackSamples(const FormatInfo& packed, const uint8_t* samples, size_t count);

}  // namespace VexaTool
