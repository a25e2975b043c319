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

// Required: the two products and their sum are rounded to single precision. For 18 of the 65,536 pairs, ties in
// exact arithmetic, double precision would give the next row.
uint32_t GreenRow(int u, int v) {
    const float chroma = static_cast<float>(v) * 0.714f + static_cast<float>(u) * 0.344f;
    const auto row = static_cast<uint16_t>(static_cast<int32_t>(static_cast<double>(chroma) + 256.5));
    return std::min<uint32_t>(row, kGreenRowCount - 1);
}

void FillGreenRows() {
    for (int u = 0; u < 256; ++u) {
        for (int v = 0; v < 256; ++v) {
            StoreIfDifferent(auiYUVC_UV[u * 256 + v], GreenRow(u - 128, v - 128));
        }
    }
}

void FillRedAndBlue() {
    for (int chroma = -128; chroma < 128; ++chroma) {
        for (int y = 0; y < 256; ++y) {
            const int index = (chroma + 128) * 256 + y;
            const uint8_t red = ClampToByte(static_cast<int>((y + chroma * 1.402) + 0.5));
            const uint8_t blue = ClampToByte(static_cast<int>((y + chroma * 1.772) + 0.5));
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
    Vexa::StoreIfDifferent(Vexa::s_bLUTReady, true);
    return UTL_STS_SUCCESS;
}
