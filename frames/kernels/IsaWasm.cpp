// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The frame kernels for WebAssembly with fixed-width SIMD. This file is compiled for it, so it must not emit anything
// that the linker could share with other files: everything has internal linkage.
#include <wasm_simd128.h>

#include <utility>

#include "kernels/FrameKernels.h"
#include "kernels/KernelTable.h"

namespace VexaFrames {
namespace Wasm {
namespace {

using namespace Vexa::Kernels;

/// Serves what is too short for these registers.
constexpr const FrameKernels& kFallback = kScalarFrameKernels;

#include "kernels/vector/Wasm.inc"

#include "kernels/simd/Blocks.inc"

#include "kernels/LoadShuffled128.inc"

[[gnu::always_inline]] inline I32 SumOfProducts(I16 a, I16 b) {
    return reinterpret_cast<I32>(wasm_i32x4_dot_i16x8(Raw(a), Raw(b)));
}

#include "kernels/FrameRows.inc"

}  // namespace
}  // namespace Wasm

constinit const FrameKernels kWasmFrameKernels = Wasm::MakeFrameKernels("wasm");

}  // namespace VexaFrames
