// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See Residuals.h.
#include "Residuals.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <numbers>

namespace VexaGuess {

Plane Plane::Sites(size_t firstRow, size_t rowStep, size_t firstColumn, size_t columnStep) const {
    const auto countFrom = [](size_t first, size_t step, size_t size) {
        return size > first ? (size - first + step - 1) / step : 0;
    };
    Plane sites(countFrom(firstRow, rowStep, m_rows), countFrom(firstColumn, columnStep, m_columns));
    for (size_t r = 0; r < sites.m_rows; ++r) {
        const int32_t* from = Row(firstRow + r * rowStep) + firstColumn;
        int32_t* to = sites.Row(r);
        for (size_t c = 0; c < sites.m_columns; ++c) {
            to[c] = from[c * columnStep];
        }
    }
    return sites;
}

Plane Plane::Minus(const Plane& other) const {
    Plane difference(m_rows, m_columns);
    for (size_t i = 0; i < m_samples.size(); ++i) {
        difference.m_samples[i] = m_samples[i] - other.m_samples[i];
    }
    return difference;
}

void MissCounter::Add(int32_t miss) {
    const auto magnitude = static_cast<uint32_t>(std::abs(miss));
    const auto bits = static_cast<uint32_t>(std::bit_width(magnitude));
    ++m_counts[miss < 0 ? 32 + bits : bits];
    m_valueBits += bits > 1 ? bits - 1 : 0;
    ++m_total;
}

double MissCounter::BitsEach() const {
    if (m_total == 0) {
        return 0;
    }
    const auto total = static_cast<double>(m_total);
    double bits = static_cast<double>(m_valueBits) / total;
    for (const uint32_t count : m_counts) {
        if (count > 0) {
            const double share = count / total;
            bits -= share * std::log2(share);
        }
    }
    return bits;
}

namespace {

double RoughBits(const Plane& plane) {
    uint64_t sum = 0;
    for (size_t r = 1; r < plane.Rows(); ++r) {
        const int32_t* above = plane.Row(r - 1);
        const int32_t* row = plane.Row(r);
        uint32_t ofRow = 0;  // 2^16 samples of 16 bits fit
        for (size_t x = 1; x < plane.Columns(); ++x) {
            ofRow += static_cast<uint32_t>(std::abs(row[x] - ((row[x - 1] + above[x]) >> 1)));
        }
        sum += ofRow;
    }
    const auto misses = static_cast<double>((plane.Rows() - 1) * (plane.Columns() - 1));
    return std::log2(1 + 2 * std::numbers::e * static_cast<double>(sum) / misses);
}

double EntropyBits(const Plane& plane) {
    MissCounter byMedian;
    MissCounter byMean;
    for (size_t r = 1; r < plane.Rows(); ++r) {
        const int32_t* above = plane.Row(r - 1);
        const int32_t* row = plane.Row(r);
        for (size_t x = 1; x < plane.Columns(); ++x) {
            const int32_t a = row[x - 1];
            const int32_t b = above[x];
            const auto [low, high] = std::minmax(a, b);
            byMedian.Add(row[x] - std::clamp(a + b - above[x - 1], low, high));
            byMean.Add(row[x] - ((a + b) >> 1));
        }
    }
    return std::min(byMedian.BitsEach(), byMean.BitsEach());
}

}  // namespace

double BitsPerSample(const Plane& plane, Measure measure) {
    if (plane.Rows() < 2 || plane.Columns() < 2) {
        return kUnpredictable;
    }
    return measure == Measure::kRough ? RoughBits(plane) : EntropyBits(plane);
}

}  // namespace VexaGuess
