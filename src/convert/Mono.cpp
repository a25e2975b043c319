// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Grey to BGRA and BGR: B = G = R = the sample, reduced to 8 bits.
//
// Required: to BGRA the lookup tables have to be ready, to BGR they need not be.
#include "convert/Contract.h"

using namespace Vexa;
using enum Kernels::Layout;

UtlStatus ConvMono8ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvertPixels<Lut::kRead>(s_psKernels->mono8[kBgra], dst, src, width, height);
}

UtlStatus ConvMono8ToBGR(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvertPixels<Lut::kNotRead>(s_psKernels->mono8[kBgr], dst, src, width, height);
}

UtlStatus ConvMonoNToBGRA(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift) {
    return ConvertPixels<Lut::kRead>(s_psKernels->monoN[kBgra], dst, src, width, height, ShiftCount(shift));
}

UtlStatus ConvMonoNToBGR(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift) {
    return ConvertPixels<Lut::kNotRead>(s_psKernels->monoN[kBgr], dst, src, width, height, ShiftCount(shift));
}

UtlStatus ConvMono10ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvMonoNToBGRA(dst, src, width, height, k10BitShift);
}

UtlStatus ConvMono12ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvMonoNToBGRA(dst, src, width, height, k12BitShift);
}

UtlStatus ConvMono16ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvMonoNToBGRA(dst, src, width, height, k16BitShift);
}

UtlStatus ConvMono10ToBGR(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvMonoNToBGR(dst, src, width, height, k10BitShift);
}

UtlStatus ConvMono12ToBGR(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvMonoNToBGR(dst, src, width, height, k12BitShift);
}

UtlStatus ConvMono16ToBGR(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvMonoNToBGR(dst, src, width, height, k16BitShift);
}
