// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The whole product, nothing in turns: every converter x every even size from 2 to 66 x every pattern x both fills x
// source and destination each against the page before and the page behind, and off all pages at addresses of every
// residue modulo 64 x every kernel table. One test case is one table with one pattern.
//
// Without VEXACAMUTL_WHOLE_MATRIX in the environment sizes and patterns take turns: a ninth of the product, in which
// every converter still meets every size with both fills in every place, with one of the nine patterns.
#include <cstdlib>
#include <tuple>

#include "TableTest.h"

namespace {

using Reference::Converter;
using Reference::GuardSide;
using Reference::Pattern;
using Vexa::Kernels::KernelTable;

constexpr const char* kPatternNames[] = {"Random",  "Ramp",       "Checkerboard", "WideCheckerboard", "OneHot",
                                         "OneCold", "AboveDepth", "FewValues",    "TwoValues"};
static_assert(std::size(kPatternNames) == static_cast<size_t>(Pattern::kCount));

class WholeMatrix : public testing::TestWithParam<std::tuple<const KernelTable*, uint32_t>> {
  protected:
    static constexpr uint32_t kLargest = 66;
    static constexpr size_t kLargestBytes = size_t{kLargest} * kLargest * 6;
    static constexpr size_t kOffsets = 64;

    /// A frame, and the picture that it has to give for each fill of the destination.
    struct Frame {
        const Converter& converter;
        uint32_t width;
        uint32_t height;
        std::vector<uint8_t> source;
        std::vector<uint8_t> expected;
        uint8_t fill;
    };

    /// Where a buffer lies; the offset keeps it off the page that it is laid against.
    struct Place {
        GuardSide side;
        size_t offset;
    };

    /// A block of the arena, and in it the buffer.
    struct Placed {
        uint8_t* block;
        uint8_t* buffer;
        size_t bytes;
    };

    static Placed Lay(Reference::GuardedArena& arena, size_t bytes, Place place, uint8_t fill) {
        uint8_t* block = arena.Block(bytes + place.offset, place.side, fill);
        return {block, place.side == GuardSide::kFront ? block + place.offset : block, bytes + place.offset};
    }

    /// Does nothing after the first difference, so that there are not thousands of reports.
    void Compare(const Frame& frame, Place sourcePlace, Place destinationPlace) {
        if (HasFatalFailure()) {
            return;
        }
        const Placed source = Lay(m_source, frame.source.size(), sourcePlace, frame.fill);
        std::copy(frame.source.begin(), frame.source.end(), source.buffer);
        const Placed destination = Lay(m_destination, frame.expected.size(), destinationPlace, frame.fill);
        const UtlStatus status = frame.converter.Call(destination.buffer, source.buffer, frame.width, frame.height);
        const uint8_t* end = destination.buffer + frame.expected.size();
        ASSERT_TRUE(
            status == UTL_STS_SUCCESS && m_destination.MarginIsIntact() &&
            std::memcmp(destination.buffer, frame.expected.data(), frame.expected.size()) == 0 &&
            Reference::IsFilled(destination.block, static_cast<size_t>(destination.buffer - destination.block),
                                frame.fill) &&
            Reference::IsFilled(end, static_cast<size_t>(destination.block + destination.bytes - end), frame.fill))
            << frame.converter.name << " " << frame.width << " x " << frame.height << " fill "
            << static_cast<int>(frame.fill) << ", status " << status << ", source "
            << (sourcePlace.side == GuardSide::kFront ? "front" : "back") << " + " << sourcePlace.offset
            << ", destination " << (destinationPlace.side == GuardSide::kFront ? "front" : "back") << " + "
            << destinationPlace.offset;
        ++m_comparisons;
    }

    void CompareAllPlaces(const Frame& frame) {
        for (const GuardSide source : {GuardSide::kFront, GuardSide::kBack}) {
            for (const GuardSide destination : {GuardSide::kFront, GuardSide::kBack}) {
                Compare(frame, {source, 0}, {destination, 0});
            }
        }
        // From frame to frame the two residues change, and not in step.
        m_residue = (m_residue + 1) % (kOffsets * kOffsets);
        Compare(frame, {GuardSide::kFront, m_residue % kOffsets},
                {GuardSide::kFront, m_residue * 37 / kOffsets % kOffsets});
    }

    void CompareSize(const Converter& converter, uint32_t width, uint32_t height, Pattern pattern) {
        Frame frame{converter, width, height, {}, {}, 0};
        frame.source.resize(converter.SourceBytes(width, height));
        Reference::FillPattern(frame.source.data(), frame.source.size() / converter.SampleBytes(), width,
                               converter.SampleBytes(), converter.depth, pattern, uint64_t{width} * 1000 + height);
        for (const uint8_t fill : {uint8_t{0x55}, uint8_t{0xAA}}) {
            frame.fill = fill;
            frame.expected.assign(converter.DestinationBytes(width, height), fill);
            Reference::Convert(converter, frame.expected.data(), frame.source.data(), width, height);
            CompareAllPlaces(frame);
        }
    }

    /// Whether the run compares this size (by its indices) with this pattern.
    bool IsInTurn(uint32_t column, uint32_t row, size_t converter) const {
        constexpr uint32_t kPatterns = static_cast<uint32_t>(Pattern::kCount);
        return m_whole || (column + 4 * row + converter + std::get<1>(GetParam())) % kPatterns == 0;
    }

    // Not set by anything while the tests run.
    const bool m_whole = std::getenv("VEXACAMUTL_WHOLE_MATRIX") != nullptr;  // NOLINT(concurrency-mt-unsafe)
    Reference::GuardedArena m_source{kLargestBytes + kOffsets};
    Reference::GuardedArena m_destination{kLargestBytes + kOffsets};
    size_t m_residue = 0;
    uint64_t m_comparisons = 0;
};

TEST_P(WholeMatrix, EveryEvenSizeInEveryPlace) {
    const auto [table, pattern] = GetParam();
    if (!Vexa::Kernels::CanRun(*table, Vexa::Kernels::DetectProcessor())) {
        GTEST_SKIP() << "this processor cannot run the " << table->name << " kernels";
    }
    const TableInUse inUse(table);
    for (size_t converter = 0; converter < Reference::Converters().size(); ++converter) {
        for (uint32_t width = 2; width <= kLargest; width += 2) {
            for (uint32_t height = 2; height <= kLargest; height += 2) {
                if (IsInTurn(width / 2, height / 2, converter)) {
                    CompareSize(Reference::Converters()[converter], width, height, static_cast<Pattern>(pattern));
                }
            }
        }
        ASSERT_FALSE(HasFatalFailure());
    }
    const uint64_t product = Reference::Converters().size() * 33 * 33 * 2 * 5;
    EXPECT_EQ(m_comparisons, m_whole ? product : product / 9);
    RecordProperty("comparisons", std::to_string(m_comparisons));
}

std::string CaseName(const testing::TestParamInfo<WholeMatrix::ParamType>& parameters) {
    const auto [table, pattern] = parameters.param;
    return NameForTests(*table) + "_" + kPatternNames[pattern];
}

INSTANTIATE_TEST_SUITE_P(Tables, WholeMatrix,
                         testing::Combine(testing::ValuesIn(Vexa::Kernels::KernelTables().begin(),
                                                            Vexa::Kernels::KernelTables().end()),
                                          testing::Range(0u, static_cast<uint32_t>(Pattern::kCount))),
                         CaseName);

}  // namespace
