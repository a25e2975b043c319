// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// TIFF files by libtiff: grey of 8 or 16 bits, or RGB; little-endian, not compressed, without a time or a name in them,
// so that one picture always gives the same bytes.
#pragma once

#include "output/Picture.h"

namespace VexaTool {

/// Of a picture with one or three channels.
void EncodeTiff(const Picture& picture, std::vector<uint8_t>& bytes);

}  // namespace VexaTool
