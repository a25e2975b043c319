// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// guess: one contact sheet of a file of unknown layout. Each tile shows the file's first frame as if it had the format
// of its label; the eye finds the right one. Layouts of 16-bit words join in when the file is long enough for them.
//
//     BayerGR8  BayerRG8  BayerGB8  BayerBG8
//     Mono8     UYVY      UYYVYY    ...
#include <algorithm>
#include <cstdio>
#include <memory>

#include "Failure.h"
#include "Options.h"
#include "commands/Commands.h"
#include "commands/ResultOptions.h"
#include "input/FrameSource.h"
#include "output/FrameEncoder.h"
#include "output/OutputFile.h"
#include "output/PictureWriter.h"
#include "scene/Lettering.h"

namespace VexaTool {

namespace {

struct Arguments {
    std::string input;
    OutputOptions output;
    ResultOptions results;
    std::string size;
    uint64_t offset = 0;
    uint32_t tileWidth = 480;
};

constexpr PixelFormat kByteLayouts[] = {
    PIXEL_FORMAT_BAYER_GR8, PIXEL_FORMAT_BAYER_RG8,     PIXEL_FORMAT_BAYER_GB8,       PIXEL_FORMAT_BAYER_BG8,
    PIXEL_FORMAT_MONO8,     PIXEL_FORMAT_YUV422_8_UYVY, PIXEL_FORMAT_YUV411_8_UYYVYY, PIXEL_FORMAT_RGB8,
};

constexpr PixelFormat kWordLayouts[] = {
    PIXEL_FORMAT_BAYER_GR10, PIXEL_FORMAT_BAYER_RG10, PIXEL_FORMAT_BAYER_GB10, PIXEL_FORMAT_BAYER_BG10,
    PIXEL_FORMAT_BAYER_GR12, PIXEL_FORMAT_BAYER_RG12, PIXEL_FORMAT_BAYER_GB12, PIXEL_FORMAT_BAYER_BG12,
    PIXEL_FORMAT_MONO10,     PIXEL_FORMAT_MONO12,     PIXEL_FORMAT_MONO16,
};

constexpr size_t kColumns = 4;
constexpr size_t kGap = 8;
constexpr size_t kTextScale = 2;
constexpr size_t kLabelHeight = Glyph::kLine * kTextScale + 6;

/// The mean of each block of factor x factor pixels.
Picture Shrunk(const Picture& picture, uint32_t factor) {
    Picture small{picture.width / factor, picture.height / factor, picture.channels, {}};
    small.bytes.resize(small.RowBytes() * small.height);
    for (size_t y = 0; y < small.height; ++y) {
        for (size_t i = 0; i < small.RowBytes(); ++i) {
            uint32_t sum = 0;
            const size_t column = i / picture.channels * factor * picture.channels + i % picture.channels;
            for (size_t dy = 0; dy < factor; ++dy) {
                for (size_t dx = 0; dx < factor; ++dx) {
                    sum += picture.Row(y * factor + dy)[column + dx * picture.channels];
                }
            }
            small.Row(y)[i] = static_cast<uint8_t>(sum / (factor * factor));
        }
    }
    return small;
}

class ContactSheet {
  public:
    ContactSheet(uint32_t tileWidth, uint32_t tileHeight, size_t tiles)
        : tileWidth_(tileWidth), tileHeight_(tileHeight) {
        const size_t rows = (tiles + kColumns - 1) / kColumns;
        sheet_.width = static_cast<uint32_t>(kColumns * (tileWidth + kGap) + kGap);
        sheet_.height = static_cast<uint32_t>(rows * (tileHeight + kLabelHeight + kGap) + kGap);
        sheet_.channels = 3;
        sheet_.bytes.assign(sheet_.RowBytes() * sheet_.height, kBackground);
    }

    /// An empty picture leaves the tile dark.
    void Add(const Picture& tile, const std::string& label) {
        const size_t left = kGap + added_ % kColumns * (tileWidth_ + kGap);
        const size_t top = kGap + added_ / kColumns * (tileHeight_ + kLabelHeight + kGap);
        ++added_;
        DrawText(label, left, top, kTextScale, [&](size_t x, size_t y) {
            if (x < std::min<size_t>(left + tileWidth_, sheet_.width) && y < sheet_.height) {
                std::fill_n(sheet_.Row(y) + 3 * x, 3, kInk);
            }
        });
        for (size_t y = 0; y < tile.height; ++y) {
            std::copy_n(tile.Row(y), tile.RowBytes(), sheet_.Row(top + kLabelHeight + y) + 3 * left);
        }
    }

    const Picture& Sheet() const { return sheet_; }

  private:
    static constexpr uint8_t kBackground = 40;
    static constexpr uint8_t kInk = 235;
    uint32_t tileWidth_;
    uint32_t tileHeight_;
    size_t added_ = 0;
    Picture sheet_;
};

std::vector<PixelFormat> Candidates(const RawShape& shape, size_t bytes) {
    std::vector<PixelFormat> candidates(std::begin(kByteLayouts), std::end(kByteLayouts));
    if (bytes >= shape.Pixels() * 2) {
        candidates.insert(candidates.end(), std::begin(kWordLayouts), std::end(kWordLayouts));
    }
    return candidates;
}

/// "BayerRG8", and what the length of the file says about it.
std::string Label(const RawShape& shape, size_t bytes) {
    const size_t wanted = shape.FrameBytes();
    const char* remark = bytes == wanted ? " = LENGTH FITS" : bytes < wanted ? " (TOP PART)" : "";
    return std::string(shape.format->name) + remark;
}

/// The frame, or as many whole row pairs of it as the file holds.
Picture Tile(Renderer& renderer, RawShape shape, Bytes content, uint32_t factor) {
    const size_t rows = content.size() * 8 / BitPerPixel(shape.format->code) / shape.width;
    if (rows < shape.height) {
        shape.height = static_cast<uint32_t>(rows / 2 * 2);
    }
    const bool wholeGroups = shape.format->kind != Kind::kYuv || shape.Pixels() % 4 == 0;
    if (shape.height < factor || !wholeGroups) {
        return {};
    }
    Picture picture;
    renderer.Render(shape, content.first(shape.FrameBytes()), {}, picture);
    return Shrunk(picture, factor);
}

void Run(const Arguments& arguments) {
    RawShape shape;
    ParseSize(arguments.size, shape.width, shape.height);
    shape.format = FindFormat(PIXEL_FORMAT_MONO8);
    CheckShape(shape, arguments.input);
    OutputOptions output = arguments.output;
    arguments.results.ApplyTo(output);
    const OutputKind kind = OutputKindOf(output.path);
    output.kind = kind;
    if (IsFrameKind(kind) || kind == OutputKind::kPgm || IsAppendable(kind)) {
        throw Failure(ExitCode::kUsage, "the contact sheet is a colour picture; choose png, ppm or bmp");
    }
    const MappedFile file(arguments.input);
    OutputPlan plan(output);
    plan.Protect(arguments.input);
    const ResultNames names = plan.Add(arguments.input, 1, shape);
    plan.Begin();
    if (plan.Keeps(names.Of(0))) {
        plan.CountSkipped();
        SaySkipped(plan, false);
        return;
    }
    if (file.Content().size() <= arguments.offset) {
        throw Failure(ExitCode::kInput, arguments.input + ": there is nothing to show");
    }
    const Bytes content = file.Content().subspan(arguments.offset);
    const uint32_t factor = std::max(1u, (shape.width + arguments.tileWidth - 1) / arguments.tileWidth);
    if (shape.height < factor) {
        throw Failure(ExitCode::kUnsupported, "frames of " + arguments.size + " are too flat for a tile");
    }
    const std::vector<PixelFormat> candidates = Candidates(shape, content.size());
    ContactSheet sheet(shape.width / factor, shape.height / factor, candidates.size());
    Renderer renderer;
    for (const PixelFormat code : candidates) {
        shape.format = FindFormat(code);
        sheet.Add(Tile(renderer, shape, content, factor), Label(shape, content.size()));
        if (content.size() == shape.FrameBytes()) {
            std::printf("%s has the length of one frame\n", shape.Text().c_str());
        }
    }
    std::vector<uint8_t> encoded;
    plan.Write(names.Of(0), EncodePicture(sheet.Sheet(), kind, EncodeOptions().pngLevel, encoded), shape);
}

}  // namespace

void AddGuess(CLI::App& app) {
    auto arguments = std::make_shared<Arguments>();
    CLI::App& command =
        *app.add_subcommand("guess", "Show a file of unknown layout under every plausible format, side by side");
    command.add_option("INPUT", arguments->input, "Raw file")->required();
    command.add_option("OUTPUT", arguments->output.path, "Picture for the contact sheet")->required();
    command.add_option("-s,--size", arguments->size, "Size of the frame, WIDTHxHEIGHT")->required();
    AddWhole(command, "--offset", arguments->offset, "Bytes to skip before the frame");
    AddWhole(command, "--tile-width", arguments->tileWidth, "Largest width of a tile in pixels (default: 480)", 16,
             8192);
    arguments->results.AddTo(command);
    command.callback([arguments] { Run(*arguments); });
}

}  // namespace VexaTool
