// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The plain table: every kernel as obvious scalar code. It runs everywhere and defines every byte.
#include "kernels/KernelTable.h"
#include "kernels/plain/AcpiRows.h"
#include "kernels/plain/BayerRows.h"
#include "kernels/plain/Runs.h"

namespace Vexa::Kernels {
namespace Plain {
namespace {

#include "kernels/MakeTable.inc"

}  // namespace
}  // namespace Plain

constinit const KernelTable kPlainTable = Plain::MakeTable("plain");

}  // namespace Vexa::Kernels
