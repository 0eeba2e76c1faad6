#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

namespace {

using IntArray = KelArray<int, KelArrayMemCopyReallocator<int>>;
using DoubleArray =
    KelArray<double, KelArrayMemCopyReallocator<double>, KelArrayMemoryController<double>>;
using TextArray = KelArray<std::string>;  // not relocatable: the element-by-element path

int compareInts(const void* a, const void* b) {
    const int x = *static_cast<const int*>(a);
    const int y = *static_cast<const int*>(b);
    return x < y ? -1 : (x > y ? 1 : 0);
}

template <typename Array>
std::vector<int> contents(const Array& array) {
    std::vector<int> result;
    for (long i = 0; i < array.length(); ++i)
        result.push_back(array[i]);
    return result;
}

IntArray make(std::initializer_list<int> values) {
    IntArray array;
    for (int v : values)
        array.append(v);
    return array;
}

}  // namespace

TEST(KelArray, DefaultArray) {
    IntArray a;
    EXPECT_EQ(a.length(), 0);
    EXPECT_EQ(a.logicalLength(), 0);
    EXPECT_EQ(a.physicalLength(), 0);
    EXPECT_EQ(a.growLength(), 8);
    EXPECT_EQ(a.isEmpty(), 1);
    EXPECT_EQ(a.getData(), nullptr);
    EXPECT_EQ(a.append(5), 0);
    EXPECT_EQ(a.physicalLength(), 8);
    EXPECT_EQ(a.isEmpty(), 0);
}

TEST(KelArray, GrowsByAFixedStep) {
    IntArray a;
    std::vector<long> physical;
    for (int i = 1; i <= 17; ++i) {
        a.append(i);
        physical.push_back(a.physicalLength());
    }
    EXPECT_EQ(physical[0], 8);    // 1st element
    EXPECT_EQ(physical[7], 8);    // 8th
    EXPECT_EQ(physical[8], 16);   // 9th
    EXPECT_EQ(physical[15], 16);  // 16th
    EXPECT_EQ(physical[16], 24);  // 17th
}

TEST(KelArray, CustomGrowStepAndZeroMeaningEight) {
    IntArray five(0, 5);
    EXPECT_EQ(five.growLength(), 5);
    five.append(1);
    EXPECT_EQ(five.physicalLength(), 5);
    for (int i = 0; i < 5; ++i)
        five.append(i);
    EXPECT_EQ(five.physicalLength(), 10);
    IntArray zero(0, 0);
    EXPECT_EQ(zero.growLength(), 8);
}

TEST(KelArray, PhysicalConstructorAllocatesZeroedSlots) {
    IntArray a(10);
    EXPECT_EQ(a.physicalLength(), 10);
    EXPECT_EQ(a.length(), 0);
    a.setLogicalLength(10);
    EXPECT_EQ(contents(a), std::vector<int>(10, 0));
}

TEST(KelArray, ShrinkByAtMostAQuarterIsIgnored) {
    IntArray a;
    for (int i = 0; i < 8; ++i)
        a.append(i);
    ASSERT_EQ(a.physicalLength(), 8);
    const int* block = a.getData();
    a.setPhysicalLength(7);  // 7 > 0.75 * 8
    EXPECT_EQ(a.physicalLength(), 8);
    EXPECT_EQ(a.length(), 8);
    EXPECT_EQ(a.getData(), block);
    a.setPhysicalLength(8);
    EXPECT_EQ(a.physicalLength(), 8);
    a.setPhysicalLength(6);  // 6 is not above 0.75 * 8
    EXPECT_EQ(a.physicalLength(), 6);
    EXPECT_EQ(a.length(), 6);
    EXPECT_EQ(contents(a), (std::vector<int>{0, 1, 2, 3, 4, 5}));
}

TEST(KelArray, SetPhysicalLengthToExactSizes) {
    IntArray a = make({1, 2, 3});
    a.setPhysicalLength(20);
    EXPECT_EQ(a.physicalLength(), 20);  // exact, not rounded to the step
    EXPECT_EQ(contents(a), (std::vector<int>{1, 2, 3}));
    a.setPhysicalLength(0);
    EXPECT_EQ(a.physicalLength(), 0);
    EXPECT_EQ(a.length(), 0);
    EXPECT_EQ(a.getData(), nullptr);
    a.setPhysicalLength(0);  // no block and 0: nothing
    EXPECT_EQ(a.physicalLength(), 0);
    a.setPhysicalLength(-3);
    EXPECT_EQ(a.physicalLength(), 0);
}

TEST(KelArray, SlotsBeyondTheKeptElementsStartFresh) {
    IntArray a = make({1, 2, 3, 4});
    a.setLogicalLength(2);
    a.setPhysicalLength(40);  // reallocation copies only the two elements
    a.setLogicalLength(4);
    EXPECT_EQ(contents(a), (std::vector<int>{1, 2, 0, 0}));
}

TEST(KelArray, SetLogicalLength) {
    IntArray a = make({1, 2, 3});
    a.setLogicalLength(1);
    EXPECT_EQ(a.length(), 1);
    EXPECT_EQ(a.physicalLength(), 8);
    a.setLogicalLength(3);  // within the block: the old values are still there
    EXPECT_EQ(contents(a), (std::vector<int>{1, 2, 3}));
    a.setLogicalLength(12);  // beyond: growth rule, new elements zero
    EXPECT_EQ(a.physicalLength(), 16);
    EXPECT_EQ(a.length(), 12);
    EXPECT_EQ(a[11], 0);
}

TEST(KelArray, SetAtBeyondTheEndFillsWithEmptyValues) {
    IntArray a;
    a.setAt(5, 42);
    EXPECT_EQ(a.length(), 6);
    EXPECT_EQ(a.physicalLength(), 8);
    EXPECT_EQ(contents(a), (std::vector<int>{0, 0, 0, 0, 0, 42}));
    a.setAt(2, 7);
    EXPECT_EQ(contents(a), (std::vector<int>{0, 0, 7, 0, 0, 42}));
    a.setAt(-1, 9);  // ignored
    EXPECT_EQ(a.length(), 6);
}

TEST(KelArray, SetAtResetsStaleSlotsInBetween) {
    IntArray a = make({1, 2, 3, 4});
    a.removeLast().removeLast();
    a.setAt(3, 9);
    EXPECT_EQ(contents(a), (std::vector<int>{1, 2, 0, 9}));
}

TEST(KelArray, RemoveLastOnAnEmptyArrayGivesMinusOne) {
    IntArray a;
    a.removeLast();
    EXPECT_EQ(a.length(), -1);
    EXPECT_EQ(a.isEmpty(), 0);
    a.append(1);  // refused rather than writing before the block
    EXPECT_EQ(a.length(), -1);
    a.setLogicalLength(0);
    a.append(1);
    EXPECT_EQ(contents(a), std::vector<int>{1});
}

TEST(KelArray, InsertAt) {
    IntArray a = make({1, 2, 3});
    a.insertAt(0, 0);
    a.insertAt(2, 9);
    a.insertAt(5, 4);  // at the length: appends
    EXPECT_EQ(contents(a), (std::vector<int>{0, 1, 9, 2, 3, 4}));
    a.insertAt(7, 5);  // beyond the length: refused
    a.insertAt(-1, 5);
    EXPECT_EQ(a.length(), 6);
}

TEST(KelArray, InsertAtGrowsByTheGrowthRule) {
    IntArray a;
    for (int i = 0; i < 8; ++i)
        a.insertAt(0, i);
    EXPECT_EQ(a.physicalLength(), 8);
    a.insertAt(4, 100);
    EXPECT_EQ(a.physicalLength(), 16);
    EXPECT_EQ(contents(a), (std::vector<int>{7, 6, 5, 4, 100, 3, 2, 1, 0}));
}

TEST(KelArray, RemoveAtKeepsTheVacatedSlotsOldValue) {
    IntArray a = make({1, 2, 3});
    a.removeAt(0);
    EXPECT_EQ(contents(a), (std::vector<int>{2, 3}));
    a.setLogicalLength(3);
    EXPECT_EQ(contents(a), (std::vector<int>{2, 3, 3}));
    a.removeAt(5);  // out of range: nothing
    EXPECT_EQ(a.length(), 3);
    a.removeFirst();
    EXPECT_EQ(contents(a), (std::vector<int>{3, 3}));
}

TEST(KelArray, RemoveRemovesOnlyTheFirstEqualElement) {
    IntArray a = make({4, 1, 4, 2, 4});
    EXPECT_EQ(a.remove(4, 0), 1);
    EXPECT_EQ(contents(a), (std::vector<int>{1, 4, 2, 4}));
    EXPECT_EQ(a.remove(4, 2), 1);
    EXPECT_EQ(contents(a), (std::vector<int>{1, 4, 2}));
    EXPECT_EQ(a.remove(7, 0), 0);
    EXPECT_EQ(a.length(), 3);
}

TEST(KelArray, ContainsAndFind) {
    IntArray a = make({5, 6, 7, 6});
    EXPECT_EQ(a.contains(6), 1);
    EXPECT_EQ(a.contains(6, 2), 1);
    EXPECT_EQ(a.contains(5, 1), 0);
    EXPECT_EQ(a.contains(5, 4), 0);  // start at the length
    EXPECT_EQ(a.contains(5, 99), 0);
    long index = -7;
    EXPECT_EQ(a.find(6, index, 0), 1);
    EXPECT_EQ(index, 1);
    EXPECT_EQ(a.find(6, index, 2), 1);
    EXPECT_EQ(index, 3);
    index = -7;
    EXPECT_EQ(a.find(9, index, 0), 0);
    EXPECT_EQ(index, -7);
}

TEST(KelArray, BinarySearch) {
    IntArray a = make({1, 3, 5, 7, 9});
    long index = 99;
    EXPECT_EQ(a.bsearch(7, index, compareInts), 1);
    EXPECT_EQ(index, 3);
    EXPECT_EQ(a.bsearch(4, index, compareInts), 0);
    EXPECT_EQ(index, -1);
    IntArray empty;
    index = 99;
    EXPECT_EQ(empty.bsearch(1, index, compareInts), 0);
    EXPECT_EQ(index, -1);
}

TEST(KelArray, LinearSearch) {
    IntArray a = make({4, 8, 4});
    long index = 99;
    EXPECT_EQ(a.lfind(4, index, compareInts, 1), 1);
    EXPECT_EQ(index, 2);  // absolute position
    EXPECT_EQ(a.lfind(4, index, compareInts, 3), 0);
    EXPECT_EQ(index, -1);
    index = 99;
    EXPECT_EQ(a.lfind(4, index, compareInts, 10), 0);
    EXPECT_EQ(index, -1);
    EXPECT_EQ(a.lfind(5, index, compareInts, 0), 0);
    EXPECT_EQ(index, -1);
}

TEST(KelArray, SortAllAndARange) {
    IntArray a = make({5, 3, 9, 1, 7});
    a.sort(compareInts);
    EXPECT_EQ(contents(a), (std::vector<int>{1, 3, 5, 7, 9}));
    IntArray b = make({5, 3, 9, 1, 7});
    b.sort(1, 3, compareInts);
    EXPECT_EQ(contents(b), (std::vector<int>{5, 1, 3, 9, 7}));
    b.sort(3, 1, compareInts);   // empty range: nothing
    b.sort(0, 99, compareInts);  // beyond the length: nothing
    EXPECT_EQ(contents(b), (std::vector<int>{5, 1, 3, 9, 7}));
    IntArray empty;
    empty.sort(compareInts);
    EXPECT_EQ(empty.length(), 0);
}

TEST(KelArray, ReverseSwapSetAll) {
    IntArray a = make({1, 2, 3, 4});
    a.reverse();
    EXPECT_EQ(contents(a), (std::vector<int>{4, 3, 2, 1}));
    a.swap(0, 3);
    EXPECT_EQ(contents(a), (std::vector<int>{1, 3, 2, 4}));
    a.swap(0, 9);  // out of range: nothing
    EXPECT_EQ(contents(a), (std::vector<int>{1, 3, 2, 4}));
    a.setAll(6);
    EXPECT_EQ(contents(a), (std::vector<int>{6, 6, 6, 6}));
}

TEST(KelArray, AppendArrayIncludingItself) {
    IntArray a = make({1, 2});
    IntArray b = make({3, 4, 5});
    a.append(b);
    EXPECT_EQ(contents(a), (std::vector<int>{1, 2, 3, 4, 5}));
    a.append(a);
    EXPECT_EQ(contents(a), (std::vector<int>{1, 2, 3, 4, 5, 1, 2, 3, 4, 5}));
    EXPECT_EQ(a.physicalLength(), 16);
    IntArray empty;
    a.append(empty);
    EXPECT_EQ(a.length(), 10);
}

TEST(KelArray, CopyTakesLengthsExactly) {
    IntArray a(0, 3);
    for (int i = 0; i < 5; ++i)
        a.append(i);
    ASSERT_EQ(a.physicalLength(), 6);
    IntArray copy(a);
    EXPECT_EQ(contents(copy), contents(a));
    EXPECT_EQ(copy.physicalLength(), 5);
    EXPECT_EQ(copy.growLength(), 3);
    IntArray assigned = make({9, 9, 9, 9, 9, 9, 9, 9, 9});
    assigned = a;
    EXPECT_EQ(contents(assigned), contents(a));
    EXPECT_EQ(assigned.physicalLength(), 5);
    EXPECT_EQ(assigned.growLength(), 3);
    assigned = assigned;
    EXPECT_EQ(assigned.length(), 5);
    IntArray empty;
    assigned = empty;
    EXPECT_EQ(assigned.length(), 0);
    EXPECT_EQ(assigned.physicalLength(), 0);
}

TEST(KelArray, FirstLastAndAt) {
    DoubleArray a;
    a.append(1.5);
    a.append(2.5);
    EXPECT_EQ(a.first(), 1.5);
    EXPECT_EQ(a.last(), 2.5);
    EXPECT_EQ(a.at(1), 2.5);
    a.last() = 3.5;
    EXPECT_EQ(a[1], 3.5);
}

TEST(KelArray, ElementsThatAreNotRelocatable) {
    TextArray a;
    for (int i = 0; i < 20; ++i)
        a.append(std::string(40, static_cast<char>('a' + i)));
    EXPECT_EQ(a.physicalLength(), 24);
    a.insertAt(0, a[19]);
    a.removeAt(5);
    EXPECT_EQ(a.length(), 20);
    EXPECT_EQ(a[0], std::string(40, 't'));
    EXPECT_EQ(a[5], std::string(40, 'f'));
    a.setPhysicalLength(10);
    EXPECT_EQ(a.length(), 10);
    EXPECT_EQ(a[9], std::string(40, 'j'));
    a.setLogicalLength(12);
    EXPECT_EQ(a[11], "");
    a.sort(1, 3, [](const void* x, const void* y) {
        return -static_cast<const std::string*>(x)->compare(*static_cast<const std::string*>(y));
    });
    EXPECT_EQ(a[1], std::string(40, 'c'));
    EXPECT_EQ(a[3], std::string(40, 'a'));
}

TEST(KelArray, BehavesLikeAVectorUnderRandomOperations) {
    for (unsigned seed : {1u, 2u, 3u}) {
        std::mt19937 random(seed);
        IntArray a(0, 1 + static_cast<long>(seed));
        std::vector<int> v;
        for (int step = 0; step < 20000; ++step) {
            const int op = static_cast<int>(random() % 6);
            const int value = static_cast<int>(random() % 100);
            if (op == 0 || v.empty()) {
                a.append(value);
                v.push_back(value);
            } else if (op == 1) {
                const long i = static_cast<long>(random() % (v.size() + 1));
                a.insertAt(i, value);
                v.insert(v.begin() + i, value);
            } else if (op == 2) {
                const long i = static_cast<long>(random() % v.size());
                a.removeAt(i);
                v.erase(v.begin() + i);
            } else if (op == 3) {
                const long i = static_cast<long>(random() % (v.size() + 5));
                a.setAt(i, value);
                if (static_cast<size_t>(i) >= v.size())
                    v.resize(static_cast<size_t>(i) + 1, 0);
                v[static_cast<size_t>(i)] = value;
            } else if (op == 4) {
                const long n = static_cast<long>(random() % (v.size() + 1));
                a.setPhysicalLength(std::max<long>(n, 1));
                v.resize(std::min(v.size(), static_cast<size_t>(a.physicalLength())));
            } else {
                a.remove(value, 0);
                auto it = std::find(v.begin(), v.end(), value);
                if (it != v.end())
                    v.erase(it);
            }
            ASSERT_EQ(a.length(), static_cast<long>(v.size()));
            ASSERT_GE(a.physicalLength(), a.length());
        }
        EXPECT_EQ(contents(a), v);
    }
}
