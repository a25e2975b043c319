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

/// Bare pixels and ppm files always have colour.
bool HoldsOneChannel(OutputKind kind) {
    return kind != OutputKind::kPpm && kind != OutputKind::kBgra && kind != OutputKind::kBgr;
}

}  // namespace

Bytes FrameEncoder::Encode(const RawShape& shape, Bytes tight) {
    if (!m_options.reversal.wanted) {
        return EncodeShown(shape, tight);
    }
    const RawShape after = m_options.reversal.ShapeAfter(shape);
    m_options.reversal.Apply(shape, tight, m_reversed);
    return EncodeShown(after, m_reversed);
}

Bytes FrameEncoder::EncodeShown(const RawShape& shape, Bytes tight) {
    if (m_options.kind == OutputKind::kRaw) {
        return tight;
    }
    if (m_options.kind == OutputKind::kRwh) {
        m_encoded = EncodeRwh(shape, tight);
        return m_encoded;
    }
    const bool grey = IsGrey(*shape.format, m_options.render);
    if (!grey) {
        CheckColour(*shape.format, m_options);
    }
    RenderOptions render = m_options.render;
    render.alpha = m_options.kind == OutputKind::kBgra || render.alpha;
    m_renderer.Render(shape, tight, render, m_picture);
    if (grey && HoldsOneChannel(m_options.kind) && m_picture.channels == 3) {
        KeepOneChannel(m_picture, m_grey);
        return EncodePicture(m_grey, m_options.kind, m_options.pngLevel, m_encoded, m_options.jpegQuality);
    }
    return EncodePicture(m_picture, m_options.kind, m_options.pngLevel, m_encoded, m_options.jpegQuality);
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
    const std::lock_guard lock(m_mutex);
    m_samples += tight.size() / sampleBytes;
    m_above += above;
    m_largest = std::max(m_largest, largest);
    m_limit = limit;
}

std::string RangeCheck::Line(const std::string& name) const {
    return name + ": " + std::to_string(m_above) + " of " + std::to_string(m_samples) + " samples above " +
           std::to_string(m_limit) + ", the largest is " + std::to_string(m_largest);
}

}  // namespace VexaTool
