// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The interior columns of a 16-bit Bayer row, bilinear, shifted down to 8 bits.
#pragma once

#include "kernels/scalar/Bilinear.h"

namespace Vexa::Kernels::Scalar {

template <GreenRule rule, RowKind kind, Layout layout>
void BayerN(uint8_t* dst, const uint8_t* above, const uint8_t* row, const uint8_t* below, size_t width,
            uint32_t shift) {
    BayerColumns<Sample16, rule, kind, layout>(dst, above, row, below, width, {shift});
}

}  // namespace Vexa::Kernels::Scalar
