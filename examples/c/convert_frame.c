/* SPDX-License-Identifier: MIT
 * Copyright (c) the Vexa camera utility library authors
 *
 * One raw frame to one picture: loads a frame with its header, lets the library choose the converter for its pixel
 * format, and writes the picture as PPM, which every viewer opens.     convert_frame frame.rwh picture.ppm
 */
#include <VexaCamUtl.h>
#include <stdio.h>
#include <stdlib.h>

/* A file may say anything, and converters trust sizes. Rows that end within a byte and YUV8_UYV, which has 3 bytes a
 * pixel where its converter reads 4, are left to other programs. */
static int is_sound(PixelFormat format, uint32_t width, uint32_t height, uint32_t rowSize) {
    return rowSize * UINT64_C(8) == (uint64_t)width * BitPerPixel(format) && (uint64_t)rowSize * height <= UINT32_MAX &&
           format != PIXEL_FORMAT_YUV8_UYV;
}

static int write_ppm(const char* path, const uint8_t* bgra, uint32_t width, uint32_t height) {
    const size_t count = (size_t)width * height;
    int failed;
    FILE* file = fopen(path, "wb");
    if (file == NULL) {
        return -1;
    }
    failed = fprintf(file, "P6\n%u %u\n255\n", width, height) < 0;
    for (size_t i = 0; i < count && !failed; ++i) {
        const uint8_t rgb[3] = {bgra[4 * i + 2], bgra[4 * i + 1], bgra[4 * i]};
        failed = fwrite(rgb, sizeof rgb, 1, file) != 1;
    }
    return fclose(file) != 0 || failed ? -1 : 0;
}

int main(int argc, char** argv) {
    uint8_t* frame = NULL; /* null: LoadRWH gets the block from malloc */
    uint8_t* bgra = NULL;
    PixelFormat format;
    uint32_t width, height, rowSize;
    int result = EXIT_FAILURE;
    if (argc != 3) {
        fprintf(stderr, "usage: convert_frame frame.rwh picture.ppm\n");
        return result;
    }
    PrepareLUT(); /* once, before grey and YUV frames are converted */
    if (LoadRWH(argv[1], &frame, &format, &width, &height, &rowSize) != UTL_STS_SUCCESS) {
        fprintf(stderr, "convert_frame: %s cannot be loaded\n", argv[1]);
    } else if (!is_sound(format, width, height, rowSize) || (bgra = malloc((size_t)width * height * 4)) == NULL ||
               ConvImage(CONV_DST_BGRA, format, 1, bgra, frame, width, height) != UTL_STS_SUCCESS) {
        fprintf(stderr, "convert_frame: %s: no picture of format %#x, %u x %u\n", argv[1], format, width, height);
    } else if (write_ppm(argv[2], bgra, width, height) != 0) {
        perror(argv[2]);
    } else {
        result = EXIT_SUCCESS;
    }
    free(bgra);
    free(frame);
    return result;
}
