// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Everything already worked when another library's constructor called it, before the library's own constructor.
#include "EarlyCaller.h"

#include <gtest/gtest.h>

namespace {

TEST(EarlyCaller, FoundEverythingWorking) {
    EXPECT_TRUE(g_earlyFindings.ran);
    EXPECT_TRUE(g_earlyFindings.refused);
    EXPECT_TRUE(g_earlyFindings.queries);
    EXPECT_TRUE(g_earlyFindings.getter);
    EXPECT_TRUE(g_earlyFindings.reversal);
    EXPECT_TRUE(g_earlyFindings.files);
    EXPECT_EQ(g_earlyFindings.converters, 72u);
}

}  // namespace
