// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// 8-bit Bayer frames to BGRA and BGR, adaptive colour-plane interpolation (ACPI).
//
//     +--------------------------+
//     | ring, two pixels wide:   |    First green is found everywhere, then red and blue from their difference to
//     | plain means              |    green. The frame is taken in strips of columns; per strip three lines of green
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

constexpr size_t kRing = 2;  ///< rows and columns around the picture that are plain means

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

/// A pixel of the ring: bilinear, but on the outer ring green comes from the two neighbours along the border only (at
/// the corners from the two that exist).
SitePixel RingPixel(const Mosaic& frame, size_t r, size_t c, RowKind kind) {
    SitePixel site = BilinearPixel(frame, r, c, kind, {});
    if (IsGreenSite(kind, c)) {
        return site;
    }
    const bool endOfColumn = r == 0 || r + 1 == frame.height;
    const bool endOfRow = c == 0 || c + 1 == frame.width;
    if (endOfColumn && !endOfRow) {
        site.green = (frame.At(r, c - 1) + frame.At(r, c + 1)) >> 1;
    } else if (endOfRow && !endOfColumn) {
        site.green = (frame.At(r - 1, c) + frame.At(r + 1, c)) >> 1;
    }
    return site;
}

/// The departures of the left and right column, whole picture rows only.
template <class Phase>
void ApplyBorderTraits(SitePixel& site, const Mosaic& frame, size_t r, size_t c) {
    using Traits = Border<Phase>;
    const RowKind kind = KindOfRow<Phase>(r);
    if (r < kRing || r + kRing >= frame.height || IsGreenSite(kind, c)) {
        return;
    }
    const bool redSite = HoldsRed(kind);
    const bool leftColumn = c == 0;
    const bool rightColumn = c + 1 == frame.width;
    const auto verticals = [&] { return frame.At(r - 1, c) + frame.At(r + 1, c); };
    if (redSite &&
        ((Traits::kLeftColumnBlueFromGreens && leftColumn) || (Traits::kRightColumnBlueFromGreens && rightColumn))) {
        site.z = verticals() >> 1;
    }
    if (redSite && Traits::kRightColumnGreenOfThree && rightColumn && !leftColumn) {
        site.green = (verticals() + frame.At(r, c - 1)) / 3;
    }
}

template <class Phase, Kernels::Layout layout>
void ConvertBorderPixel(uint8_t* dst, const Mosaic& frame, size_t r, size_t c) {
    const RowKind kind = KindOfRow<Phase>(r);
    SitePixel site = RingPixel(frame, r, c, kind);
    ApplyBorderTraits<Phase>(site, frame, r, c);
    const size_t pixel = r * frame.width + c;
    if (kLeavesRedOfSecondRowEnd<Phase, layout> && r == 1 && c + 1 == frame.width) {
        site.x = dst[pixel * Kernels::kBytesPerPixel<layout> + 2];
    }
    StoreSite<layout>(dst, pixel, kind, site);
}

/// A row of the ring: all of rows 0, 1, h-2 and h-1.
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
};

void SetSite(AcpiLine& line, size_t pair, const SitePixel& site, bool greenSite) {
    if (greenSite) {
        line.clear[pair] = static_cast<int16_t>(site.green);
        return;
    }
    line.sample[pair] = static_cast<int16_t>(site.x);
    line.green[pair] = static_cast<int16_t>(site.green);
    line.twice[pair] = static_cast<int16_t>(2 * site.x - site.green);
}

/// The pair before and the pair after a strip, pairs 0 and Pairs() + 1, belong to the lines too; where the strip ends
/// at the ring, the one column that is needed of them follows the ring's rule.
template <class Phase>
void FillLine(AcpiLine& line, const Mosaic& frame, size_t r, const Strip& strip) {
    const RowKind kind = KindOfRow<Phase>(r);
    const auto setRingSite = [&](size_t c) {
        const size_t pair = (c + 2 - strip.first) / 2;
        SetSite(line, pair, RingPixel(frame, r, c, kind), IsGreenSite(kind, c));
    };
    if (r < kRing || r + kRing >= frame.height) {
        for (size_t c = strip.first - 1; c <= strip.last; ++c) {
            setRingSite(c);
        }
        return;
    }
    const bool startsAtRing = strip.first == kRing;
    const bool endsAtRing = strip.last + kRing == frame.width;
    const size_t base = strip.first - 2;
    const uint8_t* const rows[5] = {frame.Row(r - 2) + base, frame.Row(r - 1) + base, frame.Row(r) + base,
                                    frame.Row(r + 1) + base, frame.Row(r + 2) + base};
    s_psKernels->acpiGreen[StartsWithGreen(kind)](&line, rows, startsAtRing ? 1 : 0,
                                                  strip.Pairs() + (endsAtRing ? 1 : 2));
    if (startsAtRing) {
        setRingSite(strip.first - 1);
    }
    if (endsAtRing) {
        setRingSite(strip.last);
    }
}

template <class Phase, Kernels::Layout layout>
void ConvertStrip(uint8_t* dst, const Mosaic& frame, const Strip& strip) {
    AcpiLine lines[3];
    AcpiLine* above = &lines[0];
    AcpiLine* here = &lines[1];
    AcpiLine* below = &lines[2];
    FillLine<Phase>(*above, frame, kRing - 1, strip);
    FillLine<Phase>(*here, frame, kRing, strip);
    for (size_t r = kRing; r + kRing < frame.height; ++r) {
        FillLine<Phase>(*below, frame, r + 1, strip);
        const RowKind kind = KindOfRow<Phase>(r);
        const Kernels::AcpiColour kernel = Border<Phase>::kWrapsBlueTies && HoldsRed(kind)
                                               ? s_psKernels->acpiColourWrappingTie[StartsWithGreen(kind)][layout]
                                               : s_psKernels->acpiColour[kind][layout];
        kernel(dst + (r * frame.width + strip.first) * Kernels::kBytesPerPixel<layout>, above, here, below,
               strip.Pairs());
        std::swap(above, here);
        std::swap(here, below);
    }
}

/// What of row r lies in the ring. It comes after the strips: of an odd width their last pair covers a ring column.
template <class Phase, Kernels::Layout layout>
void ConvertRing(uint8_t* dst, const Mosaic& frame, size_t r) {
    if (r < kRing || r + kRing >= frame.height) {
        ConvertRingRow<Phase, layout>(dst, frame, r);
        return;
    }
    const size_t left = std::min(kRing, frame.width);
    for (size_t c = 0; c < left; ++c) {
        ConvertBorderPixel<Phase, layout>(dst, frame, r, c);
    }
    for (size_t c = std::max(left, frame.width - left); c < frame.width; ++c) {
        ConvertBorderPixel<Phase, layout>(dst, frame, r, c);
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
    const bool hasInteriorRows = frame.height > 2 * kRing;
    for (size_t first = kRing; hasInteriorRows && first + kRing < frame.width; first += kAcpiStripColumns) {
        ConvertStrip<Phase, layout>(out, frame, {first, std::min(first + kAcpiStripColumns, frame.width - kRing)});
    }
    for (size_t r = 0; r < frame.height; ++r) {
        ConvertRing<Phase, layout>(out, frame, r);
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
