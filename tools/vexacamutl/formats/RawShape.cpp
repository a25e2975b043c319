// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See RawShape.h.
#include "formats/RawShape.h"

#include "Failure.h"

namespace VexaTool {

namespace {

/// Well within what the library's 32-bit products hold for four bytes a pixel.
constexpr uint64_t kMostPixels = uint64_t{1} << 30;

bool ParseExtent(std::string_view text, uint32_t& value) {
    return ParseWhole(text, value) && value > 0;
}

}  // namespace

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
    if (shape.stride != 0 && shape.stride < shape.BytesOf(shape.width)) {
        throw Failure(origin.stride, name + ": the stride of " + std::to_string(shape.stride) +
                                         " bytes is shorter than a row of " +
                                         std::to_string(shape.BytesOf(shape.width)) + " bytes");
    }
    if (shape.stride > kMostPixels) {
        throw Failure(origin.stride, name + ": the stride of " + std::to_string(shape.stride) + " bytes is too long");
    }
    const size_t group = PixelsPerGroup(*shape.format);
    if ((shape.stride != 0 ? shape.width : shape.Pixels()) % group != 0) {
        throw Failure(ExitCode::kUnsupported, name + ": " + shape.Text() + " is not a whole number of groups of " +
                                                  std::to_string(group) + " pixels that share their chroma");
    }
}

}  // namespace VexaTool
