// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Runs of samples out of a row: the source of everything that does not take a row as it is.
#pragma once

#include "Layouts.h"

namespace VexaFrames {

/// Samples per pixel.
inline uint32_t ChannelsOf(const VcfFormat& format) {
    return format.kind == VCF_KIND_COLOUR || format.kind == VCF_KIND_YUV ? 3 : 1;
}

/// `count` samples of a packed format as words, from pixel `first` of a row on.
void UnpackWords(const Geometry& geometry, const uint8_t* buffer, uint32_t row, uint32_t first, uint32_t count,
                 uint8_t* words);

/// Samples of pixels [first, first + count) of any format but YUV as words, the layout's shift applied.
void ReadSamples(const Geometry& geometry, const uint8_t* buffer, uint32_t row, uint32_t first, uint32_t count,
                 uint8_t* words);

}  // namespace VexaFrames
