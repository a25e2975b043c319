// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Pictures and raw frames as the bytes of a file. Everything is encoded in memory first and then written by OutputFile,
// the one place that checks writes.
//
//     png    8-bit grey, RGB or RGBA, 16-bit grey
//     ppm    P6, RGB            pgm   P5, grey pictures only, 8 or 16 bits
//     tif    grey of 8 or 16 bits, RGB      jpg   grey or colour, lossy
//     bmp    the common bitmap (14 + 40 byte headers), which viewers open
//     vbmp   the library's own bitmap (22 + 80 byte headers), written by its SaveBmp functions
//     bgra, bgr                 the bare pixel bytes, as ffmpeg's rawvideo has them
//     rwh    the raw frame with the library's header, not converted
//     raw    the raw frame, tight and unpacked, not converted
#pragma once

#include <optional>

#include "output/Picture.h"

namespace VexaTool {

enum class OutputKind { kPng, kTif, kJpg, kPpm, kPgm, kBmp, kVbmp, kBgra, kBgr, kRwh, kRaw };

/// By its name or extension, "png"; nothing for an unknown one.
std::optional<OutputKind> FindOutputKind(const std::string& name);

/// By the extension of a path; a Failure that lists the known ones.
OutputKind OutputKindOf(const std::string& path);

const char* ExtensionOf(OutputKind kind);

/// "png, ppm, ..." for messages and help.
std::string OutputKindNames();

/// True for the raw frame itself.
bool IsFrameKind(OutputKind kind);

/// True when files of this kind can have 16-bit samples.
bool HoldsWords(OutputKind kind);

/// True when files of this kind can have, or always have, four channels.
bool HoldsAlpha(OutputKind kind);

/// True when frames of this kind simply follow each other in one file.
bool IsAppendable(OutputKind kind);

/// The bytes of the file, in `storage` or, for bare pixels, those of the picture itself.
Bytes EncodePicture(const Picture& picture, OutputKind kind, int pngLevel, std::vector<uint8_t>& storage,
                    int jpegQuality = 90);

std::vector<uint8_t> EncodeRwh(const RawShape& tight, Bytes frame);

}  // namespace VexaTool
