// KelString tokens and the "\M+" multibyte escape notation.

#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <string>
#include <vector>

#include "support/system.h"

namespace {

using Tokens = KelArray<KelString, KelArrayObjectCopyReallocator<KelString>,
                        KelArrayMemoryController<KelString>>;

std::vector<std::wstring> split(const wchar_t* text, const wchar_t* delimiters) {
    KelString value(text);
    Tokens tokens;
    KelString::getTokens(value, tokens, KelString(delimiters));
    std::vector<std::wstring> result;
    for (long i = 0; i < tokens.length(); ++i)
        result.push_back(tokens[i].getStringW());
    return result;
}

std::vector<std::wstring> splitQuoted(const wchar_t* text, const wchar_t* delimiters,
                                      const wchar_t* quotes) {
    KelString value(text);
    Tokens tokens;
    KelString::getTokens(value, tokens, KelString(delimiters), KelString(quotes));
    std::vector<std::wstring> result;
    for (long i = 0; i < tokens.length(); ++i)
        result.push_back(tokens[i].getStringW());
    return result;
}

using List = std::vector<std::wstring>;

}  // namespace

// ----- plain tokens -----------------------------------------------------------------------

TEST(KelStringTokens, RunsOfDelimitersGiveNoEmptyTokens) {
    EXPECT_EQ(split(L",a,,b;", L",;"), (List{L"a", L"b"}));
}

TEST(KelStringTokens, SplitsInOrder) {
    EXPECT_EQ(split(L"HEA 200 S235", L" "), (List{L"HEA", L"200", L"S235"}));
    EXPECT_EQ(split(L"  lead and trail  ", L" "), (List{L"lead", L"and", L"trail"}));
}

TEST(KelStringTokens, NoDelimiterOrEmptyText) {
    EXPECT_EQ(split(L"whole", L","), (List{L"whole"}));
    EXPECT_EQ(split(L"whole", L""), (List{L"whole"}));
    EXPECT_EQ(split(L"", L","), List{});
    EXPECT_EQ(split(L",,,", L","), List{});
}

TEST(KelStringTokens, EmptiesTheArrayFirstAndLeavesTheText) {
    KelString text(L"a b");
    const KelString copy = text;
    Tokens tokens;
    tokens.append(KelString(L"old"));
    tokens.append(KelString(L"older"));
    tokens.append(KelString(L"oldest"));
    KelString::getTokens(text, tokens, KelString(L" "));
    ASSERT_EQ(tokens.length(), 2);
    EXPECT_STREQ(tokens[0].getStringW(), L"a");
    EXPECT_STREQ(tokens[1].getStringW(), L"b");
    EXPECT_EQ(text.getStringW(), copy.getStringW());
    EXPECT_STREQ(text.getStringW(), L"a b");
}

// ----- quoted tokens ----------------------------------------------------------------------

TEST(KelStringTokens, QuotedSectionsStayTogetherWithTheirQuotes) {
    EXPECT_EQ(splitQuoted(L"x 'a b' y", L" ", L"'"), (List{L"x", L"'a b'", L"y"}));
}

TEST(KelStringTokens, DoubledQuoteStaysDoubledInsideASection) {
    EXPECT_EQ(splitQuoted(L"'it''s here'", L" ", L"'"), (List{L"'it''s here'"}));
}

TEST(KelStringTokens, EmptyQuoteSetIsThePlainForm) {
    EXPECT_EQ(splitQuoted(L",a,,b;", L",;", L""), (List{L"a", L"b"}));
    EXPECT_EQ(splitQuoted(L"x 'a b' y", L" ", L""), (List{L"x", L"'a", L"b'", L"y"}));
}

TEST(KelStringTokens, UnclosedQuoteRunsToTheEnd) {
    EXPECT_EQ(splitQuoted(L"a \"b c", L" ", L"\""), (List{L"a", L"\"b c"}));
}

TEST(KelStringTokens, QuoteInsideAWordStartsASection) {
    EXPECT_EQ(splitQuoted(L"ab'c d'e f", L" ", L"'"), (List{L"ab'c d'e", L"f"}));
}

TEST(KelStringTokens, EachQuoteCharacterClosesOnlyItsOwnSection) {
    EXPECT_EQ(splitQuoted(L"\"a 'b\" c' d", L" ", L"\"'"), (List{L"\"a 'b\"", L"c' d"}));
}

TEST(KelStringTokens, QuoteTestComesBeforeTheDelimiterTest) {
    // The quote character is also a delimiter: it opens a section.
    EXPECT_EQ(splitQuoted(L"a|b c|d", L" |", L"|"), (List{L"a|b c|d"}));
}

TEST(KelStringTokens, EmptyQuotedSectionIsAToken) {
    EXPECT_EQ(splitQuoted(L"a '' b", L" ", L"'"), (List{L"a", L"''", L"b"}));
}

TEST(KelStringTokens, DelimiterRunsAroundQuotedTokens) {
    EXPECT_EQ(splitQuoted(L";;'x;y';;z;", L";", L"'"), (List{L"'x;y'", L"z"}));
}

// ----- "\M+" escapes ----------------------------------------------------------------------

TEST(KelStringMifString, CodePage932IdeographicSpace) {
    KelString s;
    const KelString result = s.setFromMIFString("\\M+18140");
    EXPECT_EQ(s.length(), 1);
    EXPECT_EQ(static_cast<unsigned long>(s[0]), 0x3000ul);
    EXPECT_EQ(result.getStringW(), s.getStringW());
}

TEST(KelStringMifString, PlainTextUsesTheNarrowCodePage) {
    std::string eAcute;
    if (!kel::test::narrowSample(kelGetNarrowCodePage(), L"\u00E9", eAcute))
        GTEST_SKIP() << kel::test::kNoNarrowSample << kelGetNarrowCodePage();
    KelString s;
    s.setFromMIFString(("HEA 200 " + eAcute).c_str());
    EXPECT_STREQ(s.getStringW(), L"HEA 200 \u00E9");
}

TEST(KelStringMifString, EachSelectorNamesItsCodePage) {
    struct Case {
        const char* text;
        unsigned long expected;
    };
    const Case cases[] = {
        {"\\M+18140", 0x3000},  // 932: ideographic space
        {"\\M+2A440", 0x4E00},  // 950 (Big5): one
        {"\\M+3B0A1", 0xAC00},  // 949: hangul GA
        {"\\M+48861", 0xAC00},  // 1361 (Johab): hangul GA
        {"\\M+5D2BB", 0x4E00},  // 936 (GBK): one
    };
    for (const Case& c : cases) {
        KelString s;
        s.setFromMIFString(c.text);
        ASSERT_EQ(s.length(), 1) << c.text;
        EXPECT_EQ(static_cast<unsigned long>(s[0]), c.expected) << c.text;
    }
}

TEST(KelStringMifString, OtherSelectorsUseTheNarrowCodePage) {
    // The bytes C3 A9: e-acute in UTF-8, "\u00C3\u00A9" in Windows-1252.
    std::wstring expected;
    switch (kelGetNarrowCodePage()) {
        case 65001:
            expected = L"\u00E9";
            break;
        case 1252:
            expected = L"\u00C3\u00A9";
            break;
        default:
            GTEST_SKIP() << kel::test::kNoNarrowSample << kelGetNarrowCodePage();
    }
    KelString s;
    s.setFromMIFString("\\M+0C3A9");  // selector 0
    EXPECT_EQ(std::wstring(s.getStringW()), expected);
    s.setFromMIFString("\\M+9C3A9");
    EXPECT_EQ(std::wstring(s.getStringW()), expected);
    s.setFromMIFString("\\M+xC3A9");  // not a digit: atoi gives 0
    EXPECT_EQ(std::wstring(s.getStringW()), expected);
}

TEST(KelStringMifString, TheLastSelectorAppliesToTheWholeText) {
    // Plain "A" and two escapes; the last selector (1) makes all of it CP932.
    KelString s;
    s.setFromMIFString("A\\M+58140\\M+18140B");
    ASSERT_EQ(s.length(), 4);
    EXPECT_EQ(static_cast<unsigned long>(s[0]), static_cast<unsigned long>(L'A'));
    EXPECT_EQ(static_cast<unsigned long>(s[1]), 0x3000ul);
    EXPECT_EQ(static_cast<unsigned long>(s[2]), 0x3000ul);
    EXPECT_EQ(static_cast<unsigned long>(s[3]), static_cast<unsigned long>(L'B'));
}

TEST(KelStringMifString, TheEscapeIsAMaskTest) {
    // "\m+" and "]M+" have all the bits of "\M+" set, so they start escapes.
    KelString lower;
    lower.setFromMIFString("\\m+18140");
    ASSERT_EQ(lower.length(), 1);
    EXPECT_EQ(static_cast<unsigned long>(lower[0]), 0x3000ul);
    KelString bracket;
    bracket.setFromMIFString("]M+18140");
    ASSERT_EQ(bracket.length(), 1);
    EXPECT_EQ(static_cast<unsigned long>(bracket[0]), 0x3000ul);
    KelString minus;
    minus.setFromMIFString("\\M-18140");  // '-' lacks bits of '+': plain text
    EXPECT_STREQ(minus.getStringW(), L"\\M-18140");
}

TEST(KelStringMifString, ShortEscapeSkipsFiveCharacters) {
    KelString s;
    // Seven characters from the escape on: "\M+18" is skipped, "12" is
    // plain text.
    s.setFromMIFString("ab\\M+1812");
    EXPECT_STREQ(s.getStringW(), L"ab12");
    s.setFromMIFString("ab\\M+1x");
    EXPECT_STREQ(s.getStringW(), L"ab");
}

TEST(KelStringMifString, HexPairsReadAsPercentX) {
    KelString s;
    s.setFromMIFString("\\M+04142");  // 0x41 0x42
    EXPECT_STREQ(s.getStringW(), L"AB");
    s.setFromMIFString("\\M+0 A4g");  // " A" is 0x0A, "4g" reads 4
    ASSERT_EQ(s.length(), 2);
    EXPECT_EQ(static_cast<unsigned long>(s[0]), 0x0Aul);
    EXPECT_EQ(static_cast<unsigned long>(s[1]), 0x04ul);
}

TEST(KelStringMifString, DecodedZeroByteEndsTheText) {
    KelString s;
    s.setFromMIFString("a\\M+00041b");
    EXPECT_STREQ(s.getStringW(), L"a");
}

TEST(KelStringMifString, EmptyOrNullGivesEmpty) {
    KelString s(L"before");
    s.setFromMIFString("");
    EXPECT_EQ(s.isEmpty(), 1);
    KelString t(L"before");
    t.setFromMIFString(nullptr);
    EXPECT_EQ(t.isEmpty(), 1);
    KelString u(L"before");
    u.setFromMIFString("\\M+10000");
    EXPECT_EQ(u.isEmpty(), 1);
}
