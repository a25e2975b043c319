// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Which feed and which converter serve a layout, an output and settings. Converters are called by name, so that the
// process-wide Bayer mode has no influence.
#include "Converter.h"

namespace VexaFrames {

namespace {

using Worker = Call::Worker;

enum Layout : uint32_t { kBgra, kBgr };

/// By phase (VCF_PHASE_...) and layout.
constexpr ConverterFunc kBilinear8[5][2] = {{nullptr, nullptr},
                                            {ConvByrGR8ToBGRA, ConvByrGR8ToBGR},
                                            {ConvByrRG8ToBGRA, ConvByrRG8ToBGR},
                                            {ConvByrGB8ToBGRA, ConvByrGB8ToBGR},
                                            {ConvByrBG8ToBGRA, ConvByrBG8ToBGR}};
constexpr ConverterFunc kAdaptive8[5][2] = {{nullptr, nullptr},
                                            {ConvByrGR8ToBGRAACPI, ConvByrGR8ToBGRACPI},
                                            {ConvByrRG8ToBGRAACPI, ConvByrRG8ToBGRACPI},
                                            {ConvByrGB8ToBGRAACPI, ConvByrGB8ToBGRACPI},
                                            {ConvByrBG8ToBGRAACPI, ConvByrBG8ToBGRACPI}};
constexpr Worker kBilinearN[5][2] = {{nullptr, nullptr},
                                     {ConvByrGRNToBGRA, ConvByrGRNToBGR},
                                     {ConvByrRGNToBGRA, ConvByrRGNToBGR},
                                     {ConvByrGBNToBGRA, ConvByrGBNToBGR},
                                     {ConvByrBGNToBGRA, ConvByrBGNToBGR}};
/// The phase with red and blue exchanged. Bilinear pictures of it are those of the phase, red and blue exchanged.
constexpr uint32_t kExchanged[5] = {VCF_PHASE_NONE, VCF_PHASE_GB, VCF_PHASE_BG, VCF_PHASE_GR, VCF_PHASE_RG};

bool HasRedFirst(uint32_t output) {
    return output == VCF_OUTPUT_RGB || output == VCF_OUTPUT_RGBA;
}

bool IsGreyOutput(uint32_t output) {
    return output == VCF_OUTPUT_GREY8 || output == VCF_OUTPUT_GREY16;
}

Layout LayoutOf(uint32_t output) {
    return output == VCF_OUTPUT_BGRA || output == VCF_OUTPUT_RGBA ? kBgra : kBgr;
}

Call GreyCall(bool bytes, Layout layout, uint32_t shift) {
    if (bytes) {
        return {layout == kBgra ? ConvMono8ToBGRA : ConvMono8ToBGR};
    }
    return {nullptr, layout == kBgra ? ConvMonoNToBGRA : ConvMonoNToBGR, shift};
}

Call ColourCall(bool bytes, bool redFirst, Layout layout, uint32_t shift) {
    if (bytes) {
        if (redFirst) {
            return {layout == kBgra ? ConvRGB8PToBGRA : ConvRGB8PToBGR};
        }
        return {layout == kBgra ? ConvBGR8PToBGRA : ConvBGR8PToBGR};
    }
    if (redFirst) {
        return {nullptr, layout == kBgra ? ConvRGBNToBGRA : ConvRGBNToBGR, shift};
    }
    return {nullptr, layout == kBgra ? ConvBGRNToBGRA : ConvBGRNToBGR, shift};
}

void PlanYuv(const Geometry& g, uint32_t output, Layout layout, Plan& plan) {
    plan.finish.exchange = HasRedFirst(output);
    const size_t width = g.width;
    if (!g.RowsAreWholeGroups()) {
        plan.feed = Feed::kYuvPixels;
        plan.fedRowBytes = width * 4;
        plan.call = {layout == kBgra ? ConvYUV444PToBGRA : ConvYUV444PToBGR};
        return;
    }
    const Feed asItLies = g.limited ? Feed::kFullRange : Feed::kRows;
    switch (g.format->format) {
        case PIXEL_FORMAT_YUV411_8_UYYVYY:
            plan.feed = asItLies;
            plan.fedRowBytes = width / 4 * 6;
            plan.call = {layout == kBgra ? ConvYUV411PToBGRA : ConvYUV411PToBGR};
            break;
        case PIXEL_FORMAT_YUV8_UYV:
            plan.feed = Feed::kUyv4;
            plan.fedRowBytes = width * 4;
            plan.call = {layout == kBgra ? ConvYUV444PToBGRA : ConvYUV444PToBGR};
            break;
        default:
            if (layout == kBgr) {
                plan.feed = Feed::kGroupsOfFive;
                plan.fedRowBytes = width / 2 * 5;
                plan.call = {ConvYUV422PToBGR};
            } else {
                plan.feed = g.format->format == PIXEL_FORMAT_YUV422_8 ? Feed::kSwapped : asItLies;
                plan.fedRowBytes = width * 2;
                plan.call = {ConvYUV422PToBGRA};
            }
    }
}

VcfStatus PlanMosaic(const Geometry& g, uint32_t output, const VcfSettings& settings, Layout layout, Plan& plan,
                     const Text& text) {
    const bool bytes = g.format->depth == 8 || settings.levels != 0;
    const uint32_t shift = g.format->depth - 8 + g.shift;
    plan.mosaic = true;
    if (settings.demosaic == VCF_DEMOSAIC_BILINEAR) {
        const uint32_t phase = HasRedFirst(output) ? kExchanged[g.format->phase] : g.format->phase;
        plan.call = bytes ? Call{kBilinear8[phase][layout]} : Call{nullptr, kBilinearN[phase][layout], shift};
        return VCF_OK;
    }
    if (!bytes) {
        return text.Say(VCF_UNSUPPORTED, "adaptive demosaicing of %s, %u bits, needs levels", g.format->name,
                        g.format->depth);
    }
    if (g.width % 2 != 0 || g.height % 2 != 0 || g.width < 4 || g.height < 4) {
        return text.Say(VCF_UNSUPPORTED, "adaptive demosaicing needs even sizes of at least 4, not %ux%u", g.width,
                        g.height);
    }
    plan.adaptive = true;
    plan.call = {kAdaptive8[g.format->phase][layout]};
    plan.finish.exchange = HasRedFirst(output);
    plan.setsLastRed = g.format->phase == VCF_PHASE_BG && layout == kBgra;
    return VCF_OK;
}

VcfStatus CheckSettings(const Geometry& g, uint32_t output, const VcfSettings& settings, const Text& text) {
    if (output > VCF_OUTPUT_GREY16) {
        return text.Say(VCF_INVALID_ARGUMENT, "unknown output %u", output);
    }
    for (const uint32_t reserved : settings.reserved) {
        if (reserved != 0) {
            return text.Say(VCF_INVALID_ARGUMENT,
                            "a reserved field of the settings is not 0; was VcfInitSettings called?");
        }
    }
    if (settings.demosaic > VCF_DEMOSAIC_NONE) {
        return text.Say(VCF_INVALID_ARGUMENT, "unknown demosaic mode %u", settings.demosaic);
    }
    if (settings.use_matrix != 0) {
        for (const int32_t element : settings.matrix) {
            if (element < -8 * VCF_MATRIX_ONE || element >= 8 * VCF_MATRIX_ONE) {
                return text.Say(VCF_INVALID_ARGUMENT, "an element of the matrix, %g, is not at least -8 and below 8",
                                element / double{VCF_MATRIX_ONE});
            }
        }
    }
    return settings.levels != 0 ? CheckLevels(settings, *g.format, text) : VCF_OK;
}

}  // namespace

uint32_t PixelBytesOf(uint32_t output) {
    constexpr uint32_t kBytes[] = {4, 3, 3, 4, 1, 2};
    return kBytes[output];
}

VcfStatus MakePlan(const Geometry& g, uint32_t output, const VcfSettings& settings, Plan& plan, const Text& text) {
    if (const VcfStatus status = CheckSettings(g, output, settings, text); status != VCF_OK) {
        return status;
    }
    const VcfFormat& format = *g.format;
    const bool levels = settings.levels != 0;
    const bool grey = IsGreyOutput(output);
    plan = {};
    plan.luma = grey && format.kind == VCF_KIND_COLOUR;
    plan.greyRows = grey && !plan.luma;
    const Layout layout = LayoutOf(output);
    plan.pixelBytes = plan.luma ? 3 : PixelBytesOf(output);
    if (!grey) {
        plan.finish.matrix = settings.use_matrix != 0;
    }
    if (plan.greyRows) {
        return VCF_OK;
    }
    if (format.kind == VCF_KIND_YUV) {
        PlanYuv(g, output, layout, plan);
        return VCF_OK;
    }
    const bool bytes = format.depth == 8 || levels;
    plan.feed = levels ? Feed::kLevels : format.packing != VCF_PACKING_NONE ? Feed::kWords : Feed::kRows;
    plan.fedRowBytes = size_t{g.width} * (format.kind == VCF_KIND_COLOUR ? 3 : 1) * (bytes ? 1 : 2);
    const uint32_t shift = format.depth - 8 + g.shift;
    if (format.kind == VCF_KIND_COLOUR) {
        plan.call = ColourCall(bytes, (format.name[0] == 'R') != HasRedFirst(output), layout, shift);
        return VCF_OK;
    }
    if (format.kind == VCF_KIND_MONO || settings.demosaic == VCF_DEMOSAIC_NONE) {
        plan.call = GreyCall(bytes, layout, shift);
        return VCF_OK;
    }
    return PlanMosaic(g, output, settings, layout, plan, text);
}

}  // namespace VexaFrames
