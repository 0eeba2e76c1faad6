// Runs with KEL_ACP=1252: narrow text is Windows-1252.

#include <gtest/gtest.h>

#include <kel/Kel.h>

TEST(KelStringCodePage1252, NarrowTextUsesTheConfiguredCodePage) {
    ASSERT_EQ(kelGetNarrowCodePage(), 1252u);
    EXPECT_STREQ(KelString("\xE9\x80").getStringW(), L"\u00E9\u20AC");
    EXPECT_STREQ(KelString(L"\u00E9\u20AC").getStringA(), "\xE9\x80");
}

TEST(KelStringCodePage1252, CharacterOutsideTheCodePageBecomesQuestionMark) {
    KelString s(L"x\u03A9y\u4E2D");
    const char* narrow = s.getStringA();
    EXPECT_STREQ(narrow, "x?y?");
    EXPECT_EQ(s.getStringA(), narrow);
}

TEST(KelStringCodePage1252, NarrowFormatConvertsItsResult) {
    KelString s;
    s.format("%s%c", "caf", '\xE9');
    EXPECT_STREQ(s.getStringW(), L"caf\u00E9");
}
