// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Raw frames mirrored left to right, upside down, or both, and the Bayer phase that they have then.
#pragma once

#include <vector>

#include "formats/Bytes.h"
#include "formats/RawShape.h"

namespace VexaTool {

struct Reversal {
    bool mirror = false;
    bool flip = false;
    bool wanted = false;  ///< false: frames stay as they are, without a call of the library

    /// The shape of a reversed frame. A Failure where a row ends within a group of pixels that share their chroma.
    RawShape ShapeAfter(const RawShape& tight) const;

    /// `tight` reversed into `to`.
    void Apply(const RawShape& shape, Bytes tight, std::vector<uint8_t>& to) const;
};

}  // namespace VexaTool
