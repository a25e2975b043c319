// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The kernels for 64-bit ARM processors, all of which have NEON. This file is compiled for them, so it must not
// emit anything that the linker could share with other files: everything has internal linkage.
#include <arm_neon.h>

#include "kernels/KernelTable.h"

namespace Vexa::Kernels {
namespace Neon {
namespace {

/// Serves what is too short for these registers.
constexpr const KernelTable& kNarrower = kPlainTable;

#include "kernels/lanes/Neon.inc"

#include "kernels/rows/Runs.inc"

#include "kernels/rows/Acpi.inc"
#include "kernels/rows/Bayer.inc"
#include "kernels/rows/Reverse.inc"
#include "kernels/rows/Yuv.inc"

#include "kernels/MakeTable.inc"

}  // namespace
}  // namespace Neon

constinit const KernelTable kNeonTable = Neon::MakeTable("neon");

}  // namespace Vexa::Kernels
