// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// A second opinion by other authors: inside the picture libswscale's unscaled demosaic is the same truncated mean, so
// the default mode has to agree with it byte for byte, in 8 bits and in 16 bits with a shift of 8. All four phases come
// from each frame by leaving out its first row or column.
#include <gtest/gtest.h>

extern "C" {
#include <libswscale/swscale.h>
}

#include "Frames.h"
#include "Reference.h"

namespace {

/// Phases by the parity of the row and column that a frame starts at, for a frame of phase GR.
constexpr const char* kPhaseFromGR[2][2] = {{"GR", "RG"}, {"BG", "GB"}};

AVPixelFormat SwscaleFormat(const std::string& phase, bool wide) {
    if (phase == "GR") {
        return wide ? AV_PIX_FMT_BAYER_GRBG16LE : AV_PIX_FMT_BAYER_GRBG8;
    }
    if (phase == "RG") {
        return wide ? AV_PIX_FMT_BAYER_RGGB16LE : AV_PIX_FMT_BAYER_RGGB8;
    }
    if (phase == "GB") {
        return wide ? AV_PIX_FMT_BAYER_GBRG16LE : AV_PIX_FMT_BAYER_GBRG8;
    }
    return wide ? AV_PIX_FMT_BAYER_BGGR16LE : AV_PIX_FMT_BAYER_BGGR8;
}

Bytes BySwscale(const Bytes& frame, const std::string& phase, int width, int height, int sampleBytes) {
    SwsContext* context = sws_getContext(width, height, SwscaleFormat(phase, sampleBytes == 2), width, height,
                                         AV_PIX_FMT_RGB24, SWS_POINT, nullptr, nullptr, nullptr);
    EXPECT_NE(context, nullptr);
    Bytes rgb(static_cast<size_t>(width) * static_cast<size_t>(height) * 3);
    const uint8_t* const from[] = {frame.data(), nullptr, nullptr, nullptr};
    const int fromStride[] = {width * sampleBytes, 0, 0, 0};
    uint8_t* const to[] = {rgb.data(), nullptr, nullptr, nullptr};
    const int toStride[] = {width * 3, 0, 0, 0};
    EXPECT_EQ(sws_scale(context, from, fromStride, 0, height, to, toStride), height);
    sws_freeContext(context);
    return rgb;
}

/// Bytes inside a border of two pixels in which a BGR and an RGB picture differ.
size_t Differences(const Bytes& bgr, const Bytes& rgb, uint32_t width, uint32_t height) {
    size_t count = 0;
    for (uint32_t r = 2; r < height - 2; ++r) {
        for (uint32_t c = 2; c < width - 2; ++c) {
            const size_t at = (size_t{r} * width + c) * 3;
            for (size_t k = 0; k < 3; ++k) {
                count += bgr[at + k] != rgb[at + 2 - k] ? 1u : 0u;
            }
        }
    }
    return count;
}

class Swscale : public Frames {
  protected:
    /// Compares all four phases of a frame whose own phase is that of GR moved by (row, column).
    static void CompareAllPhases(const Bytes& frame, uint32_t frameWidth, uint32_t frameHeight, uint32_t sampleBytes,
                                 uint32_t row, uint32_t column) {
        const uint32_t width = frameWidth - 2;
        const uint32_t height = frameHeight - 2;
        for (uint32_t top = 0; top < 2; ++top) {
            for (uint32_t left = 0; left < 2; ++left) {
                const std::string phase = kPhaseFromGR[(row + top) % 2][(column + left) % 2];
                const Bytes part = Cut(frame, frameWidth, sampleBytes, top, left, width, height);
                const Reference::Converter& converter =
                    Reference::Find("ConvByr" + phase + (sampleBytes == 1 ? "8" : "N") + "ToBGR");
                Bytes picture(converter.DestinationBytes(width, height));
                ASSERT_EQ(converter.Call(picture.data(), part.data(), width, height, 8), UTL_STS_SUCCESS);
                const Bytes theirs = BySwscale(part, phase, static_cast<int>(width), static_cast<int>(height),
                                               static_cast<int>(sampleBytes));
                EXPECT_EQ(Differences(picture, theirs, width, height), 0u) << phase;
            }
        }
    }

    /// A frame of 10 or 12 bits brought to 16, the empty low bits filled with ones and zeros that have to be dropped.
    static Bytes Widened(Bytes frame, uint32_t bits) {
        for (size_t i = 0; i < frame.size(); i += 2) {
            const uint32_t word = frame[i] + 256u * frame[i + 1];
            const auto filler = static_cast<uint32_t>(i * 2654435761u) >> (16 + bits);
            const uint32_t wide = (word << (16 - bits) | (filler & ((1u << (16 - bits)) - 1))) & 0xFFFFu;
            frame[i] = static_cast<uint8_t>(wide);
            frame[i + 1] = static_cast<uint8_t>(wide >> 8);
        }
        return frame;
    }
};

TEST_F(Swscale, AgreesInsideEightBitFrames) {
    CompareAllPhases(Raw("indoor1_BayerGR8_2048x1536.raw", 2048 * 1536), 2048, 1536, 1, 0, 0);
    CompareAllPhases(Raw("outdoor2_BayerGB8_2048x1534.raw", 2048 * 1534), 2048, 1534, 1, 1, 1);
}

TEST_F(Swscale, AgreesInsideSixteenBitFrames) {
    CompareAllPhases(Widened(Raw("chart_BayerRG10_1920x1080.raw", 1920 * 1080 * 2), 10), 1920, 1080, 2, 0, 1);
    CompareAllPhases(Widened(Raw("rose_BayerRG12_768x512.raw", 768 * 512 * 2), 12), 768, 512, 2, 0, 1);
}

}  // namespace
