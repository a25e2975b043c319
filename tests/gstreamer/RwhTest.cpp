// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// RWH files through vexarwhdec and vexarwhenc, beside LoadRWH and SaveRWH.
#include <gst/base/gsttypefindhelper.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include "RwhElements.h"
#include "RwhHeader.h"
#include "Support.h"

using namespace GstTest;

namespace {

constexpr int kWidth = 20;
constexpr int kHeight = 6;

/// The file that the library writes for a frame.
Bytes FileOf(PixelFormat code, int width, int height, const Bytes& frame) {
    char path[] = "/tmp/vexarwh-XXXXXX";
    const int descriptor = mkstemp(path);
    EXPECT_GE(descriptor, 0);
    close(descriptor);
    EXPECT_EQ(SaveRWH(frame.data(), code, static_cast<uint32_t>(width), static_cast<uint32_t>(height), path),
              UTL_STS_SUCCESS);
    std::ifstream file(path, std::ios::binary);
    Bytes bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    static_cast<void>(std::remove(path));
    return bytes;
}

Bytes BytesOf(GstBuffer* buffer) {
    Bytes bytes(gst_buffer_get_size(buffer));
    gst_buffer_extract(buffer, 0, bytes.data(), bytes.size());
    return bytes;
}

Bytes FrameOf(PixelFormat code) {
    const VcfLayout layout = LayoutOf(code, kWidth, kHeight);
    return RandomBytes(VcfBytesNeeded(&layout), code);
}

class Rwh : public testing::TestWithParam<size_t> {};

TEST_P(Rwh, EncoderWritesWhatTheLibraryWrites) {
    const InputCase& input = kInputs[GetParam()];
    const Bytes frame = FrameOf(input.code);
    Harness harness("vexarwhenc");
    harness.SetInput(SizedCaps(input, kWidth, kHeight));
    ASSERT_EQ(harness.Push(BufferOf(frame)), GST_FLOW_OK) << harness.Error();
    GstBuffer* const file = gst_harness_pull(harness.Get());
    EXPECT_TRUE(BytesOf(file) == FileOf(input.code, kWidth, kHeight, frame)) << input.caps;
    gst_buffer_unref(file);
}

/// The decoder's caps lead to the encoder's same file, in chunks of any size.
TEST_P(Rwh, DecoderAndEncoderAreInverse) {
    const InputCase& input = kInputs[GetParam()];
    const Bytes file = FileOf(input.code, kWidth, kHeight, FrameOf(input.code));
    for (const size_t chunk : {size_t{7}, size_t{100}, file.size(), 2 * file.size()}) {
        Harness harness("vexarwhdec ! vexarwhenc");
        harness.SetInput(VexaGst::kRwhMediaType);
        Bytes twice = file;
        twice.insert(twice.end(), file.begin(), file.end());
        for (size_t at = 0; at < twice.size(); at += chunk) {
            const size_t end = std::min(at + chunk, twice.size());
            ASSERT_EQ(harness.Push(BufferOf(Bytes(twice.begin() + static_cast<std::ptrdiff_t>(at),
                                                  twice.begin() + static_cast<std::ptrdiff_t>(end)))),
                      GST_FLOW_OK);
        }
        gst_harness_push_event(harness.Get(), gst_event_new_eos());
        EXPECT_EQ(gst_harness_buffers_received(harness.Get()), 2u) << chunk;
        while (GstBuffer* const again = gst_harness_try_pull(harness.Get())) {
            EXPECT_TRUE(BytesOf(again) == file) << input.caps << ", chunks of " << chunk;
            gst_buffer_unref(again);
        }
    }
}

/// A file straight into a picture: the bytes of the frames layer in full range.
TEST_P(Rwh, FileToPicture) {
    const InputCase& input = kInputs[GetParam()];
    const Bytes frame = FrameOf(input.code);
    Harness harness("vexarwhdec ! vexaconvert ! capsfilter caps=video/x-raw,format=BGR");
    harness.SetInput(VexaGst::kRwhMediaType);
    ASSERT_EQ(harness.Push(BufferOf(FileOf(input.code, kWidth, kHeight, frame))), GST_FLOW_OK);
    gst_harness_push_event(harness.Get(), gst_event_new_eos());
    GstBuffer* const picture = gst_harness_try_pull(harness.Get());
    ASSERT_NE(picture, nullptr);
    GstCaps* const caps = gst_pad_get_current_caps(harness.Get()->sinkpad);
    EXPECT_TRUE(Unpadded(picture, caps) ==
                Expected(LayoutOf(input.code, kWidth, kHeight), frame, VCF_OUTPUT_BGR, nullptr));
    gst_caps_unref(caps);
    gst_buffer_unref(picture);
}

INSTANTIATE_TEST_SUITE_P(Inputs, Rwh, testing::Range<size_t>(0, kInputs.size()), [](const auto& parameter) {
    return std::string(VcfFindFormat(kInputs[parameter.param].code)->name);
});

/// Pads of the harness around a decoder alone; what it posts when the bytes are a whole stream.
std::string Refusal(const Bytes& bytes) {
    Harness harness("vexarwhdec");
    harness.SetInput(VexaGst::kRwhMediaType);
    harness.Push(BufferOf(bytes));
    gst_harness_push_event(harness.Get(), gst_event_new_eos());
    EXPECT_EQ(gst_harness_buffers_received(harness.Get()), 0u);
    return harness.Error();
}

TEST(RwhRefusals, EveryTruncation) {
    const Bytes file = FileOf(PIXEL_FORMAT_MONO8, 5, 3, RandomBytes(15, 1));
    for (size_t bytes = 1; bytes < file.size(); ++bytes) {
        const std::string error = Refusal(Bytes(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(bytes)));
        if (bytes < VexaGst::kRwhHeaderBytes) {
            EXPECT_EQ(error, "an RWH file ends within its header") << bytes;
        } else {
            EXPECT_EQ(error, "an RWH file ends early: it holds " + std::to_string(bytes) + " of 31 bytes");
        }
    }
}

TEST(RwhRefusals, AStreamWithoutAByte) {
    Harness harness("vexarwhdec");
    harness.SetInput(VexaGst::kRwhMediaType);
    gst_harness_push_event(harness.Get(), gst_event_new_eos());
    EXPECT_EQ(harness.Error(), "an RWH file is empty");
}

TEST(RwhRefusals, WrongHeaders) {
    const auto with = [](size_t word, uint8_t value) {
        Bytes file = FileOf(PIXEL_FORMAT_BAYER_RG8, 4, 4, Bytes(16));
        file[4 * word] = value;
        return file;
    };
    EXPECT_EQ(Refusal(with(0, 0xFF)), "not an RWH file: unknown pixel format 0x010800ff");
    EXPECT_EQ(Refusal(with(1, 0)), "an RWH header of 0 x 4 pixels does not fit its format");
    EXPECT_EQ(Refusal(with(2, 3)), "an RWH header of 4 x 3 pixels does not fit its format");
    EXPECT_EQ(Refusal(with(2, 0)), "an RWH header of 4 x 0 pixels does not fit its format");
    EXPECT_EQ(Refusal({9, 0, 8, 1, 0, 0, 1, 0, 4, 0, 0, 0, 0, 0, 1, 0}),
              "an RWH header of 65536 x 4 pixels does not fit its format");
    EXPECT_EQ(Refusal({9, 0, 8, 1, 4, 0, 0, 0, 0, 0, 1, 0, 4, 0, 0, 0}),
              "an RWH header of 4 x 65536 pixels does not fit its format");
    EXPECT_EQ(Refusal(with(3, 5)), "not an RWH file: a row of 4 pixels does not take 5 bytes");
    EXPECT_EQ(Refusal(Bytes(100, 'x')), "not an RWH file: unknown pixel format 0x78787878");
}

TEST(RwhRefusals, CapsThatNobodyTakes) {
    const Bytes file = FileOf(PIXEL_FORMAT_MONO8, 5, 3, RandomBytes(15, 1));
    Harness harness("vexarwhdec ! capsfilter caps=video/x-raw,format=RGB");
    harness.SetInput(VexaGst::kRwhMediaType);
    harness.Push(BufferOf(file));
    EXPECT_NE(harness.Push(BufferOf(file)), GST_FLOW_OK);
    EXPECT_EQ(gst_harness_buffers_received(harness.Get()), 0u);
}

TEST(RwhRefusals, FramesOf2GiB) {
    EXPECT_EQ(Refusal({0x01, 0x00, 0x08, 0x01, 0xFF, 0xFF, 0, 0, 0xFF, 0xFF, 0, 0, 0xFF, 0xFF, 0, 0}),
              "an RWH frame of 2 GiB or more is not served");
}

/// What the encoder posts for a buffer of 20 bytes.
std::string EncoderRefusal(const char* line, const char* caps) {
    Harness harness(line);
    harness.SetInput(caps);
    EXPECT_NE(harness.Push(BufferOf(Bytes(20))), GST_FLOW_OK);
    return harness.Error();
}

TEST(RwhRefusals, FramesThatTheEncoderCannotTake) {
    EXPECT_EQ(EncoderRefusal("vexarwhenc", "video/x-raw,format=GRAY8,width=8,height=4,framerate=25/1"),
              "the buffer ends early: it holds 20 of 32 bytes");
    EXPECT_EQ(EncoderRefusal("vexarwhenc depth=11", "video/x-raw,format=GRAY16_LE,width=8,height=4,framerate=25/1"),
              "GRAY16_LE samples of 11 bits are not served: set depth to 10, 12, 14 or 16");
}

/// What the type finder reads.
Bytes g_file;

GstFlowReturn ReadRange(GstObject*, GstObject*, guint64 offset, guint length, GstBuffer** buffer) {
    if (offset >= g_file.size()) {
        return GST_FLOW_EOS;
    }
    const auto first = g_file.begin() + static_cast<std::ptrdiff_t>(offset);
    const size_t bytes = std::min<size_t>(length, g_file.size() - offset);
    *buffer = BufferOf(Bytes(first, first + static_cast<std::ptrdiff_t>(bytes)));
    GST_BUFFER_OFFSET(*buffer) = offset;
    return GST_FLOW_OK;
}

GstTypeFindProbability CertaintyOf(const Bytes& file) {
    const Harness any("vexarwhdec");
    static const bool registered = VexaGst::RegisterRwhTypeFinder(nullptr);
    EXPECT_TRUE(registered);
    GstTypeFindProbability certainty = GST_TYPE_FIND_NONE;
    g_file = file;
    GstCaps* caps =
        gst_type_find_helper_get_range(GST_OBJECT(any.Element()), nullptr, ReadRange, file.size(), nullptr, &certainty);
    const bool isRwh =
        caps != nullptr && gst_structure_has_name(gst_caps_get_structure(caps, 0), VexaGst::kRwhMediaType);
    gst_caps_replace(&caps, nullptr);
    return isRwh ? certainty : GST_TYPE_FIND_NONE;
}

TEST(RwhTypeFinder, TellsByTheHeaderAndTheLength) {
    const Bytes file = FileOf(PIXEL_FORMAT_MONO8, 5, 3, RandomBytes(15, 1));
    EXPECT_EQ(CertaintyOf(file), GST_TYPE_FIND_NEARLY_CERTAIN);
    Bytes longer = file;
    longer.push_back(0);
    EXPECT_EQ(CertaintyOf(longer), GST_TYPE_FIND_POSSIBLE);
    EXPECT_EQ(CertaintyOf(Bytes(file.begin(), file.begin() + 15)), GST_TYPE_FIND_NONE);
    Bytes other = file;
    other[3] = 0x77;
    EXPECT_EQ(CertaintyOf(other), GST_TYPE_FIND_NONE);
}

TEST(RwhRefusals, RowsThatEndWithinAByte) {
    Harness harness("vexarwhenc");
    harness.SetInput("video/x-bayer,format=rggb10p,width=6,height=4,framerate=25/1");
    EXPECT_NE(harness.Push(BufferOf(Bytes(30))), GST_FLOW_OK);
    EXPECT_NE(harness.Error(), "");
}

/// Elements that know nothing of this one take the padding of their format for granted, 4 bytes for grey.
TEST(RwhDecoder, RowsArePaddedAsGStreamerPadsThem) {
    const Bytes frame = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
    Harness harness("vexarwhdec");
    harness.SetInput(VexaGst::kRwhMediaType);
    ASSERT_EQ(harness.Push(BufferOf(FileOf(PIXEL_FORMAT_MONO8, 5, 2, frame))), GST_FLOW_OK);
    gst_harness_push_event(harness.Get(), gst_event_new_eos());
    GstBuffer* const padded = gst_harness_pull(harness.Get());
    EXPECT_EQ(BytesOf(padded), (Bytes{1, 2, 3, 4, 5, 0, 0, 0, 6, 7, 8, 9, 10, 0, 0, 0}));
    gst_buffer_unref(padded);
}

TEST(RwhEncoder, FilesHaveTheTimesOfTheirFrames) {
    const InputCase& input = kInputs[0];
    Harness harness("vexarwhenc");
    harness.SetInput(SizedCaps(input, kWidth, kHeight));
    GstBuffer* const frame = BufferOf(FrameOf(input.code));
    GST_BUFFER_PTS(frame) = 3 * GST_SECOND;
    GST_BUFFER_DURATION(frame) = 40 * GST_MSECOND;
    ASSERT_EQ(harness.Push(frame), GST_FLOW_OK) << harness.Error();
    GstBuffer* const file = gst_harness_pull(harness.Get());
    EXPECT_EQ(GST_BUFFER_PTS(file), 3 * GST_SECOND);
    EXPECT_EQ(GST_BUFFER_DURATION(file), 40 * GST_MSECOND);
    gst_buffer_unref(file);
}

TEST(RwhDecoder, FramesFollowTheFrameRate) {
    const Bytes file = FileOf(PIXEL_FORMAT_MONO8, 4, 2, Bytes(8));
    Harness harness("vexarwhdec framerate=10/1");
    GstSegment segment;
    gst_segment_init(&segment, GST_FORMAT_BYTES);
    harness.SetInput(VexaGst::kRwhMediaType);
    gst_harness_push_event(harness.Get(), gst_event_new_segment(&segment));
    for (int i = 0; i < 3; ++i) {
        GstBuffer* const buffer = BufferOf(file);
        GST_BUFFER_PTS(buffer) = GST_CLOCK_TIME_NONE;
        ASSERT_EQ(harness.Push(buffer), GST_FLOW_OK);
    }
    gst_harness_push_event(harness.Get(), gst_event_new_eos());
    for (guint64 i = 0; i < 3; ++i) {
        GstBuffer* const frame = gst_harness_pull(harness.Get());
        EXPECT_EQ(GST_BUFFER_PTS(frame), i * 100 * GST_MSECOND);
        EXPECT_EQ(GST_BUFFER_DURATION(frame), 100 * GST_MSECOND);
        gst_buffer_unref(frame);
    }
}

}  // namespace
