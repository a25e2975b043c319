/* SPDX-License-Identifier: MIT
 * Copyright (c) the Vexa camera utility library authors
 *
 * One raw frame to one picture: loads a frame with its header, lets the library choose the converter for its pixel
 * format, and writes the picture as PPM, which every viewer opens.
 *
 *     convert_frame frame.rwh picture.ppm
 */
#include <VexaCamUtl.h>
#include <stdio.h>
#include <stdlib.h>

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
    PixelFormat format = 0;
    uint32_t width = 0;
    uint32_t height = 0;
    UtlStatus status;
    int result = EXIT_FAILURE;
    if (argc != 3) {
        fprintf(stderr, "usage: convert_frame frame.rwh picture.ppm\n");
        return result;
    }
    PrepareLUT(); /* once, before grey and YUV frames are converted */
    status = LoadRWH(argv[1], &frame, &format, &width, &height, NULL);
    if (status == UTL_STS_SUCCESS) {
        bgra = malloc((size_t)width * height * 4);
        status =
            bgra == NULL ? UTL_STS_INVALID_PARAMETER : ConvImage(CONV_DST_BGRA, format, 1, bgra, frame, width, height);
    }
    if (status != UTL_STS_SUCCESS) {
        fprintf(stderr, "convert_frame: %s: status %#x\n", argv[1], status);
    } else if (write_ppm(argv[2], bgra, width, height) != 0) {
        perror(argv[2]);
    } else {
        result = EXIT_SUCCESS;
    }
    free(bgra);
    free(frame);
    return result;
}
