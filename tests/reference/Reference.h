// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The reference: what every operation has to give, written as the shortest obvious code per pixel and sharing
// no code with the library. Tests, kernel comparisons and fuzz targets hold the library against it.
//
// A converter is a row of src/catalogue/ConverterList.h, which holds names, numbers and functions but no code of the
// library. Convert() is the reference of that row; it writes exactly the bytes that the converter writes and leaves the
// others alone, so comparing whole buffers also shows a byte that was written and should not have been.
//
//     const Reference::Converter& converter = Reference::Find("ConvByrRG8ToBGRA");
//     std::vector<uint8_t> expected(converter.DestinationBytes(width, height), 0x55), actual = expected;
//     Reference::Convert(converter, expected.data(), source, width, height);
//     converter.Call(actual.data(), source, width, height);
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include <VexaCamUtl.h>
#include <catalogue/ConverterList.h>

namespace Reference {

using VexaCatalogue::Family;
using VexaCatalogue::Phase;
using VexaCatalogue::Worker;

/// One exported converter: its row of the list, the sizes of its buffers and its call.
struct Converter : VexaCatalogue::Converter {
    /// Grey, packed colour and YUV: only the product of width and height matters.
    bool IsRun() const { return !IsBayer(); }
    /// The shift that brings a sample to 8 bits; a worker's usual one would be 8.
    uint32_t DefaultShift() const { return depth - 8; }

    /// Bytes of the source buffer: every byte that the converter may read lies within.
    size_t SourceBytes(uint32_t width, uint32_t height) const;
    /// Bytes of a picture of width x height; nothing outside may be written.
    size_t DestinationBytes(uint32_t width, uint32_t height) const;

    /// Calls the library; `shift` matters to workers only.
    UtlStatus Call(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift) const;
    UtlStatus Call(void* dst, const void* src, uint32_t width, uint32_t height) const;
};

/// All of them, in the order of the list.
std::span<const Converter> Converters();

/// The row of that name; ends the program when there is none.
const Converter& Find(std::string_view name);

/// The reference of a converter with tables that are ready and pointers that are not null.
void Convert(const Converter& converter, uint8_t* dst, const uint8_t* src, uint32_t width, uint32_t height,
             uint32_t shift);
void Convert(const Converter& converter, uint8_t* dst, const uint8_t* src, uint32_t width, uint32_t height);

/// One flag for each byte of the destination: whether the converter writes it.
std::vector<bool> WrittenBytes(const Converter& converter, uint32_t width, uint32_t height);

/// Entries of the colour lookup tables.
uint32_t GreenRow(uint32_t u, uint32_t v);
uint8_t Red(uint32_t v, uint32_t y);
uint8_t Blue(uint32_t u, uint32_t y);
uint8_t Green(uint32_t row, uint32_t y);

/// The formats that ReverseImg serves; unitBytes is 0 for any other code.
struct ReversalUnit {
    uint32_t unitBytes;
    uint32_t unitPixels;
};
ReversalUnit UnitOf(PixelFormat format);

/// Every format that ReverseImg serves.
std::span<const PixelFormat> ReversibleFormats();

/// Bytes of a frame of such a format, all rows of the format's row size.
size_t FrameBytes(PixelFormat format, uint32_t width, uint32_t height);

/// The reference of ReverseImg for a format that it serves.
void Reverse(uint8_t* dst, const uint8_t* src, PixelFormat format, uint32_t width, uint32_t height, bool mirror,
             bool upsideDown);

/// The whole file that a bitmap writer makes: bitsPerPixel 32, 24 or 8, rows `stride` bytes apart in memory.
std::vector<uint8_t> BitmapFile(uint32_t bitsPerPixel, const uint8_t* picture, uint32_t width, uint32_t height,
                                size_t stride);

/// The whole file that SaveRWH makes.
std::vector<uint8_t> RawFile(const uint8_t* frame, PixelFormat format, uint32_t width, uint32_t height);

}  // namespace Reference
