// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// What the tool takes from outside: names of formats, sizes, sidecars, raw and RWH files of any content,
// packed samples. Any input gives a result that makes sense or a Failure, and no byte outside a buffer
// is touched; packed samples are held against an unpacking bit by bit.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Failure.h"
#include "FuzzInput.h"
#include "formats/Unpack.h"
#include "input/FrameSource.h"
#include "input/Sidecar.h"

using namespace VexaTool;

namespace {

/// Runs something that may refuse its input; any other exception ends the program.
template <class Work>
void Attempt(Work work) {
    try {
        work();
    } catch (const Failure& failure) {
        Fuzz::Require(failure.Code() != ExitCode::kSuccess && *failure.what() != '\0', "a failure says what it is");
    }
}

/// Names in a folder of this process; what they name is written by Put.
class Folder {
  public:
    Folder() { Fuzz::Require(::mkdtemp(m_path.data()) != nullptr, "folder"); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder() {
        for (const char* name : {"frame.raw", "frame.txt", "frame.rwh"}) {
            ::unlink(File(name).c_str());
        }
        ::rmdir(m_path.c_str());
    }

    std::string File(const char* name) const { return m_path + "/" + name; }
    void Put(const char* name, const uint8_t* bytes, size_t size) const {
        std::FILE* file = std::fopen(File(name).c_str(), "wb");
        Fuzz::Require(file != nullptr && std::fwrite(bytes, 1, size, file) == size, "writing");
        Fuzz::Require(std::fclose(file) == 0, "closing");
    }

  private:
    // In memory: on a disk, making files takes most of the time.
    std::string m_path = ::access("/dev/shm", W_OK) == 0 ? "/dev/shm/vexafuzzXXXXXX" : "/tmp/vexafuzzXXXXXX";
};

const Folder& TheFolder() {
    static const Folder folder;
    return folder;
}

std::string_view TextOf(const Fuzz::Input& input) {
    return {reinterpret_cast<const char*>(input.Rest()), input.Left()};
}

void TryFormatName(const Fuzz::Input& input) {
    Attempt([&] {
        const FormatInfo& format = FormatNamed(TextOf(input));
        Fuzz::Require(&FormatNamed(format.name) == &format, "a name names its own format");
        Fuzz::Require(&FormatNamed(HexCode(format.code)) == &format, "so does its code");
    });
}

void TrySize(const Fuzz::Input& input) {
    Attempt([&] {
        uint32_t width = 0;
        uint32_t height = 0;
        ParseSize(std::string(TextOf(input)), width, height);
        Fuzz::Require(width > 0 && height > 0, "sizes are not 0");
    });
}

/// Touches every byte of every frame that a file is said to hold.
void ReadAllFrames(const char* name, const InputOptions& options) {
    const MappedFrames frames(TheFolder().File(name), options);
    std::vector<uint8_t> scratch;
    uint32_t sum = 0;
    for (size_t i = 0; i < frames.Count(); ++i) {
        const Bytes frame = frames.Frame(i);
        Fuzz::Require(frame.size() == frames.Shape().FrameBytes(), "size of a frame");
        for (const uint8_t byte : TightFrame(frames.Shape(), frame, scratch)) {
            sum += byte;
        }
    }
    Fuzz::Require(frames.Count() > 0 && sum < UINT32_MAX, "a file that is taken holds a frame");
}

void TrySidecar(Fuzz::Input& input) {
    const size_t rawBytes = input.Below(2000);
    const std::vector<uint8_t> raw(rawBytes, 0x5A);
    TheFolder().Put("frame.raw", raw.data(), rawBytes);
    TheFolder().Put("frame.txt", input.Rest(), input.Left());
    Attempt([] { ReadAllFrames("frame.raw", {}); });
}

/// A sidecar that nearly is one: its own keys and values, in any order, spelling and number, between other lines.
void TryLikelySidecar(Fuzz::Input& input) {
    static constexpr std::string_view kKeys[] = {"pixel format", "Pixel Format", "width",     "WIDTH", "height",
                                                 "stride",       "offset",       "timestamp", "",      "width height"};
    static constexpr std::string_view kBlanks[] = {": ", ":", " : ", ":\t", " "};
    static constexpr std::string_view kEnds[] = {"\n", "\r\n", " \n", "\n\n", ""};
    const auto formats = AllFormats();
    std::string text;
    for (uint32_t lines = input.Byte() % 12; lines > 0; --lines) {
        text += kKeys[input.Byte() % std::size(kKeys)];
        text += kBlanks[input.Byte() % std::size(kBlanks)];
        const FormatInfo& format = formats[input.Byte() % formats.size()];
        switch (input.Byte() % 6) {
            case 0:
                text += HexCode(format.code) + " " + std::string(format.name);
                break;
            case 1:
                text += format.name;
                break;
            case 2:
                text += std::to_string(input.Word());
                break;
            case 3:
                text += "-1";
                break;
            default:
                text += std::to_string(input.Below(40));
                break;
        }
        text += kEnds[input.Byte() % std::size(kEnds)];
    }
    const std::vector<uint8_t> raw(input.Below(3000), 0x5A);
    TheFolder().Put("frame.raw", raw.data(), raw.size());
    TheFolder().Put("frame.txt", reinterpret_cast<const uint8_t*>(text.data()), text.size());
    Attempt([] { ReadAllFrames("frame.raw", {}); });
}

/// An RWH file with a header that fits its frame but for what the input changes.
void TryLikelyRwh(Fuzz::Input& input) {
    const auto formats = AllFormats();
    const FormatInfo& format = formats[input.Byte() % formats.size()];
    const uint32_t width = input.Below(40);
    const uint32_t height = input.Below(20);
    uint32_t words[4] = {format.code, width, height, width * (format.code >> 16 & 0xFF) / 8};
    const uint32_t frameBytes = words[3] * height;
    if (input.Byte() % 2 == 0) {
        words[input.Byte() % 4] += input.Byte() % 4 == 0 ? input.Word() : input.Byte() % 3;
    }
    std::vector<uint8_t> file(16 + frameBytes + (input.Byte() % 4 == 0 ? input.Byte() % 9 : 0), 0x5A);
    for (size_t i = 0; i < 16; ++i) {
        file[i] = static_cast<uint8_t>(words[i / 4] >> (i % 4 * 8));
    }
    TheFolder().Put("frame.rwh", file.data(),
                    input.Byte() % 4 == 0 ? std::min<size_t>(input.Below(40), file.size()) : file.size());
    Attempt([] { ReadAllFrames("frame.rwh", {}); });
}

void TryRwh(const Fuzz::Input& input) {
    TheFolder().Put("frame.rwh", input.Rest(), input.Left());
    Attempt([] { ReadAllFrames("frame.rwh", {}); });
}

void TryRaw(Fuzz::Input& input) {
    const auto formats = AllFormats();
    InputOptions options;
    options.format = formats[input.Byte() % formats.size()].name;
    options.size = std::to_string(input.Below(40)) + "x" + std::to_string(input.Below(40));
    options.stride = input.Below(100);
    options.offset = input.Below(20);
    if (input.Byte() % 4 == 0) {
        options.frame = input.Byte();
    }
    TheFolder().Put("frame.raw", input.Rest(), input.Left());
    Attempt([&] { ReadAllFrames("frame.raw", options); });
}

uint32_t BitAt(const uint8_t* bytes, size_t bit) {
    return bytes[bit / 8] >> (bit % 8) & 1;
}

/// A sample of a packed layout, put together bit by bit.
uint32_t SampleAt(const FormatInfo& format, const uint8_t* row, size_t n) {
    uint32_t sample = 0;
    if (format.packing == VCF_PACKING_10P || format.packing == VCF_PACKING_12P) {
        for (uint32_t bit = 0; bit < format.depth; ++bit) {
            sample |= BitAt(row, n * format.depth + bit) << bit;
        }
        return sample;
    }
    // Two samples in three bytes: the high 8 bits in the outer ones, the low bits in the middle one from bit 0 and 4.
    const uint32_t lowBits = format.depth - 8;
    const size_t triple = n / 2 * 24;
    const bool second = n % 2 == 1;
    for (uint32_t bit = 0; bit < lowBits; ++bit) {
        sample |= BitAt(row, triple + 8 + (second ? 4 : 0) + bit) << bit;
    }
    for (uint32_t bit = 0; bit < 8; ++bit) {
        sample |= BitAt(row, triple + (second ? 16 : 0) + bit) << (lowBits + bit);
    }
    return sample;
}

void TryUnpacking(Fuzz::Input& input) {
    std::vector<const FormatInfo*> packed;
    for (const FormatInfo& format : AllFormats()) {
        if (format.IsPacked() && format.packing != VCF_PACKING_10CSI2 && format.packing != VCF_PACKING_12CSI2) {
            packed.push_back(&format);
        }
    }
    RawShape shape;
    shape.format = packed[input.Byte() % packed.size()];
    shape.width = 1 + input.Below(50);
    shape.height = 1 + input.Below(6);
    shape.stride = input.Byte() % 2 == 0 ? 0 : shape.RowBytes() + input.Below(9);
    Fuzz::ExactBlock raw(shape.FrameBytes(), 0);
    input.Fill(raw.Data(), shape.FrameBytes());
    std::vector<uint8_t> scratch;
    const Bytes words = TightFrame(shape, {raw.Data(), shape.FrameBytes()}, scratch);
    Fuzz::Require(words.size() == shape.Pixels() * 2, "16 bits per sample");
    for (size_t n = 0; n < shape.Pixels(); ++n) {
        const size_t row = shape.stride == 0 ? 0 : n / shape.width;
        const size_t column = shape.stride == 0 ? n : n % shape.width;
        const uint32_t expected = SampleAt(*shape.format, raw.Data() + row * shape.stride, column);
        Fuzz::Require((words[2 * n] | uint32_t{words[2 * n + 1]} << 8) == expected, "an unpacked sample");
    }
    shape.stride = 0;
    const std::vector<uint8_t> again = PackSamples(shape, words.data());
    for (size_t n = 0; n < shape.Pixels(); ++n) {
        const uint32_t word = words[2 * n] | uint32_t{words[2 * n + 1]} << 8;
        Fuzz::Require(SampleAt(*shape.format, again.data(), n) == word, "a sample that was packed again");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    Fuzz::Input input(bytes, size);
    switch (input.Byte() % 8) {
        case 5:
            TryLikelySidecar(input);
            break;
        case 6:
            TryLikelyRwh(input);
            break;
        case 0:
            TryFormatName(input);
            break;
        case 1:
            TrySize(input);
            break;
        case 2:
            TrySidecar(input);
            break;
        case 3:
            TryRwh(input);
            break;
        case 4:
            TryRaw(input);
            break;
        default:
            TryUnpacking(input);
            break;
    }
    return 0;
}
