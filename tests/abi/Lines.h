// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Reading what nm, readelf and objdump print.
#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

/// The lines that a command prints.
inline std::vector<std::string> LinesOf(const std::string& command) {
    // The commands are this file's own, without anything from outside.
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);  // NOLINT(cert-env33-c)
    std::vector<std::string> lines;
    std::string line;
    for (int letter = std::fgetc(pipe.get()); letter != EOF; letter = std::fgetc(pipe.get())) {
        if (letter == '\n') {
            lines.push_back(line);
            line.clear();
        } else {
            line += static_cast<char>(letter);
        }
    }
    return lines;
}
