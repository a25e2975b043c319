// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// InputOptions (see FrameSource.h) on the command line.
#include "Options.h"
#include "input/FrameSource.h"

namespace VexaTool {

FrameRange ParseFrameRange(const std::string& text) {
    const std::string_view view = text;
    const size_t colon = view.find(':');
    FrameRange range;
    const std::string_view first = view.substr(0, colon);
    const std::string_view end = colon == std::string_view::npos ? "" : view.substr(colon + 1);
    const bool good = (ParseWhole(first, range.first) || (first.empty() && colon != std::string_view::npos)) &&
                      (ParseWhole(end, range.end) || end.empty());
    if (!good) {
        throw Failure(ExitCode::kUsage,
                      "invalid --frames '" + text + "': expected FIRST:END, FIRST:, :END or a number");
    }
    if (colon == std::string_view::npos) {
        range.end = range.first + 1;
    }
    if (range.first >= range.end) {
        throw Failure(ExitCode::kUsage, "--frames " + text + " holds no frame; END is the first one that is left out");
    }
    return range;
}

void InputOptions::AddTo(CLI::App& command) {
    command.add_option("-f,--format", format, "Pixel format: name, alias or hex code (see: vexacamutl formats)");
    command.add_option("-s,--size", size, "Size of a frame, WIDTHxHEIGHT");
    AddWhole(command, "--stride", stride, "Bytes from one row to the next (default: rows without padding)");
    AddWhole(command, "--offset", offset, "Bytes to skip before the first frame");
    AddWhole(command, "--shift", shift, "Bits by which samples lie too high in their 16-bit words (default: 0)", 0, 8);
    AddWhole(command, "--frame", frame, "Only this frame of a sequence, counted from 0");
}

void InputOptions::AddFramesTo(CLI::App& command) {
    command
        .add_option_function<std::string>(
            "--frames", [this](const std::string& text) { frames = ParseFrameRange(text); },
            "Only frames FIRST to END - 1 of a sequence (FIRST:END), each under its own number")
        ->excludes(command.get_option("--frame"));
}

}  // namespace VexaTool
