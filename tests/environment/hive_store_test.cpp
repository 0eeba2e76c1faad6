// The configuration store's semantics, the same on every system.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "environment/hive_store.h"
#include "hive_test_support.h"

using namespace kel::detail;
using kel::test::keyExists;
using kel::test::putDword;
using kel::test::putText;
using kel::test::putValue;

namespace {

const std::wstring kRoot = L"Software\\KelTest";

class HiveStore : public ::testing::Test {
protected:
    void SetUp() override { kel::test::removeTestTrees(); }
    void TearDown() override { kel::test::removeTestTrees(); }
};

std::vector<unsigned char> bytes(std::initializer_list<unsigned char> list) {
    return std::vector<unsigned char>(list);
}

}  // namespace

TEST_F(HiveStore, OpeningAMissingKeyFails) {
    HiveKeyHolder key;
    EXPECT_EQ(openKey(Hive::User, kRoot + L"\\Missing", kKeyRead, key.key), kErrorFileNotFound);
    EXPECT_EQ(key.key, nullptr);
}

TEST_F(HiveStore, CreatingAKeyCreatesItsParents) {
    HiveKeyHolder key;
    bool created = false;
    ASSERT_EQ(createKey(Hive::User, kRoot + L"\\A\\B\\C", kKeyAllAccess, key.key, &created), 0u);
    EXPECT_TRUE(created);
    EXPECT_TRUE(keyExists(Hive::User, kRoot + L"\\A"));
    EXPECT_TRUE(keyExists(Hive::User, kRoot + L"\\A\\B"));
    HiveKeyHolder again;
    ASSERT_EQ(createKey(Hive::User, kRoot + L"\\A\\B\\C", kKeyAllAccess, again.key, &created), 0u);
    EXPECT_FALSE(created);
}

TEST_F(HiveStore, KeysIgnoreCaseAndKeepTheirSpelling) {
    putText(Hive::User, kRoot + L"\\CamelCase\\Child", L"v", L"x");
    EXPECT_TRUE(keyExists(Hive::User, L"SOFTWARE\\KELTEST\\camelcase\\CHILD"));
    HiveKeyHolder key;
    ASSERT_EQ(openKey(Hive::User, L"software\\keltest", kKeyRead, key.key), 0u);
    std::vector<std::wstring> names;
    ASSERT_EQ(enumSubKeys(key.key, names), 0u);
    EXPECT_EQ(names, std::vector<std::wstring>{L"CamelCase"});
}

TEST_F(HiveStore, NonAsciiNamesIgnoreCase) {
    putText(Hive::User, kRoot + L"\\Tr\u00E4ger\u00DF\u0416\u03A3", L"\u00C9cole", L"x");
    EXPECT_TRUE(keyExists(Hive::User, kRoot + L"\\TR\u00C4GER\u00DF\u0436\u03C3"));
    unsigned long type = 0;
    std::vector<unsigned char> data;
    EXPECT_TRUE(kel::test::getValue(Hive::User, kRoot + L"\\tr\u00E4ger\u00DF\u0416\u03C3",
                                    L"\u00E9COLE", type, data));
}

TEST_F(HiveStore, NamesIgnoreCaseInEveryScript) {
    putText(Hive::User, kRoot + L"\\\u0218tefan \u01CDbc \u1F08\u03C1\u03C7\u03AE",
            L"\u0219\u01CE\u1F00", L"x");
    EXPECT_TRUE(keyExists(Hive::User, kRoot + L"\\\u0219TEFAN \u01CEBC \u1F00\u03A1\u03A7\u0389"));
    unsigned long type = 0;
    std::vector<unsigned char> data;
    EXPECT_TRUE(kel::test::getValue(Hive::User,
                                    kRoot + L"\\\u0219tefan \u01CEbc \u1F00\u03C1\u03C7\u03AE",
                                    L"\u0218\u01CD\u1F08", type, data));
    HiveKeyHolder key;
    ASSERT_EQ(openKey(Hive::User, kRoot, kKeyRead, key.key), 0u);
    std::vector<std::wstring> names;
    ASSERT_EQ(enumSubKeys(key.key, names), 0u);
    EXPECT_EQ(names, std::vector<std::wstring>{L"\u0218tefan \u01CDbc \u1F08\u03C1\u03C7\u03AE"});
}

TEST_F(HiveStore, ValueNamesIgnoreCaseAndKeepTheFirstSpelling) {
    putText(Hive::User, kRoot, L"MixedName", L"one");
    putText(Hive::User, kRoot, L"MIXEDNAME", L"two");
    HiveKeyHolder key;
    ASSERT_EQ(openKey(Hive::User, kRoot, kKeyRead, key.key), 0u);
    std::vector<HiveValue> values;
    ASSERT_EQ(enumValues(key.key, values), 0u);
    ASSERT_EQ(values.size(), 1u);
    EXPECT_EQ(values[0].name, L"MixedName");
    EXPECT_EQ(valueDataToText(values[0].data.data(), values[0].data.size()), L"two");
}

TEST_F(HiveStore, EveryTypeKeepsItsBytes) {
    const std::vector<std::pair<unsigned long, std::vector<unsigned char>>> cases = {
        {kRegNone, {}},
        {kRegSz, textToValueData(L"text", true)},
        {kRegExpandSz, textToValueData(L"%HOME%\\x", true)},
        {kRegBinary, bytes({0, 1, 2, 0xFF})},
        {kRegDword, bytes({1, 2, 3, 4})},
        {kRegDwordBigEndian, bytes({4, 3, 2, 1})},
        {kRegMultiSz, textToValueData(std::wstring(L"a\0bc\0\0", 6), false)},
        {kRegQword, bytes({1, 2, 3, 4, 5, 6, 7, 8})},
        {0x12345678, bytes({9})},
    };
    for (size_t i = 0; i < cases.size(); ++i)
        putValue(Hive::User, kRoot, L"v" + std::to_wstring(i), cases[i].first, cases[i].second);
    for (size_t i = 0; i < cases.size(); ++i) {
        unsigned long type = 0;
        std::vector<unsigned char> data;
        ASSERT_TRUE(kel::test::getValue(Hive::User, kRoot, L"v" + std::to_wstring(i), type, data));
        EXPECT_EQ(type, cases[i].first);
        EXPECT_EQ(data, cases[i].second);
    }
}

TEST_F(HiveStore, TooSmallBufferReportsMoreData) {
    putText(Hive::User, kRoot, L"Name", L"abcdef");  // 14 bytes
    HiveKeyHolder key;
    ASSERT_EQ(openKey(Hive::User, kRoot, kKeyRead, key.key), 0u);
    unsigned char buffer[8] = {0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA};
    unsigned long size = sizeof buffer;
    unsigned long type = 0;
    EXPECT_EQ(queryValue(key.key, L"Name", &type, buffer, &size), kErrorMoreData);
    EXPECT_EQ(size, 14ul);
    EXPECT_EQ(type, kRegSz);
    EXPECT_EQ(buffer[0], 0xAA);
    EXPECT_EQ(buffer[7], 0xAA);
    size = 0;
    EXPECT_EQ(queryValue(key.key, L"Name", nullptr, nullptr, &size), kErrorSuccess);
    EXPECT_EQ(size, 14ul);
    unsigned char exact[14];
    size = sizeof exact;
    EXPECT_EQ(queryValue(key.key, L"Name", nullptr, exact, &size), kErrorSuccess);
    EXPECT_EQ(valueDataToText(exact, size), L"abcdef");
}

TEST_F(HiveStore, QueryingAMissingValue) {
    putText(Hive::User, kRoot, L"Name", L"x");
    HiveKeyHolder key;
    ASSERT_EQ(openKey(Hive::User, kRoot, kKeyRead, key.key), 0u);
    unsigned long size = 4;
    unsigned char buffer[4];
    EXPECT_EQ(queryValue(key.key, L"Other", nullptr, buffer, &size), kErrorFileNotFound);
}

TEST_F(HiveStore, DefaultValueIsTheEmptyName) {
    putText(Hive::User, kRoot, L"", L"default");
    unsigned long type = 0;
    std::vector<unsigned char> data;
    ASSERT_TRUE(kel::test::getValue(Hive::User, kRoot, L"", type, data));
    EXPECT_EQ(valueDataToText(data.data(), data.size()), L"default");
}

TEST_F(HiveStore, ReadValueTellsAMissingKeyFromAMissingValue) {
    putText(Hive::User, kRoot, L"Name", L"x");
    bool opened = true;
    unsigned long size = 0;
    EXPECT_EQ(readValue(Hive::User, kRoot + L"\\Nope", kKeyRead, L"Name", nullptr, nullptr, &size,
                        opened),
              kErrorFileNotFound);
    EXPECT_FALSE(opened);
    EXPECT_EQ(readValue(Hive::User, kRoot, kKeyRead, L"Nope", nullptr, nullptr, &size, opened),
              kErrorFileNotFound);
    EXPECT_TRUE(opened);
    unsigned char buffer[4];
    size = sizeof buffer;
    EXPECT_EQ(readValue(Hive::User, kRoot, kKeyRead, L"name", nullptr, buffer, &size, opened),
              kErrorSuccess);
    EXPECT_TRUE(opened);
    EXPECT_EQ(size, 4ul);
    EXPECT_EQ(buffer[0], 'x');
}

TEST_F(HiveStore, DeletingAValue) {
    putText(Hive::User, kRoot, L"Name", L"x");
    HiveKeyHolder key;
    ASSERT_EQ(openKey(Hive::User, kRoot, kKeyAllAccess, key.key), 0u);
    EXPECT_EQ(deleteValue(key.key, L"NAME"), kErrorSuccess);
    EXPECT_EQ(deleteValue(key.key, L"Name"), kErrorFileNotFound);
    unsigned long size = 0;
    EXPECT_EQ(queryValue(key.key, L"Name", nullptr, nullptr, &size), kErrorFileNotFound);
}

TEST_F(HiveStore, DeletingATreeKeepsSiblingsWithTheSamePrefix) {
    putText(Hive::User, kRoot + L"\\Tree\\Sub\\Deeper", L"v", L"1");
    putText(Hive::User, kRoot + L"\\Tree", L"v", L"2");
    putText(Hive::User, kRoot + L"\\TreeHouse", L"v", L"3");
    putText(Hive::User, kRoot + L"\\Tree]", L"v", L"4");
    EXPECT_EQ(deleteTree(Hive::User, kRoot + L"\\tree", 0), kErrorSuccess);
    EXPECT_FALSE(keyExists(Hive::User, kRoot + L"\\Tree"));
    EXPECT_FALSE(keyExists(Hive::User, kRoot + L"\\Tree\\Sub\\Deeper"));
    EXPECT_TRUE(keyExists(Hive::User, kRoot + L"\\TreeHouse"));
    EXPECT_TRUE(keyExists(Hive::User, kRoot + L"\\Tree]"));
    EXPECT_EQ(deleteTree(Hive::User, kRoot + L"\\Tree", 0), kErrorFileNotFound);
    // Recreated, the key has none of its old values.
    putText(Hive::User, kRoot + L"\\Tree", L"w", L"5");
    unsigned long type = 0;
    std::vector<unsigned char> data;
    EXPECT_FALSE(kel::test::getValue(Hive::User, kRoot + L"\\Tree", L"v", type, data));
}

TEST_F(HiveStore, SubKeysAreSortedWithoutCase) {
    for (const wchar_t* name : {L"beta", L"Alpha", L"GAMMA", L"delta"})
        putText(Hive::User, kRoot + L"\\" + name, L"", L"");
    HiveKeyHolder key;
    ASSERT_EQ(openKey(Hive::User, kRoot, kKeyRead, key.key), 0u);
    std::vector<std::wstring> names;
    ASSERT_EQ(enumSubKeys(key.key, names), 0u);
    EXPECT_EQ(names, (std::vector<std::wstring>{L"Alpha", L"beta", L"delta", L"GAMMA"}));
}

TEST_F(HiveStore, ValuesComeInTheOrderTheyWereCreated) {
    putDword(Hive::User, kRoot, L"zeta", 1);
    putDword(Hive::User, kRoot, L"alpha", 2);
    putDword(Hive::User, kRoot, L"mid", 3);
    putDword(Hive::User, kRoot, L"ZETA", 4);  // replacing keeps the place and the name
    HiveKeyHolder key;
    ASSERT_EQ(openKey(Hive::User, kRoot, kKeyRead, key.key), 0u);
    std::vector<HiveValue> values;
    ASSERT_EQ(enumValues(key.key, values), 0u);
    ASSERT_EQ(values.size(), 3u);
#if defined(_WIN32)
    // Wine's registry keeps values sorted by name; Windows itself in the
    // order of creation, as the store does elsewhere.
    std::sort(values.begin(), values.end(),
              [](const HiveValue& a, const HiveValue& b) { return a.name > b.name; });
    std::swap(values[1], values[2]);
#endif
    EXPECT_EQ(values[0].name, L"zeta");
    EXPECT_EQ(values[0].data, kel::test::bytesOf(4, 4));
    EXPECT_EQ(values[1].name, L"alpha");
    EXPECT_EQ(values[2].name, L"mid");
}

TEST_F(HiveStore, RightsOfAHandleAreChecked) {
    putText(Hive::User, kRoot, L"Name", L"x");
    HiveKeyHolder reader;
    ASSERT_EQ(openKey(Hive::User, kRoot, kKeyRead, reader.key), 0u);
    const unsigned char one = 1;
    EXPECT_EQ(setValue(reader.key, L"Name", kRegBinary, &one, 1), kErrorAccessDenied);
    EXPECT_EQ(deleteValue(reader.key, L"Name"), kErrorAccessDenied);
    HiveKeyHolder writer;
    ASSERT_EQ(openKey(Hive::User, kRoot, kKeyWrite, writer.key), 0u);
    unsigned long size = 0;
    EXPECT_EQ(queryValue(writer.key, L"Name", nullptr, nullptr, &size), kErrorAccessDenied);
    EXPECT_EQ(setValue(writer.key, L"Name", kRegBinary, &one, 1), kErrorSuccess);
}

TEST_F(HiveStore, The32BitViewOfTheMachineHive) {
    putText(Hive::Machine, kRoot, L"Bits", L"32", kKeyWow64_32Key);
    EXPECT_TRUE(keyExists(Hive::Machine, L"Software\\WOW6432Node\\KelTest"));
    EXPECT_TRUE(keyExists(Hive::Machine, kRoot, kKeyWow64_32Key));
    EXPECT_FALSE(keyExists(Hive::Machine, kRoot));
    // A path already in the 32-bit tree is not redirected twice.
    EXPECT_TRUE(keyExists(Hive::Machine, L"Software\\WOW6432Node\\KelTest", kKeyWow64_32Key));
}

TEST_F(HiveStore, HivesAreSeparate) {
    putText(Hive::User, kRoot, L"Where", L"user");
    EXPECT_FALSE(keyExists(Hive::Machine, kRoot));
    EXPECT_FALSE(keyExists(Hive::Classes, kRoot));
}

TEST_F(HiveStore, AHandleOfADeletedKeyNoLongerWrites) {
    putText(Hive::User, kRoot + L"\\Gone", L"v", L"x");
    HiveKeyHolder key;
    ASSERT_EQ(openKey(Hive::User, kRoot + L"\\Gone", kKeyAllAccess, key.key), 0u);
    ASSERT_EQ(deleteTree(Hive::User, kRoot + L"\\Gone", 0), 0u);
    const unsigned char one = 1;
    EXPECT_EQ(setValue(key.key, L"v", kRegBinary, &one, 1), kErrorKeyDeleted);
    EXPECT_FALSE(keyExists(Hive::User, kRoot + L"\\Gone"));
}

TEST_F(HiveStore, RootOfAHiveOpensAndCannotBeDeleted) {
    HiveKeyHolder key;
    EXPECT_EQ(openKey(Hive::Classes, L"", kKeyRead, key.key), 0u);
    EXPECT_NE(deleteTree(Hive::User, L"", 0), kErrorSuccess);
}

TEST_F(HiveStore, TextValueData) {
    EXPECT_EQ(textToValueData(L"ab", false), bytes({'a', 0, 'b', 0}));
    EXPECT_EQ(textToValueData(L"ab", true), bytes({'a', 0, 'b', 0, 0, 0}));
    const auto data = bytes({'a', 0, 'b', 0, 0, 0, 'c', 0});
    EXPECT_EQ(valueDataToText(data.data(), data.size()), L"ab");
    EXPECT_EQ(valueDataToText(data.data(), 3), L"a");  // an odd last byte is ignored
    EXPECT_EQ(valueDataToText(nullptr, 0), L"");
}

TEST_F(HiveStore, ThreadsShareTheStore) {
    constexpr int kThreads = 4;
    constexpr int kValues = 25;
    std::vector<std::thread> threads;
    std::atomic<int> failures{0};
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([t, &failures] {
            for (int i = 0; i < kValues; ++i) {
                const std::wstring name = L"t" + std::to_wstring(t) + L"-" + std::to_wstring(i);
                HiveKeyHolder key;
                const uint32_t value = static_cast<uint32_t>(t * 1000 + i);
                if (createKey(Hive::User, kRoot, kKeyAllAccess, key.key) != 0 ||
                    setValue(key.key, name, kRegDword, &value, sizeof value) != 0) {
                    ++failures;
                    continue;
                }
                uint32_t read = 0;
                unsigned long size = sizeof read;
                bool opened = false;
                if (readValue(Hive::User, kRoot, kKeyRead, name, nullptr, &read, &size, opened) !=
                        0 ||
                    read != value)
                    ++failures;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(failures.load(), 0);
    HiveKeyHolder key;
    ASSERT_EQ(openKey(Hive::User, kRoot, kKeyRead, key.key), 0u);
    std::vector<HiveValue> values;
    ASSERT_EQ(enumValues(key.key, values), 0u);
    EXPECT_EQ(values.size(), static_cast<size_t>(kThreads * kValues));
}
