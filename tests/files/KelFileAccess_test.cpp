#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "file_test_support.h"
#include "support/isolation.h"
#include "support/system.h"

namespace {

using kel::test::Bytes;
using kel::test::bytesOf;
using kel::test::inTextMode;
using kel::test::narrowText;
using kel::test::pathIn;
using kel::test::readAll;
using kel::test::widePathIn;
using kel::test::writeAll;

KelString fileIn(const std::string& name) {
    return KelString(widePathIn(name).c_str());
}

const wchar_t* const kTraeger = L"Tr\u00E4ger \u20AC\n";

// Where the narrow code page is UTF-8, narrow text holds every character.
bool narrowIsUtf8() {
    return kelGetNarrowCodePage() == 65001;
}

// The bytes a text file holds after `text` was written with puts in `enc`.
Bytes writtenWith(KelFileAccess::encodeType enc, const wchar_t* text) {
    {
        KelFileAccess file(fileIn("out.txt"), L"w", enc);
        EXPECT_EQ(file.isOpen(), 1);
        EXPECT_EQ(file.puts(text), 0);
    }
    return readAll(pathIn("out.txt"));
}

// ----- construction and modes ---------------------------------------------------

TEST(KelFileAccess, DefaultObject_IsClosedAndEveryMemberReturnsZero) {
    KelFileAccess file;
    KelString text(L"x");
    int value = 7;
    double number = 1.5;
    long long position = 3;
    char buffer[4];
    EXPECT_EQ(file.isOpen(), 0);
    EXPECT_EQ(file.write("%d", 1), 0);
    EXPECT_EQ(file.write(L"%d", 1), 0);
    EXPECT_EQ(file.puts(L"x"), 0);
    EXPECT_EQ(file.read(buffer, 1, 4), 0u);
    EXPECT_EQ(file.seek(0, SEEK_SET), 0);
    EXPECT_EQ(file.getPostion(&position), 0);
    EXPECT_EQ(file.setPostion(&position), 0);
    EXPECT_EQ(file.eof(), 0);
    EXPECT_EQ(file.getChar(), 0);
    EXPECT_EQ(file.readString(text), 0);
    EXPECT_EQ(file.readInt(value), 0);
    EXPECT_EQ(file.readDouble(number), 0);
    EXPECT_EQ(file.getFileLength(), 0);
    EXPECT_EQ(file.readFile(text, 10), 0u);
    EXPECT_EQ(file.gets(text, 10), KelString());
    EXPECT_EQ(text, KelString(L"x"));
    file.close();
}

TEST(KelFileAccess, EmptyName_OpensNothing) {
    KelFileAccess file(L"", L"w", KelFileAccess::encodeUTF16LE);
    EXPECT_EQ(file.isOpen(), 0);
}

TEST(KelFileAccess, MissingFileForReading_StaysClosed) {
    KelFileAccess file(fileIn("missing.txt"), L"r", KelFileAccess::encodeUTF8);
    EXPECT_EQ(file.isOpen(), 0);
}

TEST(KelFileAccess, WriteModeWithUtf16LE_WritesTheMarkAndUtf16LE) {
    EXPECT_EQ(writtenWith(KelFileAccess::encodeUTF16LE, L"A\u20AC\n"),
              inTextMode(Bytes{0xFF, 0xFE, 'A', 0x00, 0xAC, 0x20, '\n', 0x00}, 2));
}

TEST(KelFileAccess, UnicodeMode_WritesUtf16LEWithItsMark) {
    EXPECT_EQ(writtenWith(KelFileAccess::encodeUnicode, L"A\u00E4"),
              (Bytes{0xFF, 0xFE, 'A', 0x00, 0xE4, 0x00}));
}

TEST(KelFileAccess, Utf8Mode_WritesTheMarkAndUtf8) {
    EXPECT_EQ(writtenWith(KelFileAccess::encodeUTF8, kTraeger),
              inTextMode(bytesOf("\xEF\xBB\xBFTr\xC3\xA4ger \xE2\x82\xAC\n")));
}

TEST(KelFileAccess, PlainMode_WritesTheNarrowCodePageWithoutMark) {
    std::string narrow;
    if (!narrowText(kTraeger, narrow))
        GTEST_SKIP() << kel::test::kNoNarrowSample << kelGetNarrowCodePage();
    EXPECT_EQ(writtenWith(KelFileAccess::encodeNone, kTraeger), inTextMode(bytesOf(narrow)));
}

TEST(KelFileAccess, Utf16LE_CharacterBeyondTheBasicPlane_BecomesASurrogatePair) {
    EXPECT_EQ(writtenWith(KelFileAccess::encodeUTF16LE, L"\U0001F600"),
              (Bytes{0xFF, 0xFE, 0x3D, 0xD8, 0x00, 0xDE}));
}

TEST(KelFileAccess, EveryEncoding_ReadsBackWhatItWrote) {
    for (auto enc : {KelFileAccess::encodeNone, KelFileAccess::encodeUnicode,
                     KelFileAccess::encodeUTF8, KelFileAccess::encodeUTF16LE}) {
        SCOPED_TRACE(static_cast<int>(enc));
        // Lines of the narrow encodings pass through the narrow code page,
        // which holds a character beyond the basic plane only as UTF-8.
        const bool wide =
            enc == KelFileAccess::encodeUnicode || enc == KelFileAccess::encodeUTF16LE;
        const std::wstring second =
            std::wstring(L"second line") + (wide || narrowIsUtf8() ? L"\U0001F600" : L"") + L"\n";
        {
            KelFileAccess out(fileIn("round.txt"), L"w", enc);
            out.puts(kTraeger);
            out.puts(second.c_str());
            out.puts(L"last");
        }
        KelFileAccess in(fileIn("round.txt"), L"r", enc);
        KelString line;
        EXPECT_EQ(in.gets(line, 100), KelString(kTraeger));
        EXPECT_EQ(line, KelString(kTraeger));
        in.gets(line, 100);
        EXPECT_EQ(line, KelString(second.c_str()));
        in.gets(line, 100);
        EXPECT_EQ(line, KelString(L"last"));
        in.gets(line, 100);
        EXPECT_EQ(line, KelString());
        EXPECT_NE(in.eof(), 0);
    }
}

TEST(KelFileAccess, Gets_ReadsAtMostMaxCharsMinusOne) {
    writeAll(pathIn("a.txt"), bytesOf("abcdef\n"));
    for (auto enc : {KelFileAccess::encodeNone, KelFileAccess::encodeUTF16LE}) {
        KelFileAccess in(fileIn("a.txt"), L"r",
                         enc == KelFileAccess::encodeNone ? KelFileAccess::encodeNone
                                                          : KelFileAccess::encodeUTF8);
        KelString line;
        in.gets(line, 4);
        EXPECT_EQ(line, KelString(L"abc"));
        in.gets(line, 100);
        EXPECT_EQ(line, KelString(L"def\n"));
    }
    KelFileAccess wide(fileIn("a.txt"), L"r", KelFileAccess::encodeUnicode);
    KelString line;
    wide.gets(line, 3);
    EXPECT_EQ(line, KelString(L"ab"));
}

TEST(KelFileAccess, Gets_ReadsLinesWithTheSystemsLineEnds) {
    // Text mode: on Windows "\r\n" in the file is "\n" in the line, in
    // every encoding.
    writeAll(pathIn("crlf16.txt"), Bytes{0xFF, 0xFE, 'a', 0, '\r', 0, '\n', 0, 'b', 0});
    writeAll(pathIn("crlf8.txt"), bytesOf("a\r\nb"));
    for (auto enc : {KelFileAccess::encodeNone, KelFileAccess::encodeUnicode,
                     KelFileAccess::encodeUTF8, KelFileAccess::encodeUTF16LE}) {
        SCOPED_TRACE(static_cast<int>(enc));
        const bool utf16 =
            enc == KelFileAccess::encodeUnicode || enc == KelFileAccess::encodeUTF16LE;
        KelFileAccess in(fileIn(utf16 ? "crlf16.txt" : "crlf8.txt"), L"r", enc);
        KelString line;
        in.gets(line, 100);
        EXPECT_EQ(line, KelString(kel::test::readInTextMode(L"a\r\n").c_str()));
        in.gets(line, 100);
        EXPECT_EQ(line, KelString(L"b"));
    }
}

TEST(KelFileAccess, ModeStrings_AcceptTheSuffixWithAndWithoutTheBlank) {
    FILE* stream = nullptr;
    ASSERT_EQ(kelfopen(&stream, fileIn("m.txt"), L"w,ccs=UTF-8"), 0);
    kelfputs("x", stream);
    kelfclose(stream);
    EXPECT_EQ(readAll(pathIn("m.txt")), bytesOf("\xEF\xBB\xBFx"));
    ASSERT_EQ(kelfopen(&stream, fileIn("m.txt"), L"r, ccs=utf-8"), 0);
    kelfclose(stream);
    EXPECT_EQ(kelfopen(&stream, fileIn("m.txt"), L"r, ccs=UTF-7"), 22);
    EXPECT_EQ(stream, nullptr);
    EXPECT_EQ(kelfopen(&stream, fileIn("m.txt"), L"q"), 22);
    EXPECT_EQ(kelfopen(nullptr, fileIn("m.txt"), L"r"), 22);
}

// ----- marks decide on reading and appending ----------------------------------------

std::wstring readLine(const std::string& name, KelFileAccess::encodeType enc) {
    KelFileAccess in(fileIn(name), L"r", enc);
    KelString line;
    in.gets(line, 100);
    return line.getStringW();
}

TEST(KelFileAccess, ReadingAnExistingFile_TheMarkDecidesTheEncoding) {
    writeAll(pathIn("le.txt"), Bytes{0xFF, 0xFE, 'h', 0, 0xE4, 0});
    writeAll(pathIn("u8.txt"), bytesOf("\xEF\xBB\xBFh\xC3\xA4"));
    for (auto enc :
         {KelFileAccess::encodeUnicode, KelFileAccess::encodeUTF8, KelFileAccess::encodeUTF16LE}) {
        SCOPED_TRACE(static_cast<int>(enc));
        EXPECT_EQ(readLine("le.txt", enc), L"h\u00E4");
        EXPECT_EQ(readLine("u8.txt", enc), L"h\u00E4");
    }
}

TEST(KelFileAccess, ReadingWithoutAMark_TheModesOwnEncodingApplies) {
    writeAll(pathIn("plain8.txt"), bytesOf("h\xC3\xA4"));
    writeAll(pathIn("plain16.txt"), Bytes{'h', 0, 0xE4, 0});
    EXPECT_EQ(readLine("plain8.txt", KelFileAccess::encodeUTF8), L"h\u00E4");
    EXPECT_EQ(readLine("plain8.txt", KelFileAccess::encodeUnicode), L"h\u00E4");
    EXPECT_EQ(readLine("plain16.txt", KelFileAccess::encodeUTF16LE), L"h\u00E4");
}

TEST(KelFileAccess, AppendingToAnExistingFile_KeepsItsEncoding) {
    writeAll(pathIn("app.txt"), Bytes{0xFF, 0xFE, 'a', 0});
    {
        KelFileAccess out(fileIn("app.txt"), L"a", KelFileAccess::encodeUTF8);
        out.puts(L"\u00E4");
    }
    EXPECT_EQ(readAll(pathIn("app.txt")), (Bytes{0xFF, 0xFE, 'a', 0, 0xE4, 0}));
    writeAll(pathIn("app8.txt"), bytesOf("a"));
    {
        KelFileAccess out(fileIn("app8.txt"), L"a", KelFileAccess::encodeUnicode);
        out.puts(L"\u00E4");
    }
    EXPECT_EQ(readAll(pathIn("app8.txt")), bytesOf("a\xC3\xA4"));
}

TEST(KelFileAccess, AppendingToANewFile_WritesTheMark) {
    {
        KelFileAccess out(fileIn("new.txt"), L"a", KelFileAccess::encodeUTF16LE);
        out.puts(L"a");
    }
    EXPECT_EQ(readAll(pathIn("new.txt")), (Bytes{0xFF, 0xFE, 'a', 0}));
}

TEST(KelFileAccess, ReadOnEncodedStream_DeliversUtf16LEUnits) {
    writeAll(pathIn("r.txt"), bytesOf("\xEF\xBB\xBF"
                                      "a\xC3\xA4"));
    KelFileAccess in(fileIn("r.txt"), L"r", KelFileAccess::encodeUTF8);
    unsigned char units[8] = {};
    EXPECT_EQ(in.read(units, 2, 4), 2u);
    EXPECT_EQ(Bytes(units, units + 4), (Bytes{'a', 0, 0xE4, 0}));
}

// ----- formatted writing ---------------------------------------------------------------

TEST(KelFileAccess, NarrowFormat_IsAWideFormat) {
    {
        KelFileAccess out(fileIn("w.txt"), L"w", KelFileAccess::encodeUTF8);
        EXPECT_EQ(out.write("%s=%d;", L"Tr\u00E4ger", 5), 9);
        EXPECT_EQ(out.write(""), 0);
        EXPECT_EQ(out.write(static_cast<const char*>(nullptr)), 0);
        EXPECT_EQ(out.write(L"%s|%S|%I64d", L"w", "n", 1ll << 40), 17);
        const unsigned short format[] = {'%', 's', '!', 0};
        const unsigned short argument[] = {0xD83D, 0xDE00, 0};
        // Counted in wchar_t: the surrogate pair is one character where
        // wchar_t has 32 bits and two where it has 16.
        EXPECT_EQ(out.write(format, argument), sizeof(wchar_t) == 2 ? 3 : 2);
    }
    EXPECT_EQ(readAll(pathIn("w.txt")),
              bytesOf("\xEF\xBB\xBFTr\xC3\xA4ger=5;w|n|1099511627776\xF0\x9F\x98\x80!"));
}

TEST(KelFileAccess, BadFormat_ReturnsMinusOne) {
    KelFileAccess out(fileIn("w.txt"), L"w", KelFileAccess::encodeNone);
    EXPECT_EQ(out.write(L"%n", nullptr), -1);
}

// ----- characters, words and numbers ---------------------------------------------------

TEST(KelFileAccess, GetChar_AtTheEndYields65535) {
    writeAll(pathIn("c.txt"), bytesOf("A\xC3\xA4"));
    KelFileAccess in(fileIn("c.txt"), L"r", KelFileAccess::encodeUTF8);
    EXPECT_EQ(in.getChar(), 'A');
    EXPECT_EQ(in.getChar(), 0xE4);
    EXPECT_EQ(in.getChar(), 65535);
    EXPECT_EQ(in.getChar(), 65535);
}

TEST(KelFileAccess, GetChar_GivesSurrogatesBeyondTheBasicPlane) {
    writeAll(pathIn("c.txt"), bytesOf("\xF0\x9F\x98\x80z"));
    // The plain mode reads the file as narrow text: UTF-8 only where the
    // narrow code page is UTF-8.
    for (auto enc : {KelFileAccess::encodeNone, KelFileAccess::encodeUTF8}) {
        if (enc == KelFileAccess::encodeNone && !narrowIsUtf8())
            continue;
        SCOPED_TRACE(static_cast<int>(enc));
        KelFileAccess in(fileIn("c.txt"), L"r", enc);
        EXPECT_EQ(in.getChar(), 0xD83D);
        EXPECT_EQ(in.getChar(), 0xDE00);
        EXPECT_EQ(in.getChar(), 'z');
    }
}

TEST(KelFileAccess, ReadStringIntDouble_ScanLikeTheRuntime) {
    std::string traeger;
    if (!narrowText(L"Tr\u00E4ger", traeger))
        GTEST_SKIP() << kel::test::kNoNarrowSample << kelGetNarrowCodePage();
    writeAll(pathIn("s.txt"), bytesOf("  " + traeger + "\t42 -3.5e2\n-7x 1e+ 9"));
    KelFileAccess in(fileIn("s.txt"), L"r", KelFileAccess::encodeNone);
    KelString word;
    int value = 1;
    double number = 0;
    EXPECT_EQ(in.readString(word), 1);
    EXPECT_EQ(word, KelString(L"Tr\u00E4ger"));
    EXPECT_EQ(in.readInt(value), 1);
    EXPECT_EQ(value, 42);
    EXPECT_EQ(in.readDouble(number), 1);
    EXPECT_EQ(number, -350.0);
    EXPECT_EQ(in.readInt(value), 1);
    EXPECT_EQ(value, -7);
    EXPECT_EQ(in.readInt(value), 0);  // "x"
    EXPECT_EQ(value, 0);
    EXPECT_EQ(in.readString(word), 1);
    EXPECT_EQ(word, KelString(L"x"));
    EXPECT_EQ(in.readDouble(number), 0);  // "1e+" is no number
    EXPECT_EQ(in.readInt(value), 1);
    EXPECT_EQ(value, 9);
    EXPECT_EQ(in.readInt(value), -1);
    EXPECT_EQ(in.readString(word), -1);
    EXPECT_EQ(in.readDouble(number), -1);
}

TEST(KelFileAccess, ReadString_RefusesWordsThatDoNotFit256Characters) {
    const std::string longWord(256, 'w');
    const std::string fitting(255, 'f');
    writeAll(pathIn("s.txt"), bytesOf(longWord + " " + fitting + " next"));
    KelFileAccess in(fileIn("s.txt"), L"r", KelFileAccess::encodeUTF8);
    KelString word(L"old");
    EXPECT_EQ(in.readString(word), 0);
    EXPECT_EQ(word, KelString());
    EXPECT_EQ(in.readString(word), 1);
    EXPECT_EQ(word.length(), 255);
    EXPECT_EQ(in.readString(word), 1);
    EXPECT_EQ(word, KelString(L"next"));
}

TEST(KelFileAccess, ScansWorkOnUtf16Files) {
    {
        KelFileAccess out(fileIn("n.txt"), L"w", KelFileAccess::encodeUTF16LE);
        out.puts(L"12 2.5 abc");
    }
    KelFileAccess in(fileIn("n.txt"), L"r", KelFileAccess::encodeUTF16LE);
    int value = 0;
    double number = 0;
    KelString word;
    EXPECT_EQ(in.readInt(value), 1);
    EXPECT_EQ(value, 12);
    EXPECT_EQ(in.readDouble(number), 1);
    EXPECT_EQ(number, 2.5);
    EXPECT_EQ(in.readString(word), 1);
    EXPECT_EQ(word, KelString(L"abc"));
}

// ----- positions and length --------------------------------------------------------------

TEST(KelFileAccess, GetFileLength_LeavesTheStreamAtTheBeginning) {
    writeAll(pathIn("l.txt"), bytesOf("hello world"));
    KelFileAccess in(fileIn("l.txt"), L"r", KelFileAccess::encodeNone);
    char buffer[8] = {};
    EXPECT_EQ(in.read(buffer, 1, 6), 6u);
    EXPECT_EQ(in.getFileLength(), 11);
    EXPECT_EQ(in.read(buffer, 1, 5), 5u);
    EXPECT_EQ(std::string(buffer, 5), "hello");
}

TEST(KelFileAccess, GetFileLength_OfAMarkedFile_CountsTheMarkAndRewindsBehindIt) {
    writeAll(pathIn("l.txt"), bytesOf("\xEF\xBB\xBFxy"));
    KelFileAccess in(fileIn("l.txt"), L"r", KelFileAccess::encodeUTF8);
    EXPECT_EQ(in.getChar(), 'x');
    EXPECT_EQ(in.getFileLength(), 5);
    EXPECT_EQ(in.getChar(), 'x');
}

TEST(KelFileAccess, Positions_RoundTrip) {
    writeAll(pathIn("p.txt"), bytesOf("abcdef"));
    KelFileAccess in(fileIn("p.txt"), L"r", KelFileAccess::encodeNone);
    EXPECT_EQ(in.seek(2, SEEK_SET), 0);
    long long position = -1;
    EXPECT_EQ(in.getPostion(&position), 0);
    EXPECT_EQ(position, 2);
    EXPECT_EQ(in.getChar(), 'c');
    EXPECT_EQ(in.setPostion(&position), 0);
    EXPECT_EQ(in.getChar(), 'c');
    EXPECT_NE(in.getPostion(nullptr), 0);
    EXPECT_NE(in.setPostion(nullptr), 0);
    EXPECT_EQ(in.eof(), 0);
    char rest[8];
    EXPECT_EQ(in.read(rest, 1, 8), 3u);
    EXPECT_NE(in.eof(), 0);
}

// ----- readFile ------------------------------------------------------------------------------

size_t readFileOf(const Bytes& content, KelFileAccess::encodeType enc, KelString& text,
                  size_t count = 1000) {
    writeAll(pathIn("rf.txt"), content);
    KelFileAccess in(fileIn("rf.txt"), L"r", enc);
    return in.readFile(text, count);
}

TEST(KelFileAccess, ReadFile_Utf16LEWithMark_ReadsTheUnitsBehindIt) {
    KelString text;
    EXPECT_EQ(
        readFileOf(Bytes{0xFF, 0xFE, 'T', 0, 0xE4, 0, '\n', 0}, KelFileAccess::encodeNone, text),
        3u);
    EXPECT_EQ(text, KelString(L"T\u00E4\n"));
    EXPECT_EQ(
        readFileOf(Bytes{0xFF, 0xFE, 'a', 0, 'b', 0, 'c', 0}, KelFileAccess::encodeNone, text, 2),
        2u);
    EXPECT_EQ(text, KelString(L"ab"));
}

TEST(KelFileAccess, ReadFile_Utf16LEWithoutMark_IsTakenAsNarrowText) {
    // As written: no mark and not the UTF-8 mode, so the bytes go through
    // the narrow code page and the text ends at the first zero byte.
    KelString text;
    EXPECT_EQ(readFileOf(Bytes{'<', 0, '?', 0, 'x', 0}, KelFileAccess::encodeNone, text), 6u);
    EXPECT_EQ(text, KelString(L"<"));
}

TEST(KelFileAccess, ReadFile_Utf8WithMark_InThePlainMode_KeepsTheMarkCharacter) {
    // The bytes are narrow text here: the mark is U+FEFF where the narrow
    // code page is UTF-8, three characters in 1252.
    const std::string bytes = "\xEF\xBB\xBFh\xC3\xA4";
    const std::wstring expected =
        narrowIsUtf8() ? L"\uFEFFh\u00E4" : L"\u00EF\u00BB\u00BFh\u00C3\u00A4";
    std::string narrow;
    if (!narrowText(expected, narrow) || narrow != bytes)
        GTEST_SKIP() << kel::test::kNoNarrowSample << kelGetNarrowCodePage();
    KelString text;
    EXPECT_EQ(readFileOf(bytesOf(bytes), KelFileAccess::encodeNone, text), 6u);
    EXPECT_EQ(text, KelString(expected.c_str()));
}

TEST(KelFileAccess, ReadFile_Utf8WithMark_InTheUtf8Mode_StopsAtTheFirstZeroUnit) {
    // The encoded stream delivers UTF-16 units; text that is not an XML
    // declaration falls through to the narrow read, which ends at the zero
    // byte behind the first character. Kept as it is.
    KelString text;
    EXPECT_EQ(readFileOf(bytesOf("\xEF\xBB\xBFhi"), KelFileAccess::encodeUTF8, text), 4u);
    EXPECT_EQ(text, KelString(L"h"));
}

TEST(KelFileAccess, ReadFile_XmlInTheUtf8Mode_IsReadAsWideText) {
    const std::string xml = "<?xml version=\"1.0\"?><a>Tr\xC3\xA4ger</a>";
    const std::wstring expected = L"<?xml version=\"1.0\"?><a>Tr\u00E4ger</a>";
    KelString text;
    EXPECT_EQ(readFileOf(bytesOf(xml), KelFileAccess::encodeUTF8, text), expected.size());
    EXPECT_EQ(text, KelString(expected.c_str()));
    EXPECT_EQ(readFileOf(bytesOf("\xEF\xBB\xBF" + xml), KelFileAccess::encodeUTF8, text),
              expected.size());
    EXPECT_EQ(text, KelString(expected.c_str()));
}

TEST(KelFileAccess, ReadFile_XmlInThePlainMode_IsNarrowText) {
    std::string narrow;
    if (!narrowText(L"<?xml?>\u00E4", narrow))
        GTEST_SKIP() << kel::test::kNoNarrowSample << kelGetNarrowCodePage();
    KelString text;
    EXPECT_EQ(readFileOf(bytesOf(narrow), KelFileAccess::encodeNone, text), narrow.size());
    EXPECT_EQ(text, KelString(L"<?xml?>\u00E4"));
}

TEST(KelFileAccess, ReadFile_Utf8MarkAtByteTwo_ReadsUnitsFromByteFive) {
    // The probe looks at bytes 2 to 4 without rewinding, deliberately.
    KelString text;
    EXPECT_EQ(readFileOf(Bytes{'x', 'y', 0xEF, 0xBB, 0xBF, 'a', 0, 'b', 0},
                         KelFileAccess::encodeNone, text),
              2u);
    EXPECT_EQ(text, KelString(L"ab"));
}

TEST(KelFileAccess, ReadFile_LessThanFfQuestionInTheUtf8Mode_ReadsFromTheStart) {
    // U+FF3C delivers the units 3C FF, so bytes 2 to 4 hold '<' FF '?'.
    KelString text;
    EXPECT_EQ(readFileOf(bytesOf("x\xEF\xBC\xBC?"), KelFileAccess::encodeUTF8, text), 3u);
    EXPECT_EQ(text, KelString(L"x\uFF3C?"));
}

// ----- copies ---------------------------------------------------------------------------------

TEST(KelFileAccess, Copies_ShareTheStreamAndTheFirstCloseClosesItForBoth) {
    KelFileAccess first(fileIn("copy.txt"), L"w", KelFileAccess::encodeUTF8);
    KelFileAccess second(first);
    EXPECT_EQ(second.isOpen(), 1);
    second.puts(L"a");
    first.puts(L"b");
    second.close();
    EXPECT_EQ(first.isOpen(), 0);
    EXPECT_EQ(first.puts(L"c"), 0);
    KelFileAccess third;
    third = first;
    EXPECT_EQ(third.isOpen(), 0);
    EXPECT_EQ(readAll(pathIn("copy.txt")), bytesOf("\xEF\xBB\xBF"
                                                   "ab"));
}

TEST(KelFileAccess, DestroyingOneCopy_ClosesTheStreamForTheOther) {
    KelFileAccess survivor;
    {
        KelFileAccess file(fileIn("copy.txt"), L"w", KelFileAccess::encodeNone);
        survivor = file;
        EXPECT_EQ(survivor.isOpen(), 1);
    }
    EXPECT_EQ(survivor.isOpen(), 0);
}

// ----- static file operations ---------------------------------------------------------------

TEST(KelFileAccess, MakeDir_ExistingFolderIsSuccessMissingParentFails) {
    EXPECT_EQ(KelFileAccess::makeDir(fileIn("made")), 0);
    EXPECT_TRUE(std::filesystem::is_directory(pathIn("made")));
    EXPECT_EQ(KelFileAccess::makeDir(fileIn("made")), 0);
    EXPECT_EQ(KelFileAccess::makeDir(fileIn("missing/child")), -1);
    EXPECT_EQ(KelFileAccess::makeDir(fileIn("made\\sub")), 0);
    EXPECT_TRUE(std::filesystem::is_directory(pathIn("made/sub")));
}

TEST(KelFileAccess, RemoveAndRename_PassTheRuntimeResults) {
    writeAll(pathIn("a.txt"), bytesOf("a"));
    writeAll(pathIn("b.txt"), bytesOf("b"));
    EXPECT_EQ(KelFileAccess::renameFile(fileIn("a.txt"), fileIn("b.txt")), -1);
    EXPECT_EQ(KelFileAccess::renameFile(fileIn("a.txt"), fileIn("c.txt")), 0);
    EXPECT_EQ(readAll(pathIn("c.txt")), bytesOf("a"));
    EXPECT_EQ(KelFileAccess::removeFile(fileIn("c.txt")), 0);
    EXPECT_EQ(KelFileAccess::removeFile(fileIn("c.txt")), -1);
    std::filesystem::create_directory(pathIn("dir"));
    EXPECT_EQ(KelFileAccess::removeFile(fileIn("dir")), -1);
    EXPECT_TRUE(std::filesystem::exists(pathIn("dir")));
}

TEST(KelFileAccess, ChangeWorkingDir_MovesTheCurrentFolder) {
    std::filesystem::create_directory(pathIn("here"));
    EXPECT_EQ(KelFileAccess::changeWorkingDir(fileIn("here")), 0);
    EXPECT_EQ(std::filesystem::current_path(), std::filesystem::path(pathIn("here")));
    EXPECT_EQ(KelFileAccess::changeWorkingDir(fileIn("nowhere")), -1);
}

}  // namespace
