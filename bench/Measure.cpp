// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Buffers with a known place in their page, and slices taken by turns.
#include "Measure.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <new>

#include "CoreClock.h"

namespace Bench {
namespace {

constexpr size_t kPageBytes = 4096;

double ThreadSeconds() {
    timespec now = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

/// Calls that are not timed: at least as many as the plan wants, and for as long as it wants.
void WarmUp(const Work& work, const SlicePlan& plan) {
    double spent = 0;
    for (unsigned calls = 0; calls < plan.warmCalls || spent < plan.warmSeconds; ++calls) {
        spent += SecondsFor(work, 1);
    }
}

/// How many calls fill a slice. The doubling warms the caches too.
size_t CallsPerSlice(const Work& work, double sliceSeconds) {
    size_t calls = 1;
    work();
    while (SecondsFor(work, calls) < sliceSeconds / 2) {
        calls *= 2;
    }
    return calls;
}

struct Slice {
    double seconds;
    double cycles;
};

/// All slices of one work.
struct Slices {
    std::vector<Slice> undisturbed;
    std::vector<Slice> disturbed;

    void Add(double seconds, const CoreClock& before, const CoreClock& after) {
        const double secondsPerCycle = (before.secondsPerCycle + after.secondsPerCycle) / 2;
        const Slice slice = {seconds, secondsPerCycle == 0 ? 0 : seconds / secondsPerCycle};
        (Undisturbed(before, after) ? undisturbed : disturbed).push_back(slice);
    }

    Timing Summary() {
        const double share =
            static_cast<double>(undisturbed.size()) / static_cast<double>(undisturbed.size() + disturbed.size());
        std::vector<Slice>& of = undisturbed.empty() ? disturbed : undisturbed;
        std::sort(of.begin(), of.end(), [](const Slice& a, const Slice& b) { return a.cycles < b.cycles; });
        const double cycles = of[of.size() / 10].cycles;
        std::sort(of.begin(), of.end(), [](const Slice& a, const Slice& b) { return a.seconds < b.seconds; });
        return {of[of.size() / 2].seconds, of.front().seconds, cycles, share};
    }
};

}  // namespace

double SecondsFor(const Work& work, size_t calls) {
    const double begin = ThreadSeconds();
    for (size_t i = 0; i < calls; ++i) {
        work();
    }
    return ThreadSeconds() - begin;
}

void Buffer::Free::operator()(uint8_t* block) const {
    std::free(block);
}

Buffer::Buffer(size_t bytes, size_t offset)
    : m_block(static_cast<uint8_t*>(
          std::aligned_alloc(kPageBytes, (bytes + offset + kPageBytes - 1) / kPageBytes * kPageBytes))),
      m_begin(m_block.get() + offset) {
    if (m_block == nullptr) {
        throw std::bad_alloc();
    }
    std::memset(m_begin, 0, bytes);
}

void FillWithSamples(uint8_t* frame, size_t bytes, bool words) {
    uint32_t state = 1;
    for (size_t i = 0; i < bytes; ++i) {
        state = state * 1664525u + 1013904223u;
        const uint32_t noise = state >> 28;
        const bool highByte = words && i % 2 == 1;
        frame[i] = static_cast<uint8_t>(highByte ? (i >> 7) & 15 : (i >> 3) + noise);
    }
}

std::vector<Timing> MeasureByTurns(const std::vector<Work>& works, const SlicePlan& plan) {
    std::vector<size_t> calls(works.size());
    std::transform(works.begin(), works.end(), calls.begin(),
                   [&](const Work& work) { return CallsPerSlice(work, plan.sliceSeconds); });
    std::vector<Slices> slices(works.size());
    const auto isComplete = [&](const Slices& of) { return of.undisturbed.size() >= plan.slices; };
    for (unsigned round = 0; round < kMostRounds * plan.slices; ++round) {
        if (std::all_of(slices.begin(), slices.end(), isComplete)) {
            break;
        }
        for (size_t i = 0; i < works.size(); ++i) {
            WarmUp(works[i], plan);
            const CoreClock before = ReadCoreClock();
            const double seconds = SecondsFor(works[i], calls[i]) / static_cast<double>(calls[i]);
            slices[i].Add(seconds, before, ReadCoreClock());
        }
    }
    std::vector<Timing> timings(works.size());
    std::transform(slices.begin(), slices.end(), timings.begin(), [](Slices& of) { return of.Summary(); });
    return timings;
}

}  // namespace Bench
