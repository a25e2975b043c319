// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// RawFrameOf: the scene as the frame of a camera, format by format.
#include <algorithm>
#include <cmath>

#include "formats/Unpack.h"
#include "scene/Scene.h"

namespace VexaTool {

namespace {

/// Collects samples of one depth.
class SampleWriter {
  public:
    SampleWriter(uint32_t depth, size_t samples) : m_depth(depth) { m_bytes.reserve(samples * (depth > 8 ? 2 : 1)); }
    void Put(uint16_t value) {
        const uint32_t sample = uint32_t{value} >> (16 - m_depth);
        m_bytes.push_back(static_cast<uint8_t>(sample));
        if (m_depth > 8) {
            m_bytes.push_back(static_cast<uint8_t>(sample >> 8));
        }
    }
    std::vector<uint8_t> Take() { return std::move(m_bytes); }

  private:
    uint32_t m_depth;
    std::vector<uint8_t> m_bytes;
};

uint16_t Luma(const Rgb16& p) {
    return static_cast<uint16_t>((299u * p.r + 587u * p.g + 114u * p.b + 500u) / 1000u);
}

template <class PutPixel>
std::vector<uint8_t> EachPixel(const Scene& scene, uint32_t depth, size_t samplesPerPixel, PutPixel put) {
    SampleWriter writer(depth, size_t{scene.Width()} * scene.Height() * samplesPerPixel);
    for (size_t y = 0; y < scene.Height(); ++y) {
        for (size_t x = 0; x < scene.Width(); ++x) {
            put(writer, scene.At(x, y), x, y);
        }
    }
    return writer.Take();
}

std::vector<uint8_t> MosaicOf(const Scene& scene, const FormatInfo& format) {
    // The 2 x 2 cell read row by row is the first row's two letters and then the missing ones: green where they have
    // none, and the other of red and blue beside it.
    const char first = format.name[5];
    const char second = format.name[6];
    const char opposite = first == 'R' || second == 'R' ? 'B' : 'R';
    const char cell[2][2] = {{first, second}, {first == 'G' ? opposite : 'G', first == 'G' ? 'G' : opposite}};
    return EachPixel(scene, format.depth, 1, [&cell](SampleWriter& writer, const Rgb16& p, size_t x, size_t y) {
        const char colour = cell[y % 2][x % 2];
        writer.Put(colour == 'R' ? p.r : colour == 'G' ? p.g : p.b);
    });
}

std::vector<uint8_t> ColourOf(const Scene& scene, const FormatInfo& format) {
    const bool redFirst = format.name[0] == 'R';
    return EachPixel(scene, format.depth, 3, [redFirst](SampleWriter& writer, const Rgb16& p, size_t, size_t) {
        writer.Put(redFirst ? p.r : p.b);
        writer.Put(p.g);
        writer.Put(redFirst ? p.b : p.r);
    });
}

struct Yuv {
    double y, u, v;
};

/// Full range, as the library's converters read it.
Yuv YuvOf(const Rgb16& p) {
    const double r = p.r / 257.0;
    const double g = p.g / 257.0;
    const double b = p.b / 257.0;
    const double y = 0.299 * r + 0.587 * g + 0.114 * b;
    return {y, 128 + (b - y) / 1.772, 128 + (r - y) / 1.402};
}

uint8_t ByteOf(double value) {
    return static_cast<uint8_t>(std::clamp(std::lround(value), 0L, 255L));
}

/// Groups of `group` pixels share the mean of their chroma: U, half of the luma, V, the other half (UYV: U, Y, V).
std::vector<uint8_t> YuvFrameOf(const Scene& scene, const FormatInfo& format) {
    const size_t group = format.groupPixels;
    const size_t pixels = size_t{scene.Width()} * scene.Height();
    std::vector<uint8_t> bytes;
    for (size_t p = 0; p + group <= pixels; p += group) {
        uint8_t luma[4] = {};
        double u = 0;
        double v = 0;
        for (size_t i = 0; i < group; ++i) {
            const Yuv yuv = YuvOf(scene.At((p + i) % scene.Width(), (p + i) / scene.Width()));
            luma[i] = ByteOf(yuv.y);
            u += yuv.u / static_cast<double>(group);
            v += yuv.v / static_cast<double>(group);
        }
        if (format.code == PIXEL_FORMAT_YUV422_8) {
            bytes.insert(bytes.end(), {luma[0], ByteOf(u), luma[1], ByteOf(v)});
            continue;
        }
        const size_t beforeV = (group + 1) / 2;
        bytes.push_back(ByteOf(u));
        bytes.insert(bytes.end(), luma, luma + beforeV);
        bytes.push_back(ByteOf(v));
        bytes.insert(bytes.end(), luma + beforeV, luma + group);
    }
    return bytes;
}

std::vector<uint8_t> UnpackedFrameOf(const Scene& scene, const FormatInfo& format) {
    switch (format.kind) {
        case Kind::kBayer:
            return MosaicOf(scene, format);
        case Kind::kColour:
            return ColourOf(scene, format);
        case Kind::kYuv:
            return YuvFrameOf(scene, format);
        case Kind::kMono:
            break;
    }
    return EachPixel(scene, format.depth, 1,
                     [](SampleWriter& writer, const Rgb16& p, size_t, size_t) { writer.Put(Luma(p)); });
}

}  // namespace

std::vector<uint8_t> RawFrameOf(const Scene& scene, const RawShape& shape) {
    std::vector<uint8_t> frame = UnpackedFrameOf(scene, UnpackedFormat(*shape.format));
    return shape.format->IsPacked() ? PackSamples(shape, frame.data()) : frame;
}

}  // namespace VexaTool
