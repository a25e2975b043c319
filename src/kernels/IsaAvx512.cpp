// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The kernels for x86-64 processors with AVX-512 F, BW, VL, DQ and VBMI. This file is compiled for them, so it must not
// emit anything that the linker could share with other files: everything has internal linkage.
#if defined(__GNUC__) && !defined(__clang__) && __GNUC__ < 13
// GCC bug 105593: the "undefined" operands inside its own AVX-512 intrinsics are reported.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"
#endif
#include <immintrin.h>

#include "kernels/KernelTable.h"

namespace Vexa::Kernels {
namespace Avx512 {
namespace {

/// Serves what is too short for these registers.
constexpr const KernelTable& kNarrower = kAvx2Table;

#include "kernels/lanes/Avx512.inc"

#include "kernels/rows/Runs.inc"

#include "kernels/rows/Acpi.inc"
#include "kernels/rows/Bayer.inc"
#include "kernels/rows/Reverse.inc"
#include "kernels/rows/Yuv.inc"

#include "kernels/MakeTable.inc"

}  // namespace
}  // namespace Avx512

constinit const KernelTable kAvx512Table = Avx512::MakeTable("avx512");

}  // namespace Vexa::Kernels
