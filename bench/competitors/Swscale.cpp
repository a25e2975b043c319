// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// libswscale, in full range and without interpolation of chroma. Its own way for a mosaic writes red first; exchanging
// red and blue of the mosaic and of the picture gives the same bytes, so BGGR to RGB24 does the job of RGGB to BGR.
extern "C" {
#include <libavutil/pixfmt.h>
#include <libswscale/swscale.h>
}

#include <cstring>
#include <stdexcept>

#include "competitors/Competitor.h"

namespace Bench {
namespace {

std::shared_ptr<SwsContext> MakeContext(const Frame& frame, AVPixelFormat from, AVPixelFormat to) {
    const int width = static_cast<int>(frame.width);
    const int height = static_cast<int>(frame.height);
    std::shared_ptr<SwsContext> context(
        sws_getContext(width, height, from, width, height, to, SWS_POINT, nullptr, nullptr, nullptr), sws_freeContext);
    if (context == nullptr) {
        throw std::runtime_error("libswscale refuses a conversion");
    }
    const int* const coefficients = sws_getCoefficients(SWS_CS_ITU601);
    const int fullRange = 1;
    // Formats without YUV refuse this; they need it no more than it does them.
    sws_setColorspaceDetails(context.get(), coefficients, fullRange, coefficients, fullRange, 0, 1 << 16, 1 << 16);
    return context;
}

Work Scale(const Frame& frame, const uint8_t* src, int srcStride, AVPixelFormat from, AVPixelFormat to,
           int dstBytesPerPixel) {
    return [f = frame, src, srcStride, context = MakeContext(frame, from, to),
            dstStride = static_cast<int>(frame.width) * dstBytesPerPixel] {
        const uint8_t* const planes[] = {src, nullptr, nullptr, nullptr};
        const int strides[] = {srcStride, 0, 0, 0};
        uint8_t* const dstPlanes[] = {f.dst, nullptr, nullptr, nullptr};
        const int dstStrides[] = {dstStride, 0, 0, 0};
        sws_scale(context.get(), planes, strides, 0, static_cast<int>(f.height), dstPlanes, dstStrides);
    };
}

template <AVPixelFormat from, int srcBytesPerPixel, AVPixelFormat to, int dstBytesPerPixel>
Work Convert(const Frame& frame) {
    return Scale(frame, frame.src, static_cast<int>(frame.width) * srcBytesPerPixel, from, to, dstBytesPerPixel);
}

Work Yuv422ToBgr(const Frame& frame) {
    static constexpr uint8_t kOrder[] = {0, 1, 2, 3};
    const SharedBytes uyvy = Repack(frame.src, frame.Pixels() / 2, 5, kOrder);
    const Work scale =
        Scale(frame, uyvy->data(), static_cast<int>(frame.width) * 2, AV_PIX_FMT_UYVY422, AV_PIX_FMT_BGR24, 3);
    return [uyvy, scale] { scale(); };
}

/// It reduces 16 bits by 8, so the 12-bit samples are moved up by 4 before the measurement.
template <AVPixelFormat from, AVPixelFormat to, int dstBytesPerPixel>
Work Bayer16(const Frame& frame) {
    auto words = std::make_shared<std::vector<uint16_t>>(frame.Pixels());
    std::memcpy(words->data(), frame.src, frame.Pixels() * 2);
    for (uint16_t& word : *words) {
        word = static_cast<uint16_t>(word << 4);
    }
    const Work scale = Scale(frame, reinterpret_cast<const uint8_t*>(words->data()), static_cast<int>(frame.width) * 2,
                             from, to, dstBytesPerPixel);
    return [words, scale] { scale(); };
}

constexpr const char* kBorders = "border by fewer neighbours";
constexpr const char* kHighBits = "samples in the high bits; border by fewer neighbours";
constexpr const char* kMatrix = "same matrix, other rounding";
constexpr const char* kMatrix4 = "same matrix, other rounding, reads 4-byte groups";

constexpr Competitor c_asCompetitors[] = {
    {"libswscale", "ConvMono8ToBGRA", "GRAY8 to BGRA", "", false, Convert<AV_PIX_FMT_GRAY8, 1, AV_PIX_FMT_BGRA, 4>},
    {"libswscale", "ConvMono8ToBGR", "GRAY8 to BGR24", "", false, Convert<AV_PIX_FMT_GRAY8, 1, AV_PIX_FMT_BGR24, 3>},
    {"libswscale", "ConvMono12ToBGRA", "GRAY12 to BGRA", "rounds", false,
     Convert<AV_PIX_FMT_GRAY12LE, 2, AV_PIX_FMT_BGRA, 4>},
    {"libswscale", "ConvMono12ToBGR", "GRAY12 to BGR24", "rounds", false,
     Convert<AV_PIX_FMT_GRAY12LE, 2, AV_PIX_FMT_BGR24, 3>},
    {"libswscale", "ConvRGB8PToBGRA", "RGB24 to BGRA", "", false, Convert<AV_PIX_FMT_RGB24, 3, AV_PIX_FMT_BGRA, 4>},
    {"libswscale", "ConvRGB8PToBGR", "RGB24 to BGR24", "", false, Convert<AV_PIX_FMT_RGB24, 3, AV_PIX_FMT_BGR24, 3>},
    {"libswscale", "ConvBGR8PToBGRA", "BGR24 to BGRA", "", false, Convert<AV_PIX_FMT_BGR24, 3, AV_PIX_FMT_BGRA, 4>},
    {"libswscale", "ConvYUV422PToBGRA", "UYVY422 to BGRA", kMatrix, false,
     Convert<AV_PIX_FMT_UYVY422, 2, AV_PIX_FMT_BGRA, 4>},
    {"libswscale", "ConvYUV422PToBGR", "UYVY422 to BGR24", kMatrix4, false, Yuv422ToBgr},
    {"libswscale", "ConvByrRG8ToBGRA", "BAYER_RGGB8 to BGRA", kBorders, false,
     Convert<AV_PIX_FMT_BAYER_RGGB8, 1, AV_PIX_FMT_BGRA, 4>},
    {"libswscale", "ConvByrRG8ToBGR", "BAYER_BGGR8 to RGB24", kBorders, false,
     Convert<AV_PIX_FMT_BAYER_BGGR8, 1, AV_PIX_FMT_RGB24, 3>},
    {"libswscale", "ConvByrRG12ToBGRA", "BAYER_RGGB16 to BGRA", kHighBits, false,
     Bayer16<AV_PIX_FMT_BAYER_RGGB16LE, AV_PIX_FMT_BGRA, 4>},
    {"libswscale", "ConvByrRG12ToBGR", "BAYER_BGGR16 to RGB24", kHighBits, false,
     Bayer16<AV_PIX_FMT_BAYER_BGGR16LE, AV_PIX_FMT_RGB24, 3>},
};

const Registration registration(c_asCompetitors);

}  // namespace
}  // namespace Bench
