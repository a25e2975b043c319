// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// A name with a number in it, as the command line gives it: out_%05d.png.
#pragma once

#include <cstdint>
#include <string>

namespace VexaTool {

struct NamePattern {
    std::string before;
    std::string after;
    bool numbered = false;  ///< the number stands between the two
    size_t digits = 0;      ///< at least so many
    char fill = '0';

    std::string Of(uint64_t number) const;
};

/// %d, %5d and %05d stand for the number, %% for a percent sign. A Failure for a second number, and for %d before a
/// letter: "100%done.png" is more likely a name than a pattern.
NamePattern ParsePattern(const std::string& text);

/// The input's name without folder and extension; "frame" for standard input.
std::string StemOf(const std::string& input);

}  // namespace VexaTool
