// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The reduced suite: the shared object as it is, on this processor or an emulated one, without a test framework.
//
//     digests      every converter over the fixed corpus, against the kept numbers
//     sizes        every converter over widths around one vector of any instruction set, against the reference
//     reversal     every format and direction, against the reference
//     files        a picture and a frame written and read back
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <unistd.h>

#include "Corpus.h"

namespace {

struct KeptDigest {
    const char* name;
    uint64_t digest;
};
constexpr KeptDigest kDigests[] = {
#include "Digests.inc"
};

int failures = 0;
int checks = 0;

void Check(bool holds, const char* what, uint32_t width, uint32_t height) {
    ++checks;
    if (!holds) {
        ++failures;
        std::printf("FAILED %s %" PRIu32 "x%" PRIu32 "\n", what, width, height);
    }
}

void CheckDigests() {
    for (const KeptDigest& kept : kDigests) {
        const Reference::Converter& converter = Reference::Find(kept.name);
        const uint64_t digest = Corpus::DigestOf(
            converter, [&converter](uint8_t* dst, const uint8_t* src, uint32_t width, uint32_t height, uint32_t shift) {
                converter.Call(dst, src, width, height, shift);
            });
        std::printf("%-24s %016" PRIX64 "\n", kept.name, digest);
        Check(digest == kept.digest, kept.name, 0, 0);
    }
}

void CheckSizes() {
    constexpr uint32_t kWidths[] = {2, 14, 16, 18, 30, 32, 34, 62, 64, 66, 126, 128, 130, 258};
    constexpr uint32_t kHeight = 6;
    uint64_t seed = 1000;
    for (const Reference::Converter& converter : Reference::Converters()) {
        for (const uint32_t width : kWidths) {
            std::vector<uint8_t> src(converter.SourceBytes(width, kHeight));
            Reference::FillPattern(src.data(), src.size() / converter.SampleBytes(), width, converter.SampleBytes(),
                                   converter.depth, Reference::Pattern::kRandom, ++seed);
            std::vector<uint8_t> expected(converter.DestinationBytes(width, kHeight), 0xAA);
            std::vector<uint8_t> actual = expected;
            const uint32_t shift = converter.DefaultShift();
            Reference::Convert(converter, expected.data(), src.data(), width, kHeight, shift);
            const UtlStatus status = converter.Call(actual.data(), src.data(), width, kHeight, shift);
            Check(status == UTL_STS_SUCCESS && actual == expected, converter.name, width, kHeight);
        }
    }
}

void CheckReversal() {
    constexpr uint32_t kHeight = 3;
    for (const PixelFormat format : Reference::ReversibleFormats()) {
        for (uint32_t width = 4; width <= 260; width += 4) {
            std::vector<uint8_t> src(Reference::FrameBytes(format, width, kHeight));
            Reference::FillPattern(src.data(), src.size(), src.size(), 1, 8, Reference::Pattern::kRandom, width);
            for (int mode = 0; mode < 4; ++mode) {
                std::vector<uint8_t> expected(src.size(), 0x55);
                std::vector<uint8_t> actual = expected;
                const auto mirror = static_cast<uint8_t>(mode & 1);
                const auto upsideDown = static_cast<uint8_t>(mode >> 1);
                Reference::Reverse(expected.data(), src.data(), format, width, kHeight, mirror == 1, upsideDown == 1);
                const UtlStatus status =
                    ReverseImg(actual.data(), src.data(), format, width, kHeight, mirror, upsideDown);
                Check(status == UTL_STS_SUCCESS && actual == expected, "ReverseImg", width, kHeight);
            }
        }
    }
}

std::vector<uint8_t> ReadFile(const char* path) {
    std::vector<uint8_t> content;
    if (std::FILE* file = std::fopen(path, "rb")) {
        for (int byte = 0; (byte = std::fgetc(file)) != EOF;) {
            content.push_back(static_cast<uint8_t>(byte));
        }
        static_cast<void>(std::fclose(file));
    }
    return content;
}

void CheckFiles() {
    constexpr uint32_t kWidth = 31;
    constexpr uint32_t kHeight = 7;
    std::string path = "/tmp/vexareducedXXXXXX";
    const int file = ::mkstemp(path.data());
    Check(file >= 0, "temporary file", 0, 0);
    std::vector<uint8_t> picture(size_t{kWidth} * kHeight * 4);
    Reference::FillPattern(picture.data(), picture.size(), picture.size(), 1, 8, Reference::Pattern::kRandom, 5);
    const uint8_t* pixels = picture.data();
    SaveBmpARGB(pixels, kWidth, kHeight, path.c_str());
    Check(ReadFile(path.c_str()) == Reference::BitmapFile(32, pixels, kWidth, kHeight, size_t{kWidth} * 4),
          "SaveBmpARGB", kWidth, kHeight);
    SaveBmpMono(pixels, kWidth, kHeight, path.c_str());
    Check(ReadFile(path.c_str()) == Reference::BitmapFile(8, pixels, kWidth, kHeight, kWidth), "SaveBmpMono", kWidth,
          kHeight);
    SaveRWH(pixels, PIXEL_FORMAT_MONO16, kWidth, kHeight, path.c_str());
    Check(ReadFile(path.c_str()) == Reference::RawFile(pixels, PIXEL_FORMAT_MONO16, kWidth, kHeight), "SaveRWH", kWidth,
          kHeight);
    uint8_t* frame = nullptr;
    uint32_t height = 0;
    const UtlStatus status = LoadRWH(path.c_str(), &frame, nullptr, nullptr, &height, nullptr);
    Check(status == UTL_STS_SUCCESS && height == kHeight && frame != nullptr &&
              std::memcmp(frame, pixels, size_t{kWidth} * 2 * kHeight) == 0,
          "LoadRWH", kWidth, kHeight);
    std::free(frame);
    ::close(file);
    ::unlink(path.c_str());
}

}  // namespace

int main() {
    uint8_t pixel[4] = {};
    Check(ConvMono8ToBGRA(pixel, pixel, 1, 1) == UTL_STS_NOT_INITIALIZED, "tables not ready", 1, 1);
    PrepareLUT();
    CheckDigests();
    CheckSizes();
    CheckReversal();
    CheckFiles();
    std::printf("%d checks, %d failed\n", checks, failures);
    return failures == 0 && checks > 1000 ? 0 : 1;
}
