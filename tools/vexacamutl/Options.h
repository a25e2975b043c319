// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Options whose value is a whole number, in decimal and nothing else: "010" is ten, "8px", "0x8" and "-1" are errors.
#pragma once

#include <CLI/App.hpp>
#include <cstdint>
#include <string>

#include "Text.h"

namespace VexaTool {

/// Stores into `target` (a number, or an optional one).
template <class Target>
CLI::Option* AddWhole(CLI::App& command, const std::string& names, Target& target, const std::string& help,
                      uint64_t least = 0, uint64_t most = UINT64_MAX) {
    const std::string name = names.substr(names.find("--"));
    const auto store = [&target, name, least, most](const std::string& text) {
        uint64_t value = 0;
        if (!ParseWhole(text, value) || value < least || value > most) {
            const std::string range = most == UINT64_MAX
                                          ? " of at least " + std::to_string(least)
                                          : " from " + std::to_string(least) + " to " + std::to_string(most);
            throw CLI::ValidationError(name, "invalid number '" + text + "': expected a whole number" + range);
        }
        target = static_cast<std::decay_t<decltype(target)>>(value);
    };
    return command.add_option_function<std::string>(names, store, help)->type_name("N");
}

}  // namespace VexaTool
