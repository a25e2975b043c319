/* SPDX-License-Identifier: MIT
 * Copyright (c) the Vexa camera utility library authors
 *
 * The first program, as README.md and the header print it: a frame like a camera's becomes a picture to look at.
 */
#include <VexaCamUtl.h>
#include <stdio.h>
#include <stdlib.h>

// A BayerRG8 frame: red grows to the right, blue grows downwards, green is constant.
static void draw_frame(uint8_t* frame, uint32_t width, uint32_t height) {
    for (uint32_t y = 0; y < height; ++y) {
        for (uint32_t x = 0; x < width; ++x) {
            const uint32_t red = 255 * x / width, green = 96, blue = 255 * y / height;
            // even rows R G R G ..., odd rows G B G B ...
            frame[y * width + x] = (uint8_t)(x % 2 != y % 2 ? green : y % 2 == 0 ? red : blue);
        }
    }
}

static int save_ppm(const char* path, const uint8_t* bgr, uint32_t width, uint32_t height) {
    FILE* file = fopen(path, "wb");
    int failed = file == NULL || fprintf(file, "P6\n%u %u\n255\n", width, height) < 0;
    for (uint32_t i = 0; i < width * height && !failed; ++i) {
        const uint8_t rgb[3] = {bgr[3 * i + 2], bgr[3 * i + 1], bgr[3 * i]};  // PPM stores red first
        failed = fwrite(rgb, 3, 1, file) != 1;
    }
    return file == NULL || fclose(file) != 0 || failed;
}

int main(void) {
    const uint32_t width = 640, height = 480;
    uint8_t* frame = malloc(width * height);    // BayerRG8: 1 byte per pixel
    uint8_t* bgr = malloc(width * height * 3);  // BGR: 3 bytes per pixel
    int failed = 1;
    PrepareLUT();  // once per process: grey and YUV frames need it
    if (frame != NULL && bgr != NULL) {
        draw_frame(frame, width, height);
        if (ConvImage(CONV_DST_BGR, PIXEL_FORMAT_BAYER_RG8, 1, bgr, frame, width, height) == UTL_STS_SUCCESS) {
            failed = save_ppm("picture.ppm", bgr, width, height);
        }
    }
    free(bgr);
    free(frame);
    return failed;
}
