// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// What converters promise beside bytes: no allocation per frame, no influence on each other, settings that change.
#include <atomic>
#include <cstdlib>
#include <new>
#include <thread>

#include "FramesTest.h"

namespace {

std::atomic<uint64_t> g_allocations = 0;  // NOLINT(*-avoid-non-const-global-variables): the wrapped functions count
std::atomic<bool> g_noMemory = false;     // NOLINT(*-avoid-non-const-global-variables)

}  // namespace

extern "C" void* __real_malloc(size_t bytes);   // NOLINT(*-reserved-identifier): the linker's name
extern "C" void* __wrap_malloc(size_t bytes) {  // NOLINT(*-reserved-identifier)
    ++g_allocations;
    return __real_malloc(bytes);
}

extern "C" void* __real_aligned_alloc(size_t alignment, size_t bytes);   // NOLINT(*-reserved-identifier)
extern "C" void* __wrap_aligned_alloc(size_t alignment, size_t bytes) {  // NOLINT(*-reserved-identifier)
    ++g_allocations;
    return g_noMemory ? nullptr : __real_aligned_alloc(alignment, bytes);
}

void* operator new(size_t bytes) {
    void* memory = std::malloc(bytes);  // counted there
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, size_t) noexcept {
    std::free(memory);
}

namespace {

using Reference::Random;

struct Prepared {
    VcfLayout layout;
    FramesModel::Frame frame;
    std::vector<uint8_t> buffer;
};

Prepared Prepare(PixelFormat format, uint32_t width, uint32_t height, uint64_t seed) {
    Random random(seed);
    Prepared prepared = {LayoutOf(format, width, height), {}, {}};
    prepared.frame = FramesModel::MakeFrame(prepared.layout, random);
    prepared.buffer.resize(FramesModel::Length(prepared.frame));
    FramesModel::Write(prepared.frame, prepared.buffer.data());
    return prepared;
}

Converter Make(const VcfLayout& layout, uint32_t output, const VcfSettings& settings) {
    VcfConverter* made = nullptr;
    EXPECT_EQ(VcfCreateConverter(&made, &layout, output, &settings, nullptr, 0), VCF_OK);
    return Converter(made);
}

TEST(Converters, AllocateOnceAndNeverPerFrame) {
    for (const PixelFormat format : {PIXEL_FORMAT_BAYER_RG12P, PIXEL_FORMAT_MONO10_PACKED, PIXEL_FORMAT_YUV8_UYV}) {
        const Prepared p = Prepare(format, 64, 32, 31);
        std::vector<uint8_t> dst(64 * 32 * 4);
        uint64_t before = g_allocations;
        const Converter converter = Make(p.layout, VCF_OUTPUT_RGBA, DefaultSettings());
        EXPECT_EQ(g_allocations - before, 1u);
        before = g_allocations;
        char text[VCF_TEXT_BYTES];
        for (int i = 0; i < 10; ++i) {
            ASSERT_EQ(VcfConvert(converter.get(), p.buffer.data(), p.buffer.size(), dst.data(), 0, text, sizeof text),
                      VCF_OK);
            ASSERT_EQ(VcfConvert(converter.get(), p.buffer.data(), 1, dst.data(), 0, text, sizeof text), VCF_TOO_SHORT);
        }
        VcfSettings settings = DefaultSettings();
        settings.levels = format == PIXEL_FORMAT_YUV8_UYV ? 0 : 1;
        settings.use_matrix = 1;
        ASSERT_EQ(VcfChangeSettings(converter.get(), &settings, text, sizeof text), VCF_OK);
        ASSERT_EQ(VcfConvert(converter.get(), p.buffer.data(), p.buffer.size(), dst.data(), 0, text, sizeof text),
                  VCF_OK);
        VcfBalance balance;
        static_cast<void>(VcfEstimateBalance(&p.layout, p.buffer.data(), p.buffer.size(), 0, 1, &balance, nullptr, 0));
        EXPECT_EQ(g_allocations, before);
    }
}

TEST(Converters, AreRefusedWithoutMemory) {
    const VcfLayout layout = LayoutOf(PIXEL_FORMAT_BAYER_RG8, 64, 32);
    VcfConverter* made = nullptr;
    char text[VCF_TEXT_BYTES] = "";
    g_noMemory = true;
    const VcfStatus status = VcfCreateConverter(&made, &layout, VCF_OUTPUT_BGRA, nullptr, text, sizeof text);
    g_noMemory = false;
    EXPECT_EQ(status, VCF_NO_MEMORY);
    EXPECT_EQ(made, nullptr);
    EXPECT_STREQ(text, "out of memory for a converter of BayerRG8 64x32");
}

TEST(Converters, IgnoreTheProcessWideBayerMode) {
    const Prepared p = Prepare(PIXEL_FORMAT_BAYER_GB8, 32, 32, 32);
    std::vector<uint8_t> dst(32 * 32 * 4);
    const Converter converter = Make(p.layout, VCF_OUTPUT_BGRA, DefaultSettings());
    for (const BayerConvMode mode : {BAYER_CONV_MODE_ACPI, BAYER_CONV_MODE_DEFAULT}) {
        SetBayerConvMode(mode);
        ASSERT_EQ(VcfConvert(converter.get(), p.buffer.data(), p.buffer.size(), dst.data(), 0, nullptr, 0), VCF_OK);
        EXPECT_EQ(dst, FramesModel::Picture(p.frame, VCF_OUTPUT_BGRA, DefaultSettings()));
    }
}

TEST(Converters, TakeOtherSettingsBetweenFrames) {
    const Prepared p = Prepare(PIXEL_FORMAT_BAYER_BG10, 40, 24, 33);
    std::vector<uint8_t> dst(40 * 24 * 3);
    VcfSettings settings = DefaultSettings();
    const Converter converter = Make(p.layout, VCF_OUTPUT_BGR, settings);
    for (uint32_t round = 0; round < 12; ++round) {
        settings.levels = round % 2;
        settings.demosaic = settings.levels != 0 ? round % 3 : 2 * (round % 2);
        settings.use_matrix = round % 4 == 3 ? 1 : 0;
        settings.matrix[1] = 400;
        settings.exposure = VCF_ONE + round * 1000;
        ASSERT_EQ(VcfChangeSettings(converter.get(), &settings, nullptr, 0), VCF_OK);
        ASSERT_EQ(VcfConvert(converter.get(), p.buffer.data(), p.buffer.size(), dst.data(), 0, nullptr, 0), VCF_OK);
        EXPECT_EQ(dst, FramesModel::Picture(p.frame, VCF_OUTPUT_BGR, settings)) << round;
    }
}

TEST(Converters, ServeManyThreadsWithOneEach) {
    constexpr uint32_t kThreads = 4;
    constexpr uint32_t kHeight = 200;
    const Prepared p = Prepare(PIXEL_FORMAT_BAYER_RG12_PACKED, 130, kHeight, 34);
    VcfSettings settings = DefaultSettings();
    settings.levels = 1;
    settings.demosaic = VCF_DEMOSAIC_ADAPTIVE;
    const std::vector<uint8_t> expected = FramesModel::Picture(p.frame, VCF_OUTPUT_RGBA, settings);
    for (int round = 0; round < 5; ++round) {
        std::vector<uint8_t> dst(expected.size());
        std::vector<std::thread> threads;
        std::atomic<uint32_t> failures = 0;
        for (uint32_t t = 0; t < kThreads; ++t) {
            threads.emplace_back([&, t] {
                VcfConverter* made = nullptr;
                if (VcfCreateConverter(&made, &p.layout, VCF_OUTPUT_RGBA, &settings, nullptr, 0) != VCF_OK) {
                    ++failures;
                    return;
                }
                const Converter converter(made);
                const uint32_t first = kHeight * t / kThreads;
                const uint32_t end = kHeight * (t + 1) / kThreads;
                if (VcfConvertRows(made, p.buffer.data(), p.buffer.size(), dst.data(), 0, first, end - first, nullptr,
                                   0) != VCF_OK) {
                    ++failures;
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        EXPECT_EQ(failures, 0u);
        EXPECT_EQ(dst, expected);
    }
}

}  // namespace
