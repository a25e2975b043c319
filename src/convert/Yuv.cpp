// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// YUV to BGRA and BGR, full range, BT.601. Pixels that do not fill a chroma group stay as they were.
//
//     4:1:1  | U Y0 Y1 V Y2 Y3 |      4:2:2  | U Y0 V Y1 |      4:4:4  | U Y V -- |
//
// Required: a 4:2:2 group has a fifth byte, skipped, on the way to BGR.
#include "base/FloatEnvironment.h"
#include "convert/Contract.h"

using namespace Vexa;
using enum Kernels::Layout;

namespace {

/// Requires the lookup tables; `kernel` converts groups of 2^groupLog2 pixels. The fast kernels compute green in single
/// precision.
template <unsigned groupLog2>
UtlStatus ConvertYuv(Kernels::Run kernel, void* dst, const void* src, uint32_t width, uint32_t height) {
    const DefaultFloatEnvironment environment;
    return ConvertPixels<Lut::kRead, groupLog2>(kernel, dst, src, width, height);
}

}  // namespace

UtlStatus ConvYUV411PToBGRA(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvertYuv<2>(s_psKernels->yuv411[kBgra], dst, src, width, height);
}

UtlStatus ConvYUV411PToBGR(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvertYuv<2>(s_psKernels->yuv411[kBgr], dst, src, width, height);
}

UtlStatus ConvYUV422PToBGRA(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvertYuv<1>(s_psKernels->yuv422[kBgra], dst, src, width, height);
}

UtlStatus ConvYUV422PToBGR(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvertYuv<1>(s_psKernels->yuv422[kBgr], dst, src, width, height);
}

UtlStatus ConvYUV444PToBGRA(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvertYuv<0>(s_psKernels->yuv444[kBgra], dst, src, width, height);
}

UtlStatus ConvYUV444PToBGR(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvertYuv<0>(s_psKernels->yuv444[kBgr], dst, src, width, height);
}
