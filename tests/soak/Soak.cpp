// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Load: every core converts, mirrors, saves and loads without a pause, all threads reading the same sources, while one
// more thread prepares the tables and changes the Bayer mode over and over. Every result is held against one made
// before the threads started. Memory and descriptors are compared between the end of a warm-up and the end.
//
//     soak SECONDS
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "../faults/Descriptors.h"
#include "Patterns.h"
#include "Reference.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr uint32_t kWidth = 322;
constexpr uint32_t kHeight = 64;

/// One converter with its source and its right answer, read by all threads.
struct Work {
    const Reference::Converter* converter;
    std::vector<uint8_t> source;
    std::vector<uint8_t> expected;
};

std::atomic<bool> stop{false};
std::atomic<uint64_t> calls{0};
std::atomic<uint64_t> failures{0};
std::atomic<unsigned> warmThreads{0};  ///< converting threads that did everything at least once

void Expect(bool holds, const char* what) {
    if (!holds) {
        ++failures;
        static_cast<void>(std::fprintf(stderr, "wrong: %s\n", what));
    }
}

std::vector<Work> PrepareWork() {
    std::vector<Work> all;
    for (const Reference::Converter& converter : Reference::Converters()) {
        Work work = {&converter, {}, {}};
        work.source.resize(converter.SourceBytes(kWidth, kHeight));
        Reference::FillPattern(work.source.data(), work.source.size() / converter.SampleBytes(), kWidth,
                               converter.SampleBytes(), converter.depth, Reference::Pattern::kRandom, all.size());
        work.expected.resize(converter.DestinationBytes(kWidth, kHeight), 0x55);
        Reference::Convert(converter, work.expected.data(), work.source.data(), kWidth, kHeight);
        all.push_back(std::move(work));
    }
    return all;
}

void ConvertAll(const std::vector<Work>& all, std::vector<uint8_t>& picture) {
    for (const Work& work : all) {
        picture.assign(work.expected.size(), 0x55);
        const UtlStatus status = work.converter->Call(picture.data(), work.source.data(), kWidth, kHeight);
        Expect(status == UTL_STS_SUCCESS && picture == work.expected, work.converter->name);
        ++calls;
    }
}

void SaveAndLoad(const Work& work, const std::string& path) {
    Expect(SaveBmpARGB(work.expected.data(), kWidth, kHeight, path.c_str()) == UTL_STS_SUCCESS, "SaveBmpARGB");
    Expect(SaveRWH(work.source.data(), PIXEL_FORMAT_MONO8, kWidth, kHeight, path.c_str()) == UTL_STS_SUCCESS,
           "SaveRWH");
    uint8_t* frame = nullptr;
    uint32_t rowSize = 0;
    const UtlStatus status = LoadRWH(path.c_str(), &frame, nullptr, nullptr, nullptr, &rowSize);
    Expect(status == UTL_STS_SUCCESS && frame != nullptr && rowSize == kWidth &&
               std::memcmp(frame, work.source.data(), size_t{kWidth} * kHeight) == 0,
           "LoadRWH");
    std::free(frame);
    calls += 3;
}

void Convert(const std::vector<Work>& all, const std::string& path) {
    std::vector<uint8_t> picture;
    std::vector<uint8_t> back(size_t{kWidth} * kHeight);
    std::vector<uint8_t> twice(back.size());
    bool warm = false;
    while (!stop) {
        ConvertAll(all, picture);
        SaveAndLoad(all.front(), path);
        const std::vector<uint8_t>& source = all.front().source;
        ReverseImg(back.data(), source.data(), PIXEL_FORMAT_MONO8, kWidth, kHeight, 1, 1);
        ReverseImg(twice.data(), back.data(), PIXEL_FORMAT_MONO8, kWidth, kHeight, 1, 1);
        Expect(twice == source, "ReverseImg twice");
        calls += 2;
        warmThreads += warm ? 0 : 1;
        warm = true;
    }
    ::unlink(path.c_str());
}

/// What an application may do at any time: prepare again, change the mode, choose.
void Disturb() {
    while (!stop) {
        PrepareLUT();
        for (const BayerConvMode mode : {BAYER_CONV_MODE_ACPI, BAYER_CONV_MODE_DEFAULT}) {
            SetBayerConvMode(mode);
            const ConverterFunc converter = GetBGRConverter(PIXEL_FORMAT_BAYER_RG8, 1);
            Expect(converter == ConvByrRG8ToBGR || converter == ConvByrRG8ToBGRACPI, "GetBGRConverter");
        }
    }
}

/// A second one that changes the mode and chooses, so that the mode word has two writers.
void DisturbToo() {
    while (!stop) {
        SetBayerConvMode(BAYER_CONV_MODE_ACPI);
        const ConverterFunc converter = GetBGRAConverter(PIXEL_FORMAT_BAYER_GB8, 1);
        Expect(converter == ConvByrGB8ToBGRA || converter == ConvByrGB8ToBGRAACPI, "GetBGRAConverter");
        std::this_thread::sleep_for(std::chrono::microseconds(50));
    }
}

long ResidentPages() {
    std::ifstream statm("/proc/self/statm");
    long total = 0;
    long resident = 0;
    statm >> total >> resident;
    return resident;
}

void CheckMemory(long before, long after) {
#ifndef VEXACAMUTL_SANITIZED
    constexpr long kAllowedPages = 256;  // 1 MiB: the threads' own caches of the allocator
    Expect(after - before <= kAllowedPages, "memory grows");
#endif
    std::printf("memory %ld KiB after the warm-up, %ld KiB at the end\n", before * 4, after * 4);
}

int Run(double seconds) {
    PrepareLUT();
    const std::vector<Work> all = PrepareWork();
    const long descriptors = Faults::OpenDescriptors();
    std::string folder = "/tmp/vexasoakXXXXXX";
    Expect(::mkdtemp(folder.data()) != nullptr, "folder");
    const unsigned cores = std::max(2u, std::thread::hardware_concurrency());
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < cores; ++i) {
        threads.emplace_back(Convert, std::cref(all), folder + "/" + std::to_string(i));
    }
    threads.emplace_back(Disturb);
    threads.emplace_back(DisturbToo);
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds / 5));
    while (warmThreads < cores) {  // on a busy machine that was too short
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    const long pages = ResidentPages();
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds * 4 / 5));
    CheckMemory(pages, ResidentPages());
    stop = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    Expect(Faults::OpenDescriptors() == descriptors, "descriptors at the end");
    ::rmdir(folder.c_str());
    std::printf("%u threads, %.0f s, %llu calls, %llu failures\n", cores, seconds,
                static_cast<unsigned long long>(calls), static_cast<unsigned long long>(failures));
    return failures == 0 && calls > 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    const double seconds = argc > 1 ? std::strtod(argv[1], nullptr) : 0;
    if (seconds <= 0) {
        static_cast<void>(std::fputs("usage: soak SECONDS\n", stderr));
        return 2;
    }
    return Run(seconds);
}
