#include "environment/bounded_text.h"

#include <cwchar>

#include "platform/invalid_parameter.h"

namespace kel::detail {

bool storeBounded(wchar_t* buffer, size_t capacity, std::wstring_view text, const char* function) {
    if (!fitsBuffer(text, capacity)) {
        invalidParameter(L"text fits in the buffer", function);
        return false;
    }
    if (!text.empty())
        std::wmemcpy(buffer, text.data(), text.size());
    buffer[text.size()] = L'\0';
    return true;
}

}  // namespace kel::detail
