// printf-style formatting with the Windows runtime's conventions, for every
// formatting entry point of the library.
//
// In a wide format %s and %c take wide arguments and %S and %C narrow ones;
// in a narrow format it is the other way round. %hs/%hc are always narrow,
// %ls/%lc/%ws/%wc always wide. The size prefixes I64, I32 and I are
// accepted, %p prints 16 upper-case hexadecimal digits (8 on 32-bit builds)
// without a prefix ("%#p" puts "0X" before a pointer that is not null), a
// null string prints "(null)", and %n is refused. The 0 flag pads strings
// and characters with zeros too ("%05s" of "ab" is "000ab").
// Narrow and wide arguments meet through the narrow code page.
//
//   wchar_t buffer[64];
//   va_list args = ...;
//   int n = formatBounded(buffer, 64, L"%s=%I64d", args);  // wide %s

#ifndef KEL_PLATFORM_FORMAT_H
#define KEL_PLATFORM_FORMAT_H

#include <cstdarg>
#include <cstddef>
#include <string>

namespace kel::detail {

// How the wide string and character arguments of a wide format are passed:
// as wchar_t, or as 16-bit units (the unsigned short entry points).
enum class WideArgs { Native, Utf16 };

// The outcome of one formatting run.
enum class FormatStatus { Ok, Overflow, BadFormat };

// Formats into `buffer` of `capacity` characters (terminator included).
// Returns the length written; on failure `buffer` holds "" (when capacity
// allows), the invalid-parameter handler has been called and the result is
// -1. `status`, when not null, tells what happened.
int formatBounded(wchar_t* buffer, size_t capacity, const wchar_t* format, va_list args,
                  WideArgs wideArgs = WideArgs::Native, FormatStatus* status = nullptr);
int formatBounded(char* buffer, size_t capacity, const char* format, va_list args,
                  FormatStatus* status = nullptr);

// Formats into a new string of any length. A bad format gives "" after the
// invalid-parameter handler has been called. `status`, when not null, tells
// what happened.
std::wstring formatToString(const wchar_t* format, va_list args,
                            WideArgs wideArgs = WideArgs::Native, FormatStatus* status = nullptr);
std::string formatToString(const char* format, va_list args, FormatStatus* status = nullptr);

}  // namespace kel::detail

#endif  // KEL_PLATFORM_FORMAT_H
