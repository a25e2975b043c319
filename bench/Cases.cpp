// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The table of cases. The workers that take a shift run with that of 12-bit samples.
#include "Cases.h"

#include <string_view>

namespace Bench {
namespace {

using ShiftingConverter = UtlStatus (*)(void*, const void*, uint32_t, uint32_t, uint32_t);

template <ShiftingConverter converter>
UtlStatus Shifted(void* dst, const void* src, uint32_t width, uint32_t height) {
    return converter(dst, src, width, height, 4);
}

template <PixelFormat format, uint8_t mirror, uint8_t upsideDown>
UtlStatus Reverse(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ReverseImg(dst, src, format, width, height, mirror, upsideDown);
}

constexpr Case c_asCases[] = {
    {"grey", "ConvMono8ToBGRA", ConvMono8ToBGRA, 8, 32},
    {"grey", "ConvMono10ToBGRA", ConvMono10ToBGRA, 16, 32},
    {"grey", "ConvMono12ToBGRA", ConvMono12ToBGRA, 16, 32},
    {"grey", "ConvMono16ToBGRA", ConvMono16ToBGRA, 16, 32},
    {"grey", "ConvMonoNToBGRA", Shifted<ConvMonoNToBGRA>, 16, 32},
    {"grey", "ConvMono8ToBGR", ConvMono8ToBGR, 8, 24},
    {"grey", "ConvMono10ToBGR", ConvMono10ToBGR, 16, 24},
    {"grey", "ConvMono12ToBGR", ConvMono12ToBGR, 16, 24},
    {"grey", "ConvMono16ToBGR", ConvMono16ToBGR, 16, 24},
    {"grey", "ConvMonoNToBGR", Shifted<ConvMonoNToBGR>, 16, 24},
    {"packed colour", "ConvRGB8PToBGRA", ConvRGB8PToBGRA, 24, 32},
    {"packed colour", "ConvRGB10PToBGRA", ConvRGB10PToBGRA, 48, 32},
    {"packed colour", "ConvRGB12PToBGRA", ConvRGB12PToBGRA, 48, 32},
    {"packed colour", "ConvRGBNToBGRA", Shifted<ConvRGBNToBGRA>, 48, 32},
    {"packed colour", "ConvBGR8PToBGRA", ConvBGR8PToBGRA, 24, 32},
    {"packed colour", "ConvBGR10PToBGRA", ConvBGR10PToBGRA, 48, 32},
    {"packed colour", "ConvBGR12PToBGRA", ConvBGR12PToBGRA, 48, 32},
    {"packed colour", "ConvBGRNToBGRA", Shifted<ConvBGRNToBGRA>, 48, 32},
    {"packed colour", "ConvRGB8PToBGR", ConvRGB8PToBGR, 24, 24},
    {"packed colour", "ConvRGB10PToBGR", ConvRGB10PToBGR, 48, 24},
    {"packed colour", "ConvRGB12PToBGR", ConvRGB12PToBGR, 48, 24},
    {"packed colour", "ConvRGBNToBGR", Shifted<ConvRGBNToBGR>, 48, 24},
    {"packed colour", "ConvBGR8PToBGR", ConvBGR8PToBGR, 24, 24},
    {"packed colour", "ConvBGR10PToBGR", ConvBGR10PToBGR, 48, 24},
    {"packed colour", "ConvBGR12PToBGR", ConvBGR12PToBGR, 48, 24},
    {"packed colour", "ConvBGRNToBGR", Shifted<ConvBGRNToBGR>, 48, 24},
    {"YUV to BGRA", "ConvYUV411PToBGRA", ConvYUV411PToBGRA, 12, 32},
    {"YUV to BGRA", "ConvYUV422PToBGRA", ConvYUV422PToBGRA, 16, 32},
    {"YUV to BGRA", "ConvYUV444PToBGRA", ConvYUV444PToBGRA, 32, 32},
    {"YUV to BGR", "ConvYUV411PToBGR", ConvYUV411PToBGR, 12, 24},
    {"YUV to BGR", "ConvYUV422PToBGR", ConvYUV422PToBGR, 20, 24},
    {"YUV to BGR", "ConvYUV444PToBGR", ConvYUV444PToBGR, 32, 24},
    {"Bayer 8", "ConvByrGR8ToBGRA", ConvByrGR8ToBGRA, 8, 32},
    {"Bayer 8", "ConvByrRG8ToBGRA", ConvByrRG8ToBGRA, 8, 32},
    {"Bayer 8", "ConvByrGB8ToBGRA", ConvByrGB8ToBGRA, 8, 32},
    {"Bayer 8", "ConvByrBG8ToBGRA", ConvByrBG8ToBGRA, 8, 32},
    {"Bayer 8", "ConvByrGR8ToBGR", ConvByrGR8ToBGR, 8, 24},
    {"Bayer 8", "ConvByrRG8ToBGR", ConvByrRG8ToBGR, 8, 24},
    {"Bayer 8", "ConvByrGB8ToBGR", ConvByrGB8ToBGR, 8, 24},
    {"Bayer 8", "ConvByrBG8ToBGR", ConvByrBG8ToBGR, 8, 24},
    {"Bayer 10/12", "ConvByrGR10ToBGRA", ConvByrGR10ToBGRA, 16, 32},
    {"Bayer 10/12", "ConvByrRG10ToBGRA", ConvByrRG10ToBGRA, 16, 32},
    {"Bayer 10/12", "ConvByrGB10ToBGRA", ConvByrGB10ToBGRA, 16, 32},
    {"Bayer 10/12", "ConvByrBG10ToBGRA", ConvByrBG10ToBGRA, 16, 32},
    {"Bayer 10/12", "ConvByrGR12ToBGRA", ConvByrGR12ToBGRA, 16, 32},
    {"Bayer 10/12", "ConvByrRG12ToBGRA", ConvByrRG12ToBGRA, 16, 32},
    {"Bayer 10/12", "ConvByrGB12ToBGRA", ConvByrGB12ToBGRA, 16, 32},
    {"Bayer 10/12", "ConvByrBG12ToBGRA", ConvByrBG12ToBGRA, 16, 32},
    {"Bayer 10/12", "ConvByrGRNToBGRA", Shifted<ConvByrGRNToBGRA>, 16, 32},
    {"Bayer 10/12", "ConvByrRGNToBGRA", Shifted<ConvByrRGNToBGRA>, 16, 32},
    {"Bayer 10/12", "ConvByrGBNToBGRA", Shifted<ConvByrGBNToBGRA>, 16, 32},
    {"Bayer 10/12", "ConvByrBGNToBGRA", Shifted<ConvByrBGNToBGRA>, 16, 32},
    {"Bayer 10/12", "ConvByrGR10ToBGR", ConvByrGR10ToBGR, 16, 24},
    {"Bayer 10/12", "ConvByrRG10ToBGR", ConvByrRG10ToBGR, 16, 24},
    {"Bayer 10/12", "ConvByrGB10ToBGR", ConvByrGB10ToBGR, 16, 24},
    {"Bayer 10/12", "ConvByrBG10ToBGR", ConvByrBG10ToBGR, 16, 24},
    {"Bayer 10/12", "ConvByrGR12ToBGR", ConvByrGR12ToBGR, 16, 24},
    {"Bayer 10/12", "ConvByrRG12ToBGR", ConvByrRG12ToBGR, 16, 24},
    {"Bayer 10/12", "ConvByrGB12ToBGR", ConvByrGB12ToBGR, 16, 24},
    {"Bayer 10/12", "ConvByrBG12ToBGR", ConvByrBG12ToBGR, 16, 24},
    {"Bayer 10/12", "ConvByrGRNToBGR", Shifted<ConvByrGRNToBGR>, 16, 24},
    {"Bayer 10/12", "ConvByrRGNToBGR", Shifted<ConvByrRGNToBGR>, 16, 24},
    {"Bayer 10/12", "ConvByrGBNToBGR", Shifted<ConvByrGBNToBGR>, 16, 24},
    {"Bayer 10/12", "ConvByrBGNToBGR", Shifted<ConvByrBGNToBGR>, 16, 24},
    {"ACPI", "ConvByrGR8ToBGRAACPI", ConvByrGR8ToBGRAACPI, 8, 32},
    {"ACPI", "ConvByrRG8ToBGRAACPI", ConvByrRG8ToBGRAACPI, 8, 32},
    {"ACPI", "ConvByrGB8ToBGRAACPI", ConvByrGB8ToBGRAACPI, 8, 32},
    {"ACPI", "ConvByrBG8ToBGRAACPI", ConvByrBG8ToBGRAACPI, 8, 32},
    {"ACPI", "ConvByrGR8ToBGRACPI", ConvByrGR8ToBGRACPI, 8, 24},
    {"ACPI", "ConvByrRG8ToBGRACPI", ConvByrRG8ToBGRACPI, 8, 24},
    {"ACPI", "ConvByrGB8ToBGRACPI", ConvByrGB8ToBGRACPI, 8, 24},
    {"ACPI", "ConvByrBG8ToBGRACPI", ConvByrBG8ToBGRACPI, 8, 24},
    {"copy", "Reverse Mono8 copy", Reverse<PIXEL_FORMAT_MONO8, 0, 0>, 8, 8},
    {"mirror", "Reverse Mono8 mirror", Reverse<PIXEL_FORMAT_MONO8, 1, 0>, 8, 8},
    {"upside down", "Reverse Mono8 upside down", Reverse<PIXEL_FORMAT_MONO8, 0, 1>, 8, 8},
    {"half turn", "Reverse Mono8 half turn", Reverse<PIXEL_FORMAT_MONO8, 1, 1>, 8, 8},
    {"copy", "Reverse Mono12 copy", Reverse<PIXEL_FORMAT_MONO12, 0, 0>, 16, 16},
    {"mirror", "Reverse Mono12 mirror", Reverse<PIXEL_FORMAT_MONO12, 1, 0>, 16, 16},
    {"upside down", "Reverse Mono12 upside down", Reverse<PIXEL_FORMAT_MONO12, 0, 1>, 16, 16},
    {"half turn", "Reverse Mono12 half turn", Reverse<PIXEL_FORMAT_MONO12, 1, 1>, 16, 16},
    {"copy", "Reverse RGB8 copy", Reverse<PIXEL_FORMAT_RGB8, 0, 0>, 24, 24},
    {"mirror", "Reverse RGB8 mirror", Reverse<PIXEL_FORMAT_RGB8, 1, 0>, 24, 24},
    {"upside down", "Reverse RGB8 upside down", Reverse<PIXEL_FORMAT_RGB8, 0, 1>, 24, 24},
    {"half turn", "Reverse RGB8 half turn", Reverse<PIXEL_FORMAT_RGB8, 1, 1>, 24, 24},
    {"copy", "Reverse BGR12 copy", Reverse<PIXEL_FORMAT_BGR12, 0, 0>, 48, 48},
    {"mirror", "Reverse BGR12 mirror", Reverse<PIXEL_FORMAT_BGR12, 1, 0>, 48, 48},
    {"upside down", "Reverse BGR12 upside down", Reverse<PIXEL_FORMAT_BGR12, 0, 1>, 48, 48},
    {"half turn", "Reverse BGR12 half turn", Reverse<PIXEL_FORMAT_BGR12, 1, 1>, 48, 48},
    {"copy", "Reverse YUV411 copy", Reverse<PIXEL_FORMAT_YUV411_8_UYYVYY, 0, 0>, 12, 12},
    {"mirror", "Reverse YUV411 mirror", Reverse<PIXEL_FORMAT_YUV411_8_UYYVYY, 1, 0>, 12, 12},
    {"upside down", "Reverse YUV411 upside down", Reverse<PIXEL_FORMAT_YUV411_8_UYYVYY, 0, 1>, 12, 12},
    {"half turn", "Reverse YUV411 half turn", Reverse<PIXEL_FORMAT_YUV411_8_UYYVYY, 1, 1>, 12, 12},
    {"copy", "Reverse YUV422 copy", Reverse<PIXEL_FORMAT_YUV422_8_UYVY, 0, 0>, 16, 16},
    {"mirror", "Reverse YUV422 mirror", Reverse<PIXEL_FORMAT_YUV422_8_UYVY, 1, 0>, 16, 16},
    {"upside down", "Reverse YUV422 upside down", Reverse<PIXEL_FORMAT_YUV422_8_UYVY, 0, 1>, 16, 16},
    {"half turn", "Reverse YUV422 half turn", Reverse<PIXEL_FORMAT_YUV422_8_UYVY, 1, 1>, 16, 16},
};

}  // namespace

bool Case::HasWords() const {
    // 4:2:2 takes 16 bits a pixel too.
    return (srcBits == 16 || srcBits == 48) && std::string_view(name).find("YUV") == std::string_view::npos;
}

bool Case::IsMosaic() const {
    return std::string_view(name).find("Byr") != std::string_view::npos;
}

std::span<const Case> Cases() {
    return c_asCases;
}

}  // namespace Bench
