// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See Geometry.h. Penalties are in the unit of the costs, bits per byte: they only decide between layouts that explain
// the bytes about equally well.
#include "Geometry.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <set>

#include "Account.h"

namespace VexaGuess {

namespace {

constexpr size_t kNarrowest = 12;       ///< pixels
constexpr double kMostEmptyRows = 0.4;  ///< more: padding as long as rows was taken for rows
constexpr double kEmptyRows = 1;
constexpr double kWrongRows = 0.7;
constexpr double kRest = 0.3;
constexpr double kFourKinds = 0.06;  ///< four fits follow a grey picture a little better than one does
constexpr size_t kNarrow = 64;
constexpr double kNarrowFrame = 0.2;
constexpr size_t kOffsetsEach = 4;
constexpr uint64_t kMostFramesByShape = 100000;

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

/// Pixels that share their chroma.
size_t PixelsOfGroup(Sites sites) {
    return sites == Sites::kUyyvyy ? 4 : sites == Sites::kUyvy || sites == Sites::kYuyv ? 2 : 1;
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

size_t BytesOfSamples(const Hypothesis& hypothesis, size_t samples) {
    return samples * GroupOf(hypothesis.packing).BitsPerSample() / 8;
}

/// Bits from row to row.
size_t RowBits(const Hypothesis& hypothesis) {
    return hypothesis.rowBytes * 8 / hypothesis.rows;
}

/// Places of the first row, before the second one, that are worth a look: the file begins or ends with whole rows, or
/// the picture's left edge is there.
std::vector<uint64_t> PhasesFor(uint64_t fileBytes, const Hypothesis& hypothesis, const Seam& seam) {
    const uint64_t row = hypothesis.rowBytes;
    std::set<uint64_t> phases = {0};
    for (size_t last = 0; last < hypothesis.rows; ++last) {
        phases.insert((fileBytes - (RowBits(hypothesis) * last + 7) / 8) % row);
    }
    if (seam.found) {
        phases.insert((hypothesis.alignment + seam.byte) % row);
    }
    const size_t unit = UnitBytes(hypothesis.packing, hypothesis.sites);
    const bool wholeUnits = row % unit == 0;
    std::vector<uint64_t> aligned;
    std::copy_if(phases.begin(), phases.end(), std::back_inserter(aligned), [&](uint64_t phase) {
        const uint64_t start = wholeUnits ? phase + row / unit * unit * 64 - hypothesis.alignment : 0;
        const bool fits = wholeUnits ? start % unit == 0 : (phase + row * 64 - hypothesis.alignment) % row == 0;
        return fits && phase + 2 * row <= fileBytes;
    });
    return aligned;
}

/// Whether rows that begin there begin at the left edge of the picture, as far as that can be seen.
bool IsAtSeam(const Hypothesis& hypothesis, const Seam& seam, uint64_t offset) {
    if (!seam.found) {
        return true;
    }
    const size_t seamAt = (hypothesis.alignment + seam.byte) % hypothesis.rowBytes;
    const size_t distance = (offset + hypothesis.rowBytes - seamAt) % hypothesis.rowBytes;
    const size_t slack = BytesOfSamples(hypothesis, 2 * SitePeriod(hypothesis.sites)) + 1;
    return std::min(distance, hypothesis.rowBytes - distance) <= slack;
}

class Cutter {
  public:
    Cutter(std::span<const uint8_t> bytes, uint64_t fileBytes, const Hypothesis& hypothesis)
        : m_bytes(bytes), m_fileBytes(fileBytes), m_hypothesis(hypothesis), m_seam(FindSeam(bytes, hypothesis)) {}

    std::vector<Geometry> All() {
        const size_t samples = RowSamples(m_hypothesis);
        const bool wholeUnits = m_hypothesis.rowBytes % UnitBytes(m_hypothesis.packing, m_hypothesis.sites) == 0;
        for (const uint64_t phase : PhasesFor(m_fileBytes, m_hypothesis, m_seam)) {
            if (wholeUnits) {
                AddRows(phase, samples, false);
            }
            if (m_hypothesis.rows == 1 && (m_seam.paddingSamples > 0 || !wholeUnits) &&
                (!wholeUnits || IsAtSeam(m_hypothesis, m_seam, phase))) {
                AddRows(phase, samples - m_seam.paddingSamples, true);
            }
        }
        return std::move(m_found);
    }

  private:
    /// Rows of that many samples, of whole groups of pixels; with padding behind them, or without.
    void AddRows(uint64_t phase, size_t samples, bool padded) {
        Geometry geometry;
        geometry.width =
            static_cast<uint32_t>(static_cast<double>(samples) / SamplesPerPixel(m_hypothesis.sites) + 0.001);
        const auto group = static_cast<uint32_t>(PixelsOfGroup(m_hypothesis.sites));
        geometry.width -= geometry.width % group;
        // What varies is no padding: a group of which only some samples are the same in every row is the picture's.
        const auto samplesOf = [&](uint32_t width) { return width * SamplesPerPixel(m_hypothesis.sites); };
        if (samplesOf(geometry.width) < static_cast<double>(samples) &&
            samplesOf(geometry.width + group) <= static_cast<double>(RowSamples(m_hypothesis))) {
            geometry.width += group;
        }
        if (padded && samplesOf(geometry.width) >= static_cast<double>(m_hypothesis.rowBytes) &&
            m_hypothesis.packing == Packing::kBytes) {
            return;
        }
        geometry.stride = padded ? m_hypothesis.rowBytes : 0;
        if (geometry.width < kNarrowest || geometry.width * 20ull < RowPixels(m_hypothesis)) {
            return;
        }
        const auto kept = static_cast<size_t>(std::lround(geometry.width * SamplesPerPixel(m_hypothesis.sites)));
        Account account(m_bytes, m_hypothesis, phase, kept);
        if (!account.IsKnown()) {
            return;
        }
        for (const uint64_t offset : account.Offsets(kOffsetsEach)) {
            geometry.offset = offset;
            AddFrames(account, geometry);
        }
    }

    void AddFrames(Account& account, Geometry geometry) {
        const uint64_t bytes = m_fileBytes - geometry.offset;
        const size_t rowBits = RowBits(m_hypothesis);
        const uint64_t rows = bytes * 8 / rowBits;
        bool fits = false;
        for (uint64_t frames = 1; frames * 2 <= rows && frames <= kMostFramesByShape; ++frames) {
            if (bytes % frames == 0 && (bytes / frames * 8 / rowBits * rowBits + 7) / 8 == bytes / frames) {
                geometry.frames = frames;
                fits |= Add(account, geometry, bytes / frames * 8 / rowBits);
            }
        }
        if (!fits && rows >= 2) {
            geometry.frames = 1;
            geometry.rest = bytes - (rows * rowBits + 7) / 8;
            Add(account, geometry, rows);
        }
    }

    bool Add(Account& account, Geometry geometry, uint64_t height) {
        const uint64_t width = geometry.width;
        if (height > UINT32_MAX || (geometry.frames > 1 && (height * 5 < width || height > 5 * width))) {
            return false;
        }
        geometry.height = static_cast<uint32_t>(height);
        geometry.bits = account.Bits(geometry);
        geometry.penalty = width < kNarrow && m_fileBytes > kNarrow * kNarrow * 16 ? kNarrowFrame : 0;
        geometry.penalty += geometry.rest > 0 ? kRest : 0;
        geometry.penalty += m_hypothesis.sites == Sites::kBayer ? kFourKinds : 0;
        geometry.penalty += m_seam.wrongRows ? kWrongRows : 0;
        geometry.penalty += m_seam.emptyRows > kMostEmptyRows ? kEmptyRows : 0;
        m_found.push_back(geometry);
        return true;
    }

    std::span<const uint8_t> m_bytes;
    uint64_t m_fileBytes;
    const Hypothesis& m_hypothesis;
    Seam m_seam;
    std::vector<Geometry> m_found;
};

}  // namespace

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

std::vector<Geometry> GeometriesOf(std::span<const uint8_t> bytes, uint64_t fileBytes, const Hypothesis& hypothesis,
                                   size_t most) {
    std::vector<Geometry> all = Cutter(bytes, fileBytes, hypothesis).All();
    std::stable_sort(all.begin(), all.end(), [](const Geometry& a, const Geometry& b) {
        return Score(a.bits, a.penalty) < Score(b.bits, b.penalty);
    });
    all.resize(std::min(all.size(), most));
    return all;
}

}  // namespace VexaGuess
