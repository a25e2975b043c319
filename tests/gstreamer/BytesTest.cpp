// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Every input format, in every kind of buffer, to every output: the bytes are those of the frames layer.
#include "Support.h"

#include <cstring>

using namespace GstTest;

namespace {

constexpr int kWidth = 20;  // times 1, 1.25 or 1.5 bytes: rows that are no multiple of 4
constexpr int kHeight = 34;

/// How rows may lie in a buffer.
enum class Placement { kTight, kRoundedTo4, kMetaWithGapAndOffset, kRowStride, kTwoMemories };

struct Placed {
    GstBuffer* buffer;
    VcfLayout layout;
    Bytes bytes;
};

size_t RoundedTo4(size_t bytes) {
    return (bytes + 3) / 4 * 4;
}

GstVideoFormat VideoFormatOf(const InputCase& input) {
    GstCaps* const caps = gst_caps_from_string(input.caps);
    const gchar* const name = gst_structure_get_string(gst_caps_get_structure(caps, 0), "format");
    const GstVideoFormat format = gst_video_format_from_string(name);
    gst_caps_unref(caps);
    return format == GST_VIDEO_FORMAT_UNKNOWN ? GST_VIDEO_FORMAT_ENCODED : format;
}

Placed Place(const InputCase& input, Placement placement, uint32_t seed) {
    Placed placed = {nullptr, LayoutOf(input.code, kWidth, kHeight), {}};
    const size_t rowBytes = VcfRowBytes(&placed.layout);
    switch (placement) {
        case Placement::kTight:
        case Placement::kTwoMemories:
            break;
        case Placement::kRoundedTo4:
            placed.layout.stride = RoundedTo4(rowBytes);
            break;
        case Placement::kMetaWithGapAndOffset:
            placed.layout.stride = rowBytes + 13;
            placed.layout.offset = 7;
            break;
        case Placement::kRowStride:
            placed.layout.stride = rowBytes + 5;
            break;
    }
    const size_t bytes =
        placed.layout.stride == 0 ? VcfBytesNeeded(&placed.layout) : placed.layout.stride * kHeight + 7;
    placed.bytes = RandomBytes(placement == Placement::kRoundedTo4 ? bytes - 7 : bytes, seed);
    placed.buffer = BufferOf(placed.bytes);
    if (placement == Placement::kTwoMemories) {
        GstBuffer* const head = gst_buffer_copy_region(placed.buffer, GST_BUFFER_COPY_ALL, 0, 33);
        GstBuffer* const tail = gst_buffer_copy_region(placed.buffer, GST_BUFFER_COPY_ALL, 33, bytes - 33);
        gst_buffer_unref(placed.buffer);
        placed.buffer = gst_buffer_append(head, tail);
    }
    if (placement == Placement::kMetaWithGapAndOffset) {
        gsize offsets[GST_VIDEO_MAX_PLANES] = {placed.layout.offset};
        gint strides[GST_VIDEO_MAX_PLANES] = {static_cast<gint>(placed.layout.stride)};
        gst_buffer_add_video_meta_full(placed.buffer, GST_VIDEO_FRAME_FLAG_NONE, VideoFormatOf(input), kWidth, kHeight,
                                       1, offsets, strides);
    }
    return placed;
}

class ConvertedBytes : public testing::TestWithParam<size_t> {
  protected:
    const InputCase& Input() const { return kInputs[GetParam()]; }

    void Check(Placement placement, const OutputCase& output, const char* properties) {
        Harness harness((std::string("vexaconvert ") + properties).c_str());
        harness.SetCaps(SizedCaps(Input(), kWidth, kHeight), std::string("video/x-raw,format=") + output.format);
        const Placed placed = Place(Input(), placement, 1 + static_cast<uint32_t>(placement));
        if (placement == Placement::kRowStride) {
            Set(harness.Element(), "row-stride", std::to_string(placed.layout.stride).c_str());
        }
        const Bytes picture = harness.Convert(placed.buffer);
        EXPECT_EQ(harness.Error(), "");
        EXPECT_TRUE(picture == Expected(placed.layout, placed.bytes, output.output, nullptr))
            << Input().caps << " to " << output.format << ", placement " << static_cast<int>(placement);
    }
};

TEST_P(ConvertedBytes, TightRowsToEveryOutput) {
    for (const OutputCase& output : kOutputs) {
        Check(Placement::kTight, output, "");
        Check(Placement::kTwoMemories, output, "");
    }
}

TEST_P(ConvertedBytes, PaddedRowsToEveryOutput) {
    for (const OutputCase& output : kOutputs) {
        Check(Placement::kRoundedTo4, output, "");
        Check(Placement::kMetaWithGapAndOffset, output, "");
        Check(Placement::kRowStride, output, "");
    }
}

TEST_P(ConvertedBytes, BandsOfSeveralThreads) {
    for (const OutputCase& output : kOutputs) {
        Check(Placement::kTight, output, "n-threads=2");
        Check(Placement::kMetaWithGapAndOffset, output, "n-threads=2");
    }
}

INSTANTIATE_TEST_SUITE_P(Inputs, ConvertedBytes, testing::Range<size_t>(0, kInputs.size()), [](const auto& parameter) {
    std::string name = std::string(VcfFindFormat(kInputs[parameter.param].code)->name);
    return name;
});

/// Answers the allocation query with a pool of buffers whose rows have a gap behind them.
GstPadProbeReturn OfferPaddedPool(GstPad*, GstPadProbeInfo* info, gpointer) {
    GstQuery* const query = GST_PAD_PROBE_INFO_QUERY(info);
    if (GST_QUERY_TYPE(query) != GST_QUERY_ALLOCATION) {
        return GST_PAD_PROBE_OK;
    }
    GstCaps* caps = nullptr;
    gst_query_parse_allocation(query, &caps, nullptr);
    GstVideoInfo picture;
    EXPECT_TRUE(gst_video_info_from_caps(&picture, caps));
    GstVideoAlignment gap;
    gst_video_alignment_reset(&gap);
    gap.padding_right = 9;
    gap.padding_left = 4;
    gap.padding_top = 2;
    GstBufferPool* const pool = gst_video_buffer_pool_new();
    GstStructure* const config = gst_buffer_pool_get_config(pool);
    gst_buffer_pool_config_set_params(config, caps, static_cast<guint>(picture.size), 0, 0);
    gst_buffer_pool_config_add_option(config, GST_BUFFER_POOL_OPTION_VIDEO_META);
    gst_buffer_pool_config_add_option(config, GST_BUFFER_POOL_OPTION_VIDEO_ALIGNMENT);
    gst_buffer_pool_config_set_video_alignment(config, &gap);
    EXPECT_TRUE(gst_buffer_pool_set_config(pool, config));
    gst_query_add_allocation_pool(query, pool, static_cast<guint>(picture.size), 0, 0);
    GstAllocator* const allocator = gst_allocator_find(nullptr);
    gst_query_add_allocation_param(query, allocator, nullptr);
    gst_object_unref(allocator);
    gst_query_add_allocation_meta(query, GST_VIDEO_META_API_TYPE, nullptr);
    gst_object_unref(pool);
    return GST_PAD_PROBE_HANDLED;
}

TEST(Destination, RowsWithGapsFromThePoolOfTheNextElement) {
    for (const OutputCase& output : kOutputs) {
        Harness harness("vexaconvert");
        gst_pad_add_probe(harness.Get()->sinkpad,
                          static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_QUERY_DOWNSTREAM | GST_PAD_PROBE_TYPE_PUSH),
                          OfferPaddedPool, nullptr, nullptr);
        const InputCase& input = kInputs[0];
        harness.SetCaps(SizedCaps(input, kWidth, kHeight), std::string("video/x-raw,format=") + output.format);
        const Placed placed = Place(input, Placement::kTight, 5);
        ASSERT_EQ(harness.Push(placed.buffer), GST_FLOW_OK) << harness.Error();
        GstBuffer* const picture = gst_harness_pull(harness.Get());
        const GstVideoMeta* const meta = gst_buffer_get_video_meta(picture);
        ASSERT_NE(meta, nullptr);
        EXPECT_GT(static_cast<uint32_t>(meta->stride[0]), kWidth * output.pixelBytes);
        EXPECT_GT(meta->offset[0], 0u);
        GstCaps* const caps = gst_pad_get_current_caps(harness.Get()->sinkpad);
        EXPECT_TRUE(Unpadded(picture, caps) == Expected(placed.layout, placed.bytes, output.output, nullptr))
            << output.format;
        gst_caps_unref(caps);
        gst_buffer_unref(picture);
    }
}

/// The kernels are fastest on multiples of 64.
TEST(Destination, PicturesAreAlignedTo64Bytes) {
    Harness harness("vexaconvert");
    harness.SetCaps(SizedCaps(kInputs[0], kWidth, kHeight), "video/x-raw,format=BGRx");
    for (int i = 0; i < 8; ++i) {
        ASSERT_EQ(harness.Push(Place(kInputs[0], Placement::kTight, 5).buffer), GST_FLOW_OK) << harness.Error();
    }
    while (GstBuffer* const picture = gst_harness_try_pull(harness.Get())) {
        GstMapInfo map;
        ASSERT_TRUE(gst_buffer_map(picture, &map, GST_MAP_READ));
        EXPECT_EQ(reinterpret_cast<uintptr_t>(map.data) % 64, 0U);
        gst_buffer_unmap(picture, &map);
        gst_buffer_unref(picture);
    }
}

}  // namespace
