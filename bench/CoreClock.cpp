// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The two loops, and the rule by which samples are discarded.
#include "CoreClock.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <limits>

namespace Bench {
namespace {

constexpr int kMultiplications = 8000;
constexpr int kDenseSteps = 2000;
constexpr double kClockTolerance = 0.01;
constexpr double kDenseTolerance = 0.04;

// Three on every processor with x86-64 vector registers of 32 bytes or more.
#if defined(__x86_64__)
constexpr double kCyclesPerMultiplication = 3;
#else
constexpr double kCyclesPerMultiplication = 0;
#endif

double Now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

double SecondsOfChain() {
    uint64_t product = 3;
    const double begin = Now();
    for (int i = 0; i < kMultiplications; i += 4) {
        // The compiler must neither join nor leave out a multiplication.
        product *= product;
        __asm__ volatile("" : "+r"(product));
        product *= product;
        __asm__ volatile("" : "+r"(product));
        product *= product;
        __asm__ volatile("" : "+r"(product));
        product *= product;
        __asm__ volatile("" : "+r"(product));
    }
    return Now() - begin;
}

double SecondsOfDenseLoop() {
    uint64_t a = 1;
    uint64_t b = 2;
    uint64_t c = 3;
    uint64_t d = 4;
    uint64_t e = 5;
    uint64_t f = 6;
    const double begin = Now();
    for (int i = 0; i < kDenseSteps; ++i) {
        for (int repeat = 0; repeat < 4; ++repeat) {
            a ^= a << 1;
            b ^= b << 1;
            c ^= c << 1;
            d ^= d << 1;
            e ^= e << 1;
            f ^= f << 1;
            __asm__ volatile("" : "+r"(a), "+r"(b), "+r"(c), "+r"(d), "+r"(e), "+r"(f));
        }
    }
    return Now() - begin;
}

}  // namespace

CoreClock ReadCoreClock() {
    const double chain = SecondsOfChain();
    const double dense = SecondsOfDenseLoop();
    const double cycles = kMultiplications * kCyclesPerMultiplication;
    return {cycles == 0 ? 0 : chain / cycles, chain, dense / chain};
}

bool Undisturbed(const CoreClock& before, const CoreClock& after) {
    if (std::abs(before.chainSeconds / after.chainSeconds - 1) > kClockTolerance) {
        return false;
    }
    static double s_quickestDense = std::numeric_limits<double>::max();
    s_quickestDense = std::min({s_quickestDense, before.denseOverChain, after.denseOverChain});
    return std::max(before.denseOverChain, after.denseOverChain) < s_quickestDense * (1 + kDenseTolerance);
}

}  // namespace Bench
