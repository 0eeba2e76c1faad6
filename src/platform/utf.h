// UTF-8 and UTF-16 codecs for the library's wide text.
//
// The wide character is wchar_t: UTF-16 where it is 16 bits wide (Windows),
// UTF-32 where it is 32 bits wide (Linux). These routines convert between
// that and UTF-8 bytes or 16-bit code units. Invalid input never stops a
// conversion: each maximal invalid byte sequence decodes to U+FFFD, and a
// character that cannot be encoded becomes the caller's replacement.

#ifndef KEL_PLATFORM_UTF_H
#define KEL_PLATFORM_UTF_H

#include <cstddef>
#include <string>
#include <string_view>

namespace kel::detail {

constexpr wchar_t kReplacementCharacter = 0xFFFD;

// True where wchar_t holds UTF-16 code units.
constexpr bool kWideIsUtf16 = sizeof(wchar_t) == 2;

using Utf16String = std::basic_string<unsigned short>;

// Decodes `length` bytes of UTF-8. Writes at most `capacity` wide characters
// to `out` (which may be null when `capacity` is 0) and returns the number
// the whole input needs, so a first call with capacity 0 measures.
size_t utf8ToWide(const char* in, size_t length, wchar_t* out, size_t capacity);

// Encodes `length` wide characters as UTF-8, `replacement` standing for each
// character that has no encoding (a lone surrogate, a value beyond U+10FFFF).
// A null `replacement` encodes U+FFFD instead. `usedReplacement`, when not
// null, is set to whether a replacement occurred. Returns the bytes needed.
size_t wideToUtf8(const wchar_t* in, size_t length, char* out, size_t capacity,
                  const char* replacement, bool* usedReplacement);

// 16-bit code units to wide characters and back. Where wchar_t is 32 bits a
// surrogate pair becomes one character and an unpaired surrogate passes
// through as its own value; where it is 16 bits the units are copied.
std::wstring utf16ToWide(const unsigned short* in, size_t length);
std::wstring utf16ToWide(const unsigned short* zeroTerminated);
Utf16String wideToUtf16(const wchar_t* in, size_t length);

// Length of a zero-terminated string of 16-bit units (0 for null).
size_t utf16Length(const unsigned short* text);

std::wstring utf8ToWide(std::string_view text);
std::string wideToUtf8(std::wstring_view text);

}  // namespace kel::detail

#endif  // KEL_PLATFORM_UTF_H
