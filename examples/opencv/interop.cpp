// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// cv::Mat in and out. A Mat holds blue, green, red like BGR pictures, and the frames layer takes its steps on both
// sides: a Mat that is a cut-out of a larger one is converted where it lies.
//
//     interop frame.rwh picture.png
#include <VexaCamFrames.hpp>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

namespace {

/// The bytes from the first to the last pixel of a Mat.
template <class Byte>
std::span<Byte> BytesOf(const cv::Mat& mat) {
    return {mat.data, mat.step[0] * static_cast<size_t>(mat.rows - 1) + mat.elemSize() * static_cast<size_t>(mat.cols)};
}

/// A raw frame of a grey or Bayer format, CV_8U or CV_16U, to a picture, which may be a cut-out too. Cut Bayer frames
/// at even rows and columns, to keep the phase.
void ToBgr(const cv::Mat& raw, const vcf::Format& format, cv::Mat& picture) {
    CV_Assert(raw.elemSize() * 8 == format.Info().bits_per_pixel);
    picture.create(raw.size(), CV_8UC3);
    const vcf::Layout layout =
        vcf::Layout(format, static_cast<uint32_t>(raw.cols), static_cast<uint32_t>(raw.rows)).Stride(raw.step[0]);
    vcf::Converter(layout, vcf::Output::kBgr)
        .Convert(BytesOf<const uint8_t>(raw), BytesOf<uint8_t>(picture), picture.step[0]);
}

void Convert(const char* framePath, const char* picturePath) {
    uint8_t* block = nullptr;
    PixelFormat format = 0;
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t rowSize = 0;
    const UtlStatus status = LoadRWH(framePath, &block, &format, &width, &height, &rowSize);
    const std::unique_ptr<uint8_t, decltype(&std::free)> owner(block, &std::free);
    const int type = BitPerPixel(format) == 8 ? CV_8UC1 : CV_16UC1;
    // A file may say anything, and a Mat does not know how large the block is.
    CV_Assert(status == UTL_STS_SUCCESS && rowSize == size_t{width} * CV_ELEM_SIZE(type));
    CV_Assert(uint64_t{rowSize} * height <= UINT32_MAX);
    const cv::Mat raw(static_cast<int>(height), static_cast<int>(width), type, block);
    cv::Mat picture;
    ToBgr(raw, vcf::Format::OfCode(format), picture);
    // The middle again, from a cut-out into a cut-out.
    const cv::Rect middle(raw.cols / 8 * 2, raw.rows / 8 * 2, raw.cols / 8 * 4, raw.rows / 8 * 4);
    cv::Mat part = picture(middle);
    ToBgr(raw(middle), vcf::Format::OfCode(format), part);
    CV_Assert(cv::imwrite(picturePath, picture));
}

}  // namespace

int main(int argc, char** argv) {
    try {
        CV_Assert(argc == 3);
        Convert(argv[1], argv[2]);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "interop: %s\n", error.what());
        return 1;
    }
}
