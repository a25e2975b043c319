// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// How times are taken on a machine that does other things too. The works to be compared take turns in short slices
// within one run, so that a slower moment meets all of them; each one's time is the median of its slices. The best
// slice is kept beside it: a large gap between the two says that the machine was busy. Before a slice come calls that
// are not timed, so that nobody pays for what the one before did to the caches; a work with large memory of its own,
// or with non-temporal stores, spoils them for several calls.
//
// Everything runs in one thread and waits for nothing, so the clock is that of the thread's processor time: while
// another process has the processor it stands still. The speed of the core is read around every slice (CoreClock.h);
// a slice that was disturbed is repeated in a later round.
//
//     limit | converter | competitor | limit | converter | competitor | ...   at least 15 rounds
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace Bench {

/// `bytes` bytes that start `offset` bytes after a multiple of the page size.
class Buffer {
  public:
    explicit Buffer(size_t bytes, size_t offset = 0);
    uint8_t* Data() const { return m_begin; }

  private:
    struct Free {
        void operator()(uint8_t* block) const;
    };
    std::unique_ptr<uint8_t, Free> m_block;
    uint8_t* m_begin;
};

/// Samples as a camera gives them: a slow slope with a little noise. Bytes, or 12-bit values in 16-bit words.
void FillWithSamples(uint8_t* frame, size_t bytes, bool words);

struct Timing {
    double median;  ///< seconds a call, median of the undisturbed slices
    double best;    ///< seconds a call, quickest slice
    double cycles;  ///< of the core, per call: lowest tenth of the undisturbed slices; 0 where the clock is not known
    double undisturbed;  ///< share of all slices; if it is 0, the other figures are those of the disturbed ones
};

struct SlicePlan {
    unsigned slices = 15;         ///< undisturbed ones; at most kMostRounds times as many are taken
    double sliceSeconds = 0.001;  ///< each slice repeats its work for about this long, at least once
    double warmSeconds = 0;       ///< before each slice, calls that are not timed: for as long as this
    unsigned warmCalls = 1;       ///< and at least so many
};

inline constexpr unsigned kMostRounds = 4;

using Work = std::function<void()>;

/// Seconds that so many calls take.
double SecondsFor(const Work& work, size_t calls);

/// Runs all works by turns; result i belongs to works[i].
std::vector<Timing> MeasureByTurns(const std::vector<Work>& works, const SlicePlan& plan);

}  // namespace Bench
