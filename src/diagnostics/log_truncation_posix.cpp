#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

#include "diagnostics/log_stream.h"
#include "platform/path.h"

namespace kel::detail {

std::FILE* openTruncatingStream(const std::wstring& path) {
    const NativePath native = toNativePath(path);
    if (native.empty())
        return nullptr;
    const int fd = ::open(native.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (fd < 0)
        return nullptr;
    std::FILE* stream = ::fdopen(fd, "w");
    if (stream == nullptr)
        ::close(fd);
    return stream;
}

}  // namespace kel::detail
