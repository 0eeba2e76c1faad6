// Runs with KEL_ACP set to something that is not a code page.

#include <gtest/gtest.h>

#include "platform/code_page.h"

TEST(NarrowCodePageFromEnvironment, AnUnusableValueFallsBackToUtf8) {
    EXPECT_EQ(kel::detail::narrowCodePage(), 65001u);
}
