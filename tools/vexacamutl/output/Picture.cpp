// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See Picture.h.
#include "output/Picture.h"

#include <atomic>
#include <cstring>

#include "Failure.h"
#include "output/HugePages.h"

namespace VexaTool {

namespace {

Failure CannotConvert(const RawShape& shape, VcfStatus status, const char* text) {
    return {status == VCF_NO_MEMORY ? ExitCode::kNoMemory : ExitCode::kUnsupported, shape.Text() + ": " + text};
}

void CheckAdaptiveSize(const RawShape& shape) {
    if (shape.width < 4 || shape.height < 4 || shape.width % 2 != 0 || shape.height % 2 != 0) {
        throw Failure(ExitCode::kUnsupported, "the ACPI mode needs an even width and height of at least 4, not " +
                                                  std::to_string(shape.width) + "x" + std::to_string(shape.height));
    }
}

/// Once for a command: the frames are converted, but not as somebody may think.
void SayNotAdaptive(const FormatInfo& format) {
    static std::atomic<bool> s_said = false;
    if (!s_said.exchange(true)) {
        SayLine(
            "--bayer-mode acpi takes 8-bit frames, or levels (--tone linear "
            "and the like); " +
            std::string(format.name) + " is demosaiced bilinearly");
    }
}

uint32_t DemosaicOf(const RawShape& shape, const RenderOptions& options) {
    if (options.grey) {
        return VCF_DEMOSAIC_NONE;
    }
    if (shape.format->kind != Kind::kBayer || !options.adaptive) {
        return VCF_DEMOSAIC_BILINEAR;
    }
    if (shape.format->depth > 8 && !options.levels.given) {
        SayNotAdaptive(*shape.format);
        return VCF_DEMOSAIC_BILINEAR;
    }
    CheckAdaptiveSize(shape);
    return VCF_DEMOSAIC_ADAPTIVE;
}

/// Copies `to.channels` of the channels of each pixel.
void KeepFirstChannels(const Picture& from, Picture& to, uint32_t channels) {
    to = {from.width, from.height, channels, std::move(to.bytes)};
    to.bytes.resize(to.RowBytes() * to.height);
    const uint8_t* source = from.bytes.data();
    for (uint8_t *pixel = to.bytes.data(), *end = pixel + to.bytes.size(); pixel != end; source += from.channels) {
        for (uint32_t c = 0; c < channels; ++c) {
            *pixel++ = source[c];
        }
    }
}

uint32_t OutputOf(const RenderOptions& options) {
    return options.bits == 16 ? VCF_OUTPUT_GREY16 : options.alpha ? VCF_OUTPUT_BGRA : VCF_OUTPUT_BGR;
}

void Resize(Picture& picture, const RawShape& shape, const RenderOptions& options) {
    picture.width = shape.width;
    picture.height = shape.height;
    picture.channels = options.bits == 16 ? 1 : options.alpha ? 4 : 3;
    picture.sampleBytes = options.bits / 8;
    const size_t size = picture.RowBytes() * picture.height;
    if (size > picture.bytes.capacity()) {
        picture.bytes.reserve(size);
        AdviseHugePages(picture.bytes.data(), size);
    }
    picture.bytes.resize(size);
}

}  // namespace

bool IsGrey(const FormatInfo& format, const RenderOptions& options) {
    return format.kind == Kind::kMono || (format.kind == Kind::kBayer && options.grey);
}

void Renderer::Prepare(const RawShape& shape, uint32_t output, const VcfSettings& settings) {
    char text[VCF_TEXT_BYTES];
    const VcfLayout layout = shape.Layout();
    VcfStatus status = VCF_OK;
    if (m_converter && output == m_output && std::memcmp(&layout, &m_layout, sizeof layout) == 0) {
        status = VcfChangeSettings(m_converter.get(), &settings, text, sizeof text);
    } else {
        VcfConverter* converter = nullptr;
        status = VcfCreateConverter(&converter, &layout, output, &settings, text, sizeof text);
        m_converter.reset(converter);
        m_layout = layout;
        m_output = output;
    }
    if (status != VCF_OK) {
        throw CannotConvert(shape, status, text);
    }
}

void Renderer::Render(const RawShape& shape, Bytes frame, const RenderOptions& options, Picture& picture) {
    VcfSettings settings = SettingsFor(shape, frame, options.levels);
    settings.demosaic = DemosaicOf(shape, options);
    Prepare(shape, OutputOf(options), settings);
    Resize(picture, shape, options);
    char text[VCF_TEXT_BYTES];
    const VcfStatus status =
        VcfConvert(m_converter.get(), frame.data(), frame.size(), picture.bytes.data(), 0, text, sizeof text);
    if (status != VCF_OK) {
        throw CannotConvert(shape, status, text);
    }
}

void KeepOneChannel(const Picture& picture, Picture& grey) {
    KeepFirstChannels(picture, grey, 1);
}

}  // namespace VexaTool
