// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See Account.h.
#include "Account.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>

namespace VexaGuess {

namespace {

constexpr size_t kBlocks = 4;
constexpr size_t kBlockBytes = size_t{28} << 10;
constexpr size_t kLongestHeader = size_t{16} << 10;
constexpr size_t kFewestRows = 4;
constexpr double kUsualAspect = 1.4;
constexpr double kPerOctave = 4;  ///< bits, squared
constexpr uint32_t kFewRows = 24;
constexpr double kFewRowsBits = 10;
constexpr double kMostEvidence = 40;  ///< bits that one row says for or against a border

/// Surroundings by the steps between the known neighbours.
size_t ContextOf(int32_t steps) {
    return std::min<size_t>(std::bit_width(static_cast<uint32_t>(steps)), 19);
}

/// Bits that a header takes: zeros that fill it are cheap, the more of them the cheaper; any other byte like the one
/// before takes `again`.
double BytesBits(std::span<const uint8_t> bytes, double again) {
    constexpr double kFill = 0.05;
    constexpr double kOther = 8.5;
    constexpr size_t kLongRun = 64;
    constexpr double kLongFill = 0.001;
    double bits = 0;
    size_t zeros = 0;
    for (size_t i = 0; i < bytes.size(); ++i) {
        zeros = bytes[i] == 0 ? zeros + 1 : 0;
        const double fill = zeros > kLongRun ? kLongFill : kFill;
        bits += i > 0 && bytes[i] == bytes[i - 1] ? (bytes[i] == 0 ? fill : again) : kOther;
    }
    return bits;
}

/// Bits to name a header's length.
double OffsetBits(uint64_t offset) {
    if (offset == 0) {
        return 0;
    }
    if (std::has_single_bit(offset) && offset >= 16) {
        return 5;
    }
    return offset % 16 == 0 || offset % 100 == 0 ? 10 : 14;
}

/// Bits to name a frame's shape.
double ShapeBits(const Geometry& geometry, size_t rowPixels) {
    const double octaves = std::log2(static_cast<double>(geometry.width) / geometry.height / kUsualAspect);
    double bits = kPerOctave * octaves * octaves + (geometry.height < kFewRows ? kFewRowsBits : 0);
    bits += geometry.width % 2 == 0 ? 0 : 1;
    bits += geometry.height % 2 == 0 ? 0 : 1;
    bits += geometry.width % 8 == 0 ? 0 : 1;
    if (geometry.stride != 0) {
        bits += 4 + (geometry.width + 3ull >= rowPixels ? 4 : 0);
    }
    if (geometry.frames > 1) {
        bits += 3 + 2 * std::log2(static_cast<double>(geometry.frames));
    }
    return bits;
}

}  // namespace

Account::Account(std::span<const uint8_t> bytes, const Hypothesis& hypothesis, uint64_t phase, size_t samples)
    : m_bytes(bytes),
      m_hypothesis(hypothesis),
      m_phase(phase),
      m_samples(samples),
      m_left(hypothesis.sites == Sites::kUyyvyy ? 6 : SitePeriod(hypothesis.sites)),
      m_above(hypothesis.sites == Sites::kBayer ? 2 : 1) {
    m_hypothesis.alignment = 0;
    const size_t row = m_hypothesis.rowBytes;
    const size_t blockBytes = std::max(kBlockBytes, 8 * row);
    const size_t first = std::min<size_t>(bytes.size() / 4, kLongestHeader / 2);
    const size_t last = bytes.size() - std::min(bytes.size(), blockBytes + 3 * row);
    std::vector<Plane> blocks;
    size_t before = 0;
    for (size_t i = 0; i < kBlocks; ++i) {
        const size_t at = first >= last ? first : first + (last - first) * i / (kBlocks - 1);
        const size_t start = static_cast<size_t>(phase) + at / (2 * row) * 2 * row;
        if (!blocks.empty() && start <= before) {
            break;
        }
        before = start;
        Plane block = SamplesOf(bytes, m_hypothesis, start, blockBytes).Cropped(samples);
        if (block.Rows() >= kFewestRows && block.Columns() > 2 * m_left) {
            const double fitted = FittedBitsPerSample(block, m_above, SitePeriod(m_hypothesis.sites));
            m_rowBits += std::min(RowBits(block, m_hypothesis.sites, Measure::kEntropy),
                                  fitted * static_cast<double>(block.Columns()));
            blocks.push_back(std::move(block));
        }
    }
    if (blocks.empty()) {
        return;
    }
    m_known = true;
    m_rowBits /= static_cast<double>(blocks.size());
    const double rowBytes = static_cast<double>(row) / static_cast<double>(m_hypothesis.rows);
    m_rowBits += m_hypothesis.alike ? rowBytes : 0;
    Learn(blocks);
    LearnBorders(blocks);
    m_rowBits += PaddingBits();
}

void Account::Learn(std::span<const Plane> blocks) {
    m_clearBits = 16;
    for (const Plane& block : blocks) {
        m_clearBits = std::min(m_clearBits, block.ClearBits());
    }
    const auto count = [](Table& table, int32_t miss, int32_t steps) {
        table[ContextOf(steps)][miss < 0 ? 1 : 0][std::bit_width(static_cast<uint32_t>(std::abs(miss)))] += 1;
    };
    double rows = 0;
    Samples row(m_samples);
    Samples above(m_samples);
    const auto copy = [&](const Plane& block, size_t r, Samples& to) {
        to.resize(block.Columns());
        std::transform(block.Row(r), block.Row(r) + block.Columns(), to.begin(),
                       [&](int32_t value) { return (value << block.ClearBits()) >> m_clearBits; });
    };
    for (const Plane& block : blocks) {
        for (size_t r = m_above; r < block.Rows(); ++r) {
            copy(block, r, row);
            copy(block, r - m_above, above);
            for (size_t c = m_left; c < row.size(); ++c) {
                const int32_t a = row[c - m_left];
                const int32_t b = above[c];
                const int32_t d = above[c - m_left];
                const auto [low, high] = std::minmax(a, b);
                count(m_fromBoth, row[c] - std::clamp(a + b - d, low, high), std::abs(a - d) + std::abs(b - d));
                count(m_fromLeft, row[c] - a, c < 2 * m_left ? 0 : std::abs(a - row[c - 2 * m_left]));
            }
            ++rows;
        }
    }
    const auto price = [](Table& table) {
        for (auto& context : table) {
            double total = 0;
            for (const auto& ofSign : context) {
                for (const double misses : ofSign) {
                    total += misses + 0.2;
                }
            }
            for (auto& ofSign : context) {
                for (size_t bits = 0; bits < kClasses; ++bits) {
                    ofSign[bits] =
                        std::log2(total / (ofSign[bits] + 0.2)) + (bits > 1 ? static_cast<double>(bits - 1) : 0);
                }
            }
        }
    };
    price(m_fromBoth);
    price(m_fromLeft);
}

/// Rows inside a picture, and rows below some of another place: what a border looks like in this file.
void Account::LearnBorders(std::span<const Plane> blocks) {
    const auto copy = [&](const Plane& block, size_t r) {
        Samples to(block.Columns());
        std::transform(block.Row(r), block.Row(r) + block.Columns(), to.begin(),
                       [&](int32_t value) { return (value << block.ClearBits()) >> m_clearBits; });
        return to;
    };
    double cost = 0;
    for (size_t i = 0; i < blocks.size(); ++i) {
        const Plane& block = blocks[i];
        const Plane& other = blocks[(i + 1) % blocks.size()];
        const size_t step = block.Rows() / 24 | 1;  // odd: rows of a mosaic are of two kinds
        for (size_t r = m_above; r < block.Rows(); r += step) {
            const Samples row = copy(block, r);
            const double fromLeft = Cost(row);
            const double fromBoth = Cost(row, copy(block, r - m_above));
            // Far away, and of the same kind of row.
            const size_t far = (r + (blocks.size() > 1 ? 0 : block.Rows() / 4 * 2)) % (other.Rows() / 2 * 2);
            cost += fromBoth;
            m_inside.push_back(fromLeft - fromBoth);
            m_between.push_back(fromLeft - Cost(row, copy(other, far)));
        }
    }
    m_meanCost = cost / static_cast<double>(m_inside.size());
    std::sort(m_inside.begin(), m_inside.end());
    std::sort(m_between.begin(), m_between.end());
}

/// The logarithm of how likely a row is inside a picture against at its top: negative where a frame begins.
double Account::BorderEvidence(double dearer) const {
    // Shares of rows beyond a value; beyond all of them they fall off as they did before.
    const auto logShare = [](size_t beyond, size_t rows, double distance, double spread) {
        const double share = (static_cast<double>(beyond) + 0.5) / (static_cast<double>(rows) + 1);
        return std::log2(share) - std::max(distance, 0.0) / std::max(spread, 1.0);
    };
    const size_t rows = m_inside.size();
    const double octaves = std::log2(static_cast<double>(rows) + 1);
    const auto inside =
        static_cast<size_t>(std::upper_bound(m_inside.begin(), m_inside.end(), dearer) - m_inside.begin());
    const auto between =
        static_cast<size_t>(m_between.end() - std::lower_bound(m_between.begin(), m_between.end(), dearer));
    const double asInside =
        logShare(inside, rows, m_inside.front() - dearer, (m_inside[rows / 2] - m_inside.front()) / octaves);
    const double asBetween =
        logShare(between, rows, dearer - m_between.back(), (m_between.back() - m_between[rows / 2]) / octaves);
    return std::clamp(asInside - asBetween, -kMostEvidence, kMostEvidence);
}

Account::Samples Account::Row(uint64_t frameStart, uint64_t row) const {
    const uint64_t start = frameStart + row / m_hypothesis.rows * m_hypothesis.rowBytes;
    if (start + m_hypothesis.rowBytes > m_bytes.size()) {
        return {};
    }
    const Plane plane = SamplesOf(m_bytes, m_hypothesis, static_cast<size_t>(start), m_hypothesis.rowBytes);
    if (plane.Rows() == 0) {
        return {};
    }
    const int32_t* const samples = plane.Row(row % m_hypothesis.rows);
    Samples values(std::min(plane.Columns(), m_samples));
    std::transform(samples, samples + values.size(), values.begin(),
                   [&](int32_t value) { return (value << plane.ClearBits()) >> m_clearBits; });
    return values;
}

double Account::Cost(const Samples& row) const {
    double bits = 0;
    for (size_t c = m_left; c < row.size(); ++c) {
        const int32_t miss = row[c] - row[c - m_left];
        const size_t context = ContextOf(c < 2 * m_left ? 0 : std::abs(row[c - m_left] - row[c - 2 * m_left]));
        bits += m_fromLeft[context][miss < 0 ? 1 : 0][std::bit_width(static_cast<uint32_t>(std::abs(miss)))];
    }
    return bits;
}

double Account::Cost(const Samples& row, const Samples& above) const {
    double bits = 0;
    for (size_t c = m_left; c < std::min(row.size(), above.size()); ++c) {
        const int32_t a = row[c - m_left];
        const int32_t b = above[c];
        const int32_t d = above[c - m_left];
        const auto [low, high] = std::minmax(a, b);
        const int32_t miss = row[c] - std::clamp(a + b - d, low, high);
        const size_t context = ContextOf(std::abs(a - d) + std::abs(b - d));
        bits += m_fromBoth[context][miss < 0 ? 1 : 0][std::bit_width(static_cast<uint32_t>(std::abs(miss)))];
    }
    return bits;
}

size_t Account::UsedBytes() const {
    return PackedBytes(m_hypothesis.packing, m_samples);
}

/// Bytes behind the samples cost nothing where they are the same in every row, or those that the row begins with.
double Account::PaddingBits() {
    constexpr size_t kRows = 64;
    const size_t used = UsedBytes();
    const size_t row = m_hypothesis.rowBytes;
    if (m_hypothesis.rows > 1 || used >= row) {
        return 0;
    }
    const size_t count = (m_bytes.size() - static_cast<size_t>(m_phase)) / row;
    const size_t step = std::max<size_t>(count / kRows, 1);
    double fromAbove = 0;
    double fromRow = 0;
    double rows = 0;
    for (size_t r = 1; r < count; r += step) {
        const uint8_t* const at = m_bytes.data() + m_phase + r * row;
        for (size_t i = used; i < row; ++i) {
            fromAbove += at[i] != at[i - row] ? 1 : 0;
            fromRow += at[i] != at[i - used] ? 1 : 0;
        }
        ++rows;
    }
    const double bits = 8.5 * std::min(fromAbove, fromRow) / std::max(rows, 1.0);
    m_samePadding = bits < 1 && fromAbove <= fromRow;
    return bits;
}

/// Bytes behind the samples of a row that are not what they are in the middle of the file.
double Account::StrangePaddingBits(size_t start) const {
    const size_t used = UsedBytes();
    const size_t row = m_hypothesis.rowBytes;
    if (m_hypothesis.rows > 1 || !m_samePadding) {
        return 0;
    }
    const size_t middle =
        static_cast<size_t>(m_phase) + (m_bytes.size() - static_cast<size_t>(m_phase)) / row / 2 * row;
    double bits = 0;
    for (size_t i = used; i < row && std::max(start, middle) + row <= m_bytes.size(); ++i) {
        bits += m_bytes[start + i] != m_bytes[middle + i] ? 8.5 : 0;
    }
    return bits;
}

/// Reads the rows of what may be a header.
double Account::HeadBits(uint64_t offset) {
    if (m_headBytes == 0) {
        const size_t row = m_hypothesis.rowBytes;
        m_headBytes = std::min<size_t>(kLongestHeader + 4 * row, m_bytes.size() / 2);
        const size_t rows = m_hypothesis.rows;
        Samples before[2];
        for (uint64_t r = 0; m_phase + (r / rows + 1) * row <= m_headBytes; ++r) {
            Samples samples = Row(m_phase, r);
            const bool readable = !samples.empty();
            const double unread = 16.0 * static_cast<double>(m_samples);
            m_firstCosts.push_back(readable ? Cost(samples) : unread);
            const Samples& above = before[r % m_above];
            m_rowCosts.push_back(!readable || above.empty() ? m_firstCosts.back() : Cost(samples, above));
            m_paddingBits.push_back(StrangePaddingBits(static_cast<size_t>(m_phase + r / rows * row)));
            before[r % m_above] = std::move(samples);
        }
        m_headerBits.resize(m_rowCosts.size());
        for (size_t r = 0; r < m_headerBits.size(); ++r) {
            m_headerBits[r] = BytesBits(m_bytes.first(static_cast<size_t>(m_phase) + r / rows * row), Again());
        }
    }
    const size_t first = static_cast<size_t>((offset - m_phase) / m_hypothesis.rowBytes) * m_hypothesis.rows;
    double bits = 0;
    const double scale = m_meanCost > 0 ? m_rowBits / m_meanCost : 1;
    for (size_t r = first; r < m_rowCosts.size(); ++r) {
        bits += (r < first + m_above ? m_firstCosts[r] : m_rowCosts[r]) * scale - m_rowBits + m_paddingBits[r];
    }
    return bits + (first < m_headerBits.size() ? m_headerBits[first]
                                               : BytesBits(m_bytes.first(static_cast<size_t>(offset)), Again()));
}

std::vector<uint64_t> Account::Offsets(size_t most) {
    std::vector<std::pair<double, uint64_t>> found;
    const size_t rows = m_hypothesis.rows;
    const double perRow = m_rowBits;
    static_cast<void>(HeadBits(m_phase));
    for (size_t r = 0; r < m_rowCosts.size(); r += rows) {
        const uint64_t offset = m_phase + r / rows * m_hypothesis.rowBytes;
        if (offset > kLongestHeader) {
            break;
        }
        found.emplace_back(HeadBits(offset) + OffsetBits(offset) - perRow * static_cast<double>(r), offset);
    }
    if (found.empty()) {
        return {m_phase};
    }
    std::sort(found.begin(), found.end());
    std::vector<uint64_t> offsets;
    for (size_t i = 0; i < std::min(most, found.size()); ++i) {
        offsets.push_back(found[i].second);
    }
    return offsets;
}

/// What the first rows of frames say against a border there; below 0 where frames begin indeed.
double Account::BorderBits(const Geometry& geometry) {
    constexpr uint64_t kLooked = 24;
    const uint64_t frameBytes = (uint64_t{geometry.height} * (m_hypothesis.rowBytes * 8 / m_hypothesis.rows) + 7) / 8;
    const auto [known, isNew] = m_border.try_emplace(geometry.offset << 40 | frameBytes, 0);
    if (!isNew) {
        return known->second;
    }
    const uint64_t borders = geometry.frames - 1;
    double sum = 0;
    double seen = 0;
    for (uint64_t i = 0; i < std::min(borders, kLooked); ++i) {
        // Of many, some that are no multiples of one number: every fourth border may be a true one.
        const uint64_t frame = 1 + (borders <= kLooked ? i : (i * borders / kLooked + i * i) % borders);
        const uint64_t start = geometry.offset + frame * frameBytes;
        for (uint64_t r = 0; r < m_above; ++r) {
            const Samples first = Row(start, r);
            const uint64_t rowAbove = geometry.height - m_above + r;
            const Samples above = Row(start - frameBytes, rowAbove);
            if (!first.empty() && !above.empty() && geometry.height > m_above) {
                sum += BorderEvidence(Cost(first) - Cost(first, above));
                seen += 1.0 / static_cast<double>(m_above);
            }
        }
    }
    // Frames resemble each other, so further borders say less than the first.
    known->second = seen > 0 ? sum / seen * (1 + std::log2(static_cast<double>(borders))) : 0;
    return known->second;
}

double Account::Bits(const Geometry& geometry) {
    double bits = m_rowBits * geometry.height * static_cast<double>(geometry.frames);
    bits += HeadBits(geometry.offset);
    bits += geometry.frames > 1 ? BorderBits(geometry) : 0;
    bits += geometry.rest > 0 ? 20 + 8 * static_cast<double>(geometry.rest) : 0;
    bits += OffsetBits(geometry.offset) + ShapeBits(geometry, RowPixels(m_hypothesis));
    return bits;
}

}  // namespace VexaGuess
