// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// How near each converter comes to what memory allows, as CSV on standard output: one line per converter,
// instruction set and frame size. Limit and converter take turns on the same buffers in one thread.
//
//     bench-ratios --converter ACPI --isa avx2 --size 1920x1080
//
// Filters are parts of names; without any, everything that this processor can run is measured.
#include <cstdio>

#include <CLI/CLI.hpp>

#include "Cases.h"
#include "Filter.h"
#include "Limit.h"
#include "Measure.h"
#include "catalogue/VexaCamUtl.h"
#include "kernels/CpuFeatures.h"
#include "kernels/KernelTable.h"

namespace {

using namespace Bench;

struct Options {
    std::vector<std::string> converters;
    std::vector<std::string> isas;
    std::vector<std::string> sizes = kFrameSizes;
    size_t srcOffset = 0;
    size_t dstOffset = 0;
    SlicePlan plan;
};

void MeasureCase(const Case& it, const Vexa::Kernels::KernelTable& table, const Size& size, const Options& options) {
    const size_t srcBytes = size.Pixels() * it.srcBits / 8;
    const size_t dstBytes = size.Pixels() * it.dstBits / 8;
    const Buffer src(srcBytes, options.srcOffset);
    const Buffer dst(dstBytes, options.dstOffset);
    // The limit is always given the best place; a converter must bear any.
    const Buffer alignedDst(options.dstOffset == 0 ? 0 : dstBytes);
    uint8_t* const limitDst = options.dstOffset == 0 ? dst.Data() : alignedDst.Data();
    FillWithSamples(src.Data(), srcBytes, it.HasWords());
    const LimitKernel limit = FindLimit(LimitFor(table.name, it.family), it.srcBits, it.dstBits);

    Vexa::s_psKernels = &table;
    const std::vector<Timing> timings =
        MeasureByTurns({[&] { limit(limitDst, src.Data(), srcBytes); },
                        [&] { it.Run(dst.Data(), src.Data(), size.width, size.height); }},
                       options.plan);
    const double nanosecondsPerPixel = 1e9 / static_cast<double>(size.Pixels());
    const double per64Pixels = 64 / static_cast<double>(size.Pixels());
    static_cast<void>(std::printf("%s,%s,%s,%s,%.4f,%.4f,%.3f,%.3f,%.2f,%.2f,%.2f\n", it.family, it.name, table.name,
                                  size.Text().c_str(), timings[1].median * nanosecondsPerPixel,
                                  timings[0].median * nanosecondsPerPixel, timings[0].median / timings[1].median,
                                  timings[0].best / timings[1].best, timings[1].cycles * per64Pixels,
                                  timings[0].cycles * per64Pixels, timings[1].undisturbed));
    static_cast<void>(std::fflush(stdout));
}

void MeasureAll(const Options& options) {
    const Vexa::Kernels::Processor processor = Vexa::Kernels::DetectProcessor();
    std::puts(
        "family,converter,isa,size,ns_per_pixel,limit_ns_per_pixel,ratio,best_ratio,cycles_per_64_pixels,"
        "limit_cycles_per_64_pixels,undisturbed");
    for (const Size& size : ParseSizes(options.sizes)) {
        for (const Case& it : Cases()) {
            for (const Vexa::Kernels::KernelTable* table : Vexa::Kernels::KernelTables()) {
                if (Matches(options.converters, it.name) && Matches(options.isas, table->name) &&
                    CanRun(*table, processor)) {
                    MeasureCase(it, *table, size, options);
                }
            }
        }
    }
}

void Run(int argc, char** argv) {
    Options options;
    CLI::App app("Time of the memory limit / time of the converter, measured by turns, as CSV");
    app.add_option("--converter", options.converters, "parts of converter names");
    app.add_option("--isa", options.isas, "parts of instruction-set names");
    app.add_option("--size", options.sizes, "frame sizes, WIDTHxHEIGHT")->capture_default_str();
    app.add_option("--src-offset", options.srcOffset, "bytes from a page to the source")->capture_default_str();
    app.add_option("--dst-offset", options.dstOffset, "bytes from a page to the destination")->capture_default_str();
    app.add_option("--slices", options.plan.slices, "turns per case")
        ->capture_default_str()
        ->check(CLI::Range(1, 10000));
    app.add_option("--slice-seconds", options.plan.sliceSeconds, "length of a turn")->capture_default_str();
    app.parse(argc, argv);
    PrepareLUT();
    MeasureAll(options);
}

}  // namespace

int main(int argc, char** argv) {
    return Bench::RunReportingErrors("bench-ratios", Run, argc, argv);
}
