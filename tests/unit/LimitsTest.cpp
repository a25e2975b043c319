// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Counts and offsets at the limits of 32 bits, without the memory for such frames: a kernel table that only notes what
// it is handed, and a memcpy that does so (linked with --wrap=memcpy, the library's objects come here first).
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "Reference.h"
#include "catalogue/VexaCamUtl.h"
#include "kernels/KernelTable.h"

namespace {

struct Call {
    const void* dst;
    const void* src;
    size_t count;
};

std::vector<Call> s_calls;
bool s_noting = false;

void Note(const void* dst, const void* src, size_t count) {
    s_noting = false;  // what the vector copies is of no interest
    s_calls.push_back({dst, src, count});
    s_noting = true;
}

}  // namespace

extern "C" void* __real_memcpy(void* dst, const void* src, size_t count);  // NOLINT: reserved, given by the linker
extern "C" void* __wrap_memcpy(void* dst, const void* src, size_t count);  // NOLINT
extern "C" void* __wrap_memcpy(void* dst, const void* src, size_t count) {
    if (!s_noting) {
        return __real_memcpy(dst, src, count);
    }
    Note(dst, src, count);
    return dst;
}

namespace {

using Vexa::Kernels::KernelTable;

void NoteRun(uint8_t* dst, const uint8_t* src, size_t count) {
    Note(dst, src, count);
}

void NoteShiftedRun(uint8_t* dst, const uint8_t* src, size_t count, uint32_t /*shift*/) {
    Note(dst, src, count);
}

KernelTable NotingTable() {
    KernelTable table = Vexa::Kernels::kScalarTable;
    for (const auto layout : {Vexa::Kernels::kBgra, Vexa::Kernels::kBgr}) {
        for (auto* entry : {&table.mono8, &table.rgb8, &table.yuv411, &table.yuv422, &table.yuv444}) {
            (*entry)[layout] = NoteRun;
        }
        for (auto* entry : {&table.monoN, &table.rgbN, &table.bgrN}) {
            (*entry)[layout] = NoteShiftedRun;
        }
    }
    table.bgr8ToBgra = table.reverse8 = table.reverse16 = table.reverse24 = table.reverse48 = NoteRun;
    table.reverseYuv411 = table.reverseYuv422 = NoteRun;
    return table;
}

class Limits : public testing::Test {
  protected:
    void SetUp() override {
        PrepareLUT();
        m_before = Vexa::s_psKernels;
        Vexa::s_psKernels = &m_table;
    }
    void TearDown() override { Vexa::s_psKernels = m_before; }

    /// What the library hands on in a call of it that has to succeed.
    template <class LibraryCall>
    static std::vector<Call> CallsIn(LibraryCall call) {
        s_calls.clear();
        s_noting = true;
        const UtlStatus status = call();
        s_noting = false;
        EXPECT_EQ(status, UTL_STS_SUCCESS);
        return s_calls;
    }

    /// The calls that ReverseImg makes for a frame.
    std::vector<Call> Reverse(PixelFormat format, uint32_t width, uint32_t height, bool mirror, bool flip) {
        return CallsIn([&] { return ReverseImg(m_dst, m_src, format, width, height, mirror ? 1 : 0, flip ? 1 : 0); });
    }

    // Addresses only: nothing is read or written there.
    uint8_t m_bytes[2] = {};
    uint8_t* m_dst = &m_bytes[0];
    const uint8_t* m_src = &m_bytes[1];

  private:
    const KernelTable m_table = NotingTable();
    const KernelTable* m_before = nullptr;
};

void ExpectOneCall(const std::vector<Call>& calls, const void* dst, const void* src, size_t count) {
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].dst, dst);
    EXPECT_EQ(calls[0].src, src);
    EXPECT_EQ(calls[0].count, count);
}

TEST_F(Limits, RunsCountTheirPixelsModulo2To32) {
    struct Size {
        uint32_t width;
        uint32_t height;
        size_t pixels;
    };
    for (const Reference::Converter& converter : Reference::Converters()) {
        if (!converter.IsRun()) {
            continue;
        }
        const bool blockCopy = converter.name == std::string_view("ConvBGR8PToBGR");
        for (const Size size : {Size{0xFFFFFFFF, 1, 0xFFFFFFFF}, Size{1, 0x80000001, 0x80000001},
                                Size{0x10000, 0xFFFF, 0xFFFF0000}, Size{0x10001, 0x10000, 0x10000}}) {
            const size_t count =
                blockCopy ? static_cast<uint32_t>(size.pixels * 3) : size.pixels / converter.groupPixels;
            SCOPED_TRACE(converter.name);
            ExpectOneCall(CallsIn([&] { return converter.Call(m_dst, m_src, size.width, size.height, 2); }), m_dst,
                          m_src, count);
        }
    }
}

TEST_F(Limits, CopiesCountTheirBytesIn64Bits) {
    ExpectOneCall(Reverse(PIXEL_FORMAT_BGR10, 0x2AAAAAAB, 1, false, false), m_dst, m_src, 0x100000002);
    ExpectOneCall(Reverse(PIXEL_FORMAT_RGB8, 1, 0xFFFFFFFF, false, false), m_dst, m_src, 0x2FFFFFFFD);
    ExpectOneCall(Reverse(PIXEL_FORMAT_MONO16, 0x10000, 0x8001, false, false), m_dst, m_src, 0x100020000);
    ExpectOneCall(Reverse(PIXEL_FORMAT_YUV411_8_UYYVYY, 0xFFFFFFFF, 1, false, false), m_dst, m_src, 0x17FFFFFFE);
    ExpectOneCall(Reverse(PIXEL_FORMAT_YUV422_8_UYVY, 0xFFFFFFFF, 1, false, false), m_dst, m_src, 0x1FFFFFFFE);
    ExpectOneCall(Reverse(PIXEL_FORMAT_MONO16, 0x10000, 0x10001, false, false), m_dst, m_src, 0x20000);
}

TEST_F(Limits, HalfTurnsOfSinglePixelsEndAt2To31AndThoseOfGroupsDoNot) {
    ExpectOneCall(Reverse(PIXEL_FORMAT_MONO8, 0x80000000, 1, true, true), m_dst, m_src, 0x80000000);
    ExpectOneCall(Reverse(PIXEL_FORMAT_BGR12, 0x8000, 0x10000, true, true), m_dst, m_src, 0x80000000);
    for (const PixelFormat format : {PIXEL_FORMAT_MONO8, PIXEL_FORMAT_MONO10, PIXEL_FORMAT_RGB8, PIXEL_FORMAT_RGB10}) {
        EXPECT_TRUE(Reverse(format, 0x80000001, 1, true, true).empty());
        EXPECT_TRUE(Reverse(format, 0xFFFFFFFF, 1, true, true).empty());
        EXPECT_TRUE(Reverse(format, 0x10000, 0x10000, true, true).empty());
    }
    ExpectOneCall(Reverse(PIXEL_FORMAT_YUV422_8_UYVY, 0x80000003, 1, true, true), m_dst, m_src, 0x40000001);
    ExpectOneCall(Reverse(PIXEL_FORMAT_YUV411_8_UYYVYY, 0xFFFFFFFF, 1, true, true), m_dst, m_src, 0x3FFFFFFF);
    ExpectOneCall(Reverse(PIXEL_FORMAT_YUV422_8_UYVY, 0x10001, 0x10000, true, true), m_dst, m_src, 0x8000);
}

TEST_F(Limits, RowsOfBitmapsAreLongerThan4GiB) {
    // Gathered into blocks that a full disk takes no byte of. The headers may be copied by plain instructions.
    const auto expectTwoRows = [this](uint64_t rowBytes, const std::vector<Call>& calls) {
        const uint8_t* const end = m_src + 2 * rowBytes;
        const uint8_t* next = m_src + rowBytes;
        uint64_t bytes = 0;
        for (const Call& call : calls) {
            if (call.src == next) {
                next += call.count;
                bytes += call.count;
                next = next == end ? m_src : next;
            }
        }
        EXPECT_EQ(bytes, 2 * rowBytes);
        EXPECT_EQ(next, m_src + rowBytes) << "the upper row comes last";
    };
    expectTwoRows(0x100000004, CallsIn([this] { return SaveBmpARGB(m_src, 0x40000001, 2, "/dev/full"); }));
    expectTwoRows(0x100000005, CallsIn([this] { return SaveBmpRGB(m_src, 0x55555557, 2, "/dev/full"); }));
}

TEST_F(Limits, MirroredRowsFollowEachOtherIn64Bits) {
    const auto calls = Reverse(PIXEL_FORMAT_MONO16, 0xC0000001, 3, true, false);
    ASSERT_EQ(calls.size(), 3u);
    for (size_t r = 0; r < 3; ++r) {
        EXPECT_EQ(calls[r].dst, m_dst + r * 0x180000002);
        EXPECT_EQ(calls[r].src, m_src + r * 0x180000002);
        EXPECT_EQ(calls[r].count, 0xC0000001u);
    }
    // Whole groups go out one after another, though the rows of the source are longer than they.
    const auto groups = Reverse(PIXEL_FORMAT_YUV411_8_UYYVYY, 0xFFFFFFFF, 2, true, false);
    ASSERT_EQ(groups.size(), 2u);
    EXPECT_EQ(groups[1].dst, m_dst + size_t{0x3FFFFFFF} * 6);
    EXPECT_EQ(groups[1].src, m_src + 0x17FFFFFFE);
    EXPECT_EQ(groups[1].count, 0x3FFFFFFFu);
}

TEST_F(Limits, FramesWithoutAWholeUnitHaveNoRows) {
    for (const bool mirror : {false, true}) {
        for (const bool flip : {false, true}) {
            for (const auto& call : Reverse(PIXEL_FORMAT_MONO8, 0, 1000, mirror, flip)) {
                EXPECT_EQ(call.count, 0u);
            }
            EXPECT_LE(s_calls.size(), 1u) << "one empty block at most, not one a row";
        }
    }
    EXPECT_TRUE(Reverse(PIXEL_FORMAT_YUV411_8_UYYVYY, 3, 1000, true, false).empty());
    EXPECT_TRUE(Reverse(PIXEL_FORMAT_YUV422_8_UYVY, 1, 1000, true, false).empty());
}

TEST_F(Limits, TheLastRowIsFoundModulo2To32AndTheRowsBeforeItAreNot) {
    // 65,537 rows of 64 KiB: the last one is 2^32 bytes into the frame, of which nothing is left.
    const auto calls = Reverse(PIXEL_FORMAT_MONO8, 0x10000, 0x10001, false, true);
    ASSERT_EQ(calls.size(), 0x10001u);
    EXPECT_EQ(calls.front().dst, m_dst);
    EXPECT_EQ(calls.front().src, m_src);
    EXPECT_EQ(calls.front().count, 0x10000u);
    EXPECT_EQ(calls.back().dst, m_dst + (uint64_t{1} << 32));
    EXPECT_EQ(calls.back().src, m_src - (uint64_t{1} << 32));
    // A row of 2^32 + 2 bytes is one of 2.
    const auto wide = Reverse(PIXEL_FORMAT_MONO16, 0x80000001, 2, false, true);
    ASSERT_EQ(wide.size(), 2u);
    EXPECT_EQ(wide[0].src, m_src + 2);
    EXPECT_EQ(wide[1].dst, m_dst + 2);
    EXPECT_EQ(wide[1].src, m_src);
    EXPECT_EQ(wide[1].count, 2u);
}

// What docs/buffers.md calls the largest frames.
TEST_F(Limits, UpsideDownFramesAndGreyBitmapsEndWhereTheOffsetOfTheLastRowWraps) {
    EXPECT_EQ(Reverse(PIXEL_FORMAT_MONO8, 0x10000, 0x10000, false, true).front().src, m_src + 0xFFFF0000);
    EXPECT_EQ(Reverse(PIXEL_FORMAT_MONO8, 0x10000, 0x10001, false, true).front().src, m_src);
    EXPECT_EQ(Reverse(PIXEL_FORMAT_MONO16, 0x7FFFFFFF, 1, false, true).front().count, 0xFFFFFFFEu);
    EXPECT_EQ(Reverse(PIXEL_FORMAT_MONO16, 0x80000001, 1, false, true).front().count, 2u);

    const auto firstRow = [](const std::vector<Call>& calls) {
        // The headers may be copied by instructions of their own; the rows are 64 KiB long.
        const auto row = std::find_if(calls.begin(), calls.end(), [](const Call& call) { return call.count > 2000; });
        return row == calls.end() ? nullptr : row->src;
    };
    EXPECT_EQ(firstRow(CallsIn([this] { return SaveBmpMono(m_src, 0x10000, 0x10000, "/dev/full"); })),
              m_src + 0xFFFF0000);
    EXPECT_EQ(firstRow(CallsIn([this] { return SaveBmpMono(m_src, 0x10000, 0x10001, "/dev/full"); })), m_src);
    EXPECT_EQ(firstRow(CallsIn([this] { return SaveBmpMono_S(m_src, 4000, 0x10001, 0x10000, "/dev/full"); })), m_src);
}

}  // namespace
