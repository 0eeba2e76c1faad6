#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <string>
#include <vector>

#include "hive_test_support.h"

using kel::detail::Hive;
using kel::detail::kKeyWow64_32Key;
using kel::detail::kRegDword;
using kel::detail::kRegQword;
using kel::detail::kRegSz;
using kel::test::getValue;
using kel::test::keyExists;
using kel::test::putDword;
using kel::test::putQword;
using kel::test::putText;

namespace {

const std::wstring kEnvironment = L"Software\\Norvane\\Gantrix\\2015.1\\Environment";
const std::wstring kData = L"Software\\Norvane\\Gantrix\\2015.1\\Data";
const std::wstring kConnections = L"Software\\Norvane\\Pelion\\DatabaseConnections";
const std::wstring kTestKey = L"Software\\KelTest";

std::wstring text(const KelString& s) {
    return s.getStringW();
}

class Registry : public ::testing::Test {
protected:
    void SetUp() override { kel::test::removeTestTrees(); }
    void TearDown() override { kel::test::removeTestTrees(); }
};

}  // namespace

// ----- machine hive, text ---------------------------------------------------------

TEST_F(Registry, MachineTextLosesOneTrailingSeparator) {
    putText(Hive::Machine, kTestKey, L"One", L"C:\\Data\\");
    putText(Hive::Machine, kTestKey, L"Two", L"C:\\Data\\\\");
    putText(Hive::Machine, kTestKey, L"Lone", L"\\");
    putText(Hive::Machine, kTestKey, L"None", L"C:\\Data");
    KelString value;
    EXPECT_EQ(KelRegistry::getRegValue(kTestKey.c_str(), L"One", value, 0, false), 1);
    EXPECT_EQ(text(value), L"C:\\Data");
    EXPECT_EQ(KelRegistry::getRegValue(kTestKey.c_str(), L"Two", value, 0, false), 1);
    EXPECT_EQ(text(value), L"C:\\Data\\");
    EXPECT_EQ(KelRegistry::getRegValue(kTestKey.c_str(), L"Lone", value, 0, false), 1);
    EXPECT_EQ(text(value), L"\\");
    EXPECT_EQ(KelRegistry::getRegValue(kTestKey.c_str(), L"None", value, 0, false), 1);
    EXPECT_EQ(text(value), L"C:\\Data");
}

TEST_F(Registry, MachineTextRuleAppliesToTheCallersValueWhenNothingIsRead) {
    KelString value(L"D:\\Kept\\");
    EXPECT_EQ(KelRegistry::getRegValue(kTestKey.c_str(), L"Missing", value, 0, false), 0);
    EXPECT_EQ(text(value), L"D:\\Kept");
    KelString lone(L"\\");
    EXPECT_EQ(KelRegistry::getRegValue(kTestKey.c_str(), L"Missing", lone, 0, false), 0);
    EXPECT_EQ(text(lone), L"\\");
}

TEST_F(Registry, MachineTextMissingValueOfExistingKeyLeavesValue) {
    putText(Hive::Machine, kTestKey, L"Other", L"x");
    KelString value(L"unchanged");
    EXPECT_EQ(KelRegistry::getRegValue(kTestKey.c_str(), L"Missing", value, 0, false), 0);
    EXPECT_EQ(text(value), L"unchanged");
}

TEST_F(Registry, MachineTextMissingKeyWithCreateCreatesTheEmptyKey) {
    const std::wstring key = kTestKey + L"\\Created\\Deep";
    KelString value(L"unchanged");
    EXPECT_EQ(KelRegistry::getRegValue(key.c_str(), L"Name", value, 1, false), 0);
    EXPECT_EQ(text(value), L"unchanged");
    EXPECT_TRUE(keyExists(Hive::Machine, key));
    EXPECT_FALSE(keyExists(Hive::User, key));
}

TEST_F(Registry, MachineTextMissingKeyWithoutCreateCreatesNothing) {
    const std::wstring key = kTestKey + L"\\NotCreated";
    KelString value;
    EXPECT_EQ(KelRegistry::getRegValue(key.c_str(), L"Name", value, 0, false), 0);
    EXPECT_FALSE(keyExists(Hive::Machine, key));
}

TEST_F(Registry, MachineTextThe32BitViewReadsWow6432Node) {
    putText(Hive::Machine, L"Software\\WOW6432Node\\KelTest", L"Bits", L"32");
    putText(Hive::Machine, kTestKey, L"Bits", L"64");
    KelString value;
    EXPECT_EQ(KelRegistry::getRegValue(kTestKey.c_str(), L"Bits", value, 0, true), 1);
    EXPECT_EQ(text(value), L"32");
    EXPECT_EQ(KelRegistry::getRegValue(kTestKey.c_str(), L"Bits", value, 0, false), 1);
    EXPECT_EQ(text(value), L"64");
}

TEST_F(Registry, MachineTextCreateInThe32BitView) {
    KelString value;
    EXPECT_EQ(KelRegistry::getRegValue((kTestKey + L"\\Made").c_str(), L"X", value, 1, true), 0);
    EXPECT_TRUE(keyExists(Hive::Machine, L"Software\\WOW6432Node\\KelTest\\Made"));
    EXPECT_FALSE(keyExists(Hive::Machine, kTestKey + L"\\Made"));
}

TEST_F(Registry, MachineTextOf4096BytesFitsAndLongerFails) {
    const std::wstring full(2048, L'a');
    putText(Hive::Machine, kTestKey, L"Full", full, 0, false);    // 4096 bytes
    putText(Hive::Machine, kTestKey, L"TooLong", full, 0, true);  // 4098 bytes
    KelString value;
    EXPECT_EQ(KelRegistry::getRegValue(kTestKey.c_str(), L"Full", value, 0, false), 1);
    EXPECT_EQ(text(value), full);
    KelString kept(L"kept");
    EXPECT_EQ(KelRegistry::getRegValue(kTestKey.c_str(), L"TooLong", kept, 0, false), 0);
    EXPECT_EQ(text(kept), L"kept");
}

TEST_F(Registry, MachineTextStopsAtTheFirstZero) {
    kel::test::putValue(Hive::Machine, kTestKey, L"Multi", kRegSz,
                        kel::detail::textToValueData(std::wstring(L"ab\0cd", 5), true));
    KelString value;
    EXPECT_EQ(KelRegistry::getRegValue(kTestKey.c_str(), L"Multi", value, 0, false), 1);
    EXPECT_EQ(text(value), L"ab");
}

// ----- machine hive, number ---------------------------------------------------------

TEST_F(Registry, MachineNumberReadsADword) {
    putDword(Hive::Machine, kTestKey, L"Count", 0xDEADBEEF);
    unsigned long value = 0;
    EXPECT_EQ(KelRegistry::getRegValue(kTestKey.c_str(), L"Count", value, 0, false), 1);
    EXPECT_EQ(value, 0xDEADBEEFul);
}

TEST_F(Registry, MachineNumberMissingLeavesValue) {
    unsigned long value = 77;
    EXPECT_EQ(KelRegistry::getRegValue(kTestKey.c_str(), L"Count", value, 0, false), 0);
    EXPECT_EQ(value, 77ul);
    EXPECT_FALSE(keyExists(Hive::Machine, kTestKey));
    EXPECT_EQ(KelRegistry::getRegValue(kTestKey.c_str(), L"Count", value, 1, false), 0);
    EXPECT_EQ(value, 77ul);
    EXPECT_TRUE(keyExists(Hive::Machine, kTestKey));
}

TEST_F(Registry, MachineNumberLargerValueIsAFailedRead) {
    putQword(Hive::Machine, kTestKey, L"Big", 5);
    putText(Hive::Machine, kTestKey, L"Text", L"12345");
    unsigned long value = 3;
    EXPECT_EQ(KelRegistry::getRegValue(kTestKey.c_str(), L"Big", value, 0, false), 0);
    EXPECT_EQ(KelRegistry::getRegValue(kTestKey.c_str(), L"Text", value, 0, false), 0);
    EXPECT_EQ(value, 3ul);
}

TEST_F(Registry, MachineNumberThe32BitView) {
    putDword(Hive::Machine, kTestKey, L"N", 32, kKeyWow64_32Key);
    unsigned long value = 0;
    EXPECT_EQ(KelRegistry::getRegValue(kTestKey.c_str(), L"N", value, 0, false), 0);
    EXPECT_EQ(KelRegistry::getRegValue(kTestKey.c_str(), L"N", value, 0, true), 1);
    EXPECT_EQ(value, 32ul);
}

// ----- user hive ---------------------------------------------------------------------

TEST_F(Registry, UserTextHasNoTrailingSeparatorRule) {
    putText(Hive::User, kTestKey, L"Path", L"C:\\User\\");
    KelString value;
    EXPECT_EQ(KelRegistry::getRegValueCurrentUser(kTestKey.c_str(), L"Path", value, 0), 1);
    EXPECT_EQ(text(value), L"C:\\User\\");
}

TEST_F(Registry, UserReadsLeaveValuesWhenMissing) {
    KelString s(L"s");
    int i = 5;
    long long q = 6;
    EXPECT_EQ(KelRegistry::getRegValueCurrentUser(kTestKey.c_str(), L"X", s, 0), 0);
    EXPECT_EQ(KelRegistry::getRegValueCurrentUser(kTestKey.c_str(), L"X", i, 0), 0);
    EXPECT_EQ(KelRegistry::getRegValueCurrentUser(kTestKey.c_str(), L"X", q, 0), 0);
    EXPECT_EQ(text(s), L"s");
    EXPECT_EQ(i, 5);
    EXPECT_EQ(q, 6);
    EXPECT_FALSE(keyExists(Hive::User, kTestKey));
    EXPECT_EQ(KelRegistry::getRegValueCurrentUser(kTestKey.c_str(), L"X", i, 1), 0);
    EXPECT_TRUE(keyExists(Hive::User, kTestKey));
    EXPECT_FALSE(keyExists(Hive::Machine, kTestKey));
}

TEST_F(Registry, UserNumbersRoundTrip) {
    EXPECT_EQ(KelRegistry::setRegValueCurrentUser(kTestKey.c_str(), L"Int", -42), 1);
    EXPECT_EQ(KelRegistry::setRegValueCurrentUser(kTestKey.c_str(), L"Long", -(1LL << 40)), 1);
    int i = 0;
    long long q = 0;
    EXPECT_EQ(KelRegistry::getRegValueCurrentUser(kTestKey.c_str(), L"Int", i, 0), 1);
    EXPECT_EQ(i, -42);
    EXPECT_EQ(KelRegistry::getRegValueCurrentUser(kTestKey.c_str(), L"Long", q, 0), 1);
    EXPECT_EQ(q, -(1LL << 40));
    unsigned long type = 0;
    std::vector<unsigned char> data;
    ASSERT_TRUE(getValue(Hive::User, kTestKey, L"Int", type, data));
    EXPECT_EQ(type, kRegDword);
    EXPECT_EQ(data, kel::test::bytesOf(static_cast<uint32_t>(-42), 4));
    ASSERT_TRUE(getValue(Hive::User, kTestKey, L"Long", type, data));
    EXPECT_EQ(type, kRegQword);
    EXPECT_EQ(data, kel::test::bytesOf(static_cast<uint64_t>(-(1LL << 40)), 8));
}

TEST_F(Registry, UserDwordReadAsQwordIsShorterAndReplacesLowBytesOnly) {
    // The store copies the 4 bytes it has over the 8-byte number.
    putDword(Hive::User, kTestKey, L"D", 0x11223344);
    long long q = 0x7700000000000000LL;
    EXPECT_EQ(KelRegistry::getRegValueCurrentUser(kTestKey.c_str(), L"D", q, 0), 1);
    EXPECT_EQ(q, 0x7700000011223344LL);
    int i = 0;
    putQword(Hive::User, kTestKey, L"Q", 1);
    EXPECT_EQ(KelRegistry::getRegValueCurrentUser(kTestKey.c_str(), L"Q", i, 0), 0);
}

TEST_F(Registry, TextIsStoredWithoutItsTerminatingZero) {
    EXPECT_EQ(KelRegistry::setRegValueCurrentUser(kTestKey.c_str(), L"Name", KelString(L"HEA")), 1);
    unsigned long type = 0;
    std::vector<unsigned char> data;
    ASSERT_TRUE(getValue(Hive::User, kTestKey, L"Name", type, data));
    EXPECT_EQ(type, kRegSz);
    EXPECT_EQ(data, (std::vector<unsigned char>{'H', 0, 'E', 0, 'A', 0}));
    KelString value;
    EXPECT_EQ(KelRegistry::getRegValueCurrentUser(kTestKey.c_str(), L"Name", value, 0), 1);
    EXPECT_EQ(text(value), L"HEA");
}

TEST_F(Registry, EmptyTextIsStoredAsNoBytes) {
    EXPECT_EQ(KelRegistry::setRegValueCurrentUser(kTestKey.c_str(), L"Empty", KelString()), 1);
    unsigned long type = 0;
    std::vector<unsigned char> data{1};
    ASSERT_TRUE(getValue(Hive::User, kTestKey, L"Empty", type, data));
    EXPECT_EQ(type, kRegSz);
    EXPECT_TRUE(data.empty());
    KelString value(L"x");
    EXPECT_EQ(KelRegistry::getRegValueCurrentUser(kTestKey.c_str(), L"Empty", value, 0), 1);
    EXPECT_EQ(text(value), L"");
}

TEST_F(Registry, WriteCreatesTheKeyAndReplacesOtherTypes) {
    const std::wstring key = kTestKey + L"\\A\\B\\C";
    EXPECT_EQ(KelRegistry::setRegValueCurrentUser(key.c_str(), L"V", 1), 1);
    EXPECT_EQ(KelRegistry::setRegValueCurrentUser(key.c_str(), L"V", KelString(L"now text")), 1);
    unsigned long type = 0;
    std::vector<unsigned char> data;
    ASSERT_TRUE(getValue(Hive::User, key, L"V", type, data));
    EXPECT_EQ(type, kRegSz);
    int i = 9;
    EXPECT_EQ(KelRegistry::getRegValueCurrentUser(key.c_str(), L"V", i, 0), 0);
    EXPECT_EQ(i, 9);
    EXPECT_FALSE(keyExists(Hive::Machine, key));
}

TEST_F(Registry, NamesIgnoreCaseAndKeepTheirFirstSpelling) {
    EXPECT_EQ(KelRegistry::setRegValueCurrentUser(L"Software\\KelTest\\Mixed", L"Value", 1), 1);
    EXPECT_EQ(KelRegistry::setRegValueCurrentUser(L"SOFTWARE\\keltest\\MIXED", L"VALUE", 2), 1);
    int i = 0;
    EXPECT_EQ(KelRegistry::getRegValueCurrentUser(L"software\\KELTEST\\mixed", L"value", i, 0), 1);
    EXPECT_EQ(i, 2);
    kel::detail::HiveKeyHolder key;
    ASSERT_EQ(kel::detail::openKey(Hive::User, kTestKey, kel::detail::kKeyRead, key.key), 0u);
    std::vector<std::wstring> children;
    ASSERT_EQ(kel::detail::enumSubKeys(key.key, children), 0u);
    EXPECT_EQ(children, std::vector<std::wstring>{L"Mixed"});
}

TEST_F(Registry, KeysWithATrailingSeparatorAreTheSameKey) {
    const KelString wizards = KelRegistry::getRegPathWizards();
    EXPECT_EQ(KelRegistry::setRegValueCurrentUser(wizards, L"Last", KelString(L"Beam")), 1);
    KelString value;
    EXPECT_EQ(KelRegistry::getRegValueCurrentUser(
                  L"Software\\Norvane\\Gantrix\\2015.1\\Settings\\Wizards", L"Last", value, 0),
              1);
    EXPECT_EQ(text(value), L"Beam");
}

TEST_F(Registry, TextOutsideTheBasicPlaneRoundTrips) {
    std::wstring wide = L"Tr\u00E4ger ";
    if (sizeof(wchar_t) == 4)
        wide += static_cast<wchar_t>(0x1F3D7);
    else
        wide += L"\xD83C\xDFD7";
    EXPECT_EQ(KelRegistry::setRegValueCurrentUser(kTestKey.c_str(), L"U", KelString(wide.c_str())),
              1);
    unsigned long type = 0;
    std::vector<unsigned char> data;
    ASSERT_TRUE(getValue(Hive::User, kTestKey, L"U", type, data));
    EXPECT_EQ(data.size(), 2u * 9u);  // 9 UTF-16 units: the last character is a pair
    KelString value;
    EXPECT_EQ(KelRegistry::getRegValueCurrentUser(kTestKey.c_str(), L"U", value, 0), 1);
    EXPECT_EQ(text(value), wide);
}

TEST_F(Registry, DefaultValueHasTheEmptyName) {
    EXPECT_EQ(KelRegistry::setRegValueCurrentUser(kTestKey.c_str(), L"", KelString(L"def")), 1);
    KelString value;
    EXPECT_EQ(KelRegistry::getRegValueCurrentUser(kTestKey.c_str(), KelString(), value, 0), 1);
    EXPECT_EQ(text(value), L"def");
}

// ----- classes hive --------------------------------------------------------------------

TEST_F(Registry, ClassesReadGivesTheText) {
    putText(Hive::Classes, L"KelTest\\CLSID", L"", L"{1234}");
    KelString value;
    EXPECT_EQ(KelRegistry::getRegValueClassesRoot(L"KelTest\\CLSID", L"", value), 1);
    EXPECT_EQ(text(value), L"{1234}");
}

TEST_F(Registry, ClassesReadOfAMissingValueSucceedsWithEmptyText) {
    putText(Hive::Classes, L"KelTest", L"Other", L"x");
    KelString value(L"previous");
    EXPECT_EQ(KelRegistry::getRegValueClassesRoot(L"KelTest", L"Missing", value), 1);
    EXPECT_EQ(text(value), L"");
}

TEST_F(Registry, ClassesReadOfAMissingKeyFailsAndLeavesValue) {
    KelString value(L"previous");
    EXPECT_EQ(KelRegistry::getRegValueClassesRoot(L"KelTest\\Nothing", L"", value), 0);
    EXPECT_EQ(text(value), L"previous");
    EXPECT_FALSE(keyExists(Hive::Classes, L"KelTest\\Nothing"));
}

TEST_F(Registry, ClassesBufferHolds2048Bytes) {
    const std::wstring full(1024, L'c');
    putText(Hive::Classes, L"KelTest", L"Full", full, 0, false);
    putText(Hive::Classes, L"KelTest", L"Over", full, 0, true);
    KelString value;
    EXPECT_EQ(KelRegistry::getRegValueClassesRoot(L"KelTest", L"Full", value), 1);
    EXPECT_EQ(text(value), full);
    value = L"previous";
    EXPECT_EQ(KelRegistry::getRegValueClassesRoot(L"KelTest", L"Over", value), 1);
    EXPECT_EQ(text(value), L"");
}

TEST_F(Registry, ClassesReadDoesNotLookAtOtherHives) {
    putText(Hive::User, L"KelTest", L"V", L"user");
    putText(Hive::Machine, L"KelTest", L"V", L"machine");
    KelString value(L"previous");
    EXPECT_EQ(KelRegistry::getRegValueClassesRoot(L"KelTest", L"V", value), 0);
    EXPECT_EQ(text(value), L"previous");
}

// ----- per-product data ------------------------------------------------------------------

TEST_F(Registry, GetDataOnAMissingSubKeyCreatesItInTheUserHive) {
    KelString value(L"previous");
    EXPECT_EQ(KelRegistry::getData(L"Grid", L"Columns", value), 0);
    EXPECT_EQ(text(value), L"previous");
    EXPECT_TRUE(keyExists(Hive::User, kData + L"\\Grid"));
    EXPECT_FALSE(keyExists(Hive::Machine, kData + L"\\Grid"));
    int number = 4;
    EXPECT_EQ(KelRegistry::getData(L"Numbers", L"N", number), 0);
    EXPECT_EQ(number, 4);
    EXPECT_TRUE(keyExists(Hive::User, kData + L"\\Numbers"));
}

TEST_F(Registry, SetDataThenGetData) {
    EXPECT_EQ(KelRegistry::setData(L"Numbering", L"Prefix", KelString(L"B-")), 1);
    EXPECT_EQ(KelRegistry::setData(L"Numbering", L"Start", 100), 1);
    KelString prefix;
    int start = 0;
    EXPECT_EQ(KelRegistry::getData(L"Numbering", L"Prefix", prefix), 1);
    EXPECT_EQ(KelRegistry::getData(L"Numbering", L"Start", start), 1);
    EXPECT_EQ(text(prefix), L"B-");
    EXPECT_EQ(start, 100);
    KelString direct;
    EXPECT_EQ(
        KelRegistry::getRegValueCurrentUser((kData + L"\\Numbering").c_str(), L"Prefix", direct, 0),
        1);
    EXPECT_EQ(text(direct), L"B-");
}

TEST_F(Registry, DataFollowsTheRebuiltDataPath) {
    KelProductDefines::setGXRelease(L"2016");
    KelRegistry::setRegistryPathes();
    EXPECT_EQ(KelRegistry::setData(L"S", L"N", 1), 1);
    KelProductDefines::setGXRelease(L"2015.1");
    KelRegistry::setRegistryPathes();
    EXPECT_TRUE(keyExists(Hive::User, L"Software\\Norvane\\Gantrix\\2016\\Data\\S"));
    EXPECT_FALSE(keyExists(Hive::User, kData + L"\\S"));
}

// ----- installation folders ----------------------------------------------------------------

TEST_F(Registry, MachineFoldersComeFromTheEnvironmentKey) {
    putText(Hive::Machine, kEnvironment, L"BinPath", L"C:\\Gantrix\\Bin\\");
    putText(Hive::Machine, kEnvironment, L"JointDevPath", L"C:\\Dev\\Joints");
    putText(Hive::Machine, kEnvironment, L"NCDevPath", L"C:\\Dev\\NC\\\\");
    putText(Hive::Machine, kEnvironment, L"DevBinPath", L"\\");
    EXPECT_EQ(text(KelRegistry::getPathBinary(false)), L"C:\\Gantrix\\Bin");
    EXPECT_EQ(text(KelRegistry::getPathJointDev(false)), L"C:\\Dev\\Joints");
    // The read drops one separator and the folder rule another.
    EXPECT_EQ(text(KelRegistry::getPathNCDev(false)), L"C:\\Dev\\NC");
    EXPECT_EQ(text(KelRegistry::getPathBinDev(false)), L"\\");
}

TEST_F(Registry, MissingFoldersAreEmpty) {
    EXPECT_EQ(text(KelRegistry::getPathBinary(false)), L"");
    EXPECT_EQ(text(KelRegistry::getPathData(false)), L"");
    EXPECT_FALSE(keyExists(Hive::Machine, kEnvironment));
    EXPECT_FALSE(keyExists(Hive::User, kEnvironment));
}

TEST_F(Registry, FoldersUseThe32BitViewWhenAsked) {
    putText(Hive::Machine, kEnvironment, L"BinPath", L"C:\\Bin64");
    putText(Hive::Machine, kEnvironment, L"BinPath", L"C:\\Bin32", kKeyWow64_32Key);
    EXPECT_EQ(text(KelRegistry::getPathBinary(false)), L"C:\\Bin64");
    EXPECT_EQ(text(KelRegistry::getPathBinary(true)), L"C:\\Bin32");
}

TEST_F(Registry, FoldersIgnoreTheUserHive) {
    putText(Hive::User, kEnvironment, L"BinPath", L"C:\\UserBin");
    EXPECT_EQ(text(KelRegistry::getPathBinary(false)), L"");
}

TEST_F(Registry, UserDataPathWinsOverTheMachines) {
    putText(Hive::Machine, kEnvironment, L"DataPath", L"C:\\Machine\\Data");
    EXPECT_EQ(text(KelRegistry::getPathData(false)), L"C:\\Machine\\Data");
    putText(Hive::User, kEnvironment, L"DataPath", L"D:\\Mine\\");
    EXPECT_EQ(text(KelRegistry::getPathData(false)), L"D:\\Mine");
}

TEST_F(Registry, EmptyUserDataPathGivesEmptyWithoutAMachineRead) {
    putText(Hive::Machine, kEnvironment, L"DataPath", L"C:\\Machine\\Data");
    putText(Hive::User, kEnvironment, L"DataPath", L"");
    EXPECT_EQ(text(KelRegistry::getPathData(false)), L"");
}

TEST_F(Registry, DataPathTrailingSeparators) {
    putText(Hive::User, kEnvironment, L"DataPath", L"D:\\U\\\\");
    EXPECT_EQ(text(KelRegistry::getPathData(false)), L"D:\\U\\");
    kel::test::removeTree(Hive::User, kEnvironment);
    putText(Hive::Machine, kEnvironment, L"DataPath", L"D:\\M\\\\");
    EXPECT_EQ(text(KelRegistry::getPathData(false)), L"D:\\M");
}

TEST_F(Registry, DataPathThe32BitViewOnlyForTheMachineRead) {
    putText(Hive::Machine, kEnvironment, L"DataPath", L"C:\\Data32", kKeyWow64_32Key);
    EXPECT_EQ(text(KelRegistry::getPathData(false)), L"");
    EXPECT_EQ(text(KelRegistry::getPathData(true)), L"C:\\Data32");
}

TEST_F(Registry, DerivedFoldersAppendTheirSuffixes) {
    putText(Hive::User, kEnvironment, L"DataPath", L"C:\\GX\\");
    EXPECT_EQ(text(KelRegistry::getPathSupport()), L"C:\\GX\\Shared\\Support");
    EXPECT_EQ(text(KelRegistry::getPathDwgSymbols()), L"C:\\GX\\Shared\\Support\\symbols");
    EXPECT_EQ(text(KelRegistry::getPathPrototypes()), L"C:\\GX\\Shared\\Support\\Prototypes\\");
    EXPECT_EQ(text(KelRegistry::getPathUserPrototypes()), L"C:\\GX\\User2\\Support\\Prototypes\\");
}

TEST_F(Registry, DerivedFoldersOfAnEmptyDataPath) {
    EXPECT_EQ(text(KelRegistry::getPathSupport()), L"\\Shared\\Support");
    EXPECT_EQ(text(KelRegistry::getPathUserPrototypes()), L"\\User2\\Support\\Prototypes\\");
}

// ----- language ------------------------------------------------------------------------------

TEST_F(Registry, CultureFromTheUserHiveFirst) {
    putDword(Hive::Machine, kEnvironment, L"Language", 1036);
    EXPECT_EQ(KelRegistry::getCurrentCultureId(), 1036ul);
    putDword(Hive::User, kEnvironment, L"Language", 1031);
    EXPECT_EQ(KelRegistry::getCurrentCultureId(), 1031ul);
    EXPECT_EQ(KelRegistry::getCurrentLanguage(), 7ul);
}

TEST_F(Registry, CultureFallsBackTo9) {
    EXPECT_EQ(KelRegistry::getCurrentCultureId(), 9ul);
    EXPECT_EQ(KelRegistry::getCurrentLanguage(), 9ul);
    // A text "Language" is not a number.
    putText(Hive::User, kEnvironment, L"Language", L"1031");
    EXPECT_EQ(KelRegistry::getCurrentCultureId(), 9ul);
}

TEST_F(Registry, CultureIgnoresThe32BitView) {
    putDword(Hive::Machine, kEnvironment, L"Language", 1049, kKeyWow64_32Key);
    EXPECT_EQ(KelRegistry::getCurrentCultureId(), 9ul);
}

TEST_F(Registry, LanguageTable) {
    const std::pair<uint32_t, unsigned long> table[] = {
        {1029, 5},  {1031, 7},  {1036, 12}, {3084, 12}, {1040, 16}, {1043, 19},
        {1045, 21}, {1049, 25}, {1033, 9},  {2057, 9},  {7, 9},     {0, 9},
    };
    for (const auto& [culture, language] : table) {
        putDword(Hive::User, kEnvironment, L"Language", culture);
        EXPECT_EQ(KelRegistry::getCurrentCultureId(), culture);
        EXPECT_EQ(KelRegistry::getCurrentLanguage(), language) << culture;
    }
}

// ----- database connections ----------------------------------------------------------------------

TEST_F(Registry, ConnectionStringFromTheUserHiveFirst) {
    putText(Hive::Machine, kConnections, L"Steel", L"DSN=machine");
    EXPECT_EQ(text(KelRegistry::getDatabaseConnectionsString(L"Steel")), L"DSN=machine");
    putText(Hive::User, kConnections, L"Steel", L"DSN=user");
    EXPECT_EQ(text(KelRegistry::getDatabaseConnectionsString(L"Steel")), L"DSN=user");
}

TEST_F(Registry, EmptyUserConnectionStringIsTheAnswer) {
    putText(Hive::Machine, kConnections, L"Steel", L"DSN=machine");
    putText(Hive::User, kConnections, L"Steel", L"");
    EXPECT_EQ(text(KelRegistry::getDatabaseConnectionsString(L"Steel")), L"");
}

TEST_F(Registry, MissingConnectionStringIsEmpty) {
    EXPECT_EQ(text(KelRegistry::getDatabaseConnectionsString(L"Nothing")), L"");
    putText(Hive::Machine, kConnections, L"Steel", L"x", kKeyWow64_32Key);
    EXPECT_EQ(text(KelRegistry::getDatabaseConnectionsString(L"Steel")), L"");
}

TEST_F(Registry, ConnectionKeyDoesNotFollowTheProduct) {
    KelProductDefines::setGXProductName(L"Other");
    KelRegistry::setRegistryPathes();
    putText(Hive::User, kConnections, L"Steel", L"DSN=family");
    EXPECT_EQ(text(KelRegistry::getDatabaseConnectionsString(L"Steel")), L"DSN=family");
    KelProductDefines::setGXProductName(L"Gantrix");
    KelRegistry::setRegistryPathes();
}
