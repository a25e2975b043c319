/* SPDX-License-Identifier: MIT
 * Copyright (c) the Vexa camera utility library authors
 *
 * A user's program, in C99 and in C++ alike: it converts a frame by each of the three roads (ConvImage, a converter
 * that a getter handed out, a converter by its name) and checks the pixels against what they must be.
 */
#include <VexaCamUtl.h>
#include <stdio.h>
#include <string.h>

#if VEXACAMUTL_VERSION_MAJOR != 1
#error "this consumer is written for version 1"
#endif

static int failures = 0;

static void expect(int holds, const char* what) {
    if (!holds) {
        fprintf(stderr, "consumer: %s\n", what);
        ++failures;
    }
}

int main(void) {
    /* Every 2 x 2 block of the mosaic holds the same red, green and blue: so does every pixel of the picture. */
    static const uint8_t mosaic[16] = {200, 100, 200, 100, 100, 50, 100, 50, 200, 100, 200, 100, 100, 50, 100, 50};
    static const uint8_t pixel[4] = {50, 100, 200, 255};
    static const uint8_t grey[3] = {200, 100, 200};
    uint8_t bgra[64];
    uint8_t bgr[48];
    ConverterFunc converter;
    size_t i;

    expect(ConvImage(CONV_DST_BGRA, PIXEL_FORMAT_MONO8, 0, bgra, mosaic, 3, 1) == UTL_STS_NOT_INITIALIZED,
           "grey to BGRA has to wait for PrepareLUT");
    expect(PrepareLUT() == UTL_STS_SUCCESS, "PrepareLUT");

    expect(ConvImage(CONV_DST_BGRA, PIXEL_FORMAT_BAYER_RG8, 1, bgra, mosaic, 4, 4) == UTL_STS_SUCCESS, "ConvImage");
    for (i = 0; i < 16; ++i) {
        expect(memcmp(bgra + 4 * i, pixel, 4) == 0, "a BGRA pixel has another colour");
    }
    converter = GetBGRConverter(PIXEL_FORMAT_BAYER_RG8, 1);
    expect(converter == &ConvByrRG8ToBGR, "the getter hands out another converter");
    expect(converter(bgr, mosaic, 4, 4) == UTL_STS_SUCCESS, "the kept converter");
    for (i = 0; i < 16; ++i) {
        expect(memcmp(bgr + 3 * i, pixel, 3) == 0, "a BGR pixel has another colour");
    }
    expect(ConvMono8ToBGRA(bgra, mosaic, 3, 1) == UTL_STS_SUCCESS, "ConvMono8ToBGRA");
    for (i = 0; i < 12; ++i) {
        expect(bgra[i] == (i % 4 == 3 ? 255 : grey[i / 4]), "a grey pixel has another value");
    }
    return failures == 0 ? 0 : 1;
}
