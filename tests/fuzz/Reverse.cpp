// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// ReverseImg in every format, mode and size on every kernel table that this processor can run, against the reference;
// and with any other code, which has to be refused with nothing written.
#include <algorithm>
#include <span>
#include <vector>

#include "FuzzInput.h"
#include "Reference.h"
#include "catalogue/VexaCamUtl.h"
#include "kernels/CpuFeatures.h"

namespace {

void CheckRefusal(PixelFormat format, uint8_t mirror, uint8_t upsideDown) {
    uint8_t source[16] = {};
    uint8_t destination[16];
    std::memset(destination, 0x55, sizeof destination);
    Fuzz::Require(ReverseImg(destination, source, format, 2, 2, mirror, upsideDown) == UTL_STS_UNSUPPORTED_FORMAT,
                  "an unknown code is refused");
    Fuzz::Require(std::all_of(std::begin(destination), std::end(destination), [](uint8_t b) { return b == 0x55; }),
                  "nothing is written");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    Fuzz::Input input(bytes, size);
    const auto tables = Vexa::Kernels::KernelTables();
    const auto* table = tables[input.Byte() % tables.size()];
    Vexa::s_psKernels = Vexa::Kernels::CanRun(*table, Vexa::Kernels::DetectProcessor()) ? table : tables[0];
    const uint8_t mirror = input.Byte() % 3;
    const uint8_t upsideDown = input.Byte() % 3;
    const auto formats = Reference::ReversibleFormats();
    const size_t choice = input.Byte();
    if (choice >= 200) {
        const PixelFormat code = input.Word();
        if (Reference::UnitOf(code).unitBytes == 0) {
            CheckRefusal(code, mirror, upsideDown);
        }
        return 0;
    }
    const PixelFormat format = formats[choice % formats.size()];
    // Groups of pixels cannot be split, and a half turn of them takes whole groups too.
    const uint32_t group = Reference::UnitOf(format).unitPixels;
    const uint32_t width = input.Size(300, 2000) / group * group;
    const uint32_t height = input.Size(20, 40);
    const uint8_t offsets = input.Byte();

    const size_t frameBytes = Reference::FrameBytes(format, width, height);
    Fuzz::ExactBlock source(frameBytes, offsets % 16);
    input.Fill(source.Data(), frameBytes);
    std::vector<uint8_t> expected(frameBytes, 0xAA);
    Fuzz::ExactBlock actual(frameBytes, offsets / 16);
    std::memset(actual.Data(), 0xAA, frameBytes);

    Reference::Reverse(expected.data(), source.Data(), format, width, height, mirror == 1, upsideDown == 1);
    Fuzz::Require(
        ReverseImg(actual.Data(), source.Data(), format, width, height, mirror, upsideDown) == UTL_STS_SUCCESS,
        "status");
    Fuzz::Require(std::equal(expected.begin(), expected.end(), actual.Data()), "bytes");
    return 0;
}
