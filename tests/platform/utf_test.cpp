#include <gtest/gtest.h>

#include <string>

#include "platform/utf.h"

using kel::detail::utf16ToWide;
using kel::detail::utf8ToWide;
using kel::detail::wideToUtf16;
using kel::detail::wideToUtf8;

namespace {

// U+1F600 as the platform's wide text: one character, or a surrogate pair
// where wchar_t is 16 bits.
std::wstring grinningFace() {
    if (kel::detail::kWideIsUtf16)
        return std::wstring{wchar_t(0xD83D), wchar_t(0xDE00)};
    return std::wstring(1, wchar_t(0x1F600));
}

std::wstring replacements(size_t n) {
    return std::wstring(n, wchar_t(0xFFFD));
}

}  // namespace

TEST(Utf8ToWide, DecodesOneToFourByteSequences) {
    EXPECT_EQ(utf8ToWide("a\xC3\xA9\xE2\x82\xAC"), L"a\u00E9\u20AC");
    EXPECT_EQ(utf8ToWide("\xF0\x9F\x98\x80"), grinningFace());
}

TEST(Utf8ToWide, ReplacesEachMaximalInvalidSequence) {
    struct Case {
        const char* bytes;
        std::wstring expected;
    };
    const Case cases[] = {
        {"\xC3", replacements(1)},              // truncated two-byte sequence
        {"\xE2\x82", replacements(1)},          // truncated three-byte sequence
        {"\xE2\x82x", replacements(1) + L"x"},  // broken, decoding resumes at x
        {"\xC0\xAF", replacements(2)},          // overlong lead bytes are invalid
        {"\xED\xA0\x80", replacements(3)},      // an encoded surrogate
        {"\xF4\x90\x80\x80", replacements(4)},  // beyond U+10FFFF
        {"\x80", replacements(1)},              // a lone continuation byte
        {"\xFF"
         "a",
         replacements(1) + L"a"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(utf8ToWide(c.bytes), c.expected) << "input " << c.bytes;
    }
}

TEST(Utf8ToWide, MeasuresWithZeroCapacity) {
    EXPECT_EQ(kel::detail::utf8ToWide("abc", 3, nullptr, 0), 3u);
    wchar_t two[2] = {};
    EXPECT_EQ(kel::detail::utf8ToWide("abc", 3, two, 2), 3u);
    EXPECT_EQ(two[0], L'a');
    EXPECT_EQ(two[1], L'b');
}

TEST(WideToUtf8, EncodesAndMeasures) {
    EXPECT_EQ(wideToUtf8(L"a\u00E9\u20AC"), "a\xC3\xA9\xE2\x82\xAC");
    EXPECT_EQ(wideToUtf8(grinningFace()), "\xF0\x9F\x98\x80");
}

TEST(WideToUtf8, LoneSurrogateBecomesTheReplacement) {
    const wchar_t lone[] = {L'a', wchar_t(0xD800), L'b'};
    char out[16] = {};
    bool used = false;
    const size_t n = kel::detail::wideToUtf8(lone, 3, out, sizeof out, "?", &used);
    EXPECT_EQ(std::string(out, n), "a?b");
    EXPECT_TRUE(used);
    EXPECT_EQ(wideToUtf8(std::wstring(lone, 3)),
              "a\xEF\xBF\xBD"
              "b");
}

TEST(Utf16, SurrogatePairsBecomeOneCharacterAndBack) {
    const unsigned short units[] = {0x41, 0xD83D, 0xDE00, 0};
    EXPECT_EQ(utf16ToWide(units), L"A" + grinningFace());
    const std::wstring wide = L"A" + grinningFace();
    const kel::detail::Utf16String back = wideToUtf16(wide.data(), wide.size());
    EXPECT_EQ(back, (kel::detail::Utf16String{0x41, 0xD83D, 0xDE00}));
}

TEST(Utf16, UnpairedSurrogatePassesThrough) {
    const unsigned short units[] = {0xD800, 0x61, 0xDC00, 0};
    const std::wstring wide = utf16ToWide(units);
    ASSERT_EQ(wide.size(), 3u);
    EXPECT_EQ(static_cast<unsigned>(wide[0]), 0xD800u);
    EXPECT_EQ(wide[1], L'a');
    EXPECT_EQ(static_cast<unsigned>(wide[2]), 0xDC00u);
    EXPECT_EQ(wideToUtf16(wide.data(), wide.size()),
              (kel::detail::Utf16String{0xD800, 0x61, 0xDC00}));
}

TEST(Utf16, NullAndEmpty) {
    EXPECT_EQ(utf16ToWide(static_cast<const unsigned short*>(nullptr)), L"");
    EXPECT_EQ(kel::detail::utf16Length(nullptr), 0u);
    const unsigned short empty[] = {0};
    EXPECT_EQ(utf16ToWide(empty), L"");
}
