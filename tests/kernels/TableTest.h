// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The fixture of all tests that run once for every kernel table: it makes the library use the table and puts the old
// one back, and reports a table that this processor cannot run as skipped. It also holds the one comparison of a
// converter with the reference: whole buffers between forbidden pages.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "Buffers.h"
#include "Patterns.h"
#include "Reference.h"
#include "catalogue/VexaCamUtl.h"
#include "kernels/CpuFeatures.h"
#include "kernels/KernelTable.h"

namespace Vexa::Kernels {
/// How a list of tests shows the table: by its name, not by an address that is another one each time.
inline void PrintTo(const KernelTable* table, std::ostream* os) {
    *os << table->name;
}
}  // namespace Vexa::Kernels

/// One conversion to compare.
struct Trial {
    uint32_t width;
    uint32_t height;
    Reference::Pattern pattern = Reference::Pattern::kRandom;
    uint8_t fill = 0x55;
    Reference::GuardSide side = Reference::GuardSide::kBack;
    uint32_t shift = 0;  ///< of workers
    uint64_t seed = 0;
};

/// A YUV group of a converter's layout; its pixels have the lumas from `luma` on.
inline void FillYuvGroup(const Reference::Converter& converter, uint8_t* group, uint8_t u, uint8_t v, uint32_t luma) {
    static constexpr uint32_t kLuma411[] = {1, 2, 4, 5};
    group[0] = u;
    group[converter.groupPixels == 4 ? 3 : 2] = v;
    for (uint32_t k = 0; k < converter.groupPixels; ++k) {
        group[converter.groupPixels == 4 ? kLuma411[k] : 1 + 2 * k] = static_cast<uint8_t>(luma + k);
    }
}

/// The table that the library uses as long as this lives.
class TableInUse {
  public:
    explicit TableInUse(const Vexa::Kernels::KernelTable* table) : m_before(Vexa::s_psKernels) {
        Vexa::s_psKernels = table;
        PrepareLUT();
    }
    TableInUse(const TableInUse&) = delete;
    TableInUse& operator=(const TableInUse&) = delete;
    ~TableInUse() { Vexa::s_psKernels = m_before; }

  private:
    const Vexa::Kernels::KernelTable* m_before;
};

class TableTest : public testing::TestWithParam<const Vexa::Kernels::KernelTable*> {
  protected:
    void SetUp() override {
        if (!Vexa::Kernels::CanRun(*GetParam(), Vexa::Kernels::DetectProcessor())) {
            GTEST_SKIP() << "this processor cannot run the " << GetParam()->name << " kernels";
        }
        m_inUse.emplace(GetParam());
    }
    void TearDown() override { m_inUse.reset(); }

    /// Runs the library and the reference on the same frame and compares every byte, the margins included.
    void Compare(const Reference::Converter& converter, const Trial& trial) {
        const size_t sourceBytes = converter.SourceBytes(trial.width, trial.height);
        const size_t destinationBytes = converter.DestinationBytes(trial.width, trial.height);
        uint8_t* src = m_source.Block(sourceBytes, trial.side, trial.fill);
        Reference::FillPattern(src, sourceBytes / converter.SampleBytes(), trial.width, converter.SampleBytes(),
                               converter.depth, trial.pattern, trial.seed);
        uint8_t* dst = m_destination.Block(destinationBytes, trial.side, trial.fill);
        m_expected.assign(destinationBytes, trial.fill);
        Reference::Convert(converter, m_expected.data(), src, trial.width, trial.height, trial.shift);
        const UtlStatus status = converter.Call(dst, src, trial.width, trial.height, trial.shift);
        if (status != UTL_STS_SUCCESS || !m_destination.MarginIsIntact() ||
            (destinationBytes != 0 && std::memcmp(dst, m_expected.data(), destinationBytes) != 0)) {
            Report(converter, trial, status, dst);
        }
    }

    Reference::GuardedArena m_source{kArenaBytes};
    Reference::GuardedArena m_destination{kArenaBytes};

  private:
    static constexpr size_t kArenaBytes = size_t{1} << 20;

    void Report(const Reference::Converter& converter, const Trial& trial, UtlStatus status, const uint8_t* dst) {
        std::string place = "no byte of the picture";
        const uint32_t columns = std::max(trial.width, 1u);
        for (size_t i = 0; i < m_expected.size(); ++i) {
            if (dst[i] != m_expected[i]) {
                const size_t pixel = i / converter.pixelBytes;
                place = "byte " + std::to_string(i % converter.pixelBytes) + " of pixel (" +
                        std::to_string(pixel / columns) + ", " + std::to_string(pixel % columns) +
                        "): " + std::to_string(dst[i]) + " instead of " + std::to_string(m_expected[i]);
                break;
            }
        }
        ADD_FAILURE() << converter.name << " " << trial.width << " x " << trial.height << " pattern "
                      << static_cast<int>(trial.pattern) << " shift " << trial.shift << " fill "
                      << static_cast<int>(trial.fill) << ": status " << status << ", margin "
                      << (m_destination.MarginIsIntact() ? "intact" : "WRITTEN") << ", " << place;
    }

    std::optional<TableInUse> m_inUse;
    std::vector<uint8_t> m_expected;
};

/// What a test case may be called after the table.
inline std::string NameForTests(const Vexa::Kernels::KernelTable& table) {
    std::string name = table.name;
    for (char& letter : name) {
        letter = std::isalnum(static_cast<unsigned char>(letter)) != 0 ? letter : '_';
    }
    return name;
}

inline std::string TableName(const testing::TestParamInfo<const Vexa::Kernels::KernelTable*>& info) {
    return NameForTests(*info.param);
}

/// Instantiates a suite for every table that was compiled in.
#define VEXA_FOR_ALL_TABLES(suite)                                                                                    \
    INSTANTIATE_TEST_SUITE_P(                                                                                         \
        Tables, suite, testing::ValuesIn(Vexa::Kernels::KernelTables().begin(), Vexa::Kernels::KernelTables().end()), \
        TableName)
