// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// How well samples predict each other: the measure by which the guesser compares layouts.
//
// In the right layout every sample resembles its neighbours of the same colour, so what a predictor misses is small and
// takes few bits to write down. In a wrong one (another row length, another packing, other sites) neighbours are
// strangers and the misses are large. The cost of a layout is the number of bits that the misses take, divided by the
// bytes that they explain; it needs no model of a camera and no training.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace VexaGuess {

/// Bits for samples that have no neighbours to predict them.
inline constexpr double kUnpredictable = 16;

/// Rows of samples, each row as long as the others.
class Plane {
  public:
    Plane(size_t rows, size_t columns) : m_rows(rows), m_columns(columns), m_samples(rows * columns) {}

    size_t Rows() const { return m_rows; }
    size_t Columns() const { return m_columns; }
    int32_t* Row(size_t r) { return m_samples.data() + r * m_columns; }
    const int32_t* Row(size_t r) const { return m_samples.data() + r * m_columns; }

    /// Every rowStep-th row from firstRow on, of these every columnStep-th sample from firstColumn on.
    Plane Sites(size_t firstRow, size_t rowStep, size_t firstColumn, size_t columnStep) const;
    /// Sample by sample; of two planes of the same size.
    Plane Minus(const Plane& other) const;

  private:
    size_t m_rows;
    size_t m_columns;
    std::vector<int32_t> m_samples;
};

/// Counts misses by sign and magnitude: a miss of k significant bits costs the entropy of its class and k - 1 bits
/// more for its value in the class.
class MissCounter {
  public:
    void Add(int32_t miss);
    /// Bits per miss; 0 without any.
    double BitsEach() const;

  private:
    static constexpr size_t kClasses = 2 * 32 + 1;
    uint32_t m_counts[kClasses] = {};
    uint64_t m_valueBits = 0;
    uint64_t m_total = 0;
};

enum class Measure {
    kRough,   ///< from the mean size of the misses of one predictor, as if they had a Laplace distribution
    kEntropy  ///< from the counts of the misses of the better of two predictors
};

/// Bits per sample of a plane whose samples are predicted from the one to the left, the one above and the one between
/// these: by the mean of a and b or, for kEntropy, by the median of a, b and a + b - c if that is cheaper.
///
///     c b
///     a x
double BitsPerSample(const Plane& plane, Measure measure);

}  // namespace VexaGuess
