// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// What a raw frame is like: format, size, and how its bytes lie in the file.
//
//     offset        stride                 stride
//     |<- skipped ->|<- row 0 ... |padding>|<- row 1 ... |padding>| ...   next frame
//
// Without a stride rows (and, of packed formats, even bits of rows) follow each other without a gap.
#pragma once

#include <cstddef>
#include <string>

#include "Failure.h"
#include "formats/FormatNames.h"

namespace VexaTool {

struct RawShape {
    const FormatInfo* format = nullptr;
    uint32_t width = 0;
    uint32_t height = 0;
    uint64_t stride = 0;        ///< bytes from row to row, 0: no padding
    uint64_t offset = 0;        ///< bytes before the first frame of a file
    uint32_t shift = 0;         ///< words: the sample is word >> shift
    bool limitedRange = false;  ///< of YUV: Y uses 16 to 235, U and V 16 to 240

    size_t Pixels() const { return size_t{width} * height; }

    /// One frame, as the frames layer is told of it.
    VcfLayout Layout() const;

    /// Bytes that the pixels of a row take; a started byte counts.
    size_t RowBytes() const;
    size_t FrameBytes() const;

    /// "BayerRG8 1920x1080"
    std::string Text() const {
        return std::string(format->name) + " " + std::to_string(width) + "x" + std::to_string(height);
    }
};

/// "1920x1080"; a Failure unless both are at least 1.
void ParseSize(const std::string& text, uint32_t& width, uint32_t& height);

/// Who is wrong when a shape is: the command line, or the file or sidecar that says so.
struct ShapeOrigin {
    ExitCode size = ExitCode::kUsage;
    ExitCode stride = ExitCode::kUsage;
    ExitCode samples = ExitCode::kUnsupported;  ///< shift and range
};

/// A Failure for sizes beyond what the tool handles (2^30 pixels), and for a stride shorter than a row.
void CheckShape(const RawShape& shape, const std::string& name, ShapeOrigin origin = {});

}  // namespace VexaTool
