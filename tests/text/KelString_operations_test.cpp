// KelString editing, cutting, searching, replacing and trimming.

#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <clocale>
#include <string>

#include "text/invalid_parameter_counter.h"

namespace {

std::wstring text(const KelString& s) {
    return s.getStringW();
}

}  // namespace

// ----- concatenation and shifting ---------------------------------------------------

TEST(KelStringConcatenation, PlusJoinsAndLeavesTheOperandsAlone) {
    KelString a(L"HEA ");
    const KelString b(L"200");
    const KelString joined = a + b;
    EXPECT_EQ(text(joined), L"HEA 200");
    EXPECT_EQ(text(a), L"HEA ");
    EXPECT_EQ(text(b), L"200");
}

TEST(KelStringConcatenation, PlusWithEmptyOperands) {
    KelString empty;
    EXPECT_EQ(text(empty + KelString(L"x")), L"x");
    EXPECT_EQ(text(KelString(L"x") + empty), L"x");
    EXPECT_EQ((empty + empty).isEmpty(), 1);
}

TEST(KelStringConcatenation, PlusEqualsAppends) {
    KelString s(L"IPE");
    const KelString& result = (s += KelString(L" 300"));
    EXPECT_EQ(&result, &s);
    EXPECT_EQ(text(s), L"IPE 300");
    s += s;
    EXPECT_EQ(text(s), L"IPE 300IPE 300");
}

TEST(KelStringConcatenation, PlusEqualsGivesANewRepresentationAndKeepsCopies) {
    KelString s(L"ab");
    const KelString copy = s;
    s += KelString(L"c");
    EXPECT_EQ(text(copy), L"ab");
    EXPECT_EQ(text(s), L"abc");
}

TEST(KelStringShift, DropsTheFirstCharacters) {
    KelString s(L"abcdef");
    EXPECT_EQ(text(s >> 2), L"cdef");
    EXPECT_EQ(text(s), L"abcdef");
    s >>= 3;
    EXPECT_EQ(text(s), L"def");
}

TEST(KelStringShift, BelowOneChangesNothing) {
    KelString s(L"abc");
    const KelString copy = s;
    s >>= 0;
    EXPECT_EQ(s.getStringW(), copy.getStringW());
    s >>= -5;
    EXPECT_EQ(s.getStringW(), copy.getStringW());
}

TEST(KelStringShift, TheWholeLengthOrMoreGivesEmpty) {
    KelString s(L"abc");
    s >>= 3;
    EXPECT_EQ(s.isEmpty(), 1);
    KelString t(L"abc");
    t >>= 10;
    EXPECT_EQ(t.isEmpty(), 1);
}

// ----- setAt --------------------------------------------------------------------------

TEST(KelStringSetAt, WritesOneCharacterInEachForm) {
    KelString s(L"abc");
    s.setAt(1, L'X');
    EXPECT_EQ(text(s), L"aXc");
    const char narrow = 'Y';
    s.setAt(0, narrow);
    EXPECT_EQ(text(s), L"YXc");
    const unsigned short unit = 0x00E9;
    s.setAt(2, unit);
    EXPECT_EQ(text(s), L"YX\u00E9");
}

TEST(KelStringSetAt, ZeroCutsTheText) {
    KelString s(L"abcdef");
    s.setAt(3, L'\0');
    EXPECT_EQ(text(s), L"abc");
    EXPECT_EQ(s.length(), 3);
}

TEST(KelStringSetAt, KeepsOtherCopiesUnchanged) {
    KelString s(L"abc");
    const KelString copy = s;
    s.setAt(0, L'z');
    EXPECT_EQ(text(copy), L"abc");
    EXPECT_EQ(text(s), L"zbc");
}

TEST(KelStringSetAt, OutsideTheTextIsReportedAndChangesNothing) {
    InvalidParameterCounter reports;
    KelString s(L"abc");
    s.setAt(-1, L'x');
    s.setAt(3, L'x');
    s.setAt(100, L'x');
    EXPECT_EQ(reports.calls(), 3);
    EXPECT_EQ(text(s), L"abc");
    s.setAt(3, L'\0');  // a terminator behind the text changes nothing
    EXPECT_EQ(reports.calls(), 3);
    EXPECT_EQ(text(s), L"abc");
}

// ----- case and content -------------------------------------------------------------

TEST(KelStringCase, UpperAndLowerInTheCLocale) {
    KelString s(L"Hea 200 s235jr");
    EXPECT_EQ(&s.toUpper(), &s);
    EXPECT_EQ(text(s), L"HEA 200 S235JR");
    s.toLower();
    EXPECT_EQ(text(s), L"hea 200 s235jr");
}

TEST(KelStringCase, EmptyStaysEmpty) {
    KelString s;
    EXPECT_EQ(s.toUpper().isEmpty(), 1);
    EXPECT_EQ(s.toLower().isEmpty(), 1);
}

TEST(KelStringContent, EmptyTextIsAlphabeticAndAlphanumericButNotNumeric) {
    const KelString empty;
    EXPECT_TRUE(empty.IsAlphabetic());
    EXPECT_TRUE(empty.IsAlphaNumeric());
    EXPECT_FALSE(empty.IsNumeric());
}

TEST(KelStringContent, Classification) {
    EXPECT_TRUE(KelString(L"0123456789").IsNumeric());
    EXPECT_FALSE(KelString(L"12a").IsNumeric());
    EXPECT_FALSE(KelString(L"-12").IsNumeric());
    EXPECT_FALSE(KelString(L"1.5").IsNumeric());
    EXPECT_TRUE(KelString(L"abcXYZ").IsAlphabetic());
    EXPECT_FALSE(KelString(L"abc1").IsAlphabetic());
    EXPECT_FALSE(KelString(L"ab c").IsAlphabetic());
    EXPECT_TRUE(KelString(L"abc123").IsAlphaNumeric());
    EXPECT_FALSE(KelString(L"abc_123").IsAlphaNumeric());
    EXPECT_FALSE(KelString(L" ").IsAlphaNumeric());
}

TEST(KelStringContent, LettersOfEveryScriptAreAlphabetic) {
    EXPECT_TRUE(KelString(L"Tr\u00E4ger").IsAlphabetic());
    EXPECT_TRUE(KelString(L"\u00E9").IsAlphabetic());
    EXPECT_TRUE(KelString(L"Ma\u00DF").IsAlphabetic());
    EXPECT_TRUE(KelString(L"\u9244\u9AA8").IsAlphabetic());                    // CJK ideographs
    EXPECT_TRUE(KelString(L"\u0394\u03B9\u03AC").IsAlphabetic());              // Greek
    EXPECT_TRUE(KelString(L"\u0411\u0430\u043B\u043A\u0430").IsAlphabetic());  // Cyrillic
    EXPECT_TRUE(KelString(L"\u30AB\u30BF\u30AB\u30CA").IsAlphabetic());        // katakana
    EXPECT_TRUE(KelString(L"\u2163").IsAlphabetic());  // Roman numeral four, a letter number
    EXPECT_FALSE(KelString(L"Tr\u00E4ger 1").IsAlphabetic());
    EXPECT_FALSE(KelString(L"\u00D7").IsAlphabetic());  // multiplication sign
    EXPECT_FALSE(KelString(L"\u3000").IsAlphabetic());
    EXPECT_FALSE(KelString(L"e\u0301").IsAlphabetic());  // a combining mark is no letter
}

TEST(KelStringContent, AlphaNumericTakesLettersAndDigitsOfEveryScript) {
    EXPECT_TRUE(KelString(L"Ma\u00DF2").IsAlphaNumeric());
    EXPECT_TRUE(KelString(L"\u9244\u0663").IsAlphaNumeric());
    EXPECT_FALSE(KelString(L"Ma\u00DF 2").IsAlphaNumeric());
    EXPECT_FALSE(KelString(L"\u00BD").IsAlphaNumeric());  // one half is no digit
}

TEST(KelStringContent, DecimalDigitsOfEveryScriptAreNumeric) {
    EXPECT_TRUE(KelString(L"\u0661\u0662\u0663").IsNumeric());  // Arabic-Indic
    EXPECT_TRUE(KelString(L"\u0967\u0968").IsNumeric());        // Devanagari
    EXPECT_TRUE(KelString(L"\uFF11\uFF12").IsNumeric());        // full width
    // Deliberate: the runtime counts the superscripts of its first 256
    // characters as digits, but no other superscript.
    EXPECT_TRUE(KelString(L"\u00B2\u00B3\u00B9").IsNumeric());
    EXPECT_FALSE(KelString(L"\u2074").IsNumeric());
    EXPECT_FALSE(KelString(L"\u2162").IsNumeric());  // Roman numeral three
    EXPECT_FALSE(KelString(L"\u00BD").IsNumeric());
}

TEST(KelStringContent, ClassesDoNotDependOnTheCLibrarysLocale) {
    const std::string previous = std::setlocale(LC_ALL, nullptr);
    for (const char* locale : {"C", "C.UTF-8", ""}) {
        if (std::setlocale(LC_ALL, locale) == nullptr)
            continue;
        EXPECT_TRUE(KelString(L"Tr\u00E4ger").IsAlphabetic()) << locale;
        EXPECT_TRUE(KelString(L"\u4E2D").IsAlphabetic()) << locale;
        EXPECT_TRUE(KelString(L"Ma\u00DF2").IsAlphaNumeric()) << locale;
        EXPECT_TRUE(KelString(L"\u0663").IsNumeric()) << locale;
        EXPECT_EQ(KelString(L"\u3000 42").toInteger(), 42) << locale;
    }
    std::setlocale(LC_ALL, previous.c_str());
}

TEST(KelStringContent, StrRevReversesIntoANewValue) {
    const KelString s(L"abc");
    EXPECT_EQ(text(s.strRev()), L"cba");
    EXPECT_EQ(text(s), L"abc");
    EXPECT_EQ(KelString().strRev().isEmpty(), 1);
    EXPECT_EQ(text(KelString(L"x").strRev()), L"x");
}

// ----- find ---------------------------------------------------------------------------

TEST(KelStringFind, FirstOccurrenceAtOrAfterStart) {
    const KelString s(L"abcabc");
    EXPECT_EQ(s.find(KelString(L"bc")), 1);
    EXPECT_EQ(s.find(KelString(L"bc"), 1), 1);
    EXPECT_EQ(s.find(KelString(L"bc"), 2), 4);
    EXPECT_EQ(s.find(KelString(L"bc"), 5), -1);
    EXPECT_EQ(s.find(KelString(L"x")), -1);
    EXPECT_EQ(s.find(KelString(L"abcabcd")), -1);
    EXPECT_EQ(s.find(KelString(L"abcabc")), 0);
}

TEST(KelStringFind, StartOutsideTheTextGivesMinusOne) {
    const KelString s(L"abc");
    EXPECT_EQ(s.find(KelString(L"a"), -1), -1);
    EXPECT_EQ(s.find(KelString(L"a"), s.length()), -1);
    EXPECT_EQ(s.find(KelString(L"a"), 100), -1);
    EXPECT_EQ(KelString().find(KelString(), 0), -1);
}

TEST(KelStringFind, EmptyPatternYieldsStart) {
    const KelString s(L"abc");
    EXPECT_EQ(s.find(KelString(), 2), 2);
    EXPECT_EQ(s.find(KelString(), 0), 0);
}

TEST(KelStringFindLastOf, WideCharacter) {
    const KelString s(L"a\\b\\c");
    EXPECT_EQ(s.find_last_of(static_cast<unsigned short>(L'\\')), 3);
    EXPECT_EQ(s.find_last_of(static_cast<unsigned short>(L'a')), 0);
    EXPECT_EQ(s.find_last_of(static_cast<unsigned short>(L'x')), -1);
    EXPECT_EQ(KelString().find_last_of(static_cast<unsigned short>(L'x')), -1);
}

TEST(KelStringFindLastOf, NarrowByte) {
    const KelString s(L"a.b.c");
    EXPECT_EQ(s.find_last_of('.'), 3);
    EXPECT_EQ(s.find_last_of('a'), 0);
    EXPECT_EQ(s.find_last_of('x'), -1);
}

TEST(KelStringFindLastOf, NarrowScanStartsAtTheWideLength) {
    if (kelGetNarrowCodePage() != 65001)
        GTEST_SKIP() << "needs UTF-8 as the narrow code page";
    // "\u00E9." is two wide characters but three narrow bytes (UTF-8): the
    // scan starts at index 1 and never sees the "." at byte 2.
    if (kelGetNarrowCodePage() != 65001)
        GTEST_SKIP() << "needs a narrow code page with more bytes than characters (UTF-8)";
    const KelString s(L"\u00E9.");
    ASSERT_EQ(std::string(s.getStringA()), "\xC3\xA9.");
    EXPECT_EQ(s.find_last_of('.'), -1);
    EXPECT_EQ(s.find_last_of('\xA9'), 1);
}

// ----- replace ------------------------------------------------------------------------

TEST(KelStringReplace, CharacterReplacesEveryOccurrence) {
    KelString s(L"a-b-c");
    EXPECT_EQ(s.replace(L'-', L'+'), 2);
    EXPECT_EQ(text(s), L"a+b+c");
    EXPECT_EQ(s.replace('+', '/'), 2);
    EXPECT_EQ(text(s), L"a/b/c");
    EXPECT_EQ(s.replace(static_cast<unsigned short>(L'/'), static_cast<unsigned short>(L'\\')), 2);
    EXPECT_EQ(text(s), L"a\\b\\c");
}

TEST(KelStringReplace, NoMatchStillGivesAFreshRepresentation) {
    KelString s(L"abc");
    const KelString copy = s;
    EXPECT_EQ(s.replace(L'x', L'y'), 0);
    EXPECT_EQ(text(s), L"abc");
    EXPECT_NE(s.getStringW(), copy.getStringW());
}

TEST(KelStringReplace, ReplacingByZeroCutsTheText) {
    KelString s(L"a;b;c");
    EXPECT_EQ(s.replace(L';', L'\0'), 2);
    EXPECT_EQ(text(s), L"a");
}

TEST(KelStringReplace, SubstringNonOverlapping) {
    KelString four(L"aaaa");
    EXPECT_EQ(four.replace(KelString(L"aa"), KelString(L"b")), 2);
    EXPECT_EQ(text(four), L"bb");
    KelString three(L"aaa");
    EXPECT_EQ(three.replace(KelString(L"aa"), KelString(L"b")), 1);
    EXPECT_EQ(text(three), L"ba");
}

TEST(KelStringReplace, SubstringReplacementsAreNotSearchedAgain) {
    KelString s(L"a.b.c");
    EXPECT_EQ(s.replace(KelString(L"."), KelString(L"..")), 2);
    EXPECT_EQ(text(s), L"a..b..c");
    KelString t(L"xx");
    EXPECT_EQ(t.replace(KelString(L"x"), KelString(L"xx")), 2);
    EXPECT_EQ(text(t), L"xxxx");
}

TEST(KelStringReplace, SubstringByEmptyRemoves) {
    KelString s(L"HEA 200 HEA");
    EXPECT_EQ(s.replace(KelString(L"HEA"), KelString()), 2);
    EXPECT_EQ(text(s), L" 200 ");
}

TEST(KelStringReplace, EmptyPatternChangesNothing) {
    KelString s(L"abc");
    const KelString copy = s;
    EXPECT_EQ(s.replace(KelString(), KelString(L"x")), 0);
    EXPECT_EQ(s.getStringW(), copy.getStringW());
}

TEST(KelStringReplace, SubstringWithoutMatchReassignsTheSameText) {
    KelString s(L"abc");
    const KelString copy = s;
    EXPECT_EQ(s.replace(KelString(L"zz"), KelString(L"y")), 0);
    EXPECT_EQ(text(s), L"abc");
    EXPECT_NE(s.getStringW(), copy.getStringW());
}

TEST(KelStringReplace, RangeBecomesLeftWithRight) {
    KelString s(L"abcdef");
    EXPECT_EQ(&s.replace(2, 2, KelString(L"XYZ")), &s);
    EXPECT_EQ(text(s), L"abXYZef");
    KelString start(L"abcdef");
    start.replace(0, 3, KelString(L"-"));
    EXPECT_EQ(text(start), L"-def");
    KelString end(L"abcdef");
    end.replace(4, 2, KelString(L"+"));
    EXPECT_EQ(text(end), L"abcd+");
    KelString past(L"abcdef");
    past.replace(4, 100, KelString(L"+"));
    EXPECT_EQ(text(past), L"abcd+");
    KelString erase(L"abcdef");
    erase.replace(1, 4, KelString());
    EXPECT_EQ(text(erase), L"af");
}

TEST(KelStringReplace, RangeWithCountZeroOrLessDoesNothing) {
    KelString s(L"abcdef");
    const KelString copy = s;
    s.replace(1, 0, KelString(L"X"));
    s.replace(1, -3, KelString(L"X"));
    EXPECT_EQ(s.getStringW(), copy.getStringW());
}

TEST(KelStringReplace, RangeWithNegativePositionKeepsTheRightPart) {
    // left is skipped for pos <= 0; right(length - pos - count) of more
    // than the length is the whole text.
    KelString s(L"abc");
    s.replace(-2, 1, KelString(L"X"));
    EXPECT_EQ(text(s), L"Xabc");
}

// ----- removeAll ----------------------------------------------------------------------

TEST(KelStringRemoveAll, RemovesEveryOccurrenceInEachForm) {
    KelString s(L"a b  c ");
    s.removeAll(L' ');
    EXPECT_EQ(text(s), L"abc");
    const char narrow = 'b';
    s.removeAll(narrow);
    EXPECT_EQ(text(s), L"ac");
    const unsigned short unit = L'c';
    s.removeAll(unit);
    EXPECT_EQ(text(s), L"a");
    s.removeAll(L'a');
    EXPECT_EQ(s.isEmpty(), 1);
}

TEST(KelStringRemoveAll, NothingRemovedKeepsTheRepresentation) {
    KelString s(L"abc");
    const KelString copy = s;
    s.removeAll(L'x');
    EXPECT_EQ(s.getStringW(), copy.getStringW());
    s.removeAll(L'\0');
    EXPECT_EQ(s.getStringW(), copy.getStringW());
    KelString empty;
    empty.removeAll(L'a');
    EXPECT_EQ(empty.isEmpty(), 1);
}

// ----- cutting ------------------------------------------------------------------------

TEST(KelStringCutting, Left) {
    const KelString s(L"abc");
    EXPECT_EQ(s.left(-1).isEmpty(), 1);
    EXPECT_EQ(s.left(0).isEmpty(), 1);
    EXPECT_EQ(text(s.left(2)), L"ab");
    EXPECT_EQ(text(s.left(3)), L"abc");
    EXPECT_EQ(text(s.left(99)), L"abc");
}

TEST(KelStringCutting, Right) {
    const KelString s(L"abc");
    EXPECT_EQ(s.right(-1).isEmpty(), 1);
    EXPECT_EQ(s.right(0).isEmpty(), 1);
    EXPECT_EQ(text(s.right(2)), L"bc");
    EXPECT_EQ(text(s.right(99)), L"abc");
}

TEST(KelStringCutting, Mid) {
    const KelString s(L"abcdef");
    EXPECT_EQ(text(s.mid(2, 3)), L"cde");
    EXPECT_EQ(text(s.mid(2, 100)), L"cdef");
    EXPECT_EQ(text(s.mid(0, 6)), L"abcdef");
    EXPECT_EQ(text(s.mid(4)), L"ef");
    EXPECT_EQ(text(s.mid(0)), L"abcdef");
    EXPECT_EQ(s.mid(6).isEmpty(), 1);
    EXPECT_EQ(s.mid(2, 0).isEmpty(), 1);
}

TEST(KelStringCutting, MidOutsideTheTextGivesEmpty) {
    const KelString s(L"abc");
    EXPECT_EQ(s.mid(-1, 2).isEmpty(), 1);
    EXPECT_EQ(s.mid(4, 2).isEmpty(), 1);
    EXPECT_EQ(s.mid(10).isEmpty(), 1);
}

TEST(KelStringCutting, CopySetsThisValue) {
    KelString target(L"old");
    const KelString source(L"abcdef");
    const KelString result = target.copy(source, 1, 3);
    EXPECT_EQ(text(target), L"bcd");
    EXPECT_EQ(text(result), L"bcd");
    target.copy(source, 4, 100);
    EXPECT_EQ(text(target), L"ef");
    target.copy(source, 2);
    EXPECT_EQ(text(target), L"cdef");
}

TEST(KelStringCutting, CopyOutsideTheSourceEmptiesThisValue) {
    const KelString source(L"abc");
    KelString a(L"x");
    EXPECT_EQ(a.copy(source, -1, 2).isEmpty(), 1);
    EXPECT_EQ(a.isEmpty(), 1);
    KelString b(L"x");
    b.copy(source, 3, 1);
    EXPECT_EQ(b.isEmpty(), 1);
    KelString c(L"x");
    c.copy(source, 0, 0);
    EXPECT_EQ(c.isEmpty(), 1);
    KelString d(L"x");
    d.copy(source, 3);
    EXPECT_EQ(d.isEmpty(), 1);
}

TEST(KelStringCutting, CopyFromItself) {
    KelString s(L"abcdef");
    s.copy(s, 2, 2);
    EXPECT_EQ(text(s), L"cd");
}

// ----- trimming -----------------------------------------------------------------------

TEST(KelStringTrim, DefaultSetKeepsCarriageReturn) {
    KelString s(L"ab\r\n");
    s.TrimRight();
    EXPECT_EQ(text(s), L"ab\r");
    KelString t(L"\r\n ab");
    t.TrimLeft();
    EXPECT_EQ(text(t), L"\r\n ab");
}

TEST(KelStringTrim, DefaultSetIsTabLineFeedSpace) {
    KelString s(L"\t\n  ab c \t\n");
    s.TrimLeft();
    EXPECT_EQ(text(s), L"ab c \t\n");
    s.TrimRight();
    EXPECT_EQ(text(s), L"ab c");
}

TEST(KelStringTrim, AllTrimmedGivesEmpty) {
    KelString s(L"   ");
    s.TrimLeft();
    EXPECT_EQ(s.isEmpty(), 1);
    KelString t(L"\t \n");
    t.TrimRight();
    EXPECT_EQ(t.isEmpty(), 1);
}

TEST(KelStringTrim, EmptyTextStaysEmpty) {
    KelString s;
    s.TrimLeft();
    s.TrimRight();
    s.TrimLeft(KelString(L"x"));
    EXPECT_EQ(s.isEmpty(), 1);
}

TEST(KelStringTrim, OwnSet) {
    KelString s(L"xxyabcyx");
    s.TrimLeft(KelString(L"xy"));
    EXPECT_EQ(text(s), L"abcyx");
    s.TrimRight(KelString(L"xy"));
    EXPECT_EQ(text(s), L"abc");
    s.TrimRight(KelString());
    EXPECT_EQ(text(s), L"abc");
}

TEST(KelStringTrim, NothingToTrimStillGivesTheSameText) {
    KelString s(L"abc");
    s.TrimLeft();
    s.TrimRight();
    EXPECT_EQ(text(s), L"abc");
}

// ----- other setters --------------------------------------------------------------------

TEST(KelStringSetters, FromUnsignedShortString) {
    KelString s(L"old");
    const unsigned short units[] = {'H', 'E', 'A', 0};
    const KelString result = s.setFromUnsignedShortString(units);
    EXPECT_EQ(text(s), L"HEA");
    EXPECT_EQ(text(result), L"HEA");
    EXPECT_EQ(result.getStringW(), s.getStringW());
    s.setFromUnsignedShortString(nullptr);
    EXPECT_EQ(s.isEmpty(), 1);
    const unsigned short empty[] = {0};
    KelString t(L"x");
    t.setFromUnsignedShortString(empty);
    EXPECT_EQ(t.isEmpty(), 1);
}

TEST(KelStringSetters, FromUnsignedShortStringJoinsSurrogatePairs) {
    const unsigned short units[] = {0xD83D, 0xDE00, 'x', 0};
    KelString s;
    s.setFromUnsignedShortString(units);
    if (sizeof(wchar_t) == 4) {
        EXPECT_EQ(s.length(), 2);
        EXPECT_EQ(static_cast<unsigned long>(s[0]), 0x1F600ul);
    } else {
        EXPECT_EQ(s.length(), 3);
    }
}

TEST(KelStringSetAt, NarrowByteThatIsNoCharacterOnItsOwnBecomesReplacement) {
    if (kelGetNarrowCodePage() != 65001)
        GTEST_SKIP() << "needs UTF-8 as the narrow code page";
    // In UTF-8 the lone byte 0xE9 is invalid: it converts to U+FFFD.
    KelString s(L"abc");
    s.setAt(1, '\xE9');
    EXPECT_EQ(static_cast<unsigned long>(s[1]), 0xFFFDul);
}
