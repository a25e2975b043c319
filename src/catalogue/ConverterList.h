// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The one list of the exported converters: what each reads and writes, and its function. It is data only, for those
// who go through all of them: the tool's bench verb, the benchmarks and the tests. The library itself does not use it.
// tests/unit/convert compares it with the exported functions.
#pragma once

#include <cstdint>

#include <VexaCamUtl.h>

namespace VexaCatalogue {

enum class Family { kMono, kPackedColour, kYuv, kBayer, kAcpi };

/// First two samples of the first row of a mosaic.
enum class Phase { kNone, kGR, kRG, kGB, kBG };

using Worker = UtlStatus (*)(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift);

/// One exported converter.
struct Converter {
    const char* name;
    Family family;
    uint32_t pixelBytes;     ///< of a destination pixel: 4 (BGRA) or 3 (BGR)
    uint32_t depth;          ///< significant bits of a sample: 8, 10, 12, 16; workers 16
    bool readsLut;           ///< refuses to run before PrepareLUT
    Phase phase;             ///< of a Bayer converter
    uint32_t samples;        ///< samples per pixel of a grey (1), Bayer (1) or packed-colour (3) converter
    bool redFirst;           ///< order of a packed-colour pixel
    uint32_t groupPixels;    ///< pixels of a YUV group
    uint32_t groupBytes;     ///< source bytes from one YUV group to the next
    ConverterFunc function;  ///< null for a worker
    Worker worker;           ///< null for any other

    constexpr bool IsWorker() const { return worker != nullptr; }
    constexpr bool IsBayer() const { return phase != Phase::kNone; }
    constexpr uint32_t SampleBytes() const { return depth == 8 ? 1 : 2; }
    /// Bits per pixel of the source.
    constexpr uint32_t SourceBits() const {
        return family == Family::kYuv ? groupBytes * 8 / groupPixels : samples * SampleBytes() * 8;
    }
    /// Bits per pixel of the destination.
    constexpr uint32_t DestinationBits() const { return pixelBytes * 8; }
};

namespace Rows {

using enum Family;
using enum Phase;

inline constexpr uint32_t kBgra = 4;
inline constexpr uint32_t kBgr = 3;
inline constexpr bool kRedFirst = true;
inline constexpr bool kBlueFirst = false;

constexpr Converter Grey(const char* name, uint32_t layout, uint32_t depth, ConverterFunc function, Worker worker) {
    return {name, kMono, layout, depth, layout == kBgra, kNone, 1, false, 1, 0, function, worker};
}

constexpr Converter Colour(const char* name, uint32_t layout, uint32_t depth, bool redFirst, ConverterFunc function,
                           Worker worker) {
    return {name, kPackedColour, layout, depth, false, kNone, 3, redFirst, 1, 0, function, worker};
}

constexpr Converter Yuv(const char* name, uint32_t layout, uint32_t groupPixels, uint32_t groupBytes,
                        ConverterFunc function) {
    return {name, kYuv, layout, 8, true, kNone, 0, false, groupPixels, groupBytes, function, nullptr};
}

constexpr Converter Mosaic(const char* name, Family family, uint32_t layout, uint32_t depth, Phase phase,
                           ConverterFunc function, Worker worker) {
    return {name, family, layout, depth, false, phase, 1, false, 1, 0, function, worker};
}

// clang-format off
inline constexpr Converter kConverters[] = {
    Grey("ConvMono8ToBGRA", kBgra, 8, ConvMono8ToBGRA, nullptr),
    Grey("ConvMono10ToBGRA", kBgra, 10, ConvMono10ToBGRA, nullptr),
    Grey("ConvMono12ToBGRA", kBgra, 12, ConvMono12ToBGRA, nullptr),
    Grey("ConvMono16ToBGRA", kBgra, 16, ConvMono16ToBGRA, nullptr),
    Grey("ConvMono8ToBGR", kBgr, 8, ConvMono8ToBGR, nullptr),
    Grey("ConvMono10ToBGR", kBgr, 10, ConvMono10ToBGR, nullptr),
    Grey("ConvMono12ToBGR", kBgr, 12, ConvMono12ToBGR, nullptr),
    Grey("ConvMono16ToBGR", kBgr, 16, ConvMono16ToBGR, nullptr),
    Grey("ConvMonoNToBGRA", kBgra, 16, nullptr, ConvMonoNToBGRA),
    Grey("ConvMonoNToBGR", kBgr, 16, nullptr, ConvMonoNToBGR),
    Colour("ConvRGB8PToBGRA", kBgra, 8, kRedFirst, ConvRGB8PToBGRA, nullptr),
    Colour("ConvRGB10PToBGRA", kBgra, 10, kRedFirst, ConvRGB10PToBGRA, nullptr),
    Colour("ConvRGB12PToBGRA", kBgra, 12, kRedFirst, ConvRGB12PToBGRA, nullptr),
    Colour("ConvBGR8PToBGRA", kBgra, 8, kBlueFirst, ConvBGR8PToBGRA, nullptr),
    Colour("ConvBGR10PToBGRA", kBgra, 10, kBlueFirst, ConvBGR10PToBGRA, nullptr),
    Colour("ConvBGR12PToBGRA", kBgra, 12, kBlueFirst, ConvBGR12PToBGRA, nullptr),
    Colour("ConvRGB8PToBGR", kBgr, 8, kRedFirst, ConvRGB8PToBGR, nullptr),
    Colour("ConvRGB10PToBGR", kBgr, 10, kRedFirst, ConvRGB10PToBGR, nullptr),
    Colour("ConvRGB12PToBGR", kBgr, 12, kRedFirst, ConvRGB12PToBGR, nullptr),
    Colour("ConvBGR8PToBGR", kBgr, 8, kBlueFirst, ConvBGR8PToBGR, nullptr),
    Colour("ConvBGR10PToBGR", kBgr, 10, kBlueFirst, ConvBGR10PToBGR, nullptr),
    Colour("ConvBGR12PToBGR", kBgr, 12, kBlueFirst, ConvBGR12PToBGR, nullptr),
    Colour("ConvRGBNToBGRA", kBgra, 16, kRedFirst, nullptr, ConvRGBNToBGRA),
    Colour("ConvBGRNToBGRA", kBgra, 16, kBlueFirst, nullptr, ConvBGRNToBGRA),
    Colour("ConvRGBNToBGR", kBgr, 16, kRedFirst, nullptr, ConvRGBNToBGR),
    Colour("ConvBGRNToBGR", kBgr, 16, kBlueFirst, nullptr, ConvBGRNToBGR),
    Yuv("ConvYUV411PToBGRA", kBgra, 4, 6, ConvYUV411PToBGRA),
    Yuv("ConvYUV422PToBGRA", kBgra, 2, 4, ConvYUV422PToBGRA),
    Yuv("ConvYUV444PToBGRA", kBgra, 1, 4, ConvYUV444PToBGRA),
    Yuv("ConvYUV411PToBGR", kBgr, 4, 6, ConvYUV411PToBGR),
    Yuv("ConvYUV422PToBGR", kBgr, 2, 5, ConvYUV422PToBGR),
    Yuv("ConvYUV444PToBGR", kBgr, 1, 4, ConvYUV444PToBGR),
    Mosaic("ConvByrGR8ToBGRA", kBayer, kBgra, 8, kGR, ConvByrGR8ToBGRA, nullptr),
    Mosaic("ConvByrRG8ToBGRA", kBayer, kBgra, 8, kRG, ConvByrRG8ToBGRA, nullptr),
    Mosaic("ConvByrGB8ToBGRA", kBayer, kBgra, 8, kGB, ConvByrGB8ToBGRA, nullptr),
    Mosaic("ConvByrBG8ToBGRA", kBayer, kBgra, 8, kBG, ConvByrBG8ToBGRA, nullptr),
    Mosaic("ConvByrGR8ToBGR", kBayer, kBgr, 8, kGR, ConvByrGR8ToBGR, nullptr),
    Mosaic("ConvByrRG8ToBGR", kBayer, kBgr, 8, kRG, ConvByrRG8ToBGR, nullptr),
    Mosaic("ConvByrGB8ToBGR", kBayer, kBgr, 8, kGB, ConvByrGB8ToBGR, nullptr),
    Mosaic("ConvByrBG8ToBGR", kBayer, kBgr, 8, kBG, ConvByrBG8ToBGR, nullptr),
    Mosaic("ConvByrGR10ToBGRA", kBayer, kBgra, 10, kGR, ConvByrGR10ToBGRA, nullptr),
    Mosaic("ConvByrRG10ToBGRA", kBayer, kBgra, 10, kRG, ConvByrRG10ToBGRA, nullptr),
    Mosaic("ConvByrGB10ToBGRA", kBayer, kBgra, 10, kGB, ConvByrGB10ToBGRA, nullptr),
    Mosaic("ConvByrBG10ToBGRA", kBayer, kBgra, 10, kBG, ConvByrBG10ToBGRA, nullptr),
    Mosaic("ConvByrGR10ToBGR", kBayer, kBgr, 10, kGR, ConvByrGR10ToBGR, nullptr),
    Mosaic("ConvByrRG10ToBGR", kBayer, kBgr, 10, kRG, ConvByrRG10ToBGR, nullptr),
    Mosaic("ConvByrGB10ToBGR", kBayer, kBgr, 10, kGB, ConvByrGB10ToBGR, nullptr),
    Mosaic("ConvByrBG10ToBGR", kBayer, kBgr, 10, kBG, ConvByrBG10ToBGR, nullptr),
    Mosaic("ConvByrGR12ToBGRA", kBayer, kBgra, 12, kGR, ConvByrGR12ToBGRA, nullptr),
    Mosaic("ConvByrRG12ToBGRA", kBayer, kBgra, 12, kRG, ConvByrRG12ToBGRA, nullptr),
    Mosaic("ConvByrGB12ToBGRA", kBayer, kBgra, 12, kGB, ConvByrGB12ToBGRA, nullptr),
    Mosaic("ConvByrBG12ToBGRA", kBayer, kBgra, 12, kBG, ConvByrBG12ToBGRA, nullptr),
    Mosaic("ConvByrGR12ToBGR", kBayer, kBgr, 12, kGR, ConvByrGR12ToBGR, nullptr),
    Mosaic("ConvByrRG12ToBGR", kBayer, kBgr, 12, kRG, ConvByrRG12ToBGR, nullptr),
    Mosaic("ConvByrGB12ToBGR", kBayer, kBgr, 12, kGB, ConvByrGB12ToBGR, nullptr),
    Mosaic("ConvByrBG12ToBGR", kBayer, kBgr, 12, kBG, ConvByrBG12ToBGR, nullptr),
    Mosaic("ConvByrGRNToBGRA", kBayer, kBgra, 16, kGR, nullptr, ConvByrGRNToBGRA),
    Mosaic("ConvByrRGNToBGRA", kBayer, kBgra, 16, kRG, nullptr, ConvByrRGNToBGRA),
    Mosaic("ConvByrGBNToBGRA", kBayer, kBgra, 16, kGB, nullptr, ConvByrGBNToBGRA),
    Mosaic("ConvByrBGNToBGRA", kBayer, kBgra, 16, kBG, nullptr, ConvByrBGNToBGRA),
    Mosaic("ConvByrGRNToBGR", kBayer, kBgr, 16, kGR, nullptr, ConvByrGRNToBGR),
    Mosaic("ConvByrRGNToBGR", kBayer, kBgr, 16, kRG, nullptr, ConvByrRGNToBGR),
    Mosaic("ConvByrGBNToBGR", kBayer, kBgr, 16, kGB, nullptr, ConvByrGBNToBGR),
    Mosaic("ConvByrBGNToBGR", kBayer, kBgr, 16, kBG, nullptr, ConvByrBGNToBGR),
    Mosaic("ConvByrGR8ToBGRAACPI", kAcpi, kBgra, 8, kGR, ConvByrGR8ToBGRAACPI, nullptr),
    Mosaic("ConvByrRG8ToBGRAACPI", kAcpi, kBgra, 8, kRG, ConvByrRG8ToBGRAACPI, nullptr),
    Mosaic("ConvByrGB8ToBGRAACPI", kAcpi, kBgra, 8, kGB, ConvByrGB8ToBGRAACPI, nullptr),
    Mosaic("ConvByrBG8ToBGRAACPI", kAcpi, kBgra, 8, kBG, ConvByrBG8ToBGRAACPI, nullptr),
    Mosaic("ConvByrGR8ToBGRACPI", kAcpi, kBgr, 8, kGR, ConvByrGR8ToBGRACPI, nullptr),
    Mosaic("ConvByrRG8ToBGRACPI", kAcpi, kBgr, 8, kRG, ConvByrRG8ToBGRACPI, nullptr),
    Mosaic("ConvByrGB8ToBGRACPI", kAcpi, kBgr, 8, kGB, ConvByrGB8ToBGRACPI, nullptr),
    Mosaic("ConvByrBG8ToBGRACPI", kAcpi, kBgr, 8, kBG, ConvByrBG8ToBGRACPI, nullptr),
};
// clang-format on

}  // namespace Rows

using Rows::kConverters;

}  // namespace VexaCatalogue
