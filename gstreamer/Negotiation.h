// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Which caps vexaconvert takes and gives.
#pragma once

#include "Conversion.h"

namespace VexaGst {

/// What comes out, most wanted first.
GstCaps* OutputCaps();

/// The caps possible on the other side of the element.
GstCaps* OtherSide(GstPadDirection from, const GstCaps* caps);

/// What fixed caps on both sides ask for, or why that is refused.
bool ReadJob(const GstCaps* in, const GstVideoInfo& out, const Settings& settings, Job* job, std::string* error);

}  // namespace VexaGst
