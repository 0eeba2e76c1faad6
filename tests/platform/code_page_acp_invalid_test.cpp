// Runs with KEL_ACP set to something that is not a code page.

#include <gtest/gtest.h>

#include "platform/code_page.h"
#include "support/system.h"

TEST(NarrowCodePageFromEnvironment, AnUnusableValueFallsBackToUtf8) {
    KEL_SKIP_ON_WINDOWS("KEL_ACP is not read there: the narrow code page is the system's");
    EXPECT_EQ(kel::detail::narrowCodePage(), 65001u);
}
