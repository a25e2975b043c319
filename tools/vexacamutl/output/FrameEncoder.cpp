// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See FrameEncoder.h.
#include "output/FrameEncoder.h"

#include <algorithm>

#include "Failure.h"

namespace VexaTool {

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
    if (options_.kind == OutputKind::kPgm && !grey) {
        const char* remedy = shape.format->kind == Kind::kBayer ? "; add --grey or choose ppm" : "; choose ppm";
        throw Failure(ExitCode::kUnsupported, "a pgm file holds grey pictures, but " + std::string(shape.format->name) +
                                                  " is converted to colour" + remedy);
    }
    const bool holdsAlpha =
        options_.kind == OutputKind::kPng || options_.kind == OutputKind::kBmp || options_.kind == OutputKind::kVbmp;
    const bool holdsOneChannel = holdsAlpha || options_.kind == OutputKind::kPgm;
    RenderOptions render = options_.render;
    render.alpha = options_.kind == OutputKind::kBgra || (render.alpha && holdsAlpha);
    renderer_.Render(shape, tight, render, picture_);
    if (grey && holdsOneChannel && !render.alpha) {
        KeepOneChannel(picture_, grey_);
        return EncodePicture(grey_, options_.kind, options_.pngLevel, encoded_);
    }
    return EncodePicture(picture_, options_.kind, options_.pngLevel, encoded_);
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
