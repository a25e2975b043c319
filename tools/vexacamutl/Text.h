// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Text from outside: numbers in it, and names of files and lines of sidecars on their way to a terminal.
#pragma once

#include <charconv>
#include <string>
#include <string_view>

namespace VexaTool {

/// The text with control characters, invalid UTF-8 and marks that reorder a line written as \n, \t or \xHH, so that it
/// can neither start a line of its own nor steer a terminal.
std::string Printable(std::string_view text);

/// The text as a JSON string, with its quotes.
std::string JsonString(std::string_view text);

/// Reads a whole text as a number; false for anything else.
template <class Number>
bool ParseWhole(std::string_view text, Number& value) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc{} && end == text.data() + text.size();
}

}  // namespace VexaTool
