// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The one malloc of the library, in LoadRWH: how often, how much, and what happens when it gives nothing. The linker
// sends the library's calls of malloc to the function below.
#include <cstring>

#include "Witness.h"

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
        ASSERT_EQ(SaveRWH(frame_.data(), PIXEL_FORMAT_MONO16, 5, 3, path_.c_str()), UTL_STS_SUCCESS);
        requests = 0;
        lastSize = 0;
    }

    void WriteHeader(uint32_t height, uint32_t rowSize) {
        const uint32_t words[4] = {PIXEL_FORMAT_MONO8, 1, height, rowSize};
        ByteVector file(sizeof words);
        std::memcpy(file.data(), words, sizeof words);
        WriteWhole(path_, file);
    }

    UtlStatus Load(uint8_t** frame) {
        return LoadRWH(path_.c_str(), frame, &words_[0], &words_[1], &words_[2], &words_[3]);
    }

    Folder folder_;
    const std::string path_ = folder_.File("frame.rwh");
    const ByteVector frame_ = Noise(30);
    uint32_t words_[4] = {};
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
    EXPECT_EQ(words_[1], 5u);  // the header was read before
    EXPECT_EQ(words_[3], 10u);
    EXPECT_EQ(OpenDescriptors(), descriptors);
}

TEST_F(MallocFaults, TakesExactlyTheDataSizeOnce) {
    uint8_t* frame = nullptr;
    ASSERT_EQ(Load(&frame), UTL_STS_SUCCESS);
    EXPECT_EQ(requests, 1);
    EXPECT_EQ(lastSize, 30u);
    EXPECT_EQ(ByteVector(frame, frame + 30), frame_);
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
    EXPECT_EQ(block, frame_);
    ASSERT_EQ(Load(nullptr), UTL_STS_SUCCESS);
    ASSERT_EQ(LoadRWH(folder_.File("missing").c_str(), &frame, nullptr, nullptr, nullptr, nullptr),
              UTL_STS_FILE_OPEN_ERROR);
    EXPECT_EQ(requests, 0);
}

}  // namespace
