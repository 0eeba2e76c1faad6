// The bounded ("_s") string, path, number and clock routines of the Windows
// C runtime, implemented once for every system and every character width.
//
// Each template works on units of one width: char (narrow text), wchar_t
// (the library's wide text) and unsigned short (UTF-16 units of the 16-bit
// entry points). The rules are the runtime's: a null destination or a size
// of 0 is EINVAL; a result that does not fit is ERANGE and leaves the
// destination empty, unless the count is _TRUNCATE, which cuts the result
// and gives STRUNCATE; each of these calls the invalid-parameter handler
// first (except STRUNCATE) and sets errno to the error returned.
//
//   wchar_t buffer[8];
//   copyString(buffer, 8, L"too long for it");      // ERANGE, buffer ""
//   copyStringN(buffer, 8, L"too long", _TRUNCATE);  // STRUNCATE, "too lon"

#ifndef KEL_TEXT_SAFE_RUNTIME_H
#define KEL_TEXT_SAFE_RUNTIME_H

#include <kel/KelPlatformTypes.h>

#include <cstddef>
#include <ctime>
#include <string>

namespace kel::detail {

// The runtime's error numbers, the same on every system.
constexpr errno_t kEinval = 22;
constexpr errno_t kErange = 34;
constexpr errno_t kStruncate = 80;
constexpr errno_t kEnoent = 2;

// The size that asks for truncation instead of failure.
constexpr size_t kTruncate = static_cast<size_t>(-1);

// A size from the library's interface (a 64-bit count) as a size_t.
constexpr size_t toSize(unsigned long long size) {
    return size > static_cast<unsigned long long>(static_cast<size_t>(-1))
               ? static_cast<size_t>(-1)
               : static_cast<size_t>(size);
}

// Length of a zero-terminated text of any width (0 for null).
template <typename Char>
size_t textLength(const Char* text);

// strcpy_s / wcscpy_s.
template <typename Char>
errno_t copyString(Char* dst, size_t size, const Char* src);

// strncpy_s / wcsncpy_s: at most `count` units, or as many as fit when
// count is _TRUNCATE.
template <typename Char>
errno_t copyStringN(Char* dst, size_t size, const Char* src, size_t count);

// strcat_s / wcscat_s.
template <typename Char>
errno_t appendString(Char* dst, size_t size, const Char* src);

// strncat_s / wcsncat_s.
template <typename Char>
errno_t appendStringN(Char* dst, size_t size, const Char* src, size_t count);

// _strupr_s / _strlwr_s and their wide forms, in the C library's current
// locale (the "C" locale changes only the letters A-Z and a-z).
template <typename Char>
errno_t upperString(Char* text, size_t size);
template <typename Char>
errno_t lowerString(Char* text, size_t size);

// _strset_s / _wcsset_s: every unit before the terminator becomes c.
template <typename Char>
errno_t setString(Char* text, size_t size, int c);

// strtok_s / wcstok_s.
template <typename Char>
Char* tokenize(Char* text, const Char* delimiters, Char** context);

// _splitpath_s / _wsplitpath_s: "X:" drive, directory up to and including
// the last "\" or "/", file name, extension from the last "." of the name.
// Each output may be null with a size of 0 to skip it.
template <typename Char>
errno_t splitPath(const Char* path, Char* drive, size_t driveSize, Char* dir, size_t dirSize,
                  Char* fname, size_t fnameSize, Char* ext, size_t extSize);

// _makepath_s / _wmakepath_s.
template <typename Char>
errno_t makePath(Char* path, size_t size, const Char* drive, const Char* dir, const Char* fname,
                 const Char* ext);

// _itoa_s / _itow_s and _ltoa_s / _ltow_s: a minus sign only in radix 10,
// the two's complement digits of the type otherwise; lower-case letters.
template <typename Char>
errno_t intToText(int value, Char* buffer, size_t size, int radix);
template <typename Char>
errno_t longToText(long value, Char* buffer, size_t size, int radix);

// _gcvt_s: `digits` significant digits in decimal form when the exponent
// allows (-1 <= exponent < digits), else in exponent form. A decimal point
// is written only when the digits leave room for a fraction digit; zeros
// ending the fraction are dropped, the point is kept ("1." for 5 digits of
// 1.0, "100" for 3 digits of 100.0).
errno_t gcvt(char* buffer, size_t size, double value, int digits);

// _wtoi, _wtoi64, _wtol, _wtof: leading white space (the runtime's
// iswspace, Unicode's separators included, whatever the locale), an
// optional sign,
// digits up to the first other character; integers saturate at the limits
// of their type on overflow.
int textToInt(const wchar_t* text);
long long textToInt64(const wchar_t* text);
long textToLong(const wchar_t* text);
double textToDouble(const wchar_t* text);

// strerror_s / _wcserror_s with the runtime's own messages ("Invalid
// argument" for 22, "Unknown error" beyond the table); a long message is
// cut to fit and still succeeds.
template <typename Char>
errno_t errorText(Char* buffer, size_t size, int errnum);

// _strtime_s / _strdate_s and their wide forms: the local time "hh:mm:ss"
// and date "mm/dd/yy"; the buffer needs at least 9 units.
template <typename Char>
errno_t clockTime(Char* buffer, size_t size);
template <typename Char>
errno_t clockDate(Char* buffer, size_t size);

// _localtime64_s: times before -43200 or after 3000-12-31 23:59:59 UTC are
// EINVAL (without the handler, as the runtime does), and the result then
// holds -1 in every field.
errno_t localTime64(struct tm* result, const long long* time);

// _dupenv_s / _wdupenv_s: a copy of the variable's value allocated with
// malloc (release with free); null and a length of 0 when it is not set.
// The length counts the terminator.
template <typename Char>
errno_t duplicateEnvironment(Char** value, size_t* length, const Char* name);

// _searchenv_s / _wsearchenv_s: the file's full path if it exists in the
// current directory, else in the first directory of the variable's list
// that holds it; ENOENT and an empty result when none does.
template <typename Char>
errno_t searchEnvironment(const Char* file, const Char* variable, Char* path, size_t size);

// Calls the invalid-parameter handler for `function`, sets errno to
// `error` and returns it.
errno_t reportInvalid(errno_t error, const wchar_t* expression, const char* function);

}  // namespace kel::detail

#endif  // KEL_TEXT_SAFE_RUNTIME_H
