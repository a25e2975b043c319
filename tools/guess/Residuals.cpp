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

void Plane::Reshape(size_t columns) {
    rows_ = samples_.size() / columns;
    columns_ = columns;
}

Plane Plane::Cropped(size_t columns) const {
    Plane cropped(rows_, std::min(columns, columns_));
    cropped.clearBits_ = clearBits_;
    for (size_t r = 0; r < rows_; ++r) {
        std::copy_n(Row(r), cropped.Columns(), cropped.Row(r));
    }
    return cropped;
}

namespace {

/// Counts misses by sign and magnitude: a miss of k significant bits costs the entropy of its class and k - 1 bits
/// more for its value in the class.
class MissCounter {
  public:
    void Add(int32_t miss) {
        const auto magnitude = static_cast<uint32_t>(std::abs(miss));
        ++counts_[miss < 0 ? 1 : 0][std::bit_width(magnitude)];
    }

    /// Bits per miss; 0 without any.
    double BitsEach() const {
        uint64_t total = 0;
        uint64_t valueBits = 0;
        for (const auto& ofSign : counts_) {
            for (size_t bits = 0; bits < kClasses; ++bits) {
                total += ofSign[bits];
                valueBits += ofSign[bits] * (bits > 1 ? bits - 1 : 0);
            }
        }
        if (total == 0) {
            return 0;
        }
        double each = static_cast<double>(valueBits) / static_cast<double>(total);
        for (const auto& ofSign : counts_) {
            for (const uint32_t count : ofSign) {
                const double share = static_cast<double>(count) / static_cast<double>(total);
                each -= count > 0 ? share * std::log2(share) : 0;
            }
        }
        return each;
    }

  private:
    static constexpr size_t kClasses = 33;
    uint32_t counts_[2][kClasses] = {};
};

/// Calls miss(row, a, b, c, x) for every sample that has its three neighbours; returns how many do.
template <bool kMinus, class Miss>
size_t ForEachSample(const Plane& plane, const Kind& kind, Miss miss) {
    size_t count = 0;
    const size_t minus = kMinus ? kind.minus : 0;
    size_t from = kind.firstColumn;
    while (from < kind.left + minus) {
        from += kind.columnStep;
    }
    for (size_t r = kind.firstRow + kind.rowStep; r < plane.Rows(); r += kind.rowStep) {
        const int32_t* const row = plane.Row(r);
        const int32_t* const above = plane.Row(r - kind.rowStep);
        const auto at = [minus](const int32_t* of, size_t c) { return kMinus ? of[c] - of[c - minus] : of[c]; };
        for (size_t c = from; c < plane.Columns(); c += kind.columnStep) {
            miss(r, at(row, c - kind.left), at(above, c), at(above, c - kind.left), at(row, c));
            ++count;
        }
    }
    return count;
}

/// Some columns at a time: those of padding cost nothing, however different the others are.
template <bool kMinus>
double RoughBits(const Plane& plane, const Kind& kind) {
    constexpr size_t kTogether = 8;
    std::vector<uint32_t> sums(plane.Columns() / kind.columnStep / kTogether + 1);
    size_t inRow = 0;
    size_t row = 0;
    const size_t misses = ForEachSample<kMinus>(plane, kind, [&](size_t r, int32_t a, int32_t b, int32_t, int32_t x) {
        inRow = r == row ? inRow + 1 : 0;
        row = r;
        sums[inRow / kTogether] += static_cast<uint32_t>(std::abs(x - ((a + b) >> 1)));
    });
    const size_t rows = (plane.Rows() - kind.firstRow - 1) / kind.rowStep;
    const size_t columns = misses / rows;
    double bits = 0;
    for (size_t group = 0; group * kTogether < columns; ++group) {
        const size_t together = std::min(kTogether, columns - group * kTogether);
        const double mean = static_cast<double>(sums[group]) / static_cast<double>(together * rows);
        bits += std::log2(1 + 2 * std::numbers::e * mean) * static_cast<double>(together);
    }
    return bits / static_cast<double>(columns);
}

template <bool kMinus>
double EntropyBits(const Plane& plane, const Kind& kind) {
    MissCounter byMedian;
    MissCounter byMean;
    ForEachSample<kMinus>(plane, kind, [&](size_t, int32_t a, int32_t b, int32_t c, int32_t x) {
        const auto [low, high] = std::minmax(a, b);
        byMedian.Add(x - std::clamp(a + b - c, low, high));
        byMean.Add(x - ((a + b) >> 1));
    });
    return std::min(byMedian.BitsEach(), byMean.BitsEach());
}

}  // namespace

double BitsPerSample(const Plane& plane, const Kind& kind, Measure measure) {
    if (plane.Rows() <= kind.firstRow + kind.rowStep || plane.Columns() <= kind.firstColumn + kind.left) {
        return kUnpredictable;
    }
    if (measure == Measure::kRough) {
        return kind.minus != 0 ? RoughBits<true>(plane, kind) : RoughBits<false>(plane, kind);
    }
    return kind.minus != 0 ? EntropyBits<true>(plane, kind) : EntropyBits<false>(plane, kind);
}

}  // namespace VexaGuess
