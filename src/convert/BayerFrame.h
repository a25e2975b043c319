// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// What the Bayer converters share: the phases as pairs of row kinds, and the bilinear rule for a single pixel anywhere
// in a frame, borders included. The row kernels know nothing of borders; every border pixel comes from here.
#pragma once

#include <algorithm>

#include "convert/Contract.h"
#include "kernels/scalar/Samples.h"

namespace Vexa {

using Kernels::RowKind;

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
    /// The rows above and below; where one is missing, the other one stands in, so that means of both stay true. A
    /// frame of one row has neither, and nothing reads them there.
    const uint8_t* RowAbove(size_t r) const { return Row(r > 0 ? r - 1 : r + 1); }
    const uint8_t* RowBelow(size_t r) const { return Row(r + 1 < height ? r + 1 : std::max(r, size_t{1}) - 1); }
};

/// The colours of one pixel: green, X (the colour that its row holds) and Z (the other one).
struct SitePixel {
    uint32_t green;
    uint32_t x;
    uint32_t z;
};

template <Kernels::Layout layout>
void StoreSite(uint8_t* dst, size_t pixel, RowKind kind, const SitePixel& site) {
    Kernels::StorePixel<layout>(dst, pixel, HoldsRed(kind) ? site.z : site.x, site.green,
                                HoldsRed(kind) ? site.x : site.z);
}

/// The neighbours of one colour that lie in the picture. Their mean is truncated; the pixel's own sample stands in
/// where there is none, which happens only in frames of one row or one column.
struct KeptNeighbours {
    uint32_t sum = 0;
    uint32_t count = 0;

    void Add(uint32_t sample) {
        sum += sample;
        ++count;
    }

    uint32_t Mean(const Kernels::MeanReduction& mean, uint32_t own) const {
        switch (count) {
            case 0:
                return mean.Own(own);
            case 1:
                return mean.Own(sum);
            case 2:
                return mean.OfTwo(sum);
            default:
                return mean.OfThree(sum);
        }
    }
};

/// The bilinear rule at a pixel that lacks neighbours: the own colour is the own sample, each other one the mean of its
/// nearest neighbours, of which those outside the picture are left out. So there are never four of them.
template <class Sample>
SitePixel BilinearPixel(const Frame<Sample>& frame, size_t r, size_t c, RowKind kind,
                        const Kernels::MeanReduction& mean) {
    constexpr size_t kSides[] = {size_t{0} - 1, 1};
    const bool hasAbove = r > 0;
    const bool hasBelow = r + 1 < frame.height;
    KeptNeighbours sides;
    KeptNeighbours verticals;
    KeptNeighbours corners;
    for (const size_t step : kSides) {
        const size_t column = c + step;  // left of column 0 it wraps to a huge number
        if (column < frame.width) {
            sides.Add(frame.At(r, column));
            if (hasAbove) {
                corners.Add(frame.At(r - 1, column));
            }
            if (hasBelow) {
                corners.Add(frame.At(r + 1, column));
            }
        }
    }
    if (hasAbove) {
        verticals.Add(frame.At(r - 1, c));
    }
    if (hasBelow) {
        verticals.Add(frame.At(r + 1, c));
    }
    const uint32_t own = frame.At(r, c);
    if (IsGreenSite(kind, c)) {
        return {mean.Own(own), sides.Mean(mean, own), verticals.Mean(mean, own)};
    }
    const KeptNeighbours edges = {sides.sum + verticals.sum, sides.count + verticals.count};
    return {edges.Mean(mean, own), mean.Own(own), corners.Mean(mean, own)};
}

/// A row with the rows above and below it.
struct RowsAround {
    const uint8_t* above;
    const uint8_t* row;
    const uint8_t* below;
};

/// The bilinear rule for a pixel that has neighbours on all sides; as BilinearPixel, without its tests.
template <class Sample>
SitePixel InsidePixel(const RowsAround& rows, size_t c, bool greenSite, const Kernels::MeanReduction& mean) {
    const uint32_t own = Sample::At(rows.row, c);
    const uint32_t sides = Sample::At(rows.row, c - 1) + Sample::At(rows.row, c + 1);
    const uint32_t verticals = Sample::At(rows.above, c) + Sample::At(rows.below, c);
    if (greenSite) {
        return {mean.Own(own), mean.OfTwo(sides), mean.OfTwo(verticals)};
    }
    const uint32_t corners = Sample::At(rows.above, c - 1) + Sample::At(rows.above, c + 1) +
                             Sample::At(rows.below, c - 1) + Sample::At(rows.below, c + 1);
    return {mean.OfFour(sides + verticals), mean.Own(own), mean.OfFour(corners)};
}

/// The same for the first or last pixel of a row that has rows on both sides; `inner` is the one column beside it.
template <class Sample>
SitePixel EndOfRowPixel(const RowsAround& rows, size_t c, size_t inner, bool greenSite,
                        const Kernels::MeanReduction& mean) {
    const uint32_t own = Sample::At(rows.row, c);
    const uint32_t side = Sample::At(rows.row, inner);
    const uint32_t verticals = Sample::At(rows.above, c) + Sample::At(rows.below, c);
    if (greenSite) {
        return {mean.Own(own), mean.Own(side), mean.OfTwo(verticals)};
    }
    const uint32_t corners = Sample::At(rows.above, inner) + Sample::At(rows.below, inner);
    return {mean.OfThree(side + verticals), mean.Own(own), mean.OfTwo(corners)};
}

/// Bilinear demosaicing of a whole frame. `rowKernel(rule, kind, dst, rows)` converts the columns of a row that
/// have a neighbour on both sides.
template <class Sample, class Phase, Kernels::Layout layout, class RowKernel>
void DemosaicBilinear(uint8_t* dst, const Frame<Sample>& frame, const Kernels::MeanReduction& mean,
                      RowKernel rowKernel) {
    const size_t width = frame.width;
    if (width == 0) {
        return;  // whatever the height claims, there is nothing to walk through
    }
    for (size_t r = 0; r < frame.height; ++r) {
        const RowKind kind = r % 2 == 0 ? Phase::kEvenRow : Phase::kOddRow;
        uint8_t* dstRow = dst + r * width * Kernels::kBytesPerPixel<layout>;
        const RowsAround rows = {frame.RowAbove(r), frame.Row(r), frame.RowBelow(r)};
        const bool inside = r > 0 && r + 1 < frame.height;
        const auto atAnyPlace = [&](size_t c) {
            StoreSite<layout>(dstRow, c, kind, BilinearPixel(frame, r, c, kind, mean));
        };
        const auto atEndOfRow = [&](size_t c, size_t inner) {
            StoreSite<layout>(dstRow, c, kind, EndOfRowPixel<Sample>(rows, c, inner, IsGreenSite(kind, c), mean));
        };
        // A row kernel takes the one row beside an outer row twice, a true mean while no shift count has wrapped.
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
