// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See FormatNames.h.
#include "formats/FormatNames.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdio>
#include <numeric>
#include <vector>

#include "Failure.h"

namespace VexaTool {

namespace {

using enum Kind;
using enum Packing;

// python/vexacamutl/format_names.txt has the same names; the tests compare the two.
constexpr FormatInfo kFormats[] = {
    {"Mono8", PIXEL_FORMAT_MONO8, kMono, 8, "gray8 grey8 gray grey y8 y800 luma8"},
    {"Mono10", PIXEL_FORMAT_MONO10, kMono, 10, "gray10 grey10 gray10le y10"},
    {"Mono12", PIXEL_FORMAT_MONO12, kMono, 12, "gray12 grey12 gray12le y12"},
    {"Mono16", PIXEL_FORMAT_MONO16, kMono, 16, "gray16 grey16 gray16le gray16_le y16"},
    {"BayerGR8", PIXEL_FORMAT_BAYER_GR8, kBayer, 8, "grbg grbg8 bayer_grbg8 sgrbg8"},
    {"BayerRG8", PIXEL_FORMAT_BAYER_RG8, kBayer, 8, "rggb rggb8 bayer_rggb8 srggb8"},
    {"BayerGB8", PIXEL_FORMAT_BAYER_GB8, kBayer, 8, "gbrg gbrg8 bayer_gbrg8 sgbrg8"},
    {"BayerBG8", PIXEL_FORMAT_BAYER_BG8, kBayer, 8, "bggr bggr8 bayer_bggr8 sbggr8"},
    {"BayerGR10", PIXEL_FORMAT_BAYER_GR10, kBayer, 10, "grbg10 grbg10le bayer_grbg10 sgrbg10 bayer_grbg10le"},
    {"BayerRG10", PIXEL_FORMAT_BAYER_RG10, kBayer, 10, "rggb10 rggb10le bayer_rggb10 srggb10 bayer_rggb10le"},
    {"BayerGB10", PIXEL_FORMAT_BAYER_GB10, kBayer, 10, "gbrg10 gbrg10le bayer_gbrg10 sgbrg10 bayer_gbrg10le"},
    {"BayerBG10", PIXEL_FORMAT_BAYER_BG10, kBayer, 10, "bggr10 bggr10le bayer_bggr10 sbggr10 bayer_bggr10le"},
    {"BayerGR12", PIXEL_FORMAT_BAYER_GR12, kBayer, 12, "grbg12 grbg12le bayer_grbg12 sgrbg12 bayer_grbg12le"},
    {"BayerRG12", PIXEL_FORMAT_BAYER_RG12, kBayer, 12, "rggb12 rggb12le bayer_rggb12 srggb12 bayer_rggb12le"},
    {"BayerGB12", PIXEL_FORMAT_BAYER_GB12, kBayer, 12, "gbrg12 gbrg12le bayer_gbrg12 sgbrg12 bayer_gbrg12le"},
    {"BayerBG12", PIXEL_FORMAT_BAYER_BG12, kBayer, 12, "bggr12 bggr12le bayer_bggr12 sbggr12 bayer_bggr12le"},
    {"RGB8", PIXEL_FORMAT_RGB8, kColour, 8, "rgb rgb24 rgb888 rgb8packed"},
    {"BGR8", PIXEL_FORMAT_BGR8, kColour, 8, "bgr bgr24 bgr888 bgr8packed"},
    {"RGB10", PIXEL_FORMAT_RGB10, kColour, 10, "rgb10packed"},
    {"BGR10", PIXEL_FORMAT_BGR10, kColour, 10, "bgr10packed"},
    {"RGB12", PIXEL_FORMAT_RGB12, kColour, 12, "rgb12packed"},
    {"BGR12", PIXEL_FORMAT_BGR12, kColour, 12, "bgr12packed"},
    {"YUV411_8_UYYVYY", PIXEL_FORMAT_YUV411_8_UYYVYY, kYuv, 8, "uyyvyy uyyvyy411 yuv411 yuv411packed iyu1"},
    {"YUV422_8_UYVY", PIXEL_FORMAT_YUV422_8_UYVY, kYuv, 8, "uyvy uyvy422 yuv422packed yuv422uyvy"},
    {"YUV8_UYV", PIXEL_FORMAT_YUV8_UYV, kYuv, 8, "uyv yuv444 yuv444packed iyu2"},
    {"Mono10p", 0x010A0046, kMono, 10, "gray10p grey10p", kBitStream, PIXEL_FORMAT_MONO10},
    {"Mono12p", 0x010C0047, kMono, 12, "gray12p grey12p", kBitStream, PIXEL_FORMAT_MONO12},
    {"Mono10Packed", 0x010C0004, kMono, 10, "", kPairIn3Bytes, PIXEL_FORMAT_MONO10},
    {"Mono12Packed", 0x010C0006, kMono, 12, "", kPairIn3Bytes, PIXEL_FORMAT_MONO12},
    {"BayerGR10p", 0x010A0056, kBayer, 10, "grbg10p", kBitStream, PIXEL_FORMAT_BAYER_GR10},
    {"BayerRG10p", 0x010A0058, kBayer, 10, "rggb10p", kBitStream, PIXEL_FORMAT_BAYER_RG10},
    {"BayerGB10p", 0x010A0054, kBayer, 10, "gbrg10p", kBitStream, PIXEL_FORMAT_BAYER_GB10},
    {"BayerBG10p", 0x010A0052, kBayer, 10, "bggr10p", kBitStream, PIXEL_FORMAT_BAYER_BG10},
    {"BayerGR12p", 0x010C0057, kBayer, 12, "grbg12p", kBitStream, PIXEL_FORMAT_BAYER_GR12},
    {"BayerRG12p", 0x010C0059, kBayer, 12, "rggb12p", kBitStream, PIXEL_FORMAT_BAYER_RG12},
    {"BayerGB12p", 0x010C0055, kBayer, 12, "gbrg12p", kBitStream, PIXEL_FORMAT_BAYER_GB12},
    {"BayerBG12p", 0x010C0053, kBayer, 12, "bggr12p", kBitStream, PIXEL_FORMAT_BAYER_BG12},
    {"BayerGR10Packed", 0x010C0026, kBayer, 10, "grbg10sp", kPairIn3Bytes, PIXEL_FORMAT_BAYER_GR10},
    {"BayerRG10Packed", 0x010C0027, kBayer, 10, "rggb10sp", kPairIn3Bytes, PIXEL_FORMAT_BAYER_RG10},
    {"BayerGB10Packed", 0x010C0028, kBayer, 10, "gbrg10sp", kPairIn3Bytes, PIXEL_FORMAT_BAYER_GB10},
    {"BayerBG10Packed", 0x010C0029, kBayer, 10, "bggr10sp", kPairIn3Bytes, PIXEL_FORMAT_BAYER_BG10},
    {"BayerGR12Packed", 0x010C002A, kBayer, 12, "grbg12sp", kPairIn3Bytes, PIXEL_FORMAT_BAYER_GR12},
    {"BayerRG12Packed", 0x010C002B, kBayer, 12, "rggb12sp", kPairIn3Bytes, PIXEL_FORMAT_BAYER_RG12},
    {"BayerGB12Packed", 0x010C002C, kBayer, 12, "gbrg12sp", kPairIn3Bytes, PIXEL_FORMAT_BAYER_GB12},
    {"BayerBG12Packed", 0x010C002D, kBayer, 12, "bggr12sp", kPairIn3Bytes, PIXEL_FORMAT_BAYER_BG12},
};

/// Formats that cameras send and nothing here converts.
constexpr FormatInfo kUnserved[] = {
    {"YUV422_8", 0x02100032, kYuv, 8, "yuyv yuy2 yuyv422 yuv422yuyv"},
};

/// Lower-case letters and digits only.
std::string Normalised(std::string_view text) {
    std::string result;
    for (const char c : text) {
        if (std::isalnum(static_cast<unsigned char>(c)) != 0) {
            result += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        }
    }
    return result;
}

std::vector<std::string> SpellingsOf(const FormatInfo& format) {
    std::vector<std::string> spellings = {Normalised(format.name)};
    std::string_view rest = format.aliases;
    while (!rest.empty()) {
        const size_t length = std::min(rest.find(' '), rest.size());
        spellings.push_back(Normalised(rest.substr(0, length)));
        rest.remove_prefix(std::min(length + 1, rest.size()));
    }
    return spellings;
}

const FormatInfo* FindSpelling(std::span<const FormatInfo> formats, const std::string& wanted) {
    for (const FormatInfo& format : formats) {
        const std::vector<std::string> spellings = SpellingsOf(format);
        if (std::find(spellings.begin(), spellings.end(), wanted) != spellings.end()) {
            return &format;
        }
    }
    return nullptr;
}

/// How many letters have to be changed, added, left out or exchanged with their neighbour to get from one to the other.
size_t EditDistance(const std::string& a, const std::string& b) {
    std::vector<size_t> before(b.size() + 1);
    std::vector<size_t> above(b.size() + 1);
    std::vector<size_t> row(b.size() + 1);
    std::iota(above.begin(), above.end(), size_t{0});
    for (size_t i = 1; i <= a.size(); ++i) {
        row[0] = i;
        for (size_t j = 1; j <= b.size(); ++j) {
            row[j] = std::min({above[j] + 1, row[j - 1] + 1, above[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1)});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                row[j] = std::min(row[j], before[j - 2] + 1);
            }
        }
        std::swap(before, above);
        std::swap(above, row);
    }
    return above[b.size()];
}

/// 0 for a name that contains the text; two letters are part of too many names.
size_t Distance(const std::string& wanted, const FormatInfo& format) {
    static constexpr size_t kShortestPart = 3;
    if (wanted.size() >= kShortestPart && Normalised(format.name).find(wanted) != std::string::npos) {
        return 0;
    }
    size_t nearest = SIZE_MAX;
    for (const std::string& spelling : SpellingsOf(format)) {
        nearest = std::min(nearest, EditDistance(wanted, spelling));
    }
    return nearest;
}

std::string NearestNames(const std::string& wanted) {
    static constexpr size_t kNames = 3;
    std::vector<std::pair<size_t, std::string_view>> byDistance;
    for (const FormatInfo& format : kFormats) {
        byDistance.emplace_back(Distance(wanted, format), format.name);
    }
    std::stable_sort(byDistance.begin(), byDistance.end(), [](auto& a, auto& b) { return a.first < b.first; });
    std::string names(byDistance[0].second);
    for (size_t i = 1; i < kNames; ++i) {
        names += (i + 1 == kNames ? " or " : ", ") + std::string(byDistance[i].second);
    }
    return names;
}

const FormatInfo& FormatOfHexCode(std::string_view text) {
    PixelFormat code = 0;
    const auto [end, error] = std::from_chars(text.data() + 2, text.data() + text.size(), code, 16);
    const FormatInfo* format = error == std::errc{} && end == text.data() + text.size() ? FindFormat(code) : nullptr;
    if (format == nullptr) {
        throw Failure(ExitCode::kUsage,
                      "no known pixel format has the code " + std::string(text) + " (see: vexacamutl formats)");
    }
    return *format;
}

}  // namespace

std::span<const FormatInfo> AllFormats() {
    return kFormats;
}

const FormatInfo& FormatNamed(std::string_view text) {
    if (text.starts_with("0x") || text.starts_with("0X")) {
        return FormatOfHexCode(text);
    }
    const std::string wanted = Normalised(text);
    if (const FormatInfo* format = FindSpelling(kFormats, wanted)) {
        return *format;
    }
    if (const FormatInfo* format = FindSpelling(kUnserved, wanted)) {
        throw Failure(ExitCode::kUnsupported,
                      std::string(format->name) + " is not served (did you mean YUV422_8_UYVY?)");
    }
    throw Failure(ExitCode::kUsage, "unknown pixel format '" + std::string(text) + "'; did you mean " +
                                        NearestNames(wanted) + "? (see: vexacamutl formats)");
}

const FormatInfo* FindFormat(PixelFormat code) {
    const auto* found = std::find_if(std::begin(kFormats), std::end(kFormats),
                                     [code](const FormatInfo& format) { return format.code == code; });
    return found == std::end(kFormats) ? nullptr : found;
}

uint32_t PixelsPerGroup(const FormatInfo& format) {
    switch (format.code) {
        case PIXEL_FORMAT_YUV411_8_UYYVYY:
            return 4;
        case PIXEL_FORMAT_YUV422_8_UYVY:
            return 2;
        default:
            return 1;
    }
}

const FormatInfo& UnpackedFormat(const FormatInfo& format) {
    const FormatInfo* unpacked = FindFormat(format.unpacked);
    return unpacked == nullptr ? format : *unpacked;
}

const char* KindName(Kind kind) {
    switch (kind) {
        case kMono:
            return "grey";
        case kBayer:
            return "Bayer";
        case kColour:
            return "colour";
        case kYuv:
            return "YUV";
    }
    return "";
}

std::string HexCode(PixelFormat code) {
    char text[16];
    static_cast<void>(std::snprintf(text, sizeof text, "0x%08X", code));
    return text;
}

}  // namespace VexaTool
