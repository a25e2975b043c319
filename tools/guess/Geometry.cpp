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
#include "Seam.h"

namespace VexaGuess {

namespace {

constexpr size_t kNarrowest = 12;       ///< pixels
constexpr double kMostEmptyRows = 0.4;  ///< more: padding as long as rows was taken for rows
constexpr double kEmptyRows = 1;
constexpr double kWrongRows = 0.7;
constexpr double kRest = 0.3;
constexpr double kFourKinds = 0.06;  ///< four fits follow a grey picture a little better than one does
constexpr size_t kNarrow = 64;
constexpr uint64_t kWidestPadding = 100;  ///< times the picture's width
constexpr double kNarrowFrame = 0.2;
constexpr size_t kOffsetsEach = 4;
constexpr uint64_t kMostFramesByShape = 100000;

/// Pixels that share their chroma.
size_t PixelsOfGroup(Sites sites) {
    return sites == Sites::kUyyvyy ? 4 : sites == Sites::kUyvy || sites == Sites::kYuyv ? 2 : 1;
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
            const size_t repeated = m_hypothesis.rows == 1 ? RepeatedFrom(m_bytes, m_hypothesis.rowBytes, phase) : 0;
            if (repeated > 0) {
                AddRows(phase, SamplesBefore(phase, repeated), true);
            } else if (m_hypothesis.rows == 1 && (m_seam.paddingSamples > 0 || !wholeUnits) &&
                       (!wholeUnits || IsAtSeam(m_hypothesis, m_seam, phase))) {
                AddRows(phase, samples - m_seam.paddingSamples, true);
            }
        }
        return std::move(m_found);
    }

  private:
    /// Samples in so many bytes, without those that fill the last group of a row in the same way in all rows.
    size_t SamplesBefore(uint64_t phase, size_t rowBytes) const {
        constexpr size_t kLookedAt = size_t{1} << 18;
        const GroupSize group = GroupOf(m_hypothesis.packing);
        size_t samples = rowBytes * 8 / group.BitsPerSample();
        const size_t start = m_bytes.size() / 8 / m_hypothesis.rowBytes * m_hypothesis.rowBytes;
        Hypothesis fromPhase = m_hypothesis;
        fromPhase.alignment = 0;
        const Plane plane = SamplesOf(m_bytes, fromPhase, start + static_cast<size_t>(phase), kLookedAt);
        const auto isFilling = [&](size_t column) {
            for (size_t r = 1; r < plane.Rows(); ++r) {
                if (plane.Row(r)[column] != plane.Row(0)[column]) {
                    return false;
                }
            }
            return plane.Rows() > 1;
        };
        while (samples > 1 && samples <= plane.Columns() &&
               PackedBytes(m_hypothesis.packing, samples - 1) == rowBytes && isFilling(samples - 1)) {
            --samples;
        }
        return samples;
    }

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
        if (geometry.width < kNarrowest || geometry.width * kWidestPadding < RowPixels(m_hypothesis)) {
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
        geometry.penalty += m_hypothesis.sites == Sites::kBayer && !m_seam.sitesDiffer ? kFourKinds : 0;
        geometry.penalty += m_seam.leaning;
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
