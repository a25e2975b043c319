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

#ifndef VEXACAMUTL_ACPI_STRIP
#define VEXACAMUTL_ACPI_STRIP 1024
#endif
/// Columns of a strip; even, so that every strip starts on the same colour. Tests build with a small one.
constexpr size_t kStripWidth = VEXACAMUTL_ACPI_STRIP;
static_assert(kStripWidth % 2 == 0);

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

/// Green of the columns first - 1 to last of row r, where [first, last) is a strip of the interior: column 1, column
/// w-2 and the rows 1 and h-2 belong to the ring.
template <class Phase>
void FillGreenLine(uint8_t* line, const Mosaic& frame, size_t r, size_t first, size_t last) {
    const RowKind kind = KindOfRow<Phase>(r);
    const auto ringGreen = [&](size_t c) {
        line[c - (first - 1)] = static_cast<uint8_t>(RingPixel(frame, r, c, kind).green);
    };
    size_t from = first - 1;
    size_t to = last + 1;
    if (r < kRing || r + kRing >= frame.height) {
        for (size_t c = from; c < to; ++c) {
            ringGreen(c);
        }
        return;
    }
    if (from < kRing) {
        ringGreen(from++);
    }
    if (to + kRing > frame.width) {
        ringGreen(--to);
    }
    const uint8_t* const rows[5] = {frame.Row(r - 2) + from, frame.Row(r - 1) + from, frame.Row(r) + from,
                                    frame.Row(r + 1) + from, frame.Row(r + 2) + from};
    s_psKernels->acpiGreen[IsGreenSite(kind, from)](line + (from - (first - 1)), rows, to - from);
}

/// The interior columns [first, last) of all interior rows; `first` is even.
template <class Phase, Kernels::Layout layout>
void ConvertStrip(uint8_t* dst, const Mosaic& frame, size_t first, size_t last) {
    alignas(64) uint8_t lines[3][kStripWidth + 2];
    uint8_t* above = lines[0];
    uint8_t* here = lines[1];
    uint8_t* below = lines[2];
    FillGreenLine<Phase>(above, frame, kRing - 1, first, last);
    FillGreenLine<Phase>(here, frame, kRing, first, last);
    for (size_t r = kRing; r + kRing < frame.height; ++r) {
        FillGreenLine<Phase>(below, frame, r + 1, first, last);
        const RowKind kind = KindOfRow<Phase>(r);
        const uint8_t* const greens[3] = {above + 1, here + 1, below + 1};
        const uint8_t* const samples[3] = {frame.Row(r - 1) + first, frame.Row(r) + first, frame.Row(r + 1) + first};
        const bool redRow = HoldsRed(kind);
        const Kernels::AcpiColour kernel = Border<Phase>::kWrapsBlueTies && redRow
                                               ? s_psKernels->acpiColourWrappingTie[IsGreenSite(kind, first)][layout]
                                               : s_psKernels->acpiColour[kind][layout];
        kernel(dst + (r * frame.width + first) * Kernels::kBytesPerPixel<layout>, greens, samples, last - first);
        std::swap(above, here);
        std::swap(here, below);
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
    for (size_t r = 0; r < frame.height; ++r) {
        if (r < kRing || r + kRing >= frame.height) {
            ConvertRingRow<Phase, layout>(out, frame, r);
            continue;
        }
        for (size_t c = 0; c < std::min(kRing, frame.width); ++c) {
            ConvertBorderPixel<Phase, layout>(out, frame, r, c);
        }
        for (size_t c = std::max(kRing, frame.width - std::min(kRing, frame.width)); c < frame.width; ++c) {
            ConvertBorderPixel<Phase, layout>(out, frame, r, c);
        }
    }
    if (frame.height <= 2 * kRing) {
        return UTL_STS_SUCCESS;
    }
    for (size_t first = kRing; first + kRing < frame.width; first += kStripWidth) {
        ConvertStrip<Phase, layout>(out, frame, first, std::min(first + kStripWidth, frame.width - kRing));
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
