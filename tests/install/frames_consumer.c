/* SPDX-License-Identifier: MIT
 * Copyright (c) the Vexa camera utility library authors
 *
 * A user's program of the frames layer: it converts a packed frame and checks the pixels, and that a short buffer is
 * refused with a text.
 */
#include <VexaCamFrames.h>
#include <stdio.h>
#include <string.h>

int main(void) {
    /* 12Packed: every 2 x 2 block holds red 0xC80, green 0x640 and blue 0x320. */
    static const uint8_t red_row[6] = {0xC8, 0x00, 0x64, 0xC8, 0x00, 0x64};
    static const uint8_t blue_row[6] = {0x64, 0x00, 0x32, 0x64, 0x00, 0x32};
    static const uint8_t pixel[4] = {0x32, 0x64, 0xC8, 0xFF};
    uint8_t frame[24];
    uint8_t bgra[64];
    char text[VCF_TEXT_BYTES];
    VcfLayout layout;
    VcfConverter* converter = NULL;
    VcfStatus status;
    size_t i;

    for (i = 0; i < 4; ++i)
        memcpy(frame + 6 * i, i % 2 == 0 ? red_row : blue_row, 6);
    VcfInitLayout(&layout, VcfFormatNamed("BayerRG12Packed"), 4, 4);
    status = VcfCreateConverter(&converter, &layout, VCF_OUTPUT_BGRA, NULL, text, sizeof text);
    if (status == VCF_OK)
        status = VcfConvert(converter, frame, sizeof frame, bgra, 0, text, sizeof text);
    if (status != VCF_OK) {
        fprintf(stderr, "frames_consumer: %s\n", text);
        return 1;
    }
    for (i = 0; i < 16; ++i) {
        if (memcmp(bgra + 4 * i, pixel, 4) != 0) {
            fprintf(stderr, "frames_consumer: a pixel has another colour\n");
            return 1;
        }
    }
    status = VcfConvert(converter, frame, sizeof frame - 1, bgra, 0, text, sizeof text);
    VcfDestroyConverter(converter);
    if (status != VCF_TOO_SHORT || strstr(text, "1 too few") == NULL) {
        fprintf(stderr, "frames_consumer: a short buffer gives status %u, '%s'\n", (unsigned)status, text);
        return 1;
    }
    return 0;
}
