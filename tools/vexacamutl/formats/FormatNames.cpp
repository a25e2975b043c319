// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See FormatNames.h.
#include "formats/FormatNames.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <numeric>
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
    for (const FormatInfo& format : AllFormats()) {
        byDistance.emplace_back(Distance(wanted, format), format.name);
    }
    std::stable_sort(byDistance.begin(), byDistance.end(), [](auto& a, auto& b) { return a.first < b.first; });
    std::string names(byDistance[0].second);
    for (size_t i = 1; i < kNames; ++i) {
        names += (i + 1 == kNames ? " or " : ", ") + std::string(byDistance[i].second);
    }
    return names;
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
    throw Failure(ExitCode::kUsage, "unknown pixel format '" + name + "'; did you mean " +
                                        NearestNames(Normalised(name)) + "? (see: vexacamutl formats)");
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
