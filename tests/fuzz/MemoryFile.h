// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// A file without a disk: it has a path, can be written, read and cut, and is gone with the process.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "FuzzInput.h"

namespace Fuzz {

class MemoryFile {
  public:
    MemoryFile() : m_descriptor(::memfd_create("fuzz", MFD_CLOEXEC)) {
        Require(m_descriptor >= 0, "memory file");
        m_path = "/proc/self/fd/" + std::to_string(m_descriptor);
    }

    const char* Path() const { return m_path.c_str(); }

    std::vector<uint8_t> Content() const {
        std::vector<uint8_t> content(static_cast<size_t>(::lseek(m_descriptor, 0, SEEK_END)));
        Require(::pread(m_descriptor, content.data(), content.size(), 0) == static_cast<ssize_t>(content.size()),
                "reading back");
        return content;
    }

    void Replace(const uint8_t* bytes, size_t size) const {
        Require(::ftruncate(m_descriptor, 0) == 0, "cutting");
        Require(::pwrite(m_descriptor, bytes, size, 0) == static_cast<ssize_t>(size), "writing");
    }

  private:
    int m_descriptor;
    std::string m_path;
};

}  // namespace Fuzz
