#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <cwchar>
#include <string>
#include <vector>

#include "text/string_access.h"

using kel::detail::StringAccess;

namespace {

int ordinal(const void* a, const void* b) {
    return std::wcscmp(static_cast<const KelString*>(a)->getStringW(),
                       static_cast<const KelString*>(b)->getStringW());
}

std::vector<std::wstring> contents(const KelStringClassArray& array) {
    std::vector<std::wstring> result;
    for (long i = 0; i < array.length(); ++i)
        result.push_back(array[i].getStringW());
    return result;
}

KelStringClassArray make(std::initializer_list<const wchar_t*> values) {
    KelStringClassArray array;
    for (const wchar_t* v : values)
        array.append(v);
    return array;
}

}  // namespace

TEST(KelStringClassArray, DefaultArray) {
    KelStringClassArray a;
    EXPECT_EQ(a.length(), 0);
    EXPECT_EQ(a.physicalLength(), 0);
    EXPECT_EQ(a.growLength(), 8);
    EXPECT_EQ(a.isEmpty(), 1);
    EXPECT_EQ(a.append(L"x"), 0);
    EXPECT_EQ(a.physicalLength(), 8);
}

TEST(KelStringClassArray, ConstructorWithSlotsAndGrowLength) {
    KelStringClassArray a(3, 4);
    EXPECT_EQ(a.physicalLength(), 3);
    EXPECT_EQ(a.length(), 0);
    EXPECT_EQ(a.growLength(), 4);
    a.setLogicalLength(3);
    for (long i = 0; i < 3; ++i)
        EXPECT_EQ(StringAccess::rep(a[i]), StringAccess::emptyRep());
    KelStringClassArray zero(0, 0);
    EXPECT_EQ(zero.growLength(), 8);
}

TEST(KelStringClassArray, GrowthEightSixteenTwentyFour) {
    KelStringClassArray a;
    std::vector<long> physical;
    for (int i = 0; i < 17; ++i) {
        a.append(KelString(L"v"));
        physical.push_back(a.physicalLength());
    }
    EXPECT_EQ(physical[0], 8);
    EXPECT_EQ(physical[8], 16);
    EXPECT_EQ(physical[16], 24);
}

TEST(KelStringClassArray, ElementsShareTheirRepresentations) {
    KelString value(L"HEA 100");
    KelStringClassArray a;
    a.append(value);
    a.append(value);
    EXPECT_EQ(a[0].getStringW(), value.getStringW());
    EXPECT_EQ(StringAccess::refCount(value), 3);
    for (int i = 0; i < 20; ++i)
        a.append(L"grow");  // reallocations keep the sharing
    EXPECT_EQ(a[1].getStringW(), value.getStringW());
    EXPECT_EQ(StringAccess::refCount(value), 3);
    KelStringClassArray copy(a);
    EXPECT_EQ(copy[0].getStringW(), value.getStringW());
    EXPECT_EQ(StringAccess::refCount(value), 5);
}

TEST(KelStringClassArray, CopyAndAssignmentTakeExactLengths) {
    KelStringClassArray a(0, 3);
    for (int i = 0; i < 5; ++i)
        a.append(L"e");
    KelStringClassArray copy(a);
    EXPECT_EQ(copy.length(), 5);
    EXPECT_EQ(copy.physicalLength(), 5);
    EXPECT_EQ(copy.growLength(), 3);
    KelStringClassArray assigned = make({L"1", L"2", L"3", L"4", L"5", L"6", L"7", L"8", L"9"});
    assigned = a;
    EXPECT_EQ(assigned.length(), 5);
    EXPECT_EQ(assigned.physicalLength(), 5);
    EXPECT_EQ(assigned.growLength(), 3);
    KelStringClassArray& self = assigned;
    assigned = self;
    EXPECT_EQ(assigned.length(), 5);
}

TEST(KelStringClassArray, AccessMembers) {
    KelStringClassArray a = make({L"a", L"b", L"c"});
    EXPECT_STREQ(a.first().getStringW(), L"a");
    EXPECT_STREQ(a.last().getStringW(), L"c");
    EXPECT_STREQ(a.at(1).getStringW(), L"b");
    const KelStringClassArray& c = a;
    EXPECT_STREQ(c.first().getStringW(), L"a");
    EXPECT_STREQ(c.last().getStringW(), L"c");
    EXPECT_STREQ(c[2].getStringW(), L"c");
    a[1] = L"B";
    EXPECT_EQ(contents(a), (std::vector<std::wstring>{L"a", L"B", L"c"}));
}

TEST(KelStringClassArray, SetAtBeyondTheEnd) {
    KelStringClassArray a;
    a.setAt(5, L"v");
    EXPECT_EQ(a.length(), 6);
    for (long i = 0; i < 5; ++i)
        EXPECT_EQ(StringAccess::rep(a[i]), StringAccess::emptyRep());
    EXPECT_STREQ(a[5].getStringW(), L"v");
    a.setAt(0, L"first");
    EXPECT_STREQ(a[0].getStringW(), L"first");
}

TEST(KelStringClassArray, SetAll) {
    KelStringClassArray a = make({L"a", L"b"});
    a.setAll(L"z");
    EXPECT_EQ(contents(a), (std::vector<std::wstring>{L"z", L"z"}));
    EXPECT_EQ(a[0].getStringW(), a[1].getStringW());
}

TEST(KelStringClassArray, AppendArray) {
    KelStringClassArray a = make({L"a"});
    KelStringClassArray b = make({L"b", L"c"});
    a.append(b);
    EXPECT_EQ(contents(a), (std::vector<std::wstring>{L"a", L"b", L"c"}));
    EXPECT_EQ(a[1].getStringW(), b[0].getStringW());
    KelStringClassArray empty;
    a.append(empty);
    EXPECT_EQ(a.length(), 3);
    a.append(a);
    EXPECT_EQ(contents(a), (std::vector<std::wstring>{L"a", L"b", L"c", L"a", L"b", L"c"}));
}

TEST(KelStringClassArray, InsertAtIncludingOneOfItsOwnElements) {
    KelStringClassArray a = make({L"a", L"b", L"c", L"d", L"e", L"f", L"g", L"h"});
    ASSERT_EQ(a.physicalLength(), 8);
    a.insertAt(0, a[7]);  // grows the block while holding a reference into it
    EXPECT_EQ(contents(a),
              (std::vector<std::wstring>{L"h", L"a", L"b", L"c", L"d", L"e", L"f", L"g", L"h"}));
    EXPECT_EQ(a.physicalLength(), 16);
    a.insertAt(9, L"end");
    a.insertAt(4, a[4]);
    EXPECT_EQ(contents(a), (std::vector<std::wstring>{L"h", L"a", L"b", L"c", L"d", L"d", L"e",
                                                      L"f", L"g", L"h", L"end"}));
}

TEST(KelStringClassArray, AppendOfAnOwnElementWhileGrowing) {
    KelStringClassArray a = make({L"a", L"b", L"c", L"d", L"e", L"f", L"g", L"h"});
    a.append(a[0]);
    EXPECT_STREQ(a[8].getStringW(), L"a");
}

TEST(KelStringClassArray, RemoveAtKeepsTheVacatedSlotsShare) {
    KelString last(L"last");
    KelStringClassArray a;
    a.append(L"first");
    a.append(last);
    EXPECT_EQ(StringAccess::refCount(last), 2);
    a.removeAt(0);
    EXPECT_EQ(contents(a), std::vector<std::wstring>{L"last"});
    // Slot 1 still holds its old value: two slots now share "last".
    EXPECT_EQ(StringAccess::refCount(last), 3);
    a.setLogicalLength(2);
    EXPECT_STREQ(a[1].getStringW(), L"last");
}

TEST(KelStringClassArray, RemoveFirstAndRemoveLast) {
    KelStringClassArray a = make({L"a", L"b", L"c"});
    a.removeFirst();
    EXPECT_EQ(contents(a), (std::vector<std::wstring>{L"b", L"c"}));
    a.removeLast();
    EXPECT_EQ(contents(a), std::vector<std::wstring>{L"b"});
    KelStringClassArray empty;
    empty.removeLast();
    EXPECT_EQ(empty.length(), -1);
    EXPECT_EQ(empty.isEmpty(), 0);
}

TEST(KelStringClassArray, RemoveOnlyTheFirstEqualElement) {
    KelStringClassArray a = make({L"x", L"y", L"x"});
    EXPECT_EQ(a.remove(L"x", 0), 1);
    EXPECT_EQ(contents(a), (std::vector<std::wstring>{L"y", L"x"}));
    EXPECT_EQ(a.remove(L"y", 1), 0);
    EXPECT_EQ(a.remove(L"X", 0), 0);  // ordinal equality
    EXPECT_EQ(a.length(), 2);
}

TEST(KelStringClassArray, ContainsAndFind) {
    KelStringClassArray a = make({L"a", L"b", L"a"});
    EXPECT_EQ(a.contains(L"a", 0), 1);
    EXPECT_EQ(a.contains(L"b", 2), 0);
    EXPECT_EQ(a.contains(L"a", 3), 0);
    long index = -1;
    EXPECT_EQ(a.find(L"a", index, 1), 1);
    EXPECT_EQ(index, 2);
    EXPECT_EQ(a.find(L"c", index, 0), 0);
}

TEST(KelStringClassArray, BinarySearchForAMissingValue) {
    KelStringClassArray a = make({L"a", L"c", L"e"});
    long index = 7;
    EXPECT_EQ(a.bsearch(L"c", index, ordinal), 1);
    EXPECT_EQ(index, 1);
    EXPECT_EQ(a.bsearch(L"d", index, ordinal), 0);
    EXPECT_EQ(index, -1);
}

TEST(KelStringClassArray, LinearSearchFromAStart) {
    KelStringClassArray a = make({L"a", L"b", L"a"});
    long index = 7;
    EXPECT_EQ(a.lfind(L"a", index, ordinal, 1), 1);
    EXPECT_EQ(index, 2);
    EXPECT_EQ(a.lfind(L"a", index, ordinal, 3), 0);
    EXPECT_EQ(index, -1);
}

TEST(KelStringClassArray, SortReverseSwap) {
    KelStringClassArray a = make({L"pear", L"apple", L"fig", L"kiwi"});
    a.sort(ordinal);
    EXPECT_EQ(contents(a), (std::vector<std::wstring>{L"apple", L"fig", L"kiwi", L"pear"}));
    a.reverse();
    EXPECT_EQ(contents(a), (std::vector<std::wstring>{L"pear", L"kiwi", L"fig", L"apple"}));
    a.sort(1, 2, ordinal);
    EXPECT_EQ(contents(a), (std::vector<std::wstring>{L"pear", L"fig", L"kiwi", L"apple"}));
    a.swap(0, 3);
    EXPECT_EQ(contents(a), (std::vector<std::wstring>{L"apple", L"fig", L"kiwi", L"pear"}));
}

TEST(KelStringClassArray, PhysicalLengthAndShrinkRule) {
    KelStringClassArray a = make({L"1", L"2", L"3", L"4", L"5", L"6", L"7", L"8"});
    a.setPhysicalLength(7);
    EXPECT_EQ(a.physicalLength(), 8);
    EXPECT_EQ(a.length(), 8);
    a.setPhysicalLength(6);
    EXPECT_EQ(a.physicalLength(), 6);
    EXPECT_EQ(a.length(), 6);
    EXPECT_STREQ(a[5].getStringW(), L"6");
    a.setGrowLength(5);
    EXPECT_EQ(a.growLength(), 5);
    a.setLogicalLength(7);
    EXPECT_EQ(a.physicalLength(), 10);
    EXPECT_EQ(StringAccess::rep(a[6]), StringAccess::emptyRep());
    EXPECT_EQ(a.logicalLength(), 7);
}

TEST(KelStringClassArray, DestroyingReleasesEveryShare) {
    KelString value(L"kept");
    {
        KelStringClassArray a;
        for (int i = 0; i < 10; ++i)
            a.append(value);
        a.removeLast();  // the slot keeps its share
        EXPECT_EQ(StringAccess::refCount(value), 11);
    }
    EXPECT_EQ(StringAccess::refCount(value), 1);
}
