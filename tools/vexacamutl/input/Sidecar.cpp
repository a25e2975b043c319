// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See Sidecar.h.
#include "input/Sidecar.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <map>
#include <sstream>
#include <vector>

#include "Failure.h"

namespace VexaTool {

namespace {

constexpr size_t kMostBytes = size_t{64} * 1024;
constexpr const char* kBlank = " \t\r";

using Lines = std::map<std::string, std::string>;

/// "Pixel  Format" as "pixel format".
std::string KeyOf(const std::string& text) {
    std::istringstream words(text);
    std::string key;
    for (std::string word; words >> word;) {
        key += (key.empty() ? "" : " ") + word;
    }
    std::transform(key.begin(), key.end(), key.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return key;
}

Lines LinesOf(const std::string& text) {
    static constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    std::istringstream rest(text.starts_with(kByteOrderMark) ? text.substr(kByteOrderMark.size()) : text);
    Lines lines;
    for (std::string line; std::getline(rest, line);) {
        const size_t colon = line.find(':');
        const size_t begin = colon == std::string::npos ? colon : line.find_first_not_of(kBlank, colon + 1);
        if (begin != std::string::npos) {
            const size_t end = line.find_first_of(kBlank, begin);  // the first word is the value
            lines.emplace(KeyOf(line.substr(0, colon)), line.substr(begin, end - begin));
        }
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
        throw Failure(ExitCode::kInput, path + ": invalid " + key + " '" + text + "'");
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

/// Bits by which samples in words lie too high; whether the format has such words is checked with the whole shape.
uint32_t ReadShift(const Lines& lines, const std::string& name) {
    static constexpr uint32_t kMost = 8;
    const auto shift = ReadNumber<uint32_t>(lines, "shift", name, false);
    if (shift > kMost) {
        throw Failure(ExitCode::kInput, name + ": invalid shift '" + std::to_string(shift) + "'");
    }
    return shift;
}

bool ReadsLimitedRange(const Lines& lines, const std::string& name) {
    const auto line = lines.find("range");
    if (line == lines.end() || line->second == "full") {
        return false;
    }
    if (line->second != "limited") {
        throw Failure(ExitCode::kInput, name + ": invalid range '" + line->second + "': expected full or limited");
    }
    return true;
}

/// Reads up to one byte more than a sidecar may have.
bool ReadAll(int fd, std::string& text) {
    text.resize(kMostBytes + 1);
    size_t done = 0;
    while (done < text.size()) {
        const ssize_t got = read(fd, text.data() + done, text.size() - done);
        if (got == 0) {
            break;
        }
        if (got > 0) {
            done += static_cast<size_t>(got);
        } else if (errno != EINTR) {
            return false;
        }
    }
    text.resize(done);
    return true;
}

std::string FileName(const std::string& path) {
    return std::filesystem::path(path).filename().string();
}

}  // namespace

std::string SidecarPath(const std::string& rawPath) {
    return std::filesystem::path(rawPath).replace_extension(".txt").string();
}

std::vector<std::string> SidecarPaths(const std::string& rawPath) {
    std::vector<std::string> paths = {SidecarPath(rawPath), rawPath + ".txt"};
    if (paths[0] == rawPath) {
        paths.erase(paths.begin());
    }
    return paths;
}

std::optional<std::string> ReadSideFile(const std::string& path) {
    // Opening a FIFO would wait for its writer.
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (fd < 0) {
        if (errno == ENOENT || errno == ENOTDIR) {
            return std::nullopt;
        }
        throw Failure(ExitCode::kInput, "cannot read " + path + ": " + SystemMessage());
    }
    struct stat status = {};
    std::string text;
    const bool regular = fstat(fd, &status) == 0 && S_ISREG(status.st_mode);
    const bool good = regular && ReadAll(fd, text);
    const int error = errno;
    close(fd);
    if (!regular) {
        throw Failure(ExitCode::kInput, path + ": a sidecar must be a regular file");
    }
    if (!good) {
        throw Failure(ExitCode::kInput, "cannot read " + path + ": " + SystemMessage(error));
    }
    if (text.size() > kMostBytes) {
        throw Failure(ExitCode::kInput, path + ": a sidecar has at most 64 KiB");
    }
    return text;
}

RawShape ParseSidecar(const std::string& text, const std::string& name) {
    const Lines lines = LinesOf(text);
    RawShape shape;
    shape.format = &ReadFormat(lines, name);
    shape.width = ReadNumber<uint32_t>(lines, "width", name, true);
    shape.height = ReadNumber<uint32_t>(lines, "height", name, true);
    shape.stride = ReadNumber<uint64_t>(lines, "stride", name, false);
    shape.offset = ReadNumber<uint64_t>(lines, "offset", name, false);
    shape.shift = ReadShift(lines, name);
    shape.limitedRange = ReadsLimitedRange(lines, name);
    return shape;
}

std::optional<RawShape> ReadSidecar(const std::string& rawPath) {
    for (const std::string& path : SidecarPaths(rawPath)) {
        const std::optional<std::string> text = ReadSideFile(path);
        if (!text) {
            continue;
        }
        return ParseSidecar(*text, path);
    }
    return std::nullopt;
}

std::string ReadTimestamps(const std::string& rawPath) {
    for (const std::string& path : SidecarPaths(rawPath)) {
        if (const std::optional<std::string> text = ReadSideFile(path)) {
            const Lines lines = LinesOf(*text);
            const auto line = lines.find("timestamp");
            return line == lines.end() ? "" : line->second;
        }
    }
    return "";
}

std::string SidecarText(const std::string& rawPath, const RawShape& shape) {
    return "file: " + FileName(rawPath) + "\npixel format: " + HexCode(shape.format->code) + " " +
           std::string(shape.format->name) + "\nwidth: " + std::to_string(shape.width) +
           "\nheight: " + std::to_string(shape.height) + "\nbytes: " + std::to_string(shape.FrameBytes()) + "\n" +
           (shape.limitedRange ? "range: limited\n" : "");
}

bool IsSidecarTextOf(const std::string& text, const std::string& rawPath) {
    static constexpr std::string_view kKeys[] = {"file", "pixel format", "width", "height", "bytes", "range"};
    static constexpr size_t kAlwaysThere = 5;
    std::istringstream rest(text);
    size_t known = 0;
    for (std::string line; std::getline(rest, line); ++known) {
        if (known == std::size(kKeys) || !line.starts_with(std::string(kKeys[known]) + ": ")) {
            return false;
        }
        if (known == 0 && line != "file: " + FileName(rawPath)) {
            return false;
        }
    }
    return known >= kAlwaysThere;
}

}  // namespace VexaTool
