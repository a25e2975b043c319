// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The C++ header: both forms of everything that can fail, lengths of spans, converters that move.
#include <VexaCamFrames.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <type_traits>
#include <vector>

namespace {

using testing::HasSubstr;

template <class Action>
vcf::Status Thrown(Action action) {
    try {
        action();
    } catch (const vcf::Error& error) {
        return {error.Code(), error.what()};
    }
    return {};
}

TEST(CppFormat, IsFoundByNameOrCode) {
    EXPECT_EQ(vcf::Format::Named("bayer_rg12p").Code(), PIXEL_FORMAT_BAYER_RG12P);
    EXPECT_EQ(vcf::Format::OfCode(PIXEL_FORMAT_MONO8).Name(), "Mono8");
    EXPECT_EQ(vcf::Format::TryNamed("Mono9"), std::nullopt);
    EXPECT_EQ(vcf::Format::TryOfCode(9), std::nullopt);
    const vcf::Status unknown = Thrown([] { vcf::Format::Named("Mono9"); });
    EXPECT_EQ(unknown.Code(), VCF_UNKNOWN_FORMAT);
    EXPECT_THAT(unknown.Text(), HasSubstr("did you mean Mono8"));
    EXPECT_EQ(Thrown([] { vcf::Format::Named("jpeg"); }).Text(), "unknown pixel format 'jpeg'");
    const vcf::Status noCode = Thrown([] { vcf::Format::OfCode(0x010800AB); });
    EXPECT_EQ(noCode.Code(), VCF_UNKNOWN_FORMAT);
    EXPECT_EQ(noCode.Text(), "no known pixel format has the code 0x010800AB");
    EXPECT_EQ(vcf::Format::Named("BayerRG8").AfterRegion(1, 0), vcf::Format::Named("BayerGR8"));
    static_assert(!std::is_convertible_v<uint32_t, vcf::Format>, "a number is not a format");
}

TEST(CppLayout, ChecksBuffersAndCutsRegions) {
    const vcf::Layout layout = vcf::Layout(vcf::Format::Named("Mono12p"), 10, 4).Stride(20).Offset(3);
    EXPECT_TRUE(layout.Check().IsOk());
    EXPECT_EQ(layout.BytesNeeded(), 3u + 60 + 15);
    EXPECT_TRUE(layout.CheckBuffer(std::vector<uint8_t>(78)).IsOk());
    EXPECT_EQ(layout.CheckBuffer(std::vector<uint8_t>(77)).Code(), VCF_TOO_SHORT);
    EXPECT_EQ(layout.Region(2, 1, 4, 2).Width(), 4u);
    EXPECT_EQ(Thrown([&] { static_cast<void>(layout.Region(8, 0, 4, 1)); }).Code(), VCF_BAD_REGION);
    EXPECT_EQ(vcf::Layout(vcf::Format::Named("Mono8"), 4, 4).Shift(1).Check().Code(), VCF_BAD_LAYOUT);
    EXPECT_TRUE(vcf::Layout(vcf::Format::Named("UYVY"), 4, 4).LimitedRange().Check().IsOk());
}

TEST(CppConverter, ConvertsAndRefuses) {
    const vcf::Layout layout(vcf::Format::Named("RGB8"), 2, 2);
    const std::vector<uint8_t> frame = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    vcf::Converter first(layout, vcf::Output::kBgr);
    vcf::Converter converter = std::move(first);
    std::vector<uint8_t> picture(converter.PictureBytes(8), 99);
    ASSERT_EQ(picture.size(), 14u);
    converter.Convert(frame, picture, 8);
    EXPECT_EQ(picture, (std::vector<uint8_t>{3, 2, 1, 6, 5, 4, 99, 99, 9, 8, 7, 12, 11, 10}));
    EXPECT_EQ(converter.TryConvert(frame, std::span(picture).first(13), 8).Code(), VCF_INVALID_ARGUMENT);
    EXPECT_EQ(converter.TryConvert(std::span(frame).first(11), picture, 8).Code(), VCF_TOO_SHORT);
    EXPECT_EQ(converter.TryConvert(frame, picture, 5).Code(), VCF_BAD_STRIDE);
    vcf::Converter tall(vcf::Layout(vcf::Format::Named("Mono8"), 2, 3), vcf::Output::kBgr);
    const size_t wrapping = size_t{1} << 63;  // 2 strides and a row are 6 bytes in 64 bits
    EXPECT_EQ(tall.TryConvert(frame, picture, wrapping).Code(), VCF_BAD_STRIDE);
    EXPECT_EQ(tall.PictureBytes(wrapping), SIZE_MAX);
    EXPECT_EQ(tall.PictureBytes((SIZE_MAX - 6) / 2), SIZE_MAX - 1);
    EXPECT_EQ(tall.PictureBytes((SIZE_MAX - 6) / 2 + 1), SIZE_MAX);
    EXPECT_EQ(Thrown([&] { converter.Convert(std::span(frame).first(0), picture); }).Code(), VCF_TOO_SHORT);
    EXPECT_EQ(Thrown([&] { converter.ConvertRows(frame, picture, 0, 1, 2); }).Code(), VCF_BAD_REGION);

    vcf::Settings settings;
    settings.levels = 1;
    settings.exposure = 2 * VCF_ONE;
    converter.Change(settings);
    converter.Convert(frame, picture);
    EXPECT_EQ(picture[0], 6);
    settings.tone = 9;
    EXPECT_EQ(Thrown([&] { converter.Change(settings); }).Code(), VCF_INVALID_ARGUMENT);
    EXPECT_EQ(Thrown([&] { vcf::Converter(layout, vcf::Output::kBgra, settings); }).Code(), VCF_INVALID_ARGUMENT);
    vcf::Status status;
    EXPECT_FALSE(vcf::Converter::TryMake(layout, vcf::Output::kBgra, settings, status).has_value());
    EXPECT_THAT(status.Text(), HasSubstr("tone 9"));
    EXPECT_TRUE(vcf::Converter::TryMake(layout, vcf::Output::kBgra, {}, status).has_value());
    EXPECT_TRUE(status.IsOk());
}

TEST(CppBalance, IsThatOfTheCHeader) {
    const vcf::Layout layout(vcf::Format::Named("RGB8"), 1, 1);
    const std::vector<uint8_t> pixel = {50, 100, 25};
    EXPECT_EQ(vcf::EstimateBalance(layout, pixel).gain[0], 2 * VCF_ONE);
    EXPECT_EQ(Thrown([&] { vcf::EstimateBalance(layout, pixel, 60); }).Code(), VCF_NO_ESTIMATE);
}

}  // namespace
