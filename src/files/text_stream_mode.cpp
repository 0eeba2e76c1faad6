// The runtime's mode strings: "r", "wb+", "a, ccs=UTF-8", "r,ccs=unicode" ...

#include <string>

#include "files/text_stream.h"
#include "files/text_stream_system.h"

namespace kel::detail {

namespace {

bool isBlank(wchar_t c) {
    return c == L' ' || c == L'\t';
}

wchar_t lower(wchar_t c) {
    return (c >= L'A' && c <= L'Z') ? static_cast<wchar_t>(c - L'A' + L'a') : c;
}

bool equalNoCase(std::wstring_view a, std::wstring_view b) {
    if (a.size() != b.size())
        return false;
    for (size_t i = 0; i < a.size(); ++i) {
        if (lower(a[i]) != lower(b[i]))
            return false;
    }
    return true;
}

std::wstring_view trimmed(std::wstring_view text) {
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

// "ccs=NAME", with blanks allowed around the "=".
bool parseEncoding(std::wstring_view text, ModeEncoding& encoding) {
    text = trimmed(text);
    if (text.size() < 3 || !equalNoCase(text.substr(0, 3), L"ccs"))
        return false;
    text = trimmed(text.substr(3));
    if (text.empty() || text.front() != L'=')
        return false;
    const std::wstring_view name = trimmed(text.substr(1));
    if (equalNoCase(name, L"UNICODE")) {
        encoding = ModeEncoding::Unicode;
    } else if (equalNoCase(name, L"UTF-8")) {
        encoding = ModeEncoding::Utf8;
    } else if (equalNoCase(name, L"UTF-16LE")) {
        encoding = ModeEncoding::Utf16Le;
    } else {
        return false;
    }
    return true;
}

// The flags before the encoding: "w+b" of "w+b, ccs=UTF-8".
std::wstring_view flagsOf(std::wstring_view mode) {
    return trimmed(mode.substr(0, mode.find(L',')));
}

}  // namespace

StreamMode parseStreamMode(std::wstring_view mode) {
    StreamMode result;
    const size_t comma = mode.find(L',');
    const std::wstring_view flags = flagsOf(mode);
    if (flags.empty())
        return result;
    result.access = static_cast<char>(flags[0]);
    if (result.access != 'r' && result.access != 'w' && result.access != 'a')
        return result;
    for (wchar_t c : flags.substr(1)) {
        if (c == L'+') {
            result.update = true;
        } else if (c == L'x') {
            result.exclusive = true;
        } else if (c == L'b' || c == L't') {
            result.binary = c == L'b';
        } else if (std::wstring_view(L"cnNSRTD ").find(c) == std::wstring_view::npos) {
            return result;
        }
    }
    if (result.exclusive && result.access != 'w')
        return result;
    if (comma != std::wstring_view::npos && !parseEncoding(mode.substr(comma + 1), result.encoding))
        return result;
    result.valid = true;
    return result;
}

std::wstring runtimeModeOf(std::wstring_view mode, bool bytes) {
    std::wstring result;
    for (wchar_t c : flagsOf(mode)) {
        const bool dropped = c == L'x' || (bytes && (c == L'b' || c == L't'));
        if (!dropped)
            result += c;
    }
    if (bytes)
        result += L'b';
    return result;
}

}  // namespace kel::detail
