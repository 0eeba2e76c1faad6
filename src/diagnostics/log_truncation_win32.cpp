#include <cstdio>

#include "diagnostics/log_stream.h"
#include "files/file_system.h"

namespace kel::detail {

std::FILE* openTruncatingStream(const std::wstring& path) {
    return openBinaryStream(path, "w");
}

}  // namespace kel::detail
