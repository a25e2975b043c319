// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The text beside a raw file that says what the file cannot: for frame.raw the file frame.txt (or frame.raw.txt) with
// lines of "key: value". Read are "pixel format" (hex code or name), "width", "height", "stride" and "offset"; other
// lines are for people.
//
//     pixel format: 0x01080009 BayerRG8
//     width: 1920
//     height: 1080
#pragma once

#include <optional>

#include "formats/RawShape.h"

namespace VexaTool {

/// Nothing when there is no sidecar; a Failure when it does not name format, width and height.
std::optional<RawShape> ReadSidecar(const std::string& rawPath);

/// Where WriteSidecar puts it.
std::string SidecarPath(const std::string& rawPath);

void WriteSidecar(const std::string& rawPath, const RawShape& shape);

}  // namespace VexaTool
