// String operations that convert single narrow bytes, with the narrow code
// page set to 1252 (KEL_ACP=1252, set by the test's declaration).

#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <string>

// On Windows the narrow code page is the system's, whatever KEL_ACP says.
class KelStringNarrowBytes : public ::testing::Test {
protected:
    void SetUp() override {
        if (kelGetNarrowCodePage() != 1252)
            GTEST_SKIP() << "needs code page 1252 as the narrow code page";
    }
};

#if !defined(_WIN32)
TEST(KelStringNarrowBytesSetting, CodePageIs1252) {
    ASSERT_EQ(kelGetNarrowCodePage(), 1252u);
}
#endif

TEST_F(KelStringNarrowBytes, SetAtConvertsTheByteOnItsOwn) {
    KelString s(L"cafe");
    s.setAt(3, '\xE9');
    EXPECT_STREQ(s.getStringW(), L"caf\u00E9");
    s.setAt(0, '\x80');  // the euro sign in 1252
    EXPECT_STREQ(s.getStringW(), L"\u20ACaf\u00E9");
}

TEST_F(KelStringNarrowBytes, ReplaceAndRemoveAllConvertTheirBytes) {
    KelString s(L"\u00E9t\u00E9");
    EXPECT_EQ(s.replace('\xE9', 'e'), 2);
    EXPECT_STREQ(s.getStringW(), L"ete");
    KelString t(L"a\u00E9b\u00E9");
    t.removeAll('\xE9');
    EXPECT_STREQ(t.getStringW(), L"ab");
}

TEST_F(KelStringNarrowBytes, EscapeTextWithoutSelectorUsesTheNarrowCodePage) {
    KelString s;
    s.setFromMIFString("caf\xE9");
    EXPECT_STREQ(s.getStringW(), L"caf\u00E9");
    s.setFromMIFString("\\M+0E9E9");
    EXPECT_STREQ(s.getStringW(), L"\u00E9\u00E9");
}

TEST_F(KelStringNarrowBytes, FindLastOfScansTheNarrowText) {
    const KelString s(L"\u00E9.x.");
    ASSERT_EQ(std::string(s.getStringA()), "\xE9.x.");
    EXPECT_EQ(s.find_last_of('.'), 3);
    EXPECT_EQ(s.find_last_of('\xE9'), 0);
}

TEST_F(KelStringNarrowBytes, NarrowFormatArgumentsUseTheNarrowCodePage) {
    KelString s;
    s.format(L"%S|%C", "\xE9t\xE9", '\x80');
    EXPECT_STREQ(s.getStringW(), L"\u00E9t\u00E9|\u20AC");
    s.format("%s", "\xFC");
    EXPECT_STREQ(s.getStringW(), L"\u00FC");
}

TEST_F(KelStringNarrowBytes, DoubleToStringAndFormatTime) {
    EXPECT_STREQ(KelString::doubleToString(2.5, 3).getStringW(), L"2.5");
    struct tm t = {};
    t.tm_year = 115;
    KelString s;
    s.formatTime(16, "%Y\xB0", &t);
    EXPECT_STREQ(s.getStringW(), L"2015\u00B0");
}
