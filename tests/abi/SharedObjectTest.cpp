// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The shared object as a file: what it exports, needs and is called.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cctype>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "ExportedFunctions.h"
#include "Lines.h"

namespace {

using testing::AnyOf;
using testing::Each;
using testing::HasSubstr;
using testing::StartsWith;
using testing::UnorderedElementsAreArray;

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

/// "GLIBC_2.14" as {2, 14}; what has no number, as GLIBC_PRIVATE, is newer than everything.
std::vector<int> VersionOf(const std::string& name) {
    std::vector<int> version;
    std::istringstream parts(name.substr(name.rfind('_') + 1));
    for (std::string part; std::getline(parts, part, '.');) {
        version.push_back(std::isdigit(static_cast<unsigned char>(part.front())) != 0 ? std::stoi(part) : 9999);
    }
    return version;
}

// Those of CentOS 7 and of manylinux2014, so that the object loads on every system since.
TEST(SharedObject, NeedsNoNewerVersionsThanOldSystemsHave) {
    if (IS_INSTRUMENTED) {
        GTEST_SKIP() << "instrumented builds need their own run-time libraries";
    }
    const std::map<std::string, std::vector<int>> newest = {
        {"GLIBC", {2, 17}}, {"GLIBCXX", {3, 4, 19}}, {"CXXABI", {1, 3, 7}}, {"GCC", {4, 8, 0}}};
    uint32_t needed = 0;
    for (const std::string& line : LinesOf(READELF " -VW " LIBRARY)) {
        const size_t at = line.find("Name: ");
        if (at == std::string::npos || line.find("Flags:") == std::string::npos) {
            continue;
        }
        const std::string name = line.substr(at + 6, line.find(' ', at + 6) - at - 6);
        const auto limit = newest.find(name.substr(0, name.find('_')));
        if (limit != newest.end()) {
            EXPECT_LE(VersionOf(name), limit->second) << name;
            ++needed;
        }
    }
    EXPECT_GE(needed, 2u);
}

}  // namespace
