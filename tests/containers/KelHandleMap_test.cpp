#include <kel/Kel.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <unordered_map>
#include <utility>
#include <vector>

namespace {

using HandleArray =
    KelArray<__int64, KelArrayMemCopyReallocator<__int64>, KelArrayMemoryController<__int64>>;
using Pairs = std::vector<std::pair<__int64, __int64>>;

Pairs allPairs(const KelHandleMap& map) {
    HandleArray keys;
    HandleArray values;
    map.getAll(keys, values);
    EXPECT_EQ(keys.length(), values.length());
    Pairs pairs;
    for (long i = 0; i < keys.length(); ++i)
        pairs.emplace_back(keys[i], values[i]);
    return pairs;
}

std::vector<__int64> allKeys(const KelHandleMap& map) {
    std::vector<__int64> keys;
    for (const auto& pair : allPairs(map))
        keys.push_back(pair.first);
    return keys;
}

// The table as the map keeps it: the same primes, growth rule, head
// insertion and rebuild order, for checking the order getAll reports.
class ModelTable {
public:
    ModelTable() : m_buckets(53) {}

    void apply(__int64 key, __int64 value, bool overwrite) {
        reserve(m_count + 1);
        auto& chain = m_buckets[bucketOf(key, m_buckets.size())];
        for (auto& pair : chain) {
            if (pair.first == key) {
                if (overwrite)
                    pair.second = value;
                return;
            }
        }
        chain.insert(chain.begin(), {key, value});
        ++m_count;
    }

    Pairs pairs() const {
        Pairs all;
        for (const auto& chain : m_buckets)
            all.insert(all.end(), chain.begin(), chain.end());
        return all;
    }

private:
    static size_t bucketOf(__int64 key, size_t buckets) {
        return static_cast<size_t>(static_cast<uint64_t>(key) % buckets);
    }

    void reserve(size_t needed) {
        static const size_t kPrimes[] = {53,     97,     193,    389,     769,     1543,
                                         3079,   6151,   12289,  24593,   49157,   98317,
                                         196613, 393241, 786433, 1572869, 3145739, 6291469};
        if (needed <= m_buckets.size())
            return;
        size_t prime = 0;
        for (size_t p : kPrimes) {
            if (p >= needed) {
                prime = p;
                break;
            }
        }
        std::vector<Pairs> rebuilt(prime);
        for (const auto& chain : m_buckets) {
            for (const auto& pair : chain) {
                auto& target = rebuilt[bucketOf(pair.first, prime)];
                target.insert(target.begin(), pair);
            }
        }
        m_buckets.swap(rebuilt);
    }

    std::vector<Pairs> m_buckets;
    size_t m_count = 0;
};

TEST(KelHandleMap, NewMap_IsEmpty) {
    KelHandleMap map;
    EXPECT_EQ(map.containsKey(0), 0);
    __int64 value = 99;
    EXPECT_EQ(map.getAt(0, value), 0);
    EXPECT_EQ(value, 99);
    EXPECT_TRUE(allPairs(map).empty());
}

TEST(KelHandleMap, AddTuple_KeepsTheOldValue) {
    KelHandleMap map;
    map.addTuple(7, 1);
    map.addTuple(7, 2);
    __int64 value = 0;
    EXPECT_EQ(map.getAt(7, value), 1);
    EXPECT_EQ(value, 1);
    EXPECT_EQ(allPairs(map), (Pairs{{7, 1}}));
}

TEST(KelHandleMap, SetAt_OverwritesAndReturnsOne) {
    KelHandleMap map;
    map.addTuple(7, 1);
    EXPECT_EQ(map.setAt(7, 2), 1);
    __int64 value = 0;
    EXPECT_EQ(map.getAt(7, value), 1);
    EXPECT_EQ(value, 2);
    EXPECT_EQ(map.setAt(8, 3), 1);
    EXPECT_EQ(map.getAt(8, value), 1);
    EXPECT_EQ(value, 3);
}

TEST(KelHandleMap, GetAt_MissingKeyLeavesTheValue) {
    KelHandleMap map;
    map.setAt(1, 10);
    __int64 value = -5;
    EXPECT_EQ(map.getAt(54, value), 0);  // same bucket as 1, other key
    EXPECT_EQ(value, -5);
    EXPECT_EQ(map.containsKey(54), 0);
    EXPECT_EQ(map.containsKey(1), 1);
}

TEST(KelHandleMap, SameBucket_NewestPairComesFirst) {
    KelHandleMap map;
    map.addTuple(3, 30);
    map.addTuple(3 + 53, 560);
    map.addTuple(3 + 106, 1090);
    map.addTuple(2, 20);
    EXPECT_EQ(allPairs(map), (Pairs{{2, 20}, {109, 1090}, {56, 560}, {3, 30}}));
}

TEST(KelHandleMap, FiftyThreePairs_KeepFiftyThreeBuckets) {
    KelHandleMap map;
    for (__int64 key = 0; key < 52; ++key)
        map.addTuple(key, key);
    map.addTuple(60, 60);  // bucket 7 of 53, bucket 60 of 97
    std::vector<__int64> expected;
    for (__int64 key = 0; key < 52; ++key) {
        if (key == 7)
            expected.push_back(60);
        expected.push_back(key);
    }
    EXPECT_EQ(allKeys(map), expected);
}

TEST(KelHandleMap, FiftyFourthPair_RebuildsWithNinetySevenBuckets) {
    KelHandleMap map;
    for (__int64 key = 0; key < 52; ++key)
        map.addTuple(key, key);
    map.addTuple(60, 60);
    map.addTuple(52, 52);
    std::vector<__int64> expected;
    for (__int64 key = 0; key <= 52; ++key)
        expected.push_back(key);
    expected.push_back(60);
    EXPECT_EQ(allKeys(map), expected);
}

TEST(KelHandleMap, GrowthCheck_ComesBeforeTheLookup) {
    // A full table grows on the next insertion call even when its key is
    // already present.
    KelHandleMap map;
    for (__int64 key = 0; key < 52; ++key)
        map.addTuple(key, key);
    map.addTuple(60, 60);
    map.setAt(60, 61);
    std::vector<__int64> expected;
    for (__int64 key = 0; key < 52; ++key)
        expected.push_back(key);
    expected.push_back(60);
    EXPECT_EQ(allKeys(map), expected);
    __int64 value = 0;
    map.getAt(60, value);
    EXPECT_EQ(value, 61);
}

TEST(KelHandleMap, NegativeKeys_HashByTheirUnsignedValue) {
    const __int64 bucket = static_cast<__int64>(18446744073709551615ull % 53);
    ASSERT_EQ(bucket, 14);
    KelHandleMap map;
    map.addTuple(bucket + 1, 2);
    map.addTuple(-1, 1);
    map.addTuple(bucket, 3);
    map.addTuple(bucket - 1, 4);
    EXPECT_EQ(allKeys(map), (std::vector<__int64>{bucket - 1, bucket, -1, bucket + 1}));
}

TEST(KelHandleMap, AllBitsKey_IsMinusOne) {
    KelHandleMap map;
    map.setAt(static_cast<__int64>(18446744073709551615ull), 5);
    __int64 value = 0;
    EXPECT_EQ(map.getAt(-1, value), 1);
    EXPECT_EQ(value, 5);
    map.setAt(INT64_MIN, 6);
    EXPECT_EQ(map.getAt(INT64_MIN, value), 1);
    EXPECT_EQ(value, 6);
    map.setAt(INT64_MAX, 7);
    EXPECT_EQ(map.getAt(INT64_MAX, value), 1);
    EXPECT_EQ(value, 7);
}

TEST(KelHandleMap, Empty_KeepsThePairs) {
    KelHandleMap map;
    map.addTuple(1, 2);
    map.addTuple(3, 4);
    map.empty();
    EXPECT_EQ(map.containsKey(1), 1);
    EXPECT_EQ(map.containsKey(3), 1);
    EXPECT_EQ(allPairs(map).size(), 2u);
}

TEST(KelHandleMap, GetAll_OnAnEmptyMapGivesEmptyArrays) {
    KelHandleMap map;
    HandleArray keys;
    HandleArray values;
    keys.append(1);
    keys.append(2);
    values.append(3);
    map.getAll(keys, values);
    EXPECT_EQ(keys.length(), 0);
    EXPECT_EQ(values.length(), 0);
}

TEST(KelHandleMap, GetAll_FillsParallelArraysGrowingBySteps) {
    KelHandleMap map;
    for (__int64 key = 0; key < 10; ++key)
        map.addTuple(key, key * 100);
    HandleArray keys;
    HandleArray values;
    map.getAll(keys, values);
    ASSERT_EQ(keys.length(), 10);
    ASSERT_EQ(values.length(), 10);
    EXPECT_EQ(keys.physicalLength(), 16);
    for (long i = 0; i < 10; ++i) {
        EXPECT_EQ(keys[i], i);
        EXPECT_EQ(values[i], i * 100);
    }
}

TEST(KelHandleMap, Add_AppliesEveryPairAsSetAt) {
    KelHandleMap map;
    map.addTuple(1, 10);
    map.addTuple(2, 20);
    KelHandleMap other;
    other.addTuple(2, 200);
    other.addTuple(3, 300);
    map.add(other);
    EXPECT_EQ(allPairs(map), (Pairs{{1, 10}, {2, 200}, {3, 300}}));
    EXPECT_EQ(allPairs(other), (Pairs{{2, 200}, {3, 300}}));
}

TEST(KelHandleMap, AddItself_LeavesTheMapUnchanged) {
    KelHandleMap map;
    for (__int64 key = 0; key < 53; ++key)
        map.addTuple(key * 7, key);
    const Pairs before = allPairs(map);
    map.add(map);
    Pairs after = allPairs(map);
    std::sort(after.begin(), after.end());
    Pairs sortedBefore = before;
    std::sort(sortedBefore.begin(), sortedBefore.end());
    EXPECT_EQ(after, sortedBefore);

    KelHandleMap single;
    single.addTuple(5, 6);
    single.add(single);
    EXPECT_EQ(allPairs(single), (Pairs{{5, 6}}));
}

TEST(KelHandleMap, Copy_HasTheSamePairsInTheSameOrder) {
    KelHandleMap map;
    for (__int64 key = 0; key < 500; ++key)
        map.addTuple(key * 31 - 7000, key);
    KelHandleMap copy(map);
    EXPECT_EQ(allPairs(copy), allPairs(map));
    copy.setAt(-7000, 42);
    __int64 value = 0;
    map.getAt(-7000, value);
    EXPECT_EQ(value, 0);  // the copy owns its own pairs
}

TEST(KelHandleMap, Assign_ReplacesThePairs) {
    KelHandleMap map;
    for (__int64 key = 0; key < 200; ++key)
        map.addTuple(key, key);
    KelHandleMap other;
    other.addTuple(5, 50);
    other.addTuple(58, 580);
    map = other;
    EXPECT_EQ(allPairs(map), (Pairs{{58, 580}, {5, 50}}));
    EXPECT_EQ(map.containsKey(100), 0);
    map = map;
    EXPECT_EQ(allPairs(map), (Pairs{{58, 580}, {5, 50}}));
    map = KelHandleMap();
    EXPECT_TRUE(allPairs(map).empty());
    map.addTuple(1, 1);
    EXPECT_EQ(allPairs(map), (Pairs{{1, 1}}));
}

TEST(KelHandleMap, RandomOperations_AgreeWithUnorderedMap) {
    std::mt19937_64 random(20240229);
    std::uniform_int_distribution<int> operation(0, 99);
    std::uniform_int_distribution<__int64> smallKey(-3000, 3000);
    KelHandleMap map;
    ModelTable model;
    std::unordered_map<int64_t, int64_t> reference;
    for (int i = 0; i < 100000; ++i) {
        const int op = operation(random);
        const __int64 key = op % 5 == 0 ? static_cast<__int64>(random()) : smallKey(random);
        const __int64 value = static_cast<__int64>(random());
        if (op < 35) {
            map.addTuple(key, value);
            reference.emplace(key, value);
            model.apply(key, value, false);
        } else if (op < 65) {
            ASSERT_EQ(map.setAt(key, value), 1);
            reference[key] = value;
            model.apply(key, value, true);
        } else if (op < 80) {
            __int64 found = 12345;
            const auto it = reference.find(key);
            ASSERT_EQ(map.getAt(key, found), it != reference.end() ? 1 : 0);
            ASSERT_EQ(found, it != reference.end() ? it->second : 12345);
        } else if (op < 95) {
            ASSERT_EQ(map.containsKey(key), reference.count(key) != 0 ? 1 : 0);
        } else if (op < 99) {
            map.empty();
        } else {
            KelHandleMap other;
            for (int k = 0; k < 20; ++k) {
                const __int64 otherKey = smallKey(random);
                other.setAt(otherKey, k);
            }
            for (const auto& pair : allPairs(other)) {
                reference[pair.first] = pair.second;
                model.apply(pair.first, pair.second, true);
            }
            map.add(other);
        }
    }
    const Pairs pairs = allPairs(map);
    ASSERT_EQ(pairs.size(), reference.size());
    for (const auto& pair : pairs)
        ASSERT_EQ(reference.at(pair.first), pair.second);
    EXPECT_EQ(pairs, model.pairs());
    EXPECT_EQ(allPairs(KelHandleMap(map)), pairs);
}

}  // namespace
