// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// YUV frames: neutral grey, a saturated colour, the groups with their odd strides, pixels left over.
#include "Picture.h"

namespace {

class Yuv : public testing::Test {
  protected:
    void SetUp() override { PrepareLUT(); }
};

constexpr uint8_t kN = 128;  // neutral chroma

TEST_F(Yuv, NeutralPairsAreGrey) {
    EXPECT_EQ(PictureOf("ConvYUV422PToBGRA", 2, 1, {kN, 0x40, kN, 0xC0}),
              (Bytes{0x40, 0x40, 0x40, 0xFF, 0xC0, 0xC0, 0xC0, 0xFF}));
    EXPECT_EQ(PictureOf("ConvYUV422PToBGR", 2, 1, {kN, 0x40, kN, 0xC0, 0x99}),
              (Bytes{0x40, 0x40, 0x40, 0xC0, 0xC0, 0xC0}));
    EXPECT_EQ(PictureOf("ConvYUV411PToBGR", 4, 1, {kN, 1, 2, kN, 3, 4}), (Bytes{1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4}));
    EXPECT_EQ(PictureOf("ConvYUV411PToBGRA", 2, 2, {kN, 1, 2, kN, 3, 4}),
              (Bytes{1, 1, 1, 255, 2, 2, 2, 255, 3, 3, 3, 255, 4, 4, 4, 255}));
}

TEST_F(Yuv, ASaturatedBlue) {
    // 1.772 * 127 = 225; the green row is 300, 44 below neutral.
    EXPECT_EQ(PictureOf("ConvYUV444PToBGRA", 1, 1, {255, 0, kN, 0}), (Bytes{225, 0, 0, 255}));
    EXPECT_EQ(PictureOf("ConvYUV444PToBGR", 1, 1, {255, 0, kN, 0}), (Bytes{225, 0, 0}));
    EXPECT_EQ(PictureOf("ConvYUV444PToBGR", 1, 1, {255, 100, kN, 0}), (Bytes{255, 56, 100}));
}

TEST_F(Yuv, ChromaOfAGroupServesAllItsPixels) {
    // V = 138: red + 14, green - 7 (0.714 * 10 rounded); U = 118: blue - 18 (-17.72), green + 3 (3.44).
    EXPECT_EQ(PictureOf("ConvYUV422PToBGR", 2, 1, {118, 100, 138, 200, 0}), (Bytes{82, 96, 114, 182, 196, 214}));
    EXPECT_EQ(PictureOf("ConvYUV411PToBGR", 4, 1, {118, 100, 200, 138, 50, 60}),
              (Bytes{82, 96, 114, 182, 196, 214, 32, 46, 64, 42, 56, 74}));
}

TEST_F(Yuv, PairsToBgrLieFiveBytesApart) {
    const Bytes frame = {kN, 10, kN, 20, kN, 30, kN, 40, kN, 50};
    const Bytes five = PictureOf("ConvYUV422PToBGR", 4, 1, {kN, 10, kN, 20, 99, kN, 30, kN, 40, 99});
    EXPECT_EQ(five, (Bytes{10, 10, 10, 20, 20, 20, 30, 30, 30, 40, 40, 40}));
    const Bytes four = PictureOf("ConvYUV422PToBGRA", 4, 1, {kN, 10, kN, 20, kN, 30, kN, 40});
    EXPECT_EQ(WithoutAlpha(four), five);
    // Through BGR a plain 4-byte frame is read with its second pair one byte late.
    const Bytes late = PictureOf("ConvYUV422PToBGR", 4, 1, frame);
    EXPECT_EQ(Bytes(late.begin(), late.begin() + 6), (Bytes{10, 10, 10, 20, 20, 20}));
    EXPECT_EQ(Bytes(late.begin() + 6, late.end()), PictureOf("ConvYUV422PToBGR", 2, 1, {30, kN, 40, kN, 50}));
}

TEST_F(Yuv, PixelsOf444LieFourBytesApart) {
    EXPECT_EQ(PictureOf("ConvYUV444PToBGR", 2, 1, {kN, 10, kN, 99, kN, 20, kN, 99}), (Bytes{10, 10, 10, 20, 20, 20}));
    EXPECT_EQ(PictureOf("ConvYUV444PToBGRA", 2, 1, {kN, 10, kN, 99, kN, 20, kN, 99}),
              (Bytes{10, 10, 10, 255, 20, 20, 20, 255}));
}

TEST_F(Yuv, PixelsLeftOverStayAsTheyWere) {
    EXPECT_EQ(PictureOf("ConvYUV411PToBGRA", 3, 1, {}), Bytes(12, 0x55));
    EXPECT_EQ(PictureOf("ConvYUV411PToBGR", 1, 3, {}), Bytes(9, 0x55));
    EXPECT_EQ(PictureOf("ConvYUV411PToBGR", 3, 2, {kN, 1, 2, kN, 3, 4}),
              (Bytes{1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4, 0x55, 0x55, 0x55, 0x55, 0x55, 0x55}));
    EXPECT_EQ(PictureOf("ConvYUV422PToBGR", 3, 1, {kN, 1, kN, 2, 0}), (Bytes{1, 1, 1, 2, 2, 2, 0x55, 0x55, 0x55}));
    EXPECT_EQ(PictureOf("ConvYUV422PToBGRA", 3, 1, {kN, 1, kN, 2}),
              (Bytes{1, 1, 1, 255, 2, 2, 2, 255, 0x55, 0x55, 0x55, 0x55}));
    EXPECT_EQ(PictureOf("ConvYUV422PToBGRA", 1, 1, {}), Bytes(4, 0x55));
}

}  // namespace
