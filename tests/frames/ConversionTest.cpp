// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Every format to every output against the model: sizes, strides, offsets, regions, bands, levels.
#include "FramesTest.h"

namespace {

using Reference::GuardSide;
using Reference::Random;

class FrameConversion : public FramesTest {};
VEXA_FOR_ALL_FRAME_KERNELS(FrameConversion);

constexpr uint32_t kOutputs = 6;

/// Sizes that a format can have: whole groups of chroma, at most.
uint32_t Fitting(const VcfFormat& format, uint32_t width) {
    return format.kind == VCF_KIND_YUV ? (width + format.group_pixels - 1) / format.group_pixels * format.group_pixels
                                       : width;
}

VcfSettings SomeLevels(const VcfFormat& format, Random& random) {
    VcfSettings settings = DefaultSettings();
    settings.levels = 1;
    settings.black_level = random.Below(1u << (format.depth - 3));
    for (uint32_t& gain : settings.gain) {
        gain = random.Below(4 * VCF_ONE);
    }
    settings.exposure = VCF_ONE / 2 + random.Below(2 * VCF_ONE);
    settings.tone = random.Below(3);
    settings.gamma = 10 + random.Below(990);
    return settings;
}

/// A layout of the format with everything at random.
VcfLayout SomeLayout(const VcfFormat& format, uint32_t width, uint32_t height, Random& random) {
    VcfLayout layout = LayoutOf(format.format, Fitting(format, width), height);
    layout.offset = random.Below(3) == 0 ? random.Below(70) : 0;
    const uint32_t group = format.kind == VCF_KIND_YUV ? format.group_pixels : format.kind == VCF_KIND_BAYER ? 2 : 1;
    layout.skip = random.Below(3) == 0 ? random.Below(9) * group : 0;
    switch (random.Below(3)) {
        case 0:
            layout.stride = (layout.skip + layout.width) * format.bits_per_pixel / 8 + 8 + random.Below(40);
            break;
        case 1:
            layout.row_width = layout.width + random.Below(9) * group;
            break;
        default:
            break;
    }
    MakeRoomForSkip(layout);
    if (format.kind == VCF_KIND_YUV) {
        layout.range = random.Below(2);
    } else if (format.depth > 8 && format.packing == VCF_PACKING_NONE && random.Below(2) == 0) {
        layout.shift = random.Below(17 - format.depth);
    }
    return layout;
}

FrameTrial SomeTrial(uint32_t output, uint32_t height, Random& random) {
    FrameTrial trial;
    trial.output = output;
    trial.padding = random.Below(2) == 0 ? 0 : random.Below(80);
    trial.side = random.Below(2) == 0 ? GuardSide::kFront : GuardSide::kBack;
    if (random.Below(2) == 0) {
        trial.bands = {0};
        for (uint32_t row = 1; row < height; ++row) {
            if (random.Below(4) == 0) {
                trial.bands.push_back(row);
            }
        }
    }
    return trial;
}

TEST_P(FrameConversion, EveryFormatAndOutputOfPlainFrames) {
    Random random(1);
    constexpr uint32_t kSizes[][2] = {{2, 2}, {4, 4}, {8, 6}, {66, 10}, {130, 6}};
    for (uint32_t i = 0; i < VcfFormatCount(); ++i) {
        const VcfFormat& format = *VcfFormatAt(i);
        for (const auto& size : kSizes) {
            const FramesModel::Frame frame =
                FramesModel::MakeFrame(LayoutOf(format.format, Fitting(format, size[0]), size[1]), random);
            for (uint32_t output = 0; output < kOutputs; ++output) {
                FrameTrial trial;
                trial.output = output;
                Compare(frame, trial);
            }
        }
    }
}

TEST_P(FrameConversion, EverySizeOfOnePackedGroupMoreOrLess) {
    Random random(2);
    for (uint32_t i = 0; i < VcfFormatCount(); ++i) {
        const VcfFormat& format = *VcfFormatAt(i);
        if (format.packing == VCF_PACKING_NONE || (format.kind != VCF_KIND_MONO && format.phase != VCF_PHASE_GB)) {
            continue;
        }
        for (uint32_t width = 1; width <= 150; ++width) {
            FrameTrial trial;
            trial.output = width % 2 == 0 ? VCF_OUTPUT_GREY16 : VCF_OUTPUT_BGR;
            trial.side = width % 4 < 2 ? GuardSide::kFront : GuardSide::kBack;
            Compare(FramesModel::MakeFrame(LayoutOf(format.format, width, 3), random), trial);
        }
    }
}

/// Rows without padding between them may begin inside a group of pixels that share chroma; only the whole frame has to
/// be whole groups.
TEST_P(FrameConversion, YuvRowsThatBeginInsideAGroup) {
    Random random(9);
    for (const PixelFormat code : {PIXEL_FORMAT_YUV411_8_UYYVYY, PIXEL_FORMAT_YUV422_8_UYVY, PIXEL_FORMAT_YUV422_8}) {
        const uint32_t group = VcfFindFormat(code)->group_pixels;
        for (uint32_t width = 1; width <= 11; ++width) {
            for (uint32_t height = 2; height <= 8; height += 2) {
                if (width % group == 0 || width * height % group != 0) {
                    continue;
                }
                for (uint32_t output = 0; output < kOutputs; ++output) {
                    VcfLayout layout = LayoutOf(code, width, height);
                    layout.range = (width + output) % 2;
                    layout.skip = height % 4 == 0 ? group : 0;
                    FrameTrial trial = SomeTrial(output, height, random);
                    Compare(FramesModel::MakeFrame(layout, random), trial);
                }
            }
        }
    }
}

TEST_P(FrameConversion, LayoutsAtRandom) {
    Random random(3);
    for (uint32_t round = 0; round < 12; ++round) {
        for (uint32_t i = 0; i < VcfFormatCount(); ++i) {
            const VcfFormat& format = *VcfFormatAt(i);
            const uint32_t height = 1 + random.Below(24);
            const VcfLayout layout = SomeLayout(format, 1 + random.Below(90), height, random);
            FrameTrial trial = SomeTrial(random.Below(kOutputs), height, random);
            if (format.kind == VCF_KIND_BAYER && random.Below(4) == 0) {
                trial.settings.demosaic = VCF_DEMOSAIC_NONE;
            }
            Compare(FramesModel::MakeFrame(layout, random), trial);
        }
    }
}

TEST_P(FrameConversion, LevelsAtRandom) {
    Random random(4);
    for (uint32_t round = 0; round < 6; ++round) {
        for (uint32_t i = 0; i < VcfFormatCount(); ++i) {
            const VcfFormat& format = *VcfFormatAt(i);
            if (format.kind == VCF_KIND_YUV) {
                continue;
            }
            const uint32_t height = 4 + 2 * random.Below(12);
            const VcfLayout layout = SomeLayout(format, 4 + 2 * random.Below(50), height, random);
            FrameTrial trial = SomeTrial(random.Below(kOutputs), height, random);
            trial.settings = SomeLevels(format, random);
            trial.settings.demosaic = random.Below(3);
            Compare(FramesModel::MakeFrame(layout, random), trial);
        }
    }
}

TEST_P(FrameConversion, AdaptiveInBandsOfEverySize) {
    Random random(5);
    for (uint32_t phase = 0; phase < 4; ++phase) {
        for (uint32_t height = 4; height <= 26; height += 2) {
            const FramesModel::Frame frame =
                FramesModel::MakeFrame(LayoutOf(PIXEL_FORMAT_BAYER_GR8 + phase, 10, height), random);
            for (uint32_t output = 0; output < 4; ++output) {
                FrameTrial trial = SomeTrial(output, height, random);
                trial.settings.demosaic = VCF_DEMOSAIC_ADAPTIVE;
                for (uint32_t rows = 1; rows <= height; ++rows) {
                    trial.bands.clear();
                    for (uint32_t row = 0; row < height; row += rows) {
                        trial.bands.push_back(row);
                    }
                    Compare(frame, trial);
                }
            }
        }
    }
}

TEST_P(FrameConversion, MatrixAtRandom) {
    Random random(6);
    for (uint32_t i = 0; i < 3 * VcfFormatCount(); ++i) {
        const VcfFormat& format = *VcfFormatAt(i % VcfFormatCount());
        FrameTrial trial = SomeTrial(random.Below(kOutputs), 6, random);
        trial.settings.use_matrix = 1;
        for (int32_t& element : trial.settings.matrix) {
            element = static_cast<int32_t>(random.Below(65536)) - 32768;
        }
        Compare(FramesModel::MakeFrame(SomeLayout(format, 1 + random.Below(90), 6, random), random), trial);
    }
}

/// Frames of which scratch holds a part only.
TEST_P(FrameConversion, FramesOfManyBands) {
    Random random(7);
    struct Big {
        PixelFormat format;
        uint32_t width;
        uint32_t height;
        uint32_t demosaic;
        uint32_t levels;
    };
    constexpr Big kFrames[] = {
        {PIXEL_FORMAT_BAYER_RG12P, 3002, 101, VCF_DEMOSAIC_BILINEAR, 0},
        {PIXEL_FORMAT_BAYER_BG8, 8192, 64, VCF_DEMOSAIC_ADAPTIVE, 0},
        {PIXEL_FORMAT_BAYER_GR10_CSI2, 9000, 50, VCF_DEMOSAIC_ADAPTIVE, 1},
        {PIXEL_FORMAT_BAYER_GB16, 4098, 60, VCF_DEMOSAIC_BILINEAR, 0},
        {PIXEL_FORMAT_YUV422_8, 5000, 9, VCF_DEMOSAIC_BILINEAR, 0},
    };
    for (const Big& big : kFrames) {
        for (const uint32_t output : {VCF_OUTPUT_BGRA, VCF_OUTPUT_RGB}) {
            for (const size_t padding : {size_t{0}, size_t{12}}) {
                FrameTrial trial;
                trial.output = output;
                trial.padding = padding;
                trial.settings.demosaic = big.demosaic;
                trial.settings.levels = big.levels;
                VcfLayout layout = LayoutOf(big.format, big.width, big.height);
                if (padding != 0) {
                    layout.stride = VcfRowBytes(&layout) + 30;
                    trial.bands = {0, 17, 18, 40};
                    if (big.height < 41) {
                        trial.bands = {0, 3};
                    }
                }
                Compare(FramesModel::MakeFrame(layout, random), trial);
            }
        }
    }
}

TEST_P(FrameConversion, UnpackingAndPacking) {
    Random random(8);
    for (uint32_t round = 0; round < 3; ++round) {
        for (uint32_t i = 0; i < VcfFormatCount(); ++i) {
            const VcfFormat& format = *VcfFormatAt(i);
            VcfLayout layout = SomeLayout(format, 1 + random.Below(140), 1 + random.Below(5), random);
            layout.range = VCF_RANGE_FULL;
            const FramesModel::Frame frame = FramesModel::MakeFrame(layout, random);
            const size_t length = FramesModel::Length(frame);
            uint8_t* src = m_source.Block(length, GuardSide::kBack, 0xA5);
            FramesModel::Write(frame, src);
            if (format.kind == VCF_KIND_YUV) {
                continue;
            }
            for (const uint32_t bytes : {1u, 2u}) {
                const size_t rowBytes = size_t{layout.width} * frame.channels * bytes;
                const size_t stride = rowBytes + random.Below(9);
                uint8_t* dst = m_destination.Block(stride * (layout.height - 1) + rowBytes, GuardSide::kBack, 0x11);
                ASSERT_EQ(VcfUnpack(&layout, src, length, dst, stride, bytes, nullptr, 0), VCF_OK);
                for (uint32_t row = 0; row < layout.height; ++row) {
                    for (uint32_t k = 0; k < layout.width * frame.channels; ++k) {
                        const uint32_t sample = frame.Sample(row, k / frame.channels, k % frame.channels);
                        const uint8_t* at = dst + row * stride + size_t{k} * bytes;
                        const uint32_t expected = bytes == 2 ? sample : sample >> (format.depth - 8);
                        ASSERT_EQ(bytes == 2 ? at[0] | at[1] << 8 : at[0], static_cast<int>(expected))
                            << FramesModel::Describe(layout) << " row " << row << " sample " << k;
                    }
                }
                if (bytes == 2) {
                    std::vector<uint8_t> again(src, src + length);
                    if (layout.shift == 0) {
                        ASSERT_EQ(VcfPack(&layout, dst, stride, again.data(), length, nullptr, 0), VCF_OK);
                        EXPECT_TRUE(std::equal(again.begin(), again.end(), src)) << FramesModel::Describe(layout);
                    }
                    std::fill(again.begin(), again.end(), uint8_t{0});
                    ASSERT_EQ(VcfPack(&layout, dst, stride, again.data(), length, nullptr, 0), VCF_OK);
                    std::vector<uint8_t> back(stride * layout.height);
                    ASSERT_EQ(VcfUnpack(&layout, again.data(), length, back.data(), stride, 2, nullptr, 0), VCF_OK);
                    for (uint32_t row = 0; row < layout.height; ++row) {
                        EXPECT_TRUE(std::equal(dst + row * stride, dst + row * stride + rowBytes,
                                               back.begin() + static_cast<ptrdiff_t>(row * stride)));
                    }
                }
            }
        }
    }
}

}  // namespace
