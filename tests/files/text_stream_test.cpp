// The internal stream layer: mode strings and the encoded streams' edges.

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <string>

#include "file_test_support.h"
#include "files/text_stream.h"
#include "support/system.h"

namespace {

using kel::detail::ModeEncoding;
using kel::detail::parseStreamMode;
using kel::test::Bytes;
using kel::test::bytesOf;
using kel::test::inTextMode;
using kel::test::pathIn;
using kel::test::readInTextMode;
using kel::test::writeAll;

TEST(parseStreamMode, TakesTheRuntimesModeStrings) {
    auto mode = parseStreamMode(L"r");
    EXPECT_TRUE(mode.valid);
    EXPECT_EQ(mode.access, 'r');
    EXPECT_FALSE(mode.update);
    EXPECT_EQ(mode.encoding, ModeEncoding::None);
    mode = parseStreamMode(L"w+b, ccs=UTF-16LE");
    EXPECT_TRUE(mode.valid);
    EXPECT_EQ(mode.access, 'w');
    EXPECT_TRUE(mode.update);
    EXPECT_EQ(mode.encoding, ModeEncoding::Utf16Le);
    EXPECT_EQ(parseStreamMode(L"a,ccs=unicode").encoding, ModeEncoding::Unicode);
    EXPECT_EQ(parseStreamMode(L"rt, ccs = UTF-8 ").encoding, ModeEncoding::Utf8);
    EXPECT_TRUE(parseStreamMode(L"wx").exclusive);
    EXPECT_FALSE(parseStreamMode(L"").valid);
    EXPECT_FALSE(parseStreamMode(L"z").valid);
    EXPECT_FALSE(parseStreamMode(L"rq").valid);
    EXPECT_FALSE(parseStreamMode(L"rx").valid);
    EXPECT_FALSE(parseStreamMode(L"r, ccs=UTF-32").valid);
    EXPECT_FALSE(parseStreamMode(L"r, css=UTF-8").valid);
    EXPECT_FALSE(parseStreamMode(L"r").binary);
    EXPECT_TRUE(parseStreamMode(L"rb, ccs=UTF-8").binary);
    EXPECT_FALSE(parseStreamMode(L"rbt").binary);
}

TEST(runtimeModeOf, DropsTheEncodingAndTheExclusiveFlag) {
    using kel::detail::runtimeModeOf;
    EXPECT_EQ(runtimeModeOf(L"w+t, ccs=UTF-8", true), L"w+b");
    EXPECT_EQ(runtimeModeOf(L" a,ccs=UNICODE", true), L"ab");
    EXPECT_EQ(runtimeModeOf(L"rbN", true), L"rNb");
    EXPECT_EQ(runtimeModeOf(L"wxt", false), L"wt");
    EXPECT_EQ(runtimeModeOf(L"r", false), L"r");
}

std::FILE* openWith(const std::string& name, const wchar_t* mode) {
    std::FILE* stream = nullptr;
    EXPECT_EQ(kel::detail::openTextStream(&stream, kel::test::widePathIn(name), mode), 0);
    return stream;
}

TEST(TextStream, InvalidUtf8_BecomesReplacementCharacters) {
    writeAll(pathIn("bad.txt"), Bytes{'a', 0xC3, 'b', 0xFF, 0xE2, 0x82, 'c'});
    std::FILE* stream = openWith("bad.txt", L"r, ccs=UTF-8");
    std::wstring text;
    wchar_t c = 0;
    while (kel::detail::readWideChar(stream, c))
        text += c;
    EXPECT_EQ(text, L"a\uFFFDb\uFFFD\uFFFDc");
    kel::detail::closeTextStream(stream);
}

TEST(TextStream, UnpairedSurrogatesInUtf16_StandForThemselves) {
    writeAll(pathIn("s.txt"), Bytes{0xFF, 0xFE, 0x00, 0xD8, 'a', 0, 0x00, 0xDC});
    std::FILE* stream = openWith("s.txt", L"r, ccs=UTF-16LE");
    std::wstring text;
    wchar_t c = 0;
    while (kel::detail::readWideChar(stream, c))
        text += c;
    EXPECT_EQ(text, std::wstring({wchar_t(0xD800), L'a', wchar_t(0xDC00)}));
    kel::detail::closeTextStream(stream);
}

TEST(TextStream, Utf16FileEndingInsideASurrogatePair_KeepsTheHighSurrogate) {
    // Ends right behind the high surrogate, and one byte into the low one.
    const std::vector<Bytes> files = {Bytes{0xFF, 0xFE, 'a', 0, 0x3D, 0xD8},
                                      Bytes{0xFF, 0xFE, 'a', 0, 0x3D, 0xD8, 0x00}};
    for (const Bytes& bytes : files) {
        SCOPED_TRACE(bytes.size());
        writeAll(pathIn("cut.txt"), bytes);
        std::FILE* stream = openWith("cut.txt", L"r, ccs=UTF-16LE");
        std::wstring text;
        wchar_t c = 0;
        while (kel::detail::readWideChar(stream, c))
            text += c;
        EXPECT_EQ(text, std::wstring({L'a', wchar_t(0xD83D)}));
        kel::detail::closeTextStream(stream);
    }
}

TEST(TextStream, OddByteReads_KeepTheRestOfAUnitForTheNextRead) {
    writeAll(pathIn("o.txt"), bytesOf("\xF0\x9F\x98\x80"));
    std::FILE* stream = openWith("o.txt", L"r, ccs=UTF-8");
    unsigned char bytes[4] = {};
    EXPECT_EQ(kel::detail::readBytes(bytes, 1, 1, stream), 1u);
    EXPECT_EQ(kel::detail::readBytes(bytes + 1, 1, 3, stream), 3u);
    EXPECT_EQ(Bytes(bytes, bytes + 4), (Bytes{0x3D, 0xD8, 0x00, 0xDE}));
    EXPECT_EQ(kel::detail::readBytes(bytes, 1, 1, stream), 0u);
    EXPECT_NE(kel::detail::streamEof(stream), 0);
    kel::detail::closeTextStream(stream);
}

TEST(TextStream, RewindingAnEncodedStream_LandsBehindTheMark) {
    writeAll(pathIn("m.txt"), Bytes{0xFF, 0xFE, 'x', 0});
    std::FILE* stream = openWith("m.txt", L"r, ccs=UNICODE");
    long long position = 0;
    EXPECT_EQ(kel::detail::tellStream(stream, position), 0);
    EXPECT_EQ(position, 2);
    EXPECT_EQ(kel::detail::readUtf16Unit(stream), 'x');
    EXPECT_EQ(kel::detail::seekStream(stream, 0, SEEK_SET), 0);
    EXPECT_EQ(kel::detail::readUtf16Unit(stream), 'x');
    EXPECT_EQ(kel::detail::seekStream(stream, 1, SEEK_SET), 0);
    EXPECT_EQ(kel::detail::readUtf16Unit(stream), 'x');
    kel::detail::closeTextStream(stream);
}

TEST(TextStream, ClosingWithFclose_ForgetsTheStream) {
    std::FILE* stream = openWith("c.txt", L"w, ccs=UTF-8");
    EXPECT_TRUE(kel::detail::isEncodedStream(stream));
    std::fclose(stream);
    std::FILE* plain = openWith("d.txt", L"w");
    EXPECT_FALSE(kel::detail::isEncodedStream(plain));
    kel::detail::closeTextStream(plain);
}

std::wstring readAllWide(std::FILE* stream) {
    std::wstring text;
    wchar_t c = 0;
    while (kel::detail::readWideChar(stream, c))
        text += c;
    return text;
}

// ----- line ends -----------------------------------------------------------------------

TEST(TextStream, TextMode_WritesTheSystemsLineEnds) {
    std::FILE* stream = openWith("t16.txt", L"w, ccs=UTF-16LE");
    EXPECT_EQ(kel::detail::writeWide(stream, L"a\nb\n"), 0);
    kel::detail::closeTextStream(stream);
    EXPECT_EQ(kel::test::readAll(pathIn("t16.txt")),
              inTextMode(Bytes{0xFF, 0xFE, 'a', 0, '\n', 0, 'b', 0, '\n', 0}, 2));
    stream = openWith("t8.txt", L"wt, ccs=UTF-8");
    EXPECT_EQ(kel::detail::writeNarrow(stream, "\n\n"), 0);
    kel::detail::closeTextStream(stream);
    EXPECT_EQ(kel::test::readAll(pathIn("t8.txt")), inTextMode(bytesOf("\xEF\xBB\xBF\n\n")));
}

TEST(TextStream, TextMode_ReadsTheSystemsLineEnds) {
    // A "\r" that no "\n" follows stays, at the end of the file too.
    const std::wstring text = L"a\r\nb\rc\r\r\nd\r";
    writeAll(pathIn("r8.txt"), bytesOf("\xEF\xBB\xBF" + kel::test::narrowPath(text)));
    std::FILE* stream = openWith("r8.txt", L"r, ccs=UTF-8");
    EXPECT_EQ(readAllWide(stream), readInTextMode(text));
    kel::detail::closeTextStream(stream);
    writeAll(pathIn("r16.txt"), Bytes{0xFF, 0xFE, 'a', 0, '\r', 0, '\n', 0, '\r', 0});
    stream = openWith("r16.txt", L"r, ccs=UTF-16LE");
    EXPECT_EQ(readAllWide(stream), readInTextMode(L"a\r\n\r"));
    kel::detail::closeTextStream(stream);
}

TEST(TextStream, BinaryMode_KeepsLineEndsAsTheyAre) {
    std::FILE* stream = openWith("b.txt", L"wb, ccs=UTF-16LE");
    EXPECT_EQ(kel::detail::writeWide(stream, L"a\r\nb\n"), 0);
    kel::detail::closeTextStream(stream);
    const Bytes bytes{0xFF, 0xFE, 'a', 0, '\r', 0, '\n', 0, 'b', 0, '\n', 0};
    EXPECT_EQ(kel::test::readAll(pathIn("b.txt")), bytes);
    stream = openWith("b.txt", L"rb, ccs=UNICODE");
    EXPECT_EQ(readAllWide(stream), L"a\r\nb\n");
    kel::detail::closeTextStream(stream);
}

TEST(TextStream, TextMode_ReadBytesAndUnitsSeeTheSameLineEnds) {
    writeAll(pathIn("u.txt"), Bytes{0xFF, 0xFE, 'a', 0, '\r', 0, '\n', 0, 'b', 0});
    const std::wstring expected = readInTextMode(L"a\r\nb");
    std::FILE* stream = openWith("u.txt", L"r, ccs=UTF-16LE");
    unsigned char units[16] = {};
    const size_t count = kel::detail::readBytes(units, 2, 8, stream);
    ASSERT_EQ(count, expected.size());
    for (size_t i = 0; i < count; ++i)
        EXPECT_EQ(units[2 * i] | (units[2 * i + 1] << 8), static_cast<int>(expected[i]));
    EXPECT_EQ(kel::detail::seekStream(stream, 0, SEEK_SET), 0);
    for (wchar_t c : expected)
        EXPECT_EQ(kel::detail::readUtf16Unit(stream), static_cast<int>(c));
    EXPECT_EQ(kel::detail::readUtf16Unit(stream), -1);
    kel::detail::closeTextStream(stream);
}

TEST(TextStream, TextMode_PositionsStayByteOffsets) {
    writeAll(pathIn("p.txt"), bytesOf("\xEF\xBB\xBF"
                                      "ab\r\ncd"));
    std::FILE* stream = openWith("p.txt", L"r, ccs=UTF-8");
    char line[16] = {};
    ASSERT_NE(kel::detail::readNarrowLine(line, sizeof line, stream), nullptr);
    EXPECT_EQ(std::string(line), kel::test::kWindows ? "ab\n" : "ab\r\n");
    long long position = 0;
    EXPECT_EQ(kel::detail::tellStream(stream, position), 0);
    EXPECT_EQ(position, 7);
    kel::detail::closeTextStream(stream);
}

TEST(TextStream, GivenBackCharacters_ComeFirstForEveryRead) {
    // The scan of "12" looks at the "\r\n" behind it and gives it back.
    writeAll(pathIn("g.txt"), Bytes{0xFF, 0xFE, '1', 0, '2', 0, '\r', 0, '\n', 0, 'x', 0});
    std::FILE* stream = openWith("g.txt", L"r, ccs=UTF-16LE");
    int value = 0;
    EXPECT_EQ(kel::detail::scanInt(stream, value), 1);
    EXPECT_EQ(value, 12);
    long long position = 0;
    EXPECT_EQ(kel::detail::tellStream(stream, position), 0);
    EXPECT_EQ(position, 6);
    EXPECT_EQ(kel::detail::streamEof(stream), 0);
    char line[16] = {};
    ASSERT_NE(kel::detail::readNarrowLine(line, sizeof line, stream), nullptr);
    EXPECT_EQ(std::string(line), kel::test::kWindows ? "\n" : "\r\n");
    EXPECT_EQ(kel::detail::readUtf16Unit(stream), 'x');
    kel::detail::closeTextStream(stream);

    // The same on a plain stream, where the bytes come back through fgets
    // and fread.
    writeAll(pathIn("p.txt"), bytesOf("7 rest\nmore"));
    stream = openWith("p.txt", L"r");
    EXPECT_EQ(kel::detail::scanInt(stream, value), 1);
    EXPECT_EQ(value, 7);
    ASSERT_NE(kel::detail::readNarrowLine(line, sizeof line, stream), nullptr);
    EXPECT_EQ(std::string(line), " rest\n");
    EXPECT_EQ(kel::detail::scanInt(stream, value), 0);
    char bytes[8] = {};
    EXPECT_EQ(kel::detail::readBytes(bytes, 1, sizeof bytes, stream), 4u);
    EXPECT_EQ(std::string(bytes, 4), "more");
    kel::detail::closeTextStream(stream);
}

TEST(TextStream, WritingAfterAScan_WritesWhereReadingStands) {
    writeAll(pathIn("w.txt"), Bytes{0xFF, 0xFE, '5', 0, ' ', 0, 'x', 0});
    std::FILE* stream = openWith("w.txt", L"r+, ccs=UTF-16LE");
    int value = 0;
    EXPECT_EQ(kel::detail::scanInt(stream, value), 1);
    EXPECT_EQ(kel::detail::writeWide(stream, L"!"), 0);
    kel::detail::closeTextStream(stream);
    EXPECT_EQ(kel::test::readAll(pathIn("w.txt")), (Bytes{0xFF, 0xFE, '5', 0, '!', 0, 'x', 0}));
}

TEST(TextStream, CharactersBeyondTheBasicPlane_ComeAsOneOrTwoWideCharacters) {
    writeAll(pathIn("e.txt"), bytesOf("\xF0\x9F\x98\x80z"));
    std::FILE* stream = openWith("e.txt", L"r, ccs=UTF-8");
    const std::wstring text = readAllWide(stream);
    kel::detail::closeTextStream(stream);
    EXPECT_EQ(text, L"\U0001F600z");
    EXPECT_EQ(text.size(), sizeof(wchar_t) == 2 ? 3u : 2u);
}

TEST(TextStream, ExclusiveCreation_RefusesAnExistingFile) {
    std::FILE* stream = openWith("x.txt", L"wx, ccs=UTF-8");
    EXPECT_EQ(kel::detail::writeWide(stream, L"a"), 0);
    kel::detail::closeTextStream(stream);
    EXPECT_EQ(kel::test::readAll(pathIn("x.txt")), bytesOf("\xEF\xBB\xBF"
                                                           "a"));
    stream = reinterpret_cast<std::FILE*>(1);
    EXPECT_EQ(kel::detail::openTextStream(&stream, kel::test::widePathIn("x.txt"), L"w+x"), EEXIST);
    EXPECT_EQ(stream, nullptr);
    EXPECT_EQ(kel::test::readAll(pathIn("x.txt")), bytesOf("\xEF\xBB\xBF"
                                                           "a"));
}

TEST(TextStream, UpdateModes_ReadAndWriteTheSameEncoding) {
    std::FILE* stream = openWith("u.txt", L"w+, ccs=UTF-16LE");
    EXPECT_EQ(kel::detail::writeWide(stream, L"\u00E4b"), 0);
    EXPECT_EQ(kel::detail::seekStream(stream, 0, SEEK_SET), 0);
    EXPECT_EQ(kel::detail::readUtf16Unit(stream), 0xE4);
    EXPECT_EQ(kel::detail::readUtf16Unit(stream), 'b');
    EXPECT_EQ(kel::detail::readUtf16Unit(stream), -1);
    kel::detail::closeTextStream(stream);
    EXPECT_EQ(kel::test::readAll(pathIn("u.txt")), (Bytes{0xFF, 0xFE, 0xE4, 0, 'b', 0}));
}

}  // namespace
