// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// What changes while frames flow: caps on both sides, properties, and another element beside this one.
#include <atomic>
#include <thread>

#include "Support.h"

using namespace GstTest;

namespace {

const InputCase kBayer8 = {"video/x-bayer,format=rggb", PIXEL_FORMAT_BAYER_RG8};

Bytes Wanted(const InputCase& input, int width, int height, const Bytes& frame, uint32_t output) {
    return Expected(LayoutOf(input.code, width, height), frame, output, nullptr);
}

TEST(Changes, CapsWhilePlaying) {
    Harness harness("vexaconvert n-threads=2");
    gst_harness_set_sink_caps_str(harness.Get(), "video/x-raw,format=BGR");
    uint32_t seed = 0;
    for (int round = 0; round < 2; ++round) {
        for (const InputCase& input : kInputs) {
            const int width = 8 + 4 * static_cast<int>(++seed % 7);
            const int height = 40 + 2 * static_cast<int>(seed % 5);
            const VcfLayout layout = LayoutOf(input.code, width, height);
            const Bytes frame = RandomBytes(VcfBytesNeeded(&layout), seed);
            harness.SetInput(SizedCaps(input, width, height));
            GstBuffer* const buffer = BufferOf(frame);
            // Some raw formats have padded rows by default, so the stride is said.
            gsize offsets[GST_VIDEO_MAX_PLANES] = {};
            gint strides[GST_VIDEO_MAX_PLANES] = {static_cast<gint>(VcfRowBytes(&layout))};
            gst_buffer_add_video_meta_full(buffer, GST_VIDEO_FRAME_FLAG_NONE, GST_VIDEO_FORMAT_ENCODED,
                                           static_cast<guint>(width), static_cast<guint>(height), 1, offsets, strides);
            EXPECT_TRUE(harness.Convert(buffer) == Wanted(input, width, height, frame, VCF_OUTPUT_BGR)) << input.caps;
            EXPECT_EQ(harness.Error(), "");
        }
    }
}

TEST(Changes, OutputCapsWhilePlaying) {
    Harness harness("vexaconvert");
    gst_harness_set_sink_caps_str(harness.Get(), "video/x-raw,format=BGR");
    harness.SetInput(SizedCaps(kBayer8, 16, 16));
    for (const OutputCase& output : kOutputs) {
        gst_harness_set_sink_caps_str(harness.Get(), (std::string("video/x-raw,format=") + output.format).c_str());
        const Bytes frame = RandomBytes(256, output.output);
        EXPECT_TRUE(harness.Convert(BufferOf(frame)) == Wanted(kBayer8, 16, 16, frame, output.output)) << output.format;
    }
}

TEST(Changes, EveryPropertyWhilePlaying) {
    Harness harness("vexaconvert");
    harness.SetCaps(SizedCaps(kBayer8, 64, 64), "video/x-raw,format=BGR");
    const Bytes frame = RandomBytes(64 * 64, 9);
    const Bytes untouched = harness.Convert(BufferOf(frame));
    constexpr struct {
        const char* property;
        const char* value;
        const char* preset;
        bool changesPicture;
    } kChanges[] = {
        {"bayer-mode", "adaptive", "bilinear", true},
        {"white-balance", "auto", "off", true},
        {"black-level", "20", "0", true},
        {"exposure", "1.5", "1", true},
        {"tone", "srgb", "linear", true},
        {"grey", "true", "false", true},
        {"n-threads", "3", "1", false},
        {"n-threads", "0", "1", false},
        {"row-stride", "64", "0", false},
        {"yuv-range", "limited", "auto", false},
        {"depth", "12", "0", false},
        {"gamma", "3", "2.2", false},
        {"wb-smoothing", "0", "0.9", false},
        {"red-gain", "2", "1", false},
    };
    for (const auto& change : kChanges) {
        Set(harness.Element(), change.property, change.value);
        EXPECT_EQ(harness.Convert(BufferOf(frame)) != untouched, change.changesPicture) << change.property;
        Set(harness.Element(), change.property, change.preset);
        EXPECT_TRUE(harness.Convert(BufferOf(frame)) == untouched) << change.property;
        EXPECT_EQ(harness.Error(), "") << change.property;
    }
}

/// A property that the caps do not go with stops the stream with a text, and starts it again when taken back.
TEST(Changes, PropertyThatDoesNotFitIsRefusedWithAText) {
    Harness harness("vexaconvert");
    harness.SetCaps("video/x-raw,format=GRAY16_LE,width=8,height=4", "video/x-raw,format=BGRx");
    EXPECT_FALSE(harness.Convert(BufferOf(Bytes(64))).empty());
    Set(harness.Element(), "depth", "11");
    EXPECT_TRUE(harness.Convert(BufferOf(Bytes(64))).empty());
    EXPECT_EQ(harness.Error(), "GRAY16_LE samples of 11 bits are not served: set depth to 10, 12, 14 or 16");
    Set(harness.Element(), "depth", "10");
    EXPECT_FALSE(harness.Convert(BufferOf(Bytes(64))).empty());
}

TEST(Changes, LevelsOfYuvAreRefusedWhilePlaying) {
    Harness harness("vexaconvert");
    harness.SetCaps("video/x-raw,format=UYVY,width=8,height=4", "video/x-raw,format=BGRx");
    const Bytes picture = harness.Convert(BufferOf(Bytes(64, 90)));
    EXPECT_FALSE(picture.empty());
    Set(harness.Element(), "black-level", "3");
    EXPECT_TRUE(harness.Convert(BufferOf(Bytes(64, 90))).empty());
    EXPECT_EQ(harness.Error(), "levels need raw samples, which YUV422_8_UYVY does not have");
    Set(harness.Element(), "black-level", "0");
    EXPECT_EQ(harness.Convert(BufferOf(Bytes(64, 90))), picture);
}

TEST(Changes, PropertiesSetFromAnotherThread) {
    Harness harness("vexaconvert n-threads=2");
    harness.SetCaps(SizedCaps(kBayer8, 64, 64), "video/x-raw,format=BGR");
    std::atomic<bool> done = false;
    std::thread hand([&] {
        for (int i = 0; !done; ++i) {
            Set(harness.Element(), "bayer-mode", i % 2 == 0 ? "adaptive" : "bilinear");
            Set(harness.Element(), "white-balance", i % 3 == 0 ? "auto" : "gains");
            Set(harness.Element(), "n-threads", i % 5 == 0 ? "3" : "2");
        }
    });
    const Bytes frame = RandomBytes(64 * 64, 10);
    for (int i = 0; i < 300; ++i) {
        EXPECT_FALSE(harness.Convert(BufferOf(frame)).empty());
    }
    done = true;
    hand.join();
    EXPECT_EQ(harness.Error(), "");
}

/// A control binding, as a program makes it that changes properties by the time of a frame: grey from 2 seconds on.
gboolean SyncGrey(GstControlBinding*, GstObject* object, GstClockTime time, GstClockTime) {
    g_object_set(object, "grey", time >= 2 * GST_SECOND ? TRUE : FALSE, nullptr);
    return TRUE;
}

GType GreyBindingType() {
    static const GType type = g_type_register_static_simple(
        GST_TYPE_CONTROL_BINDING, "VexaTestGreyBinding", sizeof(GstControlBindingClass),
        [](gpointer c, gpointer) { static_cast<GstControlBindingClass*>(c)->sync_values = SyncGrey; },
        sizeof(GstControlBinding), [](GTypeInstance*, gpointer) {}, GTypeFlags{});
    return type;
}

TEST(Changes, PropertiesFollowTheTimeOfFrames) {
    Harness harness("vexaconvert");
    harness.SetCaps(SizedCaps(kBayer8, 16, 16), "video/x-raw,format=BGR");
    gst_object_add_control_binding(GST_OBJECT(harness.Element()),
                                   static_cast<GstControlBinding*>(g_object_new(
                                       GreyBindingType(), "object", harness.Element(), "name", "grey", nullptr)));
    const Bytes frame = RandomBytes(256, 12);
    VcfSettings grey;
    VcfInitSettings(&grey);
    grey.demosaic = VCF_DEMOSAIC_NONE;
    for (const GstClockTime second : {GstClockTime{0}, GstClockTime{3}, GstClockTime{1}, GstClockTime{2}}) {
        GstBuffer* const buffer = BufferOf(frame);
        GST_BUFFER_PTS(buffer) = second * GST_SECOND;
        const VcfSettings* const settings = second >= 2 ? &grey : nullptr;
        EXPECT_TRUE(harness.Convert(buffer) ==
                    Expected(LayoutOf(kBayer8.code, 16, 16), frame, VCF_OUTPUT_BGR, settings))
            << second;
    }
}

/// Streaming threads of GStreamer on both sides of the elements, one frame in two of them at once.
TEST(Changes, PropertiesOfTwoBranchesBetweenQueues) {
    const Harness registered("vexaconvert");
    GstElement* const pipeline = gst_parse_launch(
        "videotestsrc num-buffers=200 ! video/x-bayer,format=rggb,width=64,height=64 ! tee name=t "
        "t. ! queue ! vexaconvert name=one n-threads=2 ! video/x-raw,format=BGR ! queue ! fakesink sync=false "
        "t. ! queue ! vexaconvert name=two ! video/x-raw,format=BGRx ! queue ! fakesink sync=false",
        nullptr);
    GstElement* const one = gst_bin_get_by_name(GST_BIN(pipeline), "one");
    GstElement* const two = gst_bin_get_by_name(GST_BIN(pipeline), "two");
    GstBus* const bus = gst_element_get_bus(pipeline);
    gst_element_set_state(pipeline, GST_STATE_PLAYING);
    GstMessage* last = nullptr;
    for (int i = 0; last == nullptr; ++i) {
        Set(one, "bayer-mode", i % 2 == 0 ? "adaptive" : "bilinear");
        Set(two, "tone", i % 2 == 0 ? "srgb" : "linear");
        Set(two, "n-threads", i % 3 == 0 ? "4" : "1");
        last = gst_bus_pop_filtered(bus, static_cast<GstMessageType>(GST_MESSAGE_EOS | GST_MESSAGE_ERROR));
    }
    EXPECT_EQ(GST_MESSAGE_TYPE(last), GST_MESSAGE_EOS);
    gst_message_unref(last);
    gst_element_set_state(pipeline, GST_STATE_NULL);
    for (gpointer object : {gpointer{one}, gpointer{two}, gpointer{bus}, gpointer{pipeline}}) {
        gst_object_unref(object);
    }
}

/// The library's own mode word is process-wide; elements do not use it.
TEST(Changes, TwoElementsWithTwoModesDoNotDisturbEachOther) {
    const Bytes frame = RandomBytes(64 * 64, 11);
    const auto stream = [&](const char* line, Bytes* wanted) {
        Harness harness(line);
        harness.SetCaps(SizedCaps(kBayer8, 64, 64), "video/x-raw,format=BGR");
        *wanted = harness.Convert(BufferOf(frame));
        for (int i = 0; i < 200; ++i) {
            ASSERT_TRUE(harness.Convert(BufferOf(frame)) == *wanted) << line << ", frame " << i;
        }
    };
    Bytes bilinear;
    Bytes adaptive;
    std::thread other(stream, "vexaconvert bayer-mode=adaptive", &adaptive);
    SetBayerConvMode(BAYER_CONV_MODE_ACPI);
    stream("vexaconvert", &bilinear);
    SetBayerConvMode(BAYER_CONV_MODE_DEFAULT);
    other.join();
    EXPECT_TRUE(bilinear == Wanted(kBayer8, 64, 64, frame, VCF_OUTPUT_BGR));
    EXPECT_FALSE(adaptive == bilinear);
}

}  // namespace
