// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The table of formats: codes, names and the names that cameras and other programs use, and the searches through it.
// Everything but name, code and aliases follows from a few columns.
#include "Formats.h"

#include <string_view>

namespace VexaFrames {

namespace {

struct Group {
    uint32_t pixels;
    uint32_t bytes;
};

consteval Group GroupOf(PixelFormat code, uint32_t packing) {
    switch (packing) {
        case VCF_PACKING_10P:
        case VCF_PACKING_10CSI2:
            return {4, 5};
        case VCF_PACKING_12P:
        case VCF_PACKING_10PACKED:
        case VCF_PACKING_12PACKED:
        case VCF_PACKING_12CSI2:
            return {2, 3};
        default:
            break;
    }
    switch (code) {
        case PIXEL_FORMAT_YUV411_8_UYYVYY:
            return {4, 6};
        case PIXEL_FORMAT_YUV422_8_UYVY:
        case PIXEL_FORMAT_YUV422_8:
            return {2, 4};
        default:
            return {1, (code >> 16 & 0xFF) / 8};
    }
}

consteval VcfFormat Row(const char* name, PixelFormat code, uint32_t kind, uint32_t depth, uint32_t phase,
                        const char* aliases, uint32_t packing = VCF_PACKING_NONE, PixelFormat unpacked = 0) {
    const Group group = GroupOf(code, packing);
    return {code,
            name,
            aliases,
            kind,
            depth,
            code >> 16 & 0xFF,
            packing,
            phase,
            group.pixels,
            group.bytes,
            unpacked == 0 ? code : unpacked};
}

consteval VcfFormat Mono(const char* name, PixelFormat code, uint32_t depth, const char* aliases,
                         uint32_t packing = VCF_PACKING_NONE, PixelFormat unpacked = 0) {
    return Row(name, code, VCF_KIND_MONO, depth, VCF_PHASE_NONE, aliases, packing, unpacked);
}

consteval VcfFormat Bayer(const char* name, PixelFormat code, uint32_t depth, uint32_t phase, const char* aliases,
                          uint32_t packing = VCF_PACKING_NONE, PixelFormat unpacked = 0) {
    return Row(name, code, VCF_KIND_BAYER, depth, phase, aliases, packing, unpacked);
}

consteval VcfFormat Colour(const char* name, PixelFormat code, uint32_t depth, const char* aliases) {
    return Row(name, code, VCF_KIND_COLOUR, depth, VCF_PHASE_NONE, aliases);
}

consteval VcfFormat Yuv(const char* name, PixelFormat code, const char* aliases) {
    return Row(name, code, VCF_KIND_YUV, 8, VCF_PHASE_NONE, aliases);
}

constexpr VcfFormat kFormats[] = {
    Mono("Mono8", PIXEL_FORMAT_MONO8, 8, "gray8 grey8 gray grey y8 y800 luma8"),
    Mono("Mono10", PIXEL_FORMAT_MONO10, 10, "gray10 grey10 gray10le y10"),
    Mono("Mono12", PIXEL_FORMAT_MONO12, 12, "gray12 grey12 gray12le y12"),
    Mono("Mono14", PIXEL_FORMAT_MONO14, 14, "gray14 grey14 gray14le y14"),
    Mono("Mono16", PIXEL_FORMAT_MONO16, 16, "gray16 grey16 gray16le gray16_le y16"),
    Bayer("BayerGR8", PIXEL_FORMAT_BAYER_GR8, 8, VCF_PHASE_GR, "grbg grbg8 bayer_grbg8 sgrbg8"),
    Bayer("BayerRG8", PIXEL_FORMAT_BAYER_RG8, 8, VCF_PHASE_RG, "rggb rggb8 bayer_rggb8 srggb8"),
    Bayer("BayerGB8", PIXEL_FORMAT_BAYER_GB8, 8, VCF_PHASE_GB, "gbrg gbrg8 bayer_gbrg8 sgbrg8"),
    Bayer("BayerBG8", PIXEL_FORMAT_BAYER_BG8, 8, VCF_PHASE_BG, "bggr bggr8 bayer_bggr8 sbggr8"),
    Bayer("BayerGR10", PIXEL_FORMAT_BAYER_GR10, 10, VCF_PHASE_GR,
          "grbg10 grbg10le bayer_grbg10 sgrbg10 bayer_grbg10le"),
    Bayer("BayerRG10", PIXEL_FORMAT_BAYER_RG10, 10, VCF_PHASE_RG,
          "rggb10 rggb10le bayer_rggb10 srggb10 bayer_rggb10le"),
    Bayer("BayerGB10", PIXEL_FORMAT_BAYER_GB10, 10, VCF_PHASE_GB,
          "gbrg10 gbrg10le bayer_gbrg10 sgbrg10 bayer_gbrg10le"),
    Bayer("BayerBG10", PIXEL_FORMAT_BAYER_BG10, 10, VCF_PHASE_BG,
          "bggr10 bggr10le bayer_bggr10 sbggr10 bayer_bggr10le"),
    Bayer("BayerGR12", PIXEL_FORMAT_BAYER_GR12, 12, VCF_PHASE_GR,
          "grbg12 grbg12le bayer_grbg12 sgrbg12 bayer_grbg12le"),
    Bayer("BayerRG12", PIXEL_FORMAT_BAYER_RG12, 12, VCF_PHASE_RG,
          "rggb12 rggb12le bayer_rggb12 srggb12 bayer_rggb12le"),
    Bayer("BayerGB12", PIXEL_FORMAT_BAYER_GB12, 12, VCF_PHASE_GB,
          "gbrg12 gbrg12le bayer_gbrg12 sgbrg12 bayer_gbrg12le"),
    Bayer("BayerBG12", PIXEL_FORMAT_BAYER_BG12, 12, VCF_PHASE_BG,
          "bggr12 bggr12le bayer_bggr12 sbggr12 bayer_bggr12le"),
    Bayer("BayerGR14", PIXEL_FORMAT_BAYER_GR14, 14, VCF_PHASE_GR,
          "grbg14 grbg14le bayer_grbg14 sgrbg14 bayer_grbg14le"),
    Bayer("BayerRG14", PIXEL_FORMAT_BAYER_RG14, 14, VCF_PHASE_RG,
          "rggb14 rggb14le bayer_rggb14 srggb14 bayer_rggb14le"),
    Bayer("BayerGB14", PIXEL_FORMAT_BAYER_GB14, 14, VCF_PHASE_GB,
          "gbrg14 gbrg14le bayer_gbrg14 sgbrg14 bayer_gbrg14le"),
    Bayer("BayerBG14", PIXEL_FORMAT_BAYER_BG14, 14, VCF_PHASE_BG,
          "bggr14 bggr14le bayer_bggr14 sbggr14 bayer_bggr14le"),
    Bayer("BayerGR16", PIXEL_FORMAT_BAYER_GR16, 16, VCF_PHASE_GR,
          "grbg16 grbg16le bayer_grbg16 sgrbg16 bayer_grbg16le"),
    Bayer("BayerRG16", PIXEL_FORMAT_BAYER_RG16, 16, VCF_PHASE_RG,
          "rggb16 rggb16le bayer_rggb16 srggb16 bayer_rggb16le"),
    Bayer("BayerGB16", PIXEL_FORMAT_BAYER_GB16, 16, VCF_PHASE_GB,
          "gbrg16 gbrg16le bayer_gbrg16 sgbrg16 bayer_gbrg16le"),
    Bayer("BayerBG16", PIXEL_FORMAT_BAYER_BG16, 16, VCF_PHASE_BG,
          "bggr16 bggr16le bayer_bggr16 sbggr16 bayer_bggr16le"),
    Colour("RGB8", PIXEL_FORMAT_RGB8, 8, "rgb rgb24 rgb888 rgb8packed"),
    Colour("BGR8", PIXEL_FORMAT_BGR8, 8, "bgr bgr24 bgr888 bgr8packed"),
    Colour("RGB10", PIXEL_FORMAT_RGB10, 10, "rgb10packed"),
    Colour("BGR10", PIXEL_FORMAT_BGR10, 10, "bgr10packed"),
    Colour("RGB12", PIXEL_FORMAT_RGB12, 12, "rgb12packed"),
    Colour("BGR12", PIXEL_FORMAT_BGR12, 12, "bgr12packed"),
    Yuv("YUV411_8_UYYVYY", PIXEL_FORMAT_YUV411_8_UYYVYY, "uyyvyy uyyvyy411 yuv411 yuv411packed iyu1"),
    Yuv("YUV422_8_UYVY", PIXEL_FORMAT_YUV422_8_UYVY, "uyvy uyvy422 yuv422packed yuv422uyvy"),
    Yuv("YUV422_8", PIXEL_FORMAT_YUV422_8, "yuyv yuy2 yuyv422 yuv422yuyv"),
    Yuv("YUV8_UYV", PIXEL_FORMAT_YUV8_UYV, "uyv yuv444 yuv444packed iyu2"),
    Mono("Mono10p", PIXEL_FORMAT_MONO10P, 10, "gray10p grey10p", VCF_PACKING_10P, PIXEL_FORMAT_MONO10),
    Bayer("BayerGR10p", PIXEL_FORMAT_BAYER_GR10P, 10, VCF_PHASE_GR, "grbg10p", VCF_PACKING_10P,
          PIXEL_FORMAT_BAYER_GR10),
    Bayer("BayerRG10p", PIXEL_FORMAT_BAYER_RG10P, 10, VCF_PHASE_RG, "rggb10p", VCF_PACKING_10P,
          PIXEL_FORMAT_BAYER_RG10),
    Bayer("BayerGB10p", PIXEL_FORMAT_BAYER_GB10P, 10, VCF_PHASE_GB, "gbrg10p", VCF_PACKING_10P,
          PIXEL_FORMAT_BAYER_GB10),
    Bayer("BayerBG10p", PIXEL_FORMAT_BAYER_BG10P, 10, VCF_PHASE_BG, "bggr10p", VCF_PACKING_10P,
          PIXEL_FORMAT_BAYER_BG10),
    Mono("Mono12p", PIXEL_FORMAT_MONO12P, 12, "gray12p grey12p", VCF_PACKING_12P, PIXEL_FORMAT_MONO12),
    Bayer("BayerGR12p", PIXEL_FORMAT_BAYER_GR12P, 12, VCF_PHASE_GR, "grbg12p", VCF_PACKING_12P,
          PIXEL_FORMAT_BAYER_GR12),
    Bayer("BayerRG12p", PIXEL_FORMAT_BAYER_RG12P, 12, VCF_PHASE_RG, "rggb12p", VCF_PACKING_12P,
          PIXEL_FORMAT_BAYER_RG12),
    Bayer("BayerGB12p", PIXEL_FORMAT_BAYER_GB12P, 12, VCF_PHASE_GB, "gbrg12p", VCF_PACKING_12P,
          PIXEL_FORMAT_BAYER_GB12),
    Bayer("BayerBG12p", PIXEL_FORMAT_BAYER_BG12P, 12, VCF_PHASE_BG, "bggr12p", VCF_PACKING_12P,
          PIXEL_FORMAT_BAYER_BG12),
    Mono("Mono10Packed", PIXEL_FORMAT_MONO10_PACKED, 10, "", VCF_PACKING_10PACKED, PIXEL_FORMAT_MONO10),
    Bayer("BayerGR10Packed", PIXEL_FORMAT_BAYER_GR10_PACKED, 10, VCF_PHASE_GR, "grbg10sp", VCF_PACKING_10PACKED,
          PIXEL_FORMAT_BAYER_GR10),
    Bayer("BayerRG10Packed", PIXEL_FORMAT_BAYER_RG10_PACKED, 10, VCF_PHASE_RG, "rggb10sp", VCF_PACKING_10PACKED,
          PIXEL_FORMAT_BAYER_RG10),
    Bayer("BayerGB10Packed", PIXEL_FORMAT_BAYER_GB10_PACKED, 10, VCF_PHASE_GB, "gbrg10sp", VCF_PACKING_10PACKED,
          PIXEL_FORMAT_BAYER_GB10),
    Bayer("BayerBG10Packed", PIXEL_FORMAT_BAYER_BG10_PACKED, 10, VCF_PHASE_BG, "bggr10sp", VCF_PACKING_10PACKED,
          PIXEL_FORMAT_BAYER_BG10),
    Mono("Mono12Packed", PIXEL_FORMAT_MONO12_PACKED, 12, "", VCF_PACKING_12PACKED, PIXEL_FORMAT_MONO12),
    Bayer("BayerGR12Packed", PIXEL_FORMAT_BAYER_GR12_PACKED, 12, VCF_PHASE_GR, "grbg12sp", VCF_PACKING_12PACKED,
          PIXEL_FORMAT_BAYER_GR12),
    Bayer("BayerRG12Packed", PIXEL_FORMAT_BAYER_RG12_PACKED, 12, VCF_PHASE_RG, "rggb12sp", VCF_PACKING_12PACKED,
          PIXEL_FORMAT_BAYER_RG12),
    Bayer("BayerGB12Packed", PIXEL_FORMAT_BAYER_GB12_PACKED, 12, VCF_PHASE_GB, "gbrg12sp", VCF_PACKING_12PACKED,
          PIXEL_FORMAT_BAYER_GB12),
    Bayer("BayerBG12Packed", PIXEL_FORMAT_BAYER_BG12_PACKED, 12, VCF_PHASE_BG, "bggr12sp", VCF_PACKING_12PACKED,
          PIXEL_FORMAT_BAYER_BG12),
    Mono("Mono10CSI2", PIXEL_FORMAT_MONO10_CSI2, 10, "y10p", VCF_PACKING_10CSI2, PIXEL_FORMAT_MONO10),
    Bayer("BayerGR10CSI2", PIXEL_FORMAT_BAYER_GR10_CSI2, 10, VCF_PHASE_GR, "grbg10m sgrbg10p", VCF_PACKING_10CSI2,
          PIXEL_FORMAT_BAYER_GR10),
    Bayer("BayerRG10CSI2", PIXEL_FORMAT_BAYER_RG10_CSI2, 10, VCF_PHASE_RG, "rggb10m srggb10p", VCF_PACKING_10CSI2,
          PIXEL_FORMAT_BAYER_RG10),
    Bayer("BayerGB10CSI2", PIXEL_FORMAT_BAYER_GB10_CSI2, 10, VCF_PHASE_GB, "gbrg10m sgbrg10p", VCF_PACKING_10CSI2,
          PIXEL_FORMAT_BAYER_GB10),
    Bayer("BayerBG10CSI2", PIXEL_FORMAT_BAYER_BG10_CSI2, 10, VCF_PHASE_BG, "bggr10m sbggr10p", VCF_PACKING_10CSI2,
          PIXEL_FORMAT_BAYER_BG10),
    Mono("Mono12CSI2", PIXEL_FORMAT_MONO12_CSI2, 12, "y12p", VCF_PACKING_12CSI2, PIXEL_FORMAT_MONO12),
    Bayer("BayerGR12CSI2", PIXEL_FORMAT_BAYER_GR12_CSI2, 12, VCF_PHASE_GR, "grbg12m sgrbg12p", VCF_PACKING_12CSI2,
          PIXEL_FORMAT_BAYER_GR12),
    Bayer("BayerRG12CSI2", PIXEL_FORMAT_BAYER_RG12_CSI2, 12, VCF_PHASE_RG, "rggb12m srggb12p", VCF_PACKING_12CSI2,
          PIXEL_FORMAT_BAYER_RG12),
    Bayer("BayerGB12CSI2", PIXEL_FORMAT_BAYER_GB12_CSI2, 12, VCF_PHASE_GB, "gbrg12m sgbrg12p", VCF_PACKING_12CSI2,
          PIXEL_FORMAT_BAYER_GB12),
    Bayer("BayerBG12CSI2", PIXEL_FORMAT_BAYER_BG12_CSI2, 12, VCF_PHASE_BG, "bggr12m sbggr12p", VCF_PACKING_12CSI2,
          PIXEL_FORMAT_BAYER_BG12),
};

constexpr uint32_t kFormatCount = sizeof kFormats / sizeof kFormats[0];

/// Letters and digits of a name one after the other, in lower case; 0 after the last one or at the end of an alias.
class Letters {
  public:
    explicit Letters(const char* text, char end = '\0') : m_text(text), m_end(end) {}

    char Next() {
        for (; *m_text != '\0' && *m_text != m_end; ++m_text) {
            const char c = *m_text;
            if (c >= 'A' && c <= 'Z') {
                ++m_text;
                return static_cast<char>(c - 'A' + 'a');
            }
            if ((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9')) {
                ++m_text;
                return c;
            }
        }
        return '\0';
    }

  private:
    const char* m_text;
    char m_end;
};

bool SameSpelling(Letters a, Letters b) {
    for (;;) {
        const char letter = a.Next();
        if (letter != b.Next()) {
            return false;
        }
        if (letter == '\0') {
            return true;
        }
    }
}

/// Calls `use` with every spelling of a format; stops and returns true as soon as that returns true.
template <class Use>
bool AnySpelling(const VcfFormat& format, Use use) {
    if (use(Letters(format.name))) {
        return true;
    }
    const char* alias = format.aliases;
    while (*alias != '\0') {
        if (use(Letters(alias, ' '))) {
            return true;
        }
        while (*alias != '\0' && *alias != ' ') {
            ++alias;
        }
        while (*alias == ' ') {
            ++alias;
        }
    }
    return false;
}

PixelFormat FormatOfHexCode(const char* digits) {
    uint32_t code = 0;
    size_t count = 0;
    for (; digits[count] != '\0'; ++count) {
        const char c = digits[count];
        const uint32_t digit = c >= '0' && c <= '9'   ? static_cast<uint32_t>(c - '0')
                               : c >= 'a' && c <= 'f' ? static_cast<uint32_t>(c - 'a' + 10)
                               : c >= 'A' && c <= 'F' ? static_cast<uint32_t>(c - 'A' + 10)
                                                      : 16;
        if (digit == 16 || count == 8) {
            return 0;
        }
        code = code << 4 | digit;
    }
    return VcfFindFormat(code) == nullptr ? 0 : code;
}

constexpr size_t kLongestName = 32;

size_t Spell(Letters letters, char (&to)[kLongestName]) {
    size_t count = 0;
    for (char c = letters.Next(); c != '\0' && count < kLongestName; c = letters.Next()) {
        to[count++] = c;
    }
    return count;
}

size_t LeastOf(size_t a, size_t b) {
    return a < b ? a : b;
}

/// How many letters have to be changed, added, left out or exchanged with their neighbour to get from one to the other.
size_t EditDistance(Letters first, Letters second) {
    char a[kLongestName];
    char b[kLongestName];
    const size_t lengthA = Spell(first, a);
    const size_t lengthB = Spell(second, b);
    size_t rows[3][kLongestName + 1];
    for (size_t j = 0; j <= lengthB; ++j) {
        rows[0][j] = j;
    }
    for (size_t i = 1; i <= lengthA; ++i) {
        const size_t* before = rows[(i + 1) % 3];
        const size_t* above = rows[(i + 2) % 3];
        size_t* row = rows[i % 3];
        row[0] = i;
        for (size_t j = 1; j <= lengthB; ++j) {
            const size_t changed = above[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
            row[j] = LeastOf(LeastOf(above[j], row[j - 1]) + 1, changed);
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                row[j] = LeastOf(row[j], before[j - 2] + 1);
            }
        }
    }
    return rows[lengthA % 3][lengthB];
}

/// Two letters are part of too many names.
constexpr size_t kShortestPart = 3;

bool NameContains(const VcfFormat& format, const char* text) {
    char name[kLongestName];
    char part[kLongestName];
    const std::string_view spelledName(name, Spell(Letters(format.name), name));
    const std::string_view spelledPart(part, Spell(Letters(text), part));
    return spelledPart.size() >= kShortestPart && spelledName.find(spelledPart) != std::string_view::npos;
}

/// 0 for a name that contains the text, the smallest edit distance to any spelling otherwise.
size_t DistanceFrom(const char* name, const VcfFormat& format) {
    if (NameContains(format, name)) {
        return 0;
    }
    size_t nearest = SIZE_MAX;
    AnySpelling(format, [&](Letters spelling) {
        nearest = LeastOf(nearest, EditDistance(Letters(name), spelling));
        return false;
    });
    return nearest;
}

/// Names further away than this are not meant: half of the letters, at least one, at most four.
size_t LargestDistance(const char* name) {
    char letters[kLongestName];
    const size_t half = Spell(Letters(name), letters) / 2;
    return half == 0 ? 1 : LeastOf(half, 4);
}

}  // namespace

}  // namespace VexaFrames

using namespace VexaFrames;

uint32_t VcfFormatCount() {
    return kFormatCount;
}

const VcfFormat* VcfFormatAt(uint32_t index) {
    return index < kFormatCount ? &kFormats[index] : nullptr;
}

const VcfFormat* VcfFindFormat(PixelFormat format) {
    for (const VcfFormat& row : kFormats) {
        if (row.format == format) {
            return &row;
        }
    }
    return nullptr;
}

PixelFormat VcfFormatNamed(const char* name) {
    if (name == nullptr) {
        return 0;
    }
    if (name[0] == '0' && (name[1] == 'x' || name[1] == 'X')) {
        return FormatOfHexCode(name + 2);
    }
    for (const VcfFormat& row : kFormats) {
        if (AnySpelling(row, [name](Letters spelling) { return SameSpelling(Letters(name), spelling); })) {
            return row.format;
        }
    }
    return 0;
}

VcfStatus VcfNearestNames(const char* name, char* text, size_t text_bytes) {
    if (name == nullptr || text == nullptr || text_bytes == 0) {
        return VCF_INVALID_ARGUMENT;
    }
    const VcfFormat* nearest[3] = {};
    const size_t tooFar = LargestDistance(name) + 1;
    size_t distances[3] = {tooFar, tooFar, tooFar};
    for (const VcfFormat& row : kFormats) {
        const size_t distance = DistanceFrom(name, row);
        size_t place = 3;
        while (place > 0 && distance < distances[place - 1]) {
            if (place < 3) {
                distances[place] = distances[place - 1];
                nearest[place] = nearest[place - 1];
            }
            --place;
        }
        if (place < 3) {
            distances[place] = distance;
            nearest[place] = &row;
        }
    }
    const Text names{text, text_bytes};
    if (nearest[0] == nullptr) {
        return names.Ok();
    }
    if (nearest[1] == nullptr) {
        return names.Say(VCF_OK, "%s", nearest[0]->name);
    }
    if (nearest[2] == nullptr) {
        return names.Say(VCF_OK, "%s or %s", nearest[0]->name, nearest[1]->name);
    }
    return names.Say(VCF_OK, "%s, %s or %s", nearest[0]->name, nearest[1]->name, nearest[2]->name);
}

PixelFormat VexaFrames::WithPhase(PixelFormat format, uint32_t phase) {
    const VcfFormat* from = VcfFindFormat(format);
    for (const VcfFormat& row : kFormats) {
        if (row.kind == VCF_KIND_BAYER && row.depth == from->depth && row.packing == from->packing &&
            row.phase == phase) {
            return row.format;
        }
    }
    return format;
}
