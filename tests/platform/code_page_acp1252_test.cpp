// Runs with KEL_ACP=1252 in the environment.

#include <gtest/gtest.h>

#include "platform/code_page.h"
#include "support/system.h"

using namespace kel::detail;

TEST(NarrowCodePageFromEnvironment, Kel_ACP_SelectsTheCodePage) {
    KEL_SKIP_ON_WINDOWS("KEL_ACP is not read there: the narrow code page is the system's");
    EXPECT_EQ(narrowCodePage(), 1252u);
    EXPECT_EQ(toNarrow(L"\u00E9\u20AC"), "\xE9\x80");
    EXPECT_EQ(toWide("\xE9\x80"), L"\u00E9\u20AC");
    EXPECT_EQ(toNarrow(L"\u03A9"), "?");
}

TEST(NarrowCodePageFromEnvironment, UndefinedBytesOf1252RoundTrip) {
    KEL_SKIP_ON_WINDOWS("KEL_ACP is not read there: the narrow code page is the system's");
    EXPECT_EQ(toWide("\x81\x8D\x8F\x90\x9D"), L"\u0081\u008D\u008F\u0090\u009D");
    EXPECT_EQ(toNarrow(L"\u0081\u008D\u008F\u0090\u009D"), "\x81\x8D\x8F\x90\x9D");
}
