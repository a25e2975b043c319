// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Single rows: what goes into a converter of VexaCamUtl.h, and what is done with what comes out.
#include <algorithm>
#include <bit>
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

void StoreLittleEndian64(uint8_t* to, uint64_t value) {
    static_assert(std::endian::native == std::endian::little);
    std::memcpy(to, &value, sizeof value);
}

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

/// Looks samples up, `period` tables in turn. Results are gathered in a register: bytes stored one by one could change
/// the tables, as far as a compiler knows.
template <uint32_t period, class IndexAt>
[[gnu::always_inline]] inline void LookUp(const RowTables& row, IndexAt indexAt, size_t count, uint8_t* out) {
    const uint8_t* const tables[3] = {row.at[0], row.at[1], row.at[period == 3 ? 2 : 0]};
    constexpr size_t kAtOnce = period == 3 ? 24 : 8;
    size_t i = 0;
    for (; i + kAtOnce <= count; i += kAtOnce) {
#pragma GCC unroll 3
        for (size_t part = 0; part < kAtOnce; part += 8) {
            uint64_t values = 0;
#pragma GCC unroll 8
            for (size_t k = 0; k < 8; ++k) {
                values |= uint64_t{tables[(part + k) % period][indexAt(i + part + k)]} << 8 * k;
            }
            StoreLittleEndian64(out + i + part, values);
        }
    }
    for (uint32_t k = 0; i < count; ++i, ++k) {
        out[i] = tables[k % period][indexAt(i)];
    }
}

template <uint32_t period>
void LookUpWords(const RowTables& row, const uint8_t* words, size_t count, uint8_t* out) {
    LookUp<period>(
        row, [words](size_t i) { return LoadWord(words + 2 * i); }, count, out);
}

template <uint32_t period>
void LookUpBytes(const RowTables& row, const uint8_t* bytes, size_t count, uint8_t* out) {
    LookUp<period>(
        row, [bytes](size_t i) { return bytes[i]; }, count, out);
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
    uint8_t* line = converter.scratch.line;
    if (format.packing != VCF_PACKING_NONE) {
        UnpackWords(g, buffer, row, 0, g.width, line);
    } else {
        s_frameKernels->limitWords(line, from, count, converter.levels.shift, converter.levels.largest);
    }
    (colour ? LookUpWords<3> : LookUpWords<2>)(tables, line, count, out);
}

struct YuvPixel {
    uint8_t u;
    uint8_t y;
    uint8_t v;
};

/// A pixel of a group of several.
YuvPixel PixelOf(PixelFormat format, const uint8_t* group, uint32_t member) {
    switch (format) {
        case PIXEL_FORMAT_YUV411_8_UYYVYY: {
            constexpr uint32_t kLuma[] = {1, 2, 4, 5};
            return {group[0], group[kLuma[member]], group[3]};
        }
        case PIXEL_FORMAT_YUV422_8_UYVY:
            return {group[0], group[1 + 2 * member], group[2]};
        default:  // PIXEL_FORMAT_YUV422_8; the groups of YUV8_UYV are pixels
            return {group[1], group[size_t{2} * member], group[3]};
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

LumaPlaces LumaPlacesOf(PixelFormat format) {
    switch (format) {
        case PIXEL_FORMAT_YUV411_8_UYYVYY:
            return kLumaPairs;
        case PIXEL_FORMAT_YUV422_8_UYVY:
            return kOddLuma;
        case PIXEL_FORMAT_YUV422_8:
            return kEvenLuma;
        default:
            return kThirdLuma;
    }
}

/// The bytes of a YUV row of whole groups, in full range; `line` if they had to be made.
const uint8_t* FullRangeRow(const Geometry& g, const uint8_t* buffer, uint32_t row, uint8_t* line) {
    const uint8_t* from = buffer + g.StartOf(row).byte;
    if (!g.limited) {
        return from;
    }
    s_frameKernels->widenRange[LumaPlacesOf(g.format->format)](line, from, BytesOfPixels(*g.format, g.width));
    return line;
}

/// The luma of a YUV row of whole groups.
void LumaOfGroups(PixelFormat format, const uint8_t* from, size_t width, uint8_t* out) {
    switch (format) {
        case PIXEL_FORMAT_YUV422_8_UYVY:
            s_frameKernels->reduce(out, from, width, 8);
            break;
        case PIXEL_FORMAT_YUV422_8:
            s_frameKernels->reduce(out, from, width, 0);
            break;
        case PIXEL_FORMAT_YUV411_8_UYYVYY:
            for (size_t pair = 0; pair < width / 2; ++pair) {
                out[2 * pair] = from[3 * pair + 1];
                out[2 * pair + 1] = from[3 * pair + 2];
            }
            break;
        default:
            for (size_t x = 0; x < width; ++x) {
                out[x] = from[3 * x + 1];
            }
    }
}

/// The grey values of a row as bytes, or as words of the format's depth; true for words.
bool GreySamples(const VcfConverter& converter, const uint8_t* buffer, uint32_t row, uint8_t* out) {
    const Geometry& g = converter.geometry;
    if (g.format->kind == VCF_KIND_YUV && g.RowsAreWholeGroups()) {
        LumaOfGroups(g.format->format, FullRangeRow(g, buffer, row, converter.scratch.line), g.width, out);
        return false;
    }
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

/// The matrix for the order of the channels in memory.
PixelMatrix MatrixInOrder(const int32_t (&m)[9], bool redFirst) {
    PixelMatrix matrix;
    for (size_t to = 0; to < 3; ++to) {
        for (size_t from = 0; from < 3; ++from) {
            matrix.rows[to][from] =
                static_cast<int16_t>(m[(redFirst ? to : 2 - to) * 3 + (redFirst ? from : 2 - from)]);
        }
    }
    return matrix;
}

}  // namespace

void FeedRow(const VcfConverter& converter, const uint8_t* buffer, uint32_t row, uint8_t* fed) {
    const Geometry& g = converter.geometry;
    uint8_t* line = converter.scratch.line;
    const uint8_t* from =
        g.limited && g.RowsAreWholeGroups() ? FullRangeRow(g, buffer, row, line) : buffer + g.StartOf(row).byte;
    switch (converter.plan.feed) {
        case Feed::kFullRange:
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
                s_frameKernels->swapBytes(line, from, g.width);
                from = line;
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
        const PixelMatrix matrix = MatrixInOrder(converter.settings.matrix, redFirst);
        if (plan.pixelBytes == 4) {
            s_frameKernels->matrix4(pixels, width, matrix);
            return;
        }
        uint8_t* line = converter.scratch.line;
        s_frameKernels->spread3To4(line, pixels, width);
        s_frameKernels->matrix4(line, width, matrix);
        s_frameKernels->drop4To3(pixels, line, width);
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
