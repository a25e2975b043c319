// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// What holds for all converters alike: null pointers, empty pictures, counts that wrap, entries that forward.
#include <dlfcn.h>

#include <algorithm>
#include <set>
#include <string>

#include "ExportedFunctions.h"
#include "Patterns.h"
#include "Picture.h"

namespace {

class Contract : public testing::Test {
  protected:
    void SetUp() override { PrepareLUT(); }
};

bool Holds(const Bytes& bytes, uint8_t value) {
    return std::all_of(bytes.begin(), bytes.end(), [value](uint8_t byte) { return byte == value; });
}

TEST_F(Contract, TheListHoldsEveryExportedConverterOnce) {
    std::multiset<std::string> exported;
    for (const std::string name : kExportedFunctions) {
        if (name.starts_with("Conv") && name.find("To") != std::string::npos) {
            exported.insert(name);
        }
    }
    std::multiset<std::string> listed;
    for (const Reference::Converter& converter : Reference::Converters()) {
        listed.insert(converter.name);
    }
    EXPECT_EQ(listed, exported);
}

TEST_F(Contract, TheListNamesTheFunctionsThatItPointsTo) {
    for (const Reference::Converter& converter : Reference::Converters()) {
        const void* pointer = converter.IsWorker() ? reinterpret_cast<const void*>(converter.worker)
                                                   : reinterpret_cast<const void*>(converter.function);
        EXPECT_EQ(pointer, dlsym(RTLD_DEFAULT, converter.name)) << converter.name;
        EXPECT_EQ(converter.IsWorker(), converter.function == nullptr) << converter.name;
    }
}

TEST_F(Contract, NullPointersAreRefusedForAllSizes) {
    for (const Reference::Converter& converter : Reference::Converters()) {
        for (const uint32_t size : {0u, 1u, 2u, 4u}) {
            Bytes dst(4 * 4 * 4, 0x55);
            const Bytes src(4 * 4 * 6, 0x31);
            EXPECT_EQ(converter.Call(nullptr, src.data(), size, size), UTL_STS_INVALID_PARAMETER) << converter.name;
            EXPECT_EQ(converter.Call(dst.data(), nullptr, size, size), UTL_STS_INVALID_PARAMETER) << converter.name;
            EXPECT_EQ(converter.Call(nullptr, nullptr, size, size), UTL_STS_INVALID_PARAMETER) << converter.name;
            EXPECT_TRUE(Holds(dst, 0x55)) << converter.name;
        }
    }
}

TEST_F(Contract, EmptyPicturesAreASuccessThatWritesNothing) {
    for (const Reference::Converter& converter : Reference::Converters()) {
        for (const uint32_t size : {1u, 2u, 7u, 0x10000u, 0xFFFFFFFFu}) {
            Reference::GuardedArena source(0);
            Reference::GuardedArena destination(0);
            uint8_t* src = source.Block(0, Reference::GuardSide::kBack, 0x55);
            uint8_t* dst = destination.Block(0, Reference::GuardSide::kBack, 0x55);
            EXPECT_EQ(converter.Call(dst, src, size, 0), UTL_STS_SUCCESS) << converter.name;
            EXPECT_EQ(converter.Call(dst, src, 0, size), UTL_STS_SUCCESS) << converter.name;
            EXPECT_TRUE(destination.MarginIsIntact()) << converter.name;
        }
    }
}

TEST_F(Contract, PixelCountsWrapModulo2To32) {
    struct Size {
        uint32_t width;
        uint32_t height;
        uint32_t pixels;
    };
    for (const Reference::Converter& converter : Reference::Converters()) {
        if (!converter.IsRun()) {
            continue;
        }
        for (const Size size : {Size{0x80000004, 2, 8}, Size{0x10000, 0x10000, 0}, Size{3, 0x5555555B, 17}}) {
            ASSERT_EQ(size.width * size.height, size.pixels);
            Bytes src(converter.SourceBytes(size.pixels, 1) + 1);  // never a null pointer
            Reference::FillPattern(src.data(), src.size(), src.size(), 1, 8, Reference::Pattern::kRandom, 5);
            Bytes wrapped(converter.DestinationBytes(size.pixels, 1) + 16, 0x55);
            Bytes direct = wrapped;
            EXPECT_EQ(converter.Call(wrapped.data(), src.data(), size.width, size.height), UTL_STS_SUCCESS);
            EXPECT_EQ(converter.Call(direct.data(), src.data(), size.pixels, 1), UTL_STS_SUCCESS);
            EXPECT_EQ(wrapped, direct) << converter.name;
        }
    }
}

TEST_F(Contract, EntriesOfTenTwelveAndSixteenBitsForwardToTheirWorker) {
    for (const Reference::Converter& converter : Reference::Converters()) {
        if (converter.depth == 8 || converter.IsWorker()) {
            continue;
        }
        const std::string depth = std::to_string(converter.depth);
        const std::string packed = converter.family == Reference::Family::kPackedColour ? "P" : "";
        const std::string name = converter.name;
        const size_t at = name.find(depth);
        const Reference::Converter& worker =
            Reference::Find(name.substr(0, at) + 'N' + name.substr(at + depth.size() + packed.size()));
        Bytes src(converter.SourceBytes(18, 6));
        Reference::FillPattern(src.data(), src.size(), src.size(), 1, 8, Reference::Pattern::kRandom, 11);
        const Bytes picture = PictureOf(converter, 18, 6, src, 0);
        EXPECT_EQ(picture, PictureOf(worker, 18, 6, src, converter.depth - 8)) << converter.name;
        EXPECT_NE(picture, PictureOf(worker, 18, 6, src, converter.depth - 7)) << converter.name;
        uint8_t byte = 0;
        EXPECT_EQ(worker.Call(nullptr, &byte, 2, 2, 2), UTL_STS_INVALID_PARAMETER) << worker.name;
        EXPECT_EQ(worker.Call(&byte, nullptr, 2, 2, 2), UTL_STS_INVALID_PARAMETER) << worker.name;
    }
}

TEST_F(Contract, OnlyTheLowByteOfAShiftCounts) {
    for (const Reference::Converter& converter : Reference::Converters()) {
        if (!converter.IsWorker()) {
            continue;
        }
        Bytes src(converter.SourceBytes(18, 6));
        Reference::FillPattern(src.data(), src.size(), src.size(), 1, 8, Reference::Pattern::kRandom, 13);
        const Bytes two = PictureOf(converter, 18, 6, src, 2);
        EXPECT_EQ(PictureOf(converter, 18, 6, src, 0x102), two) << converter.name;
        EXPECT_EQ(PictureOf(converter, 18, 6, src, 0xFFFFFF02), two) << converter.name;
        EXPECT_EQ(PictureOf(converter, 18, 6, src, 34), two) << converter.name;
        EXPECT_NE(PictureOf(converter, 18, 6, src, 3), two) << converter.name;
    }
}

}  // namespace
