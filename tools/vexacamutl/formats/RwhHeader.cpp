// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See RwhHeader.h.
#include "formats/RwhHeader.h"

#include "Failure.h"

namespace VexaTool {

RawShape ShapeOfRwhHeader(const RwhHeader& header, const std::string& name) {
    RawShape shape;
    shape.format = FindFormat(header.code);
    shape.width = header.width;
    shape.height = header.height;
    shape.offset = kRwhHeaderBytes;
    if (shape.format == nullptr) {
        throw Failure(ExitCode::kInput,
                      name + ": the header holds no known pixel format (" + HexCode(header.code) + ")");
    }
    const uint64_t bitsPerPixel = BitPerPixel(header.code);
    if (uint64_t{header.rowBytes} != header.width * bitsPerPixel / 8) {
        throw Failure(ExitCode::kInput, name + ": the header says " + shape.Text() + ", but rows of " +
                                            std::to_string(header.rowBytes) + " bytes");
    }
    // Rows of an RWH file end at whole bytes, rounded down; only where nothing is lost is that the frame itself.
    const uint64_t pixels = uint64_t{header.width} * header.height;
    if ((pixels * bitsPerPixel + 7) / 8 != uint64_t{header.rowBytes} * header.height) {
        throw Failure(ExitCode::kInput, name + ": rows of " + shape.Text() + " do not end at whole bytes");
    }
    return shape;
}

}  // namespace VexaTool
