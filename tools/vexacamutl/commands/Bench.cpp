// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// bench: how fast each converter is on this machine.
#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <catalogue/ConverterList.h>

#include "Failure.h"
#include "commands/Commands.h"
#include "commands/ConverterBench.h"
#include "formats/RawShape.h"

namespace VexaTool {

namespace {

using VexaCatalogue::Converter;

struct Arguments {
    std::vector<std::string> names;
    std::string size = "1920x1080";
    double seconds = 0.1;
    bool csv = false;
};

std::vector<Converter> Chosen(const std::vector<std::string>& names) {
    std::vector<Converter> chosen;
    for (const Converter& converter : VexaCatalogue::kConverters) {
        const bool wanted = std::any_of(names.begin(), names.end(), [&](const std::string& part) {
            return std::string(converter.name).find(part) != std::string::npos;
        });
        if (names.empty() || wanted) {
            chosen.push_back(converter);
        }
    }
    if (chosen.empty()) {
        throw Failure(ExitCode::kUsage, "no converter's name contains '" + names[0] + "'");
    }
    return chosen;
}

void Run(const Arguments& arguments) {
    RawShape shape;
    shape.format = FindFormat(PIXEL_FORMAT_RGB12);
    ParseSize(arguments.size, shape.width, shape.height);
    CheckShape(shape, "bench");
    const std::vector<Converter> chosen = Chosen(arguments.names);
    ConverterBench bench(shape.width, shape.height, arguments.seconds);
    if (arguments.csv) {
        std::printf("converter,mpixel_per_s,gbyte_per_s,ratio_to_copy\n");
    } else {
        std::printf("%-24s %10s %8s %8s   (%ux%u, one thread)\n", "converter", "Mpixel/s", "GB/s", "of copy",
                    shape.width, shape.height);
    }
    for (const Converter& converter : chosen) {
        bench.Row(converter, arguments.csv);
    }
}

}  // namespace

void DeclareBench(CLI::App& command) {
    auto arguments = std::make_shared<Arguments>();
    command.add_option("NAMES", arguments->names, "Only converters whose names contain one of these, for example Byr");
    command.add_option("-s,--size", arguments->size, "Size of the frame (default: 1920x1080)");
    command.add_option("--seconds", arguments->seconds, "Time for each converter (default: 0.1)")
        ->check(CLI::Range(0.0, 60.0));
    command.add_flag("--csv", arguments->csv, "Comma-separated values");
    command.callback([arguments] { Run(*arguments); });
}

}  // namespace VexaTool
