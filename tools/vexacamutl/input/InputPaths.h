// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The files that a command line names as inputs.
#pragma once

#include <string>
#include <vector>

#include "Failure.h"

namespace VexaTool {

struct InputFailure {
    std::string path;
    Failure failure;
};

bool IsFolder(const std::string& path);

/// Folders are replaced by the raw frames in them (*.raw, *.bin, *.rwh), in the order of their names. What such a name
/// stands for is not looked at: a broken link is an input that fails by itself.
/// So is a folder without any: its Failure is added to `failures`.
std::vector<std::string> WithoutFolders(const std::vector<std::string>& paths, std::vector<InputFailure>& failures);

}  // namespace VexaTool
