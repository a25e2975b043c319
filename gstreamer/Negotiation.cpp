// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
#include "Negotiation.h"

#include <cstring>

namespace VexaGst {
namespace {

/// What conversion leaves as it is.
constexpr const char* kKeptFields[] = {"width",          "height",      "framerate",     "pixel-aspect-ratio",
                                       "interlace-mode", "field-order", "multiview-mode"};

/// A structure with the kept fields of another one.
GstStructure* Keep(const char* media, const GstStructure* from) {
    GstStructure* const to = gst_structure_new_empty(media);
    for (const char* field : kKeptFields) {
        if (const GValue* const value = gst_structure_get_value(from, field)) {
            gst_structure_set_value(to, field, value);
        }
    }
    return to;
}

uint32_t OutputFor(GstVideoFormat format) {
    switch (format) {
        case GST_VIDEO_FORMAT_BGR:
            return VCF_OUTPUT_BGR;
        case GST_VIDEO_FORMAT_RGB:
            return VCF_OUTPUT_RGB;
        case GST_VIDEO_FORMAT_RGBx:
        case GST_VIDEO_FORMAT_RGBA:
            return VCF_OUTPUT_RGBA;
        case GST_VIDEO_FORMAT_GRAY8:
            return VCF_OUTPUT_GREY8;
        default:
            return VCF_OUTPUT_BGRA;
    }
}

bool IsServed(GstVideoColorMatrix matrix) {
    return matrix == GST_VIDEO_COLOR_MATRIX_UNKNOWN || matrix == GST_VIDEO_COLOR_MATRIX_BT601 ||
           matrix == GST_VIDEO_COLOR_MATRIX_BT709 || matrix == GST_VIDEO_COLOR_MATRIX_SMPTE240M ||
           matrix == GST_VIDEO_COLOR_MATRIX_FCC || matrix == GST_VIDEO_COLOR_MATRIX_BT2020;
}

/// Range and matrix of YUV. Without a word in the caps it is BT.601 in GStreamer's default range, for every size.
bool ReadColorimetry(const GstStructure* caps, const Settings& settings, Job* job, std::string* error) {
    const bool isYuv = job->input.format->samples->kind == VCF_KIND_YUV;
    const gchar* const text = gst_structure_get_string(caps, "colorimetry");
    GstVideoColorimetry said = {};
    if (text != nullptr && gst_video_colorimetry_from_string(&said, text) == FALSE) {
        *error = std::string("unknown colorimetry '") + text + "'";
        return false;
    }
    if (!isYuv) {
        if (said.range != GST_VIDEO_COLOR_RANGE_16_235) {
            return true;
        }
        *error = std::string("colorimetry '") + text +
                 "': limited range is served for YUV only; put videoconvert before this element";
        return false;
    }
    if (settings.yuvRange != YuvRange::kAuto) {
        job->range = settings.yuvRange == YuvRange::kFull ? VCF_RANGE_FULL : VCF_RANGE_LIMITED;
        return true;
    }
    job->range = said.range == GST_VIDEO_COLOR_RANGE_0_255 ? VCF_RANGE_FULL : VCF_RANGE_LIMITED;
    if (!IsServed(said.matrix)) {
        *error = std::string("colorimetry '") + text +
                 "': this matrix is not served; put videoconvert before this element, or set yuv-range";
        return false;
    }
    if (said.matrix != GST_VIDEO_COLOR_MATRIX_UNKNOWN) {
        job->matrix = said.matrix;
    }
    return true;
}

}  // namespace

GstCaps* OutputCaps() {
    return gst_caps_from_string(GST_VIDEO_CAPS_MAKE("{ BGRx, BGRA, BGR, RGB, RGBx, RGBA, GRAY8 }"));
}

GstCaps* OtherSide(GstPadDirection from, const GstCaps* caps) {
    GstCaps* const possible = from == GST_PAD_SINK ? OutputCaps() : InputCaps();
    GstCaps* const kept = gst_caps_new_empty();
    for (guint i = 0; i < gst_caps_get_size(caps); ++i) {
        for (guint j = 0; j < gst_caps_get_size(possible); ++j) {
            const char* const media = gst_structure_get_name(gst_caps_get_structure(possible, j));
            gst_caps_append_structure(kept, Keep(media, gst_caps_get_structure(caps, i)));
        }
    }
    GstCaps* const other = gst_caps_simplify(gst_caps_intersect_full(possible, kept, GST_CAPS_INTERSECT_FIRST));
    gst_caps_unref(possible);
    gst_caps_unref(kept);
    return other;
}

bool ReadJob(const GstCaps* in, const GstVideoInfo& out, const Settings& settings, Job* job, std::string* error) {
    Job read;
    if (!ReadInput(in, settings.depth, &read.input, error)) {
        return false;
    }
    read.output = OutputFor(GST_VIDEO_INFO_FORMAT(&out));
    if (!ReadColorimetry(gst_caps_get_structure(in, 0), settings, &read, error)) {
        return false;
    }
    *job = read;
    return true;
}

}  // namespace VexaGst
