// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Pictures in bitmap files: the BMP manner with the library's own, wider headers.
//
//     0    BmpFileHeader    22 bytes
//     22   BmpInfoHeader    80 bytes
//     102  grey palette     1024 bytes, 8-bit files only
//     ...  rows, the bottom row first, each padded with zeros to a multiple of 4 bytes
//
// Required: only a failed open or an exception is reported; a write that fails otherwise is not.
#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <fstream>
#include <memory>

#include <VexaCamUtl.h>
#include "convert/Contract.h"
#include "imagefile/FileGuard.h"

using namespace Vexa;

namespace {

static_assert(std::endian::native == std::endian::little, "headers are written as they lie in memory");

struct [[gnu::packed]] BmpFileHeader {
    uint8_t bfType[2];
    uint64_t bfSize;
    uint16_t bfReserved1;
    uint16_t bfReserved2;
    uint64_t bfOffBits;
};
static_assert(sizeof(BmpFileHeader) == 22);

struct BmpInfoHeader {
    uint64_t biSize;
    uint64_t biWidth;
    uint64_t biHeight;
    uint16_t biPlanes;
    uint16_t biBitCount;
    uint32_t filler;
    uint64_t biCompression;
    uint64_t biSizeImage;
    uint64_t biXPelsPerMeter;
    uint64_t biYPelsPerMeter;
    uint64_t biClrUsed;
    uint64_t biClrImportant;
};
static_assert(sizeof(BmpInfoHeader) == 80);

struct BmpPaletteEntry {
    uint8_t rgbBlue;
    uint8_t rgbGreen;
    uint8_t rgbRed;
    uint8_t rgbReserved;
};
using GreyPalette = std::array<BmpPaletteEntry, 256>;

constexpr GreyPalette MakeGreyPalette() {
    GreyPalette palette = {};
    for (size_t i = 0; i < palette.size(); ++i) {
        const auto grey = static_cast<uint8_t>(i);
        palette[i] = {grey, grey, grey, 0};
    }
    return palette;
}

constinit const GreyPalette c_asGreyPalette = MakeGreyPalette();

/// A picture of `bytesPerPixel` bytes per pixel whose rows lie `distance` bytes apart.
struct Picture {
    const uint8_t* topRow;
    uint32_t width;
    uint32_t height;
    uint64_t distance;
    uint32_t bytesPerPixel;

    bool IsGrey() const { return bytesPerPixel == 1; }
    uint32_t Padding() const { return (0u - WrappingProduct32(width, bytesPerPixel)) % 4; }

    // Required: in grey pictures the offset of the bottom row is a product modulo 2^32, in others it is not.
    const uint8_t* BottomRow() const {
        if (IsGrey()) {
            return topRow + WrappingProduct32(height - 1, static_cast<uint32_t>(distance));
        }
        return topRow + (height - uint64_t{1}) * distance;
    }
};

BmpInfoHeader MakeInfoHeader(const Picture& picture) {
    const uint32_t rowBytes = WrappingProduct32(picture.width, picture.bytesPerPixel) + picture.Padding();
    const uint32_t colours = picture.IsGrey() ? 256 : 0;
    // Required: grey files claim ten times the resolution of colour files.
    const uint32_t pixelsPerMetre = picture.IsGrey() ? 160000 : 16000;
    BmpInfoHeader header = {};
    header.biSize = sizeof(BmpInfoHeader);
    header.biWidth = picture.width;
    header.biHeight = picture.height;
    header.biPlanes = 1;
    header.biBitCount = static_cast<uint16_t>(picture.bytesPerPixel * 8);
    header.biSizeImage = WrappingProduct32(rowBytes, picture.height);
    header.biXPelsPerMeter = pixelsPerMetre;
    header.biYPelsPerMeter = pixelsPerMetre;
    header.biClrUsed = colours;
    header.biClrImportant = colours;
    return header;
}

BmpFileHeader MakeFileHeader(const Picture& picture, const BmpInfoHeader& info) {
    BmpFileHeader header = {};
    header.bfType[0] = 'B';
    header.bfType[1] = 'M';
    header.bfOffBits = sizeof(BmpFileHeader) + sizeof(BmpInfoHeader) + (picture.IsGrey() ? sizeof(GreyPalette) : 0);
    header.bfSize = info.biSizeImage + header.bfOffBits;
    return header;
}

/// Large enough that the system calls no longer show; too large for the stack of a small thread.
constexpr size_t kBlockBytes = 65536;

/// Gathers what a file is made of into whole blocks. Written one by one, rows would each cost a system call and touch
/// their first and last page of the file twice.
class BlockWriter {
  public:
    explicit BlockWriter(std::ofstream& file) : m_file(file), m_block(new char[kBlockBytes]) {}

    void Append(const void* bytes, size_t count) {
        const uint8_t* from = Bytes(bytes);
        while (count != 0) {
            const size_t fitting = std::min(count, kBlockBytes - m_used);
            std::memcpy(m_block.get() + m_used, from, fitting);
            from += fitting;
            count -= fitting;
            m_used += fitting;
            if (m_used == kBlockBytes) {
                Flush();
            }
        }
    }

    void Flush() {
        m_file.write(m_block.get(), static_cast<std::streamsize>(m_used));
        m_used = 0;
    }

  private:
    std::ofstream& m_file;
    size_t m_used = 0;
    std::unique_ptr<char[]> m_block;
};

void AppendRows(BlockWriter& writer, const Picture& picture) {
    static constexpr char kZeros[3] = {};
    const size_t rowBytes = size_t{picture.width} * picture.bytesPerPixel;
    const size_t padding = picture.Padding();
    if (picture.height == 0 || rowBytes == 0) {
        return;  // there is no bottom row to point at, or nothing in any of the rows
    }
    const uint8_t* bottomRow = picture.BottomRow();
    for (uint64_t r = 0; r < picture.height; ++r) {
        writer.Append(bottomRow - r * picture.distance, rowBytes);
        writer.Append(kZeros, padding);
    }
}

UtlStatus SaveBmp(const Picture& picture, const char* path) {
    if (picture.topRow == nullptr) {
        return UTL_STS_INVALID_PARAMETER;
    }
    if (path == nullptr) {
        return UTL_STS_FILE_OPEN_ERROR;
    }
    const BmpInfoHeader info = MakeInfoHeader(picture);
    const BmpFileHeader header = MakeFileHeader(picture, info);
    std::ofstream file;
    return GuardedFileWork(UTL_STS_FILE_IO_ERROR, [&] {
        BlockWriter writer(file);  // before the file is opened: where memory is short, an old file stays as it is
        file.open(path, std::ios::out | std::ios::trunc | std::ios::binary);
        if (!file) {
            return UTL_STS_FILE_OPEN_ERROR;
        }
        writer.Append(&header, sizeof header);
        writer.Append(&info, sizeof info);
        if (picture.IsGrey()) {
            writer.Append(&c_asGreyPalette, sizeof c_asGreyPalette);
        }
        AppendRows(writer, picture);
        writer.Flush();
        file.close();
        return UTL_STS_SUCCESS;
    });
}

UtlStatus SaveBmp(const void* picture, uint32_t width, uint32_t height, uint64_t distance, uint32_t bytesPerPixel,
                  const char* path) {
    return SaveBmp({Bytes(picture), width, height, distance, bytesPerPixel}, path);
}

}  // namespace

UtlStatus SaveBmpARGB(const void* picture, uint32_t width, uint32_t height, const char* path) {
    return SaveBmp(picture, width, height, uint64_t{width} * 4, 4, path);
}

UtlStatus SaveBmpRGB(const void* picture, uint32_t width, uint32_t height, const char* path) {
    return SaveBmp(picture, width, height, uint64_t{width} * 3, 3, path);
}

UtlStatus SaveBmpMono(const void* picture, uint32_t width, uint32_t height, const char* path) {
    return SaveBmp(picture, width, height, width, 1, path);
}

UtlStatus SaveBmpARGB_S(const void* picture, uint32_t width, uint32_t height, uint32_t stride, const char* path) {
    return SaveBmp(picture, width, height, stride, 4, path);
}

UtlStatus SaveBmpRGB_S(const void* picture, uint32_t width, uint32_t height, uint32_t stride, const char* path) {
    return SaveBmp(picture, width, height, stride, 3, path);
}

UtlStatus SaveBmpMono_S(const void* picture, uint32_t width, uint32_t height, uint32_t stride, const char* path) {
    return SaveBmp(picture, width, height, stride, 1, path);
}
