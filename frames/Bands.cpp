// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Rows in bands that fit the cache.
//
// Formats without neighbours go row by row. A mosaic is demosaiced as a band with the rows beside it, since the
// first and last rows of what the library is given follow the rules of a border. With a, b even:
//
//     row  a     border rules, wrong here unless a = 0
//     row  first     |
//     ...            |  the band
//     row  end - 1   |
//     row  b - 1  border rules, wrong here unless b = height
//
// Where destination rows have no padding and rows a to b - 1 are ours, the library writes them straight there: what it
// does to rows a to first - 1 is undone from a copy, rows end to b - 1 follow with the next band. Elsewhere it writes
// to scratch, from which the band's rows are copied.
#include <algorithm>
#include <cstring>

#include "Converter.h"

namespace VexaFrames {

namespace {

/// The rows of the feed that a band depends on.
struct Span {
    uint32_t first;
    uint32_t end;
};

class Bands {
  public:
    Bands(const VcfConverter& converter, const uint8_t* buffer, uint8_t* dst, size_t stride)
        : m_c(converter),
          m_plan(converter.plan),
          m_g(converter.geometry),
          m_buffer(buffer),
          m_dst(dst),
          m_stride(stride),
          m_pictureRowBytes(size_t{converter.geometry.width} * converter.plan.pixelBytes),
          m_direct(converter.plan.feed == Feed::kRows && converter.geometry.RowsAreOneRun()),
          m_finishes(converter.plan.finish.exchange || converter.plan.finish.matrix) {}

    void Grey(uint32_t first, uint32_t end) {
        for (uint32_t row = first; row < end; ++row) {
            GreyRow(m_c, m_buffer, row, Row(row));
        }
    }

    void Luma(uint32_t first, uint32_t end) {
        for (uint32_t row = first; row < end; ++row) {
            m_plan.call.Run(m_c.scratch.picture, RowOrFed(row), m_g.width, 1);
            LumaRow(m_c, m_c.scratch.picture, Row(row));
        }
    }

    void Pixels(uint32_t first, uint32_t end) {
        if (m_direct && m_stride == m_pictureRowBytes && !m_finishes) {
            m_plan.call.Run(Row(first), m_buffer + m_g.StartOf(first).byte, m_g.width, end - first);
            return;
        }
        for (uint32_t row = first; row < end; ++row) {
            m_plan.call.Run(Row(row), RowOrFed(row), m_g.width, 1);
            FinishRow(m_c, Row(row));
        }
    }

    void Mosaic(uint32_t first, uint32_t end) {
        const uint32_t copiedRows = RowsThatFit(m_c.scratch.pictureBytes, m_pictureRowBytes);
        for (uint32_t row = first; row < end;) {
            uint32_t straightEnd = std::min(end, row + StraightRows());
            if (straightEnd + kMostOverlap > end && end != m_g.height) {
                straightEnd = end > row + kMostOverlap ? end - kMostOverlap : row;
            }
            const Span around = Around({row, straightEnd});
            if (m_stride == m_pictureRowBytes && straightEnd > row && around.first >= first && around.end <= end) {
                Straight({row, straightEnd}, around);
                row = straightEnd;
            } else {
                const uint32_t copiedEnd = std::min(end, row + std::min(copiedRows, FedRows()));
                Copied({row, copiedEnd});
                row = copiedEnd;
            }
        }
    }

  private:
    uint8_t* Row(uint32_t row) const { return m_dst + row * m_stride; }

    /// A row as the call takes it; from the buffer itself if it lies there so.
    const uint8_t* RowOrFed(uint32_t row) const {
        if (m_plan.feed == Feed::kRows) {
            return m_buffer + m_g.StartOf(row).byte;
        }
        FeedRow(m_c, m_buffer, row, m_c.scratch.feed);
        return m_c.scratch.feed;
    }

    Span Around(const Span& band) const {
        const uint32_t overlap = m_plan.adaptive ? 3 : 1;
        const uint32_t first = band.first < overlap ? 0 : (band.first - overlap) & ~1u;
        const uint32_t end = (band.end + overlap + 1) & ~1u;
        return {first, std::min(end, m_g.height)};
    }

    /// Rows of a band for which that much scratch holds it with the rows beside it.
    uint32_t RowsThatFit(size_t bytes, size_t rowBytes) const {
        const size_t rows = bytes / rowBytes;
        return rows >= m_g.height ? m_g.height : static_cast<uint32_t>(rows) - 2 * kMostOverlap;
    }

    uint32_t FedRows() const { return m_direct ? m_g.height : RowsThatFit(m_c.scratch.feedBytes, m_plan.fedRowBytes); }

    uint32_t StraightRows() const {
        return m_finishes ? std::min(FedRows(), RowsThatFit(m_c.scratch.pictureBytes, m_pictureRowBytes)) : FedRows();
    }

    /// The rows of a span one after the other. Rows that the last span has too are not read again.
    const uint8_t* Fed(const Span& span) {
        if (m_direct) {
            return m_buffer + m_g.StartOf(span.first).byte;
        }
        uint8_t* feed = m_c.scratch.feed;
        const size_t rowBytes = m_plan.fedRowBytes;
        uint32_t row = span.first;
        if (span.first >= m_have.first && span.first < m_have.end) {
            const uint32_t kept = std::min(m_have.end, span.end) - span.first;
            std::memmove(feed, feed + (span.first - m_have.first) * rowBytes, kept * rowBytes);
            row += kept;
        }
        for (; row < span.end; ++row) {
            FeedRow(m_c, m_buffer, row, feed + (row - span.first) * rowBytes);
        }
        m_have = span;
        return feed;
    }

    void Demosaic(uint8_t* to, const Span& span) {
        const uint8_t* fed = Fed(span);
        m_plan.call.Run(to, fed, m_g.width, span.end - span.first);
        if (m_plan.setsLastRed && span.first == 0) {
            const size_t lastOfRow1 = size_t{2} * m_g.width - 1;
            to[lastOfRow1 * 4 + 2] = fed[lastOfRow1];
        }
    }

    void Straight(const Span& band, const Span& around) {
        const size_t overwritten = (band.first - around.first) * m_stride;
        std::memcpy(m_c.scratch.saved, Row(around.first), overwritten);
        Demosaic(Row(around.first), around);
        std::memcpy(Row(around.first), m_c.scratch.saved, overwritten);
        for (uint32_t row = band.first; row < band.end && m_finishes; ++row) {
            FinishRow(m_c, Row(row));
        }
    }

    void Copied(const Span& band) {
        const Span around = Around(band);
        Demosaic(m_c.scratch.picture, around);
        for (uint32_t row = band.first; row < band.end; ++row) {
            uint8_t* from = m_c.scratch.picture + (row - around.first) * m_pictureRowBytes;
            FinishRow(m_c, from);
            std::memcpy(Row(row), from, m_pictureRowBytes);
        }
    }

    const VcfConverter& m_c;
    const Plan& m_plan;
    const Geometry& m_g;
    const uint8_t* m_buffer;
    uint8_t* m_dst;
    size_t m_stride;
    size_t m_pictureRowBytes;
    bool m_direct;
    bool m_finishes;
    Span m_have = {0, 0};
};

}  // namespace

void ConvertBand(const VcfConverter& converter, const uint8_t* buffer, uint8_t* dst, size_t stride, uint32_t first,
                 uint32_t end) {
    Bands bands(converter, buffer, dst, stride);
    if (converter.plan.greyRows) {
        bands.Grey(first, end);
    } else if (converter.plan.luma) {
        bands.Luma(first, end);
    } else if (converter.plan.mosaic) {
        bands.Mosaic(first, end);
    } else {
        bands.Pixels(first, end);
    }
}

}  // namespace VexaFrames
