// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
#include "VexaConvert.h"

#include <gst/base/gstbasetransform.h>
#include <gst/video/gstvideopool.h>

#include <optional>

#include "Negotiation.h"

namespace VexaGst {
namespace {

/// What an element keeps. `settings` belongs to the object lock, all else to the streaming thread.
struct State {
    Settings settings;
    std::optional<Settings> configured;  ///< that the conversion took; none after a refusal
    GstCaps* in = nullptr;
    GstVideoInfo out = {};
    FrameSize outSize = {};
    Conversion conversion;
};

struct Convert {
    GstBaseTransform parent;
    State* state;
};

struct ConvertClass {
    GstBaseTransformClass parent;
};

GstBaseTransformClass* parentClass = nullptr;

constexpr gsize kAlignment = 63;  ///< the kernels are fastest on multiples of 64

State& StateOf(gpointer object) {
    return *static_cast<Convert*>(object)->state;
}

Settings SettingsOf(GstBaseTransform* element) {
    GST_OBJECT_LOCK(element);
    const Settings settings = StateOf(element).settings;
    GST_OBJECT_UNLOCK(element);
    return settings;
}

/// Takes the settings as they are now for the frames to come.
bool Configure(GstBaseTransform* element, const Settings& settings) {
    State& state = StateOf(element);
    Job job;
    std::string error;
    state.configured.reset();
    if (ReadJob(state.in, state.out, settings, &job, &error) && state.conversion.Configure(job, settings, &error)) {
        state.configured = settings;
        return true;
    }
    GST_ELEMENT_ERROR(element, STREAM, FORMAT, ("%s", error.c_str()), ("caps: %" GST_PTR_FORMAT, state.in));
    return false;
}

GstCaps* TransformCaps(GstBaseTransform*, GstPadDirection direction, GstCaps* caps, GstCaps* filter) {
    GstCaps* const other = OtherSide(direction, caps);
    if (filter == nullptr) {
        return other;
    }
    GstCaps* const filtered = gst_caps_intersect_full(filter, other, GST_CAPS_INTERSECT_FIRST);
    gst_caps_unref(other);
    return filtered;
}

gboolean SetCaps(GstBaseTransform* element, GstCaps* in, GstCaps* out) {
    State& state = StateOf(element);
    gst_caps_replace(&state.in, in);
    if (gst_video_info_from_caps(&state.out, out) == FALSE) {
        return FALSE;
    }
    const auto height = static_cast<size_t>(GST_VIDEO_INFO_HEIGHT(&state.out));
    const auto pixelBytes = static_cast<size_t>(GST_VIDEO_INFO_COMP_PSTRIDE(&state.out, 0));
    const size_t rowBytes = pixelBytes * static_cast<size_t>(GST_VIDEO_INFO_WIDTH(&state.out));
    state.outSize = {rowBytes, height, static_cast<size_t>(GST_VIDEO_INFO_PLANE_STRIDE(&state.out, 0)),
                     rowBytes * height, true};
    return Configure(element, SettingsOf(element)) ? TRUE : FALSE;
}

/// Bytes of a frame in the layout that GStreamer takes for granted; 0 for caps that are not fixed.
gsize FrameBytes(GstCaps* caps) {
    GstVideoInfo info;
    if (gst_structure_has_name(gst_caps_get_structure(caps, 0), "video/x-raw") &&
        gst_video_info_from_caps(&info, caps)) {
        return GST_VIDEO_INFO_SIZE(&info);
    }
    Input input;
    std::string error;
    return ReadInput(caps, 0, &input, &error)
               ? DefaultStride(*input.format, input.width) * static_cast<gsize>(input.height)
               : 0;
}

/// The size of a buffer on one side says nothing about the other, because rows may be padded; the caps do.
gboolean TransformSize(GstBaseTransform*, GstPadDirection, GstCaps*, gsize, GstCaps* otherCaps, gsize* otherBytes) {
    *otherBytes = FrameBytes(otherCaps);
    return *otherBytes != 0 ? TRUE : FALSE;
}

/// Tells sources: strides are welcome as they are, and 64-byte alignment is fastest.
gboolean ProposeAllocation(GstBaseTransform* element, GstQuery* decided, GstQuery* query) {
    if (!parentClass->propose_allocation(element, decided, query)) {
        return FALSE;
    }
    GstCaps* caps = nullptr;
    gboolean needPool = FALSE;
    gst_query_parse_allocation(query, &caps, &needPool);
    const gsize bytes = caps != nullptr ? FrameBytes(caps) : 0;
    if (bytes == 0) {
        return FALSE;
    }
    GstAllocationParams params;
    gst_allocation_params_init(&params);
    params.align = kAlignment;
    gst_query_add_allocation_param(query, nullptr, &params);
    gst_query_add_allocation_meta(query, GST_VIDEO_META_API_TYPE, nullptr);
    if (needPool) {
        GstBufferPool* const pool = gst_buffer_pool_new();
        GstStructure* const config = gst_buffer_pool_get_config(pool);
        gst_buffer_pool_config_set_params(config, caps, static_cast<guint>(bytes), 0, 0);
        gst_buffer_pool_config_set_allocator(config, nullptr, &params);
        if (gst_buffer_pool_set_config(pool, config)) {
            gst_query_add_allocation_pool(query, pool, static_cast<guint>(bytes), 0, 0);
        }
        gst_object_unref(pool);
    } else {
        gst_query_add_allocation_pool(query, nullptr, static_cast<guint>(bytes), 0, 0);
    }
    return TRUE;
}

/// Raises the alignment that the next element wants. The base class hands it to the pool.
void AlignPictures(GstQuery* query) {
    GstAllocator* allocator = nullptr;
    GstAllocationParams params;
    gst_allocation_params_init(&params);
    if (gst_query_get_n_allocation_params(query) == 0) {
        params.align = kAlignment;
        gst_query_add_allocation_param(query, nullptr, &params);
        return;
    }
    gst_query_parse_nth_allocation_param(query, 0, &allocator, &params);
    params.align |= kAlignment;
    gst_query_set_nth_allocation_param(query, 0, allocator, &params);
    if (allocator != nullptr) {
        gst_object_unref(allocator);
    }
}

/// Takes the pool of the next element, or makes one of video buffers.
gboolean DecideAllocation(GstBaseTransform* element, GstQuery* query) {
    GstCaps* caps = nullptr;
    AlignPictures(query);
    gst_query_parse_allocation(query, &caps, nullptr);
    const auto bytes = static_cast<guint>(GST_VIDEO_INFO_SIZE(&StateOf(element).out));
    GstBufferPool* pool = nullptr;
    guint size = bytes;
    guint least = 0;
    guint most = 0;
    const bool offered = gst_query_get_n_allocation_pools(query) > 0;
    if (offered) {
        gst_query_parse_nth_allocation_pool(query, 0, &pool, &size, &least, &most);
        size = MAX(size, bytes);
    }
    if (pool == nullptr) {
        pool = gst_video_buffer_pool_new();
    }
    GstStructure* const config = gst_buffer_pool_get_config(pool);
    gst_buffer_pool_config_set_params(config, caps, size, least, most);
    if (gst_query_find_allocation_meta(query, GST_VIDEO_META_API_TYPE, nullptr)) {
        gst_buffer_pool_config_add_option(config, GST_BUFFER_POOL_OPTION_VIDEO_META);
    }
    gst_buffer_pool_set_config(pool, config);
    if (offered) {
        gst_query_set_nth_allocation_pool(query, 0, pool, size, least, most);
    } else {
        gst_query_add_allocation_pool(query, pool, size, least, most);
    }
    gst_object_unref(pool);
    return parentClass->decide_allocation(element, query);
}

void BeforeTransform(GstBaseTransform* element, GstBuffer* buffer) {
    if (element->segment.format != GST_FORMAT_TIME) {  // a filesrc sends bytes, which have no time
        return;
    }
    const GstClockTime time =
        gst_segment_to_stream_time(&element->segment, GST_FORMAT_TIME, GST_BUFFER_TIMESTAMP(buffer));
    if (GST_CLOCK_TIME_IS_VALID(time)) {
        gst_object_sync_values(GST_OBJECT(element), time);
    }
}

/// Converts one frame, or says why not.
bool ConvertFrame(State* state, const Settings& settings, GstBuffer* in, GstBuffer* out, std::string* error) {
    const MappedBuffer from(in, GST_MAP_READ);
    const MappedBuffer to(out, GST_MAP_WRITE);
    Rows source;
    Rows destination;
    if (!from.IsMapped() || !to.IsMapped()) {
        *error = "a buffer cannot be mapped into memory";
        return false;
    }
    return FindRows(in, from.Bytes(), state->conversion.SourceSize(), settings.rowStride, &source, error) &&
           FindRows(out, to.Bytes(), state->outSize, 0, &destination, error) &&
           state->conversion.Convert(from.Data(), from.Bytes(), source,
                                     {to.Data() + destination.offset, destination.stride}, error);
}

GstFlowReturn Transform(GstBaseTransform* element, GstBuffer* in, GstBuffer* out) {
    State& state = StateOf(element);
    const Settings settings = SettingsOf(element);
    if (state.configured != settings && !Configure(element, settings)) {
        return GST_FLOW_NOT_NEGOTIATED;
    }
    std::string error;
    if (ConvertFrame(&state, settings, in, out, &error)) {
        return GST_FLOW_OK;
    }
    GST_ELEMENT_ERROR(element, STREAM, FORMAT, ("%s", error.c_str()), ("caps: %" GST_PTR_FORMAT, state.in));
    return GST_FLOW_ERROR;
}

void SetConvertProperty(GObject* object, guint id, const GValue* value, GParamSpec* pspec) {
    GST_OBJECT_LOCK(object);
    const bool known = SetProperty(&StateOf(object).settings, id, value);
    GST_OBJECT_UNLOCK(object);
    if (!known) {
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, pspec);
    }
}

void GetConvertProperty(GObject* object, guint id, GValue* value, GParamSpec* pspec) {
    GST_OBJECT_LOCK(object);
    const bool known = GetProperty(StateOf(object).settings, id, value);
    GST_OBJECT_UNLOCK(object);
    if (!known) {
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, pspec);
    }
}

void Finalize(GObject* object) {
    gst_caps_replace(&StateOf(object).in, nullptr);
    delete &StateOf(object);
    G_OBJECT_CLASS(parentClass)->finalize(object);
}

void DescribeClass(GstElementClass* type) {
    GstCaps* const in = InputCaps();
    GstCaps* const out = OutputCaps();
    gst_element_class_add_pad_template(type, gst_pad_template_new("sink", GST_PAD_SINK, GST_PAD_ALWAYS, in));
    gst_element_class_add_pad_template(type, gst_pad_template_new("src", GST_PAD_SRC, GST_PAD_ALWAYS, out));
    gst_caps_unref(in);
    gst_caps_unref(out);
    gst_element_class_set_static_metadata(
        type, "Camera frame converter", "Filter/Converter/Video",
        "Demosaics Bayer frames of 8 to 16 bits, packed or not, and converts grey, packed colour and YUV frames, to "
        "BGR, RGB or grey pictures, with white balance, black level and tone",
        "the Vexa camera utility library authors");
}

void InitClass(gpointer type) {
    parentClass = static_cast<GstBaseTransformClass*>(g_type_class_peek_parent(type));
    GObjectClass* const object = G_OBJECT_CLASS(type);
    object->set_property = SetConvertProperty;
    object->get_property = GetConvertProperty;
    object->finalize = Finalize;
    InstallProperties(object);
    DescribeClass(GST_ELEMENT_CLASS(type));
    GstBaseTransformClass* const transform = GST_BASE_TRANSFORM_CLASS(type);
    transform->transform_caps = TransformCaps;
    transform->set_caps = SetCaps;
    transform->transform_size = TransformSize;
    transform->propose_allocation = ProposeAllocation;
    transform->decide_allocation = DecideAllocation;
    transform->before_transform = BeforeTransform;
    transform->transform = Transform;
}

}  // namespace

GType ConvertType() {
    static const GType type = g_type_register_static_simple(
        GST_TYPE_BASE_TRANSFORM, "VexaConvert", sizeof(ConvertClass), [](gpointer c, gpointer) { InitClass(c); },
        sizeof(Convert), [](GTypeInstance* i, gpointer) { reinterpret_cast<Convert*>(i)->state = new State; },
        GTypeFlags{});
    return type;
}

}  // namespace VexaGst
