// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The public functions of converters: arguments, memory, life.
#include "Converter.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <new>

using namespace VexaFrames;

namespace {

constexpr size_t kAlignment = 64;
constexpr size_t kFeedBytes = size_t{256} << 10;
constexpr size_t kPictureBytes = size_t{192} << 10;
/// A band of a mosaic is never less than these rows, those beside it included.
constexpr uint32_t kFewestRows = 8 + 2 * kMostOverlap;

size_t Aligned(size_t bytes) {
    return (bytes + kAlignment - 1) / kAlignment * kAlignment;
}

/// Room for every plan that settings can lead to, so that changing them needs no memory.
struct Sizes {
    size_t line;
    size_t feed;
    size_t picture;
    size_t saved;

    size_t All() const { return Aligned(sizeof(VcfConverter)) + line + feed + picture + saved; }
};

Sizes SizesFor(const Geometry& g, uint32_t output) {
    const size_t width = g.width;
    const VcfFormat& format = *g.format;
    const bool mosaic = format.kind == VCF_KIND_BAYER;
    const size_t rows = mosaic ? std::min(g.height, kFewestRows) : 1;
    const size_t fedRow = width * (format.kind == VCF_KIND_YUV ? 4 : format.kind == VCF_KIND_COLOUR ? 3 : 2);
    const size_t pictureRow = width * std::max(3u, PixelBytesOf(output));
    const size_t savedRows = mosaic ? std::min(g.height, kMostOverlap) : 0;
    return {Aligned(6 * width), Aligned(mosaic ? std::max(kFeedBytes, rows * fedRow) : fedRow),
            Aligned(mosaic ? std::max(kPictureBytes, rows * pictureRow) : pictureRow), Aligned(savedRows * pictureRow)};
}

VcfConverter* Allocate(const Geometry& g, uint32_t output) {
    const Sizes sizes = SizesFor(g, output);
    void* memory = std::aligned_alloc(kAlignment, sizes.All());
    if (memory == nullptr) {
        return nullptr;
    }
    auto* converter = new (memory) VcfConverter;
    converter->geometry = g;
    converter->output = output;
    uint8_t* at = static_cast<uint8_t*>(memory) + Aligned(sizeof(VcfConverter));
    Scratch& scratch = converter->scratch;
    scratch.line = at;
    scratch.feed = at + sizes.line;
    scratch.feedBytes = sizes.feed;
    scratch.picture = scratch.feed + sizes.feed;
    scratch.pictureBytes = sizes.picture;
    scratch.saved = scratch.picture + sizes.picture;
    return converter;
}

void Apply(VcfConverter& converter, const VcfSettings& settings, const Plan& plan) {
    converter.settings = settings;
    converter.plan = plan;
    if (settings.levels != 0) {
        const VcfFormat& format = *converter.geometry.format;
        MakeLevelTables(converter.levels, settings, format.depth, converter.geometry.shift,
                        format.kind == VCF_KIND_MONO);
    }
}

VcfStatus CheckDestination(const VcfConverter* converter, const void* buffer, size_t length, const void* dst,
                           size_t dst_stride, const Text& out) {
    if (converter == nullptr || buffer == nullptr || dst == nullptr) {
        return out.Say(VCF_INVALID_ARGUMENT, "no %s given (null)",
                       converter == nullptr ? "converter"
                       : buffer == nullptr  ? "buffer"
                                            : "destination");
    }
    const VcfStatus status =
        CheckStride(dst_stride, VcfPictureRowBytes(converter), converter->geometry.height, "destination", out);
    return status != VCF_OK ? status : CheckLength(converter->geometry, length, out);
}

}  // namespace

void VcfInitSettings(VcfSettings* settings) {
    if (settings == nullptr) {
        return;
    }
    std::memset(settings, 0, sizeof *settings);
    std::fill(std::begin(settings->gain), std::end(settings->gain), VCF_ONE);
    settings->exposure = VCF_ONE;
    settings->gamma = 220;
    for (const uint32_t diagonal : {0u, 4u, 8u}) {
        settings->matrix[diagonal] = VCF_MATRIX_ONE;
    }
}

VcfStatus VcfCreateConverter(VcfConverter** converter, const VcfLayout* layout, uint32_t output,
                             const VcfSettings* settings, char* text, size_t text_bytes) {
    const Text out = {text, text_bytes};
    if (converter == nullptr) {
        return out.Say(VCF_INVALID_ARGUMENT, "no place given for the converter (null)");
    }
    *converter = nullptr;
    Geometry g;
    if (const VcfStatus status = MakeGeometry(layout, g, out); status != VCF_OK) {
        return status;
    }
    VcfSettings used;
    VcfInitSettings(&used);
    if (settings != nullptr) {
        used = *settings;
    }
    Plan plan;
    if (const VcfStatus status = MakePlan(g, output, used, plan, out); status != VCF_OK) {
        return status;
    }
    VcfConverter* made = Allocate(g, output);
    if (made == nullptr) {
        return out.Say(VCF_NO_MEMORY, "out of memory for a converter of %s %ux%u", g.format->name, g.width, g.height);
    }
    static_cast<void>(PrepareLUT());
    Apply(*made, used, plan);
    *converter = made;
    return out.Ok();
}

void VcfDestroyConverter(VcfConverter* converter) {
    std::free(converter);
}

VcfStatus VcfChangeSettings(VcfConverter* converter, const VcfSettings* settings, char* text, size_t text_bytes) {
    const Text out = {text, text_bytes};
    if (converter == nullptr || settings == nullptr) {
        return out.Say(VCF_INVALID_ARGUMENT, "no converter or no settings given (null)");
    }
    Plan plan;
    if (const VcfStatus status = MakePlan(converter->geometry, converter->output, *settings, plan, out);
        status != VCF_OK) {
        return status;
    }
    Apply(*converter, *settings, plan);
    return out.Ok();
}

size_t VcfPictureRowBytes(const VcfConverter* converter) {
    return converter == nullptr ? 0 : size_t{converter->geometry.width} * PixelBytesOf(converter->output);
}

VcfStatus VcfConvert(VcfConverter* converter, const void* buffer, size_t length, void* dst, size_t dst_stride,
                     char* text, size_t text_bytes) {
    return VcfConvertRows(converter, buffer, length, dst, dst_stride, 0,
                          converter == nullptr ? 0 : converter->geometry.height, text, text_bytes);
}

VcfStatus VcfConvertRows(VcfConverter* converter, const void* buffer, size_t length, void* dst, size_t dst_stride,
                         uint32_t first_row, uint32_t row_count, char* text, size_t text_bytes) {
    const Text out = {text, text_bytes};
    if (const VcfStatus status = CheckDestination(converter, buffer, length, dst, dst_stride, out); status != VCF_OK) {
        return status;
    }
    const uint32_t height = converter->geometry.height;
    if (first_row > height || row_count > height - first_row) {
        return out.Say(VCF_BAD_REGION, "%u rows from row %u on are not inside a frame of %u rows", row_count, first_row,
                       height);
    }
    ConvertBand(*converter, static_cast<const uint8_t*>(buffer), static_cast<uint8_t*>(dst),
                dst_stride == 0 ? VcfPictureRowBytes(converter) : dst_stride, first_row, first_row + row_count);
    return out.Ok();
}
