/* SPDX-License-Identifier: MIT
 * Copyright (c) the Vexa camera utility library authors
 *
 * One frame from a camera, as a PNG to look at and as a raw frame to keep. The camera's pixel-format codes are the
 * library's own, so nothing has to be translated; packed formats and padded rows are fine. Without a camera name
 * Aravis' built-in fake camera is used.
 *
 *     capture picture.png frame.rwh [camera-name [pixel-format-name]]
 */
#include <VexaCamFrames.h>
#include <arv.h>
#include <png.h>

/* What the camera sends: packed samples, padding at the ends of rows; chunk data after the picture are left out. */
static VcfLayout layout_of(ArvBuffer* buffer) {
    VcfLayout layout;
    gint xPadding = 0;
    gint yPadding = 0;
    VcfInitLayout(&layout, arv_buffer_get_image_pixel_format(buffer), (uint32_t)arv_buffer_get_image_width(buffer),
                  (uint32_t)arv_buffer_get_image_height(buffer));
    arv_buffer_get_image_padding(buffer, &xPadding, &yPadding);
    if (xPadding > 0) {
        layout.stride = VcfRowBytes(&layout) + (uint64_t)xPadding;
    }
    return layout;
}

static gboolean save(ArvBuffer* buffer, const char* pngPath, const char* rwhPath) {
    const VcfLayout layout = layout_of(buffer);
    const VcfFormat* format = VcfFindFormat(layout.format);
    png_image png = {
        .version = PNG_IMAGE_VERSION, .width = layout.width, .height = layout.height, .format = PNG_FORMAT_BGRA};
    size_t size = 0;
    const void* image = arv_buffer_get_image_data(buffer, &size);
    const size_t pixels = (size_t)layout.width * layout.height;
    g_autofree uint8_t* bgra = g_malloc(pixels * 4);
    g_autofree uint8_t* samples = g_malloc(pixels * 6);
    char text[VCF_TEXT_BYTES] = "saved";
    VcfConverter* converter = NULL;
    VcfStatus status = VcfCreateConverter(&converter, &layout, VCF_OUTPUT_BGRA, NULL, text, sizeof text);
    if (status == VCF_OK) {
        status = VcfConvert(converter, image, size, bgra, 0, text, sizeof text);
    }
    VcfDestroyConverter(converter);
    if (status == VCF_OK) { /* the raw frame is kept unpacked and without padding */
        status = VcfUnpack(&layout, image, size, samples, 0, format->depth == 8 ? 1 : 2, text, sizeof text);
    }
    if (status != VCF_OK) {
        g_printerr("capture: %s\n", text);
        return FALSE;
    }
    return SaveRWH(samples, format->unpacked, layout.width, layout.height, rwhPath) == UTL_STS_SUCCESS &&
           png_image_write_to_file(&png, pngPath, 0, bgra, 0, NULL) != 0;
}

int main(int argc, char** argv) {
    g_autoptr(GError) error = NULL;
    g_autoptr(ArvCamera) camera = NULL;
    g_autoptr(ArvBuffer) buffer = NULL;
    if (argc < 3) {
        g_printerr("usage: capture picture.png frame.rwh [camera-name [pixel-format-name]]\n");
        return 1;
    }
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
