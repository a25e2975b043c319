// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// What the fault tests share: a folder of their own, reading and writing whole files by system calls that no test
// replaces, a count of open descriptors, and the writers of the library behind one signature.
#pragma once

#include <VexaCamUtl.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include "Descriptors.h"

namespace Faults {

using ByteVector = std::vector<uint8_t>;

/// A folder that is empty at first and gone afterwards.
class Folder {
  public:
    Folder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "vexafaultsXXXXXX").string();
        m_path = ::mkdtemp(pattern.data()) == nullptr ? std::string() : pattern;
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder() { std::filesystem::remove_all(m_path); }

    const std::string& Path() const { return m_path; }
    std::string File(const std::string& name) const { return m_path + "/" + name; }

  private:
    std::string m_path;
};

inline ByteVector ReadWhole(const std::string& path) {
    ByteVector content;
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat status = {};
    if (file < 0 || ::fstat(file, &status) != 0) {
        return content;
    }
    content.resize(static_cast<size_t>(status.st_size));
    const long got = ::syscall(SYS_read, file, content.data(), content.size());
    content.resize(got < 0 ? 0 : static_cast<size_t>(got));
    ::close(file);
    return content;
}

inline void WriteWhole(const std::string& path, const ByteVector& content) {
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    ASSERT_GE(file, 0);
    ASSERT_EQ(::syscall(SYS_write, file, content.data(), content.size()), static_cast<long>(content.size()));
    ::close(file);
}

/// Bytes without a period that a row, a header or a buffer could have.
inline ByteVector Noise(size_t size) {
    ByteVector bytes(size);
    uint32_t state = 12345;
    for (uint8_t& byte : bytes) {
        state = state * 1664525u + 1013904223u;
        byte = static_cast<uint8_t>(state >> 24);
    }
    return bytes;
}

/// A function of the library that writes a file, with the size of picture that it is given. The picture holds 4 bytes
/// a pixel, enough for all.
struct Writer {
    const char* name;
    UtlStatus (*save)(const uint8_t* picture, uint32_t width, uint32_t height, const char* path);
    uint32_t headerBytes;  ///< before the first row
    uint32_t bytesPerPixel;
    bool padded;

    uint64_t RowBytes(uint32_t width) const {
        const uint64_t bytes = uint64_t{width} * bytesPerPixel;
        return padded ? (bytes + 3) / 4 * 4 : bytes;
    }
    uint64_t FileBytes(uint32_t width, uint32_t height) const { return headerBytes + RowBytes(width) * height; }
};

inline const Writer kWriters[] = {
    {"SaveBmpARGB", [](auto p, auto w, auto h, auto f) { return SaveBmpARGB(p, w, h, f); }, 102, 4, true},
    {"SaveBmpRGB", [](auto p, auto w, auto h, auto f) { return SaveBmpRGB(p, w, h, f); }, 102, 3, true},
    {"SaveBmpMono", [](auto p, auto w, auto h, auto f) { return SaveBmpMono(p, w, h, f); }, 1126, 1, true},
    {"SaveBmpARGB_S", [](auto p, auto w, auto h, auto f) { return SaveBmpARGB_S(p, w, h, w * 4, f); }, 102, 4, true},
    {"SaveBmpRGB_S", [](auto p, auto w, auto h, auto f) { return SaveBmpRGB_S(p, w, h, w * 4, f); }, 102, 3, true},
    {"SaveBmpMono_S", [](auto p, auto w, auto h, auto f) { return SaveBmpMono_S(p, w, h, w * 4, f); }, 1126, 1, true},
    {"SaveRWH", [](auto p, auto w, auto h, auto f) { return SaveRWH(p, PIXEL_FORMAT_BGR8, w, h, f); }, 16, 3, false},
};

inline void PrintTo(const Writer& writer, std::ostream* out) {
    *out << writer.name;
}

/// The name of a case of a suite that runs over kWriters.
inline std::string NameOfWriter(const testing::TestParamInfo<Writer>& info) {
    return info.param.name;
}

}  // namespace Faults
