// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The seam between the converters and the instruction sets: one struct of functions, filled once per instruction
// set. A converter knows its contract and its borders and calls these for everything else; it never knows which
// processor it runs on. The scalar table is complete and defines every byte: all other tables give the same bytes.
//
// Every kernel reads and writes only the bytes that its comment names, requires no alignment, keeps no state, and is a
// no-op when the count is zero.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Vexa::Kernels {

/// Index of the output layout: BGRA (4 bytes per pixel, alpha 255) or BGR (3 bytes).
enum Layout : unsigned { kBgra, kBgr, kLayoutCount };

template <Layout layout>
inline constexpr size_t kBytesPerPixel = layout == kBgra ? 4 : 3;

/// A row of a Bayer mosaic: what its first sample is and which colour it holds beside green, its row colour. The
/// other colour is that of the rows above and below.
///
///     kGreenBlue  G B G B      kGreenRed  G R G R      kBlueGreen  B G B G      kRedGreen  R G R G
enum RowKind : unsigned { kGreenBlue, kGreenRed, kBlueGreen, kRedGreen, kRowKindCount };

template <RowKind kind>
inline constexpr bool kStartsWithGreen = kind == kGreenBlue || kind == kGreenRed;

template <RowKind kind>
inline constexpr bool kHoldsRed = kind == kGreenRed || kind == kRedGreen;

/// Order of the three samples of a packed-colour pixel.
enum ColourOrder : unsigned { kRgbOrder, kBgrOrder };

/// How green is found at the red and blue sites of a Bayer row.
enum GreenRule : unsigned {
    kFourGreens,   ///< inside: mean of left, right, above and below
    kThreeGreens,  ///< first or last row: left, right and the one row that exists
    kSideGreens,   ///< first or last row of ACPI: left and right only
    kGreenRuleCount
};

/// `count` units of a run, one after another, from src to dst. The unit is a pixel, or a group that shares chroma.
using Run = void (*)(uint8_t* dst, const uint8_t* src, size_t count);

/// As Run, for 16-bit samples w: each becomes the low 8 bits of w >> shift; 0 <= shift < 32.
using ShiftedRun = void (*)(uint8_t* dst, const uint8_t* src, size_t count, uint32_t shift);

/// EveryOtherByte 1 to width - 2 of one Bayer row, all samples 8 bits. Reads `width` samples of each of the three rows
/// and writes the pixels of those columns; dst is pixel 0 of the row. Nothing for a width below 3. In the first and
/// last row of a picture both `above` and `below` are the one row that exists.
using BayerRow = void (*)(uint8_t* dst, const uint8_t* above, const uint8_t* row, const uint8_t* below, size_t width);

/// As BayerRow with 16-bit samples: means at full depth, then shifted; 0 <= shift < 32, sums of it modulo 32.
using ShiftedBayerRow = void (*)(uint8_t* dst, const uint8_t* above, const uint8_t* row, const uint8_t* below,
                                 size_t width, uint32_t shift);

/// EveryOtherByte that ACPI takes at a time; even, so that every strip starts with the same colours.
inline constexpr size_t kAcpiStripColumns = 4096;
static_assert(kAcpiStripColumns % 2 == 0);

/// One row of a strip as ACPI works on it: pairs of columns, the green site and the red or blue site of a pair apart.
/// A row that starts with green has its green sites in even columns, every other row in odd ones.
///
///     columns   first-2 first-1 | first first+1 | ...         green sites           greenSample[i]
///     pair             0        |       1       | ...         row-colour sites      sample[i], green[i],
///     doubledMinusGreen[i]
struct AcpiLine {
    static constexpr size_t kPairs = kAcpiStripColumns / 2 + 2;

    alignas(64) int16_t greenSample[kPairs];  ///< sample at the green site; read only of the line that is converted
    alignas(64) int16_t sample[kPairs];       ///< sample at the row-colour site
    alignas(64) int16_t green[kPairs];        ///< green found there
    alignas(64) int16_t doubledMinusGreen[kPairs];  ///< 2 * sample - green
};

/// ACPI, first step: pairs [from, to) of a line of the interior. rows[2] is the row at the first column of pair 0,
/// rows[0] to rows[4] the two above to the two below; of rows[2] two columns more are read on both sides of the pairs.
using AcpiGreen = void (*)(AcpiLine* line, const uint8_t* const rows[5], size_t from, size_t to);

/// ACPI, second step: the pixels of `count` pairs from pair 1 on, from the lines above, here and below, of which pairs
/// 0 to count + 1 are read.
using AcpiColour = void (*)(uint8_t* dst, const AcpiLine* above, const AcpiLine* here, const AcpiLine* below,
                            size_t count);

/// Copies `height` rows: dst row r is the source row that lies r rows before lastRow.
using UpsideDownRows = void (*)(uint8_t* dst, const uint8_t* lastRow, size_t rowBytes, size_t height);

struct KernelTable {
    const char* name;

    Run mono8[kLayoutCount];
    ShiftedRun monoN[kLayoutCount];
    Run rgb8[kLayoutCount];
    Run bgr8ToBgra;
    ShiftedRun rgbN[kLayoutCount];
    ShiftedRun bgrN[kLayoutCount];

    // Groups: U Y Y V Y Y (6 bytes, 4 pixels); U Y V Y (4 bytes, 2 pixels), to BGR with a fifth byte that is skipped;
    // U Y V and a fourth byte that is skipped (1 pixel).
    Run yuv411[kLayoutCount];
    Run yuv422[kLayoutCount];
    Run yuv444[kLayoutCount];

    BayerRow bayer8[kGreenRuleCount][kRowKindCount][kLayoutCount];
    ShiftedBayerRow bayerN[2][kRowKindCount][kLayoutCount];  ///< kFourGreens and kThreeGreens

    AcpiGreen acpiGreen[2];  ///< [row starts with green]
    AcpiColour acpiColour[kRowKindCount][kLayoutCount];
    AcpiColour acpiColourWrappingTie[kLayoutCount];  ///< rows with red of RG frames, which start with it

    Run copy;  ///< of bytes
    UpsideDownRows upsideDown;

    // Units in reverse order: dst unit k is src unit count - 1 - k, its luma samples reversed too.
    Run reverse8;
    Run reverse16;
    Run reverse24;
    Run reverse48;
    Run reverseYuv411;
    Run reverseYuv422;
};

extern const KernelTable kScalarTable;
#if defined(__x86_64__)
extern const KernelTable kSseTable;       ///< SSE4.1
extern const KernelTable kAvx2Table;      ///< AVX2
extern const KernelTable kAvx512BwTable;  ///< AVX-512 F, BW, VL and DQ
extern const KernelTable kAvx512Table;    ///< AVX-512 F, BW, VL, DQ and VBMI
#elif defined(__aarch64__)
extern const KernelTable kNeonTable;
#elif defined(__wasm__)
extern const KernelTable kWasmTable;
#endif

}  // namespace Vexa::Kernels
