// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See Signatures.h. Raw samples can have any bytes, so a short signature counts only if the length behind it is that of
// the file.
#include "formats/Signatures.h"

#include <cstring>
#include <string_view>

#include "Failure.h"
#include "formats/RwhHeader.h"

namespace VexaTool {

namespace {

using namespace std::string_view_literals;

bool BeginsWith(Bytes file, std::string_view signature) {
    return file.size() >= signature.size() && std::memcmp(file.data(), signature.data(), signature.size()) == 0;
}

uint32_t WordAt(Bytes file, size_t at) {
    uint32_t word = 0;
    for (size_t i = 0; i < 4; ++i) {
        word |= uint32_t{file[at + i]} << (8 * i);
    }
    return word;
}

/// "P5" or "P6", white space, then a number or a comment.
bool IsNetpbm(Bytes file) {
    return (BeginsWith(file, "P5") || BeginsWith(file, "P6")) && file.size() > 3 &&
           " \t\r\n"sv.find(static_cast<char>(file[2])) != std::string_view::npos &&
           ((file[3] >= '0' && file[3] <= '9') || file[3] == '#');
}

/// Two letters, then the length of the file.
bool IsBitmap(Bytes file) {
    static constexpr size_t kHeaderBytes = 14;
    return BeginsWith(file, "BM") && file.size() > kHeaderBytes && WordAt(file, 2) == file.size();
}

/// "an RWH file of BayerRG8 640x480"; empty unless header and length agree.
std::string RwhContent(Bytes file) {
    if (file.size() <= kRwhHeaderBytes) {
        return "";
    }
    const RwhHeader header = {WordAt(file, 0), WordAt(file, 4), WordAt(file, 8), WordAt(file, 12)};
    try {
        const RawShape shape = ShapeOfRwhHeader(header, "");
        return shape.FrameBytes() + kRwhHeaderBytes == file.size() ? "an RWH file of " + shape.Text() : "";
    } catch (const Failure&) {
        return "";
    }
}

}  // namespace

std::string KnownContent(Bytes file) {
    if (BeginsWith(file, "\x89PNG\r\n\x1A\n")) {
        return "a PNG picture";
    }
    if (BeginsWith(file, "\xFF\xD8\xFF")) {
        return "a JPEG picture";
    }
    if (BeginsWith(file, "II*\0"sv) || BeginsWith(file, "MM\0*"sv)) {
        return "a TIFF picture";
    }
    if (IsBitmap(file)) {
        return "a bitmap";
    }
    if (IsNetpbm(file)) {
        return BeginsWith(file, "P5") ? "a PGM picture" : "a PPM picture";
    }
    return RwhContent(file);
}

}  // namespace VexaTool
