// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Bitmap files byte for byte: literal headers, literal small pictures, and every small size against the reference.
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <csignal>

#include "Buffers.h"
#include "ScratchFolder.h"

namespace {

using Writer = UtlStatus (*)(const void*, uint32_t, uint32_t, const char*);
using StrideWriter = UtlStatus (*)(const void*, uint32_t, uint32_t, uint32_t, const char*);

struct Variant {
    uint32_t bits;
    Writer write;
    StrideWriter writeWithStride;
};
constexpr Variant kVariants[] = {
    {32, SaveBmpARGB, SaveBmpARGB_S}, {24, SaveBmpRGB, SaveBmpRGB_S}, {8, SaveBmpMono, SaveBmpMono_S}};

class BmpWriter : public ScratchFolder {
  protected:
    Bytes Saved(const Variant& variant, const Bytes& picture, uint32_t width, uint32_t height) {
        EXPECT_EQ(variant.write(picture.data(), width, height, Path().c_str()), UTL_STS_SUCCESS);
        return Read(Path());
    }
};

Bytes Slice(const Bytes& bytes, size_t from, size_t to) {
    return {bytes.begin() + static_cast<std::ptrdiff_t>(from), bytes.begin() + static_cast<std::ptrdiff_t>(to)};
}

TEST_F(BmpWriter, ColourHeaderByteForByte) {
    const Bytes file = Saved(kVariants[0], {11, 12, 13, 14}, 1, 1);
    const Bytes expected = {
        'B',  'M',  106, 0,  0, 0, 0, 0, 0,    0,    0, 0, 0, 0, 102, 0, 0, 0, 0, 0, 0, 0,  // file header
        80,   0,    0,   0,  0, 0, 0, 0, 1,    0,    0, 0, 0, 0, 0,   0, 1, 0, 0, 0, 0, 0,
        0,    0,  // size, width, height
        1,    0,    32,  0,  0, 0, 0, 0, 0,    0,    0, 0, 0, 0, 0,   0, 4, 0, 0, 0, 0, 0,
        0,    0,                                                          // planes .. image size
        0x80, 0x3E, 0,   0,  0, 0, 0, 0, 0x80, 0x3E, 0, 0, 0, 0, 0,   0,  // 16000 pixels a metre
        0,    0,    0,   0,  0, 0, 0, 0, 0,    0,    0, 0, 0, 0, 0,   0,  // no palette
        11,   12,   13,  14,                                              // the pixel as it stands
    };
    EXPECT_EQ(file, expected);
}

TEST_F(BmpWriter, GreyHeaderPaletteAndRowsByteForByte) {
    const Bytes file = Saved(kVariants[2], {1, 2, 3, 4}, 2, 2);
    ASSERT_EQ(file.size(), 1134u);
    const Bytes header = {
        'B', 'M', 0x6E, 4, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x66, 4, 0, 0, 0, 0, 0, 0,  // 1134 bytes, pixels at
                                                                                     // 1126
        80, 0, 0, 0, 0, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0,     //
        1, 0, 8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 8, 0, 0, 0, 0, 0, 0, 0,      //
        0x00, 0x71, 2, 0, 0, 0, 0, 0, 0x00, 0x71, 2, 0, 0, 0, 0, 0,                  // 160000 pixels a metre
        0, 1, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0,                              // 256 entries
    };
    EXPECT_EQ(Slice(file, 0, 102), header);
    for (uint32_t i = 0; i < 256; ++i) {
        const auto grey = static_cast<uint8_t>(i);
        EXPECT_EQ(Slice(file, 102 + 4 * i, 106 + 4 * i), (Bytes{grey, grey, grey, 0}));
    }
    EXPECT_EQ(Slice(file, 1126, 1134), (Bytes{3, 4, 0, 0, 1, 2, 0, 0}));
}

TEST_F(BmpWriter, RowsArePaddedToFourBytes) {
    const Bytes picture = Counting(64);
    EXPECT_EQ(Saved(kVariants[2], picture, 5, 1).size(), 1126u + 8);
    EXPECT_EQ(Saved(kVariants[2], picture, 8, 1).size(), 1126u + 8);
    EXPECT_EQ(Saved(kVariants[1], picture, 5, 1).size(), 102u + 16);
    EXPECT_EQ(Saved(kVariants[1], picture, 2, 1).size(), 102u + 8);
    EXPECT_EQ(Saved(kVariants[1], picture, 4, 1).size(), 102u + 12);
    EXPECT_EQ(Slice(Saved(kVariants[1], picture, 2, 1), 108, 110), (Bytes{0, 0}));
}

TEST_F(BmpWriter, EverySmallSizeOfEveryVariant) {
    const Bytes picture = Counting(10 * 10 * 4);
    for (const Variant& variant : kVariants) {
        for (uint32_t width = 0; width <= 9; ++width) {
            for (uint32_t height = 0; height <= 4; ++height) {
                const size_t rowBytes = size_t{width} * variant.bits / 8;
                EXPECT_EQ(Saved(variant, picture, width, height),
                          Reference::BitmapFile(variant.bits, picture.data(), width, height, rowBytes))
                    << variant.bits << " bits " << width << " x " << height;
            }
        }
    }
}

TEST_F(BmpWriter, PicturesLargerThanAnyBuffer) {
    const Bytes picture = Counting(size_t{301} * 211 * 4);
    for (const Variant& variant : kVariants) {
        EXPECT_TRUE(Saved(variant, picture, 301, 211) ==
                    Reference::BitmapFile(variant.bits, picture.data(), 301, 211, size_t{301} * variant.bits / 8))
            << variant.bits;
        ASSERT_EQ(variant.writeWithStride(picture.data(), 199, 150, 1234, Path().c_str()), UTL_STS_SUCCESS);
        EXPECT_TRUE(Read(Path()) == Reference::BitmapFile(variant.bits, picture.data(), 199, 150, 1234))
            << variant.bits;
        // One row longer than 64 KiB.
        EXPECT_TRUE(Saved(variant, picture, 63000, 1) ==
                    Reference::BitmapFile(variant.bits, picture.data(), 63000, 1, size_t{63000} * variant.bits / 8))
            << variant.bits;
    }
}

TEST_F(BmpWriter, EmptyPicturesAreHeadersOnly) {
    const uint8_t pixel[4] = {};
    for (const Variant& variant : kVariants) {
        const size_t pixelsAt = variant.bits == 8 ? 1126 : 102;
        ASSERT_EQ(variant.write(pixel, 7, 0, Path().c_str()), UTL_STS_SUCCESS);
        Bytes file = Read(Path());
        EXPECT_EQ(file.size(), pixelsAt);
        EXPECT_EQ(file[2] + 256u * file[3], pixelsAt);
        EXPECT_EQ(Slice(file, 62, 70), Bytes(8, 0));
        ASSERT_EQ(variant.write(pixel, 0, 1000, Path().c_str()), UTL_STS_SUCCESS);
        file = Read(Path());
        EXPECT_EQ(file.size(), pixelsAt);
        EXPECT_EQ(Slice(file, 38, 46), (Bytes{0xE8, 3, 0, 0, 0, 0, 0, 0}));
        EXPECT_EQ(Slice(file, 62, 70), Bytes(8, 0));
    }
}

TEST_F(BmpWriter, StridesOfEveryKind) {
    const Bytes picture = Counting(4000);
    for (const Variant& variant : kVariants) {
        for (const uint32_t stride : {0u, 1u, 3u, 20u, 31u, 64u, 333u}) {
            ASSERT_EQ(variant.writeWithStride(picture.data(), 5, 7, stride, Path().c_str()), UTL_STS_SUCCESS);
            EXPECT_EQ(Read(Path()), Reference::BitmapFile(variant.bits, picture.data(), 5, 7, stride))
                << variant.bits << " bits, stride " << stride;
        }
    }
}

TEST_F(BmpWriter, BytesBetweenRowsAreNotRead) {
    for (const Variant& variant : kVariants) {
        const uint32_t rowBytes = 5 * variant.bits / 8;
        // Two rows 300 bytes apart; the second one ends at a page that may not be read.
        Reference::GuardedArena arena(300 + rowBytes);
        const uint8_t* picture = arena.Block(300 + rowBytes, Reference::GuardSide::kBack, 0x44);
        ASSERT_EQ(variant.writeWithStride(picture, 5, 2, 300, Path().c_str()), UTL_STS_SUCCESS);
        EXPECT_EQ(Read(Path()), Reference::BitmapFile(variant.bits, picture, 5, 2, 300));
        const uint8_t* front = arena.Block(300 + rowBytes, Reference::GuardSide::kFront, 0x44);
        ASSERT_EQ(variant.writeWithStride(front, 5, 2, 300, Path().c_str()), UTL_STS_SUCCESS);
        EXPECT_EQ(Read(Path()), Reference::BitmapFile(variant.bits, front, 5, 2, 300));
    }
}

TEST_F(BmpWriter, ImageSizesWrapModulo2To32) {
    // A picture of width 0 has no bytes in its rows, one of height 0 no rows.
    const uint8_t pixel[4] = {};
    ASSERT_EQ(SaveBmpARGB_S(pixel, 0xFFFFFFFF, 0, 0, Path().c_str()), UTL_STS_SUCCESS);
    EXPECT_EQ(Slice(Read(Path()), 30, 46), (Bytes{0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(Slice(Read(Path()), 62, 70), Bytes(8, 0));
}

/// Lets files grow to this size only, for as long as it lives; what goes beyond is a failed write.
class FileSizeLimit {
  public:
    explicit FileSizeLimit(rlim_t bytes) : m_handler(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit = {bytes, m_before.rlim_max};
        EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;
    ~FileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &m_before);
        static_cast<void>(std::signal(SIGXFSZ, m_handler));
    }

  private:
    rlimit m_before = {};
    void (*m_handler)(int);
};

uint64_t NumberAt(const Bytes& file, size_t offset) {
    uint64_t number = 0;
    for (size_t i = 8; i-- > 0;) {
        number = number << 8 | file.at(offset + i);
    }
    return number;
}

TEST_F(BmpWriter, ImageSizesOf4GiBWrapAndFileSizesDoNot) {
    // All rows are the same, and only the beginning of the file is kept.
    const FileSizeLimit limit(4096);
    const Bytes row(199924);
    ASSERT_EQ(SaveBmpMono_S(row.data(), 0x10000, 0x10001, 0, Path().c_str()), UTL_STS_SUCCESS);
    EXPECT_EQ(NumberAt(Read(Path()), 2), 0x10000u + 1126);
    EXPECT_EQ(NumberAt(Read(Path()), 62), 0x10000u);
    // 199,924 bytes per row, 21,483 rows: 4 bytes less than 2^32.
    ASSERT_EQ(SaveBmpARGB_S(row.data(), 49981, 21483, 0, Path().c_str()), UTL_STS_SUCCESS);
    EXPECT_EQ(NumberAt(Read(Path()), 2), 0x100000062u);
    EXPECT_EQ(NumberAt(Read(Path()), 62), 0xFFFFFFFCu);
}

TEST_F(BmpWriter, PicturesWithoutColumnsAreDoneAtOnce) {
    // Thousands of millions of rows of nothing would take many seconds.
    const uint8_t pixel[4] = {};
    const auto began = std::chrono::steady_clock::now();
    for (const Variant& variant : kVariants) {
        ASSERT_EQ(variant.write(pixel, 0, 0xFFFFFFFF, Path().c_str()), UTL_STS_SUCCESS);
        EXPECT_EQ(NumberAt(Read(Path()), 38), 0xFFFFFFFFu);
        EXPECT_EQ(NumberAt(Read(Path()), 62), 0u);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::seconds(5));
}

TEST_F(BmpWriter, OnlyGreyPicturesFindTheirBottomRowModulo2To32) {
    // Rows 2 GiB apart: two of them are 2^32 bytes, of which a grey picture keeps nothing. Only the pages that a row
    // may start in can be read.
    constexpr size_t kGiB = size_t{1} << 30;
    void* reserved = mmap(nullptr, 9 * kGiB, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (reserved == MAP_FAILED) {
        GTEST_SKIP() << "no address space to reserve";
    }
    auto* base = static_cast<uint8_t*>(reserved);
    for (size_t i = 0; i <= 4; ++i) {
        ASSERT_EQ(mprotect(base + i * 2 * kGiB, 4096, PROT_READ | PROT_WRITE), 0);
        std::fill_n(base + i * 2 * kGiB, 4, static_cast<uint8_t>(10 + i));
    }
    const uint8_t* picture = base + 4 * kGiB;
    ASSERT_EQ(SaveBmpMono_S(picture, 4, 3, 0x80000000, Path().c_str()), UTL_STS_SUCCESS);
    Bytes file = Read(Path());
    EXPECT_EQ(Slice(file, 1126, file.size()), (Bytes{12, 12, 12, 12, 11, 11, 11, 11, 10, 10, 10, 10}));
    ASSERT_EQ(SaveBmpARGB_S(picture, 1, 3, 0x80000000, Path().c_str()), UTL_STS_SUCCESS);
    file = Read(Path());
    EXPECT_EQ(Slice(file, 102, file.size()), (Bytes{14, 14, 14, 14, 13, 13, 13, 13, 12, 12, 12, 12}));
    ASSERT_EQ(SaveBmpRGB_S(picture, 1, 3, 0x80000000, Path().c_str()), UTL_STS_SUCCESS);
    file = Read(Path());
    EXPECT_EQ(Slice(file, 102, file.size()), (Bytes{14, 14, 14, 0, 13, 13, 13, 0, 12, 12, 12, 0}));
    munmap(reserved, 9 * kGiB);
}

TEST_F(BmpWriter, ANullPictureTouchesNoFile) {
    for (const Variant& variant : kVariants) {
        EXPECT_EQ(variant.write(nullptr, 1, 1, Path().c_str()), UTL_STS_INVALID_PARAMETER);
        EXPECT_EQ(variant.writeWithStride(nullptr, 1, 1, 4, Path().c_str()), UTL_STS_INVALID_PARAMETER);
        EXPECT_EQ(variant.write(nullptr, 1, 1, nullptr), UTL_STS_INVALID_PARAMETER);
        EXPECT_FALSE(std::filesystem::exists(Path()));
    }
    Write(Path(), {1, 2, 3});
    EXPECT_EQ(SaveBmpMono(nullptr, 1, 1, Path().c_str()), UTL_STS_INVALID_PARAMETER);
    EXPECT_EQ(Read(Path()), (Bytes{1, 2, 3}));
}

TEST_F(BmpWriter, PathsThatCannotBeOpened) {
    const uint8_t pixel[4] = {};
    const std::string missing = Path("missing/file");
    for (const Variant& variant : kVariants) {
        for (const char* path : {static_cast<const char*>(nullptr), "", missing.c_str(), m_folder.c_str()}) {
            EXPECT_EQ(variant.write(pixel, 1, 1, path), UTL_STS_FILE_OPEN_ERROR);
            EXPECT_EQ(variant.writeWithStride(pixel, 1, 1, 4, path), UTL_STS_FILE_OPEN_ERROR);
        }
    }
}

TEST_F(BmpWriter, AnExistingFileIsReplacedAsAWhole) {
    Write(Path(), Counting(5000));
    const uint8_t pixel[4] = {1, 2, 3, 4};
    ASSERT_EQ(SaveBmpARGB(pixel, 1, 1, Path().c_str()), UTL_STS_SUCCESS);
    EXPECT_EQ(Read(Path()), Reference::BitmapFile(32, pixel, 1, 1, 4));
}

TEST_F(BmpWriter, AFullDiskIsNotReported) {
    if (!std::filesystem::exists("/dev/full")) {
        GTEST_SKIP() << "there is no /dev/full";
    }
    const Bytes picture = Counting(100 * 100 * 4);
    EXPECT_EQ(SaveBmpARGB(picture.data(), 100, 100, "/dev/full"), UTL_STS_SUCCESS);
    EXPECT_EQ(SaveBmpMono(picture.data(), 1, 1, "/dev/full"), UTL_STS_SUCCESS);
}

}  // namespace
