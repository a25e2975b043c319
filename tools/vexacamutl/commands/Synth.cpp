// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// synth: raw frames of a drawn scene, for trying things out without a camera.
#include <memory>

#include "Failure.h"
#include "Options.h"
#include "commands/Commands.h"
#include "commands/Progress.h"
#include "commands/ResultOptions.h"
#include "formats/Unpack.h"
#include "output/FrameEncoder.h"
#include "output/FrameWriter.h"
#include "scene/Scene.h"

namespace VexaTool {

namespace {

struct Arguments {
    OutputOptions output;
    ResultOptions results;
    std::string format = "BayerRG8";
    std::string size = "1920x1080";
    uint64_t frames = 1;
    bool quiet = false;
};

/// Raw and RWH hold the frame in its own layout, pictures show it.
class SceneEncoder {
  public:
    SceneEncoder(const RawShape& shape, const EncodeOptions& options)
        : m_shape(shape), m_kind(options.kind), m_encoder(options) {}

    Bytes Encode(uint64_t frame) {
        m_raw = RawFrameOf(Scene(m_shape.width, m_shape.height, frame), m_shape);
        if (m_kind == OutputKind::kRaw) {
            return m_raw;
        }
        if (m_kind == OutputKind::kRwh) {
            m_raw = EncodeRwh(m_shape, m_raw);
            return m_raw;
        }
        return m_encoder.Encode(TightShape(m_shape), TightFrame(m_shape, m_raw, m_scratch));
    }

  private:
    RawShape m_shape;
    OutputKind m_kind;
    FrameEncoder m_encoder;
    std::vector<uint8_t> m_raw;
    std::vector<uint8_t> m_scratch;
};

void Run(const Arguments& arguments) {
    RawShape shape;
    shape.format = &FormatNamed(arguments.format);
    ParseSize(arguments.size, shape.width, shape.height);
    CheckShape(shape, "synth");
    EncodeOptions encode;
    OutputOptions output = arguments.output;
    arguments.results.ApplyTo(output);
    encode.kind = output.path == "-" ? OutputKind::kRaw : OutputKindOf(output.path);
    output.kind = encode.kind;
    if (arguments.frames > 1 && !IsAppendable(output.kind) && !ParsePattern(output.path).numbered) {
        const std::string kind = ExtensionOf(output.kind);
        throw Failure(ExitCode::kUsage,
                      "a " + kind + " file holds one frame; number the outputs, for example frame_%05d." + kind);
    }
    OutputPlan plan(output);
    const ResultNames names = plan.Add("synth", arguments.frames, shape);
    plan.Begin();
    FrameWriter writer(plan, names, shape);
    SceneEncoder encoder(shape, encode);
    Progress progress(arguments.quiet);
    for (uint64_t frame = 0; frame < arguments.frames && !writer.KeepsAll(); ++frame) {
        if (writer.Keeps(frame)) {
            plan.CountSkipped();
        } else {
            writer.Write(frame, encoder.Encode(frame));
        }
        progress.FrameDone(static_cast<double>(frame + 1) / static_cast<double>(arguments.frames));
    }
    writer.Commit();
    SaySkipped(plan, arguments.quiet);
}

}  // namespace

void DeclareSynth(CLI::App& command) {
    auto arguments = std::make_shared<Arguments>();
    command.add_option("OUTPUT", arguments->output.path, "Raw or RWH file, a picture, or - for standard output")
        ->required();
    command.add_option("-f,--format", arguments->format, "Pixel format (default: BayerRG8)");
    command.add_option("-s,--size", arguments->size, "Size, WIDTHxHEIGHT (default: 1920x1080)");
    AddWhole(command, "-n,--frames", arguments->frames, "How many frames; a disc moves through them (default: 1)", 1,
             uint64_t{1} << 32);
    arguments->results.AddTo(command);
    command.add_flag("--sidecar", arguments->output.sidecar, "Write format and size into a text beside the output");
    command.add_flag("-q,--quiet", arguments->quiet, "No progress on a terminal, no note of skipped results");
    command.callback([arguments] { Run(*arguments); });
}

}  // namespace VexaTool
