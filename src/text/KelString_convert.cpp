// KelString conversions: paths, numbers, clock text, strftime and the "\M+"
// multibyte escape notation.

#include <kel/KelString.h>

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <string>
#include <vector>

#include "platform/code_page.h"
#include "platform/invalid_parameter.h"
#include "text/safe_runtime.h"
#include "text/time_text.h"

namespace {

constexpr size_t kScratch = static_cast<size_t>(KelString::kTempBufferSize);
constexpr size_t kPathCapacity = 260;

}  // namespace

// ----- paths --------------------------------------------------------------------------

void KelString::SplitPath(KelString& drive, KelString& dir, KelString& fname,
                          KelString& ext) const {
    wchar_t parts[4][kPathCapacity];
    kel::detail::splitPath(getStringW(), parts[0], kPathCapacity, parts[1], kPathCapacity, parts[2],
                           kPathCapacity, parts[3], kPathCapacity);
    drive = parts[0];
    dir = parts[1];
    fname = parts[2];
    ext = parts[3];
}

void KelString::MakePath(const KelString& drive, const KelString& dir, const KelString& fname,
                         const KelString& ext) {
    wchar_t path[kPathCapacity];
    // A path that does not fit is reported and leaves the buffer emptied,
    // which the value then takes.
    kel::detail::makePath(path, kPathCapacity, drive.getStringW(), dir.getStringW(),
                          fname.getStringW(), ext.getStringW());
    *this = path;
}

// ----- numbers ------------------------------------------------------------------------

int KelString::toInteger() const {
    return kel::detail::textToInt(getStringW());
}

__int64 KelString::toIntPtr() const {
    return kel::detail::textToInt64(getStringW());
}

long KelString::toLong() const {
    return kel::detail::textToLong(getStringW());
}

double KelString::toDouble() const {
    return kel::detail::textToDouble(getStringW());
}

KelString KelString::integerToString(int value, int radix) {
    wchar_t* buffer = getTempBufferWide();
    kel::detail::intToText(value, buffer, kScratch, radix);
    return KelString(buffer);
}

KelString KelString::longToString(long value, int radix) {
    wchar_t* buffer = getTempBufferWide();
    kel::detail::longToText(value, buffer, kScratch, radix);
    return KelString(buffer);
}

KelString KelString::doubleToString(double value, int digits) {
    char buffer[1024];
    kel::detail::gcvt(buffer, sizeof buffer, value, digits);
    return KelString(buffer);
}

// ----- clock text ---------------------------------------------------------------------

KelString& KelString::formatTime(unsigned __int64 maxSize, const char* fmt, const struct tm* t) {
    // strftime cannot produce more than the scratch capacity that any
    // later operation on the value accepts, so no more is allocated.
    const size_t capacity =
        maxSize < static_cast<unsigned __int64>(kScratch) ? static_cast<size_t>(maxSize) : kScratch;
    std::vector<char> buffer(capacity + 1, '\0');
    // The runtime's strftime in the "C" locale: a size of 0, a bad format or
    // field is reported, and like a result that does not fit gives nothing.
    const size_t written = kel::detail::formatCalendarTime(buffer.data(), capacity, fmt, t);
    if (written == 0) {
        empty();
        return *this;
    }
    return *this = buffer.data();
}

KelString KelString::time() {
    wchar_t buffer[18];
    kel::detail::clockTime(buffer, 18);
    return KelString(buffer);
}

KelString KelString::date() {
    wchar_t buffer[255];
    kel::detail::clockDate(buffer, 255);
    return KelString(buffer);
}

// ----- multibyte escapes ----------------------------------------------------------------

namespace {

// The code page that an escape's selector digit names.
unsigned int selectedCodePage(int selector) {
    switch (selector) {
        case 1:
            return 932;
        case 2:
            return 950;
        case 3:
            return 949;
        case 4:
            return 1361;
        case 5:
            return 936;
        default:
            return kel::detail::kCodePageAcp;
    }
}

// Deliberate: each byte is tested against the bits of "\", "M" and "+"
// (byte AND mask == mask), not for equality, so "\m+" and "]M+" start an
// escape too; texts written by older versions depend on it.
bool escapeAt(const std::string& text, size_t i) {
    const auto byteAt = [&text](size_t k) {
        return k < text.size() ? static_cast<unsigned char>(text[k]) : 0u;
    };
    return (byteAt(i) & 0x5C) == 0x5C && (byteAt(i + 1) & 0x4D) == 0x4D &&
           (byteAt(i + 2) & 0x2B) == 0x2B;
}

// atoi of one character.
int selectorDigit(char c) {
    return c >= '0' && c <= '9' ? c - '0' : 0;
}

// Two characters read as hexadecimal, as "%x" reads them: leading blanks,
// a sign, an optional "0x", then hexadecimal digits; 0 when none.
unsigned char hexPair(const char* pair) {
    const char text[3] = {pair[0], pair[1], '\0'};
    char* end = nullptr;
    const long value = std::strtol(text, &end, 16);
    return end == text ? 0 : static_cast<unsigned char>(value);
}

}  // namespace

KelString KelString::setFromMIFString(const char* s) {
    const std::string text = s != nullptr ? s : "";
    std::string bytes;
    bytes.reserve(text.size());
    int selector = 0;
    size_t i = 0;
    while (i < text.size()) {
        if (!escapeAt(text, i)) {
            bytes.push_back(text[i]);
            ++i;
            continue;
        }
        selector = selectorDigit(i + 3 < text.size() ? text[i + 3] : '\0');
        if (i + 8 <= text.size()) {
            bytes.push_back(static_cast<char>(hexPair(text.data() + i + 4)));
            bytes.push_back(static_cast<char>(hexPair(text.data() + i + 6)));
            i += 8;
        } else {
            i += 5;
        }
    }
    // The output is a zero-terminated byte string: a decoded zero byte ends
    // it.
    const size_t used = std::strlen(bytes.c_str());
    if (used == 0) {
        empty();
        return *this;
    }
    wchar_t* buffer = getTempBufferWide();
    buffer[0] = L'\0';
    const int converted = kel::detail::multiByteToWide(selectedCodePage(selector), bytes.c_str(),
                                                       -1, buffer, KelString::kTempBufferSize);
    // Text that converts to more than the buffer holds fails the conversion
    // (last error 122), as in the narrow constructor: the value becomes
    // empty.
    assignCopy(buffer, converted - 1);
    return *this;
}
