#include "platform/code_page.h"

#include <climits>

#include <kel/KelPlatform.h>

#include "platform/last_error.h"
#include "platform/utf.h"

namespace kel::detail {

unsigned int narrowCodePage() {
    static const unsigned int codePage = system::narrowCodePage();
    return codePage;
}

unsigned int resolveCodePage(unsigned int codePage) {
    if (codePage == kCodePageAcp || codePage == kCodePageOem || codePage == kCodePageThreadAcp) {
        return narrowCodePage();
    }
    return codePage;
}

bool isCodePageSupported(unsigned int codePage) {
    codePage = resolveCodePage(codePage);
    return codePage == kCodePageUtf8 || system::isSupported(codePage);
}

namespace {

// The argument rules both conversions share. Returns false (with the last
// error set) when the call is invalid; otherwise `length` is the number of
// source units to convert, the terminator included for a length of -1.
template <typename Char>
bool checkArguments(const Char* source, int sourceLength, const void* target, int capacity,
                    size_t& length) {
    if (source == nullptr || sourceLength == 0 || sourceLength < -1 || capacity < 0 ||
        (capacity > 0 && target == nullptr)) {
        setLastError(kErrorInvalidParameter);
        return false;
    }
    if (sourceLength == -1) {
        length = std::char_traits<Char>::length(source) + 1;
    } else {
        length = static_cast<size_t>(sourceLength);
    }
    return true;
}

// Turns a "needed" count into the Windows-style result.
int finish(size_t needed, int capacity) {
    if (needed > static_cast<size_t>(INT_MAX)) {
        setLastError(kErrorInsufficientBuffer);
        return 0;
    }
    if (capacity > 0 && needed > static_cast<size_t>(capacity)) {
        setLastError(kErrorInsufficientBuffer);
        return 0;
    }
    return static_cast<int>(needed);
}

}  // namespace

int multiByteToWide(unsigned int codePage, const char* source, int sourceLength, wchar_t* target,
                    int capacity) {
    size_t length = 0;
    if (!checkArguments(source, sourceLength, target, capacity, length))
        return 0;
    codePage = resolveCodePage(codePage);
    const size_t room = static_cast<size_t>(capacity);
    size_t needed = 0;
    if (codePage == kCodePageUtf8) {
        needed = utf8ToWide(source, length, target, room);
    } else {
        bool ok = false;
        needed = system::toWide(codePage, source, length, target, room, ok);
        if (!ok) {
            setLastError(kErrorInvalidParameter);
            return 0;
        }
    }
    return finish(needed, capacity);
}

int wideToMultiByte(unsigned int codePage, const wchar_t* source, int sourceLength, char* target,
                    int capacity, const char* defaultChar, bool* usedDefault) {
    size_t length = 0;
    if (!checkArguments(source, sourceLength, target, capacity, length))
        return 0;
    codePage = resolveCodePage(codePage);
    const size_t room = static_cast<size_t>(capacity);
    size_t needed = 0;
    if (codePage == kCodePageUtf8) {
        needed = wideToUtf8(source, length, target, room, defaultChar, usedDefault);
    } else {
        bool ok = false;
        needed =
            system::toNarrow(codePage, source, length, target, room, defaultChar, usedDefault, ok);
        if (!ok) {
            setLastError(kErrorInvalidParameter);
            return 0;
        }
    }
    return finish(needed, capacity);
}

std::wstring toWide(std::string_view text, unsigned int codePage) {
    std::wstring result;
    if (text.empty() || text.size() > static_cast<size_t>(INT_MAX))
        return result;
    const int length = static_cast<int>(text.size());
    const int needed = multiByteToWide(codePage, text.data(), length, nullptr, 0);
    if (needed <= 0)
        return result;
    result.resize(static_cast<size_t>(needed));
    result.resize(
        static_cast<size_t>(multiByteToWide(codePage, text.data(), length, result.data(), needed)));
    return result;
}

std::string toNarrow(std::wstring_view text, unsigned int codePage) {
    std::string result;
    if (text.empty() || text.size() > static_cast<size_t>(INT_MAX))
        return result;
    const int length = static_cast<int>(text.size());
    const int needed = wideToMultiByte(codePage, text.data(), length, nullptr, 0, nullptr, nullptr);
    if (needed <= 0)
        return result;
    result.resize(static_cast<size_t>(needed));
    result.resize(static_cast<size_t>(
        wideToMultiByte(codePage, text.data(), length, result.data(), needed, nullptr, nullptr)));
    return result;
}

}  // namespace kel::detail

unsigned int kelGetNarrowCodePage() {
    return kel::detail::narrowCodePage();
}
