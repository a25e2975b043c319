// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Single rows: what goes into a converter of VexaCamUtl.h, and what is done with what comes out.
#include <algorithm>
#include <cstring>

#include "Converter.h"
#include "Samples.h"
#include "kernels/FramesScalar.h"

namespace VexaFrames {

namespace {

/// Tables of the samples of a row in turn: two columns of a mosaic, the three channels of a pixel.
struct RowTables {
    const uint8_t* at[3];
};

RowTables TablesOf(const VcfConverter& converter, uint32_t row) {
    const VcfFormat& format = *converter.geometry.format;
    const auto& values = converter.levels.values;
    if (format.kind == VCF_KIND_MONO) {
        return {{values[kGreen], values[kGreen], nullptr}};
    }
    if (format.kind == VCF_KIND_COLOUR) {
        const bool redFirst = format.name[0] == 'R';
        return {{values[redFirst ? kRed : kBlue], values[kGreen], values[redFirst ? kBlue : kRed]}};
    }
    // The colours of columns 0 and 1 in rows 0 and 1, by phase.
    constexpr Channel kSites[5][2][2] = {{},
                                         {{kGreen, kRed}, {kBlue, kGreen}},
                                         {{kRed, kGreen}, {kGreen, kBlue}},
                                         {{kGreen, kBlue}, {kRed, kGreen}},
                                         {{kBlue, kGreen}, {kGreen, kRed}}};
    const Channel(&sites)[2] = kSites[format.phase][row % 2];
    return {{values[sites[0]], values[sites[1]], nullptr}};
}

uint32_t IndexOf(const LevelTables& tables, const uint8_t* word) {
    return std::min(LoadWord(word) >> tables.shift, tables.largest);
}

template <uint32_t period>
void LookUpWords(const LevelTables& tables, const RowTables& row, const uint8_t* words, size_t count, uint8_t* out) {
    size_t i = 0;
    for (; i + period <= count; i += period) {
        for (uint32_t k = 0; k < period; ++k) {
            out[i + k] = row.at[k][IndexOf(tables, words + 2 * (i + k))];
        }
    }
    for (uint32_t k = 0; i < count; ++i, ++k) {
        out[i] = row.at[k][IndexOf(tables, words + 2 * i)];
    }
}

template <uint32_t period>
void LookUpBytes(const RowTables& row, const uint8_t* bytes, size_t count, uint8_t* out) {
    size_t i = 0;
    for (; i + period <= count; i += period) {
        for (uint32_t k = 0; k < period; ++k) {
            out[i + k] = row.at[k][bytes[i + k]];
        }
    }
    for (uint32_t k = 0; i < count; ++i, ++k) {
        out[i] = row.at[k][bytes[i]];
    }
}

void LevelRow(const VcfConverter& converter, const uint8_t* buffer, uint32_t row, uint8_t* out) {
    const Geometry& g = converter.geometry;
    const VcfFormat& format = *g.format;
    const RowTables tables = TablesOf(converter, row);
    const bool colour = format.kind == VCF_KIND_COLOUR;
    const size_t count = size_t{g.width} * ChannelsOf(format);
    const uint8_t* from = buffer + g.StartOf(row).byte;
    if (format.depth == 8) {
        (colour ? LookUpBytes<3> : LookUpBytes<2>)(tables, from, count, out);
        return;
    }
    if (format.packing != VCF_PACKING_NONE) {
        UnpackWords(g, buffer, row, 0, g.width, converter.scratch.line);
        from = converter.scratch.line;
    }
    (colour ? LookUpWords<3> : LookUpWords<2>)(converter.levels, tables, from, count, out);
}

/// (Y - 16) * 255 / 219 and (C - 128) * 255 / 224 + 128, rounded and limited to 0..255.
uint8_t FullLuma(uint32_t y) {
    const int scaled = (static_cast<int>(y) - 16) * 255;
    return scaled <= 0 ? 0 : static_cast<uint8_t>(std::min(255, (scaled + 109) / 219));
}

uint8_t FullChroma(uint32_t c) {
    // An offset of 255 * 224 keeps the division away from negative numbers.
    const int scaled = (static_cast<int>(c) - 128) * 255 + 128 * 224 + 112 + 255 * 224;
    return static_cast<uint8_t>(std::clamp(scaled / 224 - 255, 0, 255));
}

struct YuvPixel {
    uint8_t u;
    uint8_t y;
    uint8_t v;
};

/// A pixel of a group.
YuvPixel PixelOf(PixelFormat format, const uint8_t* group, uint32_t member) {
    switch (format) {
        case PIXEL_FORMAT_YUV411_8_UYYVYY: {
            constexpr uint32_t kLuma[] = {1, 2, 4, 5};
            return {group[0], group[kLuma[member]], group[3]};
        }
        case PIXEL_FORMAT_YUV422_8_UYVY:
            return {group[0], group[1 + 2 * member], group[2]};
        case PIXEL_FORMAT_YUV422_8:
            return {group[1], group[2 * member], group[3]};
        default:
            return {group[0], group[1], group[2]};
    }
}

template <class Use>
void ForEachYuvPixel(const Geometry& g, const uint8_t* buffer, uint32_t row, Use use) {
    const VcfFormat& format = *g.format;
    RowStart at = g.StartOf(row);
    for (uint32_t x = 0; x < g.width; ++x) {
        YuvPixel pixel = PixelOf(format.format, buffer + at.byte, at.member);
        if (g.limited) {
            pixel = {FullChroma(pixel.u), FullLuma(pixel.y), FullChroma(pixel.v)};
        }
        use(x, pixel);
        if (++at.member == format.group_pixels) {
            at.member = 0;
            at.byte += format.group_bytes;
        }
    }
}

/// The grey values of a row as bytes, or as words of the format's depth; true for words.
bool GreySamples(const VcfConverter& converter, const uint8_t* buffer, uint32_t row, uint8_t* out) {
    const Geometry& g = converter.geometry;
    if (g.format->kind == VCF_KIND_YUV) {
        ForEachYuvPixel(g, buffer, row, [out](uint32_t x, const YuvPixel& pixel) { out[x] = pixel.y; });
        return false;
    }
    if (converter.settings.levels != 0) {
        LevelRow(converter, buffer, row, out);
        return false;
    }
    if (g.format->depth == 8) {
        std::memcpy(out, buffer + g.StartOf(row).byte, g.width);
        return false;
    }
    ReadSamples(g, buffer, row, 0, g.width, out);
    return true;
}

int32_t Clamped(int32_t value) {
    return std::clamp(value, 0, 255);
}

/// The matrix on pixels of `step` bytes, red at `red`, blue at 2 - `red`.
void ApplyMatrix(const int32_t (&m)[9], uint8_t* pixels, size_t count, uint32_t step, uint32_t red) {
    for (size_t i = 0; i < count; ++i, pixels += step) {
        const int32_t r = pixels[red];
        const int32_t g = pixels[1];
        const int32_t b = pixels[2 - red];
        pixels[red] = static_cast<uint8_t>(Clamped((m[0] * r + m[1] * g + m[2] * b + 2048) >> 12));
        pixels[1] = static_cast<uint8_t>(Clamped((m[3] * r + m[4] * g + m[5] * b + 2048) >> 12));
        pixels[2 - red] = static_cast<uint8_t>(Clamped((m[6] * r + m[7] * g + m[8] * b + 2048) >> 12));
    }
}

}  // namespace

void FeedRow(const VcfConverter& converter, const uint8_t* buffer, uint32_t row, uint8_t* fed) {
    const Geometry& g = converter.geometry;
    const uint8_t* from = buffer + g.StartOf(row).byte;
    switch (converter.plan.feed) {
        case Feed::kRows:
            std::memcpy(fed, from, converter.plan.fedRowBytes);
            break;
        case Feed::kWords:
            UnpackWords(g, buffer, row, 0, g.width, fed);
            break;
        case Feed::kLevels:
            LevelRow(converter, buffer, row, fed);
            break;
        case Feed::kSwapped:
            s_frameKernels->swapBytes(fed, from, g.width);
            break;
        case Feed::kGroupsOfFive:
            if (g.format->format == PIXEL_FORMAT_YUV422_8) {
                s_frameKernels->swapBytes(converter.scratch.line, from, g.width);
                from = converter.scratch.line;
            }
            s_frameKernels->spread4To5(fed, from, g.width / 2);
            break;
        case Feed::kUyv4:
            s_frameKernels->spread3To4(fed, from, g.width);
            break;
        case Feed::kYuvPixels:
            ForEachYuvPixel(g, buffer, row, [fed](uint32_t x, const YuvPixel& pixel) {
                fed[4 * size_t{x}] = pixel.u;
                fed[4 * size_t{x} + 1] = pixel.y;
                fed[4 * size_t{x} + 2] = pixel.v;
                fed[4 * size_t{x} + 3] = 0;
            });
            break;
    }
}

void GreyRow(const VcfConverter& converter, const uint8_t* buffer, uint32_t row, uint8_t* dst) {
    const Geometry& g = converter.geometry;
    uint8_t* samples = converter.scratch.feed;
    const bool words = GreySamples(converter, buffer, row, samples);
    const uint32_t depth = g.format->depth;
    if (converter.output == VCF_OUTPUT_GREY8) {
        if (words) {
            s_frameKernels->reduce(dst, samples, g.width, depth - 8);
        } else {
            std::memcpy(dst, samples, g.width);
        }
        return;
    }
    for (size_t x = 0; x < g.width; ++x) {
        const uint32_t sample = words ? LoadWord(samples + 2 * x) : samples[x] * 257u;
        StoreWord(dst + 2 * x, words ? sample << (16 - depth) | sample >> (2 * depth - 16) : sample);
    }
}

void FinishRow(const VcfConverter& converter, uint8_t* pixels) {
    const Plan& plan = converter.plan;
    const uint32_t width = converter.geometry.width;
    if (plan.finish.exchange) {
        (plan.pixelBytes == 4 ? s_frameKernels->exchange4 : s_frameKernels->exchange3)(pixels, width);
    }
    if (plan.finish.matrix) {
        const bool redFirst = converter.output == VCF_OUTPUT_RGB || converter.output == VCF_OUTPUT_RGBA;
        ApplyMatrix(converter.settings.matrix, pixels, width, plan.pixelBytes, redFirst ? 0 : 2);
    }
}

void LumaRow(const VcfConverter& converter, const uint8_t* bgr, uint8_t* dst) {
    const uint32_t width = converter.geometry.width;
    for (size_t x = 0; x < width; ++x) {
        const uint32_t y = (77u * bgr[3 * x + 2] + 150u * bgr[3 * x + 1] + 29u * bgr[3 * x] + 128) >> 8;
        if (converter.output == VCF_OUTPUT_GREY8) {
            dst[x] = static_cast<uint8_t>(y);
        } else {
            StoreWord(dst + 2 * x, y * 257);
        }
    }
}

}  // namespace VexaFrames
