// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// What the constructor of the early library found; see EarlyCaller.cpp.
#pragma once

#include <cstdint>

struct EarlyFindings {
    bool ran;
    bool refused;         ///< a converter without its tables said so
    bool queries;         ///< the dictionary answered
    bool getter;          ///< a converter was handed out
    bool reversal;        ///< a frame was reversed
    bool files;           ///< a file was written, another one read
    uint32_t converters;  ///< that agreed with the reference
};

extern EarlyFindings g_earlyFindings;
