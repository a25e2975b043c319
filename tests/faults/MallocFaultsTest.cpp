// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The one malloc of the library, in LoadRWH: how often, how much, and what happens when it gives nothing. The linker
// sends the library's calls of malloc to the function below.
#include <cstring>

#include "FaultSupport.h"

using namespace Faults;

namespace {

bool refuse = false;
int requests = 0;
size_t lastSize = 0;

}  // namespace

// The names are the linker's.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
void* __real_malloc(size_t size);
void* __wrap_malloc(size_t size);

void* __wrap_malloc(size_t size) {
    ++requests;
    lastSize = size;
    return refuse ? nullptr : __real_malloc(size);
}
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {

class MallocFaults : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(SaveRWH(m_frame.data(), PIXEL_FORMAT_MONO16, 5, 3, m_path.c_str()), UTL_STS_SUCCESS);
        requests = 0;
        lastSize = 0;
    }

    void WriteHeader(uint32_t height, uint32_t rowSize) {
        const uint32_t words[4] = {PIXEL_FORMAT_MONO8, 1, height, rowSize};
        ByteVector file(sizeof words);
        std::memcpy(file.data(), words, sizeof words);
        WriteWhole(m_path, file);
    }

    UtlStatus Load(uint8_t** frame) {
        return LoadRWH(m_path.c_str(), frame, &m_words[0], &m_words[1], &m_words[2], &m_words[3]);
    }

    Folder m_folder;
    const std::string m_path = m_folder.File("frame.rwh");
    const ByteVector m_frame = Noise(30);
    uint32_t m_words[4] = {};
};

TEST_F(MallocFaults, RefusalIsAReadErrorAndLeavesTheFrameNull) {
    const long descriptors = OpenDescriptors();
    uint8_t* frame = nullptr;
    refuse = true;
    const UtlStatus status = Load(&frame);
    refuse = false;
    EXPECT_EQ(status, UTL_STS_FILE_READ_ERROR);
    EXPECT_EQ(frame, nullptr);
    EXPECT_EQ(requests, 1);
    EXPECT_EQ(m_words[1], 5u);  // the header was read before
    EXPECT_EQ(m_words[3], 10u);
    EXPECT_EQ(OpenDescriptors(), descriptors);
}

TEST_F(MallocFaults, TakesExactlyTheDataSizeOnce) {
    uint8_t* frame = nullptr;
    ASSERT_EQ(Load(&frame), UTL_STS_SUCCESS);
    EXPECT_EQ(requests, 1);
    EXPECT_EQ(lastSize, 30u);
    EXPECT_EQ(ByteVector(frame, frame + 30), m_frame);
    std::free(frame);
}

TEST_F(MallocFaults, TakesTheWrappedSize) {
    WriteHeader(0x10000001u, 16);
    uint8_t* frame = nullptr;
    ASSERT_EQ(Load(&frame), UTL_STS_SUCCESS);
    EXPECT_EQ(requests, 1);
    EXPECT_EQ(lastSize, 16u);
    std::free(frame);
}

TEST_F(MallocFaults, TakesABlockOfNoBytesToo) {
    for (const uint32_t height : {0u, 0x10000000u}) {
        WriteHeader(height, 16);
        requests = 0;
        uint8_t* frame = nullptr;
        ASSERT_EQ(Load(&frame), UTL_STS_SUCCESS);
        EXPECT_EQ(requests, 1);
        EXPECT_EQ(lastSize, 0u);
        EXPECT_NE(frame, nullptr);
        std::free(frame);
    }
}

TEST_F(MallocFaults, NotAskedForTheCallersBlockOrTheHeaderAlone) {
    ByteVector block(30);
    uint8_t* frame = block.data();
    ASSERT_EQ(Load(&frame), UTL_STS_SUCCESS);
    EXPECT_EQ(block, m_frame);
    ASSERT_EQ(Load(nullptr), UTL_STS_SUCCESS);
    ASSERT_EQ(LoadRWH(m_folder.File("missing").c_str(), &frame, nullptr, nullptr, nullptr, nullptr),
              UTL_STS_FILE_OPEN_ERROR);
    EXPECT_EQ(requests, 0);
}

}  // namespace
