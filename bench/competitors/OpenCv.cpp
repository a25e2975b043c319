// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// OpenCV: cvtColor, demosaicing, flip, and convertTo where samples have more than 8 bits. OpenCV names a mosaic by the
// second row's second and third sample; the RGGB aliases say what is meant.
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "competitors/Competitor.h"

namespace Bench {
namespace {

cv::Mat View(const void* data, uint32_t width, uint32_t rows, int type) {
    return {static_cast<int>(rows), static_cast<int>(width), type, const_cast<void*>(data)};
}

cv::Mat Source(const Frame& frame, int type) {
    return View(frame.src, frame.width, frame.height, type);
}

cv::Mat Destination(const Frame& frame, int type) {
    return View(frame.dst, frame.width, frame.height, type);
}

template <int code, int srcType, int dstType>
Work Colour(const Frame& frame) {
    return
        [src = Source(frame, srcType), dst = Destination(frame, dstType)]() mutable { cv::cvtColor(src, dst, code); };
}

template <int type>
Work Copy(const Frame& frame) {
    return [src = Source(frame, type), dst = Destination(frame, type)]() mutable { src.copyTo(dst); };
}

/// Units of several pixels are flipped as pixels of one of OpenCV's types.
template <int direction, int type, uint32_t pixelsPerUnit>
Work Flip(const Frame& frame) {
    return [src = View(frame.src, frame.width / pixelsPerUnit, frame.height, type),
            dst = View(frame.dst, frame.width / pixelsPerUnit, frame.height, type)]() mutable {
        cv::flip(src, dst, direction);
    };
}

constexpr double kTwelveToEightBits = 1.0 / 16;

/// 12-bit samples to 8 bits, straight into the destination.
template <int srcType>
Work Depth(const Frame& frame) {
    return [src = Source(frame, srcType), dst = Destination(frame, CV_MAKETYPE(CV_8U, CV_MAT_CN(srcType)))]() mutable {
        src.convertTo(dst, CV_8U, kTwelveToEightBits);
    };
}

/// 12-bit samples to 8 bits, then cvtColor, strip by strip.
template <int code, int srcType, int dstType>
Work DepthThenColour(const Frame& frame) {
    return [src = Source(frame, srcType), dst = Destination(frame, dstType), frame, strip = cv::Mat()]() mutable {
        ForStrips(frame.width, frame.height, [&](uint32_t y, uint32_t rows) {
            const cv::Range range(static_cast<int>(y), static_cast<int>(y + rows));
            src.rowRange(range).convertTo(strip, CV_8U, kTwelveToEightBits);
            cv::Mat to = dst.rowRange(range);
            cv::cvtColor(strip, to, code);
        });
    };
}

Work Yuv422ToBgr(const Frame& frame) {
    static constexpr uint8_t kOrder[] = {0, 1, 2, 3};
    const SharedBytes uyvy = Repack(frame.src, frame.Pixels() / 2, 5, kOrder);
    return [uyvy, src = View(uyvy->data(), frame.width, frame.height, CV_8UC2),
            dst = Destination(frame, CV_8UC3)]() mutable { cv::cvtColor(src, dst, cv::COLOR_YUV2BGR_UYVY); };
}

SharedBytes RepackYuv444(const Frame& frame) {
    static constexpr uint8_t kOrder[] = {1, 0, 2};
    return Repack(frame.src, frame.Pixels(), 4, kOrder);
}

Work Yuv444ToBgr(const Frame& frame) {
    const SharedBytes yuv = RepackYuv444(frame);
    return [yuv, src = View(yuv->data(), frame.width, frame.height, CV_8UC3),
            dst = Destination(frame, CV_8UC3)]() mutable { cv::cvtColor(src, dst, cv::COLOR_YUV2BGR); };
}

Work Yuv444ToBgra(const Frame& frame) {
    const SharedBytes yuv = RepackYuv444(frame);
    return [yuv, src = View(yuv->data(), frame.width, frame.height, CV_8UC3), dst = Destination(frame, CV_8UC4), frame,
            strip = cv::Mat()]() mutable {
        ForStrips(frame.width, frame.height, [&](uint32_t y, uint32_t rows) {
            const cv::Range range(static_cast<int>(y), static_cast<int>(y + rows));
            cv::cvtColor(src.rowRange(range), strip, cv::COLOR_YUV2BGR);
            cv::Mat to = dst.rowRange(range);
            cv::cvtColor(strip, to, cv::COLOR_BGR2BGRA);
        });
    };
}

template <int code, int dstType>
Work DemosaicThenDepth(const Frame& frame) {
    return [src = Source(frame, CV_16UC1), dst = Destination(frame, dstType), deep = cv::Mat()]() mutable {
        cv::demosaicing(src, deep, code);
        deep.convertTo(dst, CV_8U, kTwelveToEightBits);
    };
}

template <int code, int dstType>
Work DepthThenDemosaic(const Frame& frame) {
    return [src = Source(frame, CV_16UC1), dst = Destination(frame, dstType), shallow = cv::Mat()]() mutable {
        src.convertTo(shallow, CV_8U, kTwelveToEightBits);
        cv::demosaicing(shallow, dst, code);
    };
}

template <int code>
Work DemosaicThenAlpha(const Frame& frame) {
    return [src = Source(frame, CV_8UC1), dst = Destination(frame, CV_8UC4), bgr = cv::Mat()]() mutable {
        cv::demosaicing(src, bgr, code);
        cv::cvtColor(bgr, dst, cv::COLOR_BGR2BGRA);
    };
}

constexpr const char* kRounds = "rounds where we truncate";
constexpr const char* kVideoMatrix = "limited-range matrix";
constexpr const char* kVideoMatrix4 = "limited-range matrix, reads 4-byte groups";
constexpr const char* kMatrix3 = "slightly other matrix, reads 3 bytes Y U V";
constexpr const char* kBorders = "rounds means; repeats its inner border";
constexpr const char* kEdgeAware = "simpler edge-aware method; repeats its inner border";
constexpr const char* kLumaOrder = "leaves the luma order inside a group";

constexpr Competitor c_asCompetitors[] = {
    {"OpenCV", "ConvMono8ToBGRA", "cvtColor", "", false, Colour<cv::COLOR_GRAY2BGRA, CV_8UC1, CV_8UC4>},
    {"OpenCV", "ConvMono8ToBGR", "cvtColor", "", false, Colour<cv::COLOR_GRAY2BGR, CV_8UC1, CV_8UC3>},
    {"OpenCV", "ConvMono12ToBGRA", "convertTo, cvtColor", kRounds, false,
     DepthThenColour<cv::COLOR_GRAY2BGRA, CV_16UC1, CV_8UC4>},
    {"OpenCV", "ConvMono12ToBGR", "convertTo, cvtColor", kRounds, false,
     DepthThenColour<cv::COLOR_GRAY2BGR, CV_16UC1, CV_8UC3>},
    {"OpenCV", "ConvRGB8PToBGRA", "cvtColor", "", false, Colour<cv::COLOR_RGB2BGRA, CV_8UC3, CV_8UC4>},
    {"OpenCV", "ConvRGB8PToBGR", "cvtColor", "", false, Colour<cv::COLOR_RGB2BGR, CV_8UC3, CV_8UC3>},
    {"OpenCV", "ConvBGR8PToBGRA", "cvtColor", "", false, Colour<cv::COLOR_BGR2BGRA, CV_8UC3, CV_8UC4>},
    {"OpenCV", "ConvBGR8PToBGR", "copyTo", "", false, Copy<CV_8UC3>},
    {"OpenCV", "ConvRGB12PToBGRA", "convertTo, cvtColor", kRounds, false,
     DepthThenColour<cv::COLOR_RGB2BGRA, CV_16UC3, CV_8UC4>},
    {"OpenCV", "ConvRGB12PToBGR", "convertTo, cvtColor", kRounds, false,
     DepthThenColour<cv::COLOR_RGB2BGR, CV_16UC3, CV_8UC3>},
    {"OpenCV", "ConvBGR12PToBGRA", "convertTo, cvtColor", kRounds, false,
     DepthThenColour<cv::COLOR_BGR2BGRA, CV_16UC3, CV_8UC4>},
    {"OpenCV", "ConvBGR12PToBGR", "convertTo", kRounds, false, Depth<CV_16UC3>},
    {"OpenCV", "ConvYUV422PToBGRA", "cvtColor", kVideoMatrix, false, Colour<cv::COLOR_YUV2BGRA_UYVY, CV_8UC2, CV_8UC4>},
    {"OpenCV", "ConvYUV422PToBGR", "cvtColor", kVideoMatrix4, false, Yuv422ToBgr},
    {"OpenCV", "ConvYUV444PToBGRA", "cvtColor, cvtColor", kMatrix3, false, Yuv444ToBgra},
    {"OpenCV", "ConvYUV444PToBGR", "cvtColor", kMatrix3, false, Yuv444ToBgr},
    {"OpenCV", "ConvByrRG8ToBGRA", "demosaicing", kBorders, false, Colour<cv::COLOR_BayerRGGB2BGRA, CV_8UC1, CV_8UC4>},
    {"OpenCV", "ConvByrRG8ToBGR", "demosaicing", kBorders, false, Colour<cv::COLOR_BayerRGGB2BGR, CV_8UC1, CV_8UC3>},
    {"OpenCV", "ConvByrRG12ToBGRA", "demosaicing, convertTo", kBorders, false,
     DemosaicThenDepth<cv::COLOR_BayerRGGB2BGRA, CV_8UC4>},
    {"OpenCV", "ConvByrRG12ToBGR", "demosaicing, convertTo", kBorders, false,
     DemosaicThenDepth<cv::COLOR_BayerRGGB2BGR, CV_8UC3>},
    {"OpenCV", "ConvByrRG12ToBGRA", "convertTo, demosaicing", "means of 8 bits; repeats its inner border", false,
     DepthThenDemosaic<cv::COLOR_BayerRGGB2BGRA, CV_8UC4>},
    {"OpenCV", "ConvByrRG12ToBGR", "convertTo, demosaicing", "means of 8 bits; repeats its inner border", false,
     DepthThenDemosaic<cv::COLOR_BayerRGGB2BGR, CV_8UC3>},
    {"OpenCV", "ConvByrRG8ToBGRAACPI", "demosaicing EA, cvtColor", kEdgeAware, false,
     DemosaicThenAlpha<cv::COLOR_BayerRGGB2BGR_EA>},
    {"OpenCV", "ConvByrRG8ToBGRACPI", "demosaicing EA", kEdgeAware, false,
     Colour<cv::COLOR_BayerRGGB2BGR_EA, CV_8UC1, CV_8UC3>},
    {"OpenCV", "Reverse Mono8 copy", "copyTo", "", false, Copy<CV_8UC1>},
    {"OpenCV", "Reverse Mono12 copy", "copyTo", "", false, Copy<CV_16UC1>},
    {"OpenCV", "Reverse RGB8 copy", "copyTo", "", false, Copy<CV_8UC3>},
    {"OpenCV", "Reverse BGR12 copy", "copyTo", "", false, Copy<CV_16UC3>},
    {"OpenCV", "Reverse Mono8 mirror", "flip", "", false, Flip<1, CV_8UC1, 1>},
    {"OpenCV", "Reverse Mono12 mirror", "flip", "", false, Flip<1, CV_16UC1, 1>},
    {"OpenCV", "Reverse RGB8 mirror", "flip", "", false, Flip<1, CV_8UC3, 1>},
    {"OpenCV", "Reverse BGR12 mirror", "flip", "", false, Flip<1, CV_16UC3, 1>},
    {"OpenCV", "Reverse YUV411 mirror", "flip", kLumaOrder, false, Flip<1, CV_16UC3, 4>},
    {"OpenCV", "Reverse YUV422 mirror", "flip", kLumaOrder, false, Flip<1, CV_8UC4, 2>},
    {"OpenCV", "Reverse Mono8 upside down", "flip", "", false, Flip<0, CV_8UC1, 1>},
    {"OpenCV", "Reverse Mono12 upside down", "flip", "", false, Flip<0, CV_16UC1, 1>},
    {"OpenCV", "Reverse RGB8 upside down", "flip", "", false, Flip<0, CV_8UC3, 1>},
    {"OpenCV", "Reverse BGR12 upside down", "flip", "", false, Flip<0, CV_16UC3, 1>},
    {"OpenCV", "Reverse YUV411 upside down", "flip", "", false, Flip<0, CV_16UC3, 4>},
    {"OpenCV", "Reverse YUV422 upside down", "flip", "", false, Flip<0, CV_8UC4, 2>},
    {"OpenCV", "Reverse Mono8 half turn", "flip", "", false, Flip<-1, CV_8UC1, 1>},
    {"OpenCV", "Reverse Mono12 half turn", "flip", "", false, Flip<-1, CV_16UC1, 1>},
    {"OpenCV", "Reverse RGB8 half turn", "flip", "", false, Flip<-1, CV_8UC3, 1>},
    {"OpenCV", "Reverse BGR12 half turn", "flip", "", false, Flip<-1, CV_16UC3, 1>},
    {"OpenCV", "Reverse YUV411 half turn", "flip", kLumaOrder, false, Flip<-1, CV_16UC3, 4>},
    {"OpenCV", "Reverse YUV422 half turn", "flip", kLumaOrder, false, Flip<-1, CV_8UC4, 2>},
};

struct OneThread {
    OneThread() { cv::setNumThreads(1); }
};

const OneThread oneThread;
const Registration registration(c_asCompetitors);

}  // namespace
}  // namespace Bench
