// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// What a whole file costs in a layout.
//
// A row length and a packing say what rows in the middle of a picture cost. Where frames begin, how long the header is
// and where padding starts hardly changes that: such a choice concerns a few rows of thousands. So these are charged
// one by one, in bits, and the layout of the smallest sum is the likeliest:
//
//     header    runs of one value are cheap, other bytes cost 8 bits
//     rows      what their samples cost when neighbours predict them, padding nothing if it is always the same
//     borders   the row above tells less about the first row of a frame than about others
//     rest      8 bits a byte
//     shape     unusual ones take more bits to name
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <span>
#include <vector>

#include "Geometry.h"
#include "Hypothesis.h"

namespace VexaGuess {

class Account {
  public:
    /// Rows begin at `phase` and every rowBytes on; the first `samples` of each row belong to the picture.
    Account(std::span<const uint8_t> bytes, const Hypothesis& hypothesis, uint64_t phase, size_t samples);

    /// Whether there is enough to tell anything.
    bool IsKnown() const { return m_known; }

    /// Offsets with that phase, the cheapest first, at most `most`.
    std::vector<uint64_t> Offsets(size_t most);

    double Bits(const Geometry& geometry);

  private:
    using Samples = std::vector<int32_t>;
    static constexpr size_t kContexts = 20;
    static constexpr size_t kClasses = 33;
    /// Bits of a miss by how uneven its surroundings are, its sign and its significant bits.
    using Table = std::array<std::array<std::array<double, kClasses>, 2>, kContexts>;

    void Learn(std::span<const Plane> blocks);
    Samples Row(uint64_t frameStart, uint64_t row) const;
    double Cost(const Samples& row) const;
    double Cost(const Samples& row, const Samples& above) const;
    void LearnBorders(std::span<const Plane> blocks);
    double BorderEvidence(double dearer) const;
    size_t UsedBytes() const;
    double PaddingBits();
    double StrangePaddingBits(size_t start) const;
    /// Bits of a repeated byte in a header: what bytes of the picture take, which may repeat too.
    double Again() const {
        return m_rowBits * static_cast<double>(m_hypothesis.rows) / static_cast<double>(m_hypothesis.rowBytes);
    }
    double HeadBits(uint64_t offset);
    double BorderBits(const Geometry& geometry);

    std::span<const uint8_t> m_bytes;
    Hypothesis m_hypothesis;
    uint64_t m_phase;
    size_t m_samples;
    size_t m_left;   ///< columns to the neighbour of the same kind
    size_t m_above;  ///< rows to it
    bool m_known = false;
    bool m_samePadding = true;  ///< in every row
    unsigned m_clearBits = 0;
    double m_rowBits = 0;           ///< of a row inside the picture
    double m_meanCost = 0;          ///< the same by the tables
    std::vector<double> m_inside;   ///< by how much rows are dearer from the left than from above; ascending
    std::vector<double> m_between;  ///< the same if the row above is one from elsewhere, as where a frame begins
    Table m_fromBoth = {};
    Table m_fromLeft = {};
    size_t m_headBytes = 0;               ///< looked at for a header
    std::vector<double> m_rowCosts;       ///< of those rows, from `phase` on
    std::vector<double> m_firstCosts;     ///< the same if the frame began there
    std::vector<double> m_paddingBits;    ///< of what is strange in their padding
    std::vector<double> m_headerBits;     ///< of the bytes before each of them
    std::map<uint64_t, double> m_border;  ///< by offset and frame length
};

}  // namespace VexaGuess
