// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Every way an open can fail, real ones and those that only a replaced call can bring about. The writers and LoadRWH
// answer all of them alike: UTL_STS_FILE_OPEN_ERROR, nothing made, nothing touched, nothing kept.
#include <sys/resource.h>
#include <sys/wait.h>

#include <cerrno>

#include "FaultSupport.h"
#include "Interposed.h"

using namespace Faults;

namespace {

constexpr uint32_t kUntouched = 0xA5A5A5A5u;

void ExpectLoadFails(const char* path) {
    uint8_t* frame = nullptr;
    uint32_t words[4] = {kUntouched, kUntouched, kUntouched, kUntouched};
    EXPECT_EQ(LoadRWH(path, &frame, &words[0], &words[1], &words[2], &words[3]), UTL_STS_FILE_OPEN_ERROR) << path;
    EXPECT_EQ(frame, nullptr);
    for (const uint32_t word : words) {
        EXPECT_EQ(word, kUntouched);
    }
}

void ExpectSavesFail(const char* path) {
    const ByteVector picture = Noise(64);
    for (const Writer& writer : kWriters) {
        EXPECT_EQ(writer.save(picture.data(), 4, 4, path), UTL_STS_FILE_OPEN_ERROR) << writer.name << " " << path;
    }
}

class OpenFaults : public testing::Test {
  protected:
    void SetUp() override {
        m_descriptors = OpenDescriptors();
        m_blocks = LiveBlocks();
    }
    void TearDown() override { EXPECT_EQ(OpenDescriptors(), m_descriptors); }

    Folder m_folder;
    long m_descriptors = 0;
    int64_t m_blocks = 0;
};

TEST_F(OpenFaults, NullPath) {
    ExpectLoadFails(nullptr);
    ExpectSavesFail(nullptr);
    EXPECT_EQ(LiveBlocks(), m_blocks);
}

TEST_F(OpenFaults, PathsThatNameNoFile) {
    const std::string file = m_folder.File("file");
    const std::string loop = m_folder.File("loop");
    WriteWhole(file, {1, 2, 3});
    std::filesystem::create_symlink(loop, loop);
    const std::string paths[] = {"", m_folder.File("missing/file"), file + "/below",
                                 m_folder.File(std::string(300, 'n')), loop};
    for (const std::string& path : paths) {
        ExpectLoadFails(path.c_str());
        ExpectSavesFail(path.c_str());
    }
    EXPECT_EQ(ReadWhole(file), (ByteVector{1, 2, 3}));
}

TEST_F(OpenFaults, MissingFileIsNotMadeByLoading) {
    const std::string path = m_folder.File("missing");
    ExpectLoadFails(path.c_str());
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(OpenFaults, FolderAndRunningProgramCannotBeWritten) {
    ExpectSavesFail(m_folder.Path().c_str());
    const std::string program = std::filesystem::read_symlink("/proc/self/exe").string();
    const auto size = std::filesystem::file_size(program);
    ExpectSavesFail(program.c_str());
    EXPECT_EQ(std::filesystem::file_size(program), size);
}

TEST_F(OpenFaults, NoDescriptorLeft) {
#ifdef VEXACAMUTL_SANITIZED
    GTEST_SKIP() << "the sanitizer's check of an object's type opens a pipe, so it needs descriptors itself";
#endif
    const std::string path = m_folder.File("file");
    WriteWhole(path, Noise(16));
    rlimit usual = {};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &usual), 0);
    const rlimit none = {3, usual.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    ExpectLoadFails(path.c_str());
    ExpectSavesFail(path.c_str());
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &usual), 0);
    EXPECT_EQ(ReadWhole(path), Noise(16));
}

TEST_F(OpenFaults, NoPermission) {
    const std::string path = m_folder.File("file");
    WriteWhole(path, Noise(16));
    ASSERT_EQ(::chmod(path.c_str(), 0), 0);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        constexpr uid_t kNobody = 65534;
        const bool unprivileged = ::geteuid() != 0 || ::setuid(kNobody) == 0;
        ExpectLoadFails(path.c_str());
        ExpectSavesFail(path.c_str());
        ::_exit(unprivileged && !testing::Test::HasFailure() ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

TEST_F(OpenFaults, EveryErrorOfTheSystem) {
    const std::string path = m_folder.File("file");
    WriteWhole(path, Noise(16));
    for (const int error : {EINTR, ENOMEM, ENFILE, EIO, ENOSPC, EDQUOT, EROFS, EOVERFLOW, ENXIO, ETXTBSY, ENODEV}) {
        const Fault fault({.openError = error});
        ExpectLoadFails(path.c_str());
        ExpectSavesFail(path.c_str());
        EXPECT_EQ(Fault::Seen().faultsHit, 1 + std::size(kWriters));
    }
    EXPECT_EQ(ReadWhole(path), Noise(16));
}

TEST_F(OpenFaults, NullPictureTouchesNoFile) {
    const std::string path = m_folder.File("file");
    WriteWhole(path, Noise(16));
    const Fault fault({});
    for (const Writer& writer : kWriters) {
        EXPECT_EQ(writer.save(nullptr, 4, 4, path.c_str()), UTL_STS_INVALID_PARAMETER) << writer.name;
        EXPECT_EQ(writer.save(nullptr, 4, 4, nullptr), UTL_STS_INVALID_PARAMETER) << writer.name;
    }
    EXPECT_EQ(Fault::Seen().opens, 0u);
    EXPECT_EQ(ReadWhole(path), Noise(16));
}

}  // namespace
