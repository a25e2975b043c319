// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// What other files need of the table of formats beside the public queries.
#pragma once

#include <VexaCamFrames.h>

#include "Text.h"

namespace VexaFrames {

/// The format of the same family with another phase; `format` has to be a Bayer format of the table.
PixelFormat WithPhase(PixelFormat format, uint32_t phase);

inline bool IsWords(const VcfFormat& format) {
    return format.depth > 8 && format.packing == VCF_PACKING_NONE;
}

inline bool IsCsi2(const VcfFormat& format) {
    return format.packing == VCF_PACKING_10CSI2 || format.packing == VCF_PACKING_12CSI2;
}

}  // namespace VexaFrames
