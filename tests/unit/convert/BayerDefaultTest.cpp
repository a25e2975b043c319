// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The default demosaic, 8 bits and more: worked pictures, uniform frames, the smallest frames, truncation, wrapping.
#include <string>

#include "Picture.h"

namespace {

const Bytes kFrame8 = {10, 20, 30, 40, 50, 60, 70, 80, 90, 100, 110, 120, 130, 140, 150, 161};

TEST(BayerDefault8, WorkedPicture) {
    const Bytes expected = {
        50,  10,  20,  255, 60,  33,  20,  255, 70,  30,  30,  255, 70,  55,  40,  255,  // row 0
        50,  53,  60,  255, 60,  60,  60,  255, 70,  70,  70,  255, 70,  80,  80,  255,  // row 1
        90,  90,  100, 255, 100, 100, 100, 255, 110, 110, 110, 255, 110, 117, 120, 255,  // row 2
        130, 115, 100, 255, 140, 140, 100, 255, 150, 137, 110, 255, 150, 161, 120, 255,  // row 3
    };
    EXPECT_EQ(PictureOf("ConvByrGR8ToBGRA", 4, 4, kFrame8), expected);
    EXPECT_EQ(PictureOf("ConvByrGR8ToBGR", 4, 4, kFrame8), WithoutAlpha(expected));
}

TEST(BayerDefault8, TheSameFrameInPhaseBG) {
    const Bytes picture = PictureOf("ConvByrBG8ToBGRA", 4, 4, kFrame8);
    EXPECT_EQ(PixelAt(picture, 4, 0, 0), (Bytes{10, 35, 60, 255}));
    EXPECT_EQ(PixelAt(picture, 4, 3, 3), (Bytes{110, 135, 161, 255}));
}

TEST(BayerDefault8, UniformFramesStayUniform) {
    for (const char* phase : {"GR", "RG", "GB", "BG"}) {
        for (const uint8_t value : {uint8_t{0}, uint8_t{1}, uint8_t{128}, uint8_t{254}, uint8_t{255}}) {
            for (const uint32_t size : {2u, 4u, 6u, 34u}) {
                const Bytes frame(size_t{size} * size, value);
                const std::string name = std::string("ConvByr") + phase;
                EXPECT_EQ(PictureOf(name + "8ToBGRA", size, size, frame),
                          Times(size_t{size} * size, {value, value, value, 255}));
                EXPECT_EQ(PictureOf(name + "8ToBGR", size, size, frame), Bytes(size_t{size} * size * 3, value));
            }
        }
    }
}

TEST(BayerDefault8, FramesOfTwoByTwo) {
    // Samples g0, r / b, g1: all four pixels share red and blue.
    const Bytes expected = {30, 11, 20, 255, 30, 25, 20, 255, 30, 25, 20, 255, 30, 40, 20, 255};
    EXPECT_EQ(PictureOf("ConvByrGR8ToBGRA", 2, 2, {11, 20, 30, 40}), expected);
    EXPECT_EQ(PictureOf("ConvByrGR8ToBGR", 2, 2, {11, 20, 30, 40}), WithoutAlpha(expected));
    EXPECT_EQ(PictureOf("ConvByrRG8ToBGR", 2, 2, {20, 11, 40, 30}),
              (Bytes{30, 25, 20, 30, 11, 20, 30, 40, 20, 30, 25, 20}));
    EXPECT_EQ(PictureOf("ConvByrGB8ToBGR", 2, 2, {11, 20, 30, 40}),
              (Bytes{20, 11, 30, 20, 25, 30, 20, 25, 30, 20, 40, 30}));
    EXPECT_EQ(PictureOf("ConvByrBG8ToBGR", 2, 2, {20, 11, 40, 30}),
              (Bytes{20, 25, 30, 20, 11, 30, 20, 40, 30, 20, 25, 30}));
}

TEST(BayerDefault8, MeansOfThreeTruncate) {
    // The red site (0, 1) has greens left, right and below.
    const Bytes low = PictureOf("ConvByrGR8ToBGRA", 4, 2, {1, 9, 1, 9, 9, 0, 9, 0});
    EXPECT_EQ(PixelAt(low, 4, 0, 1)[1], 0);
    const Bytes high = PictureOf("ConvByrGR8ToBGRA", 4, 2, {254, 9, 255, 9, 9, 255, 9, 0});
    EXPECT_EQ(PixelAt(high, 4, 0, 1)[1], 254);
}

TEST(BayerDefault8, SizesBeyondTheUsualOnesFollowTheSameRule) {
    // A single pixel has no neighbours: its own sample stands in for every colour.
    EXPECT_EQ(PictureOf("ConvByrGR8ToBGRA", 1, 1, {77}), (Bytes{77, 77, 77, 255}));
    // One row G R G: no blue anywhere, so each pixel's own sample stands in for it.
    EXPECT_EQ(PictureOf("ConvByrGR8ToBGR", 3, 1, {10, 50, 21}), (Bytes{10, 10, 50, 50, 15, 50, 21, 21, 50}));
    // One column R G R: blue has no diagonal and no side; green is the mean of above and below.
    EXPECT_EQ(PictureOf("ConvByrRG8ToBGR", 1, 3, {10, 50, 21}), (Bytes{10, 50, 10, 50, 50, 15, 21, 50, 21}));
    // Three by three, phase RG: the last column and row are those of an even frame cut short.
    const Bytes odd = PictureOf("ConvByrRG8ToBGRA", 3, 3, {10, 20, 30, 40, 50, 60, 70, 80, 90});
    EXPECT_EQ(PixelAt(odd, 3, 0, 2), (Bytes{50, 40, 30, 255}));
    EXPECT_EQ(PixelAt(odd, 3, 1, 1), (Bytes{50, 50, 50, 255}));
    EXPECT_EQ(PixelAt(odd, 3, 2, 2), (Bytes{50, 70, 90, 255}));
}

TEST(BayerDefaultN, WorkedPicture) {
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

TEST(BayerDefaultN, UniformFramesWrapInsteadOfSaturating) {
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

TEST(BayerDefaultN, LowBitsCarryIntoTheMean) {
    // Blues 3 and 13 above and below the green site (2, 2): (3 + 13) >> 3 is 2; shifting each first would give 1.
    Bytes frame = UniformWords(16, 0);
    frame[6 * 2] = 3;
    frame[14 * 2] = 13;
    EXPECT_EQ(PixelAt(PictureOf("ConvByrGR10ToBGRA", 4, 4, frame), 4, 2, 2), (Bytes{2, 0, 0, 255}));
}

TEST(BayerDefaultN, FramesOfTwoByTwo) {
    EXPECT_EQ(PictureOf("ConvByrGR10ToBGR", 2, 2, Words({11, 1024, 30, 1021})),
              (Bytes{7, 2, 0, 7, 129, 0, 7, 129, 0, 7, 255, 0}));
}

TEST(BayerDefaultN, LargeShiftsAre32BitShifts) {
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
