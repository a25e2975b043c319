// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The scalar table: every kernel as obvious scalar code. It runs everywhere and defines every byte.
#include "kernels/KernelTable.h"
#include "kernels/scalar/Acpi.h"
#include "kernels/scalar/Bayer8.h"
#include "kernels/scalar/BayerN.h"
#include "kernels/scalar/Copy.h"
#include "kernels/scalar/Mono.h"
#include "kernels/scalar/PackedColour.h"
#include "kernels/scalar/Reverse.h"
#include "kernels/scalar/Yuv.h"

namespace Vexa::Kernels {
namespace Scalar {
namespace {

#include "kernels/MakeTable.inc"

}  // namespace
}  // namespace Scalar

constinit const KernelTable kScalarTable = Scalar::MakeTable("scalar");

}  // namespace Vexa::Kernels
