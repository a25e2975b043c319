// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// convert: raw frames to pictures. pack and unpack: the same road with the raw frame itself as the result.
#include <algorithm>
#include <memory>
#include <thread>

#include "Failure.h"
#include "commands/Commands.h"
#include "commands/Conversion.h"

namespace VexaTool {

namespace {

struct Arguments {
    std::vector<std::string> paths;
    std::string to;
    std::string bayerMode = "default";
    ConversionOptions conversion;
};

unsigned DefaultJobs() {
    return std::max(1u, std::thread::hardware_concurrency());
}

void AddSharedOptions(CLI::App& command, Arguments& arguments) {
    command.add_option("PATHS", arguments.paths, "INPUT OUTPUT, or with --output-dir any number of inputs and folders")
        ->required();
    arguments.conversion.input.AddTo(command);
    command.add_option("-o,--output-dir", arguments.conversion.outputDir, "Write the results into this folder");
    command.add_option("-j,--jobs", arguments.conversion.jobs, "Threads (default: one a processor)")
        ->check(CLI::Range(1, 256));
    command.add_flag("--check-range", arguments.conversion.checkRange,
                     "Count samples above the format's depth, which wrap");
    command.add_flag("-q,--quiet", arguments.conversion.quiet, "No progress on a terminal");
    arguments.conversion.jobs = DefaultJobs();
}

/// The last path is the output unless a folder takes the results.
void SplitPaths(const Arguments& arguments, ConversionOptions& conversion) {
    conversion.inputs = arguments.paths;
    if (!conversion.outputDir.empty()) {
        return;
    }
    if (arguments.paths.size() != 2) {
        throw Failure(ExitCode::kUsage, arguments.paths.size() == 1
                                            ? "one input and no output; name the output, or give --output-dir"
                                            : "more than one input; give --output-dir for the results");
    }
    conversion.output = arguments.paths[1];
    conversion.inputs.pop_back();
}

OutputKind ChooseKind(const Arguments& arguments, const ConversionOptions& conversion) {
    if (!arguments.to.empty()) {
        const auto kind = FindOutputKind(arguments.to);
        if (!kind) {
            throw Failure(ExitCode::kUsage,
                          "'" + arguments.to + "' is no kind of output; choose one of " + OutputKindNames());
        }
        return *kind;
    }
    if (!conversion.outputDir.empty()) {
        return OutputKind::kPng;
    }
    return conversion.output == "-" ? OutputKind::kBgra : OutputKindOf(conversion.output);
}

void RunConvert(const Arguments& arguments) {
    ConversionOptions conversion = arguments.conversion;
    SplitPaths(arguments, conversion);
    conversion.encode.kind = ChooseKind(arguments, conversion);
    SetBayerMode(arguments.bayerMode);
    RunConversion(conversion);
}

void AddRepacking(CLI::App& app, const std::string& name, const std::string& help, OutputKind kind) {
    auto arguments = std::make_shared<Arguments>();
    CLI::App& command = *app.add_subcommand(name, help);
    AddSharedOptions(command, *arguments);
    arguments->conversion.encode.kind = kind;
    if (kind == OutputKind::kRaw) {
        command.add_flag("--sidecar", arguments->conversion.sidecar,
                         "Write format and size into a text beside each output");
    }
    command.callback([arguments] {
        ConversionOptions conversion = arguments->conversion;
        SplitPaths(*arguments, conversion);
        RunConversion(conversion);
    });
}

}  // namespace

void AddConvert(CLI::App& app) {
    auto arguments = std::make_shared<Arguments>();
    CLI::App& command = *app.add_subcommand("convert", "Convert raw frames to pictures");
    AddSharedOptions(command, *arguments);
    EncodeOptions& encode = arguments->conversion.encode;
    command.add_option("-t,--to", arguments->to, "Kind of output instead of the extension's: " + OutputKindNames());
    command.add_option("-b,--bayer-mode", arguments->bayerMode, "Demosaic of 8-bit Bayer frames: default or acpi")
        ->check(CLI::IsMember({"default", "acpi"}));
    command.add_flag("-g,--grey", encode.render.grey, "Show Bayer frames as the grey mosaic that they are");
    command.add_flag("--alpha", encode.render.alpha, "Four channels in png, bmp and vbmp files");
    command.add_option("--png-level", encode.pngLevel, "Compression of png files, 0 (none) to 9 (default: 3)")
        ->check(CLI::Range(0, 9));
    command.callback([arguments] { RunConvert(*arguments); });
}

void AddPack(CLI::App& app) {
    AddRepacking(app, "pack", "Put raw frames into RWH files", OutputKind::kRwh);
}

void AddUnpack(CLI::App& app) {
    AddRepacking(app, "unpack", "Take raw frames out of RWH files, or unpack transport formats", OutputKind::kRaw);
}

}  // namespace VexaTool
