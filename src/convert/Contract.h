// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// What every converter tests before it works, in this order: the two pointers, the lookup tables where it reads them,
// the pixel count. Each rule stands here once.
#pragma once

#include <cstddef>
#include <cstdint>

#include <VexaCamUtl.h>
#include "base/Bytes.h"
#include "catalogue/VexaCamUtl.h"
#include "kernels/KernelTable.h"

namespace Vexa {

/// A worker's shift as the kernels take it: of the argument only the low byte counts, and of that 5 bits.
inline uint32_t ShiftCount(uint32_t shift) {
    return shift & 31u;
}

/// Shifts that bring samples of 10, 12 and 16 bits down to 8.
inline constexpr uint32_t k10BitShift = 2;
inline constexpr uint32_t k12BitShift = 4;
inline constexpr uint32_t k16BitShift = 8;

inline bool AnyIsNull(const void* dst, const void* src) {
    return dst == nullptr || src == nullptr;
}

enum class Lut { kNotRead, kRead };

/// A converter that takes the frame as one run of width * height pixels: `kernel` converts groups of
/// 2^groupLog2 pixels; pixels that do not fill a group are left alone.
template <Lut lut, unsigned groupLog2 = 0, class Kernel, class... Shift>
UtlStatus ConvertPixels(Kernel kernel, void* dst, const void* src, uint32_t width, uint32_t height, Shift... shift) {
    if (AnyIsNull(dst, src)) {
        return UTL_STS_INVALID_PARAMETER;
    }
    if (lut == Lut::kRead && !s_bLUTReady) {
        return UTL_STS_NOT_INITIALIZED;
    }
    kernel(Bytes(dst), Bytes(src), WrappingProduct32(width, height) >> groupLog2, shift...);
    return UTL_STS_SUCCESS;
}

}  // namespace Vexa
