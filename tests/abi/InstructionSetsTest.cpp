// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// What the objects for newer processors hold, and what they must not: symbols that the linker could share with the
// rest, initialisers that would run before the choice of kernels, instructions that the choice does not ask for.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <sstream>

#include "Lines.h"

namespace {

using testing::AnyOf;
using testing::HasSubstr;
using testing::Not;

/// The objects of both libraries whose path contains `part`.
std::vector<std::string> ObjectsWith(const std::string& part) {
    std::vector<std::string> found;
    std::istringstream objects(OBJECTS);
    for (std::string object; std::getline(objects, object, '|');) {
        if (object.find(part) != std::string::npos) {
            found.push_back(object);
        }
    }
    return found;
}

/// The objects that not every processor can run.
std::vector<std::string> InstructionSetObjects() {
    std::vector<std::string> objects;
    for (const std::string& object : ObjectsWith("/Isa")) {
        // The scalar kernels are code for every processor; sharing theirs does no harm.
        if (object.find("/IsaScalar") == std::string::npos) {
            objects.push_back(object);
        }
    }
    return objects;
}

class InstructionSets : public testing::Test {
  protected:
    void SetUp() override {
        if (IS_INSTRUMENTED || !IS_OPTIMISED) {
            GTEST_SKIP() << "holds for optimised builds without instrumentation";
        }
    }
};

TEST_F(InstructionSets, HoldNoWeakSymbols) {
    EXPECT_GE(InstructionSetObjects().size(), 1u);
    for (const std::string& object : InstructionSetObjects()) {
        for (const std::string& line : LinesOf(NM " " + object)) {
            EXPECT_THAT(line, Not(AnyOf(HasSubstr(" W "), HasSubstr(" V "), HasSubstr(" u ")))) << object;
        }
    }
}

TEST_F(InstructionSets, HoldNoDynamicInitialisers) {
    for (const std::string& object : InstructionSetObjects()) {
        const std::vector<std::string> sections = LinesOf(READELF " -SW " + object);
        EXPECT_GT(sections.size(), 5u);
        for (const std::string& line : sections) {
            EXPECT_THAT(line, Not(AnyOf(HasSubstr(".init_array"), HasSubstr(".ctors")))) << object;
        }
    }
}

TEST_F(InstructionSets, RoundEveryProduct) {
    EXPECT_THAT(std::string(COMPILE_OPTIONS), HasSubstr("-ffp-contract=off"));
}

#if defined(__x86_64__)

/// Every instruction of an object as a line "mnemonic operands".
std::vector<std::string> Instructions(const std::string& object) {
    std::vector<std::string> instructions;
    for (const std::string& line : LinesOf(OBJDUMP " -d --no-show-raw-insn " + object)) {
        const size_t tab = line.find('\t');
        if (tab != std::string::npos && line.find(':') < tab) {
            instructions.push_back(line.substr(tab + 1));
        }
    }
    EXPECT_GT(instructions.size(), 10u) << object;
    return instructions;
}

std::string Mnemonic(const std::string& instruction) {
    return instruction.substr(0, instruction.find(' '));
}

/// None of our sets requires the bit manipulation, half-float, AES and Galois-field instructions.
const std::set<std::string> kNever = {"andn",  "bextr", "blsi",      "blsr",      "blsmsk", "bzhi", "pdep",
                                      "pext",  "mulx",  "rorx",      "sarx",      "shlx",   "shrx", "lzcnt",
                                      "movbe", "adcx",  "vcvtph2ps", "vcvtps2ph", "crc32"};

/// What came after SSE2, as far as a compiler makes it of ordinary code.
const std::set<std::string> kBeyondSse2 = {
    "pshufb",   "pabsb",    "pabsw",    "pabsd",    "phaddw",   "phaddd",   "pmaddubsw", "pmulhrsw", "palignr",
    "psignb",   "psignw",   "psignd",   "pblendvb", "pblendw",  "blendvps", "blendvpd",  "blendps",  "blendpd",
    "pmovzxbw", "pmovzxwd", "pmovzxbd", "pmovzxdq", "pmovsxbw", "pmovsxwd", "pmovsxdq",  "ptest",    "pminuw",
    "pminud",   "pminsd",   "pminsb",   "pmaxuw",   "pmaxud",   "pmaxsd",   "pmaxsb",    "pmulld",   "packusdw",
    "pextrb",   "pextrd",   "pextrq",   "pinsrb",   "pinsrd",   "pinsrq",   "roundps",   "roundss",  "roundpd",
    "roundsd",  "insertps", "popcnt",   "pcmpgtq",  "pcmpeqq",  "lddqu",    "haddps",    "movddup"};

bool IsVexEncoded(const std::string& mnemonic) {
    return mnemonic.front() == 'v' && mnemonic != "verr" && mnemonic != "verw";
}

bool UsesZmm(const std::string& instruction) {
    return instruction.find("%zmm") != std::string::npos || instruction.find("%k") != std::string::npos ||
           instruction.find("mm16") != std::string::npos;
}

/// AVX-512 sets that came after, or beside, F, BW, VL, DQ and VBMI.
bool IsOfAnotherAvx512(const std::string& mnemonic) {
    for (const char* start : {"vpcompressb", "vpcompressw", "vpexpandb", "vpexpandw", "vpshld", "vpshrd", "vpdpb",
                              "vpdpw", "vpopcnt", "vpshufbitqmb", "vgf2p8", "vaes", "vpclmul", "vpconflict", "vplzcnt",
                              "vpmadd52", "vdpbf16", "vcvtne", "vp2intersect"}) {
        if (mnemonic.rfind(start, 0) == 0) {
            return true;
        }
    }
    return kNever.contains(mnemonic);
}

bool IsOfVbmi(const std::string& mnemonic) {
    static const std::set<std::string> s_vbmi = {"vpermb", "vpermi2b", "vpermt2b", "vpmultishiftqb"};
    return s_vbmi.contains(mnemonic);
}

template <class Forbidden>
void ExpectNone(const std::string& part, size_t count, Forbidden forbidden) {
    const std::vector<std::string> objects = ObjectsWith(part);
    EXPECT_EQ(objects.size(), count) << part;
    for (const std::string& object : objects) {
        for (const std::string& instruction : Instructions(object)) {
            ASSERT_FALSE(forbidden(instruction)) << object << ": " << instruction;
        }
    }
}

TEST_F(InstructionSets, UseWhatTheChoiceAsksForAndNoMore) {
    constexpr size_t kOneOfEachLibrary = 2;
    ExpectNone("/IsaSse.", kOneOfEachLibrary, [](const std::string& instruction) {
        return IsVexEncoded(Mnemonic(instruction)) || kNever.contains(Mnemonic(instruction));
    });
    ExpectNone("/IsaAvx2.", kOneOfEachLibrary, [](const std::string& instruction) {
        return UsesZmm(instruction) || IsOfAnotherAvx512(Mnemonic(instruction));
    });
    ExpectNone("/IsaAvx512Bw.", 1, [](const std::string& instruction) {
        return IsOfAnotherAvx512(Mnemonic(instruction)) || IsOfVbmi(Mnemonic(instruction));
    });
    ExpectNone("/IsaAvx512.", kOneOfEachLibrary,
               [](const std::string& instruction) { return IsOfAnotherAvx512(Mnemonic(instruction)); });
}

TEST_F(InstructionSets, StayOutOfEveryOtherObject) {
    const std::vector<std::string> special = InstructionSetObjects();
    for (const std::string& object : ObjectsWith(".o")) {
        if (std::find(special.begin(), special.end(), object) != special.end()) {
            continue;
        }
        for (const std::string& instruction : Instructions(object)) {
            const std::string mnemonic = Mnemonic(instruction);
            ASSERT_FALSE(IsVexEncoded(mnemonic) || kBeyondSse2.contains(mnemonic) || kNever.contains(mnemonic))
                << object << ": " << instruction;
        }
    }
}

#endif

}  // namespace
