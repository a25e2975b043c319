// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The element vexaconvert: camera frames in, pictures out. It negotiates, finds the rows, and hands them to Conversion.
#pragma once

#include <gst/gst.h>

namespace VexaGst {

GType ConvertType();

}  // namespace VexaGst
