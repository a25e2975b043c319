// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// What memory allows: a kernel that reads as many bytes as a converter reads and writes as many as it writes, with
// the widest ordinary loads and stores of an instruction set and next to no arithmetic. A converter can hardly be
// faster than this; its speed is given as time of the limit / time of the converter.
//
// The kernel's shape is the converter's: for every `loads` vectors read it writes `stores` vectors (grey to BGRA is
// 1 : 4, 4:1:1 to BGRA is 3 : 8). What it stores comes from what it loaded, so that nothing can be left out.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Bench {

/// Reads srcBytes and writes dstBytes; both are whole numbers of steps of the shape, a rest is left out.
using LimitKernel = void (*)(uint8_t* dst, const uint8_t* src, size_t srcBytes);

struct LimitShape {
    unsigned loads;
    unsigned stores;
    LimitKernel run;
};

inline constexpr size_t kLimitShapeCount = 11;

/// All shapes with vectors of one width.
struct LimitTable {
    size_t vectorBytes;
    LimitShape shapes[kLimitShapeCount];
};

extern const LimitTable kLimit16;  ///< every processor
#if defined(__x86_64__)
extern const LimitTable kLimit32;  ///< needs AVX2
extern const LimitTable kLimit64;  ///< needs AVX-512
#endif

/// The limit that a family's kernels in the table of this name are held against: one with registers of the same width,
/// since wider ones would lower the clock for both.
const LimitTable& LimitFor(const char* tableName, const char* family);

/// The kernel that reads srcBits and writes dstBits for every pixel; null when no converter has that shape.
LimitKernel FindLimit(const LimitTable& table, unsigned srcBits, unsigned dstBits);

}  // namespace Bench
