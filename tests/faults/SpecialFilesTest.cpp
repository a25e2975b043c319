// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Paths that lead to something other than a plain file: a folder, a FIFO, links, devices.
#include <csignal>
#include <cstring>
#include <thread>

#include "FaultSupport.h"

using namespace Faults;

namespace {

constexpr uint32_t kWidth = 300;
constexpr uint32_t kHeight = 400;  // larger than a FIFO holds

class SpecialFiles : public testing::Test {
  protected:
    void SetUp() override { m_descriptors = OpenDescriptors(); }
    void TearDown() override { EXPECT_EQ(OpenDescriptors(), m_descriptors); }

    std::string MakeFifo() {
        std::string path = m_folder.File("fifo");
        EXPECT_EQ(::mkfifo(path.c_str(), 0600), 0);
        return path;
    }

    Folder m_folder;
    const ByteVector m_picture = Noise(size_t{kWidth} * kHeight * 4);
    long m_descriptors = 0;
};

/// Everything that comes out of a FIFO until its last writer is gone.
ByteVector Drain(const std::string& path) {
    ByteVector content;
    uint8_t piece[1000];
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    for (ssize_t got = 0; (got = ::read(file, piece, sizeof piece)) > 0;) {
        content.insert(content.end(), piece, piece + got);
    }
    ::close(file);
    return content;
}

TEST_F(SpecialFiles, FolderOpensForReadingAndReadsAsNothing) {
    uint8_t block[4] = {1, 2, 3, 4};
    uint8_t* frame = block;
    uint32_t words[4] = {9, 9, 9, 9};
    EXPECT_EQ(LoadRWH(m_folder.Path().c_str(), &frame, &words[0], &words[1], &words[2], &words[3]), UTL_STS_SUCCESS);
    for (const uint32_t word : words) {
        EXPECT_EQ(word, 0u);
    }
    EXPECT_EQ(block[0], 1);
    frame = nullptr;
    EXPECT_EQ(LoadRWH(m_folder.Path().c_str(), &frame, nullptr, nullptr, nullptr, nullptr), UTL_STS_SUCCESS);
    std::free(frame);
}

TEST_F(SpecialFiles, FifoCarriesTheWholeFile) {
    const std::string fifo = MakeFifo();
    for (const Writer& writer : kWriters) {
        const std::string plain = m_folder.File("plain");
        ASSERT_EQ(writer.save(m_picture.data(), kWidth, kHeight, plain.c_str()), UTL_STS_SUCCESS);
        ByteVector received;
        std::thread reader([&] { received = Drain(fifo); });
        EXPECT_EQ(writer.save(m_picture.data(), kWidth, kHeight, fifo.c_str()), UTL_STS_SUCCESS);
        reader.join();
        EXPECT_EQ(received, ReadWhole(plain)) << writer.name;
    }
}

TEST_F(SpecialFiles, LoadingFromAFifoThatComesInPieces) {
    const std::string fifo = MakeFifo();
    const std::string plain = m_folder.File("plain");
    ASSERT_EQ(SaveRWH(m_picture.data(), PIXEL_FORMAT_MONO8, kWidth, kHeight, plain.c_str()), UTL_STS_SUCCESS);
    const ByteVector file = ReadWhole(plain);
    std::thread writer([&] {
        const int out = ::open(fifo.c_str(), O_WRONLY | O_CLOEXEC);
        for (size_t at = 0; at < file.size(); at += 4999) {
            const size_t piece = std::min<size_t>(4999, file.size() - at);
            EXPECT_EQ(::write(out, file.data() + at, piece), static_cast<ssize_t>(piece));
        }
        ::close(out);
    });
    uint8_t* frame = nullptr;
    uint32_t height = 0;
    EXPECT_EQ(LoadRWH(fifo.c_str(), &frame, nullptr, nullptr, &height, nullptr), UTL_STS_SUCCESS);
    writer.join();
    EXPECT_EQ(height, kHeight);
    ASSERT_NE(frame, nullptr);
    EXPECT_EQ(std::memcmp(frame, m_picture.data(), size_t{kWidth} * kHeight), 0);
    std::free(frame);
}

TEST_F(SpecialFiles, ReaderOfAFifoThatGoesAwayIsNotReported) {
    const std::string fifo = MakeFifo();
    ASSERT_NE(std::signal(SIGPIPE, SIG_IGN), SIG_ERR);
    for (const Writer& writer : kWriters) {
        std::thread reader([&] {
            uint8_t few[10];
            const int in = ::open(fifo.c_str(), O_RDONLY | O_CLOEXEC);
            EXPECT_GT(::read(in, few, sizeof few), 0);
            ::close(in);
        });
        EXPECT_EQ(writer.save(m_picture.data(), kWidth, kHeight, fifo.c_str()), UTL_STS_SUCCESS) << writer.name;
        reader.join();
    }
}

TEST_F(SpecialFiles, LinksAreFollowed) {
    const std::string file = m_folder.File("file");
    const std::string link = m_folder.File("link");
    std::filesystem::create_symlink("file", link);
    ASSERT_EQ(SaveRWH(m_picture.data(), PIXEL_FORMAT_MONO8, 3, 2, link.c_str()), UTL_STS_SUCCESS);
    EXPECT_EQ(ReadWhole(file).size(), 22u);
    EXPECT_TRUE(std::filesystem::is_symlink(link));
}

TEST_F(SpecialFiles, EmptyDeviceReadsAsAnEmptyFile) {
    uint8_t* frame = nullptr;
    uint32_t width = 9;
    EXPECT_EQ(LoadRWH("/dev/null", &frame, nullptr, &width, nullptr, nullptr), UTL_STS_SUCCESS);
    EXPECT_EQ(width, 0u);
    std::free(frame);
}

TEST_F(SpecialFiles, LyingHeaderOfAlmostFourGibibytes) {
    // Where the system grants the block, it is left as it came; where not, the frame stays null.
    const std::string path = m_folder.File("lying.rwh");
    const uint32_t words[4] = {PIXEL_FORMAT_MONO8, 1, 1, 0xFFFFFFFFu};
    ByteVector file(sizeof words + 4, 0x77);
    std::memcpy(file.data(), words, sizeof words);
    WriteWhole(path, file);
    uint8_t* frame = nullptr;
    const UtlStatus status = LoadRWH(path.c_str(), &frame, nullptr, nullptr, nullptr, nullptr);
    if (frame == nullptr) {
        EXPECT_EQ(status, UTL_STS_FILE_READ_ERROR);
        return;
    }
    EXPECT_EQ(status, UTL_STS_SUCCESS);
    EXPECT_EQ(std::memcmp(frame, file.data() + sizeof words, 4), 0);
    std::free(frame);
}

}  // namespace

// A sanitizer aborts on a large allocation that the system would refuse or grant; here it is to behave as the system.
// The names are the sanitizers'.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" const char* __asan_default_options() {
    return "allocator_may_return_null=1";
}
extern "C" const char* __tsan_default_options() {
    return "allocator_may_return_null=1";
}
// NOLINTEND(bugprone-reserved-identifier)
