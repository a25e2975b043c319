// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The kernels for x86-64 processors with AVX2. This file is compiled for them, so it must not
// emit anything that the linker could share with other files: everything has internal linkage.
#include <immintrin.h>

#include "kernels/KernelTable.h"

namespace Vexa::Kernels {
namespace Avx2 {
namespace {

/// Serves what is too short for these registers.
constexpr const KernelTable& kNarrower = kSseTable;

#include "kernels/lanes/Avx2.inc"

#include "kernels/rows/Runs.inc"

#include "kernels/rows/Acpi.inc"
#include "kernels/rows/Bayer.inc"
#include "kernels/rows/Reverse.inc"
#include "kernels/rows/Yuv.inc"

#include "kernels/MakeTable.inc"

}  // namespace
}  // namespace Avx2

constinit const KernelTable kAvx2Table = Avx2::MakeTable("avx2");

}  // namespace Vexa::Kernels
