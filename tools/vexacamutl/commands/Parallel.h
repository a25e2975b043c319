// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The same function on several threads, the calling one among them. It must not throw.
#pragma once

#include <thread>
#include <vector>

namespace VexaTool {

template <class Work>
void OnThreads(size_t threads, Work work) {
    std::vector<std::jthread> others;
    for (size_t i = 1; i < threads; ++i) {
        others.emplace_back([&work, i] { work(i); });
    }
    work(size_t{0});
}

}  // namespace VexaTool
