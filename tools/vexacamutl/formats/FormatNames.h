// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Pixel formats by name, from the table of the frames layer: the library's own formats, deeper ones, and the packed
// transport layouts, which are unpacked into words before they are written or reversed.
#pragma once

#include <VexaCamFrames.h>

#include <span>
#include <string>
#include <string_view>

namespace VexaTool {

enum class Kind { kMono, kBayer, kColour, kYuv };

struct FormatInfo {
    std::string_view name;
    PixelFormat code;
    Kind kind;
    uint32_t depth;            ///< significant bits per sample
    std::string_view aliases;  ///< separated by spaces
    uint32_t packing;          ///< VCF_PACKING_...: how samples share bytes
    PixelFormat unpacked;      ///< of packed layouts: the format of their words
    uint32_t groupPixels;      ///< of YUV: pixels in a row that share their chroma; 1
                               ///< otherwise

    bool IsPacked() const { return packing != VCF_PACKING_NONE; }
};

std::span<const FormatInfo> AllFormats();

/// By name, alias or hex code (0x...); case, '_', '-' and '.' do not matter. A Failure names the nearest formats.
const FormatInfo& FormatNamed(std::string_view text);

/// Null for a code that the table does not have.
const FormatInfo* FindFormat(PixelFormat code);

/// The format of the samples as the library gets them: the format itself unless it is packed.
const FormatInfo& UnpackedFormat(const FormatInfo& format);

const char* KindName(Kind kind);

/// "0x01080009"
std::string HexCode(PixelFormat code);

}  // namespace VexaTool
