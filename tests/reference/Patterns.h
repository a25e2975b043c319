// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Frames that find mistakes. All are computed from their arguments alone, the same on every machine, so that digests
// over them can be kept.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Reference {

enum class Pattern {
    kRandom,            ///< every value of the depth
    kRamp,              ///< low bits that carry into the mean
    kCheckerboard,      ///< 0 and the maximum, one pixel wide
    kWideCheckerboard,  ///< 0 and the maximum, two pixels wide
    kOneHot,            ///< a single maximum among zeros
    kOneCold,           ///< a single zero among maxima
    kAboveDepth,        ///< all bits of the word at random, beyond the depth too
    kFewValues,         ///< three values: many equal gradients
    kTwoValues,         ///< 0 and the maximum at random: equal gradients with the largest corrections
    kCount
};

/// A small generator with a fixed sequence for each seed (SplitMix64).
class Random {
  public:
    explicit Random(uint64_t seed) : m_state(seed) {}
    uint64_t Next() {
        m_state += 0x9E3779B97F4A7C15u;
        uint64_t z = m_state;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
        return z ^ (z >> 31);
    }
    uint32_t Below(uint32_t limit) { return static_cast<uint32_t>((Next() >> 32) * limit >> 32); }

  private:
    uint64_t m_state;
};

/// Fills `samples` samples of 1 or 2 bytes, `rowSamples` of them a row.
void FillPattern(uint8_t* src, size_t samples, size_t rowSamples, uint32_t sampleBytes, uint32_t depth, Pattern pattern,
                 uint64_t seed);

}  // namespace Reference
