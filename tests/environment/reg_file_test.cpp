#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <kel/Kel.h>

#include "environment/hive_store.h"
#include "environment/reg_file.h"
#include "platform/utf.h"
#include "support/system.h"

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
    EXPECT_NE(parseError("REGEDIT5\r\n").find(L"line 1"), std::wstring::npos);
    EXPECT_NE(parseError("\r\n\r\nWindows Registry Editor\r\n").find(L"line 3"),
              std::wstring::npos);
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

TEST(RegFile, CommentLinesInsideContinuedHexDataAreSkipped) {
    const RegFile file = parseOk(kHeader +
                                 "[HKEY_CURRENT_USER\\X]\r\n"
                                 "\"v\"=hex:01,02,\\\r\n"
                                 "; a comment between the lines\r\n"
                                 "  ;another one\r\n"
                                 "  03,04\r\n"
                                 "\"w\"=dword:00000005\r\n");
    ASSERT_EQ(file.keys[0].values.size(), 2u);
    EXPECT_EQ(file.keys[0].values[0].data, bytes({1, 2, 3, 4}));
    EXPECT_EQ(file.keys[0].values[1].data, bytes({5, 0, 0, 0}));
}

// Wine's regedit takes these too.
TEST(RegFile, ACommentAfterDataEndsTheLine) {
    const RegFile file = parseOk(kHeader +
                                 "[HKEY_CURRENT_USER\\X]\r\n"
                                 "\"d\"=dword:00000010 ; sixteen\r\n"
                                 "\"b\"=hex:01,02;two bytes\r\n"
                                 "\"e\"=hex(2):41,00,00,00 ; A\r\n"
                                 "\"s\"=\"a;b\" ; the quotes keep their semicolon\r\n");
    const std::vector<RegFileValue>& values = file.keys[0].values;
    ASSERT_EQ(values.size(), 4u);
    EXPECT_EQ(values[0].data, bytes({0x10, 0, 0, 0}));
    EXPECT_EQ(values[1].data, bytes({1, 2}));
    EXPECT_EQ(values[2].data, bytes({'A', 0, 0, 0}));
    EXPECT_EQ(values[3].data, textToValueData(L"a;b", true));
    parseError(kHeader + "[HKEY_CURRENT_USER\\X]\r\n\"s\"=\"a\" b ; c\r\n");
}

TEST(RegFile, ReadsRegedit4FilesAndTheirNarrowTextData) {
    std::string eAcute;
    if (!kel::test::narrowSample(kelGetNarrowCodePage(), L"\u00E9", eAcute))
        GTEST_SKIP() << kel::test::kNoNarrowSample << kelGetNarrowCodePage();
    std::string hexAcute;
    for (unsigned char c : eAcute) {
        char digits[4];
        std::snprintf(digits, sizeof digits, "%02x,", c);
        hexAcute += digits;
    }
    const RegFile file = parseOk(
        "REGEDIT4\r\n\r\n"
        "; written by an older editor\r\n"
        "[HKEY_CURRENT_USER\\Software\\Caf" +
        eAcute +
        "]\r\n"
        "\"Name\"=\"caf" +
        eAcute +
        "\"\r\n"
        "\"Expand\"=hex(2):25,54,25," +
        hexAcute +
        "\\\r\n"
        "  00\r\n"
        "\"Multi\"=hex(7):61,00,62,00,00\r\n"
        "\"Text\"=hex(1):41,42,00\r\n"
        "\"Binary\"=hex:41,42,00\r\n"
        "\"None\"=hex(0):41,42\r\n"
        "\"Number\"=dword:0000002a\r\n");
    ASSERT_EQ(file.keys.size(), 1u);
    EXPECT_EQ(file.keys[0].path, L"HKEY_CURRENT_USER\\Software\\Caf\u00E9");
    const std::vector<RegFileValue>& values = file.keys[0].values;
    ASSERT_EQ(values.size(), 7u);
    EXPECT_EQ(values[0].type, kRegSz);
    EXPECT_EQ(values[0].data, textToValueData(L"caf\u00E9", true));
    EXPECT_EQ(values[1].type, kRegExpandSz);
    EXPECT_EQ(values[1].data, textToValueData(L"%T%\u00E9", true));
    EXPECT_EQ(values[2].type, kRegMultiSz);
    EXPECT_EQ(values[2].data, textToValueData(std::wstring(L"a\0b\0\0", 5), false));
    EXPECT_EQ(values[3].type, kRegSz);
    EXPECT_EQ(values[3].data, textToValueData(L"AB", true));
    // Other types keep their bytes.
    EXPECT_EQ(values[4].data, bytes({0x41, 0x42, 0}));
    EXPECT_EQ(values[5].data, bytes({0x41, 0x42}));
    EXPECT_EQ(values[6].data, bytes({0x2a, 0, 0, 0}));
}

TEST(RegFile, Regedit4HeaderInAUtf16FileStillMeansNarrowTextData) {
    const RegFile file = parseOk(
        encodeUtf16Le(L"REGEDIT4\r\n\r\n[HKEY_CURRENT_USER\\X]\r\n\"e\"=hex(2):41,42,00\r\n"));
    EXPECT_EQ(file.keys[0].values[0].data, textToValueData(L"AB", true));
}

TEST(RegFile, CurrentFormatTextDataIsNotConverted) {
    const RegFile file = parseOk(kHeader + "[HKEY_CURRENT_USER\\X]\r\n\"e\"=hex(2):41,42,00\r\n");
    EXPECT_EQ(file.keys[0].values[0].data, bytes({0x41, 0x42, 0}));
}

// The editor's rule: after each byte and its comma, a line of 77 or more
// characters is continued ("\" and a line of two spaces). So a first line
// holds 21 to 23 bytes depending on the length of the name, every further
// line 25.
TEST(RegFile, WrapsHexLinesWhereTheEditorWrapsThem) {
    const std::vector<unsigned char> data(50, 0x33);
    const std::wstring bytes23 =
        L"33,33,33,33,33,33,33,33,33,33,33,33,33,33,33,33,33,33,33,33,33,33,33,";
    const std::wstring bytes25 = bytes23 + L"33,33,";
    const std::wstring line2 = L"\\\r\n  " + bytes25 + L"\\\r\n  ";
    // "n"=hex: is 8 characters: 23 bytes reach 77.
    EXPECT_EQ(formatRegValue({L"n", false, kRegBinary, data}),
              L"\"n\"=hex:" + bytes23 + line2 + L"33,33");
    // 11 characters: 22 bytes.
    EXPECT_EQ(formatRegValue({L"nnnn", false, kRegBinary, data}),
              L"\"nnnn\"=hex:" + bytes23.substr(3) + line2 + L"33,33,33");
    // 14 characters: 21 bytes.
    EXPECT_EQ(formatRegValue({L"nnnnnnn", false, kRegBinary, data}),
              L"\"nnnnnnn\"=hex:" + bytes23.substr(6) + line2 + L"33,33,33,33");
    // A name beyond the column: one byte, then the usual lines.
    const std::wstring longName(80, L'x');
    EXPECT_EQ(formatRegValue({longName, false, kRegBinary, std::vector<unsigned char>(30, 0x22)}),
              L"\"" + longName + L"\"=hex:22,\\\r\n  " +
                  L"22,22,22,22,22,22,22,22,22,22,22,22,22,22,22,22,22,22,22,22,22,22,22,22,22,"
                  L"\\\r\n  22,22,22,22");
    // hex(2): as the editor writes an expandable text of 21 characters.
    EXPECT_EQ(
        formatRegValue(
            {L"Search", false, kRegExpandSz, textToValueData(L"%PROGRAMFILES%\\Gantrix", true)}),
        L"\"Search\"=hex(2):25,00,50,00,52,00,4f,00,47,00,52,00,41,00,4d,00,46,00,49,00,4c,\\\r\n"
        L"  00,45,00,53,00,25,00,5c,00,47,00,61,00,6e,00,74,00,72,00,69,00,78,00,00,00");
    // Nothing to wrap: no continuation after the last byte.
    EXPECT_EQ(formatRegValue({L"n", false, kRegBinary, std::vector<unsigned char>(23, 0x33)}),
              L"\"n\"=hex:" + bytes23.substr(0, bytes23.size() - 1));
}

TEST(RegFile, ControlCharactersOtherThanLineBreaksStayInQuotes) {
    const std::wstring text = L"tab\there \x01 \x1f \x7f end";
    const std::wstring line = formatRegValue({L"v", false, kRegSz, textToValueData(text, true)});
    EXPECT_EQ(line, L"\"v\"=\"" + text + L"\"");
    const RegFile parsed = parseOk(encodeUtf16Le(
        std::wstring(kRegFileHeader) + L"\r\n\r\n[HKEY_CURRENT_USER\\X]\r\n" + line + L"\r\n"));
    EXPECT_EQ(parsed.keys[0].values[0].data, textToValueData(text, true));
    // A line break would end the line: hex(1), as for text with a zero in it.
    // (Wine's editor writes "\r" and "\n" escapes of its own instead, and
    // cuts text at a zero.)
    EXPECT_EQ(formatRegValue({L"v", false, kRegSz, textToValueData(L"a\rb", true)}),
              L"\"v\"=hex(1):61,00,0d,00,62,00,00,00");
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
