// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// ReverseImg: copy, mirror, turn upside down or half-turn a raw frame in its camera format.
//
// What moves is a unit: one pixel, or the group of pixels that shares chroma.
//
//     source    a b c      mirror  c b a      upside down  d e f      half turn  f e d
//               d e f              f e d                   a b c                 c b a
#include "convert/Contract.h"

using namespace Vexa;
using Kernels::KernelTable;

namespace {

/// How the frames of one class of formats are laid out, and the kernel that reverses a run of their units.
struct UnitClass {
    uint32_t unitBytes;
    uint32_t unitPixels;
    Kernels::Run KernelTable::*reverse;
};

constexpr UnitClass kUnit8 = {1, 1, &KernelTable::reverse8};
constexpr UnitClass kUnit16 = {2, 1, &KernelTable::reverse16};
constexpr UnitClass kUnit24 = {3, 1, &KernelTable::reverse24};
constexpr UnitClass kUnit48 = {6, 1, &KernelTable::reverse48};
constexpr UnitClass kUnitYuv411 = {6, 4, &KernelTable::reverseYuv411};
constexpr UnitClass kUnitYuv422 = {4, 2, &KernelTable::reverseYuv422};

const UnitClass* FindUnitClass(PixelFormat format) {
    switch (format) {
        case PIXEL_FORMAT_MONO8:
        case PIXEL_FORMAT_BAYER_GR8:
        case PIXEL_FORMAT_BAYER_RG8:
        case PIXEL_FORMAT_BAYER_GB8:
        case PIXEL_FORMAT_BAYER_BG8:
            return &kUnit8;
        case PIXEL_FORMAT_MONO10:
        case PIXEL_FORMAT_MONO12:
        case PIXEL_FORMAT_MONO16:
        case PIXEL_FORMAT_BAYER_GR10:
        case PIXEL_FORMAT_BAYER_RG10:
        case PIXEL_FORMAT_BAYER_GB10:
        case PIXEL_FORMAT_BAYER_BG10:
        case PIXEL_FORMAT_BAYER_GR12:
        case PIXEL_FORMAT_BAYER_RG12:
        case PIXEL_FORMAT_BAYER_GB12:
        case PIXEL_FORMAT_BAYER_BG12:
            return &kUnit16;
        case PIXEL_FORMAT_RGB8:
        case PIXEL_FORMAT_BGR8:
            return &kUnit24;
        // Required: RGB12, whose code lies between these, is refused.
        case PIXEL_FORMAT_RGB10:
        case PIXEL_FORMAT_BGR10:
        case PIXEL_FORMAT_BGR12:
            return &kUnit48;
        case PIXEL_FORMAT_YUV411_8_UYYVYY:
            return &kUnitYuv411;
        case PIXEL_FORMAT_YUV422_8_UYVY:
            return &kUnitYuv422;
        default:
            return nullptr;
    }
}

/// The bytes that a number of pixels takes, a started unit counted in part (4:1:1 has one and a half bytes per pixel).
uint64_t BytesOfPixels(const UnitClass& unit, uint64_t pixels) {
    return pixels * unit.unitBytes / unit.unitPixels;
}

void TurnUpsideDown(uint8_t* dst, const uint8_t* src, uint32_t rowBytes, uint32_t height) {
    if (rowBytes == 0) {
        return;  // for every height
    }
    // Required: the offset of the last row is a product modulo 2^32.
    s_psKernels->upsideDown(dst, src + WrappingProduct32(height - 1, rowBytes), rowBytes, height);
}

void Mirror(uint8_t* dst, const uint8_t* src, const UnitClass& unit, uint32_t width, uint32_t height) {
    const Kernels::Run reverse = s_psKernels->*unit.reverse;
    const size_t units = width / unit.unitPixels;
    const uint64_t rowBytes = BytesOfPixels(unit, width);
    if (units == 0) {
        return;  // for every height
    }
    for (uint32_t r = 0; r < height; ++r) {
        reverse(dst, src, units);
        dst += units * unit.unitBytes;
        src += rowBytes;
    }
}

void TurnHalf(uint8_t* dst, const uint8_t* src, const UnitClass& unit, uint32_t pixels) {
    // Required: single pixels are counted down in a signed 32-bit number, so more than 2^31 of them are none.
    if (unit.unitPixels == 1 && static_cast<int32_t>(pixels - 1) < 0) {
        return;
    }
    (s_psKernels->*unit.reverse)(dst, src, pixels / unit.unitPixels);
}

/// Required: a flag of ReverseImg is set by exactly 1.
bool IsOne(uint8_t flag) {
    return LowByteOf(flag) == 1;
}

}  // namespace

UtlStatus ReverseImg(void* dst, const void* src, PixelFormat format, uint32_t width, uint32_t height, uint8_t mirror,
                     uint8_t upside_down) {
    if (AnyIsNull(dst, src)) {
        return UTL_STS_INVALID_PARAMETER;
    }
    const UnitClass* unit = FindUnitClass(format);
    if (unit == nullptr) {
        return UTL_STS_UNSUPPORTED_FORMAT;
    }
    const uint32_t pixels = WrappingProduct32(width, height);
    if (IsOne(mirror) && IsOne(upside_down)) {
        TurnHalf(Bytes(dst), Bytes(src), *unit, pixels);
    } else if (IsOne(mirror)) {
        Mirror(Bytes(dst), Bytes(src), *unit, width, height);
    } else if (IsOne(upside_down)) {
        TurnUpsideDown(Bytes(dst), Bytes(src), static_cast<uint32_t>(BytesOfPixels(*unit, width)), height);
    } else {
        s_psKernels->copy(Bytes(dst), Bytes(src), BytesOfPixels(*unit, pixels));
    }
    return UTL_STS_SUCCESS;
}
