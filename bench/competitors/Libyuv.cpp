// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// libyuv. Its ARGB is our BGRA, its RGB24 our BGR, its RAW our RGB; J stands for the full-range matrix of JPEG. It
// knows no Bayer mosaic and no packed 4:1:1. Where one call does not do, two or three follow each other by strips.
#include <libyuv.h>

#include "competitors/Competitor.h"

namespace Bench {
namespace {

constexpr int kTwelveToEightBits = 4096;  // libyuv's scale: 65536 >> (12 - 8)

/// One call over the whole frame, with strides in bytes.
template <auto function, int srcBytesPerPixel, int dstBytesPerPixel>
Work Whole(const Frame& frame) {
    return [f = frame] {
        const int width = static_cast<int>(f.width);
        function(f.src, width * srcBytesPerPixel, f.dst, width * dstBytesPerPixel, width, static_cast<int>(f.height));
    };
}

/// Two calls, one strip after another: the first to `middle` bytes per pixel.
template <auto first, int srcBytesPerPixel, int middleBytesPerPixel, auto second, int dstBytesPerPixel>
Work TwoSteps(const Frame& frame) {
    return [f = frame, strip = MakeStrip(frame.width, middleBytesPerPixel)] {
        const int width = static_cast<int>(f.width);
        ForStrips(f.width, f.height, [&](uint32_t y, uint32_t rows) {
            const size_t begin = size_t{y} * f.width;
            const int height = static_cast<int>(rows);
            first(f.src + begin * srcBytesPerPixel, width * srcBytesPerPixel, strip->data(),
                  width * middleBytesPerPixel, width, height);
            second(strip->data(), width * middleBytesPerPixel, f.dst + begin * dstBytesPerPixel,
                   width * dstBytesPerPixel, width, height);
        });
    };
}

/// 12-bit samples, `channels` per pixel, to 8 bits.
template <int channels>
void Depth(const uint8_t* src, int srcStride, uint8_t* dst, int dstStride, int width, int height) {
    libyuv::Convert16To8Plane(reinterpret_cast<const uint16_t*>(src), srcStride / 2, dst, dstStride, kTwelveToEightBits,
                              width * channels, height);
}

/// A plane of bytes, copied; a negative height turns it upside down.
template <int bytesPerPixelTimes2, int sign>
Work CopyRows(const Frame& frame) {
    return [f = frame] {
        const int rowBytes = static_cast<int>(f.width) * bytesPerPixelTimes2 / 2;
        libyuv::CopyPlane(f.src, rowBytes, f.dst, rowBytes, rowBytes, sign * static_cast<int>(f.height));
    };
}

/// A half turn is the mirror of the frame read upside down.
template <auto mirror, int bytesPerPixel>
Work MirrorUpsideDown(const Frame& frame) {
    return [f = frame] {
        const int width = static_cast<int>(f.width);
        mirror(f.src, width * bytesPerPixel, f.dst, width * bytesPerPixel, width, -static_cast<int>(f.height));
    };
}

Work HalfTurn8(const Frame& frame) {
    return [f = frame] {
        const int width = static_cast<int>(f.width);
        libyuv::RotatePlane180(f.src, width, f.dst, width, width, static_cast<int>(f.height));
    };
}

/// Three planes of a strip, one byte per pixel each.
struct Planes {
    explicit Planes(uint32_t width) : y(MakeStrip(width, 1)), u(MakeStrip(width, 1)), v(MakeStrip(width, 1)) {}
    SharedBytes y;
    SharedBytes u;
    SharedBytes v;
};

Work FullRange422ToBgra(const Frame& frame) {
    return [f = frame, p = Planes(frame.width)] {
        const int width = static_cast<int>(f.width);
        ForStrips(f.width, f.height, [&](uint32_t y, uint32_t rows) {
            const size_t begin = size_t{y} * f.width;
            const int height = static_cast<int>(rows);
            libyuv::UYVYToI422(f.src + begin * 2, width * 2, p.y->data(), width, p.u->data(), width / 2, p.v->data(),
                               width / 2, width, height);
            libyuv::J422ToARGB(p.y->data(), width, p.u->data(), width / 2, p.v->data(), width / 2, f.dst + begin * 4,
                               width * 4, width, height);
        });
    };
}

Work FullRange422ToBgr(const Frame& frame) {
    static constexpr uint8_t kOrder[] = {0, 1, 2, 3};
    const SharedBytes uyvy = Repack(frame.src, frame.Pixels() / 2, 5, kOrder);
    return [f = frame, uyvy, p = Planes(frame.width)] {
        const int width = static_cast<int>(f.width);
        ForStrips(f.width, f.height, [&](uint32_t y, uint32_t rows) {
            const size_t begin = size_t{y} * f.width;
            const int height = static_cast<int>(rows);
            libyuv::UYVYToI422(uyvy->data() + begin * 2, width * 2, p.y->data(), width, p.u->data(), width / 2,
                               p.v->data(), width / 2, width, height);
            libyuv::I422ToRGB24Matrix(p.y->data(), width, p.u->data(), width / 2, p.v->data(), width / 2,
                                      f.dst + begin * 3, width * 3, &libyuv::kYuvJPEGConstants, width, height);
        });
    };
}

/// Splits the groups U Y V - of a strip into planes.
void Split444(const Frame& f, const Planes& p, size_t begin, int height) {
    const int width = static_cast<int>(f.width);
    // libyuv's ARGB lies in memory as B, G, R, A: here U, Y, V and the skipped byte.
    libyuv::SplitARGBPlane(f.src + begin * 4, width * 4, p.v->data(), width, p.y->data(), width, p.u->data(), width,
                           nullptr, 0, width, height);
}

Work FullRange444ToBgra(const Frame& frame) {
    return [f = frame, p = Planes(frame.width)] {
        const int width = static_cast<int>(f.width);
        ForStrips(f.width, f.height, [&](uint32_t y, uint32_t rows) {
            const size_t begin = size_t{y} * f.width;
            Split444(f, p, begin, static_cast<int>(rows));
            libyuv::J444ToARGB(p.y->data(), width, p.u->data(), width, p.v->data(), width, f.dst + begin * 4, width * 4,
                               width, static_cast<int>(rows));
        });
    };
}

Work FullRange444ToBgr(const Frame& frame) {
    return [f = frame, p = Planes(frame.width)] {
        const int width = static_cast<int>(f.width);
        ForStrips(f.width, f.height, [&](uint32_t y, uint32_t rows) {
            const size_t begin = size_t{y} * f.width;
            Split444(f, p, begin, static_cast<int>(rows));
            libyuv::I444ToRGB24Matrix(p.y->data(), width, p.u->data(), width, p.v->data(), width, f.dst + begin * 3,
                                      width * 3, &libyuv::kYuvJPEGConstants, width, static_cast<int>(rows));
        });
    };
}

constexpr const char* kVideoMatrix = "limited-range matrix";
constexpr const char* kFullMatrix = "same matrix in 6 bits";
constexpr const char* kFullMatrix4 = "same matrix in 6 bits, reads 4-byte groups";
constexpr const char* kMirrorUv = "MirrorUVPlane";

constexpr Competitor c_asCompetitors[] = {
    {"libyuv", "ConvMono8ToBGRA", "J400ToARGB", "", false, Whole<libyuv::J400ToARGB, 1, 4>},
    {"libyuv", "ConvMono8ToBGR", "J400ToARGB, ARGBToRGB24", "", false,
     TwoSteps<libyuv::J400ToARGB, 1, 4, libyuv::ARGBToRGB24, 3>},
    {"libyuv", "ConvMono12ToBGRA", "Convert16To8Plane, J400ToARGB", "", false,
     TwoSteps<Depth<1>, 2, 1, libyuv::J400ToARGB, 4>},
    {"libyuv", "ConvRGB8PToBGRA", "RAWToARGB", "", false, Whole<libyuv::RAWToARGB, 3, 4>},
    {"libyuv", "ConvRGB8PToBGR", "RAWToRGB24", "", false, Whole<libyuv::RAWToRGB24, 3, 3>},
    {"libyuv", "ConvBGR8PToBGRA", "RGB24ToARGB", "", false, Whole<libyuv::RGB24ToARGB, 3, 4>},
    {"libyuv", "ConvBGR8PToBGR", "CopyPlane", "", false, CopyRows<6, 1>},
    {"libyuv", "ConvRGB12PToBGRA", "Convert16To8Plane, RAWToARGB", "", false,
     TwoSteps<Depth<3>, 6, 3, libyuv::RAWToARGB, 4>},
    {"libyuv", "ConvRGB12PToBGR", "Convert16To8Plane, RAWToRGB24", "", false,
     TwoSteps<Depth<3>, 6, 3, libyuv::RAWToRGB24, 3>},
    {"libyuv", "ConvBGR12PToBGRA", "Convert16To8Plane, RGB24ToARGB", "", false,
     TwoSteps<Depth<3>, 6, 3, libyuv::RGB24ToARGB, 4>},
    {"libyuv", "ConvBGR12PToBGR", "Convert16To8Plane", "", false, Whole<Depth<3>, 6, 3>},
    {"libyuv", "ConvYUV422PToBGRA", "UYVYToARGB", kVideoMatrix, false, Whole<libyuv::UYVYToARGB, 2, 4>},
    {"libyuv", "ConvYUV422PToBGRA", "UYVYToI422, J422ToARGB", kFullMatrix, false, FullRange422ToBgra},
    {"libyuv", "ConvYUV422PToBGR", "UYVYToI422, I422ToRGB24Matrix", kFullMatrix4, false, FullRange422ToBgr},
    {"libyuv", "ConvYUV444PToBGRA", "SplitARGBPlane, J444ToARGB", kFullMatrix, false, FullRange444ToBgra},
    {"libyuv", "ConvYUV444PToBGR", "SplitARGBPlane, I444ToRGB24Matrix", kFullMatrix, false, FullRange444ToBgr},
    {"libyuv", "Reverse Mono8 copy", "CopyPlane", "", false, CopyRows<2, 1>},
    {"libyuv", "Reverse Mono12 copy", "CopyPlane", "", false, CopyRows<4, 1>},
    {"libyuv", "Reverse RGB8 copy", "CopyPlane", "", false, CopyRows<6, 1>},
    {"libyuv", "Reverse BGR12 copy", "CopyPlane", "", false, CopyRows<12, 1>},
    {"libyuv", "Reverse Mono8 upside down", "CopyPlane", "", false, CopyRows<2, -1>},
    {"libyuv", "Reverse Mono12 upside down", "CopyPlane", "", false, CopyRows<4, -1>},
    {"libyuv", "Reverse RGB8 upside down", "CopyPlane", "", false, CopyRows<6, -1>},
    {"libyuv", "Reverse BGR12 upside down", "CopyPlane", "", false, CopyRows<12, -1>},
    {"libyuv", "Reverse YUV411 upside down", "CopyPlane", "", false, CopyRows<3, -1>},
    {"libyuv", "Reverse YUV422 upside down", "CopyPlane", "", false, CopyRows<4, -1>},
    {"libyuv", "Reverse Mono8 mirror", "MirrorPlane", "", false, Whole<libyuv::MirrorPlane, 1, 1>},
    {"libyuv", "Reverse Mono12 mirror", kMirrorUv, "", false, Whole<libyuv::MirrorUVPlane, 2, 2>},
    {"libyuv", "Reverse RGB8 mirror", "RGB24Mirror", "", false, Whole<libyuv::RGB24Mirror, 3, 3>},
    {"libyuv", "Reverse Mono8 half turn", "RotatePlane180", "", false, HalfTurn8},
    {"libyuv", "Reverse Mono12 half turn", kMirrorUv, "", false, MirrorUpsideDown<libyuv::MirrorUVPlane, 2>},
    {"libyuv", "Reverse RGB8 half turn", "RGB24Mirror", "", false, MirrorUpsideDown<libyuv::RGB24Mirror, 3>},
};

const Registration registration(c_asCompetitors);

}  // namespace
}  // namespace Bench
