// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// vexarwhenc: the header goes before the frame, whose memory is shared, not copied, unless rows are padded
// or have to be brought into another order.
#include <gst/base/gstbasetransform.h>

#include "LumaFirst.h"
#include "Rows.h"
#include "RwhElements.h"
#include "RwhHeader.h"

namespace VexaGst {
namespace {

struct Encoder {
    GstBaseTransform parent;
    guint depth;  ///< of GRAY16_LE samples; belongs to the object lock
    RwhHeader header;
    FrameSize size;
    bool lumaFirst;  ///< frames are v308, files hold U Y V
};

struct EncoderClass {
    GstBaseTransformClass parent;
};

enum { kIdNone, kIdDepth };

Encoder* Self(gpointer object) {
    return static_cast<Encoder*>(object);
}

GstCaps* TransformCaps(GstBaseTransform*, GstPadDirection direction, GstCaps*, GstCaps* filter) {
    GstCaps* const other = direction == GST_PAD_SINK ? gst_caps_new_empty_simple(kRwhMediaType) : InputCaps();
    if (filter == nullptr) {
        return other;
    }
    GstCaps* const filtered = gst_caps_intersect_full(filter, other, GST_CAPS_INTERSECT_FIRST);
    gst_caps_unref(other);
    return filtered;
}

bool ReadSizes(const GstCaps* in, guint depth, Encoder* self, std::string* error) {
    Input input;
    if (!ReadInput(in, depth, &input, error)) {
        return false;
    }
    const auto width = static_cast<uint32_t>(input.width);
    const auto height = static_cast<uint32_t>(input.height);
    const auto rowBytes = static_cast<uint32_t>(uint64_t{BitPerPixel(input.code)} * width / 8);
    self->header = {input.code, width, height, rowBytes};
    self->size = {rowBytes, height, DefaultStride(*input.format, input.width),
                  static_cast<size_t>(self->header.FrameBytes()), input.format->IsRawVideo()};
    self->lumaFirst = input.format->lumaFirst;
    return CheckRwhHeader(self->header, error) != nullptr;
}

gboolean SetCaps(GstBaseTransform* element, GstCaps* in, GstCaps*) {
    GST_OBJECT_LOCK(element);
    const guint depth = Self(element)->depth;
    GST_OBJECT_UNLOCK(element);
    std::string error;
    if (ReadSizes(in, depth, Self(element), &error)) {
        return TRUE;
    }
    GST_ELEMENT_ERROR(element, STREAM, FORMAT, ("%s", error.c_str()), ("caps: %" GST_PTR_FORMAT, in));
    return FALSE;
}

/// Sources may pad rows as they like.
gboolean ProposeAllocation(GstBaseTransform*, GstQuery*, GstQuery* query) {
    gst_query_add_allocation_meta(query, GST_VIDEO_META_API_TYPE, nullptr);
    return TRUE;
}

/// The frame as a file holds it: rows without padding, 4:4:4 in the order U Y V.
GstBuffer* FrameOfFile(GstBuffer* in, const Encoder& self, const Rows& rows) {
    const FrameSize& size = self.size;
    if (rows.stride == 0 && !self.lumaFirst) {
        return gst_buffer_copy_region(in, GST_BUFFER_COPY_MEMORY, rows.offset, size.totalBytes);
    }
    const size_t stride = rows.stride == 0 ? size.rowBytes : rows.stride;
    GstBuffer* const out = gst_buffer_new_allocate(nullptr, size.totalBytes, nullptr);
    const MappedBuffer to(out, GST_MAP_WRITE);
    for (size_t y = 0; y < size.height; ++y) {
        guint8* const row = to.Data() + y * size.rowBytes;
        gst_buffer_extract(in, rows.offset + y * stride, row, size.rowBytes);
        if (self.lumaFirst) {
            MoveLumaBehindU(row, self.header.width, row);
        }
    }
    return out;
}

GstFlowReturn MakeFile(GstBaseTransform* element, GstBuffer* in, GstBuffer** out) {
    Encoder* const self = Self(element);
    std::string error;
    Rows rows;
    if (!FindRows(in, gst_buffer_get_size(in), self->size, 0, &rows, &error)) {
        GST_ELEMENT_ERROR(element, STREAM, FORMAT, ("%s", error.c_str()), (nullptr));
        return GST_FLOW_ERROR;
    }
    GstBuffer* const header = gst_buffer_new_allocate(nullptr, kRwhHeaderBytes, nullptr);
    guint8 words[kRwhHeaderBytes];
    WriteRwhHeader(self->header, words);
    gst_buffer_fill(header, 0, words, sizeof words);
    *out = gst_buffer_append(header, FrameOfFile(in, *self, rows));
    constexpr auto kKept = static_cast<GstBufferCopyFlags>(GST_BUFFER_COPY_FLAGS | GST_BUFFER_COPY_TIMESTAMPS);
    gst_buffer_copy_into(*out, in, kKept, 0, static_cast<gsize>(-1));
    return GST_FLOW_OK;
}

/// MakeFile has done it all.
GstFlowReturn Transform(GstBaseTransform*, GstBuffer*, GstBuffer*) {
    return GST_FLOW_OK;
}

void SetEncoderProperty(GObject* object, guint id, const GValue* value, GParamSpec* pspec) {
    if (id == kIdDepth) {
        GST_OBJECT_LOCK(object);
        Self(object)->depth = g_value_get_uint(value);
        GST_OBJECT_UNLOCK(object);
    } else {
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, pspec);
    }
}

void GetEncoderProperty(GObject* object, guint id, GValue* value, GParamSpec* pspec) {
    if (id == kIdDepth) {
        GST_OBJECT_LOCK(object);
        g_value_set_uint(value, Self(object)->depth);
        GST_OBJECT_UNLOCK(object);
    } else {
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, pspec);
    }
}

void InitClass(gpointer type) {
    GObjectClass* const object = G_OBJECT_CLASS(type);
    object->set_property = SetEncoderProperty;
    object->get_property = GetEncoderProperty;
    g_object_class_install_property(
        object, kIdDepth,
        g_param_spec_uint(
            "depth", "depth",
            "Significant bits of GRAY16_LE samples: 10, 12, 14 or 16; 0: the caps field depth, or else 16", 0, 16, 0,
            static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS)));
    GstElementClass* const element = GST_ELEMENT_CLASS(type);
    GstCaps* const in = InputCaps();
    GstCaps* const out = gst_caps_new_empty_simple(kRwhMediaType);
    gst_element_class_add_pad_template(element, gst_pad_template_new("sink", GST_PAD_SINK, GST_PAD_ALWAYS, in));
    gst_element_class_add_pad_template(element, gst_pad_template_new("src", GST_PAD_SRC, GST_PAD_ALWAYS, out));
    gst_caps_unref(in);
    gst_caps_unref(out);
    gst_element_class_set_static_metadata(element, "RWH raw camera frame writer", "Codec/Encoder/Image",
                                          "Makes an RWH file of every camera frame, for multifilesink",
                                          "the Vexa camera utility library authors");
    GstBaseTransformClass* const transform = GST_BASE_TRANSFORM_CLASS(type);
    transform->transform_caps = TransformCaps;
    transform->set_caps = SetCaps;
    transform->propose_allocation = ProposeAllocation;
    transform->prepare_output_buffer = MakeFile;
    transform->transform = Transform;
}

}  // namespace

GType RwhEncoderType() {
    static const GType type = g_type_register_static_simple(
        GST_TYPE_BASE_TRANSFORM, "VexaRwhEnc", sizeof(EncoderClass), [](gpointer c, gpointer) { InitClass(c); },
        sizeof(Encoder), [](GTypeInstance*, gpointer) {}, GTypeFlags{});
    return type;
}

}  // namespace VexaGst
