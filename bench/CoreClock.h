// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// How fast the core runs at the moment, from two loops of a few microseconds whose work is known:
//
//     chain   multiplications, each waiting for the one before   its time gives the clock
//     dense   many sums that wait for nothing                    its cycles rise while a sibling thread shares the core
//
// A sample of a benchmark that lies between two readings which agree was not disturbed by a change of the clock or by a
// sibling thread, and its time can be given in cycles.
#pragma once

namespace Bench {

struct CoreClock {
    double secondsPerCycle;  ///< 0 where the latency of a multiplication is not known
    double chainSeconds;
    double denseOverChain;
};

CoreClock ReadCoreClock();

/// Whether nothing disturbed the core between the two readings. Learns from all readings of the process how quick an
/// undisturbed dense loop is.
bool Undisturbed(const CoreClock& before, const CoreClock& after);

}  // namespace Bench
