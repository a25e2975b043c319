// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// What vexaconvert agrees to, what it refuses and with which words.
#include <gst/base/gstbasetransform.h>

#include "Support.h"

using namespace GstTest;

namespace {

constexpr char kOut[] = "video/x-raw,format=BGRx";

/// The words with which the element refuses caps; empty if it takes them and converts a frame of zeros.
std::string RefusalOf(const std::string& in, const char* launchLine = "vexaconvert", const char* out = kOut) {
    Harness harness(launchLine);
    harness.SetCaps(in, out);
    GstCaps* const caps = gst_caps_from_string(in.c_str());
    gint width = 0;
    gint height = 0;
    gst_structure_get_int(gst_caps_get_structure(caps, 0), "width", &width);
    gst_structure_get_int(gst_caps_get_structure(caps, 0), "height", &height);
    gst_caps_unref(caps);
    // Rows of 6 bytes per pixel hold any format.
    Set(harness.Element(), "row-stride", std::to_string(width * 6).c_str());
    const Bytes zeros(static_cast<size_t>(width) * 6 * static_cast<size_t>(height));
    const GstFlowReturn flow = harness.Push(BufferOf(zeros));
    std::string error = harness.Error();
    EXPECT_EQ(flow == GST_FLOW_OK, error.empty()) << in << ": " << gst_flow_get_name(flow) << ", " << error;
    return error;
}

TEST(Negotiation, EveryInputWithEveryOutput) {
    for (const InputCase& input : kInputs) {
        for (const OutputCase& output : kOutputs) {
            EXPECT_EQ(RefusalOf(SizedCaps(input, 8, 4), "vexaconvert",
                                (std::string("video/x-raw,format=") + output.format).c_str()),
                      "")
                << input.caps << " to " << output.format;
        }
    }
}

TEST(Negotiation, SizesThatAFormatCannotHave) {
    EXPECT_EQ(RefusalOf("video/x-bayer,format=rggb,width=7,height=4"),
              "7 x 4 pixels: BayerRG8 frames have widths that are a multiple of 2, and even heights");
    EXPECT_EQ(RefusalOf("video/x-bayer,format=bggr12p,width=8,height=5"),
              "8 x 5 pixels: BayerBG12p frames have widths that are a multiple of 2, and even heights");
    EXPECT_EQ(RefusalOf("video/x-raw,format=UYVY,width=5,height=4"),
              "5 x 4 pixels: YUV422_8_UYVY frames have widths that are a multiple of 2");
    EXPECT_EQ(RefusalOf("video/x-raw,format=IYU1,width=6,height=4"),
              "6 x 4 pixels: YUV411_8_UYYVYY frames have widths that are a multiple of 4");
    EXPECT_EQ(RefusalOf("video/x-raw,format=GRAY8,width=7,height=5"), "");
    EXPECT_EQ(RefusalOf("video/x-raw,format=RGB,width=1,height=1"), "");
    EXPECT_EQ(RefusalOf("video/x-bayer,format=rggb,width=2,height=2"), "");
    EXPECT_NE(RefusalOf("video/x-bayer,format=rggb,width=2,height=2", "vexaconvert bayer-mode=adaptive"), "");
}

TEST(Negotiation, DepthOfGrey) {
    EXPECT_EQ(RefusalOf("video/x-raw,format=GRAY16_LE,width=8,height=4", "vexaconvert depth=12"), "");
    EXPECT_EQ(RefusalOf("video/x-raw,format=GRAY16_LE,width=8,height=4", "vexaconvert depth=16"), "");
    EXPECT_EQ(RefusalOf("video/x-raw,format=GRAY16_LE,width=8,height=4", "vexaconvert depth=11"),
              "GRAY16_LE samples of 11 bits are not served: set depth to 10, 12, 14 or 16");
    EXPECT_EQ(RefusalOf("video/x-raw,format=GRAY16_LE,depth=9,width=8,height=4"),
              "GRAY16_LE samples of 9 bits are not served: set depth to 10, 12, 14 or 16");
    EXPECT_NE(RefusalOf("video/x-bayer,format=rggb12le,width=8,height=4", "vexaconvert shift=5"), "");
    EXPECT_EQ(RefusalOf("video/x-bayer,format=rggb12le,width=8,height=4", "vexaconvert shift=4"), "");
}

TEST(Negotiation, ColorimetryThatCannotBeShownRightIsRefused) {
    EXPECT_EQ(RefusalOf("video/x-raw,format=RGB,colorimetry=2:1:0:0,width=8,height=4"),
              "colorimetry '2:1:0:0': limited range is served for YUV only; put videoconvert before this element");
    EXPECT_EQ(RefusalOf("video/x-raw,format=UYVY,colorimetry=nonsense,width=8,height=4"),
              "unknown colorimetry 'nonsense'");
    EXPECT_EQ(RefusalOf("video/x-raw,format=UYVY,colorimetry=2:1:0:0,width=8,height=4"),
              "colorimetry '2:1:0:0': this matrix is not served; put videoconvert before this element, or set "
              "yuv-range");
    EXPECT_EQ(RefusalOf("video/x-raw,format=UYVY,colorimetry=2:1:0:0,width=8,height=4", "vexaconvert yuv-range=full"),
              "");
    for (const char* const served : {"bt601", "bt709", "bt2020", "smpte240m", "1:4:0:0"}) {
        EXPECT_EQ(RefusalOf(std::string("video/x-raw,format=YUY2,width=8,height=4,colorimetry=") + served), "")
            << served;
    }
}

TEST(Negotiation, LevelsOfYuvAreRefused) {
    const char* const in = "video/x-raw,format=UYVY,width=8,height=4";
    EXPECT_NE(RefusalOf(in, "vexaconvert black-level=3"), "");
    EXPECT_NE(RefusalOf(in, "vexaconvert tone=srgb"), "");
    EXPECT_NE(RefusalOf(in, "vexaconvert white-balance=auto"), "");
}

/// What the element answers when it is asked for the caps of a side, given those of the other one.
std::string CapsOf(const char* pad, const char* filter) {
    Harness harness("vexaconvert");
    GstPad* const asked = gst_element_get_static_pad(harness.Element(), pad);
    GstCaps* const wanted = gst_caps_from_string(filter);
    GstCaps* const caps = gst_pad_query_caps(asked, wanted);
    gchar* const text = gst_caps_to_string(caps);
    std::string answer = text;
    g_free(text);
    gst_caps_unref(caps);
    gst_caps_unref(wanted);
    gst_object_unref(asked);
    return answer;
}

TEST(Negotiation, AnswersToQueriesNameWhatIsServedOnly) {
    EXPECT_EQ(CapsOf("sink", "video/x-raw,format=I420"), "EMPTY");
    EXPECT_EQ(CapsOf("sink", "video/x-bayer,format=rggb10be"), "EMPTY");
    EXPECT_NE(CapsOf("sink", "video/x-bayer,format=rggb12m"), "EMPTY");
    EXPECT_NE(CapsOf("sink", "video/x-raw,format=IYU2"), "EMPTY");
    EXPECT_EQ(CapsOf("src", "video/x-raw,format=xRGB"), "EMPTY");
    EXPECT_NE(CapsOf("src", "video/x-raw,format=GRAY8"), "EMPTY");
}

TEST(Negotiation, KeepsSizeRateAndAspectAndNothingElse) {
    Harness harness("vexaconvert");
    harness.SetCaps(
        "video/x-raw,format=UYVY,width=8,height=4,framerate=7/2,pixel-aspect-ratio=3/4,"
        "colorimetry=bt601,chroma-site=mpeg2,interlace-mode=interleaved",
        kOut);
    ASSERT_EQ(harness.Push(BufferOf(Bytes(64))), GST_FLOW_OK) << harness.Error();
    GstCaps* const caps = gst_pad_get_current_caps(harness.Get()->sinkpad);
    GstCaps* const wanted = gst_caps_from_string(
        "video/x-raw,format=BGRx,width=8,height=4,framerate=7/2,pixel-aspect-ratio=3/4,interlace-mode=interleaved");
    EXPECT_TRUE(gst_caps_is_equal(caps, wanted)) << gst_caps_to_string(caps);
    gst_caps_unref(caps);
    gst_caps_unref(wanted);
}

/// Sources may pad rows as they like, and are told which alignment is the fastest.
TEST(Negotiation, AllocationQueryWelcomesStrides) {
    for (const char* const in :
         {"video/x-bayer,format=rggb12p,width=20,height=4", "video/x-raw,format=GRAY8,width=29,height=4"}) {
        Harness harness("vexaconvert");
        harness.SetCaps(in, kOut);
        ASSERT_EQ(harness.Push(BufferOf(Bytes(size_t{4} * 32))), GST_FLOW_OK) << harness.Error();
        GstCaps* const caps = gst_caps_from_string(in);
        GstQuery* const query = gst_query_new_allocation(caps, TRUE);
        ASSERT_TRUE(gst_pad_peer_query(harness.Get()->srcpad, query));
        EXPECT_TRUE(gst_query_find_allocation_meta(query, GST_VIDEO_META_API_TYPE, nullptr));
        GstBufferPool* pool = nullptr;
        guint size = 0;
        ASSERT_GE(gst_query_get_n_allocation_pools(query), 1u);
        gst_query_parse_nth_allocation_pool(query, 0, &pool, &size, nullptr, nullptr);
        EXPECT_NE(pool, nullptr);
        EXPECT_GE(size, 80U);
        GstAllocationParams params;
        gst_query_parse_nth_allocation_param(query, 0, nullptr, &params);
        EXPECT_EQ(params.align, 63u);
        gst_object_unref(pool);
        gst_query_unref(query);
        gst_caps_unref(caps);
    }
}

/// What the base class asks for where it has no pool.
TEST(Negotiation, SizesOfBuffersFollowTheCapsOfTheirSide) {
    const Harness harness("vexaconvert");
    auto* const element = GST_BASE_TRANSFORM(harness.Element());
    const auto sizeOf = [element](const char* text) {
        GstCaps* const caps = gst_caps_from_string(text);
        gsize bytes = 1;
        const gboolean known =
            GST_BASE_TRANSFORM_GET_CLASS(element)->transform_size(element, GST_PAD_SINK, caps, 1, caps, &bytes);
        EXPECT_EQ(known != FALSE, bytes != 0);
        gst_caps_unref(caps);
        return bytes;
    };
    EXPECT_EQ(sizeOf("video/x-raw,format=BGRx,width=20,height=4"), 320u);
    EXPECT_EQ(sizeOf("video/x-raw,format=BGR,width=19,height=4"), 240u);        // rows of 57 bytes, padded to 60
    EXPECT_EQ(sizeOf("video/x-bayer,format=rggb12p,width=20,height=4"), 128u);  // of 30 bytes, to 32
    EXPECT_EQ(sizeOf("video/x-bayer,format=rggb,width=20"), 0u);
}

TEST(Negotiation, AllocationOfCapsWithoutASizeIsNotAnswered) {
    Harness harness("vexaconvert");
    harness.SetCaps("video/x-bayer,format=rggb,width=20,height=4", kOut);
    ASSERT_EQ(harness.Push(BufferOf(Bytes(80))), GST_FLOW_OK) << harness.Error();
    for (const char* const in :
         {"video/x-bayer,format=rggb", "video/x-bayer,format=rggb,width=20", "video/x-bayer,format=none",
          "video/x-bayer", "video/x-raw,format=GRAY8", "video/x-vexacam,format=rggb,width=20,height=4"}) {
        GstCaps* const caps = gst_caps_from_string(in);
        GstQuery* const query = gst_query_new_allocation(caps, TRUE);
        EXPECT_FALSE(gst_pad_peer_query(harness.Get()->srcpad, query)) << in;
        gst_query_unref(query);
        gst_caps_unref(caps);
    }
    GstQuery* const query = gst_query_new_allocation(nullptr, TRUE);
    EXPECT_FALSE(gst_pad_peer_query(harness.Get()->srcpad, query));
    gst_query_unref(query);
}

}  // namespace
