// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See FrameEncoder.h.
#include "output/FrameEncoder.h"

#include <algorithm>

#include "Failure.h"

namespace VexaTool {

namespace {

/// For frames that are converted to colour.
void CheckColour(const FormatInfo& format, const EncodeOptions& options) {
    const bool bayer = format.kind == Kind::kBayer;
    const std::string converted = "but " + std::string(format.name) + " is converted to colour";
    if (options.render.bits == 16) {
        throw Failure(ExitCode::kUnsupported,
                      "--bits 16 is for grey pictures, " + converted + (bayer ? "; add --grey" : ""));
    }
    if (options.kind == OutputKind::kPgm) {
        throw Failure(ExitCode::kUnsupported, "a pgm file holds grey pictures, " + converted +
                                                  (bayer ? "; add --grey or choose ppm" : "; choose ppm"));
    }
}

}  // namespace

Bytes FrameEncoder::Encode(const RawShape& shape, Bytes tight) {
    if (!options_.reversal.wanted) {
        return EncodeShown(shape, tight);
    }
    const RawShape after = options_.reversal.ShapeAfter(shape);
    options_.reversal.Apply(shape, tight, reversed_);
    return EncodeShown(after, reversed_);
}

Bytes FrameEncoder::EncodeShown(const RawShape& shape, Bytes tight) {
    if (options_.kind == OutputKind::kRaw) {
        return tight;
    }
    if (options_.kind == OutputKind::kRwh) {
        encoded_ = EncodeRwh(shape, tight);
        return encoded_;
    }
    const bool grey = IsGrey(*shape.format, options_.render);
    if (!grey) {
        CheckColour(*shape.format, options_);
    }
    const bool holdsAlpha =
        options_.kind == OutputKind::kPng || options_.kind == OutputKind::kBmp || options_.kind == OutputKind::kVbmp;
    const bool holdsOneChannel = holdsAlpha || options_.kind == OutputKind::kPgm || options_.kind == OutputKind::kTif ||
                                 options_.kind == OutputKind::kJpg;
    RenderOptions render = options_.render;
    render.alpha = options_.kind == OutputKind::kBgra || (render.alpha && holdsAlpha);
    renderer_.Render(shape, tight, render, picture_);
    if (grey && holdsOneChannel && picture_.channels == 3) {
        KeepOneChannel(picture_, grey_);
        return EncodePicture(grey_, options_.kind, options_.pngLevel, encoded_, options_.jpegQuality);
    }
    return EncodePicture(picture_, options_.kind, options_.pngLevel, encoded_, options_.jpegQuality);
}

void RangeCheck::Add(const RawShape& shape, Bytes tight) {
    const uint32_t depth = shape.format->depth;
    const uint32_t limit = (1u << depth) - 1;
    const size_t sampleBytes = depth > 8 ? 2 : 1;
    uint64_t above = 0;
    uint32_t largest = 0;
    for (size_t i = 0; i + sampleBytes <= tight.size(); i += sampleBytes) {
        const uint32_t sample = sampleBytes == 1 ? tight[i] : tight[i] | uint32_t{tight[i + 1]} << 8;
        above += sample > limit ? 1 : 0;
        largest = std::max(largest, sample);
    }
    const std::lock_guard lock(mutex_);
    samples_ += tight.size() / sampleBytes;
    above_ += above;
    largest_ = std::max(largest_, largest);
    limit_ = limit;
}

std::string RangeCheck::Line(const std::string& name) const {
    return name + ": " + std::to_string(above_) + " of " + std::to_string(samples_) + " samples above " +
           std::to_string(limit_) + ", the largest is " + std::to_string(largest_);
}

}  // namespace VexaTool
