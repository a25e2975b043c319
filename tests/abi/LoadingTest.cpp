// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Loading at run time: every name is found, every load starts afresh, and loading and unloading leaves nothing behind.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <string>

#include "../faults/Descriptors.h"
#include "ExportedFunctions.h"

namespace {

using Converter = uint32_t (*)(void*, const void*, uint32_t, uint32_t);
using Preparer = uint32_t (*)();

/// Lines of the process's memory map that contain `part`.
int Mappings(const std::string& part) {
    std::ifstream maps("/proc/self/maps");
    int count = 0;
    for (std::string line; std::getline(maps, line);) {
        count += line.find(part) != std::string::npos ? 1 : 0;
    }
    return count;
}

/// One load; that it is a first time shows in the tables, which are not ready.
void LoadUseAndUnload(int mode) {
    void* library = dlopen(LIBRARY, mode);
    ASSERT_NE(library, nullptr) << dlerror();
    const auto convert = reinterpret_cast<Converter>(dlsym(library, "ConvMono8ToBGRA"));
    const auto prepare = reinterpret_cast<Preparer>(dlsym(library, "PrepareLUT"));
    const uint8_t grey = 0x80;
    uint8_t pixel[4] = {};
    ASSERT_EQ(convert(pixel, &grey, 1, 1), 21u);
    ASSERT_EQ(prepare(), 0u);
    ASSERT_EQ(convert(pixel, &grey, 1, 1), 0u);
    ASSERT_EQ(pixel[0], 0x80);
    ASSERT_EQ(dlclose(library), 0);
}

TEST(Loading, EveryFunctionIsFoundByName) {
    void* library = dlopen(LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    for (const char* name : kExportedFunctions) {
        EXPECT_NE(dlsym(library, name), nullptr) << name;
    }
    EXPECT_EQ(dlsym(library, "ConvByrGR8ToBGRAACPIX"), nullptr);
    dlclose(library);
}

TEST(Loading, AThousandLoadsStartAfreshAndLeaveNothing) {
    // The first loads also bring what the object needs, and that may stay.
    ASSERT_NO_FATAL_FAILURE(LoadUseAndUnload(RTLD_NOW));
    ASSERT_NO_FATAL_FAILURE(LoadUseAndUnload(RTLD_LAZY));
    const int mappings = Mappings("");
    const long descriptors = Faults::OpenDescriptors();
    for (int i = 2; i < 1000; ++i) {
        ASSERT_NO_FATAL_FAILURE(LoadUseAndUnload(i % 2 == 0 ? RTLD_NOW : RTLD_LAZY)) << "load " << i;
    }
    EXPECT_EQ(Mappings("libVexaCamUtl_64"), 0);
    if (!IS_INSTRUMENTED) {
        EXPECT_LE(Mappings(""), mappings + 2);  // the heap may grow by a mapping; sanitizers keep mappings of their own
    }
    EXPECT_EQ(Faults::OpenDescriptors(), descriptors);
}

}  // namespace
