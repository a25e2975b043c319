// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// What the Bayer converters share: the phases as pairs of row kinds, and the walker of bilinear frames. The row kernels
// do not handle borders; every border pixel comes from here.
#pragma once

#include <algorithm>

#include "convert/Contract.h"
#include "kernels/scalar/Bilinear.h"

namespace Vexa {

using Kernels::RowKind;
using Kernels::RowsAround;
using Kernels::SitePixel;

constexpr bool StartsWithGreen(RowKind kind) {
    return kind == Kernels::kGreenBlue || kind == Kernels::kGreenRed;
}

constexpr bool HoldsRed(RowKind kind) {
    return kind == Kernels::kGreenRed || kind == Kernels::kRedGreen;
}

constexpr bool IsGreenSite(RowKind kind, size_t column) {
    return (column % 2 == 0) == StartsWithGreen(kind);
}

/// A phase names the colours of the first row; the kinds of the even and odd rows follow from it.
struct PhaseGR {
    static constexpr RowKind kEvenRow = Kernels::kGreenRed, kOddRow = Kernels::kBlueGreen;
};
struct PhaseRG {
    static constexpr RowKind kEvenRow = Kernels::kRedGreen, kOddRow = Kernels::kGreenBlue;
};
struct PhaseGB {
    static constexpr RowKind kEvenRow = Kernels::kGreenBlue, kOddRow = Kernels::kRedGreen;
};
struct PhaseBG {
    static constexpr RowKind kEvenRow = Kernels::kBlueGreen, kOddRow = Kernels::kGreenRed;
};

/// A mosaic in memory: rows of `width` samples without padding.
template <class Sample>
struct Frame {
    const uint8_t* samples;
    size_t width;
    size_t height;

    const uint8_t* Row(size_t r) const { return samples + r * width * Sample::kBytes; }
    uint32_t At(size_t r, size_t c) const { return Sample::At(samples, r * width + c); }
    /// The rows above and below. Where one is missing, the existing row is used twice, which leaves the mean unchanged.
    /// A frame of one row has neither, and nothing reads them.
    const uint8_t* RowAbove(size_t r) const { return Row(r > 0 ? r - 1 : r + 1); }
    const uint8_t* RowBelow(size_t r) const { return Row(r + 1 < height ? r + 1 : std::max(r, size_t{1}) - 1); }
};

/// A pixel anywhere in the frame. Neighbours outside the picture are left out.
template <class Sample>
SitePixel BilinearPixel(const Frame<Sample>& frame, size_t r, size_t c, RowKind kind,
                        const Kernels::MeanReduction& mean) {
    constexpr size_t kSides[] = {size_t{0} - 1, 1};
    const bool hasAbove = r > 0;
    const bool hasBelow = r + 1 < frame.height;
    Kernels::Neighbours near;
    for (const size_t step : kSides) {
        const size_t column = c + step;  // left of column 0 it wraps to a huge number
        if (column < frame.width) {
            near.sides.Add(frame.At(r, column));
            if (hasAbove) {
                near.corners.Add(frame.At(r - 1, column));
            }
            if (hasBelow) {
                near.corners.Add(frame.At(r + 1, column));
            }
        }
    }
    if (hasAbove) {
        near.verticals.Add(frame.At(r - 1, c));
    }
    if (hasBelow) {
        near.verticals.Add(frame.At(r + 1, c));
    }
    return Kernels::Bilinear(IsGreenSite(kind, c), frame.At(r, c), near, mean);
}

/// Bilinear demosaicing of a whole frame. `rowKernel(rule, kind, dst, rows)` converts the columns of a row that
/// have a neighbour on both sides.
template <class Sample, class Phase, Kernels::Layout layout, class RowKernel>
void DemosaicBilinear(uint8_t* dst, const Frame<Sample>& frame, const Kernels::MeanReduction& mean,
                      RowKernel rowKernel) {
    const size_t width = frame.width;
    if (width == 0) {
        return;  // there is nothing to convert, even where the height is not 0
    }
    for (size_t r = 0; r < frame.height; ++r) {
        const RowKind kind = r % 2 == 0 ? Phase::kEvenRow : Phase::kOddRow;
        uint8_t* dstRow = dst + r * width * Kernels::kBytesPerPixel<layout>;
        const RowsAround rows = {frame.RowAbove(r), frame.Row(r), frame.RowBelow(r)};
        const bool inside = r > 0 && r + 1 < frame.height;
        const auto atAnyPlace = [&](size_t c) {
            Kernels::StoreSite<layout>(dstRow, c, HoldsRed(kind), BilinearPixel(frame, r, c, kind, mean));
        };
        const auto atEndOfRow = [&](size_t c, size_t inner) {
            Kernels::StoreSite<layout>(dstRow, c, HoldsRed(kind),
                                       Kernels::EndOfRowPixel<Sample>(rows, c, inner, IsGreenSite(kind, c), mean));
        };
        // Passing one row twice gives the exact mean while shift + 1 < 32.
        if (frame.height == 1 || width == 1 || (!inside && mean.CountsWrap())) {
            for (size_t c = 0; c < width; ++c) {
                atAnyPlace(c);
            }
        } else if (inside) {
            atEndOfRow(0, 1);
            rowKernel(Kernels::kFourGreens, kind, dstRow, rows);
            atEndOfRow(width - 1, width - 2);
        } else {
            atAnyPlace(0);
            rowKernel(Kernels::kThreeGreens, kind, dstRow, rows);
            atAnyPlace(width - 1);
        }
    }
}

}  // namespace Vexa
