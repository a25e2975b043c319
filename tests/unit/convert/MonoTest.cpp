// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Grey frames: one sample gives three equal bytes; samples above their depth wrap.
#include "Picture.h"

namespace {

class Mono : public testing::Test {
  protected:
    void SetUp() override { PrepareLUT(); }
};

TEST_F(Mono, EightBits) {
    EXPECT_EQ(PictureOf("ConvMono8ToBGRA", 1, 1, {0x80}), (Bytes{0x80, 0x80, 0x80, 0xFF}));
    EXPECT_EQ(PictureOf("ConvMono8ToBGR", 1, 1, {0x80}), (Bytes{0x80, 0x80, 0x80}));
    EXPECT_EQ(PictureOf("ConvMono8ToBGR", 3, 1, {0, 1, 255}), (Bytes{0, 0, 0, 1, 1, 1, 255, 255, 255}));
    EXPECT_EQ(PictureOf("ConvMono8ToBGRA", 1, 3, {0, 1, 255}), (Bytes{0, 0, 0, 255, 1, 1, 1, 255, 255, 255, 255, 255}));
}

TEST_F(Mono, TenBitsWrap) {
    EXPECT_EQ(PictureOf("ConvMono10ToBGR", 4, 1, Words({0x3FF, 0x200, 0x400, 0x004})),
              (Bytes{0xFF, 0xFF, 0xFF, 0x80, 0x80, 0x80, 0, 0, 0, 1, 1, 1}));
    EXPECT_EQ(PictureOf("ConvMono10ToBGRA", 2, 2, Words({0x3FF, 0x200, 0x400, 0x004})),
              (Bytes{0xFF, 0xFF, 0xFF, 0xFF, 0x80, 0x80, 0x80, 0xFF, 0, 0, 0, 0xFF, 1, 1, 1, 0xFF}));
}

TEST_F(Mono, TwelveAndSixteenBits) {
    EXPECT_EQ(PictureOf("ConvMono12ToBGR", 2, 1, Words({0xFFF, 0x1000})), (Bytes{0xFF, 0xFF, 0xFF, 0, 0, 0}));
    EXPECT_EQ(PictureOf("ConvMono12ToBGRA", 1, 1, Words({0xFFF})), (Bytes{0xFF, 0xFF, 0xFF, 0xFF}));
    EXPECT_EQ(PictureOf("ConvMono16ToBGR", 1, 1, Words({0x1234})), (Bytes{0x12, 0x12, 0x12}));
    EXPECT_EQ(PictureOf("ConvMono16ToBGRA", 1, 1, Words({0x1234})), (Bytes{0x12, 0x12, 0x12, 0xFF}));
}

TEST_F(Mono, WorkersTakeAnyShift) {
    EXPECT_EQ(PictureOf("ConvMonoNToBGR", 1, 1, Words({0x1234}), 0), (Bytes{0x34, 0x34, 0x34}));
    EXPECT_EQ(PictureOf("ConvMonoNToBGRA", 1, 1, Words({0x1234}), 4), (Bytes{0x23, 0x23, 0x23, 0xFF}));
    EXPECT_EQ(PictureOf("ConvMonoNToBGR", 1, 1, Words({0x1234}), 32), (Bytes{0x34, 0x34, 0x34}));
    EXPECT_EQ(PictureOf("ConvMonoNToBGR", 1, 1, Words({0x1234}), 16), (Bytes{0, 0, 0}));
    EXPECT_EQ(PictureOf("ConvMonoNToBGR", 1, 1, Words({0x1234}), 31), (Bytes{0, 0, 0}));
}

}  // namespace
