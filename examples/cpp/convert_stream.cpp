// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// A stream of raw frames to a stream of BGRA pictures: the converter is chosen once and kept, and so are the buffers.
//
//     convert_stream 0x01080009 1920 1080 < frames.raw | ffplay -f rawvideo -pixel_format bgra -video_size 1920x1080 -
#include <VexaCamUtl.h>

#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

uint32_t Number(const char* text) {
    return static_cast<uint32_t>(std::stoul(text, nullptr, 0));
}

void ConvertStream(PixelFormat format, uint32_t width, uint32_t height) {
    const size_t pixels = static_cast<size_t>(width) * height;
    const ConverterFunc convert = GetBGRAConverter(format, 1);
    // YUV8_UYV has 3 bytes per pixel, its converter reads 4: such a frame would have to be spread first.
    if (convert == nullptr || format == PIXEL_FORMAT_YUV8_UYV || pixels == 0) {
        throw std::runtime_error("no converter for this format and size");
    }
    std::vector<uint8_t> frame(pixels * BitPerPixel(format) / 8);
    std::vector<uint8_t> picture(pixels * 4);
    size_t got = 0;
    while ((got = std::fread(frame.data(), 1, frame.size(), stdin)) == frame.size()) {
        if (convert(picture.data(), frame.data(), width, height) != UTL_STS_SUCCESS) {
            throw std::runtime_error("conversion failed");
        }
        if (std::fwrite(picture.data(), 1, picture.size(), stdout) != picture.size()) {
            throw std::runtime_error("writing failed");
        }
    }
    if (got != 0 || std::ferror(stdin) != 0 || std::fflush(stdout) != 0) {
        throw std::runtime_error("the stream ends within a frame");
    }
}

}  // namespace

int main(int argc, char** argv) {
    try {
        if (argc != 4) {
            throw std::runtime_error("usage: convert_stream FORMAT-CODE WIDTH HEIGHT < frames > pictures");
        }
        PrepareLUT();
        ConvertStream(Number(argv[1]), Number(argv[2]), Number(argv[3]));
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "convert_stream: %s\n", error.what());
        return 1;
    }
}
