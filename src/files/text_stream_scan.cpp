// The scans of the text streams: fwscanf's "%s", "%d" and "%lf", one wide
// character at a time, giving back the character that ends an item.

#include <cstdlib>
#include <cwchar>

#include "files/text_stream.h"

namespace kel::detail {

namespace {

// The white space of the scans: the ASCII blanks and line ends.
bool isScanSpace(wchar_t c) {
    return c == L' ' || (c >= L'\t' && c <= L'\r');
}

wchar_t lower(wchar_t c) {
    return (c >= L'A' && c <= L'Z') ? static_cast<wchar_t>(c - L'A' + L'a') : c;
}

bool isDigit(wchar_t c) {
    return c >= L'0' && c <= L'9';
}

// Reads characters while `accept` takes them, appending them to `text`;
// the first refused character is given back.
template <typename Accept>
void readWhile(std::FILE* stream, std::wstring& text, Accept accept) {
    wchar_t c = 0;
    while (readWideChar(stream, c)) {
        if (!accept(c, text)) {
            unreadWideChar(stream, c);
            return;
        }
        text += c;
    }
}

// Skips white space; false when the input ends first.
bool skipSpace(std::FILE* stream) {
    wchar_t c = 0;
    while (readWideChar(stream, c)) {
        if (!isScanSpace(c)) {
            unreadWideChar(stream, c);
            return true;
        }
    }
    return false;
}

// Whether `text` followed by `c` can still begin a floating-point number
// ("-1.5e+3", "inf", "infinity", "nan"). Like the runtime's scan, this
// looks one character ahead and never backs up further.
bool extendsFloat(const std::wstring& text, wchar_t c) {
    if (text.empty() && (c == L'+' || c == L'-'))
        return true;
    const size_t signLength = (!text.empty() && (text[0] == L'+' || text[0] == L'-')) ? 1 : 0;
    const std::wstring_view body = std::wstring_view(text).substr(signLength);
    if (body.empty())
        return isDigit(c) || c == L'.' || lower(c) == L'i' || lower(c) == L'n';
    const wchar_t first = lower(body[0]);
    if (first == L'i' || first == L'n') {
        const std::wstring_view word = first == L'i' ? L"infinity" : L"nan";
        return body.size() < word.size() && lower(c) == word[body.size()];
    }
    const size_t e = body.find_first_of(L"eE");
    if (e == std::wstring_view::npos) {
        if (isDigit(c))
            return true;
        if (c == L'.')
            return body.find(L'.') == std::wstring_view::npos;
        return lower(c) == L'e' && body.find_first_of(L"0123456789") != std::wstring_view::npos;
    }
    const std::wstring_view exponent = body.substr(e + 1);
    if (isDigit(c))
        return true;
    return (c == L'+' || c == L'-') && exponent.empty();
}

// Whether the collected text is a whole number for the "%lf" scan.
bool completeFloat(const std::wstring& text) {
    if (text.empty())
        return false;
    const wchar_t last = lower(text.back());
    const size_t start = (text[0] == L'+' || text[0] == L'-') ? 1 : 0;
    const std::wstring body = text.substr(start);
    if (!body.empty() && (lower(body[0]) == L'i' || lower(body[0]) == L'n')) {
        return body.size() == 3 || body.size() == 8;
    }
    return isDigit(text.back()) ||
           (last == L'.' && body.find_first_of(L"0123456789") != std::wstring::npos);
}

}  // namespace

int scanWord(std::FILE* stream, std::wstring& word, size_t capacity) {
    word.clear();
    if (!skipSpace(stream))
        return EOF;
    bool tooLong = false;
    readWhile(stream, word, [&](wchar_t c, const std::wstring& text) {
        if (isScanSpace(c))
            return false;
        if (text.size() + 1 >= capacity) {
            // An overlong word is consumed whole and refused.
            tooLong = true;
            wchar_t rest = 0;
            while (readWideChar(stream, rest)) {
                if (isScanSpace(rest)) {
                    unreadWideChar(stream, rest);
                    break;
                }
            }
            return false;
        }
        return true;
    });
    if (tooLong) {
        word.clear();
        return 0;
    }
    return 1;
}

int scanInt(std::FILE* stream, int& value) {
    if (!skipSpace(stream))
        return EOF;
    std::wstring text;
    readWhile(stream, text, [](wchar_t c, const std::wstring& sofar) {
        return isDigit(c) || (sofar.empty() && (c == L'+' || c == L'-'));
    });
    if (text.empty() || !isDigit(text.back()))
        return 0;
    // Digits beyond the range of int wrap around, as the runtime's scan
    // accumulates them in an unsigned value.
    unsigned int magnitude = 0;
    for (wchar_t c : text) {
        if (isDigit(c))
            magnitude = magnitude * 10u + static_cast<unsigned int>(c - L'0');
    }
    if (text[0] == L'-')
        magnitude = 0u - magnitude;
    value = static_cast<int>(magnitude);
    return 1;
}

int scanDouble(std::FILE* stream, double& value) {
    if (!skipSpace(stream))
        return EOF;
    std::wstring text;
    readWhile(stream, text,
              [](wchar_t c, const std::wstring& sofar) { return extendsFloat(sofar, c); });
    if (!completeFloat(text))
        return 0;
    value = std::wcstod(text.c_str(), nullptr);
    return 1;
}

}  // namespace kel::detail
