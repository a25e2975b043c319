// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// RWH files in pipelines. A file is a header of four little-endian words and the frame in rows without padding:
//
//     | format | width | height | row size | row size * height bytes ...
//     0        4       8        12         16
//
// vexarwhdec reads one file, or several that follow each other, from filesrc, multifilesrc or a pipe, and pushes the
// frames with the caps of their format. vexarwhenc makes one file of every frame, for filesink or multifilesink.
#pragma once

#include <gst/gst.h>

namespace VexaGst {

constexpr char kRwhMediaType[] = "application/x-vexa-rwh";

GType RwhDecoderType();
GType RwhEncoderType();
bool RegisterRwhTypeFinder(GstPlugin* plugin);

}  // namespace VexaGst
