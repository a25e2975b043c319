// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The interior columns of an 8-bit Bayer row, bilinear.
#pragma once

#include "kernels/scalar/Bilinear.h"

namespace Vexa::Kernels::Scalar {

template <GreenRule rule, RowKind kind, Layout layout>
void Bayer8(uint8_t* dst, const uint8_t* above, const uint8_t* row, const uint8_t* below, size_t width) {
    BayerColumns<Sample8, rule, kind, layout>(dst, above, row, below, width, {});
}

}  // namespace Vexa::Kernels::Scalar
