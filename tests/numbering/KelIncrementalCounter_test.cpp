#include <kel/Kel.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

StructIncrementalCounter config(const wchar_t* start, const wchar_t* first, int count,
                                const wchar_t* skipped = L"", int maxValues = -1) {
    StructIncrementalCounter data;
    data.startValue = start;
    data.firstSymbol = first;
    data.symbolCount = count;
    data.skippedSymbols = skipped;
    data.maxValues = maxValues;
    return data;
}

std::wstring text(KelIncrementalCounter& counter) {
    return counter.getCounterString().getStringW();
}

// The value after each of `n` increments.
std::vector<std::wstring> run(KelIncrementalCounter& counter, int n) {
    std::vector<std::wstring> values;
    for (int i = 0; i < n; ++i) {
        EXPECT_EQ(counter.increment(), KelIncrementalCounter::eIncremented);
        values.push_back(text(counter));
    }
    return values;
}

std::wstring afterOneIncrement(const StructIncrementalCounter& data, const wchar_t* value) {
    KelIncrementalCounter counter;
    counter.setDataFrom(data);
    counter.setCounterString(value);
    counter.increment();
    return text(counter);
}

// Opens the protected members for the tests.
class OpenCounter : public KelIncrementalCounter {
public:
    using KelIncrementalCounter::incrementAtPosition;
    using KelIncrementalCounter::initChar;
};

TEST(KelIncrementalCounter, Enumeration_HasItsNumbers) {
    EXPECT_EQ(KelIncrementalCounter::eIncremented, 0);
    EXPECT_EQ(KelIncrementalCounter::eLimitReached, 1);
    EXPECT_EQ(sizeof(KelIncrementalCounter::eIncrementStatus), 4u);
}

TEST(KelIncrementalCounter, Struct_StartsWithEmptyStrings) {
    StructIncrementalCounter data;
    EXPECT_EQ(data.label.length(), 0);
    EXPECT_EQ(data.startValue.length(), 0);
    EXPECT_EQ(data.firstSymbol.length(), 0);
    EXPECT_EQ(data.skippedSymbols.length(), 0);
    EXPECT_EQ(data.remark.length(), 0);
    StructIncrementalCounter copy(data);
    copy.tag = 4;
    copy.label = L"marks";
    StructIncrementalCounter assigned;
    assigned = copy;
    EXPECT_EQ(assigned.tag, 4);
    EXPECT_EQ(std::wstring(assigned.label.getStringW()), L"marks");
}

TEST(KelIncrementalCounter, Unconfigured_RefusesTheFirstIncrement) {
    KelIncrementalCounter counter;
    EXPECT_EQ(counter.increment(), KelIncrementalCounter::eLimitReached);
    EXPECT_EQ(text(counter), L"");
    EXPECT_EQ(counter.increment(), KelIncrementalCounter::eLimitReached);
}

TEST(KelIncrementalCounter, SetDataFrom_ReturnsOneAndResets) {
    KelIncrementalCounter counter;
    EXPECT_EQ(counter.setDataFrom(config(L"C", L"A", 26)), 1);
    EXPECT_EQ(text(counter), L"C");
    counter.increment();
    EXPECT_EQ(text(counter), L"D");
    EXPECT_EQ(counter.setDataFrom(config(L"K", L"A", 26)), 1);
    EXPECT_EQ(text(counter), L"K");
}

TEST(KelIncrementalCounter, Letters_SkipIAndO) {
    KelIncrementalCounter counter;
    counter.setDataFrom(config(L"A", L"A", 26, L"IO"));
    std::vector<std::wstring> expected;
    for (wchar_t c = L'B'; c <= L'Z'; ++c) {
        if (c != L'I' && c != L'O')
            expected.push_back(std::wstring(1, c));
    }
    expected.push_back(L"AA");
    expected.push_back(L"AB");
    EXPECT_EQ(run(counter, static_cast<int>(expected.size())), expected);
}

TEST(KelIncrementalCounter, Letters_AZIsFollowedByBA) {
    KelIncrementalCounter counter;
    counter.setDataFrom(config(L"A", L"A", 26, L"IO"));
    counter.setCounterString(L"AH");
    EXPECT_EQ(run(counter, 1), std::vector<std::wstring>{L"AJ"});
    counter.setCounterString(L"AZ");
    EXPECT_EQ(run(counter, 1), std::vector<std::wstring>{L"BA"});
    counter.setCounterString(L"HZ");
    EXPECT_EQ(run(counter, 1), std::vector<std::wstring>{L"JA"});
}

TEST(KelIncrementalCounter, Letters_ZGivesAAAndZZGivesAAA) {
    const StructIncrementalCounter letters = config(L"A", L"A", 26);
    EXPECT_EQ(afterOneIncrement(letters, L"Z"), L"AA");
    EXPECT_EQ(afterOneIncrement(letters, L"ZZ"), L"AAA");
    EXPECT_EQ(afterOneIncrement(letters, L"AZZ"), L"BAA");
}

TEST(KelIncrementalCounter, DigitsFromOne_CountInDecimal) {
    KelIncrementalCounter counter;
    counter.setDataFrom(config(L"1", L"1", 9));
    const std::vector<std::wstring> values = run(counter, 1099);
    for (int i = 0; i < 1099; ++i)
        ASSERT_EQ(values[i], std::to_wstring(i + 2));
}

TEST(KelIncrementalCounter, DigitsFromOne_NineGivesTenAndNinetyNineHundred) {
    const StructIncrementalCounter digits = config(L"1", L"1", 9);
    EXPECT_EQ(afterOneIncrement(digits, L"9"), L"10");
    EXPECT_EQ(afterOneIncrement(digits, L"19"), L"20");
    EXPECT_EQ(afterOneIncrement(digits, L"99"), L"100");
}

TEST(KelIncrementalCounter, DigitsFromZero_CountInDecimal) {
    KelIncrementalCounter counter;
    counter.setDataFrom(config(L"0", L"0", 10));
    EXPECT_EQ(text(counter), L"0");
    const std::vector<std::wstring> values = run(counter, 1000);
    for (int i = 0; i < 1000; ++i)
        ASSERT_EQ(values[i], std::to_wstring(i + 1));
}

TEST(KelIncrementalCounter, MaxValues_CountsTheStartValue) {
    KelIncrementalCounter counter;
    counter.setDataFrom(config(L"A", L"A", 26, L"", 3));
    EXPECT_EQ(counter.increment(), KelIncrementalCounter::eIncremented);
    EXPECT_EQ(text(counter), L"B");
    EXPECT_EQ(counter.increment(), KelIncrementalCounter::eIncremented);
    EXPECT_EQ(text(counter), L"C");
    EXPECT_EQ(counter.increment(), KelIncrementalCounter::eLimitReached);
    EXPECT_EQ(text(counter), L"C");
    EXPECT_EQ(counter.increment(), KelIncrementalCounter::eLimitReached);
    EXPECT_EQ(text(counter), L"C");
    counter.reset();
    EXPECT_EQ(text(counter), L"A");
    EXPECT_EQ(counter.increment(), KelIncrementalCounter::eIncremented);
    EXPECT_EQ(text(counter), L"B");
}

TEST(KelIncrementalCounter, MaxValuesOne_RefusesEveryIncrement) {
    KelIncrementalCounter counter;
    counter.setDataFrom(config(L"A", L"A", 26, L"", 1));
    EXPECT_EQ(counter.increment(), KelIncrementalCounter::eLimitReached);
    EXPECT_EQ(text(counter), L"A");
}

TEST(KelIncrementalCounter, EmptyStart_FirstIncrementGivesTheFirstSymbol) {
    KelIncrementalCounter counter;
    counter.setDataFrom(config(L"", L"A", 26));
    EXPECT_EQ(text(counter), L"");
    EXPECT_EQ(run(counter, 2), (std::vector<std::wstring>{L"A", L"B"}));

    counter.setDataFrom(config(L"", L"A", 26, L"AB"));
    EXPECT_EQ(run(counter, 1), std::vector<std::wstring>{L"C"});

    // Numeric (an empty start counts as digits): a new position never
    // starts with '0'.
    counter.setDataFrom(config(L"", L"0", 10));
    EXPECT_EQ(run(counter, 2), (std::vector<std::wstring>{L"1", L"2"}));
}

TEST(KelIncrementalCounter, SetCounterString_KeepsTheIncrementCount) {
    KelIncrementalCounter counter;
    counter.setDataFrom(config(L"A", L"A", 26, L"I", 3));
    EXPECT_EQ(counter.increment(), KelIncrementalCounter::eIncremented);  // B, 1 call
    counter.setCounterString(L"H");
    EXPECT_EQ(text(counter), L"H");
    EXPECT_EQ(counter.increment(), KelIncrementalCounter::eIncremented);  // 2 calls
    EXPECT_EQ(text(counter), L"J");
    EXPECT_EQ(counter.increment(), KelIncrementalCounter::eLimitReached);  // 3 calls
    EXPECT_EQ(text(counter), L"J");
}

TEST(KelIncrementalCounter, NonNumericStart_WrapsToTheFirstSymbol) {
    // "A1" is not all digits: the counter is not numeric, and a wrapping
    // position returns to its first symbol instead of '0'.
    const StructIncrementalCounter mixed = config(L"A1", L"1", 9);
    KelIncrementalCounter counter;
    counter.setDataFrom(mixed);
    EXPECT_EQ(text(counter), L"A1");
    EXPECT_EQ(afterOneIncrement(mixed, L"A9"), L"B1");
    EXPECT_EQ(afterOneIncrement(config(L"1", L"1", 9), L"A9"), L"B0");
}

TEST(KelIncrementalCounter, NumericWrap_IsNotCheckedAgainstTheSkipList) {
    // The wrapped '0' stays although '0' is skipped; the new leading
    // position is checked and so starts at '1'.
    EXPECT_EQ(afterOneIncrement(config(L"0", L"0", 10, L"0"), L"9"), L"10");
}

TEST(KelIncrementalCounter, SymbolBeyondTheRange_KeepsClimbing) {
    const StructIncrementalCounter letters = config(L"A", L"A", 26);
    EXPECT_EQ(afterOneIncrement(letters, L"a"), L"b");
    EXPECT_EQ(afterOneIncrement(letters, L"Aa"), L"Ab");
    // Below the range it climbs too.
    EXPECT_EQ(afterOneIncrement(letters, L"5"), L"6");
}

TEST(KelIncrementalCounter, SkippedSymbolsAtTheEndOfTheRange_Wrap) {
    // 'Y' and 'Z' are skipped: 'X' wraps straight to 'AA'.
    const StructIncrementalCounter letters = config(L"A", L"A", 26, L"YZ");
    EXPECT_EQ(afterOneIncrement(letters, L"X"), L"AA");
}

TEST(KelIncrementalCounter, FirstSymbol_OnlyItsLastCharacterCounts) {
    KelIncrementalCounter counter;
    counter.setDataFrom(config(L"A", L"XA", 26));
    counter.setCounterString(L"Z");
    counter.increment();
    // "XA" is not numeric: the wrap goes back to 'A', the last character.
    EXPECT_EQ(text(counter), L"AA");
}

TEST(KelIncrementalCounter, ProtectedHelpers_StepOnePosition) {
    OpenCounter counter;
    counter.setDataFrom(config(L"A", L"XA", 26));
    EXPECT_EQ(counter.initChar(), L'A');
    int carry = 7;
    EXPECT_EQ(counter.incrementAtPosition(L'B', KelString(), carry), L'C');
    EXPECT_EQ(carry, 0);
    EXPECT_EQ(counter.incrementAtPosition(L'H', KelString(L"IJ"), carry), L'K');
    EXPECT_EQ(carry, 0);
    EXPECT_EQ(counter.incrementAtPosition(L'Z', KelString(), carry), L'A');
    EXPECT_EQ(carry, 1);

    OpenCounter digits;
    digits.setDataFrom(config(L"1", L"1", 9));
    EXPECT_EQ(digits.incrementAtPosition(L'9', KelString(), carry), L'0');
    EXPECT_EQ(carry, 1);

    OpenCounter unconfigured;
    EXPECT_EQ(unconfigured.initChar(), 0);
}

TEST(KelIncrementalCounter, SymbolArithmetic_WrapsAtSixteenBits) {
    // U+FFFF + 1 is 0 in 16-bit arithmetic: the position holds a zero unit,
    // which adds nothing to the text, and then 1.
    KelIncrementalCounter counter;
    counter.setDataFrom(config(L"\xFFFF", L"\xFFFF", 5));
    ASSERT_EQ(counter.increment(), KelIncrementalCounter::eIncremented);
    EXPECT_EQ(text(counter), L"");
    ASSERT_EQ(counter.increment(), KelIncrementalCounter::eIncremented);
    EXPECT_EQ(text(counter), std::wstring(1, L'\x0001'));
}

TEST(KelIncrementalCounter, SupplementaryCharacter_StepsItsLastCodeUnit) {
    // U+1F600 is D83D DE00 in UTF-16; the last unit steps to DE01.
    KelIncrementalCounter counter;
    counter.setDataFrom(config(L"A", L"A", 26));
    const std::wstring grin =
        KelString(reinterpret_cast<const unsigned short*>(u"\U0001F600")).getStringW();
    counter.setCounterString(grin.c_str());
    counter.increment();
    const std::wstring next =
        KelString(reinterpret_cast<const unsigned short*>(u"\U0001F601")).getStringW();
    EXPECT_EQ(text(counter), next);
}

TEST(KelIncrementalCounter, Copy_TakesTheWholeState) {
    KelIncrementalCounter counter;
    counter.setDataFrom(config(L"A", L"A", 26, L"", 4));
    counter.increment();  // B, 1 call
    KelIncrementalCounter copy(counter);
    EXPECT_EQ(text(copy), L"B");
    EXPECT_EQ(copy.increment(), KelIncrementalCounter::eIncremented);  // C, 2 calls
    EXPECT_EQ(copy.increment(), KelIncrementalCounter::eIncremented);  // D, 3 calls
    EXPECT_EQ(copy.increment(), KelIncrementalCounter::eLimitReached);
    EXPECT_EQ(text(copy), L"D");
    EXPECT_EQ(text(counter), L"B");

    KelIncrementalCounter assigned;
    assigned = counter;
    EXPECT_EQ(assigned.increment(), KelIncrementalCounter::eIncremented);
    EXPECT_EQ(text(assigned), L"C");
}

}  // namespace
