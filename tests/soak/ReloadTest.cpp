// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The shared object loaded and unloaded 1,000 times. That each time is a first time shows in the tables, which are not
// ready; that nothing stays behind shows in the mappings and descriptors of the process.
#include <VexaCamUtl.h>
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "../faults/Descriptors.h"

namespace {

int Mappings() {
    std::ifstream maps("/proc/self/maps");
    int count = 0;
    for (std::string line; std::getline(maps, line);) {
        ++count;
    }
    return count;
}

bool IsMapped() {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        if (line.find("libVexaCamUtl_64.so") != std::string::npos) {
            return true;
        }
    }
    return false;
}

template <class Function>
Function* Find(void* object, const char* name) {
    return reinterpret_cast<Function*>(::dlsym(object, name));
}

void LoadUseAndUnload() {
    void* object = ::dlopen(VEXACAMUTL_OBJECT, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(object, nullptr) << ::dlerror();
    auto* convert = Find<decltype(ConvMono8ToBGRA)>(object, "ConvMono8ToBGRA");
    auto* prepare = Find<decltype(PrepareLUT)>(object, "PrepareLUT");
    ASSERT_NE(convert, nullptr);
    ASSERT_NE(prepare, nullptr);
    const uint8_t grey = 7;
    uint8_t pixel[4] = {};
    EXPECT_EQ(convert(pixel, &grey, 1, 1), UTL_STS_NOT_INITIALIZED);
    EXPECT_EQ(prepare(), UTL_STS_SUCCESS);
    EXPECT_EQ(convert(pixel, &grey, 1, 1), UTL_STS_SUCCESS);
    EXPECT_EQ(pixel[2], 7);
    ASSERT_EQ(::dlclose(object), 0);
}

TEST(Reload, ThousandTimes) {
    // The first time also loads what the object needs, and that may stay.
    ASSERT_NO_FATAL_FAILURE(LoadUseAndUnload());
    ASSERT_NO_FATAL_FAILURE(LoadUseAndUnload());
    const int mappings = Mappings();
    const long descriptors = Faults::OpenDescriptors();
    for (int i = 2; i < 1000; ++i) {
        ASSERT_NO_FATAL_FAILURE(LoadUseAndUnload());
    }
    EXPECT_FALSE(IsMapped());
#ifndef VEXACAMUTL_SANITIZED
    EXPECT_LE(Mappings(), mappings + 2);  // the heap may grow by a mapping; a sanitizer keeps mappings of its own
#else
    static_cast<void>(mappings);
#endif
    EXPECT_EQ(Faults::OpenDescriptors(), descriptors);
}

}  // namespace
