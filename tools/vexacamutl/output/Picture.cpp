// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See Picture.h. The library's converters take tight frames; three formats want more care than ConvImage alone gives:
//
//     YUV422_8_UYVY to BGR   that converter reads five bytes a pair, a frame has four: go through BGRA
//     YUV8_UYV               those converters read four bytes a pixel, a frame has three: spread it first
//     RGB10, RGB12           have converters, but ConvImage does not choose them: call them by name
#include "output/Picture.h"

#include "Failure.h"

namespace VexaTool {

namespace {

bool s_acpi = false;

ConverterFunc ConverterByName(PixelFormat format, bool alpha) {
    switch (format) {
        case PIXEL_FORMAT_RGB10:
            return alpha ? ConvRGB10PToBGRA : ConvRGB10PToBGR;
        case PIXEL_FORMAT_RGB12:
            return alpha ? ConvRGB12PToBGRA : ConvRGB12PToBGR;
        default:
            return nullptr;
    }
}

void CheckAcpiSize(const RawShape& shape, const RenderOptions& options) {
    const bool acpi = s_acpi && !options.grey && shape.format->kind == Kind::kBayer && shape.format->depth == 8;
    if (acpi && (shape.width < 4 || shape.height < 4 || shape.width % 2 != 0 || shape.height % 2 != 0)) {
        throw Failure(ExitCode::kUnsupported, "the ACPI mode needs an even width and height of at least 4, not " +
                                                  std::to_string(shape.width) + "x" + std::to_string(shape.height));
    }
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

void Resize(Picture& picture, const RawShape& shape, uint32_t channels) {
    picture.width = shape.width;
    picture.height = shape.height;
    picture.channels = channels;
    picture.bytes.resize(picture.RowBytes() * picture.height);
}

void Convert(const RawShape& shape, Bytes frame, bool demosaic, Picture& picture) {
    const bool alpha = picture.channels == 4;
    const ConverterFunc byName = ConverterByName(shape.format->code, alpha);
    const UtlStatus status = byName != nullptr
                                 ? byName(picture.bytes.data(), frame.data(), shape.width, shape.height)
                                 : ConvImage(alpha ? CONV_DST_BGRA : CONV_DST_BGR, shape.format->code, demosaic ? 1 : 0,
                                             picture.bytes.data(), frame.data(), shape.width, shape.height);
    if (status != UTL_STS_SUCCESS) {
        throw Failure(ExitCode::kUnsupported,
                      "cannot convert " + shape.Text() + " (library status " + std::to_string(status) + ")");
    }
}

}  // namespace

bool IsGrey(const FormatInfo& format, const RenderOptions& options) {
    return format.kind == Kind::kMono || (format.kind == Kind::kBayer && options.grey);
}

void SetBayerMode(const std::string& name) {
    s_acpi = name == "acpi";
    SetBayerConvMode(s_acpi ? BAYER_CONV_MODE_ACPI : BAYER_CONV_MODE_DEFAULT);
}

Bytes Renderer::SpreadUyv(Bytes frame) {
    const size_t pixels = frame.size() / 3;
    spread_.resize(pixels * 4);
    for (size_t p = 0; p < pixels; ++p) {
        for (size_t c = 0; c < 3; ++c) {
            spread_[4 * p + c] = frame[3 * p + c];
        }
    }
    return spread_;
}

void Renderer::Render(const RawShape& shape, Bytes frame, const RenderOptions& options, Picture& picture) {
    CheckAcpiSize(shape, options);
    const bool demosaic = !options.grey;
    if (shape.format->code == PIXEL_FORMAT_YUV8_UYV) {
        frame = SpreadUyv(frame);
    }
    if (shape.format->code == PIXEL_FORMAT_YUV422_8_UYVY && !options.alpha) {
        Resize(bgra_, shape, 4);
        Convert(shape, frame, demosaic, bgra_);
        KeepFirstChannels(bgra_, picture, 3);
        return;
    }
    Resize(picture, shape, options.alpha ? 4 : 3);
    Convert(shape, frame, demosaic, picture);
}

void KeepOneChannel(const Picture& picture, Picture& grey) {
    KeepFirstChannels(picture, grey, 1);
}

}  // namespace VexaTool
