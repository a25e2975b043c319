// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Every writer on a disk that fills up at every byte of header, palette, rows and padding. A write that fails without
// an exception is not reported: the status stays 0, and what is in the file is the beginning of the complete file.
//
// Two sizes of picture: one whose file fits the stream's buffer, so that it is written by the close, and one whose
// rows are larger than the buffer and go to the kernel one by one.
#include <sys/resource.h>

#include <csignal>

#include "FaultSupport.h"
#include "Interposed.h"

using namespace Faults;

namespace {

struct PictureSize {
    uint32_t width;
    uint32_t height;
};
constexpr PictureSize kSmall = {5, 3};
constexpr PictureSize kLarge = {9001, 3};

class WriteFaults : public testing::TestWithParam<Writer> {
  protected:
    UtlStatus Save(PictureSize size) {
        return GetParam().save(m_picture.data(), size.width, size.height, m_path.c_str());
    }

    ByteVector Complete(PictureSize size) {
        EXPECT_EQ(Save(size), UTL_STS_SUCCESS);
        ByteVector complete = ReadWhole(m_path);
        EXPECT_EQ(complete.size(), GetParam().FileBytes(size.width, size.height));
        return complete;
    }

    /// Saves while the plan is in force and checks status, descriptors and memory; the file is left for the caller.
    void SaveUnder(const Plan& plan, PictureSize size) {
        const long descriptors = OpenDescriptors();
        const int64_t blocks = LiveBlocks();
        UtlStatus status = 0;
        {
            const Fault fault(plan);
            status = Save(size);
        }
        ASSERT_EQ(status, UTL_STS_SUCCESS);
        ASSERT_EQ(OpenDescriptors(), descriptors);
        ASSERT_EQ(LiveBlocks(), blocks);
    }

    void ExpectBeginning(const ByteVector& complete, size_t size) {
        const ByteVector beginning(complete.begin(), complete.begin() + static_cast<ptrdiff_t>(size));
        ASSERT_EQ(ReadWhole(m_path), beginning) << "of " << size << " bytes";
    }

    Folder m_folder;
    const std::string m_path = m_folder.File("picture");
    const ByteVector m_picture = Noise(size_t{kLarge.width} * kLarge.height * 4);
};

TEST_P(WriteFaults, DiskFillsUpAtEveryByteOfASmallFile) {
    const ByteVector complete = Complete(kSmall);
    for (size_t room = 0; room < complete.size(); ++room) {
        SaveUnder({.diskBytes = room}, kSmall);
        ASSERT_GT(Fault::Seen().faultsHit, 0u);
        ASSERT_EQ(Fault::Seen().closes, 1u);
        ExpectBeginning(complete, room);
    }
    SaveUnder({.diskBytes = complete.size()}, kSmall);
    EXPECT_EQ(Fault::Seen().faultsHit, 0u);
    ExpectBeginning(complete, complete.size());
}

TEST_P(WriteFaults, DiskFillsUpAtEveryByteAroundTheRowsOfALargeFile) {
    const ByteVector complete = Complete(kLarge);
    const uint64_t rowBytes = GetParam().RowBytes(kLarge.width);
    for (size_t room = 0; room < complete.size(); ++room) {
        const bool inHeader = room <= GetParam().headerBytes;
        const size_t inRow = (room - GetParam().headerBytes) % rowBytes;
        if (inHeader || inRow < 5 || inRow + 5 > rowBytes || room % 1021 == 0) {
            SaveUnder({.diskBytes = room}, kLarge);
            ASSERT_GT(Fault::Seen().faultsHit, 0u);
            ExpectBeginning(complete, room);
        }
    }
}

TEST_P(WriteFaults, DiskRefusesEveryWriteThatDoesNotFitAsAWhole) {
    const ByteVector complete = Complete(kLarge);
    for (size_t room = 0; room < complete.size(); room += 1021) {
        SaveUnder({.diskBytes = room, .wholeWritesOnly = true}, kLarge);
        ASSERT_GT(Fault::Seen().faultsHit, 0u);
        const ByteVector written = ReadWhole(m_path);
        ASSERT_LE(written.size(), room);
        ExpectBeginning(complete, written.size());
    }
}

TEST_P(WriteFaults, FileSizeLimitStopsItAtEveryByte) {
    const ByteVector complete = Complete(kSmall);
    ASSERT_NE(std::signal(SIGXFSZ, SIG_IGN), SIG_ERR);
    rlimit usual = {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &usual), 0);
    for (size_t room = 0; room <= complete.size(); ++room) {
        const rlimit limit = {room, usual.rlim_max};
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
        const UtlStatus status = Save(kSmall);
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &usual), 0);
        ASSERT_EQ(status, UTL_STS_SUCCESS);
        ExpectBeginning(complete, room);
    }
}

TEST_P(WriteFaults, DeviceWithoutRoom) {
    const long descriptors = OpenDescriptors();
    EXPECT_EQ(GetParam().save(m_picture.data(), kLarge.width, kLarge.height, "/dev/full"), UTL_STS_SUCCESS);
    EXPECT_EQ(OpenDescriptors(), descriptors);
}

TEST_P(WriteFaults, ShortWritesAreContinued) {
    for (const PictureSize size : {kSmall, kLarge}) {
        const ByteVector complete = Complete(size);
        for (const size_t bytes : {size_t{7}, size_t{4096}}) {
            SaveUnder({.bytesPerCall = bytes}, size);
            EXPECT_GE(Fault::Seen().transfers, complete.size() / bytes);
            ExpectBeginning(complete, complete.size());
        }
    }
}

TEST_P(WriteFaults, InterruptedWritesAreRepeated) {
    for (const PictureSize size : {kSmall, kLarge}) {
        const ByteVector complete = Complete(size);
        SaveUnder({.bytesPerCall = 1000, .interruptEverySecond = true}, size);
        EXPECT_GT(Fault::Seen().faultsHit, 0u);
        ExpectBeginning(complete, complete.size());
    }
}

TEST_P(WriteFaults, FailedCloseIsNotReported) {
    const ByteVector complete = Complete(kSmall);
    SaveUnder({.closeFails = true}, kSmall);
    EXPECT_EQ(Fault::Seen().faultsHit, 1u);
    ExpectBeginning(complete, complete.size());
}

TEST_P(WriteFaults, FullDiskLeavesNothingOfAnOldFile) {
    WriteWhole(m_path, Noise(5000));
    SaveUnder({.diskBytes = 0}, kSmall);
    EXPECT_TRUE(ReadWhole(m_path).empty());
}

INSTANTIATE_TEST_SUITE_P(EveryWriter, WriteFaults, testing::ValuesIn(kWriters), NameOfWriter);

}  // namespace
