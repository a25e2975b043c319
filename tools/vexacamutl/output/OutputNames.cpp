// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See OutputNames.h. The pattern comes from the command line, so it is read here and never handed to printf.
#include "output/OutputNames.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

namespace VexaTool {

namespace {

std::string Padded(uint64_t number, size_t width, char fill) {
    std::string digits = std::to_string(number);
    if (digits.size() < width) {
        digits.insert(0, width - digits.size(), fill);
    }
    return digits;
}

}  // namespace

std::optional<std::string> NumberedPath(const std::string& pattern, uint64_t number) {
    static constexpr size_t kWidest = 20;
    for (size_t percent = pattern.find('%'); percent != std::string::npos; percent = pattern.find('%', percent + 1)) {
        size_t end = percent + 1;
        size_t width = 0;
        const char fill = end < pattern.size() && pattern[end] == '0' ? '0' : ' ';
        for (; end < pattern.size() && std::isdigit(static_cast<unsigned char>(pattern[end])) != 0; ++end) {
            width = std::min(kWidest, width * 10 + static_cast<size_t>(pattern[end] - '0'));
        }
        if (end < pattern.size() && pattern[end] == 'd') {
            return pattern.substr(0, percent) + Padded(number, width, fill) + pattern.substr(end + 1);
        }
    }
    return std::nullopt;
}

std::string PathInFolder(const std::string& folder, const std::string& input, const std::string& extension,
                         std::optional<uint64_t> number) {
    static constexpr size_t kDigits = 5;
    std::string name = input == "-" ? "frame" : std::filesystem::path(input).stem().string();
    if (number) {
        name += '_';
        name += Padded(*number, kDigits, '0');
    }
    return (std::filesystem::path(folder) / (name + "." + extension)).string();
}

}  // namespace VexaTool
