// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See Residuals.h.
#include "Residuals.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <numbers>
#include <numeric>

namespace VexaGuess {

void Plane::Reshape(size_t columns) {
    m_rows = m_samples.size() / columns;
    m_columns = columns;
}

Plane Plane::Cropped(size_t columns) const {
    Plane cropped(m_rows, std::min(columns, m_columns));
    cropped.m_clearBits = m_clearBits;
    for (size_t r = 0; r < m_rows; ++r) {
        std::copy_n(Row(r), cropped.Columns(), cropped.Row(r));
    }
    return cropped;
}

namespace {

/// Bits that one number takes which was found from so many samples, for each of them.
double BitsToTell(uint64_t samples) {
    return 0.5 * std::log2(static_cast<double>(samples)) / static_cast<double>(samples);
}

/// Counts misses by sign and magnitude: a miss of k significant bits costs the entropy of its class and k - 1 bits
/// more for its value in the class.
class MissCounter {
  public:
    void Add(int32_t miss) {
        const auto magnitude = static_cast<uint32_t>(std::abs(miss));
        ++m_counts[miss < 0 ? 1 : 0][std::bit_width(magnitude)];
    }

    /// Bits per miss, with those that tell how often each class occurs: what is counted in more kinds has to be told
    /// more often. 0 without any.
    double BitsEach() const {
        uint64_t total = 0;
        uint64_t valueBits = 0;
        for (const auto& ofSign : m_counts) {
            for (size_t bits = 0; bits < kClasses; ++bits) {
                total += ofSign[bits];
                valueBits += ofSign[bits] * (bits > 1 ? bits - 1 : 0);
            }
        }
        if (total == 0) {
            return 0;
        }
        double each = static_cast<double>(valueBits) / static_cast<double>(total);
        for (const auto& ofSign : m_counts) {
            for (const uint32_t count : ofSign) {
                const double share = static_cast<double>(count) / static_cast<double>(total);
                each -= count > 0 ? share * std::log2(share) : 0;
                each += count > 0 ? BitsToTell(total) : 0;
            }
        }
        return each;
    }

  private:
    static constexpr size_t kClasses = 33;
    uint32_t m_counts[2][kClasses] = {};
};

/// The first column of a kind that has all it is predicted from.
size_t FirstColumn(const Kind& kind, size_t minus) {
    size_t from = kind.firstColumn;
    while (from < kind.left + minus) {
        from += kind.columnStep;
    }
    return from;
}

/// Calls miss(a, b, c, x) for every sample that has its three neighbours.
template <bool kMinus, class Miss>
void ForEachSample(const Plane& plane, const Kind& kind, Miss miss) {
    const size_t minus = kMinus ? kind.minus : 0;
    const size_t from = FirstColumn(kind, minus);
    for (size_t r = kind.firstRow + kind.rowStep; r < plane.Rows(); r += kind.rowStep) {
        const int32_t* const row = plane.Row(r);
        const int32_t* const above = plane.Row(r - kind.rowStep);
        const auto at = [&](const int32_t* of, size_t c) { return kMinus ? of[c] - of[c - minus] : of[c]; };
        for (size_t c = from; c < plane.Columns(); c += kind.columnStep) {
            miss(at(row, c - kind.left), at(above, c), at(above, c - kind.left), at(row, c));
        }
    }
}

/// Some columns at a time: those of padding cost nothing, however different the others are. Columns of other kinds are
/// summed as well: without gaps that takes less time.
template <bool kMinus>
double RoughBits(const Plane& plane, const Kind& kind) {
    constexpr size_t kTogether = 8;
    const size_t minus = kMinus ? kind.minus : 0;
    const size_t from = FirstColumn(kind, minus);
    std::vector<uint32_t> sums(plane.Columns());
    size_t rows = 0;
    for (size_t r = kind.firstRow + kind.rowStep; r < plane.Rows(); r += kind.rowStep, ++rows) {
        const int32_t* const row = plane.Row(r);
        const int32_t* const above = plane.Row(r - kind.rowStep);
        const auto at = [&](const int32_t* of, size_t c) { return kMinus ? of[c] - of[c - minus] : of[c]; };
        for (size_t c = from; c < plane.Columns(); ++c) {
            sums[c] += static_cast<uint32_t>(std::abs(at(row, c) - ((at(row, c - kind.left) + at(above, c)) >> 1)));
        }
    }
    double bits = 0;
    size_t columns = 0;
    for (size_t c = from; c < plane.Columns();) {
        uint64_t sum = 0;
        size_t together = 0;
        for (; together < kTogether && c < plane.Columns(); ++together, c += kind.columnStep) {
            sum += sums[c];
        }
        const double mean = static_cast<double>(sum) / static_cast<double>(together * rows);
        bits += std::log2(1 + 2 * std::numbers::e * mean) * static_cast<double>(together);
        columns += together;
    }
    return bits / static_cast<double>(columns);
}

template <bool kMinus>
double EntropyBits(const Plane& plane, const Kind& kind) {
    MissCounter byMedian;
    MissCounter byMean;
    ForEachSample<kMinus>(plane, kind, [&](int32_t a, int32_t b, int32_t c, int32_t x) {
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

namespace {

constexpr size_t kNeighbours = 18;
constexpr size_t kTerms = kNeighbours + 1;  ///< and a constant
constexpr size_t kLeft = 6;
constexpr size_t kRight = 3;
using Terms = std::array<double, kTerms>;

void ReadTerms(const Plane& plane, size_t r, size_t c, Terms& terms) {
    const int32_t* const row = plane.Row(r) + c;
    const int32_t* const above = plane.Row(r - 1) + c - kRight;
    const int32_t* const aboveThat = plane.Row(r - 2) + c - 2;
    for (size_t i = 0; i < 6; ++i) {
        terms[i] = row[-1 - static_cast<ptrdiff_t>(i)];
    }
    for (size_t i = 0; i < 7; ++i) {
        terms[6 + i] = above[i];
    }
    for (size_t i = 0; i < 5; ++i) {
        terms[13 + i] = aboveThat[i];
    }
    terms[kNeighbours] = 1;
}

/// Least squares: sums of the products of terms, and of terms with the sample.
class Fit {
  public:
    void Add(const Terms& terms, double sample) {
        for (size_t i = 0; i < kTerms; ++i) {
            for (size_t j = 0; j <= i; ++j) {
                m_products[i][j] += terms[i] * terms[j];
            }
            m_withSample[i] += terms[i] * sample;
        }
    }

    /// Cholesky's decomposition; terms that add nothing get no weight.
    Terms Weights() const {
        std::array<Terms, kTerms> lower = {};
        Terms weights = m_withSample;
        for (size_t i = 0; i < kTerms; ++i) {
            for (size_t j = 0; j <= i; ++j) {
                double sum = m_products[i][j] + (i == j ? kLeast + kRidge * m_products[i][i] : 0);
                for (size_t k = 0; k < j; ++k) {
                    sum -= lower[i][k] * lower[j][k];
                }
                lower[i][j] = i == j ? std::sqrt(std::max(sum, kLeast)) : sum / lower[j][j];
            }
            for (size_t k = 0; k < i; ++k) {
                weights[i] -= lower[i][k] * weights[k];
            }
            weights[i] /= lower[i][i];
        }
        for (size_t i = kTerms; i-- > 0;) {
            for (size_t k = i + 1; k < kTerms; ++k) {
                weights[i] -= lower[k][i] * weights[k];
            }
            weights[i] /= lower[i][i];
        }
        return weights;
    }

  private:
    static constexpr double kLeast = 1e-3;
    static constexpr double kRidge = 1e-7;
    std::array<Terms, kTerms> m_products = {};
    Terms m_withSample = {};
};

/// Bits of the misses of one place in the cell.
double FittedBits(const Plane& plane, const Kind& kind) {
    constexpr size_t kFitted = 1200;
    const size_t rows = plane.Rows() / kind.rowStep;
    const size_t columns = plane.Columns() / kind.columnStep;
    const size_t every = std::max<size_t>(rows * columns / kFitted, 1) | 1;
    size_t firstRow = kind.firstRow;
    while (firstRow < 2) {
        firstRow += kind.rowStep;
    }
    size_t firstColumn = kind.firstColumn;
    while (firstColumn < kLeft) {
        firstColumn += kind.columnStep;
    }
    Terms terms;
    Fit fit;
    size_t next = 0;
    for (size_t r = firstRow; r < plane.Rows(); r += kind.rowStep) {
        for (size_t c = firstColumn; c + kRight < plane.Columns(); c += kind.columnStep) {
            if (next-- == 0) {
                next = every - 1;
                ReadTerms(plane, r, c, terms);
                fit.Add(terms, plane.Row(r)[c]);
            }
        }
    }
    const Terms weights = fit.Weights();
    MissCounter misses;
    for (size_t r = firstRow; r < plane.Rows(); r += kind.rowStep) {
        for (size_t c = firstColumn; c + kRight < plane.Columns(); c += kind.columnStep) {
            ReadTerms(plane, r, c, terms);
            const double told = std::inner_product(terms.begin(), terms.end(), weights.begin(), 0.0);
            const int32_t miss = plane.Row(r)[c] - static_cast<int32_t>(std::lround(std::clamp(told, -7e4, 7e4)));
            misses.Add(miss);
            // The outermost columns that have all neighbours stand for those that have not.
            if (c < 2 * kLeft || c + 2 * kRight >= plane.Columns()) {
                misses.Add(miss);
            }
        }
    }
    return misses.BitsEach() + kTerms * BitsToTell(std::max<size_t>(rows * columns, 2));
}

}  // namespace

double FittedBitsPerSample(const Plane& plane, size_t cellRows, size_t cellColumns) {
    if (plane.Rows() < 2 + cellRows || plane.Columns() <= kLeft + kRight + cellColumns) {
        return kUnpredictable;
    }
    double bits = 0;
    for (size_t row = 0; row < cellRows; ++row) {
        for (size_t column = 0; column < cellColumns; ++column) {
            bits += FittedBits(plane, {row, cellRows, column, cellColumns});
        }
    }
    return bits / static_cast<double>(cellRows * cellColumns);
}

std::vector<double> BlockDifferences(const Plane& plane, const Pair& pair) {
    const size_t cells = kBlock / pair.cellRows * (kBlock / pair.cellColumns);
    std::vector<double> differences;
    for (size_t top = 0; top + kBlock <= plane.Rows(); top += kBlock) {
        for (size_t left = 0; left + kBlock <= plane.Columns(); left += kBlock) {
            int64_t difference = 0;
            for (size_t r = top; r < top + kBlock; r += pair.cellRows) {
                const int32_t* const first = plane.Row(r + pair.row[0]) + pair.column[0];
                const int32_t* const second = plane.Row(r + pair.row[1]) + pair.column[1];
                for (size_t c = left; c < left + kBlock; c += pair.cellColumns) {
                    difference += first[c] - second[c];
                }
            }
            differences.push_back(static_cast<double>(std::abs(difference)) / static_cast<double>(cells));
        }
    }
    return differences;
}

double BlockDifference(const Plane& plane, const Pair& pair) {
    const std::vector<double> differences = BlockDifferences(plane, pair);
    const double sum = std::accumulate(differences.begin(), differences.end(), 0.0);
    return differences.empty() ? 0 : sum / static_cast<double>(differences.size());
}

}  // namespace VexaGuess
