// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// PNG files: libpng writes the chunks, libdeflate compresses the pixels, several times as fast as zlib.
#pragma once

#include "output/Picture.h"

namespace VexaTool {

/// Level 0 (none) to 9.
void EncodePng(const Picture& picture, int level, std::vector<uint8_t>& bytes);

}  // namespace VexaTool
