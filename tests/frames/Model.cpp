// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See Model.h.
#include "Model.h"

#include <algorithm>
#include <cmath>

#include "Reference.h"

namespace FramesModel {

namespace {

/// The place of a bit: a byte counted from the start of the run, and the bit in it.
struct Bit {
    uint64_t byte;
    uint32_t bit;
};

/// Bit `bit` of sample `n` (of a channel) of a run, drawn in the header.
Bit BitOf(const VcfFormat& format, uint64_t n, uint32_t channel, uint32_t bit) {
    switch (format.packing) {
        case VCF_PACKING_10P:
            return {(n * 10 + bit) / 8, static_cast<uint32_t>((n * 10 + bit) % 8)};
        case VCF_PACKING_12P:
            return {(n * 12 + bit) / 8, static_cast<uint32_t>((n * 12 + bit) % 8)};
        case VCF_PACKING_10PACKED: {
            const uint32_t second = n % 2 == 1 ? 1 : 0;
            return bit >= 2 ? Bit{n / 2 * 3 + (second ? 2 : 0), bit - 2} : Bit{n / 2 * 3 + 1, bit + (second ? 4 : 0)};
        }
        case VCF_PACKING_12PACKED: {
            const uint32_t second = n % 2 == 1 ? 1 : 0;
            return bit >= 4 ? Bit{n / 2 * 3 + (second ? 2 : 0), bit - 4} : Bit{n / 2 * 3 + 1, bit + (second ? 4 : 0)};
        }
        case VCF_PACKING_10CSI2:
            return bit >= 2 ? Bit{n / 4 * 5 + n % 4, bit - 2}
                            : Bit{n / 4 * 5 + 4, bit + 2 * static_cast<uint32_t>(n % 4)};
        case VCF_PACKING_12CSI2:
            return bit >= 4 ? Bit{n / 2 * 3 + n % 2, bit - 4}
                            : Bit{n / 2 * 3 + 2, bit + 4 * static_cast<uint32_t>(n % 2)};
        default:
            break;
    }
    uint64_t byte = 0;
    const uint64_t luma411[] = {1, 2, 4, 5};
    switch (format.format) {
        case PIXEL_FORMAT_YUV411_8_UYYVYY:
            byte = n / 4 * 6 + (channel == 0 ? 0 : channel == 2 ? 3 : luma411[n % 4]);
            break;
        case PIXEL_FORMAT_YUV422_8_UYVY:
            byte = n / 2 * 4 + (channel == 0 ? 0 : channel == 2 ? 2 : 1 + n % 2 * 2);
            break;
        case PIXEL_FORMAT_YUV422_8:
            byte = n / 2 * 4 + (channel == 0 ? 1 : channel == 2 ? 3 : n % 2 * 2);
            break;
        case PIXEL_FORMAT_YUV8_UYV:
            byte = n * 3 + channel;
            break;
        default: {
            const uint32_t channels = format.kind == VCF_KIND_COLOUR ? 3 : 1;
            byte = (n * channels + channel) * (format.depth == 8 ? 1 : 2);
        }
    }
    return {byte + bit / 8, bit % 8};
}

bool IsCsi2(const VcfFormat& format) {
    return format.packing == VCF_PACKING_10CSI2 || format.packing == VCF_PACKING_12CSI2;
}

uint32_t GroupPixels(const VcfFormat& format) {
    const bool fours = format.packing == VCF_PACKING_10P || format.packing == VCF_PACKING_10CSI2 ||
                       format.format == PIXEL_FORMAT_YUV411_8_UYYVYY;
    const bool pairs = format.packing != VCF_PACKING_NONE || format.format == PIXEL_FORMAT_YUV422_8 ||
                       format.format == PIXEL_FORMAT_YUV422_8_UYVY;
    return fours ? 4 : pairs ? 2 : 1;
}

struct Place {
    uint64_t base;   ///< byte where the run begins
    uint64_t index;  ///< pixel of the run
};

Place PlaceOf(const VcfLayout& layout, const VcfFormat& format, uint32_t row, uint32_t column) {
    const uint64_t rowWidth = layout.row_width == 0 ? layout.width : layout.row_width;
    if (layout.stride != 0) {
        return {layout.offset + row * layout.stride, layout.skip + column};
    }
    if (IsCsi2(format)) {
        const uint64_t group = GroupPixels(format);
        const uint64_t rowBytes = (rowWidth + group - 1) / group * (group == 4 ? 5 : 3);
        return {layout.offset + (layout.skip / rowWidth + row) * rowBytes, layout.skip % rowWidth + column};
    }
    return {layout.offset, layout.skip + row * rowWidth + column};
}

uint32_t StoredBits(const VcfFormat& format) {
    return format.packing != VCF_PACKING_NONE ? format.depth : format.depth == 8 ? 8 : 16;
}

template <class Use>
void ForEachBit(const Frame& frame, Use use) {
    for (uint32_t row = 0; row < frame.layout.height; ++row) {
        for (uint32_t column = 0; column < frame.layout.width; ++column) {
            const Place place = PlaceOf(frame.layout, *frame.format, row, column);
            for (uint32_t channel = 0; channel < frame.channels; ++channel) {
                for (uint32_t bit = 0; bit < StoredBits(*frame.format); ++bit) {
                    const Bit at = BitOf(*frame.format, place.index, channel, bit);
                    use(place.base + at.byte, at.bit, frame.Word(row, column, channel) >> bit & 1);
                }
            }
        }
    }
}

std::string WorkerName(const std::string& stem, bool four) {
    return stem + (four ? "ToBGRA" : "ToBGR");
}

std::string PhaseName(uint32_t phase) {
    const char* const names[] = {"", "GR", "RG", "GB", "BG"};
    return names[phase];
}

/// The words as bytes of the source of a reference converter.
std::vector<uint8_t> SourceOf(const std::vector<uint32_t>& words, uint32_t bytes) {
    std::vector<uint8_t> source;
    for (const uint32_t word : words) {
        source.push_back(static_cast<uint8_t>(word));
        if (bytes == 2) {
            source.push_back(static_cast<uint8_t>(word >> 8));
        }
    }
    return source;
}

uint8_t Rounded(double value) {
    return static_cast<uint8_t>(std::clamp(std::floor(value + 0.5), 0.0, 255.0));
}

std::vector<uint8_t> YuvSource(const Frame& frame) {
    std::vector<uint8_t> source;
    const bool limited = frame.layout.range == VCF_RANGE_LIMITED;
    for (size_t i = 0; i < frame.words.size(); i += 3) {
        for (uint32_t channel = 0; channel < 3; ++channel) {
            const double value = frame.words[i + channel];
            const double full = !limited       ? value
                                : channel == 1 ? (value - 16) * 255 / 219
                                               : (value - 128) * 255 / 224 + 128;
            source.push_back(Rounded(full));
        }
        source.push_back(0);
    }
    return source;
}

uint32_t ChannelOf(const Frame& frame, uint32_t row, uint32_t column, uint32_t channel) {
    if (frame.format->kind == VCF_KIND_COLOUR) {
        return frame.format->name[0] == 'R' ? channel : 2 - channel;
    }
    if (frame.format->kind == VCF_KIND_MONO) {
        return 3;
    }
    const char* const rows[5][2] = {{}, {"GR", "BG"}, {"RG", "GB"}, {"GB", "RG"}, {"BG", "GR"}};
    const char letter = rows[frame.format->phase][row % 2][column % 2];
    return letter == 'R' ? 0 : letter == 'G' ? 1 : 2;
}

std::vector<uint32_t> Levelled(const Frame& frame, const VcfSettings& settings) {
    std::vector<uint32_t> bytes;
    for (uint32_t row = 0; row < frame.layout.height; ++row) {
        for (uint32_t column = 0; column < frame.layout.width; ++column) {
            for (uint32_t c = 0; c < frame.channels; ++c) {
                bytes.push_back(
                    Level(settings, *frame.format, frame.Sample(row, column, c), ChannelOf(frame, row, column, c)));
            }
        }
    }
    return bytes;
}

std::vector<uint8_t> Run(const std::string& name, const Frame& frame, const std::vector<uint8_t>& source,
                         uint32_t shift) {
    const Reference::Converter& converter = Reference::Find(name);
    std::vector<uint8_t> picture(size_t{frame.layout.width} * frame.layout.height * converter.pixelBytes);
    Reference::Convert(converter, picture.data(), source.data(), frame.layout.width, frame.layout.height, shift);
    return picture;
}

/// BGRA or BGR.
std::vector<uint8_t> Colours(const Frame& frame, bool four, const VcfSettings& settings) {
    const VcfFormat& format = *frame.format;
    if (format.kind == VCF_KIND_YUV) {
        return Run(WorkerName("ConvYUV444P", four), frame, YuvSource(frame), 0);
    }
    const bool levels = settings.levels != 0;
    const std::vector<uint32_t> words = levels ? Levelled(frame, settings) : frame.words;
    const bool bytes = levels || format.depth == 8;
    const std::vector<uint8_t> source = SourceOf(words, bytes ? 1 : 2);
    const uint32_t shift = format.depth - 8 + frame.layout.shift;
    if (format.kind == VCF_KIND_COLOUR) {
        const std::string order(format.name, 3);
        return bytes ? Run(WorkerName("Conv" + order + "8P", four), frame, source, 0)
                     : Run(WorkerName("Conv" + order + "N", four), frame, source, shift);
    }
    if (format.kind == VCF_KIND_MONO || settings.demosaic == VCF_DEMOSAIC_NONE) {
        return bytes ? Run(WorkerName("ConvMono8", four), frame, source, 0)
                     : Run(WorkerName("ConvMonoN", four), frame, source, shift);
    }
    const std::string stem = "ConvByr" + PhaseName(format.phase);
    if (settings.demosaic == VCF_DEMOSAIC_ADAPTIVE) {
        std::vector<uint8_t> picture = Run(WorkerName(stem + "8", four) + "ACPI", frame, source, 0);
        if (format.phase == VCF_PHASE_BG && four) {
            const size_t pixel = size_t{2} * frame.layout.width - 1;
            picture[4 * pixel + 2] = source[pixel];
        }
        return picture;
    }
    return bytes ? Run(WorkerName(stem + "8", four), frame, source, 0)
                 : Run(WorkerName(stem + "N", four), frame, source, shift);
}

void ApplyMatrix(std::vector<uint8_t>& picture, uint32_t pixelBytes, const int32_t (&m)[9]) {
    for (size_t i = 0; i < picture.size(); i += pixelBytes) {
        const double in[3] = {double(picture[i + 2]), double(picture[i + 1]), double(picture[i])};
        for (uint32_t c = 0; c < 3; ++c) {
            const double sum = m[3 * c] * in[0] + m[3 * c + 1] * in[1] + m[3 * c + 2] * in[2];
            picture[i + 2 - c] = Rounded(sum / 4096);
        }
    }
}

std::vector<uint8_t> Grey(const Frame& frame, bool wide, const VcfSettings& settings) {
    std::vector<uint8_t> picture;
    const VcfFormat& format = *frame.format;
    const auto add = [&](uint32_t value8, uint32_t value16) {
        picture.push_back(static_cast<uint8_t>(wide ? value16 : value8));
        if (wide) {
            picture.push_back(static_cast<uint8_t>(value16 >> 8));
        }
    };
    if (format.kind == VCF_KIND_COLOUR) {
        const std::vector<uint8_t> bgr = Colours(frame, false, settings);
        for (size_t i = 0; i < bgr.size(); i += 3) {
            const uint32_t y = (77u * bgr[i + 2] + 150u * bgr[i + 1] + 29u * bgr[i] + 128) / 256;
            add(y, 257 * y);
        }
        return picture;
    }
    if (format.kind == VCF_KIND_YUV) {
        const std::vector<uint8_t> source = YuvSource(frame);
        for (size_t i = 1; i < source.size(); i += 4) {
            add(source[i], source[i] * 257u);
        }
        return picture;
    }
    if (settings.levels != 0) {
        for (const uint32_t value : Levelled(frame, settings)) {
            add(value, value * 257);
        }
        return picture;
    }
    const uint32_t d = format.depth;
    for (const uint32_t word : frame.words) {
        const uint32_t s = word >> frame.layout.shift;
        add(s >> (d - 8) & 0xFF, (s << (16 - d) | s >> (2 * d - 16)) & 0xFFFF);
    }
    return picture;
}

}  // namespace

Frame MakeFrame(const VcfLayout& layout, Reference::Random& random) {
    Frame frame = {layout, VcfFindFormat(layout.format), 1, {}};
    const VcfFormat& format = *frame.format;
    frame.channels = format.kind == VCF_KIND_COLOUR || format.kind == VCF_KIND_YUV ? 3 : 1;
    const size_t count = size_t{layout.width} * layout.height * frame.channels;
    for (size_t i = 0; i < count; ++i) {
        frame.words.push_back(random.Below(1u << format.depth) << layout.shift);
        if (layout.shift != 0) {
            frame.words.back() |= random.Below(1u << layout.shift);
        }
    }
    if (format.kind == VCF_KIND_YUV) {
        // Pixels of a group share their chroma: that of the first one.
        const uint64_t group = GroupPixels(format);
        for (size_t pixel = 0; pixel < frame.words.size() / 3; ++pixel) {
            const auto row = static_cast<uint32_t>(pixel / layout.width);
            const auto column = static_cast<uint32_t>(pixel % layout.width);
            const size_t first = pixel - PlaceOf(layout, format, row, column).index % group;
            frame.words[3 * pixel] = frame.words[3 * first];
            frame.words[3 * pixel + 2] = frame.words[3 * first + 2];
        }
    }
    return frame;
}

uint64_t Length(const Frame& frame) {
    const VcfFormat& format = *frame.format;
    const Place last = PlaceOf(frame.layout, format, frame.layout.height - 1, frame.layout.width - 1);
    if (IsCsi2(format)) {
        const uint64_t group = GroupPixels(format);
        return last.base + (last.index / group + 1) * (group == 4 ? 5 : 3);
    }
    uint64_t end = 0;
    ForEachBit(frame, [&end](uint64_t byte, uint32_t, uint32_t) { end = std::max(end, byte + 1); });
    return end;
}

void Write(const Frame& frame, uint8_t* buffer) {
    ForEachBit(frame, [buffer](uint64_t byte, uint32_t bit, uint32_t value) {
        buffer[byte] = static_cast<uint8_t>((buffer[byte] & ~(1u << bit)) | value << bit);
    });
}

uint8_t Level(const VcfSettings& settings, const VcfFormat& format, uint32_t sample, uint32_t channel) {
    uint32_t depth = format.depth;
    uint64_t s = sample;
    uint64_t black = settings.black_level;
    if (depth > 14) {
        s >>= depth - 14;
        black >>= depth - 14;
        depth = 14;
    }
    const uint64_t w = (1u << depth) - 1;
    s = std::min(s, w);
    const uint64_t n = s > black ? s - black : 0;
    const uint64_t gain =
        channel == 3 ? settings.exposure : (uint64_t{settings.gain[channel]} * settings.exposure + 32768) >> 16;
    const uint64_t d = (w - black) * 65536;
    const uint64_t x = std::min<uint64_t>(65535, (n * gain * 65535 + d / 2) / d);
    const long double t = static_cast<long double>(x) / 65535;
    long double v = t;
    if (settings.tone == VCF_TONE_GAMMA) {
        v = std::pow(t, 100.0L / settings.gamma);
    } else if (settings.tone == VCF_TONE_SRGB) {
        v = t <= 0.0031308L ? 12.92L * t : 1.055L * std::pow(t, 1 / 2.4L) - 0.055L;
    }
    return static_cast<uint8_t>(std::floor(255 * v + 0.5L));
}

uint32_t PixelBytes(uint32_t output) {
    switch (output) {
        case VCF_OUTPUT_BGR:
        case VCF_OUTPUT_RGB:
            return 3;
        case VCF_OUTPUT_GREY8:
            return 1;
        case VCF_OUTPUT_GREY16:
            return 2;
        default:
            return 4;
    }
}

std::vector<uint8_t> Picture(const Frame& frame, uint32_t output, const VcfSettings& settings) {
    if (output == VCF_OUTPUT_GREY8 || output == VCF_OUTPUT_GREY16) {
        return Grey(frame, output == VCF_OUTPUT_GREY16, settings);
    }
    const uint32_t pixelBytes = PixelBytes(output);
    std::vector<uint8_t> picture = Colours(frame, pixelBytes == 4, settings);
    if (settings.use_matrix != 0) {
        ApplyMatrix(picture, pixelBytes, settings.matrix);
    }
    if (output == VCF_OUTPUT_RGB || output == VCF_OUTPUT_RGBA) {
        for (size_t i = 0; i < picture.size(); i += pixelBytes) {
            std::swap(picture[i], picture[i + 2]);
        }
    }
    return picture;
}

std::string Describe(const VcfLayout& layout) {
    const VcfFormat* format = VcfFindFormat(layout.format);
    return std::string(format == nullptr ? "?" : format->name) + " " + std::to_string(layout.width) + "x" +
           std::to_string(layout.height) + " stride " + std::to_string(layout.stride) + " offset " +
           std::to_string(layout.offset) + " skip " + std::to_string(layout.skip) + " row_width " +
           std::to_string(layout.row_width) + " shift " + std::to_string(layout.shift) + " range " +
           std::to_string(layout.range);
}

}  // namespace FramesModel
