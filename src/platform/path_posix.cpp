#include "platform/path.h"
#include "platform/utf.h"

namespace kel::detail {

// File names on POSIX are bytes; the library writes and reads them as UTF-8
// whatever the narrow code page is, so names survive a change of KEL_ACP.
NativePath toNativePath(std::wstring_view path) {
    return wideToUtf8(toNativeSeparators(path));
}

std::wstring fromNativePath(const NativePath& path) {
    return utf8ToWide(path);
}

}  // namespace kel::detail
