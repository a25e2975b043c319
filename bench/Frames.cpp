// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// What the frames layer adds to a conversion, as CSV on standard output. Each row has ways to get the same picture,
// which take turns: the frame as the converter of VexaCamUtl.h takes it, then the layer with that frame, packed, with
// padded rows on either side, with levels, and with a colour matrix. Times are ns per pixel.
#include <VexaCamFrames.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "Measure.h"

namespace {

using namespace Bench;

constexpr SlicePlan kPlan = {21, 0.004, 0, 2};

struct Destroy {
    void operator()(VcfConverter* converter) const { VcfDestroyConverter(converter); }
};

/// One way to convert: a converter of the layer with its buffers.
class Way {
  public:
    Way(const char* name, const char* format, uint32_t width, uint32_t height, uint32_t output, size_t sourcePadding,
        size_t padding, const VcfSettings& settings)
        : m_name(name) {
        VcfLayout layout;
        VcfInitLayout(&layout, VcfFormatNamed(format), width, height);
        if (sourcePadding != 0) {
            layout.stride = VcfRowBytes(&layout) + sourcePadding;
        }
        char text[VCF_TEXT_BYTES];
        VcfConverter* made = nullptr;
        if (VcfCreateConverter(&made, &layout, output, &settings, text, sizeof text) != VCF_OK) {
            throw std::runtime_error(text);
        }
        m_converter.reset(made);
        m_length = VcfBytesNeeded(&layout);
        m_source = std::make_unique<Buffer>(m_length);
        const VcfFormat& info = *VcfFindFormat(layout.format);
        FillWithSamples(m_source->Data(), m_length, info.depth > 8 && info.packing == VCF_PACKING_NONE);
        m_stride = VcfPictureRowBytes(made) + padding;
        m_picture = std::make_unique<Buffer>(m_stride * height);
    }

    const std::string& Name() const { return m_name; }
    void Run() const {
        VcfConvert(m_converter.get(), m_source->Data(), m_length, m_picture->Data(), m_stride, nullptr, 0);
    }

  private:
    std::string m_name;
    std::unique_ptr<VcfConverter, Destroy> m_converter;
    size_t m_length = 0;
    size_t m_stride = 0;
    std::unique_ptr<Buffer> m_source;
    std::unique_ptr<Buffer> m_picture;
};

VcfSettings Settings(uint32_t levels, uint32_t demosaic, uint32_t matrix) {
    VcfSettings settings;
    VcfInitSettings(&settings);
    settings.levels = levels;
    settings.tone = VCF_TONE_SRGB;
    settings.gain[0] = VCF_ONE * 3 / 2;
    settings.demosaic = demosaic;
    settings.use_matrix = matrix;
    return settings;
}

/// The converter that the layer is compared with.
struct Direct {
    ConverterFunc converter;
    size_t pixelBytes;
};

void Measure(const char* unpacked, const std::vector<const char*>& packed, const Direct& direct, uint32_t output,
             uint32_t width, uint32_t height) {
    std::vector<Way> ways;
    const VcfSettings plain = Settings(0, 0, 0);
    ways.emplace_back("unpacked", unpacked, width, height, output, 0, 0, plain);
    for (const char* format : packed) {
        ways.emplace_back(format, format, width, height, output, 0, 0, plain);
    }
    ways.emplace_back("padded source", unpacked, width, height, output, 64, 0, plain);
    ways.emplace_back("padded picture", unpacked, width, height, output, 0, 64, plain);
    if (VcfFindFormat(VcfFormatNamed(unpacked))->kind != VCF_KIND_YUV) {
        ways.emplace_back("levels", unpacked, width, height, output, 0, 0, Settings(1, 0, 0));
        if (!packed.empty()) {
            ways.emplace_back("levels, packed", packed[0], width, height, output, 0, 0, Settings(1, 0, 0));
            ways.emplace_back("levels, adaptive", unpacked, width, height, output, 0, 0, Settings(1, 1, 0));
        }
    }
    ways.emplace_back("matrix", unpacked, width, height, output, 0, 0, Settings(0, 0, 1));

    const Buffer source(size_t{width} * height * 6);
    FillWithSamples(source.Data(), size_t{width} * height * 6, VcfFindFormat(VcfFormatNamed(unpacked))->depth > 8);
    const Buffer picture(size_t{width} * height * direct.pixelBytes);
    std::vector<Work> works = {[&] { direct.converter(picture.Data(), source.Data(), width, height); }};
    for (const Way& way : ways) {
        works.emplace_back([&way] { way.Run(); });
    }
    const std::vector<Timing> timings = MeasureByTurns(works, kPlan);
    const double pixels = double{1} * width * height / 1e9;
    for (size_t i = 0; i < timings.size(); ++i) {
        std::printf("%s,%s,%ux%u,%s,%.3f,%.3f,%+.3f\n", unpacked, output == VCF_OUTPUT_BGRA ? "BGRA" : "BGR", width,
                    height, i == 0 ? "converter alone" : ("\"" + ways[i - 1].Name() + "\"").c_str(),
                    timings[i].median / pixels, timings[i].best / pixels, (timings[i].best - timings[0].best) / pixels);
    }
    static_cast<void>(std::fflush(stdout));
}

}  // namespace

int main(int argc, char**) {
    try {
        if (argc != 1) {
            throw std::runtime_error("takes no arguments");
        }
        PrepareLUT();
        std::puts("format,picture,size,way,ns_per_pixel,best_ns_per_pixel,best_beside_converter");
        for (const uint32_t width : {1920u, 4096u}) {
            const uint32_t height = width == 1920 ? 1080 : 3000;
            Measure("BayerRG12", {"BayerRG12p", "BayerRG12Packed", "BayerRG12CSI2"}, {ConvByrRG12ToBGRA, 4},
                    VCF_OUTPUT_BGRA, width, height);
            Measure("BayerRG10", {"BayerRG10p", "BayerRG10Packed", "BayerRG10CSI2"}, {ConvByrRG10ToBGR, 3},
                    VCF_OUTPUT_BGR, width, height);
            Measure("Mono12", {"Mono12p"}, {ConvMono12ToBGRA, 4}, VCF_OUTPUT_BGRA, width, height);
            Measure("BayerRG8", {}, {ConvByrRG8ToBGRA, 4}, VCF_OUTPUT_BGRA, width, height);
            Measure("RGB8", {}, {ConvRGB8PToBGRA, 4}, VCF_OUTPUT_BGRA, width, height);
            Measure("YUV422_8_UYVY", {"YUV422_8"}, {ConvYUV422PToBGRA, 4}, VCF_OUTPUT_BGRA, width, height);
        }
        return 0;
    } catch (const std::exception& error) {
        static_cast<void>(std::fprintf(stderr, "bench-frames: %s\n", error.what()));
        return 1;
    }
}
