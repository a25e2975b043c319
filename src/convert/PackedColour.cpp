// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Packed RGB and BGR to BGRA and BGR: three samples per pixel, reordered and reduced to 8 bits.
#include "convert/Contract.h"

using namespace Vexa;
using enum Kernels::Layout;

UtlStatus ConvRGB8PToBGRA(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvertPixels<Lut::kNotRead>(s_psKernels->rgb8[kBgra], dst, src, width, height);
}

UtlStatus ConvBGR8PToBGRA(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvertPixels<Lut::kNotRead>(s_psKernels->bgr8ToBgra, dst, src, width, height);
}

UtlStatus ConvRGB8PToBGR(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvertPixels<Lut::kNotRead>(s_psKernels->rgb8[kBgr], dst, src, width, height);
}

// Required: the frame is copied as one block, and it is the byte count, not the pixel count, that wraps at 2^32.
UtlStatus ConvBGR8PToBGR(void* dst, const void* src, uint32_t width, uint32_t height) {
    if (AnyIsNull(dst, src)) {
        return UTL_STS_INVALID_PARAMETER;
    }
    s_psKernels->copy(Bytes(dst), Bytes(src), WrappingProduct32(width, WrappingProduct32(height, 3)));
    return UTL_STS_SUCCESS;
}

UtlStatus ConvRGBNToBGRA(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift) {
    return ConvertPixels<Lut::kNotRead>(s_psKernels->rgbN[kBgra], dst, src, width, height, ShiftCount(shift));
}

UtlStatus ConvRGBNToBGR(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift) {
    return ConvertPixels<Lut::kNotRead>(s_psKernels->rgbN[kBgr], dst, src, width, height, ShiftCount(shift));
}

UtlStatus ConvBGRNToBGRA(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift) {
    return ConvertPixels<Lut::kNotRead>(s_psKernels->bgrN[kBgra], dst, src, width, height, ShiftCount(shift));
}

UtlStatus ConvBGRNToBGR(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift) {
    return ConvertPixels<Lut::kNotRead>(s_psKernels->bgrN[kBgr], dst, src, width, height, ShiftCount(shift));
}

UtlStatus ConvRGB10PToBGRA(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvRGBNToBGRA(dst, src, width, height, k10BitShift);
}

UtlStatus ConvRGB12PToBGRA(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvRGBNToBGRA(dst, src, width, height, k12BitShift);
}

UtlStatus ConvRGB10PToBGR(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvRGBNToBGR(dst, src, width, height, k10BitShift);
}

UtlStatus ConvRGB12PToBGR(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvRGBNToBGR(dst, src, width, height, k12BitShift);
}

UtlStatus ConvBGR10PToBGRA(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvBGRNToBGRA(dst, src, width, height, k10BitShift);
}

UtlStatus ConvBGR12PToBGRA(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvBGRNToBGRA(dst, src, width, height, k12BitShift);
}

UtlStatus ConvBGR10PToBGR(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvBGRNToBGR(dst, src, width, height, k10BitShift);
}

UtlStatus ConvBGR12PToBGR(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvBGRNToBGR(dst, src, width, height, k12BitShift);
}
