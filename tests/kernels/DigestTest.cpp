// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Every kernel table gives the kept digest of every converter.
#include <map>

#include "Corpus.h"
#include "TableTest.h"

namespace {

const std::map<std::string, uint64_t> kDigests = {
#include "Digests.inc"
};

class Digests : public TableTest {};

TEST_P(Digests, AreThoseOfTheModel) {
    ASSERT_EQ(kDigests.size(), Reference::Converters().size());
    for (const Reference::Converter& converter : Reference::Converters()) {
        const uint64_t digest = Corpus::DigestOf(
            converter, [&converter](uint8_t* dst, const uint8_t* src, uint32_t width, uint32_t height, uint32_t shift) {
                converter.Call(dst, src, width, height, shift);
            });
        EXPECT_EQ(digest, kDigests.at(converter.name)) << converter.name;
    }
}

VEXA_FOR_ALL_TABLES(Digests);

}  // namespace
