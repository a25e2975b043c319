// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// guess: the layouts that a file may have.
//
// Without a size they are ranked by what the file's bytes say (guess/Guess.h), printed with their evidence and shown on
// a contact sheet, the likeliest first.
//
// With a size the contact sheet shows the first frame under every plausible format, and the eye finds the right one.
// Layouts of 16-bit words join in when the file is long enough for them.
//
//     BayerGR8  BayerRG8  BayerGB8  BayerBG8
//     Mono8     UYVY      UYYVYY    ...
#include "guess/Guess.h"

#include <VexaCamFrames.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>

#include "Failure.h"
#include "Options.h"
#include "commands/Commands.h"
#include "commands/GuessJson.h"
#include "commands/ResultOptions.h"
#include "formats/Signatures.h"
#include "input/FrameSource.h"
#include "output/FrameEncoder.h"
#include "output/OutputFile.h"
#include "output/PictureWriter.h"
#include "scene/ContactSheet.h"

namespace VexaTool {

namespace {

using VexaGuess::Guess;

constexpr size_t kRankedBytes = size_t{16} << 20;  ///< of the file's beginning

struct Arguments {
    std::string input;
    OutputOptions output;
    ResultOptions results;
    std::string size;
    uint64_t offset = 0;
    size_t most = 5;
    bool json = false;
    std::optional<uint32_t> tileWidth;  ///< largest width of a tile
    uint32_t TileWidth() const { return tileWidth.value_or(480); }
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

/// Where the contact sheet goes; nothing without one, or where it exists already and is to stay.
class SheetWriter {
  public:
    explicit SheetWriter(const Arguments& arguments) : m_plan(OptionsOf(arguments)), m_shape() {
        m_shape.format = FindFormat(PIXEL_FORMAT_MONO8);
        if (m_plan.Options().path.empty()) {
            return;
        }
        m_plan.Protect(arguments.input);
        m_name = m_plan.Add(arguments.input, 1, m_shape).Of(0);
        m_plan.Begin();
        m_wanted = !m_plan.Keeps(m_name);
        if (!m_wanted) {
            m_plan.CountSkipped();
            SaySkipped(m_plan, false);
        }
    }

    bool Wanted() const { return m_wanted; }

    void Write(const ContactSheet& sheet) {
        std::vector<uint8_t> encoded;
        const Bytes bytes = EncodePicture(sheet.Sheet(), m_plan.Options().kind, EncodeOptions().pngLevel, encoded);
        m_plan.Write(m_name, bytes, m_shape);
    }

  private:
    static OutputOptions OptionsOf(const Arguments& arguments) {
        OutputOptions output = arguments.output;
        arguments.results.ApplyTo(output);
        if (!output.path.empty()) {
            output.kind = OutputKindOf(output.path);
            if (IsFrameKind(output.kind) || output.kind == OutputKind::kPgm || IsAppendable(output.kind)) {
                throw Failure(ExitCode::kUsage, "the contact sheet is a colour picture; choose png, ppm or bmp");
            }
        }
        return output;
    }

    OutputPlan m_plan;
    RawShape m_shape;
    std::string m_name;
    bool m_wanted = false;
};

void RunWithSize(const Arguments& arguments) {
    RawShape shape;
    ParseSize(arguments.size, shape.width, shape.height);
    shape.format = FindFormat(PIXEL_FORMAT_MONO8);
    CheckShape(shape, arguments.input);
    const MappedFile file(arguments.input);
    SheetWriter writer(arguments);
    if (file.Content().size() <= arguments.offset) {
        throw Failure(ExitCode::kInput, Printable(arguments.input) + ": there is nothing to show");
    }
    if (!writer.Wanted()) {
        return;
    }
    const Bytes content = file.Content().subspan(arguments.offset);
    const uint32_t factor = std::max(1u, (shape.width + arguments.TileWidth() - 1) / arguments.TileWidth());
    if (shape.height < factor) {
        throw Failure(ExitCode::kUnsupported, "frames of " + arguments.size + " are too flat for a tile");
    }
    const std::vector<PixelFormat> candidates = Candidates(shape, content.size());
    ContactSheet sheet(shape.width / factor, shape.height / factor, candidates.size());
    Renderer renderer;
    size_t shown = 0;
    size_t fitting = 0;
    for (const PixelFormat code : candidates) {
        shape.format = FindFormat(code);
        const Picture tile = Tile(renderer, shape, content, factor);
        shown += tile.bytes.empty() ? 0 : 1;
        sheet.Add(tile, Label(shape, content.size()));
        if (content.size() == shape.FrameBytes()) {
            ++fitting;
            std::printf("%s has the length of one frame\n", shape.Text().c_str());
        }
    }
    if (shown == 0) {
        throw Failure(ExitCode::kInput, Printable(arguments.input) + ": " + std::to_string(content.size()) +
                                            " bytes are too few to show rows of " + std::to_string(shape.width) +
                                            " pixels");
    }
    if (fitting == 0) {
        std::printf("no frame of %s has %zu bytes\n", arguments.size.c_str(), content.size());
    }
    writer.Write(sheet);
}

/// The options that read a file in this layout.
std::string OptionsFor(const Guess& guess) {
    std::string text =
        "--format " + guess.format + " --size " + std::to_string(guess.width) + "x" + std::to_string(guess.height);
    text += guess.stride > 0 ? " --stride " + std::to_string(guess.stride) : "";
    text += guess.offset > 0 ? " --offset " + std::to_string(guess.offset) : "";
    text += guess.shift > 0 ? " --shift " + std::to_string(guess.shift) : "";
    return text;
}

void PrintRanking(const std::vector<Guess>& guesses) {
    for (size_t i = 0; i < guesses.size(); ++i) {
        std::printf("%zu  %s\n", i + 1, OptionsFor(guesses[i]).c_str());
        for (const std::string& evidence : guesses[i].evidence) {
            std::printf("       %s\n", evidence.c_str());
        }
    }
}

/// The first frame in that layout, or an empty picture where the file holds less than one.
Picture FirstFrame(const Guess& guess, Bytes file) {
    VcfLayout layout;
    VcfInitLayout(&layout, VcfFormatNamed(guess.format.c_str()), guess.width, guess.height);
    layout.stride = guess.stride;
    layout.offset = guess.offset;
    layout.shift = guess.shift;
    VcfConverter* made = nullptr;
    if (VcfCreateConverter(&made, &layout, VCF_OUTPUT_RGB, nullptr, nullptr, 0) != VCF_OK) {
        return {};
    }
    const std::unique_ptr<VcfConverter, decltype(&VcfDestroyConverter)> converter(made, VcfDestroyConverter);
    Picture picture{guess.width, guess.height, 3, {}};
    picture.bytes.resize(picture.RowBytes() * picture.height);
    if (VcfConvert(converter.get(), file.data(), file.size(), picture.bytes.data(), 0, nullptr, 0) != VCF_OK) {
        return {};
    }
    return picture;
}

ContactSheet SheetOf(const std::vector<Guess>& guesses, Bytes file, uint32_t tileWidth) {
    const Guess& best = guesses[0];
    const auto factorOf = [tileWidth](const Guess& guess) {
        return std::max(1u, (guess.width + tileWidth - 1) / tileWidth);
    };
    ContactSheet sheet(best.width / factorOf(best), best.height / factorOf(best), guesses.size());
    for (const Guess& guess : guesses) {
        const std::string label = guess.format + " " + std::to_string(guess.width) + "x" + std::to_string(guess.height);
        sheet.Add(Shrunk(FirstFrame(guess, file), factorOf(guess)), label);
    }
    return sheet;
}

void RunRanking(const Arguments& arguments) {
    const MappedFile file(arguments.input);
    SheetWriter writer(arguments);
    if (file.Content().size() <= arguments.offset) {
        throw Failure(ExitCode::kInput, Printable(arguments.input) + ": there is nothing to guess from");
    }
    const std::string known = arguments.offset == 0 ? KnownContent(file.Content()) : "";
    if (!known.empty()) {
        throw Failure(ExitCode::kInput, Printable(arguments.input) + ": this is " + known +
                                            "; guess is for bare samples (--offset skips a header)");
    }
    const Bytes content = file.Content().subspan(arguments.offset);
    std::vector<Guess> guesses =
        VexaGuess::RankLayouts(content.first(std::min(content.size(), kRankedBytes)), content.size(), arguments.most);
    if (guesses.empty() || guesses[0].bitsPerByte > VexaGuess::kExplainsNothing) {
        throw Failure(ExitCode::kInput, Printable(arguments.input) +
                                            ": no rows of a picture found; the file may be compressed or too short");
    }
    for (Guess& guess : guesses) {
        guess.offset += arguments.offset;
    }
    if (arguments.json) {
        std::printf("%s\n", JsonOf(guesses).c_str());
    } else {
        PrintRanking(guesses);
    }
    if (writer.Wanted()) {
        writer.Write(SheetOf(guesses, file.Content(), arguments.TileWidth()));
    }
}

void Run(const Arguments& arguments) {
    if (arguments.tileWidth && arguments.output.path.empty()) {
        throw Failure(ExitCode::kUsage, "--tile-width is for a contact sheet; name a picture for it");
    }
    if (arguments.size.empty()) {
        RunRanking(arguments);
    } else if (arguments.output.path.empty()) {
        throw Failure(ExitCode::kUsage, "with --size the formats are shown on a contact sheet; name a picture for it");
    } else {
        RunWithSize(arguments);
    }
}

}  // namespace

void DeclareGuess(CLI::App& command) {
    auto arguments = std::make_shared<Arguments>();
    command.add_option("INPUT", arguments->input, "Raw file")->required();
    command.add_option("OUTPUT", arguments->output.path, "Picture for the contact sheet");
    auto* size = command.add_option("-s,--size", arguments->size,
                                    "Size of the frame, WIDTHxHEIGHT: show it under every plausible format");
    AddWhole(command, "--offset", arguments->offset, "Bytes to skip before the frame");
    AddWhole(command, "--most", arguments->most, "Layouts to list (default: 5)", 1, 64)->excludes(size);
    command.add_flag("--json", arguments->json, "Print the ranking as JSON")->excludes(size);
    AddWhole(command, "--tile-width", arguments->tileWidth, "Largest width of a tile in pixels (default: 480)", 16,
             8192);
    arguments->results.AddTo(command);
    command.callback([arguments] { Run(*arguments); });
}

}  // namespace VexaTool
