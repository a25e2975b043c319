// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The main job: many inputs in, many outputs out, on several threads, with one line for each input that failed.
// Streams, and outputs that take many frames, go in order (InOrder.h), files to files as a batch (Batch.h).
#pragma once

#include "commands/ConversionOptions.h"

namespace VexaTool {

/// Returns when all went well; a Failure otherwise.
void RunConversion(const ConversionOptions& given);

}  // namespace VexaTool
