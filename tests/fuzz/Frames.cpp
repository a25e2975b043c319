// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The frames layer: any layout, sensible or not, over a buffer of exactly the bytes that it is said to have. A layout
// that is taken has one length from which on buffers are taken; samples are held against an unpacking bit by bit,
// grey pictures against the samples, and no byte outside the buffer or the picture is touched.
#include <VexaCamFrames.h>

#include <algorithm>
#include <string>
#include <vector>

#include "FuzzInput.h"

namespace {

constexpr uint32_t kMostPixels = 3000;

/// A text for people: empty on success, a sentence otherwise.
class Text {
  public:
    VcfStatus Check(VcfStatus status) const {
        const size_t length = std::string(m_text, strnlen(m_text, sizeof m_text)).size();
        Fuzz::Require(length < sizeof m_text, "a text ends");
        Fuzz::Require((status == VCF_OK) == (length == 0), "a failure says what it is");
        return status;
    }
    operator char*() { return m_text; }

  private:
    char m_text[VCF_TEXT_BYTES] = {};
};

VcfLayout ReadLayout(Fuzz::Input& input) {
    VcfLayout layout;
    const VcfFormat& format = *VcfFormatAt(input.Byte() % VcfFormatCount());
    const uint32_t width = input.Size(60, 900);
    VcfInitLayout(&layout, format.format, width, input.SizeWithin(8, 20, kMostPixels, width));
    const uint8_t fields = input.Byte();
    if ((fields & 1) != 0) {
        layout.stride = uint64_t{width} * format.bits_per_pixel / 8 + input.Below(40);
    }
    if ((fields & 2) != 0) {
        layout.offset = input.Below(50);
    }
    if ((fields & 4) != 0) {
        layout.skip = input.Below(70);
    }
    if ((fields & 8) != 0) {
        layout.row_width = width + input.Below(20);
    }
    layout.shift = (fields & 16) != 0 ? input.Byte() % 18 : 0;
    layout.range = (fields & 32) != 0 ? input.Byte() % 3 : VCF_RANGE_FULL;
    if ((fields & 0xC0) == 0xC0) {  // nonsense of any size
        layout.stride = uint64_t{input.Word()} << input.Byte() % 33;
        layout.offset = uint64_t{input.Word()} << input.Byte() % 33;
        layout.skip = uint64_t{input.Word()} << input.Byte() % 33;
    }
    return layout;
}

/// The rest of the input over noise: an input that reaches new code is short, and zeros look alike in every layout.
void FillWithNoise(Fuzz::Input& input, uint32_t seed, uint8_t* data, size_t size) {
    input.Fill(data, size);
    for (size_t i = 0; i < size; ++i) {
        seed = seed * 1664525u + 1013904223u;
        data[i] = static_cast<uint8_t>(data[i] ^ seed >> 24);
    }
}

VcfSettings ReadSettings(Fuzz::Input& input) {
    VcfSettings settings;
    VcfInitSettings(&settings);
    const uint8_t fields = input.Byte();
    settings.demosaic = fields % 4;
    settings.levels = fields >> 2 & 1;
    settings.use_matrix = fields >> 3 & 1;
    settings.tone = fields >> 4 & 3;
    settings.black_level = input.Below(5000);
    for (uint32_t& gain : settings.gain) {
        gain = input.Below(60000) * 20;
    }
    settings.exposure = input.Below(60000) * 20;
    settings.gamma = input.Below(1100);
    for (int32_t& entry : settings.matrix) {
        entry = static_cast<int32_t>(input.Below(40000)) - 20000;
    }
    return settings;
}

uint32_t BitsAt(const uint8_t* bytes, uint64_t bit, uint32_t count) {
    uint32_t value = 0;
    for (uint32_t i = 0; i < count; ++i) {
        value |= (bytes[(bit + i) / 8] >> ((bit + i) % 8) & 1u) << i;
    }
    return value;
}

/// Sample n of packed samples that begin with a group, put together as the header draws it.
uint32_t PackedSample(const VcfFormat& format, const uint8_t* bytes, uint64_t n) {
    const uint64_t pair = n / 2 * 3;
    switch (format.packing) {
        case VCF_PACKING_10P:
            return BitsAt(bytes, n * 10, 10);
        case VCF_PACKING_12P:
            return BitsAt(bytes, n * 12, 12);
        case VCF_PACKING_10PACKED:
            return static_cast<uint32_t>(bytes[pair + n % 2 * 2]) << 2 | BitsAt(bytes, pair * 8 + 8 + n % 2 * 4, 2);
        case VCF_PACKING_12PACKED:
            return static_cast<uint32_t>(bytes[pair + n % 2 * 2]) << 4 | BitsAt(bytes, pair * 8 + 8 + n % 2 * 4, 4);
        case VCF_PACKING_10CSI2:
            return static_cast<uint32_t>(bytes[n / 4 * 5 + n % 4]) << 2 | BitsAt(bytes, n / 4 * 40 + 32 + n % 4 * 2, 2);
        default:
            return static_cast<uint32_t>(bytes[pair + n % 2]) << 4 | BitsAt(bytes, pair * 8 + 16 + n % 2 * 4, 4);
    }
}

/// Layouts that the unpacking here knows: packed, rows that begin with a group.
bool IsModelled(const VcfLayout& layout, const VcfFormat& format) {
    return format.packing != VCF_PACKING_NONE && layout.skip == 0 && (layout.stride != 0 || layout.height == 1);
}

void CheckSamples(const VcfLayout& layout, const VcfFormat& format, const uint8_t* buffer, size_t length) {
    const size_t samples = size_t{layout.width} * layout.height * (format.kind == VCF_KIND_COLOUR ? 3 : 1);
    Text text;
    Fuzz::ExactBlock words(samples * 2, 0);
    const VcfStatus status = text.Check(VcfUnpack(&layout, buffer, length, words.Data(), 0, 2, text, VCF_TEXT_BYTES));
    Fuzz::Require((status == VCF_OK) == (format.kind != VCF_KIND_YUV), "what can be unpacked to words");
    if (status != VCF_OK) {
        return;
    }
    for (size_t n = 0; IsModelled(layout, format) && n < samples; ++n) {
        const uint8_t* row = buffer + layout.offset + n / layout.width * layout.stride;
        const uint32_t word = words.Data()[2 * n] | static_cast<uint32_t>(words.Data()[2 * n + 1]) << 8;
        Fuzz::Require(word == PackedSample(format, row, n % layout.width), "an unpacked sample");
    }
    // Packed again, the same samples lie in a fresh buffer.
    Fuzz::ExactBlock again(length, 0);
    std::memset(again.Data(), 0, length);
    Fuzz::Require(text.Check(VcfPack(&layout, words.Data(), 0, again.Data(), length, text, VCF_TEXT_BYTES)) == VCF_OK,
                  "samples can be packed");
    Fuzz::ExactBlock twice(samples * 2, 0);
    Fuzz::Require(VcfUnpack(&layout, again.Data(), length, twice.Data(), 0, 2, nullptr, 0) == VCF_OK, "and unpacked");
    const uint32_t mask = (1u << format.depth) - 1;
    for (size_t n = 0; n < samples; ++n) {
        const auto sample = [n](const uint8_t* data) {
            return data[2 * n] | static_cast<uint32_t>(data[2 * n + 1]) << 8;
        };
        Fuzz::Require(sample(twice.Data()) == (sample(words.Data()) & mask), "with the bits of their depth");
    }
}

void CheckPicture(const VcfLayout& layout, Fuzz::Input& input, const uint8_t* buffer, size_t length) {
    const uint32_t output = input.Byte() % 7;
    const VcfSettings settings = ReadSettings(input);
    const size_t padding = input.Byte() % 5;
    Text text;
    VcfConverter* converter = nullptr;
    const VcfStatus made = text.Check(VcfCreateConverter(&converter, &layout, output, &settings, text, VCF_TEXT_BYTES));
    Fuzz::Require((made == VCF_OK) == (converter != nullptr), "a converter, or a failure");
    if (made != VCF_OK) {
        return;
    }
    const size_t stride = VcfPictureRowBytes(converter) + padding;
    const size_t bytes = stride * (layout.height - 1) + VcfPictureRowBytes(converter);
    Fuzz::ExactBlock whole(bytes, 0);
    Fuzz::ExactBlock bands(bytes, 0);
    std::memset(whole.Data(), 0x55, bytes);
    std::memset(bands.Data(), 0x55, bytes);
    Fuzz::Require(
        text.Check(VcfConvert(converter, buffer, length, whole.Data(), stride, text, VCF_TEXT_BYTES)) == VCF_OK,
        "a frame is converted");
    for (uint32_t row = 0; row < layout.height;) {
        const uint32_t rows = std::min(layout.height - row, 1 + input.Byte() % 5u);
        Fuzz::Require(VcfConvertRows(converter, buffer, length, bands.Data(), stride, row, rows, nullptr, 0) == VCF_OK,
                      "a band");
        row += rows;
    }
    Fuzz::Require(std::equal(whole.Data(), whole.Data() + bytes, bands.Data()), "bands give the whole");
    for (size_t row = 0; row + 1 < layout.height; ++row) {
        const uint8_t* gap = whole.Data() + row * stride + VcfPictureRowBytes(converter);
        Fuzz::Require(std::all_of(gap, gap + padding, [](uint8_t byte) { return byte == 0x55; }), "padding is kept");
    }
    VcfDestroyConverter(converter);
}

void CheckRegion(const VcfLayout& layout, Fuzz::Input& input) {
    VcfLayout region;
    Text text;
    const uint32_t x = input.Below(80);
    const uint32_t y = input.Below(20);
    const uint32_t width = input.Below(80);
    const uint32_t height = input.Below(20);
    if (text.Check(VcfCutRegion(&layout, x, y, width, height, &region, text, VCF_TEXT_BYTES)) == VCF_OK) {
        Fuzz::Require(uint64_t{x} + width <= layout.width && uint64_t{y} + height <= layout.height,
                      "a region is inside");
        Fuzz::Require(VcfBytesNeeded(&region) <= VcfBytesNeeded(&layout), "and so are its bytes");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    static const UtlStatus prepared = PrepareLUT();
    Fuzz::Require(prepared == UTL_STS_SUCCESS, "tables");
    Fuzz::Input input(bytes, size);
    const VcfLayout layout = ReadLayout(input);
    Text text;
    const bool good = text.Check(VcfCheckLayout(&layout, text, VCF_TEXT_BYTES)) == VCF_OK;
    const uint64_t needed = VcfBytesNeeded(&layout);
    Fuzz::Require(good == (needed > 0), "a layout that makes sense has bytes");
    if (!good || needed > 100000) {
        return 0;
    }
    Fuzz::Require(VcfCheckBuffer(&layout, needed, nullptr, 0) == VCF_OK, "a buffer of these bytes");
    Fuzz::Require(text.Check(VcfCheckBuffer(&layout, needed - 1, text, VCF_TEXT_BYTES)) == VCF_TOO_SHORT, "one less");
    CheckRegion(layout, input);
    const size_t length = static_cast<size_t>(needed);
    Fuzz::ExactBlock buffer(length, 0);
    const uint8_t choice = input.Byte();
    if (choice % 2 == 0) {
        FillWithNoise(input, choice, buffer.Data(), length);
        CheckSamples(layout, *VcfFindFormat(layout.format), buffer.Data(), length);
    } else {
        Fuzz::Input settings = input;
        FillWithNoise(input, choice, buffer.Data(), length);
        CheckPicture(layout, settings, buffer.Data(), length);
    }
    return 0;
}
