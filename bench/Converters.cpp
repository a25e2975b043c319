// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The Google Benchmark program: one case per converter, instruction set and frame size, with pixels and bytes (read
// and written) a second and the ratio to the memory limit. Every iteration times the limit too, right before the
// converter, so the ratio holds on a busy machine.
//
//     bench-converters --benchmark_filter='ACPI/avx2/1920x1080'
#include <string>

#include <benchmark/benchmark.h>

#include "Cases.h"
#include "Filter.h"
#include "Limit.h"
#include "Measure.h"
#include "catalogue/VexaCamUtl.h"
#include "kernels/CpuFeatures.h"
#include "kernels/KernelTable.h"

namespace {

using namespace Bench;

/// Small frames are converted several times between two looks at the clock.
size_t CallsPerIteration(const Size& size) {
    constexpr size_t kPixels = size_t{1} << 18;
    return size.Pixels() < kPixels ? kPixels / size.Pixels() : 1;
}

void Convert(benchmark::State& state, const Case& it, const Vexa::Kernels::KernelTable& table, const Size& size) {
    const size_t srcBytes = size.Pixels() * it.srcBits / 8;
    const size_t dstBytes = size.Pixels() * it.dstBits / 8;
    const Buffer src(srcBytes);
    const Buffer dst(dstBytes);
    FillWithSamples(src.Data(), srcBytes, it.HasWords());
    const LimitKernel limit = FindLimit(LimitFor(table.name, it.family), it.srcBits, it.dstBits);
    const size_t calls = CallsPerIteration(size);
    Vexa::s_psKernels = &table;
    double limitSeconds = 0;
    double converterSeconds = 0;
    for ([[maybe_unused]] const auto iteration : state) {
        limitSeconds += SecondsFor([&] { limit(dst.Data(), src.Data(), srcBytes); }, calls);
        const double seconds = SecondsFor([&] { it.Run(dst.Data(), src.Data(), size.width, size.height); }, calls);
        converterSeconds += seconds;
        state.SetIterationTime(seconds);
    }
    const auto pixels = static_cast<int64_t>(size.Pixels() * calls) * state.iterations();
    state.SetItemsProcessed(pixels);
    state.SetBytesProcessed(pixels * (it.srcBits + it.dstBits) / 8);
    state.counters["ratio"] = limitSeconds / converterSeconds;
}

void RegisterAll() {
    const Vexa::Kernels::Processor processor = Vexa::Kernels::DetectProcessor();
    for (const Case& it : Cases()) {
        for (const Vexa::Kernels::KernelTable* table : Vexa::Kernels::KernelTables()) {
            if (!CanRun(*table, processor)) {
                continue;
            }
            for (const Size& size : ParseSizes(kFrameSizes)) {
                const std::string name = std::string(it.name) + '/' + table->name + '/' + size.Text();
                benchmark::RegisterBenchmark(name.c_str(), [&it, table, size](benchmark::State& state) {
                    Convert(state, it, *table, size);
                })->UseManualTime();
            }
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    PrepareLUT();
    RegisterAll();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
