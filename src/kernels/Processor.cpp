// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
#include "kernels/Processor.h"

#include <array>

namespace Vexa::Kernels {
namespace {

constexpr std::array<const KernelTable*, 1> kTables = {&kPlainTable};

}  // namespace

std::span<const KernelTable* const> Tables() {
    return kTables;
}

Processor DetectProcessor() {
    return {};
}

bool CanRun(const KernelTable& table, const Processor&) {
    return &table == &kPlainTable;
}

const KernelTable& BestTableFor(const Processor& processor) {
    const KernelTable* best = &kPlainTable;
    for (const KernelTable* table : Tables()) {
        if (!CanRun(*table, processor)) {
            break;
        }
        best = table;
    }
    return *best;
}

}  // namespace Vexa::Kernels
