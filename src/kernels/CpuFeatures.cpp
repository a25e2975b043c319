// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The whole choice on one screen: a ladder of tables, each with the features that its code uses. A processor climbs it
// and stays below the first rung that lacks something; an unknown processor uses the scalar table.
#include "kernels/CpuFeatures.h"

#include <array>
#if defined(__x86_64__)
#include <cpuid.h>
#endif

namespace Vexa::Kernels {
namespace {

/// Bits that all have to be set.
struct Rung {
    const KernelTable* table;
    Processor words;
};

#if defined(__x86_64__)

constexpr uint32_t Bit(unsigned number) {
    return 1u << number;
}

constexpr uint32_t kSsse3 = Bit(9), kFma = Bit(12), kSse41 = Bit(19);        // leaf 1, ECX
constexpr uint32_t kOsXsave = Bit(27), kAvx = Bit(28);                       // leaf 1, ECX
constexpr uint32_t kAvx2 = Bit(5), kAvx512F = Bit(16), kAvx512Dq = Bit(17);  // leaf 7, EBX
constexpr uint32_t kAvx512Bw = Bit(30), kAvx512Vl = Bit(31);                 // leaf 7, EBX
constexpr uint32_t kAvx512Vbmi = Bit(1);                                     // leaf 7, ECX
constexpr uint32_t kSavesYmm = 0x06, kSavesZmm = 0xE6;                       // XCR0

constinit const std::array<Rung, 5> kLadder = {{
    {&kScalarTable, {}},
    {&kSseTable, {kSsse3 | kSse41, 0, 0, 0}},
    {&kAvx2Table, {kFma | kOsXsave | kAvx, kAvx2, 0, kSavesYmm}},
    {&kAvx512BwTable, {0, kAvx512F | kAvx512Dq | kAvx512Bw | kAvx512Vl, 0, kSavesZmm}},
    {&kAvx512Table, {0, 0, kAvx512Vbmi, 0}},
}};

constinit const std::array<const KernelTable*, 5> kTables = {&kScalarTable, &kSseTable, &kAvx2Table, &kAvx512BwTable,
                                                             &kAvx512Table};

#elif defined(__aarch64__)

constinit const std::array<Rung, 2> kLadder = {{{&kScalarTable, {}}, {&kNeonTable, {}}}};
constinit const std::array<const KernelTable*, 2> kTables = {&kScalarTable, &kNeonTable};

#elif defined(__wasm__)

// A module with vector instructions is refused as a whole where they are missing.
constinit const std::array<Rung, 2> kLadder = {{{&kScalarTable, {}}, {&kWasmTable, {}}}};
constinit const std::array<const KernelTable*, 2> kTables = {&kScalarTable, &kWasmTable};

#else

constinit const std::array<Rung, 1> kLadder = {{{&kScalarTable, {}}}};
constinit const std::array<const KernelTable*, 1> kTables = {&kScalarTable};

#endif

bool HasAll(const Processor& has, const Processor& needed) {
    return (has.leaf1Ecx & needed.leaf1Ecx) == needed.leaf1Ecx && (has.leaf7Ebx & needed.leaf7Ebx) == needed.leaf7Ebx &&
           (has.leaf7Ecx & needed.leaf7Ecx) == needed.leaf7Ecx && (has.xcr0 & needed.xcr0) == needed.xcr0;
}

#if defined(__x86_64__)

/// What the processor answers; a leaf that it does not have stays zero.
struct CpuidLeaf {
    uint32_t eax = 0;
    uint32_t ebx = 0;
    uint32_t ecx = 0;
    uint32_t edx = 0;

    explicit CpuidLeaf(uint32_t number) { __get_cpuid_count(number, 0, &eax, &ebx, &ecx, &edx); }
};

#endif

}  // namespace

std::span<const KernelTable* const> KernelTables() {
    return kTables;
}

Processor DetectProcessor() {
    Processor processor = {};
#if defined(__x86_64__)
    const CpuidLeaf leaf1(1);
    const CpuidLeaf leaf7(7);
    processor.leaf1Ecx = leaf1.ecx;
    processor.leaf7Ebx = leaf7.ebx;
    processor.leaf7Ecx = leaf7.ecx;
    if ((processor.leaf1Ecx & kOsXsave) != 0) {
        __asm__("xgetbv" : "=a"(processor.xcr0) : "c"(0) : "edx");
    }
#endif
    return processor;
}

const KernelTable& BestTableFor(const Processor& processor) {
    const KernelTable* best = &kScalarTable;
    for (const Rung& needs : kLadder) {
        if (!HasAll(processor, needs.words)) {
            break;
        }
        best = needs.table;
    }
    return *best;
}

bool CanRun(const KernelTable& table, const Processor& processor) {
    for (const Rung& needs : kLadder) {
        if (!HasAll(processor, needs.words)) {
            return false;
        }
        if (needs.table == &table) {
            return true;
        }
    }
    return false;
}

}  // namespace Vexa::Kernels
