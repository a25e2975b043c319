// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The two steps of adaptive colour-plane interpolation (ACPI), plainly. Both weigh two directions by the difference
// of the neighbours plus the size of a second difference, and follow the flatter one; the second difference, a
// quarter of it, corrects the mean.
//
//     green at an X site      X . X . X     horizontal: the two g beside it and the X two columns away
//                               . g .       vertical:   the two g above and below and the X two rows away
//     Z at an X site          Z . Z         along either diagonal, with green's second difference
//                             . X .
//                             Z . Z
#pragma once

#include <algorithm>
#include <cstdlib>

#include "kernels/plain/Samples.h"

namespace Vexa::Kernels::Plain {

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
    const double mean = (a.sum + b.sum) * 0.25 + (a.second + b.second) * 0.125;
    return static_cast<uint32_t>(static_cast<int32_t>(mean + 0.5)) & 0xFFu;
}

template <bool firstIsGreen>
void AcpiGreen(uint8_t* green, const uint8_t* const rows[5], size_t count) {
    for (size_t i = 0; i < count; ++i) {
        const uint8_t* own = rows[2] + i;
        if ((i % 2 == 0) == firstIsGreen) {
            green[i] = *own;
            continue;
        }
        const Direction across(own[-1], own[1], 2 * own[0] - own[-2] - own[2]);
        const Direction down(rows[1][i], rows[3][i], 2 * own[0] - rows[0][i] - rows[4][i]);
        int value = 0;
        if (across.gradient < down.gradient) {
            value = across.Estimate();
        } else if (down.gradient < across.gradient) {
            value = down.Estimate();
        } else {
            value = EstimateOfBoth(across, down);
        }
        green[i] = static_cast<uint8_t>(ClampToByte(value));
    }
}

/// A missing colour at a green site, from the two samples on one line with it and the green at the same places.
inline uint32_t AcpiAtGreen(int first, int last, int green, int firstGreen, int lastGreen) {
    return ClampToByte((2 * (first + last) + 2 * green - firstGreen - lastGreen) >> 2);
}

/// The opposite colour at a red or blue site.
template <bool wrappingTie>
uint32_t AcpiOpposite(const Direction& rising, const Direction& falling) {
    if (rising.gradient < falling.gradient) {
        return ClampToByte(rising.Estimate());
    }
    if (falling.gradient < rising.gradient) {
        return ClampToByte(falling.Estimate());
    }
    return wrappingTie ? WrappingTie(rising, falling) : ClampToByte(EstimateOfBoth(rising, falling));
}

template <RowKind kind, Layout layout, bool wrappingTie>
void AcpiColour(uint8_t* dst, const uint8_t* const greens[3], const uint8_t* const samples[3], size_t count) {
    for (size_t i = 0; i < count; ++i) {
        const uint8_t* above = samples[0] + i;
        const uint8_t* own = samples[1] + i;
        const uint8_t* below = samples[2] + i;
        const uint8_t* greenAbove = greens[0] + i;
        const uint8_t* green = greens[1] + i;
        const uint8_t* greenBelow = greens[2] + i;
        uint32_t x = 0;
        uint32_t z = 0;
        if ((i % 2 == 0) == kStartsWithGreen<kind>) {
            x = AcpiAtGreen(own[-1], own[1], green[0], green[-1], green[1]);
            z = AcpiAtGreen(above[0], below[0], green[0], greenAbove[0], greenBelow[0]);
        } else {
            x = own[0];
            const Direction rising(above[1], below[-1], 2 * green[0] - greenAbove[1] - greenBelow[-1]);
            const Direction falling(above[-1], below[1], 2 * green[0] - greenAbove[-1] - greenBelow[1]);
            z = AcpiOpposite<wrappingTie>(rising, falling);
        }
        StorePixel<layout>(dst, i, kHoldsRed<kind> ? z : x, green[0], kHoldsRed<kind> ? x : z);
    }
}

}  // namespace Vexa::Kernels::Plain
