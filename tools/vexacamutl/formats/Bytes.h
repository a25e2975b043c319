// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Bytes that somebody else owns and nobody changes: a frame, a file, an encoded picture.
#pragma once

#include <cstdint>
#include <span>

namespace VexaTool {

using Bytes = std::span<const uint8_t>;

}  // namespace VexaTool
