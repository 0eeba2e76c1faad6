// Text streams on POSIX: the Windows runtime's opening rules over a
// descriptor of our own.
//
// Every stream the library opens here is a stdio stream over a cookie of
// ours (fopencookie), so that the C library's own buffering, positioning and
// byte functions work on it, and so that closing it by any means (fclose
// included) tells the shared layer that it closed. The cookie reads and
// writes the file's bytes unchanged. (It never moves a position itself: the
// C library assumes a seek lands where it asked.) There is no text mode:
// line ends are never translated.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <new>

#include "files/text_stream_system.h"
#include "platform/path.h"

namespace kel::detail {

const bool kTextModeTranslatesLineEnds = false;

namespace {

struct Cookie {
    int fd = -1;
    std::FILE* file = nullptr;
};

ssize_t cookieRead(void* cookie, char* buffer, size_t size) {
    const int fd = static_cast<Cookie*>(cookie)->fd;
    for (;;) {
        const ssize_t n = ::read(fd, buffer, size);
        if (n >= 0 || errno != EINTR)
            return n;
    }
}

ssize_t cookieWrite(void* cookie, const char* buffer, size_t size) {
    const int fd = static_cast<Cookie*>(cookie)->fd;
    size_t written = 0;
    while (written < size) {
        const ssize_t n = ::write(fd, buffer + written, size - written);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            break;
        written += static_cast<size_t>(n);
    }
    return static_cast<ssize_t>(written);
}

int cookieSeek(void* cookie, off64_t* offset, int whence) {
    const off64_t result = ::lseek64(static_cast<Cookie*>(cookie)->fd, *offset, whence);
    if (result < 0)
        return -1;
    *offset = result;
    return 0;
}

int cookieClose(void* cookie) {
    Cookie* own = static_cast<Cookie*>(cookie);
    forgetStream(own->file);
    const int result = ::close(own->fd);
    delete own;
    return result;
}

int openFlags(const StreamMode& mode) {
    int flags = O_CLOEXEC;
    if (mode.update) {
        flags |= O_RDWR;
    } else {
        flags |= mode.access == 'r' ? O_RDONLY : O_WRONLY;
    }
    if (mode.access == 'w')
        flags |= O_CREAT | O_TRUNC;
    if (mode.access == 'a')
        flags |= O_CREAT | O_APPEND;
    if (mode.exclusive)
        flags |= O_EXCL;
    return flags;
}

const char* cookieMode(const StreamMode& mode) {
    switch (mode.access) {
        case 'w':
            return mode.update ? "w+" : "w";
        case 'a':
            return mode.update ? "a+" : "a";
        default:
            return mode.update ? "r+" : "r";
    }
}

}  // namespace

int openSystemStream(std::FILE** stream, std::wstring_view name, const StreamMode& mode,
                     std::wstring_view) {
    *stream = nullptr;
    const NativePath path = toNativePath(name);
    if (path.empty())
        return ENOENT;
    const int fd = ::open(path.c_str(), openFlags(mode), 0666);
    if (fd < 0)
        return errno;
    struct stat64 info = {};
    if (::fstat64(fd, &info) != 0 || S_ISDIR(info.st_mode)) {
        ::close(fd);
        return EACCES;
    }
    auto* cookie = new (std::nothrow) Cookie;
    if (cookie == nullptr) {
        ::close(fd);
        return ENOMEM;
    }
    cookie->fd = fd;
    const cookie_io_functions_t functions = {cookieRead, cookieWrite, cookieSeek, cookieClose};
    std::FILE* file = ::fopencookie(cookie, cookieMode(mode), functions);
    if (file == nullptr) {
        ::close(fd);
        delete cookie;
        return ENOMEM;
    }
    cookie->file = file;
    *stream = file;
    return 0;
}

int seekSystemStream(std::FILE* stream, long long offset, int origin) {
    return ::fseeko64(stream, static_cast<off64_t>(offset), origin) == 0 ? 0 : -1;
}

int tellSystemStream(std::FILE* stream, long long& position) {
    const off64_t at = ::ftello64(stream);
    if (at < 0)
        return -1;
    position = static_cast<long long>(at);
    return 0;
}

}  // namespace kel::detail
