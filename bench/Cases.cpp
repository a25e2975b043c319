// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The converters are those of the reference's table, so that the tree has one list of them; the ways of ReverseImg are
// listed here. Workers run with the shift of 12-bit samples.
#include "Cases.h"

#include <string_view>
#include <vector>

#include "Reference.h"

namespace Bench {
namespace {

constexpr uint32_t kWorkerShift = 4;

template <PixelFormat format, uint8_t mirror, uint8_t upsideDown>
UtlStatus Reverse(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ReverseImg(dst, src, format, width, height, mirror, upsideDown);
}

constexpr Case c_asReverseCases[] = {
    {"copy", "Reverse Mono8 copy", Reverse<PIXEL_FORMAT_MONO8, 0, 0>, nullptr, 8, 8},
    {"mirror", "Reverse Mono8 mirror", Reverse<PIXEL_FORMAT_MONO8, 1, 0>, nullptr, 8, 8},
    {"upside down", "Reverse Mono8 upside down", Reverse<PIXEL_FORMAT_MONO8, 0, 1>, nullptr, 8, 8},
    {"half turn", "Reverse Mono8 half turn", Reverse<PIXEL_FORMAT_MONO8, 1, 1>, nullptr, 8, 8},
    {"copy", "Reverse Mono12 copy", Reverse<PIXEL_FORMAT_MONO12, 0, 0>, nullptr, 16, 16},
    {"mirror", "Reverse Mono12 mirror", Reverse<PIXEL_FORMAT_MONO12, 1, 0>, nullptr, 16, 16},
    {"upside down", "Reverse Mono12 upside down", Reverse<PIXEL_FORMAT_MONO12, 0, 1>, nullptr, 16, 16},
    {"half turn", "Reverse Mono12 half turn", Reverse<PIXEL_FORMAT_MONO12, 1, 1>, nullptr, 16, 16},
    {"copy", "Reverse RGB8 copy", Reverse<PIXEL_FORMAT_RGB8, 0, 0>, nullptr, 24, 24},
    {"mirror", "Reverse RGB8 mirror", Reverse<PIXEL_FORMAT_RGB8, 1, 0>, nullptr, 24, 24},
    {"upside down", "Reverse RGB8 upside down", Reverse<PIXEL_FORMAT_RGB8, 0, 1>, nullptr, 24, 24},
    {"half turn", "Reverse RGB8 half turn", Reverse<PIXEL_FORMAT_RGB8, 1, 1>, nullptr, 24, 24},
    {"copy", "Reverse BGR12 copy", Reverse<PIXEL_FORMAT_BGR12, 0, 0>, nullptr, 48, 48},
    {"mirror", "Reverse BGR12 mirror", Reverse<PIXEL_FORMAT_BGR12, 1, 0>, nullptr, 48, 48},
    {"upside down", "Reverse BGR12 upside down", Reverse<PIXEL_FORMAT_BGR12, 0, 1>, nullptr, 48, 48},
    {"half turn", "Reverse BGR12 half turn", Reverse<PIXEL_FORMAT_BGR12, 1, 1>, nullptr, 48, 48},
    {"copy", "Reverse YUV411 copy", Reverse<PIXEL_FORMAT_YUV411_8_UYYVYY, 0, 0>, nullptr, 12, 12},
    {"mirror", "Reverse YUV411 mirror", Reverse<PIXEL_FORMAT_YUV411_8_UYYVYY, 1, 0>, nullptr, 12, 12},
    {"upside down", "Reverse YUV411 upside down", Reverse<PIXEL_FORMAT_YUV411_8_UYYVYY, 0, 1>, nullptr, 12, 12},
    {"half turn", "Reverse YUV411 half turn", Reverse<PIXEL_FORMAT_YUV411_8_UYYVYY, 1, 1>, nullptr, 12, 12},
    {"copy", "Reverse YUV422 copy", Reverse<PIXEL_FORMAT_YUV422_8_UYVY, 0, 0>, nullptr, 16, 16},
    {"mirror", "Reverse YUV422 mirror", Reverse<PIXEL_FORMAT_YUV422_8_UYVY, 1, 0>, nullptr, 16, 16},
    {"upside down", "Reverse YUV422 upside down", Reverse<PIXEL_FORMAT_YUV422_8_UYVY, 0, 1>, nullptr, 16, 16},
    {"half turn", "Reverse YUV422 half turn", Reverse<PIXEL_FORMAT_YUV422_8_UYVY, 1, 1>, nullptr, 16, 16},
};

const char* FamilyOf(const Reference::Converter& converter) {
    switch (converter.family) {
        case Reference::Family::kMono:
            return "grey";
        case Reference::Family::kPackedColour:
            return "packed colour";
        case Reference::Family::kYuv:
            return converter.pixelBytes == 4 ? "YUV to BGRA" : "YUV to BGR";
        case Reference::Family::kBayer:
            return converter.depth == 8 ? "Bayer 8" : "Bayer 10/12";
        case Reference::Family::kAcpi:
            break;
    }
    return "ACPI";
}

Case CaseOf(const Reference::Converter& converter) {
    return {FamilyOf(converter), converter.name,         converter.function,
            converter.worker,    converter.SourceBits(), converter.DestinationBits()};
}

std::vector<Case> MakeCases() {
    std::vector<Case> cases;
    for (const Reference::Converter& converter : Reference::Converters()) {
        cases.push_back(CaseOf(converter));
    }
    cases.insert(cases.end(), std::begin(c_asReverseCases), std::end(c_asReverseCases));
    return cases;
}

}  // namespace

UtlStatus Case::Run(void* dst, const void* src, uint32_t width, uint32_t height) const {
    return worker == nullptr ? function(dst, src, width, height) : worker(dst, src, width, height, kWorkerShift);
}

bool Case::HasWords() const {
    // 4:2:2 takes 16 bits per pixel too.
    return (srcBits == 16 || srcBits == 48) && std::string_view(name).find("YUV") == std::string_view::npos;
}

bool Case::IsMosaic() const {
    return std::string_view(name).find("Byr") != std::string_view::npos;
}

std::span<const Case> Cases() {
    static const std::vector<Case> cases = MakeCases();
    return cases;
}

}  // namespace Bench
