// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The bilinear rule, once: for interior pixels, for borders, for every instruction set's reference.
//
//     corner  vertical  corner       at a green site:        row colour   = mean of the sides
//     side      site    side                                 other colour = mean of the verticals
//     corner  vertical  corner       at a row-colour site:   green        = mean of sides and verticals
//                                                            other colour = mean of the corners
//
// A pixel keeps its own sample as its own colour. Neighbours outside the picture are left out of a mean, which is
// truncated.
#pragma once

#include "kernels/scalar/Samples.h"

namespace Vexa::Kernels {

/// The colours of one pixel.
struct SitePixel {
    uint32_t green;
    uint32_t rowColour;  ///< the colour that its row holds beside green
    uint32_t other;      ///< the colour of the rows above and below
};

template <Layout layout>
void StoreSite(uint8_t* dst, size_t pixel, bool holdsRed, const SitePixel& site) {
    StorePixel<layout>(dst, pixel, holdsRed ? site.other : site.rowColour, site.green,
                       holdsRed ? site.rowColour : site.other);
}

/// Neighbours of one kind that lie in the picture.
struct NeighbourSum {
    uint32_t sum = 0;
    uint32_t count = 0;

    void Add(uint32_t sample) {
        sum += sample;
        ++count;
    }

    /// The pixel's own sample where there are none, which happens only in frames of one row or one column.
    [[gnu::always_inline]] uint32_t Mean(const MeanReduction& mean, uint32_t own) const {
        switch (count) {
            case 0:
                return mean.Own(own);
            case 1:
                return mean.Own(sum);
            case 2:
                return mean.OfTwo(sum);
            case 3:
                return mean.OfThree(sum);
            default:
                return mean.OfFour(sum);
        }
    }
};

struct Neighbours {
    NeighbourSum sides;
    NeighbourSum verticals;
    NeighbourSum corners;
};

[[gnu::always_inline]] inline SitePixel Bilinear(bool greenSite, uint32_t own, const Neighbours& near,
                                                 const MeanReduction& mean) {
    if (greenSite) {
        return {mean.Own(own), near.sides.Mean(mean, own), near.verticals.Mean(mean, own)};
    }
    const NeighbourSum edges = {near.sides.sum + near.verticals.sum, near.sides.count + near.verticals.count};
    return {edges.Mean(mean, own), mean.Own(own), near.corners.Mean(mean, own)};
}

/// A row with the rows above and below it.
struct RowsAround {
    const uint8_t* above;
    const uint8_t* row;
    const uint8_t* below;
};

/// A pixel with neighbours on all sides.
template <class Sample>
[[gnu::always_inline]] inline SitePixel InsidePixel(const RowsAround& rows, size_t c, bool greenSite,
                                                    const MeanReduction& mean) {
    const NeighbourSum sides = {Sample::At(rows.row, c - 1) + Sample::At(rows.row, c + 1), 2};
    const NeighbourSum verticals = {Sample::At(rows.above, c) + Sample::At(rows.below, c), 2};
    const NeighbourSum corners = {Sample::At(rows.above, c - 1) + Sample::At(rows.above, c + 1) +
                                      Sample::At(rows.below, c - 1) + Sample::At(rows.below, c + 1),
                                  4};
    return Bilinear(greenSite, Sample::At(rows.row, c), {sides, verticals, corners}, mean);
}

/// A pixel of the first or last row, with neighbours on both sides; `beside` is the one row next to `row`.
template <class Sample>
[[gnu::always_inline]] inline SitePixel OuterRowPixel(const uint8_t* row, const uint8_t* beside, size_t c,
                                                      bool greenSite, const MeanReduction& mean) {
    const NeighbourSum sides = {Sample::At(row, c - 1) + Sample::At(row, c + 1), 2};
    const NeighbourSum corners = {Sample::At(beside, c - 1) + Sample::At(beside, c + 1), 2};
    return Bilinear(greenSite, Sample::At(row, c), {sides, {Sample::At(beside, c), 1}, corners}, mean);
}

/// The first or last pixel of a row that has rows on both sides; `inner` is the one column beside it.
template <class Sample>
[[gnu::always_inline]] inline SitePixel EndOfRowPixel(const RowsAround& rows, size_t c, size_t inner, bool greenSite,
                                                      const MeanReduction& mean) {
    const NeighbourSum verticals = {Sample::At(rows.above, c) + Sample::At(rows.below, c), 2};
    const NeighbourSum corners = {Sample::At(rows.above, inner) + Sample::At(rows.below, inner), 2};
    return Bilinear(greenSite, Sample::At(rows.row, c), {{Sample::At(rows.row, inner), 1}, verticals, corners}, mean);
}

namespace Scalar {

/// The interior columns of a row. In the first and last row, `above` and `below` are the one row that exists.
template <class Sample, GreenRule rule, RowKind kind, Layout layout>
void BayerColumns(uint8_t* dst, const uint8_t* above, const uint8_t* row, const uint8_t* below, size_t width,
                  MeanReduction mean) {
    for (size_t c = 1; c + 1 < width; ++c) {
        const bool greenSite = (c % 2 == 0) == kStartsWithGreen<kind>;
        SitePixel site;
        if constexpr (rule == kFourGreens) {
            site = InsidePixel<Sample>({above, row, below}, c, greenSite, mean);
        } else {
            site = OuterRowPixel<Sample>(row, below, c, greenSite, mean);
            if (rule == kSideGreens && !greenSite) {
                site.green = mean.OfTwo(Sample::At(row, c - 1) + Sample::At(row, c + 1));
            }
        }
        StoreSite<layout>(dst, c, kHoldsRed<kind>, site);
    }
}

}  // namespace Scalar

}  // namespace Vexa::Kernels
