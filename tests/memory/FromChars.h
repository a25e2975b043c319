// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// What this libc++ lacks: numbers with a point. Read before every source of the build for the memory sanitizer.
#pragma once
#ifdef __cplusplus
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <string>

namespace std {
inline from_chars_result from_chars(const char* first, const char* last, double& value) {
    const string text(first, last);
    char* end = nullptr;
    const double number = strtod(text.c_str(), &end);
    if (end == text.c_str()) {
        return {first, errc::invalid_argument};
    }
    value = number;
    return {first + (end - text.c_str()), errc()};
}
}  // namespace std
#endif
