// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Memory that notices: an arena between two pages that may not be touched. A block is laid against the front or the
// back page, so that a read or write one byte outside stops the program at the place where it happens; between the
// block and the far page lie bytes of a known value that the test looks at afterwards.
//
//     | forbidden | block ............ margin | forbidden |      kFront
//     | forbidden | margin ............ block | forbidden |      kBack
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace Reference {

enum class GuardSide { kFront, kBack };

/// Whether all `count` bytes hold `fill`: the first one does, and each is like the next.
inline bool IsFilled(const uint8_t* bytes, size_t count, uint8_t fill) {
    return count == 0 || (bytes[0] == fill && std::memcmp(bytes, bytes + 1, count - 1) == 0);
}

class GuardedArena {
  public:
    explicit GuardedArena(size_t capacity) {
        const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        m_capacity = (capacity + kMargin + page - 1) / page * page;
        m_mappedBytes = m_capacity + 2 * page;
        void* mapped = mmap(nullptr, m_mappedBytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (mapped == MAP_FAILED) {
            std::abort();
        }
        m_mapped = static_cast<uint8_t*>(mapped);
        if (mprotect(m_mapped + page, m_capacity, PROT_READ | PROT_WRITE) != 0) {
            std::abort();
        }
        m_begin = m_mapped + page;
    }
    GuardedArena(const GuardedArena&) = delete;
    GuardedArena& operator=(const GuardedArena&) = delete;
    ~GuardedArena() { munmap(m_mapped, m_mappedBytes); }

    /// A block of `bytes` bytes, all of them and the margin beside it holding `fill`.
    uint8_t* Block(size_t bytes, GuardSide side, uint8_t fill) {
        if (bytes + kMargin > m_capacity) {
            std::abort();
        }
        m_bytes = bytes;
        m_side = side;
        m_fill = fill;
        uint8_t* block = side == GuardSide::kFront ? m_begin : m_begin + m_capacity - bytes;
        std::memset(side == GuardSide::kFront ? block : block - kMargin, fill, bytes + kMargin);
        return block;
    }

    /// Whether the margin of the last block is as it was.
    bool MarginIsIntact() const {
        const uint8_t* margin =
            m_side == GuardSide::kFront ? m_begin + m_bytes : m_begin + m_capacity - m_bytes - kMargin;
        return IsFilled(margin, kMargin, m_fill);
    }

  private:
    static constexpr size_t kMargin = 256;

    uint8_t* m_mapped = nullptr;
    size_t m_mappedBytes = 0;
    uint8_t* m_begin = nullptr;
    size_t m_capacity = 0;
    size_t m_bytes = 0;
    GuardSide m_side = GuardSide::kFront;
    uint8_t m_fill = 0;
};

}  // namespace Reference
