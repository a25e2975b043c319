// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Black level, white balance, exposure and tone of a conversion: the words of the command line, and the settings of the
// frames layer that they mean for a frame.
#pragma once

#include <string>

#include "formats/Bytes.h"
#include "formats/RawShape.h"

namespace VexaTool {

struct LevelOptions {
    bool given = false;        ///< any of them: levels are applied
    bool autoBalance = false;  ///< gains estimated anew for each frame
    VcfSettings settings = InitialSettings();

    static VcfSettings InitialSettings();

    // Each reads the value of its option; a Failure says what is expected.
    void SetWhiteBalance(const std::string& text);
    void SetBlackLevel(const std::string& text);
    void SetExposure(const std::string& text);
    void SetTone(const std::string& text);
};

/// `frame` is tight. A Failure for levels of YUV frames.
VcfSettings SettingsFor(const RawShape& shape, Bytes frame, const LevelOptions& levels);

}  // namespace VexaTool
