#include <gtest/gtest.h>

#include <kel/KelPlatform.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>

#include "platform/format.h"
#include "support/system.h"

using kel::detail::FormatStatus;
using kel::detail::WideArgs;

namespace {

std::wstring wide(const wchar_t* format, ...) {
    va_list args;
    va_start(args, format);
    std::wstring result = kel::detail::formatToString(format, args);
    va_end(args);
    return result;
}

std::wstring wide16(const wchar_t* format, ...) {
    va_list args;
    va_start(args, format);
    std::wstring result = kel::detail::formatToString(format, args, WideArgs::Utf16);
    va_end(args);
    return result;
}

std::string narrow(const char* format, ...) {
    va_list args;
    va_start(args, format);
    std::string result = kel::detail::formatToString(format, args);
    va_end(args);
    return result;
}

int bounded(wchar_t* buffer, size_t capacity, FormatStatus* status, const wchar_t* format, ...) {
    va_list args;
    va_start(args, format);
    const int n =
        kel::detail::formatBounded(buffer, capacity, format, args, WideArgs::Native, status);
    va_end(args);
    return n;
}

int g_invalidParameterCalls = 0;
void countInvalidParameter(const wchar_t*, const wchar_t*, const wchar_t*, unsigned int,
                           uintptr_t) {
    ++g_invalidParameterCalls;
}

class FormatTest : public ::testing::Test {
protected:
    void SetUp() override {
        g_invalidParameterCalls = 0;
        m_previous = kelSetInvalidParameterHandler(countInvalidParameter);
    }
    void TearDown() override { kelSetInvalidParameterHandler(m_previous); }

private:
    KelInvalidParameterHandler m_previous = nullptr;
};

double runtimeZero() {
    volatile double zero = 0.0;
    return zero;
}

}  // namespace

// ----- strings and characters -------------------------------------------------

TEST_F(FormatTest, WideFormatStringDirectives) {
    EXPECT_EQ(wide(L"%s", L"wide"), L"wide");
    EXPECT_EQ(wide(L"%S", "narrow"), L"narrow");
    EXPECT_EQ(wide(L"%hs", "narrow"), L"narrow");
    EXPECT_EQ(wide(L"%ls", L"wide"), L"wide");
    EXPECT_EQ(wide(L"%ws", L"wide"), L"wide");
    EXPECT_EQ(wide(L"%hS", "narrow"), L"narrow");
    EXPECT_EQ(wide(L"%lS", L"wide"), L"wide");
}

TEST_F(FormatTest, WideFormatCharacterDirectives) {
    EXPECT_EQ(wide(L"%c", L'w'), L"w");
    EXPECT_EQ(wide(L"%C", 'n'), L"n");
    EXPECT_EQ(wide(L"%hc", 'n'), L"n");
    EXPECT_EQ(wide(L"%lc", L'w'), L"w");
    EXPECT_EQ(wide(L"%wc", L'w'), L"w");
    EXPECT_EQ(wide(L"%c", L'\u20AC'), L"\u20AC");
}

TEST_F(FormatTest, NarrowFormatStringAndCharacterDirectives) {
    EXPECT_EQ(narrow("%s", "narrow"), "narrow");
    EXPECT_EQ(narrow("%S", L"wide"), "wide");
    EXPECT_EQ(narrow("%ls", L"wide"), "wide");
    EXPECT_EQ(narrow("%ws", L"wide"), "wide");
    EXPECT_EQ(narrow("%hs", "narrow"), "narrow");
    EXPECT_EQ(narrow("%c", 'n'), "n");
    EXPECT_EQ(narrow("%C", L'w'), "w");
    EXPECT_EQ(narrow("%lc", L'w'), "w");
    EXPECT_EQ(narrow("%wc", L'w'), "w");
}

namespace {

// e-acute and the euro sign in the narrow code page.
bool narrowSamples(std::string& eAcute, std::string& euro) {
    const unsigned int codePage = kelGetNarrowCodePage();
    return kel::test::narrowSample(codePage, L"\u00E9", eAcute) &&
           kel::test::narrowSample(codePage, L"\u20AC", euro);
}

}  // namespace

TEST_F(FormatTest, TextCrossesWidthsThroughTheNarrowCodePage) {
    std::string eAcute, euro;
    if (!narrowSamples(eAcute, euro))
        GTEST_SKIP() << kel::test::kNoNarrowSample << kelGetNarrowCodePage();
    EXPECT_EQ(wide(L"%S", eAcute.c_str()), L"\u00E9");
    EXPECT_EQ(narrow("%S", L"\u00E9"), eAcute);
    EXPECT_EQ(narrow("%C", L'\u20AC'), euro);
}

TEST_F(FormatTest, NullStringsPrintNull) {
    EXPECT_EQ(wide(L"%s", static_cast<const wchar_t*>(nullptr)), L"(null)");
    EXPECT_EQ(wide(L"%S", static_cast<const char*>(nullptr)), L"(null)");
    EXPECT_EQ(narrow("%s", static_cast<const char*>(nullptr)), "(null)");
    EXPECT_EQ(narrow("%S", static_cast<const wchar_t*>(nullptr)), "(null)");
}

TEST_F(FormatTest, WidthPrecisionAndStar) {
    EXPECT_EQ(wide(L"[%5s]", L"ab"), L"[   ab]");
    EXPECT_EQ(wide(L"[%-5s]", L"ab"), L"[ab   ]");
    EXPECT_EQ(wide(L"[%.2s]", L"abcdef"), L"[ab]");
    EXPECT_EQ(wide(L"[%*s]", 4, L"a"), L"[   a]");
    EXPECT_EQ(wide(L"[%*s]", -4, L"a"), L"[a   ]");
    EXPECT_EQ(wide(L"[%-*s]", 3, L"a"), L"[a  ]");
    EXPECT_EQ(wide(L"[%.*s]", 3, L"abcdef"), L"[abc]");
    EXPECT_EQ(wide(L"[%.*s]", -1, L"abc"), L"[abc]");
    EXPECT_EQ(wide(L"[%*.*s]", 5, 2, L"abc"), L"[   ab]");
    EXPECT_EQ(wide(L"[%3c]", L'x'), L"[  x]");
    EXPECT_EQ(wide(L"[%.2S]", "abc"), L"[ab]");
    EXPECT_EQ(narrow("[%6.3s]", "abcdef"), "[   abc]");
}

TEST_F(FormatTest, NarrowPrecisionCountsBytesOfWholeCharacters) {
    std::string eAcute, euro;
    if (!narrowSamples(eAcute, euro))
        GTEST_SKIP() << kel::test::kNoNarrowSample << kelGetNarrowCodePage();
    if (eAcute.size() == 2) {
        EXPECT_EQ(narrow("[%.1S]", L"\u00E9a"), "[]");  // two bytes do not fit in one
        EXPECT_EQ(narrow("[%.2S]", L"\u00E9a"), "[" + eAcute + "]");
    } else {
        EXPECT_EQ(narrow("[%.1S]", L"\u00E9a"), "[" + eAcute + "]");
        EXPECT_EQ(narrow("[%.2S]", L"\u00E9a"), "[" + eAcute + "a]");
    }
    EXPECT_EQ(narrow("[%.3S]", L"\u20AC\u20AC"),
              euro.size() == 3 ? "[" + euro + "]" : "[" + euro + euro + "]");
}

TEST_F(FormatTest, PrecisionDoesNotReadPastIt) {
    const wchar_t unterminated[3] = {L'a', L'b', L'c'};
    EXPECT_EQ(wide(L"%.3s", unterminated), L"abc");
    const char bytes[2] = {'x', 'y'};
    EXPECT_EQ(narrow("%.2s", bytes), "xy");
}

TEST_F(FormatTest, ZeroCharacterIsWritten) {
    const std::wstring text = wide(L"a%cb", L'\0');
    ASSERT_EQ(text.size(), 3u);
    EXPECT_EQ(text[1], L'\0');
}

// ----- integers ------------------------------------------------------------------

TEST_F(FormatTest, IntegerConversionsAndFlags) {
    EXPECT_EQ(wide(L"%d", 42), L"42");
    EXPECT_EQ(wide(L"%i", -42), L"-42");
    EXPECT_EQ(wide(L"%+d", 42), L"+42");
    EXPECT_EQ(wide(L"% d", 42), L" 42");
    EXPECT_EQ(wide(L"%05d", -42), L"-0042");
    EXPECT_EQ(wide(L"%-5d|", 42), L"42   |");
    EXPECT_EQ(wide(L"%.4d", 7), L"0007");
    EXPECT_EQ(wide(L"%u", 4294967295u), L"4294967295");
    EXPECT_EQ(wide(L"%x", 255), L"ff");
    EXPECT_EQ(wide(L"%X", 255), L"FF");
    EXPECT_EQ(wide(L"%#x", 255), L"0xff");
    EXPECT_EQ(wide(L"%#X", 255), L"0XFF");
    EXPECT_EQ(wide(L"%o", 8), L"10");
    EXPECT_EQ(wide(L"%#o", 8), L"010");
    EXPECT_EQ(wide(L"%*d", 6, 42), L"    42");
    EXPECT_EQ(narrow("%d|%x", INT_MIN, 0xABCu), "-2147483648|abc");
}

TEST_F(FormatTest, SizePrefixes) {
    EXPECT_EQ(wide(L"%I64d", -9000000000LL), L"-9000000000");
    EXPECT_EQ(wide(L"%I64u", 18446744073709551615ULL), L"18446744073709551615");
    EXPECT_EQ(wide(L"%I64X", 0xFEDCBA9876543210ULL), L"FEDCBA9876543210");
    EXPECT_EQ(wide(L"%I32d", static_cast<int32_t>(-7)), L"-7");
    EXPECT_EQ(wide(L"%I32u", static_cast<uint32_t>(4000000000u)), L"4000000000");
    EXPECT_EQ(wide(L"%Id", static_cast<ptrdiff_t>(-5)), L"-5");
    EXPECT_EQ(wide(L"%Iu", static_cast<size_t>(5)), L"5");
    EXPECT_EQ(wide(L"%lld", -1LL), L"-1");
    EXPECT_EQ(wide(L"%llu", 1ULL << 40), L"1099511627776");
    EXPECT_EQ(wide(L"%ld", -123456L), L"-123456");
    EXPECT_EQ(wide(L"%lu", 123456UL), L"123456");
    EXPECT_EQ(wide(L"%hd", 70000), L"4464");
    EXPECT_EQ(wide(L"%hu", 70000), L"4464");
    EXPECT_EQ(wide(L"%hhd", 300), L"44");
    EXPECT_EQ(wide(L"%zu", static_cast<size_t>(17)), L"17");
    EXPECT_EQ(wide(L"%jd", static_cast<intmax_t>(-17)), L"-17");
    EXPECT_EQ(wide(L"%td", static_cast<ptrdiff_t>(-3)), L"-3");
    EXPECT_EQ(narrow("%I64d %I32d %Id", 1LL << 33, 3, static_cast<ptrdiff_t>(4)), "8589934592 3 4");
}

TEST_F(FormatTest, PointerIsUpperCaseHexWithoutPrefix) {
    const void* p = reinterpret_cast<const void*>(static_cast<uintptr_t>(0x1234ABCD));
    const std::wstring expected = sizeof(void*) == 8 ? L"000000001234ABCD" : L"1234ABCD";
    EXPECT_EQ(wide(L"%p", p), expected);
    EXPECT_EQ(narrow("%p", p), std::string(expected.begin(), expected.end()));
    EXPECT_EQ(wide(L"%p", static_cast<const void*>(nullptr)),
              std::wstring(2 * sizeof(void*), L'0'));
    EXPECT_EQ(wide(L"[%20p]", p),
              L"[" + std::wstring(20 - expected.size(), L' ') + expected + L"]");
}

TEST_F(FormatTest, AlternatePointerHasTheUpperCasePrefix) {
    const void* p = reinterpret_cast<const void*>(static_cast<uintptr_t>(0xABCDEF));
    const std::wstring digits = sizeof(void*) == 8 ? L"0000000000ABCDEF" : L"00ABCDEF";
    EXPECT_EQ(wide(L"%#p", p), L"0X" + digits);
    EXPECT_EQ(narrow("%#p", p), "0X" + std::string(digits.begin(), digits.end()));
    // A null pointer has no prefix, as a zero has none with %#x.
    EXPECT_EQ(wide(L"%#p", static_cast<const void*>(nullptr)),
              std::wstring(2 * sizeof(void*), L'0'));
    EXPECT_EQ(wide(L"[%-20.3s|%#22p]", L"abcdef", p),
              L"[abc" + std::wstring(17, L' ') + L"|" + std::wstring(22 - 2 - digits.size(), L' ') +
                  L"0X" + digits + L"]");
}

TEST_F(FormatTest, ZeroFlagPadsPointersWithSpaces) {
    const void* p = reinterpret_cast<const void*>(static_cast<uintptr_t>(0x12));
    const std::wstring digits = std::wstring(2 * sizeof(void*) - 2, L'0') + L"12";
    EXPECT_EQ(wide(L"[%020p]", p), L"[" + std::wstring(20 - digits.size(), L' ') + digits + L"]");
}

TEST_F(FormatTest, ZeroFlagPadsStringsAndCharactersWithZeros) {
    EXPECT_EQ(wide(L"%05s|%03c", L"ab", L'x'), L"000ab|00x");
    EXPECT_EQ(narrow("%05s|%03c", "ab", 'x'), "000ab|00x");
    EXPECT_EQ(wide(L"%05S|%05hs|%05C", "nb", "hs", 'C'), L"000nb|000hs|0000C");
    EXPECT_EQ(narrow("%05S|%04lc", L"wb", L'w'), "000wb|000w");
    EXPECT_EQ(wide(L"%08s", static_cast<const wchar_t*>(nullptr)), L"00(null)");
    EXPECT_EQ(wide(L"%0*s|%05.1s", 4, L"z", L"abc"), L"000z|0000a");
    // Left alignment wins over the zeros, and a text as wide as the field
    // gets none.
    EXPECT_EQ(wide(L"[%-05s][%-03c][%02s]", L"ab", L'x', L"abc"), L"[ab   ][x  ][abc]");
}

// ----- floating point ----------------------------------------------------------

TEST_F(FormatTest, FloatingConversions) {
    EXPECT_EQ(wide(L"%.3f", 3.14159), L"3.142");
    EXPECT_EQ(wide(L"%f", 1.5), L"1.500000");
    EXPECT_EQ(wide(L"%e", 12345.678), L"1.234568e+04");
    EXPECT_EQ(wide(L"%E", 0.000123), L"1.230000E-04");
    EXPECT_EQ(wide(L"%g", 0.0001), L"0.0001");
    EXPECT_EQ(wide(L"%G", 1e-10), L"1E-10");
    EXPECT_EQ(wide(L"%g", 100000.0), L"100000");
    EXPECT_EQ(wide(L"%g", 1000000.0), L"1e+06");
    EXPECT_EQ(wide(L"%08.2f", -3.14159), L"-0003.14");
    EXPECT_EQ(wide(L"%+.1f", 2.26), L"+2.3");
    EXPECT_EQ(wide(L"%#.0f", 3.0), L"3.");
    EXPECT_EQ(wide(L"%a", 1.0), L"0x1.0000000000000p+0");
    EXPECT_EQ(wide(L"%.1a", 1.0), L"0x1.0p+0");
    EXPECT_EQ(wide(L"%Lf", 2.5L), L"2.500000");
    EXPECT_EQ(narrow("%.2f", 2.675), "2.67");
}

TEST_F(FormatTest, InfinityAndNotANumberAsTheWindowsRuntimeSpellsThem) {
    const double inf = std::numeric_limits<double>::infinity();
    EXPECT_EQ(wide(L"%f", inf), L"inf");
    EXPECT_EQ(wide(L"%f", -inf), L"-inf");
    EXPECT_EQ(wide(L"%f", std::numeric_limits<double>::quiet_NaN()), L"nan");
    EXPECT_EQ(wide(L"%f", runtimeZero() / runtimeZero()), L"-nan(ind)");
    EXPECT_EQ(wide(L"%F", runtimeZero() / runtimeZero()), L"-NAN(IND)");
    EXPECT_EQ(wide(L"%6f|", std::numeric_limits<double>::quiet_NaN()), L"   nan|");
}

// ----- literals and errors -------------------------------------------------------

TEST_F(FormatTest, PercentAndLiteralText) {
    EXPECT_EQ(wide(L"100%% of %s", L"it"), L"100% of it");
    EXPECT_EQ(wide(L"plain"), L"plain");
    EXPECT_EQ(wide(L""), L"");
    EXPECT_EQ(g_invalidParameterCalls, 0);
}

TEST_F(FormatTest, RefusedDirectivesAreBadFormats) {
    int count = 0;
    EXPECT_EQ(wide(L"a%nb", &count), L"");
    EXPECT_EQ(wide(L"a%kb"), L"");
    EXPECT_EQ(wide(L"trailing %"), L"");
    EXPECT_EQ(narrow("%Z", nullptr), "");
    EXPECT_EQ(g_invalidParameterCalls, 4);
    EXPECT_EQ(count, 0);
}

TEST_F(FormatTest, HugeWidthIsABadFormatNotAnAllocation) {
    EXPECT_EQ(wide(L"%999999999d", 1), L"");
    EXPECT_EQ(wide(L"%*d", INT_MAX, 1), L"");
    EXPECT_EQ(g_invalidParameterCalls, 2);
}

TEST_F(FormatTest, BoundedOutputFitsOrFailsWhole) {
    wchar_t buffer[5];
    FormatStatus status = FormatStatus::BadFormat;
    EXPECT_EQ(bounded(buffer, 5, &status, L"%s", L"abcd"), 4);
    EXPECT_EQ(status, FormatStatus::Ok);
    EXPECT_STREQ(buffer, L"abcd");

    EXPECT_EQ(bounded(buffer, 4, &status, L"%s", L"abcd"), -1);
    EXPECT_EQ(status, FormatStatus::Overflow);
    EXPECT_STREQ(buffer, L"");
    EXPECT_EQ(g_invalidParameterCalls, 1);

    EXPECT_EQ(bounded(buffer, 5, &status, L"%q"), -1);
    EXPECT_EQ(status, FormatStatus::BadFormat);
    EXPECT_EQ(g_invalidParameterCalls, 2);
}

TEST_F(FormatTest, BoundedOutputRefusesNullBufferAndFormat) {
    wchar_t buffer[4] = {L'x'};
    FormatStatus status = FormatStatus::Ok;
    EXPECT_EQ(bounded(nullptr, 4, &status, L"a"), -1);
    EXPECT_EQ(bounded(buffer, 0, &status, L"a"), -1);
    EXPECT_EQ(bounded(buffer, 4, &status, nullptr), -1);
    EXPECT_STREQ(buffer, L"");
    EXPECT_EQ(g_invalidParameterCalls, 3);
}

TEST_F(FormatTest, Utf16ArgumentsForSixteenBitClients) {
    const unsigned short text[] = {0x48, 0xD83D, 0xDE00, 0};
    const std::wstring expected = sizeof(wchar_t) == 2
                                      ? std::wstring{L'H', wchar_t(0xD83D), wchar_t(0xDE00)}
                                      : std::wstring{L'H', wchar_t(0x1F600)};
    EXPECT_EQ(wide16(L"%s", text), expected);
    EXPECT_EQ(wide16(L"%.1s", text), L"H");
    EXPECT_EQ(wide16(L"%c", static_cast<unsigned short>(0x41)), L"A");
    EXPECT_EQ(wide16(L"%S", "n"), L"n");
}

TEST(Format, PrecisionBoundsTheStringThatIsRead) {
    // The arguments have no terminator within the precision: only that many
    // characters are read (the sanitizer build sees any byte more).
    const std::unique_ptr<wchar_t[]> wideChars(new wchar_t[3]{L'a', L'b', L'c'});
    const std::unique_ptr<char[]> narrowChars(new char[3]{'x', 'y', 'z'});
    EXPECT_EQ(wide(L"[%.3s]", wideChars.get()), L"[abc]");
    EXPECT_EQ(wide(L"[%.2hs]", narrowChars.get()), L"[xy]");
    EXPECT_EQ(wide(L"[%.3hs]", narrowChars.get()), L"[xyz]");
    EXPECT_EQ(narrow("[%.3s]", narrowChars.get()), "[xyz]");
    EXPECT_EQ(narrow("[%.0s]", narrowChars.get()), "[]");
    EXPECT_EQ(narrow("[%.2ls]", wideChars.get()), "[ab]");
}

TEST(Format, PrecisionCountsCharactersOfNarrowArguments) {
    if (kelGetNarrowCodePage() != 65001)
        GTEST_SKIP() << "needs UTF-8 as the narrow code page";
    const std::unique_ptr<char[]> accents(new char[4]{'\xC3', '\xA9', '\xC3', '\xA9'});
    EXPECT_EQ(wide(L"[%.2hs]", accents.get()), L"[\u00E9\u00E9]");
    EXPECT_EQ(wide(L"[%.1hs]", accents.get()), L"[\u00E9]");
}

TEST(Format, LongStringArgumentsAreCopiedWhole) {
    const std::wstring longWide(100000, L'w');
    const std::string longNarrow(100000, 'n');
    EXPECT_EQ(wide(L"%s", longWide.c_str()), longWide);
    EXPECT_EQ(narrow("%s", longNarrow.c_str()), longNarrow);
    EXPECT_EQ(wide(L"%.5s|", longWide.c_str()), L"wwwww|");
}
