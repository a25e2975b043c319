// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// What a fresh process finds, in one test of its own program, since there is no way back: all tables zero, the
// converters that read them refusing, everything else working; then PrepareLUT, and the refusals end.
#include <gtest/gtest.h>

#include <algorithm>
#include <span>
#include <vector>

#include "Reference.h"
#include "catalogue/VexaCamUtl.h"

namespace {

template <class Entry, size_t count>
bool IsZero(const Entry (&table)[count]) {
    return std::all_of(std::begin(table), std::end(table), [](Entry entry) { return entry == 0; });
}

void ExpectZeroTables() {
    EXPECT_FALSE(Vexa::s_bLUTReady);
    EXPECT_TRUE(IsZero(Vexa::auiMono2BGRA));
    EXPECT_TRUE(IsZero(Vexa::auiYUVC_UV));
    EXPECT_TRUE(IsZero(Vexa::auiYUV2G));
    EXPECT_TRUE(IsZero(Vexa::aucYUV2G));
    EXPECT_TRUE(IsZero(Vexa::aucYU2B));
    EXPECT_TRUE(IsZero(Vexa::auiYV2R));
    EXPECT_TRUE(IsZero(Vexa::aucYV2R));
}

/// Converters that read no tables give the same pictures as ever, in short runs and in long ones.
void ExpectPictures() {
    const std::vector<uint8_t> source(40 * 8 * 6, 0x31);
    for (const Reference::Converter& converter : Reference::Converters()) {
        if (converter.readsLut) {
            continue;
        }
        for (const uint32_t width : {2u, 6u, 40u}) {
            std::vector<uint8_t> picture(converter.DestinationBytes(width, 6), 0x55);
            std::vector<uint8_t> expected = picture;
            Reference::Convert(converter, expected.data(), source.data(), width, 6);
            EXPECT_EQ(converter.Call(picture.data(), source.data(), width, 6), UTL_STS_SUCCESS) << converter.name;
            EXPECT_EQ(picture, expected) << converter.name << " of width " << width;
        }
    }
}

void ExpectStatuses(bool prepared) {
    const std::vector<uint8_t> source(8 * 8 * 6, 0x31);
    for (const Reference::Converter& converter : Reference::Converters()) {
        const bool refuses = converter.readsLut && !prepared;
        const UtlStatus expected = refuses ? UTL_STS_NOT_INITIALIZED : UTL_STS_SUCCESS;
        std::vector<uint8_t> dst(8 * 8 * 4, 0x55);
        EXPECT_EQ(converter.Call(dst.data(), source.data(), 8, 8), expected) << converter.name;
        const bool untouched = std::all_of(dst.begin(), dst.end(), [](uint8_t byte) { return byte == 0x55; });
        EXPECT_EQ(untouched, refuses) << converter.name;
        // The pointers are tested before the tables, the tables before the size.
        EXPECT_EQ(converter.Call(nullptr, source.data(), 8, 8), UTL_STS_INVALID_PARAMETER) << converter.name;
        EXPECT_EQ(converter.Call(dst.data(), nullptr, 8, 8), UTL_STS_INVALID_PARAMETER) << converter.name;
        EXPECT_EQ(converter.Call(dst.data(), source.data(), 0, 8), expected) << converter.name;
        EXPECT_EQ(converter.Call(dst.data(), source.data(), 8, 0), expected) << converter.name;
    }
}

TEST(StartState, ConvertersThatReadTablesRefuseUntilTheyAreReady) {
    EXPECT_EQ(Vexa::s_eBayerConvMode, BAYER_CONV_MODE_DEFAULT);
    ExpectZeroTables();
    ExpectStatuses(false);
    ExpectPictures();
    uint8_t pixels[4] = {};
    const uint8_t grey = 0x77;
    EXPECT_EQ(ConvImage(CONV_DST_BGRA, PIXEL_FORMAT_MONO8, 0, pixels, &grey, 1, 1), UTL_STS_NOT_INITIALIZED);
    EXPECT_EQ(ConvImage(CONV_DST_BGR, PIXEL_FORMAT_MONO8, 0, pixels, &grey, 1, 1), UTL_STS_SUCCESS);
    ExpectZeroTables();
    EXPECT_EQ(PrepareLUT(), UTL_STS_SUCCESS);
    EXPECT_TRUE(Vexa::s_bLUTReady);
    ExpectStatuses(true);
    EXPECT_EQ(ConvImage(CONV_DST_BGRA, PIXEL_FORMAT_MONO8, 0, pixels, &grey, 1, 1), UTL_STS_SUCCESS);
}

}  // namespace
