// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Packed colour: the order of the samples, the reduction to 8 bits, and the block copy of BGR8 to BGR with its wrapped
// count of bytes.
#include "Picture.h"

namespace {

TEST(PackedColour, EightBits) {
    const Bytes pixel = {0x10, 0x20, 0x30};
    EXPECT_EQ(PictureOf("ConvRGB8PToBGRA", 1, 1, pixel), (Bytes{0x30, 0x20, 0x10, 0xFF}));
    EXPECT_EQ(PictureOf("ConvRGB8PToBGR", 1, 1, pixel), (Bytes{0x30, 0x20, 0x10}));
    EXPECT_EQ(PictureOf("ConvBGR8PToBGRA", 1, 1, pixel), (Bytes{0x10, 0x20, 0x30, 0xFF}));
    EXPECT_EQ(PictureOf("ConvBGR8PToBGR", 1, 1, pixel), (Bytes{0x10, 0x20, 0x30}));
}

TEST(PackedColour, TenBitsAtEveryCountAroundAVector) {
    const Bytes pixel = Words({0x3FF, 0x200, 0x004});
    for (const uint32_t count : {1u, 2u, 15u, 16u, 17u, 31u, 32u, 33u, 48u, 100u}) {
        EXPECT_EQ(PictureOf("ConvBGR10PToBGR", count, 1, Times(count, pixel)), Times(count, {0xFF, 0x80, 0x01}));
        EXPECT_EQ(PictureOf("ConvRGB10PToBGR", count, 1, Times(count, pixel)), Times(count, {0x01, 0x80, 0xFF}));
        EXPECT_EQ(PictureOf("ConvBGR10PToBGRA", count, 1, Times(count, pixel)), Times(count, {0xFF, 0x80, 0x01, 0xFF}));
        EXPECT_EQ(PictureOf("ConvRGB10PToBGRA", count, 1, Times(count, pixel)), Times(count, {0x01, 0x80, 0xFF, 0xFF}));
    }
}

TEST(PackedColour, TwelveBitsWrap) {
    const Bytes pixel = Words({0xFFF, 0x1000, 0xF7EF});
    EXPECT_EQ(PictureOf("ConvBGR12PToBGR", 1, 1, pixel), (Bytes{0xFF, 0x00, 0x7E}));
    EXPECT_EQ(PictureOf("ConvRGB12PToBGR", 1, 1, pixel), (Bytes{0x7E, 0x00, 0xFF}));
    EXPECT_EQ(PictureOf("ConvBGR12PToBGRA", 1, 1, pixel), (Bytes{0xFF, 0x00, 0x7E, 0xFF}));
    EXPECT_EQ(PictureOf("ConvRGB12PToBGRA", 1, 1, pixel), (Bytes{0x7E, 0x00, 0xFF, 0xFF}));
}

TEST(PackedColour, WorkersTakeAnyShift) {
    const Bytes pixel = Words({0x1234, 0x5678, 0x9ABC});
    EXPECT_EQ(PictureOf("ConvRGBNToBGR", 1, 1, pixel, 8), (Bytes{0x9A, 0x56, 0x12}));
    EXPECT_EQ(PictureOf("ConvBGRNToBGR", 1, 1, pixel, 0), (Bytes{0x34, 0x78, 0xBC}));
    EXPECT_EQ(PictureOf("ConvRGBNToBGRA", 1, 1, pixel, 4), (Bytes{0xAB, 0x67, 0x23, 0xFF}));
    EXPECT_EQ(PictureOf("ConvBGRNToBGRA", 1, 1, pixel, 12), (Bytes{0x01, 0x05, 0x09, 0xFF}));
}

TEST(PackedColour, TablesAreNotNeeded) {
    // Nothing in this program but other suites' fixtures calls PrepareLUT; run alone, this holds in a fresh process.
    EXPECT_EQ(PictureOf("ConvRGB8PToBGRA", 1, 1, {1, 2, 3}), (Bytes{3, 2, 1, 255}));
}

TEST(PackedColour, ABlockCopyCountsItsBytesModulo2To32) {
    // 0x55555556 pixels are 0x100000002 bytes, of which the low 32 bits are 2.
    for (const auto& [width, height] : {std::pair{0x55555556u, 1u}, std::pair{1u, 0x55555556u}}) {
        Reference::GuardedArena source(2);
        Reference::GuardedArena destination(2);
        uint8_t* src = source.Block(2, Reference::GuardSide::kBack, 0x31);
        uint8_t* dst = destination.Block(2, Reference::GuardSide::kBack, 0x55);
        src[1] = 0x32;
        EXPECT_EQ(ConvBGR8PToBGR(dst, src, width, height), UTL_STS_SUCCESS);
        EXPECT_EQ(Bytes(dst, dst + 2), (Bytes{0x31, 0x32}));
        EXPECT_TRUE(destination.MarginIsIntact());
    }
    // 0xAAAAAAAC pixels are 0x200000004 bytes.
    Bytes dst(16, 0x55);
    const Bytes src(16, 0x31);
    EXPECT_EQ(ConvBGR8PToBGR(dst.data(), src.data(), 2, 0x55555556), UTL_STS_SUCCESS);
    Bytes expected(16, 0x55);
    std::fill_n(expected.begin(), 4, uint8_t{0x31});
    EXPECT_EQ(dst, expected);
}

}  // namespace
