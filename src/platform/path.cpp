#include "platform/path.h"

namespace kel::detail {

std::wstring toNativeSeparators(std::wstring_view path) {
    std::wstring result(path);
    for (wchar_t& c : result) {
        if (isPathSeparator(c))
            c = kNativeSeparator;
    }
    return result;
}

}  // namespace kel::detail
