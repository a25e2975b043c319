// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Where the kernels begin their blocks. It decides about speed alone, so no picture tells: the functions are asked
// themselves, as the set of 16-byte registers has them.
#include <gtest/gtest.h>

#include <immintrin.h>

#include "kernels/CpuFeatures.h"
#include "kernels/KernelTable.h"

namespace Vexa::Kernels {
namespace {

constexpr const KernelTable& kFallback = kScalarTable;

#include "kernels/vector/Sse.inc"

#include "kernels/simd/Blocks.inc"

#include "kernels/simd/BayerRow.inc"

#include "kernels/simd/Bayer8.inc"
#include "kernels/simd/BayerN.inc"

/// The definition: the first unit that is aligned, or 0 where none of a period is.
size_t FirstAlignedUnit(const uint8_t* dst, size_t unitBytes) {
    for (size_t unit = 0; unit < kBytes; ++unit) {
        if (reinterpret_cast<uintptr_t>(dst + unit * unitBytes) % kBytes == 0) {
            return unit;
        }
    }
    return 0;
}

class BlockStart : public testing::Test {
  protected:
    void SetUp() override {
        if (!CanRun(kSseTable, DetectProcessor())) {
            GTEST_SKIP() << "this file is compiled for SSE4.1";
        }
    }

    template <size_t kUnitBytes>
    void CompareUnits() const {
        for (size_t offset = 0; offset < 3 * kBytes; ++offset) {
            EXPECT_EQ(UnitsToAlignment<kUnitBytes>(m_block + offset), FirstAlignedUnit(m_block + offset, kUnitBytes))
                << kUnitBytes << " bytes a unit, offset " << offset;
        }
    }

    /// Even, at most kBytes, so that no column is left out after the block at column 1; aligned for source and
    /// destination if one such column is, else for the one that `layout` aligns, else 2.
    template <class Block, Layout layout>
    void CompareColumns() const {
        for (size_t out = 0; out < kBytes; ++out) {
            for (size_t in = 0; in < kBytes; ++in) {
                const uint8_t* dst = m_block + out;
                const uint8_t* row = m_block + in;
                const auto aligned = [](const uint8_t* address) {
                    return reinterpret_cast<uintptr_t>(address) % kBytes == 0;
                };
                size_t both = 0;
                size_t either = 0;
                for (size_t column = kBytes; column >= 2; column -= 2) {
                    const bool store = aligned(dst + column * kBytesPerPixel<layout>);
                    const bool load = aligned(row + column * Block::kSampleBytes);
                    both = store && load ? column : both;
                    either = (layout == kBgra ? store : load) ? column : either;
                }
                const size_t expected = both != 0 ? both : either != 0 ? either : 2;
                EXPECT_EQ((FirstAlignedColumn<Block, layout>(dst, row)), expected) << out << ", " << in;
            }
        }
    }

    alignas(64) uint8_t m_block[kBytes * 16] = {};
};

TEST_F(BlockStart, UnitsOfEverySize) {
    CompareUnits<1>();
    CompareUnits<2>();
    CompareUnits<3>();
    CompareUnits<4>();
    CompareUnits<6>();
    CompareUnits<8>();
    CompareUnits<12>();
    CompareUnits<16>();
}

TEST_F(BlockStart, ColumnsOfMosaics) {
    CompareColumns<Bayer8Block<kFourGreens>, kBgra>();
    CompareColumns<Bayer8Block<kFourGreens>, kBgr>();
    CompareColumns<BayerNBlock<kFourGreens>, kBgra>();
    CompareColumns<BayerNBlock<kFourGreens>, kBgr>();
}

}  // namespace
}  // namespace Vexa::Kernels
