// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Units in reverse order, one after another.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Vexa::Kernels::Scalar {

/// Units in reverse order; kOrder[i] is the byte of the source unit that becomes byte i.
template <size_t... kOrder>
void Reverse(uint8_t* dst, const uint8_t* src, size_t count) {
    constexpr size_t kUnit = sizeof...(kOrder);
    const uint8_t* unit = src + count * kUnit;
    for (size_t i = 0; i < count; ++i) {
        unit -= kUnit;
        ((*dst++ = unit[kOrder]), ...);
    }
}

}  // namespace Vexa::Kernels::Scalar
