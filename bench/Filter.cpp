// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Filters by parts of names and by frame size, and the end of a program that failed.
#include "Filter.h"

#include <charconv>
#include <cstdio>
#include <stdexcept>

#include <CLI/CLI.hpp>

namespace Bench {

std::string Size::Text() const {
    return std::to_string(width) + 'x' + std::to_string(height);
}

namespace {

bool ParseSize(const std::string& text, Size& size) {
    const char* const end = text.data() + text.size();
    const std::from_chars_result width = std::from_chars(text.data(), end, size.width);
    if (width.ec != std::errc() || width.ptr == end || *width.ptr != 'x') {
        return false;
    }
    const std::from_chars_result height = std::from_chars(width.ptr + 1, end, size.height);
    return height.ec == std::errc() && height.ptr == end && size.Pixels() != 0;
}

}  // namespace

std::vector<Size> ParseSizes(const std::vector<std::string>& texts) {
    std::vector<Size> sizes(texts.size());
    for (size_t i = 0; i < texts.size(); ++i) {
        if (!ParseSize(texts[i], sizes[i])) {
            throw CLI::ValidationError("--size", "'" + texts[i] + "' is not WIDTHxHEIGHT");
        }
    }
    return sizes;
}

bool Matches(const std::vector<std::string>& filters, const std::string& name) {
    for (const std::string& filter : filters) {
        if (name.find(filter) != std::string::npos) {
            return true;
        }
    }
    return filters.empty();
}

int RunReportingErrors(const char* program, void (*work)(int argc, char** argv), int argc, char** argv) {
    try {
        work(argc, argv);
        if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
            throw std::runtime_error("standard output could not be written");
        }
        return 0;
    } catch (const CLI::Error& error) {
        return CLI::App().exit(error);
    } catch (const std::exception& error) {
        static_cast<void>(std::fprintf(stderr, "%s: %s\n", program, error.what()));
        return 1;
    }
}

}  // namespace Bench
