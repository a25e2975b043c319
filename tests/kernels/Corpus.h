// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// A fixed set of frames, the same on every machine, and one number that stands for all pictures which a converter
// makes of them (FNV-1a, 64 bits, over the destination bytes, unwritten ones included). Digests.inc holds the numbers
// that the reference gives; the tests hold every kernel table of the processor against them.
#pragma once

#include <cstdint>
#include <vector>

#include "Patterns.h"
#include "Reference.h"

namespace Corpus {

inline constexpr uint32_t kSizes[][2] = {{2, 2},   {2, 4},   {4, 4},    {6, 6},   {18, 10},
                                         {66, 34}, {130, 8}, {1062, 6}, {2070, 6}};
inline constexpr uint32_t kShifts[] = {0, 1, 2, 4, 6, 7, 8, 13, 29};

inline uint64_t Digest(uint64_t digest, const std::vector<uint8_t>& bytes) {
    for (const uint8_t byte : bytes) {
        digest = (digest ^ byte) * 0x100000001B3u;
    }
    return digest;
}

/// The digest of one converter; `convert(dst, src, width, height, shift)` makes a picture.
template <class Convert>
uint64_t DigestOf(const Reference::Converter& converter, Convert convert) {
    uint64_t digest = 0xCBF29CE484222325u;
    uint64_t seed = 0;
    for (const auto& size : kSizes) {
        const uint32_t width = size[0];
        const uint32_t height = size[1];
        for (uint32_t pattern = 0; pattern < static_cast<uint32_t>(Reference::Pattern::kCount); ++pattern) {
            std::vector<uint8_t> src(converter.SourceBytes(width, height));
            Reference::FillPattern(src.data(), src.size() / converter.SampleBytes(), width, converter.SampleBytes(),
                                   converter.depth, static_cast<Reference::Pattern>(pattern), ++seed);
            const uint32_t shift = converter.IsWorker() ? kShifts[seed % std::size(kShifts)] : converter.DefaultShift();
            std::vector<uint8_t> dst(converter.DestinationBytes(width, height), 0x55);
            convert(dst.data(), src.data(), width, height, shift);
            digest = Digest(digest, dst);
        }
    }
    return digest;
}

}  // namespace Corpus
