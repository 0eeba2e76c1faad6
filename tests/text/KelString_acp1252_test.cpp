// Runs with KEL_ACP=1252: narrow text is Windows-1252. On Windows, where
// the narrow code page is the system's, it runs where that is 1252.

#include <gtest/gtest.h>

#include <kel/Kel.h>

#include "support/system.h"

namespace {

class KelStringCodePage1252 : public ::testing::Test {
protected:
    void SetUp() override {
        if (kel::test::kWindows && kelGetNarrowCodePage() != 1252) {
            GTEST_SKIP() << "the system's ANSI code page is " << kelGetNarrowCodePage()
                         << ", not 1252";
        }
        ASSERT_EQ(kelGetNarrowCodePage(), 1252u);
    }
};

}  // namespace

TEST_F(KelStringCodePage1252, NarrowTextUsesTheConfiguredCodePage) {
    EXPECT_STREQ(KelString("\xE9\x80").getStringW(), L"\u00E9\u20AC");
    EXPECT_STREQ(KelString(L"\u00E9\u20AC").getStringA(), "\xE9\x80");
}

TEST_F(KelStringCodePage1252, CharacterOutsideTheCodePageBecomesQuestionMark) {
    KelString s(L"x\u03A9y\u4E2D");
    const char* narrow = s.getStringA();
    EXPECT_STREQ(narrow, "x?y?");
    EXPECT_EQ(s.getStringA(), narrow);
}

TEST_F(KelStringCodePage1252, SupplementaryCharacterBecomesQuestionMarks) {
    // One "?" per wide unit: the character where wchar_t holds it whole,
    // each half of its surrogate pair where wchar_t is 16 bits.
    const unsigned short face[] = {0x41, 0xD83D, 0xDE00, 0};
    EXPECT_STREQ(KelString(face).getStringA(), sizeof(wchar_t) == 2 ? "A??" : "A?");
}

TEST_F(KelStringCodePage1252, NarrowFormatConvertsItsResult) {
    KelString s;
    s.format("%s%c", "caf", '\xE9');
    EXPECT_STREQ(s.getStringW(), L"caf\u00E9");
}

TEST_F(KelStringCodePage1252, BytesTheChartLeavesUndefinedRoundTrip) {
    const KelString s("\x81\x8D\x8F\x90\x9D");
    EXPECT_STREQ(s.getStringW(), L"\u0081\u008D\u008F\u0090\u009D");
    EXPECT_STREQ(s.getStringA(), "\x81\x8D\x8F\x90\x9D");
    KelString t;
    t.format("%s|%c", "\x81", '\x9D');
    EXPECT_STREQ(t.getStringW(), L"\u0081|\u009D");
}
