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

std::vector<std::wstring> resolvedParts(std::wstring_view path, wchar_t separator) {
    std::vector<std::wstring> parts;
    size_t start = 0;
    while (start <= path.size()) {
        size_t end = path.find(separator, start);
        if (end == std::wstring_view::npos)
            end = path.size();
        const std::wstring_view part = path.substr(start, end - start);
        if (part == L"..") {
            if (!parts.empty())
                parts.pop_back();
        } else if (!part.empty() && part != L".") {
            parts.emplace_back(part);
        }
        start = end + 1;
    }
    return parts;
}

}  // namespace kel::detail
