// The internal stream layer: mode strings and the encoded streams' edges.

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "file_test_support.h"
#include "files/text_stream.h"
#include "support/system.h"

namespace {

// On Windows the runtime's own encoded modes do this work, in text mode
// (CR LF line ends), with the system's code page (1252 under Wine) and
// with its own byte-order-mark handling; these expected bytes are those of
// the library's transcoding layer for other systems.
constexpr char kWindowsRuntimeDiffers[] =
    "expects the bytes of the library's own transcoding layer; the Windows runtime's "
    "encoded text modes differ (open item of the Windows half)";

using kel::detail::ModeEncoding;
using kel::detail::parseStreamMode;
using kel::test::Bytes;
using kel::test::bytesOf;
using kel::test::pathIn;
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
    KEL_SKIP_ON_WINDOWS(kWindowsRuntimeDiffers);
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

TEST(TextStream, UpdateModes_ReadAndWriteTheSameEncoding) {
    KEL_SKIP_ON_WINDOWS(kWindowsRuntimeDiffers);
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
