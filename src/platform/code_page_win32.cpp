// The system half of code-page conversion on Windows: MultiByteToWideChar
// and WideCharToMultiByte.

#include <windows.h>

#include <climits>
#include <cstring>
#include <string>

#include "platform/code_page.h"

namespace kel::detail::system {

namespace {

// Code pages for which WideCharToMultiByte takes neither flags nor a
// default character (the ISO-2022 family, ISCII, GB 18030, UTF-7, symbol).
bool takesNoFlags(unsigned int codePage) {
    switch (codePage) {
        case 42:
        case 50220:
        case 50221:
        case 50222:
        case 50225:
        case 50227:
        case 50229:
        case 52936:
        case 54936:
        case 65000:
            return true;
        default:
            return codePage >= 57002 && codePage <= 57011;
    }
}

// Runs `convert(target, capacity)`, which returns the count it wrote or 0
// when the target was too small, so that the result is the count the whole
// input needs and the target holds what fits.
template <typename Char, typename Convert>
size_t boundedConvert(Char* target, size_t capacity, int needed, Convert convert) {
    if (needed <= 0 || capacity == 0)
        return needed > 0 ? static_cast<size_t>(needed) : 0;
    const size_t total = static_cast<size_t>(needed);
    if (capacity >= total) {
        convert(target, needed);
        return total;
    }
    std::basic_string<Char> all(total, Char(0));
    convert(all.data(), needed);
    std::memcpy(target, all.data(), capacity * sizeof(Char));
    return total;
}

}  // namespace

size_t toWide(unsigned int codePage, const char* source, size_t length, wchar_t* target,
              size_t capacity, bool& ok) {
    ok = isSupported(codePage) && length <= static_cast<size_t>(INT_MAX);
    if (!ok || length == 0)
        return 0;
    const int inputLength = static_cast<int>(length);
    const int needed = ::MultiByteToWideChar(codePage, 0, source, inputLength, nullptr, 0);
    return boundedConvert(target, capacity, needed, [&](wchar_t* out, int room) {
        return ::MultiByteToWideChar(codePage, 0, source, inputLength, out, room);
    });
}

size_t toNarrow(unsigned int codePage, const wchar_t* source, size_t length, char* target,
                size_t capacity, const char* defaultChar, bool* usedDefault, bool& ok) {
    ok = isSupported(codePage) && length <= static_cast<size_t>(INT_MAX);
    if (usedDefault != nullptr)
        *usedDefault = false;
    if (!ok || length == 0)
        return 0;
    const int inputLength = static_cast<int>(length);
    // Without best fit: a character the code page lacks becomes the default
    // character, as on every other system, instead of a look-alike.
    const bool plain = takesNoFlags(codePage);
    const DWORD flags = plain ? 0 : WC_NO_BEST_FIT_CHARS;
    const char* replacement = plain ? nullptr : (defaultChar != nullptr ? defaultChar : "?");
    BOOL used = FALSE;
    BOOL* usedOut = plain ? nullptr : &used;
    const int needed = ::WideCharToMultiByte(codePage, flags, source, inputLength, nullptr, 0,
                                             replacement, usedOut);
    const size_t result = boundedConvert(target, capacity, needed, [&](char* out, int room) {
        return ::WideCharToMultiByte(codePage, flags, source, inputLength, out, room, replacement,
                                     usedOut);
    });
    if (usedDefault != nullptr)
        *usedDefault = used != FALSE;
    return result;
}

bool isSupported(unsigned int codePage) {
    return codePage == kCodePageUtf8 || ::IsValidCodePage(codePage) != FALSE;
}

unsigned int narrowCodePage() {
    return ::GetACP();
}

}  // namespace kel::detail::system
