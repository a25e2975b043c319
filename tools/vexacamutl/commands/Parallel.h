// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Work on several threads, the calling one among them. Where the system gives fewer threads than asked for, the work is
// done by those that there are.
#pragma once

#include <atomic>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace VexaTool {

/// Calls work(0) ... work(count - 1), each once, on up to as many threads. When one throws, its thread does no more,
/// and the caller gets the last exception at the end.
template <class Work>
void OnThreads(size_t count, Work work) {
    std::atomic<size_t> next = 0;
    std::mutex mutex;
    std::exception_ptr failure;
    const auto takeAll = [&work, &next, &mutex, &failure, count] {
        try {
            for (size_t i = next++; i < count; i = next++) {
                work(i);
            }
        } catch (...) {
            const std::lock_guard lock(mutex);
            failure = std::current_exception();
        }
    };
    std::vector<std::thread> others;  // libc++ has no std::jthread before its version 18
    others.reserve(count);
    try {
        for (size_t i = 1; i < count; ++i) {
            others.emplace_back(takeAll);
        }
    } catch (const std::exception&) {
        // The system has no further thread to give, or no memory for one.
    }
    takeAll();
    for (std::thread& other : others) {
        other.join();
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
}

}  // namespace VexaTool
