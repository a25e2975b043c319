// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Buffers of wrong lengths and lying metadata. Each ends at a page that may not be touched.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "Rows.h"
#include "Support.h"

using namespace GstTest;
using VexaGst::FrameSize;
using VexaGst::Rows;

namespace {

/// A buffer of that many zeros that ends where a page without access begins.
class GuardedBytes {
  public:
    explicit GuardedBytes(size_t bytes) : m_bytes(bytes) {
        const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        m_room = (bytes + page - 1) / page * page + page;
        m_block =
            static_cast<uint8_t*>(mmap(nullptr, m_room, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        EXPECT_EQ(mprotect(m_block + m_room - page, page, PROT_NONE), 0);
        m_begin = m_block + m_room - page - bytes;
    }
    ~GuardedBytes() { munmap(m_block, m_room); }
    GuardedBytes(const GuardedBytes&) = delete;
    GuardedBytes& operator=(const GuardedBytes&) = delete;

    GstBuffer* Wrap() const {
        return gst_buffer_new_wrapped_full(GST_MEMORY_FLAG_READONLY, m_begin, m_bytes, 0, m_bytes, nullptr, nullptr);
    }

  private:
    size_t m_bytes;
    size_t m_room;
    uint8_t* m_block;
    uint8_t* m_begin;
};

TEST(Buffers, EveryLengthOfEveryFormatStaysInsideTheBuffer) {
    constexpr int kWidth = 12;
    constexpr int kHeight = 6;
    for (const InputCase& input : kInputs) {
        const VcfLayout layout = LayoutOf(input.code, kWidth, kHeight);
        const size_t needed = VcfBytesNeeded(&layout);
        Harness harness("vexaconvert");
        harness.SetCaps(SizedCaps(input, kWidth, kHeight), "video/x-raw,format=BGRx");
        for (size_t bytes = 0; bytes <= 2 * needed; ++bytes) {
            const GuardedBytes guarded(bytes);
            const GstFlowReturn flow = harness.Push(guarded.Wrap());
            const std::string error = harness.Error();
            if (bytes < needed) {
                ASSERT_EQ(error, "the buffer ends early: it holds " + std::to_string(bytes) + " of " +
                                     std::to_string(needed) + " bytes")
                    << input.caps;
            }
            ASSERT_EQ(flow, error.empty() ? GST_FLOW_OK : GST_FLOW_ERROR) << input.caps << ", " << bytes;
            while (GstBuffer* const picture = gst_harness_try_pull(harness.Get())) {
                gst_buffer_unref(picture);
            }
        }
    }
}

TEST(Buffers, LyingStridesAndOffsetsAreRefused) {
    constexpr struct {
        gsize offset;
        gint stride;
        const char* says;
    } kLies[] = {
        {0, 100, "the buffer ends early"},        {1, 16, "the buffer ends early"},
        {G_MAXSIZE, 16, "the buffer ends early"}, {0, G_MAXINT, "the buffer ends early"},
        {0, 15, "a stride of 15 bytes"},          {0, -16, "rows from bottom to top"},
        {240, -16, "rows from bottom to top"},    {0, 0, "rows from bottom to top"},
    };
    for (const auto& lie : kLies) {
        Harness harness("vexaconvert");
        harness.SetCaps("video/x-bayer,format=rggb,width=16,height=16", "video/x-raw,format=BGRx");
        const GuardedBytes guarded(256);
        GstBuffer* const buffer = guarded.Wrap();
        gsize offsets[GST_VIDEO_MAX_PLANES] = {lie.offset};
        gint strides[GST_VIDEO_MAX_PLANES] = {lie.stride};
        gst_buffer_add_video_meta_full(buffer, GST_VIDEO_FRAME_FLAG_NONE, GST_VIDEO_FORMAT_ENCODED, 16, 16, 1, offsets,
                                       strides);
        EXPECT_EQ(harness.Push(buffer), GST_FLOW_ERROR);
        EXPECT_EQ(harness.Error().rfind(lie.says, 0), 0u) << lie.offset << ", " << lie.stride;
    }
}

TEST(Buffers, MetadataWithoutAPlaneSaysNothing) {
    Harness harness("vexaconvert");
    harness.SetCaps("video/x-raw,format=GRAY8,width=16,height=2", "video/x-raw,format=GRAY8");
    const Bytes frame = RandomBytes(32, 5);
    GstBuffer* const buffer = BufferOf(frame);
    gst_buffer_add_video_meta(buffer, GST_VIDEO_FRAME_FLAG_NONE, GST_VIDEO_FORMAT_GRAY8, 16, 2)->n_planes = 0;
    EXPECT_TRUE(harness.Convert(buffer) == frame);
}

TEST(Buffers, LessThanARowIsRefused) {
    Harness harness("vexaconvert row-stride=20");
    harness.SetCaps("video/x-raw,format=GRAY8,width=16,height=2", "video/x-raw,format=BGRx");
    const GuardedBytes guarded(5);
    EXPECT_EQ(harness.Push(guarded.Wrap()), GST_FLOW_ERROR);
    EXPECT_EQ(harness.Error().rfind("the buffer ends early: of its 5 bytes", 0), 0u);
}

TEST(Buffers, RowStrideTooLargeOrTooSmallIsRefused) {
    for (const auto& [stride, says] : {std::pair{"17", "the buffer ends early"}, {"15", "a stride of 15 bytes"}}) {
        Harness harness((std::string("vexaconvert row-stride=") + stride).c_str());
        harness.SetCaps("video/x-bayer,format=rggb,width=16,height=16", "video/x-raw,format=BGRx");
        const GuardedBytes guarded(256);
        EXPECT_EQ(harness.Push(guarded.Wrap()), GST_FLOW_ERROR);
        EXPECT_EQ(harness.Error().rfind(says, 0), 0u);
    }
}

/// A stride says where the next row begins, so a frame of one row has room for any.
TEST(Buffers, StrideOfOneRowIsFree) {
    Harness harness("vexaconvert row-stride=1000");
    harness.SetCaps("video/x-raw,format=GRAY8,width=16,height=1", "video/x-raw,format=BGRx");
    const GuardedBytes guarded(16);
    EXPECT_EQ(harness.Push(guarded.Wrap()), GST_FLOW_OK) << harness.Error();
}

/// The rows end with the last sample: padding behind it may be missing, a byte of it may not.
TEST(Buffers, RowStrideReadsNothingBehindTheLastSample) {
    constexpr size_t kStride = 40;
    for (const InputCase& input : kInputs) {
        const VcfLayout layout = LayoutOf(input.code, 12, 6);
        const size_t rowBytes = VcfRowBytes(&layout);
        for (const size_t missing : {size_t{0}, size_t{1}}) {
            Harness harness(("vexaconvert row-stride=" + std::to_string(kStride)).c_str());
            harness.SetCaps(SizedCaps(input, 12, 6), "video/x-raw,format=BGRx");
            const size_t stride = std::max(kStride, rowBytes);
            Set(harness.Element(), "row-stride", std::to_string(stride).c_str());
            const GuardedBytes guarded(stride * 5 + rowBytes - missing);
            EXPECT_EQ(harness.Push(guarded.Wrap()), missing == 0 ? GST_FLOW_OK : GST_FLOW_ERROR) << input.caps;
            EXPECT_EQ(harness.Error().rfind("the buffer ends early", 0) == 0, missing == 1) << input.caps;
        }
    }
}

/// Where the size of a buffer says its rows lie; -1: refused.
int64_t StrideOf(size_t bytes, const FrameSize& frame) {
    GstBuffer* const buffer = gst_buffer_new();
    Rows rows = {};
    std::string error;
    const bool found = FindRows(buffer, bytes, frame, 0, &rows, &error);
    gst_buffer_unref(buffer);
    EXPECT_EQ(found, error.empty());
    EXPECT_TRUE(!found || rows.offset == 0);
    return found ? static_cast<int64_t>(rows.stride) : -1;
}

TEST(FindRows, StrideFromTheSizeOfTheBuffer) {
    gst_init(nullptr, nullptr);
    const FrameSize bayer = {510, 10, 512, 5100, false};
    EXPECT_EQ(StrideOf(5100, bayer), 0);
    EXPECT_EQ(StrideOf(5120, bayer), 512);
    EXPECT_EQ(StrideOf(5110, bayer), 511);
    EXPECT_EQ(StrideOf(6400, bayer), 640);
    EXPECT_EQ(StrideOf(5103, bayer), 0);  // data behind the frame, too little to be padding
    EXPECT_EQ(StrideOf(5121, bayer), -1);
    EXPECT_EQ(StrideOf(5099, bayer), -1);
    EXPECT_EQ(StrideOf(0, bayer), -1);
    const FrameSize raw = {510, 10, 512, 5100, true};
    EXPECT_EQ(StrideOf(5100, raw), 0);
    EXPECT_EQ(StrideOf(5120, raw), 512);
    EXPECT_EQ(StrideOf(6400, raw), 512);  // by GStreamer's rule, data behind the frame
    EXPECT_EQ(StrideOf(5110, raw), -1);
    const FrameSize sharedBytes = {13, 10, 16, 125, false};  // 10 pixels of 10 bits
    EXPECT_EQ(StrideOf(125, sharedBytes), 0);
    EXPECT_EQ(StrideOf(130, sharedBytes), 13);
    EXPECT_EQ(StrideOf(160, sharedBytes), 16);
}

}  // namespace
