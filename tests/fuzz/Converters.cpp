// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Every converter on every kernel table that this processor can run, against the reference, with buffers of exactly
// the bytes that it may touch.
#include <algorithm>
#include <span>
#include <vector>

#include "FuzzInput.h"
#include "Reference.h"
#include "catalogue/VexaCamUtl.h"
#include "kernels/CpuFeatures.h"

namespace {

/// The reference takes most of the time, and a larger frame has nothing that a smaller one has not.
constexpr uint32_t kMostPixels = 6000;

const Vexa::Kernels::KernelTable* ChooseTable(uint32_t choice) {
    const auto tables = Vexa::Kernels::KernelTables();
    const auto* table = tables[choice % tables.size()];
    return Vexa::Kernels::CanRun(*table, Vexa::Kernels::DetectProcessor()) ? table : tables[0];
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    static const UtlStatus prepared = PrepareLUT();
    Fuzz::Require(prepared == UTL_STS_SUCCESS, "tables");
    Fuzz::Input input(bytes, size);
    const auto converters = Reference::Converters();
    const Reference::Converter& converter = converters[input.Byte() % converters.size()];
    Vexa::s_psKernels = ChooseTable(input.Byte());
    const uint32_t width = input.Size(70, 1000);  // a strip of ACPI has 1,024 columns
    const uint32_t height = input.SizeWithin(12, 60, kMostPixels, width);
    const uint32_t shift = converter.IsWorker() ? input.Byte() : converter.DefaultShift();
    const uint8_t fill = input.Byte();
    const uint8_t offsets = input.Byte();

    Fuzz::ExactBlock source(converter.SourceBytes(width, height), offsets % 16);
    input.Fill(source.Data(), converter.SourceBytes(width, height));
    const size_t pictureBytes = converter.DestinationBytes(width, height);
    std::vector<uint8_t> expected(pictureBytes, fill);
    Fuzz::ExactBlock actual(pictureBytes, offsets / 16);
    std::memset(actual.Data(), fill, pictureBytes);

    Reference::Convert(converter, expected.data(), source.Data(), width, height, shift);
    Fuzz::Require(converter.Call(actual.Data(), source.Data(), width, height, shift) == UTL_STS_SUCCESS, "status");
    Fuzz::Require(std::equal(expected.begin(), expected.end(), actual.Data()), converter.name);
    return 0;
}
