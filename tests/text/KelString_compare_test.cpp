// KelString three-way comparisons: ordinal, case-insensitive, natural.

#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <climits>
#include <string>
#include <vector>

namespace {

int natural(const wchar_t* a, const wchar_t* b) {
    return KelString::compareWithNumbers(KelString(a), KelString(b));
}

}  // namespace

TEST(KelStringCompare, OrdinalThreeWay) {
    EXPECT_EQ(KelString::compare(KelString(L"abc"), KelString(L"abc")), 0);
    EXPECT_EQ(KelString::compare(KelString(L"abc"), KelString(L"abd")), -1);
    EXPECT_EQ(KelString::compare(KelString(L"abd"), KelString(L"abc")), 1);
    EXPECT_EQ(KelString::compare(KelString(L"ab"), KelString(L"abc")), -1);
    EXPECT_EQ(KelString::compare(KelString(L"abc"), KelString(L"ab")), 1);
    EXPECT_EQ(KelString::compare(KelString(L"B"), KelString(L"a")), -1);
    EXPECT_EQ(KelString::compare(KelString(), KelString()), 0);
    EXPECT_EQ(KelString::compare(KelString(), KelString(L"a")), -1);
}

TEST(KelStringCompare, OrdinalIsUnsigned) {
    EXPECT_EQ(KelString::compare(KelString(L"\uFFFF"), KelString(L"a")), 1);
    EXPECT_EQ(KelString::compare(KelString(L"\u00E9"), KelString(L"z")), 1);
}

TEST(KelStringCompare, OverAtMostNCharacters) {
    EXPECT_EQ(KelString::compare(KelString(L"abcX"), KelString(L"abcY"), 3), 0);
    EXPECT_LT(KelString::compare(KelString(L"abcX"), KelString(L"abcY"), 4), 0);
    EXPECT_GT(KelString::compare(KelString(L"abd"), KelString(L"abc"), 3), 0);
    EXPECT_LT(KelString::compare(KelString(L"ab"), KelString(L"abc"), 5), 0);
    EXPECT_EQ(KelString::compare(KelString(L"a"), KelString(L"b"), 0), 0);
}

TEST(KelStringCompare, NoCase) {
    EXPECT_EQ(KelString::compareNoCase(KelString(L"HEA"), KelString(L"hea")), 0);
    EXPECT_LT(KelString::compareNoCase(KelString(L"hea"), KelString(L"HEB")), 0);
    EXPECT_GT(KelString::compareNoCase(KelString(L"HEB"), KelString(L"hea")), 0);
    EXPECT_LT(KelString::compareNoCase(KelString(L"ab"), KelString(L"ABC")), 0);
    // Folding to lower case: "_" (0x5F) sorts before "a" even against "A".
    EXPECT_LT(KelString::compareNoCase(KelString(L"_"), KelString(L"A")), 0);
    EXPECT_EQ(KelString::compareNoCase(KelString(L"abcX"), KelString(L"ABCy"), 3), 0);
    EXPECT_LT(KelString::compareNoCase(KelString(L"abcX"), KelString(L"ABCy"), 4), 0);
    EXPECT_EQ(KelString::compareNoCase(KelString(L"a"), KelString(L"b"), 0), 0);
}

TEST(KelStringCompare, NegativeCountComparesTheWholeTexts) {
    EXPECT_LT(KelString::compare(KelString(L"abcX"), KelString(L"abcY"), -1), 0);
    EXPECT_GT(KelString::compare(KelString(L"b"), KelString(L"a"), -5), 0);
    EXPECT_LT(KelString::compare(KelString(L"ab"), KelString(L"abc"), INT_MIN), 0);
    EXPECT_EQ(KelString::compare(KelString(L"same"), KelString(L"same"), -1), 0);
    EXPECT_LT(KelString::compareNoCase(KelString(L"abcX"), KelString(L"ABCy"), -1), 0);
    EXPECT_EQ(KelString::compareNoCase(KelString(L"Same"), KelString(L"sAME"), -1), 0);
}

TEST(KelStringCompare, SortCallbacksTreatNullAsEqual) {
    const KelString a(L"a");
    const KelString upperA(L"A");
    EXPECT_EQ(KelString::strCompare(nullptr, &a), 0);
    EXPECT_EQ(KelString::strCompare(&a, nullptr), 0);
    EXPECT_EQ(KelString::strCompare(nullptr, nullptr), 0);
    EXPECT_EQ(KelString::strCompare(&a, &upperA), 1);
    EXPECT_EQ(KelString::strCompareNoCase(&a, &upperA), 0);
    EXPECT_EQ(KelString::strCompareNoCase(nullptr, &a), 0);
}

TEST(KelStringCompare, SortCallbacksWorkWithTheArray) {
    KelStringClassArray names;
    for (const wchar_t* n : {L"b", L"C", L"a", L"B"})
        names.append(n);
    names.sort(KelString::strCompare);
    EXPECT_STREQ(names[0].getStringW(), L"B");
    EXPECT_STREQ(names[1].getStringW(), L"C");
    EXPECT_STREQ(names[2].getStringW(), L"a");
    EXPECT_STREQ(names[3].getStringW(), L"b");
    long index = -1;
    EXPECT_EQ(names.bsearch(KelString(L"a"), index, KelString::strCompare), 1);
    EXPECT_EQ(index, 2);
}

// ----- natural order ------------------------------------------------------------------

struct NaturalCase {
    const wchar_t* a;
    const wchar_t* b;
    int expected;
};

TEST(KelStringCompareWithNumbers, ListedConsequences) {
    const NaturalCase cases[] = {
        {L"x9", L"x10", -1},      {L"-1", L"2", -1},  {L"-01", L"-1", 1},
        {L"ab", L"abc", 0},       {L"abc", L"ab", 1}, {L"", L"", 0},
        {L"a01", L"a1", 0},       {L"a1", L"a01", 0}, {L"file2", L"file10", -1},
        {L"file10", L"file2", 1}, {L"-5", L"-3", -1}, {L"-3", L"-5", 1},
    };
    for (const NaturalCase& c : cases)
        EXPECT_EQ(natural(c.a, c.b), c.expected) << "a=" << c.a << " b=" << c.b;
}

TEST(KelStringCompareWithNumbers, EmptyTexts) {
    EXPECT_EQ(natural(L"", L"a"), -1);
    EXPECT_EQ(natural(L"a", L""), 1);
    EXPECT_EQ(natural(L"", L"-1"), -1);
    EXPECT_EQ(natural(L"-1", L""), 1);
}

TEST(KelStringCompareWithNumbers, SignRule) {
    EXPECT_EQ(natural(L"-9", L"1"), -1);
    EXPECT_EQ(natural(L"1", L"-9"), 1);
    EXPECT_EQ(natural(L"-a", L"a"), -1);
    EXPECT_EQ(natural(L"a", L"-a"), 1);
}

TEST(KelStringCompareWithNumbers, IdenticalTextsAreEqual) {
    for (const wchar_t* t : {L"a", L"-5", L"-", L"file10", L"007", L"-abc"})
        EXPECT_EQ(natural(t, t), 0) << t;
}

TEST(KelStringCompareWithNumbers, BothNegativeNeverEqualUnlessIdentical) {
    // The walk gives 0 for these, and the reversal of negative texts turns
    // 0 into 1.
    EXPECT_EQ(natural(L"-1", L"-01"), 1);
    EXPECT_EQ(natural(L"-01", L"-1"), 1);
    EXPECT_EQ(natural(L"-ab", L"-abc"), 1);
    EXPECT_EQ(natural(L"-abc", L"-ab"), -1);
    EXPECT_EQ(natural(L"-a", L"-b"), 1);
    EXPECT_EQ(natural(L"-b", L"-a"), -1);
}

TEST(KelStringCompareWithNumbers, CharacterRuleIsOrdinal) {
    EXPECT_EQ(natural(L"B", L"a"), -1);
    EXPECT_EQ(natural(L"a", L"B"), 1);
    EXPECT_EQ(natural(L"a1", L"ab"), -1);  // '1' < 'b'
    EXPECT_EQ(natural(L"ab", L"a1"), 1);
    EXPECT_EQ(natural(L"1a", L"a1"), -1);  // '1' against 'a': character rule
}

TEST(KelStringCompareWithNumbers, NumbersCompareByValue) {
    EXPECT_EQ(natural(L"HEA 100", L"HEA 1000"), -1);
    EXPECT_EQ(natural(L"HEA 1000", L"HEA 100"), 1);
    EXPECT_EQ(natural(L"2", L"10"), -1);
    EXPECT_EQ(natural(L"10", L"2"), 1);
    EXPECT_EQ(natural(L"10a", L"10b"), -1);
    EXPECT_EQ(natural(L"10b", L"10a"), 1);
    EXPECT_EQ(natural(L"10", L"10a"), 0);  // proper prefix on the left
    EXPECT_EQ(natural(L"10a", L"10"), 1);
}

TEST(KelStringCompareWithNumbers, TheWalkRevisitsTheRestOfARun) {
    // At position 1 the numbers 12 and 12 are equal; at position 2 the
    // rest of the runs, "2" and "2x", are compared again.
    EXPECT_EQ(natural(L"a12", L"a12x"), 0);
    EXPECT_EQ(natural(L"a12x", L"a12"), 1);
    // "x012" against "x12y": at 1 the values 12 and 12 are equal; at 2 the
    // values 12 and 2 differ.
    EXPECT_EQ(natural(L"x012", L"x12y"), 1);
    EXPECT_EQ(natural(L"x12y", L"x012"), -1);
    // "001" against "01x": 1 = 1, then 1 = 1, then '1' against 'x'.
    EXPECT_EQ(natural(L"001", L"01x"), -1);
}

TEST(KelStringCompareWithNumbers, LargeNumbersSaturateAsTheRuntimeReadsThem) {
    // Both beyond INT_MAX: read as INT_MAX, equal, and both texts end in
    // digits, so the walk stops with 0.
    EXPECT_EQ(natural(L"99999999999", L"88888888888"), 0);
    EXPECT_EQ(natural(L"a2147483648", L"a2147483647"), 0);
    EXPECT_EQ(natural(L"a2147483647", L"a2147483646"), 1);
    // Equal saturated values with more text behind: the walk goes on to
    // the next digit, where 9999999999 > 8888888888 still saturates, and
    // so on until the rest of the runs fit an int.
    EXPECT_EQ(natural(L"99999999999x", L"98888888888x"), 1);
    EXPECT_EQ(natural(L"00000000000000000007", L"7"), 0);
}

TEST(KelStringCompareWithNumbers, SortsPartMarksNaturally) {
    std::vector<KelString> marks = {KelString(L"B10"), KelString(L"B2"), KelString(L"A1"),
                                    KelString(L"B1")};
    std::sort(marks.begin(), marks.end(), [](const KelString& a, const KelString& b) {
        return KelString::compareWithNumbers(a, b) < 0;
    });
    EXPECT_STREQ(marks[0].getStringW(), L"A1");
    EXPECT_STREQ(marks[1].getStringW(), L"B1");
    EXPECT_STREQ(marks[2].getStringW(), L"B2");
    EXPECT_STREQ(marks[3].getStringW(), L"B10");
}
