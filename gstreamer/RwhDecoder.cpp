// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// vexarwhdec: a GstBaseParse, which does the buffering, the timestamps and the seeking.
#include <gst/base/gstbaseparse.h>
#include <gst/video/video.h>

#include <cstring>

#include "Rows.h"
#include "RwhElements.h"
#include "RwhHeader.h"

namespace VexaGst {
namespace {

struct Decoder {
    GstBaseParse parent;
    gint rate[2];  ///< frames per second: numerator, denominator
    RwhHeader header;
    bool sawBytes;  ///< since the start
};

struct DecoderClass {
    GstBaseParseClass parent;
};

enum { kIdNone, kIdFrameRate };

Decoder* Self(gpointer object) {
    return reinterpret_cast<Decoder*>(object);
}

GstFlowReturn Refuse(GstBaseParse* parse, const std::string& text) {
    GST_ELEMENT_ERROR(parse, STREAM, DECODE, ("%s", text.c_str()), (nullptr));
    return GST_FLOW_ERROR;
}

gboolean Start(GstBaseParse* parse) {
    gst_base_parse_set_min_frame_size(parse, kRwhHeaderBytes);
    gst_base_parse_set_syncable(parse, FALSE);
    Self(parse)->header = {};
    Self(parse)->sawBytes = false;
    return TRUE;
}

bool SetCaps(GstBaseParse* parse, const RwhHeader& header) {
    Decoder* const self = Self(parse);
    GstCaps* const caps = MakeCaps(header.code, static_cast<gint>(header.width), static_cast<gint>(header.height),
                                   self->rate[0], self->rate[1]);
    const bool good = gst_pad_set_caps(GST_BASE_PARSE_SRC_PAD(parse), caps) != FALSE;
    gst_caps_unref(caps);
    gst_base_parse_set_frame_rate(parse, static_cast<guint>(self->rate[0]), static_cast<guint>(self->rate[1]), 0, 0);
    self->header = header;
    return good;
}

/// The frame behind the header, with the padding that GStreamer gives rows of this format.
GstBuffer* TakeFrame(GstBuffer* file, const RwhHeader& header, const Format& format) {
    const size_t stride = DefaultStride(format, static_cast<gint>(header.width));
    const auto bytes = static_cast<gsize>(header.FrameBytes());
    if (stride == header.rowBytes || !format.IsRawVideo()) {
        return gst_buffer_copy_region(file, GST_BUFFER_COPY_MEMORY, kRwhHeaderBytes, bytes);
    }
    GstBuffer* const padded = gst_buffer_new_allocate(nullptr, stride * header.height, nullptr);
    const MappedBuffer to(padded, GST_MAP_WRITE);
    std::memset(to.Data(), 0, to.Bytes());
    for (gsize y = 0; y < header.height; ++y) {
        gst_buffer_extract(file, kRwhHeaderBytes + y * header.rowBytes, to.Data() + y * stride, header.rowBytes);
    }
    return padded;
}

GstFlowReturn HandleFrame(GstBaseParse* parse, GstBaseParseFrame* frame, gint* skip) {
    *skip = 0;
    Self(parse)->sawBytes = true;
    const gsize bytes = gst_buffer_get_size(frame->buffer);
    guint8 words[kRwhHeaderBytes];
    if (gst_buffer_extract(frame->buffer, 0, words, sizeof words) < sizeof words) {
        return GST_BASE_PARSE_DRAINING(parse) ? Refuse(parse, "an RWH file ends within its header") : GST_FLOW_OK;
    }
    std::string error;
    const RwhHeader header = ReadRwhHeader(words);
    const Format* const format = CheckRwhHeader(header, &error);
    if (format == nullptr) {
        return Refuse(parse, error);
    }
    const auto needed = kRwhHeaderBytes + static_cast<gsize>(header.FrameBytes());
    if (bytes < needed) {
        if (GST_BASE_PARSE_DRAINING(parse)) {
            return Refuse(parse, "an RWH file ends early: it holds " + std::to_string(bytes) + " of " +
                                     std::to_string(needed) + " bytes");
        }
        gst_base_parse_set_min_frame_size(parse, static_cast<guint>(needed));
        return GST_FLOW_OK;
    }
    if (std::memcmp(&Self(parse)->header, &header, sizeof header) != 0 && !SetCaps(parse, header)) {
        return GST_FLOW_NOT_NEGOTIATED;
    }
    frame->out_buffer = TakeFrame(frame->buffer, header, *format);
    gst_base_parse_set_min_frame_size(parse, kRwhHeaderBytes);
    return gst_base_parse_finish_frame(parse, frame, static_cast<gint>(needed));
}

void SetDecoderProperty(GObject* object, guint id, const GValue* value, GParamSpec* pspec) {
    if (id == kIdFrameRate) {
        Self(object)->rate[0] = gst_value_get_fraction_numerator(value);
        Self(object)->rate[1] = gst_value_get_fraction_denominator(value);
    } else {
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, pspec);
    }
}

void GetDecoderProperty(GObject* object, guint id, GValue* value, GParamSpec* pspec) {
    if (id == kIdFrameRate) {
        gst_value_set_fraction(value, Self(object)->rate[0], Self(object)->rate[1]);
    } else {
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, pspec);
    }
}

void InitClass(gpointer type) {
    GObjectClass* const object = G_OBJECT_CLASS(type);
    object->set_property = SetDecoderProperty;
    object->get_property = GetDecoderProperty;
    g_object_class_install_property(
        object, kIdFrameRate,
        gst_param_spec_fraction("framerate", "framerate", "Frames per second that the files are played with", 1, 1000,
                                1000, 1, 25, 1, static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS)));
    GstElementClass* const element = GST_ELEMENT_CLASS(type);
    GstCaps* const in = gst_caps_new_empty_simple(kRwhMediaType);
    GstCaps* const out = InputCaps();
    gst_element_class_add_pad_template(element, gst_pad_template_new("sink", GST_PAD_SINK, GST_PAD_ALWAYS, in));
    gst_element_class_add_pad_template(element, gst_pad_template_new("src", GST_PAD_SRC, GST_PAD_ALWAYS, out));
    gst_caps_unref(in);
    gst_caps_unref(out);
    gst_element_class_set_static_metadata(element, "RWH raw camera frame reader", "Codec/Parser/Image/Video",
                                          "Reads RWH files, one frame each, as camera frames for vexaconvert",
                                          "the Vexa camera utility library authors");
    GstBaseParseClass* const parse = GST_BASE_PARSE_CLASS(type);
    parse->start = Start;
    parse->handle_frame = HandleFrame;
}

/// The base class lets a stream without a byte end like any other.
GstPadProbeReturn WatchEnd(GstPad*, GstPadProbeInfo* info, gpointer parse) {
    if (GST_EVENT_TYPE(GST_PAD_PROBE_INFO_EVENT(info)) == GST_EVENT_EOS && !Self(parse)->sawBytes) {
        Refuse(GST_BASE_PARSE(parse), "an RWH file is empty");
    }
    return GST_PAD_PROBE_OK;
}

void InitObject(GTypeInstance* instance) {
    Self(instance)->rate[0] = 25;
    Self(instance)->rate[1] = 1;
    gst_pad_add_probe(GST_BASE_PARSE_SRC_PAD(instance), GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM, WatchEnd, instance,
                      nullptr);
}

void FindRwh(GstTypeFind* find, gpointer) {
    const guint8* const words = gst_type_find_peek(find, 0, kRwhHeaderBytes);
    std::string error;
    if (words == nullptr) {
        return;
    }
    const RwhHeader header = ReadRwhHeader(words);
    const guint64 length = gst_type_find_get_length(find);
    if (CheckRwhHeader(header, &error) != nullptr) {
        const bool exact = length == kRwhHeaderBytes + header.FrameBytes();
        gst_type_find_suggest_empty_simple(find, exact ? GST_TYPE_FIND_NEARLY_CERTAIN : GST_TYPE_FIND_POSSIBLE,
                                           kRwhMediaType);
    }
}

}  // namespace

GType RwhDecoderType() {
    static const GType type = g_type_register_static_simple(
        GST_TYPE_BASE_PARSE, "VexaRwhDec", sizeof(DecoderClass), [](gpointer c, gpointer) { InitClass(c); },
        sizeof(Decoder), [](GTypeInstance* i, gpointer) { InitObject(i); }, GTypeFlags{});
    return type;
}

bool RegisterRwhTypeFinder(GstPlugin* plugin) {
    GstCaps* const caps = gst_caps_new_empty_simple(kRwhMediaType);
    const bool good = gst_type_find_register(plugin, kRwhMediaType, GST_RANK_SECONDARY, FindRwh, "rwh", caps, nullptr,
                                             nullptr) != FALSE;
    gst_caps_unref(caps);
    return good;
}

}  // namespace VexaGst
