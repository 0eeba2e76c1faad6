// The character classes of the Windows runtime's iswalpha, iswdigit and
// iswspace, from the Unicode Character Database and independent of the C
// library's locale, so that every system classifies text alike.
//
//   isUnicodeAlphabetic(0x00E4);  // true: "ä"
//   isUnicodeSpace(0x3000);       // true: the ideographic space
//
// Alphabetic: letters and letter numbers (Roman numerals). Digit: decimal
// digits of every script, and the superscripts "²", "³" and "¹", which the
// runtime counts as digits. Space: the separators of Unicode and tab, line
// feed, vertical tab, form feed, carriage return and next line (U+0085).
// Surrogate code points belong to no class. unicode_class.cpp is generated
// by scripts/gen-unicode-tables.py.

#ifndef KEL_PLATFORM_UNICODE_CLASS_H
#define KEL_PLATFORM_UNICODE_CLASS_H

#include <cstdint>
#include <type_traits>

namespace kel::detail {

bool isUnicodeAlphabetic(uint32_t code);
bool isUnicodeDigit(uint32_t code);
bool isUnicodeSpace(uint32_t code);

// The Unicode version the tables were generated from, such as "14.0.0".
const char* unicodeClassVersion();

// A wide character as a code point: its unsigned value (a UTF-16 unit where
// wchar_t has 16 bits, so a surrogate half is in no class).
inline uint32_t codePoint(wchar_t c) {
    return static_cast<uint32_t>(static_cast<std::make_unsigned_t<wchar_t>>(c));
}

inline bool isWideAlphabetic(wchar_t c) {
    return isUnicodeAlphabetic(codePoint(c));
}
inline bool isWideDigit(wchar_t c) {
    return isUnicodeDigit(codePoint(c));
}
inline bool isWideAlphaNumeric(wchar_t c) {
    return isWideAlphabetic(c) || isWideDigit(c);
}
inline bool isWideSpace(wchar_t c) {
    return isUnicodeSpace(codePoint(c));
}

}  // namespace kel::detail

#endif  // KEL_PLATFORM_UNICODE_CLASS_H
