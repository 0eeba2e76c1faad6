#include "support/system.h"

#if defined(_WIN32)
#include <windows.h>
#endif

namespace kel::test {

namespace {

void appendUtf8(unsigned long c, std::string& out) {
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

// Windows-1252 for Latin-1 and the euro sign, the characters tests use.
bool append1252(unsigned long c, std::string& out) {
    if (c == 0x20AC) {
        out += '\x80';
        return true;
    }
    if (c > 0xFF || (c >= 0x80 && c <= 0x9F))
        return false;
    out += static_cast<char>(c);
    return true;
}

}  // namespace

bool narrowSample(unsigned int codePage, const std::wstring& text, std::string& narrow) {
    narrow.clear();
    for (const wchar_t unit : text) {
        const auto c = static_cast<unsigned long>(unit);
        if (c >= 0xD800 && c <= 0xDFFF)
            return false;  // samples keep to the basic plane
        if (codePage == 65001) {
            appendUtf8(c, narrow);
        } else if (codePage != 1252 || !append1252(c, narrow)) {
            return false;
        }
    }
    return true;
}

bool runningUnderWine() {
#if defined(_WIN32)
    // Wine's ntdll exports its own version query; Windows' does not.
    const HMODULE ntdll = ::GetModuleHandleW(L"ntdll.dll");
    return ntdll != nullptr && ::GetProcAddress(ntdll, "wine_get_version") != nullptr;
#else
    return false;
#endif
}

std::string utf8(const std::wstring& text) {
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        unsigned long c = static_cast<unsigned long>(text[i]);
        if (sizeof(wchar_t) == 2 && c >= 0xD800 && c < 0xDC00 && i + 1 < text.size()) {
            const unsigned long low = static_cast<unsigned long>(text[i + 1]);
            if (low >= 0xDC00 && low < 0xE000) {
                c = 0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00);
                ++i;
            }
        }
        if (c < 0x80) {
            out += static_cast<char>(c);
        } else if (c < 0x800) {
            out += static_cast<char>(0xC0 | (c >> 6));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else if (c < 0x10000) {
            out += static_cast<char>(0xE0 | (c >> 12));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else {
            out += static_cast<char>(0xF0 | (c >> 18));
            out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    return out;
}

}  // namespace kel::test
