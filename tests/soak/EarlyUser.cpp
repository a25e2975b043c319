// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// A library that uses the camera utility library before main, from its constructor. Whatever of that the library's own
// constructor has or has not done by then, the answers have to be right.
#include <VexaCamUtl.h>

#include <cstdint>

extern "C" int EarlyMistakes();

namespace {

int mistakes = -1;

void Expect(bool holds) {
    mistakes += holds ? 0 : 1;
}

[[gnu::constructor]] void UseTheLibrary() {
    mistakes = 0;
    Expect(BitPerPixel(PIXEL_FORMAT_BGR10) == 48);
    Expect(DataDepth(PIXEL_FORMAT_BAYER_GB12) == 12);
    Expect(IsPixelBayer(PIXEL_FORMAT_BAYER_GB12) == 1);
    Expect(IsMonochromic(PIXEL_FORMAT_YUV8_UYV) == 0);

    const uint8_t source[64] = {10, 20, 30, 40};
    uint8_t picture[256] = {};
    Expect(ConvImage(CONV_DST_BGR, PIXEL_FORMAT_BAYER_RG8, 1, picture, source, 4, 4) == UTL_STS_SUCCESS);
    Expect(picture[2] == 10);
    Expect(ConvMono8ToBGRA(picture, source, 4, 1) == UTL_STS_NOT_INITIALIZED);
    Expect(PrepareLUT() == UTL_STS_SUCCESS);
    Expect(ConvMono8ToBGRA(picture, source, 4, 1) == UTL_STS_SUCCESS);
    Expect(picture[4] == 20 && picture[7] == 255);
    Expect(ReverseImg(picture, source, PIXEL_FORMAT_MONO8, 4, 1, 1, 0) == UTL_STS_SUCCESS);
    Expect(picture[0] == 40 && picture[3] == 10);
    Expect(SaveBmpMono(source, 2, 2, "/dev/null") == UTL_STS_SUCCESS);
    Expect(LoadRWH("/dev/null", nullptr, nullptr, nullptr, nullptr, nullptr) == UTL_STS_SUCCESS);
}

}  // namespace

/// Wrong answers that the constructor got; -1 if it did not run.
[[gnu::visibility("default")]] int EarlyMistakes() {
    return mistakes;
}
