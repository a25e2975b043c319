// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Threads that share a frame, without GStreamer, so that the thread sanitizer sees all of it.
#include "Crew.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <vector>

#include "Conversion.h"

using namespace VexaGst;

#ifndef VEXACAMUTL_SANITIZED
namespace {

/// How many threads may still be started; below 0: any number.
int g_threadsLeft = -1;

}  // namespace

/// Stands before the C library's, which std::thread calls.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): the C library reserves its own
extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*), void* data) {
    using Create = int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static auto* const next = reinterpret_cast<Create*>(dlsym(RTLD_NEXT, "pthread_create"));
    if (g_threadsLeft == 0) {
        return EAGAIN;
    }
    g_threadsLeft -= g_threadsLeft > 0 ? 1 : 0;
    return next(thread, attributes, start, data);
}
#endif

namespace {

TEST(Crew, EveryPartRunsOncePerFrame) {
    Crew crew;
    for (const unsigned threads : {1U, 2U, 5U, 3U, 1U, 4U}) {
        crew.Resize(threads);
        ASSERT_EQ(crew.Threads(), threads);
        std::vector<int> calls(threads);  // not atomic: each part has its own, and Run orders the frames
        for (int frame = 0; frame < 200; ++frame) {
            crew.Run([&](unsigned part) { ++calls[part]; });
        }
        for (const int count : calls) {
            EXPECT_EQ(count, 200);
        }
    }
}

TEST(Crew, PartsRunAtOnce) {
    Crew crew;
    crew.Resize(3);
    std::atomic<int> arrived = 0;
    crew.Run([&](unsigned) {
        ++arrived;
        while (arrived < 3) {
            std::this_thread::yield();
        }
    });
    EXPECT_EQ(arrived, 3);
}

#ifndef VEXACAMUTL_SANITIZED
/// A frame after a refusal is converted whole, with the threads that were asked for.
TEST(Conversion, ThreadsThatCannotBeStartedAreSaidAndTriedAgain) {
    constexpr gint kSide = 64;
    const std::vector<guint8> frame(size_t{kSide} * kSide, 77);
    std::vector<guint8> picture(frame.size() * 3);
    Job job;
    job.input = {FindFormat(PIXEL_FORMAT_MONO8), PIXEL_FORMAT_MONO8, kSide, kSide};
    job.output = VCF_OUTPUT_BGR;
    Settings settings;
    settings.threads = 4;
    Conversion conversion;
    std::string error;
    g_threadsLeft = 1;
    EXPECT_FALSE(conversion.Configure(job, settings, &error));
    EXPECT_EQ(error.rfind("cannot start 4 threads: ", 0), 0U) << error;
    g_threadsLeft = -1;
    ASSERT_TRUE(conversion.Configure(job, settings, &error));
    ASSERT_TRUE(conversion.Convert(frame.data(), frame.size(), {0, 0}, {picture.data(), 0}, &error)) << error;
    EXPECT_TRUE(picture == std::vector<guint8>(frame.size() * 3, 77));
}
#endif

/// Bands of any number of threads give the bytes of one thread.
TEST(Conversion, BandsGiveTheBytesOfOneThread) {
    constexpr gint kWidth = 48;
    constexpr gint kHeight = 130;
    std::vector<guint8> frame(kWidth * kHeight);
    for (size_t i = 0; i < frame.size(); ++i) {
        frame[i] = static_cast<guint8>(i * i * 2654435761U >> 7);
    }
    Job job;
    job.input = {FindFormat(PIXEL_FORMAT_BAYER_RG8), PIXEL_FORMAT_BAYER_RG8, kWidth, kHeight};
    job.output = VCF_OUTPUT_BGR;
    for (const BayerMode mode : {BayerMode::kBilinear, BayerMode::kAdaptive}) {
        std::vector<guint8> alone;
        for (const guint threads : {1U, 2U, 3U, 8U, 256U}) {
            Conversion conversion;
            Settings settings;
            settings.bayerMode = mode;
            settings.threads = threads;
            std::string error;
            std::vector<guint8> picture(frame.size() * 3);
            ASSERT_TRUE(conversion.Configure(job, settings, &error)) << error;
            for (int turn = 0; turn < 20; ++turn) {
                ASSERT_TRUE(conversion.Convert(frame.data(), frame.size(), {0, 0}, {picture.data(), 0}, &error))
                    << error;
            }
            alone = alone.empty() ? picture : alone;
            EXPECT_TRUE(picture == alone) << threads;
        }
    }
}

}  // namespace
