// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Small helpers that every folder uses: buffers as bytes, arithmetic modulo 2^32, byte arguments.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Vexa {

inline uint8_t* Bytes(void* buffer) {
    return static_cast<uint8_t*>(buffer);
}

inline const uint8_t* Bytes(const void* buffer) {
    return static_cast<const uint8_t*>(buffer);
}

/// A product modulo 2^32, as the contract counts pixels.
inline uint32_t WrappingProduct32(uint32_t a, uint32_t b) {
    return static_cast<uint32_t>(static_cast<uint64_t>(a) * b);
}

/// A byte argument as the callee must see it: its low 8 bits, without those above them in the register.
/// Compilers disagree on who clears those bits; reading the byte through memory settles it.
inline uint8_t LowByteOf(uint8_t argument) {
    const volatile uint8_t byte = argument;
    return byte;
}

}  // namespace Vexa
