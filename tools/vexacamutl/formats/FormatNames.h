// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Pixel formats by name: one table of every format that the program reads, with the spellings that cameras and other
// programs use, and the search through it.
//
// Besides the library's own formats the table has the packed transport layouts, which are unpacked into one of those
// before the library sees them.
#pragma once

#include <VexaCamUtl.h>

#include <span>
#include <string>
#include <string_view>

namespace VexaTool {

enum class Kind { kMono, kBayer, kColour, kYuv };

/// How samples of 10 and 12 bits share bytes on the wire (drawn in Unpack.h).
enum class Packing { kNone, kBitStream, kPairIn3Bytes };

struct FormatInfo {
    std::string_view name;
    PixelFormat code;
    Kind kind;
    uint32_t depth;            ///< significant bits a sample
    std::string_view aliases;  ///< separated by spaces
    Packing packing = Packing::kNone;
    PixelFormat unpacked = 0;  ///< of packed layouts: the format that they are unpacked into
};

std::span<const FormatInfo> AllFormats();

/// By name, alias or hex code (0x...); case, '_', '-' and '.' do not matter. A Failure names the nearest formats.
const FormatInfo& FormatNamed(std::string_view text);

/// Null for a code that the table does not have.
const FormatInfo* FindFormat(PixelFormat code);

/// How many pixels in a row share their chroma: 4 (UYYVYY), 2 (UYVY), or 1. A part of a group has no defined bytes.
uint32_t PixelsPerGroup(const FormatInfo& format);

/// The format of the samples as the library gets them: the format itself unless it is packed.
const FormatInfo& UnpackedFormat(const FormatInfo& format);

const char* KindName(Kind kind);

/// "0x01080009"
std::string HexCode(PixelFormat code);

}  // namespace VexaTool
