/* SPDX-License-Identifier: MIT
 * Copyright (c) the Vexa camera utility library authors
 *
 * A camera buffer in a file, of any layout that the frames layer knows, to a PPM picture with white balance and the
 * tone of a screen.
 *
 *     convert_buffer buffer.raw FORMAT WIDTH HEIGHT STRIDE picture.ppm      STRIDE 0: rows without padding
 */
#include <VexaCamFrames.h>
#include <stdio.h>
#include <stdlib.h>

static int convert(const VcfLayout* layout, const void* buffer, size_t length, FILE* out) {
    char text[VCF_TEXT_BYTES] = "";
    VcfSettings settings;
    VcfBalance balance;
    VcfConverter* converter = NULL;
    const size_t bytes = (size_t)layout->width * layout->height * 3;
    uint8_t* rgb = malloc(bytes + 1);
    VcfStatus status;
    VcfInitSettings(&settings);
    settings.tone = VCF_TONE_SRGB;
    settings.levels = VcfFindFormat(layout->format)->kind != VCF_KIND_YUV;
    if (VcfEstimateBalance(layout, buffer, length, 0, 1, &balance, NULL, 0) == VCF_OK) {
        settings.gain[0] = balance.gain[0];
        settings.gain[1] = balance.gain[1];
        settings.gain[2] = balance.gain[2];
    }
    status = VcfCreateConverter(&converter, layout, VCF_OUTPUT_RGB, &settings, text, sizeof text);
    if (status == VCF_OK)
        status = VcfConvert(converter, buffer, length, rgb, 0, text, sizeof text);
    VcfDestroyConverter(converter);
    if (status != VCF_OK)
        fprintf(stderr, "convert_buffer: %s\n", text);
    else if (fprintf(out, "P6\n%u %u\n255\n", (unsigned)layout->width, (unsigned)layout->height) < 0 ||
             fwrite(rgb, 1, bytes, out) != bytes)
        status = VCF_INVALID_ARGUMENT;
    free(rgb);
    return status == VCF_OK;
}

int main(int argc, char** argv) {
    static uint8_t buffer[64 << 20];
    VcfLayout layout;
    FILE* in = argc == 7 ? fopen(argv[1], "rb") : NULL;
    const size_t length = in != NULL ? fread(buffer, 1, sizeof buffer, in) : 0;
    FILE* out;
    int good;
    VcfInitLayout(&layout, argc == 7 ? VcfFormatNamed(argv[2]) : 0, 0, 0);
    if (in == NULL || VcfFindFormat(layout.format) == NULL) {
        fprintf(stderr, "convert_buffer: cannot read a buffer of a known format\n");
        return 1;
    }
    layout.width = (uint32_t)strtoul(argv[3], NULL, 10);
    layout.height = (uint32_t)strtoul(argv[4], NULL, 10);
    layout.stride = strtoul(argv[5], NULL, 10);
    out = fopen(argv[6], "wb");
    good = out != NULL && convert(&layout, buffer, length, out);
    return (out == NULL || fclose(out) == 0) && good ? 0 : 1;
}
