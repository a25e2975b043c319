// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// fork while other threads convert and save. The library holds no lock, so a child finds everything usable: it converts
// with the tables of its parent, prepares them again, saves and loads.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "Oracle.h"
#include "Patterns.h"

namespace {

constexpr uint32_t kWidth = 66;
constexpr uint32_t kHeight = 16;
constexpr int kChildren = 100;

bool ConvertsRight(const Oracle::Converter& converter) {
    std::vector<uint8_t> source(converter.SourceBytes(kWidth, kHeight));
    Oracle::FillPattern(source.data(), source.size() / converter.SampleBytes(), kWidth, converter.SampleBytes(),
                        converter.depth, Oracle::Pattern::kRandom, 7);
    std::vector<uint8_t> expected(converter.DestinationBytes(kWidth, kHeight), 0x55);
    std::vector<uint8_t> actual = expected;
    Oracle::Convert(converter, expected.data(), source.data(), kWidth, kHeight);
    return converter.Call(actual.data(), source.data(), kWidth, kHeight) == UTL_STS_SUCCESS && actual == expected;
}

bool SavesAndLoads(const std::string& path) {
    const std::vector<uint8_t> frame(size_t{kWidth} * kHeight, 0x33);
    uint8_t* loaded = nullptr;
    const bool right = SaveRWH(frame.data(), PIXEL_FORMAT_MONO8, kWidth, kHeight, path.c_str()) == UTL_STS_SUCCESS &&
                       LoadRWH(path.c_str(), &loaded, nullptr, nullptr, nullptr, nullptr) == UTL_STS_SUCCESS &&
                       loaded != nullptr && std::equal(frame.begin(), frame.end(), loaded);
    std::free(loaded);
    ::unlink(path.c_str());
    return right;
}

bool ChildWorks(const std::string& path) {
    PrepareLUT();
    for (const Oracle::Converter& converter : Oracle::Converters()) {
        if (!ConvertsRight(converter)) {
            return false;
        }
    }
    return SavesAndLoads(path);
}

TEST(Fork, WhileOtherThreadsConvertAndSave) {
    ASSERT_EQ(PrepareLUT(), UTL_STS_SUCCESS);
    std::string folder = "/tmp/vexaforkXXXXXX";
    ASSERT_NE(::mkdtemp(folder.data()), nullptr);
    std::atomic<bool> stop{false};
    std::atomic<int> mistakes{0};
    std::vector<std::thread> threads(2);
    for (size_t i = 0; i < threads.size(); ++i) {
        threads[i] = std::thread([&, i] {
            const std::string path = folder + "/parent" + std::to_string(i);
            while (!stop) {
                mistakes += ChildWorks(path) ? 0 : 1;
            }
        });
    }
    for (int i = 0; i < kChildren; ++i) {
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            ::_exit(ChildWorks(folder + "/child") ? 0 : 1);
        }
        int status = -1;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
    stop = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(mistakes, 0);
    EXPECT_EQ(::rmdir(folder.c_str()), 0);
}

}  // namespace
