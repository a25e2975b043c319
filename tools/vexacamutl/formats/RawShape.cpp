// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See RawShape.h.
#include "formats/RawShape.h"

#include "Failure.h"

namespace VexaTool {

namespace {

/// Well within what the library's 32-bit products hold for four bytes per pixel.
constexpr uint64_t kMostPixels = uint64_t{1} << 30;

/// What is said of samples has to be possible for them.
void CheckSamples(const RawShape& shape, const std::string& name, ExitCode code) {
    const FormatInfo& format = *shape.format;
    if (shape.limitedRange && format.kind != Kind::kYuv) {
        throw Failure(code, name + ": a limited range is for YUV frames, not for " + std::string(format.name));
    }
    if (shape.shift != 0 && (format.depth <= 8 || format.IsPacked() || format.depth + shape.shift > 16)) {
        throw Failure(code, name + ": samples of " + std::string(format.name) + " cannot lie " +
                                std::to_string(shape.shift) + " bits higher");
    }
}

bool ParseExtent(std::string_view text, uint32_t& value) {
    return ParseWhole(text, value) && value > 0;
}

}  // namespace

VcfLayout RawShape::Layout() const {
    VcfLayout layout;
    VcfInitLayout(&layout, format->code, width, height);
    layout.stride = stride;
    layout.shift = shift;
    layout.range = limitedRange ? VCF_RANGE_LIMITED : VCF_RANGE_FULL;
    return layout;
}

size_t RawShape::RowBytes() const {
    const RawShape row = {format, width, 1, 0, 0};
    const VcfLayout layout = row.Layout();
    const uint64_t bytes = VcfRowBytes(&layout);
    // Groups that end in the next row have no row of their own.
    return bytes != 0 ? bytes : (size_t{width} * BitPerPixel(format->code) + 7) / 8;
}

size_t RawShape::FrameBytes() const {
    const VcfLayout layout = Layout();
    return VcfFrameBytes(&layout);
}

void ParseSize(const std::string& text, uint32_t& width, uint32_t& height) {
    const std::string_view view = text;
    const size_t x = view.find_first_of("xX");
    if (x == std::string_view::npos || !ParseExtent(view.substr(0, x), width) ||
        !ParseExtent(view.substr(x + 1), height)) {
        throw Failure(ExitCode::kUsage, "invalid size '" + text + "': expected WIDTHxHEIGHT, for example 1920x1080");
    }
}

void CheckShape(const RawShape& shape, const std::string& name, ShapeOrigin origin) {
    if (uint64_t{shape.width} * shape.height > kMostPixels) {
        throw Failure(origin.size, name + ": " + shape.Text() + " is more than 2^30 pixels");
    }
    if (shape.width == 0 || shape.height == 0) {
        throw Failure(ExitCode::kInput, name + ": " + shape.Text() + " has no pixels");
    }
    if (shape.stride != 0 && shape.stride < shape.RowBytes()) {
        throw Failure(origin.stride, name + ": the stride of " + std::to_string(shape.stride) +
                                         " bytes is shorter than a row of " + std::to_string(shape.RowBytes()) +
                                         " bytes");
    }
    if (shape.stride > kMostPixels) {
        throw Failure(origin.stride, name + ": the stride of " + std::to_string(shape.stride) + " bytes is too long");
    }
    const size_t group = shape.format->groupPixels;
    if ((shape.stride != 0 ? shape.width : shape.Pixels()) % group != 0) {
        throw Failure(ExitCode::kUnsupported, name + ": " + shape.Text() + " is not a whole number of groups of " +
                                                  std::to_string(group) + " pixels that share their chroma");
    }
    CheckSamples(shape, name, origin.samples);
    const VcfLayout layout = shape.Layout();
    char text[VCF_TEXT_BYTES];
    if (VcfCheckLayout(&layout, text, sizeof text) != VCF_OK) {
        throw Failure(origin.stride, name + ": " + shape.Text() + ": " + text);
    }
}

}  // namespace VexaTool
