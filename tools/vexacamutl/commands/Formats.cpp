// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// formats: the table of pixel formats, and with a size the bytes that a frame takes and that the converters read.
#include <cstdio>
#include <memory>

#include "Failure.h"
#include "commands/Commands.h"
#include "formats/RawShape.h"

namespace VexaTool {

namespace {

struct Arguments {
    std::vector<std::string> names;
    std::string size = "1920x1080";
    bool onlyNames = false;
    bool aliases = false;
};

/// One of those that the converters of VexaCamUtl.h take; the others come to it through the frames layer.
bool IsOfTheLibrary(const FormatInfo& format) {
    return !format.IsPacked() && format.depth != 14 && format.code != PIXEL_FORMAT_YUV422_8 &&
           !(format.kind == Kind::kBayer && format.depth == 16);
}

/// What the converter reads, where that is more than the frame: groups with a byte that it skips.
std::string BytesRead(const RawShape& shape, bool bgr) {
    const PixelFormat code = shape.format->code;
    if (!IsOfTheLibrary(*shape.format)) {
        return "-";
    }
    if (code == PIXEL_FORMAT_YUV8_UYV) {
        return std::to_string(shape.Pixels() * 4) + "*";
    }
    if (code == PIXEL_FORMAT_YUV422_8_UYVY && bgr) {
        return std::to_string(shape.Pixels() / 2 * 5) + "*";
    }
    return std::to_string(shape.FrameBytes());
}

void PrintRow(const RawShape& shape) {
    const FormatInfo& format = *shape.format;
    std::printf("%-17s %s %4u %5u  %-6s %12zu %13s %13s\n", std::string(format.name).c_str(),
                HexCode(format.code).c_str(), BitPerPixel(format.code), format.depth, KindName(format.kind),
                shape.FrameBytes(), BytesRead(shape, false).c_str(), BytesRead(shape, true).c_str());
}

void PrintTable(const std::vector<const FormatInfo*>& formats, uint32_t width, uint32_t height) {
    std::printf("%-17s %-10s %4s %5s  %-6s %12s %13s %13s\n", "name", "code", "bits", "depth", "kind", "frame bytes",
                "read for BGRA", "read for BGR");
    for (const FormatInfo* format : formats) {
        PrintRow({format, width, height, 0, 0});
    }
    std::printf(
        "\n"
        "bits: per pixel, in a frame. depth: significant bits per "
        "sample. bytes: of a frame of %ux%u.\n"
        "* More than the frame: ConvYUV422PToBGR reads groups of 5 bytes "
        "and ConvYUV444PToBGRA/BGR of 4, and skip\n"
        "  the last byte of each. The tool takes frames of the nominal "
        "size for both.\n"
        "- Not a format of the converters; the tool converts it through "
        "the frames layer.\n"
        "RGB10 and RGB12 have converters that ConvImage does not choose; "
        "the tool calls them.\n",
        width, height);
}

void Run(const Arguments& arguments) {
    std::vector<const FormatInfo*> formats;
    for (const std::string& name : arguments.names) {
        formats.push_back(&FormatNamed(name));
    }
    if (formats.empty()) {
        for (const FormatInfo& format : AllFormats()) {
            formats.push_back(&format);
        }
    }
    if (arguments.onlyNames) {
        for (const FormatInfo* format : formats) {
            std::printf("%s\n", std::string(format->name).c_str());
        }
        return;
    }
    if (arguments.aliases) {
        for (const FormatInfo* format : formats) {
            std::printf("%-17s %s\n", std::string(format->name).c_str(), std::string(format->aliases).c_str());
        }
        return;
    }
    RawShape shape;
    ParseSize(arguments.size, shape.width, shape.height);
    PrintTable(formats, shape.width, shape.height);
}

}  // namespace

void DeclareFormats(CLI::App& command) {
    auto arguments = std::make_shared<Arguments>();
    command.add_option("NAMES", arguments->names, "Only these: names, aliases or hex codes");
    command.add_option("-s,--size", arguments->size, "Size of the frame whose bytes are listed (default: 1920x1080)");
    command.add_flag("--names", arguments->onlyNames, "Only the names, one per line");
    command.add_flag("--aliases", arguments->aliases, "The other spellings of each name");
    command.callback([arguments] { Run(*arguments); });
}

}  // namespace VexaTool
