// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The n-th use of operator new fails, for every n until a call gets through. The writers open inside their guard, so
// they report it; LoadRWH opens outside of it, so the exception reaches the caller. Converters, queries and ReverseImg
// allocate nothing at all.
#include <new>

#include "FaultSupport.h"
#include "Interposed.h"

using namespace Faults;

namespace {

class AllocationFaults : public testing::TestWithParam<Writer> {
  protected:
    Folder m_folder;
    const std::string m_path = m_folder.File("file");
    const ByteVector m_picture = Noise(64);
};

TEST_P(AllocationFaults, WriterReportsEveryOne) {
    const long descriptors = OpenDescriptors();
    uint64_t refused = 0;
    for (uint64_t n = 0;; ++n) {
        const int64_t blocks = LiveBlocks();
        UtlStatus status = 0;
        {
            const Fault fault({.allocations = n});
            status = GetParam().save(m_picture.data(), 4, 4, m_path.c_str());
        }
        ASSERT_EQ(LiveBlocks(), blocks);
        ASSERT_EQ(OpenDescriptors(), descriptors);
        if (Fault::Seen().faultsHit == 0) {
            EXPECT_EQ(status, UTL_STS_SUCCESS);
            break;
        }
        ++refused;
        EXPECT_EQ(status, UTL_STS_FILE_IO_ERROR) << "allocation " << n;
        EXPECT_TRUE(ReadWhole(m_path).empty());
    }
    EXPECT_GT(refused, 0u);
    EXPECT_EQ(ReadWhole(m_path).size(), GetParam().FileBytes(4, 4));
}

INSTANTIATE_TEST_SUITE_P(EveryWriter, AllocationFaults, testing::ValuesIn(kWriters), NameOfWriter);

TEST(AllocationFaultsOfLoading, ReachTheCallerWithNothingTouched) {
    const Folder folder;
    const std::string path = folder.File("file");
    ASSERT_EQ(SaveRWH(Noise(16).data(), PIXEL_FORMAT_MONO8, 4, 4, path.c_str()), UTL_STS_SUCCESS);
    const long descriptors = OpenDescriptors();
    uint64_t refused = 0;
    uint8_t* frame = nullptr;
    for (uint64_t n = 0;; ++n) {
        const int64_t blocks = LiveBlocks();
        bool thrown = false;
        {
            const Fault fault({.allocations = n});
            try {
                EXPECT_EQ(LoadRWH(path.c_str(), &frame, nullptr, nullptr, nullptr, nullptr), UTL_STS_SUCCESS);
            } catch (const std::bad_alloc&) {
                thrown = true;
            }
        }
        ASSERT_EQ(LiveBlocks(), blocks);
        ASSERT_EQ(OpenDescriptors(), descriptors);
        ASSERT_EQ(thrown, Fault::Seen().faultsHit > 0);
        if (!thrown) {
            break;
        }
        ++refused;
        ASSERT_EQ(frame, nullptr);
    }
    EXPECT_GT(refused, 0u);
    ASSERT_NE(frame, nullptr);
    EXPECT_EQ(ByteVector(frame, frame + 16), Noise(16));
    std::free(frame);
}

TEST(AllocationFaultsOfConverting, NothingIsAllocated) {
    constexpr size_t kBytes = size_t{64} * 48 * 6;
    const ByteVector source = Noise(kBytes);
    ByteVector destination(kBytes);
    const Fault fault({.allocations = 0});
    EXPECT_EQ(PrepareLUT(), UTL_STS_SUCCESS);
    for (const BayerConvMode mode : {BAYER_CONV_MODE_DEFAULT, BAYER_CONV_MODE_ACPI}) {
        EXPECT_EQ(SetBayerConvMode(mode), UTL_STS_SUCCESS);
        for (uint32_t code = 0; code < 0x24; ++code) {
            for (const uint32_t bits : {0x01080000u, 0x01100000u, 0x02180000u, 0x02300000u, 0x020C0000u, 0x02100000u}) {
                for (const ConvDstFormat layout : {CONV_DST_BGRA, CONV_DST_BGR}) {
                    ConvImage(layout, bits | code, 1, destination.data(), source.data(), 64, 48);
                }
                ReverseImg(destination.data(), source.data(), bits | code, 64, 48, 1, 1);
                IsMonochromic(bits | code);
            }
        }
    }
    EXPECT_EQ(Fault::Seen().allocations, 0u);
}

}  // namespace
