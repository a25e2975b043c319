// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Work on several threads, the calling one among them. Where the system gives fewer threads than asked for, the work is
// done by those that there are.
#pragma once

#include <atomic>
#include <system_error>
#include <thread>
#include <vector>

namespace VexaTool {

/// Calls work(0) ... work(count - 1), each once, on up to as many threads. It must not throw.
template <class Work>
void OnThreads(size_t count, Work work) {
    std::atomic<size_t> next = 0;
    const auto takeAll = [&work, &next, count] {
        for (size_t i = next++; i < count; i = next++) {
            work(i);
        }
    };
    std::vector<std::thread> others;  // libc++ has no std::jthread before its version 18
    others.reserve(count);
    try {
        for (size_t i = 1; i < count; ++i) {
            others.emplace_back(takeAll);
        }
    } catch (const std::system_error&) {
        // The system has no further thread to give.
    }
    takeAll();
    for (std::thread& other : others) {
        other.join();
    }
}

}  // namespace VexaTool
