// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// cv::Mat in and out. A Mat holds blue, green, red like the library's BGR pictures, so the library writes straight into
// one; the raw frame in a Mat is handed over as it is.
//
//     interop frame.rwh picture.png
#include <VexaCamUtl.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

namespace {

/// A raw frame of a grey or Bayer format, CV_8U or CV_16U, to a picture. The library knows no gaps between rows: a Mat
/// that is a cut-out of a larger one is copied first (cut Bayer frames at even rows and columns, to keep the phase).
cv::Mat ToBgr(const cv::Mat& raw, PixelFormat format) {
    const cv::Mat frame = raw.isContinuous() ? raw : raw.clone();
    CV_Assert(frame.elemSize() * 8 == BitPerPixel(format));
    cv::Mat picture(frame.size(), CV_8UC3);
    const UtlStatus status = ConvImage(CONV_DST_BGR, format, 1, picture.data, frame.data,
                                       static_cast<uint32_t>(frame.cols), static_cast<uint32_t>(frame.rows));
    CV_Assert(status == UTL_STS_SUCCESS);
    return picture;
}

void Convert(const char* frame_path, const char* picture_path) {
    uint8_t* block = nullptr;
    PixelFormat format = 0;
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t row_size = 0;
    const UtlStatus status = LoadRWH(frame_path, &block, &format, &width, &height, &row_size);
    const std::unique_ptr<uint8_t, decltype(&std::free)> owner(block, &std::free);
    const int type = BitPerPixel(format) == 8 ? CV_8UC1 : CV_16UC1;
    // A file may say anything, and neither a Mat nor a converter asks how large the block is.
    CV_Assert(status == UTL_STS_SUCCESS && row_size == size_t{width} * CV_ELEM_SIZE(type));
    CV_Assert(uint64_t{row_size} * height <= UINT32_MAX);
    const cv::Mat raw(static_cast<int>(height), static_cast<int>(width), type, block);
    CV_Assert(cv::imwrite(picture_path, ToBgr(raw, format)));
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
