// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
#include "Formats.h"

#include <cstring>
#include <vector>

namespace VexaGst {
namespace {

constexpr char kBayer[] = "video/x-bayer";
constexpr char kRaw[] = "video/x-raw";
constexpr char kOther[] = "video/x-vexacam";
constexpr char kLumaFirst[] = "v308";

struct NamePair {
    const char* gstreamer;
    const char* pfnc;
};

constexpr NamePair kPhases[] = {{"bggr", "BayerBG"}, {"gbrg", "BayerGB"}, {"grbg", "BayerGR"}, {"rggb", "BayerRG"}};

constexpr NamePair kBayerSamples[] = {
    {"", "8"},      {"10le", "10"},       {"12le", "12"},       {"14le", "14"},    {"16le", "16"},    {"10p", "10p"},
    {"12p", "12p"}, {"10sp", "10Packed"}, {"12sp", "12Packed"}, {"10m", "10CSI2"}, {"12m", "12CSI2"},
};

constexpr struct {
    const char* name;
    PixelFormat code;
} kRawFormats[] = {
    {"GRAY8", PIXEL_FORMAT_MONO8},
    {"GRAY16_LE", PIXEL_FORMAT_MONO16},
    {"RGB", PIXEL_FORMAT_RGB8},
    {"BGR", PIXEL_FORMAT_BGR8},
    {"UYVY", PIXEL_FORMAT_YUV422_8_UYVY},
    {"YUY2", PIXEL_FORMAT_YUV422_8},
    {"IYU1", PIXEL_FORMAT_YUV411_8_UYYVYY},
    {"IYU2", PIXEL_FORMAT_YUV8_UYV},
    {kLumaFirst, PIXEL_FORMAT_YUV8_UYV},
};

bool IsGrey16(PixelFormat code) {
    return code == PIXEL_FORMAT_MONO10 || code == PIXEL_FORMAT_MONO12 || code == PIXEL_FORMAT_MONO14 ||
           code == PIXEL_FORMAT_MONO16;
}

PixelFormat Grey16OfDepth(guint depth) {
    switch (depth) {
        case 0:
            return PIXEL_FORMAT_MONO16;
        case 10:
            return PIXEL_FORMAT_MONO10;
        case 12:
            return PIXEL_FORMAT_MONO12;
        case 14:
            return PIXEL_FORMAT_MONO14;
        case 16:
            return PIXEL_FORMAT_MONO16;
        default:
            return 0;
    }
}

/// Pixels that share chroma stay together in every row; mosaics have whole cells.
Format MakeFormat(const char* media, const std::string& name, const VcfFormat* samples) {
    const bool mosaic = samples->kind == VCF_KIND_BAYER;
    const gint group = samples->kind == VCF_KIND_YUV ? static_cast<gint>(samples->group_pixels) : 1;
    return {media, name, samples, mosaic ? 2 : group, mosaic ? 2 : 1, name == kLumaFirst};
}

std::string SizeRule(const Format& format, gint width, gint height) {
    return std::to_string(width) + " x " + std::to_string(height) + " pixels: " + format.samples->name +
           " frames have widths that are a multiple of " + std::to_string(format.widthStep) +
           (format.heightStep == 1 ? "" : ", and even heights");
}

std::vector<Format> MakeFormats() {
    std::vector<Format> formats;
    const auto add = [&](const char* media, const std::string& name, PixelFormat code) {
        if (const VcfFormat* const samples = VcfFindFormat(code)) {
            formats.push_back(MakeFormat(media, name, samples));
        }
    };
    for (const NamePair& samples : kBayerSamples) {
        for (const NamePair& phase : kPhases) {
            add(kBayer, std::string(phase.gstreamer) + samples.gstreamer,
                VcfFormatNamed((std::string(phase.pfnc) + samples.pfnc).c_str()));
        }
    }
    for (const auto& raw : kRawFormats) {
        add(kRaw, raw.name, raw.code);
    }
    const size_t named = formats.size();
    for (uint32_t i = 0; i < VcfFormatCount(); ++i) {
        const VcfFormat* const samples = VcfFormatAt(i);
        bool known = IsGrey16(samples->format);
        for (size_t j = 0; j < named && !known; ++j) {
            known = formats[j].samples->format == samples->format;
        }
        if (!known) {
            add(kOther, samples->name, samples->format);
        }
    }
    return formats;
}

const std::vector<Format>& Formats() {
    static const std::vector<Format> formats = MakeFormats();
    return formats;
}

}  // namespace

bool Format::IsRawVideo() const {
    return std::strcmp(media, kRaw) == 0;
}

const Format* FindFormat(PixelFormat code) {
    const PixelFormat wanted = IsGrey16(code) ? PIXEL_FORMAT_MONO16 : code;
    for (const Format& format : Formats()) {
        if (format.samples->format == wanted) {
            return &format;
        }
    }
    return nullptr;
}

const Format* FindFormat(const GstStructure* caps) {
    const gchar* const name = gst_structure_get_string(caps, "format");
    for (const Format& format : Formats()) {
        if (name != nullptr && format.name == name && gst_structure_has_name(caps, format.media)) {
            return &format;
        }
    }
    return nullptr;
}

/// One structure per media type. Sizes that a format cannot have are refused by ReadInput, with a text, and not by
/// ranges with a step: GStreamer 1.22 aborts where it subtracts ranges of different steps from each other.
GstCaps* InputCaps() {
    GstCaps* const caps = gst_caps_new_empty();
    std::vector<bool> done(Formats().size());
    for (size_t first = 0; first < done.size(); ++first) {
        if (done[first]) {
            continue;
        }
        const Format& like = Formats()[first];
        GValue names = G_VALUE_INIT;
        g_value_init(&names, GST_TYPE_LIST);
        for (size_t i = first; i < done.size(); ++i) {
            const Format& format = Formats()[i];
            if (std::strcmp(format.media, like.media) == 0) {
                GValue name = G_VALUE_INIT;
                g_value_init(&name, G_TYPE_STRING);
                g_value_set_string(&name, format.name.c_str());
                gst_value_list_append_and_take_value(&names, &name);
                done[i] = true;
            }
        }
        GstStructure* const structure = gst_structure_new_empty(like.media);
        gst_structure_take_value(structure, "format", &names);
        gst_structure_set(structure, "width", GST_TYPE_INT_RANGE, like.widthStep, G_MAXINT, "height",
                          GST_TYPE_INT_RANGE, like.heightStep, G_MAXINT, "framerate", GST_TYPE_FRACTION_RANGE, 0, 1,
                          G_MAXINT, 1, nullptr);
        gst_caps_append_structure(caps, structure);
    }
    return caps;
}

GstCaps* MakeCaps(PixelFormat code, gint width, gint height, gint rateNumerator, gint rateDenominator) {
    const Format* const format = FindFormat(code);
    GstCaps* const caps = gst_caps_new_simple(format->media, "format", G_TYPE_STRING, format->name.c_str(), "width",
                                              G_TYPE_INT, width, "height", G_TYPE_INT, height, "framerate",
                                              GST_TYPE_FRACTION, rateNumerator, rateDenominator, nullptr);
    if (IsGrey16(code) && code != PIXEL_FORMAT_MONO16) {
        gst_caps_set_simple(caps, "depth", G_TYPE_INT, static_cast<gint>(VcfFindFormat(code)->depth), nullptr);
    }
    if (format->samples->kind == VCF_KIND_YUV) {
        // Cameras use the full range, where GStreamer assumes the limited one.
        const GstVideoColorimetry full = {GST_VIDEO_COLOR_RANGE_0_255, GST_VIDEO_COLOR_MATRIX_BT601,
                                          GST_VIDEO_TRANSFER_UNKNOWN, GST_VIDEO_COLOR_PRIMARIES_UNKNOWN};
        gchar* const text = gst_video_colorimetry_to_string(&full);
        gst_caps_set_simple(caps, "colorimetry", G_TYPE_STRING, text, nullptr);
        g_free(text);
    }
    return caps;
}

size_t DefaultStride(const Format& format, gint width) {
    if (format.IsRawVideo()) {
        GstVideoInfo info;
        if (gst_video_info_set_format(&info, gst_video_format_from_string(format.name.c_str()),
                                      static_cast<guint>(width), 1) != FALSE) {
            return static_cast<size_t>(info.stride[0]);
        }
    }
    VcfLayout row;
    VcfInitLayout(&row, format.samples->format, static_cast<uint32_t>(width), 1);
    return (static_cast<size_t>(VcfRowBytes(&row)) + 3) & ~size_t{3};
}

bool ReadInput(const GstCaps* caps, guint depth, Input* input, std::string* error) {
    const GstStructure* const structure = gst_caps_get_structure(caps, 0);
    Input read;
    read.format = FindFormat(structure);
    if (read.format == nullptr || !gst_structure_get_int(structure, "width", &read.width) ||
        !gst_structure_get_int(structure, "height", &read.height)) {
        *error = "caps without a known format or a size";
        return false;
    }
    if (!read.format->HasSize(read.width, read.height)) {
        *error = SizeRule(*read.format, read.width, read.height);
        return false;
    }
    read.code = read.format->samples->format;
    if (read.code == PIXEL_FORMAT_MONO16) {
        gint inCaps = 0;
        gst_structure_get_int(structure, "depth", &inCaps);
        const guint chosen = depth != 0 ? depth : static_cast<guint>(inCaps);
        read.code = Grey16OfDepth(chosen);
        if (read.code == 0) {
            *error = "GRAY16_LE samples of " + std::to_string(chosen) +
                     " bits are not served: set depth to 10, 12, 14 or 16";
            return false;
        }
    }
    *input = read;
    return true;
}

}  // namespace VexaGst
