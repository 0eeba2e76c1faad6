#include "environment/key_name.h"

#include <algorithm>
#include <type_traits>

#include "environment/hive_store.h"
#include "platform/case_fold.h"

namespace kel::detail {

namespace {

// "SOFTWARE" or "SOFTWARE\X" (folded) gains "\WOW6432NODE" after its first
// name, unless it is there already.
void insertWow32Node(std::wstring& folded) {
    const std::wstring_view software = L"SOFTWARE";
    const std::wstring_view node = L"WOW6432NODE";
    const std::wstring_view path = folded;
    if (path.substr(0, software.size()) != software ||
        (path.size() > software.size() && path[software.size()] != L'\\'))
        return;
    const std::wstring_view rest = path.substr(std::min(path.size(), software.size() + 1));
    if (rest.substr(0, node.size()) == node &&
        (rest.size() == node.size() || rest[node.size()] == L'\\'))
        return;
    folded.insert(software.size(), L"\\WOW6432NODE");
}

}  // namespace

wchar_t foldCharacter(wchar_t c) {
    using Unit = std::make_unsigned_t<wchar_t>;
    const Unit unit = static_cast<Unit>(c);
    if (unit >= 0xD800 && unit <= 0xDFFF)
        return c;
    return static_cast<wchar_t>(caseKey(unit));
}

std::wstring foldName(std::wstring_view name) {
    return caseKeyText(name);
}

unsigned long splitKeyPath(std::wstring_view path, std::vector<std::wstring>& names) {
    names.clear();
    if (!path.empty() && path.front() == L'\\')
        return kErrorBadPathname;
    size_t start = 0;
    while (start <= path.size()) {
        size_t end = path.find(L'\\', start);
        if (end == std::wstring_view::npos)
            end = path.size();
        if (end - start > kMaxKeyNameLength)
            return kErrorInvalidParameter;
        if (end > start)
            names.emplace_back(path.substr(start, end - start));
        start = end + 1;
    }
    return kErrorSuccess;
}

unsigned long foldKeyPath(std::wstring_view path, bool wow32, std::wstring& folded) {
    folded.clear();
    if (!path.empty() && path.front() == L'\\')
        return kErrorBadPathname;
    size_t start = 0;
    while (start <= path.size()) {
        size_t end = path.find(L'\\', start);
        if (end == std::wstring_view::npos)
            end = path.size();
        if (end - start > kMaxKeyNameLength)
            return kErrorInvalidParameter;
        if (end > start) {
            if (!folded.empty())
                folded += L'\\';
            folded += caseKeyText(path.substr(start, end - start));
        }
        start = end + 1;
    }
    if (wow32)
        insertWow32Node(folded);
    return kErrorSuccess;
}

void mapToWow32View(std::vector<std::wstring>& names) {
    if (names.empty() || foldName(names[0]) != L"SOFTWARE")
        return;
    if (names.size() > 1 && foldName(names[1]) == L"WOW6432NODE")
        return;
    names.insert(names.begin() + 1, L"WOW6432Node");
}

}  // namespace kel::detail
