#include "platform/format.h"

#include <cctype>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <string>
#include <type_traits>

#include "platform/code_page.h"
#include "platform/invalid_parameter.h"
#include "platform/utf.h"

namespace kel::detail {

namespace {

// No single result of a growable format may exceed this many characters; a
// width of two billion is a bad format, not a request for memory.
constexpr size_t kMaxOutput = size_t(1) << 28;
constexpr int kMaxWidth = 1 << 24;

// A va_list that can be handed to helpers by reference on every ABI.
struct ArgList {
    va_list ap;
};

// Where formatted characters go: a caller's fixed buffer (room kept for the
// terminator) or a string that grows.
template <typename Char>
class Output {
    static constexpr size_t kShortCopy = 16;

public:
    Output(Char* buffer, size_t capacity, FormatSplice* splice = nullptr)
        : m_buffer(buffer), m_splice(splice), m_limit(capacity ? capacity - 1 : 0) {}
    explicit Output(std::basic_string<Char>* text) : m_text(text), m_limit(kMaxOutput) {}

    bool overflowed() const { return m_overflow; }
    // The length of the result, characters left to a splice included.
    size_t length() const { return m_length; }

    void append(const Char* data, size_t n) {
        if (m_overflow)
            return;
        if (n > m_limit - m_length) {
            m_overflow = true;
            return;
        }
        if (m_text != nullptr) {
            m_text->append(data, n);
        } else if (n <= kShortCopy) {
            // Literal text between directives and numbers are short: a plain
            // loop beats the start-up of a block copy.
            Char* out = m_buffer + (m_length - m_spliced);
            for (size_t i = 0; i < n; ++i)
                out[i] = data[i];
        } else {
            std::memcpy(m_buffer + (m_length - m_spliced), data, n * sizeof(Char));
        }
        m_length += n;
    }

    // Appends text that stays where it is until the result is assembled (a
    // caller's argument): a long one is left to the splice, if there is one.
    void appendArgument(const Char* data, size_t n) {
        if constexpr (std::is_same_v<Char, wchar_t>) {
            if (m_splice != nullptr && n >= FormatSplice::kMinLength && !m_overflow &&
                !m_splice->full()) {
                if (n > m_limit - m_length) {
                    m_overflow = true;
                    return;
                }
                m_splice->add(m_length, data, n);
                m_length += n;
                m_spliced += n;
                return;
            }
        }
        append(data, n);
    }

    void fill(Char c, size_t n) {
        if (m_overflow)
            return;
        if (n > m_limit - m_length) {
            m_overflow = true;
            return;
        }
        if (m_text != nullptr) {
            m_text->append(n, c);
        } else {
            Char* out = m_buffer + (m_length - m_spliced);
            for (size_t i = 0; i < n; ++i)
                out[i] = c;
        }
        m_length += n;
    }

    void put(Char c) { append(&c, 1); }

    // Characters written by a sub-formatter in the other width are widened
    // or narrowed one to one (they are ASCII).
    template <typename Other>
    void appendAscii(const Other* data, size_t n) {
        if constexpr (std::is_same_v<Other, Char>) {
            append(data, n);
        } else {
            Char staging[128];
            while (n > 0) {
                const size_t chunk = n < 128 ? n : 128;
                for (size_t i = 0; i < chunk; ++i)
                    staging[i] = static_cast<Char>(data[i]);
                append(staging, chunk);
                data += chunk;
                n -= chunk;
            }
        }
    }

    void terminate() {
        if (m_buffer != nullptr && !m_overflow)
            m_buffer[m_length - m_spliced] = Char(0);
    }

private:
    Char* m_buffer = nullptr;
    std::basic_string<Char>* m_text = nullptr;
    FormatSplice* m_splice = nullptr;
    size_t m_limit;
    size_t m_length = 0;
    size_t m_spliced = 0;  // characters left to the splice
    bool m_overflow = false;
};

enum class Size { None, hh, h, l, ll, L, j, z, t, w, I, I32, I64 };

struct Directive {
    bool left = false;
    bool plus = false;
    bool space = false;
    bool alternate = false;
    bool zero = false;
    int width = 0;
    int precision = -1;  // -1: none given
    Size size = Size::None;
    char conversion = 0;
};

long long fetchSigned(ArgList& args, Size size) {
    switch (size) {
        case Size::hh:
            return static_cast<signed char>(va_arg(args.ap, int));
        case Size::h:
            return static_cast<short>(va_arg(args.ap, int));
        case Size::l:
            return va_arg(args.ap, long);
        case Size::ll:
        case Size::L:
        case Size::I64:
            return va_arg(args.ap, long long);
        case Size::j:
            return static_cast<long long>(va_arg(args.ap, intmax_t));
        case Size::z:
        case Size::t:
        case Size::I:
            return static_cast<long long>(va_arg(args.ap, ptrdiff_t));
        case Size::I32:
            return static_cast<int32_t>(va_arg(args.ap, int32_t));
        case Size::None:
        case Size::w:
            break;
    }
    return va_arg(args.ap, int);
}

unsigned long long fetchUnsigned(ArgList& args, Size size) {
    switch (size) {
        case Size::hh:
            return static_cast<unsigned char>(va_arg(args.ap, int));
        case Size::h:
            return static_cast<unsigned short>(va_arg(args.ap, int));
        case Size::l:
            return va_arg(args.ap, unsigned long);
        case Size::ll:
        case Size::L:
        case Size::I64:
            return va_arg(args.ap, unsigned long long);
        case Size::j:
            return static_cast<unsigned long long>(va_arg(args.ap, uintmax_t));
        case Size::z:
        case Size::t:
        case Size::I:
            return static_cast<unsigned long long>(va_arg(args.ap, size_t));
        case Size::I32:
            return va_arg(args.ap, uint32_t);
        case Size::None:
        case Size::w:
            break;
    }
    return va_arg(args.ap, unsigned int);
}

template <typename Char>
class Formatter {
public:
    Formatter(Output<Char>& out, ArgList& args, WideArgs wideArgs)
        : m_out(out), m_args(args), m_wideArgs(wideArgs) {}

    // False for a format the runtime would refuse.
    bool run(const Char* p) {
        while (*p != Char(0)) {
            if (*p != Char('%')) {
                const Char* start = p;
                while (*p != Char(0) && *p != Char('%'))
                    ++p;
                m_out.append(start, static_cast<size_t>(p - start));
                continue;
            }
            ++p;
            if (*p == Char('%')) {
                m_out.put(Char('%'));
                ++p;
                continue;
            }
            Directive d;
            if (!parse(p, d) || !emit(d))
                return false;
            if (m_out.overflowed())
                return true;
        }
        return true;
    }

private:
    static constexpr bool kWideOutput = std::is_same_v<Char, wchar_t>;

    static bool isDigit(Char c) { return c >= Char('0') && c <= Char('9'); }

    bool parseNumber(const Char*& p, int& value) {
        value = 0;
        while (isDigit(*p)) {
            value = value * 10 + static_cast<int>(*p - Char('0'));
            if (value > kMaxWidth)
                return false;
            ++p;
        }
        return true;
    }

    bool parse(const Char*& p, Directive& d) {
        for (;; ++p) {
            if (*p == Char('-')) {
                d.left = true;
            } else if (*p == Char('+')) {
                d.plus = true;
            } else if (*p == Char(' ')) {
                d.space = true;
            } else if (*p == Char('#')) {
                d.alternate = true;
            } else if (*p == Char('0')) {
                d.zero = true;
            } else {
                break;
            }
        }
        if (*p == Char('*')) {
            const int width = va_arg(m_args.ap, int);
            if (width < -kMaxWidth || width > kMaxWidth)
                return false;
            if (width < 0)
                d.left = true;
            d.width = width < 0 ? -width : width;
            ++p;
        } else if (!parseNumber(p, d.width)) {
            return false;
        }
        if (*p == Char('.')) {
            ++p;
            if (*p == Char('*')) {
                const int precision = va_arg(m_args.ap, int);
                if (precision > kMaxWidth)
                    return false;
                d.precision = precision < 0 ? -1 : precision;
                ++p;
            } else if (!parseNumber(p, d.precision)) {
                return false;
            }
        }
        switch (*p) {
            case Char('h'):
                ++p;
                d.size = Size::h;
                if (*p == Char('h')) {
                    ++p;
                    d.size = Size::hh;
                }
                break;
            case Char('l'):
                ++p;
                d.size = Size::l;
                if (*p == Char('l')) {
                    ++p;
                    d.size = Size::ll;
                }
                break;
            case Char('L'):
            case Char('q'):
                d.size = *p == Char('L') ? Size::L : Size::ll;
                ++p;
                break;
            case Char('j'):
                d.size = Size::j;
                ++p;
                break;
            case Char('z'):
                d.size = Size::z;
                ++p;
                break;
            case Char('t'):
                d.size = Size::t;
                ++p;
                break;
            case Char('w'):
                d.size = Size::w;
                ++p;
                break;
            case Char('I'):
                ++p;
                d.size = Size::I;
                if (p[0] == Char('6') && p[1] == Char('4')) {
                    p += 2;
                    d.size = Size::I64;
                } else if (p[0] == Char('3') && p[1] == Char('2')) {
                    p += 2;
                    d.size = Size::I32;
                }
                break;
            default:
                break;
        }
        const Char c = *p;
        if (c == Char(0) || static_cast<unsigned long>(c) > 0x7F)
            return false;
        d.conversion = static_cast<char>(c);
        ++p;
        return true;
    }

    bool emit(const Directive& d) {
        switch (d.conversion) {
            case 'd':
            case 'i':
                integer(d, fetchSigned(m_args, d.size));
                return true;
            case 'o':
            case 'u':
            case 'x':
            case 'X':
                integer(d, fetchUnsigned(m_args, d.size));
                return true;
            case 'e':
            case 'E':
            case 'f':
            case 'F':
            case 'g':
            case 'G':
            case 'a':
            case 'A':
                if (d.size == Size::L) {
                    floating(d, va_arg(m_args.ap, long double));
                } else {
                    floating(d, va_arg(m_args.ap, double));
                }
                return true;
            case 'c':
            case 'C':
                character(d);
                return true;
            case 's':
            case 'S':
                string(d);
                return true;
            case 'p':
                pointer(d);
                return true;
            default:
                // %n is refused as the Windows runtime refuses it; %Z and
                // anything unknown are bad formats.
                return false;
        }
    }

    // Whether a %s/%c directive takes a wide argument.
    bool takesWide(const Directive& d) const {
        if (d.size == Size::l || d.size == Size::w)
            return true;
        if (d.size == Size::h)
            return false;
        const bool upper = d.conversion == 'S' || d.conversion == 'C';
        return upper ? !kWideOutput : kWideOutput;
    }

    // Fills up to the width. The runtime pads text on the left with zeros
    // when the 0 flag is given ("%05s" of "ab" is "000ab"); `zeros` is false
    // where it does not (pointers, whose digits have a precision of their
    // own, and the spelled-out not-a-number).
    void pad(size_t used, const Directive& d, bool before, bool zeros) {
        if (static_cast<size_t>(d.width) <= used || d.left == before)
            return;
        const Char c = before && zeros && d.zero ? Char('0') : Char(' ');
        m_out.fill(c, static_cast<size_t>(d.width) - used);
    }

    void padded(const Char* text, size_t n, const Directive& d, bool zeros = true) {
        pad(n, d, true, zeros);
        m_out.append(text, n);
        pad(n, d, false, zeros);
    }

    // The same for a caller's string argument, which stays in place until
    // the result is assembled.
    void paddedArgument(const Char* text, size_t n, const Directive& d) {
        pad(n, d, true, true);
        m_out.appendArgument(text, n);
        pad(n, d, false, true);
    }

    // Builds the C library's directive for a number: flags, "*" width,
    // ".*" precision when given, then the length modifier and conversion.
    static void cDirective(const Directive& d, const char* lengthModifier, char conversion,
                           char* directive) {
        char* s = directive;
        *s++ = '%';
        if (d.left)
            *s++ = '-';
        if (d.plus)
            *s++ = '+';
        if (d.space)
            *s++ = ' ';
        if (d.alternate)
            *s++ = '#';
        if (d.zero)
            *s++ = '0';
        *s++ = '*';
        if (d.precision >= 0) {
            *s++ = '.';
            *s++ = '*';
        }
        for (const char* m = lengthModifier; *m != '\0'; ++m)
            *s++ = *m;
        *s++ = conversion;
        *s = '\0';
    }

    template <typename Value>
    void cFormat(const Directive& d, const char* lengthModifier, char conversion, Value value) {
        char directive[16];
        cDirective(d, lengthModifier, conversion, directive);
        char local[256];
        int n = d.precision >= 0
                    ? std::snprintf(local, sizeof local, directive, d.width, d.precision, value)
                    : std::snprintf(local, sizeof local, directive, d.width, value);
        if (n < 0)
            return;
        if (static_cast<size_t>(n) < sizeof local) {
            m_out.appendAscii(local, static_cast<size_t>(n));
            return;
        }
        std::string large(static_cast<size_t>(n) + 1, '\0');
        n = d.precision >= 0
                ? std::snprintf(large.data(), large.size(), directive, d.width, d.precision, value)
                : std::snprintf(large.data(), large.size(), directive, d.width, value);
        if (n > 0)
            m_out.appendAscii(large.data(), static_cast<size_t>(n));
    }

    // Whether a number is written as its plain digits: no flags, width or
    // precision (the common "%d"), which needs no C library call.
    static bool plain(const Directive& d) {
        return !d.left && !d.plus && !d.space && !d.alternate && !d.zero && d.width == 0 &&
               d.precision < 0;
    }

    void decimal(unsigned long long magnitude, bool negative) {
        Char digits[24];
        size_t n = sizeof digits / sizeof digits[0];
        do {
            digits[--n] = static_cast<Char>('0' + magnitude % 10);
            magnitude /= 10;
        } while (magnitude > 0);
        if (negative)
            digits[--n] = Char('-');
        m_out.append(digits + n, sizeof digits / sizeof digits[0] - n);
    }

    void integer(const Directive& d, long long value) {
        if (!plain(d)) {
            cFormat(d, "ll", 'd', value);
            return;
        }
        const unsigned long long magnitude =
            value < 0 ? 0ull - static_cast<unsigned long long>(value) : value;
        decimal(magnitude, value < 0);
    }

    void integer(const Directive& d, unsigned long long value) {
        if (d.conversion == 'u' && plain(d)) {
            decimal(value, false);
            return;
        }
        cFormat(d, "ll", d.conversion, value);
    }

    template <typename Float>
    void floating(const Directive& d, Float value) {
        if (std::isnan(value)) {
            // The Windows runtime's spelling: "nan", and "-nan(ind)" for the
            // negative quiet NaN that 0.0 / 0.0 produces.
            const bool upper = d.conversion >= 'A' && d.conversion <= 'Z';
            std::string text = std::signbit(value) ? "-nan(ind)"
                                                   : (d.plus    ? "+nan"
                                                      : d.space ? " nan"
                                                                : "nan");
            if (upper) {
                for (char& c : text)
                    c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
            }
            Char staging[16];
            for (size_t i = 0; i < text.size(); ++i)
                staging[i] = static_cast<Char>(text[i]);
            padded(staging, text.size(), d, false);
            return;
        }
        Directive effective = d;
        // Hexadecimal floating point shows all 13 fraction digits unless a
        // precision is given, as the Windows runtime does.
        if ((d.conversion == 'a' || d.conversion == 'A') && d.precision < 0) {
            effective.precision = 13;
        }
        if constexpr (std::is_same_v<Float, long double>) {
            cFormat(effective, "L", d.conversion, value);
        } else {
            cFormat(effective, "", d.conversion, value);
        }
    }

    // Every digit of the pointer's size, upper case; the # flag puts "0X"
    // before a pointer that is not null, as before any other hexadecimal
    // number that is not zero.
    void pointer(const Directive& d) {
        auto value =
            static_cast<unsigned long long>(reinterpret_cast<uintptr_t>(va_arg(m_args.ap, void*)));
        constexpr size_t kDigits = 2 * sizeof(void*);
        Char staging[kDigits + 2];
        size_t n = 0;
        if (d.alternate && value != 0) {
            staging[n++] = Char('0');
            staging[n++] = Char('X');
        }
        for (size_t i = kDigits; i-- > 0;) {
            const auto digit = static_cast<unsigned>((value >> (4 * i)) & 0xF);
            staging[n++] = static_cast<Char>(digit < 10 ? '0' + digit : 'A' + digit - 10);
        }
        padded(staging, n, d, false);
    }

    void character(const Directive& d) {
        const int raw = va_arg(m_args.ap, int);
        if (takesWide(d)) {
            const wchar_t c = m_wideArgs == WideArgs::Utf16
                                  ? static_cast<wchar_t>(static_cast<unsigned short>(raw))
                                  : static_cast<wchar_t>(raw);
            if constexpr (kWideOutput) {
                padded(&c, 1, d);
            } else {
                const std::string narrow =
                    c == L'\0' ? std::string(1, '\0') : toNarrow(std::wstring_view(&c, 1));
                padded(narrow.data(), narrow.size(), d);
            }
        } else {
            const char c = static_cast<char>(raw);
            if constexpr (kWideOutput) {
                wchar_t wide = L'\0';
                if (c != '\0')
                    multiByteToWide(kCodePageAcp, &c, 1, &wide, 1);
                padded(&wide, 1, d);
            } else {
                padded(&c, 1, d);
            }
        }
    }

    void string(const Directive& d) {
        const void* argument = va_arg(m_args.ap, const void*);
        const size_t limit = d.precision >= 0 ? static_cast<size_t>(d.precision) : SIZE_MAX;
        if (takesWide(d)) {
            std::wstring converted;
            const wchar_t* text = L"(null)";
            size_t n = 6;
            if (argument != nullptr && m_wideArgs == WideArgs::Utf16) {
                const auto* units = static_cast<const unsigned short*>(argument);
                size_t count = 0;
                while (count < limit && units[count] != 0)
                    ++count;
                converted = utf16ToWide(units, count);
                text = converted.c_str();
                n = converted.size();
            } else if (argument != nullptr) {
                text = static_cast<const wchar_t*>(argument);
                n = boundedLength(text, limit);
            } else if (n > limit) {
                n = limit;
            }
            if constexpr (kWideOutput) {
                if (text == argument) {
                    paddedArgument(text, n, d);
                } else {
                    padded(text, n, d);
                }
            } else {
                const std::string narrow = narrowWithin(text, n, limit);
                padded(narrow.data(), narrow.size(), d);
            }
        } else {
            const char* text = argument != nullptr ? static_cast<const char*>(argument) : "(null)";
            if constexpr (kWideOutput) {
                const size_t bytes =
                    limit == SIZE_MAX ? boundedLength(text, limit) : bytesOfCharacters(text, limit);
                std::wstring wide = toWide(std::string_view(text, bytes));
                if (wide.size() > limit)
                    wide.resize(limit);
                padded(wide.data(), wide.size(), d);
            } else {
                padded(text, boundedLength(text, limit), d);
            }
        }
    }

    // The bytes that hold the first `count` characters of narrow text, read
    // no further than needed: a precision may be the only bound of an
    // argument without a terminator.
    static size_t bytesOfCharacters(const char* text, size_t count) {
        size_t bytes = boundedLength(text, count);
        if (bytes < count)
            return bytes;  // the terminator came first
        if (narrowCodePage() == kCodePageUtf8) {
            bytes = 0;
            for (size_t n = 0; n < count && text[bytes] != '\0'; ++n)
                bytes += utf8SequenceLength(text + bytes);
            return bytes;
        }
        // Other code pages take at most two bytes a character.
        while (bytes < 2 * count && text[bytes] != '\0' &&
               toWide(std::string_view(text, bytes)).size() < count) {
            ++bytes;
        }
        return bytes;
    }

    // The length of the UTF-8 sequence at `p`, stopping at a terminator or
    // at a byte that cannot continue it.
    static size_t utf8SequenceLength(const char* p) {
        const auto lead = static_cast<unsigned char>(p[0]);
        const size_t expected = lead < 0xC0 ? 1 : (lead < 0xE0 ? 2 : (lead < 0xF0 ? 3 : 4));
        size_t length = 1;
        while (length < expected && (static_cast<unsigned char>(p[length]) & 0xC0) == 0x80)
            ++length;
        return length;
    }

    // The length of a string argument, at most `limit`; the C library's
    // bounded length functions scan many characters at a time.
    static size_t boundedLength(const char* text, size_t limit) { return strnlen(text, limit); }
    static size_t boundedLength(const wchar_t* text, size_t limit) { return wcsnlen(text, limit); }

    // Wide text in the narrow code page, cut at a character boundary so that
    // it takes at most `limit` bytes.
    static std::string narrowWithin(const wchar_t* text, size_t n, size_t limit) {
        std::string all = toNarrow(std::wstring_view(text, n));
        if (all.size() <= limit)
            return all;
        std::string result;
        for (size_t i = 0; i < n; ++i) {
            const std::string one = toNarrow(std::wstring_view(text + i, 1));
            if (result.size() + one.size() > limit)
                break;
            result += one;
        }
        return result;
    }

    Output<Char>& m_out;
    ArgList& m_args;
    WideArgs m_wideArgs;
};

template <typename Char>
FormatStatus runFormat(Output<Char>& out, const Char* format, va_list args, WideArgs wideArgs) {
    ArgList list;
    va_copy(list.ap, args);
    Formatter<Char> formatter(out, list, wideArgs);
    const bool ok = formatter.run(format);
    va_end(list.ap);
    if (!ok)
        return FormatStatus::BadFormat;
    return out.overflowed() ? FormatStatus::Overflow : FormatStatus::Ok;
}

template <typename Char>
int bounded(Char* buffer, size_t capacity, const Char* format, va_list args, WideArgs wideArgs,
            FormatStatus* status, FormatSplice* splice = nullptr) {
    FormatStatus result = FormatStatus::BadFormat;
    if (splice != nullptr)
        splice->clear();
    if (!KEL_VALIDATE(buffer != nullptr && capacity > 0)) {
        if (status != nullptr)
            *status = result;
        return -1;
    }
    if (KEL_VALIDATE(format != nullptr)) {
        Output<Char> out(buffer, capacity, splice);
        result = runFormat(out, format, args, wideArgs);
        if (result == FormatStatus::Ok) {
            out.terminate();
            if (status != nullptr)
                *status = result;
            return static_cast<int>(out.length());
        }
        if (result == FormatStatus::Overflow) {
            invalidParameter(L"(\"Buffer too small\", 0)", "format");
        } else {
            invalidParameter(L"(\"Invalid format\", 0)", "format");
        }
    }
    buffer[0] = Char(0);
    if (splice != nullptr)
        splice->clear();
    if (status != nullptr)
        *status = result;
    return -1;
}

template <typename Char>
std::basic_string<Char> growable(const Char* format, va_list args, WideArgs wideArgs,
                                 FormatStatus* status) {
    std::basic_string<Char> text;
    if (status != nullptr)
        *status = FormatStatus::BadFormat;
    if (!KEL_VALIDATE(format != nullptr))
        return text;
    Output<Char> out(&text);
    const FormatStatus result = runFormat(out, format, args, wideArgs);
    if (status != nullptr)
        *status = result;
    if (result != FormatStatus::Ok) {
        invalidParameter(result == FormatStatus::Overflow ? L"(\"Result too long\", 0)"
                                                          : L"(\"Invalid format\", 0)",
                         "format");
        text.clear();
    }
    return text;
}

}  // namespace

void FormatSplice::assemble(const wchar_t* buffer, wchar_t* out, size_t length) const {
    size_t done = 0;  // characters of the result written
    for (size_t i = 0; i < m_count; ++i) {
        const Piece& piece = m_pieces[i];
        const size_t before = piece.at - done;
        std::memcpy(out + done, buffer, before * sizeof(wchar_t));
        buffer += before;
        std::memcpy(out + piece.at, piece.text, piece.length * sizeof(wchar_t));
        done = piece.at + piece.length;
    }
    std::memcpy(out + done, buffer, (length - done) * sizeof(wchar_t));
    out[length] = L'\0';
}

int formatBounded(wchar_t* buffer, size_t capacity, const wchar_t* format, va_list args,
                  WideArgs wideArgs, FormatStatus* status, FormatSplice* splice) {
    return bounded(buffer, capacity, format, args, wideArgs, status, splice);
}

int formatBounded(char* buffer, size_t capacity, const char* format, va_list args,
                  FormatStatus* status) {
    return bounded(buffer, capacity, format, args, WideArgs::Native, status);
}

std::wstring formatToString(const wchar_t* format, va_list args, WideArgs wideArgs,
                            FormatStatus* status) {
    return growable(format, args, wideArgs, status);
}

std::string formatToString(const char* format, va_list args, FormatStatus* status) {
    return growable(format, args, WideArgs::Native, status);
}

}  // namespace kel::detail
