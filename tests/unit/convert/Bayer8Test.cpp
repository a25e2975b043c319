// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The default demosaic of 8 bits: worked pictures, uniform frames, the smallest frames, truncation.
#include <string>

#include "Picture.h"

namespace {

const Bytes kFrame8 = {10, 20, 30, 40, 50, 60, 70, 80, 90, 100, 110, 120, 130, 140, 150, 161};

TEST(Bayer8, WorkedPicture) {
    const Bytes expected = {
        50,  10,  20,  255, 60,  33,  20,  255, 70,  30,  30,  255, 70,  55,  40,  255,  // row 0
        50,  53,  60,  255, 60,  60,  60,  255, 70,  70,  70,  255, 70,  80,  80,  255,  // row 1
        90,  90,  100, 255, 100, 100, 100, 255, 110, 110, 110, 255, 110, 117, 120, 255,  // row 2
        130, 115, 100, 255, 140, 140, 100, 255, 150, 137, 110, 255, 150, 161, 120, 255,  // row 3
    };
    EXPECT_EQ(PictureOf("ConvByrGR8ToBGRA", 4, 4, kFrame8), expected);
    EXPECT_EQ(PictureOf("ConvByrGR8ToBGR", 4, 4, kFrame8), WithoutAlpha(expected));
}

TEST(Bayer8, TheSameFrameInPhaseBG) {
    const Bytes picture = PictureOf("ConvByrBG8ToBGRA", 4, 4, kFrame8);
    EXPECT_EQ(PixelAt(picture, 4, 0, 0), (Bytes{10, 35, 60, 255}));
    EXPECT_EQ(PixelAt(picture, 4, 3, 3), (Bytes{110, 135, 161, 255}));
}

TEST(Bayer8, UniformFramesStayUniform) {
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

TEST(Bayer8, FramesOfTwoByTwo) {
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

TEST(Bayer8, MeansOfThreeTruncate) {
    // The red site (0, 1) has greens left, right and below.
    const Bytes low = PictureOf("ConvByrGR8ToBGRA", 4, 2, {1, 9, 1, 9, 9, 0, 9, 0});
    EXPECT_EQ(PixelAt(low, 4, 0, 1)[1], 0);
    const Bytes high = PictureOf("ConvByrGR8ToBGRA", 4, 2, {254, 9, 255, 9, 9, 255, 9, 0});
    EXPECT_EQ(PixelAt(high, 4, 0, 1)[1], 254);
}

TEST(Bayer8, SizesBeyondTheUsualOnesFollowTheSameRule) {
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

}  // namespace
