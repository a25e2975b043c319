// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Filters by parts of names and by frame size, and the end of a program that failed.
#include "Wanted.h"

#include <cstdio>
#include <exception>

#include <CLI/CLI.hpp>

namespace Bench {

std::string Size::Text() const {
    return std::to_string(width) + 'x' + std::to_string(height);
}

std::vector<Size> ParseSizes(const std::vector<std::string>& texts) {
    std::vector<Size> sizes;
    for (const std::string& text : texts) {
        Size size;
        const bool parsed = std::sscanf(text.c_str(), "%ux%u", &size.width, &size.height) == 2;
        if (!parsed || size.Pixels() == 0) {
            throw CLI::ValidationError("--size", "'" + text + "' is not WIDTHxHEIGHT");
        }
        sizes.push_back(size);
    }
    return sizes;
}

bool Wanted(const std::vector<std::string>& filters, const std::string& name) {
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
        return 0;
    } catch (const CLI::Error& error) {
        return CLI::App().exit(error);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", program, error.what());
        return 1;
    }
}

}  // namespace Bench
