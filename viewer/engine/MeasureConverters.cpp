// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Not part of the engine: the converters' speed as WebAssembly, in the tool's own measure, for
// viewer/measure_engine.py.
//
//   node measure_converters.js WIDTH HEIGHT SECONDS NAME...
#include <VexaCamUtl.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "commands/ConverterBench.h"

int main(int argc, char** argv) {
    if (argc < 5) {
        static_cast<void>(std::fprintf(stderr, "usage: measure_converters WIDTH HEIGHT SECONDS NAME...\n"));
        return 2;
    }
    PrepareLUT();
    const auto number = [&](int i) { return static_cast<uint32_t>(std::strtoul(argv[i], nullptr, 10)); };
    VexaTool::ConverterBench bench(number(1), number(2), std::strtod(argv[3], nullptr));
    for (const VexaCatalogue::Converter& converter : VexaCatalogue::kConverters) {
        for (int i = 4; i < argc; ++i) {
            if (std::strcmp(converter.name, argv[i]) == 0) {
                bench.Row(converter, true);
            }
        }
    }
    return 0;
}
