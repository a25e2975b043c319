// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The six bitmap writers with any size and stride. The file is read back by a reader that knows only the layout: it
// takes every field apart and walks the rows, and so finds the picture again.
#include <vector>

#include "FuzzInput.h"
#include "MemoryFile.h"

#include <VexaCamUtl.h>

namespace {

struct Variant {
    uint32_t pixelBytes;
    UtlStatus (*save)(const void*, uint32_t, uint32_t, const char*);
    UtlStatus (*saveWithStride)(const void*, uint32_t, uint32_t, uint32_t, const char*);
};
constexpr Variant kVariants[] = {
    {4, SaveBmpARGB, SaveBmpARGB_S},
    {3, SaveBmpRGB, SaveBmpRGB_S},
    {1, SaveBmpMono, SaveBmpMono_S},
};

class BitmapReader {
  public:
    explicit BitmapReader(std::vector<uint8_t> file) : m_file(std::move(file)) {}

    uint64_t Field(size_t offset, size_t size) const {
        Fuzz::Require(offset + size <= m_file.size(), "the header is complete");
        uint64_t value = 0;
        for (size_t i = size; i-- > 0;) {
            value = value << 8 | m_file[offset + i];
        }
        return value;
    }

    void Expect(size_t offset, size_t size, uint64_t value) const {
        Fuzz::Require(Field(offset, size) == value, "a field of the header");
    }

    void ExpectPalette() const {
        for (uint32_t grey = 0; grey < 256; ++grey) {
            Expect(102 + size_t{grey} * 4, 4, grey | grey << 8 | grey << 16);
        }
    }

    void ExpectRow(size_t offset, const uint8_t* row, size_t rowBytes, size_t paddedBytes) const {
        Fuzz::Require(offset + paddedBytes <= m_file.size(), "the row is complete");
        Fuzz::Require(std::memcmp(m_file.data() + offset, row, rowBytes) == 0, "the pixels of a row");
        for (size_t i = rowBytes; i < paddedBytes; ++i) {
            Fuzz::Require(m_file[offset + i] == 0, "padding is zero");
        }
    }

    size_t Size() const { return m_file.size(); }

  private:
    std::vector<uint8_t> m_file;
};

void CheckHeader(const BitmapReader& reader, uint32_t width, uint32_t height, uint32_t pixelBytes, size_t imageBytes) {
    const bool grey = pixelBytes == 1;
    const uint64_t pixelOffset = grey ? 1126 : 102;
    reader.Expect(0, 2, 'B' | 'M' << 8);
    reader.Expect(2, 8, pixelOffset + imageBytes);
    reader.Expect(10, 4, 0);
    reader.Expect(14, 8, pixelOffset);
    reader.Expect(22, 8, 80);
    reader.Expect(30, 8, width);
    reader.Expect(38, 8, height);
    reader.Expect(46, 2, 1);
    reader.Expect(48, 2, uint64_t{pixelBytes} * 8);
    reader.Expect(50, 4, 0);
    reader.Expect(54, 8, 0);
    reader.Expect(62, 8, imageBytes);
    reader.Expect(70, 8, grey ? 160000 : 16000);
    reader.Expect(78, 8, grey ? 160000 : 16000);
    reader.Expect(86, 8, grey ? 256 : 0);
    reader.Expect(94, 8, grey ? 256 : 0);
    if (grey) {
        reader.ExpectPalette();
    }
    Fuzz::Require(reader.Size() == pixelOffset + imageBytes, "nothing follows the rows");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    static const Fuzz::MemoryFile file;
    Fuzz::Input input(bytes, size);
    const Variant& variant = kVariants[input.Byte() % std::size(kVariants)];
    const bool withStride = input.Byte() % 2 == 1;
    const uint32_t width = input.Size(70, 3000);
    const uint32_t height = input.Size(10, 0);
    const uint32_t rowBytes = width * variant.pixelBytes;
    const uint32_t stride = withStride ? input.Size(300, 4000) : rowBytes;

    // From the first byte of the top row to the last byte of the bottom one, not more.
    const size_t pictureBytes = height == 0 ? 1 : size_t{stride} * (height - 1) + rowBytes;
    Fuzz::ExactBlock picture(pictureBytes, 0);
    input.Fill(picture.Data(), pictureBytes);
    const UtlStatus status = withStride ? variant.saveWithStride(picture.Data(), width, height, stride, file.Path())
                                        : variant.save(picture.Data(), width, height, file.Path());
    Fuzz::Require(status == UTL_STS_SUCCESS, "status");

    const size_t paddedBytes = (size_t{rowBytes} + 3) / 4 * 4;
    const BitmapReader reader(file.Content());
    CheckHeader(reader, width, height, variant.pixelBytes, paddedBytes * height);
    for (size_t row = 0; row < height; ++row) {
        const size_t offset = reader.Size() - (row + 1) * paddedBytes;
        reader.ExpectRow(offset, picture.Data() + row * stride, rowBytes, paddedBytes);
    }
    return 0;
}
