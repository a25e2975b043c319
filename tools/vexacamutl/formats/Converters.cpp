// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See Converters.h. Converters that take a shift get 4, as for 12 bits.
#include "formats/Converters.h"

namespace VexaTool {

namespace {

template <UtlStatus (*worker)(void*, const void*, uint32_t, uint32_t, uint32_t)>
UtlStatus WithShift4(void* dst, const void* src, uint32_t width, uint32_t height) {
    return worker(dst, src, width, height, 4);
}

constexpr Converter kConverters[] = {
    {"ConvMono8ToBGRA", ConvMono8ToBGRA, 8, 32},
    {"ConvMono10ToBGRA", ConvMono10ToBGRA, 16, 32},
    {"ConvMono12ToBGRA", ConvMono12ToBGRA, 16, 32},
    {"ConvMono16ToBGRA", ConvMono16ToBGRA, 16, 32},
    {"ConvMonoNToBGRA", WithShift4<ConvMonoNToBGRA>, 16, 32},
    {"ConvRGB8PToBGRA", ConvRGB8PToBGRA, 24, 32},
    {"ConvRGB10PToBGRA", ConvRGB10PToBGRA, 48, 32},
    {"ConvRGB12PToBGRA", ConvRGB12PToBGRA, 48, 32},
    {"ConvRGBNToBGRA", WithShift4<ConvRGBNToBGRA>, 48, 32},
    {"ConvBGR8PToBGRA", ConvBGR8PToBGRA, 24, 32},
    {"ConvBGR10PToBGRA", ConvBGR10PToBGRA, 48, 32},
    {"ConvBGR12PToBGRA", ConvBGR12PToBGRA, 48, 32},
    {"ConvBGRNToBGRA", WithShift4<ConvBGRNToBGRA>, 48, 32},
    {"ConvYUV411PToBGRA", ConvYUV411PToBGRA, 12, 32},
    {"ConvYUV422PToBGRA", ConvYUV422PToBGRA, 16, 32},
    {"ConvYUV444PToBGRA", ConvYUV444PToBGRA, 32, 32},
    {"ConvByrGR8ToBGRA", ConvByrGR8ToBGRA, 8, 32},
    {"ConvByrRG8ToBGRA", ConvByrRG8ToBGRA, 8, 32},
    {"ConvByrGB8ToBGRA", ConvByrGB8ToBGRA, 8, 32},
    {"ConvByrBG8ToBGRA", ConvByrBG8ToBGRA, 8, 32},
    {"ConvByrGR10ToBGRA", ConvByrGR10ToBGRA, 16, 32},
    {"ConvByrRG10ToBGRA", ConvByrRG10ToBGRA, 16, 32},
    {"ConvByrGB10ToBGRA", ConvByrGB10ToBGRA, 16, 32},
    {"ConvByrBG10ToBGRA", ConvByrBG10ToBGRA, 16, 32},
    {"ConvByrGR12ToBGRA", ConvByrGR12ToBGRA, 16, 32},
    {"ConvByrRG12ToBGRA", ConvByrRG12ToBGRA, 16, 32},
    {"ConvByrGB12ToBGRA", ConvByrGB12ToBGRA, 16, 32},
    {"ConvByrBG12ToBGRA", ConvByrBG12ToBGRA, 16, 32},
    {"ConvByrGRNToBGRA", WithShift4<ConvByrGRNToBGRA>, 16, 32},
    {"ConvByrRGNToBGRA", WithShift4<ConvByrRGNToBGRA>, 16, 32},
    {"ConvByrGBNToBGRA", WithShift4<ConvByrGBNToBGRA>, 16, 32},
    {"ConvByrBGNToBGRA", WithShift4<ConvByrBGNToBGRA>, 16, 32},
    {"ConvByrGR8ToBGRAACPI", ConvByrGR8ToBGRAACPI, 8, 32},
    {"ConvByrRG8ToBGRAACPI", ConvByrRG8ToBGRAACPI, 8, 32},
    {"ConvByrGB8ToBGRAACPI", ConvByrGB8ToBGRAACPI, 8, 32},
    {"ConvByrBG8ToBGRAACPI", ConvByrBG8ToBGRAACPI, 8, 32},
    {"ConvMono8ToBGR", ConvMono8ToBGR, 8, 24},
    {"ConvMono10ToBGR", ConvMono10ToBGR, 16, 24},
    {"ConvMono12ToBGR", ConvMono12ToBGR, 16, 24},
    {"ConvMono16ToBGR", ConvMono16ToBGR, 16, 24},
    {"ConvMonoNToBGR", WithShift4<ConvMonoNToBGR>, 16, 24},
    {"ConvRGB8PToBGR", ConvRGB8PToBGR, 24, 24},
    {"ConvRGB10PToBGR", ConvRGB10PToBGR, 48, 24},
    {"ConvRGB12PToBGR", ConvRGB12PToBGR, 48, 24},
    {"ConvRGBNToBGR", WithShift4<ConvRGBNToBGR>, 48, 24},
    {"ConvBGR8PToBGR", ConvBGR8PToBGR, 24, 24},
    {"ConvBGR10PToBGR", ConvBGR10PToBGR, 48, 24},
    {"ConvBGR12PToBGR", ConvBGR12PToBGR, 48, 24},
    {"ConvBGRNToBGR", WithShift4<ConvBGRNToBGR>, 48, 24},
    {"ConvYUV411PToBGR", ConvYUV411PToBGR, 12, 24},
    {"ConvYUV422PToBGR", ConvYUV422PToBGR, 20, 24},
    {"ConvYUV444PToBGR", ConvYUV444PToBGR, 32, 24},
    {"ConvByrGR8ToBGR", ConvByrGR8ToBGR, 8, 24},
    {"ConvByrRG8ToBGR", ConvByrRG8ToBGR, 8, 24},
    {"ConvByrGB8ToBGR", ConvByrGB8ToBGR, 8, 24},
    {"ConvByrBG8ToBGR", ConvByrBG8ToBGR, 8, 24},
    {"ConvByrGR10ToBGR", ConvByrGR10ToBGR, 16, 24},
    {"ConvByrRG10ToBGR", ConvByrRG10ToBGR, 16, 24},
    {"ConvByrGB10ToBGR", ConvByrGB10ToBGR, 16, 24},
    {"ConvByrBG10ToBGR", ConvByrBG10ToBGR, 16, 24},
    {"ConvByrGR12ToBGR", ConvByrGR12ToBGR, 16, 24},
    {"ConvByrRG12ToBGR", ConvByrRG12ToBGR, 16, 24},
    {"ConvByrGB12ToBGR", ConvByrGB12ToBGR, 16, 24},
    {"ConvByrBG12ToBGR", ConvByrBG12ToBGR, 16, 24},
    {"ConvByrGRNToBGR", WithShift4<ConvByrGRNToBGR>, 16, 24},
    {"ConvByrRGNToBGR", WithShift4<ConvByrRGNToBGR>, 16, 24},
    {"ConvByrGBNToBGR", WithShift4<ConvByrGBNToBGR>, 16, 24},
    {"ConvByrBGNToBGR", WithShift4<ConvByrBGNToBGR>, 16, 24},
    {"ConvByrGR8ToBGRACPI", ConvByrGR8ToBGRACPI, 8, 24},
    {"ConvByrRG8ToBGRACPI", ConvByrRG8ToBGRACPI, 8, 24},
    {"ConvByrGB8ToBGRACPI", ConvByrGB8ToBGRACPI, 8, 24},
    {"ConvByrBG8ToBGRACPI", ConvByrBG8ToBGRACPI, 8, 24},
};

}  // namespace

std::span<const Converter> AllConverters() {
    return kConverters;
}

}  // namespace VexaTool
