// Fixed-capacity text buffers of the product identity and the key table.

#ifndef KEL_ENVIRONMENT_BOUNDED_TEXT_H
#define KEL_ENVIRONMENT_BOUNDED_TEXT_H

#include <cstddef>
#include <string_view>

namespace kel::detail {

// True when `text` fits in `capacity` characters with its terminator.
constexpr bool fitsBuffer(std::wstring_view text, size_t capacity) {
    return text.size() < capacity;
}

// Copies `text` into `buffer` when it fits. Text that does not fit is
// reported to the invalid-parameter handler on behalf of `function` and
// leaves the buffer as it was: nothing is stored cut short.
bool storeBounded(wchar_t* buffer, size_t capacity, std::wstring_view text, const char* function);

}  // namespace kel::detail

#endif  // KEL_ENVIRONMENT_BOUNDED_TEXT_H
