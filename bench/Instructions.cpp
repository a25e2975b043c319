// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Runs each converter with each instruction set once, and tells callgrind where one ends and the next begins. To be
// run under valgrind; scripts/bench makes instructions per pixel of what callgrind writes. These numbers do not depend
// on how busy the machine is, so they show a regression that times hide.
//
//     valgrind --tool=callgrind --callgrind-out-file=counts bench-instructions --size 640x480
//
// Valgrind knows no AVX-512 and says so to programs that ask the processor: that set is left out by itself.
#include <valgrind/callgrind.h>

#include <cstdio>

#include <CLI/CLI.hpp>

#include "Cases.h"
#include "Filter.h"
#include "Measure.h"
#include "catalogue/VexaCamUtl.h"
#include "kernels/CpuFeatures.h"
#include "kernels/KernelTable.h"

namespace {

using namespace Bench;

void CountCase(const Case& it, const Vexa::Kernels::KernelTable& table, const Size& size) {
    const size_t srcBytes = size.Pixels() * it.srcBits / 8;
    const Buffer src(srcBytes);
    const Buffer dst(size.Pixels() * it.dstBits / 8);
    FillWithSamples(src.Data(), srcBytes, it.HasWords());
    Vexa::s_psKernels = &table;
    const std::string name = std::string(it.family) + ',' + it.name + ',' + table.name + ',' + size.Text();
    CALLGRIND_ZERO_STATS;
    it.Run(dst.Data(), src.Data(), size.width, size.height);
    CALLGRIND_DUMP_STATS_AT(name.c_str());
}

void Run(int argc, char** argv) {
    std::vector<std::string> converters;
    std::vector<std::string> isas;
    std::vector<std::string> sizes = {"640x480"};
    CLI::App app("Runs every converter once, marked for callgrind");
    app.add_option("--converter", converters, "parts of converter names");
    app.add_option("--isa", isas, "parts of instruction-set names");
    app.add_option("--size", sizes, "frame sizes, WIDTHxHEIGHT")->capture_default_str();
    app.parse(argc, argv);
    PrepareLUT();
    const Vexa::Kernels::Processor processor = Vexa::Kernels::DetectProcessor();
    for (const Size& size : ParseSizes(sizes)) {
        for (const Case& it : Cases()) {
            for (const Vexa::Kernels::KernelTable* table : Vexa::Kernels::KernelTables()) {
                if (Matches(converters, it.name) && Matches(isas, table->name) && CanRun(*table, processor)) {
                    CountCase(it, *table, size);
                }
            }
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    return Bench::RunReportingErrors("bench-instructions", Run, argc, argv);
}
