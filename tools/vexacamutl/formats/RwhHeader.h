// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The header of an RWH file: four little-endian words, then the frame.
#pragma once

#include <cstdint>
#include <string>

#include "formats/RawShape.h"

namespace VexaTool {

inline constexpr uint32_t kRwhHeaderBytes = 16;

struct RwhHeader {
    PixelFormat code = 0;
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t rowBytes = 0;
};

/// The shape of the frame, with the header as its offset. The format has no signature, so what the words say about each
/// other has to be true: a Failure otherwise, with the name of the file.
RawShape ShapeOfRwhHeader(const RwhHeader& header, const std::string& name);

}  // namespace VexaTool
