// The character classes of the runtime's iswalpha, iswdigit and iswspace,
// from the library's Unicode tables.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "platform/unicode_class.h"
#include "support/system.h"

#if defined(_WIN32)
#include <windows.h>
#endif

using kel::detail::isUnicodeAlphabetic;
using kel::detail::isUnicodeDigit;
using kel::detail::isUnicodeSpace;

TEST(UnicodeClass, TablesComeFromAKnownUnicodeVersion) {
    EXPECT_STREQ(kel::detail::unicodeClassVersion(), "14.0.0");
}

TEST(UnicodeClass, AsciiAsTheCLocaleHasIt) {
    for (uint32_t c = 0; c < 0x80; ++c) {
        const bool letter = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
        const bool digit = c >= '0' && c <= '9';
        const bool space = c == ' ' || (c >= '\t' && c <= '\r');
        EXPECT_EQ(isUnicodeAlphabetic(c), letter) << c;
        EXPECT_EQ(isUnicodeDigit(c), digit) << c;
        EXPECT_EQ(isUnicodeSpace(c), space) << c;
    }
}

TEST(UnicodeClass, LettersAndLetterNumbersAreAlphabetic) {
    for (uint32_t c : {0x00AAu, 0x00B5u, 0x00BAu, 0x00C0u, 0x00DFu,  0x00E4u,  0x00FFu,
                       0x0101u, 0x01C5u, 0x02B0u, 0x0394u, 0x0411u,  0x05D0u,  0x0627u,
                       0x0905u, 0x0E01u, 0x1E9Eu, 0x2160u, 0x3005u,  0x3042u,  0x30ABu,
                       0x4E00u, 0x9FFFu, 0xAC00u, 0xFF21u, 0x10400u, 0x20000u, 0x2A6DFu}) {
        EXPECT_TRUE(isUnicodeAlphabetic(c)) << std::hex << c;
        EXPECT_FALSE(isUnicodeDigit(c)) << std::hex << c;
        EXPECT_FALSE(isUnicodeSpace(c)) << std::hex << c;
    }
    // Marks, symbols, punctuation, unassigned and surrogate code points are
    // not letters.
    for (uint32_t c :
         {0x00D7u, 0x00F7u, 0x0301u, 0x093Eu, 0x2013u, 0x20ACu, 0x3000u, 0x3001u, 0xD800u, 0xDFFFu,
          0xE000u, 0xFFFDu, 0x0378u, 0x1F600u, 0x110000u, 0xFFFFFFFFu}) {
        EXPECT_FALSE(isUnicodeAlphabetic(c)) << std::hex << c;
    }
}

TEST(UnicodeClass, DecimalDigitsOfEveryScript) {
    for (uint32_t zero : {0x0030u, 0x0660u, 0x06F0u, 0x0966u, 0x0E50u, 0xFF10u, 0x1D7CEu}) {
        for (uint32_t c = zero; c < zero + 10; ++c)
            EXPECT_TRUE(isUnicodeDigit(c)) << std::hex << c;
    }
    // Deliberate: the superscripts two, three and one of the first 256
    // characters are digits, as the runtime's own table has them.
    EXPECT_TRUE(isUnicodeDigit(0x00B2));
    EXPECT_TRUE(isUnicodeDigit(0x00B3));
    EXPECT_TRUE(isUnicodeDigit(0x00B9));
    for (uint32_t c : {0x00BCu, 0x00BDu, 0x2070u, 0x2074u, 0x2160u, 0x2460u, 0x3007u})
        EXPECT_FALSE(isUnicodeDigit(c)) << std::hex << c;
}

TEST(UnicodeClass, WhiteSpace) {
    for (uint32_t c : {0x0009u, 0x000Au, 0x000Bu, 0x000Cu, 0x000Du, 0x0020u, 0x0085u, 0x00A0u,
                       0x1680u, 0x2000u, 0x200Au, 0x2028u, 0x2029u, 0x202Fu, 0x205Fu, 0x3000u}) {
        EXPECT_TRUE(isUnicodeSpace(c)) << std::hex << c;
    }
    for (uint32_t c : {0x0000u, 0x0008u, 0x000Eu, 0x001Cu, 0x001Fu, 0x180Eu, 0x200Bu, 0xFEFFu})
        EXPECT_FALSE(isUnicodeSpace(c)) << std::hex << c;
}

TEST(UnicodeClass, WideCharactersAsCodePoints) {
    EXPECT_TRUE(kel::detail::isWideAlphabetic(L'\u00E9'));
    EXPECT_TRUE(kel::detail::isWideAlphaNumeric(L'7'));
    EXPECT_TRUE(kel::detail::isWideAlphaNumeric(L'\u4E2D'));
    EXPECT_FALSE(kel::detail::isWideAlphaNumeric(L'_'));
    EXPECT_TRUE(kel::detail::isWideSpace(L'\u3000'));
    EXPECT_TRUE(kel::detail::isWideDigit(L'\u0663'));
    // A surrogate half, as a 16-bit wide character holds it, is in no class.
    const wchar_t high = static_cast<wchar_t>(0xD840);
    EXPECT_FALSE(kel::detail::isWideAlphabetic(high));
}

#if defined(_WIN32)

// The same classes as the C runtime of current Windows (ucrtbase.dll) has
// them, on every character of the first 592 and on a sample of others.
TEST(UnicodeClass, AsTheWindowsRuntimeHasThem) {
    HMODULE runtime = LoadLibraryW(L"ucrtbase.dll");
    if (runtime == nullptr)
        GTEST_SKIP() << "ucrtbase.dll is not installed";
    using Test = int(__cdecl*)(wint_t);
    const auto alpha = reinterpret_cast<Test>(GetProcAddress(runtime, "iswalpha"));
    const auto digit = reinterpret_cast<Test>(GetProcAddress(runtime, "iswdigit"));
    const auto space = reinterpret_cast<Test>(GetProcAddress(runtime, "iswspace"));
    ASSERT_TRUE(alpha != nullptr && digit != nullptr && space != nullptr);
    std::vector<uint32_t> sample;
    for (uint32_t c = 0; c < 0x250; ++c)
        sample.push_back(c);
    for (uint32_t c :
         {0x02B0u, 0x0301u, 0x0394u, 0x0411u, 0x05D0u, 0x0627u, 0x0660u, 0x0669u, 0x06F5u,
          0x0905u, 0x093Eu, 0x0966u, 0x0E01u, 0x0E50u, 0x1680u, 0x180Eu, 0x1E9Eu, 0x2000u,
          0x200Au, 0x200Bu, 0x2028u, 0x2029u, 0x202Fu, 0x205Fu, 0x2070u, 0x2074u, 0x20ACu,
          0x2160u, 0x2460u, 0x3000u, 0x3005u, 0x3007u, 0x3042u, 0x30ABu, 0x4E00u, 0x9FA5u,
          0xAC00u, 0xD800u, 0xE000u, 0xFEFFu, 0xFF10u, 0xFF21u, 0xFFFDu}) {
        sample.push_back(c);
    }
    for (uint32_t c : sample) {
        const auto w = static_cast<wint_t>(c);
        EXPECT_EQ(isUnicodeAlphabetic(c), alpha(w) != 0) << std::hex << c;
        EXPECT_EQ(isUnicodeDigit(c), digit(w) != 0) << std::hex << c;
        EXPECT_EQ(isUnicodeSpace(c), space(w) != 0) << std::hex << c;
    }
    FreeLibrary(runtime);
}

#endif
