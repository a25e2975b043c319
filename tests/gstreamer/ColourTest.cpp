// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Colour properties: against the frames layer with the same settings, and against what a colour is by definition.
#include "Support.h"

#include <cmath>

using namespace GstTest;

namespace {

constexpr int kWidth = 64;
constexpr int kHeight = 48;
const InputCase kBayer12 = {"video/x-bayer,format=rggb12le", PIXEL_FORMAT_BAYER_RG12};
const InputCase kBayer8 = {"video/x-bayer,format=rggb", PIXEL_FORMAT_BAYER_RG8};

/// Samples of 12 bits in words.
Bytes Words12(uint32_t seed) {
    Bytes bytes = RandomBytes(kWidth * kHeight * 2, seed);
    for (size_t i = 1; i < bytes.size(); i += 2) {
        bytes[i] &= 15;
    }
    return bytes;
}

Bytes ConvertWith(const std::string& properties, const InputCase& input, const Bytes& frame) {
    Harness harness(("vexaconvert " + properties).c_str());
    harness.SetCaps(SizedCaps(input, kWidth, kHeight), "video/x-raw,format=BGR");
    Bytes picture = harness.Convert(BufferOf(frame));
    EXPECT_EQ(harness.Error(), "");
    return picture;
}

VcfSettings Neutral() {
    VcfSettings settings;
    VcfInitSettings(&settings);
    return settings;
}

Bytes Wanted(const InputCase& input, const Bytes& frame, const VcfSettings& settings) {
    return Expected(LayoutOf(input.code, kWidth, kHeight), frame, VCF_OUTPUT_BGR, &settings);
}

TEST(Colour, BayerMode) {
    const Bytes frame = RandomBytes(kWidth * kHeight, 1);
    VcfSettings settings = Neutral();
    settings.demosaic = VCF_DEMOSAIC_ADAPTIVE;
    EXPECT_TRUE(ConvertWith("bayer-mode=adaptive", kBayer8, frame) == Wanted(kBayer8, frame, settings));
    EXPECT_FALSE(ConvertWith("", kBayer8, frame) == Wanted(kBayer8, frame, settings));
    EXPECT_TRUE(ConvertWith("bayer-mode=adaptive n-threads=3", kBayer8, frame) == Wanted(kBayer8, frame, settings));
}

/// More than 8 bits are scaled first, as levels do it.
TEST(Colour, AdaptiveModeOfTwelveBits) {
    const Bytes frame = Words12(2);
    VcfSettings settings = Neutral();
    settings.demosaic = VCF_DEMOSAIC_ADAPTIVE;
    settings.levels = 1;
    EXPECT_TRUE(ConvertWith("bayer-mode=adaptive", kBayer12, frame) == Wanted(kBayer12, frame, settings));
}

TEST(Colour, AdaptiveModeLeavesGreyFrames) {
    const Bytes frame = RandomBytes(kWidth * kHeight, 1);
    const InputCase grey = {"video/x-raw,format=GRAY8", PIXEL_FORMAT_MONO8};
    EXPECT_TRUE(ConvertWith("bayer-mode=adaptive", grey, frame) == ConvertWith("", grey, frame));
}

TEST(Colour, GreyMosaic) {
    const Bytes frame = RandomBytes(kWidth * kHeight, 3);
    const Bytes picture = ConvertWith("grey=true", kBayer8, frame);
    ASSERT_EQ(picture.size(), frame.size() * 3);
    for (size_t i = 0; i < frame.size(); ++i) {
        ASSERT_TRUE(picture[3 * i] == frame[i] && picture[3 * i + 1] == frame[i] && picture[3 * i + 2] == frame[i]);
    }
}

TEST(Colour, GainsBlackLevelExposureAndTone) {
    const Bytes frame = Words12(4);
    VcfSettings settings = Neutral();
    settings.levels = 1;
    settings.gain[0] = VCF_ONE * 3 / 2;
    settings.gain[2] = VCF_ONE * 2;
    EXPECT_TRUE(ConvertWith("white-balance=gains red-gain=1.5 blue-gain=2", kBayer12, frame) ==
                Wanted(kBayer12, frame, settings));
    EXPECT_TRUE(ConvertWith("red-gain=1.5 blue-gain=2", kBayer12, frame) == Wanted(kBayer12, frame, Neutral()));
    settings.black_level = 256;
    settings.exposure = VCF_ONE * 5 / 4;
    settings.tone = VCF_TONE_SRGB;
    EXPECT_TRUE(ConvertWith("white-balance=gains red-gain=1.5 blue-gain=2 black-level=256 exposure=1.25 tone=srgb",
                            kBayer12, frame) == Wanted(kBayer12, frame, settings));
    settings = Neutral();
    settings.levels = 1;
    settings.tone = VCF_TONE_GAMMA;
    settings.gamma = 180;
    EXPECT_TRUE(ConvertWith("tone=gamma gamma=1.8", kBayer12, frame) == Wanted(kBayer12, frame, settings));
}

TEST(Colour, ShiftOfSamplesInTheHighBits) {
    const Bytes frame = Words12(5);
    Bytes high(frame.size());
    for (size_t i = 0; i < frame.size(); i += 2) {
        const auto word = static_cast<uint32_t>(frame[i] | frame[i + 1] << 8) << 4;
        high[i] = static_cast<uint8_t>(word);
        high[i + 1] = static_cast<uint8_t>(word >> 8);
    }
    EXPECT_TRUE(ConvertWith("shift=4", kBayer12, high) == ConvertWith("", kBayer12, frame));
}

/// A frame whose red sites hold half and whose blue sites a quarter of the green ones.
Bytes TintedFrame(int green) {
    Bytes frame;
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            const bool red = y % 2 == 0 && x % 2 == 0;
            const bool blue = y % 2 == 1 && x % 2 == 1;
            frame.push_back(static_cast<uint8_t>(red ? green / 2 : blue ? green / 4 : green));
        }
    }
    return frame;
}

TEST(Colour, AutoBalanceMakesGrey) {
    const Bytes picture = ConvertWith("white-balance=auto", kBayer8, TintedFrame(160));
    for (const uint8_t byte : picture) {
        ASSERT_NEAR(byte, 160, 1);
    }
}

/// With smoothing 0.5 the gains of a second, colourless frame are half way back.
TEST(Colour, AutoBalanceIsSmoothedOverFrames) {
    Harness harness("vexaconvert white-balance=auto wb-smoothing=0.5");
    harness.SetCaps(SizedCaps(kBayer8, kWidth, kHeight), "video/x-raw,format=RGB");
    harness.Convert(BufferOf(TintedFrame(160)));
    const Bytes second = harness.Convert(BufferOf(Bytes(kWidth * kHeight, 40)));
    ASSERT_FALSE(second.empty());
    EXPECT_NEAR(second[0], 60, 1);   // red: (2 + 1) / 2
    EXPECT_NEAR(second[1], 40, 1);   // green stays
    EXPECT_NEAR(second[2], 100, 1);  // blue: (4 + 1) / 2
    Set(harness.Element(), "wb-smoothing", "0");
    const Bytes third = harness.Convert(BufferOf(Bytes(kWidth * kHeight, 40)));
    EXPECT_NEAR(third[2], 40, 1);
}

TEST(Colour, WhiteBalanceLeavesGreyFrames) {
    const InputCase grey = {"video/x-raw,format=GRAY8", PIXEL_FORMAT_MONO8};
    const Bytes frame = TintedFrame(160);
    const Bytes picture = ConvertWith("", grey, frame);
    EXPECT_EQ(ConvertWith("white-balance=gains red-gain=2 green-gain=3 blue-gain=4", grey, frame), picture);
    EXPECT_EQ(ConvertWith("white-balance=auto", grey, frame), picture);
}

/// What the last frames of another setting or format looked like says nothing about the next one.
TEST(Colour, AutoBalanceStartsAnew) {
    Harness harness("vexaconvert white-balance=auto wb-smoothing=0.9");
    harness.SetCaps(SizedCaps(kBayer8, kWidth, kHeight), "video/x-raw,format=RGB");
    const Bytes grey(kWidth * kHeight, 40);
    const Bytes wanted(kWidth * kHeight * 3, 40);
    harness.Convert(BufferOf(TintedFrame(160)));
    Set(harness.Element(), "white-balance", "off");
    EXPECT_EQ(harness.Convert(BufferOf(grey)), wanted);
    Set(harness.Element(), "white-balance", "auto");
    EXPECT_EQ(harness.Convert(BufferOf(grey)), wanted);
    harness.Convert(BufferOf(TintedFrame(160)));
    harness.SetInput(SizedCaps({"video/x-bayer,format=bggr", PIXEL_FORMAT_BAYER_BG8}, kWidth, kHeight));
    EXPECT_EQ(harness.Convert(BufferOf(grey)), wanted);
}

/// A black frame says nothing about the light; the gains of the frame before stay.
TEST(Colour, AutoBalanceSurvivesBlackFrames) {
    Harness harness("vexaconvert white-balance=auto wb-smoothing=0");
    harness.SetCaps(SizedCaps(kBayer8, kWidth, kHeight), "video/x-raw,format=RGB");
    harness.Convert(BufferOf(TintedFrame(160)));
    EXPECT_EQ(harness.Convert(BufferOf(Bytes(kWidth * kHeight, 0))), Bytes(kWidth * kHeight * 3, 0));
    EXPECT_EQ(harness.Error(), "");
    EXPECT_NEAR(harness.Convert(BufferOf(TintedFrame(100)))[2], 100, 1);
}

Bytes Uyvy(int y, int u, int v) {
    Bytes frame;
    for (int i = 0; i < kWidth * kHeight / 2; ++i) {
        for (const int byte : {u, y, v, y}) {
            frame.push_back(static_cast<uint8_t>(byte));
        }
    }
    return frame;
}

const InputCase kUnsaid = {"video/x-raw,format=UYVY", PIXEL_FORMAT_YUV422_8_UYVY};

TEST(Colour, LimitedRangeIsNeverWashedOut) {
    const InputCase limited = {"video/x-raw,format=UYVY,colorimetry=bt601", PIXEL_FORMAT_YUV422_8_UYVY};
    const InputCase full = {"video/x-raw,format=UYVY,colorimetry=1:4:0:0", PIXEL_FORMAT_YUV422_8_UYVY};
    for (const InputCase& input : {kUnsaid, limited}) {
        EXPECT_EQ(ConvertWith("", input, Uyvy(235, 128, 128)), Bytes(kWidth * kHeight * 3, 255)) << input.caps;
        EXPECT_EQ(ConvertWith("", input, Uyvy(16, 128, 128)), Bytes(kWidth * kHeight * 3, 0)) << input.caps;
    }
    EXPECT_EQ(ConvertWith("", full, Uyvy(235, 128, 128)), Bytes(kWidth * kHeight * 3, 235));
    EXPECT_EQ(ConvertWith("yuv-range=full", limited, Uyvy(235, 128, 128)), Bytes(kWidth * kHeight * 3, 235));
    EXPECT_EQ(ConvertWith("yuv-range=limited", full, Uyvy(235, 128, 128)), Bytes(kWidth * kHeight * 3, 255));
}

/// The definition of a matrix in floating point: Kr and Kb of the standard, full range of Y, U and V.
void ExpectMatrix(const char* colorimetry, double kr, double kb) {
    const InputCase input = {colorimetry, PIXEL_FORMAT_YUV422_8_UYVY};
    for (const auto& [y, u, v] : {std::tuple{120, 128, 128}, {120, 140, 110}, {90, 110, 150}, {160, 150, 120}}) {
        const Bytes picture = ConvertWith("", input, Uyvy(y, u, v));
        const double blue = y + 2 * (1 - kb) * (u - 128);
        const double red = y + 2 * (1 - kr) * (v - 128);
        const double green = (y - kr * red - kb * blue) / (1 - kr - kb);
        EXPECT_NEAR(picture[0], blue, 2) << colorimetry;
        EXPECT_NEAR(picture[1], green, 2) << colorimetry;
        EXPECT_NEAR(picture[2], red, 2) << colorimetry;
    }
}

TEST(Colour, MatricesOfYuv) {
    ExpectMatrix("video/x-raw,format=UYVY,colorimetry=1:4:0:0", 0.299, 0.114);
    ExpectMatrix("video/x-raw,format=UYVY,colorimetry=1:3:0:0", 0.2126, 0.0722);
    ExpectMatrix("video/x-raw,format=UYVY,colorimetry=1:6:0:0", 0.2627, 0.0593);
    ExpectMatrix("video/x-raw,format=UYVY,colorimetry=1:2:0:0", 0.30, 0.11);
}

}  // namespace
