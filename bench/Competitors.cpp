// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// This library beside the others that do the same job, as CSV on standard output: the memory limit, this library with
// the kernels that it chooses for this processor, and every competitor that was found take turns in one thread of one
// run.
//
//     bench-competitors --converter Byr --size 1920x1080
//
// Pictures are compared too: the share of bytes that are the same away from the border, and the largest difference.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <CLI/CLI.hpp>

#include "Cases.h"
#include "Filter.h"
#include "Limit.h"
#include "Measure.h"
#include "catalogue/VexaCamUtl.h"
#include "competitors/Competitor.h"
#include "kernels/KernelTable.h"

namespace {

using namespace Bench;

struct Options {
    std::vector<std::string> converters;
    std::vector<std::string> sizes = kFrameSizes;
    SlicePlan plan = {15, 0.004, 0.006, 3};
};

struct Agreement {
    double equalPercent;
    int largestDifference;
};

/// Leaves out four pixels at each border, where every library has its own rule.
Agreement Compare(const uint8_t* ours, const uint8_t* theirs, const Case& it, const Size& size, bool redFirst) {
    const size_t margin = it.IsMosaic() ? 4 : 0;
    const size_t rowBytes = size_t{size.width} * it.dstBits / 8;
    const size_t sideBytes = margin * it.dstBits / 8;
    size_t equal = 0;
    size_t compared = 0;
    int largest = 0;
    for (size_t r = margin; r + margin < size.height; ++r) {
        for (size_t i = sideBytes; i + sideBytes < rowBytes; ++i) {
            // Byte i of B, G, R is byte 2 - i of R, G, B.
            const size_t theirColumn = redFirst ? i / 3 * 3 + (2 - i % 3) : i;
            const int difference = std::abs(ours[r * rowBytes + i] - theirs[r * rowBytes + theirColumn]);
            equal += difference == 0 ? 1 : 0;
            ++compared;
            largest = std::max(largest, difference);
        }
    }
    return {100.0 * static_cast<double>(equal) / static_cast<double>(std::max<size_t>(compared, 1)), largest};
}

std::vector<const Competitor*> CompetitorsOf(const Case& it) {
    std::vector<const Competitor*> competitors;
    for (const Competitor& competitor : Competitors()) {
        if (std::strcmp(competitor.job, it.name) == 0) {
            competitors.push_back(&competitor);
        }
    }
    return competitors;
}

void PrintRow(const Case& it, const Size& size, const char* library, const char* how, const Timing& timing,
              const std::vector<Timing>& all, const Agreement& agreement, const char* difference) {
    static_cast<void>(std::printf(
        "%s,%s,%s,%s,\"%s\",%.4f,%.3f,%.3f,%.2f,%d,\"%s\"\n", it.family, it.name, size.Text().c_str(), library, how,
        timing.median * 1e9 / static_cast<double>(size.Pixels()), timing.median / all[0].median,
        timing.median / all[1].median, agreement.equalPercent, agreement.largestDifference, difference));
}

void MeasureCase(const Case& it, const std::vector<const Competitor*>& competitors, const Size& size,
                 const SlicePlan& plan) {
    const size_t srcBytes = size.Pixels() * it.srcBits / 8;
    const size_t dstBytes = size.Pixels() * it.dstBits / 8;
    const Buffer src(srcBytes);
    const Buffer dst(dstBytes);
    FillWithSamples(src.Data(), srcBytes, it.HasWords());
    const LimitKernel limit = FindLimit(LimitFor(Vexa::s_psKernels->name, it.family), it.srcBits, it.dstBits);
    std::vector<Work> works = {[&] { limit(dst.Data(), src.Data(), srcBytes); },
                               [&] { it.Run(dst.Data(), src.Data(), size.width, size.height); }};

    // All write to one destination while times are taken, so that pages and cache lines are the same for all.
    const Buffer ours(dstBytes);
    std::vector<Agreement> agreements;
    it.Run(ours.Data(), src.Data(), size.width, size.height);
    for (const Competitor* competitor : competitors) {
        works.push_back(competitor->prepare({dst.Data(), src.Data(), size.width, size.height}));
        works.back()();
        agreements.push_back(Compare(ours.Data(), dst.Data(), it, size, competitor->redFirst));
    }
    const std::vector<Timing> timings = MeasureByTurns(works, plan);
    PrintRow(it, size, "limit", "", timings[0], timings, {0, 0}, "");
    PrintRow(it, size, "this library", Vexa::s_psKernels->name, timings[1], timings, {100, 0}, "");
    for (size_t i = 0; i < competitors.size(); ++i) {
        PrintRow(it, size, competitors[i]->library, competitors[i]->how, timings[i + 2], timings, agreements[i],
                 competitors[i]->difference);
    }
    static_cast<void>(std::fflush(stdout));
}

void Run(int argc, char** argv) {
    Options options;
    CLI::App app("This library beside others that do the same job, measured by turns, as CSV");
    app.add_option("--converter", options.converters, "parts of converter names");
    app.add_option("--size", options.sizes, "frame sizes, WIDTHxHEIGHT")->capture_default_str();
    app.add_option("--slices", options.plan.slices, "turns per case")->capture_default_str();
    app.add_option("--slice-seconds", options.plan.sliceSeconds, "length of a turn")->capture_default_str();
    app.add_option("--warm-seconds", options.plan.warmSeconds, "calls before a turn that are not timed")
        ->capture_default_str();
    app.parse(argc, argv);
    PrepareLUT();
    std::puts(
        "family,converter,size,library,how,ns_per_pixel,time_over_limit,time_over_ours,equal_percent,"
        "largest_difference,difference");
    for (const Size& size : ParseSizes(options.sizes)) {
        for (const Case& it : Cases()) {
            const std::vector<const Competitor*> competitors = CompetitorsOf(it);
            if (!competitors.empty() && Matches(options.converters, it.name)) {
                MeasureCase(it, competitors, size, options.plan);
            }
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    return Bench::RunReportingErrors("bench-competitors", Run, argc, argv);
}
