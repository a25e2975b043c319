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
#include <set>

namespace VexaGuess {

namespace {

constexpr double kUsualAspect = 1.45;
constexpr double kAspectWeight = 0.03;
constexpr double kNoSeamThere = 0.06;
constexpr double kOddSize = 0.02;
constexpr double kHeader = 0.06;
constexpr double kUsualHeader = 0.01;
constexpr double kRest = 0.08;
constexpr double kSeveralFrames = 0.01;
constexpr double kNoCutThere = 0.1;
constexpr double kStrangers = 2.2;
constexpr double kCutThere = 0.04;
constexpr uint64_t kMostFramesByShape = 100000;

/// Mean step from each sample to the next one of its kind, for every column; column 0 is the step from the row before.
std::vector<double> Steps(const Plane& samples, size_t lag) {
    const size_t columns = samples.Columns();
    std::vector<double> steps(columns);
    for (size_t r = 1; r < samples.Rows(); ++r) {
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

size_t BytesOfSamples(const Hypothesis& hypothesis, size_t samples) {
    const GroupSize group = GroupOf(hypothesis.packing);
    return samples * group.bytes / group.samples;
}

size_t BitsPerPixel(const Hypothesis& hypothesis) {
    return hypothesis.rowBytes * 8 / std::max<size_t>(RowPixels(hypothesis), 1);
}

double AspectPenalty(uint64_t width, uint64_t height) {
    const double octaves = std::log2(static_cast<double>(width) / static_cast<double>(height) / kUsualAspect);
    return kAspectWeight * octaves * octaves;
}

/// How much more rows h, 2h, ... differ from those above them than other rows do, at the least striking of them: the
/// top of a frame and the bottom of the one before are strangers. 0 where the bytes hold no such place.
double CutContrast(std::span<const uint8_t> bytes, uint64_t offset, const Hypothesis& hypothesis, uint64_t height) {
    constexpr uint64_t kCuts = 4;
    Hypothesis fromFirstRow = hypothesis;
    fromFirstRow.alignment = 0;
    const size_t rowBytes = hypothesis.rowBytes;
    const auto step = [&](uint64_t row) {
        const Plane rows = SamplesOf(bytes, fromFirstRow, offset + (row - 2) * rowBytes, 3 * rowBytes);
        uint64_t sum = 1;
        for (size_t c = 0; c < rows.Columns() && rows.Rows() == 3; ++c) {
            sum += static_cast<uint64_t>(std::abs(rows.Row(2)[c] - rows.Row(0)[c]));
        }
        return static_cast<double>(sum);
    };
    const uint64_t rows = bytes.size() > offset ? (bytes.size() - offset) / rowBytes : 0;
    double least = 0;
    for (uint64_t cut = 1; cut <= kCuts && cut * height < rows && height >= 8; ++cut) {
        double elsewhere = 0;
        for (uint64_t i = 1; i < 8; ++i) {
            elsewhere += step(cut * height - height + std::max<uint64_t>(i * height / 8, 2)) / 7;
        }
        const double contrast = step(cut * height) / elsewhere;
        least = cut == 1 ? contrast : std::min(least, contrast);
    }
    return least;
}

/// Offsets at which the first row may begin: none, a header whose size is usual, one that leaves whole rows, or one
/// that ends at the seam.
std::vector<uint64_t> OffsetsFor(uint64_t fileBytes, const Hypothesis& hypothesis, const Seam& seam) {
    constexpr uint64_t kUsual[] = {16, 32, 64, 80, 100, 128, 256, 512, 1024, 2048, 4096, 8192};
    const uint64_t row = hypothesis.rowBytes;
    const size_t unit = UnitBytes(hypothesis.packing, hypothesis.sites);
    std::set<uint64_t> offsets = {0, fileBytes % row};
    for (const uint64_t header : kUsual) {
        if (fileBytes > header && (fileBytes - header) % row == 0) {
            offsets.insert(header);
        }
    }
    if (seam.found) {
        offsets.insert((hypothesis.alignment + seam.byte) % row);
    }
    std::vector<uint64_t> aligned;
    std::copy_if(offsets.begin(), offsets.end(), std::back_inserter(aligned), [&](uint64_t offset) {
        return (offset + unit * 64 - hypothesis.alignment) % unit == 0 && offset + 2 * row <= fileBytes;
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
    return std::min(distance, hypothesis.rowBytes - distance) <= slack ? 0 : kNoSeamThere;
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
        for (const uint64_t offset : OffsetsFor(m_fileBytes, m_hypothesis, m_seam)) {
            const uint64_t rows = (m_fileBytes - offset) / m_hypothesis.rowBytes;
            for (uint64_t frames = 1; frames * 2 <= rows && frames <= kMostFramesByShape; ++frames) {
                if (rows % frames == 0) {
                    Add(offset, rows / frames, frames);
                }
            }
        }
        return std::move(m_found);
    }

  private:
    void Add(uint64_t offset, uint64_t height, uint64_t frames) {
        const size_t width = RowPixels(m_hypothesis);
        if (height > UINT32_MAX || (frames > 1 && (height * 5 < width || height > 5 * width))) {
            return;
        }
        Geometry geometry;
        geometry.offset = offset;
        geometry.width = static_cast<uint32_t>(width);
        geometry.height = static_cast<uint32_t>(height);
        geometry.frames = frames;
        geometry.rest = m_fileBytes - offset - frames * height * m_hypothesis.rowBytes;
        geometry.penalty = AspectPenalty(width, height) + SeamPenalty(m_hypothesis, m_seam, offset);
        geometry.penalty += offset == 0 ? 0 : HeaderPenalty(offset);
        geometry.penalty += geometry.rest > 0 ? kRest : 0;
        geometry.penalty += width % 2 + height % 2 > 0 ? kOddSize : 0;
        if (frames > 1) {
            const double contrast = CutContrast(m_bytes, offset, m_hypothesis, height);
            geometry.penalty += contrast > kStrangers ? -kCutThere : contrast > 0 ? kNoCutThere : kSeveralFrames;
        }
        m_found.push_back(geometry);
        AddPadded(geometry);
    }

    /// The same without the columns that are the same in every row, if these end at the row's end.
    void AddPadded(Geometry geometry) {
        const size_t padding = m_seam.paddingBytes;
        const size_t pixels = padding * 8 / BitsPerPixel(m_hypothesis);
        if (pixels == 0 || pixels * 4 > geometry.width || SeamPenalty(m_hypothesis, m_seam, geometry.offset) > 0) {
            return;
        }
        geometry.width -= static_cast<uint32_t>(pixels);
        geometry.stride = m_hypothesis.rowBytes;
        geometry.penalty -= 0.01;
        m_found.push_back(geometry);
    }

    std::span<const uint8_t> m_bytes;
    uint64_t m_fileBytes;
    const Hypothesis& m_hypothesis;
    Seam m_seam;
    std::vector<Geometry> m_found;
};

}  // namespace

Seam FindSeam(std::span<const uint8_t> bytes, const Hypothesis& hypothesis) {
    constexpr size_t kLookedAt = size_t{1} << 20;
    constexpr double kOutstanding = 2.0;
    const Plane samples = SamplesOf(bytes, hypothesis, 0, kLookedAt);
    const size_t lag = SitePeriod(hypothesis.sites);
    if (samples.Rows() < 4 || samples.Columns() < 8 * lag) {
        return {};
    }
    const std::vector<double> steps = Steps(samples, lag);
    const auto [first, length] = ConstantColumns(samples);
    Seam seam;
    if (length > 0 && length < samples.Columns()) {
        const size_t end = (first + length) % samples.Columns();
        seam = {BytesOfSamples(hypothesis, end / lag * lag), true, BytesOfSamples(hypothesis, length)};
        return seam;
    }
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
