// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See OutputNames.h. The pattern comes from the command line, so it is read here and never handed to printf.
#include "output/OutputNames.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

#include "Failure.h"

namespace VexaTool {

namespace {

bool IsDigit(char c) {
    return std::isdigit(static_cast<unsigned char>(c)) != 0;
}

bool IsLetter(char c) {
    return std::isalpha(static_cast<unsigned char>(c)) != 0;
}

/// The length of "%d", "%5d" or "%05d" at this place; 0 when there is no such thing.
size_t NumberAt(const std::string& text, size_t at, NamePattern& pattern) {
    static constexpr size_t kWidest = 20;
    size_t end = at + 1;
    size_t digits = 0;
    const char fill = end < text.size() && text[end] == '0' ? '0' : ' ';
    for (; end < text.size() && IsDigit(text[end]); ++end) {
        digits = std::min(kWidest, digits * 10 + static_cast<size_t>(text[end] - '0'));
    }
    if (end == text.size() || text[end] != 'd') {
        return 0;
    }
    if (pattern.numbered) {
        throw Failure(ExitCode::kUsage, text + ": a name takes one number; write %% for a percent sign");
    }
    if (end == at + 1 && end + 1 < text.size() && IsLetter(text[end + 1])) {
        throw Failure(ExitCode::kUsage,
                      text + ": '%d' stands for the number of the frame; write %% for a percent sign, or %0d");
    }
    pattern.numbered = true;
    pattern.digits = digits;
    pattern.fill = fill;
    return end + 1 - at;
}

}  // namespace

std::string NamePattern::Of(uint64_t number) const {
    if (!numbered) {
        return before;
    }
    std::string text = std::to_string(number);
    if (text.size() < digits) {
        text.insert(0, digits - text.size(), fill);
    }
    return before + text + after;
}

NamePattern ParsePattern(const std::string& text) {
    NamePattern pattern;
    for (size_t at = 0; at < text.size();) {
        std::string& part = pattern.numbered ? pattern.after : pattern.before;
        if (text.compare(at, 2, "%%") == 0) {
            part += '%';
            at += 2;
            continue;
        }
        const size_t length = text[at] == '%' ? NumberAt(text, at, pattern) : 0;
        if (length == 0) {
            part += text[at];
        }
        at += std::max<size_t>(length, 1);
    }
    return pattern;
}

std::string StemOf(const std::string& input) {
    return input == "-" ? "frame" : std::filesystem::path(input).stem().string();
}

}  // namespace VexaTool
