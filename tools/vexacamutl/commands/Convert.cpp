// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// convert: raw frames to pictures. pack, unpack and reverse: the same way with the raw frame itself as the result.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <thread>

#include "Failure.h"
#include "Options.h"
#include "commands/Commands.h"
#include "commands/Conversion.h"
#include "commands/ResultOptions.h"
#include "input/InputPaths.h"

namespace VexaTool {

namespace {

struct Arguments {
    std::vector<std::string> paths;
    std::string to;
    std::string bayerMode = "default";
    std::optional<int> pngLevel;
    std::optional<int> jpegQuality;
    ResultOptions results;
    ConversionOptions conversion;
};

unsigned DefaultJobs() {
    return std::max(1u, std::thread::hardware_concurrency());
}

/// An empty name is a variable that was not set, and no wish for no report.
std::string IsNamed(const std::string& path) {
    return path.empty() ? "a file name is missing" : "";
}

void AddSharedOptions(CLI::App& command, Arguments& arguments) {
    command
        .add_option("PATHS", arguments.paths,
                    "INPUT OUTPUT, or any number of inputs and a folder for the "
                    "results; a folder as input stands for its raw frames")
        ->required();
    arguments.conversion.input.AddTo(command);
    arguments.conversion.input.AddFramesTo(command);
    command.add_option("-o,--output-dir", arguments.conversion.output.folder, "Write the results into this folder");
    arguments.results.AddTo(command);
    command
        .add_option("--report", arguments.conversion.output.report,
                    "Write what became of each frame into this file, one JSON object per line")
        ->check(IsNamed);
    AddWhole(command, "-j,--jobs", arguments.conversion.jobs, "Threads (default: one per processor)", 1, 256);
    command.add_flag("--check-range", arguments.conversion.checkRange,
                     "Count samples above the format's depth; they wrap");
    command.add_flag("-q,--quiet", arguments.conversion.quiet, "No progress on a terminal, no note of skipped results");
    arguments.conversion.jobs = DefaultJobs();
}

bool NamesFolder(const std::string& path) {
    return IsFolder(path) || (!path.empty() && path.back() == '/');
}

/// The last path is the output, a file or a folder, unless --output-dir takes the results.
ConversionOptions WithPaths(const Arguments& arguments) {
    ConversionOptions conversion = arguments.conversion;
    arguments.results.ApplyTo(conversion.output);
    conversion.inputs = arguments.paths;
    if (!conversion.output.folder.empty()) {
        return conversion;
    }
    const std::string& last = arguments.paths.back();
    if (arguments.paths.size() == 1) {
        throw Failure(ExitCode::kUsage, "one input and no output; name the output, or give --output-dir");
    }
    if (arguments.paths.size() > 2 && !NamesFolder(last)) {
        throw Failure(ExitCode::kUsage, "more than one input; give --output-dir for the results");
    }
    (NamesFolder(last) ? conversion.output.folder : conversion.output.path) = last;
    conversion.inputs.pop_back();
    return conversion;
}

OutputKind ChooseKind(const Arguments& arguments, const OutputOptions& output) {
    if (!arguments.to.empty()) {
        const auto kind = FindOutputKind(arguments.to);
        if (!kind) {
            throw Failure(ExitCode::kUsage,
                          "invalid kind of output '" + arguments.to + "': expected one of " + OutputKindNames());
        }
        return *kind;
    }
    if (!output.folder.empty()) {
        return OutputKind::kPng;
    }
    return output.path == "-" ? OutputKind::kBgra : OutputKindOf(output.path);
}

void RunWithKind(ConversionOptions conversion, OutputKind kind) {
    conversion.encode.kind = kind;
    conversion.output.kind = kind;
    RunConversion(conversion);
}

/// What --bits 16 does not go with, for frames of every format.
void CheckBits(const RenderOptions& render, OutputKind kind) {
    if (render.bits != 16) {
        return;
    }
    if (!HoldsWords(kind)) {
        throw Failure(ExitCode::kUsage,
                      std::string("--bits 16 is for png, tif and pgm files, not for ") + ExtensionOf(kind));
    }
    if (render.levels.given) {
        throw Failure(ExitCode::kUsage,
                      "--bits 16 keeps the samples as they are; --white-balance, --black-level, --exposure and --tone "
                      "make 8 bits of them");
    }
    if (render.alpha) {
        throw Failure(ExitCode::kUsage, "--bits 16 is for grey pictures, which have no --alpha");
    }
}

/// Raw and RWH files hold the samples of the input: options of pictures would have no effect on them.
void CheckRepacked(const ConversionOptions& conversion, OutputKind kind) {
    const RenderOptions& render = conversion.encode.render;
    const char* useless = render.levels.given ? "--white-balance, --black-level, --exposure and --tone make"
                          : render.grey       ? "--grey makes"
                          : render.adaptive   ? "--bayer-mode makes"
                          : !conversion.input.range.empty() ? "--range makes"
                                                            : nullptr;
    if (IsFrameKind(kind) && useless != nullptr) {
        throw Failure(ExitCode::kUsage, std::string(useless) + " pictures; a " + ExtensionOf(kind) +
                                            " file holds the samples of the input");
    }
}

/// Options of files that the command does not write.
void CheckFileOptions(const Arguments& arguments, OutputKind kind) {
    const auto refuse = [kind](const std::string& option, const std::string& files) {
        throw Failure(ExitCode::kUsage, option + " is for " + files + " files, not for " + ExtensionOf(kind));
    };
    if (arguments.conversion.encode.render.alpha && !HoldsAlpha(kind)) {
        refuse("--alpha", "png, bmp and vbmp");
    }
    if (arguments.pngLevel && kind != OutputKind::kPng) {
        refuse("--png-level", "png");
    }
    if (arguments.jpegQuality && kind != OutputKind::kJpg) {
        refuse("--quality", "jpg");
    }
}

/// A name that says another kind than the verb writes.
void CheckNameOf(const std::string& path, const std::string& verb, OutputKind kind) {
    const std::string extension = std::filesystem::path(path).extension().string();
    const auto named = extension.empty() ? std::nullopt : FindOutputKind(extension.substr(1));
    if (named && *named != kind) {
        throw Failure(ExitCode::kUsage, path + ": " + verb + " writes " + ExtensionOf(kind) + " files, not " +
                                            ExtensionOf(*named) + " (see: vexacamutl convert --help)");
    }
}

void RunConvert(const Arguments& arguments) {
    ConversionOptions conversion = WithPaths(arguments);
    conversion.encode.render.adaptive = arguments.bayerMode == "acpi";
    const OutputKind kind = ChooseKind(arguments, conversion.output);
    CheckBits(conversion.encode.render, kind);
    CheckRepacked(conversion, kind);
    CheckFileOptions(arguments, kind);
    conversion.encode.pngLevel = arguments.pngLevel.value_or(conversion.encode.pngLevel);
    conversion.encode.jpegQuality = arguments.jpegQuality.value_or(conversion.encode.jpegQuality);
    RunWithKind(conversion, kind);
}

void DeclareRepacking(CLI::App& command, OutputKind kind) {
    auto arguments = std::make_shared<Arguments>();
    AddSharedOptions(command, *arguments);
    if (kind == OutputKind::kRaw) {
        command.add_flag("--sidecar", arguments->conversion.output.sidecar,
                         "Write format and size into a text beside each output");
    }
    command.callback([arguments, &command, kind] {
        const ConversionOptions conversion = WithPaths(*arguments);
        CheckNameOf(conversion.output.path, command.get_name(), kind);
        RunWithKind(conversion, kind);
    });
}

/// The kind of the input where only a folder is named.
OutputKind KindOfReversed(const ConversionOptions& conversion) {
    if (conversion.output.path == "-") {
        return OutputKind::kRaw;
    }
    if (!conversion.output.folder.empty()) {
        return IsRwhPath(conversion.inputs[0]) ? OutputKind::kRwh : OutputKind::kRaw;
    }
    return OutputKindOf(conversion.output.path);
}

void SayFormat(const std::string& path, const RawShape& shape) {
    const bool taken = path == "-";  // standard output holds the frames
    static_cast<void>(std::fprintf(taken ? stderr : stdout, "%s: %s\n",
                                   taken ? "standard output" : Printable(path).c_str(), shape.Text().c_str()));
}

void RunReverse(const Arguments& arguments) {
    if (arguments.paths.size() != 2) {
        throw Failure(ExitCode::kUsage, "reverse takes one INPUT and one OUTPUT");
    }
    ConversionOptions conversion = WithPaths(arguments);
    conversion.encode.reversal.wanted = true;
    conversion.announce = SayFormat;
    const OutputKind kind = KindOfReversed(conversion);
    conversion.output.sidecar = kind == OutputKind::kRaw;  // the phase that the frame has now
    RunWithKind(conversion, kind);
}

/// An option whose text one of the setters of LevelOptions reads.
void AddLevel(CLI::App& command, const std::string& name, LevelOptions& levels,
              void (LevelOptions::*set)(const std::string&), const std::string& help) {
    command.add_option_function<std::string>(
        name, [&levels, set](const std::string& text) { (levels.*set)(text); }, help);
}

void AddLevels(CLI::App& command, LevelOptions& levels) {
    AddLevel(command, "--white-balance", levels, &LevelOptions::SetWhiteBalance,
             "Gains R,G,B of raw samples, or auto (the mean becomes grey)");
    AddLevel(command, "--black-level", levels, &LevelOptions::SetBlackLevel, "Sample value that becomes black");
    AddLevel(command, "--exposure", levels, &LevelOptions::SetExposure, "Brightness factor, 0 to 16");
    AddLevel(command, "--tone", levels, &LevelOptions::SetTone,
             "Curve from light to picture: linear, srgb, or a gamma such as 2.2");
}

}  // namespace

void DeclareConvert(CLI::App& command) {
    auto arguments = std::make_shared<Arguments>();
    AddSharedOptions(command, *arguments);
    EncodeOptions& encode = arguments->conversion.encode;
    command.add_option("-t,--to", arguments->to, "Kind of output instead of the extension's: " + OutputKindNames());
    command
        .add_option("-b,--bayer-mode", arguments->bayerMode,
                    "Demosaicing of Bayer frames: default (bilinear), or acpi (8 "
                    "bits; any depth with levels)")
        ->check(CLI::IsMember({"default", "acpi"}));
    command.add_flag("-g,--grey", encode.render.grey, "Show Bayer frames as grey mosaics");
    command
        .add_option("--bits", encode.render.bits,
                    "Bits of a grey sample in png, tif and pgm files: 8 (default), or 16 to keep the whole sample")
        ->check(CLI::IsMember({"8", "16"}));
    AddLevels(command, encode.render.levels);
    command.add_option("--range", arguments->conversion.input.range, "Range of YUV samples: full (default) or limited")
        ->check(CLI::IsMember({"full", "limited"}));
    command.add_flag("--alpha", encode.render.alpha, "Four channels in png, bmp and vbmp files");
    AddWhole(command, "--png-level", arguments->pngLevel, "Compression of png files, 0 (none) to 9 (default: 3)", 0, 9);
    AddWhole(command, "--quality", arguments->jpegQuality, "Quality of jpg files, 1 to 100 (default: 90)", 1, 100);
    command.callback([arguments] { RunConvert(*arguments); });
}

void DeclarePack(CLI::App& command) {
    DeclareRepacking(command, OutputKind::kRwh);
}

void DeclareUnpack(CLI::App& command) {
    DeclareRepacking(command, OutputKind::kRaw);
}

void DeclareReverse(CLI::App& command) {
    auto arguments = std::make_shared<Arguments>();
    command
        .add_option("PATHS", arguments->paths,
                    "INPUT (a raw or RWH file, or -) and OUTPUT (the same, a "
                    "picture, or a folder)")
        ->required();
    Reversal& reversal = arguments->conversion.encode.reversal;
    command.add_flag("-m,--mirror", reversal.mirror, "Left to right");
    command.add_flag("-u,--flip", reversal.flip, "Upside down; with --mirror a half turn");
    arguments->conversion.input.AddTo(command);
    arguments->conversion.input.AddFramesTo(command);
    arguments->results.AddTo(command);
    command.add_flag("-q,--quiet", arguments->conversion.quiet,
                     "No progress on a terminal, no note of skipped results");
    command.callback([arguments] { RunReverse(*arguments); });
}

}  // namespace VexaTool
