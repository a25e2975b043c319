// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The kernels for x86-64 processors with AVX-512 F, BW, VL and DQ but without VBMI: those that compute colours.
// Families that memory bounds gain nothing from longer registers, which lower the clock of these processors, and keep
// the kernels of AVX2. This file is compiled for them, so it must not emit anything that the linker could share with
// other files: everything has internal linkage.
#if defined(__GNUC__) && !defined(__clang__) && __GNUC__ < 13
// GCC bug 105593: the "undefined" operands inside its own AVX-512 intrinsics are reported.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"
#endif
#include <immintrin.h>

#include "kernels/KernelTable.h"

namespace Vexa::Kernels {
namespace Avx512Bw {
namespace {

/// Serves what is too short for these registers, and the families that keep its kernels.
constexpr const KernelTable& kFallback = kAvx2Table;

#include "kernels/vector/Avx512Bw.inc"

// Blocks and rows come before the families that are made of them.
#include "kernels/simd/Blocks.inc"

#include "kernels/simd/BayerRow.inc"

#include "kernels/simd/Acpi.inc"
#include "kernels/simd/Bayer8.inc"
#include "kernels/simd/BayerN.inc"

#include "kernels/simd/BayerNInOrder.inc"

#include "kernels/simd/Copy.inc"

#include "kernels/simd/YuvParts.inc"

#include "kernels/simd/Yuv.inc"

#include "kernels/FillComputedColours.inc"

/// An entry of the other table. That table is filled in another file, so its entries can only be called.
template <Run KernelTable::*kEntry>
void Kept(uint8_t* dst, const uint8_t* src, size_t count) {
    (kFallback.*kEntry)(dst, src, count);
}
template <Run (KernelTable::*kEntries)[kLayoutCount], Layout layout>
void Kept(uint8_t* dst, const uint8_t* src, size_t count) {
    (kFallback.*kEntries)[layout](dst, src, count);
}
template <ShiftedRun (KernelTable::*kEntries)[kLayoutCount], Layout layout>
void Kept(uint8_t* dst, const uint8_t* src, size_t count, uint32_t shift) {
    (kFallback.*kEntries)[layout](dst, src, count, shift);
}

template <Layout layout>
constexpr void KeepLayout(KernelTable& table) {
    table.mono8[layout] = Kept<&KernelTable::mono8, layout>;
    table.monoN[layout] = Kept<&KernelTable::monoN, layout>;
    table.rgb8[layout] = Kept<&KernelTable::rgb8, layout>;
    table.rgbN[layout] = Kept<&KernelTable::rgbN, layout>;
    table.bgrN[layout] = Kept<&KernelTable::bgrN, layout>;
}

constexpr KernelTable MakeTable() {
    KernelTable table = {};
    table.name = "avx512bw";
    FillComputedColours(table);
    KeepLayout<kBgra>(table);
    KeepLayout<kBgr>(table);
    table.copy = Copy;
    table.upsideDown = UpsideDown;
    table.bgr8ToBgra = Kept<&KernelTable::bgr8ToBgra>;
    table.reverse8 = Kept<&KernelTable::reverse8>;
    table.reverse16 = Kept<&KernelTable::reverse16>;
    table.reverse24 = Kept<&KernelTable::reverse24>;
    table.reverse48 = Kept<&KernelTable::reverse48>;
    table.reverseYuv411 = Kept<&KernelTable::reverseYuv411>;
    table.reverseYuv422 = Kept<&KernelTable::reverseYuv422>;
    return table;
}

}  // namespace
}  // namespace Avx512Bw

constinit const KernelTable kAvx512BwTable = Avx512Bw::MakeTable();

}  // namespace Vexa::Kernels
