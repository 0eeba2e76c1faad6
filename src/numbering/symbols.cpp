#include "numbering/symbols.h"

#include <algorithm>
#include <climits>
#include <cwctype>

namespace kel::detail {

Symbols toSymbols(const KelString& text) {
    return wideToUtf16(text.getStringW(), static_cast<size_t>(text.length()));
}

KelString fromSymbols(const unsigned short* units, size_t count) {
    Symbols kept;
    kept.reserve(count);
    for (size_t i = 0; i < count; ++i) {
        if (units[i] != 0)
            kept.push_back(units[i]);
    }
    const std::wstring wide = utf16ToWide(kept.data(), kept.size());
    return KelString(wide.c_str());
}

bool occursIn(unsigned short symbol, const unsigned short* list, size_t length) {
    if (length == 0)
        return false;
    return symbol == 0 || std::find(list, list + length, symbol) != list + length;
}

int leadingInteger(const KelString& text) {
    const wchar_t* p = text.getStringW();
    while (std::iswspace(static_cast<wint_t>(*p)))
        ++p;
    const bool negative = *p == L'-';
    if (*p == L'-' || *p == L'+')
        ++p;
    long long value = 0;
    for (; *p >= L'0' && *p <= L'9'; ++p) {
        value = value * 10 + (*p - L'0');
        if (value > static_cast<long long>(INT_MAX) + 1)
            break;  // already out of range either way
    }
    if (negative)
        value = -value;
    if (value > INT_MAX)
        return INT_MAX;
    if (value < INT_MIN)
        return INT_MIN;
    return static_cast<int>(value);
}

bool isDecimalText(const KelString& text) {
    const wchar_t* begin = text.getStringW();
    return std::all_of(begin, begin + text.length(),
                       [](wchar_t c) { return c >= L'0' && c <= L'9'; });
}

}  // namespace kel::detail
