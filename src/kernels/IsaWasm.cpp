// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The kernels for WebAssembly with fixed-width SIMD. This file is compiled for it, so it must not emit anything that
// the linker could share with other files: everything has internal linkage.
#include <wasm_simd128.h>

#include <utility>

#include "kernels/KernelTable.h"

namespace Vexa::Kernels {
namespace Wasm {
namespace {

/// Serves what is too short for these registers.
constexpr const KernelTable& kFallback = kScalarTable;

#include "kernels/vector/Wasm.inc"

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
}  // namespace Wasm

constinit const KernelTable kWasmTable = Wasm::MakeTable("wasm");

}  // namespace Vexa::Kernels
