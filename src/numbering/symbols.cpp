#include "numbering/symbols.h"

#include <algorithm>

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

bool isDecimalText(const KelString& text) {
    const wchar_t* begin = text.getStringW();
    return std::all_of(begin, begin + text.length(),
                       [](wchar_t c) { return c >= L'0' && c <= L'9'; });
}

}  // namespace kel::detail
