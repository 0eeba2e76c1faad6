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

// ----- Windows single-byte code pages -----------------------------------------------

namespace {

struct UndefinedByte {
    unsigned int codePage;
    unsigned char byte;
    wchar_t unit;
};

// Bytes that the charts of these code pages leave undefined, and what
// Windows maps them to: the C1 control of the same value, or a private-use
// character.
const UndefinedByte kUndefinedBytes[] = {
    {1252, 0x81, 0x0081}, {1252, 0x8D, 0x008D}, {1252, 0x8F, 0x008F}, {1252, 0x90, 0x0090},
    {1252, 0x9D, 0x009D}, {1250, 0x81, 0x0081}, {1250, 0x83, 0x0083}, {1250, 0x88, 0x0088},
    {1250, 0x90, 0x0090}, {1250, 0x98, 0x0098}, {1251, 0x98, 0x0098}, {1253, 0x81, 0x0081},
    {1253, 0x9F, 0x009F}, {1253, 0xAA, 0xF8F9}, {1253, 0xD2, 0xF8FA}, {1253, 0xFF, 0xF8FB},
    {1254, 0x8E, 0x008E}, {1254, 0x9E, 0x009E}, {1255, 0x8A, 0x008A}, {1255, 0xCA, 0x05BA},
    {1255, 0xD9, 0xF88D}, {1255, 0xDF, 0xF893}, {1255, 0xFB, 0xF894}, {1255, 0xFC, 0xF895},
    {1255, 0xFF, 0xF896}, {1257, 0x9F, 0x009F}, {1257, 0xA1, 0xF8FC}, {1257, 0xA5, 0xF8FD},
    {1258, 0x8D, 0x008D}, {1258, 0x9E, 0x009E}, {874, 0x81, 0x0081},  {874, 0x9F, 0x009F},
    {874, 0xDB, 0xF8C1},  {874, 0xDE, 0xF8C4},  {874, 0xFC, 0xF8C5},  {874, 0xFF, 0xF8C8},
};

}  // namespace

TEST(SingleByteCodePage, UndefinedBytesMapAsWindowsMapsThem) {
    for (const UndefinedByte& u : kUndefinedBytes) {
        const std::string byte(1, static_cast<char>(u.byte));
        const std::wstring wide = toWide(byte, u.codePage);
        ASSERT_EQ(wide.size(), 1u) << u.codePage << " " << int(u.byte);
        EXPECT_EQ(static_cast<unsigned>(wide[0]), static_cast<unsigned>(u.unit))
            << u.codePage << " " << int(u.byte);
        bool usedDefault = true;
        char back[4] = {};
        EXPECT_EQ(wideToMultiByte(u.codePage, &u.unit, 1, back, 4, "?", &usedDefault), 1);
        EXPECT_EQ(static_cast<unsigned char>(back[0]), u.byte) << u.codePage;
        EXPECT_FALSE(usedDefault) << u.codePage << " " << int(u.byte);
    }
}

TEST(SingleByteCodePage, EveryByteOfEveryPageRoundTrips) {
    for (unsigned int codePage :
         {874u, 1250u, 1251u, 1252u, 1253u, 1254u, 1255u, 1256u, 1257u, 1258u}) {
        ASSERT_TRUE(isCodePageSupported(codePage)) << codePage;
        std::string all;
        for (int b = 1; b < 256; ++b)
            all.push_back(static_cast<char>(b));
        const std::wstring wide = toWide(all, codePage);
        ASSERT_EQ(wide.size(), all.size()) << codePage;
        EXPECT_EQ(wide.find(L'\uFFFD'), std::wstring::npos) << codePage;
        EXPECT_EQ(toNarrow(wide, codePage), all) << codePage;
    }
}

TEST(SingleByteCodePage, ChartedBytesAndMissingCharacters) {
    EXPECT_EQ(toWide("\x80\xE9\x9F", 1252), L"\u20AC\u00E9\u0178");
    EXPECT_EQ(toWide("\xC0\xFF", 1251), L"\u0410\u044F");
    EXPECT_EQ(toNarrow(L"\u20AC\u0081x", 1252), "\x80\x81x");
    // A character the page lacks becomes the default character, never a
    // look-alike.
    bool usedDefault = false;
    char out[8] = {};
    const wchar_t text[] = L"a\u0100\u03A9";
    EXPECT_EQ(wideToMultiByte(1252, text, 3, out, 8, "?", &usedDefault), 3);
    EXPECT_EQ(std::string(out, 3), "a??");
    EXPECT_TRUE(usedDefault);
}
