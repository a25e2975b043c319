// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// GStreamer's element bayer2rgb, between two pads of ours: pushing a buffer into it runs it at once in this thread,
// without a pipeline, a queue or a clock. It writes into buffers of its own pool, which recycles them.
#include <gst/gst.h>

#include <cstring>
#include <stdexcept>

#include "competitors/Competitor.h"

namespace Bench {
namespace {

/// The element with a source pad before it and a sink pad behind it.
class Bayer2Rgb {
  public:
    explicit Bayer2Rgb(const Frame& frame) : m_frame(frame) {
        gst_init(nullptr, nullptr);
        m_element = gst_element_factory_make("bayer2rgb", nullptr);
        if (m_element == nullptr) {
            throw std::runtime_error("GStreamer has no element bayer2rgb (Debian: gstreamer1.0-plugins-bad)");
        }
        m_source = gst_pad_new("source", GST_PAD_SRC);
        m_sink = gst_pad_new("sink", GST_PAD_SINK);
        gst_pad_set_element_private(m_sink, this);
        gst_pad_set_chain_function(m_sink, Receive);
        Connect();
        m_input = gst_buffer_new_wrapped_full(GST_MEMORY_FLAG_READONLY, const_cast<uint8_t*>(frame.src), frame.Pixels(),
                                              0, frame.Pixels(), nullptr, nullptr);
    }

    ~Bayer2Rgb() {
        gst_element_set_state(m_element, GST_STATE_NULL);
        gst_buffer_unref(m_input);
        gst_object_unref(m_sink);
        gst_object_unref(m_source);
        gst_object_unref(m_element);
    }

    Bayer2Rgb(const Bayer2Rgb&) = delete;
    Bayer2Rgb& operator=(const Bayer2Rgb&) = delete;

    void Push() { gst_pad_push(m_source, gst_buffer_ref(m_input)); }

    /// One push whose picture is copied to the frame's destination, so that it can be compared.
    void PushAndKeep() {
        m_keep = true;
        Push();
        m_keep = false;
    }

  private:
    static GstFlowReturn Receive(GstPad* pad, GstObject*, GstBuffer* buffer) {
        auto* const self = static_cast<Bayer2Rgb*>(gst_pad_get_element_private(pad));
        if (self->m_keep) {
            gst_buffer_extract(buffer, 0, self->m_frame.dst, self->m_frame.Pixels() * 4);
        }
        gst_buffer_unref(buffer);
        return GST_FLOW_OK;
    }

    void Connect() {
        GstPad* const in = gst_element_get_static_pad(m_element, "sink");
        GstPad* const out = gst_element_get_static_pad(m_element, "src");
        gst_pad_link(m_source, in);
        gst_pad_link(out, m_sink);
        gst_object_unref(in);
        gst_object_unref(out);
        gst_pad_set_active(m_source, TRUE);
        gst_pad_set_active(m_sink, TRUE);
        GstCaps* const wanted = gst_caps_from_string("video/x-raw,format=BGRA");
        gst_pad_use_fixed_caps(m_sink);
        gst_pad_set_query_function_full(m_sink, AnswerCaps, wanted, FreeCaps);
        gst_element_set_state(m_element, GST_STATE_PLAYING);
        gst_pad_push_event(m_source, gst_event_new_stream_start("frames"));
        GstCaps* const caps = gst_caps_new_simple(
            "video/x-bayer", "format", G_TYPE_STRING, "rggb", "width", G_TYPE_INT, static_cast<int>(m_frame.width),
            "height", G_TYPE_INT, static_cast<int>(m_frame.height), "framerate", GST_TYPE_FRACTION, 25, 1, nullptr);
        gst_pad_push_event(m_source, gst_event_new_caps(caps));
        gst_caps_unref(caps);
        GstSegment segment;
        gst_segment_init(&segment, GST_FORMAT_TIME);
        gst_pad_push_event(m_source, gst_event_new_segment(&segment));
    }

    static gboolean AnswerCaps(GstPad* pad, GstObject* parent, GstQuery* query) {
        if (GST_QUERY_TYPE(query) == GST_QUERY_CAPS) {
            gst_query_set_caps_result(query, static_cast<GstCaps*>(pad->querydata));
            return TRUE;
        }
        return GST_QUERY_TYPE(query) == GST_QUERY_ACCEPT_CAPS ? (gst_query_set_accept_caps_result(query, TRUE), TRUE)
                                                              : gst_pad_query_default(pad, parent, query);
    }

    static void FreeCaps(gpointer caps) { gst_caps_unref(static_cast<GstCaps*>(caps)); }

    Frame m_frame;
    GstElement* m_element = nullptr;
    GstPad* m_source = nullptr;
    GstPad* m_sink = nullptr;
    GstBuffer* m_input = nullptr;
    bool m_keep = false;
};

Work Demosaic(const Frame& frame) {
    auto element = std::make_shared<Bayer2Rgb>(frame);
    element->PushAndKeep();
    return [element] { element->Push(); };
}

constexpr Competitor c_asCompetitors[] = {
    {"GStreamer", "ConvByrRG8ToBGRA", "bayer2rgb", "rounds means; own border", false, Demosaic},
};

const Registration registration(c_asCompetitors);

}  // namespace
}  // namespace Bench
