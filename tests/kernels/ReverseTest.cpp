// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// ReverseImg against the reference for every kernel table: every format and mode, every width around the vector
// sizes, whole buffers between forbidden pages, every alignment.
#include "TableTest.h"

namespace {

using Reference::GuardSide;

class Reversal : public TableTest {
  protected:
    void Compare(PixelFormat format, uint32_t width, uint32_t height, uint32_t mode, uint8_t fill, GuardSide side) {
        const bool mirror = (mode & 1) != 0;
        const bool upsideDown = (mode & 2) != 0;
        const size_t bytes = Reference::FrameBytes(format, width, height);
        uint8_t* src = m_source.Block(bytes, side, fill);
        Reference::FillPattern(src, bytes, bytes, 1, 8, Reference::Pattern::kRandom, uint64_t{width} * 1000 + height);
        uint8_t* dst = m_destination.Block(bytes, side, fill);
        std::vector<uint8_t> expected(bytes, fill);
        Reference::Reverse(expected.data(), src, format, width, height, mirror, upsideDown);
        ASSERT_EQ(ReverseImg(dst, src, format, width, height, mirror, upsideDown), UTL_STS_SUCCESS);
        ASSERT_TRUE(m_destination.MarginIsIntact());
        ASSERT_TRUE(bytes == 0 || std::memcmp(dst, expected.data(), bytes) == 0)
            << std::hex << format << std::dec << " " << width << " x " << height << " mode " << mode;
    }

    void CompareAllModes(PixelFormat format, uint32_t width, uint32_t height) {
        for (uint32_t mode = 0; mode < 4; ++mode) {
            const bool turn = (width + height) % 2 == 0;
            Compare(format, width, height, mode, 0x55, turn ? GuardSide::kBack : GuardSide::kFront);
            Compare(format, width, height, mode, 0xAA, turn ? GuardSide::kFront : GuardSide::kBack);
        }
    }
};

TEST_P(Reversal, EveryWidth) {
    for (const PixelFormat format : Reference::ReversibleFormats()) {
        for (uint32_t width = 0; width <= 257; ++width) {
            for (uint32_t height = 0; height <= 3; ++height) {
                CompareAllModes(format, width, height);
            }
        }
        ASSERT_FALSE(HasFailure());
    }
}

TEST_P(Reversal, LargerFrames) {
    for (const PixelFormat format : Reference::ReversibleFormats()) {
        for (uint32_t width = 510; width <= 530; ++width) {
            CompareAllModes(format, width, 5);
        }
        CompareAllModes(format, 1920, 37);
        ASSERT_FALSE(HasFailure());
    }
}

// One row, whose blocks depend on both addresses, in a source of the exact size.
TEST_P(Reversal, ShortRowsToEveryAddress) {
    std::vector<uint8_t> expected;
    for (const PixelFormat format : Reference::ReversibleFormats()) {
        for (uint32_t width = 1; width <= 264; width += width < 140 ? 1 : 4) {
            const size_t bytes = Reference::FrameBytes(format, width, 1);
            expected.assign(bytes, 0x55);
            for (const GuardSide side : {GuardSide::kFront, GuardSide::kBack}) {
                uint8_t* src = m_source.Block(bytes, side, 0);
                Reference::FillPattern(src, bytes, bytes, 1, 8, Reference::Pattern::kRandom, width);
                Reference::Reverse(expected.data(), src, format, width, 1, true, false);
                for (uint32_t offset = 0; offset < 64; ++offset) {
                    uint8_t* block = m_destination.Block(bytes + offset, GuardSide::kFront, 0x55);
                    ASSERT_EQ(ReverseImg(block + offset, src, format, width, 1, 1, 0), UTL_STS_SUCCESS);
                    ASSERT_TRUE(m_destination.MarginIsIntact());
                    ASSERT_TRUE(std::all_of(block, block + offset, [](uint8_t byte) { return byte == 0x55; }));
                    ASSERT_EQ(std::memcmp(block + offset, expected.data(), bytes), 0)
                        << std::hex << format << std::dec << " width " << width << " offset " << offset;
                }
            }
        }
    }
}

TEST_P(Reversal, EveryAlignment) {
    constexpr uint32_t kWidth = 148;
    constexpr uint32_t kHeight = 3;
    std::vector<uint8_t> source(kWidth * kHeight * 6 + 64);
    Reference::FillPattern(source.data(), source.size(), source.size(), 1, 8, Reference::Pattern::kRandom, 7);
    for (const PixelFormat format : Reference::ReversibleFormats()) {
        const size_t bytes = Reference::FrameBytes(format, kWidth, kHeight);
        for (uint32_t offset = 0; offset < 64; ++offset) {
            for (uint32_t mode = 0; mode < 4; ++mode) {
                const uint8_t* src = source.data() + (offset * 37 + 5) % 64;
                std::vector<uint8_t> expected(bytes + 128, 0x55);
                std::vector<uint8_t> actual = expected;
                Reference::Reverse(expected.data() + offset, src, format, kWidth, kHeight, (mode & 1) != 0,
                                   (mode & 2) != 0);
                ReverseImg(actual.data() + offset, src, format, kWidth, kHeight, (mode & 1) != 0, (mode & 2) != 0);
                ASSERT_TRUE(actual == expected) << std::hex << format << std::dec << " offset " << offset;
            }
        }
    }
}

// Frames around the size from which copies go another way, and rows around the length from which rows do.
TEST_P(Reversal, FramesThatCachesDoNotHold) {
    constexpr size_t kMost = (2u << 20) + 3 * 4099;
    std::vector<uint8_t> source(kMost);
    Reference::FillPattern(source.data(), kMost, kMost, 1, 8, Reference::Pattern::kRandom, 11);
    constexpr size_t kMargin = 64;
    std::vector<uint8_t> destination(kMost + 2 * kMargin);
    const auto expectMargins = [&](size_t bytes) {
        const auto isFill = [](uint8_t byte) { return byte == 0x55; };
        const auto end = destination.begin() + static_cast<ptrdiff_t>(kMargin + bytes);
        EXPECT_TRUE(std::all_of(destination.begin(), destination.begin() + kMargin, isFill));
        EXPECT_TRUE(std::all_of(end, end + kMargin, isFill));
    };
    uint8_t* const dst = destination.data() + kMargin;
    for (const uint32_t width : {127u, 128u, 129u, 1023u, 1024u, 1025u, 4099u}) {
        const uint32_t rows = (1u << 20) / width;  // of a mebibyte
        for (const uint32_t height : {rows - 1, rows, rows + 1, 2 * rows, 2 * rows + 1, 2 * rows + 2}) {
            const size_t bytes = size_t{width} * height;
            std::fill(destination.begin(), destination.end(), 0x55);
            ASSERT_EQ(ReverseImg(dst, source.data(), PIXEL_FORMAT_MONO8, width, height, 0, 0), UTL_STS_SUCCESS);
            ASSERT_EQ(std::memcmp(dst, source.data(), bytes), 0) << width << " x " << height;
            expectMargins(bytes);
            std::fill(destination.begin(), destination.end(), 0x55);
            ASSERT_EQ(ReverseImg(dst, source.data(), PIXEL_FORMAT_MONO8, width, height, 0, 1), UTL_STS_SUCCESS);
            for (size_t r = 0; r < height; ++r) {
                ASSERT_EQ(std::memcmp(dst + r * width, source.data() + (height - 1 - r) * width, width), 0)
                    << width << " x " << height << " row " << r;
            }
            expectMargins(bytes);
            ASSERT_FALSE(HasFailure()) << width << " x " << height;
        }
    }
}

VEXA_FOR_ALL_TABLES(Reversal);

}  // namespace
