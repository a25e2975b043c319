// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The header of an RWH file. Files carry no signature, so what the words say about each other has to be true.
#pragma once

#include <cstdint>
#include <string>

#include "Formats.h"

namespace VexaGst {

constexpr gsize kRwhHeaderBytes = 16;

struct RwhHeader {
    uint32_t code;
    uint32_t width;
    uint32_t height;
    uint32_t rowBytes;

    uint64_t FrameBytes() const { return uint64_t{rowBytes} * height; }
};

RwhHeader ReadRwhHeader(const guint8* bytes);
void WriteRwhHeader(const RwhHeader& header, guint8* bytes);

/// The format that the header names, or null and what is wrong with it.
const Format* CheckRwhHeader(const RwhHeader& header, std::string* error);

}  // namespace VexaGst
