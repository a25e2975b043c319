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
        : c_(converter),
          plan_(converter.plan),
          g_(converter.geometry),
          buffer_(buffer),
          dst_(dst),
          stride_(stride),
          pictureRowBytes_(size_t{converter.geometry.width} * converter.plan.pixelBytes),
          direct_(converter.plan.feed == Feed::kRows && converter.geometry.RowsAreOneRun()) {}

    void Grey(uint32_t first, uint32_t end) {
        for (uint32_t row = first; row < end; ++row) {
            GreyRow(c_, buffer_, row, Row(row));
        }
    }

    void Luma(uint32_t first, uint32_t end) {
        for (uint32_t row = first; row < end; ++row) {
            plan_.call.Run(c_.scratch.picture, RowOrFed(row), g_.width, 1);
            LumaRow(c_, c_.scratch.picture, Row(row));
        }
    }

    void Pixels(uint32_t first, uint32_t end) {
        const bool finishes = plan_.finish.exchange || plan_.finish.matrix;
        if (direct_ && stride_ == pictureRowBytes_ && !finishes) {
            plan_.call.Run(Row(first), buffer_ + g_.StartOf(first).byte, g_.width, end - first);
            return;
        }
        for (uint32_t row = first; row < end; ++row) {
            plan_.call.Run(Row(row), RowOrFed(row), g_.width, 1);
            FinishRow(c_, Row(row));
        }
    }

    void Mosaic(uint32_t first, uint32_t end) {
        const uint32_t copiedRows = RowsThatFit(c_.scratch.pictureBytes, pictureRowBytes_);
        for (uint32_t row = first; row < end;) {
            uint32_t straightEnd = std::min(end, row + StraightRows());
            if (straightEnd + kMostOverlap > end && end != g_.height) {
                straightEnd = end > row + kMostOverlap ? end - kMostOverlap : row;
            }
            const Span around = Around({row, straightEnd});
            if (stride_ == pictureRowBytes_ && straightEnd > row && around.first >= first && around.end <= end) {
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
    uint8_t* Row(uint32_t row) const { return dst_ + row * stride_; }

    /// A row as the call takes it; from the buffer itself if it lies there so.
    const uint8_t* RowOrFed(uint32_t row) const {
        if (plan_.feed == Feed::kRows) {
            return buffer_ + g_.StartOf(row).byte;
        }
        FeedRow(c_, buffer_, row, c_.scratch.feed);
        return c_.scratch.feed;
    }

    Span Around(const Span& band) const {
        const uint32_t overlap = plan_.adaptive ? 3 : 1;
        const uint32_t first = band.first < overlap ? 0 : (band.first - overlap) & ~1u;
        const uint32_t end = (band.end + overlap + 1) & ~1u;
        return {first, std::min(end, g_.height)};
    }

    /// Rows of a band for which that much scratch holds it with the rows beside it.
    uint32_t RowsThatFit(size_t bytes, size_t rowBytes) const {
        const size_t rows = bytes / rowBytes;
        return rows >= g_.height ? g_.height : static_cast<uint32_t>(rows) - 2 * kMostOverlap;
    }

    uint32_t FedRows() const { return direct_ ? g_.height : RowsThatFit(c_.scratch.feedBytes, plan_.fedRowBytes); }

    uint32_t StraightRows() const {
        const bool finishes = plan_.finish.exchange || plan_.finish.matrix;
        return finishes ? std::min(FedRows(), RowsThatFit(c_.scratch.pictureBytes, pictureRowBytes_)) : FedRows();
    }

    /// The rows of a span one after the other. Rows that the last span has too are not read again.
    const uint8_t* Fed(const Span& span) {
        if (direct_) {
            return buffer_ + g_.StartOf(span.first).byte;
        }
        uint8_t* feed = c_.scratch.feed;
        const size_t rowBytes = plan_.fedRowBytes;
        uint32_t row = span.first;
        if (span.first >= have_.first && span.first < have_.end) {
            const uint32_t kept = std::min(have_.end, span.end) - span.first;
            std::memmove(feed, feed + (span.first - have_.first) * rowBytes, kept * rowBytes);
            row += kept;
        }
        for (; row < span.end; ++row) {
            FeedRow(c_, buffer_, row, feed + (row - span.first) * rowBytes);
        }
        have_ = span;
        return feed;
    }

    void Demosaic(uint8_t* to, const Span& span) {
        const uint8_t* fed = Fed(span);
        plan_.call.Run(to, fed, g_.width, span.end - span.first);
        if (plan_.setsLastRed && span.first == 0) {
            const size_t lastOfRow1 = size_t{2} * g_.width - 1;
            to[lastOfRow1 * 4 + 2] = fed[lastOfRow1];
        }
    }

    void Straight(const Span& band, const Span& around) {
        const size_t overwritten = (band.first - around.first) * stride_;
        std::memcpy(c_.scratch.saved, Row(around.first), overwritten);
        Demosaic(Row(around.first), around);
        std::memcpy(Row(around.first), c_.scratch.saved, overwritten);
        for (uint32_t row = band.first; row < band.end; ++row) {
            FinishRow(c_, Row(row));
        }
    }

    void Copied(const Span& band) {
        const Span around = Around(band);
        Demosaic(c_.scratch.picture, around);
        for (uint32_t row = band.first; row < band.end; ++row) {
            uint8_t* from = c_.scratch.picture + (row - around.first) * pictureRowBytes_;
            FinishRow(c_, from);
            std::memcpy(Row(row), from, pictureRowBytes_);
        }
    }

    const VcfConverter& c_;
    const Plan& plan_;
    const Geometry& g_;
    const uint8_t* buffer_;
    uint8_t* dst_;
    size_t stride_;
    size_t pictureRowBytes_;
    bool direct_;
    Span have_ = {0, 0};
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
