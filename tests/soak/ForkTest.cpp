// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// fork while other threads convert and save. The library holds no lock, so a child finds everything usable: it converts
// with the tables of its parent, prepares them again, saves and loads.
//
// A child that hangs would mean that somebody else's lock was taken at the fork. The C library gives its own allocator
// back to the child in working order; the runtimes of the sanitizers do not do that for theirs, whose lock may be held
// by a thread that the child does not have. So everything that a child works with is made before the fork, and what
// allocates by its nature, the file streams, is left out of the children of sanitized builds.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "Patterns.h"
#include "Reference.h"

namespace {

constexpr uint32_t kWidth = 66;
constexpr uint32_t kHeight = 16;
constexpr int kChildren = 100;
constexpr unsigned kSecondsOfAChild = 30;  // it needs milliseconds

#ifdef VEXACAMUTL_SANITIZED
constexpr bool kChildrenSave = false;
#else
constexpr bool kChildrenSave = true;
#endif

/// One converter with its source, its right answer and room for the answer it gives.
struct Work {
    const Reference::Converter* converter;
    std::vector<uint8_t> source;
    std::vector<uint8_t> expected;
    std::vector<uint8_t> actual;
};

std::vector<Work> PrepareWork() {
    std::vector<Work> all;
    for (const Reference::Converter& converter : Reference::Converters()) {
        Work work = {&converter, {}, {}, {}};
        work.source.resize(converter.SourceBytes(kWidth, kHeight));
        Reference::FillPattern(work.source.data(), work.source.size() / converter.SampleBytes(), kWidth,
                               converter.SampleBytes(), converter.depth, Reference::Pattern::kRandom, 7);
        work.expected.resize(converter.DestinationBytes(kWidth, kHeight), 0x55);
        work.actual = work.expected;
        Reference::Convert(converter, work.expected.data(), work.source.data(), kWidth, kHeight);
        all.push_back(std::move(work));
    }
    return all;
}

/// Allocates nothing.
bool ConvertsRight(std::vector<Work>& all) {
    bool right = PrepareLUT() == UTL_STS_SUCCESS;
    for (Work& work : all) {
        std::fill(work.actual.begin(), work.actual.end(), uint8_t{0x55});
        const UtlStatus status = work.converter->Call(work.actual.data(), work.source.data(), kWidth, kHeight);
        right = right && status == UTL_STS_SUCCESS && work.actual == work.expected;
    }
    return right;
}

bool SavesAndLoads(const char* path) {
    const std::vector<uint8_t> frame(size_t{kWidth} * kHeight, 0x33);
    uint8_t* loaded = nullptr;
    const bool right = SaveRWH(frame.data(), PIXEL_FORMAT_MONO8, kWidth, kHeight, path) == UTL_STS_SUCCESS &&
                       LoadRWH(path, &loaded, nullptr, nullptr, nullptr, nullptr) == UTL_STS_SUCCESS &&
                       loaded != nullptr && std::equal(frame.begin(), frame.end(), loaded);
    std::free(loaded);
    ::unlink(path);
    return right;
}

/// Threads that convert and save until this object goes; each has buffers and a file of its own.
class BusyThreads {
  public:
    BusyThreads(const std::string& folder, const std::vector<Work>& all) {
        for (size_t i = 0; i < 2; ++i) {
            m_threads.emplace_back([this, own = all, path = folder + "/parent" + std::to_string(i)]() mutable {
                while (!m_stop) {
                    m_mistakes += ConvertsRight(own) && SavesAndLoads(path.c_str()) ? 0 : 1;
                }
            });
        }
    }
    BusyThreads(const BusyThreads&) = delete;
    BusyThreads& operator=(const BusyThreads&) = delete;
    ~BusyThreads() {
        m_stop = true;
        for (std::thread& thread : m_threads) {
            thread.join();
        }
        EXPECT_EQ(m_mistakes, 0);
    }

  private:
    std::atomic<bool> m_stop{false};
    std::atomic<int> m_mistakes{0};
    std::vector<std::thread> m_threads;
};

/// Runs a child to its end and gives its wait status: 0, or SIGALRM's when it hung.
int StatusOfAChild(std::vector<Work>& all, const char* path) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::alarm(kSecondsOfAChild);
        const bool right = ConvertsRight(all) && (!kChildrenSave || SavesAndLoads(path));
        ::_exit(right ? 0 : 1);
    }
    int status = -1;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    return status;
}

TEST(Fork, WhileOtherThreadsConvertAndSave) {
    ASSERT_EQ(PrepareLUT(), UTL_STS_SUCCESS);
    std::string folder = "/tmp/vexaforkXXXXXX";
    ASSERT_NE(::mkdtemp(folder.data()), nullptr);
    std::vector<Work> all = PrepareWork();
    const std::string path = folder + "/child";
    {
        const BusyThreads threads(folder, all);
        for (int i = 0; i < kChildren && !HasFailure(); ++i) {
            EXPECT_EQ(StatusOfAChild(all, path.c_str()), 0) << "child " << i;
        }
    }
    ::unlink(path.c_str());  // what a child that was killed left
    EXPECT_EQ(::rmdir(folder.c_str()), 0);
}

}  // namespace
