// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// 10- and 12-bit Bayer frames to BGRA and BGR: bilinear at full depth. The shift to 8 bits is folded into the mean, so
// that low bits carry; what is above 8 bits afterwards is dropped.
#include "convert/BayerFrame.h"

using namespace Vexa;
using enum Kernels::Layout;

namespace {

template <class Phase, Kernels::Layout layout>
UtlStatus ConvertBayerN(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift) {
    using Kernels::Sample16;
    if (AnyIsNull(dst, src)) {
        return UTL_STS_INVALID_PARAMETER;
    }
    const Kernels::KernelTable& kernels = *s_psKernels;
    const uint32_t count = ShiftCount(shift);
    DemosaicBilinear<Sample16, Phase, layout>(
        Bytes(dst), Frame<Sample16>{Bytes(src), width, height}, {count},
        [&kernels, width, count](Kernels::GreenRule rule, RowKind kind, uint8_t* dstRow, const RowsAround& rows) {
            kernels.bayerN[rule][kind][layout](dstRow, rows.above, rows.row, rows.below, width, count);
        });
    return UTL_STS_SUCCESS;
}

}  // namespace

UtlStatus ConvByrGRNToBGRA(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift) {
    return ConvertBayerN<PhaseGR, kBgra>(dst, src, width, height, shift);
}

UtlStatus ConvByrRGNToBGRA(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift) {
    return ConvertBayerN<PhaseRG, kBgra>(dst, src, width, height, shift);
}

UtlStatus ConvByrGBNToBGRA(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift) {
    return ConvertBayerN<PhaseGB, kBgra>(dst, src, width, height, shift);
}

UtlStatus ConvByrBGNToBGRA(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift) {
    return ConvertBayerN<PhaseBG, kBgra>(dst, src, width, height, shift);
}

UtlStatus ConvByrGRNToBGR(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift) {
    return ConvertBayerN<PhaseGR, kBgr>(dst, src, width, height, shift);
}

UtlStatus ConvByrRGNToBGR(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift) {
    return ConvertBayerN<PhaseRG, kBgr>(dst, src, width, height, shift);
}

UtlStatus ConvByrGBNToBGR(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift) {
    return ConvertBayerN<PhaseGB, kBgr>(dst, src, width, height, shift);
}

UtlStatus ConvByrBGNToBGR(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift) {
    return ConvertBayerN<PhaseBG, kBgr>(dst, src, width, height, shift);
}

UtlStatus ConvByrGR10ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvByrGRNToBGRA(dst, src, width, height, k10BitShift);
}

UtlStatus ConvByrRG10ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvByrRGNToBGRA(dst, src, width, height, k10BitShift);
}

UtlStatus ConvByrGB10ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvByrGBNToBGRA(dst, src, width, height, k10BitShift);
}

UtlStatus ConvByrBG10ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvByrBGNToBGRA(dst, src, width, height, k10BitShift);
}

UtlStatus ConvByrGR12ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvByrGRNToBGRA(dst, src, width, height, k12BitShift);
}

UtlStatus ConvByrRG12ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvByrRGNToBGRA(dst, src, width, height, k12BitShift);
}

UtlStatus ConvByrGB12ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvByrGBNToBGRA(dst, src, width, height, k12BitShift);
}

UtlStatus ConvByrBG12ToBGRA(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvByrBGNToBGRA(dst, src, width, height, k12BitShift);
}

UtlStatus ConvByrGR10ToBGR(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvByrGRNToBGR(dst, src, width, height, k10BitShift);
}

UtlStatus ConvByrRG10ToBGR(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvByrRGNToBGR(dst, src, width, height, k10BitShift);
}

UtlStatus ConvByrGB10ToBGR(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvByrGBNToBGR(dst, src, width, height, k10BitShift);
}

UtlStatus ConvByrBG10ToBGR(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvByrBGNToBGR(dst, src, width, height, k10BitShift);
}

UtlStatus ConvByrGR12ToBGR(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvByrGRNToBGR(dst, src, width, height, k12BitShift);
}

UtlStatus ConvByrRG12ToBGR(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvByrRGNToBGR(dst, src, width, height, k12BitShift);
}

UtlStatus ConvByrGB12ToBGR(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvByrGBNToBGR(dst, src, width, height, k12BitShift);
}

UtlStatus ConvByrBG12ToBGR(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvByrBGNToBGR(dst, src, width, height, k12BitShift);
}
