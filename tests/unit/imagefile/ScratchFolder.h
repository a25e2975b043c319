// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// A folder of its own for each test of files, gone afterwards, and the two ways to look at a file.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "Reference.h"

using Bytes = std::vector<uint8_t>;

class ScratchFolder : public testing::Test {
  protected:
    void SetUp() override {
        std::string pattern = testing::TempDir() + "/vexa-test-XXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        m_folder = pattern;
    }
    void TearDown() override { std::filesystem::remove_all(m_folder); }

    std::string Path(const std::string& name = "file") const { return (m_folder / name).string(); }

    static Bytes Read(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }
    static void Write(const std::string& path, const Bytes& bytes) {
        std::ofstream file(path, std::ios::binary);
        file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    }

    std::filesystem::path m_folder;
};

/// Bytes 0, 1, 2, ... that tell a wrong offset.
inline Bytes Counting(size_t count) {
    Bytes bytes(count);
    for (size_t i = 0; i < count; ++i) {
        bytes[i] = static_cast<uint8_t>(i * 7 + i / 256 + 1);
    }
    return bytes;
}
