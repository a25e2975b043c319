// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// v308 beside IYU2: the same samples in another order give the same pictures and files.
#include "LumaFirst.h"

#include <algorithm>
#include <tuple>

#include "Support.h"

using namespace GstTest;

namespace {

constexpr int kHeight = 34;
const InputCase kV308 = {"video/x-raw,format=v308,colorimetry=1:4:0:0", PIXEL_FORMAT_YUV8_UYV};

/// The frame with Y and U of every pixel exchanged.
Bytes Exchanged(const Bytes& frame) {
    Bytes other;
    for (size_t i = 0; i < frame.size(); ++i) {
        constexpr size_t kFrom[] = {1, 0, 2};
        other.push_back(frame[i / 3 * 3 + kFrom[i % 3]]);
    }
    return other;
}

/// Rows `stride` bytes apart, from byte `offset` on, the last one with its padding too.
Bytes Spread(const Bytes& frame, size_t rowBytes, size_t offset, size_t stride) {
    Bytes spread = RandomBytes(offset + stride * kHeight, 77);
    for (size_t y = 0; y < kHeight; ++y) {
        std::copy_n(frame.begin() + static_cast<std::ptrdiff_t>(y * rowBytes), rowBytes,
                    spread.begin() + static_cast<std::ptrdiff_t>(offset + y * stride));
    }
    return spread;
}

TEST(LumaFirst, EveryLengthStaysInsideItsRowAndMayBeInPlace) {
    for (size_t pixels = 0; pixels < 50; ++pixels) {
        const Bytes from = RandomBytes(3 * pixels, static_cast<uint32_t>(pixels));
        Bytes to(3 * pixels + 1, 0xA5);
        VexaGst::MoveLumaBehindU(from.data(), pixels, to.data());
        EXPECT_EQ(to.back(), 0xA5);
        to.pop_back();
        EXPECT_EQ(to, Exchanged(from)) << pixels;
        Bytes inPlace = from;
        VexaGst::MoveLumaBehindU(inPlace.data(), pixels, inPlace.data());
        EXPECT_EQ(inPlace, to) << pixels;
    }
}

TEST(LumaFirst, PicturesAreThoseOfIyu2) {
    for (const int width : {1, 2, 3, 5, 8, 13, 16, 21, 27, 64}) {
        const size_t rowBytes = 3 * static_cast<size_t>(width);
        const Bytes uyv = RandomBytes(rowBytes * kHeight, static_cast<uint32_t>(width));
        const Bytes frame = Exchanged(uyv);
        for (const OutputCase& output : kOutputs) {
            const Bytes wanted = Expected(LayoutOf(kV308.code, width, kHeight), uyv, output.output, nullptr);
            for (const char* const line : {"vexaconvert", "vexaconvert n-threads=2"}) {
                Harness harness(line);
                harness.SetCaps(SizedCaps(kV308, width, kHeight), std::string("video/x-raw,format=") + output.format);
                EXPECT_TRUE(harness.Convert(BufferOf(frame)) == wanted) << width << ", " << output.format;
                EXPECT_TRUE(harness.Convert(BufferOf(Spread(frame, rowBytes, 0, (rowBytes + 3) / 4 * 4))) == wanted);
                GstBuffer* const buffer = BufferOf(Spread(frame, rowBytes, 7, rowBytes + 13));
                gsize offsets[GST_VIDEO_MAX_PLANES] = {7};
                gint strides[GST_VIDEO_MAX_PLANES] = {static_cast<gint>(rowBytes + 13)};
                gst_buffer_add_video_meta_full(buffer, GST_VIDEO_FRAME_FLAG_NONE, GST_VIDEO_FORMAT_v308,
                                               static_cast<guint>(width), kHeight, 1, offsets, strides);
                EXPECT_TRUE(harness.Convert(buffer) == wanted) << width << ", " << output.format;
                Set(harness.Element(), "row-stride", std::to_string(rowBytes + 5).c_str());
                EXPECT_TRUE(harness.Convert(BufferOf(Spread(frame, rowBytes, 0, rowBytes + 5))) == wanted);
                EXPECT_EQ(harness.Error(), "");
            }
        }
    }
}

/// BT.601 in full range by its definition.
TEST(LumaFirst, ColoursByDefinition) {
    for (const auto& [y, u, v] : {std::tuple{76, 85, 255}, {150, 44, 21}, {29, 255, 107}, {120, 140, 110}}) {
        Harness harness("vexaconvert");
        harness.SetCaps(SizedCaps(kV308, 1, kHeight), "video/x-raw,format=RGB");
        Bytes frame;
        for (int row = 0; row < kHeight; ++row) {
            for (const int byte : {y, u, v}) {
                frame.push_back(static_cast<uint8_t>(byte));
            }
        }
        const Bytes picture = harness.Convert(BufferOf(frame));
        ASSERT_EQ(picture.size(), 3u * kHeight) << harness.Error();
        EXPECT_NEAR(picture[0], std::clamp(y + 1.402 * (v - 128), 0.0, 255.0), 2);
        EXPECT_NEAR(picture[1], std::clamp(y - 0.344136 * (u - 128) - 0.714136 * (v - 128), 0.0, 255.0), 2);
        EXPECT_NEAR(picture[2], std::clamp(y + 1.772 * (u - 128), 0.0, 255.0), 2);
    }
}

TEST(LumaFirst, OrderChangesWhilePlaying) {
    constexpr int kWidth = 12;
    const InputCase iyu2 = {"video/x-raw,format=IYU2,colorimetry=1:4:0:0", PIXEL_FORMAT_YUV8_UYV};
    const Bytes uyv = RandomBytes(size_t{3} * kWidth * kHeight, 5);
    const Bytes wanted = Expected(LayoutOf(iyu2.code, kWidth, kHeight), uyv, VCF_OUTPUT_BGR, nullptr);
    Harness harness("vexaconvert");
    gst_harness_set_sink_caps_str(harness.Get(), "video/x-raw,format=BGR");
    for (int round = 0; round < 2; ++round) {
        harness.SetInput(SizedCaps(iyu2, kWidth, kHeight));
        EXPECT_TRUE(harness.Convert(BufferOf(uyv)) == wanted);
        harness.SetInput(SizedCaps(kV308, kWidth, kHeight));
        EXPECT_TRUE(harness.Convert(BufferOf(Exchanged(uyv))) == wanted);
    }
}

/// RWH files hold U Y V: what is written leads to the same picture when it is read.
TEST(LumaFirst, FilesHoldTheOrderOfTheLibrary) {
    for (const size_t padding : {size_t{0}, size_t{4}}) {
        constexpr int kWidth = 13;
        const size_t rowBytes = size_t{3} * kWidth;
        const Bytes uyv = RandomBytes(rowBytes * kHeight, 6);
        Harness harness("vexarwhenc");
        harness.SetInput(SizedCaps(kV308, kWidth, kHeight));
        GstBuffer* const buffer = BufferOf(Spread(Exchanged(uyv), rowBytes, 0, rowBytes + padding));
        gsize offsets[GST_VIDEO_MAX_PLANES] = {};
        gint strides[GST_VIDEO_MAX_PLANES] = {static_cast<gint>(rowBytes + padding)};
        gst_buffer_add_video_meta_full(buffer, GST_VIDEO_FRAME_FLAG_NONE, GST_VIDEO_FORMAT_v308, kWidth, kHeight, 1,
                                       offsets, strides);
        ASSERT_EQ(harness.Push(buffer), GST_FLOW_OK) << harness.Error();
        GstBuffer* const file = gst_harness_pull(harness.Get());
        Bytes bytes(gst_buffer_get_size(file));
        gst_buffer_extract(file, 0, bytes.data(), bytes.size());
        gst_buffer_unref(file);
        ASSERT_EQ(bytes.size(), 16 + uyv.size());
        EXPECT_TRUE(std::equal(uyv.begin(), uyv.end(), bytes.begin() + 16)) << padding;
    }
}

}  // namespace
