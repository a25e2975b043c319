// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Keeps the table of phase names in phases.md true: a mosaic cut from one plain colour has to come out in that colour
// from this library and from OpenCV, if and only if both are given the same phase under the names of that table.
#include <gtest/gtest.h>

#include <array>
#include <opencv2/imgproc.hpp>
#include <string_view>
#include <vector>

#include <VexaCamUtl.h>

namespace {

constexpr int kSize = 8;
const cv::Vec3b kColour = {30, 110, 220};  // blue, green, red

struct PhaseNames {
    PixelFormat format;
    std::string_view mosaic;  // the first two samples of the first two rows
    int olderConstant;
    int newerConstant;
};

const std::array kPhases = {
    PhaseNames{PIXEL_FORMAT_BAYER_RG8, "RGGB", cv::COLOR_BayerBG2BGR, cv::COLOR_BayerRGGB2BGR},
    PhaseNames{PIXEL_FORMAT_BAYER_GR8, "GRBG", cv::COLOR_BayerGB2BGR, cv::COLOR_BayerGRBG2BGR},
    PhaseNames{PIXEL_FORMAT_BAYER_GB8, "GBRG", cv::COLOR_BayerGR2BGR, cv::COLOR_BayerGBRG2BGR},
    PhaseNames{PIXEL_FORMAT_BAYER_BG8, "BGGR", cv::COLOR_BayerRG2BGR, cv::COLOR_BayerBGGR2BGR},
};

cv::Mat CutMosaic(std::string_view pattern) {
    cv::Mat mosaic(kSize, kSize, CV_8UC1);
    for (int r = 0; r < kSize; ++r) {
        for (int c = 0; c < kSize; ++c) {
            const char filter = pattern[static_cast<size_t>(r % 2 * 2 + c % 2)];
            mosaic.at<uint8_t>(r, c) = kColour[static_cast<int>(std::string_view("BGR").find(filter))];
        }
    }
    return mosaic;
}

bool IsPlainColour(const cv::Mat& picture) {
    return cv::countNonZero(picture.reshape(1) !=
                            cv::repeat(cv::Mat(1, 1, CV_8UC3, kColour), kSize, kSize).reshape(1)) == 0;
}

bool LibraryFindsColour(const cv::Mat& mosaic, PixelFormat format) {
    cv::Mat picture(kSize, kSize, CV_8UC3);
    return ConvImage(CONV_DST_BGR, format, 1, picture.data, mosaic.data, kSize, kSize) == UTL_STS_SUCCESS &&
           IsPlainColour(picture);
}

bool OpenCvFindsColour(const cv::Mat& mosaic, int constant) {
    cv::Mat picture;
    cv::cvtColor(mosaic, picture, constant);
    return IsPlainColour(picture);
}

TEST(PhaseNames, SamePhaseUnderBothNames) {
    for (const PhaseNames& cut : kPhases) {
        const cv::Mat mosaic = CutMosaic(cut.mosaic);
        for (const PhaseNames& read : kPhases) {
            const bool same = cut.format == read.format;
            EXPECT_EQ(LibraryFindsColour(mosaic, read.format), same) << cut.mosaic << " as " << read.mosaic;
            EXPECT_EQ(OpenCvFindsColour(mosaic, read.olderConstant), same) << cut.mosaic << " as " << read.mosaic;
            EXPECT_EQ(OpenCvFindsColour(mosaic, read.newerConstant), same) << cut.mosaic << " as " << read.mosaic;
        }
    }
}

}  // namespace
