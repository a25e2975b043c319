// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Which converter serves which code, by name, for both layouts, with and without the Bayer flag, in every mode; and
// ConvImage, which only passes on.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "../WrongPrototypes.h"
#include "Reference.h"

namespace {

/// Names without "Conv" in front and without the layout behind.
struct Names {
    std::string grey;
    std::string colour;
    std::string acpi;
};

Names Always(const std::string& name) {
    return {name, name, name};
}

const std::map<PixelFormat, Names> kServed = {
    {0x01080001, Always("Mono8To")},
    {0x01100003, Always("Mono10To")},
    {0x01100005, Always("Mono12To")},
    {0x01100007, Always("Mono16To")},
    {0x01080008, {"Mono8To", "ByrGR8To", "ByrGR8To"}},
    {0x01080009, {"Mono8To", "ByrRG8To", "ByrRG8To"}},
    {0x0108000A, {"Mono8To", "ByrGB8To", "ByrGB8To"}},
    {0x0108000B, {"Mono8To", "ByrBG8To", "ByrBG8To"}},
    {0x0110000C, {"Mono10To", "ByrGR10To", ""}},
    {0x0110000D, {"Mono10To", "ByrRG10To", ""}},
    {0x0110000E, {"Mono10To", "ByrGB10To", ""}},
    {0x0110000F, {"Mono10To", "ByrBG10To", ""}},
    {0x01100010, {"Mono12To", "ByrGR12To", ""}},
    {0x01100011, {"Mono12To", "ByrRG12To", ""}},
    {0x01100012, {"Mono12To", "ByrGB12To", ""}},
    {0x01100013, {"Mono12To", "ByrBG12To", ""}},
    {0x02180014, Always("RGB8PTo")},
    {0x02180015, Always("BGR8PTo")},
    {0x02300019, Always("BGR10PTo")},
    {0x0230001B, Always("BGR12PTo")},
    {0x020C001E, Always("YUV411PTo")},
    {0x0210001F, Always("YUV422PTo")},
    {0x02180020, Always("YUV444PTo")},
};

/// The converter that has to be handed out, or null.
ConverterFunc Expected(PixelFormat format, bool bayer, BayerConvMode mode, const std::string& layout) {
    const auto found = kServed.find(format);
    if (found == kServed.end()) {
        return nullptr;
    }
    const Names& names = found->second;
    std::string name = "Conv" + (bayer ? names.colour : names.grey) + layout;
    const bool isBayer8 = format >= 0x01080008 && format <= 0x0108000B;
    if (bayer && mode == 1 && isBayer8) {
        name += "ACPI";
    }
    return Reference::Find(name).function;
}

class Selection : public testing::Test {
  protected:
    void TearDown() override { SetBayerConvMode(BAYER_CONV_MODE_DEFAULT); }
};

TEST_F(Selection, StartsInTheDefaultMode) {
    EXPECT_EQ(GetBGRAConverter(0x01080009, 1), &ConvByrRG8ToBGRA);
}

TEST_F(Selection, HandsOutTheConverterOfEveryCodeInEveryMode) {
    static constexpr uint32_t kUpperHalves[] = {0x0000, 0x0108, 0x0110, 0x0118, 0x020C, 0x0210,
                                                0x0218, 0x0230, 0x0208, 0xFFFF, 0x8108};
    for (const BayerConvMode mode : {0u, 1u, 2u, 0xFFFFFFFFu, 0x101u, 0x80000001u}) {
        ASSERT_EQ(SetBayerConvMode(mode), UTL_STS_SUCCESS);
        for (const uint32_t upper : kUpperHalves) {
            for (uint32_t lower = 0; lower < 0x10000; ++lower) {
                const PixelFormat format = upper << 16 | lower;
                if (lower > 0x40 && kServed.count(format) == 0) {
                    ASSERT_EQ(GetBGRAConverter(format, 1), nullptr) << std::hex << format;
                    ASSERT_EQ(GetBGRConverter(format, 0), nullptr) << std::hex << format;
                    continue;
                }
                for (const bool bayer : {false, true}) {
                    ASSERT_EQ(GetBGRAConverter(format, bayer), Expected(format, bayer, mode, "BGRA"))
                        << std::hex << format << " bayer " << bayer << " mode " << mode;
                    ASSERT_EQ(GetBGRConverter(format, bayer), Expected(format, bayer, mode, "BGR"))
                        << std::hex << format << " bayer " << bayer << " mode " << mode;
                }
            }
        }
    }
}

TEST_F(Selection, ExamplesByName) {
    SetBayerConvMode(BAYER_CONV_MODE_ACPI);
    EXPECT_EQ(GetBGRAConverter(0x01080009, 1), &ConvByrRG8ToBGRAACPI);
    EXPECT_EQ(GetBGRConverter(0x01080009, 1), &ConvByrRG8ToBGRACPI);
    EXPECT_EQ(GetBGRAConverter(0x0110000D, 1), &ConvByrRG10ToBGRA);
    EXPECT_EQ(GetBGRAConverter(0x0108000B, 0), &ConvMono8ToBGRA);
    SetBayerConvMode(2);
    EXPECT_EQ(GetBGRAConverter(0x01080009, 1), &ConvByrRG8ToBGRA);
    EXPECT_EQ(GetBGRConverter(0x01080009, 1), &ConvByrRG8ToBGR);
    EXPECT_EQ(GetBGRAConverter(PIXEL_FORMAT_RGB10, 0), nullptr);
    EXPECT_EQ(GetBGRAConverter(PIXEL_FORMAT_RGB12, 0), nullptr);
    EXPECT_EQ(GetBGRAConverter(PIXEL_FORMAT_BGR12, 0), &ConvBGR12PToBGRA);
}

TEST_F(Selection, AConverterHandedOutDoesNotChangeWithTheMode) {
    const ConverterFunc converter = GetBGRAConverter(PIXEL_FORMAT_BAYER_RG8, 1);
    SetBayerConvMode(BAYER_CONV_MODE_ACPI);
    EXPECT_EQ(converter, &ConvByrRG8ToBGRA);
}

TEST_F(Selection, OnlyTheLowByteOfTheBayerFlagCounts) {
    const auto mono = reinterpret_cast<void*>(&ConvMono8ToBGR);
    const auto colour = reinterpret_cast<void*>(&ConvByrBG8ToBGR);
    EXPECT_EQ(WideGetBGRConverter(0x0108000B, 0x100), mono);
    EXPECT_EQ(WideGetBGRConverter(0x0108000B, 0xFFFFFF00), mono);
    EXPECT_EQ(WideGetBGRConverter(0x0108000B, 0x101), colour);
    EXPECT_EQ(WideGetBGRConverter(0x0108000B, 0x80), colour);
    EXPECT_EQ(WideGetBGRConverter(0x0108000B, 2), colour);
    EXPECT_EQ(WideGetBGRAConverter(0x0108000B, 0x100), reinterpret_cast<void*>(&ConvMono8ToBGRA));
    EXPECT_EQ(WideGetBGRAConverter(0x0108000B, 0x200), reinterpret_cast<void*>(&ConvMono8ToBGRA));
    EXPECT_EQ(WideGetBGRAConverter(0x0108000B, 0xFF), reinterpret_cast<void*>(&ConvByrBG8ToBGRA));
}

class ConvImageTest : public Selection {
  protected:
    void SetUp() override { PrepareLUT(); }

    std::vector<uint8_t> Run(ConvDstFormat kind, PixelFormat format, uint32_t bayer, UtlStatus expected,
                             uint32_t width = 4, uint32_t height = 4) {
        std::vector<uint8_t> dst(4 * 4 * 4 + 8, 0x55);
        EXPECT_EQ(WideConvImage(kind, format, bayer, dst.data(), m_source.data(), width, height), expected);
        return dst;
    }

    /// What a converter makes of the same frame.
    std::vector<uint8_t> By(ConverterFunc converter) {
        std::vector<uint8_t> dst(4 * 4 * 4 + 8, 0x55);
        converter(dst.data(), m_source.data(), 4, 4);
        return dst;
    }

    std::vector<uint8_t> m_source = {10, 20, 30, 40, 50, 60, 70, 80, 90, 100, 110, 120, 130, 140, 150, 161,
                                     1,  2,  3,  4,  5,  6,  7,  8,  9,  10,  11,  12,  13,  14,  15,  16,
                                     17, 18, 19, 20, 21, 22, 23, 24, 25, 26,  27,  28,  29,  30,  31,  32};
    const std::vector<uint8_t> m_untouched = std::vector<uint8_t>(4 * 4 * 4 + 8, 0x55);
};

TEST_F(ConvImageTest, WritesBgrForOneAndBgraForAnythingElse) {
    EXPECT_EQ(Run(1, 0x01080001, 0, UTL_STS_SUCCESS), By(ConvMono8ToBGR));
    for (const ConvDstFormat kind : {0u, 7u, 2u, 0x101u, 0xFFFFFFFFu}) {
        EXPECT_EQ(Run(kind, 0x01080001, 0, UTL_STS_SUCCESS), By(ConvMono8ToBGRA)) << kind;
    }
}

TEST_F(ConvImageTest, PassesFlagAndModeOn) {
    EXPECT_EQ(Run(0, 0x01080009, 0x100, UTL_STS_SUCCESS), By(ConvMono8ToBGRA));
    EXPECT_EQ(Run(0, 0x01080009, 0x101, UTL_STS_SUCCESS), By(ConvByrRG8ToBGRA));
    SetBayerConvMode(BAYER_CONV_MODE_ACPI);
    EXPECT_EQ(Run(0, 0x01080009, 2, UTL_STS_SUCCESS), By(ConvByrRG8ToBGRAACPI));
    EXPECT_EQ(Run(1, 0x01080009, 1, UTL_STS_SUCCESS), By(ConvByrRG8ToBGRACPI));
}

TEST_F(ConvImageTest, RefusesFormatsWithoutAConverter) {
    for (const PixelFormat format : {0x02300018u, 0x0230001Au, 0u, 0x00080001u, 0xFFFFFFFFu}) {
        EXPECT_EQ(Run(0, format, 1, UTL_STS_INVALID_PARAMETER), m_untouched) << std::hex << format;
        EXPECT_EQ(Run(1, format, 0, UTL_STS_INVALID_PARAMETER), m_untouched) << std::hex << format;
        EXPECT_EQ(ConvImage(0, format, 0, nullptr, nullptr, 1, 1), UTL_STS_INVALID_PARAMETER);
    }
}

TEST_F(ConvImageTest, TakesEmptyPicturesAndRefusesNullPointers) {
    EXPECT_EQ(Run(0, 0x01080001, 0, UTL_STS_SUCCESS, 0, 4), m_untouched);
    EXPECT_EQ(Run(0, 0x01080001, 0, UTL_STS_SUCCESS, 4, 0), m_untouched);
    uint8_t byte = 0;
    EXPECT_EQ(ConvImage(0, 0x01080001, 0, &byte, nullptr, 0, 0), UTL_STS_INVALID_PARAMETER);
    EXPECT_EQ(ConvImage(1, 0x01080009, 1, nullptr, &byte, 0, 0), UTL_STS_INVALID_PARAMETER);
}

}  // namespace
