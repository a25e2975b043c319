// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Takes numbers and sample data from the bytes that a fuzzer gives. An input that is too short reads as zeros, so
// every input means something; data are repeated with a twist, so that a few bytes fill a large frame.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace Fuzz {

class Input {
  public:
    Input(const uint8_t* bytes, size_t size) : m_bytes(bytes), m_left(size) {}

    uint8_t Byte() {
        if (m_left == 0) {
            return 0;
        }
        --m_left;
        return *m_bytes++;
    }

    uint32_t Word() {
        uint32_t word = 0;
        for (int i = 0; i < 4; ++i) {
            word = word << 8 | Byte();
        }
        return word;
    }

    uint32_t Below(uint32_t limit) {
        const uint32_t high = Byte();
        return (high << 8 | Byte()) % limit;
    }

    /// A size that is mostly small, and now and then around a larger one.
    uint32_t Size(uint32_t usual, uint32_t large) {
        const uint32_t value = Below(usual + 1);
        return Byte() == 0xFF ? large + value : value;
    }

    /// The same, so that `most` is not exceeded by the product with `other`.
    uint32_t SizeWithin(uint32_t usual, uint32_t large, uint32_t most, uint32_t other) {
        return std::min(Size(usual, large), other == 0 ? most : most / other);
    }

    void Fill(uint8_t* data, size_t size) {
        uint8_t twist = 0;
        for (size_t at = 0; at < size && m_left > 0; ++twist) {
            for (size_t i = 0; i < m_left && at < size; ++i) {
                data[at++] = static_cast<uint8_t>(m_bytes[i] ^ twist);
            }
        }
        std::memset(data, 0, m_left == 0 ? size : 0);
    }

    const uint8_t* Rest() const { return m_bytes; }
    size_t Left() const { return m_left; }

  private:
    const uint8_t* m_bytes;
    size_t m_left;
};

/// A heap block of exactly the size that is asked for, its first byte `offset` bytes into the block; the address
/// sanitizer watches its end and, without an offset, its beginning.
class ExactBlock {
  public:
    ExactBlock(size_t size, size_t offset) : m_block(new uint8_t[size + offset]), m_data(m_block.get() + offset) {}
    uint8_t* Data() { return m_data; }

  private:
    std::unique_ptr<uint8_t[]> m_block;
    uint8_t* m_data;
};

/// Ends the program where a result is wrong; the fuzzer keeps the input.
inline void Require(bool holds, const char* what) {
    if (!holds) {
        static_cast<void>(std::fprintf(stderr, "does not hold: %s\n", what));
        std::abort();
    }
}

}  // namespace Fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size);
