// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See Unpack.h.
#include "formats/Unpack.h"

#include <cstring>

namespace VexaTool {

namespace {

uint32_t LoadWord(const uint8_t* from) {
    return from[0] | uint32_t{from[1]} << 8;
}

void StoreWord(uint8_t* to, uint32_t word) {
    to[0] = static_cast<uint8_t>(word);
    to[1] = static_cast<uint8_t>(word >> 8);
}

/// Samples of 10 or 12 bits begin at an even bit, so each lies within two bytes.
void UnpackBitStream(uint8_t* words, const uint8_t* packed, size_t count, uint32_t depth) {
    const uint32_t mask = (1u << depth) - 1;
    for (size_t n = 0; n < count; ++n) {
        const size_t bit = n * depth;
        StoreWord(words + 2 * n, LoadWord(packed + bit / 8) >> (bit % 8) & mask);
    }
}

void PackBitStream(uint8_t* packed, const uint8_t* words, size_t count, uint32_t depth) {
    for (size_t n = 0; n < count; ++n) {
        const size_t bit = n * depth;
        uint8_t* to = packed + bit / 8;
        StoreWord(to, LoadWord(to) | LoadWord(words + 2 * n) << (bit % 8));
    }
}

/// Where the low bits of the two samples of a pair lie in the middle byte.
struct PairLayout {
    uint32_t lowBits;
    uint32_t shiftOfSecond;
};

PairLayout PairLayoutOf(uint32_t depth) {
    return depth == 10 ? PairLayout{2, 4} : PairLayout{4, 4};
}

void UnpackPairs(uint8_t* words, const uint8_t* packed, size_t count, uint32_t depth) {
    const PairLayout layout = PairLayoutOf(depth);
    const uint32_t mask = (1u << layout.lowBits) - 1;
    for (size_t n = 0; n < count; ++n) {
        const uint8_t* triple = packed + n / 2 * 3;
        const bool second = n % 2 != 0;
        const uint32_t high = second ? triple[2] : triple[0];
        const uint32_t low = triple[1] >> (second ? layout.shiftOfSecond : 0) & mask;
        StoreWord(words + 2 * n, high << layout.lowBits | low);
    }
}

void PackPairs(uint8_t* packed, const uint8_t* words, size_t count, uint32_t depth) {
    const PairLayout layout = PairLayoutOf(depth);
    const uint32_t mask = (1u << layout.lowBits) - 1;
    for (size_t n = 0; n < count; ++n) {
        uint8_t* triple = packed + n / 2 * 3;
        const uint32_t sample = LoadWord(words + 2 * n);
        const bool second = n % 2 != 0;
        triple[second ? 2 : 0] = static_cast<uint8_t>(sample >> layout.lowBits);
        const uint32_t low = (sample & mask) << (second ? layout.shiftOfSecond : 0);
        triple[1] = static_cast<uint8_t>(triple[1] | low);
    }
}

void UnpackRun(const FormatInfo& format, uint8_t* words, const uint8_t* packed, size_t count) {
    if (format.packing == Packing::kBitStream) {
        UnpackBitStream(words, packed, count, format.depth);
    } else {
        UnpackPairs(words, packed, count, format.depth);
    }
}

}  // namespace

RawShape TightShape(const RawShape& shape) {
    return {&UnpackedFormat(*shape.format), shape.width, shape.height, 0, 0};
}

Bytes TightFrame(const RawShape& shape, Bytes raw, std::vector<uint8_t>& scratch) {
    const bool packed = shape.format->packing != Packing::kNone;
    const bool padded = shape.stride != 0 && shape.stride != shape.BytesOf(shape.width);
    if (!packed && !padded) {
        return raw;
    }
    const RawShape tight = TightShape(shape);
    scratch.resize(tight.FrameBytes());
    if (shape.stride == 0) {
        UnpackRun(*shape.format, scratch.data(), raw.data(), shape.Pixels());
        return scratch;
    }
    const size_t rowBytes = tight.BytesOf(shape.width);
    for (size_t r = 0; r < shape.height; ++r) {
        const uint8_t* from = raw.data() + r * shape.stride;
        uint8_t* to = scratch.data() + r * rowBytes;
        if (packed) {
            UnpackRun(*shape.format, to, from, shape.width);
        } else {
            std::memcpy(to, from, rowBytes);
        }
    }
    return scratch;
}

std::vector<uint8_t> PackSamples(const FormatInfo& packed, const uint8_t* samples, size_t count) {
    // A bit stream stores whole words; the last one may reach one byte beyond the frame.
    const size_t bytes = (count * BitPerPixel(packed.code) + 7) / 8;
    std::vector<uint8_t> result(bytes + 1);
    if (packed.packing == Packing::kBitStream) {
        PackBitStream(result.data(), samples, count, packed.depth);
    } else {
        PackPairs(result.data(), samples, count, packed.depth);
    }
    result.resize(bytes);
    return result;
}

}  // namespace VexaTool
