// Runs with KEL_ACP=1252 in the environment.

#include <gtest/gtest.h>

#include "platform/code_page.h"

using namespace kel::detail;

TEST(NarrowCodePageFromEnvironment, Kel_ACP_SelectsTheCodePage) {
    EXPECT_EQ(narrowCodePage(), 1252u);
    EXPECT_EQ(toNarrow(L"\u00E9\u20AC"), "\xE9\x80");
    EXPECT_EQ(toWide("\xE9\x80"), L"\u00E9\u20AC");
    EXPECT_EQ(toNarrow(L"\u03A9"), "?");
}
