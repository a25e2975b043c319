// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// All process-wide data of the library, declared once: the pixel-format dictionary, the colour lookup tables,
// the Bayer mode and the choice of kernels. Everything is static storage and constant-initialised, so that the
// exported functions already work while another library's constructors run.
//
// The names tell scope and type: c_ constant, s_ module state; a array, ui unsigned int, uc unsigned char,
// s structure, b bool, e enumeration, p pointer.
#pragma once

#include <cstddef>
#include <cstdint>

#include <VexaCamUtl.h>

namespace Vexa {

namespace Kernels {
struct KernelTable;
}

/// Kinds of pixel formats, one bit each.
enum PixelKind : uint32_t {
    PIXEL_KIND_MONO = 1,
    PIXEL_KIND_COLOR = 2,
    PIXEL_KIND_BAYER = 4,
    PIXEL_KIND_YUV = 8,
};

struct PixelFormatDicEntry {
    uint32_t uiPixelFormat;
    uint32_t uiLegacyCode;  ///< an older numbering, kept for tools that list formats
    uint32_t uiDataDepth;   ///< significant bits per sample
    uint32_t uiKind;        ///< PixelKind
    const char* pszName;
};

inline constexpr size_t kPixelFormatCount = 22;
inline constexpr size_t kSampleCount = 256;        ///< values of one 8-bit sample
inline constexpr size_t kGreenRowCount = 512;      ///< rows of the green tables
inline constexpr uint32_t kNeutralGreenRow = 256;  ///< the green row that leaves Y as it is

extern const PixelFormatDicEntry c_asPixelFormatDic[kPixelFormatCount];

// The lookup tables, all zero until PrepareLUT. A table with rows is indexed row * 256 + column.
extern uint32_t auiMono2BGRA[kSampleCount];               ///< [grey] BGRA pixel
extern uint32_t auiYUVC_UV[kSampleCount * kSampleCount];  ///< [U][V] green row K
extern uint32_t auiYUV2G[kGreenRowCount * kSampleCount];  ///< [K][Y] green << 8
extern uint8_t aucYUV2G[kGreenRowCount * kSampleCount];   ///< [K][Y] green
extern uint8_t aucYU2B[kSampleCount * kSampleCount];      ///< [U][Y] blue
extern uint32_t auiYV2R[kSampleCount * kSampleCount];     ///< [V][Y] alpha and red << 16
extern uint8_t aucYV2R[kSampleCount * kSampleCount];      ///< [V][Y] red
extern bool s_bLUTReady;                                  ///< PrepareLUT has run

extern BayerConvMode s_eBayerConvMode;  ///< read and written with relaxed atomic access

extern const Kernels::KernelTable* s_psKernels;  ///< the kernels that the converters run

}  // namespace Vexa
