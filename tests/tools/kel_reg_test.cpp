// "kel reg" as installers and administrators run it: arguments, output,
// exit codes, and registry files in and out. The reference is the Windows
// "reg" command; where Wine's reimplementation of it (which these tests
// also meet in the Windows build) differs, the comments say so.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "environment/hive_store.h"
#include "environment/reg_file.h"
#include "hive_test_support.h"
#include "platform/utf.h"
#include "run_program.h"
#include "support/isolation.h"

#if !defined(_WIN32)
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#endif

using namespace kel::detail;
using kel::test::getValue;
using kel::test::keyExists;
using kel::test::putValue;

namespace {

struct Result {
    int exitCode = -1;
    std::string out;
    std::string err;
};

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void writeFile(const std::string& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

// Console output ends its lines with CRLF on Windows.
std::string withoutCarriageReturns(std::string text) {
    std::string result;
    for (char c : text) {
        if (c != '\r')
            result += c;
    }
    return result;
}

// Runs "kel reg <arguments>" with `input` on its standard input.
Result reg(const std::vector<std::string>& arguments, const std::string& input = "") {
    std::vector<std::wstring> words = {L"reg"};
    for (const std::string& argument : arguments)
        words.push_back(kel::detail::utf8ToWide(argument));
    const kel::test::ProgramResult run = kel::test::runProgram(kel::test::kelTool(), words, input);
    Result result;
    result.exitCode = run.exitCode;
    result.out = withoutCarriageReturns(run.out);
    result.err = withoutCarriageReturns(run.err);
    return result;
}

// Query output as the store orders values: in creation order, except in
// Wine's registry, which sorts them by name.
std::string inStoredOrder(const std::string& text) {
#if defined(_WIN32)
    std::vector<std::string> lines;
    size_t start = 0;
    for (size_t end; (end = text.find('\n', start)) != std::string::npos; start = end + 1)
        lines.push_back(text.substr(start, end + 1 - start));
    std::sort(lines.begin(), lines.end());
    std::string sorted;
    for (const std::string& line : lines)
        sorted += line;
    return sorted;
#else
    return text;
#endif
}

int lineCount(const std::string& text) {
    int lines = 0;
    for (char c : text)
        lines += c == '\n';
    return lines;
}

// A failure: exit code 1 and exactly one line on stderr.
void expectFailure(const Result& result, const std::string& part) {
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(lineCount(result.err), 1) << result.err;
    EXPECT_EQ(result.err.rfind("kel reg: ERROR: ", 0), 0u) << result.err;
    EXPECT_NE(result.err.find(part), std::string::npos) << result.err;
}

// A command line that is no valid command: exit code 2, the error on the
// first line of stderr, then the usage; nothing on stdout.
void expectBadArguments(const Result& result, const std::string& part) {
    EXPECT_EQ(result.exitCode, 2) << result.err;
    EXPECT_EQ(result.err.rfind("kel reg: ERROR: ", 0), 0u) << result.err;
    const std::string first = result.err.substr(0, result.err.find('\n'));
    EXPECT_NE(first.find(part), std::string::npos) << result.err;
    EXPECT_NE(result.err.find("\nusage:\n  kel reg query"), std::string::npos) << result.err;
    EXPECT_EQ(result.out, "");
}

void expectSuccess(const Result& result) {
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.err, "");
}

std::vector<unsigned char> rawValue(Hive hive, const std::wstring& key, const std::wstring& name,
                                    unsigned long expectedType, unsigned long view = 0) {
    unsigned long type = 0;
    std::vector<unsigned char> data;
    EXPECT_TRUE(getValue(hive, key, name, type, data, view))
        << std::string(name.begin(), name.end());
    EXPECT_EQ(type, expectedType);
    return data;
}

std::vector<unsigned char> bytes(std::initializer_list<unsigned char> list) {
    return std::vector<unsigned char>(list);
}

// A whole tree: per key path (folded), the values in order.
using Tree = std::map<std::wstring, std::vector<HiveValue>>;

void collect(Hive hive, const std::wstring& path, Tree& tree) {
    HiveKeyHolder key;
    ASSERT_EQ(openKey(hive, path, kKeyRead, key.key), 0u);
    std::vector<HiveValue>& values = tree[path];
    ASSERT_EQ(enumValues(key.key, values), 0u);
    std::vector<std::wstring> children;
    ASSERT_EQ(enumSubKeys(key.key, children), 0u);
    for (const std::wstring& child : children)
        collect(hive, path + L"\\" + child, tree);
}

void expectSameTree(const Tree& a, const Tree& b) {
    ASSERT_EQ(a.size(), b.size());
    for (auto i = a.begin(), j = b.begin(); i != a.end(); ++i, ++j) {
        EXPECT_EQ(i->first, j->first);
        ASSERT_EQ(i->second.size(), j->second.size())
            << std::string(i->first.begin(), i->first.end());
        for (size_t k = 0; k < i->second.size(); ++k) {
            EXPECT_EQ(i->second[k].name, j->second[k].name);
            EXPECT_EQ(i->second[k].type, j->second[k].type);
            EXPECT_EQ(i->second[k].data, j->second[k].data);
        }
    }
}

const std::wstring kKey = L"Software\\KelTest";

class KelReg : public ::testing::Test {
protected:
    void SetUp() override { kel::test::removeTestTrees(); }
    void TearDown() override { kel::test::removeTestTrees(); }
};

}  // namespace

// ----- add and query ----------------------------------------------------------------

TEST_F(KelReg, AddAndQueryText) {
    Result add = reg({"add", "HKCU\\Software\\KelTest", "/v", "Name", "/d", "hello world", "/f"});
    expectSuccess(add);
    EXPECT_EQ(add.out, "The operation completed successfully.\n");
    EXPECT_EQ(rawValue(Hive::User, kKey, L"Name", kRegSz), textToValueData(L"hello world", true));

    Result query = reg({"query", "HKCU\\Software\\KelTest"});
    expectSuccess(query);
    EXPECT_EQ(query.out,
              "\nHKEY_CURRENT_USER\\Software\\KelTest\n"
              "    Name    REG_SZ    hello world\n\n");
}

TEST_F(KelReg, AddEveryType) {
    const std::string key = "HKEY_CURRENT_USER\\Software\\KelTest";
    expectSuccess(reg({"add", key, "/v", "Exp", "/t", "REG_EXPAND_SZ", "/d", "[HOME]\\x", "/f"}));
    expectSuccess(reg({"add", key, "/v", "Multi", "/t", "REG_MULTI_SZ", "/d", "a\\0bc", "/f"}));
    expectSuccess(
        reg({"add", key, "/v", "Comma", "/t", "reg_multi_sz", "/s", ",", "/d", "x,y", "/f"}));
    expectSuccess(reg({"add", key, "/v", "Dec", "/t", "REG_DWORD", "/d", "4294967295", "/f"}));
    expectSuccess(reg({"add", key, "/v", "Hex", "/t", "REG_DWORD", "/d", "0x2A", "/f"}));
    expectSuccess(
        reg({"add", key, "/v", "Q", "/t", "REG_QWORD", "/d", "0x0102030405060708", "/f"}));
    expectSuccess(reg({"add", key, "/v", "Bin", "/t", "REG_BINARY", "/d", "00ff10", "/f"}));
    expectSuccess(reg({"add", key, "/ve", "/d", "default", "/f"}));

    EXPECT_EQ(rawValue(Hive::User, kKey, L"Exp", kRegExpandSz),
              textToValueData(L"[HOME]\\x", true));
    EXPECT_EQ(rawValue(Hive::User, kKey, L"Multi", kRegMultiSz),
              bytes({'a', 0, 0, 0, 'b', 0, 'c', 0, 0, 0, 0, 0}));
    EXPECT_EQ(rawValue(Hive::User, kKey, L"Comma", kRegMultiSz),
              bytes({'x', 0, 0, 0, 'y', 0, 0, 0, 0, 0}));
    EXPECT_EQ(rawValue(Hive::User, kKey, L"Dec", kRegDword), bytes({0xFF, 0xFF, 0xFF, 0xFF}));
    EXPECT_EQ(rawValue(Hive::User, kKey, L"Hex", kRegDword), bytes({0x2A, 0, 0, 0}));
    EXPECT_EQ(rawValue(Hive::User, kKey, L"Q", kRegQword), bytes({8, 7, 6, 5, 4, 3, 2, 1}));
    EXPECT_EQ(rawValue(Hive::User, kKey, L"Bin", kRegBinary), bytes({0x00, 0xFF, 0x10}));
    EXPECT_EQ(rawValue(Hive::User, kKey, L"", kRegSz), textToValueData(L"default", true));

    Result query = reg({"query", key});
    expectSuccess(query);
    EXPECT_EQ(inStoredOrder(query.out), inStoredOrder("\nHKEY_CURRENT_USER\\Software\\KelTest\n"
                                                      "    Exp    REG_EXPAND_SZ    [HOME]\\x\n"
                                                      "    Multi    REG_MULTI_SZ    a\\0bc\n"
                                                      "    Comma    REG_MULTI_SZ    x\\0y\n"
                                                      "    Dec    REG_DWORD    0xffffffff\n"
                                                      "    Hex    REG_DWORD    0x2a\n"
                                                      "    Q    REG_QWORD    0x102030405060708\n"
                                                      "    Bin    REG_BINARY    00FF10\n"
                                                      "    (Default)    REG_SZ    default\n\n"));
    // The value's name as it was asked for, as reg prints it.
    Result one = reg({"query", key, "/v", "hex"});
    expectSuccess(one);
    EXPECT_EQ(one.out, "\nHKEY_CURRENT_USER\\Software\\KelTest\n    hex    REG_DWORD    0x2a\n\n");
    Result byDefault = reg({"query", key, "/ve"});
    expectSuccess(byDefault);
    EXPECT_NE(byDefault.out.find("(Default)    REG_SZ    default"), std::string::npos);
}

TEST_F(KelReg, AddWithoutAValueNameSetsTheDefaultValueToEmptyText) {
    expectSuccess(reg({"add", "hkcu\\Software\\KelTest\\Empty\\Key", "/f"}));
    EXPECT_TRUE(keyExists(Hive::User, kKey + L"\\Empty"));
    HiveKeyHolder key;
    ASSERT_EQ(openKey(Hive::User, kKey + L"\\Empty\\Key", kKeyRead, key.key), 0u);
    std::vector<HiveValue> values;
    ASSERT_EQ(enumValues(key.key, values), 0u);
    ASSERT_EQ(values.size(), 1u);
    EXPECT_EQ(values[0].name, L"");
    EXPECT_EQ(values[0].type, kRegSz);
    EXPECT_EQ(values[0].data, bytes({0, 0}));
    Result query = reg({"query", "HKCU\\Software\\KelTest\\Empty\\Key"});
    expectSuccess(query);
    EXPECT_EQ(
        query.out,
        "\nHKEY_CURRENT_USER\\Software\\KelTest\\Empty\\Key\n    (Default)    REG_SZ    \n\n");
    // The parent got no value.
    HiveKeyHolder parent;
    ASSERT_EQ(openKey(Hive::User, kKey + L"\\Empty", kKeyRead, parent.key), 0u);
    ASSERT_EQ(enumValues(parent.key, values), 0u);
    EXPECT_TRUE(values.empty());

    // Without /f an existing default value is asked about.
    Result asked = reg({"add", "HKCU\\Software\\KelTest\\Empty\\Key"}, "n\n");
    expectFailure(asked, "cancelled");
    EXPECT_NE(asked.out.find("Value (Default) exists, overwrite (Yes/No)?"), std::string::npos);
    // A key without a default value gets one without a question.
    expectSuccess(reg({"add", "HKCU\\Software\\KelTest\\Empty"}));
    EXPECT_EQ(rawValue(Hive::User, kKey + L"\\Empty", L"", kRegSz), bytes({0, 0}));
}

TEST_F(KelReg, AddWithDataOrTypeButNoValueNameSetsTheDefaultValue) {
    expectSuccess(reg({"add", "HKCU\\Software\\KelTest", "/d", "text", "/f"}));
    EXPECT_EQ(rawValue(Hive::User, kKey, L"", kRegSz), textToValueData(L"text", true));
    expectSuccess(reg({"add", "HKCU\\Software\\KelTest", "/t", "REG_DWORD", "/d", "7", "/f"}));
    EXPECT_EQ(rawValue(Hive::User, kKey, L"", kRegDword), bytes({7, 0, 0, 0}));
}

TEST_F(KelReg, AddTheOtherTypesRegTakes) {
    const std::string key = "HKCU\\Software\\KelTest";
    // REG_NONE data is text with its terminating zero.
    expectSuccess(reg({"add", key, "/v", "none", "/t", "REG_NONE", "/d", "abc", "/f"}));
    EXPECT_EQ(rawValue(Hive::User, kKey, L"none", kRegNone), textToValueData(L"abc", true));
    // A big-endian number is stored in the machine's order all the same, as
    // reg stores it (Wine's reg too); only its type tells it apart.
    expectSuccess(
        reg({"add", key, "/v", "big", "/t", "REG_DWORD_BIG_ENDIAN", "/d", "0x01020304", "/f"}));
    EXPECT_EQ(rawValue(Hive::User, kKey, L"big", kRegDwordBigEndian), bytes({4, 3, 2, 1}));
    // REG_DWORD_LITTLE_ENDIAN is REG_DWORD.
    expectSuccess(
        reg({"add", key, "/v", "little", "/t", "reg_dword_little_endian", "/d", "5", "/f"}));
    EXPECT_EQ(rawValue(Hive::User, kKey, L"little", kRegDword), bytes({5, 0, 0, 0}));
    // An odd number of hex digits: the first one alone makes the first byte.
    expectSuccess(reg({"add", key, "/v", "odd", "/t", "REG_BINARY", "/d", "abc", "/f"}));
    EXPECT_EQ(rawValue(Hive::User, kKey, L"odd", kRegBinary), bytes({0x0A, 0xBC}));
    expectSuccess(reg({"add", key, "/v", "one", "/t", "REG_BINARY", "/d", "F", "/f"}));
    EXPECT_EQ(rawValue(Hive::User, kKey, L"one", kRegBinary), bytes({0x0F}));
    expectSuccess(reg({"add", key, "/v", "empty", "/t", "REG_BINARY", "/f"}));
    EXPECT_EQ(rawValue(Hive::User, kKey, L"empty", kRegBinary), bytes({}));
    // One separator at the end of REG_MULTI_SZ data is allowed.
    expectSuccess(reg({"add", key, "/v", "multi", "/t", "REG_MULTI_SZ", "/d", "a\\0", "/f"}));
    EXPECT_EQ(rawValue(Hive::User, kKey, L"multi", kRegMultiSz), bytes({'a', 0, 0, 0, 0, 0}));
    expectSuccess(reg({"add", key, "/v", "nothing", "/t", "REG_MULTI_SZ", "/d", "", "/f"}));
    EXPECT_EQ(rawValue(Hive::User, kKey, L"nothing", kRegMultiSz), bytes({0, 0}));

    Result query = reg({"query", key});
    expectSuccess(query);
    EXPECT_EQ(inStoredOrder(query.out),
              inStoredOrder("\nHKEY_CURRENT_USER\\Software\\KelTest\n"
                            "    none    REG_NONE    6100620063000000\n"
                            "    big    REG_DWORD_BIG_ENDIAN    0x1020304\n"
                            "    little    REG_DWORD    0x5\n"
                            "    odd    REG_BINARY    0ABC\n"
                            "    one    REG_BINARY    0F\n"
                            "    empty    REG_BINARY    \n"
                            "    multi    REG_MULTI_SZ    a\n"
                            "    nothing    REG_MULTI_SZ    \n\n"));
}

TEST_F(KelReg, CommandsRegRefusesAreRefusedAndChangeNothing) {
    const std::string key = "HKCU\\Software\\KelTest";
    const std::vector<std::vector<std::string>> twice = {
        {"add", key, "/v", "a", "/v", "b", "/d", "1", "/f"},
        {"add", key, "/ve", "/ve", "/d", "1", "/f"},
        {"add", key, "/v", "a", "/t", "REG_SZ", "/t", "REG_SZ", "/f"},
        {"add", key, "/v", "a", "/d", "1", "/d", "2", "/f"},
        {"add", key, "/v", "a", "/d", "1", "/f", "/F"},
        {"add", key, "/v", "a", "/t", "REG_MULTI_SZ", "/s", ",", "/s", ",", "/d", "x", "/f"},
        {"add", key, "/v", "a", "/d", "1", "/f", "/reg:32", "/reg:64"},
        {"query", key, "/s", "/s"},
        {"query", key, "/v", "a", "-v", "a"},
        {"query", key, "/reg:64", "/reg:64"},
        {"delete", key, "/f", "/f"},
        {"delete", key, "/va", "/va", "/f"},
        {"export", key, kel::test::tempDir() + "/x.reg", "/y", "/y"},
    };
    for (const std::vector<std::string>& arguments : twice)
        expectBadArguments(reg(arguments), "given twice");

    // A root followed by a separator alone, a key ending in two separators.
    expectBadArguments(reg({"add", "HKCU\\", "/v", "a", "/d", "1", "/f"}), "Invalid key name");
    expectBadArguments(reg({"query", "HKCU\\"}), "Invalid key name");
    expectBadArguments(reg({"add", key + "\\\\", "/v", "a", "/d", "1", "/f"}), "Invalid key name");
    expectBadArguments(reg({"add", "HKCU\\\\Software", "/v", "a", "/d", "1", "/f"}),
                       "Invalid key name");

    // Empty strings inside REG_MULTI_SZ data.
    for (const char* data : {"a\\0\\0b", "\\0a", "a\\0\\0", "\\0"}) {
        expectBadArguments(reg({"add", key, "/v", "m", "/t", "REG_MULTI_SZ", "/d", data, "/f"}),
                           "empty");
    }
    expectBadArguments(
        reg({"add", key, "/v", "m", "/t", "REG_MULTI_SZ", "/s", "#", "/d", "a##b", "/f"}), "empty");
    EXPECT_FALSE(keyExists(Hive::User, kKey));

    // One trailing separator is the key itself.
    expectSuccess(reg({"add", key + "\\", "/v", "a", "/d", "1", "/f"}));
    EXPECT_EQ(rawValue(Hive::User, kKey, L"a", kRegSz), textToValueData(L"1", true));
}

TEST_F(KelReg, RootsLongShortAndAnyCase) {
    expectSuccess(reg({"add", "HKLM\\Software\\KelTest", "/v", "M", "/d", "1", "/f"}));
    expectSuccess(
        reg({"add", "hkey_local_machine\\Software\\KelTest", "/v", "M2", "/d", "2", "/f"}));
    expectSuccess(reg({"add", "HKCR\\KelTest", "/v", "C", "/d", "3", "/f"}));
    expectSuccess(reg({"add", "HKEY_CLASSES_ROOT\\KelTest", "/v", "C2", "/d", "4", "/f"}));
    expectSuccess(reg({"add", "HkCu\\Software\\KelTest", "/v", "U", "/d", "5", "/f"}));
    rawValue(Hive::Machine, kKey, L"M", kRegSz);
    rawValue(Hive::Machine, kKey, L"M2", kRegSz);
    rawValue(Hive::Classes, L"KelTest", L"C", kRegSz);
    rawValue(Hive::Classes, L"KelTest", L"C2", kRegSz);
    rawValue(Hive::User, kKey, L"U", kRegSz);
}

TEST_F(KelReg, The32BitView) {
    expectSuccess(
        reg({"add", "HKLM\\Software\\KelTest", "/v", "Bits", "/d", "32", "/f", "/reg:32"}));
    EXPECT_TRUE(keyExists(Hive::Machine, L"Software\\WOW6432Node\\KelTest"));
    EXPECT_FALSE(keyExists(Hive::Machine, kKey));
    Result query = reg({"query", "HKLM\\Software\\KelTest", "/reg:32"});
    expectSuccess(query);
    EXPECT_NE(query.out.find("Bits    REG_SZ    32"), std::string::npos);
    expectFailure(reg({"query", "HKLM\\Software\\KelTest", "/reg:64"}), "unable to find");
}

TEST_F(KelReg, OverwritingAsksUnlessForced) {
    const std::string key = "HKCU\\Software\\KelTest";
    expectSuccess(reg({"add", key, "/v", "V", "/d", "first"}));
    Result refused = reg({"add", key, "/v", "V", "/d", "second"}, "n\n");
    expectFailure(refused, "cancelled");
    EXPECT_NE(refused.out.find("Value V exists, overwrite (Yes/No)?"), std::string::npos);
    EXPECT_EQ(rawValue(Hive::User, kKey, L"V", kRegSz), textToValueData(L"first", true));
    expectFailure(reg({"add", key, "/v", "V", "/d", "second"}), "cancelled");  // no answer
    expectSuccess(reg({"add", key, "/v", "V", "/d", "second"}, "yes\n"));
    EXPECT_EQ(rawValue(Hive::User, kKey, L"V", kRegSz), textToValueData(L"second", true));
    expectSuccess(reg({"add", key, "/v", "V", "/d", "third", "/f"}));
    EXPECT_EQ(rawValue(Hive::User, kKey, L"V", kRegSz), textToValueData(L"third", true));
}

TEST_F(KelReg, QueryRecursive) {
    expectSuccess(reg({"add", "HKCU\\Software\\KelTest", "/v", "Top", "/d", "1", "/f"}));
    expectSuccess(reg(
        {"add", "HKCU\\Software\\KelTest\\B", "/v", "InB", "/t", "REG_DWORD", "/d", "2", "/f"}));
    {
        HiveKeyHolder deep;
        ASSERT_EQ(createKey(Hive::User, kKey + L"\\a\\Deep", kKeyAllAccess, deep.key), 0u);
    }
    // The sub-keys follow the values, without a blank line after them.
    Result flat = reg({"query", "HKCU\\Software\\KelTest"});
    expectSuccess(flat);
    EXPECT_EQ(flat.out,
              "\nHKEY_CURRENT_USER\\Software\\KelTest\n"
              "    Top    REG_SZ    1\n\n"
              "HKEY_CURRENT_USER\\Software\\KelTest\\a\n"
              "HKEY_CURRENT_USER\\Software\\KelTest\\B\n");
    // Below the key queried, every key shows its name, even without values.
    Result deep = reg({"query", "HKCU\\Software\\KelTest", "/s"});
    expectSuccess(deep);
    EXPECT_EQ(deep.out,
              "\nHKEY_CURRENT_USER\\Software\\KelTest\n"
              "    Top    REG_SZ    1\n"
              "\nHKEY_CURRENT_USER\\Software\\KelTest\\a\n"
              "\nHKEY_CURRENT_USER\\Software\\KelTest\\a\\Deep\n"
              "\nHKEY_CURRENT_USER\\Software\\KelTest\\B\n"
              "    InB    REG_DWORD    0x2\n\n");
}

TEST_F(KelReg, QueryOfAKeyWithoutValuesHasNoHeader) {
    for (const wchar_t* path : {L"\\NoValues\\One", L"\\NoValues\\Two", L"\\Nothing"}) {
        HiveKeyHolder key;
        ASSERT_EQ(createKey(Hive::User, kKey + path, kKeyAllAccess, key.key), 0u);
    }
    Result subKeys = reg({"query", "HKCU\\Software\\KelTest\\NoValues"});
    expectSuccess(subKeys);
    EXPECT_EQ(subKeys.out,
              "\nHKEY_CURRENT_USER\\Software\\KelTest\\NoValues\\One\n"
              "HKEY_CURRENT_USER\\Software\\KelTest\\NoValues\\Two\n");
    Result nothing = reg({"query", "HKCU\\Software\\KelTest\\Nothing"});
    expectSuccess(nothing);
    EXPECT_EQ(nothing.out, "\n");
    // With /s, the key queried has no header either; the keys below have.
    Result tree = reg({"query", "HKCU\\Software\\KelTest\\NoValues", "/s"});
    expectSuccess(tree);
    EXPECT_EQ(tree.out,
              "\nHKEY_CURRENT_USER\\Software\\KelTest\\NoValues\\One\n\n"
              "HKEY_CURRENT_USER\\Software\\KelTest\\NoValues\\Two\n\n");
    Result lone = reg({"query", "HKCU\\Software\\KelTest\\Nothing", "/s"});
    expectSuccess(lone);
    EXPECT_EQ(lone.out, "\n");
}

TEST_F(KelReg, QueryOfADefaultValueThatIsNotSet) {
    expectSuccess(reg({"add", "HKCU\\Software\\KelTest", "/v", "x", "/d", "1", "/f"}));
    Result notSet = reg({"query", "HKCU\\Software\\KelTest", "/ve"});
    expectSuccess(notSet);
    EXPECT_EQ(
        notSet.out,
        "\nHKEY_CURRENT_USER\\Software\\KelTest\n    (Default)    REG_SZ    (value not set)\n");
    // A value of another name that is missing is an error.
    expectFailure(reg({"query", "HKCU\\Software\\KelTest", "/v", "missing"}), "unable to find");
    expectSuccess(reg({"add", "HKCU\\Software\\KelTest", "/ve", "/d", "set", "/f"}));
    Result set = reg({"query", "HKCU\\Software\\KelTest", "/ve"});
    expectSuccess(set);
    EXPECT_EQ(set.out,
              "\nHKEY_CURRENT_USER\\Software\\KelTest\n    (Default)    REG_SZ    set\n\n");
}

// Windows' reg ends a search with "End of search: N match(es) found.";
// Wine's says "Search complete. Number of matches found: N".
TEST_F(KelReg, QueryOfAValueNameWithSSearchesTheWholeTree) {
    const std::string key = "HKCU\\Software\\KelTest";
    expectSuccess(reg({"add", key, "/v", "x", "/d", "top", "/f"}));
    expectSuccess(reg({"add", key + "\\S1", "/v", "x", "/d", "one", "/f"}));
    expectSuccess(reg({"add", key + "\\S1\\Deep", "/v", "y", "/d", "no", "/f"}));
    expectSuccess(reg({"add", key + "\\S2", "/v", "X", "/t", "REG_DWORD", "/d", "2", "/f"}));
    Result found = reg({"query", key, "/v", "x", "/s"});
    expectSuccess(found);
    EXPECT_EQ(found.out,
              "\nHKEY_CURRENT_USER\\Software\\KelTest\n"
              "    x    REG_SZ    top\n\n"
              "HKEY_CURRENT_USER\\Software\\KelTest\\S1\n"
              "    x    REG_SZ    one\n\n"
              "HKEY_CURRENT_USER\\Software\\KelTest\\S2\n"
              "    x    REG_DWORD    0x2\n\n"
              "End of search: 3 match(es) found.\n");
    Result none = reg({"query", key, "/v", "missing", "/s"});
    expectSuccess(none);
    EXPECT_EQ(none.out, "\nEnd of search: 0 match(es) found.\n");
    Result defaults = reg({"query", key, "/ve", "/s"});
    expectSuccess(defaults);
    EXPECT_EQ(defaults.out, "\nEnd of search: 0 match(es) found.\n");
    expectSuccess(reg({"add", key + "\\S1\\Deep", "/ve", "/d", "deep", "/f"}));
    defaults = reg({"query", key, "/ve", "/s"});
    expectSuccess(defaults);
    EXPECT_EQ(defaults.out,
              "\nHKEY_CURRENT_USER\\Software\\KelTest\\S1\\Deep\n"
              "    (Default)    REG_SZ    deep\n\n"
              "End of search: 1 match(es) found.\n");
    expectFailure(reg({"query", key + "\\Missing", "/v", "x", "/s"}), "unable to find");
}

// ----- delete -----------------------------------------------------------------------------

TEST_F(KelReg, DeleteValueValuesAndKeys) {
    const std::string key = "HKCU\\Software\\KelTest";
    for (const char* name : {"A", "B", "C"})
        expectSuccess(reg({"add", key, "/v", name, "/d", "x", "/f"}));
    expectSuccess(reg({"add", key + "\\Sub", "/v", "S", "/d", "x", "/f"}));

    expectSuccess(reg({"delete", key, "/v", "a", "/f"}));
    unsigned long type;
    std::vector<unsigned char> data;
    EXPECT_FALSE(getValue(Hive::User, kKey, L"A", type, data));
    EXPECT_TRUE(getValue(Hive::User, kKey, L"B", type, data));

    expectFailure(reg({"delete", key, "/v", "Nope", "/f"}), "unable to find");

    Result asked = reg({"delete", key, "/va"}, "n\n");
    expectFailure(asked, "cancelled");
    EXPECT_TRUE(getValue(Hive::User, kKey, L"B", type, data));
    expectSuccess(reg({"delete", key, "/va"}, "y\n"));
    EXPECT_FALSE(getValue(Hive::User, kKey, L"B", type, data));
    EXPECT_FALSE(getValue(Hive::User, kKey, L"C", type, data));
    EXPECT_TRUE(keyExists(Hive::User, kKey + L"\\Sub"));

    expectSuccess(reg({"delete", key, "/f"}));
    EXPECT_FALSE(keyExists(Hive::User, kKey));
    EXPECT_FALSE(keyExists(Hive::User, kKey + L"\\Sub"));
    EXPECT_TRUE(keyExists(Hive::User, L"Software"));
    expectFailure(reg({"delete", key, "/f"}), "unable to find");
    expectFailure(reg({"delete", "HKCU", "/f"}), "root");
}

// ----- errors ---------------------------------------------------------------------------------

TEST_F(KelReg, BadCommandLinesGiveTheUsageAndExitCodeTwo) {
    expectBadArguments(reg({}), "Missing operation");
    expectBadArguments(reg({"frobnicate"}), "Unknown operation");
    expectBadArguments(reg({"query"}), "Expected one key");
    expectBadArguments(reg({"query", "HKXX\\Software"}), "Invalid key name");
    expectBadArguments(reg({"query", "Software\\KelTest"}), "Invalid key name");
    expectBadArguments(reg({"query", "HKCU\\Software", "/q"}), "Invalid option /q");
    expectBadArguments(reg({"add", "HKCU\\Software\\KelTest", "/v"}), "needs a value");
    expectBadArguments(reg({"add", "HKCU\\Software\\KelTest", "/v", "x", "/ve", "/f"}), "only one");
    expectBadArguments(reg({"add", "HKCU\\Software\\KelTest", "/v", "x", "/t", "REG_LINK", "/f"}),
                       "Unsupported type");
    expectBadArguments(reg({"add", "HKCU\\Software\\KelTest", "/v", "x", "/t", "REG_DWORD", "/d",
                            "4294967296", "/f"}),
                       "Invalid REG_DWORD");
    expectBadArguments(
        reg({"add", "HKCU\\Software\\KelTest", "/v", "x", "/t", "REG_DWORD", "/d", "-1", "/f"}),
        "Invalid REG_DWORD");
    expectBadArguments(reg({"add", "HKCU\\Software\\KelTest", "/v", "x", "/t", "REG_QWORD", "/d",
                            "0x10000000000000000", "/f"}),
                       "Invalid REG_QWORD");
    expectBadArguments(
        reg({"add", "HKCU\\Software\\KelTest", "/v", "x", "/t", "REG_BINARY", "/d", "zz", "/f"}),
        "REG_BINARY");
    expectBadArguments(
        reg({"add", "HKCU\\Software\\KelTest", "/v", "x", "/s", ",", "/d", "a", "/f"}), "/s");
    expectBadArguments(reg({"add", "HKCU\\Software\\KelTest", "/v", "x", "/t", "REG_MULTI_SZ", "/s",
                            ",;", "/d", "a", "/f"}),
                       "one character");
    EXPECT_FALSE(keyExists(Hive::User, kKey));
}

TEST_F(KelReg, FailuresAreOneLineAndExitCodeOne) {
    expectFailure(reg({"query", "HKCU\\Software\\KelTest"}), "unable to find");
    expectFailure(reg({"delete", "HKCU\\Software\\KelTest\\Missing", "/f"}), "unable to find");
    expectFailure(reg({"import", kel::test::tempDir() + "/missing.reg"}), "Cannot open");
    EXPECT_FALSE(keyExists(Hive::User, kKey));
}

TEST_F(KelReg, HelpGoesToStdout) {
    Result help = reg({"/?"});
    expectSuccess(help);
    EXPECT_NE(help.out.find("kel reg query"), std::string::npos);
    EXPECT_NE(help.out.find("KEL_REGISTRY_DIR"), std::string::npos);
    // reg's own way and the tool's ways print the same.
    for (const char* option : {"-?", "--help", "-h"}) {
        Result asked = reg({option});
        expectSuccess(asked);
        EXPECT_EQ(asked.out, help.out) << option;
    }
}

// ----- export and import ---------------------------------------------------------------------

TEST_F(KelReg, ExportWritesUtf16WithByteOrderMarkAndCrLf) {
    expectSuccess(
        reg({"add", "HKCU\\Software\\KelTest", "/v", "N", "/t", "REG_DWORD", "/d", "7", "/f"}));
    const std::string file = kel::test::tempDir() + "/out.reg";
    expectSuccess(reg({"export", "HKCU\\Software\\KelTest", file}));
    const std::string bytes = readFile(file);
    const std::string expected = encodeUtf16Le(
        L"Windows Registry Editor Version 5.00\r\n\r\n"
        L"[HKEY_CURRENT_USER\\Software\\KelTest]\r\n"
        L"\"N\"=dword:00000007\r\n\r\n");
    EXPECT_EQ(bytes, expected);
    // An existing file is replaced only when allowed.
    expectFailure(reg({"export", "HKCU\\Software\\KelTest", file}, "n\n"), "cancelled");
    expectSuccess(reg({"export", "HKCU\\Software\\KelTest", file, "/y"}));
    expectSuccess(reg({"export", "HKCU\\Software\\KelTest", file}, "y\n"));
    expectFailure(reg({"export", "HKCU\\Software\\Missing", kel::test::tempDir() + "/x.reg"}),
                  "unable to find");
}

TEST_F(KelReg, ExportThenImportIntoAnEmptyHiveGivesTheSameTree) {
    const std::wstring top = kKey;
    putValue(Hive::User, top, L"", kRegSz, textToValueData(L"default", true));
    putValue(Hive::User, top, L"sz", kRegSz,
             textToValueData(L"C:\\Path \"quoted\" \u00FC\u4E2D", true));
    putValue(Hive::User, top, L"expand", kRegExpandSz, textToValueData(L"%TEMP%\\kel", true));
    putValue(Hive::User, top, L"multi", kRegMultiSz,
             textToValueData(std::wstring(L"one\0two\0\0", 9), false));
    putValue(Hive::User, top, L"dword", kRegDword, bytes({0x78, 0x56, 0x34, 0x12}));
    putValue(Hive::User, top, L"qword", kRegQword, bytes({1, 2, 3, 4, 5, 6, 7, 8}));
    putValue(Hive::User, top, L"binary", kRegBinary, std::vector<unsigned char>(200, 0xA5));
    putValue(Hive::User, top, L"empty binary", kRegBinary, {});
    putValue(Hive::User, top, L"none", kRegNone, bytes({1}));
    putValue(Hive::User, top, L"big endian", kRegDwordBigEndian, bytes({0, 0, 0, 1}));
    putValue(Hive::User, top, L"custom", 0x12345, bytes({7, 7}));
    putValue(Hive::User, top, L"odd \"name\" \\ here", kRegSz, textToValueData(L"", true));
    putValue(Hive::User, top, L"text with zero", kRegSz,
             textToValueData(std::wstring(L"a\0b", 3), true));
    putValue(Hive::User, top + L"\\Child\\Grandchild", L"g", kRegDword, bytes({1, 0, 0, 0}));
    putValue(Hive::User, top + L"\\Second", L"s", kRegSz, textToValueData(L"2", true));
    {
        HiveKeyHolder empty;
        ASSERT_EQ(createKey(Hive::User, top + L"\\EmptyKey", kKeyAllAccess, empty.key), 0u);
    }
    Tree before;
    collect(Hive::User, top, before);

    const std::string file = kel::test::tempDir() + "/tree.reg";
    expectSuccess(reg({"export", "HKCU\\Software\\KelTest", file}));
    const std::string fresh = kel::test::tempDir() + "/fresh";
    kel::test::setEnv("KEL_REGISTRY_DIR", fresh.c_str());
    kel::test::removeTestTrees();
    EXPECT_FALSE(keyExists(Hive::User, top));
    expectSuccess(reg({"import", file}));
    Tree after;
    collect(Hive::User, top, after);
    expectSameTree(before, after);
}

TEST_F(KelReg, TextWithoutTerminatorComesBackWithOne) {
    // As the library writes text: the file carries it quoted, and importing
    // stores it as the Windows tools do, with its terminating zero.
    putValue(Hive::User, kKey, L"lib", kRegSz, textToValueData(L"written by kel", false));
    const std::string file = kel::test::tempDir() + "/lib.reg";
    expectSuccess(reg({"export", "HKCU\\Software\\KelTest", file}));
    EXPECT_NE(readFile(file).find(encodeUtf16Le(L"\"lib\"=\"written by kel\"").substr(2)),
              std::string::npos);
    kel::test::removeTestTrees();
    expectSuccess(reg({"import", file}));
    EXPECT_EQ(rawValue(Hive::User, kKey, L"lib", kRegSz), textToValueData(L"written by kel", true));
}

TEST_F(KelReg, ImportsAFileOfTheWindowsRegistryEditor) {
    // As the editor writes it: UTF-16LE with a byte-order mark, CRLF, hex data
    // wrapped at 80 columns with two-space continuation lines.
    const std::wstring text =
        L"Windows Registry Editor Version 5.00\r\n"
        L"\r\n"
        L"[HKEY_LOCAL_MACHINE\\SOFTWARE\\KelTest\\Gantrix\\2015.1\\Environment]\r\n"
        L"\"BinPath\"=\"C:\\\\Program Files\\\\Gantrix\\\\Bin\\\\\"\r\n"
        L"\"Language\"=dword:00000407\r\n"
        L"\"Search\"=hex(2):25,00,50,00,52,00,4f,00,47,00,52,00,41,00,4d,00,46,00,49,00,4c,\\\r\n"
        L"  00,45,00,53,00,25,00,5c,00,47,00,61,00,6e,00,74,00,72,00,69,00,78,00,00,00\r\n"
        L"\"Profiles\"=hex(7):48,00,45,00,41,00,00,00,49,00,50,00,45,00,00,00,00,00\r\n"
        L"\"Stamp\"=hex(b):00,e0,57,8f,2b,00,00,00\r\n"
        L"\"Key\"=hex:de,ad,be,ef\r\n"
        L"@=\"Gantrix \u00E9dition\"\r\n"
        L"\r\n"
        L"[HKEY_CURRENT_USER\\Software\\KelTest\\Settings]\r\n"
        L"\"Obsolete\"=-\r\n"
        L"\"Units\"=\"mm\"\r\n"
        L"\r\n"
        L"[-HKEY_CURRENT_USER\\Software\\KelTest\\Old]\r\n"
        L"\r\n";
    putValue(Hive::User, kKey + L"\\Settings", L"Obsolete", kRegSz, textToValueData(L"x", true));
    putValue(Hive::User, kKey + L"\\Old\\Deeper", L"v", kRegSz, textToValueData(L"x", true));
    const std::string file = kel::test::tempDir() + "/editor.reg";
    writeFile(file, encodeUtf16Le(text));
    expectSuccess(reg({"import", file}));

    const std::wstring env = L"Software\\KelTest\\Gantrix\\2015.1\\Environment";
    EXPECT_EQ(rawValue(Hive::Machine, env, L"BinPath", kRegSz),
              textToValueData(L"C:\\Program Files\\Gantrix\\Bin\\", true));
    EXPECT_EQ(rawValue(Hive::Machine, env, L"Language", kRegDword), bytes({0x07, 0x04, 0, 0}));
    EXPECT_EQ(rawValue(Hive::Machine, env, L"Search", kRegExpandSz),
              textToValueData(L"%PROGRAMFILES%\\Gantrix", true));
    EXPECT_EQ(rawValue(Hive::Machine, env, L"Profiles", kRegMultiSz),
              textToValueData(std::wstring(L"HEA\0IPE\0\0", 9), false));
    EXPECT_EQ(rawValue(Hive::Machine, env, L"Stamp", kRegQword),
              bytes({0x00, 0xe0, 0x57, 0x8f, 0x2b, 0, 0, 0}));
    EXPECT_EQ(rawValue(Hive::Machine, env, L"Key", kRegBinary), bytes({0xde, 0xad, 0xbe, 0xef}));
    EXPECT_EQ(rawValue(Hive::Machine, env, L"", kRegSz),
              textToValueData(L"Gantrix \u00E9dition", true));
    unsigned long type;
    std::vector<unsigned char> data;
    EXPECT_FALSE(getValue(Hive::User, kKey + L"\\Settings", L"Obsolete", type, data));
    EXPECT_EQ(rawValue(Hive::User, kKey + L"\\Settings", L"Units", kRegSz),
              textToValueData(L"mm", true));
    EXPECT_FALSE(keyExists(Hive::User, kKey + L"\\Old"));
}

TEST_F(KelReg, ImportsUtf8) {
    const std::string file = kel::test::tempDir() + "/utf8.reg";
    writeFile(file,
              "Windows Registry Editor Version 5.00\n\n"
              "[HKEY_CURRENT_USER\\Software\\KelTest]\n"
              "\"Tr\xC3\xA4ger\"=\"\xE2\x82\xAC\"\n");
    expectSuccess(reg({"import", file}));
    EXPECT_EQ(rawValue(Hive::User, kKey, L"Tr\u00E4ger", kRegSz), textToValueData(L"\u20AC", true));
}

TEST_F(KelReg, MalformedImportChangesNothing) {
    const std::string file = kel::test::tempDir() + "/bad.reg";
    writeFile(file, encodeUtf16Le(L"Windows Registry Editor Version 5.00\r\n\r\n"
                                  L"[HKEY_CURRENT_USER\\Software\\KelTest\\First]\r\n"
                                  L"\"ok\"=\"fine\"\r\n"
                                  L"\r\n"
                                  L"[HKEY_CURRENT_USER\\Software\\KelTest\\Second]\r\n"
                                  L"\"bad\"=dword:not-a-number\r\n"));
    Result result = reg({"import", file});
    expectFailure(result, "line 7");
    EXPECT_NE(result.err.find("nothing was imported"), std::string::npos);
    EXPECT_FALSE(keyExists(Hive::User, kKey));
}

TEST_F(KelReg, ImportWithAnUnknownRootChangesNothing) {
    const std::string file = kel::test::tempDir() + "/root.reg";
    writeFile(file,
              "Windows Registry Editor Version 5.00\r\n\r\n"
              "[HKEY_CURRENT_USER\\Software\\KelTest]\r\n"
              "\"ok\"=\"fine\"\r\n\r\n"
              "[HKEY_USERS\\S-1-5-18\\Software]\r\n"
              "\"x\"=\"y\"\r\n");
    expectFailure(reg({"import", file}), "HKEY_USERS");
    EXPECT_FALSE(keyExists(Hive::User, kKey));
    writeFile(file, "REGEDIT5\r\n\r\n[HKEY_CURRENT_USER\\Software\\KelTest]\r\n");
    expectFailure(reg({"import", file}), "not a registry file");
    EXPECT_FALSE(keyExists(Hive::User, kKey));
}

TEST_F(KelReg, ImportsRegedit4FilesWithComments) {
    // Narrow text in the narrow code page; ASCII is the same in every one.
    const std::string file = kel::test::tempDir() + "/old.reg";
    writeFile(file,
              "REGEDIT4\r\n"
              "\r\n"
              "; settings of the old installation\r\n"
              "[HKEY_CURRENT_USER\\Software\\KelTest]\r\n"
              "\"Name\"=\"Gantrix\"\r\n"
              ";\"Disabled\"=\"not imported\"\r\n"
              "\"Path\"=hex(2):25,48,4f,4d,45,25,5c,\\\r\n"
              "; a comment between continued lines\r\n"
              "  78,00\r\n"
              "\"List\"=hex(7):61,00,62,63,00,00\r\n"
              "\"Count\"=dword:00000003 ; three\r\n"
              "\r\n"
              "; the end\r\n");
    expectSuccess(reg({"import", file}));
    EXPECT_EQ(rawValue(Hive::User, kKey, L"Name", kRegSz), textToValueData(L"Gantrix", true));
    EXPECT_EQ(rawValue(Hive::User, kKey, L"Path", kRegExpandSz),
              textToValueData(L"%HOME%\\x", true));
    EXPECT_EQ(rawValue(Hive::User, kKey, L"List", kRegMultiSz),
              textToValueData(std::wstring(L"a\0bc\0\0", 6), false));
    EXPECT_EQ(rawValue(Hive::User, kKey, L"Count", kRegDword), bytes({3, 0, 0, 0}));
    unsigned long type;
    std::vector<unsigned char> data;
    EXPECT_FALSE(getValue(Hive::User, kKey, L"Disabled", type, data));
}

// Unlike the Windows registry editor, which applies a file up to its first
// error, a file is read and checked completely first.
TEST_F(KelReg, MalformedRegedit4ImportChangesNothing) {
    const std::string file = kel::test::tempDir() + "/bad4.reg";
    writeFile(file,
              "REGEDIT4\r\n\r\n"
              "[HKEY_CURRENT_USER\\Software\\KelTest\\First]\r\n"
              "\"ok\"=\"fine\"\r\n"
              "[-HKEY_CURRENT_USER\\Software\\KelTest\\Kept]\r\n"
              "[HKEY_CURRENT_USER\\Software\\KelTest\\Second]\r\n"
              "\"bad\"=hex:01,0g\r\n");
    putValue(Hive::User, kKey + L"\\Kept", L"v", kRegSz, textToValueData(L"x", true));
    expectFailure(reg({"import", file}), "line 7");
    EXPECT_FALSE(keyExists(Hive::User, kKey + L"\\First"));
    EXPECT_TRUE(keyExists(Hive::User, kKey + L"\\Kept"));
}

TEST_F(KelReg, ExportWrapsHexAndKeepsControlCharactersQuoted) {
    putValue(Hive::User, kKey, L"n", kRegBinary, std::vector<unsigned char>(50, 0x33));
    putValue(Hive::User, kKey, L"tab", kRegSz, textToValueData(L"a\tb\x01c", true));
    const std::string file = kel::test::tempDir() + "/wrap.reg";
    expectSuccess(reg({"export", "HKCU\\Software\\KelTest", file}));
    const std::string b23 = "33,33,33,33,33,33,33,33,33,33,33,33,33,33,33,33,33,33,33,33,33,33,33,";
    // Wine's registry keeps values sorted by name; here they come as created.
    const std::string n = "\"n\"=hex:" + b23 + "\\\r\n  " + b23 + "33,33,\\\r\n  33,33\r\n";
    const std::string tab = "\"tab\"=\"a\tb\x01c\"\r\n";
    EXPECT_EQ(readFile(file),
              encodeUtf16Le(kel::detail::utf8ToWide("Windows Registry Editor Version 5.00\r\n\r\n"
                                                    "[HKEY_CURRENT_USER\\Software\\KelTest]\r\n" +
                                                    n + tab + "\r\n")));
}

TEST_F(KelReg, ImportIntoThe32BitView) {
    const std::string file = kel::test::tempDir() + "/view.reg";
    writeFile(file,
              "Windows Registry Editor Version 5.00\r\n\r\n"
              "[HKEY_LOCAL_MACHINE\\Software\\KelTest]\r\n"
              "\"Bits\"=dword:00000020\r\n");
    expectSuccess(reg({"import", file, "/reg:32"}));
    EXPECT_TRUE(keyExists(Hive::Machine, L"Software\\WOW6432Node\\KelTest"));
    EXPECT_FALSE(keyExists(Hive::Machine, kKey));
}

#if !defined(_WIN32)

TEST_F(KelReg, ReadOnlyHiveGivesAccessDenied) {
    expectSuccess(reg({"add", "HKLM\\Software\\KelTest", "/v", "V", "/d", "1", "/f"}));
    const std::string hive = kel::test::tempDir() + "/registry/machine.db";
    ASSERT_EQ(chmod(hive.c_str(), 0444), 0);
    const std::string line = "kel reg: ERROR: Access is denied. Hive file " + hive +
                             ": the file has no write permission, which makes a hive read-only.\n";
    Result add = reg({"add", "HKLM\\Software\\KelTest", "/v", "V", "/d", "2", "/f"});
    expectFailure(add, "Access is denied");
    EXPECT_EQ(add.err, line);
    Result remove = reg({"delete", "HKLM\\Software\\KelTest", "/f"});
    expectFailure(remove, "Access is denied");
    EXPECT_EQ(remove.err, line);
    Result query = reg({"query", "HKLM\\Software\\KelTest"});
    expectSuccess(query);
    EXPECT_NE(query.out.find("V    REG_SZ    1"), std::string::npos);
    chmod(hive.c_str(), 0644);
}

// The machine hive of an ordinary user: readable, not writable. (No part of
// the system registry that a Windows test may use is read-only for it.)
TEST_F(KelReg, ImportChecksEveryKeyForWritingFirst) {
    const std::string file = kel::test::tempDir() + "/two.reg";
    writeFile(file,
              "Windows Registry Editor Version 5.00\r\n\r\n"
              "[HKEY_CURRENT_USER\\Software\\KelTest]\r\n"
              "\"user\"=\"u\"\r\n\r\n"
              "[HKEY_LOCAL_MACHINE\\Software\\KelTest\\New\\Deeper]\r\n"
              "\"machine\"=\"m\"\r\n");
    putValue(Hive::Machine, kKey, L"existing", kRegSz, textToValueData(L"x", true));
    const std::string hive = kel::test::tempDir() + "/registry/machine.db";
    ASSERT_EQ(chmod(hive.c_str(), 0444), 0);
    Result result = reg({"import", file});
    chmod(hive.c_str(), 0644);
    expectFailure(result, "Access is denied");
    EXPECT_NE(result.err.find("HKEY_LOCAL_MACHINE\\Software\\KelTest\\New\\Deeper"),
              std::string::npos);
    EXPECT_FALSE(keyExists(Hive::User, kKey));
}

TEST_F(KelReg, HiveWithDamagedPagesIsReportedAndNotWritten) {
    // A hive of several pages, left by a process that has ended.
    for (int i = 0; i < 40; ++i)
        expectSuccess(reg({"add", "HKCU\\Software\\KelTest", "/v", "v" + std::to_string(i), "/d",
                           std::string(300, 'x'), "/f"}));
    const std::string hive = kel::test::tempDir() + "/registry/user.db";
    std::string bytes = readFile(hive);
    const size_t pageSize =
        (static_cast<unsigned char>(bytes[16]) << 8) | static_cast<unsigned char>(bytes[17]);
    ASSERT_GE(bytes.size(), 4 * pageSize);
    // The header page intact, the last page overwritten.
    std::fill(bytes.end() - static_cast<long>(pageSize), bytes.end(), '\x5A');
    writeFile(hive, bytes);
    expectFailure(reg({"add", "HKCU\\Software\\KelTest\\New", "/v", "V", "/d", "1", "/f"}),
                  "corrupt");
    expectFailure(reg({"query", "HKCU\\Software\\KelTest", "/v", "v1"}), "corrupt");
    EXPECT_EQ(readFile(hive), bytes);
    struct stat log;
    EXPECT_TRUE(stat((hive + "-wal").c_str(), &log) != 0 || log.st_size == 0);
}

TEST_F(KelReg, CorruptHiveIsReported) {
    writeFile(kel::test::tempDir() + "/registry/user.db", std::string(4096, '\x5A'));
    Result query = reg({"query", "HKCU\\Software"});
    expectFailure(query, "corrupt");
    EXPECT_EQ(query.err,
              "kel reg: ERROR: The configuration registry database is corrupt (or is not a "
              "registry hive). Hive file " +
                  kel::test::tempDir() + "/registry/user.db.\n");
    expectFailure(reg({"add", "HKCU\\Software\\KelTest", "/v", "V", "/d", "1", "/f"}), "corrupt");
    EXPECT_EQ(readFile(kel::test::tempDir() + "/registry/user.db"), std::string(4096, '\x5A'));
}

// ----- the hive file in error lines -------------------------------------------------------

// The current folder as the system gives it (the tool resolves a relative
// KEL_REGISTRY_DIR against it).
std::string currentFolder() {
    char buffer[4096];
    return getcwd(buffer, sizeof buffer) != nullptr ? buffer : "";
}

TEST_F(KelReg, MissingHiveFileIsNamedWhenAKeyIsNotFound) {
    const std::string hive = kel::test::tempDir() + "/registry/user.db";
    Result query = reg({"query", "HKCU\\Software\\KelTest"});
    expectFailure(query, "unable to find");
    EXPECT_EQ(query.err,
              "kel reg: ERROR: The system was unable to find the specified registry key or value. "
              "Hive file " +
                  hive + ": the file does not exist.\n");
    // With the file there, a missing key says nothing about it.
    expectSuccess(reg({"add", "HKCU\\Software\\KelTest", "/v", "V", "/d", "1", "/f"}));
    query = reg({"query", "HKCU\\Software\\KelTest\\Missing"});
    EXPECT_EQ(query.err,
              "kel reg: ERROR: The system was unable to find the specified registry key or "
              "value.\n");
}

TEST_F(KelReg, HiveFolderThatIsAFileIsNamed) {
    const std::string file = kel::test::tempDir() + "/plain.txt";
    writeFile(file, "not a folder");
    kel::test::setEnv("KEL_REGISTRY_DIR", file.c_str());
    Result add = reg({"add", "HKCU\\Software\\KelTest", "/v", "V", "/d", "1", "/f"});
    EXPECT_EQ(add.exitCode, 1);
    EXPECT_EQ(add.err, "kel reg: ERROR: Access is denied. Hive file " + file +
                           "/user.db: " + std::strerror(ENOTDIR) + ".\n");
    EXPECT_EQ(readFile(file), "not a folder");
}

TEST_F(KelReg, RelativeRegistryDirIsMadeAbsoluteAndSaidSo) {
    kel::test::setEnv("KEL_REGISTRY_DIR", "relative/hives");
    expectSuccess(reg({"add", "HKCU\\Software\\KelTest", "/v", "V", "/d", "1", "/f"}));
    const std::string dir = currentFolder() + "/relative/hives";
    struct stat st;
    ASSERT_EQ(stat((dir + "/user.db").c_str(), &st), 0);
    ASSERT_EQ(chmod((dir + "/user.db").c_str(), 0444), 0);
    Result add = reg({"add", "HKCU\\Software\\KelTest", "/v", "V", "/d", "2", "/f"});
    chmod((dir + "/user.db").c_str(), 0644);
    EXPECT_EQ(add.exitCode, 1);
    EXPECT_EQ(add.err, "kel reg: ERROR: Access is denied. Hive file " + dir +
                           "/user.db (KEL_REGISTRY_DIR \"relative/hives\" taken as " + dir +
                           "): the file has no write permission, which makes a hive read-only.\n");
}

TEST_F(KelReg, RelativeRegistryDirStaysWhereItWasFoundFirst) {
    // In this process: the store resolves the relative folder once, so the
    // hive does not move when the current folder changes. (A name of this
    // test's own: the resolution is kept for the life of the process.)
    const std::string base = currentFolder();
    kel::test::setEnv("KEL_REGISTRY_DIR", "stays-put/hives");
    putValue(Hive::User, kKey, L"V", kRegSz, textToValueData(L"first", true));
    struct stat st;
    ASSERT_EQ(stat((base + "/stays-put/hives/user.db").c_str(), &st), 0);
    ASSERT_EQ(mkdir((base + "/elsewhere").c_str(), 0755), 0);
    ASSERT_EQ(chdir((base + "/elsewhere").c_str()), 0);
    unsigned long type = 0;
    std::vector<unsigned char> data;
    EXPECT_TRUE(getValue(Hive::User, kKey, L"V", type, data));
    EXPECT_EQ(data, textToValueData(L"first", true));
    putValue(Hive::User, kKey, L"W", kRegSz, textToValueData(L"second", true));
    EXPECT_NE(stat((base + "/elsewhere/stays-put").c_str(), &st), 0);
    EXPECT_EQ(reportHiveFile(Hive::User, false).path, base + "/stays-put/hives/user.db");
    EXPECT_EQ(reportHiveFile(Hive::User, false).origin,
              "KEL_REGISTRY_DIR \"stays-put/hives\" taken as " + base + "/stays-put/hives");
    ASSERT_EQ(chdir(base.c_str()), 0);
    kel::test::removeTestTrees();
}

TEST_F(KelReg, ExportToAFullDiskNamesTheFileAndTheReason) {
    expectSuccess(reg({"add", "HKCU\\Software\\KelTest", "/v", "V", "/d", "1", "/f"}));
    Result exported = reg({"export", "HKCU\\Software\\KelTest", "/dev/full", "/y"});
    expectFailure(exported, "/dev/full");
    EXPECT_EQ(exported.err, "kel reg: ERROR: Cannot write \"/dev/full\": " +
                                std::string(std::strerror(ENOSPC)) + ".\n");
}

TEST_F(KelReg, HiveFolderWithoutPermissionIsNamed) {
    // Permissions stop an ordinary user only: as root the tool runs as user
    // 65534 through setpriv.
    const std::string dir = kel::test::tempDir() + "/closed";
    ASSERT_EQ(mkdir(dir.c_str(), 0755), 0);
    ASSERT_EQ(chmod(kel::test::tempDir().c_str(), 0755), 0);
    kel::test::setEnv("KEL_REGISTRY_DIR", dir.c_str());
    std::vector<std::wstring> words = {
        L"reg", L"add", L"HKLM\\Software\\KelTest", L"/v", L"V", L"/d", L"1", L"/f"};
    kel::test::ProgramResult run;
    if (geteuid() != 0) {
        ASSERT_EQ(chmod(dir.c_str(), 0555), 0);
        run = kel::test::runProgram(kel::test::kelTool(), words);
    } else {
        const std::vector<std::wstring> asUser = {L"--reuid=65534", L"--regid=65534",
                                                  L"--clear-groups", L"--",
                                                  kel::test::kelTool().wstring()};
        struct stat st;
        if (stat("/usr/bin/setpriv", &st) != 0)
            GTEST_SKIP() << "the test runs as root, and there is no setpriv to run the tool as "
                            "another user";
        std::vector<std::wstring> probe = asUser;
        probe.push_back(L"--version");
        if (kel::test::runProgram("/usr/bin/setpriv", probe).exitCode != 0)
            GTEST_SKIP() << "the tool cannot run as user 65534 here (its build folder is closed "
                            "to others)";
        words.insert(words.begin(), asUser.begin(), asUser.end());
        run = kel::test::runProgram("/usr/bin/setpriv", words);
    }
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(withoutCarriageReturns(run.err), "kel reg: ERROR: Access is denied. Hive file " +
                                                   dir + "/machine.db: cannot create it in " + dir +
                                                   ": " + std::strerror(EACCES) + ".\n");
    struct stat st;
    EXPECT_NE(stat((dir + "/machine.db").c_str(), &st), 0);
}

#endif
