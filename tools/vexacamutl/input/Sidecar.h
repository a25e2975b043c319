// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The text beside a raw file that says what the file cannot: for frame.raw the file frame.txt (or frame.raw.txt) with
// lines of "key: value". Read are "pixel format" (hex code or name), "width", "height", "stride", "offset",
// "shift", "range" (full or limited) and "timestamp" (of each frame, separated by commas), in any case; other lines are
// for people.
//
//     pixel format: 0x01080009 BayerRG8
//     width: 1920
//     height: 1080
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "formats/RawShape.h"

namespace VexaTool {

/// What a sidecar's text says; a Failure when it does not name format, width and height. `name` is for the message.
RawShape ParseSidecar(const std::string& text, const std::string& name);

/// Nothing when there is no sidecar; a Failure when it does not name format, width and height.
std::optional<RawShape> ReadSidecar(const std::string& rawPath);

/// When the frames were taken, as the sidecar says it; empty where none does.
std::string ReadTimestamps(const std::string& rawPath);

/// Where the text beside a result goes.
std::string SidecarPath(const std::string& rawPath);

/// Every place where ReadSidecar looks, in its order.
std::vector<std::string> SidecarPaths(const std::string& rawPath);

/// What the tool writes into a sidecar.
std::string SidecarText(const std::string& rawPath, const RawShape& shape);

/// True for a text as SidecarText makes it for this file, of any layout.
bool IsSidecarTextOf(const std::string& text, const std::string& rawPath);

/// The text of a small file beside a frame; nothing when there is none. A Failure for what is not a regular file of at
/// most 64 KiB: a device or a FIFO would be read without end.
std::optional<std::string> ReadSideFile(const std::string& path);

}  // namespace VexaTool
