// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The filters that all programs of this folder understand: parts of names, and frame sizes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Bench {

struct Size {
    uint32_t width = 0;
    uint32_t height = 0;

    size_t Pixels() const { return size_t{width} * height; }
    std::string Text() const;
};

inline const std::vector<std::string> kFrameSizes = {"64x48", "640x480", "1920x1080", "4096x3000"};

/// Throws CLI::ValidationError for a text that is not WIDTHxHEIGHT.
std::vector<Size> ParseSizes(const std::vector<std::string>& texts);

/// Whether a filter is part of the name; without filters everything is wanted.
bool Matches(const std::vector<std::string>& filters, const std::string& name);

/// Runs a program's work and turns exceptions into a line on stderr and a result for main.
int RunReportingErrors(const char* program, void (*work)(int argc, char** argv), int argc, char** argv);

}  // namespace Bench
