// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The seam between the frames layer and the instruction sets: one struct of functions per instruction set, as
// kernels/KernelTable.h of the converters. The scalar table is complete and defines every byte.
//
// What holds for every kernel: it reads and writes only the bytes that its comment names, requires no alignment, keeps
// no state, and is a no-op for a count of 0.
#pragma once

#include <cstddef>
#include <cstdint>

namespace VexaFrames {

/// Whole groups of a packed layout to little-endian 16-bit words. Reads groups * 5 bytes and writes groups * 8 (10p,
/// 10CSI2), or reads groups * 3 and writes groups * 4 (the others).
using UnpackGroups = void (*)(uint8_t* words, const uint8_t* packed, size_t groups);

/// From src to dst, as many units; the sizes of a unit are the kernel's.
using Rearrange = void (*)(uint8_t* dst, const uint8_t* src, size_t count);

/// Words to bytes: the low 8 bits of word >> shift, 0 <= shift < 16.
using ReduceWords = void (*)(uint8_t* bytes, const uint8_t* words, size_t count, uint32_t shift);

/// Words to words: min(word >> shift, largest), 0 <= shift < 16.
using LimitWords = void (*)(uint8_t* dst, const uint8_t* src, size_t count, uint32_t shift, uint32_t largest);

/// Where the luma bytes of YUV rows lie; all other bytes are chroma.
enum LumaPlaces : unsigned {
    kOddLuma,    ///< U Y V Y
    kEvenLuma,   ///< Y U Y V
    kThirdLuma,  ///< U Y V
    kLumaPairs,  ///< U Y Y V Y Y
    kLumaPlacesCount
};

/// Whether a byte of a row that begins with a group is luma.
static constexpr bool IsLuma(LumaPlaces places, size_t byte) {
    switch (places) {
        case kOddLuma:
            return byte % 2 == 1;
        case kEvenLuma:
            return byte % 2 == 0;
        case kThirdLuma:
            return byte % 3 == 1;
        default:
            return byte % 3 != 0;
    }
}

/// Bytes of limited range to full range, by the rule of the header; `src` begins with a whole group.
using WidenRange = void (*)(uint8_t* dst, const uint8_t* src, size_t bytes);

/// Exchanges the first and third byte of each pixel in place.
using ExchangeColours = void (*)(uint8_t* pixels, size_t count);

/// A matrix as the kernels take it: rows of first, second, third channel of a pixel in memory order, 4096 is 1.0.
struct PixelMatrix {
    int16_t rows[3][3];
};

/// In place on pixels of four bytes: each of the first three becomes the rounded and limited product; the fourth stays.
using ApplyMatrix4 = void (*)(uint8_t* pixels, size_t count, const PixelMatrix& matrix);

struct FrameKernels {
    const char* name;

    UnpackGroups unpack[7];  ///< by VCF_PACKING_...; [0] is null
    ReduceWords reduce;
    LimitWords limitWords;
    Rearrange swapBytes;   ///< pairs of bytes, exchanged: YUYV to UYVY
    Rearrange spread3To4;  ///< U Y V to U Y V 0
    Rearrange spread4To5;  ///< U Y V Y to U Y V Y 0
    ExchangeColours exchange3;
    ExchangeColours exchange4;
    WidenRange widenRange[kLumaPlacesCount];
    ApplyMatrix4 matrix4;
    Rearrange drop4To3;  ///< pixels of four bytes to three; may be in place
};

extern const FrameKernels kScalarFrameKernels;
#if defined(__x86_64__)
extern const FrameKernels kSseFrameKernels;     ///< SSSE3 and SSE4.1
extern const FrameKernels kAvx2FrameKernels;    ///< AVX2
extern const FrameKernels kAvx512FrameKernels;  ///< AVX-512 F, BW, VL, DQ and VBMI
#elif defined(__aarch64__)
extern const FrameKernels kNeonFrameKernels;
#elif defined(__wasm__)
extern const FrameKernels kWasmFrameKernels;
#endif

/// The kernels in use. Tests replace them.
extern const FrameKernels* s_frameKernels;

}  // namespace VexaFrames
