#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "text/string_access.h"

using kel::detail::StringAccess;

namespace {

int g_invalidParameterCalls = 0;
void countInvalidParameter(const wchar_t*, const wchar_t*, const wchar_t*, unsigned int,
                           uintptr_t) {
    ++g_invalidParameterCalls;
}

// Counts invalid-parameter reports for the duration of a test.
class InvalidParameterCounter {
public:
    InvalidParameterCounter() {
        g_invalidParameterCalls = 0;
        m_previous = kelSetInvalidParameterHandler(countInvalidParameter);
    }
    ~InvalidParameterCounter() { kelSetInvalidParameterHandler(m_previous); }
    int calls() const { return g_invalidParameterCalls; }

private:
    KelInvalidParameterHandler m_previous;
};

StringAccess::CharArray* makeChars(const std::vector<wchar_t>& chars) {
    auto* array = new StringAccess::CharArray;
    for (wchar_t c : chars)
        array->append(c);
    return array;
}

}  // namespace

// ----- construction ---------------------------------------------------------

TEST(KelStringConstruction, DefaultSharesTheEmptyRepresentation) {
    const int before = StringAccess::refCount(StringAccess::emptyRep());
    KelString s;
    EXPECT_EQ(StringAccess::rep(s), StringAccess::emptyRep());
    EXPECT_EQ(StringAccess::refCount(StringAccess::emptyRep()), before);
    EXPECT_STREQ(s.getStringW(), L"");
    EXPECT_EQ(s.length(), 0);
    EXPECT_EQ(s.isEmpty(), 1);
    EXPECT_EQ(StringAccess::cache(s), nullptr);
}

TEST(KelStringConstruction, NullAndEmptyTextShareTheEmptyRepresentation) {
    const KelString values[] = {
        KelString(static_cast<const wchar_t*>(nullptr)),        KelString(L""),
        KelString(static_cast<const char*>(nullptr)),           KelString(""),
        KelString(static_cast<const unsigned short*>(nullptr)),
    };
    for (const KelString& s : values) {
        EXPECT_EQ(StringAccess::rep(s), StringAccess::emptyRep());
        EXPECT_STREQ(s.getStringW(), L"");
        EXPECT_EQ(s.length(), 0);
        EXPECT_EQ(s.isEmpty(), 1);
    }
    const unsigned short emptyUnits[] = {0};
    EXPECT_EQ(StringAccess::rep(KelString(emptyUnits)), StringAccess::emptyRep());
}

TEST(KelStringConstruction, WideTextIsCopiedIntoANewRepresentation) {
    const wchar_t text[] = L"HEA 200";
    KelString s(text);
    EXPECT_NE(StringAccess::rep(s), StringAccess::emptyRep());
    EXPECT_EQ(StringAccess::refCount(s), 1);
    EXPECT_STREQ(s.getStringW(), L"HEA 200");
    EXPECT_NE(s.getStringW(), text);
    EXPECT_EQ(s.length(), 7);
    EXPECT_EQ(s.isEmpty(), 0);
}

TEST(KelStringConstruction, SixteenBitUnits) {
    const unsigned short hi[] = {0x48, 0x69, 0};
    EXPECT_STREQ(KelString(hi).getStringW(), L"Hi");
    const unsigned short pair[] = {0xD83D, 0xDE00, 0};
    const KelString face(pair);
    if (sizeof(wchar_t) == 4) {
        EXPECT_EQ(face.length(), 1);
        EXPECT_EQ(static_cast<unsigned>(face[0]), 0x1F600u);
    } else {
        EXPECT_EQ(face.length(), 2);
    }
}

TEST(KelStringConstruction, NarrowTextUsesTheNarrowCodePage) {
    EXPECT_STREQ(KelString("abc").getStringW(), L"abc");
    if (kelGetNarrowCodePage() == 65001) {
        EXPECT_STREQ(KelString("\xC3\xA9t\xC3\xA9").getStringW(), L"\u00E9t\u00E9");
    }
}

TEST(KelStringConstruction, NarrowTextAtTheScratchLimit) {
    const std::string fits(KelString::kTempBufferSize - 1, 'a');
    EXPECT_EQ(KelString(fits.c_str()).length(), KelString::kTempBufferSize - 1);

    kelSetLastError(0);
    const std::string tooLong(KelString::kTempBufferSize, 'a');
    const KelString s(tooLong.c_str());
    EXPECT_EQ(s.length(), 0);
    EXPECT_EQ(StringAccess::rep(s), StringAccess::emptyRep());
    EXPECT_EQ(kelGetLastError(), 122ul);
}

TEST(KelStringConstruction, CopySharesTheCharacters) {
    KelString a(L"IPE 300");
    a.getStringA();
    KelString b(a);
    EXPECT_EQ(a.getStringW(), b.getStringW());
    EXPECT_EQ(StringAccess::rep(a), StringAccess::rep(b));
    EXPECT_EQ(StringAccess::refCount(a), 2);
    EXPECT_EQ(StringAccess::cache(b), nullptr);  // the narrow cache is not copied
}

TEST(KelStringConstruction, ChangingACopyLeavesTheOtherAlone) {
    KelString a(L"left");
    KelString b(a);
    const wchar_t* shared = a.getStringW();
    b = L"right";
    EXPECT_EQ(a.getStringW(), shared);
    EXPECT_STREQ(a.getStringW(), L"left");
    EXPECT_STREQ(b.getStringW(), L"right");
    EXPECT_NE(b.getStringW(), shared);
    EXPECT_EQ(StringAccess::refCount(a), 1);
}

TEST(KelStringConstruction, CopiesOfTheEmptyValueStayOnTheEmptyRepresentation) {
    KelString empty;
    KelString copy(empty);
    KelString assigned(L"x");
    assigned = empty;
    EXPECT_EQ(StringAccess::rep(copy), StringAccess::emptyRep());
    EXPECT_EQ(StringAccess::rep(assigned), StringAccess::emptyRep());
}

TEST(KelStringConstruction, ArrayRangeConstructor) {
    std::unique_ptr<StringAccess::CharArray> chars(makeChars({L'a', L'b', L'c', L'd', L'e', L'f'}));
    EXPECT_STREQ(StringAccess::fromArray(*chars, 1, 3).getStringW(), L"bcd");
    EXPECT_STREQ(StringAccess::fromArray(*chars, 0, 5).getStringW(), L"abcdef");
    EXPECT_STREQ(StringAccess::fromArray(*chars, 2, 2).getStringW(), L"c");
    // Out-of-range bounds give the empty value.
    const KelString reversed = StringAccess::fromArray(*chars, 3, 1);
    EXPECT_EQ(StringAccess::rep(reversed), StringAccess::emptyRep());
    EXPECT_EQ(StringAccess::rep(StringAccess::fromArray(*chars, 2, 6)), StringAccess::emptyRep());
    EXPECT_EQ(StringAccess::rep(StringAccess::fromArray(*chars, 6, 7)), StringAccess::emptyRep());
    EXPECT_EQ(StringAccess::rep(StringAccess::fromArray(*chars, -1, 2)), StringAccess::emptyRep());
}

TEST(KelStringConstruction, ArrayRangeConstructorSkipsZeroCharacters) {
    // Built as "%s%c" steps: a zero character adds nothing to the text.
    std::unique_ptr<StringAccess::CharArray> chars(makeChars({L'a', L'\0', L'b'}));
    EXPECT_STREQ(StringAccess::fromArray(*chars, 0, 2).getStringW(), L"ab");
}

TEST(KelStringConstruction, ArrayRangeConstructorOnAnEmptyArrayGivesTheEmptyValue) {
    StringAccess::CharArray none;
    EXPECT_EQ(StringAccess::rep(StringAccess::fromArray(none, 0, 0)), StringAccess::emptyRep());
}

// ----- assignment -------------------------------------------------------------

TEST(KelStringAssignment, FromTheSameRepresentationDoesNothing) {
    KelString a(L"same");
    KelString b(a);
    const char* cache = a.getStringA();
    a = b;
    EXPECT_EQ(StringAccess::cache(a), cache);
    EXPECT_EQ(StringAccess::refCount(a), 2);
    a = a;
    EXPECT_EQ(StringAccess::refCount(a), 2);
    EXPECT_STREQ(a.getStringW(), L"same");
}

TEST(KelStringAssignment, FromAnotherValueSharesAndReleases) {
    KelString a(L"old");
    KelString keep(a);
    KelString b(L"new");
    a.getStringA();
    a = b;
    EXPECT_EQ(StringAccess::cache(a), nullptr);
    EXPECT_EQ(a.getStringW(), b.getStringW());
    EXPECT_EQ(StringAccess::refCount(b), 2);
    EXPECT_EQ(StringAccess::refCount(keep), 1);
    EXPECT_STREQ(keep.getStringW(), L"old");
}

TEST(KelStringAssignment, FromWideText) {
    KelString s(L"x");
    s.getStringA();
    s = L"wide";
    EXPECT_STREQ(s.getStringW(), L"wide");
    EXPECT_EQ(StringAccess::cache(s), nullptr);
    s = static_cast<const wchar_t*>(nullptr);
    EXPECT_EQ(StringAccess::rep(s), StringAccess::emptyRep());
    s = L"again";
    s = L"";
    EXPECT_EQ(StringAccess::rep(s), StringAccess::emptyRep());
}

TEST(KelStringAssignment, FromItsOwnCharactersIsSafe) {
    KelString s(L"abcdef");
    s = s.getStringW() + 2;
    EXPECT_STREQ(s.getStringW(), L"cdef");
}

TEST(KelStringAssignment, FromSixteenBitUnitsAndNarrowText) {
    KelString s;
    const unsigned short units[] = {0x6F, 0x6B, 0};
    s = units;
    EXPECT_STREQ(s.getStringW(), L"ok");
    s = "narrow";
    EXPECT_STREQ(s.getStringW(), L"narrow");
    EXPECT_EQ(StringAccess::refCount(s), 1);
    s = static_cast<const char*>(nullptr);
    EXPECT_EQ(StringAccess::rep(s), StringAccess::emptyRep());
}

// ----- access and conversion ----------------------------------------------------

TEST(KelStringAccess, NarrowCacheIsBuiltOnceAndDroppedOnChange) {
    KelString s(L"Profile");
    const char* first = s.getStringA();
    EXPECT_STREQ(first, "Profile");
    EXPECT_EQ(s.getStringA(), first);
    s = L"Other";
    EXPECT_EQ(StringAccess::cache(s), nullptr);
    EXPECT_STREQ(s.getStringA(), "Other");
}

TEST(KelStringAccess, NarrowCacheIsPerObject) {
    KelString a(L"shared");
    KelString b(a);
    EXPECT_NE(a.getStringA(), b.getStringA());
    EXPECT_STREQ(a.getStringA(), b.getStringA());
}

TEST(KelStringAccess, EmptyTextHasAnEmptyNarrowForm) {
    KelString s;
    EXPECT_STREQ(s.getStringA(), "");
    EXPECT_NE(StringAccess::cache(s), nullptr);
}

TEST(KelStringAccess, UnconvertibleCharacterBecomesQuestionMark) {
    // A lone surrogate has no narrow form in UTF-8 (or in any code page).
    const wchar_t text[] = {L'a', static_cast<wchar_t>(0xD800), L'b', 0};
    KelString s(text);
    EXPECT_STREQ(s.getStringA(), "a?b");
}

TEST(KelStringAccess, NarrowFormInUtf8) {
    if (kelGetNarrowCodePage() != 65001)
        GTEST_SKIP() << "the narrow code page is not UTF-8";
    EXPECT_STREQ(KelString(L"\u00E9\u20AC").getStringA(), "\xC3\xA9\xE2\x82\xAC");
}

TEST(KelStringAccess, SupplementaryCharacterInUtf8) {
    if (kelGetNarrowCodePage() != 65001)
        GTEST_SKIP() << "the narrow code page is not UTF-8";
    const unsigned short face[] = {0x41, 0xD83D, 0xDE00, 0};
    EXPECT_STREQ(KelString(face).getStringA(), "A\xF0\x9F\x98\x80");
    EXPECT_STREQ(KelString("A\xF0\x9F\x98\x80").getStringW(), KelString(face).getStringW());
}

TEST(KelStringAccess, IndexAndLength) {
    KelString s(L"UPN 80");
    EXPECT_EQ(s[0], L'U');
    EXPECT_EQ(s[5], L'0');
    EXPECT_EQ(s[6], L'\0');
    EXPECT_EQ(s.length(), 6);
}

TEST(KelStringAccess, LengthStopsAtTheFirstZero) {
    const wchar_t text[] = {L'a', L'b', 0, L'c', 0};
    EXPECT_EQ(KelString(text).length(), 2);
}

TEST(KelStringAccess, EmptyMakesTheValueEmpty) {
    KelString s(L"text");
    KelString keep(s);
    s.getStringA();
    KelString& result = s.empty();
    EXPECT_EQ(&result, &s);
    EXPECT_EQ(StringAccess::rep(s), StringAccess::emptyRep());
    EXPECT_EQ(StringAccess::cache(s), nullptr);
    EXPECT_EQ(StringAccess::refCount(keep), 1);
}

// ----- comparison -----------------------------------------------------------------

TEST(KelStringComparison, OrdinalOrder) {
    EXPECT_TRUE(KelString(L"ab") < KelString(L"abc"));
    EXPECT_FALSE(KelString(L"abc") < KelString(L"ab"));
    EXPECT_TRUE(KelString(L"abc") > KelString(L"ab"));
    EXPECT_TRUE(KelString(L"B") < KelString(L"a"));
    EXPECT_FALSE(KelString(L"a") < KelString(L"B"));
    EXPECT_TRUE(KelString(L"z") < KelString(L"\u00E9"));
    EXPECT_TRUE(KelString(L"") < KelString(L"a"));
    EXPECT_FALSE(KelString(L"") < KelString(L""));
    EXPECT_FALSE(KelString(L"a") > KelString(L"a"));
}

TEST(KelStringComparison, EqualityComparesCharacters) {
    EXPECT_TRUE(KelString(L"x1") == KelString(L"x1"));
    EXPECT_FALSE(KelString(L"x1") != KelString(L"x1"));
    EXPECT_TRUE(KelString(L"x1") != KelString(L"X1"));
    EXPECT_TRUE(KelString() == KelString(L""));
    EXPECT_FALSE(KelString(L"a") == KelString(L"ab"));
}

TEST(KelStringComparison, CharactersCompareAsUnsignedValues) {
    const wchar_t high[] = {static_cast<wchar_t>(0xFFFF), 0};
    EXPECT_TRUE(KelString(L"a") < KelString(high));
}

TEST(KelStringComparison, SupplementaryCharactersCompareByTheirWideUnits) {
    const unsigned short face[] = {0xD83D, 0xDE00, 0};  // U+1F600
    const wchar_t high[] = {static_cast<wchar_t>(0xFFFF), 0};
    if (sizeof(wchar_t) == 2) {
        // Its first unit is a surrogate, 0xD83D, below U+FFFF.
        EXPECT_TRUE(KelString(face) < KelString(high));
    } else {
        EXPECT_TRUE(KelString(face) > KelString(high));
    }
}

// ----- formatting -----------------------------------------------------------------

TEST(KelStringFormat, WideNarrowAndSixteenBitFormats) {
    KelString s;
    EXPECT_STREQ(s.format(L"%s-%d", L"HEB", 300).getStringW(), L"HEB-300");
    EXPECT_STREQ(s.format("%s/%S", "narrow", L"wide").getStringW(), L"narrow/wide");
    const unsigned short format[] = {'%', 's', '=', '%', 'd', 0};
    const unsigned short name[] = {'n', 0};
    EXPECT_STREQ(s.format(format, name, 7).getStringW(), L"n=7");
}

TEST(KelStringFormat, ArgumentsMayBeTheValueItself) {
    KelString s(L"abc");
    s.format(L"%s%s", s.getStringW(), s.getStringW());
    EXPECT_STREQ(s.getStringW(), L"abcabc");
}

TEST(KelStringFormat, TooLongResultLeavesTheValueEmpty) {
    InvalidParameterCounter counter;
    KelString s(L"before");
    const std::wstring big(KelString::kTempBufferSize, L'x');
    s.format(L"%s", big.c_str());
    EXPECT_EQ(s.isEmpty(), 1);
    EXPECT_EQ(counter.calls(), 1);

    const std::wstring fits(KelString::kTempBufferSize - 1, L'y');
    s.format(L"%s", fits.c_str());
    EXPECT_EQ(s.length(), KelString::kTempBufferSize - 1);
}

TEST(KelStringFormat, BadFormatLeavesTheValueEmpty) {
    InvalidParameterCounter counter;
    KelString s(L"before");
    s.format(L"%n", nullptr);
    EXPECT_EQ(s.isEmpty(), 1);
    s = L"before";
    s.format(static_cast<const char*>(nullptr));
    EXPECT_EQ(s.isEmpty(), 1);
    EXPECT_EQ(counter.calls(), 2);
}

// ----- scratch buffers -------------------------------------------------------------

TEST(KelStringScratch, CallingThreadOwnsASlot) {
    KelString s;
    s.format(L"%d", 1);
    EXPECT_TRUE(StringAccess::initialized());
    long slot = -1;
    EXPECT_TRUE(StringAccess::findThreadId(kelGetCurrentThreadId(), slot));
    EXPECT_GE(slot, 0);
    EXPECT_LT(slot, 6);
}

TEST(KelStringScratch, BuffersAreStableAndResetOnlyTheirFirstCharacter) {
    wchar_t* wide = StringAccess::tempBufferWide();
    char* narrow = StringAccess::tempBuffer();
    EXPECT_EQ(StringAccess::tempBufferWide(), wide);
    EXPECT_EQ(StringAccess::tempBuffer(), narrow);
    wcscpy(wide, L"xyz");
    strcpy(narrow, "xyz");
    StringAccess::resetTempBufferWide();
    StringAccess::resetTempBuffer();
    EXPECT_EQ(wide[0], L'\0');
    EXPECT_EQ(wide[1], L'y');
    EXPECT_EQ(narrow[0], '\0');
    EXPECT_EQ(narrow[1], 'y');
}
