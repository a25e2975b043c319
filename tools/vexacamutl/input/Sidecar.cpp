// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See Sidecar.h.
#include "input/Sidecar.h"

#include <charconv>
#include <filesystem>
#include <fstream>
#include <map>

#include "Failure.h"
#include "output/OutputFile.h"

namespace VexaTool {

namespace {

using Lines = std::map<std::string, std::string>;

Lines ReadLines(std::ifstream& file) {
    static constexpr const char* kBlank = " \t\r";
    Lines lines;
    std::string line;
    while (std::getline(file, line)) {
        const size_t colon = line.find(':');
        if (colon == std::string::npos) {
            continue;
        }
        const size_t begin = line.find_first_not_of(kBlank, colon + 1);
        if (begin == std::string::npos) {
            continue;
        }
        const size_t end = line.find_first_of(kBlank, begin);  // the first word is the value
        lines.emplace(line.substr(0, colon), line.substr(begin, end - begin));
    }
    return lines;
}

template <class Number>
Number ReadNumber(const Lines& lines, const std::string& key, const std::string& path, bool needed) {
    const auto line = lines.find(key);
    if (line == lines.end()) {
        if (needed) {
            throw Failure(ExitCode::kInput, path + ": there is no line '" + key + ": ...'");
        }
        return 0;
    }
    Number number = 0;
    const std::string& text = line->second;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{} || end != text.data() + text.size()) {
        throw Failure(ExitCode::kInput, path + ": '" + text + "' is no " + key);
    }
    return number;
}

const FormatInfo& ReadFormat(const Lines& lines, const std::string& path) {
    const auto line = lines.find("pixel format");
    if (line == lines.end()) {
        throw Failure(ExitCode::kInput, path + ": there is no line 'pixel format: ...'");
    }
    try {
        return FormatNamed(line->second);
    } catch (const Failure& failure) {
        throw Failure(ExitCode::kInput, path + ": " + failure.what());
    }
}

}  // namespace

std::string SidecarPath(const std::string& rawPath) {
    return std::filesystem::path(rawPath).replace_extension(".txt").string();
}

std::optional<RawShape> ReadSidecar(const std::string& rawPath) {
    std::string path = SidecarPath(rawPath);
    std::ifstream file(path);
    if (!file || path == rawPath) {
        path = rawPath + ".txt";
        file = std::ifstream(path);
    }
    if (!file) {
        return std::nullopt;
    }
    const Lines lines = ReadLines(file);
    RawShape shape;
    shape.format = &ReadFormat(lines, path);
    shape.width = ReadNumber<uint32_t>(lines, "width", path, true);
    shape.height = ReadNumber<uint32_t>(lines, "height", path, true);
    shape.stride = ReadNumber<uint64_t>(lines, "stride", path, false);
    shape.offset = ReadNumber<uint64_t>(lines, "offset", path, false);
    return shape;
}

void WriteSidecar(const std::string& rawPath, const RawShape& shape) {
    const std::string text = "file: " + std::filesystem::path(rawPath).filename().string() +
                             "\npixel format: " + HexCode(shape.format->code) + " " + std::string(shape.format->name) +
                             "\nwidth: " + std::to_string(shape.width) + "\nheight: " + std::to_string(shape.height) +
                             "\nbytes: " + std::to_string(shape.FrameBytes()) + "\n";
    WriteWholeFile(SidecarPath(rawPath), {reinterpret_cast<const uint8_t*>(text.data()), text.size()});
}

}  // namespace VexaTool
