// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Which converter serves a pixel format: one table, the two getters that read it, ConvImage, and the Bayer mode.
#include "convert/Contract.h"

using namespace Vexa;

namespace {

/// The converters of one format to one output layout. `grey` serves mosaics that are not to be demosaiced, and every
/// other format, whose rows repeat it.
struct Choice {
    ConverterFunc grey;
    ConverterFunc colour;
    ConverterFunc acpi;
};

constexpr Choice Always(ConverterFunc converter) {
    return {converter, converter, converter};
}

struct Selection {
    PixelFormat format;
    Choice bgra;
    Choice bgr;
};

// Required: BGR12 is served although it is not in the dictionary; RGB10 and RGB12 are not, although their converters
// exist. Bayer formats of 10 and 12 bits have no ACPI converter.
constinit const Selection c_asSelections[] = {
    {PIXEL_FORMAT_MONO8, Always(ConvMono8ToBGRA), Always(ConvMono8ToBGR)},
    {PIXEL_FORMAT_MONO10, Always(ConvMono10ToBGRA), Always(ConvMono10ToBGR)},
    {PIXEL_FORMAT_MONO12, Always(ConvMono12ToBGRA), Always(ConvMono12ToBGR)},
    {PIXEL_FORMAT_MONO16, Always(ConvMono16ToBGRA), Always(ConvMono16ToBGR)},
    {PIXEL_FORMAT_BAYER_GR8,
     {ConvMono8ToBGRA, ConvByrGR8ToBGRA, ConvByrGR8ToBGRAACPI},
     {ConvMono8ToBGR, ConvByrGR8ToBGR, ConvByrGR8ToBGRACPI}},
    {PIXEL_FORMAT_BAYER_RG8,
     {ConvMono8ToBGRA, ConvByrRG8ToBGRA, ConvByrRG8ToBGRAACPI},
     {ConvMono8ToBGR, ConvByrRG8ToBGR, ConvByrRG8ToBGRACPI}},
    {PIXEL_FORMAT_BAYER_GB8,
     {ConvMono8ToBGRA, ConvByrGB8ToBGRA, ConvByrGB8ToBGRAACPI},
     {ConvMono8ToBGR, ConvByrGB8ToBGR, ConvByrGB8ToBGRACPI}},
    {PIXEL_FORMAT_BAYER_BG8,
     {ConvMono8ToBGRA, ConvByrBG8ToBGRA, ConvByrBG8ToBGRAACPI},
     {ConvMono8ToBGR, ConvByrBG8ToBGR, ConvByrBG8ToBGRACPI}},
    {PIXEL_FORMAT_BAYER_GR10,
     {ConvMono10ToBGRA, ConvByrGR10ToBGRA, ConvByrGR10ToBGRA},
     {ConvMono10ToBGR, ConvByrGR10ToBGR, ConvByrGR10ToBGR}},
    {PIXEL_FORMAT_BAYER_RG10,
     {ConvMono10ToBGRA, ConvByrRG10ToBGRA, ConvByrRG10ToBGRA},
     {ConvMono10ToBGR, ConvByrRG10ToBGR, ConvByrRG10ToBGR}},
    {PIXEL_FORMAT_BAYER_GB10,
     {ConvMono10ToBGRA, ConvByrGB10ToBGRA, ConvByrGB10ToBGRA},
     {ConvMono10ToBGR, ConvByrGB10ToBGR, ConvByrGB10ToBGR}},
    {PIXEL_FORMAT_BAYER_BG10,
     {ConvMono10ToBGRA, ConvByrBG10ToBGRA, ConvByrBG10ToBGRA},
     {ConvMono10ToBGR, ConvByrBG10ToBGR, ConvByrBG10ToBGR}},
    {PIXEL_FORMAT_BAYER_GR12,
     {ConvMono12ToBGRA, ConvByrGR12ToBGRA, ConvByrGR12ToBGRA},
     {ConvMono12ToBGR, ConvByrGR12ToBGR, ConvByrGR12ToBGR}},
    {PIXEL_FORMAT_BAYER_RG12,
     {ConvMono12ToBGRA, ConvByrRG12ToBGRA, ConvByrRG12ToBGRA},
     {ConvMono12ToBGR, ConvByrRG12ToBGR, ConvByrRG12ToBGR}},
    {PIXEL_FORMAT_BAYER_GB12,
     {ConvMono12ToBGRA, ConvByrGB12ToBGRA, ConvByrGB12ToBGRA},
     {ConvMono12ToBGR, ConvByrGB12ToBGR, ConvByrGB12ToBGR}},
    {PIXEL_FORMAT_BAYER_BG12,
     {ConvMono12ToBGRA, ConvByrBG12ToBGRA, ConvByrBG12ToBGRA},
     {ConvMono12ToBGR, ConvByrBG12ToBGR, ConvByrBG12ToBGR}},
    {PIXEL_FORMAT_RGB8, Always(ConvRGB8PToBGRA), Always(ConvRGB8PToBGR)},
    {PIXEL_FORMAT_BGR8, Always(ConvBGR8PToBGRA), Always(ConvBGR8PToBGR)},
    {PIXEL_FORMAT_BGR10, Always(ConvBGR10PToBGRA), Always(ConvBGR10PToBGR)},
    {PIXEL_FORMAT_BGR12, Always(ConvBGR12PToBGRA), Always(ConvBGR12PToBGR)},
    {PIXEL_FORMAT_YUV411_8_UYYVYY, Always(ConvYUV411PToBGRA), Always(ConvYUV411PToBGR)},
    {PIXEL_FORMAT_YUV422_8_UYVY, Always(ConvYUV422PToBGRA), Always(ConvYUV422PToBGR)},
    {PIXEL_FORMAT_YUV8_UYV, Always(ConvYUV444PToBGRA), Always(ConvYUV444PToBGR)},
};

ConverterFunc Select(PixelFormat format, uint8_t bayer, Choice Selection::*layout) {
    for (const Selection& selection : c_asSelections) {
        if (selection.format == format) {
            const Choice& choice = selection.*layout;
            if (LowByteOf(bayer) == 0) {
                return choice.grey;
            }
            const BayerConvMode mode = __atomic_load_n(&s_eBayerConvMode, __ATOMIC_RELAXED);
            return mode == BAYER_CONV_MODE_ACPI ? choice.acpi : choice.colour;
        }
    }
    return nullptr;
}

}  // namespace

ConverterFunc GetBGRAConverter(PixelFormat format, uint8_t bayer) {
    return Select(format, bayer, &Selection::bgra);
}

ConverterFunc GetBGRConverter(PixelFormat format, uint8_t bayer) {
    return Select(format, bayer, &Selection::bgr);
}

UtlStatus ConvImage(ConvDstFormat dst_format, PixelFormat format, uint8_t bayer, void* dst, const void* src,
                    uint32_t width, uint32_t height) {
    const ConverterFunc converter =
        dst_format == CONV_DST_BGR ? GetBGRConverter(format, bayer) : GetBGRAConverter(format, bayer);
    return converter == nullptr ? UTL_STS_INVALID_PARAMETER : converter(dst, src, width, height);
}

// A relaxed store is an ordinary one in machine code; callers may change the mode while others select.
UtlStatus SetBayerConvMode(BayerConvMode mode) {
    __atomic_store_n(&s_eBayerConvMode, mode, __ATOMIC_RELAXED);
    return UTL_STS_SUCCESS;
}
