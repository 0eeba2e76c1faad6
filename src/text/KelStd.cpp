#include <kel/KelStd.h>

#include "platform/utf.h"

size_t kelWideToUtf8(const wchar_t* text, size_t length, char* out, size_t capacity) {
    if (text == nullptr)
        return 0;
    return kel::detail::wideToUtf8(text, length, out, capacity, nullptr, nullptr);
}

size_t kelUtf8ToWide(const char* text, size_t length, wchar_t* out, size_t capacity) {
    if (text == nullptr)
        return 0;
    return kel::detail::utf8ToWide(text, length, out, capacity);
}
