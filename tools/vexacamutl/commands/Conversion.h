// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The main job: many inputs in, many outputs out, on several threads, with one line for each input that failed.
//
//     in order     streams, and outputs that take many frames: a handful of frames is read, converted side by side,
//                  and written in their order
//     as a batch   files to files: every thread takes the next frame of the next file
#pragma once

#include <string>
#include <vector>

#include "input/FrameSource.h"
#include "output/FrameEncoder.h"

namespace VexaTool {

struct ConversionOptions {
    std::vector<std::string> inputs;
    std::string output;     ///< a path, a pattern or "-"; empty with a folder
    std::string outputDir;  ///< a folder; empty with a path
    InputOptions input;
    EncodeOptions encode;
    unsigned jobs = 1;
    bool checkRange = false;
    bool quiet = false;
    bool sidecar = false;  ///< write a sidecar beside each raw output
};

/// Returns when all went well; a Failure otherwise.
void RunConversion(const ConversionOptions& given);

}  // namespace VexaTool
