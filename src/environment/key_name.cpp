#include "environment/key_name.h"

#include <algorithm>

#include "environment/hive_store.h"

namespace kel::detail {

namespace {

// In [first, last], upper- and lower-case forms alternate, each upper form
// directly before its lower one; the upper forms are the codes whose lowest
// bit is `upperParity`.
bool foldAlternating(unsigned long c, unsigned long first, unsigned long last,
                     unsigned long upperParity, unsigned long& folded) {
    if (c < first || c > last)
        return false;
    folded = (c & 1) == upperParity ? c : c - 1;
    return true;
}

// [first, last] is the lower-case range of a block whose upper case lies
// `distance` below.
bool foldShifted(unsigned long c, unsigned long first, unsigned long last, unsigned long distance,
                 unsigned long& folded) {
    if (c < first || c > last)
        return false;
    folded = c - distance;
    return true;
}

unsigned long foldCodePoint(unsigned long c) {
    unsigned long f = c;
    if (c < 0x80)
        return c >= 'a' && c <= 'z' ? c - 0x20 : c;
    switch (c) {
        case 0x00B5:
            return 0x039C;  // micro sign: Greek capital mu
        case 0x00F7:
            return c;  // division sign
        case 0x00FF:
            return 0x0178;
        case 0x03AC:
            return 0x0386;
        case 0x03C2:
            return 0x03A3;  // final sigma
        case 0x03CC:
            return 0x038C;
        case 0x04CF:
            return 0x04C0;
        default:
            break;
    }
    if (foldShifted(c, 0x00E0, 0x00FE, 0x20, f) ||   // Latin-1
        foldAlternating(c, 0x0100, 0x012F, 0, f) ||  // Latin Extended-A
        foldAlternating(c, 0x0132, 0x0137, 0, f) ||  //
        foldAlternating(c, 0x0139, 0x0148, 1, f) ||  //
        foldAlternating(c, 0x014A, 0x0177, 0, f) ||  //
        foldAlternating(c, 0x0179, 0x017E, 1, f) ||  //
        foldShifted(c, 0x03AD, 0x03AF, 0x25, f) ||   // Greek with tonos
        foldShifted(c, 0x03B1, 0x03CB, 0x20, f) ||   // Greek
        foldShifted(c, 0x03CD, 0x03CE, 0x3F, f) ||   //
        foldShifted(c, 0x0430, 0x044F, 0x20, f) ||   // Cyrillic
        foldShifted(c, 0x0450, 0x045F, 0x50, f) ||   //
        foldAlternating(c, 0x0460, 0x0481, 0, f) ||  //
        foldAlternating(c, 0x048A, 0x04BF, 0, f) ||  //
        foldAlternating(c, 0x04C1, 0x04CE, 1, f) ||  //
        foldAlternating(c, 0x04D0, 0x052F, 0, f) ||  //
        foldShifted(c, 0x0561, 0x0586, 0x30, f) ||   // Armenian
        foldAlternating(c, 0x1E00, 0x1E95, 0, f) ||  // Latin Extended Additional
        foldAlternating(c, 0x1EA0, 0x1EFF, 0, f) ||  //
        foldShifted(c, 0xFF41, 0xFF5A, 0x20, f)) {   // full-width Latin
        return f;
    }
    return c;
}

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
    return static_cast<wchar_t>(foldCodePoint(static_cast<Unit>(c)));
}

std::wstring foldName(std::wstring_view name) {
    std::wstring folded(name);
    for (wchar_t& c : folded)
        c = foldCharacter(c);
    return folded;
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
            for (size_t i = start; i < end; ++i)
                folded += foldCharacter(path[i]);
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
