// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// info: what a raw file is, by its RWH header, its sidecar or the command line, and whether its length agrees.
#include <cstdio>
#include <memory>

#include "Failure.h"
#include "commands/Commands.h"
#include "input/FrameSource.h"

namespace VexaTool {

namespace {

struct Arguments {
    std::vector<std::string> paths;
    InputOptions input;
    bool json = false;
};

/// One object per line.
void PrintJson(const MappedFrames& frames) {
    const RawShape& shape = frames.Shape();
    std::printf(
        "{\"file\": %s, \"format\": \"%s\", \"code\": \"%s\", \"width\": %u, \"height\": %u, "
        "\"stride\": %llu, \"offset\": %llu, \"frames\": %zu, \"frame_bytes\": %zu}\n",
        JsonString(frames.Path()).c_str(), std::string(shape.format->name).c_str(), HexCode(shape.format->code).c_str(),
        shape.width, shape.height, static_cast<unsigned long long>(shape.stride),
        static_cast<unsigned long long>(shape.offset), frames.Count(), shape.FrameBytes());
}

void Print(const MappedFrames& frames) {
    const RawShape& shape = frames.Shape();
    const FormatInfo& format = *shape.format;
    std::printf("%s\n", Printable(frames.Path()).c_str());
    std::printf("  format    %s (%s), %s, %u bits per pixel, %u significant\n", std::string(format.name).c_str(),
                HexCode(format.code).c_str(), KindName(format.kind), BitPerPixel(format.code), format.depth);
    std::printf("  size      %ux%u\n", shape.width, shape.height);
    std::printf("  row       %zu bytes\n", shape.stride != 0 ? size_t{shape.stride} : shape.RowBytes());
    std::printf("  frames    %zu of %zu bytes\n", frames.Count(), shape.FrameBytes());
    std::printf("  length    agrees\n");
}

void RunInfo(const Arguments& arguments) {
    size_t failures = 0;
    for (const std::string& path : arguments.paths) {
        try {
            const MappedFrames frames(path, arguments.input);
            arguments.json ? PrintJson(frames) : Print(frames);
        } catch (const Failure& failure) {
            if (arguments.paths.size() == 1) {
                throw;
            }
            SayLine(failure.what());
            ++failures;
        }
    }
    if (failures > 0) {
        throw Failure(ExitCode::kSomeFailed,
                      std::to_string(failures) + " of " + std::to_string(arguments.paths.size()) + " inputs failed");
    }
}

}  // namespace

void AddInfo(CLI::App& app) {
    auto arguments = std::make_shared<Arguments>();
    CLI::App& command = *app.add_subcommand("info", "Say what a raw or RWH file holds and check its length");
    command.add_option("FILES", arguments->paths, "RWH files, or raw files with a sidecar or --format and --size")
        ->required();
    arguments->input.AddTo(command);
    command.add_flag("--json", arguments->json, "One JSON object per file");
    command.callback([arguments] { RunInfo(*arguments); });
}

}  // namespace VexaTool
