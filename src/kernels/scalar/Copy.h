// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Frames copied as they are, and row by row from the last one on.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Vexa::Kernels::Scalar {

inline void Copy(uint8_t* dst, const uint8_t* src, size_t count) {
    std::memcpy(dst, src, count);
}

inline void UpsideDown(uint8_t* dst, const uint8_t* lastRow, size_t rowBytes, size_t height) {
    for (size_t r = 0; r < height; ++r) {
        std::memcpy(dst + r * rowBytes, lastRow - r * rowBytes, rowBytes);
    }
}

}  // namespace Vexa::Kernels::Scalar
