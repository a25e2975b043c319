// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The default demosaic of 10 and 12 bits: worked pictures, uniform frames that wrap, the smallest frames, large shifts.
#include <string>

#include "Picture.h"

namespace {

TEST(BayerN, WorkedPicture) {
    const Bytes frame = Words({1023, 4, 1000, 8, 512, 516, 3, 1024, 100, 200, 300, 400, 7, 11, 13, 1020});
    const Bytes expected = {
        128, 255, 1,  255, 64, 211, 1,  255, 0, 250, 1,  255, 0, 253, 2,   255,  // row 0
        128, 136, 25, 255, 64, 129, 25, 255, 0, 177, 38, 255, 0, 0,   51,  255,  // row 1
        64,  25,  50, 255, 33, 57,  50, 255, 2, 75,  75, 255, 2, 195, 100, 255,  // row 2
        1,   13,  50, 255, 2,  2,   50, 255, 3, 110, 75, 255, 3, 255, 100, 255,  // row 3
    };
    EXPECT_EQ(PictureOf("ConvByrGR10ToBGRA", 4, 4, frame), expected);
    EXPECT_EQ(PictureOf("ConvByrGR10ToBGR", 4, 4, frame), WithoutAlpha(expected));
    EXPECT_EQ(PictureOf("ConvByrGRNToBGRA", 4, 4, frame, 2), expected);
    EXPECT_EQ(PictureOf("ConvByrGRNToBGR", 4, 4, frame, 2), WithoutAlpha(expected));
}

Bytes UniformWords(size_t count, uint32_t value) {
    return Times(count, Words({value}));
}

TEST(BayerN, UniformFramesWrapInsteadOfSaturating) {
    for (const char* phase : {"GR", "RG", "GB", "BG"}) {
        const std::string name = std::string("ConvByr") + phase;
        EXPECT_EQ(PictureOf(name + "10ToBGRA", 6, 4, UniformWords(24, 1023)), Times(24, {255, 255, 255, 255}));
        EXPECT_EQ(PictureOf(name + "10ToBGRA", 6, 4, UniformWords(24, 1024)), Times(24, {0, 0, 0, 255}));
        EXPECT_EQ(PictureOf(name + "12ToBGR", 6, 4, UniformWords(24, 4095)), Bytes(72, 255));
        EXPECT_EQ(PictureOf(name + "10ToBGR", 6, 4, UniformWords(24, 4095)), Bytes(72, 255));
        EXPECT_EQ(PictureOf(name + "10ToBGR", 6, 4, UniformWords(24, 2048)), Bytes(72, 0));
        EXPECT_EQ(PictureOf(name + "NToBGR", 6, 4, UniformWords(24, 0x0180), 0), Bytes(72, 0x80));
        EXPECT_EQ(PictureOf(name + "NToBGRA", 6, 4, UniformWords(24, 0xFFFF), 8), Times(24, {255, 255, 255, 255}));
    }
}

TEST(BayerN, LowBitsCarryIntoTheMean) {
    // Blues 3 and 13 above and below the green site (2, 2): (3 + 13) >> 3 is 2; shifting each first would give 1.
    Bytes frame = UniformWords(16, 0);
    frame[6 * 2] = 3;
    frame[14 * 2] = 13;
    EXPECT_EQ(PixelAt(PictureOf("ConvByrGR10ToBGRA", 4, 4, frame), 4, 2, 2), (Bytes{2, 0, 0, 255}));
}

TEST(BayerN, FramesOfTwoByTwo) {
    EXPECT_EQ(PictureOf("ConvByrGR10ToBGR", 2, 2, Words({11, 1024, 30, 1021})),
              (Bytes{7, 2, 0, 7, 129, 0, 7, 129, 0, 7, 255, 0}));
}

TEST(BayerN, LargeShiftsAre32BitShifts) {
    const Bytes frame = UniformWords(16, 0xFFFF);
    // From 16 on nothing of one sample is left; sums of two and four reach one and two bits further, less the mean.
    EXPECT_EQ(PictureOf("ConvByrGRNToBGR", 4, 4, frame, 15), Bytes(48, 1));
    EXPECT_EQ(PictureOf("ConvByrGRNToBGR", 4, 4, frame, 16), Bytes(48, 0));
    EXPECT_EQ(PictureOf("ConvByrGRNToBGR", 4, 4, frame, 29), Bytes(48, 0));
    EXPECT_EQ(PictureOf("ConvByrGRNToBGR", 4, 4, frame, 32), Bytes(48, 255));
    EXPECT_EQ(PictureOf("ConvByrGRNToBGR", 4, 4, frame, 0x102), PictureOf("ConvByrGRNToBGR", 4, 4, frame, 2));
    // A shift of 30: the mean of four is shifted by 32, which is 0; all others are gone.
    const Bytes wrapped = PictureOf("ConvByrGRNToBGRA", 4, 4, frame, 30);
    EXPECT_EQ(PixelAt(wrapped, 4, 1, 2), (Bytes{0, 0xFC, 0xFC, 255}));
    EXPECT_EQ(PixelAt(wrapped, 4, 0, 1), (Bytes{0, 0, 0, 255}));
    // A shift of 31: pairs are shifted by 0, fours by 1.
    const Bytes most = PictureOf("ConvByrGRNToBGRA", 4, 4, frame, 31);
    EXPECT_EQ(PixelAt(most, 4, 1, 2), (Bytes{0, 0xFE, 0xFE, 255}));
    EXPECT_EQ(PixelAt(most, 4, 1, 1), (Bytes{0xFE, 0, 0xFE, 255}));
}

}  // namespace
