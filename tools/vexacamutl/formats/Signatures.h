// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Files that say themselves what they are.
#pragma once

#include <string>

#include "formats/Bytes.h"

namespace VexaTool {

/// "a PNG picture"; empty for bytes that do not begin as a known file does. `file` is the whole file.
std::string KnownContent(Bytes file);

}  // namespace VexaTool
