// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See Png.h.
#include "output/Png.h"

#include <libdeflate.h>
#include <png.h>

#include <algorithm>
#include <memory>
#include <new>

#include "Failure.h"
#include "output/HugePages.h"

namespace VexaTool {

namespace {

extern "C" [[noreturn]] void ThrowPngError(png_structp /*png*/, png_const_charp message) {
    throw Failure(ExitCode::kOutput, std::string("cannot build the PNG file: ") + message);
}

extern "C" void IgnorePngWarning(png_structp /*png*/, png_const_charp /*message*/) {}

extern "C" void AppendPngBytes(png_structp png, png_bytep data, size_t size) {
    auto& bytes = *static_cast<std::vector<uint8_t>*>(png_get_io_ptr(png));
    bytes.insert(bytes.end(), data, data + size);
}

struct PngWriter {
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, ThrowPngError, IgnorePngWarning);
    png_infop info = png == nullptr ? nullptr : png_create_info_struct(png);
    PngWriter() = default;
    PngWriter(const PngWriter&) = delete;
    PngWriter& operator=(const PngWriter&) = delete;
    ~PngWriter() { png_destroy_write_struct(&png, &info); }
};

struct FreeCompressor {
    void operator()(libdeflate_compressor* compressor) const { libdeflate_free_compressor(compressor); }
};

/// A block whose pages are touched only as they are used.
struct Block {
    explicit Block(size_t count) : bytes(new uint8_t[count]), size(count) { AdviseHugePages(bytes.get(), count); }
    std::unique_ptr<uint8_t[]> bytes;
    size_t size;
};

/// A row as the file has it: red before blue, the high byte of a word first.
void OrderRow(const Picture& picture, const uint8_t* from, uint8_t* to) {
    const size_t size = picture.RowBytes();
    if (picture.channels == 3) {
        static_cast<void>(ConvRGB8PToBGR(to, from, picture.width, 1));  // it works both ways
        return;
    }
    std::copy_n(from, size, to);
    const size_t group = picture.channels == 4 ? 4 : picture.sampleBytes;
    const size_t other = picture.channels == 4 ? 2 : group - 1;
    for (size_t i = 0; other != 0 && i < size; i += group) {
        std::swap(to[i], to[i + other]);
    }
}

/// The rows with the filter SUB, each after the filter's number: nearly as small as with a search for the best filter.
Block FilteredRows(const Picture& picture) {
    static constexpr uint8_t kSub = 1;
    const size_t size = picture.RowBytes();
    const size_t pixel = size_t{picture.channels} * picture.sampleBytes;
    Block rows((size + 1) * picture.height);
    std::vector<uint8_t> row(size);
    uint8_t* to = rows.bytes.get();
    for (size_t r = 0; r < picture.height; ++r, to += size + 1) {
        OrderRow(picture, picture.Row(r), row.data());
        *to = kSub;
        std::copy_n(row.data(), pixel, to + 1);
        for (size_t i = pixel; i < size; ++i) {
            to[1 + i] = static_cast<uint8_t>(row[i] - row[i - pixel]);
        }
    }
    return rows;
}

Block Compressed(const Block& rows, int level) {
    const std::unique_ptr<libdeflate_compressor, FreeCompressor> compressor(libdeflate_alloc_compressor(level));
    if (!compressor) {
        throw std::bad_alloc();
    }
    Block packed(libdeflate_zlib_compress_bound(compressor.get(), rows.size));
    packed.size =
        libdeflate_zlib_compress(compressor.get(), rows.bytes.get(), rows.size, packed.bytes.get(), packed.size);
    return packed;
}

}  // namespace

void EncodePng(const Picture& picture, int level, std::vector<uint8_t>& bytes) {
    static constexpr size_t kMostInChunk = size_t{1} << 30;
    static constexpr png_byte kPixels[] = {'I', 'D', 'A', 'T', 0};
    static constexpr png_byte kEnd[] = {'I', 'E', 'N', 'D', 0};
    const PngWriter writer;
    if (writer.info == nullptr) {
        throw std::bad_alloc();
    }
    const int type = picture.channels == 1   ? PNG_COLOR_TYPE_GRAY
                     : picture.channels == 3 ? PNG_COLOR_TYPE_RGB
                                             : PNG_COLOR_TYPE_RGB_ALPHA;
    const Block packed = Compressed(FilteredRows(picture), level);
    static constexpr size_t kRoomForChunks = 256;
    bytes.clear();
    bytes.reserve(packed.size + kRoomForChunks);
    png_set_user_limits(writer.png, picture.width, picture.height);
    png_set_write_fn(writer.png, &bytes, AppendPngBytes, nullptr);
    png_set_IHDR(writer.png, writer.info, picture.width, picture.height, static_cast<int>(8 * picture.sampleBytes),
                 type, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(writer.png, writer.info);
    for (size_t at = 0; at < packed.size; at += kMostInChunk) {
        png_write_chunk(writer.png, kPixels, packed.bytes.get() + at, std::min(kMostInChunk, packed.size - at));
    }
    png_write_chunk(writer.png, kEnd, nullptr, 0);
}

}  // namespace VexaTool
