// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The kernels as obvious loops: what each byte has to be. Also single samples, of which rows that begin or end inside a
// group are made.
#pragma once

#include <VexaCamFrames.h>

#include "kernels/FrameKernels.h"

namespace VexaFrames {

inline uint32_t LoadWord(const uint8_t* from) {
    return from[0] | static_cast<uint32_t>(from[1]) << 8;
}

inline void StoreWord(uint8_t* to, uint32_t word) {
    to[0] = static_cast<uint8_t>(word);
    to[1] = static_cast<uint8_t>(word >> 8);
}

/// (Y - 16) * 255 / 219, rounded and limited to 0..255.
inline uint8_t FullLuma(uint32_t y) {
    const uint32_t full = y < 16 ? 0 : ((y - 16) * 255 + 109) / 219;
    return static_cast<uint8_t>(full < 255 ? full : 255);
}

/// (C - 128) * 255 / 224 + 128, rounded and limited to 0..255; a multiple of 224 keeps the division above 0.
inline uint8_t FullChroma(uint32_t c) {
    const uint32_t plus256 = (c * 255 + 128 * 224 + 112 + 256 * 224 - 128 * 255) / 224;
    return static_cast<uint8_t>(plus256 < 256 ? 0 : plus256 > 511 ? 255 : plus256 - 256);
}

/// Where the bits of a sample lie in its group: the byte with the high bits, and the low bits in another byte.
struct SplitSample {
    uint32_t high;
    uint32_t low;
    uint32_t lowShift;
    uint32_t lowBits;
};

constexpr SplitSample SplitOf(uint32_t packing, uint32_t member) {
    switch (packing) {
        case VCF_PACKING_10PACKED:
            return {2 * member, 1, 4 * member, 2};
        case VCF_PACKING_12PACKED:
            return {2 * member, 1, 4 * member, 4};
        case VCF_PACKING_10CSI2:
            return {member, 4, 2 * member, 2};
        default:
            return {member, 2, 4 * member, 4};
    }
}

/// One sample of a group, `member` counted from 0. Reads only the bytes that hold it.
template <uint32_t packing>
uint32_t SampleOf(const uint8_t* group, uint32_t member) {
    if constexpr (packing == VCF_PACKING_10P || packing == VCF_PACKING_12P) {
        constexpr uint32_t kDepth = packing == VCF_PACKING_10P ? 10 : 12;
        const uint32_t bit = member * kDepth;
        return LoadWord(group + bit / 8) >> bit % 8 & ((1u << kDepth) - 1);
    } else {
        const SplitSample split = SplitOf(packing, member);
        const uint32_t low = static_cast<uint32_t>(group[split.low]) >> split.lowShift & ((1u << split.lowBits) - 1);
        return static_cast<uint32_t>(group[split.high]) << split.lowBits | low;
    }
}

template <uint32_t packing>
inline constexpr uint32_t kGroupPixels = packing == VCF_PACKING_10P || packing == VCF_PACKING_10CSI2 ? 4 : 2;
template <uint32_t packing>
inline constexpr uint32_t kGroupBytes = packing == VCF_PACKING_10P || packing == VCF_PACKING_10CSI2 ? 5 : 3;

/// `count` samples from `member` of the first group on.
template <uint32_t packing>
void UnpackSamples(uint8_t* words, const uint8_t* group, uint32_t member, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        StoreWord(words + 2 * i, SampleOf<packing>(group, member));
        if (++member == kGroupPixels<packing>) {
            member = 0;
            group += kGroupBytes<packing>;
        }
    }
}

}  // namespace VexaFrames
