// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Which kernels this processor can run. Reading the processor and deciding are kept apart: the decision is a pure
// function of a few words, so it can be tested with the words of processors that are not at hand.
#pragma once

#include <cstdint>
#include <span>

#include "kernels/KernelTable.h"

namespace Vexa::Kernels {

/// What CPUID and XGETBV report on x86-64; all zero elsewhere, and where a word cannot be read.
struct Processor {
    uint32_t leaf1Ecx = 0;  ///< CPUID leaf 1
    uint32_t leaf7Ebx = 0;  ///< CPUID leaf 7, subleaf 0
    uint32_t leaf7Ecx = 0;  ///< CPUID leaf 7, subleaf 0
    uint32_t xcr0 = 0;      ///< register state that the operating system saves, low half; 0 without OSXSAVE
};

/// All tables that were compiled in, from scalar upwards.
std::span<const KernelTable* const> KernelTables();

Processor DetectProcessor();

/// Whether the processor has everything that the table's code uses.
bool CanRun(const KernelTable& table, const Processor& processor);

/// The last table of KernelTables() that the processor can run, climbing and stopping at the first that it cannot.
const KernelTable& BestTableFor(const Processor& processor);

}  // namespace Vexa::Kernels
