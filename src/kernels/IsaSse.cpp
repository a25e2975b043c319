// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The kernels for x86-64 processors with SSE4.1. This file is compiled for them, so it must not
// emit anything that the linker could share with other files: everything has internal linkage.
#include <immintrin.h>

#include "kernels/KernelTable.h"

namespace Vexa::Kernels {
namespace Sse {
namespace {

/// Serves what is too short for these registers.
constexpr const KernelTable& kFallback = kScalarTable;

#include "kernels/vector/Sse.inc"

// Blocks and rows come before the families that are made of them.
#include "kernels/simd/Blocks.inc"

#include "kernels/simd/BayerRow.inc"

#include "kernels/simd/Acpi.inc"
#include "kernels/simd/Bayer8.inc"
#include "kernels/simd/BayerN.inc"
#include "kernels/simd/Copy.inc"
#include "kernels/simd/Mono.inc"
#include "kernels/simd/PackedColour.inc"
#include "kernels/simd/Reverse.inc"

#include "kernels/simd/YuvParts.inc"

#include "kernels/simd/Yuv.inc"

#include "kernels/MakeTable.inc"

}  // namespace
}  // namespace Sse

constinit const KernelTable kSseTable = Sse::MakeTable("sse4.1");

}  // namespace Vexa::Kernels
