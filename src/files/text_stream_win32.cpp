// Streams on Windows: the runtime's own encoded modes do the transcoding.
// The library only remembers which streams it opened in an encoded mode,
// because the runtime refuses narrow text on them: narrow text is widened
// first and written through the wide functions instead.

#include <cerrno>
#include <cstdio>
#include <cwchar>
#include <mutex>
#include <string>
#include <unordered_set>

#include "files/text_stream.h"
#include "platform/code_page.h"
#include "platform/invalid_parameter.h"
#include "platform/path.h"

namespace kel::detail {

namespace {

std::mutex g_encodedMutex;
std::unordered_set<std::FILE*> g_encoded;

}  // namespace

int openTextStream(std::FILE** stream, std::wstring_view name, std::wstring_view modeText) {
    if (!KEL_VALIDATE(stream != nullptr))
        return EINVAL;
    *stream = nullptr;
    const StreamMode mode = parseStreamMode(modeText);
    if (!KEL_VALIDATE(mode.valid))
        return EINVAL;
    const std::wstring path = toNativePath(name);
    const std::wstring modeString(modeText);
    const errno_t error = ::_wfopen_s(stream, path.c_str(), modeString.c_str());
    if (error != 0 || *stream == nullptr)
        return error != 0 ? error : EINVAL;
    std::lock_guard<std::mutex> lock(g_encodedMutex);
    if (mode.encoding != ModeEncoding::None) {
        g_encoded.insert(*stream);
    } else {
        g_encoded.erase(*stream);
    }
    return 0;
}

int closeTextStream(std::FILE* stream) {
    if (!KEL_VALIDATE(stream != nullptr))
        return EOF;
    {
        std::lock_guard<std::mutex> lock(g_encodedMutex);
        g_encoded.erase(stream);
    }
    return std::fclose(stream);
}

bool isEncodedStream(std::FILE* stream) {
    std::lock_guard<std::mutex> lock(g_encodedMutex);
    return g_encoded.count(stream) != 0;
}

int writeBytes(std::FILE* stream, std::string_view bytes) {
    if (stream == nullptr)
        return EOF;
    if (bytes.empty())
        return 0;
    return std::fwrite(bytes.data(), 1, bytes.size(), stream) == bytes.size() ? 0 : EOF;
}

int writeWide(std::FILE* stream, std::wstring_view text) {
    if (stream == nullptr)
        return EOF;
    for (wchar_t c : text) {
        if (std::fputwc(c, stream) == WEOF)
            return EOF;
    }
    return 0;
}

bool readWideChar(std::FILE* stream, wchar_t& c) {
    if (stream == nullptr)
        return false;
    const wint_t value = std::fgetwc(stream);
    if (value == WEOF)
        return false;
    c = static_cast<wchar_t>(value);
    return true;
}

void unreadWideChar(std::FILE* stream, wchar_t c) {
    if (stream != nullptr)
        std::ungetwc(c, stream);
}

int readUtf16Unit(std::FILE* stream) {
    if (stream == nullptr)
        return -1;
    const wint_t value = std::fgetwc(stream);
    return value == WEOF ? -1 : static_cast<int>(value);
}

size_t readBytes(void* buffer, size_t size, size_t count, std::FILE* stream) {
    if (buffer == nullptr || stream == nullptr)
        return 0;
    return std::fread(buffer, size, count, stream);
}

int streamEof(std::FILE* stream) {
    return stream == nullptr ? 0 : std::feof(stream);
}

int seekStream(std::FILE* stream, long long offset, int origin) {
    if (stream == nullptr)
        return -1;
    return ::_fseeki64(stream, offset, origin) == 0 ? 0 : -1;
}

int tellStream(std::FILE* stream, long long& position) {
    if (stream == nullptr)
        return -1;
    const long long at = ::_ftelli64(stream);
    if (at < 0)
        return -1;
    position = at;
    return 0;
}

}  // namespace kel::detail
