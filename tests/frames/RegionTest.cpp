// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Regions of frames, and the phase that a mosaic has after a region or a reversal.
#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <map>

#include "FramesTest.h"

namespace {

using Reference::Random;
using testing::HasSubstr;

TEST(Regions, HoldTheSamplesOfThatPart) {
    Random random(12);
    for (uint32_t i = 0; i < VcfFormatCount(); ++i) {
        const VcfFormat& format = *VcfFormatAt(i);
        for (uint32_t round = 0; round < 12; ++round) {
            const uint32_t unit = format.kind == VCF_KIND_YUV ? format.group_pixels : 2;
            VcfLayout layout = LayoutOf(format.format, unit * (4 + random.Below(6)), 8);
            if (round % 2 == 0) {
                layout.stride = VcfRowBytes(&layout) + random.Below(9);
            }
            const FramesModel::Frame frame = FramesModel::MakeFrame(layout, random);
            std::vector<uint8_t> buffer(FramesModel::Length(frame));
            FramesModel::Write(frame, buffer.data());
            const uint32_t x = random.Below(3) * unit;
            const uint32_t y = random.Below(3) * 2;
            VcfLayout region;
            ASSERT_EQ(VcfCutRegion(&layout, x, y, unit, 3, &region, nullptr, 0), VCF_OK);
            EXPECT_EQ(region.format, layout.format);
            EXPECT_LE(VcfBytesNeeded(&region), buffer.size());
            VcfLayout again;  // a region of a region
            ASSERT_EQ(VcfCutRegion(&region, 0, 2, unit, 1, &again, nullptr, 0), VCF_OK);
            if (format.kind == VCF_KIND_YUV) {
                continue;  // their samples are looked at through conversion below
            }
            std::vector<uint8_t> words(size_t{unit} * 3 * frame.channels * 2);
            ASSERT_EQ(VcfUnpack(&region, buffer.data(), buffer.size(), words.data(), 0, 2, nullptr, 0), VCF_OK);
            std::vector<uint8_t> last(size_t{unit} * frame.channels * 2);
            ASSERT_EQ(VcfUnpack(&again, buffer.data(), buffer.size(), last.data(), 0, 2, nullptr, 0), VCF_OK);
            for (uint32_t k = 0; k < unit * 3 * frame.channels; ++k) {
                const uint32_t pixel = k / frame.channels;
                const uint32_t expected = frame.Sample(y + pixel / unit, x + pixel % unit, k % frame.channels);
                ASSERT_EQ(words[2 * k] | words[2 * k + 1] << 8, static_cast<int>(expected))
                    << FramesModel::Describe(region);
            }
            EXPECT_TRUE(std::equal(last.begin(), last.end(), words.end() - static_cast<ptrdiff_t>(last.size())));
        }
    }
}

/// Rows of CSI-2 begin with whole groups, so a frame cannot go on in the next one.
TEST(Regions, OfCsi2LieInsideARow) {
    VcfLayout layout = LayoutOf(PIXEL_FORMAT_MONO12_CSI2, 4, 8);
    layout.row_width = 10;
    layout.skip = 26;  // row 2, column 6
    char text[VCF_TEXT_BYTES];
    ASSERT_EQ(VcfCheckLayout(&layout, text, sizeof text), VCF_OK) << text;
    VcfLayout region;
    ASSERT_EQ(VcfCutRegion(&layout, 2, 2, 2, 6, &region, text, sizeof text), VCF_OK) << text;
    EXPECT_EQ(VcfBytesNeeded(&region), VcfBytesNeeded(&layout));
    layout.skip = 27;
    EXPECT_EQ(VcfCheckLayout(&layout, text, sizeof text), VCF_BAD_LAYOUT);
    EXPECT_THAT(text, HasSubstr("cannot hold 4 pixels from pixel 7 on"));
    EXPECT_EQ(VcfBytesNeeded(&layout), 0u);
    layout = LayoutOf(PIXEL_FORMAT_MONO12_CSI2, 4, 1);
    layout.row_width = 715827882;
    EXPECT_EQ(VcfCheckLayout(&layout, nullptr, 0), VCF_OK);
    layout.row_width = 715827884;  // 2^30 + 2 bytes
    EXPECT_EQ(VcfCheckLayout(&layout, nullptr, 0), VCF_BAD_LAYOUT);
}

TEST(Regions, MistakesAreNamed) {
    const VcfLayout layout = LayoutOf(PIXEL_FORMAT_BAYER_RG8, 16, 16);
    VcfLayout region;
    char text[VCF_TEXT_BYTES];
    EXPECT_EQ(VcfCutRegion(&layout, 1, 0, 4, 4, &region, text, sizeof text), VCF_BAD_REGION);
    EXPECT_THAT(text, HasSubstr("even"));
    EXPECT_EQ(VcfCutRegion(&layout, 0, 3, 4, 4, &region, text, sizeof text), VCF_BAD_REGION);
    for (const auto& wrong : {std::array{0u, 0u, 17u, 1u},
                              {0u, 0u, 1u, 17u},
                              {14u, 0u, 4u, 1u},
                              {0u, 0u, 0u, 1u},
                              {0u, 0u, 1u, 0u},
                              {UINT32_MAX - 1, 0u, 2u, 1u}}) {
        EXPECT_EQ(VcfCutRegion(&layout, wrong[0], wrong[1], wrong[2], wrong[3], &region, text, sizeof text),
                  VCF_BAD_REGION);
        EXPECT_THAT(text, HasSubstr("not inside"));
    }
    EXPECT_EQ(VcfCutRegion(&layout, 0, 0, 4, 4, nullptr, nullptr, 0), VCF_INVALID_ARGUMENT);
    const VcfLayout yuv = LayoutOf(PIXEL_FORMAT_YUV422_8_UYVY, 16, 16);
    EXPECT_EQ(VcfCutRegion(&yuv, 1, 0, 4, 4, &region, text, sizeof text), VCF_BAD_REGION);
    EXPECT_EQ(VcfCutRegion(&yuv, 2, 0, 3, 4, &region, text, sizeof text), VCF_BAD_REGION);
    EXPECT_THAT(text, HasSubstr("chroma"));
    EXPECT_EQ(VcfCutRegion(&yuv, 2, 1, 4, 4, &region, text, sizeof text), VCF_OK);
    const VcfLayout flowing = LayoutOf(PIXEL_FORMAT_YUV422_8_UYVY, 15, 16);
    EXPECT_EQ(VcfCutRegion(&flowing, 2, 0, 4, 4, &region, text, sizeof text), VCF_BAD_REGION);
    EXPECT_EQ(VcfCutRegion(nullptr, 0, 0, 4, 4, &region, text, sizeof text), VCF_INVALID_ARGUMENT);
}

TEST(Phases, FollowRegionsAndReversals) {
    // Letters of a mosaic whose sample (row, column) has the colour of its place.
    const std::map<std::string, uint32_t> phases = {
        {"GR", VCF_PHASE_GR}, {"RG", VCF_PHASE_RG}, {"GB", VCF_PHASE_GB}, {"BG", VCF_PHASE_BG}};
    for (uint32_t i = 0; i < VcfFormatCount(); ++i) {
        const VcfFormat& format = *VcfFormatAt(i);
        for (uint32_t x = 0; x < 4; ++x) {
            for (uint32_t y = 0; y < 4; ++y) {
                const PixelFormat after = VcfFormatAfterRegion(format.format, x, y);
                if (format.kind != VCF_KIND_BAYER) {
                    EXPECT_EQ(after, format.format);
                    continue;
                }
                const char* const rows[5][2] = {{}, {"GR", "BG"}, {"RG", "GB"}, {"GB", "RG"}, {"BG", "GR"}};
                const auto letter = [&](uint32_t row, uint32_t column) {
                    return rows[format.phase][row % 2][column % 2];
                };
                const std::string first = {letter(y, x), letter(y, x + 1)};
                const VcfFormat* found = VcfFindFormat(after);
                EXPECT_EQ(found->phase, phases.at(first));
                EXPECT_EQ(found->depth, format.depth);
                EXPECT_EQ(found->packing, format.packing);
                // Reversal: the last columns come first.
                const uint32_t w = 4 + x;
                const uint32_t h = 4 + y;
                const std::string mirrored = {letter(0, w - 1), letter(0, w - 2)};
                EXPECT_EQ(VcfFindFormat(VcfFormatAfterReversal(format.format, w, h, 1, 0))->phase, phases.at(mirrored));
                const std::string turned = {letter(h - 1, w - 1), letter(h - 1, w - 2)};
                EXPECT_EQ(VcfFindFormat(VcfFormatAfterReversal(format.format, w, h, 1, 1))->phase, phases.at(turned));
                const std::string flipped = {letter(h - 1, 0), letter(h - 1, 1)};
                EXPECT_EQ(VcfFindFormat(VcfFormatAfterReversal(format.format, w, h, 0, 1))->phase, phases.at(flipped));
                EXPECT_EQ(VcfFormatAfterReversal(format.format, w, h, 0, 0), format.format);
            }
        }
    }
    EXPECT_EQ(VcfFormatAfterRegion(77, 1, 1), 77u);
}

}  // namespace
