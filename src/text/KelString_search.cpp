// KelString searching, cutting and content tests.

#include <kel/KelString.h>

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <string>
#include <string_view>

#include "platform/unicode_class.h"

namespace {

// Whether every character satisfies `test`; `whenEmpty` for the empty text.
bool allCharacters(const wchar_t* text, bool (*test)(wchar_t), bool whenEmpty) {
    if (*text == L'\0')
        return whenEmpty;
    for (; *text != L'\0'; ++text) {
        if (!test(*text))
            return false;
    }
    return true;
}

}  // namespace

// ----- content tests ----------------------------------------------------------------

// The classes are the Windows runtime's (iswalnum, iswalpha, iswdigit) from
// the library's own Unicode tables, so that they do not depend on the C
// library's current locale and are the same on every system.

bool KelString::IsAlphaNumeric() const {
    return allCharacters(getStringW(), kel::detail::isWideAlphaNumeric, true);
}

bool KelString::IsAlphabetic() const {
    return allCharacters(getStringW(), kel::detail::isWideAlphabetic, true);
}

bool KelString::IsNumeric() const {
    // Deliberate: the empty text is not numeric although it is alphabetic
    // and alphanumeric; callers use this to reject empty number fields.
    return allCharacters(getStringW(), kel::detail::isWideDigit, false);
}

KelString KelString::strRev() const {
    std::wstring reversed(getStringW());
    std::reverse(reversed.begin(), reversed.end());
    KelString result;
    result.assignCopy(reversed.data(), static_cast<int>(reversed.size()));
    return result;
}

// ----- searching ----------------------------------------------------------------------

int KelString::find(const KelString& what, int start) const {
    if (start < 0)
        return -1;
    const wchar_t* text = getStringW();
    // start < length, found without counting the whole text.
    for (int i = 0; i <= start; ++i) {
        if (text[i] == L'\0')
            return -1;
    }
    const wchar_t* pattern = what.getStringW();
    if (pattern[0] == L'\0')
        return start;
    size_t rest = 0;
    while (pattern[rest + 1] != L'\0')
        ++rest;
    // Each occurrence of the first character, then the rest compared; the
    // comparison stops at the text's terminator.
    for (const wchar_t* p = std::wcschr(text + start, pattern[0]); p != nullptr;
         p = std::wcschr(p + 1, pattern[0])) {
        if (std::wcsncmp(p + 1, pattern + 1, rest) == 0)
            return static_cast<int>(p - text);
    }
    return -1;
}

int KelString::find_last_of(char c) const {
    const char* narrow = getStringA();
    // Deliberate: the scan starts at the wide length, not the narrow one, so
    // the last bytes of text with multi-byte characters are not examined.
    // Callers look for ASCII separators near the start and rely on it.
    const int size = std::min(length(), static_cast<int>(std::strlen(narrow)));
    for (int i = size - 1; i >= 0; --i) {
        if (narrow[i] == c)
            return i;
    }
    return -1;
}

int KelString::find_last_of(unsigned short c) const {
    const std::wstring_view text(getStringW());
    const size_t at = text.rfind(static_cast<wchar_t>(c));
    return at == std::wstring_view::npos ? -1 : static_cast<int>(at);
}

// ----- cutting --------------------------------------------------------------------------

KelString KelString::left(int n) const {
    KelString result;
    if (n < 0)
        return result;
    const int size = length();
    if (n >= size)
        return *this;
    result.assignCopy(getStringW(), n);
    return result;
}

KelString KelString::right(int n) const {
    KelString result;
    if (n < 0)
        return result;
    const int size = length();
    if (n >= size)
        return *this;
    result.assignCopy(getStringW() + (size - n), n);
    return result;
}

KelString KelString::mid(int start, int count) const {
    KelString result;
    const int size = length();
    // Positions outside the text give the empty text instead of reading
    // outside it.
    if (start < 0 || start > size || count <= 0)
        return result;
    result.assignCopy(getStringW() + start, std::min(size - start, count));
    return result;
}

KelString KelString::mid(int start) const {
    return mid(start, length() - start);
}

KelString KelString::copy(const KelString& src, int start, int count) {
    const int size = src.length();
    if (start >= 0 && count > 0 && start < size) {
        assignCopy(src.getStringW() + start, std::min(count, size - start));
    } else {
        empty();
    }
    return *this;
}

KelString KelString::copy(const KelString& src, int start) {
    return copy(src, start, src.length() - start);
}
