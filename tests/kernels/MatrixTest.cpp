// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Every converter against the reference, for every kernel table: all small even sizes (66 is a 64-byte vector and a
// tail), odd sizes, frames wider than a strip, every count of a run, every shift, every alignment. Each comparison
// takes in the whole destination, with two fills, between forbidden pages.
#include "TableTest.h"

namespace {

using Reference::Converter;
using Reference::GuardSide;
using Reference::Pattern;

constexpr uint32_t kPatternCount = static_cast<uint32_t>(Pattern::kCount);

class Matrix : public TableTest {
  protected:
    /// Two frames of one size: a random one and one of the other patterns in turn, with the other fill and the other
    /// side. Which fill meets which side changes from size to size.
    void CompareBoth(const Converter& converter, uint32_t width, uint32_t height, uint32_t shift) {
        const uint32_t turn = width / 2 * 5 + height / 2 * 3 + width % 2 + height % 2;
        const bool backFirst = (width / 2 + height / 2) % 2 == 0;
        Compare(converter, {width, height, Pattern::kRandom, 0x55, backFirst ? GuardSide::kBack : GuardSide::kFront,
                            shift, uint64_t{width} * 100 + height});
        Compare(converter, {width, height, static_cast<Pattern>(1 + turn % (kPatternCount - 1)), 0xAA,
                            backFirst ? GuardSide::kFront : GuardSide::kBack, shift, uint64_t{width} * 100 + height});
    }

    void CompareBoth(const Converter& converter, uint32_t width, uint32_t height) {
        CompareBoth(converter, width, height, converter.DefaultShift());
    }

    bool Failed() const { return HasFailure(); }
};

TEST_P(Matrix, EveryEvenSize) {
    for (const Converter& converter : Reference::Converters()) {
        for (uint32_t width = 2; width <= 66; width += 2) {
            for (uint32_t height = 2; height <= 66; height += 2) {
                CompareBoth(converter, width, height);
            }
        }
        ASSERT_FALSE(Failed());
    }
}

TEST_P(Matrix, OddAndEmptySizes) {
    for (const Converter& converter : Reference::Converters()) {
        for (uint32_t width = 0; width <= 37; ++width) {
            for (uint32_t height = 0; height <= 19; ++height) {
                if (width % 2 != 0 || height % 2 != 0 || width == 0 || height == 0) {
                    CompareBoth(converter, width, height);
                }
            }
        }
        for (const uint32_t width : {63u, 65u, 127u, 129u, 131u}) {
            CompareBoth(converter, width, 5);
            CompareBoth(converter, 5, width);
        }
        ASSERT_FALSE(Failed());
    }
}

TEST_P(Matrix, EveryWidthAtAFewRows) {
    for (const Converter& converter : Reference::Converters()) {
        for (uint32_t width = 68; width <= 270; width += 2) {
            CompareBoth(converter, width, 6);
        }
        ASSERT_FALSE(Failed());
    }
}

TEST_P(Matrix, WiderThanAStrip) {
    constexpr auto kStrip = static_cast<uint32_t>(Vexa::Kernels::kAcpiStripColumns);
    for (const Converter& converter : Reference::Converters()) {
        for (const uint32_t width : {1023u, 1030u, 2050u, 2101u, kStrip + 2, kStrip + 7, 2 * kStrip + 6}) {
            CompareBoth(converter, width, 8);
        }
        if (converter.family != Reference::Family::kAcpi) {
            continue;
        }
        // Every place where the last strip can begin and end, its narrowest forms above all.
        for (uint32_t width = kStrip - 2; width <= kStrip + 12; ++width) {
            CompareBoth(converter, width, 6);
            CompareBoth(converter, width + kStrip, 6);
        }
        for (uint32_t width = kStrip + 14; width <= kStrip + 150; width += 4) {
            CompareBoth(converter, width, 6);
        }
        ASSERT_FALSE(Failed());
    }
}

TEST_P(Matrix, EveryPattern) {
    static constexpr uint32_t kSizes[][2] = {{4, 4}, {6, 6}, {14, 10}, {36, 8}, {66, 12}, {134, 10}, {260, 8}};
    for (const Converter& converter : Reference::Converters()) {
        for (const auto [width, height] : kSizes) {
            for (uint32_t pattern = 0; pattern < kPatternCount; ++pattern) {
                for (uint64_t seed = 0; seed < 4; ++seed) {
                    Compare(converter,
                            {width, height, static_cast<Pattern>(pattern),
                             static_cast<uint8_t>(seed % 2 == 0 ? 0x55 : 0xAA),
                             seed < 2 ? GuardSide::kBack : GuardSide::kFront, converter.DefaultShift(), seed});
                }
            }
        }
        ASSERT_FALSE(Failed());
    }
}

TEST_P(Matrix, EveryCountOfARun) {
    for (const Converter& converter : Reference::Converters()) {
        if (!converter.IsRun()) {
            continue;
        }
        for (uint32_t count = 0; count <= 257; ++count) {
            CompareBoth(converter, count, 1);
        }
        for (const uint32_t count : {511u, 1023u, 1024u, 4097u, 20011u, 65537u}) {
            CompareBoth(converter, count, 1);
            CompareBoth(converter, 1, count);
        }
        ASSERT_FALSE(Failed());
    }
}

// Runs of one to four blocks, whose first blocks depend on the destination's address, in a source of the exact size.
TEST_P(Matrix, ShortRunsToEveryAddress) {
    std::vector<uint8_t> expected;
    for (const Converter& converter : Reference::Converters()) {
        if (!converter.IsRun()) {
            continue;
        }
        for (const uint32_t count :
             {8u,  15u,  16u,  17u,  24u,  31u,  32u,  33u,  40u,  47u,  48u,  49u,  63u,  64u,  65u,  80u, 96u,
              97u, 111u, 127u, 128u, 129u, 130u, 140u, 160u, 177u, 191u, 192u, 193u, 200u, 255u, 256u, 257u}) {
            const size_t sourceBytes = converter.SourceBytes(count, 1);
            const size_t destinationBytes = converter.DestinationBytes(count, 1);
            for (const GuardSide side : {GuardSide::kFront, GuardSide::kBack}) {
                uint8_t* src = m_source.Block(sourceBytes, side, 0);
                Reference::FillPattern(src, sourceBytes / converter.SampleBytes(), count, converter.SampleBytes(),
                                       converter.depth, Pattern::kRandom, count);
                for (uint32_t offset = 0; offset < 64; ++offset) {
                    const size_t blockBytes = destinationBytes + offset;
                    expected.assign(blockBytes, 0x55);
                    Reference::Convert(converter, expected.data() + offset, src, count, 1);
                    uint8_t* block = m_destination.Block(blockBytes, GuardSide::kFront, 0x55);
                    ASSERT_EQ(converter.Call(block + offset, src, count, 1), UTL_STS_SUCCESS);
                    ASSERT_TRUE(m_destination.MarginIsIntact()) << converter.name << " count " << count;
                    ASSERT_EQ(std::memcmp(block, expected.data(), blockBytes), 0)
                        << converter.name << " count " << count << " offset " << offset;
                }
            }
        }
    }
}

TEST_P(Matrix, EveryShift) {
    for (const Converter& converter : Reference::Converters()) {
        if (!converter.IsWorker()) {
            continue;
        }
        for (uint32_t shift = 0; shift <= 0x102; ++shift) {
            for (const uint32_t height : {2u, 4u, 5u}) {
                CompareBoth(converter, 38, height, shift);
                CompareBoth(converter, 4, height, shift);
            }
            CompareBoth(converter, 134, 4, shift);
        }
        ASSERT_FALSE(Failed());
    }
}

TEST_P(Matrix, EveryAlignment) {
    constexpr uint32_t kWidth = 150;
    constexpr uint32_t kHeight = 6;
    std::vector<uint8_t> sourceBlock(kWidth * kHeight * 6 + 64);
    std::vector<uint8_t> expected;
    std::vector<uint8_t> block;
    for (const Converter& converter : Reference::Converters()) {
        const size_t destinationBytes = converter.DestinationBytes(kWidth, kHeight);
        const size_t samples = converter.SourceBytes(kWidth, kHeight) / converter.SampleBytes();
        for (uint32_t offset = 0; offset < 64; ++offset) {
            // Both addresses meet every residue modulo 64, and not in step.
            uint8_t* src = sourceBlock.data() + (offset * 37 + 5) % 64;
            Reference::FillPattern(src, samples, kWidth, converter.SampleBytes(), converter.depth, Pattern::kRandom,
                                   offset);
            expected.assign(destinationBytes + 128, 0x55);
            block = expected;
            Reference::Convert(converter, expected.data() + offset, src, kWidth, kHeight);
            EXPECT_EQ(converter.Call(block.data() + offset, src, kWidth, kHeight), UTL_STS_SUCCESS);
            ASSERT_TRUE(block == expected) << converter.name << " at offset " << offset;
        }
    }
}

VEXA_FOR_ALL_TABLES(Matrix);

}  // namespace
