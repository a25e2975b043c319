// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// One function a sample; the pattern of a frame is that function over all its places.
#include "Patterns.h"

#include <algorithm>

namespace Reference {
namespace {

struct Place {
    size_t index;
    size_t row;
    size_t column;
};

class SampleMaker {
  public:
    SampleMaker(size_t samples, uint32_t sampleBytes, uint32_t depth, Pattern pattern, uint64_t seed)
        : m_random(seed),
          m_maximum((1u << depth) - 1),
          m_wordMaximum(sampleBytes == 1 ? 0xFFu : 0xFFFFu),
          m_pattern(pattern),
          m_special(samples == 0 ? 0 : m_random.Next() % samples) {}

    uint32_t At(const Place& place) {
        switch (m_pattern) {
            case Pattern::kRandom:
                return m_random.Below(m_maximum + 1);
            case Pattern::kRamp:
                return static_cast<uint32_t>(place.row * 5 + place.column * 3 + 1) & m_maximum;
            case Pattern::kCheckerboard:
                return (place.row + place.column) % 2 == 0 ? m_maximum : 0;
            case Pattern::kWideCheckerboard:
                return (place.row / 2 + place.column / 2) % 2 == 0 ? m_maximum : 0;
            case Pattern::kOneHot:
                return place.index == m_special ? m_maximum : 0;
            case Pattern::kOneCold:
                return place.index == m_special ? 0 : m_maximum;
            case Pattern::kAboveDepth:
                return m_random.Below(m_wordMaximum + 1);
            case Pattern::kFewValues:
                return (m_maximum / 3) * m_random.Below(3) + 1;
            case Pattern::kTwoValues:
            case Pattern::kCount:
                break;
        }
        return m_random.Below(2) == 0 ? m_maximum : 0;
    }

  private:
    Random m_random;
    uint32_t m_maximum;
    uint32_t m_wordMaximum;
    Pattern m_pattern;
    uint64_t m_special;
};

}  // namespace

void FillPattern(uint8_t* src, size_t samples, size_t rowSamples, uint32_t sampleBytes, uint32_t depth, Pattern pattern,
                 uint64_t seed) {
    SampleMaker maker(samples, sampleBytes, depth, pattern, seed);
    const size_t perRow = std::max<size_t>(rowSamples, 1);
    for (size_t i = 0; i < samples; ++i) {
        const uint32_t sample = maker.At({i, i / perRow, i % perRow});
        src[i * sampleBytes] = static_cast<uint8_t>(sample);
        if (sampleBytes == 2) {
            src[i * 2 + 1] = static_cast<uint8_t>(sample >> 8);
        }
    }
}

}  // namespace Reference
