// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Levels in every value and tone, and white balance, against floating point and plain sums.
#include <algorithm>
#include <cfenv>
#include <cmath>

#include "FramesTest.h"

namespace {

using Reference::Random;

/// The byte of a sample by way of a grey picture of one pixel row that holds every sample.
std::vector<uint8_t> ThroughConverter(const VcfLayout& layout, const std::vector<uint8_t>& buffer,
                                      const VcfSettings& settings) {
    VcfConverter* made = nullptr;
    EXPECT_EQ(VcfCreateConverter(&made, &layout, VCF_OUTPUT_GREY8, &settings, nullptr, 0), VCF_OK);
    const Converter converter(made);
    std::vector<uint8_t> grey(size_t{layout.width} * layout.height);
    EXPECT_EQ(VcfConvert(made, buffer.data(), buffer.size(), grey.data(), 0, nullptr, 0), VCF_OK);
    return grey;
}

void CompareEverySample(PixelFormat code, const VcfSettings& settings) {
    const VcfFormat& format = *VcfFindFormat(code);
    const uint32_t count = 1u << format.depth;
    const VcfLayout layout = LayoutOf(code, count, 1);
    std::vector<uint8_t> buffer;
    for (uint32_t sample = 0; sample < count; ++sample) {
        buffer.push_back(static_cast<uint8_t>(sample));
        if (format.depth > 8) {
            buffer.push_back(static_cast<uint8_t>(sample >> 8));
        }
    }
    const std::vector<uint8_t> found = ThroughConverter(layout, buffer, settings);
    for (uint32_t sample = 0; sample < count; ++sample) {
        ASSERT_EQ(found[sample], FramesModel::Level(settings, format, sample, 3))
            << format.name << " sample " << sample << " tone " << settings.tone << " gamma " << settings.gamma;
    }
}

TEST(Levels, EverySampleOfEveryDepthAndTone) {
    Random random(21);
    for (const PixelFormat code :
         {PIXEL_FORMAT_MONO8, PIXEL_FORMAT_MONO10, PIXEL_FORMAT_MONO12, PIXEL_FORMAT_MONO14, PIXEL_FORMAT_MONO16}) {
        const uint32_t depth = VcfFindFormat(code)->depth;
        for (const uint32_t tone : {VCF_TONE_LINEAR, VCF_TONE_GAMMA, VCF_TONE_SRGB}) {
            for (uint32_t round = 0; round < 3; ++round) {
                VcfSettings settings = DefaultSettings();
                settings.levels = 1;
                settings.tone = tone;
                if (round > 0) {
                    settings.black_level = random.Below((1u << depth) - 4);
                    settings.exposure = random.Below(16 * VCF_ONE + 1);
                    settings.gamma = 10 + random.Below(991);
                }
                CompareEverySample(code, settings);
            }
        }
    }
}

TEST(Levels, WithoutChangeAreTheIdentityOfBytes) {
    VcfSettings settings = DefaultSettings();
    settings.levels = 1;
    for (uint32_t sample = 0; sample < 256; ++sample) {
        EXPECT_EQ(FramesModel::Level(settings, *VcfFindFormat(PIXEL_FORMAT_BAYER_RG8), sample, 0), sample);
    }
    CompareEverySample(PIXEL_FORMAT_MONO8, settings);
}

/// The thresholds between values are powers; none of them may lie so near to an integer that the error of pow()
/// decides.
TEST(Levels, NoGammaHasAThresholdNearAnInteger) {
    long double nearest = 1;
    for (uint32_t gamma = 10; gamma <= 1000; ++gamma) {
        for (uint32_t value = 1; value < 256; ++value) {
            const long double x = 65535.0L * std::pow((2.0L * value - 1) / 510, gamma / 100.0L);
            const long double distance = x < 0.5L ? x * 1e9L : std::fabs(x - std::round(x));
            nearest = std::min(nearest, distance / std::max(1.0L, x));
        }
    }
    for (uint32_t value = 11; value < 256; ++value) {
        const long double x = 65535.0L * std::pow(((2.0L * value - 1) / 510 + 0.055L) / 1.055L, 2.4L);
        nearest = std::min(nearest, std::fabs(x - std::round(x)) / x);
    }
    // pow() rounds by less than 3e-16 of its value; its rounded arguments add 72 times as much at most.
    EXPECT_GT(nearest, 2e-14L);
}

TEST(Levels, DoNotDependOnTheRoundingMode) {
    VcfSettings settings = DefaultSettings();
    settings.levels = 1;
    for (const int mode : {FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
        for (const uint32_t tone : {VCF_TONE_GAMMA, VCF_TONE_SRGB}) {
            settings.tone = tone;
            const VcfLayout layout = LayoutOf(PIXEL_FORMAT_MONO12, 4096, 1);
            std::vector<uint8_t> buffer;
            for (uint32_t sample = 0; sample < 4096; ++sample) {
                buffer.push_back(static_cast<uint8_t>(sample));
                buffer.push_back(static_cast<uint8_t>(sample >> 8));
            }
            const std::vector<uint8_t> usual = ThroughConverter(layout, buffer, settings);
            std::fesetround(mode);
            const std::vector<uint8_t> rounded = ThroughConverter(layout, buffer, settings);
            std::fesetround(FE_TONEAREST);
            EXPECT_EQ(usual, rounded);
        }
    }
}

VcfBalance Expected(const FramesModel::Frame& frame, uint32_t black, uint32_t step) {
    VcfBalance balance = {};
    const uint32_t w = (1u << frame.format->depth) - 1;
    const bool mosaic = frame.format->kind == VCF_KIND_BAYER;
    const uint32_t size = mosaic ? 2 : 1;
    const char* const cells[5] = {"", "GRBG", "RGGB", "GBRG", "BGGR"};
    for (uint32_t row = 0; row < frame.layout.height / size; row += step) {
        for (uint32_t column = 0; column < frame.layout.width / size; column += step) {
            uint64_t sums[3] = {};
            bool clipped = false;
            for (uint32_t k = 0; k < (mosaic ? 4 : 3); ++k) {
                const uint32_t sample =
                    mosaic ? frame.Sample(2 * row + k / 2, 2 * column + k % 2) : frame.Sample(row, column, k);
                const char letter = mosaic ? cells[frame.format->phase][k] : frame.format->name[k];
                const uint32_t channel = letter == 'R' ? 0 : letter == 'G' ? 1 : 2;
                clipped = clipped || sample >= w - w / 64;
                const uint64_t above = sample > black ? sample - black : 0;
                sums[channel] += !mosaic && channel == 1 ? 2 * above : above;
            }
            clipped ? ++balance.clipped : ++balance.used;
            for (uint32_t c = 0; c < 3 && !clipped; ++c) {
                balance.sum[c] += sums[c];
            }
        }
    }
    const uint64_t sums[3] = {balance.sum[0], balance.sum[1] / 2, balance.sum[2]};
    for (uint32_t c = 0; c < 3; ++c) {
        const uint64_t gain = (*std::max_element(sums, sums + 3) * 65536 + sums[c] / 2) / sums[c];
        balance.gain[c] = static_cast<uint32_t>(std::min<uint64_t>(gain, 16 * 65536));
    }
    return balance;
}

TEST(Balance, IsTheGreyWorldOfUnclippedCells) {
    Random random(22);
    for (uint32_t i = 0; i < VcfFormatCount(); ++i) {
        const VcfFormat& format = *VcfFormatAt(i);
        if (format.kind != VCF_KIND_BAYER && format.kind != VCF_KIND_COLOUR) {
            continue;
        }
        for (const uint32_t step : {1u, 3u}) {
            VcfLayout layout = LayoutOf(format.format, 31 + random.Below(3000), 8 + random.Below(5));
            layout.stride = VcfRowBytes(&layout) + 3;
            const FramesModel::Frame frame = FramesModel::MakeFrame(layout, random);
            std::vector<uint8_t> buffer(FramesModel::Length(frame));
            FramesModel::Write(frame, buffer.data());
            const uint32_t black = random.Below(1u << (format.depth - 2));
            VcfBalance found;
            ASSERT_EQ(VcfEstimateBalance(&layout, buffer.data(), buffer.size(), black, step, &found, nullptr, 0),
                      VCF_OK);
            const VcfBalance expected = Expected(frame, black, step);
            EXPECT_EQ(found.used, expected.used) << FramesModel::Describe(layout);
            EXPECT_EQ(found.clipped, expected.clipped);
            for (uint32_t c = 0; c < 3; ++c) {
                EXPECT_EQ(found.sum[c], expected.sum[c]) << format.name << " " << c;
                EXPECT_EQ(found.gain[c], expected.gain[c]);
            }
            EXPECT_EQ(*std::min_element(found.gain, found.gain + 3), VCF_ONE);
        }
    }
}

/// Steps that are longer than the pieces in which a row is read: cells 0, 600 and 1200, pixels 0 .. 2400.
TEST(Balance, TakesLongSteps) {
    std::vector<uint8_t> buffer(size_t{3000} * 3);
    const VcfLayout mosaic = LayoutOf(PIXEL_FORMAT_BAYER_RG8, 3000, 2);
    const VcfLayout colour = LayoutOf(PIXEL_FORMAT_BGR8, 3000, 1);
    VcfBalance balance;
    for (const uint32_t cell : {0u, 600u, 1200u}) {
        buffer[size_t{2} * cell] = 40;
        buffer[size_t{2} * cell + 1] = 80;
        buffer[3000 + size_t{2} * cell] = 80;
        buffer[3000 + size_t{2} * cell + 1] = 20;
    }
    ASSERT_EQ(VcfEstimateBalance(&mosaic, buffer.data(), 6000, 0, 600, &balance, nullptr, 0), VCF_OK);
    EXPECT_EQ(balance.used, 3u);
    EXPECT_EQ(balance.sum[0], 120u);
    EXPECT_EQ(balance.sum[1], 480u);
    EXPECT_EQ(balance.sum[2], 60u);
    std::fill(buffer.begin(), buffer.end(), uint8_t{0});
    for (size_t pixel = 0; pixel < 3000; pixel += 600) {
        buffer[3 * pixel] = 20;
        buffer[3 * pixel + 1] = 80;
        buffer[3 * pixel + 2] = 40;
    }
    ASSERT_EQ(VcfEstimateBalance(&colour, buffer.data(), 9000, 0, 600, &balance, nullptr, 0), VCF_OK);
    EXPECT_EQ(balance.used, 5u);
    EXPECT_EQ(balance.sum[0], 200u);
    EXPECT_EQ(balance.sum[1], 800u);
    EXPECT_EQ(balance.sum[2], 100u);
    EXPECT_EQ(balance.gain[2], 4 * VCF_ONE);
}

TEST(Balance, SaysWhenThereIsNothingToSee) {
    VcfBalance balance;
    char text[VCF_TEXT_BYTES];
    std::vector<uint8_t> buffer(64, 255);
    const VcfLayout layout = LayoutOf(PIXEL_FORMAT_BAYER_RG8, 8, 8);
    EXPECT_EQ(VcfEstimateBalance(&layout, buffer.data(), 64, 0, 1, &balance, text, sizeof text), VCF_NO_ESTIMATE);
    EXPECT_STREQ(text, "no estimate: every sample is clipped");
    EXPECT_EQ(balance.gain[0], VCF_ONE);
    EXPECT_EQ(balance.clipped, 16u);
    std::fill(buffer.begin(), buffer.end(), uint8_t{9});
    EXPECT_EQ(VcfEstimateBalance(&layout, buffer.data(), 64, 9, 1, &balance, text, sizeof text), VCF_NO_ESTIMATE);
    EXPECT_EQ(VcfEstimateBalance(&layout, buffer.data(), 64, 8, 1, &balance, text, sizeof text), VCF_OK);
    EXPECT_EQ(VcfEstimateBalance(&layout, buffer.data(), 63, 8, 1, &balance, text, sizeof text), VCF_TOO_SHORT);
    EXPECT_EQ(VcfEstimateBalance(&layout, buffer.data(), 64, 8, 0, &balance, nullptr, 0), VCF_INVALID_ARGUMENT);
    EXPECT_EQ(VcfEstimateBalance(&layout, nullptr, 64, 8, 1, &balance, nullptr, 0), VCF_INVALID_ARGUMENT);
    EXPECT_EQ(VcfEstimateBalance(&layout, buffer.data(), 64, 8, 1, nullptr, nullptr, 0), VCF_INVALID_ARGUMENT);
    for (const PixelFormat other : {PIXEL_FORMAT_MONO8, PIXEL_FORMAT_YUV422_8}) {
        const VcfLayout grey = LayoutOf(other, 4, 4);
        EXPECT_EQ(VcfEstimateBalance(&grey, buffer.data(), 64, 8, 1, &balance, nullptr, 0), VCF_UNSUPPORTED);
    }
    const VcfLayout row = LayoutOf(PIXEL_FORMAT_BAYER_RG8, 8, 1);
    EXPECT_EQ(VcfEstimateBalance(&row, buffer.data(), 64, 8, 1, &balance, nullptr, 0), VCF_UNSUPPORTED);
    const VcfLayout column = LayoutOf(PIXEL_FORMAT_BAYER_RG8, 1, 8);
    EXPECT_EQ(VcfEstimateBalance(&column, buffer.data(), 64, 8, 1, &balance, nullptr, 0), VCF_UNSUPPORTED);
    EXPECT_EQ(VcfEstimateBalance(nullptr, buffer.data(), 64, 8, 1, &balance, nullptr, 0), VCF_INVALID_ARGUMENT);
    for (uint32_t dark = 0; dark < 3; ++dark) {  // nothing above black in one colour
        const uint8_t cell[4] = {static_cast<uint8_t>(dark == 0 ? 0 : 50), static_cast<uint8_t>(dark == 1 ? 0 : 50),
                                 static_cast<uint8_t>(dark == 1 ? 0 : 50), static_cast<uint8_t>(dark == 2 ? 0 : 50)};
        for (size_t i = 0; i < 64; ++i) {
            buffer[i] = cell[i / 8 % 2 * 2 + i % 2];
        }
        EXPECT_EQ(VcfEstimateBalance(&layout, buffer.data(), 64, 0, 1, &balance, text, sizeof text), VCF_NO_ESTIMATE);
        EXPECT_STREQ(text, "no estimate: a colour has nothing above black");
    }
}

}  // namespace
