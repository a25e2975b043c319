// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Raw files. LoadRWH gets any bytes as a file and is held against a reader that knows only the layout, with the header
// alone, with a block of its own and with a block of the caller's of exactly the size that the header states. SaveRWH
// saves any frame, and what it saved is loaded again.
#include <algorithm>
#include <vector>

#include "FuzzInput.h"
#include "MemoryFile.h"

#include <VexaCamUtl.h>

namespace {

constexpr size_t kHeaderBytes = 16;
constexpr uint32_t kLargest = 1u << 16;  // what is larger takes the fuzzer's time and nothing else

const Fuzz::MemoryFile& File() {
    static const Fuzz::MemoryFile file;
    return file;
}

struct Header {
    uint32_t words[4] = {};  // format, width, height, row size
    uint32_t DataBytes() const { return words[2] * words[3]; }
};

Header ReadHeader(const uint8_t* bytes, size_t size) {
    uint8_t raw[kHeaderBytes] = {};
    std::copy_n(bytes, std::min(size, kHeaderBytes), raw);
    Header header;
    for (size_t i = 0; i < kHeaderBytes; ++i) {
        header.words[i / 4] |= static_cast<uint32_t>(raw[i]) << (i % 4 * 8);
    }
    return header;
}

UtlStatus Load(uint8_t** frame, Header& got) {
    return LoadRWH(File().Path(), frame, &got.words[0], &got.words[1], &got.words[2], &got.words[3]);
}

void CheckLoading(const uint8_t* bytes, size_t size, uint8_t mode) {
    File().Replace(bytes, size);
    const Header expected = ReadHeader(bytes, size);
    Header got;
    Fuzz::Require(Load(nullptr, got) == UTL_STS_SUCCESS, "the header alone");
    Fuzz::Require(std::equal(got.words, got.words + 4, expected.words), "words of the header");
    const size_t dataBytes = expected.DataBytes();
    if (dataBytes > kLargest) {
        return;
    }
    const size_t inFile = size <= kHeaderBytes ? 0 : std::min(dataBytes, size - kHeaderBytes);
    const uint8_t* data = inFile > 0 ? bytes + kHeaderBytes : bytes;
    if (mode % 2 == 0) {
        uint8_t* frame = nullptr;
        Fuzz::Require(Load(&frame, got) == UTL_STS_SUCCESS && frame != nullptr, "a block of the library's");
        Fuzz::Require(std::equal(frame, frame + inFile, data), "its bytes");
        std::free(frame);
        return;
    }
    std::vector<uint8_t> wanted(dataBytes, 0x3C);
    std::copy_n(data, inFile, wanted.begin());
    Fuzz::ExactBlock block(dataBytes, 0);
    std::memset(block.Data(), 0x3C, dataBytes);
    uint8_t* frame = block.Data();
    Fuzz::Require(Load(&frame, got) == UTL_STS_SUCCESS && frame == block.Data(), "a block of the caller's");
    Fuzz::Require(std::equal(wanted.begin(), wanted.end(), frame), "its bytes");
}

void CheckSaving(Fuzz::Input& input) {
    const uint32_t format = input.Word();
    const uint32_t width = input.Size(60, 5000);
    const uint32_t height = input.SizeWithin(8, 0, 6000, width);
    const size_t rowBytes = size_t{width} * (format >> 16 & 0xFF) / 8;
    Fuzz::ExactBlock frame(rowBytes * height, 0);
    input.Fill(frame.Data(), rowBytes * height);
    Fuzz::Require(SaveRWH(frame.Data(), format, width, height, File().Path()) == UTL_STS_SUCCESS, "status");

    const std::vector<uint8_t> content = File().Content();
    Fuzz::Require(content.size() == kHeaderBytes + rowBytes * height, "size of the file");
    const Header header = ReadHeader(content.data(), content.size());
    const uint32_t words[4] = {format, width, height, static_cast<uint32_t>(rowBytes)};
    Fuzz::Require(std::equal(header.words, header.words + 4, words), "header of the file");
    Fuzz::Require(std::equal(content.begin() + kHeaderBytes, content.end(), frame.Data()), "frame in the file");
    CheckLoading(content.data(), content.size(), 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    Fuzz::Input input(bytes, size);
    const uint8_t mode = input.Byte();
    if (mode < 64) {
        CheckSaving(input);
    } else {
        const std::vector<uint8_t> file(input.Rest(), input.Rest() + input.Left());
        CheckLoading(file.data(), file.size(), mode);
    }
    return 0;
}
