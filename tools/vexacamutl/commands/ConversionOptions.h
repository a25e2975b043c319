// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// What a command that takes many frames is told: where they come from, what is done with each, where the results go.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "input/FrameSource.h"
#include "output/FrameEncoder.h"
#include "output/OutputPlan.h"

namespace VexaTool {

struct ConversionOptions {
    std::vector<std::string> inputs;
    OutputOptions output;
    InputOptions input;
    EncodeOptions encode;
    unsigned jobs = 1;
    bool checkRange = false;
    bool quiet = false;

    /// Called with each result file that is complete, one call at a time.
    std::function<void(const std::string& path, const RawShape& shape)> announce;
};

}  // namespace VexaTool
