#include "diagnostics/log_stream.h"

#include <cerrno>
#include <cstdarg>

#include "files/text_stream.h"
#include "platform/format.h"

namespace kel::detail {

std::FILE* openLog(const std::wstring& path, const wchar_t* mode, int* error) {
    std::FILE* stream = nullptr;
    const int result = path.empty() ? ENOENT : openTextStream(&stream, path, mode);
    if (error != nullptr)
        *error = result;
    return result == 0 ? stream : nullptr;
}

void closeLog(std::FILE* stream) {
    if (stream != nullptr)
        closeTextStream(stream);
}

void truncateLeavingOpen(const std::wstring& path) {
    std::FILE* stream = openTruncatingStream(path);
    // Deliberately not closed: see the header. A failed open has nothing to
    // close.
    (void)stream;
}

int printLog(std::FILE* stream, const wchar_t* format, ...) {
    va_list args;
    va_start(args, format);
    const int count = printWide(stream, format, args, WideArgs::Native);
    va_end(args);
    return count;
}

std::wstring formatText(const wchar_t* format, ...) {
    va_list args;
    va_start(args, format);
    std::wstring text = formatToString(format, args);
    va_end(args);
    return text;
}

}  // namespace kel::detail
