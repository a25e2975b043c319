// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See FormatNames.h.
#include "formats/FormatNames.h"

#include <algorithm>
#include <cstdio>
#include <vector>

#include "Failure.h"

namespace VexaTool {

namespace {

Kind KindOf(const VcfFormat& format) {
    switch (format.kind) {
        case VCF_KIND_BAYER:
            return Kind::kBayer;
        case VCF_KIND_COLOUR:
            return Kind::kColour;
        case VCF_KIND_YUV:
            return Kind::kYuv;
        default:
            return Kind::kMono;
    }
}

std::vector<FormatInfo> ReadTable() {
    std::vector<FormatInfo> formats;
    for (uint32_t i = 0; i < VcfFormatCount(); ++i) {
        const VcfFormat& format = *VcfFormatAt(i);
        const Kind kind = KindOf(format);
        formats.push_back({format.name, format.format, kind, format.depth, format.aliases, format.packing,
                           format.unpacked, kind == Kind::kYuv ? format.group_pixels : 1});
    }
    return formats;
}

std::string ProposalFor(const std::string& wrong) {
    char names[VCF_TEXT_BYTES] = "";
    static_cast<void>(VcfNearestNames(wrong.c_str(), names, sizeof names));
    return names[0] == '\0' ? "" : std::string("; did you mean ") + names + "?";
}

}  // namespace

std::span<const FormatInfo> AllFormats() {
    static const std::vector<FormatInfo> s_formats = ReadTable();
    return s_formats;
}

const FormatInfo& FormatNamed(std::string_view text) {
    const std::string name(text);
    if (const FormatInfo* format = FindFormat(VcfFormatNamed(name.c_str()))) {
        return *format;
    }
    if (name.starts_with("0x") || name.starts_with("0X")) {
        throw Failure(ExitCode::kUsage, "no known pixel format has the code " + name + " (see: vexacamutl formats)");
    }
    throw Failure(ExitCode::kUsage,
                  "unknown pixel format '" + name + "'" + ProposalFor(name) + " (see: vexacamutl formats)");
}

const FormatInfo* FindFormat(PixelFormat code) {
    const auto formats = AllFormats();
    const auto found =
        std::find_if(formats.begin(), formats.end(), [code](const FormatInfo& format) { return format.code == code; });
    return found == formats.end() ? nullptr : &*found;
}

const FormatInfo& UnpackedFormat(const FormatInfo& format) {
    return *FindFormat(format.unpacked);
}

const char* KindName(Kind kind) {
    switch (kind) {
        case Kind::kMono:
            return "grey";
        case Kind::kBayer:
            return "Bayer";
        case Kind::kColour:
            return "colour";
        case Kind::kYuv:
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
