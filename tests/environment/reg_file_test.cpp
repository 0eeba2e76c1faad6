#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "environment/hive_store.h"
#include "environment/reg_file.h"
#include "platform/utf.h"

using namespace kel::detail;

namespace {

std::vector<unsigned char> bytes(std::initializer_list<unsigned char> list) {
    return std::vector<unsigned char>(list);
}

RegFile parseOk(const std::string& text) {
    RegFile file;
    std::wstring error;
    EXPECT_TRUE(parseRegFile(text, file, error)) << std::string(error.begin(), error.end());
    return file;
}

std::wstring parseError(const std::string& text) {
    RegFile file;
    std::wstring error;
    EXPECT_FALSE(parseRegFile(text, file, error));
    return error;
}

const std::string kHeader = "Windows Registry Editor Version 5.00\r\n\r\n";

}  // namespace

TEST(RegFile, ParsesEveryKindOfValue) {
    const RegFile file = parseOk(kHeader +
                                 "[HKEY_CURRENT_USER\\Software\\Test]\r\n"
                                 "@=\"default\"\r\n"
                                 "\"Path\"=\"C:\\\\Data\\\\\"\r\n"
                                 "\"Quote\"=\"say \\\"hi\\\"\"\r\n"
                                 "\"Num\"=dword:0000002A\r\n"
                                 "\"Bin\"=hex:01,ab,FF\r\n"
                                 "\"Empty\"=hex:\r\n"
                                 "\"Q\"=hex(b):01,00,00,00,00,00,00,00\r\n"
                                 "\"Multi\"=hex(7):61,00,00,00,62,00,00,00,00,00\r\n"
                                 "\"Gone\"=-\r\n"
                                 "\r\n"
                                 "[-HKEY_CURRENT_USER\\Software\\Old]\r\n");
    ASSERT_EQ(file.keys.size(), 2u);
    const RegFileKey& key = file.keys[0];
    EXPECT_EQ(key.path, L"HKEY_CURRENT_USER\\Software\\Test");
    EXPECT_FALSE(key.remove);
    ASSERT_EQ(key.values.size(), 9u);
    EXPECT_EQ(key.values[0].name, L"");
    EXPECT_EQ(key.values[0].type, kRegSz);
    EXPECT_EQ(key.values[0].data, textToValueData(L"default", true));
    EXPECT_EQ(key.values[1].data, textToValueData(L"C:\\Data\\", true));
    EXPECT_EQ(key.values[2].data, textToValueData(L"say \"hi\"", true));
    EXPECT_EQ(key.values[3].type, kRegDword);
    EXPECT_EQ(key.values[3].data, bytes({0x2A, 0, 0, 0}));
    EXPECT_EQ(key.values[4].type, kRegBinary);
    EXPECT_EQ(key.values[4].data, bytes({0x01, 0xAB, 0xFF}));
    EXPECT_TRUE(key.values[5].data.empty());
    EXPECT_EQ(key.values[6].type, kRegQword);
    EXPECT_EQ(key.values[7].type, kRegMultiSz);
    EXPECT_EQ(key.values[7].data, bytes({'a', 0, 0, 0, 'b', 0, 0, 0, 0, 0}));
    EXPECT_TRUE(key.values[8].remove);
    EXPECT_EQ(file.keys[1].path, L"HKEY_CURRENT_USER\\Software\\Old");
    EXPECT_TRUE(file.keys[1].remove);
}

TEST(RegFile, JoinsContinuedHexLines) {
    const RegFile file = parseOk(kHeader +
                                 "[HKEY_LOCAL_MACHINE\\Software\\T]\n"
                                 "\"Long\"=hex(2):25,00,50,00,\\\n"
                                 "  41,00,\\\n"
                                 "\t54,00,00,00\n");
    ASSERT_EQ(file.keys.size(), 1u);
    ASSERT_EQ(file.keys[0].values.size(), 1u);
    EXPECT_EQ(file.keys[0].values[0].type, kRegExpandSz);
    EXPECT_EQ(file.keys[0].values[0].data, textToValueData(L"%PAT", true));
}

TEST(RegFile, ReadsUtf16WithByteOrderMarkAndUtf8) {
    const std::wstring text = std::wstring(kRegFileHeader) +
                              L"\r\n\r\n[HKEY_CURRENT_USER\\Software\\Tr\u00E4ger]\r\n"
                              L"\"Name\"=\"\u20AC \u4E2D\"\r\n";
    const RegFile fromUtf16 = parseOk(encodeUtf16Le(text));
    const RegFile fromUtf8 = parseOk(wideToUtf8(text));
    const RegFile fromUtf8Bom = parseOk("\xEF\xBB\xBF" + wideToUtf8(text));
    for (const RegFile* file : {&fromUtf16, &fromUtf8, &fromUtf8Bom}) {
        ASSERT_EQ(file->keys.size(), 1u);
        EXPECT_EQ(file->keys[0].path, L"HKEY_CURRENT_USER\\Software\\Tr\u00E4ger");
        ASSERT_EQ(file->keys[0].values.size(), 1u);
        EXPECT_EQ(file->keys[0].values[0].data, textToValueData(L"\u20AC \u4E2D", true));
    }
}

TEST(RegFile, CommentsAndBlankLinesAreSkipped) {
    const RegFile file = parseOk("\r\n" + kHeader +
                                 "; a comment\r\n"
                                 "[HKEY_CLASSES_ROOT\\.kel]\r\n"
                                 "  ; indented comment\r\n"
                                 "   @=\"KelFile\"   \r\n");
    ASSERT_EQ(file.keys.size(), 1u);
    EXPECT_EQ(file.keys[0].values.size(), 1u);
}

TEST(RegFile, ErrorsNameTheLine) {
    EXPECT_NE(parseError("REGEDIT4\r\n").find(L"line 1"), std::wstring::npos);
    EXPECT_NE(parseError("").find(L"not a registry file"), std::wstring::npos);
    EXPECT_NE(parseError(kHeader + "\"v\"=\"x\"\r\n").find(L"line 3"), std::wstring::npos);
    const std::string key = kHeader + "[HKEY_CURRENT_USER\\X]\r\n";
    EXPECT_NE(parseError(key + "\"v\"=dword:123456789\r\n").find(L"line 4"), std::wstring::npos);
    parseError(key + "\"v\"=dword:xyz\r\n");
    parseError(key + "\"v\"=dword:\r\n");
    parseError(key + "\"v\"=hex:1,2,zz\r\n");
    parseError(key + "\"v\"=hex:123\r\n");
    parseError(key + "\"v\"=hex:01,,02\r\n");
    parseError(key + "\"v\"=hex(q):01\r\n");
    parseError(key + "\"v\"=hex():01\r\n");
    parseError(key + "\"v\"=\"unterminated\r\n");
    parseError(key + "\"v\"=\"text\" trailing\r\n");
    parseError(key + "\"v\" \"x\"\r\n");
    parseError(key + "\"v\"=what\r\n");
    parseError(key + "garbage\r\n");
    parseError(kHeader + "[HKEY_CURRENT_USER\\X\r\n");
    parseError(kHeader + "[]\r\n");
    parseError(kHeader + "[-HKEY_CURRENT_USER\\X]\r\n\"v\"=\"x\"\r\n");
}

TEST(RegFile, FormatsAsTheEditorDoes) {
    RegFile file;
    RegFileKey key;
    key.path = L"HKEY_CURRENT_USER\\Software\\Test";
    key.values.push_back({L"", false, kRegSz, textToValueData(L"default", true)});
    key.values.push_back({L"Path", false, kRegSz, textToValueData(L"C:\\\"x\"", true)});
    key.values.push_back({L"Num", false, kRegDword, bytes({0x2A, 0, 0, 0x80})});
    key.values.push_back({L"Bin", false, kRegBinary, bytes({1, 0xAB})});
    key.values.push_back({L"Q", false, kRegQword, bytes({1, 0, 0, 0, 0, 0, 0, 0})});
    key.values.push_back({L"None", false, kRegNone, {}});
    file.keys.push_back(key);
    RegFileKey sub;
    sub.path = L"HKEY_CURRENT_USER\\Software\\Test\\Sub";
    file.keys.push_back(sub);
    EXPECT_EQ(formatRegFile(file),
              L"Windows Registry Editor Version 5.00\r\n"
              L"\r\n"
              L"[HKEY_CURRENT_USER\\Software\\Test]\r\n"
              L"@=\"default\"\r\n"
              L"\"Path\"=\"C:\\\\\\\"x\\\"\"\r\n"
              L"\"Num\"=dword:8000002a\r\n"
              L"\"Bin\"=hex:01,ab\r\n"
              L"\"Q\"=hex(b):01,00,00,00,00,00,00,00\r\n"
              L"\"None\"=hex(0):\r\n"
              L"\r\n"
              L"[HKEY_CURRENT_USER\\Software\\Test\\Sub]\r\n"
              L"\r\n");
}

TEST(RegFile, WrapsLongHexLines) {
    RegFileValue value{L"Data", false, kRegBinary, std::vector<unsigned char>(60, 0x11)};
    const std::wstring line = formatRegValue(value);
    size_t start = 0;
    int lines = 0;
    while (start < line.size()) {
        size_t end = line.find(L"\r\n", start);
        if (end == std::wstring::npos)
            end = line.size();
        EXPECT_LE(end - start, 80u);
        ++lines;
        start = end + 2;
    }
    EXPECT_EQ(lines, 3);
    const RegFile parsed = parseOk(kHeader + "[HKEY_CURRENT_USER\\X]\r\n" + wideToUtf8(line));
    EXPECT_EQ(parsed.keys[0].values[0].data, value.data);
}

TEST(RegFile, TextThatQuotesCannotCarryIsWrittenAsHex) {
    // Embedded zero, line break, odd length: hex(1) keeps the bytes.
    const std::vector<std::vector<unsigned char>> odd = {
        textToValueData(std::wstring(L"a\0b", 3), true),
        textToValueData(L"line\nbreak", true),
        bytes({'a', 0, 'b'}),
    };
    for (const auto& data : odd) {
        const std::wstring line = formatRegValue({L"v", false, kRegSz, data});
        EXPECT_EQ(line.find(L"\"v\"=hex(1):"), 0u);
        const RegFile parsed =
            parseOk(kHeader + "[HKEY_CURRENT_USER\\X]\r\n" + wideToUtf8(line) + "\r\n");
        EXPECT_EQ(parsed.keys[0].values[0].data, data);
        EXPECT_EQ(parsed.keys[0].values[0].type, kRegSz);
    }
}

TEST(RegFile, TextWithoutTerminatorIsWrittenQuoted) {
    // As the library stores text; it comes back with a terminator.
    const std::wstring line =
        formatRegValue({L"v", false, kRegSz, textToValueData(L"plain", false)});
    EXPECT_EQ(line, L"\"v\"=\"plain\"");
}

TEST(RegFile, FormattedFilesParseBackIdentically) {
    RegFile file;
    RegFileKey key;
    key.path = L"HKEY_LOCAL_MACHINE\\Software\\Round\\Trip";
    key.values.push_back({L"sz", false, kRegSz, textToValueData(L"x \u00FC \u4E2D", true)});
    key.values.push_back({L"exp", false, kRegExpandSz, textToValueData(L"%TEMP%", true)});
    key.values.push_back(
        {L"multi", false, kRegMultiSz, textToValueData(std::wstring(L"a\0b\0\0", 5), false)});
    key.values.push_back({L"dw", false, kRegDword, bytes({1, 2, 3, 4})});
    key.values.push_back({L"short dword", false, kRegDword, bytes({1, 2})});
    key.values.push_back({L"qw", false, kRegQword, bytes({1, 2, 3, 4, 5, 6, 7, 8})});
    key.values.push_back({L"bin", false, kRegBinary, std::vector<unsigned char>(100, 7)});
    key.values.push_back({L"odd \"name\" \\", false, 0x4000, bytes({9})});
    file.keys.push_back(key);
    const RegFile parsed = parseOk(encodeUtf16Le(formatRegFile(file)));
    ASSERT_EQ(parsed.keys.size(), 1u);
    EXPECT_EQ(parsed.keys[0].path, key.path);
    ASSERT_EQ(parsed.keys[0].values.size(), key.values.size());
    for (size_t i = 0; i < key.values.size(); ++i) {
        EXPECT_EQ(parsed.keys[0].values[i].name, key.values[i].name);
        EXPECT_EQ(parsed.keys[0].values[i].type, key.values[i].type);
        EXPECT_EQ(parsed.keys[0].values[i].data, key.values[i].data) << i;
    }
}

TEST(RegFile, EncodesUtf16LittleEndianWithByteOrderMark) {
    EXPECT_EQ(encodeUtf16Le(L"A\u20AC"), std::string("\xFF\xFE\x41\x00\xAC\x20", 6));
}
