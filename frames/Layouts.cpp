// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See Layouts.h; and the public functions on layouts.
#include "Layouts.h"

#include <cinttypes>
#include <cstring>

namespace VexaFrames {

namespace {

constexpr uint64_t kMostPixels = uint64_t{1} << 30;
constexpr uint64_t kLongestStride = uint64_t{1} << 30;
constexpr uint64_t kFarthest = uint64_t{1} << 48;  ///< bytes of offset, pixels of skip and of rows without a stride

VcfStatus CheckSize(const VcfLayout& layout, const VcfFormat& format, const Text& text) {
    if (layout.width == 0 || layout.height == 0) {
        return text.Say(VCF_BAD_LAYOUT, "%s %ux%u has no pixels", format.name, layout.width, layout.height);
    }
    if (uint64_t{layout.width} * layout.height > kMostPixels) {
        return text.Say(VCF_BAD_LAYOUT, "%s %ux%u is more than 2^30 pixels", format.name, layout.width, layout.height);
    }
    if (layout.offset > kFarthest || layout.skip > kFarthest) {
        return text.Say(VCF_BAD_LAYOUT, "the frame begins more than 2^48 bytes or pixels into the buffer");
    }
    if (layout.shift != 0 && !IsWords(format)) {
        return text.Say(VCF_BAD_LAYOUT, "a shift of %u needs samples in 16-bit words, which %s does not have",
                        layout.shift, format.name);
    }
    if (layout.shift > 16 - format.depth) {
        return text.Say(VCF_BAD_LAYOUT, "a shift of %u moves samples of %u bits out of 16-bit words", layout.shift,
                        format.depth);
    }
    if (layout.range > VCF_RANGE_LIMITED) {
        return text.Say(VCF_INVALID_ARGUMENT, "unknown YUV range %u", layout.range);
    }
    if (layout.range != VCF_RANGE_FULL && format.kind != VCF_KIND_YUV) {
        return text.Say(VCF_BAD_LAYOUT, "limited range is for YUV; %s is not YUV", format.name);
    }
    return VCF_OK;
}

VcfStatus CheckRows(const Geometry& g, const VcfLayout& layout, const Text& text) {
    if (layout.stride != 0) {
        if (layout.row_width != 0) {
            return text.Say(VCF_BAD_LAYOUT, "a layout has a stride or a row_width, not both");
        }
        const uint64_t rowBytes = BytesOfPixels(*g.format, g.skip + g.width);
        if (layout.stride < rowBytes) {
            return text.Say(VCF_BAD_LAYOUT,
                            "a stride of %" PRIu64 " bytes is shorter than a row of %" PRIu64 " bytes (%s, %u pixels)",
                            layout.stride, rowBytes, g.format->name, g.width);
        }
        if (layout.stride > kLongestStride) {
            return text.Say(VCF_BAD_LAYOUT, "a stride of %" PRIu64 " bytes is longer than 2^30", layout.stride);
        }
    } else if (g.rowWidth < g.width) {
        return text.Say(VCF_BAD_LAYOUT, "a row_width of %" PRIu64 " pixels is less than the width of %u", g.rowWidth,
                        g.width);
    } else if (g.skip + g.rowWidth * g.height > kFarthest) {  // their bytes would not fit into 64 bits
        return text.Say(VCF_BAD_LAYOUT, "%u rows of %" PRIu64 " pixels end more than 2^48 pixels into the buffer",
                        g.height, g.rowWidth);
    }
    if (g.format->kind == VCF_KIND_YUV) {
        const uint64_t group = g.format->group_pixels;
        const bool flows = layout.stride == 0 && g.rowWidth == g.width;
        const uint64_t pixels = flows ? uint64_t{g.width} * g.height : g.width;
        if (pixels % group != 0 || g.skip % group != 0 || (!flows && layout.stride == 0 && g.rowWidth % group != 0)) {
            return text.Say(VCF_BAD_LAYOUT, "%s %ux%u is not a whole number of groups of %u pixels that share chroma",
                            g.format->name, g.width, g.height, g.format->group_pixels);
        }
    }
    return VCF_OK;
}

}  // namespace

uint64_t BytesOfPixels(const VcfFormat& format, uint64_t pixels) {
    const uint64_t whole = pixels / format.group_pixels * format.group_bytes;
    const uint64_t rest = pixels % format.group_pixels;
    if (rest == 0) {
        return whole;
    }
    if (IsCsi2(format) || format.kind == VCF_KIND_YUV) {
        return whole + format.group_bytes;
    }
    // Bits up to the last one of the pixel; of a pair in 3 bytes the first sample takes 2.
    return whole + (rest * format.bits_per_pixel + 7) / 8;
}

RowStart Geometry::StartOf(uint32_t row) const {
    const uint64_t pixel = stride != 0 ? skip : skip + row * rowWidth;
    const uint64_t byte = stride != 0 ? offset + row * stride : offset;
    return {byte + pixel / format->group_pixels * format->group_bytes,
            static_cast<uint32_t>(pixel % format->group_pixels)};
}

bool Geometry::RowsAreWholeGroups() const {
    const uint32_t group = format->group_pixels;
    return width % group == 0 && skip % group == 0 && (stride != 0 || rowWidth % group == 0);
}

bool Geometry::RowsAreOneRun() const {
    const uint64_t rowBytes = BytesOfPixels(*format, width);
    return RowsAreWholeGroups() && (stride != 0 ? stride == rowBytes : rowWidth == width);
}

VcfStatus MakeGeometry(const VcfLayout* layout, Geometry& geometry, const Text& text) {
    if (layout == nullptr) {
        return text.Say(VCF_INVALID_ARGUMENT, "no layout given (null)");
    }
    for (const uint32_t reserved : layout->reserved) {
        if (reserved != 0) {
            return text.Say(VCF_INVALID_ARGUMENT, "a reserved field of the layout is not 0; was VcfInitLayout called?");
        }
    }
    const VcfFormat* format = VcfFindFormat(layout->format);
    if (format == nullptr) {
        return text.Say(VCF_UNKNOWN_FORMAT, "no known pixel format has the code 0x%08X", layout->format);
    }
    if (const VcfStatus status = CheckSize(*layout, *format, text); status != VCF_OK) {
        return status;
    }
    geometry = {format,
                layout->width,
                layout->height,
                layout->stride,
                layout->offset,
                layout->skip,
                layout->row_width == 0 ? layout->width : layout->row_width,
                layout->shift,
                layout->range == VCF_RANGE_LIMITED};
    if (const VcfStatus status = CheckRows(geometry, *layout, text); status != VCF_OK) {
        return status;
    }
    if (IsCsi2(*format) && geometry.stride == 0) {
        geometry.stride = BytesOfPixels(*format, geometry.rowWidth);  // rows begin with whole groups
        const uint64_t rows = geometry.skip / geometry.rowWidth;
        geometry.offset += rows * geometry.stride;
        geometry.skip -= rows * geometry.rowWidth;
        if (geometry.stride > kLongestStride || geometry.skip + geometry.width > geometry.rowWidth) {
            return text.Say(VCF_BAD_LAYOUT,
                            "%s rows of %" PRIu64 " pixels cannot hold %u pixels from pixel %" PRIu64 " on",
                            format->name, geometry.rowWidth, geometry.width, geometry.skip);
        }
    }
    return VCF_OK;
}

uint64_t EndOf(const Geometry& geometry) {
    const RowStart last = geometry.StartOf(geometry.height - 1);
    return last.byte + BytesOfPixels(*geometry.format, last.member + uint64_t{geometry.width});
}

VcfStatus CheckLength(const Geometry& g, uint64_t length, const Text& text) {
    const uint64_t needed = EndOf(g);
    if (length >= needed) {
        return text.Ok();
    }
    return text.Say(
        VCF_TOO_SHORT, "%s %ux%u%s needs %" PRIu64 " bytes, the buffer has %" PRIu64 ": %" PRIu64 " too few",
        g.format->name, g.width, g.height, g.stride != 0 ? " with this stride" : "", needed, length, needed - length);
}

VcfStatus CheckStride(size_t stride, size_t rowBytes, uint32_t rows, const char* name, const Text& text) {
    if (stride != 0 && stride < rowBytes) {
        return text.Say(VCF_BAD_STRIDE, "a %s stride of %zu bytes is shorter than a row of %zu bytes", name, stride,
                        rowBytes);
    }
    if (stride > PTRDIFF_MAX / rows) {
        return text.Say(VCF_BAD_STRIDE, "%u rows with a %s stride of %zu bytes exceed the address space", rows, name,
                        stride);
    }
    return VCF_OK;
}

}  // namespace VexaFrames

using namespace VexaFrames;

void VcfInitLayout(VcfLayout* layout, PixelFormat format, uint32_t width, uint32_t height) {
    if (layout != nullptr) {
        std::memset(layout, 0, sizeof *layout);
        layout->format = format;
        layout->width = width;
        layout->height = height;
    }
}

VcfStatus VcfCheckLayout(const VcfLayout* layout, char* text, size_t text_bytes) {
    Geometry geometry;
    const Text out = {text, text_bytes};
    const VcfStatus status = MakeGeometry(layout, geometry, out);
    return status == VCF_OK ? out.Ok() : status;
}

uint64_t VcfBytesNeeded(const VcfLayout* layout) {
    Geometry geometry;
    return MakeGeometry(layout, geometry, {}) == VCF_OK ? EndOf(geometry) : 0;
}

uint64_t VcfFrameBytes(const VcfLayout* layout) {
    Geometry g;
    if (MakeGeometry(layout, g, {}) != VCF_OK) {
        return 0;
    }
    return g.stride != 0 ? g.stride * g.height : BytesOfPixels(*g.format, g.rowWidth * g.height);
}

uint64_t VcfRowBytes(const VcfLayout* layout) {
    Geometry geometry;
    return MakeGeometry(layout, geometry, {}) == VCF_OK ? BytesOfPixels(*geometry.format, geometry.width) : 0;
}

VcfStatus VcfCheckBuffer(const VcfLayout* layout, uint64_t length, char* text, size_t text_bytes) {
    Geometry geometry;
    const Text out = {text, text_bytes};
    const VcfStatus status = MakeGeometry(layout, geometry, out);
    return status == VCF_OK ? CheckLength(geometry, length, out) : status;
}

VcfStatus VcfCutRegion(const VcfLayout* layout, uint32_t x, uint32_t y, uint32_t width, uint32_t height,
                       VcfLayout* region, char* text, size_t text_bytes) {
    Geometry g;
    const Text out = {text, text_bytes};
    if (const VcfStatus status = MakeGeometry(layout, g, out); status != VCF_OK) {
        return status;
    }
    if (region == nullptr) {
        return out.Say(VCF_INVALID_ARGUMENT, "no place given for the region (null)");
    }
    if (width == 0 || height == 0 || uint64_t{x} + width > g.width || uint64_t{y} + height > g.height) {
        return out.Say(VCF_BAD_REGION, "%ux%u at (%u, %u) is not inside %ux%u", width, height, x, y, g.width, g.height);
    }
    if (g.format->kind == VCF_KIND_BAYER && (x % 2 != 0 || y % 2 != 0)) {
        return out.Say(VCF_BAD_REGION, "a region at (%u, %u) changes the phase of %s: offsets must be even", x, y,
                       g.format->name);
    }
    if (g.format->kind == VCF_KIND_YUV &&
        (x % g.format->group_pixels != 0 || width % g.format->group_pixels != 0 || !g.RowsAreWholeGroups())) {
        return out.Say(VCF_BAD_REGION, "a region at column %u, %u wide, splits groups of %u pixels that share chroma",
                       x, width, g.format->group_pixels);
    }
    *region = *layout;
    region->width = width;
    region->height = height;
    region->row_width = g.stride != 0 ? 0 : static_cast<uint32_t>(g.rowWidth);
    region->stride = g.stride;
    region->offset = g.offset + y * g.stride;
    region->skip = g.skip + x + (g.stride != 0 ? 0 : y * g.rowWidth);
    return out.Ok();
}

PixelFormat VcfFormatAfterRegion(PixelFormat format, uint32_t x, uint32_t y) {
    const VcfFormat* from = VcfFindFormat(format);
    if (from == nullptr || from->kind != VCF_KIND_BAYER) {
        return format;
    }
    // One column further GR and RG, GB and BG change places; one row further GR and BG, RG and GB.
    uint32_t phase = from->phase;
    if (x % 2 != 0) {
        constexpr uint32_t kBeside[] = {0, VCF_PHASE_RG, VCF_PHASE_GR, VCF_PHASE_BG, VCF_PHASE_GB};
        phase = kBeside[phase];
    }
    if (y % 2 != 0) {
        constexpr uint32_t kBelow[] = {0, VCF_PHASE_BG, VCF_PHASE_GB, VCF_PHASE_RG, VCF_PHASE_GR};
        phase = kBelow[phase];
    }
    return WithPhase(format, phase);
}

PixelFormat VcfFormatAfterReversal(PixelFormat format, uint32_t width, uint32_t height, uint8_t mirror,
                                   uint8_t upside_down) {
    // The first pixel of the result is the last one of the row or column.
    const uint32_t x = mirror != 0 ? width - 1 : 0;
    const uint32_t y = upside_down != 0 ? height - 1 : 0;
    return VcfFormatAfterRegion(format, x, y);
}
