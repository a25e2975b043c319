// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The dictionary, entry by entry, and the four queries over known and unknown codes.
#include <gtest/gtest.h>

#include <cstring>
#include <string_view>

#include "catalogue/VexaCamUtl.h"

namespace {

struct Expected {
    uint32_t format;
    uint32_t legacyCode;
    uint32_t depth;
    uint32_t kind;
    std::string_view name;
    uint32_t bits;
};

constexpr Expected kExpected[22] = {
    {0x01080001, 0, 8, 1, "Mono8", 8},           {0x01100003, 0, 10, 1, "Mono10", 16},
    {0x01100005, 0, 12, 1, "Mono12", 16},        {0x01100007, 0, 16, 1, "Mono16", 16},
    {0x01080008, 96, 8, 4, "BayerGR8", 8},       {0x01080009, 99, 8, 4, "BayerRG8", 8},
    {0x0108000A, 102, 8, 4, "BayerGB8", 8},      {0x0108000B, 105, 8, 4, "BayerBG8", 8},
    {0x0110000C, 96, 10, 4, "BayerGR10", 16},    {0x0110000D, 99, 10, 4, "BayerRG10", 16},
    {0x0110000E, 102, 10, 4, "BayerGB10", 16},   {0x0110000F, 105, 10, 4, "BayerBG10", 16},
    {0x01100010, 96, 12, 4, "BayerGR12", 16},    {0x01100011, 99, 12, 4, "BayerRG12", 16},
    {0x01100012, 102, 12, 4, "BayerGB12", 16},   {0x01100013, 105, 12, 4, "BayerBG12", 16},
    {0x02180014, 32, 8, 2, "RGB8", 24},          {0x02180015, 4, 8, 2, "BGR8", 24},
    {0x02300019, 4, 10, 2, "BGR10", 48},         {0x020C001E, 66, 8, 8, "YUV411_8_UYYVYY", 12},
    {0x0210001F, 74, 8, 8, "YUV422_8_UYVY", 16}, {0x02180020, 82, 8, 8, "YUV8_UYV", 24},
};

bool IsCatalogued(uint32_t format) {
    for (const Expected& expected : kExpected) {
        if (expected.format == format) {
            return true;
        }
    }
    return false;
}

TEST(Dictionary, HoldsTwentyTwoEntriesInOrder) {
    static_assert(std::size(Vexa::c_asPixelFormatDic) == 22);
    for (size_t i = 0; i < 22; ++i) {
        const Vexa::PixelFormatDicEntry& entry = Vexa::c_asPixelFormatDic[i];
        EXPECT_EQ(entry.uiPixelFormat, kExpected[i].format) << i;
        EXPECT_EQ(entry.uiLegacyCode, kExpected[i].legacyCode) << i;
        EXPECT_EQ(entry.uiDataDepth, kExpected[i].depth) << i;
        EXPECT_EQ(entry.uiKind, kExpected[i].kind) << i;
        EXPECT_EQ(std::string_view(entry.pszName), kExpected[i].name) << i;
    }
}

TEST(Queries, AnswerForEveryCataloguedFormat) {
    for (const Expected& expected : kExpected) {
        EXPECT_EQ(BitPerPixel(expected.format), expected.bits) << expected.name;
        EXPECT_EQ(DataDepth(expected.format), expected.depth) << expected.name;
        EXPECT_EQ(IsMonochromic(expected.format), expected.kind == 1 ? 1 : 0) << expected.name;
        EXPECT_EQ(IsPixelBayer(expected.format), expected.kind == 4 ? 1 : 0) << expected.name;
    }
}

TEST(Queries, AnswerForUnknownFormats) {
    struct Unknown {
        uint32_t format;
        uint32_t bits;
    };
    // RGB10, RGB12 and BGR12 have names in the header, but are not catalogued.
    for (const Unknown unknown : {Unknown{0, 0}, Unknown{0x02300018, 48}, Unknown{0x0230001A, 48},
                                  Unknown{0x0230001B, 48}, Unknown{0xFFFFFFFF, 255}, Unknown{0x00080001, 8}}) {
        EXPECT_EQ(BitPerPixel(unknown.format), unknown.bits) << std::hex << unknown.format;
        EXPECT_EQ(DataDepth(unknown.format), 0) << std::hex << unknown.format;
        EXPECT_EQ(IsMonochromic(unknown.format), 1) << std::hex << unknown.format;
        EXPECT_EQ(IsPixelBayer(unknown.format), 0) << std::hex << unknown.format;
    }
}

TEST(Queries, CompareTheWholeCode) {
    for (const Expected& expected : kExpected) {
        for (uint32_t bit = 0; bit < 32; ++bit) {
            const uint32_t format = expected.format ^ (1u << bit);
            if (!IsCatalogued(format)) {
                EXPECT_EQ(DataDepth(format), 0) << std::hex << format;
                EXPECT_EQ(IsMonochromic(format), 1) << std::hex << format;
                EXPECT_EQ(IsPixelBayer(format), 0) << std::hex << format;
            }
        }
    }
}

TEST(Queries, BitsPerPixelAreBits16To23OfAnyCode) {
    for (uint32_t bits = 0; bits < 256; ++bits) {
        EXPECT_EQ(BitPerPixel(bits << 16), bits);
        EXPECT_EQ(BitPerPixel(0xFF00FFFFu | bits << 16), bits);
    }
}

}  // namespace
