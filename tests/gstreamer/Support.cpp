// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
#include "Support.h"

#include <cstring>
#include <random>

#include "RwhElements.h"
#include "VexaConvert.h"

namespace GstTest {

const std::vector<InputCase> kInputs = {
    {"video/x-bayer,format=rggb", PIXEL_FORMAT_BAYER_RG8},
    {"video/x-bayer,format=grbg", PIXEL_FORMAT_BAYER_GR8},
    {"video/x-bayer,format=gbrg", PIXEL_FORMAT_BAYER_GB8},
    {"video/x-bayer,format=bggr", PIXEL_FORMAT_BAYER_BG8},
    {"video/x-bayer,format=rggb10le", PIXEL_FORMAT_BAYER_RG10},
    {"video/x-bayer,format=grbg10le", PIXEL_FORMAT_BAYER_GR10},
    {"video/x-bayer,format=gbrg10le", PIXEL_FORMAT_BAYER_GB10},
    {"video/x-bayer,format=bggr10le", PIXEL_FORMAT_BAYER_BG10},
    {"video/x-bayer,format=rggb12le", PIXEL_FORMAT_BAYER_RG12},
    {"video/x-bayer,format=grbg12le", PIXEL_FORMAT_BAYER_GR12},
    {"video/x-bayer,format=gbrg12le", PIXEL_FORMAT_BAYER_GB12},
    {"video/x-bayer,format=bggr12le", PIXEL_FORMAT_BAYER_BG12},
    {"video/x-bayer,format=rggb14le", PIXEL_FORMAT_BAYER_RG14},
    {"video/x-bayer,format=grbg14le", PIXEL_FORMAT_BAYER_GR14},
    {"video/x-bayer,format=gbrg14le", PIXEL_FORMAT_BAYER_GB14},
    {"video/x-bayer,format=bggr14le", PIXEL_FORMAT_BAYER_BG14},
    {"video/x-bayer,format=rggb16le", PIXEL_FORMAT_BAYER_RG16},
    {"video/x-bayer,format=grbg16le", PIXEL_FORMAT_BAYER_GR16},
    {"video/x-bayer,format=gbrg16le", PIXEL_FORMAT_BAYER_GB16},
    {"video/x-bayer,format=bggr16le", PIXEL_FORMAT_BAYER_BG16},
    {"video/x-bayer,format=rggb10p", PIXEL_FORMAT_BAYER_RG10P},
    {"video/x-bayer,format=grbg10p", PIXEL_FORMAT_BAYER_GR10P},
    {"video/x-bayer,format=gbrg10p", PIXEL_FORMAT_BAYER_GB10P},
    {"video/x-bayer,format=bggr10p", PIXEL_FORMAT_BAYER_BG10P},
    {"video/x-bayer,format=rggb12p", PIXEL_FORMAT_BAYER_RG12P},
    {"video/x-bayer,format=grbg12p", PIXEL_FORMAT_BAYER_GR12P},
    {"video/x-bayer,format=gbrg12p", PIXEL_FORMAT_BAYER_GB12P},
    {"video/x-bayer,format=bggr12p", PIXEL_FORMAT_BAYER_BG12P},
    {"video/x-bayer,format=rggb10sp", PIXEL_FORMAT_BAYER_RG10_PACKED},
    {"video/x-bayer,format=grbg10sp", PIXEL_FORMAT_BAYER_GR10_PACKED},
    {"video/x-bayer,format=gbrg10sp", PIXEL_FORMAT_BAYER_GB10_PACKED},
    {"video/x-bayer,format=bggr10sp", PIXEL_FORMAT_BAYER_BG10_PACKED},
    {"video/x-bayer,format=rggb12sp", PIXEL_FORMAT_BAYER_RG12_PACKED},
    {"video/x-bayer,format=grbg12sp", PIXEL_FORMAT_BAYER_GR12_PACKED},
    {"video/x-bayer,format=gbrg12sp", PIXEL_FORMAT_BAYER_GB12_PACKED},
    {"video/x-bayer,format=bggr12sp", PIXEL_FORMAT_BAYER_BG12_PACKED},
    {"video/x-bayer,format=rggb10m", PIXEL_FORMAT_BAYER_RG10_CSI2},
    {"video/x-bayer,format=grbg10m", PIXEL_FORMAT_BAYER_GR10_CSI2},
    {"video/x-bayer,format=gbrg10m", PIXEL_FORMAT_BAYER_GB10_CSI2},
    {"video/x-bayer,format=bggr10m", PIXEL_FORMAT_BAYER_BG10_CSI2},
    {"video/x-bayer,format=rggb12m", PIXEL_FORMAT_BAYER_RG12_CSI2},
    {"video/x-bayer,format=grbg12m", PIXEL_FORMAT_BAYER_GR12_CSI2},
    {"video/x-bayer,format=gbrg12m", PIXEL_FORMAT_BAYER_GB12_CSI2},
    {"video/x-bayer,format=bggr12m", PIXEL_FORMAT_BAYER_BG12_CSI2},
    {"video/x-raw,format=GRAY8", PIXEL_FORMAT_MONO8},
    {"video/x-raw,format=GRAY16_LE", PIXEL_FORMAT_MONO16},
    {"video/x-raw,format=GRAY16_LE,depth=10", PIXEL_FORMAT_MONO10},
    {"video/x-raw,format=GRAY16_LE,depth=12", PIXEL_FORMAT_MONO12},
    {"video/x-raw,format=GRAY16_LE,depth=14", PIXEL_FORMAT_MONO14},
    {"video/x-raw,format=RGB", PIXEL_FORMAT_RGB8},
    {"video/x-raw,format=BGR", PIXEL_FORMAT_BGR8},
    {"video/x-raw,format=UYVY,colorimetry=1:4:0:0", PIXEL_FORMAT_YUV422_8_UYVY},
    {"video/x-raw,format=YUY2,colorimetry=1:4:0:0", PIXEL_FORMAT_YUV422_8},
    {"video/x-raw,format=IYU1,colorimetry=1:4:0:0", PIXEL_FORMAT_YUV411_8_UYYVYY},
    {"video/x-raw,format=IYU2,colorimetry=1:4:0:0", PIXEL_FORMAT_YUV8_UYV},
    {"video/x-vexacam,format=BGR10", PIXEL_FORMAT_BGR10},
    {"video/x-vexacam,format=Mono12p", PIXEL_FORMAT_MONO12P},
};

const std::vector<OutputCase> kOutputs = {
    {"BGRx", VCF_OUTPUT_BGRA, 4},   {"BGRA", VCF_OUTPUT_BGRA, 4}, {"BGR", VCF_OUTPUT_BGR, 3},
    {"RGB", VCF_OUTPUT_RGB, 3},     {"RGBx", VCF_OUTPUT_RGBA, 4}, {"RGBA", VCF_OUTPUT_RGBA, 4},
    {"GRAY8", VCF_OUTPUT_GREY8, 1},
};

Bytes RandomBytes(size_t count, uint32_t seed) {
    std::mt19937 generator(seed);
    Bytes bytes(count);
    for (uint8_t& byte : bytes) {
        byte = static_cast<uint8_t>(generator() >> 24);
    }
    return bytes;
}

std::string SizedCaps(const InputCase& input, int width, int height) {
    return std::string(input.caps) + ",width=" + std::to_string(width) + ",height=" + std::to_string(height) +
           ",framerate=25/1";
}

VcfLayout LayoutOf(PixelFormat code, int width, int height) {
    VcfLayout layout;
    VcfInitLayout(&layout, code, static_cast<uint32_t>(width), static_cast<uint32_t>(height));
    return layout;
}

Bytes Expected(const VcfLayout& layout, const Bytes& buffer, uint32_t output, const VcfSettings* settings) {
    char text[VCF_TEXT_BYTES] = "";
    VcfConverter* converter = nullptr;
    EXPECT_EQ(VcfCreateConverter(&converter, &layout, output, settings, text, sizeof text), VCF_OK) << text;
    if (converter == nullptr) {
        return {};
    }
    Bytes picture(VcfPictureRowBytes(converter) * layout.height);
    EXPECT_EQ(VcfConvert(converter, buffer.data(), buffer.size(), picture.data(), 0, text, sizeof text), VCF_OK)
        << text;
    VcfDestroyConverter(converter);
    return picture;
}

GstBuffer* BufferOf(const Bytes& bytes) {
    GstBuffer* const buffer = gst_buffer_new_allocate(nullptr, bytes.size(), nullptr);
    gst_buffer_fill(buffer, 0, bytes.data(), bytes.size());
    GST_BUFFER_PTS(buffer) = 0;
    return buffer;
}

Bytes Unpadded(GstBuffer* buffer, const GstCaps* caps) {
    GstVideoInfo info;
    EXPECT_TRUE(gst_video_info_from_caps(&info, caps));
    const GstVideoMeta* const meta = gst_buffer_get_video_meta(buffer);
    const auto stride = static_cast<size_t>(meta != nullptr ? meta->stride[0] : info.stride[0]);
    const size_t offset = meta != nullptr ? meta->offset[0] : 0;
    const auto height = static_cast<size_t>(info.height);
    const size_t rowBytes = static_cast<size_t>(info.width) * static_cast<size_t>(info.finfo->pixel_stride[0]);
    Bytes picture(rowBytes * height);
    for (size_t y = 0; y < height; ++y) {
        EXPECT_EQ(gst_buffer_extract(buffer, offset + y * stride, picture.data() + y * rowBytes, rowBytes), rowBytes);
    }
    return picture;
}

namespace {

void RegisterElements() {
    static const bool done = [] {
        gst_init(nullptr, nullptr);
        gst_element_register(nullptr, "vexaconvert", GST_RANK_NONE, VexaGst::ConvertType());
        gst_element_register(nullptr, "vexarwhdec", GST_RANK_NONE, VexaGst::RwhDecoderType());
        gst_element_register(nullptr, "vexarwhenc", GST_RANK_NONE, VexaGst::RwhEncoderType());
        return true;
    }();
    static_cast<void>(done);
}

/// The only element of a launch line, or the first that was put in.
GstElement* FirstOf(GstBin* bin) {
    const GList* const last = g_list_last(GST_BIN_CHILDREN(bin));
    return GST_ELEMENT(last->data);
}

}  // namespace

Harness::Harness(const char* launchLine) {
    RegisterElements();
    m_harness = gst_harness_new_parse(launchLine);
    m_element = FirstOf(GST_BIN(m_harness->element));
    m_bus = gst_bus_new();
    gst_element_set_bus(m_harness->element, m_bus);
}

Harness::~Harness() {
    gst_element_set_bus(m_harness->element, nullptr);
    gst_object_unref(m_bus);
    gst_harness_teardown(m_harness);
}

void Harness::SetCaps(const std::string& in, const std::string& out) {
    gst_harness_set_sink_caps_str(m_harness, out.c_str());
    gst_harness_set_src_caps_str(m_harness, in.c_str());
}

void Harness::SetInput(const std::string& in) {
    gst_harness_set_src_caps_str(m_harness, in.c_str());
}

Bytes Harness::Convert(GstBuffer* buffer) {
    if (Push(buffer) != GST_FLOW_OK) {
        return {};
    }
    GstBuffer* const picture = gst_harness_pull(m_harness);
    GstCaps* const caps = gst_pad_get_current_caps(m_harness->sinkpad);
    Bytes bytes = Unpadded(picture, caps);
    gst_caps_unref(caps);
    gst_buffer_unref(picture);
    return bytes;
}

std::string Harness::Error() {
    std::string text;
    while (GstMessage* const message = gst_bus_pop_filtered(m_bus, GST_MESSAGE_ERROR)) {
        GError* error = nullptr;
        gst_message_parse_error(message, &error, nullptr);
        text = text.empty() ? error->message : text;
        g_error_free(error);
        gst_message_unref(message);
    }
    return text;
}

void Set(GstElement* element, const char* property, const char* value) {
    gst_util_set_object_arg(G_OBJECT(element), property, value);
}

}  // namespace GstTest
