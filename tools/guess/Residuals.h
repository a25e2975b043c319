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

    /// Low bits that are clear in all samples and were taken away.
    unsigned ClearBits() const { return m_clearBits; }
    void SetClearBits(unsigned bits) { m_clearBits = bits; }

    /// The same samples in rows of another length, of which their number is a multiple.
    void Reshape(size_t columns);
    /// The first columns only.
    Plane Cropped(size_t columns) const;

  private:
    size_t m_rows;
    size_t m_columns;
    unsigned m_clearBits = 0;
    std::vector<int32_t> m_samples;
};

/// Samples of a plane that are of one kind: those of every rowStep-th row from firstRow on, of every columnStep-th
/// column from firstColumn on. The neighbour to the left is `left` columns away. With `minus` a sample stands for its
/// difference from the one that many columns before it.
struct Kind {
    size_t firstRow = 0;
    size_t rowStep = 1;
    size_t firstColumn = 0;
    size_t columnStep = 1;
    size_t left = 1;
    size_t minus = 0;
};

enum class Measure {
    kRough,   ///< from the mean size of the misses of one predictor, as if they had a Laplace distribution
    kEntropy  ///< from the counts of the misses of the better of two predictors
};

/// Bits per sample of a kind when its samples are predicted from the one to the left, the one above and the one between
/// these: by the mean of a and b or, for kEntropy, by the median of a, b and a + b - c if that is cheaper.
///
///     c b
///     a x
double BitsPerSample(const Plane& plane, const Kind& kind, Measure measure);

/// Bits per sample when those of each place in a cell of so many rows and columns are predicted by the linear function
/// of their nearest neighbours, to the left and in the two rows above, that fits them best. Dear to compute, but alike
/// for all layouts: none has a predictor that suits it less.
double FittedBitsPerSample(const Plane& plane, size_t cellRows, size_t cellColumns);

/// Two samples of a cell that repeats over a plane.
struct Pair {
    size_t cellRows;
    size_t cellColumns;
    size_t row[2];
    size_t column[2];
};

/// The diagonals of a mosaic; one of them is green.
inline constexpr Pair kFromTopLeft = {2, 2, {0, 1}, {0, 1}};
inline constexpr Pair kFromTopRight = {2, 2, {0, 1}, {1, 0}};

inline constexpr size_t kBlock = 16;  ///< rows and columns

/// Differences of a pair, from the means of blocks, so that edges, texture and noise do not count; row by row of
/// blocks.
std::vector<double> BlockDifferences(const Plane& plane, const Pair& pair);

/// Their mean; 0 where there is no block.
double BlockDifference(const Plane& plane, const Pair& pair);

}  // namespace VexaGuess
