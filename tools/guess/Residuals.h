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
    Plane(size_t rows, size_t columns) : rows_(rows), columns_(columns), samples_(rows * columns) {}

    size_t Rows() const { return rows_; }
    size_t Columns() const { return columns_; }
    int32_t* Row(size_t r) { return samples_.data() + r * columns_; }
    const int32_t* Row(size_t r) const { return samples_.data() + r * columns_; }

    /// Low bits that are clear in all samples and were taken away.
    unsigned ClearBits() const { return clearBits_; }
    void SetClearBits(unsigned bits) { clearBits_ = bits; }

    /// The same samples in rows of another length, of which their number is a multiple.
    void Reshape(size_t columns);
    /// The first columns only.
    Plane Cropped(size_t columns) const;

  private:
    size_t rows_;
    size_t columns_;
    unsigned clearBits_ = 0;
    std::vector<int32_t> samples_;
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

}  // namespace VexaGuess
