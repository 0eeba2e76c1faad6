// The portable part of the ODBC boundary: the installer's driver list and
// the text conversion.

#include "environment/odbc.h"

#include <cwchar>

namespace kel::detail {

std::vector<std::wstring> odbcDriverNames(const unsigned short* buffer, size_t capacity) {
    std::vector<std::wstring> names;
    size_t at = 0;
    while (at < capacity && buffer[at] != 0) {
        size_t end = at;
        while (end < capacity && buffer[end] != 0)
            ++end;
        names.push_back(odbcWideText(buffer + at, end - at));
        at = end + 1;
    }
    return names;
}

Utf16String odbcText(const wchar_t* text) {
    return wideToUtf16(text, std::wcslen(text));
}

std::wstring odbcWideText(const unsigned short* text, size_t length) {
    return utf16ToWide(text, length);
}

}  // namespace kel::detail
