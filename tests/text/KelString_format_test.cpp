// KelString::format and vformat with the Windows runtime's conventions, in
// wide, narrow and 16-bit formats.

#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <cstdarg>
#include <string>

#include "support/system.h"
#include "text/invalid_parameter_counter.h"

namespace {

std::wstring text(const KelString& s) {
    return s.getStringW();
}

KelString viaVformat(const wchar_t* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    KelString s;
    s.vformat(fmt, args);
    va_end(args);
    return s;
}

KelString viaVformat(const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    KelString s;
    s.vformat(fmt, args);
    va_end(args);
    return s;
}

KelString viaVformat(const unsigned short* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    KelString s;
    s.vformat(fmt, args);
    va_end(args);
    return s;
}

std::basic_string<unsigned short> units(const wchar_t* text) {
    std::basic_string<unsigned short> result;
    for (; *text != L'\0'; ++text)
        result.push_back(static_cast<unsigned short>(*text));
    return result;
}

}  // namespace

// Each row formats the same arguments with a wide and a narrow format.
struct FormatRow {
    const wchar_t* wideFormat;
    const char* narrowFormat;
    const wchar_t* expected;
};

TEST(KelStringFormat, IntegersInWideAndNarrowFormats) {
    const FormatRow rows[] = {
        {L"%d", "%d", L"-42"},       {L"%5d|", "%5d|", L"  -42|"}, {L"%-5d|", "%-5d|", L"-42  |"},
        {L"%05d", "%05d", L"-0042"}, {L"%+d", "%+d", L"-42"},      {L"%x", "%x", L"ffffffd6"},
        {L"%X", "%X", L"FFFFFFD6"},  {L"%u", "%u", L"4294967254"}, {L"%o", "%o", L"37777777726"},
    };
    for (const FormatRow& row : rows) {
        KelString wide, narrow;
        wide.format(row.wideFormat, -42);
        narrow.format(row.narrowFormat, -42);
        EXPECT_EQ(text(wide), row.expected) << row.narrowFormat;
        EXPECT_EQ(text(narrow), row.expected) << row.narrowFormat;
    }
}

TEST(KelStringFormat, SizePrefixesI64I32AndI) {
    KelString wide, narrow;
    wide.format(L"%I64d %I32d %Id %I64x", -5000000000LL, 7, static_cast<ptrdiff_t>(-3),
                0x1234567890ULL);
    narrow.format("%I64d %I32d %Id %I64x", -5000000000LL, 7, static_cast<ptrdiff_t>(-3),
                  0x1234567890ULL);
    EXPECT_EQ(text(wide), L"-5000000000 7 -3 1234567890");
    EXPECT_EQ(text(narrow), L"-5000000000 7 -3 1234567890");
    wide.format(L"%I64u %lld %hd", 18446744073709551615ULL, -1LL, 70000);
    EXPECT_EQ(text(wide), L"18446744073709551615 -1 4464");
}

TEST(KelStringFormat, FloatingPoint) {
    const FormatRow rows[] = {
        {L"%f", "%f", L"3.250000"},       {L"%.2f", "%.2f", L"3.25"},
        {L"%8.3f", "%8.3f", L"   3.250"}, {L"%e", "%e", L"3.250000e+00"},
        {L"%g", "%g", L"3.25"},           {L"%E", "%E", L"3.250000E+00"},
    };
    for (const FormatRow& row : rows) {
        KelString wide, narrow;
        wide.format(row.wideFormat, 3.25);
        narrow.format(row.narrowFormat, 3.25);
        EXPECT_EQ(text(wide), row.expected) << row.narrowFormat;
        EXPECT_EQ(text(narrow), row.expected) << row.narrowFormat;
    }
}

TEST(KelStringFormat, StringsFollowTheFormatsWidth) {
    KelString s;
    // Wide format: %s wide, %S narrow, %hs narrow, %ls and %ws wide.
    s.format(L"%s|%S|%hs|%ls|%ws", L"w1", "n1", "n2", L"w2", L"w3");
    EXPECT_EQ(text(s), L"w1|n1|n2|w2|w3");
    // Narrow format: %s narrow, %S wide, %hs narrow, %ls and %ws wide.
    s.format("%s|%S|%hs|%ls|%ws", "n1", L"w1", "n2", L"w2", L"w3");
    EXPECT_EQ(text(s), L"n1|w1|n2|w2|w3");
}

TEST(KelStringFormat, CharactersFollowTheFormatsWidth) {
    KelString s;
    s.format(L"%c%C%hc%lc%wc", L'a', 'b', 'c', L'd', L'e');
    EXPECT_EQ(text(s), L"abcde");
    s.format("%c%C%hc%lc%wc", 'a', L'b', 'c', L'd', L'e');
    EXPECT_EQ(text(s), L"abcde");
}

TEST(KelStringFormat, NonAsciiArgumentsMeetThroughTheNarrowCodePage) {
    std::string aUmlaut;
    if (!kel::test::narrowSample(kelGetNarrowCodePage(), L"\u00E4", aUmlaut))
        GTEST_SKIP() << kel::test::kNoNarrowSample << kelGetNarrowCodePage();
    KelString s;
    s.format(L"%S", ("Tr" + aUmlaut + "ger").c_str());
    EXPECT_EQ(text(s), L"Tr\u00E4ger");
    s.format("%S %s", L"\u00E9", aUmlaut.c_str());
    EXPECT_EQ(text(s), L"\u00E9 \u00E4");
}

TEST(KelStringFormat, WidthAndPrecisionOfStrings) {
    KelString s;
    s.format(L"[%5s][%-5s][%.2s][%*s]", L"ab", L"ab", L"abcdef", 4, L"x");
    EXPECT_EQ(text(s), L"[   ab][ab   ][ab][   x]");
    s.format("[%5s][%.2S]", "ab", L"abcdef");
    EXPECT_EQ(text(s), L"[   ab][ab]");
}

TEST(KelStringFormat, NullStringPrintsNull) {
    KelString s;
    s.format(L"%s", static_cast<const wchar_t*>(nullptr));
    EXPECT_EQ(text(s), L"(null)");
    s.format("%s", static_cast<const char*>(nullptr));
    EXPECT_EQ(text(s), L"(null)");
}

TEST(KelStringFormat, PointerIsUpperCaseHexWithoutPrefix) {
    KelString s;
    s.format(L"%p", reinterpret_cast<void*>(0xABCDEF));
    const std::wstring expected = std::wstring(2 * sizeof(void*) - 6, L'0') + L"ABCDEF";
    EXPECT_EQ(text(s), expected);
    s.format("%p", reinterpret_cast<void*>(0xABCDEF));
    EXPECT_EQ(text(s), expected);
}

TEST(KelStringFormat, PercentAndPlainText) {
    KelString s;
    s.format(L"100%% of %d", 3);
    EXPECT_EQ(text(s), L"100% of 3");
    s.format("no directives");
    EXPECT_EQ(text(s), L"no directives");
}

TEST(KelStringFormat, EmptyResultGivesEmpty) {
    KelString s(L"before");
    s.format(L"");
    EXPECT_EQ(s.isEmpty(), 1);
    KelString t(L"before");
    t.format("%s", "");
    EXPECT_EQ(t.isEmpty(), 1);
}

TEST(KelStringFormat, BadFormatIsReportedAndEmptiesTheValue) {
    InvalidParameterCounter reports;
    int n = 0;
    KelString s(L"before");
    s.format(L"%n", &n);
    EXPECT_EQ(s.isEmpty(), 1);
    s = L"before";
    s.format("%n", &n);
    EXPECT_EQ(s.isEmpty(), 1);
    s = L"before";
    s.format(static_cast<const wchar_t*>(nullptr));
    EXPECT_EQ(s.isEmpty(), 1);
    s = L"before";
    s.format(L"%s and %Q", L"text");
    EXPECT_EQ(s.isEmpty(), 1);
    s = L"before";
    s.format(static_cast<const unsigned short*>(nullptr));
    EXPECT_EQ(s.isEmpty(), 1);
    const unsigned short refused[] = {'%', 'n', 0};
    s = L"before";
    s.format(refused, &n);
    EXPECT_EQ(s.isEmpty(), 1);
    EXPECT_EQ(n, 0);
    EXPECT_EQ(reports.calls(), 6);
}

TEST(KelStringFormat, ZeroFlagAndAlternatePointer) {
    KelString s;
    s.format(L"%05s|%03c|%-4s|", L"ab", L'x', L"ab");
    EXPECT_EQ(text(s), L"000ab|00x|ab  |");
    s.format("%05s|%03c", "ab", 'x');
    EXPECT_EQ(text(s), L"000ab|00x");
    s.format(L"%#p", reinterpret_cast<void*>(0xABCDEF));
    EXPECT_EQ(text(s), L"0X" + std::wstring(2 * sizeof(void*) - 6, L'0') + L"ABCDEF");
}

TEST(KelStringFormat, LongArgumentsAmongOtherText) {
    const std::wstring a(1000, L'a');
    const std::wstring b(70, L'b');
    KelString s;
    s.format(L"<%s|%d|%s|%-72s|%72s|%.65s>", a.c_str(), 42, b.c_str(), b.c_str(), b.c_str(),
             a.c_str());
    const std::wstring expected =
        L"<" + a + L"|42|" + b + L"|" + b + L"  |  " + b + L"|" + std::wstring(65, L'a') + L">";
    EXPECT_EQ(text(s), expected);
    // More long arguments than are set aside: the rest are copied as usual.
    std::wstring many;
    std::wstring fmt;
    for (int i = 0; i < 12; ++i)
        fmt += L"%s,";
    s.format(fmt.c_str(), a.c_str(), b.c_str(), a.c_str(), b.c_str(), a.c_str(), b.c_str(),
             a.c_str(), b.c_str(), a.c_str(), b.c_str(), a.c_str(), b.c_str());
    for (int i = 0; i < 12; ++i)
        many += (i % 2 == 0 ? a : b) + L",";
    EXPECT_EQ(text(s), many);
}

TEST(KelStringFormat, SixteenBitFormatTakesSixteenBitArguments) {
    const auto fmt = units(L"%s=%d %c");
    const auto arg = units(L"HEA");
    KelString s;
    s.format(fmt.c_str(), arg.c_str(), 200, static_cast<int>(L'x'));
    EXPECT_EQ(text(s), L"HEA=200 x");
    const auto narrowArg = units(L"%S");
    s.format(narrowArg.c_str(), "narrow");
    EXPECT_EQ(text(s), L"narrow");
}

TEST(KelStringFormat, SixteenBitSurrogatePairsBecomeOneCharacter) {
    const auto fmt = units(L"%s");
    const unsigned short pair[] = {0xD83D, 0xDE00, 0};
    KelString s;
    s.format(fmt.c_str(), pair);
    EXPECT_EQ(s.length(), sizeof(wchar_t) == 4 ? 1 : 2);
}

TEST(KelStringFormat, VformatInEveryForm) {
    EXPECT_EQ(text(viaVformat(L"%s-%d", L"a", 1)), L"a-1");
    EXPECT_EQ(text(viaVformat("%s-%d", "b", 2)), L"b-2");
    const auto fmt = units(L"%s-%d");
    const auto arg = units(L"c");
    EXPECT_EQ(text(viaVformat(fmt.c_str(), arg.c_str(), 3)), L"c-3");
}

TEST(KelStringFormat, ReturnsTheValue) {
    KelString s;
    EXPECT_EQ(&s.format(L"x"), &s);
    EXPECT_EQ(&s.format("x"), &s);
}
