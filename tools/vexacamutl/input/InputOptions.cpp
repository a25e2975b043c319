// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// InputOptions (see FrameSource.h) on the command line.
#include "Options.h"
#include "input/FrameSource.h"

namespace VexaTool {

void InputOptions::AddTo(CLI::App& command) {
    command.add_option("-f,--format", format, "Pixel format: name, alias or hex code (see: vexacamutl formats)");
    command.add_option("-s,--size", size, "Size of a frame, WIDTHxHEIGHT");
    AddWhole(command, "--stride", stride, "Bytes from one row to the next (default: rows without padding)");
    AddWhole(command, "--offset", offset, "Bytes to skip before the first frame");
    AddWhole(command, "--shift", shift, "Bits by which samples in words lie too high (default: 0)", 0, 8);
    AddWhole(command, "--frame", frame, "Only this frame of a sequence, counted from 0");
}

}  // namespace VexaTool
