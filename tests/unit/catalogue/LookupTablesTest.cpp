// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The colour lookup tables, all entries, against values recomputed with whole numbers:
//
//     red    Y + 1.402 v    in thousandths, rounded half up
//     blue   Y + 1.772 u    in thousandths, rounded half up
//     green  row K = 256 + 0.714 v + 0.344 u, in thousandths, rounded half up; but single precision falls just below
//            18 of the 130 exact halves, and those rows are one lower
#include <gtest/gtest.h>

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cfenv>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <set>
#include <utility>

#include "catalogue/VexaCamUtl.h"

namespace {

using Chroma = std::pair<int, int>;

/// The pairs (U, V) whose row single precision makes one lower.
const std::set<Chroma> kLowerRows = {{2, 174},  {12, 214}, {17, 234}, {19, 142},  {22, 254},  {24, 162},
                                     {34, 202}, {39, 222}, {41, 130}, {44, 242},  {51, 170},  {56, 190},
                                     {66, 230}, {68, 138}, {95, 146}, {110, 206}, {117, 134}, {127, 174}};

int FloorDivide(int dividend, int divisor) {
    const int quotient = dividend / divisor;
    return dividend % divisor < 0 ? quotient - 1 : quotient;
}

uint8_t Limit(int value) {
    return static_cast<uint8_t>(std::clamp(value, 0, 255));
}

uint8_t Component(int y, int thousandths, int chroma) {
    return Limit(FloorDivide(1000 * y + thousandths * (chroma - 128) + 500, 1000));
}

uint32_t GreenRow(int u, int v) {
    const int exact = FloorDivide(714 * (v - 128) + 344 * (u - 128) + 256500, 1000);
    return static_cast<uint32_t>(kLowerRows.contains({u, v}) ? exact - 1 : exact);
}

class LookupTables : public testing::Test {
  protected:
    void SetUp() override { ASSERT_EQ(PrepareLUT(), UTL_STS_SUCCESS); }
};

TEST_F(LookupTables, Grey) {
    for (uint32_t grey = 0; grey < 256; ++grey) {
        const uint8_t bytes[4] = {static_cast<uint8_t>(grey), static_cast<uint8_t>(grey), static_cast<uint8_t>(grey),
                                  255};
        EXPECT_EQ(std::memcmp(&Vexa::auiMono2BGRA[grey], bytes, 4), 0) << grey;
    }
    EXPECT_EQ(Vexa::auiMono2BGRA[0], 0xFF000000u);
    EXPECT_EQ(Vexa::auiMono2BGRA[128], 0xFF808080u);
    EXPECT_EQ(Vexa::auiMono2BGRA[255], 0xFFFFFFFFu);
}

TEST_F(LookupTables, GreenRows) {
    ASSERT_EQ(kLowerRows.size(), 18u);
    for (int u = 0; u < 256; ++u) {
        for (int v = 0; v < 256; ++v) {
            ASSERT_EQ(Vexa::auiYUVC_UV[u * 256 + v], GreenRow(u, v)) << u << ", " << v;
        }
    }
    EXPECT_EQ(Vexa::auiYUVC_UV[128 * 256 + 128], 256u);
    EXPECT_EQ(Vexa::auiYUVC_UV[0], 121u);
    EXPECT_EQ(Vexa::auiYUVC_UV[255 * 256 + 255], 390u);
    EXPECT_EQ(Vexa::auiYUVC_UV[0 * 256 + 255], 303u);
    EXPECT_EQ(Vexa::auiYUVC_UV[255 * 256 + 0], 208u);
    EXPECT_EQ(Vexa::auiYUVC_UV[117 * 256 + 134], 256u);
}

TEST_F(LookupTables, RedAndBlue) {
    for (int chroma = 0; chroma < 256; ++chroma) {
        for (int y = 0; y < 256; ++y) {
            const int i = chroma * 256 + y;
            ASSERT_EQ(Vexa::aucYV2R[i], Component(y, 1402, chroma)) << chroma << ", " << y;
            ASSERT_EQ(Vexa::auiYV2R[i], 0xFF000000u + Component(y, 1402, chroma) * 65536u) << chroma << ", " << y;
            ASSERT_EQ(Vexa::aucYU2B[i], Component(y, 1772, chroma)) << chroma << ", " << y;
        }
    }
    EXPECT_EQ(Vexa::aucYV2R[255 * 256 + 0], 178);
    EXPECT_EQ(Vexa::aucYV2R[0 * 256 + 255], 76);
    EXPECT_EQ(Vexa::aucYU2B[255 * 256 + 0], 225);
    EXPECT_EQ(Vexa::aucYU2B[0 * 256 + 255], 28);
    for (int y = 0; y < 256; ++y) {
        EXPECT_EQ(Vexa::aucYV2R[128 * 256 + y], y);
        EXPECT_EQ(Vexa::aucYU2B[128 * 256 + y], y);
    }
}

TEST_F(LookupTables, Green) {
    for (int row = 0; row < 512; ++row) {
        for (int y = 0; y < 256; ++y) {
            ASSERT_EQ(Vexa::aucYUV2G[row * 256 + y], Limit(y - (row - 256))) << row << ", " << y;
            ASSERT_EQ(Vexa::auiYUV2G[row * 256 + y], Limit(y - (row - 256)) * 256u) << row << ", " << y;
        }
    }
    EXPECT_EQ(Vexa::aucYUV2G[390 * 256 + 0], 0);
    EXPECT_EQ(Vexa::aucYUV2G[121 * 256 + 255], 255);
}

TEST_F(LookupTables, TakeTheStatedStorage) {
    EXPECT_EQ(sizeof Vexa::auiMono2BGRA + sizeof Vexa::auiYUVC_UV + sizeof Vexa::auiYUV2G + sizeof Vexa::aucYUV2G +
                  sizeof Vexa::aucYU2B + sizeof Vexa::auiYV2R + sizeof Vexa::aucYV2R,
              1311744u);
}

TEST_F(LookupTables, AreRestoredByASecondCall) {
    auto before = std::make_unique<uint8_t[]>(sizeof Vexa::auiYUVC_UV);
    std::memcpy(before.get(), Vexa::auiYUVC_UV, sizeof Vexa::auiYUVC_UV);
    for (uint32_t& entry : Vexa::auiYUVC_UV) {
        entry = ~entry;  // every call computes every entry, so damage does not stay
    }
    Vexa::auiMono2BGRA[7] = 0;
    Vexa::aucYV2R[9] = static_cast<uint8_t>(~Vexa::aucYV2R[9]);
    Vexa::auiYV2R[9] = 0;
    Vexa::aucYU2B[11] = static_cast<uint8_t>(~Vexa::aucYU2B[11]);
    Vexa::aucYUV2G[13] = static_cast<uint8_t>(~Vexa::aucYUV2G[13]);
    Vexa::auiYUV2G[13] = 0xFF;
    EXPECT_EQ(PrepareLUT(), UTL_STS_SUCCESS);
    EXPECT_EQ(std::memcmp(before.get(), Vexa::auiYUVC_UV, sizeof Vexa::auiYUVC_UV), 0);
    EXPECT_EQ(Vexa::auiMono2BGRA[7], 0xFF070707u);
    EXPECT_EQ(Vexa::aucYV2R[9], Component(9, 1402, 0));
    EXPECT_EQ(Vexa::auiYV2R[9], 0xFF000000u + Component(9, 1402, 0) * 65536u);
    EXPECT_EQ(Vexa::aucYU2B[11], Component(11, 1772, 0));
    EXPECT_EQ(Vexa::aucYUV2G[13], 255);
    EXPECT_EQ(Vexa::auiYUV2G[13], 0xFF00u);
    EXPECT_TRUE(Vexa::s_bLUTReady);
}

/// The whole pages inside a table, made read-only for as long as this lives.
class ReadOnlyPages {
  public:
    template <class Entry, size_t count>
    explicit ReadOnlyPages(Entry (&table)[count]) {
        const auto page = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
        const size_t before = (page - reinterpret_cast<uintptr_t>(table) % page) % page;
        m_pages = reinterpret_cast<uint8_t*>(table) + before;
        m_bytes = (sizeof table - before) / page * page;
        EXPECT_EQ(mprotect(m_pages, m_bytes, PROT_READ), 0);
    }
    ReadOnlyPages(const ReadOnlyPages&) = delete;
    ReadOnlyPages& operator=(const ReadOnlyPages&) = delete;
    ~ReadOnlyPages() { Release(); }

    bool Hold(const void* address) const {
        const auto* byte = static_cast<const uint8_t*>(address);
        return byte >= m_pages && byte < m_pages + m_bytes;
    }
    void Release() const { mprotect(m_pages, m_bytes, PROT_READ | PROT_WRITE); }

  private:
    uint8_t* m_pages = nullptr;
    size_t m_bytes = 0;
};

/// The tables that are large enough to have whole pages.
struct ReadOnlyTables {
    const ReadOnlyPages pages[6] = {ReadOnlyPages(Vexa::auiYUVC_UV), ReadOnlyPages(Vexa::aucYUV2G),
                                    ReadOnlyPages(Vexa::auiYUV2G),   ReadOnlyPages(Vexa::aucYV2R),
                                    ReadOnlyPages(Vexa::auiYV2R),    ReadOnlyPages(Vexa::aucYU2B)};
};

TEST_F(LookupTables, ASecondCallWritesNothing) {
    // So that it may run beside conversions. A write ends this program.
    const ReadOnlyTables tables;
    EXPECT_EQ(PrepareLUT(), UTL_STS_SUCCESS);
}

/// What the handler of the first write into each table finds.
const ReadOnlyTables* s_watched = nullptr;
size_t s_firstWrites = 0;
size_t s_firstWritesAfterReady = 0;

void OnFirstWrite(int /*signal*/, siginfo_t* info, void* /*context*/) {
    for (const ReadOnlyPages& pages : s_watched->pages) {
        if (pages.Hold(info->si_addr)) {
            pages.Release();
            ++s_firstWrites;
            s_firstWritesAfterReady += Vexa::s_bLUTReady ? 1 : 0;
            return;
        }
    }
    std::abort();
}

template <class Entry, size_t count>
void Clear(Entry (&table)[count]) {
    std::fill(std::begin(table), std::end(table), Entry{0});
}

TEST_F(LookupTables, AreFullBeforeTheyAreAnnounced) {
    Clear(Vexa::auiYUVC_UV);
    Clear(Vexa::aucYUV2G);
    Clear(Vexa::auiYUV2G);
    Clear(Vexa::aucYV2R);
    Clear(Vexa::auiYV2R);
    Clear(Vexa::aucYU2B);
    Vexa::s_bLUTReady = false;
    const ReadOnlyTables tables;
    s_watched = &tables;
    struct sigaction action = {};
    struct sigaction before = {};
    action.sa_sigaction = OnFirstWrite;
    action.sa_flags = SA_SIGINFO;
    ASSERT_EQ(sigaction(SIGSEGV, &action, &before), 0);
    const UtlStatus status = PrepareLUT();
    ASSERT_EQ(sigaction(SIGSEGV, &before, nullptr), 0);
    EXPECT_EQ(status, UTL_STS_SUCCESS);
    EXPECT_TRUE(Vexa::s_bLUTReady);
    EXPECT_EQ(s_firstWrites, std::size(tables.pages));
    EXPECT_EQ(s_firstWritesAfterReady, 0u);
}

/// Tables that another rounding mode, or unmasked exceptions, could have changed.
TEST_F(LookupTables, NoFloatingPointEnvironmentMatters) {
    auto rows = std::make_unique<uint8_t[]>(sizeof Vexa::auiYUVC_UV);
    auto red = std::make_unique<uint8_t[]>(sizeof Vexa::aucYV2R);
    auto blue = std::make_unique<uint8_t[]>(sizeof Vexa::aucYU2B);
    std::memcpy(rows.get(), Vexa::auiYUVC_UV, sizeof Vexa::auiYUVC_UV);
    std::memcpy(red.get(), Vexa::aucYV2R, sizeof Vexa::aucYV2R);
    std::memcpy(blue.get(), Vexa::aucYU2B, sizeof Vexa::aucYU2B);
    std::fenv_t before;
    std::fegetenv(&before);
    for (const int mode : {FE_DOWNWARD, FE_UPWARD, FE_TOWARDZERO, FE_TONEAREST}) {
        std::fesetround(mode);
        feenableexcept(FE_ALL_EXCEPT);
        const UtlStatus status = PrepareLUT();
        std::fesetenv(&before);
        EXPECT_EQ(status, UTL_STS_SUCCESS);
        EXPECT_EQ(std::memcmp(rows.get(), Vexa::auiYUVC_UV, sizeof Vexa::auiYUVC_UV), 0) << mode;
        EXPECT_EQ(std::memcmp(red.get(), Vexa::aucYV2R, sizeof Vexa::aucYV2R), 0) << mode;
        EXPECT_EQ(std::memcmp(blue.get(), Vexa::aucYU2B, sizeof Vexa::aucYU2B), 0) << mode;
    }
}

}  // namespace
