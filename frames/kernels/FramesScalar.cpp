// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The scalar table.
#include "kernels/FramesScalar.h"

namespace VexaFrames {

namespace {

template <uint32_t packing>
void Unpack(uint8_t* words, const uint8_t* packed, size_t groups) {
    UnpackSamples<packing>(words, packed, 0, groups * kGroupPixels<packing>);
}

void Reduce(uint8_t* bytes, const uint8_t* words, size_t count, uint32_t shift) {
    for (size_t i = 0; i < count; ++i) {
        bytes[i] = static_cast<uint8_t>(LoadWord(words + 2 * i) >> shift);
    }
}

void Limit(uint8_t* dst, const uint8_t* src, size_t count, uint32_t shift, uint32_t largest) {
    for (size_t i = 0; i < count; ++i) {
        const uint32_t word = LoadWord(src + 2 * i) >> shift;
        StoreWord(dst + 2 * i, word < largest ? word : largest);
    }
}

void SwapBytes(uint8_t* dst, const uint8_t* src, size_t pairs) {
    for (size_t i = 0; i < pairs; ++i) {
        const uint8_t first = src[2 * i];
        dst[2 * i] = src[2 * i + 1];
        dst[2 * i + 1] = first;
    }
}

template <size_t from, size_t to>
void Spread(uint8_t* dst, const uint8_t* src, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        for (size_t k = 0; k < to; ++k) {
            dst[to * i + k] = k < from ? src[from * i + k] : 0;
        }
    }
}

template <size_t bytes>
void Exchange(uint8_t* pixels, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        const uint8_t first = pixels[bytes * i];
        pixels[bytes * i] = pixels[bytes * i + 2];
        pixels[bytes * i + 2] = first;
    }
}

template <LumaPlaces places>
void Widen(uint8_t* dst, const uint8_t* src, size_t bytes) {
    constexpr bool kLuma[6] = {IsLuma(places, 0), IsLuma(places, 1), IsLuma(places, 2),
                               IsLuma(places, 3), IsLuma(places, 4), IsLuma(places, 5)};
    for (size_t i = 0; i < bytes; ++i) {
        dst[i] = kLuma[i % 6] ? FullLuma(src[i]) : FullChroma(src[i]);
    }
}

void Matrix4(uint8_t* pixels, size_t count, const PixelMatrix& matrix) {
    for (size_t i = 0; i < count; ++i, pixels += 4) {
        const int32_t in[3] = {pixels[0], pixels[1], pixels[2]};
        for (size_t c = 0; c < 3; ++c) {
            const auto& row = matrix.rows[c];
            const int32_t value = (row[0] * in[0] + row[1] * in[1] + row[2] * in[2] + 2048) >> 12;
            pixels[c] = static_cast<uint8_t>(value < 0 ? 0 : value > 255 ? 255 : value);
        }
    }
}

void Drop4To3(uint8_t* dst, const uint8_t* src, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        for (size_t k = 0; k < 3; ++k) {
            dst[3 * i + k] = src[4 * i + k];
        }
    }
}

}  // namespace

constinit const FrameKernels kScalarFrameKernels = {
    "scalar",
    {nullptr, Unpack<VCF_PACKING_10P>, Unpack<VCF_PACKING_12P>, Unpack<VCF_PACKING_10PACKED>,
     Unpack<VCF_PACKING_12PACKED>, Unpack<VCF_PACKING_10CSI2>, Unpack<VCF_PACKING_12CSI2>},
    Reduce,
    Limit,
    SwapBytes,
    Spread<3, 4>,
    Spread<4, 5>,
    Exchange<3>,
    Exchange<4>,
    {Widen<kOddLuma>, Widen<kEvenLuma>, Widen<kThirdLuma>, Widen<kLumaPairs>},
    Matrix4,
    Drop4To3,
};

constinit const FrameKernels* s_frameKernels = &kScalarFrameKernels;

}  // namespace VexaFrames
