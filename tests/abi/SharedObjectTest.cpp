// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The shared object as a file: what it exports, needs and is called, and that code for newer processors cannot leak
// into the rest through symbols that the linker merges.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "ExportedFunctions.h"

namespace {

using testing::AnyOf;
using testing::Each;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using testing::UnorderedElementsAreArray;

/// The lines that a command prints.
std::vector<std::string> LinesOf(const std::string& command) {
    // The commands are this file's own, without anything from outside.
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);  // NOLINT(cert-env33-c)
    std::vector<std::string> lines;
    std::string line;
    for (int letter = std::fgetc(pipe.get()); letter != EOF; letter = std::fgetc(pipe.get())) {
        if (letter == '\n') {
            lines.push_back(line);
            line.clear();
        } else {
            line += static_cast<char>(letter);
        }
    }
    return lines;
}

/// The last word of each line, where the lines are those of nm.
std::vector<std::string> LastWords(const std::vector<std::string>& lines) {
    std::vector<std::string> words;
    words.reserve(lines.size());
    for (const std::string& line : lines) {
        words.push_back(line.substr(line.find_last_of(' ') + 1));
    }
    return words;
}

/// What stands in brackets in the lines of readelf that hold `tag`.
std::vector<std::string> DynamicEntries(const std::string& tag) {
    std::vector<std::string> entries;
    for (const std::string& line : LinesOf(READELF " -dW " LIBRARY)) {
        const size_t open = line.find('[');
        if (line.find("(" + tag + ")") != std::string::npos && open != std::string::npos) {
            entries.push_back(line.substr(open + 1, line.find(']') - open - 1));
        }
    }
    return entries;
}

TEST(SharedObject, ExportsExactlyTheNinetyFunctions) {
    static_assert(std::size(kExportedFunctions) == 90);
    const std::vector<std::string> lines = LinesOf(NM " -D --defined-only " LIBRARY);
    EXPECT_THAT(LastWords(lines), UnorderedElementsAreArray(kExportedFunctions));
    EXPECT_THAT(lines, Each(HasSubstr(" T ")));
}

TEST(SharedObject, IsCalledByItsMajorVersion) {
    EXPECT_EQ(DynamicEntries("SONAME"), std::vector<std::string>{"libVexaCamUtl_64.so.1"});
}

TEST(SharedObject, NeedsTheStandardLibrariesOnly) {
    if (IS_INSTRUMENTED) {
        GTEST_SKIP() << "instrumented builds need their own run-time libraries";
    }
    const std::vector<std::string> needed = DynamicEntries("NEEDED");
    EXPECT_FALSE(needed.empty());
    EXPECT_THAT(needed,
                Each(AnyOf("libstdc++.so.6", "libgcc_s.so.1", "libm.so.6", "libc.so.6", StartsWith("ld-linux"))));
}

TEST(SharedObject, KeepsItsDataToItself) {
    uint32_t found = 0;
    for (const std::string& line : LinesOf(NM " " LIBRARY)) {
        for (const char* name : {"c_asPixelFormatDic", "auiMono2BGRA", "auiYUVC_UV", "auiYUV2G", "aucYUV2G", "aucYU2B",
                                 "auiYV2R", "aucYV2R", "s_bLUTReady", "s_eBayerConvMode"}) {
            const std::string mangled = " _ZN4Vexa" + std::to_string(std::string(name).size()) + name + "E";
            if (line.size() > mangled.size() && line.substr(line.size() - mangled.size()) == mangled) {
                // A small letter: local to the object.
                EXPECT_THAT(line, AnyOf(HasSubstr(" b "), HasSubstr(" d "), HasSubstr(" r "))) << line;
                ++found;
            }
        }
    }
    EXPECT_EQ(found, 10u);
}

TEST(SharedObject, InstructionSetObjectsHoldNoWeakSymbols) {
    if (IS_INSTRUMENTED || !IS_OPTIMISED) {
        GTEST_SKIP() << "only optimised builds without instrumentation are free of them";
    }
    std::istringstream objects(OBJECTS);
    uint32_t examined = 0;
    for (std::string object; std::getline(objects, object, '|');) {
        // The scalar kernels are code for every processor; sharing theirs does no harm.
        if (object.find("/Isa") == std::string::npos || object.find("/IsaScalar") != std::string::npos) {
            continue;
        }
        ++examined;
        for (const std::string& line : LinesOf(NM " " + object)) {
            EXPECT_THAT(line, Not(AnyOf(HasSubstr(" W "), HasSubstr(" V "), HasSubstr(" u ")))) << object;
        }
    }
    EXPECT_GE(examined, 1u);
}

}  // namespace
