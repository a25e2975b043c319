// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Where a kernel replaces a table or a division by other arithmetic, every input is tried, for every kernel table: all
// 2^24 triples (Y, U, V), all sums of three samples, all 65,536 words with all shifts.
#include "TableTest.h"

namespace {

class Exhaustive : public TableTest {};

/// Pixels of one U and one V with all Y: 256 of them.
void FillTriples(const Reference::Converter& converter, std::vector<uint8_t>& src, uint8_t u, uint8_t v) {
    for (uint32_t luma = 0; luma < 256; luma += converter.groupPixels) {
        FillYuvGroup(converter, src.data() + size_t{luma / converter.groupPixels} * converter.groupBytes, u, v, luma);
    }
}

TEST_P(Exhaustive, AllYuvTriplesAgreeWithTheTables) {
    for (const Reference::Converter& converter : Reference::Converters()) {
        if (converter.family != Reference::Family::kYuv) {
            continue;
        }
        std::vector<uint8_t> src(converter.SourceBytes(256, 1));
        std::vector<uint8_t> dst(converter.DestinationBytes(256, 1));
        uint32_t wrong = 0;
        for (uint32_t chroma = 0; chroma < 65536; ++chroma) {
            const uint32_t u = chroma / 256;
            const uint32_t v = chroma % 256;
            FillTriples(converter, src, static_cast<uint8_t>(u), static_cast<uint8_t>(v));
            ASSERT_EQ(converter.Call(dst.data(), src.data(), 256, 1), UTL_STS_SUCCESS);
            const uint32_t row = Vexa::auiYUVC_UV[chroma];
            for (uint32_t y = 0; y < 256; ++y) {
                const uint8_t* pixel = dst.data() + size_t{y} * converter.pixelBytes;
                const bool right =
                    pixel[0] == Vexa::aucYU2B[u * 256 + y] && pixel[1] == Vexa::aucYUV2G[row * 256 + y] &&
                    pixel[2] == Vexa::aucYV2R[v * 256 + y] && (converter.pixelBytes == 3 || pixel[3] == 255);
                wrong += right ? 0u : 1u;
            }
        }
        EXPECT_EQ(wrong, 0u) << converter.name;
    }
}

/// Two rows of phase GR: the red sites of row 0 have greens `side` on both sides and 0, 1, 2 ... below.
void FillSums(std::vector<uint8_t>& src, uint32_t sampleBytes, uint32_t width, uint32_t side) {
    for (uint32_t c = 0; c < width; ++c) {
        const uint32_t samples[2] = {c % 2 == 0 ? side : 0, c / 2};
        for (size_t r = 0; r < 2; ++r) {
            uint8_t* at = src.data() + (r * width + c) * sampleBytes;
            at[0] = static_cast<uint8_t>(samples[r]);
            if (sampleBytes == 2) {
                at[1] = static_cast<uint8_t>(samples[r] >> 8);
            }
        }
    }
}

TEST_P(Exhaustive, AllSumsOfThreeSamples) {
    for (const char* name : {"ConvByrGR8ToBGRA", "ConvByrGR10ToBGRA", "ConvByrGR12ToBGRA"}) {
        const Reference::Converter& converter = Reference::Find(name);
        const uint32_t maximum = (1u << converter.depth) - 1;
        const uint32_t width = 2 * (maximum + 2);
        std::vector<uint8_t> src(converter.SourceBytes(width, 2));
        std::vector<uint8_t> dst(converter.DestinationBytes(width, 2));
        for (const uint32_t side : {0u, maximum / 4, maximum / 2, maximum - maximum / 4, maximum}) {
            FillSums(src, converter.SampleBytes(), width, side);
            ASSERT_EQ(converter.Call(dst.data(), src.data(), width, 2), UTL_STS_SUCCESS);
            for (uint32_t below = 0; below <= maximum; ++below) {
                const uint32_t column = 2 * below + 1;
                const uint32_t mean = (2 * side + below) / 3 >> converter.DefaultShift();
                ASSERT_EQ(dst[size_t{column} * 4 + 1], mean) << name << " " << side << " " << side << " " << below;
            }
        }
    }
}

TEST_P(Exhaustive, AllWordsWithAllShifts) {
    constexpr uint32_t kWords = 65536;
    std::vector<uint8_t> src(size_t{kWords} * 2);
    for (uint32_t word = 0; word < kWords; ++word) {
        src[size_t{word} * 2] = static_cast<uint8_t>(word);
        src[size_t{word} * 2 + 1] = static_cast<uint8_t>(word >> 8);
    }
    std::vector<uint8_t> dst(size_t{kWords} * 4);
    for (const char* name :
         {"ConvMonoNToBGRA", "ConvMonoNToBGR", "ConvRGBNToBGRA", "ConvRGBNToBGR", "ConvBGRNToBGRA", "ConvBGRNToBGR"}) {
        const Reference::Converter& converter = Reference::Find(name);
        const uint32_t pixels = kWords / converter.samples;
        for (uint32_t shift = 0; shift < 256; ++shift) {
            ASSERT_EQ(converter.Call(dst.data(), src.data(), pixels, 1, shift), UTL_STS_SUCCESS);
            uint32_t wrong = 0;
            for (uint32_t i = 0; i < pixels; ++i) {
                const uint32_t first = (i * converter.samples) >> (shift & 31);
                const uint32_t last = (i * converter.samples + converter.samples - 1) >> (shift & 31);
                const uint8_t* pixel = dst.data() + size_t{i} * converter.pixelBytes;
                const uint32_t blue = converter.redFirst ? last : first;
                const uint32_t red = converter.redFirst ? first : last;
                wrong += pixel[0] == (blue & 255) && pixel[2] == (red & 255) ? 0u : 1u;
            }
            ASSERT_EQ(wrong, 0u) << name << " shift " << shift;
        }
    }
}

VEXA_FOR_ALL_TABLES(Exhaustive);

}  // namespace
