// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// One input whose frames keep their order: a handful of frames is read, converted side by side, and written one after
// another.
#pragma once

#include "commands/ConversionOptions.h"
#include "commands/Report.h"

namespace VexaTool {

void ConvertInOrder(const ConversionOptions& options, OutputPlan& plan, Report& report);

}  // namespace VexaTool
