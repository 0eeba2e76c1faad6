// The file-system operations on POSIX: file names are the UTF-8 bytes of
// the wide paths, with "/" for either separator.

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <ctime>
#include <cwctype>
#include <memory>

#include "files/file_system.h"
#include "platform/last_error.h"
#include "platform/path.h"

namespace kel::detail {

namespace {

constexpr unsigned long kErrorSharingViolation = 32;
constexpr unsigned long kErrorDiskFull = 112;
constexpr unsigned long kErrorWriteProtect = 19;
constexpr unsigned long kErrorFilenameTooLong = 206;
constexpr unsigned long kErrorGenFailure = 31;

unsigned long lastErrorFor(int error) {
    switch (error) {
        case ENOENT:
            return kErrorFileNotFound;
        case ENOTDIR:
            return kErrorPathNotFound;
        case EACCES:
        case EPERM:
        case EISDIR:
            return kErrorAccessDenied;
        case EEXIST:
            return kErrorAlreadyExists;
        case ENOSPC:
            return kErrorDiskFull;
        case EROFS:
            return kErrorWriteProtect;
        case ENAMETOOLONG:
            return kErrorFilenameTooLong;
        case ENOMEM:
            return kErrorNotEnoughMemory;
        case EBUSY:
            return kErrorSharingViolation;
        default:
            return kErrorGenFailure;
    }
}

bool failWithErrno() {
    setLastError(lastErrorFor(errno));
    return false;
}

bool statPath(std::wstring_view path, struct stat64& info) {
    const NativePath native = toNativePath(path);
    return !native.empty() && ::stat64(native.c_str(), &info) == 0;
}

std::wstring withBackslashes(std::wstring_view path) {
    std::wstring result(path);
    std::replace(result.begin(), result.end(), L'/', L'\\');
    return result;
}

std::wstring currentFolder() {
    std::unique_ptr<char, decltype(&std::free)> cwd(::getcwd(nullptr, 0), &std::free);
    return cwd == nullptr ? std::wstring() : fromNativePath(NativePath(cwd.get()));
}

// Resolves ".", ".." and repeated separators in a path whose first part
// (a drive "X:" or the empty part before a leading "\") is its root.
std::wstring normalise(const std::wstring& path) {
    const bool trailing = !path.empty() && path.back() == L'\\';
    const size_t firstSeparator = std::min(path.find(L'\\'), path.size());
    const std::vector<std::wstring> parts =
        resolvedParts(std::wstring_view(path).substr(firstSeparator), L'\\');
    std::wstring result = path.substr(0, firstSeparator);
    for (const std::wstring& part : parts)
        result += L'\\' + part;
    if (parts.empty() || trailing)
        result += L'\\';
    return result;
}

wchar_t folded(wchar_t c) {
    return static_cast<wchar_t>(std::towlower(static_cast<wint_t>(c)));
}

// "*" and "?" matching without regard to case.
bool wildcardMatch(const wchar_t* pattern, const wchar_t* name) {
    const wchar_t* star = nullptr;
    const wchar_t* resume = nullptr;
    while (*name != L'\0') {
        if (*pattern == L'*') {
            star = pattern++;
            resume = name;
        } else if (*pattern != L'\0' && (*pattern == L'?' || folded(*pattern) == folded(*name))) {
            ++pattern;
            ++name;
        } else if (star != nullptr) {
            pattern = star + 1;
            name = ++resume;
        } else {
            return false;
        }
    }
    while (*pattern == L'*')
        ++pattern;
    return *pattern == L'\0';
}

// As the Windows file system matches: a final ".*" may also match nothing,
// so "*.*" matches every name.
bool matchesPattern(const std::wstring& pattern, const std::wstring& name) {
    if (wildcardMatch(pattern.c_str(), name.c_str()))
        return true;
    const size_t n = pattern.size();
    return n >= 2 && pattern.compare(n - 2, 2, L".*") == 0 &&
           wildcardMatch(pattern.substr(0, n - 2).c_str(), name.c_str());
}

struct DirCloser {
    void operator()(DIR* dir) const { ::closedir(dir); }
};

// Calls `visit(name, entry)` for each entry of a folder, "." and ".."
// included; stops early when it returns false.
template <typename Visit>
bool forEachEntry(const NativePath& folder, Visit visit) {
    std::unique_ptr<DIR, DirCloser> dir(::opendir(folder.empty() ? "." : folder.c_str()));
    if (dir == nullptr)
        return failWithErrno();
    while (const dirent* entry = ::readdir(dir.get())) {
        if (!visit(NativePath(entry->d_name)))
            break;
    }
    return true;
}

NativePath joinNative(const NativePath& folder, const NativePath& name) {
    if (folder.empty())
        return name;
    return folder.back() == '/' ? folder + name : folder + "/" + name;
}

bool writeAll(int fd, const char* bytes, size_t size) {
    while (size > 0) {
        const ssize_t n = ::write(fd, bytes, size);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        bytes += n;
        size -= static_cast<size_t>(n);
    }
    return true;
}

bool copyContents(int from, int to) {
    std::unique_ptr<char[]> buffer(new char[1 << 16]);
    for (;;) {
        const ssize_t n = ::read(from, buffer.get(), 1 << 16);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return false;
        if (n == 0)
            return true;
        if (!writeAll(to, buffer.get(), static_cast<size_t>(n)))
            return false;
    }
}

class Descriptor {
public:
    explicit Descriptor(int fd) : m_fd(fd) {}
    ~Descriptor() {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return m_fd; }
    bool release() {
        const int fd = m_fd;
        m_fd = -1;
        return ::close(fd) == 0;
    }

private:
    int m_fd;
};

}  // namespace

bool isFullPath(std::wstring_view path) {
    // Only a drive counts: any other ":" is part of a file name here.
    const bool drive =
        path.size() >= 2 && path[1] == L':' &&
        ((path[0] >= L'A' && path[0] <= L'Z') || (path[0] >= L'a' && path[0] <= L'z'));
    return (!path.empty() && isPathSeparator(path[0])) || drive;
}

std::wstring fullPath(std::wstring_view path) {
    if (path.empty())
        return std::wstring();
    std::wstring absolute = withBackslashes(path);
    if (!isFullPath(absolute)) {
        const std::wstring cwd = currentFolder();
        if (cwd.empty())
            return std::wstring();
        absolute = withBackslashes(cwd) + L'\\' + absolute;
    }
    return normalise(absolute);
}

bool fileAttributes(std::wstring_view path, uint32_t& attributes) {
    struct stat64 info = {};
    if (!statPath(path, info))
        return failWithErrno();
    attributes = S_ISDIR(info.st_mode) ? kAttributeDirectory : kAttributeArchive;
    if ((info.st_mode & S_IWUSR) == 0)
        attributes |= kAttributeReadOnly;
    return true;
}

bool fileSize(std::wstring_view path, uint64_t& size) {
    struct stat64 info = {};
    if (!statPath(path, info))
        return failWithErrno();
    size = static_cast<uint64_t>(info.st_size);
    return true;
}

bool lastWriteLocalTime(std::wstring_view path, LocalTime& time) {
    struct stat64 info = {};
    if (!statPath(path, info))
        return failWithErrno();
    const time_t seconds = info.st_mtime;
    struct tm local = {};
    if (::localtime_r(&seconds, &local) == nullptr)
        return false;
    time.year = local.tm_year + 1900;
    time.month = local.tm_mon + 1;
    time.day = local.tm_mday;
    time.hour = local.tm_hour;
    time.minute = local.tm_min;
    time.second = local.tm_sec;
    return true;
}

bool setWriteTimeFromLocal(std::wstring_view path, const LocalTime& time) {
    struct tm local = {};
    local.tm_year = time.year - 1900;
    local.tm_mon = time.month - 1;
    local.tm_mday = time.day;
    local.tm_hour = time.hour;
    local.tm_min = time.minute;
    local.tm_sec = time.second;
    local.tm_isdst = -1;
    const time_t seconds = std::mktime(&local);
    if (seconds == static_cast<time_t>(-1))
        return false;
    const NativePath native = toNativePath(path);
    struct timespec times[2] = {};
    times[0].tv_nsec = UTIME_OMIT;
    times[1].tv_sec = seconds;
    if (::utimensat(AT_FDCWD, native.c_str(), times, 0) != 0)
        return failWithErrno();
    return true;
}

bool anythingMatches(std::wstring_view pattern) {
    const NativePath native = toNativePath(pattern);
    if (native.empty())
        return false;
    const size_t slash = native.rfind('/');
    const NativePath last = slash == NativePath::npos ? native : native.substr(slash + 1);
    if (last.find_first_of("*?") == NativePath::npos) {
        struct stat64 info = {};
        return ::lstat64(native.c_str(), &info) == 0 || ::stat64(native.c_str(), &info) == 0;
    }
    const NativePath folder =
        slash == NativePath::npos ? NativePath() : (slash == 0 ? "/" : native.substr(0, slash));
    const std::wstring wanted = fromNativePath(last);
    bool found = false;
    forEachEntry(folder, [&](const NativePath& name) {
        found = matchesPattern(wanted, fromNativePath(name));
        return !found;
    });
    return found;
}

bool listFolder(std::wstring_view folder, std::vector<FolderEntry>& entries) {
    entries.clear();
    const NativePath native = toNativePath(folder);
    const bool listed = forEachEntry(native, [&](const NativePath& name) {
        if (name == "." || name == "..")
            return true;
        struct stat64 info = {};
        FolderEntry entry;
        entry.name = fromNativePath(name);
        entry.isDirectory =
            ::stat64(joinNative(native, name).c_str(), &info) == 0 && S_ISDIR(info.st_mode);
        entries.push_back(entry);
        return true;
    });
    std::sort(entries.begin(), entries.end(),
              [](const FolderEntry& a, const FolderEntry& b) { return a.name < b.name; });
    return listed;
}

bool createDirectory(std::wstring_view path) {
    const NativePath native = toNativePath(path);
    if (native.empty() || ::mkdir(native.c_str(), 0777) != 0)
        return failWithErrno();
    return true;
}

int removeFile(std::wstring_view path) {
    struct stat64 info = {};
    const NativePath native = toNativePath(path);
    if (::lstat64(native.c_str(), &info) == 0 && S_ISDIR(info.st_mode)) {
        errno = EACCES;  // the runtime removes files only
        return -1;
    }
    return ::unlink(native.c_str()) == 0 ? 0 : -1;
}

int renameFile(std::wstring_view from, std::wstring_view to) {
    const NativePath source = toNativePath(from);
    const NativePath target = toNativePath(to);
    if (::renameat2(AT_FDCWD, source.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0)
        return 0;
    if (errno != EINVAL && errno != ENOSYS)
        return -1;
    // A file system without RENAME_NOREPLACE: test, then rename.
    struct stat64 info = {};
    if (::lstat64(target.c_str(), &info) == 0) {
        errno = EEXIST;
        return -1;
    }
    return ::rename(source.c_str(), target.c_str()) == 0 ? 0 : -1;
}

int changeDirectory(std::wstring_view path) {
    const NativePath native = toNativePath(path);
    return ::chdir(native.c_str()) == 0 ? 0 : -1;
}

int makeDirectory(std::wstring_view path) {
    const NativePath native = toNativePath(path);
    if (native.empty()) {
        errno = ENOENT;
        return -1;
    }
    return ::mkdir(native.c_str(), 0777) == 0 ? 0 : -1;
}

bool deleteFile(std::wstring_view path) {
    const NativePath native = toNativePath(path);
    struct stat64 info = {};
    if (::lstat64(native.c_str(), &info) != 0)
        return failWithErrno();
    if (S_ISDIR(info.st_mode)) {
        setLastError(kErrorAccessDenied);
        return false;
    }
    if (::unlink(native.c_str()) != 0)
        return failWithErrno();
    return true;
}

bool copyFile(std::wstring_view from, std::wstring_view to) {
    const NativePath source = toNativePath(from);
    const NativePath target = toNativePath(to);
    Descriptor in(::open(source.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat64 sourceInfo = {};
    if (in.get() < 0 || ::fstat64(in.get(), &sourceInfo) != 0)
        return failWithErrno();
    if (S_ISDIR(sourceInfo.st_mode)) {
        setLastError(kErrorAccessDenied);
        return false;
    }
    struct stat64 targetInfo = {};
    if (::stat64(target.c_str(), &targetInfo) == 0) {
        if (targetInfo.st_dev == sourceInfo.st_dev && targetInfo.st_ino == sourceInfo.st_ino) {
            setLastError(kErrorSharingViolation);  // never truncate the source
            return false;
        }
        if (S_ISDIR(targetInfo.st_mode)) {
            setLastError(kErrorAccessDenied);
            return false;
        }
    }
    Descriptor out(::open(target.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC,
                          sourceInfo.st_mode & 07777));
    if (out.get() < 0)
        return failWithErrno();
    const bool copied = copyContents(in.get(), out.get());
    const int error = errno;
    if (copied) {
        struct timespec times[2] = {};
        times[0].tv_nsec = UTIME_NOW;
        times[1] = sourceInfo.st_mtim;
        ::fchmod(out.get(), sourceInfo.st_mode & 07777);
        ::futimens(out.get(), times);
    }
    if (!out.release() || !copied) {
        ::unlink(target.c_str());
        errno = copied ? errno : error;
        return failWithErrno();
    }
    return true;
}

bool isLink(std::wstring_view path) {
    const NativePath native = toNativePath(path);
    struct stat64 info = {};
    return !native.empty() && ::lstat64(native.c_str(), &info) == 0 && S_ISLNK(info.st_mode);
}

bool colonIsNameCharacter() {
    return true;
}

std::FILE* openBinaryStream(std::wstring_view path, const char* mode) {
    const NativePath native = toNativePath(path);
    if (native.empty())
        return nullptr;
    return ::fopen64(native.c_str(), mode);
}

int seekBinaryStream(std::FILE* stream, long long offset, int origin) {
    return ::fseeko64(stream, static_cast<off64_t>(offset), origin);
}

long long tellBinaryStream(std::FILE* stream) {
    return static_cast<long long>(::ftello64(stream));
}

// ----- BinaryFile ------------------------------------------------------------

BinaryFile::~BinaryFile() {
    close();
}

bool BinaryFile::openForReading(std::wstring_view path) {
    close();
    const NativePath native = toNativePath(path);
    const int fd = ::open(native.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return failWithErrno();
    struct stat64 info = {};
    if (::fstat64(fd, &info) != 0 || S_ISDIR(info.st_mode)) {
        ::close(fd);
        setLastError(kErrorAccessDenied);
        return false;
    }
    m_handle = fd;
    return true;
}

bool BinaryFile::create(std::wstring_view path) {
    close();
    const NativePath native = toNativePath(path);
    const int fd = ::open(native.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (fd < 0)
        return failWithErrno();
    m_handle = fd;
    return true;
}

long BinaryFile::read(void* buffer, unsigned long size) {
    if (!isOpen())
        return -1;
    for (;;) {
        const ssize_t n =
            ::read(static_cast<int>(m_handle), buffer, std::min<unsigned long>(size, LONG_MAX));
        if (n >= 0)
            return static_cast<long>(n);
        if (errno != EINTR)
            return -1;
    }
}

bool BinaryFile::write(const void* buffer, unsigned long size) {
    return isOpen() && writeAll(static_cast<int>(m_handle), static_cast<const char*>(buffer), size);
}

bool BinaryFile::close() {
    if (!isOpen())
        return true;
    const int fd = static_cast<int>(m_handle);
    m_handle = kClosed;
    return ::close(fd) == 0;
}

}  // namespace kel::detail
