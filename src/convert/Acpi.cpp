// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// 8-bit Bayer frames to BGRA and BGR, adaptive colour-plane interpolation (ACPI).
//
//     +--------------------------+
//     | ring, two pixels wide:   |    First green is found everywhere, then red and blue from their difference to
//     | bilinear                 |    green. The frame is taken in strips of columns; per strip three lines of green
//     |   +------------------+   |    lie on the stack, so that nothing is allocated and the destination is written
//     |   | strip | strip |..|   |    once.
//     |   |                  |   |
//     |   +------------------+   |
//     +--------------------------+
//
// Pictures taken with this mode have fixed a few border values that no rule explains; they are the traits of Border
// below and are applied after everything else, so that no loop knows of them.
#include <algorithm>

#include "convert/BayerFrame.h"

using namespace Vexa;
using enum Kernels::Layout;

namespace {

using Kernels::Sample8;
using Mosaic = Frame<Sample8>;

using Kernels::AcpiLine;
using Kernels::kAcpiStripColumns;

constexpr size_t kRing = 2;  ///< rows and columns around the picture that are bilinear

/// Required departures of single phases at the border.
template <class Phase>
struct Border {
    static constexpr bool kWrapsBlueTies = false;
    static constexpr bool kLeftColumnBlueFromGreens = false;
    static constexpr bool kRightColumnBlueFromGreens = false;
    static constexpr bool kRightColumnGreenOfThree = false;
};
template <>
struct Border<PhaseRG> : Border<void> {
    static constexpr bool kWrapsBlueTies = true;
    static constexpr bool kLeftColumnBlueFromGreens = true;
};
template <>
struct Border<PhaseGR> : Border<void> {
    static constexpr bool kRightColumnBlueFromGreens = true;
};
template <>
struct Border<PhaseBG> : Border<void> {
    static constexpr bool kRightColumnGreenOfThree = true;
};

/// Required: this one byte of BGRA pictures is not written.
template <class Phase, Kernels::Layout layout>
constexpr bool kLeavesRedOfSecondRowEnd = false;
template <>
constexpr bool kLeavesRedOfSecondRowEnd<PhaseBG, kBgra> = true;

template <class Phase>
RowKind KindOfRow(size_t r) {
    return r % 2 == 0 ? Phase::kEvenRow : Phase::kOddRow;
}

/// The first or last pixel of a row of the ring: bilinear, but on the outer ring green comes from the two neighbours
/// along the border only (at the corners from the two that exist).
SitePixel RingPixel(const Mosaic& frame, size_t r, size_t c, RowKind kind) {
    SitePixel site = BilinearPixel(frame, r, c, kind, {});
    const bool corner = r == 0 || r + 1 == frame.height;
    if (!corner && !IsGreenSite(kind, c)) {
        site.green = (frame.At(r - 1, c) + frame.At(r + 1, c)) >> 1;
    }
    return site;
}

RowsAround RowsOf(const Mosaic& frame, size_t r) {
    return {frame.RowAbove(r), frame.Row(r), frame.RowBelow(r)};
}

/// As RingPixel for the second ring, which has neighbours on all sides: plainly bilinear.
SitePixel SecondRingPixel(const RowsAround& rows, size_t c, RowKind kind) {
    return Kernels::InsidePixel<Sample8>(rows, c, IsGreenSite(kind, c), {});
}

/// As RingPixel for the first or last pixel of a row of the interior; `inner` is the column beside it.
SitePixel OuterRingPixel(const RowsAround& rows, size_t c, size_t inner, RowKind kind) {
    const bool greenSite = IsGreenSite(kind, c);
    SitePixel site = Kernels::EndOfRowPixel<Sample8>(rows, c, inner, greenSite, {});
    if (!greenSite) {
        site.green = (Sample8::At(rows.above, c) + Sample8::At(rows.below, c)) >> 1;
    }
    return site;
}

/// The departures of the left and right column, whole picture rows only.
template <class Phase>
[[gnu::always_inline]] inline void ApplyBorderTraits(SitePixel& site, const Mosaic& frame, size_t r, size_t c,
                                                     RowKind kind) {
    using Traits = Border<Phase>;
    if (r < kRing || r + kRing >= frame.height || IsGreenSite(kind, c)) {
        return;
    }
    const bool redSite = HoldsRed(kind);
    const bool leftColumn = c == 0;
    const auto verticals = [&] { return frame.At(r - 1, c) + frame.At(r + 1, c); };
    // The red sites of GR and BG lie in odd columns, so the one that comes here is in the right column.
    if (redSite && ((Traits::kLeftColumnBlueFromGreens && leftColumn) || Traits::kRightColumnBlueFromGreens)) {
        site.other = verticals() >> 1;
    }
    if (redSite && Traits::kRightColumnGreenOfThree) {
        site.green = (verticals() + frame.At(r, c - 1)) / 3;
    }
}

template <class Phase, Kernels::Layout layout>
void ConvertBorderPixel(uint8_t* dst, const Mosaic& frame, size_t r, size_t c) {
    const RowKind kind = KindOfRow<Phase>(r);
    SitePixel site = RingPixel(frame, r, c, kind);
    ApplyBorderTraits<Phase>(site, frame, r, c, kind);
    const size_t pixel = r * frame.width + c;
    if (kLeavesRedOfSecondRowEnd<Phase, layout> && r == 1 && c + 1 == frame.width) {
        site.rowColour = dst[pixel * Kernels::kBytesPerPixel<layout> + 2];
    }
    Kernels::StoreSite<layout>(dst, pixel, HoldsRed(kind), site);
}

/// A row that lies in the ring: rows 0, 1, h-2 and h-1, and every row of a frame that is all ring.
template <class Phase, Kernels::Layout layout>
void ConvertRingRow(uint8_t* dst, const Mosaic& frame, size_t r) {
    const bool outer = r == 0 || r + 1 == frame.height;
    if (frame.width >= 3) {
        s_psKernels->bayer8[outer ? Kernels::kSideGreens : Kernels::kFourGreens][KindOfRow<Phase>(r)][layout](
            dst + r * frame.width * Kernels::kBytesPerPixel<layout>, frame.RowAbove(r), frame.Row(r), frame.RowBelow(r),
            frame.width);
    }
    ConvertBorderPixel<Phase, layout>(dst, frame, r, 0);
    if (frame.width > 1) {
        ConvertBorderPixel<Phase, layout>(dst, frame, r, frame.width - 1);
    }
}

/// A strip: the interior columns [first, last), in whole pairs; `first` is even.
struct Strip {
    size_t first;
    size_t last;

    size_t Pairs() const { return (last - first + 1) / 2; }
    bool StartsAtRing() const { return first == kRing; }
    bool EndsAtRing(const Mosaic& frame) const { return last + kRing == frame.width; }
};

/// A row-colour site of the second ring: bilinear.
void SetRingSite(AcpiLine& line, size_t pair, const RowsAround& rows, size_t c) {
    const SitePixel site = Kernels::InsidePixel<Sample8>(rows, c, false, {});
    line.sample[pair] = static_cast<int16_t>(site.rowColour);
    line.green[pair] = static_cast<int16_t>(site.green);
    line.doubledMinusGreen[pair] = static_cast<int16_t>(2 * site.rowColour - site.green);
}

/// A line of the second ring, rows 1 and h-2. It is only ever above or below the line that is converted, so its green
/// sites are not read.
void FillRingPairs(AcpiLine& line, const RowsAround& rows, const Strip& strip, RowKind kind) {
    const size_t rowColourAt = StartsWithGreen(kind) ? 1 : 0;
    for (size_t i = 1; i <= strip.Pairs(); ++i) {
        SetRingSite(line, i, rows, strip.first + 2 * (i - 1) + rowColourAt);
    }
}

/// The pair before and the pair after a strip, pairs 0 and Pairs() + 1, belong to the lines too, by the column of them
/// that touches the strip, if that is a row-colour site; where the strip ends at the ring, that column follows the
/// ring's rule.
template <RowKind kind>
void FillLine(AcpiLine& line, const Mosaic& frame, size_t r, const Strip& strip) {
    const RowsAround around = RowsOf(frame, r);
    const auto setRingSite = [&](size_t c) {
        if (!IsGreenSite(kind, c)) {
            SetRingSite(line, (c + 2 - strip.first) / 2, around, c);
        }
    };
    const bool ringRow = r < kRing || r + kRing >= frame.height;
    const bool startsAtRing = ringRow || strip.StartsAtRing();
    const bool endsAtRing = ringRow || strip.EndsAtRing(frame);
    if (ringRow) {
        FillRingPairs(line, around, strip, kind);
    } else {
        const size_t base = strip.first - 2;
        const uint8_t* const rows[5] = {frame.Row(r - 2) + base, around.above + base, around.row + base,
                                        around.below + base, frame.Row(r + 2) + base};
        s_psKernels->acpiGreen[StartsWithGreen(kind)](&line, rows, startsAtRing ? 1 : 0,
                                                      strip.Pairs() + (endsAtRing ? 1 : 2));
    }
    if (startsAtRing) {
        setRingSite(strip.first - 1);
    }
    if (endsAtRing) {
        // For odd widths the last pair spills into the border: its pixel is computed, then replaced.
        const size_t after = strip.Pairs() + 1;
        line.sample[after] = line.green[after] = line.doubledMinusGreen[after] = 0;
        setRingSite(strip.last);
    }
}

/// The two pixels at one end of a row of the interior.
template <class Phase, RowKind kind, Kernels::Layout layout>
void ConvertRingColumns(uint8_t* dst, const Mosaic& frame, size_t r, size_t outer, size_t inner) {
    const RowsAround rows = RowsOf(frame, r);
    SitePixel site = OuterRingPixel(rows, outer, inner, kind);
    ApplyBorderTraits<Phase>(site, frame, r, outer, kind);
    Kernels::StoreSite<layout>(dst, r * frame.width + outer, HoldsRed(kind), site);
    Kernels::StoreSite<layout>(dst, r * frame.width + inner, HoldsRed(kind), SecondRingPixel(rows, inner, kind));
}

/// The three lines that a row of pixels is made from.
struct LinesAround {
    AcpiLine* above;
    AcpiLine* here;
    AcpiLine* below;
};

/// A row of a strip, and the ring columns beside it while they are at hand. Those come after the strip's own pixels:
/// for odd widths the last pair spills into the border. The kinds of rows are constants, since a row has as many cases
/// at its ends as a short one has blocks.
template <class Phase, RowKind kind, RowKind nextKind, Kernels::Layout layout>
void ConvertStripRow(uint8_t* dst, const Mosaic& frame, const Strip& strip, size_t r, LinesAround& lines) {
    FillLine<nextKind>(*lines.below, frame, r + 1, strip);
    const Kernels::AcpiColour kernel = Border<Phase>::kWrapsBlueTies && HoldsRed(kind)
                                           ? s_psKernels->acpiColourWrappingTie[layout]
                                           : s_psKernels->acpiColour[kind][layout];
    kernel(dst + (r * frame.width + strip.first) * Kernels::kBytesPerPixel<layout>, lines.above, lines.here,
           lines.below, strip.Pairs());
    if (strip.StartsAtRing()) {
        ConvertRingColumns<Phase, kind, layout>(dst, frame, r, 0, 1);
    }
    if (strip.EndsAtRing(frame)) {
        ConvertRingColumns<Phase, kind, layout>(dst, frame, r, frame.width - 1, frame.width - 2);
    }
    lines = {lines.here, lines.below, lines.above};
}

/// The interior rows of a strip. They begin with an even one, and an even height leaves whole pairs of them.
template <class Phase, Kernels::Layout layout>
void ConvertStrip(uint8_t* dst, const Mosaic& frame, const Strip& strip) {
    constexpr RowKind kEven = Phase::kEvenRow;
    constexpr RowKind kOdd = Phase::kOddRow;
    AcpiLine memory[3];
    LinesAround lines = {&memory[0], &memory[1], &memory[2]};
    FillLine<kOdd>(*lines.above, frame, kRing - 1, strip);
    FillLine<kEven>(*lines.here, frame, kRing, strip);
    for (size_t r = kRing; r + kRing < frame.height; r += 2) {
        ConvertStripRow<Phase, kEven, kOdd, layout>(dst, frame, strip, r, lines);
        ConvertStripRow<Phase, kOdd, kEven, layout>(dst, frame, strip, r + 1, lines);
    }
}

template <class Phase, Kernels::Layout layout>
UtlStatus ConvertAcpi(void* dst, const void* src, uint32_t width, uint32_t height) {
    if (AnyIsNull(dst, src)) {
        return UTL_STS_INVALID_PARAMETER;
    }
    // Required: of an odd height the last row is left alone, as if it were not there.
    const Mosaic frame = {Bytes(src), width, height & ~1u};
    uint8_t* out = Bytes(dst);
    if (frame.width == 0) {
        return UTL_STS_SUCCESS;
    }
    const bool hasInterior = std::min(frame.width, frame.height) > kRing + kRing;
    const size_t ringRows = hasInterior ? kRing : frame.height;
    for (size_t r = 0; r < ringRows; ++r) {
        ConvertRingRow<Phase, layout>(out, frame, r);
    }
    if (!hasInterior) {
        return UTL_STS_SUCCESS;
    }
    for (size_t first = kRing; first + kRing < frame.width; first += kAcpiStripColumns) {
        ConvertStrip<Phase, layout>(out, frame, {first, std::min(first + kAcpiStripColumns, frame.width - kRing)});
    }
    for (size_t r = frame.height - kRing; r < frame.height; ++r) {
        ConvertRingRow<Phase, layout>(out, frame, r);
    }
    return UTL_STS_SUCCESS;
}

}  // namespace

UtlStatus ConvByrGR8ToBGRAACPI(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvertAcpi<PhaseGR, kBgra>(dst, src, width, height);
}

UtlStatus ConvByrRG8ToBGRAACPI(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvertAcpi<PhaseRG, kBgra>(dst, src, width, height);
}

UtlStatus ConvByrGB8ToBGRAACPI(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvertAcpi<PhaseGB, kBgra>(dst, src, width, height);
}

UtlStatus ConvByrBG8ToBGRAACPI(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvertAcpi<PhaseBG, kBgra>(dst, src, width, height);
}

UtlStatus ConvByrGR8ToBGRACPI(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvertAcpi<PhaseGR, kBgr>(dst, src, width, height);
}

UtlStatus ConvByrRG8ToBGRACPI(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvertAcpi<PhaseRG, kBgr>(dst, src, width, height);
}

UtlStatus ConvByrGB8ToBGRACPI(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvertAcpi<PhaseGB, kBgr>(dst, src, width, height);
}

UtlStatus ConvByrBG8ToBGRACPI(void* dst, const void* src, uint32_t width, uint32_t height) {
    return ConvertAcpi<PhaseBG, kBgr>(dst, src, width, height);
}
