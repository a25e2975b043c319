// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Real frames and photographs, which are not part of this project: the folder comes from the CMake variable
// VEXACAMUTL_FRAMES_DIR or, at run time, from the environment variable of that name. Without it a test is skipped.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

using Bytes = std::vector<uint8_t>;

class Frames : public testing::Test {
  protected:
    void SetUp() override {
        const char* atRunTime = std::getenv("VEXACAMUTL_FRAMES_DIR");
        m_folder =
            std::string(VEXACAMUTL_FRAMES_DIR).empty() && atRunTime != nullptr ? atRunTime : VEXACAMUTL_FRAMES_DIR;
        if (m_folder.empty()) {
            GTEST_SKIP() << "VEXACAMUTL_FRAMES_DIR names no folder of real frames";
        }
    }

    /// The bytes of a raw frame, of which there have to be this many.
    Bytes Raw(const std::string& name, size_t bytes) const {
        std::ifstream file(m_folder / name, std::ios::binary);
        Bytes frame{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
        EXPECT_EQ(frame.size(), bytes) << m_folder / name;
        frame.resize(bytes);
        return frame;
    }

    std::filesystem::path m_folder;
};

/// A rectangle of a frame of `sampleBytes` a pixel, from (top, left). Leaving out one row or column changes the phase.
inline Bytes Cut(const Bytes& frame, size_t frameWidth, size_t sampleBytes, size_t top, size_t left, size_t width,
                 size_t height) {
    Bytes part;
    part.reserve(width * height * sampleBytes);
    for (size_t r = 0; r < height; ++r) {
        const auto row = frame.begin() + static_cast<std::ptrdiff_t>(((top + r) * frameWidth + left) * sampleBytes);
        part.insert(part.end(), row, row + static_cast<std::ptrdiff_t>(width * sampleBytes));
    }
    return part;
}
