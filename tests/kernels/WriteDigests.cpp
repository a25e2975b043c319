// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Prints Digests.inc, computed by the reference only; the library takes no part. Run it after the corpus was changed:
//
//     cmake --build --preset dev --target write_digests && build/dev/tests/kernels/write_digests >
//     tests/kernels/Digests.inc
#include <cinttypes>
#include <cstdio>

#include "Corpus.h"

int main() {
    std::puts("// SPDX-License-Identifier: MIT");
    std::puts("// Copyright (c) the Vexa camera utility library authors");
    std::puts("//");
    std::puts("// What the reference makes of the corpus; written by write_digests.");
    std::puts("// clang-format off");
    for (const Reference::Converter& converter : Reference::Converters()) {
        const uint64_t digest = Corpus::DigestOf(
            converter, [&converter](uint8_t* dst, const uint8_t* src, uint32_t width, uint32_t height, uint32_t shift) {
                Reference::Convert(converter, dst, src, width, height, shift);
            });
        std::printf("{\"%s\", 0x%016" PRIX64 "u},\n", converter.name, digest);
    }
    return 0;
}
