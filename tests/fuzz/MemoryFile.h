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
    MemoryFile() : descriptor_(::memfd_create("fuzz", MFD_CLOEXEC)) {
        Require(descriptor_ >= 0, "memory file");
        path_ = "/proc/self/fd/" + std::to_string(descriptor_);
    }

    const char* Path() const { return path_.c_str(); }

    std::vector<uint8_t> Content() const {
        std::vector<uint8_t> content(static_cast<size_t>(::lseek(descriptor_, 0, SEEK_END)));
        Require(::pread(descriptor_, content.data(), content.size(), 0) == static_cast<ssize_t>(content.size()),
                "reading back");
        return content;
    }

    void Replace(const uint8_t* bytes, size_t size) const {
        Require(::ftruncate(descriptor_, 0) == 0, "cutting");
        Require(::pwrite(descriptor_, bytes, size, 0) == static_cast<ssize_t>(size), "writing");
    }

  private:
    int descriptor_;
    std::string path_;
};

}  // namespace Fuzz
