// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// From the arguments of a command line to the exit code.
#pragma once

namespace VexaTool {

/// Calls `prepare`, which must lead to PrepareLUT, and runs one verb. Every failure of either becomes one line on
/// standard error and an exit code; nothing is thrown.
int RunCommandLine(int argc, char** argv, void (*prepare)());

}  // namespace VexaTool
