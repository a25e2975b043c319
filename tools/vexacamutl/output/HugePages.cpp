// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See HugePages.h. Linux takes a range that begins with a page; one of 4 MB holds at least one huge page.
#include "output/HugePages.h"

#include <sys/mman.h>
#include <unistd.h>

namespace VexaTool {

void AdviseHugePages(uint8_t* bytes, size_t size) {
    static constexpr size_t kLeast = size_t{4} << 20;
    if (size >= kLeast) {
        const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        const size_t before = page - reinterpret_cast<uintptr_t>(bytes) % page;
        static_cast<void>(madvise(bytes + before, size - before, MADV_HUGEPAGE));
    }
}

}  // namespace VexaTool
