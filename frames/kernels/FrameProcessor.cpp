// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The ladder of tables. The choice is made when the library is loaded; until then the scalar kernels serve. The
// compiler's runtime knows the processor and whether the operating system saves its registers.
#include "kernels/FrameProcessor.h"

#include <algorithm>

namespace VexaFrames {

namespace {

constexpr const FrameKernels* kLadder[] = {
    &kScalarFrameKernels,
#if defined(__x86_64__)
    &kSseFrameKernels,
    &kAvx2FrameKernels,
    &kAvx512FrameKernels,
#elif defined(__aarch64__)
    &kNeonFrameKernels,
#elif defined(__wasm__)
    &kWasmFrameKernels,
#endif
};

[[gnu::constructor]] void ChooseAtLoad() {
    for (const FrameKernels* kernels : kLadder) {
        if (!CanRunFrameKernels(*kernels)) {
            return;
        }
        s_frameKernels = kernels;
    }
}

}  // namespace

std::span<const FrameKernels* const> AllFrameKernels() {
    return kLadder;
}

bool CanRunFrameKernels(const FrameKernels& kernels) {
#if defined(__x86_64__)
    __builtin_cpu_init();
    if (&kernels == &kSseFrameKernels) {
        return __builtin_cpu_supports("ssse3") != 0 && __builtin_cpu_supports("sse4.1") != 0;
    }
    if (&kernels == &kAvx2FrameKernels) {
        return __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("fma") != 0;
    }
    if (&kernels == &kAvx512FrameKernels) {
        return __builtin_cpu_supports("avx512f") != 0 && __builtin_cpu_supports("avx512bw") != 0 &&
               __builtin_cpu_supports("avx512vl") != 0 && __builtin_cpu_supports("avx512dq") != 0 &&
               __builtin_cpu_supports("avx512vbmi") != 0;
    }
#elif defined(__aarch64__)
    if (&kernels == &kNeonFrameKernels) {
        return true;  // part of the architecture
    }
#elif defined(__wasm__)
    if (&kernels == &kWasmFrameKernels) {
        return true;  // a module with vector instructions is refused as a whole where they are missing
    }
#endif
    return &kernels == &kScalarFrameKernels;
}

}  // namespace VexaFrames
