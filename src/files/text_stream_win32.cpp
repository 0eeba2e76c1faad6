// Text streams on Windows: the runtime's own streams.
//
// A plain mode goes to the runtime as it stands, so its text mode
// translates the line ends itself. An encoded mode reaches the runtime as
// a binary mode (the shared layer does the transcoding and, in text mode,
// the line ends), so that the library's encoded streams behave the same on
// every system whatever the runtime's own ", ccs=" modes do. The runtime
// of MinGW programs knows no "x": an exclusive creation opens the file
// with _O_EXCL first.
//
// The runtime does not tell anyone when a stream closes. The library
// learns it from closeTextStream (kelfclose, KelFileAccess); a stream
// closed with fclose directly is forgotten when the runtime hands its FILE
// out again to an open through the library.

#include <fcntl.h>
#include <io.h>
#include <stdio.h>
#include <sys/stat.h>

#include <cerrno>
#include <string>

#include "files/text_stream_system.h"
#include "platform/path.h"

namespace kel::detail {

const bool kTextModeTranslatesLineEnds = true;

namespace {

// "wx" and "w+x": created only when the file does not exist yet.
int openExclusive(std::FILE** stream, const std::wstring& path, const StreamMode& mode,
                  const std::wstring& runtimeMode) {
    const bool binary = runtimeMode.find(L'b') != std::wstring::npos;
    const int flags =
        _O_CREAT | _O_EXCL | (mode.update ? _O_RDWR : _O_WRONLY) | (binary ? _O_BINARY : _O_TEXT);
    const int fd = ::_wopen(path.c_str(), flags, _S_IREAD | _S_IWRITE);
    if (fd < 0)
        return errno;
    *stream = ::_wfdopen(fd, runtimeMode.c_str());
    if (*stream == nullptr) {
        const int error = errno != 0 ? errno : EINVAL;
        ::_close(fd);
        return error;
    }
    return 0;
}

}  // namespace

int openSystemStream(std::FILE** stream, std::wstring_view name, const StreamMode& mode,
                     std::wstring_view runtimeMode) {
    *stream = nullptr;
    const std::wstring path = toNativePath(name);
    const std::wstring modeString(runtimeMode);
    if (mode.exclusive)
        return openExclusive(stream, path, mode, modeString);
    const errno_t error = ::_wfopen_s(stream, path.c_str(), modeString.c_str());
    if (error != 0 || *stream == nullptr) {
        *stream = nullptr;
        return error != 0 ? error : EINVAL;
    }
    return 0;
}

int seekSystemStream(std::FILE* stream, long long offset, int origin) {
    return ::_fseeki64(stream, offset, origin) == 0 ? 0 : -1;
}

int tellSystemStream(std::FILE* stream, long long& position) {
    const long long at = ::_ftelli64(stream);
    if (at < 0)
        return -1;
    position = at;
    return 0;
}

}  // namespace kel::detail
