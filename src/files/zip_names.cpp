#include "files/zip_names.h"

#include <algorithm>

#include "files/file_system.h"
#include "platform/code_page.h"
#include "platform/path.h"
#include "platform/utf.h"

namespace kel::detail {

namespace {

size_t lastSeparator(std::wstring_view path) {
    return path.find_last_of(L"\\/");
}

// Where the file-name part begins: behind the last separator, or behind a
// drive "X:" when there is no separator.
size_t fileNameStart(std::wstring_view path) {
    const size_t separator = lastSeparator(path);
    if (separator != std::wstring_view::npos)
        return separator + 1;
    return (path.size() >= 2 && path[1] == L':') ? 2 : 0;
}

wchar_t folded(wchar_t c) {
    return (c >= L'A' && c <= L'Z') ? static_cast<wchar_t>(c - L'A' + L'a') : c;
}

std::wstring collapsed(std::wstring_view path) {
    std::wstring result;
    for (wchar_t c : path) {
        const bool separator = isPathSeparator(c);
        if (separator && !result.empty() && result.back() == L'\\')
            continue;
        result += separator ? L'\\' : folded(c);
    }
    return result;
}

}  // namespace

std::wstring withBackslashes(std::wstring_view path) {
    std::wstring result(path);
    std::replace(result.begin(), result.end(), L'/', L'\\');
    return result;
}

std::wstring withoutTrailingSeparators(std::wstring_view path) {
    std::wstring result(path);
    while (result.size() > 1 && isPathSeparator(result.back())) {
        const bool driveRoot = result.size() == 3 && result[1] == L':';
        if (driveRoot)
            break;
        result.pop_back();
    }
    return result;
}

std::wstring fileNamePart(std::wstring_view path) {
    return std::wstring(path.substr(fileNameStart(path)));
}

std::wstring folderPart(std::wstring_view path) {
    return std::wstring(path.substr(0, fileNameStart(path)));
}

std::wstring extensionPart(std::wstring_view path) {
    const std::wstring name = fileNamePart(path);
    const size_t dot = name.rfind(L'.');
    return dot == std::wstring::npos ? std::wstring() : name.substr(dot + 1);
}

std::wstring withExtension(std::wstring_view path, std::wstring_view extension) {
    const std::wstring name = fileNamePart(path);
    const size_t dot = name.rfind(L'.');
    const std::wstring base = dot == std::wstring::npos ? name : name.substr(0, dot);
    return folderPart(path) + base + L'.' + std::wstring(extension);
}

std::wstring asFolder(std::wstring_view folder) {
    std::wstring result(folder);
    if (!result.empty() && !isPathSeparator(result.back()))
        result += L'\\';
    return result;
}

std::wstring joinPath(std::wstring_view folder, std::wstring_view name) {
    return asFolder(folder) + std::wstring(name);
}

bool startsWithNoCase(std::wstring_view text, std::wstring_view prefix) {
    if (text.size() < prefix.size())
        return false;
    for (size_t i = 0; i < prefix.size(); ++i) {
        const bool bothSeparators = isPathSeparator(text[i]) && isPathSeparator(prefix[i]);
        if (!bothSeparators && folded(text[i]) != folded(prefix[i]))
            return false;
    }
    return true;
}

bool samePathNoCase(std::wstring_view a, std::wstring_view b) {
    return collapsed(a) == collapsed(b);
}

bool hasDrive(std::wstring_view name) {
    return name.size() >= 2 && name[1] == L':' &&
           ((name[0] >= L'A' && name[0] <= L'Z') || (name[0] >= L'a' && name[0] <= L'z'));
}

bool isContainedName(std::wstring_view name) {
    if (name.empty() || isPathSeparator(name[0]) || hasDrive(name))
        return false;
    // Elsewhere ":" names a stream of a file, or a drive further on.
    if (!colonIsNameCharacter() && name.find(L':') != std::wstring_view::npos)
        return false;
    int depth = 0;
    size_t start = 0;
    while (start <= name.size()) {
        size_t end = name.find_first_of(L"\\/", start);
        if (end == std::wstring_view::npos)
            end = name.size();
        const std::wstring_view part = name.substr(start, end - start);
        if (part == L"..") {
            if (--depth < 0)
                return false;
        } else if (!part.empty() && part != L".") {
            ++depth;
        }
        start = end + 1;
    }
    return true;
}

std::string entryNameBytes(std::wstring_view name, bool& utf8) {
    utf8 = std::any_of(name.begin(), name.end(), [](wchar_t c) { return c >= 0x80; });
    if (utf8)
        return wideToUtf8(name);
    return std::string(name.begin(), name.end());
}

std::wstring entryText(std::string_view bytes, bool utf8) {
    return utf8 ? utf8ToWide(bytes) : toWide(bytes, kCodePageAcp);
}

}  // namespace kel::detail
