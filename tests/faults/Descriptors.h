// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Counts the descriptors that this process has open, to compare a count before with one after.
#pragma once

#include <filesystem>
#include <iterator>

namespace Faults {

inline long OpenDescriptors() {
    const std::filesystem::directory_iterator first("/proc/self/fd");
    return std::distance(first, std::filesystem::directory_iterator());
}

}  // namespace Faults
