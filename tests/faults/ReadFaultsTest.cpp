// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// LoadRWH when reading fails at any byte, comes in small pieces or is interrupted, and every length and every lie that
// a header can tell. What was not read stays as it was; header words that were not read are 0.
#include <algorithm>
#include <cstring>

#include "FaultSupport.h"
#include "Interposed.h"

using namespace Faults;

namespace {

constexpr uint32_t kWidth = 7;
constexpr uint32_t kHeight = 5;
constexpr uint32_t kRowSize = 14;
constexpr size_t kHeaderBytes = 16;
constexpr size_t kDataBytes = size_t{kRowSize} * kHeight;
constexpr uint8_t kFill = 0x5A;

struct Header {
    uint32_t words[4];
};

ByteVector FileWith(const Header& header, size_t dataBytes) {
    ByteVector file = Noise(kHeaderBytes + dataBytes);
    std::memcpy(file.data(), header.words, kHeaderBytes);
    return file;
}

class ReadFaults : public testing::Test {
  protected:
    /// Loads into a block of the caller's that is filled before.
    UtlStatus Load() {
        m_block.assign(kDataBytes, kFill);
        uint8_t* frame = m_block.data();
        const UtlStatus status =
            LoadRWH(m_path.c_str(), &frame, &m_got.words[0], &m_got.words[1], &m_got.words[2], &m_got.words[3]);
        EXPECT_EQ(frame, m_block.data());
        return status;
    }

    /// The first `readable` bytes of the file came through and nothing else.
    void ExpectLoaded(size_t readable) {
        Header header = {};
        std::memcpy(&header, m_complete.data(), std::min(readable, kHeaderBytes));
        for (int word = 0; word < 4; ++word) {
            EXPECT_EQ(m_got.words[word], header.words[word]);
        }
        ByteVector expected(kDataBytes, kFill);
        if (readable > kHeaderBytes) {
            std::memcpy(expected.data(), m_complete.data() + kHeaderBytes, readable - kHeaderBytes);
        }
        EXPECT_EQ(m_block, expected);
    }

    Folder m_folder;
    const std::string m_path = m_folder.File("frame.rwh");
    const ByteVector m_complete = FileWith({{PIXEL_FORMAT_MONO12, kWidth, kHeight, kRowSize}}, kDataBytes);
    ByteVector m_block;
    Header m_got = {};
};

TEST_F(ReadFaults, FileOfEveryLength) {
    const long descriptors = OpenDescriptors();
    m_block.resize(kDataBytes);
    for (size_t length = 0; length <= m_complete.size(); ++length) {
        WriteWhole(m_path, {m_complete.begin(), m_complete.begin() + static_cast<ptrdiff_t>(length)});
        const int64_t blocks = LiveBlocks();
        ASSERT_EQ(Load(), UTL_STS_SUCCESS) << length;
        ASSERT_EQ(LiveBlocks(), blocks);
        ExpectLoaded(length);
    }
    EXPECT_EQ(OpenDescriptors(), descriptors);
}

TEST_F(ReadFaults, LongFileGivesOnlyWhatTheHeaderSays) {
    ByteVector file = m_complete;
    file.resize(file.size() + 20000, 0xEE);
    WriteWhole(m_path, file);
    ASSERT_EQ(Load(), UTL_STS_SUCCESS);
    ExpectLoaded(m_complete.size());
}

TEST_F(ReadFaults, ReadingFailsAtEveryByte) {
    WriteWhole(m_path, m_complete);
    const long descriptors = OpenDescriptors();
    for (size_t readable = 0; readable < m_complete.size(); ++readable) {
        UtlStatus status = 0;
        {
            const Fault fault({.readError = readable});
            status = Load();
        }
        ASSERT_EQ(status, UTL_STS_SUCCESS);
        ASSERT_GT(Fault::Seen().faultsHit, 0u);
        ASSERT_EQ(OpenDescriptors(), descriptors);
        // A failed read may drop what came with earlier calls of it, but never more than that.
        for (size_t i = 0; i < kDataBytes; ++i) {
            ASSERT_TRUE(m_block[i] == kFill || m_block[i] == m_complete[kHeaderBytes + i]);
        }
    }
}

TEST_F(ReadFaults, ShortAndInterruptedReadsAreContinued) {
    WriteWhole(m_path, m_complete);
    for (const size_t bytes : {size_t{1}, size_t{7}, size_t{4096}}) {
        for (const bool interrupt : {false, true}) {
            UtlStatus status = 0;
            {
                const Fault fault({.bytesPerCall = bytes, .interruptEverySecond = interrupt});
                status = Load();
            }
            ASSERT_EQ(status, UTL_STS_SUCCESS);
            ASSERT_EQ(Fault::Seen().faultsHit > 0, interrupt);
            ExpectLoaded(m_complete.size());
        }
    }
}

TEST_F(ReadFaults, FailedCloseIsNotReported) {
    WriteWhole(m_path, m_complete);
    UtlStatus status = 0;
    {
        const Fault fault({.closeFails = true});
        status = Load();
    }
    EXPECT_EQ(status, UTL_STS_SUCCESS);
    EXPECT_EQ(Fault::Seen().faultsHit, 1u);
    ExpectLoaded(m_complete.size());
}

TEST_F(ReadFaults, RowSizeThatContradictsTheFormatIsBelieved) {
    const Header lying = {{PIXEL_FORMAT_MONO8, 1000000, 10, 3}};
    WriteWhole(m_path, FileWith(lying, 30));
    uint8_t* frame = nullptr;
    ASSERT_EQ(LoadRWH(m_path.c_str(), &frame, nullptr, nullptr, nullptr, nullptr), UTL_STS_SUCCESS);
    ASSERT_NE(frame, nullptr);
    const ByteVector file = ReadWhole(m_path);
    EXPECT_EQ(ByteVector(frame, frame + 30), ByteVector(file.begin() + kHeaderBytes, file.end()));
    std::free(frame);
}

TEST_F(ReadFaults, HeaderOnlyQueryOfAHugeFrameAllocatesNothing) {
    WriteWhole(m_path, FileWith({{PIXEL_FORMAT_MONO8, 0xFFFFFFFFu, 1, 0xFFFFFFFFu}}, 4));
    uint32_t rowSize = 0;
    ASSERT_EQ(LoadRWH(m_path.c_str(), nullptr, nullptr, nullptr, nullptr, &rowSize), UTL_STS_SUCCESS);
    EXPECT_EQ(rowSize, 0xFFFFFFFFu);
}

TEST_F(ReadFaults, SizeThatWrapsReadsOnlyTheWrappedBytes) {
    // 0x20000001 rows of 8 bytes are 2^32 + 8 bytes, which wraps to 8.
    WriteWhole(m_path, FileWith({{PIXEL_FORMAT_MONO8, 8, 0x20000001u, 8}}, 100));
    m_block.assign(100, kFill);
    uint8_t* frame = m_block.data();
    ASSERT_EQ(LoadRWH(m_path.c_str(), &frame, nullptr, nullptr, nullptr, nullptr), UTL_STS_SUCCESS);
    const ByteVector file = ReadWhole(m_path);
    for (size_t i = 0; i < m_block.size(); ++i) {
        EXPECT_EQ(m_block[i], i < 8 ? file[kHeaderBytes + i] : kFill);
    }
}

}  // namespace
