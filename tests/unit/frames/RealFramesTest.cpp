// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Photographs cut into mosaics and demosaiced again, with the exact sums of squared errors that squared_errors.py
// computes in NumPy; and camera frames through ConvImage against the reference.
#include <png.h>

#include <cmath>

#include "Frames.h"
#include "Reference.h"

namespace {

struct Photograph {
    uint32_t width = 0;
    uint32_t height = 0;
    Bytes bgr;
};

Photograph ReadPng(const std::filesystem::path& path) {
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    EXPECT_NE(png_image_begin_read_from_file(&image, path.c_str()), 0) << path;
    image.format = PNG_FORMAT_BGR;
    Photograph photograph = {image.width, image.height, Bytes(PNG_IMAGE_SIZE(image))};
    EXPECT_NE(png_image_finish_read(&image, nullptr, photograph.bgr.data(), 0, nullptr), 0) << path;
    return photograph;
}

/// One sample of each pixel: the colour that the phase has there.
Bytes CutMosaic(const Photograph& photograph, const std::string& phase) {
    const std::string second = phase == "GR" ? "BG" : phase == "RG" ? "GB" : phase == "GB" ? "RG" : "GR";
    const std::string colours = "BGR";
    Bytes mosaic;
    for (uint32_t r = 0; r < photograph.height; ++r) {
        for (uint32_t c = 0; c < photograph.width; ++c) {
            const char colour = (r % 2 == 0 ? phase : second)[c % 2];
            mosaic.push_back(photograph.bgr[(size_t{r} * photograph.width + c) * 3 + colours.find(colour)]);
        }
    }
    return mosaic;
}

constexpr uint32_t kBorder = 10;

uint64_t SquaredErrors(const Photograph& truth, const Bytes& bgr) {
    uint64_t sum = 0;
    for (uint32_t r = kBorder; r < truth.height - kBorder; ++r) {
        for (uint32_t i = kBorder * 3; i < (truth.width - kBorder) * 3; ++i) {
            const int difference = bgr[size_t{r} * truth.width * 3 + i] - truth.bgr[size_t{r} * truth.width * 3 + i];
            sum += static_cast<uint64_t>(difference * difference);
        }
    }
    return sum;
}

/// Signal to noise of all three colours together, in decibels.
double Cpsnr(const Photograph& truth, uint64_t squaredErrors) {
    const double samples = 3.0 * (truth.width - 2 * kBorder) * (truth.height - 2 * kBorder);
    return 10 * std::log10(255.0 * 255.0 * samples / static_cast<double>(squaredErrors));
}

struct ExpectedErrors {
    const char* file;
    const char* phase;
    uint64_t byDefault;
    uint64_t byAcpi;
};

constexpr ExpectedErrors kExpectedErrors[] = {
    {"kodim05.png", "GR", 154737455, 40924763}, {"kodim05.png", "RG", 153563766, 41044447},
    {"kodim05.png", "GB", 155618194, 41382324}, {"kodim05.png", "BG", 158403622, 42432393},
    {"kodim08.png", "GR", 318430160, 96814584}, {"kodim08.png", "RG", 312026237, 93115470},
    {"kodim08.png", "GB", 315454597, 94779043}, {"kodim08.png", "BG", 321855479, 97618043},
    {"kodim19.png", "GR", 115953119, 33214995}, {"kodim19.png", "RG", 111843600, 31298610},
    {"kodim19.png", "GB", 109532577, 30378821}, {"kodim19.png", "BG", 113619891, 32207540},
    {"kodim23.png", "GR", 22220240, 6931325},   {"kodim23.png", "RG", 22771197, 9086302},
    {"kodim23.png", "GB", 22217794, 6998089},   {"kodim23.png", "BG", 22171921, 7193921},
};

class Photographs : public Frames {
  protected:
    /// The picture that a BGR converter and, without its alpha, its BGRA sibling make of a mosaic; both equal the
    /// model.
    static Bytes Demosaic(const std::string& name, const Photograph& size, const Bytes& mosaic) {
        const Reference::Converter& converter = Reference::Find(name);
        Bytes picture(converter.DestinationBytes(size.width, size.height), 0x55);
        Bytes expected = picture;
        EXPECT_EQ(converter.Call(picture.data(), mosaic.data(), size.width, size.height), UTL_STS_SUCCESS);
        Reference::Convert(converter, expected.data(), mosaic.data(), size.width, size.height);
        EXPECT_TRUE(picture == expected) << name;
        return picture;
    }
};

TEST_F(Photographs, SquaredErrorsAreExact) {
    double sumByDefault = 0;
    double sumByAcpi = 0;
    for (const ExpectedErrors& expected : kExpectedErrors) {
        const Photograph photograph = ReadPng(m_folder / expected.file);
        ASSERT_FALSE(photograph.bgr.empty());
        const std::string phase = expected.phase;
        const Bytes mosaic = CutMosaic(photograph, phase);
        const uint64_t byDefault =
            SquaredErrors(photograph, Demosaic("ConvByr" + phase + "8ToBGR", photograph, mosaic));
        const uint64_t byAcpi =
            SquaredErrors(photograph, Demosaic("ConvByr" + phase + "8ToBGRACPI", photograph, mosaic));
        EXPECT_EQ(byDefault, expected.byDefault) << expected.file << " " << phase;
        EXPECT_EQ(byAcpi, expected.byAcpi) << expected.file << " " << phase;
        Demosaic("ConvByr" + phase + "8ToBGRA", photograph, mosaic);
        Demosaic("ConvByr" + phase + "8ToBGRAACPI", photograph, mosaic);
        sumByDefault += Cpsnr(photograph, byDefault);
        sumByAcpi += Cpsnr(photograph, byAcpi);
    }
    const double count = std::size(kExpectedErrors);
    RecordProperty("MeanCpsnrDefault", std::to_string(sumByDefault / count));
    RecordProperty("MeanCpsnrAcpi", std::to_string(sumByAcpi / count));
    // Decibels over the four pictures and phases.
    EXPECT_NEAR(sumByDefault / count, 28.33, 0.01);
    EXPECT_NEAR(sumByAcpi / count, 33.62, 0.01);
}

struct CameraFrame {
    const char* file;
    PixelFormat format;
    uint32_t width;
    uint32_t height;
    uint32_t pixelBytes;
    const char* toBgra;
    const char* toBgr;
};

constexpr CameraFrame kCameraFrames[] = {
    {"chart_BayerRG10_1920x1080.raw", 0x0110000D, 1920, 1080, 2, "ConvByrRG10ToBGRA", "ConvByrRG10ToBGR"},
    {"rose_BayerRG12_768x512.raw", 0x01100011, 768, 512, 2, "ConvByrRG12ToBGRA", "ConvByrRG12ToBGR"},
    {"indoor1_BayerGR8_2048x1536.raw", 0x01080008, 2048, 1536, 1, "ConvByrGR8ToBGRA", "ConvByrGR8ToBGR"},
    {"outdoor2_BayerGB8_2048x1534.raw", 0x0108000A, 2048, 1534, 1, "ConvByrGB8ToBGRA", "ConvByrGB8ToBGR"},
};

class CameraFrames : public Frames {
  protected:
    void SetUp() override {
        Frames::SetUp();
        PrepareLUT();
    }
    void TearDown() override { SetBayerConvMode(BAYER_CONV_MODE_DEFAULT); }

    static void ExpectModel(const std::string& converterName, ConvDstFormat kind, PixelFormat format, bool bayer,
                            const Bytes& frame, uint32_t width, uint32_t height) {
        const Reference::Converter& converter = Reference::Find(converterName);
        Bytes picture(converter.DestinationBytes(width, height), 0x55);
        Bytes expected = picture;
        EXPECT_EQ(ConvImage(kind, format, bayer, picture.data(), frame.data(), width, height), UTL_STS_SUCCESS);
        Reference::Convert(converter, expected.data(), frame.data(), width, height);
        EXPECT_TRUE(picture == expected) << converterName << " " << width << " x " << height;
    }
};

TEST_F(CameraFrames, BayerFramesGiveWhatTheModelGives) {
    for (const CameraFrame& camera : kCameraFrames) {
        const Bytes frame = Raw(camera.file, size_t{camera.width} * camera.height * camera.pixelBytes);
        ExpectModel(camera.toBgra, CONV_DST_BGRA, camera.format, true, frame, camera.width, camera.height);
        ExpectModel(camera.toBgr, CONV_DST_BGR, camera.format, true, frame, camera.width, camera.height);
        SetBayerConvMode(BAYER_CONV_MODE_ACPI);
        const std::string acpi = camera.pixelBytes == 1 ? "ACPI" : "";
        ExpectModel(camera.toBgra + acpi, CONV_DST_BGRA, camera.format, true, frame, camera.width, camera.height);
        ExpectModel(camera.toBgr + acpi, CONV_DST_BGR, camera.format, true, frame, camera.width, camera.height);
        SetBayerConvMode(BAYER_CONV_MODE_DEFAULT);
    }
}

TEST_F(CameraFrames, BayerFramesShownGreyGiveWhatTheModelGives) {
    const Bytes ten = Raw("chart_BayerRG10_1920x1080.raw", 1920 * 1080 * 2);
    ExpectModel("ConvMono10ToBGRA", CONV_DST_BGRA, PIXEL_FORMAT_BAYER_RG10, false, ten, 1920, 1080);
    const Bytes twelve = Raw("rose_BayerRG12_768x512.raw", 768 * 512 * 2);
    ExpectModel("ConvMono12ToBGR", CONV_DST_BGR, PIXEL_FORMAT_BAYER_RG12, false, twelve, 768, 512);
}

TEST_F(CameraFrames, UyvyGivesWhatTheModelGives) {
    const Bytes frame = Raw("balls_YUV422_8_UYVY_1000x750.raw", 1000 * 750 * 2);
    ExpectModel("ConvYUV422PToBGRA", CONV_DST_BGRA, PIXEL_FORMAT_YUV422_8_UYVY, false, frame, 1000, 750);
    // To BGR a pair takes five bytes.
    Bytes spread;
    for (size_t i = 0; i < frame.size(); i += 4) {
        spread.insert(spread.end(), {frame[i], frame[i + 1], frame[i + 2], frame[i + 3], uint8_t{0xEE}});
    }
    ExpectModel("ConvYUV422PToBGR", CONV_DST_BGR, PIXEL_FORMAT_YUV422_8_UYVY, false, spread, 1000, 750);
}

}  // namespace
