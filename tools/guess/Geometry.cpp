// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See Geometry.h. Penalties are in the unit of the costs, bits per byte: they only decide between layouts that explain
// the bytes about equally well.
#include "Geometry.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <map>
#include <set>

namespace VexaGuess {

namespace {

constexpr double kUsualAspect = 1.45;
constexpr double kAspectWeight = 0.03;
constexpr double kNoSeamThere = 0.06;
constexpr double kSeamThere = 0.03;
constexpr double kOddSize = 0.02;
constexpr double kHeader = 0.12;
constexpr double kUsualHeader = 0.01;
constexpr double kRest = 0.16;
constexpr double kSeveralFrames = 0.02;
constexpr double kNoCutThere = 0.1;
constexpr double kCutThere = 0.05;
constexpr size_t kNarrowest = 12;       ///< pixels
constexpr double kMostEmptyRows = 0.4;  ///< more: padding as long as rows was taken for rows
constexpr double kEmptyRows = 1;
constexpr double kWrongRows = 0.5;
constexpr size_t kNarrow = 64;
constexpr double kNarrowFrame = 0.2;
constexpr double kHeaderInside = 0.005;
constexpr double kUnseenPadding = 0.15;
constexpr double kNarrowPadding = 0.02;
constexpr double kPadding = 0.01;
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
        length = constant[c % columns] ? length + 1 : 0;
        if (length > bestLength && length <= columns) {
            bestLength = length;
            bestFirst = (c + 1 - length) % columns;
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
    // By columns of blocks: a row may begin in the middle of one and go on in the next, with the other diagonal.
    const std::vector<double> left = BlockDifferences(samples, kFromTopLeft);
    const std::vector<double> right = BlockDifferences(samples, kFromTopRight);
    const size_t columns = samples.Columns() / kBlock;
    double green = 0;
    double other = 0;
    for (size_t column = 0; column < columns; ++column) {
        double sums[2] = {};
        for (size_t i = column; i < left.size(); i += columns) {
            sums[0] += left[i] / static_cast<double>(left.size());
            sums[1] += right[i] / static_cast<double>(left.size());
        }
        green += std::min(sums[0], sums[1]);
        other += std::max(sums[0], sums[1]);
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

double AspectPenalty(uint64_t width, uint64_t height) {
    const double octaves = std::log2(static_cast<double>(width) / static_cast<double>(height) / kUsualAspect);
    return kAspectWeight * octaves * octaves;
}

/// Rows of a frame that begins at `offset`, read where they are needed.
class Rows {
  public:
    Rows(std::span<const uint8_t> bytes, uint64_t offset, const Hypothesis& hypothesis)
        : m_bytes(bytes), m_offset(offset), m_hypothesis(hypothesis) {
        m_hypothesis.alignment = 0;
    }

    uint64_t Count() const {
        return m_bytes.size() > m_offset ? (m_bytes.size() - m_offset) / m_hypothesis.rowBytes * m_hypothesis.rows : 0;
    }

    /// How much row `a` differs from row `b`, in groups of samples, so that noise does not count; both even or both odd
    /// for a mosaic.
    double Difference(uint64_t a, uint64_t b) const {
        constexpr size_t kGroup = 24;
        const std::vector<int32_t> first = Row(a);
        const std::vector<int32_t> second = Row(b);
        double sum = 0.5;
        for (size_t c = 0; c < std::min(first.size(), second.size()); c += kGroup) {
            int64_t difference = 0;
            for (size_t i = c; i < std::min({c + kGroup, first.size(), second.size()}); ++i) {
                difference += first[i] - second[i];
            }
            sum += static_cast<double>(std::abs(difference));
        }
        return sum;
    }

  private:
    std::vector<int32_t> Row(uint64_t row) const {
        const uint64_t start = m_offset + row / m_hypothesis.rows * m_hypothesis.rowBytes;
        const Plane plane = SamplesOf(m_bytes, m_hypothesis, static_cast<size_t>(start), m_hypothesis.rowBytes);
        if (plane.Rows() == 0) {
            return {};
        }
        const int32_t* const samples = plane.Row(row % m_hypothesis.rows);
        std::vector<int32_t> values(plane.Columns());
        std::transform(samples, samples + plane.Columns(), values.begin(),
                       [&](int32_t value) { return value << plane.ClearBits(); });
        return values;
    }

    std::span<const uint8_t> m_bytes;
    uint64_t m_offset;
    Hypothesis m_hypothesis;
};

/// How much more row `cut` differs from the one above it than any of some rows of the frame above it does.
double ContrastAt(const Rows& rows, uint64_t cut, uint64_t height) {
    constexpr uint64_t kElsewhere = 24;
    double most = 0;
    for (uint64_t i = 0; i < kElsewhere; ++i) {
        const uint64_t row = cut - height + 2 + i * (height - 3) / kElsewhere;
        most = std::max(most, rows.Difference(row, row - 2));
    }
    return rows.Difference(cut, cut - 2) / most;
}

/// What the rows h, 2h, ... say of frames that many rows high: the top of a frame and the bottom of the one before are
/// strangers at every cut.
enum class Cuts { kUnseen, kThere, kPerhaps, kNotThere };
Cuts CutsAt(const Rows& rows, uint64_t height) {
    constexpr uint64_t kCuts = 6;
    constexpr double kOneStranger = 2;
    constexpr double kStrangers = 1.3;
    constexpr double kFriends = 0.7;
    double logarithms = 0;
    double least = 1e9;
    uint64_t cuts = 0;
    for (; cuts < kCuts && (cuts + 1) * height < rows.Count() && height >= 8; ++cuts) {
        const double contrast = ContrastAt(rows, (cuts + 1) * height, height);
        logarithms += std::log2(contrast);
        least = std::min(least, contrast);
    }
    if (cuts == 0) {
        return Cuts::kUnseen;
    }
    const double mean = std::exp2(logarithms / static_cast<double>(cuts));
    if (least > 1 && mean > (cuts == 1 ? kOneStranger : kStrangers)) {
        return Cuts::kThere;
    }
    return mean > kFriends ? Cuts::kPerhaps : Cuts::kNotThere;
}

double CutPenalty(Cuts cuts, uint64_t frames) {
    switch (cuts) {
        case Cuts::kThere:
            return -kCutThere * std::min(std::log2(static_cast<double>(frames) + 1), 2.5);
        case Cuts::kNotThere:
            return kNoCutThere;
        default:
            return kSeveralFrames * (1 + std::log2(static_cast<double>(frames)));
    }
}

/// How many rows at the beginning are a header: as many as lie among the first few KiB and differ from those two rows
/// below as rows of a picture do not, all but a third.
uint64_t HeaderRows(const Rows& rows, size_t rowBytes) {
    constexpr uint64_t kMostHeaderBytes = 16384;
    constexpr double kStrange = 4;
    constexpr double kTooAlike = 0.1;
    const uint64_t most = std::min<uint64_t>(kMostHeaderBytes / rowBytes + 1, rows.Count() / 3);
    std::vector<double> differences;
    for (uint64_t row = 0; row < 2 * most + 8 && row + 2 < rows.Count(); ++row) {
        differences.push_back(rows.Difference(row, row + 2));
    }
    if (differences.size() < 8) {
        return 0;
    }
    std::vector<double> below(
        differences.begin() + static_cast<ptrdiff_t>(std::min<uint64_t>(most, differences.size() - 8)),
        differences.end());
    std::nth_element(below.begin(), below.begin() + static_cast<ptrdiff_t>(below.size() / 2), below.end());
    const double usual = below[below.size() / 2];
    uint64_t header = 0;
    uint64_t strange = 0;
    for (uint64_t row = 0; row < most && row < differences.size(); ++row) {
        if (differences[row] > kStrange * usual || differences[row] < kTooAlike * usual) {
            ++strange;
            header = strange * 3 > (row + 1) * 2 ? row + 1 : header;
        }
    }
    return header;
}

/// Offsets at which the first row may begin: none, a header whose size is usual, one that leaves whole rows, or one
/// that ends at the seam.
std::vector<uint64_t> OffsetsFor(uint64_t fileBytes, const Hypothesis& hypothesis, const Seam& seam) {
    constexpr uint64_t kUsual[] = {16, 32, 64, 80, 100, 128, 256, 512, 1024, 2048, 4096, 8192};
    const uint64_t row = hypothesis.rowBytes;
    const size_t unit = UnitBytes(hypothesis.packing, hypothesis.sites);
    const bool wholeUnits = row % unit == 0;
    std::set<uint64_t> offsets = {0, fileBytes % row};
    for (const uint64_t header : kUsual) {
        if (fileBytes > header && ((fileBytes - header) % row == 0 || hypothesis.rows > 1)) {
            offsets.insert(header);
        }
    }
    if (seam.found) {
        offsets.insert((hypothesis.alignment + seam.byte) % row);
    }
    std::vector<uint64_t> aligned;
    std::copy_if(offsets.begin(), offsets.end(), std::back_inserter(aligned), [&](uint64_t offset) {
        const uint64_t start = wholeUnits ? offset + row / unit * unit * 64 - hypothesis.alignment : 0;
        const bool fits = wholeUnits ? start % unit == 0 : (offset + row * 64 - hypothesis.alignment) % row == 0;
        return fits && offset + 2 * row <= fileBytes;
    });
    return aligned;
}

double SeamPenalty(const Hypothesis& hypothesis, const Seam& seam, uint64_t offset) {
    if (!seam.found) {
        return 0;
    }
    const size_t seamAt = (hypothesis.alignment + seam.byte) % hypothesis.rowBytes;
    const size_t distance = (offset + hypothesis.rowBytes - seamAt) % hypothesis.rowBytes;
    const size_t slack = BytesOfSamples(hypothesis, 2 * SitePeriod(hypothesis.sites)) + 1;
    return std::min(distance, hypothesis.rowBytes - distance) <= slack ? -kSeamThere : kNoSeamThere;
}

/// Powers of two are the usual sizes of headers, small ones more than large ones.
double HeaderPenalty(uint64_t offset) {
    return std::has_single_bit(offset) ? kUsualHeader + 0.002 * static_cast<double>(std::bit_width(offset)) : kHeader;
}

class Cutter {
  public:
    Cutter(std::span<const uint8_t> bytes, uint64_t fileBytes, const Hypothesis& hypothesis)
        : m_bytes(bytes), m_fileBytes(fileBytes), m_hypothesis(hypothesis), m_seam(FindSeam(bytes, hypothesis)) {}

    std::vector<Geometry> All() {
        std::set<uint64_t> offsets;
        for (const uint64_t offset : OffsetsFor(m_fileBytes, m_hypothesis, m_seam)) {
            offsets.insert(offset);
            m_header[offset] = HeaderRows(Rows(m_bytes, offset, m_hypothesis), m_hypothesis.rowBytes);
            const uint64_t below =
                offset + (m_header[offset] + m_hypothesis.rows - 1) / m_hypothesis.rows * m_hypothesis.rowBytes;
            if (below != offset) {
                offsets.insert(below);
                m_header.emplace(below, 0);
            }
        }
        for (const uint64_t offset : offsets) {
            AddFrom(offset);
        }
        return std::move(m_found);
    }

  private:
    void AddFrom(uint64_t offset) {
        const uint64_t bytes = m_fileBytes - offset;
        const size_t rowBits = RowBits(m_hypothesis);
        const uint64_t rows = bytes * 8 / rowBits;
        bool fits = false;
        for (uint64_t frames = 1; frames * 2 <= rows && frames <= kMostFramesByShape; ++frames) {
            if (bytes % frames == 0 && (bytes / frames * 8 / rowBits * rowBits + 7) / 8 == bytes / frames) {
                Add(offset, bytes / frames * 8 / rowBits, frames, 0);
                fits = true;
            }
        }
        if (!fits && rows >= 2) {
            Add(offset, rows, 1, bytes - (rows * rowBits + 7) / 8);
        }
    }

    void Add(uint64_t offset, uint64_t height, uint64_t frames, uint64_t rest) {
        const size_t width = RowPixels(m_hypothesis);
        if (height > UINT32_MAX || width < kNarrowest || (frames > 1 && (height * 5 < width || height > 5 * width))) {
            return;
        }
        Geometry geometry;
        geometry.offset = offset;
        geometry.width = static_cast<uint32_t>(width);
        geometry.height = static_cast<uint32_t>(height);
        geometry.frames = frames;
        geometry.rest = rest;
        geometry.penalty = AspectPenalty(width, height) + SeamPenalty(m_hypothesis, m_seam, offset);
        geometry.penalty += offset == 0 ? 0 : HeaderPenalty(offset);
        geometry.penalty += m_header[offset] > 0 ? kHeaderInside : 0;
        geometry.penalty += geometry.rest > 0 ? kRest : 0;
        geometry.penalty += width < kNarrow && m_fileBytes > kNarrow * kNarrow * 16 ? kNarrowFrame : 0;
        geometry.penalty += m_seam.wrongRows ? kWrongRows : 0;
        geometry.penalty += m_seam.emptyRows > kMostEmptyRows ? kEmptyRows : 0;
        geometry.penalty += width % 2 + height % 2 > 0 ? kOddSize : 0;
        if (frames > 1) {
            geometry.penalty += CutPenalty(CutsAt(Rows(m_bytes, offset, m_hypothesis), height), frames);
        }
        if (m_hypothesis.rowBytes % UnitBytes(m_hypothesis.packing, m_hypothesis.sites) == 0) {
            m_found.push_back(geometry);
        }
        AddPadded(geometry);
    }

    /// The same without the columns that are the same in every row, if these end at the row's end, and without bytes
    /// that are no whole group.
    void AddPadded(Geometry geometry) {
        if (m_hypothesis.rows > 1) {
            return;
        }
        const size_t left = m_seam.paddingSamples;
        const bool wholeGroups = m_hypothesis.rowBytes % UnitBytes(m_hypothesis.packing, m_hypothesis.sites) == 0;
        if (left == 0 && wholeGroups) {
            return;
        }
        const auto samples = static_cast<double>(RowSamples(m_hypothesis) - left);
        geometry.width = static_cast<uint32_t>(samples / SamplesPerPixel(m_hypothesis.sites) + 0.001);
        geometry.width -= static_cast<uint32_t>(geometry.width % PixelsOfGroup(m_hypothesis.sites));
        if (geometry.width * 20ull < RowPixels(m_hypothesis) ||
            SeamPenalty(m_hypothesis, m_seam, geometry.offset) > 0) {
            return;
        }
        geometry.stride = m_hypothesis.rowBytes;
        // Two or three pixels may as well be the picture's own border.
        const bool narrow = geometry.width + 3ull >= RowPixels(m_hypothesis) && wholeGroups;
        geometry.penalty += left == 0 ? kUnseenPadding : narrow ? kNarrowPadding : -kPadding;
        m_found.push_back(geometry);
    }

    std::span<const uint8_t> m_bytes;
    uint64_t m_fileBytes;
    const Hypothesis& m_hypothesis;
    Seam m_seam;
    std::map<uint64_t, uint64_t> m_header;  ///< rows of a header at the beginning, by offset
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
    std::stable_sort(all.begin(), all.end(),
                     [](const Geometry& a, const Geometry& b) { return a.penalty < b.penalty; });
    all.resize(std::min(all.size(), most));
    return all;
}

}  // namespace VexaGuess
