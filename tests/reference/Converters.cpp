// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The converters of the list as the reference takes them, and the call of each one's reference.
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <iterator>

#include "Families.h"

namespace Reference {
namespace {

using enum Family;

/// The rows of the list, with what the reference adds to a row.
constexpr auto kConverters = [] {
    std::array<Converter, std::size(VexaCatalogue::kConverters)> converters{};
    std::transform(std::begin(VexaCatalogue::kConverters), std::end(VexaCatalogue::kConverters), converters.begin(),
                   [](const VexaCatalogue::Converter& row) { return Converter{row}; });
    return converters;
}();

}  // namespace

std::span<const Converter> Converters() {
    return kConverters;
}

const Converter& Find(std::string_view name) {
    for (const Converter& converter : kConverters) {
        if (converter.name == name) {
            return converter;
        }
    }
    std::fprintf(stderr, "no converter is named %.*s\n", static_cast<int>(name.size()), name.data());
    std::abort();
}

size_t Converter::SourceBytes(uint32_t width, uint32_t height) const {
    const size_t pixels = width * height;  // modulo 2^32
    switch (family) {
        case kMono:
            return pixels * SampleBytes();
        case kPackedColour:
            return pixels * 3 * SampleBytes();
        case kYuv:
            return pixels / groupPixels * groupBytes;
        case kBayer:
        case kAcpi:
            break;
    }
    return size_t{width} * height * SampleBytes();
}

size_t Converter::DestinationBytes(uint32_t width, uint32_t height) const {
    return size_t{width} * height * pixelBytes;
}

UtlStatus Converter::Call(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift) const {
    return IsWorker() ? worker(dst, src, width, height, shift) : function(dst, src, width, height);
}

UtlStatus Converter::Call(void* dst, const void* src, uint32_t width, uint32_t height) const {
    return Call(dst, src, width, height, DefaultShift());
}

void Convert(const Converter& converter, uint8_t* dst, const uint8_t* src, uint32_t width, uint32_t height,
             uint32_t shift) {
    const uint32_t usedShift = converter.IsWorker() ? shift : converter.DefaultShift();
    switch (converter.family) {
        case kMono:
            return ConvertGrey(converter, dst, src, width, height, usedShift);
        case kPackedColour:
            return ConvertPackedColour(converter, dst, src, width, height, usedShift);
        case kYuv:
            return ConvertYuv(converter, dst, src, width, height);
        case kBayer:
            return ConvertBayer(converter, dst, src, width, height, usedShift);
        case kAcpi:
            return ConvertAcpi(converter, dst, src, width, height);
    }
}

void Convert(const Converter& converter, uint8_t* dst, const uint8_t* src, uint32_t width, uint32_t height) {
    Convert(converter, dst, src, width, height, converter.DefaultShift());
}

std::vector<bool> WrittenBytes(const Converter& converter, uint32_t width, uint32_t height) {
    const std::vector<uint8_t> source(converter.SourceBytes(width, height));
    std::vector<uint8_t> zeros(converter.DestinationBytes(width, height), 0x00);
    std::vector<uint8_t> ones(zeros.size(), 0xFF);
    Convert(converter, zeros.data(), source.data(), width, height);
    Convert(converter, ones.data(), source.data(), width, height);
    std::vector<bool> written(zeros.size());
    for (size_t i = 0; i < written.size(); ++i) {
        written[i] = zeros[i] == ones[i];
    }
    return written;
}

}  // namespace Reference
