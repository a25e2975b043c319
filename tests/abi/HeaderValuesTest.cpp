// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The numbers behind the header's names. Callers in other languages write them down, and files hold them: none may
// ever change.
#include <gtest/gtest.h>

#include <cstdio>
#include <iterator>
#include <string_view>
#include <type_traits>

#include <VexaCamUtl.h>

namespace {

struct Named {
    const char* name;
    uint32_t value;
    uint32_t expected;
};

#define VEXA_NAMED(name, expected) \
    { #name, name, expected }

constexpr Named kValues[] = {
    VEXA_NAMED(PIXEL_FORMAT_MONO8, 0x01080001),
    VEXA_NAMED(PIXEL_FORMAT_MONO10, 0x01100003),
    VEXA_NAMED(PIXEL_FORMAT_MONO12, 0x01100005),
    VEXA_NAMED(PIXEL_FORMAT_MONO16, 0x01100007),
    VEXA_NAMED(PIXEL_FORMAT_BAYER_GR8, 0x01080008),
    VEXA_NAMED(PIXEL_FORMAT_BAYER_RG8, 0x01080009),
    VEXA_NAMED(PIXEL_FORMAT_BAYER_GB8, 0x0108000A),
    VEXA_NAMED(PIXEL_FORMAT_BAYER_BG8, 0x0108000B),
    VEXA_NAMED(PIXEL_FORMAT_BAYER_GR10, 0x0110000C),
    VEXA_NAMED(PIXEL_FORMAT_BAYER_RG10, 0x0110000D),
    VEXA_NAMED(PIXEL_FORMAT_BAYER_GB10, 0x0110000E),
    VEXA_NAMED(PIXEL_FORMAT_BAYER_BG10, 0x0110000F),
    VEXA_NAMED(PIXEL_FORMAT_BAYER_GR12, 0x01100010),
    VEXA_NAMED(PIXEL_FORMAT_BAYER_RG12, 0x01100011),
    VEXA_NAMED(PIXEL_FORMAT_BAYER_GB12, 0x01100012),
    VEXA_NAMED(PIXEL_FORMAT_BAYER_BG12, 0x01100013),
    VEXA_NAMED(PIXEL_FORMAT_RGB8, 0x02180014),
    VEXA_NAMED(PIXEL_FORMAT_BGR8, 0x02180015),
    VEXA_NAMED(PIXEL_FORMAT_RGB10, 0x02300018),
    VEXA_NAMED(PIXEL_FORMAT_BGR10, 0x02300019),
    VEXA_NAMED(PIXEL_FORMAT_RGB12, 0x0230001A),
    VEXA_NAMED(PIXEL_FORMAT_BGR12, 0x0230001B),
    VEXA_NAMED(PIXEL_FORMAT_YUV411_8_UYYVYY, 0x020C001E),
    VEXA_NAMED(PIXEL_FORMAT_YUV422_8_UYVY, 0x0210001F),
    VEXA_NAMED(PIXEL_FORMAT_YUV8_UYV, 0x02180020),
    VEXA_NAMED(UTL_STS_SUCCESS, 0),
    VEXA_NAMED(UTL_STS_INVALID_PARAMETER, 13),
    VEXA_NAMED(UTL_STS_NOT_INITIALIZED, 21),
    VEXA_NAMED(UTL_STS_FILE_OPEN_ERROR, 0x2001),
    VEXA_NAMED(UTL_STS_FILE_IO_ERROR, 0x2002),
    VEXA_NAMED(UTL_STS_FILE_READ_ERROR, 0x2003),
    VEXA_NAMED(UTL_STS_UNSUPPORTED_FORMAT, 0xFFFFFFFF),
    VEXA_NAMED(BAYER_CONV_MODE_DEFAULT, 0),
    VEXA_NAMED(BAYER_CONV_MODE_ACPI, 1),
    VEXA_NAMED(CONV_DST_BGRA, 0),
    VEXA_NAMED(CONV_DST_BGR, 1),
};

TEST(Header, NamesKeepTheirNumbers) {
    for (const Named& named : kValues) {
        EXPECT_EQ(named.value, named.expected) << named.name;
    }
}

// A name of this kind without a line above would be a number that nothing holds.
TEST(Header, EveryNumberIsHeld) {
    FILE* header = std::fopen(HEADER, "r");
    ASSERT_NE(header, nullptr);
    size_t defined = 0;
    char line[512];
    while (std::fgets(line, sizeof line, header) != nullptr) {
        const std::string_view text = line;
        for (const char* kind :
             {"#define PIXEL_FORMAT_", "#define UTL_STS_", "#define BAYER_CONV_", "#define CONV_DST_"}) {
            defined += text.starts_with(kind) ? 1u : 0u;
        }
    }
    std::fclose(header);
    EXPECT_EQ(defined, std::size(kValues));
}

TEST(Header, TypesAreWhatOtherLanguagesTakeThemFor) {
    EXPECT_TRUE((std::is_same_v<PixelFormat, uint32_t>));
    EXPECT_TRUE((std::is_same_v<UtlStatus, uint32_t>));
    EXPECT_TRUE((std::is_same_v<BayerConvMode, uint32_t>));
    EXPECT_TRUE((std::is_same_v<ConvDstFormat, uint32_t>));
    EXPECT_TRUE((std::is_same_v<decltype(&ConvMono10ToBGR), ConverterFunc>));
    EXPECT_TRUE((std::is_same_v<decltype(&ConvMonoNToBGR), ConverterNFunc>));
}

}  // namespace
