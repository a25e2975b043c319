/* SPDX-License-Identifier: MIT
 * Copyright (c) the Vexa camera utility library authors
 *
 * One frame from a camera, as a PNG to look at and as a raw frame to keep. The camera's pixel-format codes are the
 * library's own, so nothing has to be translated. Without a camera name Aravis' built-in fake camera is used.
 *
 *     capture picture.png frame.rwh [camera-name [pixel-format-name]]
 */
#include <VexaCamUtl.h>
#include <arv.h>
#include <png.h>

static gboolean save(ArvBuffer* buffer, const char* png_path, const char* rwh_path) {
    const PixelFormat format = arv_buffer_get_image_pixel_format(buffer);
    const uint32_t width = (uint32_t)arv_buffer_get_image_width(buffer);
    const uint32_t height = (uint32_t)arv_buffer_get_image_height(buffer);
    png_image png = {.version = PNG_IMAGE_VERSION, .width = width, .height = height, .format = PNG_FORMAT_BGRA};
    size_t size = 0;
    const void* frame = arv_buffer_get_data(buffer, &size);
    uint8_t* bgra = g_malloc((size_t)width * height * 4);
    /* The library trusts sizes; a camera's buffer is better asked. */
    gboolean good = format != PIXEL_FORMAT_YUV8_UYV && size >= (size_t)width * height * BitPerPixel(format) / 8;
    good = good && ConvImage(CONV_DST_BGRA, format, 1, bgra, frame, width, height) == UTL_STS_SUCCESS;
    good = good && SaveRWH(frame, format, width, height, rwh_path) == UTL_STS_SUCCESS;
    good = good && png_image_write_to_file(&png, png_path, 0, bgra, 0, NULL) != 0;
    g_print("%u x %u, format %#010x: %s\n", width, height, format, good ? "saved" : "failed");
    g_free(bgra);
    return good;
}

int main(int argc, char** argv) {
    g_autoptr(GError) error = NULL;
    g_autoptr(ArvCamera) camera = NULL;
    g_autoptr(ArvBuffer) buffer = NULL;
    if (argc < 3) {
        g_printerr("usage: capture picture.png frame.rwh [camera-name [pixel-format-name]]\n");
        return 1;
    }
    PrepareLUT();
    arv_enable_interface("Fake");
    camera = arv_camera_new(argc > 3 ? argv[3] : "Fake_1", &error);
    if (error == NULL && argc > 4) {
        arv_camera_set_pixel_format_from_string(camera, argv[4], &error);
    }
    if (error == NULL) {
        buffer = arv_camera_acquisition(camera, 5000000, &error); /* microseconds */
    }
    if (error != NULL || !ARV_IS_BUFFER(buffer) || arv_buffer_get_status(buffer) != ARV_BUFFER_STATUS_SUCCESS) {
        g_printerr("capture: %s\n", error != NULL ? error->message : "no complete frame");
        return 1;
    }
    return save(buffer, argv[1], argv[2]) ? 0 : 1;
}
