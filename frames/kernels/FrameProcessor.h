// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Which frame kernels this processor can run.
#pragma once

#include <span>

#include "kernels/FrameKernels.h"

namespace VexaFrames {

/// All tables that were compiled in, from scalar upwards.
std::span<const FrameKernels* const> AllFrameKernels();

/// Whether the processor and the operating system have everything that the table's code uses.
bool CanRunFrameKernels(const FrameKernels& kernels);

}  // namespace VexaFrames
