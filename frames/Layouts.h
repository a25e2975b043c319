// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Where a row of a layout begins and ends, in bytes and in groups.
//
// Every format is a sequence of groups of whole bytes (1 pixel of Mono8 is one, 4 samples of 10p in 5 bytes are one).
// A row begins with some pixel of some group:
//
//     stride      byte = offset + row * stride,    pixel = skip
//     no stride   byte = offset,                   pixel = skip + row * row_width
#pragma once

#include "Formats.h"

namespace VexaFrames {

struct RowStart {
    uint64_t byte;    ///< of the group with the first pixel
    uint32_t member;  ///< place of the first pixel in that group
};

/// A layout that has passed VcfCheckLayout, with what follows from it.
struct Geometry {
    const VcfFormat* format;
    uint32_t width;
    uint32_t height;
    uint64_t stride;  ///< 0 where rows run on inside groups
    uint64_t offset;
    uint64_t skip;
    uint64_t rowWidth;
    uint32_t shift;
    bool limited;

    RowStart StartOf(uint32_t row) const;
    /// Rows follow each other without a gap and begin with whole groups: `rows` of them are one run.
    bool RowsAreOneRun() const;
    /// Rows begin with whole groups, and so do the pixels of a row.
    bool RowsAreWholeGroups() const;
};

/// Bytes that the first `pixels` pixels of a run of groups take.
uint64_t BytesOfPixels(const VcfFormat& format, uint64_t pixels);

/// VCF_OK and the geometry, or what is wrong.
VcfStatus MakeGeometry(const VcfLayout* layout, Geometry& geometry, const Text& text);

/// One byte past the last one that the frame takes.
uint64_t EndOf(const Geometry& geometry);

VcfStatus CheckLength(const Geometry& geometry, uint64_t length, const Text& text);

/// Whether `rows` rows of `rowBytes` bytes can lie `stride` bytes apart (0: no padding); VCF_BAD_STRIDE for strides
/// shorter than a row, or with which an offset would not fit into ptrdiff_t.
VcfStatus CheckStride(size_t stride, size_t rowBytes, uint32_t rows, const char* name, const Text& text);

}  // namespace VexaFrames
