// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// 8-bit Bayer frames to BGRA and BGR, default mode: bilinear.
#include "convert/BayerFrame.h"

using namespace Vexa;
using enum Kernels::Layout;

namespace {

template <class Phase, Kernels::Layout layout>
UtlStatus ConvertBayer8(void* dst, const void* src, uint32_t width, uint32_t height) {
    using Kernels::Sample8;
    if (AnyIsNull(dst, src)) {
        return UTL_STS_INVALID_PARAMETER;
    }
    const Kernels::KernelTable& kernels = *s_psKernels;
    DemosaicBilinear<Sample8, Phase, layout>(
        Bytes(dst), Frame<Sample8>{Bytes(src), width, height}, {},
        [&kernels, width](Kernels::GreenRule rule, RowKind kind, uint8_t* dstRow, const RowsAround& rows) {
            kernels.bayer8[rule][kind][layout](dstRow, rows.above, rows.row, rows.below, width);
        });
    return UTL_STS_SUCCESS;
}

}  // namespace

UtlStatus ConvByrGR8ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvertBayer8<PhaseGR, kBgra>(dst, src, width, height);
}

UtlStatus ConvByrRG8ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvertBayer8<PhaseRG, kBgra>(dst, src, width, height);
}

UtlStatus ConvByrGB8ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvertBayer8<PhaseGB, kBgra>(dst, src, width, height);
}

UtlStatus ConvByrBG8ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvertBayer8<PhaseBG, kBgra>(dst, src, width, height);
}

UtlStatus ConvByrGR8ToBGR(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvertBayer8<PhaseGR, kBgr>(dst, src, width, height);
}

UtlStatus ConvByrRG8ToBGR(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvertBayer8<PhaseRG, kBgr>(dst, src, width, height);
}

UtlStatus ConvByrGB8ToBGR(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvertBayer8<PhaseGB, kBgr>(dst, src, width, height);
}

UtlStatus ConvByrBG8ToBGR(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvertBayer8<PhaseBG, kBgr>(dst, src, width, height);
}
