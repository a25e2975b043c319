// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Which file each frame goes to.
//
//     out.png            one frame
//     out_%05d.png       frame number n, written as the pattern says
//     --output-dir DIR   DIR/<input's stem>.png, or DIR/<stem>_00000.png ... when the input holds several frames
#pragma once

#include <optional>
#include <string>

namespace VexaTool {

/// The path with its one %d (%5d, %05d) replaced by the number; nothing when it has none.
std::optional<std::string> NumberedPath(const std::string& pattern, uint64_t number);

/// A file in a folder named after the input.
std::string PathInFolder(const std::string& folder, const std::string& input, const std::string& extension,
                         std::optional<uint64_t> number);

}  // namespace VexaTool
