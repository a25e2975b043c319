// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// info: what raw files are, by their RWH header, their sidecar or the command line, and whether their length agrees.
#include <cstdio>
#include <memory>

#include "Failure.h"
#include "commands/Commands.h"
#include "input/FrameSource.h"
#include "input/InputPaths.h"
#include "input/Sidecar.h"

namespace VexaTool {

namespace {

struct Arguments {
    std::vector<std::string> paths;
    InputOptions input;
    bool json = false;
};

/// The text beside a file whose layout comes from elsewhere need not be a sidecar.
std::string TimestampsOf(const std::string& path) {
    try {
        return ReadTimestamps(path);
    } catch (const Failure&) {
        return "";
    }
}

/// One object per line.
void PrintJson(const MappedFrames& frames) {
    const RawShape& shape = frames.Shape();
    const std::string times = TimestampsOf(frames.Path());
    std::printf(
        "{\"file\": %s, \"format\": \"%s\", \"code\": \"%s\", \"width\": %u, \"height\": %u, "
        "\"stride\": %llu, \"offset\": %llu, \"frames\": %zu, \"frame_bytes\": %zu, \"timestamp\": %s}\n",
        JsonString(frames.Path()).c_str(), std::string(shape.format->name).c_str(), HexCode(shape.format->code).c_str(),
        shape.width, shape.height, static_cast<unsigned long long>(shape.stride),
        static_cast<unsigned long long>(shape.offset), frames.Count(), shape.FrameBytes(),
        times.empty() ? "null" : JsonString(times).c_str());
}

void PrintJson(const InputFailure& failed) {
    std::printf("{\"file\": %s, \"reason\": %s}\n", JsonString(failed.path).c_str(),
                JsonString(failed.failure.what()).c_str());
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
    std::vector<InputFailure> failures;
    const std::vector<std::string> files = WithoutFolders(arguments.paths, failures);
    const size_t inputs = files.size() + failures.size();
    for (const std::string& path : files) {
        try {
            const MappedFrames frames(path, arguments.input);
            arguments.json ? PrintJson(frames) : Print(frames);
        } catch (const Failure& failure) {
            failures.push_back({path, failure});
        }
    }
    for (const InputFailure& failed : failures) {
        if (arguments.json) {
            PrintJson(failed);
        }
        if (inputs == 1) {
            throw Failure(failed.failure);
        }
        SayLine(failed.failure.what());
    }
    if (!failures.empty()) {
        throw Failure(ExitCode::kSomeFailed,
                      std::to_string(failures.size()) + " of " + std::to_string(inputs) + " inputs failed");
    }
}

}  // namespace

void DeclareInfo(CLI::App& command) {
    auto arguments = std::make_shared<Arguments>();
    command
        .add_option("FILES", arguments->paths,
                    "RWH files, raw files with a sidecar or --format and --size, or folders of them")
        ->required();
    arguments->input.AddTo(command);
    command.add_flag("--json", arguments->json, "One JSON object per file, also for those that cannot be read");
    command.callback([arguments] { RunInfo(*arguments); });
}

}  // namespace VexaTool
