#include "text/safe_runtime.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <cwctype>
#include <limits>
#include <string>
#include <type_traits>

#include "platform/code_page.h"
#include "platform/invalid_parameter.h"
#include "platform/unicode_class.h"
#include "platform/utf.h"
#include "text/runtime_services.h"

namespace kel::detail {

errno_t reportInvalid(errno_t error, const wchar_t* expression, const char* function) {
    invalidParameter(expression, function);
    errno = error;
    return error;
}

namespace {

// ----- units of each width --------------------------------------------------------

template <typename Char>
struct Unit;

template <>
struct Unit<char> {
    static char upper(char c) {
        return static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    }
    static char lower(char c) {
        return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    static std::wstring toWide(const char* text) { return kel::detail::toWide(text); }
    static std::string fromWide(const std::wstring& text) { return toNarrow(text); }
};

template <>
struct Unit<wchar_t> {
    static wchar_t upper(wchar_t c) { return static_cast<wchar_t>(std::towupper(c)); }
    static wchar_t lower(wchar_t c) { return static_cast<wchar_t>(std::towlower(c)); }
    static std::wstring toWide(const wchar_t* text) { return text; }
    static std::wstring fromWide(const std::wstring& text) { return text; }
};

template <>
struct Unit<unsigned short> {
    // A surrogate is half a character and keeps its case.
    static unsigned short mapped(unsigned short c, wint_t (*map)(wint_t)) {
        if (c >= 0xD800 && c <= 0xDFFF)
            return c;
        const wint_t result = map(c);
        const auto unit = static_cast<unsigned short>(result);
        return static_cast<wint_t>(unit) == result ? unit : c;
    }
    static unsigned short upper(unsigned short c) { return mapped(c, std::towupper); }
    static unsigned short lower(unsigned short c) { return mapped(c, std::towlower); }
    static std::wstring toWide(const unsigned short* text) { return utf16ToWide(text); }
    static Utf16String fromWide(const std::wstring& text) {
        return wideToUtf16(text.data(), text.size());
    }
};

template <typename Char>
using Text = std::basic_string<Char>;

template <typename Char>
Text<Char> ascii(const char* text) {
    Text<Char> result;
    for (; *text != '\0'; ++text)
        result.push_back(static_cast<Char>(static_cast<unsigned char>(*text)));
    return result;
}

// Empties a destination that the caller has already validated.
template <typename Char>
void resetString(Char* dst, size_t size) {
    if (dst != nullptr && size > 0)
        dst[0] = Char(0);
}

// Moves `length` units (none from a null source).
template <typename Char>
void moveUnits(Char* dst, const Char* src, size_t length) {
    if (length > 0)
        std::memmove(dst, src, length * sizeof(Char));
}

// Copies `length` units of `src` and a terminator; the caller made sure it
// fits.
template <typename Char>
void place(Char* dst, const Char* src, size_t length) {
    moveUnits(dst, src, length);
    dst[length] = Char(0);
}

#define KEL_FAIL(error, text) reportInvalid(error, L"" text, __func__)

}  // namespace

template <typename Char>
size_t textLength(const Char* text) {
    if (text == nullptr)
        return 0;
    return std::char_traits<Char>::length(text);
}

// ----- copying and appending -------------------------------------------------------

template <typename Char>
errno_t copyString(Char* dst, size_t size, const Char* src) {
    if (dst == nullptr || size == 0)
        return KEL_FAIL(kEinval, "(dst != nullptr && size > 0)");
    if (src == nullptr) {
        dst[0] = Char(0);
        return KEL_FAIL(kEinval, "(src != nullptr)");
    }
    const size_t length = textLength(src);
    if (length >= size) {
        dst[0] = Char(0);
        return KEL_FAIL(kErange, "(\"Buffer is too small\", 0)");
    }
    moveUnits(dst, src, length + 1);
    return 0;
}

template <typename Char>
errno_t copyStringN(Char* dst, size_t size, const Char* src, size_t count) {
    if (count == 0 && dst == nullptr && size == 0)
        return 0;
    if (dst == nullptr || size == 0)
        return KEL_FAIL(kEinval, "(dst != nullptr && size > 0)");
    if (count == 0) {
        dst[0] = Char(0);
        return 0;
    }
    if (src == nullptr) {
        dst[0] = Char(0);
        return KEL_FAIL(kEinval, "(src != nullptr)");
    }
    size_t length = 0;
    while (length < count && src[length] != Char(0))
        ++length;
    if (length < size) {
        moveUnits(dst, src, length);
        dst[length] = Char(0);
        return 0;
    }
    if (count == kTruncate) {
        moveUnits(dst, src, size - 1);
        dst[size - 1] = Char(0);
        return kStruncate;
    }
    dst[0] = Char(0);
    return KEL_FAIL(kErange, "(\"Buffer is too small\", 0)");
}

namespace {

// The length of the text already in `dst`, or `size` when it has no
// terminator within its size (then reported as EINVAL).
template <typename Char>
bool existingLength(Char* dst, size_t size, size_t& length) {
    length = 0;
    while (length < size && dst[length] != Char(0))
        ++length;
    if (length < size)
        return true;
    dst[0] = Char(0);
    return false;
}

}  // namespace

template <typename Char>
errno_t appendString(Char* dst, size_t size, const Char* src) {
    return appendStringN(dst, size, src, kTruncate - 1);
}

template <typename Char>
errno_t appendStringN(Char* dst, size_t size, const Char* src, size_t count) {
    if (count == 0 && dst == nullptr && size == 0)
        return 0;
    if (dst == nullptr || size == 0)
        return KEL_FAIL(kEinval, "(dst != nullptr && size > 0)");
    if (count != 0 && src == nullptr) {
        dst[0] = Char(0);
        return KEL_FAIL(kEinval, "(src != nullptr)");
    }
    size_t used = 0;
    if (!existingLength(dst, size, used))
        return KEL_FAIL(kEinval, "(\"String is not null terminated\", 0)");
    size_t length = 0;
    while (length < count && src[length] != Char(0))
        ++length;
    const size_t available = size - used;
    if (length < available) {
        moveUnits(dst + used, src, length);
        dst[used + length] = Char(0);
        return 0;
    }
    if (count == kTruncate) {
        moveUnits(dst + used, src, available - 1);
        dst[size - 1] = Char(0);
        return kStruncate;
    }
    dst[0] = Char(0);
    return KEL_FAIL(kErange, "(\"Buffer is too small\", 0)");
}

// ----- case and filling ------------------------------------------------------------

namespace {

template <typename Char, typename Map>
errno_t mapString(Char* text, size_t size, Map map) {
    if (text == nullptr || size == 0)
        return KEL_FAIL(kEinval, "(text != nullptr && size > 0)");
    size_t length = 0;
    if (!existingLength(text, size, length))
        return KEL_FAIL(kEinval, "(\"String is not null terminated\", 0)");
    for (size_t i = 0; i < length; ++i)
        text[i] = map(text[i]);
    return 0;
}

}  // namespace

template <typename Char>
errno_t upperString(Char* text, size_t size) {
    return mapString(text, size, Unit<Char>::upper);
}

template <typename Char>
errno_t lowerString(Char* text, size_t size) {
    return mapString(text, size, Unit<Char>::lower);
}

template <typename Char>
errno_t setString(Char* text, size_t size, int c) {
    const Char value = static_cast<Char>(c);
    return mapString(text, size, [value](Char) { return value; });
}

// ----- tokens ----------------------------------------------------------------------

namespace {

template <typename Char>
bool isDelimiter(Char c, const Char* delimiters) {
    for (; *delimiters != Char(0); ++delimiters) {
        if (*delimiters == c)
            return true;
    }
    return false;
}

}  // namespace

template <typename Char>
Char* tokenize(Char* text, const Char* delimiters, Char** context) {
    if (context == nullptr || delimiters == nullptr || (text == nullptr && *context == nullptr)) {
        KEL_FAIL(kEinval, "(context != nullptr && delimiters != nullptr)");
        return nullptr;
    }
    Char* p = text != nullptr ? text : *context;
    while (*p != Char(0) && isDelimiter(*p, delimiters))
        ++p;
    Char* token = p;
    while (*p != Char(0) && !isDelimiter(*p, delimiters))
        ++p;
    if (*p != Char(0))
        *p++ = Char(0);
    *context = p;
    return token == p ? nullptr : token;
}

// ----- paths -----------------------------------------------------------------------

namespace {

template <typename Char>
bool isSeparator(Char c) {
    return c == Char('\\') || c == Char('/');
}

// One output of a path split: null with size 0 to skip it.
template <typename Char>
struct PathPart {
    Char* buffer;
    size_t size;

    bool valid() const { return (buffer == nullptr) == (size == 0); }
    // False when the part does not fit.
    bool set(const Char* text, size_t length) const {
        if (buffer == nullptr)
            return true;
        if (length >= size)
            return false;
        place(buffer, text, length);
        return true;
    }
    void reset() const { resetString(buffer, size); }
};

}  // namespace

template <typename Char>
errno_t splitPath(const Char* path, Char* drive, size_t driveSize, Char* dir, size_t dirSize,
                  Char* fname, size_t fnameSize, Char* ext, size_t extSize) {
    const PathPart<Char> parts[4] = {
        {drive, driveSize}, {dir, dirSize}, {fname, fnameSize}, {ext, extSize}};
    const auto fail = [&parts](errno_t error) {
        for (const PathPart<Char>& part : parts)
            part.reset();
        return error == kEinval ? KEL_FAIL(kEinval, "(path != nullptr && valid sizes)")
                                : KEL_FAIL(kErange, "(\"Buffer is too small\", 0)");
    };
    if (path == nullptr)
        return fail(kEinval);
    for (const PathPart<Char>& part : parts) {
        if (!part.valid())
            return fail(kEinval);
    }
    // A drive is any one character followed by ":".
    const Char* p = path;
    if (p[0] != Char(0) && p[1] == Char(':')) {
        if (!parts[0].set(p, 2))
            return fail(kErange);
        p += 2;
    } else {
        parts[0].reset();
    }
    const Char* afterSlash = nullptr;
    const Char* dot = nullptr;
    const Char* end = p;
    for (; *end != Char(0); ++end) {
        if (isSeparator(*end)) {
            afterSlash = end + 1;
        } else if (*end == Char('.')) {
            dot = end;
        }
    }
    if (afterSlash != nullptr) {
        if (!parts[1].set(p, static_cast<size_t>(afterSlash - p)))
            return fail(kErange);
        p = afterSlash;
    } else {
        parts[1].reset();
    }
    const Char* nameEnd = (dot != nullptr && dot >= p) ? dot : end;
    if (!parts[2].set(p, static_cast<size_t>(nameEnd - p)) ||
        !parts[3].set(nameEnd, static_cast<size_t>(end - nameEnd))) {
        return fail(kErange);
    }
    return 0;
}

namespace {

// Builds a path into a bounded buffer, remembering whether it overflowed.
template <typename Char>
class PathWriter {
public:
    PathWriter(Char* buffer, size_t size) : m_buffer(buffer), m_size(size) {}
    void put(Char c) {
        if (m_length + 1 >= m_size) {
            m_overflow = true;
            return;
        }
        m_buffer[m_length++] = c;
    }
    void put(const Char* text) {
        for (; !m_overflow && *text != Char(0); ++text)
            put(*text);
    }
    bool finish() {
        if (m_overflow)
            return false;
        m_buffer[m_length] = Char(0);
        return true;
    }

private:
    Char* m_buffer;
    size_t m_size;
    size_t m_length = 0;
    bool m_overflow = false;
};

}  // namespace

template <typename Char>
errno_t makePath(Char* path, size_t size, const Char* drive, const Char* dir, const Char* fname,
                 const Char* ext) {
    if (path == nullptr || size == 0)
        return KEL_FAIL(kEinval, "(path != nullptr && size > 0)");
    PathWriter<Char> out(path, size);
    // Only the drive's first character is used: "c" and "c:" both give "c:".
    if (drive != nullptr && drive[0] != Char(0)) {
        out.put(drive[0]);
        out.put(Char(':'));
    }
    if (dir != nullptr && dir[0] != Char(0)) {
        out.put(dir);
        if (!isSeparator(dir[textLength(dir) - 1]))
            out.put(Char('\\'));
    }
    if (fname != nullptr)
        out.put(fname);
    if (ext != nullptr) {
        if (ext[0] != Char(0) && ext[0] != Char('.'))
            out.put(Char('.'));
        out.put(ext);
    }
    if (out.finish())
        return 0;
    path[0] = Char(0);
    return KEL_FAIL(kErange, "(\"Buffer is too small\", 0)");
}

// ----- numbers to text -------------------------------------------------------------

namespace {

template <typename Char>
errno_t unsignedToText(unsigned long long magnitude, bool negative, Char* buffer, size_t size,
                       int radix) {
    if (buffer == nullptr || size == 0)
        return KEL_FAIL(kEinval, "(buffer != nullptr && size > 0)");
    buffer[0] = Char(0);
    if (size <= (negative ? 2u : 1u))
        return KEL_FAIL(kErange, "(size > (negative ? 2 : 1))");
    if (radix < 2 || radix > 36)
        return KEL_FAIL(kEinval, "(2 <= radix && radix <= 36)");
    Char digits[72];
    size_t count = 0;
    do {
        const auto digit = static_cast<int>(magnitude % static_cast<unsigned>(radix));
        digits[count++] = static_cast<Char>(digit < 10 ? '0' + digit : 'a' + digit - 10);
        magnitude /= static_cast<unsigned>(radix);
    } while (magnitude > 0);
    const size_t length = count + (negative ? 1 : 0);
    if (length >= size)
        return KEL_FAIL(kErange, "(\"Buffer is too small\", 0)");
    Char* p = buffer;
    if (negative)
        *p++ = Char('-');
    while (count > 0)
        *p++ = digits[--count];
    *p = Char(0);
    return 0;
}

// A minus sign in radix 10 only; other radixes show the two's complement
// digits of the value's own type.
template <typename Signed, typename Char>
errno_t signedToText(Signed value, Char* buffer, size_t size, int radix) {
    using Unsigned = std::make_unsigned_t<Signed>;
    if (radix == 10 && value < 0) {
        const unsigned long long magnitude = 0ull - static_cast<unsigned long long>(value);
        return unsignedToText(magnitude, true, buffer, size, radix);
    }
    return unsignedToText(static_cast<Unsigned>(value), false, buffer, size, radix);
}

}  // namespace

template <typename Char>
errno_t intToText(int value, Char* buffer, size_t size, int radix) {
    return signedToText(value, buffer, size, radix);
}

template <typename Char>
errno_t longToText(long value, Char* buffer, size_t size, int radix) {
    return signedToText(value, buffer, size, radix);
}

namespace {

// The runtime's spelling of infinities and not-a-number values.
const char* specialValue(double value) {
    if (std::isnan(value))
        return std::signbit(value) ? "-nan(ind)" : "nan";
    if (std::isinf(value))
        return value < 0 ? "-inf" : "inf";
    return nullptr;
}

// A finite value's decimal digits rounded to `count` significant digits,
// half away from zero as the runtime's conversions round, and the decimal
// exponent of the first digit.
void roundedDigits(double value, int count, std::string& digits, int& exponent) {
    // Every double has an exact decimal expansion of at most 767
    // significant digits, so this many shows it in full.
    constexpr int kExact = 800;
    const int length = std::snprintf(nullptr, 0, "%.*e", kExact, std::fabs(value));
    std::string text(static_cast<size_t>(length) + 1, '\0');
    std::snprintf(text.data(), text.size(), "%.*e", kExact, std::fabs(value));
    const size_t e = text.find('e');
    exponent = std::atoi(text.c_str() + e + 1);
    std::string all = text.substr(0, 1) + text.substr(2, e - 2);
    all.resize(static_cast<size_t>(count) + 1, '0');
    const bool up = all[static_cast<size_t>(count)] >= '5';
    digits = all.substr(0, static_cast<size_t>(count));
    if (!up)
        return;
    for (size_t i = digits.size(); i-- > 0;) {
        if (digits[i] != '9') {
            ++digits[i];
            return;
        }
        digits[i] = '0';
    }
    digits.insert(digits.begin(), '1');
    digits.pop_back();
    ++exponent;
}

std::string exponentForm(const std::string& digits, int exponent) {
    std::string text = digits.substr(0, 1);
    if (digits.size() > 1)
        text += '.' + digits.substr(1);
    char suffix[16];
    std::snprintf(suffix, sizeof suffix, "e%c%02d", exponent < 0 ? '-' : '+',
                  exponent < 0 ? -exponent : exponent);
    return text + suffix;
}

// The decimal form; `exponent` lies between -1 and the digit count - 1.
// The fraction has as many digits as the count leaves after the integral
// part, and a decimal point is written only when that is at least one
// ("-123456789012" for 12 digits, "1.0000" for 5 digits of 1.0).
std::string decimalForm(const std::string& digits, int exponent) {
    if (exponent < 0)
        return "0." + digits;
    const size_t whole = static_cast<size_t>(exponent) + 1;
    if (whole >= digits.size())
        return digits;
    return digits.substr(0, whole) + '.' + digits.substr(whole);
}

// Drops the zeros that end the fraction (before any exponent). Deliberate:
// the decimal point stays ("1." for 5 digits of 1.0), as the runtime leaves
// it and callers parse it.
void dropTrailingZeros(std::string& text) {
    const size_t point = text.find('.');
    if (point == std::string::npos)
        return;
    size_t exponent = text.find('e', point);
    if (exponent == std::string::npos)
        exponent = text.size();
    size_t last = exponent;
    while (last > point + 1 && text[last - 1] == '0')
        --last;
    text.erase(last, exponent - last);
}

std::string generalForm(double value, int digits) {
    if (const char* special = specialValue(value))
        return special;
    const int count = digits < 1 ? 1 : digits;
    std::string mantissa;
    int exponent = 0;
    roundedDigits(value, count, mantissa, exponent);
    // The exponent after rounding decides between the two forms.
    std::string text = (exponent < -1 || exponent > count - 1) ? exponentForm(mantissa, exponent)
                                                               : decimalForm(mantissa, exponent);
    dropTrailingZeros(text);
    return std::signbit(value) ? '-' + text : text;
}

}  // namespace

errno_t gcvt(char* buffer, size_t size, double value, int digits) {
    if (buffer == nullptr || size == 0)
        return KEL_FAIL(kEinval, "(buffer != nullptr && size > 0)");
    buffer[0] = '\0';
    if (static_cast<size_t>(static_cast<long long>(digits)) >= size)
        return KEL_FAIL(kErange, "(digits < size)");
    const std::string text = generalForm(value, digits);
    if (text.size() >= size)
        return KEL_FAIL(kErange, "(\"Buffer is too small\", 0)");
    place(buffer, text.data(), text.size());
    return 0;
}

// ----- text to numbers -------------------------------------------------------------

namespace {

// White space as the runtime's iswspace has it, whatever the C library's
// locale: "\t" to "\r", the space, U+0085 and Unicode's separators (the
// no-break space, the ideographic space U+3000, ...).
bool isBlank(wchar_t c) {
    return isWideSpace(c);
}

// Leading blanks, a sign, then decimal digits, saturating at the limits.
template <typename Integer>
Integer parseInteger(const wchar_t* text) {
    if (text == nullptr)
        return 0;
    while (isBlank(*text))
        ++text;
    bool negative = false;
    if (*text == L'-' || *text == L'+')
        negative = *text++ == L'-';
    using Unsigned = std::make_unsigned_t<Integer>;
    const Unsigned limit = negative ? Unsigned(std::numeric_limits<Integer>::max()) + 1u
                                    : Unsigned(std::numeric_limits<Integer>::max());
    Unsigned value = 0;
    bool overflow = false;
    for (; *text >= L'0' && *text <= L'9'; ++text) {
        const auto digit = static_cast<Unsigned>(*text - L'0');
        if (overflow || value > (limit - digit) / 10u) {
            overflow = true;
            continue;
        }
        value = value * 10u + digit;
    }
    if (overflow)
        return negative ? std::numeric_limits<Integer>::min() : std::numeric_limits<Integer>::max();
    return negative ? static_cast<Integer>(0u - value) : static_cast<Integer>(value);
}

}  // namespace

int textToInt(const wchar_t* text) {
    return parseInteger<int>(text);
}

long long textToInt64(const wchar_t* text) {
    return parseInteger<long long>(text);
}

long textToLong(const wchar_t* text) {
    return parseInteger<long>(text);
}

double textToDouble(const wchar_t* text) {
    if (text == nullptr)
        return 0.0;
    while (isBlank(*text))
        ++text;
    const int saved = errno;
    const double value = std::wcstod(text, nullptr);
    errno = saved;
    return value;
}

// ----- error messages ----------------------------------------------------------------

namespace {

const char* const kErrorMessages[] = {"No error",
                                      "Operation not permitted",
                                      "No such file or directory",
                                      "No such process",
                                      "Interrupted function call",
                                      "Input/output error",
                                      "No such device or address",
                                      "Arg list too long",
                                      "Exec format error",
                                      "Bad file descriptor",
                                      "No child processes",
                                      "Resource temporarily unavailable",
                                      "Not enough space",
                                      "Permission denied",
                                      "Bad address",
                                      "Unknown error",
                                      "Resource device",
                                      "File exists",
                                      "Improper link",
                                      "No such device",
                                      "Not a directory",
                                      "Is a directory",
                                      "Invalid argument",
                                      "Too many open files in system",
                                      "Too many open files",
                                      "Inappropriate I/O control operation",
                                      "Unknown error",
                                      "File too large",
                                      "No space left on device",
                                      "Invalid seek",
                                      "Read-only file system",
                                      "Too many links",
                                      "Broken pipe",
                                      "Domain error",
                                      "Result too large",
                                      "Unknown error",
                                      "Resource deadlock avoided",
                                      "Unknown error",
                                      "Filename too long",
                                      "No locks available",
                                      "Function not implemented",
                                      "Directory not empty",
                                      "Illegal byte sequence"};

const char* errorMessage(int errnum) {
    const int count = static_cast<int>(sizeof kErrorMessages / sizeof kErrorMessages[0]);
    return errnum >= 0 && errnum < count ? kErrorMessages[errnum] : "Unknown error";
}

}  // namespace

template <typename Char>
errno_t errorText(Char* buffer, size_t size, int errnum) {
    if (buffer == nullptr || size == 0)
        return KEL_FAIL(kEinval, "(buffer != nullptr && size > 0)");
    const Text<Char> message = ascii<Char>(errorMessage(errnum));
    const size_t length = message.size() < size ? message.size() : size - 1;
    place(buffer, message.data(), length);
    return 0;
}

// ----- clock -----------------------------------------------------------------------

namespace {

template <typename Char>
errno_t clockText(Char* buffer, size_t size, bool date) {
    if (buffer == nullptr || size == 0)
        return KEL_FAIL(kEinval, "(buffer != nullptr && size > 0)");
    buffer[0] = Char(0);
    if (size < 9)
        return KEL_FAIL(kErange, "(size >= 9)");
    struct tm now = {};
    services::localCalendarTime(services::currentTime(), now);
    char text[32];
    if (date) {
        std::snprintf(text, sizeof text, "%02d/%02d/%02d", (now.tm_mon + 1) % 100,
                      now.tm_mday % 100, now.tm_year % 100);
    } else {
        std::snprintf(text, sizeof text, "%02d:%02d:%02d", now.tm_hour % 100, now.tm_min % 100,
                      now.tm_sec % 100);
    }
    const Text<Char> result = ascii<Char>(text);
    place(buffer, result.data(), result.size());
    return 0;
}

}  // namespace

template <typename Char>
errno_t clockTime(Char* buffer, size_t size) {
    return clockText(buffer, size, false);
}

template <typename Char>
errno_t clockDate(Char* buffer, size_t size) {
    return clockText(buffer, size, true);
}

errno_t localTime64(struct tm* result, const long long* time) {
    if (result == nullptr)
        return KEL_FAIL(kEinval, "(result != nullptr)");
    *result = tm{};
    result->tm_sec = result->tm_min = result->tm_hour = -1;
    result->tm_mday = result->tm_mon = result->tm_year = -1;
    result->tm_wday = result->tm_yday = result->tm_isdst = -1;
    if (time == nullptr)
        return KEL_FAIL(kEinval, "(time != nullptr)");
    // The runtime's range of local times: from 12 hours before the epoch to
    // the end of the year 3000. Out of range is EINVAL without a report.
    constexpr long long kMinLocalTime = -43200;
    constexpr long long kMaxTime64 = 32535215999LL;
    if (*time < kMinLocalTime || *time > kMaxTime64) {
        errno = kEinval;
        return kEinval;
    }
    struct tm converted = {};
    if (!services::localCalendarTime(*time, converted)) {
        errno = kEinval;
        return kEinval;
    }
    *result = converted;
    return 0;
}

// ----- environment -----------------------------------------------------------------

namespace {

bool lookUp(const char* name, std::string& value) {
    return services::environmentValue(std::string(name), value);
}

template <typename Char>
bool lookUp(const Char* name, Text<Char>& value) {
    std::wstring wide;
    if (!services::environmentValue(Unit<Char>::toWide(name), wide))
        return false;
    value = Unit<Char>::fromWide(wide);
    return true;
}

}  // namespace

template <typename Char>
errno_t duplicateEnvironment(Char** value, size_t* length, const Char* name) {
    if (value == nullptr)
        return KEL_FAIL(kEinval, "(value != nullptr)");
    *value = nullptr;
    if (length != nullptr)
        *length = 0;
    if (name == nullptr)
        return KEL_FAIL(kEinval, "(name != nullptr)");
    Text<Char> found;
    if (!lookUp(name, found))
        return 0;
    auto* copy = static_cast<Char*>(std::malloc((found.size() + 1) * sizeof(Char)));
    if (copy == nullptr) {
        errno = ENOMEM;
        return ENOMEM;
    }
    place(copy, found.data(), found.size());
    *value = copy;
    if (length != nullptr)
        *length = found.size() + 1;
    return 0;
}

namespace {

// Where a file is found: the current directory, then each directory of the
// variable's list. Empty when it is nowhere.
std::wstring findFile(const std::wstring& file, const std::wstring& variable) {
    if (services::pathExists(file))
        return services::fullPath(file);
    std::wstring list;
    if (!services::environmentValue(variable, list))
        return std::wstring();
    const wchar_t* separators = services::pathListSeparators();
    size_t start = 0;
    while (start < list.size()) {
        size_t end = list.find_first_of(separators, start);
        if (end == std::wstring::npos)
            end = list.size();
        std::wstring directory = list.substr(start, end - start);
        start = end + 1;
        // A directory may be quoted to protect its separators.
        directory.erase(std::remove(directory.begin(), directory.end(), L'"'), directory.end());
        if (directory.empty())
            continue;
        if (!isSeparator(directory.back()))
            directory += L'\\';
        const std::wstring candidate = directory + file;
        if (services::pathExists(candidate))
            return services::fullPath(candidate);
    }
    return std::wstring();
}

}  // namespace

template <typename Char>
errno_t searchEnvironment(const Char* file, const Char* variable, Char* path, size_t size) {
    if (path == nullptr || size == 0)
        return KEL_FAIL(kEinval, "(path != nullptr && size > 0)");
    path[0] = Char(0);
    if (file == nullptr || variable == nullptr)
        return KEL_FAIL(kEinval, "(file != nullptr && variable != nullptr)");
    if (file[0] == Char(0)) {
        errno = kEnoent;
        return kEnoent;
    }
    const std::wstring found = findFile(Unit<Char>::toWide(file), Unit<Char>::toWide(variable));
    if (found.empty()) {
        errno = kEnoent;
        return kEnoent;
    }
    const Text<Char> result = Unit<Char>::fromWide(found);
    // A result that does not fit is ERANGE without a report, as the
    // runtime's search does it.
    if (result.size() >= size) {
        errno = kErange;
        return kErange;
    }
    place(path, result.data(), result.size());
    return 0;
}

// ----- instantiations ---------------------------------------------------------------

#define KEL_INSTANTIATE(Char)                                                                     \
    template size_t textLength(const Char*);                                                      \
    template errno_t copyString(Char*, size_t, const Char*);                                      \
    template errno_t copyStringN(Char*, size_t, const Char*, size_t);                             \
    template errno_t appendString(Char*, size_t, const Char*);                                    \
    template errno_t appendStringN(Char*, size_t, const Char*, size_t);                           \
    template errno_t upperString(Char*, size_t);                                                  \
    template errno_t lowerString(Char*, size_t);                                                  \
    template errno_t setString(Char*, size_t, int);                                               \
    template Char* tokenize(Char*, const Char*, Char**);                                          \
    template errno_t splitPath(const Char*, Char*, size_t, Char*, size_t, Char*, size_t, Char*,   \
                               size_t);                                                           \
    template errno_t makePath(Char*, size_t, const Char*, const Char*, const Char*, const Char*); \
    template errno_t intToText(int, Char*, size_t, int);                                          \
    template errno_t longToText(long, Char*, size_t, int);                                        \
    template errno_t errorText(Char*, size_t, int);                                               \
    template errno_t clockTime(Char*, size_t);                                                    \
    template errno_t clockDate(Char*, size_t);                                                    \
    template errno_t duplicateEnvironment(Char**, size_t*, const Char*);                          \
    template errno_t searchEnvironment(const Char*, const Char*, Char*, size_t);

KEL_INSTANTIATE(char)
KEL_INSTANTIATE(wchar_t)
KEL_INSTANTIATE(unsigned short)

}  // namespace kel::detail
