// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// What is measured: every converter and every way of ReverseImg as one row of a table, with the bits that a pixel
// takes in its source and in its destination. All programs of this folder take their cases from here.
#pragma once

#include <cstdint>
#include <span>

#include <VexaCamUtl.h>

namespace Bench {

struct Case {
    const char* family;      ///< one line of the tables: what shares kernels and cost
    const char* name;        ///< the exported function, or the format and the way of a ReverseImg case
    ConverterFunc function;  ///< null for a worker
    UtlStatus (*worker)(void* dst, const void* src, uint32_t width, uint32_t height, uint32_t shift);
    unsigned srcBits;  ///< that one pixel takes in the source, skipped bytes included
    unsigned dstBits;  ///< that one pixel takes in the destination

    UtlStatus Run(void* dst, const void* src, uint32_t width, uint32_t height) const;

    /// Samples of more than 8 bits, in 16-bit words.
    bool HasWords() const;
    /// A Bayer frame that is demosaiced: the border has rules of its own.
    bool IsMosaic() const;
};

std::span<const Case> Cases();

}  // namespace Bench
