// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
#pragma once

#include <cstddef>
#include <cstdint>

namespace VexaTool {

/// For a buffer of several megabytes that is about to be filled: it takes fewer page faults. Nothing depends on what
/// the system does with the advice.
void AdviseHugePages(uint8_t* bytes, size_t size);

}  // namespace VexaTool
