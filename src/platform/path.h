// Path text as the file system wants it.
//
// Every path the library accepts may separate its parts with "\" or "/".
// Before a path reaches the file system, POSIX builds turn "\" into "/" (so
// suffixes such as "\Configuration\x.xml" work unchanged) and encode it as
// UTF-8; Windows builds pass the wide text on as it is.

#ifndef KEL_PLATFORM_PATH_H
#define KEL_PLATFORM_PATH_H

#include <string>
#include <string_view>
#include <vector>

namespace kel::detail {

#if defined(_WIN32)
using NativePath = std::wstring;
constexpr wchar_t kNativeSeparator = L'\\';
#else
using NativePath = std::string;
constexpr wchar_t kNativeSeparator = L'/';
#endif

// True for "\" and "/".
constexpr bool isPathSeparator(wchar_t c) {
    return c == L'\\' || c == L'/';
}

// The path with every separator replaced by the native one.
std::wstring toNativeSeparators(std::wstring_view path);

// The path in the form the file-system calls of this system take.
NativePath toNativePath(std::wstring_view path);

// A file-system path back to wide text (separators left as they are).
std::wstring fromNativePath(const NativePath& path);

// The parts of `path` between `separator`s, resolved lexically: empty parts
// and "." dropped, each ".." taking away the part before it (a ".." with
// nothing before it is dropped too).
std::vector<std::wstring> resolvedParts(std::wstring_view path, wchar_t separator);

}  // namespace kel::detail

#endif  // KEL_PLATFORM_PATH_H
