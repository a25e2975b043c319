// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Converts a small literal frame: source and destination lie against forbidden pages, and the reference has to give
// the same picture. What is returned is the destination, 0x55 where nothing was written.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <initializer_list>
#include <vector>

#include "Buffers.h"
#include "Reference.h"

using Bytes = std::vector<uint8_t>;

/// 16-bit samples as they lie in memory.
inline Bytes Words(std::initializer_list<uint32_t> words) {
    Bytes bytes;
    for (const uint32_t word : words) {
        bytes.push_back(static_cast<uint8_t>(word));
        bytes.push_back(static_cast<uint8_t>(word >> 8));
    }
    return bytes;
}

/// `count` times the same bytes.
inline Bytes Times(size_t count, const Bytes& bytes) {
    Bytes all;
    for (size_t i = 0; i < count; ++i) {
        all.insert(all.end(), bytes.begin(), bytes.end());
    }
    return all;
}

inline Bytes PictureOf(const Reference::Converter& converter, uint32_t width, uint32_t height, const Bytes& frame,
                       uint32_t shift) {
    EXPECT_EQ(frame.size(), converter.SourceBytes(width, height)) << converter.name;
    const size_t bytes = converter.DestinationBytes(width, height);
    Reference::GuardedArena source(frame.size());
    Reference::GuardedArena destination(bytes);
    Bytes expected(bytes, 0x55);
    Bytes picture;
    for (const Reference::GuardSide side : {Reference::GuardSide::kFront, Reference::GuardSide::kBack}) {
        uint8_t* src = source.Block(frame.size(), side, 0);
        if (!frame.empty()) {
            std::memcpy(src, frame.data(), frame.size());
        }
        uint8_t* dst = destination.Block(bytes, side, 0x55);
        EXPECT_EQ(converter.Call(dst, src, width, height, shift), UTL_STS_SUCCESS) << converter.name;
        EXPECT_TRUE(destination.MarginIsIntact()) << converter.name;
        picture.assign(dst, dst + bytes);
        std::fill(expected.begin(), expected.end(), uint8_t{0x55});
        Reference::Convert(converter, expected.data(), src, width, height, shift);
        EXPECT_EQ(picture, expected) << converter.name;
    }
    return picture;
}

inline Bytes PictureOf(std::string_view name, uint32_t width, uint32_t height, const Bytes& frame) {
    const Reference::Converter& converter = Reference::Find(name);
    return PictureOf(converter, width, height, frame, converter.DefaultShift());
}

inline Bytes PictureOf(std::string_view name, uint32_t width, uint32_t height, const Bytes& frame, uint32_t shift) {
    return PictureOf(Reference::Find(name), width, height, frame, shift);
}

/// The BGR picture that shows the same colours as a BGRA picture.
inline Bytes WithoutAlpha(const Bytes& bgra) {
    Bytes bgr;
    for (size_t i = 0; i < bgra.size(); ++i) {
        if (i % 4 != 3) {
            bgr.push_back(bgra[i]);
        }
    }
    return bgr;
}

/// The four bytes of one BGRA pixel.
inline Bytes PixelAt(const Bytes& bgra, uint32_t width, uint32_t row, uint32_t column) {
    const auto at = bgra.begin() + (static_cast<std::ptrdiff_t>(row) * width + column) * 4;
    return {at, at + 4};
}
