// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The choice of the kernel table, with made-up words of processors that are not at hand. What is unknown or lacks a
// single feature, or whose operating system does not save the registers, stays one rung lower.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "Patterns.h"
#include "catalogue/VexaCamUtl.h"
#include "kernels/CpuFeatures.h"
#include "kernels/KernelTable.h"

namespace {

using namespace Vexa::Kernels;

size_t Rung(const KernelTable& table) {
    for (size_t i = 0; i < KernelTables().size(); ++i) {
        if (KernelTables()[i] == &table) {
            return i;
        }
    }
    ADD_FAILURE() << table.name << " is not listed";
    return 0;
}

size_t Best(const Processor& processor) {
    return Rung(BestTableFor(processor));
}

TEST(ProcessorChoice, TheScalarTableIsFirstAndAlwaysRuns) {
    EXPECT_EQ(KernelTables().front(), &kScalarTable);
    EXPECT_TRUE(CanRun(kScalarTable, {}));
    EXPECT_TRUE(CanRun(kScalarTable, {~0u, ~0u, ~0u, ~0u}));
}

TEST(ProcessorChoice, ATableThatIsNotListedCannotRun) {
    const KernelTable stranger = {};
    EXPECT_FALSE(CanRun(stranger, {~0u, ~0u, ~0u, ~0u}));
}

TEST(ProcessorChoice, TheBestTableIsTheLastThatCanRun) {
    Reference::Random random(1);
    for (int i = 0; i < 20000; ++i) {
        // Mostly ones, so that all rungs are met.
        const auto word = [&random] { return static_cast<uint32_t>(random.Next() | random.Next() | random.Next()); };
        const Processor processor = {word(), word(), word(), word()};
        const size_t best = Best(processor);
        for (size_t rung = 0; rung < KernelTables().size(); ++rung) {
            ASSERT_EQ(CanRun(*KernelTables()[rung], processor), rung <= best);
        }
    }
}

TEST(ProcessorChoice, TheLibraryUsesTheBestTableOfThisProcessor) {
    EXPECT_EQ(Vexa::s_psKernels, &BestTableFor(DetectProcessor()));
    // Who starts this program on a processor of his choice, says so.
    if (const char* expected = std::getenv("VEXACAMUTL_EXPECTED_TABLE")) {
        EXPECT_STREQ(Vexa::s_psKernels->name, expected);
    }
}

TEST(ProcessorChoice, EveryEntryOfEveryTableIsFilled) {
    for (const KernelTable* table : KernelTables()) {
        // Entries are pointers behind the name; none may be null.
        const auto* entries = reinterpret_cast<void* const*>(table);
        for (size_t i = 0; i < sizeof(KernelTable) / sizeof(void*); ++i) {
            EXPECT_NE(entries[i], nullptr) << table->name << " entry " << i;
        }
    }
}

#if defined(__x86_64__)

constexpr uint32_t kSsse3 = 1u << 9, kFma = 1u << 12, kSse41 = 1u << 19, kOsXsave = 1u << 27, kAvx = 1u << 28;
constexpr uint32_t kAvx2 = 1u << 5, kF = 1u << 16, kDq = 1u << 17, kBw = 1u << 30, kVl = 1u << 31;
constexpr uint32_t kVbmi = 1u << 1;
constexpr uint32_t kX87 = 1, kXmm = 2, kYmm = 4, kMasks = 0x20, kZmmLow = 0x40, kZmmHigh = 0x80;

enum : size_t { kPlain, kSse, kAvx2Rung, kAvx512BwRung, kAvx512Rung };

constexpr Processor kComplete = {kSsse3 | kFma | kSse41 | kOsXsave | kAvx, kAvx2 | kF | kDq | kBw | kVl, kVbmi,
                                 kX87 | kXmm | kYmm | kMasks | kZmmLow | kZmmHigh};

Processor WithoutLeaf1(uint32_t bits) {
    Processor processor = kComplete;
    processor.leaf1Ecx &= ~bits;
    return processor;
}

Processor WithoutLeaf7(uint32_t ebx, uint32_t ecx) {
    Processor processor = kComplete;
    processor.leaf7Ebx &= ~ebx;
    processor.leaf7Ecx &= ~ecx;
    return processor;
}

Processor Saving(uint32_t registers) {
    Processor processor = kComplete;
    processor.xcr0 = registers;
    return processor;
}

TEST(ProcessorChoice, AnUnknownProcessorGetsTheScalarTable) {
    EXPECT_EQ(Best({}), kPlain);
    EXPECT_EQ(Best(kComplete), kAvx512Rung);
    EXPECT_EQ(Best({~0u, ~0u, ~0u, ~0u}), kAvx512Rung);
}

TEST(ProcessorChoice, EachMissingFeatureStopsTheClimb) {
    EXPECT_EQ(Best(WithoutLeaf1(kSsse3)), kPlain);
    EXPECT_EQ(Best(WithoutLeaf1(kSse41)), kPlain);
    EXPECT_EQ(Best(WithoutLeaf1(kFma)), kSse);
    EXPECT_EQ(Best(WithoutLeaf1(kOsXsave)), kSse);
    EXPECT_EQ(Best(WithoutLeaf1(kAvx)), kSse);
    EXPECT_EQ(Best(WithoutLeaf7(kAvx2, 0)), kSse);
    for (const uint32_t bit : {kF, kDq, kBw, kVl}) {
        EXPECT_EQ(Best(WithoutLeaf7(bit, 0)), kAvx2Rung) << bit;
    }
    EXPECT_EQ(Best(WithoutLeaf7(0, kVbmi)), kAvx512BwRung);
}

TEST(ProcessorChoice, RegistersThatAreNotSavedStopTheClimb) {
    EXPECT_EQ(Best(Saving(0)), kSse);
    EXPECT_EQ(Best(Saving(kX87 | kXmm)), kSse);
    EXPECT_EQ(Best(Saving(kX87 | kYmm)), kSse);
    EXPECT_EQ(Best(Saving(kX87 | kXmm | kYmm)), kAvx2Rung);
    for (const uint32_t missing : {kMasks, kZmmLow, kZmmHigh}) {
        EXPECT_EQ(Best(Saving(kComplete.xcr0 & ~missing)), kAvx2Rung) << missing;
    }
}

TEST(ProcessorChoice, NothingElseIsAskedFor) {
    constexpr uint32_t kSseBits = kSsse3 | kSse41;
    constexpr uint32_t kAvxBits = kSseBits | kFma | kOsXsave | kAvx;
    constexpr uint32_t kYmmState = kXmm | kYmm;
    EXPECT_EQ(Best({kSseBits, 0, 0, 0}), kSse);
    EXPECT_EQ(Best({kAvxBits, kAvx2, 0, kYmmState}), kAvx2Rung);
    constexpr uint32_t kZmmState = kYmmState | kMasks | kZmmLow | kZmmHigh;
    EXPECT_EQ(Best({kAvxBits, kAvx2 | kF | kDq | kBw | kVl, 0, kZmmState}), kAvx512BwRung);
    EXPECT_EQ(Best({kAvxBits, kAvx2 | kF | kDq | kBw | kVl, kVbmi, kZmmState}), kAvx512Rung);
}

TEST(ProcessorChoice, ProcessorsOfTheMarket) {
    EXPECT_EQ(Best({kSsse3 | kSse41, 0, 0, 0}), kSse) << "2008, no AVX";
    EXPECT_EQ(Best({kSsse3, 0, 0, 0}), kPlain) << "2006, no SSE4.1";
    EXPECT_EQ(Best({kSsse3 | kSse41 | kOsXsave | kAvx, 0, 0, 7}), kSse) << "2011, AVX without AVX2";
    EXPECT_EQ(Best({kSsse3 | kFma | kSse41 | kOsXsave | kAvx, kAvx2, 0, 7}), kAvx2Rung) << "2013, AVX2";
    EXPECT_EQ(Best({kSsse3 | kFma | kSse41 | kOsXsave | kAvx, kAvx2 | kF | kDq | kBw | kVl, 0, 0xE7}), kAvx512BwRung)
        << "2017, AVX-512 without VBMI";
    EXPECT_EQ(Best({kSsse3 | kFma | kSse41 | kOsXsave | kAvx, kAvx2 | kF, 0, 0xE7}), kAvx2Rung)
        << "2016, many-core processors with AVX-512 F, without BW";
}

TEST(ProcessorChoice, DetectionAgreesWithTheCompiler) {
    const Processor processor = DetectProcessor();
    EXPECT_EQ((processor.leaf1Ecx & kSsse3) != 0, __builtin_cpu_supports("ssse3") != 0);
    EXPECT_EQ((processor.leaf1Ecx & kSse41) != 0, __builtin_cpu_supports("sse4.1") != 0);
    EXPECT_EQ(Best(processor) >= kAvx2Rung, __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("fma") != 0);
    const bool hasBw = __builtin_cpu_supports("avx512f") != 0 && __builtin_cpu_supports("avx512dq") != 0 &&
                       __builtin_cpu_supports("avx512bw") != 0 && __builtin_cpu_supports("avx512vl") != 0;
    EXPECT_EQ(Best(processor) >= kAvx512BwRung, hasBw);
    EXPECT_EQ(Best(processor) == kAvx512Rung, hasBw && __builtin_cpu_supports("avx512vbmi") != 0);
}

#endif

}  // namespace
