// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Runs a fuzz target over every file of the folders that are its arguments, and over the empty input.
#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "FuzzInput.h"

namespace {

int Replay(int argc, char** argv) {
    size_t inputs = 0;
    LLVMFuzzerTestOneInput(nullptr, 0);
    for (int i = 1; i < argc; ++i) {
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
            std::ifstream file(entry.path(), std::ios::binary);
            const std::string content((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
            std::vector<uint8_t> bytes(content.size());
            std::copy(content.begin(), content.end(), bytes.begin());
            LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
            ++inputs;
        }
    }
    std::printf("%zu inputs replayed\n", inputs);
    return inputs > 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return Replay(argc, argv);
    } catch (const std::exception& error) {
        static_cast<void>(std::fprintf(stderr, "%s\n", error.what()));
        return 1;
    }
}
