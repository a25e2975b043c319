// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The two steps of adaptive colour-plane interpolation (ACPI), one pixel after another. Both weigh two directions by
// the difference of the neighbours plus the size of a second difference, and follow the flatter one; the second
// difference, a quarter of it, corrects the mean.
//
//     green at a row-colour site   X . X . X     horizontal: the two g beside it and the X two columns away
//                                    . g .       vertical:   the two g above and below and the X two rows away
//     other colour Z there         Z . Z         along either diagonal, with green's second difference
//                                  . X .
//                                  Z . Z
#pragma once

#include <algorithm>
#include <cstdlib>

#include "kernels/scalar/Samples.h"

namespace Vexa::Kernels::Scalar {

inline uint32_t ClampToByte(int value) {
    return static_cast<uint32_t>(std::clamp(value, 0, 255));
}

/// One direction: the sum of the two samples on it, their difference, and the second difference there.
struct Direction {
    int sum;
    int second;
    int gradient;

    Direction(int first, int last, int secondDifference)
        : sum(first + last), second(secondDifference), gradient(std::abs(first - last) + std::abs(secondDifference)) {}

    int Estimate() const { return (2 * sum + second) >> 2; }
};

inline int EstimateOfBoth(const Direction& a, const Direction& b) {
    return (2 * (a.sum + b.sum) + a.second + b.second) >> 3;
}

/// Required in rows with red of RG frames: a tie is rounded towards zero after adding one half and keeps its low
/// 8 bits, where every other tie is rounded down and clamped.
inline uint32_t WrappingTie(const Direction& a, const Direction& b) {
    return static_cast<uint32_t>((2 * (a.sum + b.sum) + a.second + b.second + 4) / 8) & 0xFFu;
}

/// The flatter direction, or both where they are equal.
inline int Follow(const Direction& a, const Direction& b) {
    if (a.gradient < b.gradient) {
        return a.Estimate();
    }
    return b.gradient < a.gradient ? b.Estimate() : EstimateOfBoth(a, b);
}

template <bool startsWithGreen>
void AcpiGreen(AcpiLine* line, const uint8_t* const rows[5], size_t from, size_t to) {
    constexpr size_t kGreenAt = startsWithGreen ? 0 : 1;
    for (size_t i = from; i < to; ++i) {
        const size_t c = 2 * i + 1 - kGreenAt;
        const uint8_t* site = rows[2] + c;
        const int own = site[0];
        const Direction across(site[-1], site[1], 2 * own - site[-2] - site[2]);
        const Direction down(rows[1][c], rows[3][c], 2 * own - rows[0][c] - rows[4][c]);
        const int green = static_cast<int>(ClampToByte(Follow(across, down)));
        line->greenSample[i] = rows[2][2 * i + kGreenAt];
        line->sample[i] = static_cast<int16_t>(own);
        line->green[i] = static_cast<int16_t>(green);
        line->doubledMinusGreen[i] = static_cast<int16_t>(2 * own - green);
    }
}

/// The other colour at a row-colour site: along the rising diagonal, the falling one, or both.
template <bool wrappingTie>
uint32_t AcpiOther(const Direction& rising, const Direction& falling) {
    if (wrappingTie && rising.gradient == falling.gradient) {
        return WrappingTie(rising, falling);
    }
    return ClampToByte(Follow(rising, falling));
}

template <RowKind kind, Layout layout, bool wrappingTie>
void AcpiColour(uint8_t* dst, const AcpiLine* above, const AcpiLine* here, const AcpiLine* below, size_t count) {
    constexpr size_t kGreenAt = kStartsWithGreen<kind> ? 0 : 1;
    for (size_t pair = 0; pair < count; ++pair) {
        const size_t i = pair + 1;
        // The pairs of the row-colour sites left and right of the green site, and of the diagonals of the pair's own.
        const size_t leftSite = i - 1 + kGreenAt;
        const size_t rightSite = leftSite + 1;
        const size_t left = i - kGreenAt;
        const size_t right = left + 1;

        const int greenSample = here->greenSample[i];
        const uint32_t rowColourAtGreen = ClampToByte(
            (here->doubledMinusGreen[leftSite] + here->doubledMinusGreen[rightSite] + 2 * greenSample) >> 2);
        const uint32_t otherAtGreen =
            ClampToByte((above->doubledMinusGreen[i] + below->doubledMinusGreen[i] + 2 * greenSample) >> 2);

        const int green = here->green[i];
        const Direction rising(above->sample[right], below->sample[left],
                               2 * green - above->green[right] - below->green[left]);
        const Direction falling(above->sample[left], below->sample[right],
                                2 * green - above->green[left] - below->green[right]);
        const uint32_t rowColour = static_cast<uint32_t>(here->sample[i]);
        const uint32_t other = AcpiOther<wrappingTie>(rising, falling);

        const auto asGreen = static_cast<uint32_t>(greenSample);
        StorePixel<layout>(dst, 2 * pair + kGreenAt, kHoldsRed<kind> ? otherAtGreen : rowColourAtGreen, asGreen,
                           kHoldsRed<kind> ? rowColourAtGreen : otherAtGreen);
        StorePixel<layout>(dst, 2 * pair + 1 - kGreenAt, kHoldsRed<kind> ? other : rowColour,
                           static_cast<uint32_t>(green), kHoldsRed<kind> ? rowColour : other);
    }
}

}  // namespace Vexa::Kernels::Scalar
