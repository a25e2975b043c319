// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Reversal of raw frames: literal frames in all modes, accepted and refused codes, flags, and products that wrap.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>

#include "../WrongPrototypes.h"
#include "Buffers.h"
#include "ScratchFolder.h"

namespace {

enum Mode : uint32_t { kCopy, kMirror, kUpsideDown, kHalfTurn };

Bytes Reversed(PixelFormat format, uint32_t width, uint32_t height, Mode mode, const Bytes& frame) {
    EXPECT_EQ(frame.size(), Reference::FrameBytes(format, width, height));
    Reference::GuardedArena source(frame.size());
    Reference::GuardedArena destination(frame.size());
    uint8_t* src = source.Block(frame.size(), Reference::GuardSide::kBack, 0);
    uint8_t* dst = destination.Block(frame.size(), Reference::GuardSide::kBack, 0x55);
    std::copy(frame.begin(), frame.end(), src);
    const bool mirror = mode == kMirror || mode == kHalfTurn;
    const bool upsideDown = mode == kUpsideDown || mode == kHalfTurn;
    EXPECT_EQ(ReverseImg(dst, src, format, width, height, mirror, upsideDown), UTL_STS_SUCCESS);
    EXPECT_TRUE(destination.MarginIsIntact());
    Bytes expected(frame.size(), 0x55);
    Reference::Reverse(expected.data(), src, format, width, height, mirror, upsideDown);
    EXPECT_EQ(Bytes(dst, dst + frame.size()), expected);
    return {dst, dst + frame.size()};
}

TEST(ImageReversal, Mono8InAllModes) {
    const Bytes frame = {1, 2, 3, 4, 5, 6};
    EXPECT_EQ(Reversed(0x01080001, 3, 2, kCopy, frame), frame);
    EXPECT_EQ(Reversed(0x01080001, 3, 2, kMirror, frame), (Bytes{3, 2, 1, 6, 5, 4}));
    EXPECT_EQ(Reversed(0x01080001, 3, 2, kUpsideDown, frame), (Bytes{4, 5, 6, 1, 2, 3}));
    EXPECT_EQ(Reversed(0x01080001, 3, 2, kHalfTurn, frame), (Bytes{6, 5, 4, 3, 2, 1}));
}

TEST(ImageReversal, WholePixelsMove) {
    EXPECT_EQ(Reversed(0x01100007, 2, 1, kMirror, {1, 2, 3, 4}), (Bytes{3, 4, 1, 2}));
    EXPECT_EQ(Reversed(0x02180014, 2, 1, kMirror, {1, 2, 3, 4, 5, 6}), (Bytes{4, 5, 6, 1, 2, 3}));
    EXPECT_EQ(Reversed(0x02180015, 2, 1, kHalfTurn, {1, 2, 3, 4, 5, 6}), (Bytes{4, 5, 6, 1, 2, 3}));
    EXPECT_EQ(Reversed(0x02300019, 2, 1, kMirror, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}),
              (Bytes{7, 8, 9, 10, 11, 12, 1, 2, 3, 4, 5, 6}));
}

TEST(ImageReversal, Yuv422MovesPairs) {
    EXPECT_EQ(Reversed(0x0210001F, 2, 1, kMirror, {1, 2, 3, 4}), (Bytes{1, 4, 3, 2}));
    EXPECT_EQ(Reversed(0x0210001F, 4, 1, kMirror, {1, 2, 3, 4, 5, 6, 7, 8}), (Bytes{5, 8, 7, 6, 1, 4, 3, 2}));
    EXPECT_EQ(Reversed(0x0210001F, 2, 2, kHalfTurn, {1, 2, 3, 4, 5, 6, 7, 8}), (Bytes{5, 8, 7, 6, 1, 4, 3, 2}));
    EXPECT_EQ(Reversed(0x0210001F, 3, 2, kUpsideDown, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}),
              (Bytes{7, 8, 9, 10, 11, 12, 1, 2, 3, 4, 5, 6}));
}

TEST(ImageReversal, Yuv411MovesFours) {
    EXPECT_EQ(Reversed(0x020C001E, 4, 1, kMirror, {1, 2, 3, 4, 5, 6}), (Bytes{1, 6, 5, 4, 3, 2}));
    EXPECT_EQ(Reversed(0x020C001E, 8, 1, kMirror, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}),
              (Bytes{7, 12, 11, 10, 9, 8, 1, 6, 5, 4, 3, 2}));
    EXPECT_EQ(Reversed(0x020C001E, 4, 2, kHalfTurn, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}),
              (Bytes{7, 12, 11, 10, 9, 8, 1, 6, 5, 4, 3, 2}));
    // Rows of width 5 are 7 bytes; the copy of two such rows moves all 15 bytes of ten pixels.
    const Bytes odd = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
    EXPECT_EQ(Reversed(0x020C001E, 5, 2, kCopy, odd), odd);
    EXPECT_EQ(Reversed(0x020C001E, 5, 2, kUpsideDown, odd),
              (Bytes{8, 9, 10, 11, 12, 13, 14, 1, 2, 3, 4, 5, 6, 7, 0x55}));
}

TEST(ImageReversal, EveryFormatInEveryMode) {
    for (const PixelFormat format : Reference::ReversibleFormats()) {
        for (const Mode mode : {kCopy, kMirror, kUpsideDown, kHalfTurn}) {
            Reversed(format, 12, 5, mode, Counting(Reference::FrameBytes(format, 12, 5)));
        }
    }
}

TEST(ImageReversal, EveryOtherCodeIsRefused) {
    const auto accepted = Reference::ReversibleFormats();
    ASSERT_EQ(accepted.size(), 23u);
    uint32_t served = 0;
    uint8_t byte = 0x55;
    const uint8_t source = 1;
    for (const uint32_t upper : {0x0000u, 0x0108u, 0x0110u, 0x020Cu, 0x0210u, 0x0218u, 0x0230u, 0xFFFFu}) {
        for (uint32_t lower = 0; lower < 0x10000; ++lower) {
            const PixelFormat format = upper << 16 | lower;
            const bool known = std::find(accepted.begin(), accepted.end(), format) != accepted.end();
            served += known ? 1u : 0u;
            for (uint8_t mode = 0; mode < 4; ++mode) {
                ASSERT_EQ(ReverseImg(&byte, &source, format, known ? 0 : 1, 1, mode & 1, mode >> 1),
                          known ? UTL_STS_SUCCESS : UTL_STS_UNSUPPORTED_FORMAT)
                    << std::hex << format;
            }
        }
    }
    EXPECT_EQ(served, 23u);
    EXPECT_EQ(byte, 0x55);
    EXPECT_EQ(ReverseImg(&byte, &source, 0x0230001A, 1, 1, 0, 0), 0xFFFFFFFFu);
    EXPECT_EQ(ReverseImg(&byte, &source, 0x02180020, 1, 1, 1, 0), 0xFFFFFFFFu);
}

TEST(ImageReversal, PointersAreTestedBeforeTheFormat) {
    uint8_t byte = 0x55;
    for (const PixelFormat format : {0x01080001u, 0x0230001Au, 0u}) {
        EXPECT_EQ(ReverseImg(nullptr, &byte, format, 1, 1, 0, 0), UTL_STS_INVALID_PARAMETER);
        EXPECT_EQ(ReverseImg(&byte, nullptr, format, 1, 1, 1, 1), UTL_STS_INVALID_PARAMETER);
        EXPECT_EQ(ReverseImg(nullptr, nullptr, format, 0, 0, 0, 0), UTL_STS_INVALID_PARAMETER);
    }
    EXPECT_EQ(byte, 0x55);
}

TEST(ImageReversal, AFlagIsSetByExactlyOneInItsLowByte) {
    const Bytes frame = {1, 2, 3, 4};
    const Bytes copy = frame;
    const Bytes mirrored = {2, 1, 4, 3};
    const Bytes upsideDown = {3, 4, 1, 2};
    const auto run = [&](uint32_t mirror, uint32_t flip) {
        Bytes dst(4, 0x55);
        EXPECT_EQ(WideReverseImg(dst.data(), frame.data(), 0x01080001, 2, 2, mirror, flip), UTL_STS_SUCCESS);
        return dst;
    };
    for (const uint32_t unset : {0u, 2u, 3u, 0x80u, 0xFFu, 0x100u, 0xFFFFFF00u}) {
        EXPECT_EQ(run(unset, 0), copy) << unset;
        EXPECT_EQ(run(0, unset), copy) << unset;
        EXPECT_EQ(run(1, unset), mirrored) << unset;
        EXPECT_EQ(run(unset, 1), upsideDown) << unset;
    }
    EXPECT_EQ(run(0x101, 0), mirrored);
    EXPECT_EQ(run(0, 0x101), upsideDown);
    EXPECT_EQ(run(0xFFFFFF01, 0x201), (Bytes{4, 3, 2, 1}));
}

TEST(ImageReversal, EmptyFramesWriteNothing) {
    uint8_t byte = 0x55;
    const uint8_t source = 1;
    for (const PixelFormat format : Reference::ReversibleFormats()) {
        for (uint8_t mode = 0; mode < 4; ++mode) {
            EXPECT_EQ(ReverseImg(&byte, &source, format, 16, 0, mode & 1, mode >> 1), UTL_STS_SUCCESS);
            EXPECT_EQ(ReverseImg(&byte, &source, format, 0, 16, mode & 1, mode >> 1), UTL_STS_SUCCESS);
        }
    }
    EXPECT_EQ(byte, 0x55);
}

TEST(ImageReversal, AHalfTurnOfMoreThan2To31PixelsWritesNothing) {
    uint8_t byte = 0x55;
    const uint8_t source = 1;
    for (const PixelFormat format : {0x01080001u, 0x01100007u, 0x02180014u, 0x02300019u}) {
        EXPECT_EQ(ReverseImg(&byte, &source, format, 0x10000, 0x8001, 1, 1), UTL_STS_SUCCESS);
        EXPECT_EQ(ReverseImg(&byte, &source, format, 0xFFFFFFFF, 1, 1, 1), UTL_STS_SUCCESS);
        EXPECT_EQ(ReverseImg(&byte, &source, format, 0x80000001, 1, 1, 1), UTL_STS_SUCCESS);
        EXPECT_EQ(ReverseImg(&byte, &source, format, 0x10000, 0x10000, 1, 1), UTL_STS_SUCCESS);
    }
    EXPECT_EQ(byte, 0x55);
}

TEST(ImageReversal, AHalfTurnOf2To31PixelsIsStillDone) {
    // The destination is one tile of memory mapped over and over; what stays in it is what was written last.
    constexpr size_t kFrame = size_t{1} << 31;
    constexpr size_t kTile = size_t{1} << 21;
    const int tile = memfd_create("tile", 0);
    ASSERT_GE(tile, 0);
    ASSERT_EQ(ftruncate(tile, kTile), 0);
    void* source = mmap(nullptr, kFrame, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    void* destination = mmap(nullptr, kFrame, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (source == MAP_FAILED || destination == MAP_FAILED) {
        GTEST_SKIP() << "no address space for two frames of 2 GiB";
    }
    auto* src = static_cast<uint8_t*>(source);
    auto* dst = static_cast<uint8_t*>(destination);
    for (size_t at = 0; at < kFrame; at += kTile) {
        ASSERT_NE(mmap(dst + at, kTile, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, tile, 0), MAP_FAILED);
    }
    std::fill_n(dst, kTile, uint8_t{0x55});
    src[0] = 7;
    EXPECT_EQ(ReverseImg(dst, src, 0x01080001, 0x80000000, 1, 1, 1), UTL_STS_SUCCESS);
    EXPECT_EQ(dst[kTile - 1], 7);
    EXPECT_EQ(dst[0], 0);
    EXPECT_EQ(std::count(dst, dst + kTile, uint8_t{0}), static_cast<std::ptrdiff_t>(kTile - 1));
    munmap(source, kFrame);
    munmap(destination, kFrame);
    close(tile);
}

TEST(ImageReversal, PixelCountsOfCopyAndHalfTurnWrap) {
    // 0x80000001 * 2 pixels are 2 modulo 2^32.
    Bytes dst(4, 0x55);
    const Bytes frame = {1, 2, 3, 4};
    EXPECT_EQ(ReverseImg(dst.data(), frame.data(), 0x01080001, 0x80000001, 2, 0, 0), UTL_STS_SUCCESS);
    EXPECT_EQ(dst, (Bytes{1, 2, 0x55, 0x55}));
    EXPECT_EQ(ReverseImg(dst.data(), frame.data(), 0x01080001, 0x80000001, 2, 1, 1), UTL_STS_SUCCESS);
    EXPECT_EQ(dst, (Bytes{2, 1, 0x55, 0x55}));
    EXPECT_EQ(ReverseImg(dst.data(), frame.data(), 0x0210001F, 0x80000001, 2, 0, 0), UTL_STS_SUCCESS);
    EXPECT_EQ(dst, frame);
}

}  // namespace
