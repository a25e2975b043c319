// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See Seam.h.
#include "Seam.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>
#include <vector>

#include "Residuals.h"

namespace VexaGuess {

namespace {

constexpr double kLeaning = 0.05;
constexpr double kWanderingEdge = 0.3;

/// Mean step from each sample to the next one of its kind, for every column; column 0 is the step from the row before.
std::vector<double> Steps(const Plane& samples, size_t lag, size_t everyRow = 1) {
    const size_t columns = samples.Columns();
    std::vector<double> steps(columns);
    for (size_t r = 1; r < samples.Rows(); r += everyRow) {
        for (size_t c = 0; c < columns; ++c) {
            const int32_t before = c < lag ? samples.Row(r - 1)[columns - lag + c] : samples.Row(r)[c - lag];
            steps[c] += std::abs(samples.Row(r)[c] - before);
        }
    }
    return steps;
}

/// The longest run of columns, around the row's end too, that are the same in every row: first and length.
std::pair<size_t, size_t> ConstantColumns(const Plane& samples) {
    const size_t columns = samples.Columns();
    std::vector<bool> constant(columns, true);
    for (size_t r = 1; r < samples.Rows(); ++r) {
        for (size_t c = 0; c < columns; ++c) {
            constant[c] = constant[c] && samples.Row(r)[c] == samples.Row(0)[c];
        }
    }
    size_t bestFirst = 0;
    size_t bestLength = 0;
    size_t length = 0;
    for (size_t c = 0; c < 2 * columns; ++c) {
        length = constant[c < columns ? c : c - columns] ? length + 1 : 0;
        if (length > bestLength && length <= columns) {
            bestLength = length;
            bestFirst = c + 1 - length < columns ? c + 1 - length : c + 1 - length - columns;
        }
    }
    return {bestFirst, bestLength};
}

/// The share of rows whose samples are all alike.
double EmptyRows(const Plane& samples) {
    size_t empty = 0;
    for (size_t r = 0; r < samples.Rows(); ++r) {
        const int32_t* const row = samples.Row(r);
        empty += std::all_of(row, row + samples.Columns(), [row](int32_t value) { return value == row[0]; }) ? 1 : 0;
    }
    return static_cast<double>(empty) / static_cast<double>(samples.Rows());
}

/// How much samples of one site of a mosaic differ from those two and four rows and two columns further on, at the site
/// where they differ most: dark colours vary little.
double SiteDifference(const Plane& samples) {
    double most = 0;
    for (size_t r = 0; r < 2; ++r) {
        for (size_t c = 0; c < 2; ++c) {
            const double down = std::min(BlockDifference(samples, {4, 2, {r, r + 2}, {c, c}}),
                                         BlockDifference(samples, {8, 2, {r, r + 4}, {c, c}}));
            most = std::max({most, down, BlockDifference(samples, {2, 4, {r, r}, {c, c + 2}})});
        }
    }
    return most;
}

/// Whether no diagonal of what was read as a mosaic has two sites that are alike, though samples of one site are: then
/// its two rows are the halves of one, or of two different pictures.
bool HasNoGreenDiagonal(const Plane& samples) {
    // By columns and bands of blocks: a row may begin in the middle of one and go on in the next, and a frame may begin
    // there, with the other diagonal.
    constexpr size_t kBand = 3;
    const std::vector<double> left = BlockDifferences(samples, kFromTopLeft);
    const std::vector<double> right = BlockDifferences(samples, kFromTopRight);
    const size_t columns = samples.Columns() / kBlock;
    double green = 0;
    double other = 0;
    for (size_t top = 0; top < left.size(); top += kBand * columns) {
        for (size_t column = 0; column < columns; ++column) {
            double sums[2] = {};
            for (size_t i = top + column; i < std::min(left.size(), top + kBand * columns); i += columns) {
                sums[0] += left[i] / static_cast<double>(left.size());
                sums[1] += right[i] / static_cast<double>(left.size());
            }
            green += std::min(sums[0], sums[1]);
            other += std::max(sums[0], sums[1]);
        }
    }
    return 2 * green > other && green > 2 * SiteDifference(samples);
}

/// Whether every second column of what was read as grey is of another colour.
bool HasColumnsOfTwoKinds(const Plane& samples) {
    constexpr Pair kNext = {2, 4, {0, 0}, {0, 1}};
    constexpr Pair kNextButOne = {2, 4, {0, 0}, {0, 2}};
    return BlockDifference(samples, kNext) > 2 * BlockDifference(samples, kNextButOne);
}

/// Samples per row by which the edges of a leaning picture may wander, to either side.
std::vector<ptrdiff_t> LeaningSteps(size_t lag) {
    std::vector<ptrdiff_t> steps = {1, -1, 2, -2};
    if (lag > 2) {
        steps.insert(steps.end(), {static_cast<ptrdiff_t>(lag), -static_cast<ptrdiff_t>(lag)});
    }
    return steps;
}

/// How far the place with the largest steps to the left stands out, if it moves so many columns from row to row.
double EdgeContrast(const Plane& samples, size_t lag, ptrdiff_t perRow) {
    constexpr size_t kRows = 160;
    const size_t columns = samples.Columns();
    std::vector<uint64_t> sums(columns);
    size_t at = 0;  // of the column counted as the first
    for (size_t r = 1; r < std::min(samples.Rows(), kRows); ++r) {
        at = static_cast<size_t>(static_cast<ptrdiff_t>(at + columns) + perRow) % columns;
        const int32_t* const row = samples.Row(r);  // the end of the row before lies before it
        for (size_t c = at; c < columns; ++c) {
            sums[c - at] += static_cast<uint32_t>(std::abs(row[c] - (row + c)[-static_cast<ptrdiff_t>(lag)]));
        }
        for (size_t c = 0; c < at; ++c) {
            sums[c + columns - at] += static_cast<uint32_t>(std::abs(row[c] - (row + c)[-static_cast<ptrdiff_t>(lag)]));
        }
    }
    uint64_t total = 0;
    uint64_t most = 0;
    for (size_t c = 0; c < columns; ++c) {
        uint64_t sum = 0;
        for (size_t i = 0; i < lag; ++i) {
            sum += sums[(c + i) % columns];
        }
        total += sum;
        most = std::max(most, sum);
    }
    return total == 0 ? 0 : static_cast<double>(most) * static_cast<double>(columns) / static_cast<double>(total);
}

/// By how many standard errors rows some way on agree better with those so many columns per row aside.
double AgreesBetter(const Plane& samples, size_t lag, ptrdiff_t perRow) {
    constexpr size_t kRowsOn = 8;
    constexpr size_t kRows = 64;
    const ptrdiff_t shift = perRow * static_cast<ptrdiff_t>(kRowsOn);
    const size_t margin = kRowsOn * std::max<size_t>(lag, 2);
    const size_t used = samples.Columns() - std::min(samples.Columns(), 3 * lag + margin);
    double sum = 0;
    double squares = 0;
    const size_t step = samples.Rows() / kRows + 1;
    for (size_t r = 0; r + kRowsOn < samples.Rows(); r += step) {
        const int32_t* const here = samples.Row(r);
        const int32_t* const there = samples.Row(r + kRowsOn);
        const auto summed = [&](const int32_t* row, size_t c) {  // of a kind, against noise
            return row[c] + row[c + lag] + row[c + 2 * lag] + row[c + 3 * lag];
        };
        int64_t better = 0;
        for (size_t c = margin; c < used; ++c) {
            const int32_t sample = summed(here, c);
            better += std::abs(sample - summed(there, c)) - std::abs(sample - summed(there + shift, c));
        }
        sum += static_cast<double>(better);
        squares += static_cast<double>(better) * static_cast<double>(better);
    }
    return squares > 0 ? sum / std::sqrt(squares) : 0;
}

/// Penalty for rows that are a pixel or two longer or shorter than those of the picture: then its edges wander from row
/// to row, and rows some way on agree better aside. Fits that predict samples from all around do not see it. A line
/// across an upright picture may stand out more than its edges do, but rows on both sides of it agree.
double LeaningDoubt(const Plane& samples, size_t lag) {
    constexpr double kOutstanding = 1.5;
    constexpr double kClearly = 1.25;
    constexpr double kVeryClearly = 2.5;
    constexpr double kLikely = 3;
    constexpr double kSure = 5;
    const double upright = EdgeContrast(samples, lag, 0);
    double most = 0;
    double agreesThere = 0;
    double agrees = 0;
    for (const ptrdiff_t step : LeaningSteps(lag)) {
        const double contrast = EdgeContrast(samples, lag, step);
        const double better = 8 * step % static_cast<ptrdiff_t>(lag) == 0 ? AgreesBetter(samples, lag, step) : 0;
        agrees = std::max(agrees, better);
        if (contrast > most) {
            most = contrast;
            agreesThere = better;
        }
    }
    if (upright > kOutstanding && upright > kClearly * most) {
        return 0;
    }
    if (most > kOutstanding && most > kClearly * upright && (most > kVeryClearly * upright || agreesThere > kLikely)) {
        return kWanderingEdge;
    }
    return agrees > kSure ? kLeaning : 0;
}

/// By the means of small blocks: whether rows, columns or diagonals of the cells of a mosaic are brighter than the
/// others, more than the picture's own shades make them.
bool HasSitesOfTwoKinds(const Plane& samples) {
    constexpr double kSure = 6;  // standard errors
    double sums[3] = {};
    double squares[3] = {};
    for (size_t top = 1; top + kBlock < samples.Rows(); top += kBlock) {
        for (size_t left = 1; left + kBlock < samples.Columns(); left += kBlock) {
            int64_t contrast[3] = {};
            for (size_t r = top; r < top + kBlock; r += 1) {
                const int32_t* const above = samples.Row(r - 1);
                const int32_t* const row = samples.Row(r);
                const int32_t* const below = samples.Row(r + 1);
                const int rowSign = (r & 1) != 0 ? 1 : -1;
                for (size_t c = left; c < left + kBlock; ++c) {
                    const int columnSign = (c & 1) != 0 ? 1 : -1;
                    const int32_t vertical = 2 * row[c] - above[c] - below[c];
                    const int32_t horizontal = 2 * row[c] - row[c - 1] - row[c + 1];
                    contrast[0] += int64_t{rowSign} * vertical;
                    contrast[1] += int64_t{columnSign} * horizontal;
                    contrast[2] += int64_t{rowSign} * columnSign * (vertical + horizontal);
                }
            }
            for (size_t i = 0; i < 3; ++i) {
                const auto difference = static_cast<double>(contrast[i]);
                sums[i] += difference;
                squares[i] += difference * difference;
            }
        }
    }
    for (size_t i = 0; i < 3; ++i) {
        if (sums[i] * sums[i] > kSure * kSure * squares[i]) {
            return true;
        }
    }
    return false;
}

/// Whether bytes repeat themselves after a few: then they are a flat border, whose ends resemble each other anyway.
bool IsFlat(const uint8_t* bytes, size_t count) {
    constexpr size_t kLongestPeriod = 12;  // two pixels of three words
    for (size_t period = 1; period <= std::min(count / 2, kLongestPeriod); ++period) {
        if (std::equal(bytes + period, bytes + count, bytes)) {
            return true;
        }
    }
    return false;
}

}  // namespace

size_t BytesOfSamples(const Hypothesis& hypothesis, size_t samples) {
    return samples * GroupOf(hypothesis.packing).BitsPerSample() / 8;
}

size_t RepeatedFrom(std::span<const uint8_t> bytes, size_t rowBytes, size_t phase) {
    constexpr size_t kShortest = 8;  // two pixels of a mosaic of words: less of a flat border does not show a period
    constexpr size_t kRows = 32;
    constexpr size_t kFewest = 24;  // bytes that differ from row to row, and are repeated all the same
    const size_t rows = (bytes.size() - std::min(bytes.size(), phase)) / rowBytes;
    if (rows < kRows) {
        return 0;
    }
    const size_t step = rows / kRows;
    for (size_t from = rowBytes / 2; from + kShortest <= rowBytes; ++from) {
        size_t telling = 0;
        bool same = true;
        for (size_t i = kRows; i-- > 1 && same;) {  // from the end: a header may come first
            const uint8_t* const row = bytes.data() + phase + i * step * rowBytes;
            same = std::equal(row + from, row + rowBytes, row);
            if (!same || IsFlat(row, rowBytes - from)) {
                continue;
            }
            for (size_t at = 0; at < rowBytes - from && telling < kFewest; ++at) {
                telling += row[at] != (row - rowBytes)[at] && (at == 0 || row[at] != row[at - 1]) ? 1 : 0;
            }
        }
        if (same && telling >= kFewest) {
            return from;
        }
    }
    return 0;
}

Seam FindSeam(std::span<const uint8_t> bytes, const Hypothesis& hypothesis) {
    constexpr size_t kLookedAt = size_t{1} << 19;
    constexpr double kOutstanding = 2.0;
    constexpr double kFewSteps = 0.2;
    // Behind what may be a header.
    const size_t start = bytes.size() / 8 / (2 * hypothesis.rowBytes) * 2 * hypothesis.rowBytes;
    const Plane samples = SamplesOf(bytes, hypothesis, start, kLookedAt);
    const size_t lag = SitePeriod(hypothesis.sites);
    if (samples.Rows() < 4 || samples.Columns() < 8 * lag) {
        return {};
    }
    const std::vector<double> steps = Steps(samples, lag);
    Seam seam;
    seam.emptyRows = EmptyRows(samples);
    seam.wrongRows = (hypothesis.sites == Sites::kBayer && HasNoGreenDiagonal(samples)) ||
                     (hypothesis.sites == Sites::kMono && HasColumnsOfTwoKinds(samples));
    seam.leaning = LeaningDoubt(samples, lag);
    seam.sitesDiffer = hypothesis.sites == Sites::kBayer && HasSitesOfTwoKinds(samples);
    const auto [first, length] = ConstantColumns(samples);
    if (length > 0 && length < samples.Columns()) {
        const size_t end = first + length < samples.Columns() ? first + length : first + length - samples.Columns();
        seam.byte = BytesOfSamples(hypothesis, end / lag * lag);
        seam.found = true;
        seam.paddingSamples = length;
        return seam;
    }
    const std::vector<double> oddSteps = Steps(samples, lag, 2);
    size_t best = 0;
    double bestSum = -1;
    double total = 0;
    for (size_t c = 0; c < steps.size(); ++c) {
        double sum = 0;
        for (size_t i = 0; i < lag; ++i) {
            sum += steps[(c + i) % steps.size()];
        }
        total += sum;
        if (sum > bestSum) {
            bestSum = sum;
            best = c;
        }
    }
    seam.found = bestSum * static_cast<double>(steps.size()) > kOutstanding * total;
    seam.byte = BytesOfSamples(hypothesis, best);
    double odd = 0;
    for (size_t i = 0; i < lag; ++i) {
        odd += oddSteps[(best + i) % oddSteps.size()];
    }
    seam.wrongRows |= seam.found && (odd < kFewSteps * bestSum || odd > (1 - kFewSteps) * bestSum);
    return seam;
}

}  // namespace VexaGuess
