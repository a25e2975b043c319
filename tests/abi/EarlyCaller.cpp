// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// A library whose constructor calls every converter, the queries and ReverseImg before any other library's
// constructor has run (it is linked with -z initfirst and names no dependency). What it found is read by the test.
#include "EarlyCaller.h"

#include "Patterns.h"
#include "Reference.h"

EarlyFindings g_earlyFindings;

namespace {

constexpr uint32_t kWidth = 70;
constexpr uint32_t kHeight = 6;

bool AgreesWithReference(const Reference::Converter& converter) {
    static uint8_t src[kWidth * kHeight * 6];
    static uint8_t dst[kWidth * kHeight * 4];
    static uint8_t expected[kWidth * kHeight * 4];
    Reference::FillPattern(src, sizeof src, sizeof src, 1, 8, Reference::Pattern::kRandom, 1);
    for (size_t i = 0; i < sizeof dst; ++i) {
        dst[i] = expected[i] = 0x55;
    }
    Reference::Convert(converter, expected, src, kWidth, kHeight);
    if (converter.Call(dst, src, kWidth, kHeight) != UTL_STS_SUCCESS) {
        return false;
    }
    for (size_t i = 0; i < sizeof dst; ++i) {
        if (dst[i] != expected[i]) {
            return false;
        }
    }
    return true;
}

[[gnu::constructor]] void CallEverything() {
    uint8_t pixel[4] = {};
    const uint8_t grey = 7;
    g_earlyFindings.ran = true;
    g_earlyFindings.refused = ConvMono8ToBGRA(pixel, &grey, 1, 1) == UTL_STS_NOT_INITIALIZED;
    g_earlyFindings.queries = BitPerPixel(PIXEL_FORMAT_MONO10) == 16 && DataDepth(PIXEL_FORMAT_MONO10) == 10 &&
                              IsMonochromic(PIXEL_FORMAT_BAYER_GR8) == 0 && IsPixelBayer(PIXEL_FORMAT_BAYER_GR8) == 1;
    g_earlyFindings.getter = GetBGRAConverter(PIXEL_FORMAT_BAYER_RG8, 1) == &ConvByrRG8ToBGRA;
    PrepareLUT();
    for (const Reference::Converter& converter : Reference::Converters()) {
        g_earlyFindings.converters += AgreesWithReference(converter) ? 1u : 0u;
    }
    g_earlyFindings.reversal =
        ReverseImg(pixel, &grey, PIXEL_FORMAT_MONO8, 1, 1, 1, 1) == UTL_STS_SUCCESS && pixel[0] == 7;
    const UtlStatus saved = SaveBmpMono(&grey, 1, 1, "/dev/null");
    const UtlStatus loaded = LoadRWH("/dev/null", nullptr, nullptr, nullptr, nullptr, nullptr);
    g_earlyFindings.files = saved == UTL_STS_SUCCESS && loaded == UTL_STS_SUCCESS;
}

}  // namespace
