#include <gtest/gtest.h>

#include <string>

#if defined(_WIN32)
#include <windows.h>
#endif

#include "platform/code_page.h"
#include "platform/last_error.h"
#include "support/system.h"

using namespace kel::detail;

TEST(CodePage, NarrowCodePageIsUtf8ByDefault) {
    KEL_SKIP_ON_WINDOWS("the narrow code page is the system's ANSI code page there");
    EXPECT_EQ(narrowCodePage(), 65001u);
    EXPECT_EQ(resolveCodePage(0), 65001u);
    EXPECT_EQ(resolveCodePage(932), 932u);
}

#if defined(_WIN32)
TEST(CodePage, NarrowCodePageIsTheSystemAnsiCodePageOnWindows) {
    EXPECT_EQ(narrowCodePage(), ::GetACP());
    EXPECT_EQ(resolveCodePage(0), ::GetACP());
    EXPECT_EQ(resolveCodePage(932), 932u);
}
#endif

TEST(MultiByteToWide, MinusOneConvertsTheTerminatorToo) {
    wchar_t buffer[8];
    EXPECT_EQ(multiByteToWide(kCodePageAcp, "abc", -1, buffer, 8), 4);
    EXPECT_STREQ(buffer, L"abc");
}

TEST(MultiByteToWide, ExplicitLengthConvertsNoTerminator) {
    wchar_t buffer[8] = {L'x', L'x', L'x', L'x'};
    EXPECT_EQ(multiByteToWide(kCodePageAcp, "abc", 2, buffer, 8), 2);
    EXPECT_EQ(buffer[0], L'a');
    EXPECT_EQ(buffer[1], L'b');
    EXPECT_EQ(buffer[2], L'x');
}

TEST(MultiByteToWide, ZeroCapacityMeasures) {
    EXPECT_EQ(multiByteToWide(kCodePageUtf8, "\xC3\xA9t\xC3\xA9", -1, nullptr, 0), 4);
}

TEST(MultiByteToWide, TooSmallGivesZeroAndInsufficientBuffer) {
    wchar_t buffer[2];
    setLastError(0);
    EXPECT_EQ(multiByteToWide(kCodePageAcp, "abc", -1, buffer, 2), 0);
    EXPECT_EQ(lastError(), kErrorInsufficientBuffer);
}

TEST(MultiByteToWide, BadArgumentsGiveInvalidParameter) {
    wchar_t buffer[4];
    setLastError(0);
    EXPECT_EQ(multiByteToWide(kCodePageAcp, nullptr, -1, buffer, 4), 0);
    EXPECT_EQ(lastError(), kErrorInvalidParameter);
    setLastError(0);
    EXPECT_EQ(multiByteToWide(kCodePageAcp, "a", 0, buffer, 4), 0);
    EXPECT_EQ(lastError(), kErrorInvalidParameter);
    setLastError(0);
    EXPECT_EQ(multiByteToWide(kCodePageAcp, "a", -1, nullptr, 4), 0);
    EXPECT_EQ(lastError(), kErrorInvalidParameter);
    setLastError(0);
    EXPECT_EQ(multiByteToWide(12345, "a", -1, buffer, 4), 0);
    EXPECT_EQ(lastError(), kErrorInvalidParameter);
}

TEST(MultiByteToWide, EastAsianCodePages) {
    struct Case {
        unsigned int codePage;
        const char* bytes;
        const wchar_t* expected;
    };
    const Case cases[] = {
        {932, "\x81\x40", L"\u3000"},  // ideographic space
        {932, "\x82\xA0", L"\u3042"},  // hiragana a
        {936, "\xC4\xE3\xBA\xC3", L"\u4F60\u597D"},
        {949, "\xC7\xD1", L"\uD55C"},
        {950, "\xA4\xA4", L"\u4E2D"},
        {1361, "\xD0\x65", L"\uD55C"},
        {1252, "\x80", L"\u20AC"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(toWide(c.bytes, c.codePage), c.expected) << "code page " << c.codePage;
    }
}

TEST(MultiByteToWide, InvalidBytesBecomeReplacementCharacters) {
    EXPECT_EQ(toWide("a\xFF"
                     "b",
                     kCodePageUtf8),
              L"a\uFFFD"
              L"b");
    // A lead byte of code page 932 without its trail byte.
#if defined(_WIN32)
    // The system's conversion gives the code page's own default character
    // there (U+30FB for 932).
    CPINFOEXW info = {};
    ASSERT_TRUE(::GetCPInfoExW(932, 0, &info));
    EXPECT_EQ(toWide("a\x81", 932), std::wstring(L"a") + info.UnicodeDefaultChar);
#else
    EXPECT_EQ(toWide("a\x81", 932), L"a\uFFFD");
#endif
}

TEST(WideToMultiByte, UnrepresentableCharactersBecomeTheDefault) {
    char buffer[16];
    bool usedDefault = false;
    const int n = wideToMultiByte(1252, L"a\u03A9b", 3, buffer, sizeof buffer, "?", &usedDefault);
    EXPECT_EQ(std::string(buffer, n), "a?b");
    EXPECT_TRUE(usedDefault);
    usedDefault = true;
    EXPECT_EQ(wideToMultiByte(1252, L"\u20AC", 1, buffer, sizeof buffer, "?", &usedDefault), 1);
    EXPECT_EQ(buffer[0], '\x80');
    EXPECT_FALSE(usedDefault);
}

TEST(WideToMultiByte, NoLookAlikeReplacesAMissingCharacter) {
    // U+0100 and U+2033 have look-alikes in Windows-1252 ("A", "\"");
    // the conversion still gives the default character, on every system.
    bool usedDefault = false;
    char buffer[8];
    const int n =
        wideToMultiByte(1252, L"\u0100\u2033", 2, buffer, sizeof buffer, nullptr, &usedDefault);
    EXPECT_EQ(std::string(buffer, n), "??");
    EXPECT_TRUE(usedDefault);
}

TEST(WideToMultiByte, NullDefaultMeansQuestionMarkOutsideUtf8) {
    EXPECT_EQ(toNarrow(L"x\u03A9", 1252), "x?");
}

TEST(WideToMultiByte, EastAsianRoundTrips) {
    EXPECT_EQ(toNarrow(L"\u3000\u3042", 932), "\x81\x40\x82\xA0");
    EXPECT_EQ(toNarrow(L"\uD55C", 1361), "\xD0\x65");
}

TEST(WideToMultiByte, MinusOneCountsTheTerminator) {
    char buffer[8];
    EXPECT_EQ(wideToMultiByte(kCodePageUtf8, L"\u00E9", -1, buffer, 8, nullptr, nullptr), 3);
    EXPECT_STREQ(buffer, "\xC3\xA9");
}

TEST(WideToMultiByte, TooSmallGivesZeroAndInsufficientBuffer) {
    char buffer[2];
    setLastError(0);
    EXPECT_EQ(wideToMultiByte(kCodePageUtf8, L"\u00E9", -1, buffer, 2, nullptr, nullptr), 0);
    EXPECT_EQ(lastError(), kErrorInsufficientBuffer);
}

TEST(CodePage, SupportedCodePages) {
    for (unsigned int cp : {0u, 65001u, 932u, 936u, 949u, 950u, 1361u, 1250u, 1251u, 1252u}) {
        EXPECT_TRUE(isCodePageSupported(cp)) << cp;
    }
    EXPECT_FALSE(isCodePageSupported(12345));
}
