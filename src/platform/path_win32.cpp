#include "platform/path.h"

namespace kel::detail {

// The wide file-system calls take the text as it is; only the separators
// are made uniform.
NativePath toNativePath(std::wstring_view path) {
    return toNativeSeparators(path);
}

std::wstring fromNativePath(const NativePath& path) {
    return path;
}

}  // namespace kel::detail
