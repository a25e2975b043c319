// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// JPEG files (JFIF) by libjpeg-turbo: grey, or colour with chroma at half the width and height.
#pragma once

#include "output/Picture.h"

namespace VexaTool {

/// Of a picture with one or three channels; quality 1 to 100.
void EncodeJpeg(const Picture& picture, int quality, std::vector<uint8_t>& bytes);

}  // namespace VexaTool
