// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// How LoadRWH allocates: linked with --wrap=malloc, so that each call of the library's objects comes here first. The
// size asked for is exact, and a refusal leaves the frame pointer null.
#include "ScratchFolder.h"

namespace {

bool s_refuse = false;
int s_calls = 0;
size_t s_lastSize = 0;

}  // namespace

extern "C" void* __real_malloc(size_t size);  // NOLINT: reserved names, given by the linker
extern "C" void* __wrap_malloc(size_t size);  // NOLINT
extern "C" void* __wrap_malloc(size_t size) {
    ++s_calls;
    s_lastSize = size;
    return s_refuse ? nullptr : __real_malloc(size);
}

namespace {

class RwhAllocation : public ScratchFolder {
  protected:
    /// Loads a file of just this header; the block is freed again.
    UtlStatus LoadHeader(uint32_t height, uint32_t rowSize, uint8_t** frame) {
        Bytes file = {1, 0, 8, 1, 3, 0, 0, 0};
        for (const uint32_t word : {height, rowSize}) {
            for (uint32_t shift = 0; shift < 32; shift += 8) {
                file.push_back(static_cast<uint8_t>(word >> shift));
            }
        }
        Write(Path(), file);
        s_calls = 0;
        return LoadRWH(Path().c_str(), frame, nullptr, nullptr, &m_height, &m_rowSize);
    }

    uint32_t m_height = 0;
    uint32_t m_rowSize = 0;
};

TEST_F(RwhAllocation, SizesAreExact) {
    struct Case {
        uint32_t height;
        uint32_t rowSize;
        size_t bytes;
    };
    for (const Case& wanted : {Case{2, 3, 6}, Case{0, 3, 0}, Case{3, 0, 0}, Case{0x80000001, 2, 2},
                               Case{0x10000, 0x10000, 0}, Case{0x10001, 0x10001, 0x20001}}) {
        uint8_t* frame = nullptr;
        EXPECT_EQ(LoadHeader(wanted.height, wanted.rowSize, &frame), UTL_STS_SUCCESS);
        EXPECT_EQ(s_calls, 1);
        EXPECT_EQ(s_lastSize, wanted.bytes);
        EXPECT_NE(frame, nullptr);
        std::free(frame);
    }
}

TEST_F(RwhAllocation, NothingIsAllocatedWithoutNeed) {
    EXPECT_EQ(LoadHeader(2, 3, nullptr), UTL_STS_SUCCESS);
    EXPECT_EQ(s_calls, 0);
    uint8_t mine[6] = {};
    uint8_t* frame = mine;
    EXPECT_EQ(LoadHeader(2, 3, &frame), UTL_STS_SUCCESS);
    EXPECT_EQ(s_calls, 0);
    EXPECT_EQ(frame, mine);
}

TEST_F(RwhAllocation, ARefusalIsAReadErrorWithTheHeaderStored) {
    uint8_t* frame = nullptr;
    s_refuse = true;
    EXPECT_EQ(LoadHeader(2, 3, &frame), UTL_STS_FILE_READ_ERROR);
    s_refuse = false;
    EXPECT_EQ(s_calls, 1);
    EXPECT_EQ(frame, nullptr);
    EXPECT_EQ(m_height, 2u);
    EXPECT_EQ(m_rowSize, 3u);
}

}  // namespace
