// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Black level, white balance, exposure and tone as tables of bytes, one for each colour, indexed by the sample. At most
// 14 bits of a sample count, so a table takes 16 KiB and the three fit the second-level cache.
#pragma once

#include "Layouts.h"

namespace VexaFrames {

enum Channel : uint32_t { kRed, kGreen, kBlue, kChannelCount };

inline constexpr uint32_t kMostTableBits = 14;

struct LevelTables {
    uint32_t shift;  ///< index = min(word >> shift, largest)
    uint32_t largest;
    uint8_t values[kChannelCount][1u << kMostTableBits];
};

/// What is wrong with the settings, or VCF_OK.
VcfStatus CheckLevels(const VcfSettings& settings, const VcfFormat& format, const Text& text);

/// Fills the tables for samples of `depth` bits in words that are shifted by `shift`.
void MakeLevelTables(LevelTables& tables, const VcfSettings& settings, uint32_t depth, uint32_t shift, bool grey);

}  // namespace VexaFrames
