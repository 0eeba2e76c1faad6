// The free file functions: thin, null-safe doors to the runtime's stream
// functions and the system's file operations.

#include <kel/KelFileAccess.h>

#include <cstdarg>
#include <string>

#include "files/file_system.h"
#include "files/text_stream.h"
#include "platform/format.h"
#include "platform/invalid_parameter.h"
#include "platform/last_error.h"
#include "platform/utf.h"

namespace {

using kel::detail::FormatStatus;
using kel::detail::printWide;
using kel::detail::WideArgs;

}  // namespace

int kelfopen(FILE** stream, const KelString& name, const KelString& mode) {
    return kel::detail::openTextStream(stream, name.getStringW(), mode.getStringW());
}

int kelfclose(FILE* stream) {
    return kel::detail::closeTextStream(stream);
}

int kelfprintf(FILE* stream, const char* format, ...) {
    if (!KEL_VALIDATE(stream != nullptr && format != nullptr))
        return -1;
    va_list args;
    va_start(args, format);
    FormatStatus status = FormatStatus::Ok;
    const std::string text = kel::detail::formatToString(format, args, &status);
    va_end(args);
    if (status != FormatStatus::Ok || kel::detail::writeNarrow(stream, text) != 0)
        return -1;
    return static_cast<int>(text.size());
}

int kelfprintf(FILE* stream, const wchar_t* format, ...) {
    if (!KEL_VALIDATE(stream != nullptr && format != nullptr))
        return -1;
    va_list args;
    va_start(args, format);
    const int count = printWide(stream, format, args, WideArgs::Native);
    va_end(args);
    return count;
}

int kelfprintf(FILE* stream, const unsigned short* format, ...) {
    if (!KEL_VALIDATE(stream != nullptr && format != nullptr))
        return -1;
    const std::wstring wideFormat = kel::detail::utf16ToWide(format);
    va_list args;
    va_start(args, format);
    const int count = printWide(stream, wideFormat.c_str(), args, WideArgs::Utf16);
    va_end(args);
    return count;
}

size_t kelfread(void* buffer, size_t size, size_t count, FILE* stream) {
    return kel::detail::readBytes(buffer, size, count, stream);
}

int kelfeof(FILE* stream) {
    return kel::detail::streamEof(stream);
}

char* kelfgets(char* buffer, int size, FILE* stream) {
    return kel::detail::readNarrowLine(buffer, size, stream);
}

int kelfputs(const char* text, FILE* stream) {
    if (text == nullptr || stream == nullptr)
        return EOF;
    return kel::detail::writeNarrow(stream, text);
}

int kelFileExists(const KelString& path) {
    return !path.isEmpty() && kel::detail::anythingMatches(path.getStringW()) ? 1 : 0;
}

int kelDeleteFile(const KelString& path) {
    return kel::detail::deleteFile(path.getStringW()) ? 1 : 0;
}

int kelCopyFile(const KelString& from, const KelString& to, bool overwrite, bool skipCheck,
                bool& copied) {
    copied = false;  // never set to true: callers rely on the result instead
    // The target is tested unless overwriting without the check; an odd
    // rule (skipCheck false skips it), kept because callers pass it so.
    if (!(overwrite && !skipCheck) && kelFileExists(to) && !overwrite) {
        kel::detail::setLastError(kel::detail::kErrorFileExists);
        return 0;
    }
    return kel::detail::copyFile(from.getStringW(), to.getStringW()) ? 1 : 0;
}
