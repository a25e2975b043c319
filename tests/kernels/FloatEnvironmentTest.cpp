// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// No byte depends on the caller's floating-point environment, for every kernel table: rounding modes, subnormal
// numbers flushed, exceptions unmasked. An unmasked exception that a kernel raised would end this program. The caller's
// environment is the same after a call as before, its exception flags included.
#include <cstdlib>

#include "TableTest.h"

#if defined(__x86_64__)
#include <xmmintrin.h>
#endif

namespace {

#if defined(__x86_64__)

using Control = uint32_t;

Control ReadControl() {
    return _mm_getcsr();
}

void WriteControl(Control control) {
    _mm_setcsr(control);
}

constexpr Control kDefault = 0x1F80;
constexpr Control kRoundDown = kDefault | 0x2000, kRoundUp = kDefault | 0x4000, kRoundToZero = kDefault | 0x6000;
constexpr Control kFlushToZero = kDefault | 0x8040;  ///< FTZ and DAZ
constexpr Control kAllUnmasked = 0;
constexpr Control kInexactUnmasked = kDefault & ~0x1000u;
/// The flag of a division by zero, as an earlier computation of the caller left it.
constexpr Control kWithFlag = kRoundUp | 0x0004;

#elif defined(__aarch64__)

using Control = uint64_t;

Control ReadControl() {
    Control control = 0;
    __asm__ volatile("mrs %0, fpcr" : "=r"(control));
    return control;
}

void WriteControl(Control control) {
    __asm__ volatile("msr fpcr, %0" ::"r"(control));
}

constexpr Control kDefault = 0;
constexpr Control kRoundUp = 1u << 22, kRoundDown = 2u << 22, kRoundToZero = 3u << 22;
constexpr Control kFlushToZero = 1u << 24;
constexpr Control kAllUnmasked = 0x9F00;  ///< processors without traps read these bits as zero
constexpr Control kInexactUnmasked = 0x1000;
constexpr Control kWithFlag = kRoundUp;

#endif

#if defined(__x86_64__) || defined(__aarch64__)

constexpr Control kEnvironments[] = {kDefault,     kRoundDown,   kRoundUp,         kRoundToZero,
                                     kFlushToZero, kAllUnmasked, kInexactUnmasked, kWithFlag};

/// The environment of the caller as long as this lives.
class Environment {
  public:
    explicit Environment(Control control) : m_before(ReadControl()) { WriteControl(control); }
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;
    ~Environment() { WriteControl(m_before); }

  private:
    Control m_before;
};

class FloatEnvironment : public TableTest {
  protected:
    /// Calls `work` in an environment and expects to find the same one afterwards.
    template <class Work>
    static void In(Control control, Work work) {
        Control set = 0;
        Control after = 0;
        {
            const Environment environment(control);
            set = ReadControl();
            work();
            after = ReadControl();
        }
        if (control == kDefault) {
            after &= ~Control{0x3F};  // there the flags are the kernels' own
        }
        EXPECT_EQ(after, set) << std::hex << control;
    }
};

/// All 65,536 chroma pairs, a group each; its pixels have the lumas from `luma` on.
void FillChromaPairs(const Reference::Converter& converter, std::vector<uint8_t>& src, uint32_t luma) {
    for (uint32_t chroma = 0; chroma < 65536; ++chroma) {
        FillYuvGroup(converter, src.data() + size_t{chroma} * converter.groupBytes, static_cast<uint8_t>(chroma / 256),
                     static_cast<uint8_t>(chroma % 256), luma);
    }
}

/// Every chroma pair with every 21st group of lumas; with VEXACAMUTL_WHOLE_MATRIX in the environment, as scripts/prove
/// sets it, all 2^24 triples.
TEST_P(FloatEnvironment, YuvTriplesAreThoseOfTheReference) {
    const uint32_t step = std::getenv("VEXACAMUTL_WHOLE_MATRIX") != nullptr ? 1 : 21;  // NOLINT(concurrency-mt-unsafe)
    for (const Reference::Converter& converter : Reference::Converters()) {
        if (converter.family != Reference::Family::kYuv) {
            continue;
        }
        const uint32_t width = 65536 * converter.groupPixels;
        std::vector<uint8_t> src(converter.SourceBytes(width, 1));
        std::vector<uint8_t> expected(converter.DestinationBytes(width, 1));
        std::vector<uint8_t> dst(expected.size());
        for (uint32_t luma = 0; luma < 256; luma += step * converter.groupPixels) {
            FillChromaPairs(converter, src, luma);
            Reference::Convert(converter, expected.data(), src.data(), width, 1);
            for (const Control control : kEnvironments) {
                std::fill(dst.begin(), dst.end(), uint8_t{0});
                In(control, [&] { converter.Call(dst.data(), src.data(), width, 1); });
                ASSERT_TRUE(dst == expected)
                    << converter.name << " luma " << luma << " control " << std::hex << control;
            }
        }
    }
}

TEST_P(FloatEnvironment, NoConverterDependsOnIt) {
    constexpr uint32_t kWidth = 134;
    constexpr uint32_t kHeight = 10;
    for (const Reference::Converter& converter : Reference::Converters()) {
        std::vector<uint8_t> src(converter.SourceBytes(kWidth, kHeight));
        Reference::FillPattern(src.data(), src.size(), src.size(), 1, 8, Reference::Pattern::kTwoValues, 3);
        std::vector<uint8_t> expected(converter.DestinationBytes(kWidth, kHeight), 0x55);
        Reference::Convert(converter, expected.data(), src.data(), kWidth, kHeight);
        for (const Control control : kEnvironments) {
            std::vector<uint8_t> dst(expected.size(), 0x55);
            In(control, [&] { converter.Call(dst.data(), src.data(), kWidth, kHeight); });
            EXPECT_EQ(dst, expected) << converter.name << " control " << std::hex << control;
        }
    }
}

VEXA_FOR_ALL_TABLES(FloatEnvironment);

#endif

}  // namespace
