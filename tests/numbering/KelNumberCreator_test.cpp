#include <kel/Kel.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

StructNumberingDataRange range(const wchar_t* first, int count, const wchar_t* start,
                               const wchar_t* skipped = L"") {
    StructNumberingDataRange data;
    data.firstSymbol = first;
    data.symbolCount = count;
    data.startValue = start;
    data.skippedSymbols = skipped;
    return data;
}

const KelNumberCreator::eNumberingType kDecimal = static_cast<KelNumberCreator::eNumberingType>(3);
const KelNumberCreator::eNumberingType kLetters = static_cast<KelNumberCreator::eNumberingType>(1);

// A creator of the given type over the given range, started at its start value.
KelNumberCreator creator(KelNumberCreator::eNumberingType type,
                         const StructNumberingDataRange& data, const wchar_t* prefix = L"") {
    KelNumberCreator numbers(type, prefix);
    numbers.overrideDataRange(data, type);
    numbers.reinit();
    return numbers;
}

std::vector<std::wstring> next(KelNumberCreator& numbers, int n) {
    std::vector<std::wstring> values;
    for (int i = 0; i < n; ++i)
        values.push_back(numbers.getNextNumber().getStringW());
    return values;
}

class OpenCreator : public KelNumberCreator {
public:
    using KelNumberCreator::checkNumber;
};

TEST(KelNumberCreator, Enumerations_HaveTheirNumbers) {
    EXPECT_EQ(KelNumberCreator::eDecimal, 3);
    EXPECT_EQ(KelNumberCreator::eCodeSet, 0);
    EXPECT_EQ(KelNumberCreator::eCodeUnchanged, 2);
    EXPECT_EQ(sizeof(KelNumberCreator::eNumberingType), 4u);
    EXPECT_EQ(sizeof(KelNumberCreator::SetCodeTag), 4u);
}

TEST(KelNumberCreator, Default_HasEmptyTexts) {
    KelNumberCreator numbers;
    EXPECT_EQ(numbers.getNumberingPrefix().length(), 0);
    EXPECT_EQ(numbers.getNumberingSufix().length(), 0);
    EXPECT_EQ(numbers.getNumberingStart().length(), 0);
    // Type 0: setting it again changes nothing.
    EXPECT_EQ(numbers.setNumberingType(static_cast<KelNumberCreator::eNumberingType>(0)), 2);
}

TEST(KelNumberCreator, Constructor_TakesTypeAndPrefix) {
    KelNumberCreator numbers(kDecimal, L"POS-");
    EXPECT_EQ(std::wstring(numbers.getNumberingPrefix().getStringW()), L"POS-");
    EXPECT_EQ(numbers.setNumberingType(kDecimal), 2);
}

TEST(KelNumberCreator, DecimalFromOne_WithPrefix) {
    KelNumberCreator numbers = creator(kDecimal, range(L"1", 10, L"1"), L"P");
    std::vector<std::wstring> expected;
    for (int i = 1; i <= 20; ++i)
        expected.push_back(L"P" + std::to_wstring(i));
    EXPECT_EQ(next(numbers, 20), expected);
}

TEST(KelNumberCreator, DecimalFromOne_CountsLikeDecimalNumbers) {
    KelNumberCreator numbers = creator(kDecimal, range(L"1", 10, L"1"));
    const std::vector<std::wstring> values = next(numbers, 1200);
    for (int i = 0; i < 1200; ++i)
        ASSERT_EQ(values[i], std::to_wstring(i + 1));
}

TEST(KelNumberCreator, DecimalFromZero_NeverGainsALeadingZero) {
    KelNumberCreator numbers = creator(kDecimal, range(L"0", 10, L"0"));
    const std::vector<std::wstring> values = next(numbers, 1200);
    for (int i = 0; i < 1200; ++i)
        ASSERT_EQ(values[i], std::to_wstring(i));
}

TEST(KelNumberCreator, Letters_SkipIAndOAndWrapToAA) {
    KelNumberCreator numbers = creator(kLetters, range(L"A", 26, L"A", L"IO"));
    std::vector<std::wstring> expected;
    for (wchar_t c = L'A'; c <= L'Z'; ++c) {
        if (c != L'I' && c != L'O')
            expected.push_back(std::wstring(1, c));
    }
    expected.push_back(L"AA");
    expected.push_back(L"AB");
    EXPECT_EQ(next(numbers, static_cast<int>(expected.size())), expected);
}

TEST(KelNumberCreator, Letters_CarryThroughSeveralPositions) {
    KelNumberCreator numbers = creator(kLetters, range(L"A", 26, L"ZZ"));
    EXPECT_EQ(next(numbers, 3), (std::vector<std::wstring>{L"ZZ", L"AAA", L"AAB"}));
}

TEST(KelNumberCreator, NonDecimalType_HasNoDecimalRollOver) {
    // Type 3 turns '9' into '0' with a carry; any other type steps to ':'.
    KelNumberCreator decimal = creator(kDecimal, range(L"1", 10, L"9"));
    EXPECT_EQ(next(decimal, 2), (std::vector<std::wstring>{L"9", L"10"}));
    KelNumberCreator plain = creator(kLetters, range(L"1", 10, L"9"));
    EXPECT_EQ(next(plain, 2), (std::vector<std::wstring>{L"9", L":"}));
}

TEST(KelNumberCreator, PrefixAndSuffix_SurroundTheNumber) {
    KelNumberCreator numbers = creator(kDecimal, range(L"1", 10, L"1"));
    EXPECT_EQ(numbers.setNumberingPrefix(L"B-"), 0);
    EXPECT_EQ(numbers.setNumberingSufix(L"/a"), 0);
    EXPECT_EQ(next(numbers, 2), (std::vector<std::wstring>{L"B-1/a", L"B-2/a"}));
    EXPECT_EQ(std::wstring(numbers.getNumberingSufix().getStringW()), L"/a");
}

TEST(KelNumberCreator, SetPrefix_EqualTextIsUnchanged) {
    KelNumberCreator numbers(kDecimal, L"P");
    EXPECT_EQ(numbers.setNumberingPrefix(L"P"), 2);
    EXPECT_EQ(numbers.setNumberingPrefix(L"p"), 0);  // case counts
    EXPECT_EQ(std::wstring(numbers.getNumberingPrefix().getStringW()), L"p");
    EXPECT_EQ(numbers.setNumberingSufix(L""), 2);
    EXPECT_EQ(numbers.setNumberingSufix(L"x"), 0);
    EXPECT_EQ(numbers.setNumberingSufix(L"x"), 2);
}

TEST(KelNumberCreator, SetNumberingType_SameTypeLeavesStartAndCurrent) {
    KelNumberCreator numbers = creator(kDecimal, range(L"1", 10, L"5"));
    next(numbers, 2);  // 5, 6; current 7
    EXPECT_EQ(numbers.setNumberingType(kDecimal), 2);
    EXPECT_EQ(std::wstring(numbers.getNumberingStart().getStringW()), L"5");
    EXPECT_EQ(next(numbers, 1), std::vector<std::wstring>{L"7"});
}

TEST(KelNumberCreator, SetNumberingType_NewTypeStartsAtTheFirstSymbol) {
    KelNumberCreator numbers = creator(kDecimal, range(L"1", 10, L"5"));
    next(numbers, 2);
    EXPECT_EQ(numbers.setNumberingType(kLetters), 0);
    EXPECT_EQ(std::wstring(numbers.getNumberingStart().getStringW()), L"1");
    EXPECT_EQ(next(numbers, 1), std::vector<std::wstring>{L"1"});
}

TEST(KelNumberCreator, OverrideDataRange_SameTypeStillTakesTheRange) {
    KelNumberCreator numbers = creator(kLetters, range(L"A", 26, L"A"));
    EXPECT_EQ(next(numbers, 1), std::vector<std::wstring>{L"A"});  // current B
    EXPECT_EQ(numbers.overrideDataRange(range(L"A", 26, L"X", L"B"), kLetters), 2);
    // Start and current stay, but the new skip list is in force.
    EXPECT_EQ(std::wstring(numbers.getNumberingStart().getStringW()), L"A");
    EXPECT_EQ(next(numbers, 2), (std::vector<std::wstring>{L"B", L"C"}));
    numbers.reset();
    EXPECT_EQ(next(numbers, 2), (std::vector<std::wstring>{L"A", L"C"}));
    numbers.reinit();
    EXPECT_EQ(next(numbers, 1), std::vector<std::wstring>{L"X"});
}

TEST(KelNumberCreator, OverrideDataRange_NewTypeStartsAtTheStartValue) {
    KelNumberCreator numbers;
    EXPECT_EQ(numbers.overrideDataRange(range(L"A", 26, L"C"), kLetters), 0);
    EXPECT_EQ(std::wstring(numbers.getNumberingStart().getStringW()), L"C");
    EXPECT_EQ(next(numbers, 2), (std::vector<std::wstring>{L"C", L"D"}));
}

TEST(KelNumberCreator, SetNumberingStart_WaitsForReset) {
    KelNumberCreator numbers = creator(kLetters, range(L"A", 26, L"A"));
    EXPECT_EQ(numbers.setNumberingStart(L"B"), 0);
    EXPECT_EQ(std::wstring(numbers.getNumberingStart().getStringW()), L"B");
    EXPECT_EQ(next(numbers, 1), std::vector<std::wstring>{L"A"});
    numbers.reset();
    EXPECT_EQ(next(numbers, 1), std::vector<std::wstring>{L"B"});
}

TEST(KelNumberCreator, SetNumberingStart_RejectsCharactersOutsideTheRange) {
    KelNumberCreator numbers = creator(kLetters, range(L"A", 26, L"A"));
    EXPECT_EQ(numbers.setNumberingStart(L"a"), 2);
    EXPECT_EQ(numbers.setNumberingStart(L"AB["), 2);
    EXPECT_EQ(std::wstring(numbers.getNumberingStart().getStringW()), L"A");
    EXPECT_EQ(numbers.setNumberingStart(L""), 0);  // empty passes
}

TEST(KelNumberCreator, CheckNumber_RangeIsHalfOpen) {
    OpenCreator numbers;
    numbers.overrideDataRange(range(L"0", 10, L"0"), kDecimal);
    EXPECT_EQ(numbers.checkNumber(L"0123456789"), 1);
    EXPECT_EQ(numbers.checkNumber(L":"), 0);
    EXPECT_EQ(numbers.checkNumber(L"/"), 0);
    EXPECT_EQ(numbers.checkNumber(L""), 1);
}

TEST(KelNumberCreator, SymbolCountZero_AddsALeadingSymbolEveryCall) {
    KelNumberCreator numbers = creator(kLetters, range(L"A", 0, L"A"));
    EXPECT_EQ(next(numbers, 4), (std::vector<std::wstring>{L"A", L"AB", L"ABC", L"ABCD"}));
}

TEST(KelNumberCreator, EmptyCurrent_GainsTheFirstSymbol) {
    KelNumberCreator numbers = creator(kLetters, range(L"A", 26, L""));
    EXPECT_EQ(next(numbers, 3), (std::vector<std::wstring>{L"", L"A", L"B"}));
}

TEST(KelNumberCreator, WrapOntoASkippedFirstSymbol_LosesTheCarry) {
    // 'Z' wraps to the skipped 'A' and steps on to 'B'; that last step has
    // no carry, so no position is added.
    KelNumberCreator numbers = creator(kLetters, range(L"A", 26, L"Z", L"A"));
    EXPECT_EQ(next(numbers, 2), (std::vector<std::wstring>{L"Z", L"B"}));
}

TEST(KelNumberCreator, NewLeadingSymbol_IsNotChecked) {
    KelNumberCreator numbers = creator(kLetters, range(L"A", 0, L"B", L"A"));
    EXPECT_EQ(next(numbers, 2), (std::vector<std::wstring>{L"B", L"AC"}));
}

TEST(KelNumberCreator, SkipListCoveringTheRange_DoesNotHang) {
    KelNumberCreator numbers = creator(kLetters, range(L"A", 2, L"A", L"AB"));
    const std::vector<std::wstring> values = next(numbers, 2);
    EXPECT_EQ(values[0], L"A");
    EXPECT_FALSE(values[1].empty());
}

TEST(KelNumberCreator, Copy_TakesTheSequenceButNotTheRange) {
    KelNumberCreator numbers = creator(kLetters, range(L"A", 26, L"A", L"B"), L"P");
    numbers.setNumberingSufix(L"s");
    EXPECT_EQ(next(numbers, 1), std::vector<std::wstring>{L"PAs"});  // current C
    KelNumberCreator copy(numbers);
    EXPECT_EQ(std::wstring(copy.getNumberingPrefix().getStringW()), L"P");
    EXPECT_EQ(std::wstring(copy.getNumberingSufix().getStringW()), L"s");
    EXPECT_EQ(std::wstring(copy.getNumberingStart().getStringW()), L"A");
    EXPECT_EQ(next(copy, 1), std::vector<std::wstring>{L"PCs"});
    EXPECT_EQ(copy.setNumberingType(kLetters), 2);
    // The copy's range is empty: its start after a type change is empty.
    EXPECT_EQ(copy.setNumberingType(kDecimal), 0);
    EXPECT_EQ(copy.getNumberingStart().length(), 0);
    EXPECT_EQ(next(numbers, 1), std::vector<std::wstring>{L"PCs"});
}

TEST(KelNumberCreator, Assign_KeepsTheTargetsRange) {
    KelNumberCreator source = creator(kLetters, range(L"A", 26, L"M"), L"S");
    KelNumberCreator target = creator(kDecimal, range(L"0", 10, L"0", L"5"));
    target = source;
    EXPECT_EQ(std::wstring(target.getNumberingPrefix().getStringW()), L"S");
    EXPECT_EQ(next(target, 1), std::vector<std::wstring>{L"SM"});
    // 'M' stepped in the target's own range '0'..'9' (letter type now):
    // 'M' lies 29 above '0', wraps to '0' with a carry, and '0' is prepended.
    target = target;
    EXPECT_EQ(next(target, 1), std::vector<std::wstring>{L"S00"});
}

}  // namespace
