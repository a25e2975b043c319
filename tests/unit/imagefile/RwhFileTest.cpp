// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Raw frames in files, written and read: layouts byte for byte, short files of every length, and every way to fail.
#include <malloc.h>

#include <array>
#include <cstring>

#include "ScratchFolder.h"

namespace {

constexpr uint32_t kUnset = 0xDEADBEEF;

struct Loaded {
    UtlStatus status = 0;
    uint32_t format = kUnset;
    uint32_t width = kUnset;
    uint32_t height = kUnset;
    uint32_t rowSize = kUnset;
};

/// Leaves no zeros where the next call has its variables.
[[gnu::noinline]] void SoilStack() {
    std::array<uint8_t, 8192> used;
    used.fill(0xCD);
    __asm__ volatile("" : : "r"(used.data()) : "memory");
}

Loaded Load(const std::string& path, uint8_t** frame) {
    SoilStack();
    Loaded loaded;
    loaded.status = LoadRWH(path.c_str(), frame, &loaded.format, &loaded.width, &loaded.height, &loaded.rowSize);
    return loaded;
}

void ExpectHeader(const Loaded& loaded, uint32_t format, uint32_t width, uint32_t height, uint32_t rowSize) {
    EXPECT_EQ(loaded.status, UTL_STS_SUCCESS);
    EXPECT_EQ(loaded.format, format);
    EXPECT_EQ(loaded.width, width);
    EXPECT_EQ(loaded.height, height);
    EXPECT_EQ(loaded.rowSize, rowSize);
}

class RwhFile : public ScratchFolder {
  protected:
    Bytes Saved(PixelFormat format, uint32_t width, uint32_t height, const Bytes& frame) {
        EXPECT_EQ(SaveRWH(frame.data(), format, width, height, Path().c_str()), UTL_STS_SUCCESS);
        return Read(Path());
    }
};

TEST_F(RwhFile, Mono8ByteForByte) {
    EXPECT_EQ(Saved(0x01080001, 3, 2, {1, 2, 3, 4, 5, 6}),
              (Bytes{1, 0, 8, 1, 3, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0, 1, 2, 3, 4, 5, 6}));
}

TEST_F(RwhFile, RowSizesRoundDown) {
    const Bytes frame = Counting(1000);
    EXPECT_EQ(Saved(0x01100003, 5, 2, frame), Reference::RawFile(frame.data(), 0x01100003, 5, 2));
    EXPECT_EQ(Read(Path())[12], 10);
    const Bytes yuv = Saved(0x020C001E, 5, 3, frame);
    EXPECT_EQ(yuv[12], 7);
    EXPECT_EQ(yuv.size(), 16u + 21);
    EXPECT_EQ(Saved(0x00010000, 7, 2, frame).size(), 16u);  // one bit per pixel, less than a byte per row
    EXPECT_EQ(Saved(0x00FF0000, 3, 1, frame).size(), 16u + 95);
}

TEST_F(RwhFile, EmptyFramesAreAHeaderOnly) {
    const Bytes frame = {9};
    EXPECT_EQ(Saved(0x01080001, 3, 0, frame), (Bytes{1, 0, 8, 1, 3, 0, 0, 0, 0, 0, 0, 0, 3, 0, 0, 0}));
    EXPECT_EQ(Saved(0x12000034, 3, 2, frame), (Bytes{0x34, 0, 0, 0x12, 3, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(Saved(0x01080001, 0, 5, frame), (Bytes{1, 0, 8, 1, 0, 0, 0, 0, 5, 0, 0, 0, 0, 0, 0, 0}));
}

TEST_F(RwhFile, SizesWrapModulo2To32) {
    const Bytes frame = Counting(64);
    // 16 bits * 0x10000002 pixels = 0x100000020, of which 0x20 bits are left: 4 bytes per row.
    const Bytes row = Saved(0x01100003, 0x10000002, 1, frame);
    EXPECT_EQ(Bytes(row.begin() + 12, row.begin() + 16), (Bytes{4, 0, 0, 0}));
    EXPECT_EQ(row.size(), 16u + 4);
    // 2 bytes per row * 0x80000001 rows = 0x100000002: 2 bytes.
    const Bytes rows = Saved(0x01080001, 2, 0x80000001, frame);
    EXPECT_EQ(rows.size(), 16u + 2);
    EXPECT_EQ(rows[16], frame[0]);
    uint8_t* block = nullptr;
    ExpectHeader(Load(Path(), &block), 0x01080001, 2, 0x80000001, 2);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(block[1], frame[1]);
    std::free(block);
}

TEST_F(RwhFile, EveryFormatComesBack) {
    for (const PixelFormat format : {0x01080001u, 0x01100007u, 0x0108000Bu, 0x01100013u, 0x02180014u, 0x02300019u,
                                     0x020C001Eu, 0x0210001Fu, 0x02180020u, 0xFFFFFFFFu, 0x00040000u}) {
        const Bytes file = Saved(format, 9, 5, Counting(size_t{9} * 5 * 32));
        uint8_t* block = nullptr;
        const uint32_t rowSize = (format >> 16 & 0xFF) * 9 / 8;
        ExpectHeader(Load(Path(), &block), format, 9, 5, rowSize);
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(Bytes(block, block + size_t{rowSize} * 5), Bytes(file.begin() + 16, file.end()));
        std::free(block);
    }
}

TEST_F(RwhFile, AHeaderQueryAllocatesNothing) {
    Saved(0x01080001, 3, 2, Counting(6));
    ExpectHeader(Load(Path(), nullptr), 0x01080001, 3, 2, 3);
    EXPECT_EQ(LoadRWH(Path().c_str(), nullptr, nullptr, nullptr, nullptr, nullptr), UTL_STS_SUCCESS);
}

TEST_F(RwhFile, EachOutputMayBeNull) {
    Saved(0x01080001, 3, 2, Counting(6));
    uint32_t outs[4] = {kUnset, kUnset, kUnset, kUnset};
    const uint32_t expected[4] = {0x01080001, 3, 2, 3};
    for (uint32_t mask = 0; mask < 16; ++mask) {
        std::fill(std::begin(outs), std::end(outs), kUnset);
        const auto out = [&](uint32_t i) { return (mask >> i & 1) != 0 ? &outs[i] : nullptr; };
        EXPECT_EQ(LoadRWH(Path().c_str(), nullptr, out(0), out(1), out(2), out(3)), UTL_STS_SUCCESS);
        for (uint32_t i = 0; i < 4; ++i) {
            EXPECT_EQ(outs[i], (mask >> i & 1) != 0 ? expected[i] : kUnset) << mask;
        }
    }
}

TEST_F(RwhFile, ABlockOfTheCallersIsFilledAndKept) {
    Saved(0x01080001, 3, 2, {1, 2, 3, 4, 5, 6});
    Bytes mine(8, 0x55);
    uint8_t* frame = mine.data();
    ExpectHeader(Load(Path(), &frame), 0x01080001, 3, 2, 3);
    EXPECT_EQ(frame, mine.data());
    EXPECT_EQ(mine, (Bytes{1, 2, 3, 4, 5, 6, 0x55, 0x55}));
}

TEST_F(RwhFile, ShortFilesOfEveryLength) {
    const Bytes frame = Counting(6);
    const Bytes file = Saved(0x01080001, 3, 2, frame);
    for (size_t length = 0; length <= file.size(); ++length) {
        Write(Path(), Bytes(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(length)));
        Bytes mine(8, 0x55);
        uint8_t* block = mine.data();
        const Loaded loaded = Load(Path(), &block);
        // A word that was read in part holds the bytes that are there.
        uint32_t words[4] = {};
        std::memcpy(words, file.data(), std::min<size_t>(length, 16));
        ExpectHeader(loaded, words[0], words[1], words[2], words[3]);
        Bytes expected(8, 0x55);
        for (size_t i = 16; i < length; ++i) {
            expected[i - 16] = frame[i - 16];
        }
        EXPECT_EQ(mine, expected) << length;
        uint8_t* allocated = nullptr;
        EXPECT_EQ(Load(Path(), &allocated).status, UTL_STS_SUCCESS) << length;
        EXPECT_NE(allocated, nullptr) << length;
        std::free(allocated);
    }
}

TEST_F(RwhFile, LyingHeadersAreNotChecked) {
    // A row size that does not fit format and width is believed; bytes behind the data are not read.
    Write(Path(), {1, 0, 8, 1, 9, 0, 0, 0, 2, 0, 0, 0, 4, 0, 0, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10});
    uint8_t* block = nullptr;
    ExpectHeader(Load(Path(), &block), 0x01080001, 9, 2, 4);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(Bytes(block, block + 8), (Bytes{1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_GE(malloc_usable_size(block), 8u);
    std::free(block);
}

TEST_F(RwhFile, ANullFrameTouchesNoFile) {
    EXPECT_EQ(SaveRWH(nullptr, 0x01080001, 3, 2, Path().c_str()), UTL_STS_INVALID_PARAMETER);
    EXPECT_FALSE(std::filesystem::exists(Path()));
    EXPECT_EQ(SaveRWH(nullptr, 0x01080001, 0, 0, nullptr), UTL_STS_INVALID_PARAMETER);
}

TEST_F(RwhFile, PathsThatCannotBeOpened) {
    const uint8_t byte = 0;
    const std::string missing = Path("missing/file");
    for (const char* path : {static_cast<const char*>(nullptr), "", missing.c_str()}) {
        EXPECT_EQ(SaveRWH(&byte, 0x01080001, 1, 1, path), UTL_STS_FILE_OPEN_ERROR);
        uint8_t* frame = nullptr;
        Loaded loaded;
        EXPECT_EQ(LoadRWH(path, &frame, &loaded.format, &loaded.width, &loaded.height, &loaded.rowSize),
                  UTL_STS_FILE_OPEN_ERROR);
        EXPECT_EQ(frame, nullptr);
        EXPECT_EQ(loaded.format, kUnset);
        EXPECT_EQ(loaded.width, kUnset);
        EXPECT_EQ(loaded.height, kUnset);
        EXPECT_EQ(loaded.rowSize, kUnset);
        uint8_t mine = 7;
        frame = &mine;
        EXPECT_EQ(LoadRWH(path, &frame, nullptr, nullptr, nullptr, nullptr), UTL_STS_FILE_OPEN_ERROR);
        EXPECT_EQ(frame, &mine);
        EXPECT_EQ(mine, 7);
    }
    EXPECT_EQ(SaveRWH(&byte, 0x01080001, 1, 1, m_folder.c_str()), UTL_STS_FILE_OPEN_ERROR);
}

TEST_F(RwhFile, AFolderReadsAsZeros) {
    // Linux opens a folder for reading and fails at the first read: no word of the header is there.
    const Loaded loaded = Load(m_folder.string(), nullptr);
    ExpectHeader(loaded, 0, 0, 0, 0);
}

TEST_F(RwhFile, AFolderAsSourceOfAFrame) {
    uint8_t* frame = nullptr;
    const UtlStatus status = LoadRWH(m_folder.c_str(), &frame, nullptr, nullptr, nullptr, nullptr);
    EXPECT_TRUE(status == UTL_STS_SUCCESS || status == UTL_STS_FILE_READ_ERROR) << status;
    std::free(frame);
}

TEST_F(RwhFile, AFullDiskIsNotReported) {
    if (!std::filesystem::exists("/dev/full")) {
        GTEST_SKIP() << "there is no /dev/full";
    }
    const Bytes frame = Counting(100000);
    EXPECT_EQ(SaveRWH(frame.data(), 0x01080001, 1000, 100, "/dev/full"), UTL_STS_SUCCESS);
}

TEST_F(RwhFile, AnExistingFileIsReplacedAsAWhole) {
    Write(Path(), Counting(5000));
    EXPECT_EQ(Saved(0x01080001, 1, 1, {7}), (Bytes{1, 0, 8, 1, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 7}));
}

}  // namespace
