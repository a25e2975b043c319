// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Formats and names, lengths, and every mistake that a layout or an argument can hold.
#include <gmock/gmock.h>

#include <array>
#include <cstring>
#include <set>
#include <utility>

#include "FramesTest.h"

namespace {

using Reference::Random;
using testing::HasSubstr;

/// The text of a refusal.
struct Refusal {
    VcfStatus status = VCF_OK;
    std::string text;
};

Refusal CheckLayout(const VcfLayout& layout) {
    char text[VCF_TEXT_BYTES] = "left over";
    const VcfStatus status = VcfCheckLayout(&layout, text, sizeof text);
    return {status, text};
}

void ExpectRefused(const VcfLayout& layout, VcfStatus status, const char* part) {
    const Refusal refusal = CheckLayout(layout);
    EXPECT_EQ(refusal.status, status) << FramesModel::Describe(layout);
    EXPECT_THAT(refusal.text, HasSubstr(part));
    EXPECT_EQ(VcfBytesNeeded(&layout), 0u);
    EXPECT_EQ(VcfFrameBytes(&layout), 0u);
    EXPECT_EQ(VcfRowBytes(&layout), 0u);
}

TEST(Formats, EveryNameAliasAndCodeIsFoundAndNoneIsAmbiguous) {
    std::set<std::string> spellings;
    for (uint32_t i = 0; i < VcfFormatCount(); ++i) {
        const VcfFormat* format = VcfFormatAt(i);
        ASSERT_NE(format, nullptr);
        EXPECT_EQ(VcfFindFormat(format->format), format);
        EXPECT_EQ(VcfFormatNamed(format->name), format->format);
        char code[16];
        static_cast<void>(std::snprintf(code, sizeof code, "0x%08X", format->format));
        EXPECT_EQ(VcfFormatNamed(code), format->format);
        std::string word;
        for (const char c : std::string(format->aliases) + " ") {
            if (c != ' ') {
                word += c;
                continue;
            }
            if (!word.empty()) {
                EXPECT_EQ(VcfFormatNamed(word.c_str()), format->format) << word;
                EXPECT_TRUE(spellings.insert(word).second) << word << " stands for two formats";
            }
            word.clear();
        }
        EXPECT_EQ(format->bits_per_pixel, BitPerPixel(format->format));
        if (DataDepth(format->format) != 0) {
            EXPECT_EQ(format->depth, DataDepth(format->format));
            EXPECT_EQ(format->kind == VCF_KIND_BAYER, IsPixelBayer(format->format) == 1);
            EXPECT_EQ(format->kind == VCF_KIND_MONO, IsMonochromic(format->format) == 1);
        }
        EXPECT_EQ(format->phase != VCF_PHASE_NONE, format->kind == VCF_KIND_BAYER);
        const VcfFormat* unpacked = VcfFindFormat(format->unpacked);
        ASSERT_NE(unpacked, nullptr);
        EXPECT_EQ(unpacked->packing, VCF_PACKING_NONE);
        EXPECT_EQ(unpacked->depth, format->depth);
        EXPECT_EQ(unpacked->phase, format->phase);
    }
    EXPECT_EQ(VcfFormatAt(VcfFormatCount()), nullptr);
    EXPECT_EQ(VcfFormatAt(UINT32_MAX), nullptr);
}

TEST(Formats, CaseAndSignsDoNotMatter) {
    EXPECT_EQ(VcfFormatNamed("bayer_rg12-P"), PIXEL_FORMAT_BAYER_RG12P);
    EXPECT_EQ(VcfFormatNamed("BAYER.RG.12.PACKED"), PIXEL_FORMAT_BAYER_RG12_PACKED);
    EXPECT_EQ(VcfFormatNamed("{Bayer~RG8}"), PIXEL_FORMAT_BAYER_RG8);
    EXPECT_EQ(VcfFormatNamed("0x1080009"), PIXEL_FORMAT_BAYER_RG8);
    EXPECT_EQ(VcfFormatNamed("0X010c0047"), PIXEL_FORMAT_MONO12P);
    EXPECT_EQ(VcfFormatNamed("0x010C0047"), PIXEL_FORMAT_MONO12P);
    EXPECT_EQ(VcfFormatNamed("0x0110002f"), PIXEL_FORMAT_BAYER_RG16);
    for (const char* wrong : {"", "BayerRG", "BayerRG13", "0x", "0x01080099", "0x101080009", "0x0110002g", "p",
                              "0x0110002G", "0x0110002:", "0x0110002/", "0x0110002@", "0x0110002`", "01080009"}) {
        EXPECT_EQ(VcfFormatNamed(wrong), 0u) << wrong;
    }
    EXPECT_EQ(VcfFormatNamed(nullptr), 0u);
    EXPECT_EQ(VcfFindFormat(0), nullptr);
}

TEST(Formats, AMisspeltNameGetsTheNearestOnes) {
    static constexpr std::pair<const char*, const char*> kExamples[] = {
        {"rg8", "BayerRG8 or RGB8"},
        {"RG-12", "BayerRG12, BayerRG12p or BayerRG12Packed"},
        {"bayer", "BayerGR8, BayerRG8 or BayerGB8"},
        {"BayreRG8", "BayerRG8, BayerGR8 or BayerGB8"},
        {"uyvy42", "YUV422_8_UYVY, YUV411_8_UYYVYY or YUV422_8"},
    };
    char text[VCF_TEXT_BYTES];
    for (const auto& [wrong, nearest] : kExamples) {
        ASSERT_EQ(VcfNearestNames(wrong, text, sizeof text), VCF_OK);
        EXPECT_STREQ(text, nearest) << wrong;
    }
    // "12" is part of many names, but too short to count: one letter turns it into the alias "y12".
    ASSERT_EQ(VcfNearestNames("12", text, sizeof text), VCF_OK);
    EXPECT_STREQ(text, "Mono12");
    ASSERT_EQ(VcfNearestNames("mno10", text, sizeof text), VCF_OK);
    EXPECT_THAT(text, testing::StartsWith("Mono10"));
    const std::string long1000(1000, 'x');
    for (const char* unrelated : {"", "x", "?", "jpeg", "xyz", "whatever", "RAW", long1000.c_str()}) {
        ASSERT_EQ(VcfNearestNames(unrelated, text, sizeof text), VCF_OK);
        EXPECT_STREQ(text, "") << unrelated;
    }
    EXPECT_EQ(VcfNearestNames(nullptr, text, sizeof text), VCF_INVALID_ARGUMENT);
    EXPECT_EQ(VcfNearestNames("x", nullptr, 9), VCF_INVALID_ARGUMENT);
    EXPECT_EQ(VcfNearestNames("x", text, 0), VCF_INVALID_ARGUMENT);
}

TEST(Layouts, NeedExactlyTheBytesUpToTheLastPixel) {
    Random random(11);
    for (uint32_t i = 0; i < VcfFormatCount(); ++i) {
        const VcfFormat& format = *VcfFormatAt(i);
        for (uint32_t round = 0; round < 40; ++round) {
            const uint32_t group = format.kind == VCF_KIND_YUV ? format.group_pixels : 1;
            VcfLayout layout = LayoutOf(format.format, (1 + random.Below(20)) * group, 1 + random.Below(5));
            layout.offset = random.Below(9);
            layout.skip = random.Below(7) * group;
            if (random.Below(2) == 0) {
                layout.stride = (layout.skip + layout.width) * format.bits_per_pixel / 8 + 5 + random.Below(9);
            } else {
                layout.row_width = layout.width + random.Below(5) * group;
                MakeRoomForSkip(layout);
            }
            const FramesModel::Frame frame = FramesModel::MakeFrame(layout, random);
            const uint64_t length = FramesModel::Length(frame);
            EXPECT_EQ(VcfBytesNeeded(&layout), length) << FramesModel::Describe(layout);
            EXPECT_EQ(VcfCheckBuffer(&layout, length, nullptr, 0), VCF_OK);
            char text[VCF_TEXT_BYTES];
            EXPECT_EQ(VcfCheckBuffer(&layout, length - 1, text, sizeof text), VCF_TOO_SHORT);
            EXPECT_THAT(text, HasSubstr(": 1 too few"));
            EXPECT_THAT(text, HasSubstr(format.name));
        }
    }
}

TEST(Layouts, SizesInWords) {
    VcfLayout layout = LayoutOf(PIXEL_FORMAT_BAYER_RG12P, 1920, 1080);
    EXPECT_EQ(VcfRowBytes(&layout), 2880u);
    EXPECT_EQ(VcfFrameBytes(&layout), 3110400u);
    EXPECT_EQ(VcfBytesNeeded(&layout), 3110400u);
    layout.stride = 2944;
    layout.offset = 16;
    EXPECT_EQ(VcfFrameBytes(&layout), 2944u * 1080);
    EXPECT_EQ(VcfBytesNeeded(&layout), 16u + 2944u * 1079 + 2880);
    layout = LayoutOf(PIXEL_FORMAT_MONO10P, 3, 3);  // 90 bits without a gap
    EXPECT_EQ(VcfFrameBytes(&layout), 12u);
    layout = LayoutOf(PIXEL_FORMAT_MONO10_CSI2, 3, 3);  // a whole group per row
    EXPECT_EQ(VcfFrameBytes(&layout), 15u);
    layout = LayoutOf(PIXEL_FORMAT_YUV8_UYV, 5, 2);
    EXPECT_EQ(VcfFrameBytes(&layout), 30u);
}

TEST(Layouts, MistakesAreNamed) {
    ExpectRefused(LayoutOf(0x12345678, 4, 4), VCF_UNKNOWN_FORMAT, "0x12345678");
    ExpectRefused(LayoutOf(PIXEL_FORMAT_MONO8, 0, 4), VCF_BAD_LAYOUT, "no pixels");
    ExpectRefused(LayoutOf(PIXEL_FORMAT_MONO8, 4, 0), VCF_BAD_LAYOUT, "no pixels");
    ExpectRefused(LayoutOf(PIXEL_FORMAT_MONO8, 65536, 16385), VCF_BAD_LAYOUT, "2^30");
    ExpectRefused(LayoutOf(PIXEL_FORMAT_YUV411_8_UYYVYY, 2, 1), VCF_BAD_LAYOUT, "groups of 4");
    VcfLayout layout = LayoutOf(PIXEL_FORMAT_MONO12P, 10, 2);
    layout.stride = 14;
    ExpectRefused(layout, VCF_BAD_LAYOUT, "shorter than a row of 15");
    layout.stride = (uint64_t{1} << 30) + 1;
    ExpectRefused(layout, VCF_BAD_LAYOUT, "longer than 2^30");
    layout.stride = 20;
    layout.row_width = 10;
    ExpectRefused(layout, VCF_BAD_LAYOUT, "not both");
    layout = LayoutOf(PIXEL_FORMAT_MONO8, 10, 2);
    layout.row_width = 9;
    ExpectRefused(layout, VCF_BAD_LAYOUT, "row_width");
    layout = LayoutOf(PIXEL_FORMAT_MONO8, 10, 2);
    layout.shift = 1;
    ExpectRefused(layout, VCF_BAD_LAYOUT, "16-bit words");
    layout = LayoutOf(PIXEL_FORMAT_MONO12, 10, 2);
    layout.shift = 5;
    ExpectRefused(layout, VCF_BAD_LAYOUT, "out of 16-bit words");
    layout = LayoutOf(PIXEL_FORMAT_MONO8, 10, 2);
    layout.range = VCF_RANGE_LIMITED;
    ExpectRefused(layout, VCF_BAD_LAYOUT, "not YUV");
    layout.range = 2;
    ExpectRefused(layout, VCF_INVALID_ARGUMENT, "range");
    layout = LayoutOf(PIXEL_FORMAT_MONO8, 10, 2);
    layout.offset = UINT64_MAX;
    ExpectRefused(layout, VCF_BAD_LAYOUT, "2^48");
    layout = LayoutOf(PIXEL_FORMAT_MONO8, 10, 2);
    layout.skip = UINT64_MAX;
    ExpectRefused(layout, VCF_BAD_LAYOUT, "2^48");
    // Modulo 2^64 this frame would need 20,858 bytes, of which its second row lies 17 GB away.
    layout = LayoutOf(PIXEL_FORMAT_RGB10, 1, 1073721759);
    layout.row_width = 2863365041;
    ExpectRefused(layout, VCF_BAD_LAYOUT, "2^48");
    layout = LayoutOf(PIXEL_FORMAT_MONO8, 1, 65536);
    layout.row_width = UINT32_MAX;
    layout.skip = 65536;
    EXPECT_EQ(CheckLayout(layout).status, VCF_OK);
    EXPECT_EQ(VcfFrameBytes(&layout), uint64_t{UINT32_MAX} * 65536);
    ++layout.skip;
    ExpectRefused(layout, VCF_BAD_LAYOUT, "2^48");
    layout = LayoutOf(PIXEL_FORMAT_YUV422_8, 4, 2);
    layout.skip = 1;
    ExpectRefused(layout, VCF_BAD_LAYOUT, "groups of 2");
    layout.skip = 0;
    layout.row_width = 5;
    ExpectRefused(layout, VCF_BAD_LAYOUT, "groups of 2");
    EXPECT_EQ(VcfCheckBuffer(nullptr, 100, nullptr, 0), VCF_INVALID_ARGUMENT);
    layout = LayoutOf(PIXEL_FORMAT_MONO8, 10, 2);
    layout.reserved[2] = 1;
    ExpectRefused(layout, VCF_INVALID_ARGUMENT, "VcfInitLayout");
    EXPECT_EQ(VcfCheckLayout(nullptr, nullptr, 0), VCF_INVALID_ARGUMENT);
    EXPECT_EQ(VcfBytesNeeded(nullptr), 0u);
    VcfInitLayout(nullptr, 0, 0, 0);
    EXPECT_EQ(CheckLayout(LayoutOf(PIXEL_FORMAT_MONO8, 32768, 32768)).status, VCF_OK);
    EXPECT_EQ(CheckLayout(LayoutOf(PIXEL_FORMAT_MONO8, 1, 1)).text, "");
}

TEST(Layouts, TextsAreCutToTheirRoom) {
    const VcfLayout layout = LayoutOf(PIXEL_FORMAT_MONO8, 0, 4);
    const VcfLayout good = LayoutOf(PIXEL_FORMAT_MONO8, 4, 4);
    char text[8];
    std::memset(text, 'x', sizeof text);
    EXPECT_EQ(VcfCheckLayout(&layout, text, 0), VCF_BAD_LAYOUT);
    EXPECT_EQ(VcfCheckLayout(&good, text, 0), VCF_OK);
    EXPECT_EQ(text[0], 'x');
    EXPECT_EQ(VcfCheckLayout(&layout, text, 4), VCF_BAD_LAYOUT);
    EXPECT_EQ(text[3], '\0');
    EXPECT_EQ(text[4], 'x');
}

/// A call that has to be refused, with a destination that must stay as it was.
class Refusals : public testing::Test {
  protected:
    Refusals() { std::memset(m_dst, 0x77, sizeof m_dst); }
    ~Refusals() override { EXPECT_TRUE(Reference::IsFilled(m_dst, sizeof m_dst, 0x77)); }

    VcfStatus Create(const VcfLayout& layout, uint32_t output, const VcfSettings& settings, const char* part) {
        VcfConverter* made = nullptr;
        const VcfStatus status = VcfCreateConverter(&made, &layout, output, &settings, m_text, sizeof m_text);
        m_converter.reset(made);
        EXPECT_EQ(made == nullptr, status != VCF_OK);
        EXPECT_THAT(m_text, HasSubstr(part));
        return status;
    }

    char m_text[VCF_TEXT_BYTES] = "";
    uint8_t m_dst[4096];
    uint8_t m_src[4096] = {};
    Converter m_converter;
};

TEST_F(Refusals, Settings) {
    const VcfLayout layout = LayoutOf(PIXEL_FORMAT_BAYER_RG12, 8, 8);
    VcfSettings settings = DefaultSettings();
    EXPECT_EQ(Create(layout, 6, settings, "output 6"), VCF_INVALID_ARGUMENT);
    settings.demosaic = 3;
    EXPECT_EQ(Create(layout, 0, settings, "demosaic mode 3"), VCF_INVALID_ARGUMENT);
    settings.demosaic = VCF_DEMOSAIC_ADAPTIVE;
    EXPECT_EQ(Create(layout, 0, settings, "needs levels"), VCF_UNSUPPORTED);
    settings.levels = 1;
    EXPECT_EQ(Create(layout, 0, settings, ""), VCF_OK);
    for (const auto& size : {std::array{7u, 8u}, {8u, 7u}, {2u, 8u}, {8u, 2u}}) {
        EXPECT_EQ(Create(LayoutOf(PIXEL_FORMAT_BAYER_RG8, size[0], size[1]), 0, settings, "even sizes"),
                  VCF_UNSUPPORTED);
    }
    settings.black_level = 4094;
    EXPECT_EQ(Create(layout, 0, settings, ""), VCF_OK);
    settings.black_level = 4095;
    EXPECT_EQ(Create(layout, 0, settings, "black level of 4095"), VCF_INVALID_ARGUMENT);
    EXPECT_EQ(Create(LayoutOf(PIXEL_FORMAT_MONO16, 8, 8), 0, settings, ""), VCF_OK);
    settings.black_level = 65533;
    EXPECT_EQ(Create(LayoutOf(PIXEL_FORMAT_MONO16, 8, 8), 0, settings, "black level"), VCF_INVALID_ARGUMENT);
    settings.black_level = UINT32_MAX;
    EXPECT_EQ(Create(layout, 0, settings, "black level"), VCF_INVALID_ARGUMENT);
    settings.black_level = 0;
    settings.gain[1] = 16 * VCF_ONE + 1;
    EXPECT_EQ(Create(layout, 0, settings, "gain"), VCF_INVALID_ARGUMENT);
    settings.gain[1] = 16 * VCF_ONE;
    settings.exposure = 16 * VCF_ONE + 1;
    EXPECT_EQ(Create(layout, 0, settings, "exposure"), VCF_INVALID_ARGUMENT);
    settings.exposure = VCF_ONE;
    settings.tone = 3;
    EXPECT_EQ(Create(layout, 0, settings, "tone 3"), VCF_INVALID_ARGUMENT);
    settings.tone = VCF_TONE_GAMMA;
    for (const uint32_t gamma : {9u, 1001u, 0u}) {
        settings.gamma = gamma;
        EXPECT_EQ(Create(layout, 0, settings, "gamma"), VCF_INVALID_ARGUMENT);
    }
    settings.gamma = 220;
    EXPECT_EQ(Create(LayoutOf(PIXEL_FORMAT_YUV422_8, 8, 8), 0, settings, "raw samples"), VCF_UNSUPPORTED);
    settings.use_matrix = 1;
    settings.matrix[5] = 8 * VCF_MATRIX_ONE;
    EXPECT_EQ(Create(layout, 0, settings, "matrix"), VCF_INVALID_ARGUMENT);
    settings.matrix[5] = -8 * VCF_MATRIX_ONE - 1;
    EXPECT_EQ(Create(layout, 0, settings, "matrix"), VCF_INVALID_ARGUMENT);
    settings = DefaultSettings();
    settings.reserved[4] = 1;
    EXPECT_EQ(Create(layout, 0, settings, "VcfInitSettings"), VCF_INVALID_ARGUMENT);
    EXPECT_EQ(Create(LayoutOf(1, 8, 8), 0, settings, "0x00000001"), VCF_UNKNOWN_FORMAT);
    EXPECT_EQ(VcfCreateConverter(nullptr, &layout, 0, nullptr, nullptr, 0), VCF_INVALID_ARGUMENT);
    VcfConverter* made = nullptr;
    EXPECT_EQ(VcfCreateConverter(&made, nullptr, 0, nullptr, nullptr, 0), VCF_INVALID_ARGUMENT);
    VcfInitSettings(nullptr);
    VcfDestroyConverter(nullptr);
    EXPECT_EQ(VcfPictureRowBytes(nullptr), 0u);
}

TEST_F(Refusals, Calls) {
    const VcfLayout layout = LayoutOf(PIXEL_FORMAT_BAYER_RG12P, 8, 8);
    ASSERT_EQ(Create(layout, VCF_OUTPUT_BGR, DefaultSettings(), ""), VCF_OK);
    VcfConverter* c = m_converter.get();
    const size_t length = VcfBytesNeeded(&layout);
    EXPECT_EQ(VcfConvert(c, m_src, length - 1, m_dst, 0, m_text, sizeof m_text), VCF_TOO_SHORT);
    EXPECT_THAT(m_text, HasSubstr("1 too few"));
    EXPECT_EQ(VcfConvert(c, m_src, 0, m_dst, 0, m_text, sizeof m_text), VCF_TOO_SHORT);
    EXPECT_EQ(VcfConvert(c, m_src, length, m_dst, 23, m_text, sizeof m_text), VCF_BAD_STRIDE);
    EXPECT_EQ(VcfConvert(c, nullptr, length, m_dst, 0, m_text, sizeof m_text), VCF_INVALID_ARGUMENT);
    EXPECT_EQ(VcfConvert(c, m_src, length, nullptr, 0, m_text, sizeof m_text), VCF_INVALID_ARGUMENT);
    EXPECT_EQ(VcfConvert(nullptr, m_src, length, m_dst, 0, m_text, sizeof m_text), VCF_INVALID_ARGUMENT);
    EXPECT_EQ(VcfConvertRows(c, m_src, length, m_dst, 0, 9, 0, m_text, sizeof m_text), VCF_BAD_REGION);
    EXPECT_EQ(VcfConvertRows(c, m_src, length, m_dst, 0, 7, 2, m_text, sizeof m_text), VCF_BAD_REGION);
    EXPECT_EQ(VcfConvertRows(c, m_src, length, m_dst, 0, 1, UINT32_MAX, m_text, sizeof m_text), VCF_BAD_REGION);
    EXPECT_EQ(VcfConvertRows(c, m_src, length, m_dst, 0, 8, 0, m_text, sizeof m_text), VCF_OK);
    VcfSettings settings = DefaultSettings();
    settings.demosaic = VCF_DEMOSAIC_ADAPTIVE;
    EXPECT_EQ(VcfChangeSettings(c, &settings, nullptr, 0), VCF_UNSUPPORTED);
    EXPECT_EQ(VcfChangeSettings(c, nullptr, nullptr, 0), VCF_INVALID_ARGUMENT);
    EXPECT_EQ(VcfChangeSettings(nullptr, &settings, nullptr, 0), VCF_INVALID_ARGUMENT);
    EXPECT_EQ(VcfUnpack(&layout, m_src, length - 1, m_dst, 0, 2, nullptr, 0), VCF_TOO_SHORT);
    EXPECT_EQ(VcfUnpack(&layout, m_src, length, m_dst, 15, 2, nullptr, 0), VCF_BAD_STRIDE);
    EXPECT_EQ(VcfUnpack(&layout, m_src, length, m_dst, 0, 3, nullptr, 0), VCF_INVALID_ARGUMENT);
    EXPECT_EQ(VcfUnpack(&layout, nullptr, length, m_dst, 0, 2, nullptr, 0), VCF_INVALID_ARGUMENT);
    EXPECT_EQ(VcfPack(&layout, m_src, 0, m_dst, length - 1, nullptr, 0), VCF_TOO_SHORT);
    EXPECT_EQ(VcfPack(&layout, m_src, 15, m_dst, length, nullptr, 0), VCF_BAD_STRIDE);
    EXPECT_EQ(VcfPack(&layout, nullptr, 0, m_dst, length, nullptr, 0), VCF_INVALID_ARGUMENT);
    for (const size_t stride : {SIZE_MAX, SIZE_MAX / 8 + 1, size_t{PTRDIFF_MAX} / 8 + 1}) {  // offsets would wrap
        EXPECT_EQ(VcfConvert(c, m_src, length, m_dst, stride, m_text, sizeof m_text), VCF_BAD_STRIDE);
        EXPECT_THAT(m_text, HasSubstr("address space"));
        EXPECT_EQ(VcfUnpack(&layout, m_src, length, m_dst, stride, 2, nullptr, 0), VCF_BAD_STRIDE);
        EXPECT_EQ(VcfPack(&layout, m_src, stride, m_dst, length, nullptr, 0), VCF_BAD_STRIDE);
    }
    const VcfLayout yuv = LayoutOf(PIXEL_FORMAT_YUV422_8, 8, 8);
    EXPECT_EQ(VcfUnpack(&yuv, m_src, sizeof m_src, m_dst, 0, 2, nullptr, 0), VCF_UNSUPPORTED);
    EXPECT_EQ(VcfPack(&yuv, m_src, 0, m_dst, sizeof m_dst, nullptr, 0), VCF_UNSUPPORTED);
    EXPECT_EQ(VcfUnpack(nullptr, m_src, sizeof m_src, m_dst, 0, 2, nullptr, 0), VCF_INVALID_ARGUMENT);
    EXPECT_EQ(VcfPack(nullptr, m_src, 0, m_dst, sizeof m_dst, nullptr, 0), VCF_INVALID_ARGUMENT);
    EXPECT_EQ(VcfUnpack(&layout, m_src, length, nullptr, 0, 2, nullptr, 0), VCF_INVALID_ARGUMENT);
    EXPECT_EQ(VcfPack(&layout, m_src, 0, nullptr, length, nullptr, 0), VCF_INVALID_ARGUMENT);
}

TEST(Statuses, HaveNames) {
    std::set<std::string> names;
    for (VcfStatus status = VCF_OK; status <= VCF_NO_ESTIMATE; ++status) {
        EXPECT_TRUE(names.insert(VcfStatusText(status)).second);
    }
    EXPECT_STREQ(VcfStatusText(VCF_TOO_SHORT), "buffer too short");
    EXPECT_STREQ(VcfStatusText(1000), "unknown status");
    EXPECT_EQ(VcfVersion(), 0x000100u);
}

/// A YUV frame whose rows begin inside groups is converted from its tight bytes; a copy of whole groups is not.
TEST(Yuv, RowsAreCopiedAsTheyAre) {
    Random random(13);
    VcfLayout layout = LayoutOf(PIXEL_FORMAT_YUV411_8_UYYVYY, 8, 3);
    layout.stride = 20;
    std::vector<uint8_t> buffer(60);
    for (uint8_t& byte : buffer) {
        byte = static_cast<uint8_t>(random.Below(256));
    }
    std::vector<uint8_t> rows(36);
    ASSERT_EQ(VcfUnpack(&layout, buffer.data(), buffer.size(), rows.data(), 0, 1, nullptr, 0), VCF_OK);
    for (size_t row = 0; row < 3; ++row) {
        EXPECT_EQ(std::memcmp(rows.data() + 12 * row, buffer.data() + 20 * row, 12), 0);
    }
    layout = LayoutOf(PIXEL_FORMAT_YUV411_8_UYYVYY, 6, 2);
    EXPECT_EQ(VcfUnpack(&layout, buffer.data(), buffer.size(), rows.data(), 0, 1, nullptr, 0), VCF_UNSUPPORTED);
}

}  // namespace
