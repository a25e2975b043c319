// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The ACPI demosaic: a worked border picture, flat frames, directions, limits, and each departure of a single phase
// under the name of what it does.
#include <string>

#include "Patterns.h"
#include "Picture.h"

namespace {

/// A frame with a known random content.
struct Frame {
    uint32_t width;
    uint32_t height;
    Bytes samples;

    Frame(uint32_t w, uint32_t h, uint64_t seed = 3) : width(w), height(h), samples(size_t{w} * h) {
        Reference::FillPattern(samples.data(), samples.size(), w, 1, 8, Reference::Pattern::kRandom, seed);
    }
    uint8_t& At(uint32_t r, uint32_t c) { return samples[size_t{r} * width + c]; }
    Bytes Convert(const std::string& phase) const {
        Bytes bgra = PictureOf("ConvByr" + phase + "8ToBGRAACPI", width, height, samples);
        Bytes bgr = PictureOf("ConvByr" + phase + "8ToBGRACPI", width, height, samples);
        Bytes colours = WithoutAlpha(bgra);
        if (phase == "BG" && height >= 2) {
            // The one byte in which the two layouts differ.
            const size_t red = (size_t{2} * width - 1) * 3 + 2;
            EXPECT_EQ(colours[red], 0x55);
            EXPECT_EQ(bgr[red], samples[size_t{2} * width - 1]);
            colours[red] = bgr[red];
        }
        EXPECT_EQ(colours, bgr) << phase;
        return bgra;
    }
};

TEST(Acpi, AFrameOfFourByFourIsAllBorder) {
    const Bytes frame = {10, 20, 30, 40, 50, 60, 70, 80, 90, 100, 110, 120, 130, 140, 150, 161};
    const Bytes expected = {
        50,  10,  20,  255, 60,  20,  20,  255, 70,  30,  30,  255, 70,  55,  40,  255,  // row 0
        50,  50,  60,  255, 60,  60,  60,  255, 70,  70,  70,  255, 70,  80,  80,  255,  // row 1
        90,  90,  100, 255, 100, 100, 100, 255, 110, 110, 110, 255, 110, 120, 120, 255,  // row 2
        130, 115, 100, 255, 140, 140, 100, 255, 150, 150, 110, 255, 150, 161, 120, 255,  // row 3
    };
    EXPECT_EQ(PictureOf("ConvByrGR8ToBGRAACPI", 4, 4, frame), expected);
    EXPECT_EQ(PictureOf("ConvByrGR8ToBGRACPI", 4, 4, frame), WithoutAlpha(expected));
}

TEST(Acpi, FlatFramesStayFlat) {
    for (const std::string phase : {"GR", "RG", "GB", "BG"}) {
        for (const uint8_t value : {uint8_t{0}, uint8_t{100}, uint8_t{255}}) {
            const Bytes frame(12 * 10, value);
            Bytes expected = Times(12 * 10, {value, value, value, 255});
            if (phase == "BG") {
                expected[(12 + 11) * 4 + 2] = 0x55;
            }
            EXPECT_EQ(PictureOf("ConvByr" + phase + "8ToBGRAACPI", 12, 10, frame), expected) << phase;
            EXPECT_EQ(PictureOf("ConvByr" + phase + "8ToBGRACPI", 12, 10, frame), Bytes(12 * 10 * 3, value)) << phase;
        }
    }
}

/// A flat GR frame of `value` with the cross around the red site (4, 5) set: greens beside and above and below it,
/// reds two away.
struct Cross {
    Frame frame{12, 12};
    Cross(uint8_t value, uint8_t own) {
        std::fill(frame.samples.begin(), frame.samples.end(), value);
        frame.At(4, 5) = own;
    }
    uint8_t Green() { return PixelAt(frame.Convert("GR"), 12, 4, 5)[1]; }
};

TEST(Acpi, GreenFollowsTheSmallerGradient) {
    Cross horizontal(100, 100);
    horizontal.frame.At(3, 5) = 200;  // above
    horizontal.frame.At(5, 5) = 10;   // below: the vertical gradient is 190
    horizontal.frame.At(4, 4) = 60;
    horizontal.frame.At(4, 6) = 70;
    horizontal.frame.At(4, 3) = 90;  // second difference 2 * 100 - 90 - 100 = 10
    EXPECT_EQ(horizontal.Green(), (2 * (60 + 70) + 10) / 4);
    Cross vertical(100, 100);
    vertical.frame.At(4, 4) = 200;
    vertical.frame.At(4, 6) = 10;
    vertical.frame.At(3, 5) = 60;
    vertical.frame.At(5, 5) = 70;
    vertical.frame.At(2, 5) = 90;
    EXPECT_EQ(vertical.Green(), (2 * (60 + 70) + 10) / 4);
    Cross tie(100, 110);  // both second differences 20
    tie.frame.At(4, 4) = 60;
    tie.frame.At(3, 5) = 60;
    EXPECT_EQ(tie.Green(), (2 * (60 + 100 + 60 + 100) + 40) / 8);
}

TEST(Acpi, GreenIsLimited) {
    Cross low(255, 0);
    for (const auto& [r, c] : {std::pair{3u, 5u}, {5u, 5u}, {4u, 4u}, {4u, 6u}}) {
        low.frame.At(r, c) = 100;
    }
    EXPECT_EQ(low.Green(), 0);  // (800 - 1020) / 8 is negative
    Cross high(0, 255);
    for (const auto& [r, c] : {std::pair{3u, 5u}, {5u, 5u}, {4u, 4u}, {4u, 6u}}) {
        high.frame.At(r, c) = 200;
    }
    EXPECT_EQ(high.Green(), 255);  // (1600 + 1020) / 8
}

/// A frame whose red site (4, 4) in phase RG has equally good diagonals. `inner` are the four greens around it,
/// `outer` the greens further out beside and above the diagonal blue sites.
Frame Tie(uint8_t own, uint8_t reds, uint8_t blues, uint8_t inner, uint8_t outer) {
    Frame frame(10, 10);
    for (uint32_t r = 0; r < 10; ++r) {
        for (uint32_t c = 0; c < 10; ++c) {
            const bool green = (r + c) % 2 != 0;
            frame.At(r, c) = green ? outer : r % 2 == 0 ? reds : blues;
        }
    }
    frame.At(4, 4) = own;
    for (const auto& [r, c] : {std::pair{3u, 4u}, {5u, 4u}, {4u, 3u}, {4u, 5u}}) {
        frame.At(r, c) = inner;
    }
    return frame;
}

TEST(Acpi, BlueTiesOfRGWrapBelowZero) {
    // Green at (4, 4) is limited to 0 and 136 at the diagonals; the blues are 0: -544 / 8 + 0.5 is -67.5, so -67.
    const Frame frame = Tie(0, 255, 0, 100, 172);
    const Bytes rg = frame.Convert("RG");
    EXPECT_EQ(PixelAt(rg, 10, 4, 4), (Bytes{189, 0, 0, 255}));
    EXPECT_EQ(PixelAt(rg, 10, 3, 3)[1], 136);
    // In phase BG the same site is blue and its red is limited.
    EXPECT_EQ(PixelAt(frame.Convert("BG"), 10, 4, 4), (Bytes{0, 0, 0, 255}));
}

TEST(Acpi, BlueTiesOfRGWrapAbove255) {
    // Green at (4, 4) is limited to 255 and 64 at the diagonals; the blues are 255: 255 + 764 / 8 + 0.5 is 351.
    const Frame frame = Tie(255, 0, 255, 128, 0);
    const Bytes rg = frame.Convert("RG");
    EXPECT_EQ(PixelAt(rg, 10, 3, 3)[1], 64);
    EXPECT_EQ(PixelAt(rg, 10, 4, 4), (Bytes{351 - 256, 255, 255, 255}));
    EXPECT_EQ(PixelAt(frame.Convert("BG"), 10, 4, 4), (Bytes{255, 255, 255, 255}));
}

TEST(Acpi, LeftColumnBlueOfRGIsAMeanOfGreens) {
    Frame frame(8, 10);
    const Bytes picture = frame.Convert("RG");
    for (const uint32_t r : {2u, 4u, 6u}) {
        EXPECT_EQ(PixelAt(picture, 8, r, 0)[0], (frame.At(r - 1, 0) + frame.At(r + 1, 0)) / 2) << r;
    }
    EXPECT_EQ(PixelAt(picture, 8, 8, 0)[0], (frame.At(7, 1) + frame.At(9, 1)) / 2);
    EXPECT_EQ(PixelAt(picture, 8, 0, 0)[0], frame.At(1, 1));
    // Not so in the other phases: the left column of BG is blue at these rows, its red the mean of the diagonals.
    EXPECT_EQ(PixelAt(frame.Convert("BG"), 8, 4, 0)[2], (frame.At(3, 1) + frame.At(5, 1)) / 2);
}

TEST(Acpi, RightColumnBlueOfGRIsAMeanOfGreens) {
    Frame frame(8, 10);
    const Bytes picture = frame.Convert("GR");
    for (const uint32_t r : {2u, 4u, 6u}) {
        EXPECT_EQ(PixelAt(picture, 8, r, 7)[0], (frame.At(r - 1, 7) + frame.At(r + 1, 7)) / 2) << r;
    }
    EXPECT_EQ(PixelAt(picture, 8, 8, 7)[0], (frame.At(7, 6) + frame.At(9, 6)) / 2);
    EXPECT_EQ(PixelAt(picture, 8, 0, 7)[0], frame.At(1, 6));
    EXPECT_EQ(PixelAt(frame.Convert("GB"), 8, 4, 7)[2], (frame.At(3, 6) + frame.At(5, 6)) / 2);
}

TEST(Acpi, RightColumnGreenOfBGIsAMeanOfThree) {
    Frame frame(8, 10);
    const Bytes picture = frame.Convert("BG");
    for (const uint32_t r : {3u, 5u, 7u}) {
        EXPECT_EQ(PixelAt(picture, 8, r, 7)[1], (frame.At(r - 1, 7) + frame.At(r + 1, 7) + frame.At(r, 6)) / 3) << r;
    }
    EXPECT_EQ(PixelAt(picture, 8, 1, 7)[1], (frame.At(0, 7) + frame.At(2, 7)) / 2);
    EXPECT_EQ(PixelAt(picture, 8, 9, 7)[1], (frame.At(8, 7) + frame.At(9, 6)) / 2);
    EXPECT_EQ(PixelAt(frame.Convert("RG"), 8, 3, 7)[1], (frame.At(2, 7) + frame.At(4, 7)) / 2);
}

TEST(Acpi, BgraOfBGLeavesTheRedOfTheSecondRowsEnd) {
    const Frame frame(8, 6);
    const Bytes picture = frame.Convert("BG");
    EXPECT_EQ(PixelAt(picture, 8, 1, 7)[2], 0x55);
    EXPECT_EQ(PixelAt(picture, 8, 1, 7)[3], 255);
    EXPECT_EQ(PixelAt(frame.Convert("GB"), 8, 1, 7)[3], 255);
}

TEST(Acpi, AnOddHeightLeavesTheLastRow) {
    for (const std::string phase : {"GR", "RG", "GB", "BG"}) {
        for (const uint32_t height : {5u, 9u, 11u}) {
            const Frame odd(10, height);
            Frame even = odd;
            even.height -= 1;
            even.samples.resize(size_t{10} * even.height);
            Bytes expected = even.Convert(phase);
            expected.resize(size_t{10} * height * 4, 0x55);
            EXPECT_EQ(odd.Convert(phase), expected) << phase;
        }
    }
}

TEST(Acpi, TwoColumnsByFourRows) {
    const Bytes picture = PictureOf("ConvByrGR8ToBGRAACPI", 2, 4, {10, 20, 30, 40, 50, 60, 70, 81});
    EXPECT_EQ(picture, (Bytes{30, 10, 20, 255, 30, 25, 20, 255,     // corner green: (10 + 40) / 2
                              30, 30, 40, 255, 30, 40, 40, 255,     // blue site: (10 + 50) / 2; red (20 + 60) / 2
                              50, 50, 60, 255, 50, 60, 60, 255,     // red site: (40 + 81) / 2; blue (30 + 70) / 2
                              70, 65, 60, 255, 70, 81, 60, 255}));  // corner green: (50 + 81) / 2
}

TEST(Acpi, FramesWiderThanAStripHaveNoSeams) {
    // Strips begin at columns 2, 4098 and 8194; the last of them may hold as little as one column.
    for (const std::string phase : {"GR", "RG", "GB", "BG"}) {
        for (const uint32_t width : {4100u, 4101u, 4102u, 4104u, 8195u, 8197u, 8198u}) {
            const Frame frame(width, 6, width);
            PictureOf("ConvByr" + phase + "8ToBGRAACPI", width, 6, frame.samples);
            PictureOf("ConvByr" + phase + "8ToBGRACPI", width, 6, frame.samples);
        }
    }
}

TEST(Acpi, TablesAndModeDoNotMatter) {
    const Frame frame(8, 8);
    const Bytes before = frame.Convert("RG");
    SetBayerConvMode(BAYER_CONV_MODE_ACPI);
    EXPECT_EQ(frame.Convert("RG"), before);
    SetBayerConvMode(BAYER_CONV_MODE_DEFAULT);
}

TEST(Acpi, ThePatternsReachTheWrap) {
    // A check of the test frames: the other suites have to meet wrapped ties of both signs.
    uint32_t wrapped = 0;
    for (uint64_t seed = 0; seed < 8; ++seed) {
        Bytes frame(66 * 66);
        Reference::FillPattern(frame.data(), frame.size(), 66, 1, 8, Reference::Pattern::kTwoValues, seed);
        const Bytes picture = PictureOf("ConvByrRG8ToBGRAACPI", 66, 66, frame);
        for (uint32_t r = 2; r < 64; r += 2) {
            for (uint32_t c = 2; c < 64; c += 2) {
                const uint8_t blues[] = {frame[(r - 1) * 66 + c - 1], frame[(r - 1) * 66 + c + 1],
                                         frame[(r + 1) * 66 + c - 1], frame[(r + 1) * 66 + c + 1]};
                const int sum = blues[0] + blues[1] + blues[2] + blues[3];
                const int blue = PixelAt(picture, 66, r, c)[0];
                wrapped += (sum == 0 && blue > 150) || (sum == 1020 && blue < 100) ? 1u : 0u;
            }
        }
    }
    EXPECT_GT(wrapped, 20u);
}

}  // namespace
