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

// The long wide string arguments of a wide format, left out of the buffer
// that formatBounded fills: each is copied once, by `assemble`, straight
// from the caller's argument into the final storage, instead of first into
// the buffer and then again out of it.
//
//   FormatSplice splice;
//   int n = formatBounded(scratch, capacity, L"%s|%d", args, WideArgs::Native,
//                         nullptr, &splice);
//   wchar_t* text = new wchar_t[n + 1];
//   splice.assemble(scratch, text, n);   // before the arguments go away
class FormatSplice {
public:
    // Arguments shorter than this are copied into the buffer as usual.
    static constexpr size_t kMinLength = 64;
    static constexpr size_t kMaxPieces = 8;

    // Copies the formatted text of `length` characters, the buffer's
    // characters with the arguments at their places, to `out` and
    // terminates it (`out` has room for length + 1).
    void assemble(const wchar_t* buffer, wchar_t* out, size_t length) const;

    // For the formatter: whether one more argument can be left out, and
    // recording it at position `at` of the final text.
    bool full() const { return m_count == kMaxPieces; }
    void add(size_t at, const wchar_t* text, size_t length) {
        m_pieces[m_count++] = Piece{at, text, length};
    }
    void clear() { m_count = 0; }

private:
    struct Piece {
        size_t at;
        const wchar_t* text;
        size_t length;
    };
    Piece m_pieces[kMaxPieces];  // the first m_count are set
    size_t m_count = 0;
};

// Formats into `buffer` of `capacity` characters (terminator included).
// Returns the length written; on failure `buffer` holds "" (when capacity
// allows), the invalid-parameter handler has been called and the result is
// -1. `status`, when not null, tells what happened. With a `splice`, long
// wide string arguments are left out of the buffer (which is then not
// terminated) and the length counts them: the result exists only once
// `splice->assemble` has put it together, and it obeys `capacity` all the
// same.
int formatBounded(wchar_t* buffer, size_t capacity, const wchar_t* format, va_list args,
                  WideArgs wideArgs = WideArgs::Native, FormatStatus* status = nullptr,
                  FormatSplice* splice = nullptr);
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
