// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Which limit a converter is held against: by the widest stores of its instruction set, and by its shape.
#include "Limit.h"

#include <numeric>
#include <string_view>

namespace Bench {

const LimitTable& LimitFor([[maybe_unused]] const char* tableName, [[maybe_unused]] const char* family) {
#if defined(__x86_64__)
    const std::string_view name(tableName);
    const std::string_view of(family);
    // This set has kernels of its own for these families only and takes the others from AVX2.
    if (name == "avx512bw" && !of.starts_with("YUV") && !of.starts_with("Bayer") && of != "ACPI") {
        return kLimit32;
    }
    if (name.starts_with("avx512")) {
        return kLimit64;
    }
    if (name.starts_with("avx")) {
        return kLimit32;
    }
#endif
    return kLimit16;
}

LimitKernel FindLimit(const LimitTable& table, unsigned srcBits, unsigned dstBits) {
    const unsigned common = std::gcd(srcBits, dstBits);
    for (const LimitShape& shape : table.shapes) {
        if (shape.loads == srcBits / common && shape.stores == dstBits / common) {
            return shape.run;
        }
    }
    return nullptr;
}

}  // namespace Bench
