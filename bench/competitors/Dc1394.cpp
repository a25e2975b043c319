// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// libdc1394: the conversions that come with the driver of FireWire cameras, plain C. It writes R, G, B; for a mosaic,
// asking for the phase with red and blue exchanged gives our B, G, R. It has no BGRA.
#include <dc1394/dc1394.h>

#include "competitors/Competitor.h"

namespace Bench {
namespace {

template <dc1394bayer_method_t method>
Work Demosaic(const Frame& frame) {
    return
        [f = frame] { dc1394_bayer_decoding_8bit(f.src, f.dst, f.width, f.height, DC1394_COLOR_FILTER_BGGR, method); };
}

/// Its own way from RGB16 to RGB8 takes big-endian samples, so the last step is a loop of ours.
Work DemosaicThenDepth(const Frame& frame) {
    auto deep = std::make_shared<std::vector<uint16_t>>(frame.Pixels() * 3);
    return [f = frame, deep] {
        dc1394_bayer_decoding_16bit(reinterpret_cast<const uint16_t*>(f.src), deep->data(), f.width, f.height,
                                    DC1394_COLOR_FILTER_BGGR, DC1394_BAYER_METHOD_BILINEAR, 12);
        for (size_t i = 0; i < deep->size(); ++i) {
            f.dst[i] = static_cast<uint8_t>((*deep)[i] >> 4);
        }
    };
}

Work ToRgb(const Frame& frame, const uint8_t* src, dc1394color_coding_t coding, uint32_t bits) {
    return [f = frame, src, coding, bits] {
        dc1394_convert_to_RGB8(const_cast<uint8_t*>(src), f.dst, f.width, f.height, DC1394_BYTE_ORDER_UYVY, coding,
                               bits);
    };
}

template <dc1394color_coding_t coding, uint32_t bits>
Work Convert(const Frame& frame) {
    return ToRgb(frame, frame.src, coding, bits);
}

Work Yuv422(const Frame& frame) {
    static constexpr uint8_t kOrder[] = {0, 1, 2, 3};
    const SharedBytes uyvy = Repack(frame.src, frame.Pixels() / 2, 5, kOrder);
    const Work convert = ToRgb(frame, uyvy->data(), DC1394_COLOR_CODING_YUV422, 8);
    return [uyvy, convert] { convert(); };
}

Work Yuv444(const Frame& frame) {
    static constexpr uint8_t kOrder[] = {0, 1, 2};
    const SharedBytes uyv = Repack(frame.src, frame.Pixels(), 4, kOrder);
    const Work convert = ToRgb(frame, uyv->data(), DC1394_COLOR_CODING_YUV444, 8);
    return [uyv, convert] { convert(); };
}

constexpr const char* kToRgb = "convert_to_RGB8";
constexpr const char* kMatrix = "matrix in 10 bits; writes R, G, B";

constexpr Competitor c_asCompetitors[] = {
    {"libdc1394", "ConvMono8ToBGR", kToRgb, "", false, Convert<DC1394_COLOR_CODING_MONO8, 8>},
    {"libdc1394", "ConvYUV411PToBGR", kToRgb, kMatrix, true, Convert<DC1394_COLOR_CODING_YUV411, 8>},
    {"libdc1394", "ConvYUV422PToBGR", kToRgb, "matrix in 10 bits; writes R, G, B; reads 4-byte groups", true, Yuv422},
    {"libdc1394", "ConvYUV444PToBGR", kToRgb, "matrix in 10 bits; writes R, G, B; reads 3 bytes a pixel", true, Yuv444},
    {"libdc1394", "ConvByrRG8ToBGR", "bilinear", "black border of one pixel", false,
     Demosaic<DC1394_BAYER_METHOD_BILINEAR>},
    {"libdc1394", "ConvByrRG12ToBGR", "bilinear of 16 bits, plain shift", "black border of one pixel", false,
     DemosaicThenDepth},
    {"libdc1394", "ConvByrRG8ToBGRACPI", "edge sense", "simpler edge-aware method; black border", false,
     Demosaic<DC1394_BAYER_METHOD_EDGESENSE>},
};

const Registration registration(c_asCompetitors);

}  // namespace
}  // namespace Bench
