// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// reverse: mirror raw frames left to right, turn them upside down, or both, and say which Bayer phase they have then.
#include <cstdio>
#include <memory>

#include "Failure.h"
#include "commands/Commands.h"
#include "formats/Unpack.h"
#include "input/FrameFeed.h"
#include "output/FrameEncoder.h"
#include "output/OutputFile.h"

namespace VexaTool {

namespace {

struct Arguments {
    std::string input;
    std::string output;
    bool mirror = false;
    bool flip = false;
    InputOptions options;
};

/// Exchanging the columns of a mosaic's 2 x 2 cell exchanges the letters of its first row, GR <-> RG; exchanging its
/// rows brings the other row up, and that is GR <-> BG.
const FormatInfo& PhaseAfter(const RawShape& shape, bool mirror, bool flip) {
    struct Exchange {
        std::string_view phase, mirrored, flipped;
    };
    static constexpr Exchange kExchanges[] = {
        {"GR", "RG", "BG"}, {"RG", "GR", "GB"}, {"GB", "BG", "RG"}, {"BG", "GB", "GR"}};
    static constexpr size_t kPhaseAt = 5;  // behind "Bayer"
    if (shape.format->kind != Kind::kBayer) {
        return *shape.format;
    }
    std::string name(shape.format->name);
    const auto replace = [&name](std::string_view Exchange::*by) {
        for (const Exchange& exchange : kExchanges) {
            if (name.substr(kPhaseAt, 2) == exchange.phase) {
                name.replace(kPhaseAt, 2, exchange.*by);
                return;
            }
        }
    };
    // With an odd number of columns (or rows) the last one has the first one's colours.
    if (mirror && shape.width % 2 == 0) {
        replace(&Exchange::mirrored);
    }
    if (flip && shape.height % 2 == 0) {
        replace(&Exchange::flipped);
    }
    return FormatNamed(name);
}

void CheckWidth(const RawShape& shape) {
    const uint32_t group = PixelsPerGroup(*shape.format);
    if (shape.width % group != 0) {
        throw Failure(ExitCode::kUnsupported, "the width of " + shape.Text() + " is no multiple of the " +
                                                  std::to_string(group) + " pixels that share their chroma");
    }
}

void Reverse(const RawShape& shape, Bytes frame, const Arguments& arguments, std::vector<uint8_t>& reversed) {
    reversed.resize(frame.size());
    const UtlStatus status = ReverseImg(reversed.data(), frame.data(), shape.format->code, shape.width, shape.height,
                                        arguments.mirror ? 1 : 0, arguments.flip ? 1 : 0);
    if (status != UTL_STS_SUCCESS) {
        throw Failure(ExitCode::kUnsupported, "frames of " + std::string(shape.format->name) + " cannot be reversed");
    }
}

void Run(const Arguments& arguments) {
    FrameFeed feed(arguments.input, arguments.options);
    const RawShape tight = TightShape(feed.Shape());
    CheckWidth(tight);
    RawShape result = tight;
    result.format = &PhaseAfter(tight, arguments.mirror, arguments.flip);
    EncodeOptions encode;
    encode.kind = arguments.output == "-" ? OutputKind::kRaw : OutputKindOf(arguments.output);
    const bool takesMany = arguments.output == "-" || IsAppendable(encode.kind);
    FrameEncoder encoder(encode);
    OutputFile output(arguments.output);
    std::vector<uint8_t> buffer;
    std::vector<uint8_t> scratch;
    std::vector<uint8_t> reversed;
    Bytes raw;
    for (uint64_t frames = 0; feed.Next(raw, buffer); ++frames) {
        if (frames > 0 && !takesMany) {
            throw Failure(ExitCode::kUsage, arguments.input + " holds several frames; choose one with --frame");
        }
        Reverse(tight, TightFrame(feed.Shape(), raw, scratch), arguments, reversed);
        output.Write(encoder.Encode(result, reversed));
    }
    output.Commit();
    static_cast<void>(std::fprintf(arguments.output == "-" ? stderr : stdout, "%s: %s\n",
                                   arguments.output == "-" ? "standard output" : arguments.output.c_str(),
                                   result.Text().c_str()));
}

}  // namespace

void AddReverse(CLI::App& app) {
    auto arguments = std::make_shared<Arguments>();
    CLI::App& command = *app.add_subcommand("reverse", "Mirror raw frames or turn them upside down");
    command.add_option("INPUT", arguments->input, "Raw or RWH file, or - for standard input")->required();
    command.add_option("OUTPUT", arguments->output, "Raw or RWH file, a picture, or - for standard output")->required();
    command.add_flag("-m,--mirror", arguments->mirror, "Left to right");
    command.add_flag("-u,--flip", arguments->flip, "Upside down; with --mirror a half turn");
    arguments->options.AddTo(command);
    command.callback([arguments] { Run(*arguments); });
}

}  // namespace VexaTool
