// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// PrepareLUT: the tables of grey to BGRA and of full-range YUV to RGB with the coefficients of ITU-R BT.601.
//
//     K = row of (U, V)          R = [V][Y]      G = [K][Y]      B = [U][Y]
//     BGRA = green word | red and alpha word | blue byte
//
// An entry is stored only where it differs from what is there. So a repeated call writes nothing at all and may run
// beside conversions that read the tables.
#include <algorithm>
#include <bit>

#include "catalogue/VexaCamUtl.h"

namespace Vexa {
namespace {

constexpr uint32_t kOpaque = 0xFF000000u;

template <class Entry>
void StoreIfDifferent(Entry& entry, Entry value) {
    if (entry != value) {
        entry = value;
    }
}

uint8_t ClampToByte(int value) {
    return static_cast<uint8_t>(std::clamp(value, 0, 255));
}

void FillGrey() {
    for (uint32_t grey = 0; grey < kSampleCount; ++grey) {
        StoreIfDifferent(auiMono2BGRA[grey], kOpaque + grey * 0x010101u);
    }
}

/// The whole number that a single-precision number of that value holds: 24 significant bits, ties to the even one.
constexpr int64_t RoundToSingle(int64_t value) {
    const uint64_t magnitude = value < 0 ? 0 - static_cast<uint64_t>(value) : static_cast<uint64_t>(value);
    const int excess = static_cast<int>(std::bit_width(magnitude)) - 24;
    if (excess <= 0) {
        return value;
    }
    const uint64_t last = magnitude >> excess & 1;
    const uint64_t rounded = (magnitude + (uint64_t{1} << (excess - 1)) - 1 + last) >> excess << excess;
    return value < 0 ? -static_cast<int64_t>(rounded) : static_cast<int64_t>(rounded);
}

// Required: the products of U and V and their sum are rounded to single precision. For 18 of the 65,536 pairs, ties in
// exact arithmetic, double precision would give the next row. Whole numbers in units of 2^-25 stand for the values, so
// that no rounding mode of the caller matters.
constexpr uint32_t GreenRow(int u, int v) {
    constexpr int64_t kOne = int64_t{1} << 25;
    constexpr int64_t kOfV = int64_t{11978932} * 2;  // 0.714 in single precision
    constexpr int64_t kOfU = 11542725;               // 0.344 in single precision
    const int64_t chroma = RoundToSingle(RoundToSingle(v * kOfV) + RoundToSingle(u * kOfU));
    const int64_t row = (chroma + 256 * kOne + kOne / 2) / kOne;
    return static_cast<uint32_t>(std::min<int64_t>(row, kGreenRowCount - 1));
}

void FillGreenRows() {
    for (int u = 0; u < 256; ++u) {
        for (int v = 0; v < 256; ++v) {
            StoreIfDifferent(auiYUVC_UV[u * 256 + v], GreenRow(u - 128, v - 128));
        }
    }
}

/// Red is Y + 1.402 V and blue is Y + 1.772 U, rounded to the nearest whole number; for all chroma bytes these integers
/// give the same.
void FillRedAndBlue() {
    for (int chroma = -128; chroma < 128; ++chroma) {
        for (int y = 0; y < 256; ++y) {
            const int index = (chroma + 128) * 256 + y;
            const uint8_t red = ClampToByte(y + ((22971 * chroma + 8256) >> 14));
            const uint8_t blue = ClampToByte(y + ((29032 * chroma + 8256) >> 14));
            StoreIfDifferent(aucYV2R[index], red);
            StoreIfDifferent(auiYV2R[index], kOpaque + red * 0x10000u);
            StoreIfDifferent(aucYU2B[index], blue);
        }
    }
}

void FillGreen() {
    for (int row = 0; row < static_cast<int>(kGreenRowCount); ++row) {
        for (int y = 0; y < 256; ++y) {
            const int index = row * 256 + y;
            const uint8_t green = ClampToByte(y + static_cast<int>(kNeutralGreenRow) - row);
            StoreIfDifferent(aucYUV2G[index], green);
            StoreIfDifferent(auiYUV2G[index], green * 0x100u);
        }
    }
}

}  // namespace
}  // namespace Vexa

UtlStatus PrepareLUT() {
    Vexa::FillGrey();
    Vexa::FillGreenRows();
    Vexa::FillRedAndBlue();
    Vexa::FillGreen();
    // After the tables, also for threads that convert as soon as they see it.
    if (!Vexa::s_bLUTReady) {
        __atomic_store_n(&Vexa::s_bLUTReady, true, __ATOMIC_RELEASE);
    }
    return UTL_STS_SUCCESS;
}
