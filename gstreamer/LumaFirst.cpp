// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
#include "LumaFirst.h"

#include <bit>
#include <cstring>

namespace VexaGst {
namespace {

static_assert(std::endian::native == std::endian::little);

/// Of each word, bytes number first, first + 3 and first + 6.
constexpr uint64_t EveryThirdByte(unsigned first) {
    uint64_t mask = 0;
    for (unsigned byte = first; byte < 8; byte += 3) {
        mask |= uint64_t{0xFF} << 8 * byte;
    }
    return mask;
}

/// A word whose byte number `luma` is the first Y with its U in the same word.
uint64_t ExchangeInWord(uint64_t word, unsigned luma) {
    const unsigned v = (luma + 2) % 3;
    const unsigned u = (luma + 1) % 3;
    return (word & EveryThirdByte(v)) | (word & EveryThirdByte(luma)) << 8 | (word & EveryThirdByte(u)) >> 8;
}

}  // namespace

void MoveLumaBehindU(const uint8_t* from, size_t pixels, uint8_t* to) {
    constexpr size_t kPixelsAtOnce = 8;
    size_t pixel = 0;
    for (; pixel + kPixelsAtOnce <= pixels; pixel += kPixelsAtOnce) {
        // Y U V Y U V Y U | V Y U V Y U V Y | U V Y U V Y U V: one pair spans two words.
        uint64_t words[3];
        std::memcpy(words, from + 3 * pixel, sizeof words);
        const uint64_t moved[3] = {ExchangeInWord(words[0], 0), ExchangeInWord(words[1], 1) | words[2] << 56,
                                   ExchangeInWord(words[2], 2) | words[1] >> 56};
        std::memcpy(to + 3 * pixel, moved, sizeof moved);
    }
    for (; pixel < pixels; ++pixel) {
        const uint8_t luma = from[3 * pixel];
        to[3 * pixel] = from[3 * pixel + 1];
        to[3 * pixel + 1] = luma;
        to[3 * pixel + 2] = from[3 * pixel + 2];
    }
}

}  // namespace VexaGst
