/* SPDX-License-Identifier: MIT
 * Copyright (c) the Vexa camera utility library authors
 *
 * A translation unit that includes the header twice and uses it the way a C or C++ program does; compiled by every
 * compiler at hand in several language versions, with warnings as errors.
 */
#include <VexaCamFrames.h>
#include <VexaCamUtl.h>

UtlStatus convert_with_getter(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift);

UtlStatus convert_with_getter(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift) {
    ConverterFunc converter = GetBGRAConverter(PIXEL_FORMAT_BAYER_RG8, 1);
    ConverterNFunc worker = ConvByrRGNToBGRA;
    if (SetBayerConvMode(BAYER_CONV_MODE_ACPI) != UTL_STS_SUCCESS || converter == 0)
        return UTL_STS_INVALID_PARAMETER;
    if (BitPerPixel(PIXEL_FORMAT_YUV411_8_UYYVYY) != 12 || IsPixelBayer(PIXEL_FORMAT_RGB8))
        return ConvImage(CONV_DST_BGR, PIXEL_FORMAT_MONO8, 0, dst, src, width, height);
    return shift == 0 ? converter(dst, src, width, height) : worker(dst, src, width, height, shift);
}

VcfStatus convert_a_buffer(void* dst, const void* buffer, size_t length);

VcfStatus convert_a_buffer(void* dst, const void* buffer, size_t length) {
    char text[VCF_TEXT_BYTES];
    VcfLayout layout;
    VcfConverter* converter = 0;
    VcfStatus status;
    VcfInitLayout(&layout, PIXEL_FORMAT_BAYER_RG12P, 1920, 1080);
    status = VcfCreateConverter(&converter, &layout, VCF_OUTPUT_BGRA, 0, text, sizeof text);
    if (status == VCF_OK)
        status = VcfConvert(converter, buffer, length, dst, 0, text, sizeof text);
    VcfDestroyConverter(converter);
    return status;
}
