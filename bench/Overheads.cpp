// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// What does not grow with the frame, as CSV on standard output: loading the shared object, PrepareLUT, the call of a
// converter on the smallest frame, and the price of a destination that is not on a cache line (malloc's 16 bytes after
// one) as time there / time on a line.
#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <system_error>

#include <CLI/CLI.hpp>

#include "Cases.h"
#include "Filter.h"
#include "Measure.h"
#include "catalogue/VexaCamUtl.h"
#include "kernels/CpuFeatures.h"
#include "kernels/KernelTable.h"

namespace {

using namespace Bench;

constexpr SlicePlan kPlan = {15, 0.0005, 0, 1};

void Print(const char* what, const char* isa, const std::string& size, double value, const char* unit) {
    static_cast<void>(std::printf("\"%s\",%s,%s,%.4g,%s\n", what, isa, size.c_str(), value, unit));
    static_cast<void>(std::fflush(stdout));
}

/// The C++ runtime is in this process already, so this is the library's own share: mapping, relocation, the choice of
/// kernels, and taking it all down again.
void MeasureLoad(const char* library) {
    const std::vector<Timing> timings = MeasureByTurns({[&] {
                                                           void* const handle = dlopen(library, RTLD_NOW | RTLD_LOCAL);
                                                           if (handle == nullptr) {
                                                               throw std::runtime_error(dlerror());
                                                           }
                                                           dlclose(handle);
                                                       }},
                                                       kPlan);
    Print("dlopen and dlclose", "", "", timings[0].median * 1e6, "us");
}

/// PrepareLUT for the first time in its process: a child measures it and sends the seconds back.
double FirstPrepareLutSeconds() {
    int ends[2] = {};
    if (pipe(ends) != 0) {
        throw std::system_error(errno, std::generic_category(), "pipe");
    }
    const pid_t child = fork();
    if (child == 0) {
        const double seconds = SecondsFor([] { PrepareLUT(); }, 1);
        _exit(write(ends[1], &seconds, sizeof seconds) == sizeof seconds ? 0 : 1);
    }
    double seconds = 0;
    const bool received = child > 0 && read(ends[0], &seconds, sizeof seconds) == sizeof seconds;
    close(ends[0]);
    close(ends[1]);
    if (child > 0) {
        waitpid(child, nullptr, 0);
    }
    if (!received) {
        throw std::runtime_error("the child that times PrepareLUT failed");
    }
    return seconds;
}

/// The first call writes the tables, which takes their pages from the system; later calls only look.
void MeasurePrepareLut() {
    std::vector<double> first(15);
    std::generate(first.begin(), first.end(), FirstPrepareLutSeconds);
    std::sort(first.begin(), first.end());
    Print("PrepareLUT, first call", "", "", first[first.size() / 2] * 1e6, "us");
    Print("PrepareLUT, later calls", "", "", MeasureByTurns({[] { PrepareLUT(); }}, kPlan)[0].median * 1e6, "us");
}

void MeasureSmallest(const Case& it, const Vexa::Kernels::KernelTable& table) {
    const Size size = it.IsMosaic() && std::strstr(it.name, "ACPI") != nullptr ? Size{4, 4} : Size{2, 2};
    const Buffer src(size.Pixels() * it.srcBits / 8 + 1);
    const Buffer dst(size.Pixels() * it.dstBits / 8 + 1);
    Vexa::s_psKernels = &table;
    const Work work = [&] { it.Run(dst.Data(), src.Data(), size.width, size.height); };
    Print((std::string("call of ") + it.name).c_str(), table.name, size.Text(),
          MeasureByTurns({work}, kPlan)[0].median * 1e9, "ns");
}

/// Whether an instruction set is slower than the scalar code on a frame so small that little but the call is left.
void MeasureSmall(const Case& it, const Vexa::Kernels::KernelTable& table) {
    const Size size = {64, 48};
    const size_t srcBytes = size.Pixels() * it.srcBits / 8;
    const Buffer src(srcBytes);
    const Buffer dst(size.Pixels() * it.dstBits / 8);
    FillWithSamples(src.Data(), srcBytes, it.HasWords());
    const auto with = [&](const Vexa::Kernels::KernelTable& kernels) -> Work {
        return [&] {
            Vexa::s_psKernels = &kernels;
            it.Run(dst.Data(), src.Data(), size.width, size.height);
        };
    };
    const std::vector<Timing> timings = MeasureByTurns({with(Vexa::Kernels::kScalarTable), with(table)}, kPlan);
    Print((std::string("time / scalar time of ") + it.name).c_str(), table.name, size.Text(),
          timings[1].median / timings[0].median, "ratio");
}

void MeasureUnaligned(const Case& it, const Vexa::Kernels::KernelTable& table, const Size& size) {
    constexpr size_t kMallocOffset = 16;
    const size_t srcBytes = size.Pixels() * it.srcBits / 8;
    const Buffer src(srcBytes);
    const Buffer dst(size.Pixels() * it.dstBits / 8 + kMallocOffset);
    FillWithSamples(src.Data(), srcBytes, it.HasWords());
    Vexa::s_psKernels = &table;
    const auto at = [&](size_t offset) -> Work {
        return [&, to = dst.Data() + offset] { it.Run(to, src.Data(), size.width, size.height); };
    };
    const std::vector<Timing> timings = MeasureByTurns({at(0), at(kMallocOffset)}, kPlan);
    Print((std::string("time at 16 modulo 64 / time at 0 of ") + it.name).c_str(), table.name, size.Text(),
          timings[1].median / timings[0].median, "ratio");
}

struct Options {
    std::vector<std::string> converters;
    std::vector<std::string> isas;
    std::string library;
};

void MeasureCases(const Options& options) {
    const Vexa::Kernels::Processor processor = Vexa::Kernels::DetectProcessor();
    for (const Case& it : Cases()) {
        for (const Vexa::Kernels::KernelTable* table : Vexa::Kernels::KernelTables()) {
            if (Matches(options.converters, it.name) && Matches(options.isas, table->name) &&
                CanRun(*table, processor)) {
                MeasureSmallest(it, *table);
                MeasureSmall(it, *table);
                MeasureUnaligned(it, *table, {640, 480});
                MeasureUnaligned(it, *table, {1920, 1080});
            }
        }
    }
}

void Run(int argc, char** argv) {
    Options options;
    CLI::App app("What does not grow with the frame, as CSV");
    app.add_option("--library", options.library, "shared object whose loading is timed");
    app.add_option("--converter", options.converters, "parts of converter names");
    app.add_option("--isa", options.isas, "parts of instruction-set names");
    app.parse(argc, argv);
    std::puts("what,isa,size,value,unit");
    if (!options.library.empty()) {
        MeasureLoad(options.library.c_str());
    }
    MeasurePrepareLut();
    MeasureCases(options);
}

}  // namespace

int main(int argc, char** argv) {
    return Bench::RunReportingErrors("bench-overheads", Run, argc, argv);
}
