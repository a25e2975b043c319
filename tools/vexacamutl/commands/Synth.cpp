// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// synth: raw frames of a drawn scene, for trying things out without a camera.
#include <memory>

#include "Failure.h"
#include "commands/Commands.h"
#include "commands/Progress.h"
#include "formats/Unpack.h"
#include "input/Sidecar.h"
#include "output/FrameEncoder.h"
#include "output/OutputFile.h"
#include "output/OutputNames.h"
#include "scene/Scene.h"

namespace VexaTool {

namespace {

struct Arguments {
    std::string output;
    std::string format = "BayerRG8";
    std::string size = "1920x1080";
    uint64_t frames = 1;
    bool sidecar = false;
    bool quiet = false;
};

/// Raw and RWH hold the frame in its own layout, pictures show it.
std::vector<uint8_t> EncodeScene(const RawShape& shape, uint64_t frame, FrameEncoder& encoder, OutputKind kind) {
    std::vector<uint8_t> raw = RawFrameOf(Scene(shape.width, shape.height, frame), shape);
    if (kind == OutputKind::kRaw) {
        return raw;
    }
    if (kind == OutputKind::kRwh) {
        return EncodeRwh(shape, raw);
    }
    std::vector<uint8_t> scratch;
    return encoder.Encode(TightShape(shape), TightFrame(shape, raw, scratch));
}

void Run(const Arguments& arguments) {
    RawShape shape;
    shape.format = &FormatNamed(arguments.format);
    ParseSize(arguments.size, shape.width, shape.height);
    CheckShape(shape, "synth");
    EncodeOptions encode;
    encode.kind = arguments.output == "-" ? OutputKind::kRaw : OutputKindOf(arguments.output);
    const bool numbered = NumberedPath(arguments.output, 0).has_value();
    if (arguments.frames > 1 && !numbered && !IsAppendable(encode.kind)) {
        throw Failure(ExitCode::kUsage, "a " + std::string(ExtensionOf(encode.kind)) +
                                            " file holds one frame; number the outputs, for example frame_%05d." +
                                            ExtensionOf(encode.kind));
    }
    FrameEncoder encoder(encode);
    Progress progress(arguments.quiet);
    std::unique_ptr<OutputFile> file = numbered ? nullptr : std::make_unique<OutputFile>(arguments.output);
    for (uint64_t frame = 0; frame < arguments.frames; ++frame) {
        const std::vector<uint8_t> bytes = EncodeScene(shape, frame, encoder, encode.kind);
        if (numbered) {
            WriteWholeFile(*NumberedPath(arguments.output, frame), bytes);
        } else {
            file->Write(bytes);
        }
        progress.FrameDone(static_cast<double>(frame + 1) / static_cast<double>(arguments.frames));
    }
    if (file) {
        file->Commit();
        if (arguments.sidecar && arguments.output != "-") {
            WriteSidecar(arguments.output, shape);
        }
    }
}

}  // namespace

void AddSynth(CLI::App& app) {
    auto arguments = std::make_shared<Arguments>();
    CLI::App& command = *app.add_subcommand("synth", "Make raw frames of a drawn scene");
    command.add_option("OUTPUT", arguments->output, "Raw or RWH file, a picture, or - for standard output")->required();
    command.add_option("-f,--format", arguments->format, "Pixel format (default: BayerRG8)");
    command.add_option("-s,--size", arguments->size, "Size, WIDTHxHEIGHT (default: 1920x1080)");
    command.add_option("-n,--frames", arguments->frames, "How many frames; a disc moves through them (default: 1)")
        ->check(CLI::Range(uint64_t{1}, uint64_t{1} << 32));
    command.add_flag("--sidecar", arguments->sidecar, "Write format and size into a text beside the output");
    command.add_flag("-q,--quiet", arguments->quiet, "No progress on a terminal");
    command.callback([arguments] { Run(*arguments); });
}

}  // namespace VexaTool
