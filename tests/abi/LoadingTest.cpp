// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Loading at run time: every name is found, every load starts afresh, and loading and unloading leaves nothing behind.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <string>

#include "ExportedFunctions.h"

namespace {

using Converter = uint32_t (*)(void*, const void*, uint32_t, uint32_t);
using Preparer = uint32_t (*)();

/// Lines of the process's memory map that name the library.
int Mappings() {
    std::ifstream maps("/proc/self/maps");
    int count = 0;
    for (std::string line; std::getline(maps, line);) {
        count += line.find("libVexaCamUtl_64") != std::string::npos ? 1 : 0;
    }
    return count;
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

TEST(Loading, EveryLoadStartsAfresh) {
    const uint8_t grey = 0x80;
    for (int i = 0; i < 1000; ++i) {
        void* library = dlopen(LIBRARY, i % 2 == 0 ? RTLD_NOW : RTLD_LAZY);
        ASSERT_NE(library, nullptr) << dlerror();
        const auto convert = reinterpret_cast<Converter>(dlsym(library, "ConvMono8ToBGRA"));
        const auto prepare = reinterpret_cast<Preparer>(dlsym(library, "PrepareLUT"));
        uint8_t pixel[4] = {};
        ASSERT_EQ(convert(pixel, &grey, 1, 1), 21u) << "load " << i;
        ASSERT_EQ(prepare(), 0u);
        ASSERT_EQ(convert(pixel, &grey, 1, 1), 0u);
        ASSERT_EQ(pixel[0], 0x80);
        ASSERT_EQ(dlclose(library), 0);
    }
    EXPECT_EQ(Mappings(), 0);
}

}  // namespace
