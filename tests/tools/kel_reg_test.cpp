// "kel reg" as installers and administrators run it: arguments, output,
// exit codes, and registry files in and out.

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
    Result one = reg({"query", key, "/v", "hex"});
    expectSuccess(one);
    EXPECT_EQ(one.out, "\nHKEY_CURRENT_USER\\Software\\KelTest\n    Hex    REG_DWORD    0x2a\n\n");
    Result byDefault = reg({"query", key, "/ve"});
    expectSuccess(byDefault);
    EXPECT_NE(byDefault.out.find("(Default)    REG_SZ    default"), std::string::npos);
}

TEST_F(KelReg, AddCreatesOnlyTheKeyWithoutAValue) {
    expectSuccess(reg({"add", "hkcu\\Software\\KelTest\\Empty\\Key"}));
    EXPECT_TRUE(keyExists(Hive::User, kKey + L"\\Empty\\Key"));
    HiveKeyHolder key;
    ASSERT_EQ(openKey(Hive::User, kKey + L"\\Empty\\Key", kKeyRead, key.key), 0u);
    std::vector<HiveValue> values;
    ASSERT_EQ(enumValues(key.key, values), 0u);
    EXPECT_TRUE(values.empty());
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
    expectSuccess(reg({"add", "HKCU\\Software\\KelTest\\a\\Deep"}));
    Result flat = reg({"query", "HKCU\\Software\\KelTest"});
    expectSuccess(flat);
    EXPECT_EQ(flat.out,
              "\nHKEY_CURRENT_USER\\Software\\KelTest\n"
              "    Top    REG_SZ    1\n\n"
              "HKEY_CURRENT_USER\\Software\\KelTest\\a\n"
              "HKEY_CURRENT_USER\\Software\\KelTest\\B\n\n");
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

TEST_F(KelReg, ErrorsAreOneLineAndExitCodeOne) {
    expectFailure(reg({}), "Missing operation");
    expectFailure(reg({"frobnicate"}), "Unknown operation");
    expectFailure(reg({"query"}), "Expected one key");
    expectFailure(reg({"query", "HKXX\\Software"}), "Invalid key name");
    expectFailure(reg({"query", "Software\\KelTest"}), "Invalid key name");
    expectFailure(reg({"query", "HKCU\\Software\\KelTest"}), "unable to find");
    expectFailure(reg({"query", "HKCU\\Software", "/q"}), "Invalid option /q");
    expectFailure(reg({"add", "HKCU\\Software\\KelTest", "/v"}), "needs a value");
    expectFailure(reg({"add", "HKCU\\Software\\KelTest", "/v", "x", "/ve", "/f"}), "only one");
    expectFailure(reg({"add", "HKCU\\Software\\KelTest", "/v", "x", "/t", "REG_LINK", "/f"}),
                  "Unsupported type");
    expectFailure(reg({"add", "HKCU\\Software\\KelTest", "/v", "x", "/t", "REG_DWORD", "/d",
                       "4294967296", "/f"}),
                  "Invalid REG_DWORD");
    expectFailure(
        reg({"add", "HKCU\\Software\\KelTest", "/v", "x", "/t", "REG_DWORD", "/d", "-1", "/f"}),
        "Invalid REG_DWORD");
    expectFailure(reg({"add", "HKCU\\Software\\KelTest", "/v", "x", "/t", "REG_QWORD", "/d",
                       "0x10000000000000000", "/f"}),
                  "Invalid REG_QWORD");
    expectFailure(
        reg({"add", "HKCU\\Software\\KelTest", "/v", "x", "/t", "REG_BINARY", "/d", "abc", "/f"}),
        "REG_BINARY");
    expectFailure(
        reg({"add", "HKCU\\Software\\KelTest", "/v", "x", "/t", "REG_BINARY", "/d", "zz", "/f"}),
        "REG_BINARY");
    expectFailure(reg({"add", "HKCU\\Software\\KelTest", "/v", "x", "/s", ",", "/d", "a", "/f"}),
                  "/s");
    expectFailure(reg({"import", kel::test::tempDir() + "/missing.reg"}), "Cannot open");
    EXPECT_FALSE(keyExists(Hive::User, kKey));
}

TEST_F(KelReg, HelpGoesToStdout) {
    Result help = reg({"/?"});
    expectSuccess(help);
    EXPECT_NE(help.out.find("kel reg query"), std::string::npos);
    EXPECT_NE(help.out.find("KEL_REGISTRY_DIR"), std::string::npos);
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
    writeFile(file, "REGEDIT4\r\n\r\n[HKEY_CURRENT_USER\\Software\\KelTest]\r\n");
    expectFailure(reg({"import", file}), "not a registry file");
    EXPECT_FALSE(keyExists(Hive::User, kKey));
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
    expectFailure(reg({"add", "HKLM\\Software\\KelTest", "/v", "V", "/d", "2", "/f"}),
                  "Access is denied");
    expectFailure(reg({"delete", "HKLM\\Software\\KelTest", "/f"}), "Access is denied");
    Result query = reg({"query", "HKLM\\Software\\KelTest"});
    expectSuccess(query);
    EXPECT_NE(query.out.find("V    REG_SZ    1"), std::string::npos);
    chmod(hive.c_str(), 0644);
}

TEST_F(KelReg, CorruptHiveIsReported) {
    writeFile(kel::test::tempDir() + "/registry/user.db", std::string(4096, '\x5A'));
    expectFailure(reg({"query", "HKCU\\Software"}), "corrupt");
    expectFailure(reg({"add", "HKCU\\Software\\KelTest", "/v", "V", "/d", "1", "/f"}), "corrupt");
    EXPECT_EQ(readFile(kel::test::tempDir() + "/registry/user.db"), std::string(4096, '\x5A'));
}

#endif
