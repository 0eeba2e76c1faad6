// The file-system operations of the files subsystem, one system half each.
//
// Paths are wide text with either separator; the system halves turn them
// into what the system calls take (toNativePath). Failures set the thread's
// last error to the Windows code for what went wrong.
//
//   uint32_t attributes = 0;
//   if (fileAttributes(L"data\\a.txt", attributes) && !(attributes & kAttributeDirectory)) ...

#ifndef KEL_FILES_FILE_SYSTEM_H
#define KEL_FILES_FILE_SYSTEM_H

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace kel::detail {

// The attribute bits of the Windows file system that the library reports.
constexpr uint32_t kAttributeReadOnly = 0x01;
constexpr uint32_t kAttributeDirectory = 0x10;
constexpr uint32_t kAttributeArchive = 0x20;

// A calendar time on the local clock.
struct LocalTime {
    int year = 0;
    int month = 0;  // 1-12
    int day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
};

// One entry of a folder.
struct FolderEntry {
    std::wstring name;
    bool isDirectory = false;
};

// True for a path the system resolves without the current folder: one with
// a drive colon, and on POSIX also one that starts with a separator.
bool isFullPath(std::wstring_view path);

// The absolute form of `path` with "." and ".." resolved and "\" as
// separator (GetFullPathNameW); empty on failure.
std::wstring fullPath(std::wstring_view path);

// GetFileAttributesW: false when nothing exists at `path`. On POSIX a
// folder reports kAttributeDirectory, a file kAttributeArchive, and either
// adds kAttributeReadOnly when its owner may not write it.
bool fileAttributes(std::wstring_view path, uint32_t& attributes);

// True when `path` is a symbolic link (on Windows any reparse point, which
// takes in junctions), whatever it points to and whether or not that exists.
bool isLink(std::wstring_view path);

// True where ":" inside a file name is an ordinary character (POSIX); on
// Windows it would name a stream of the file instead.
bool colonIsNameCharacter();

// The size of a file in bytes; false when nothing exists at `path`.
bool fileSize(std::wstring_view path, uint64_t& size);

// The last-write time of a file or folder on the local clock.
bool lastWriteLocalTime(std::wstring_view path, LocalTime& time);

// Sets the last-write time (and the creation time where the system keeps
// one) of an existing file from a local time; the last-access time stays.
bool setWriteTimeFromLocal(std::wstring_view path, const LocalTime& time);

// FindFirstFileW: true when a file or folder matches `pattern`, whose last
// part may hold the wildcards "*" and "?" (matched without regard to case).
bool anythingMatches(std::wstring_view pattern);

// The entries of a folder without "." and "..", sorted by name.
bool listFolder(std::wstring_view folder, std::vector<FolderEntry>& entries);

// CreateDirectoryW: creates one folder whose parent exists.
bool createDirectory(std::wstring_view path);

// The runtime's _wremove, _wrename, _wchdir and _wmkdir: 0 on success, -1
// with errno set on failure. Renaming never replaces an existing target.
int removeFile(std::wstring_view path);
int renameFile(std::wstring_view from, std::wstring_view to);
int changeDirectory(std::wstring_view path);
int makeDirectory(std::wstring_view path);

// DeleteFileW: removes a file (never a folder).
bool deleteFile(std::wstring_view path);

// CopyFileW(from, to, FALSE): copies contents, permissions and the
// last-write time; an existing target is replaced. Copying a file onto
// itself fails and leaves it as it was.
bool copyFile(std::wstring_view from, std::wstring_view to);

// A stdio stream in binary mode, for the archive layer; 64-bit positions.
std::FILE* openBinaryStream(std::wstring_view path, const char* mode);
int seekBinaryStream(std::FILE* stream, long long offset, int origin);
long long tellBinaryStream(std::FILE* stream);

// A file opened for the block copies of the archive code.
class BinaryFile {
public:
    BinaryFile() = default;
    ~BinaryFile();
    BinaryFile(const BinaryFile&) = delete;
    BinaryFile& operator=(const BinaryFile&) = delete;

    // An existing file, for reading.
    bool openForReading(std::wstring_view path);
    // A new file for writing, replacing an existing one.
    bool create(std::wstring_view path);
    bool isOpen() const { return m_handle != kClosed; }
    // Bytes read (0 at the end), or -1 on an error.
    long read(void* buffer, unsigned long size);
    // True when every byte was written.
    bool write(const void* buffer, unsigned long size);
    // False when the file could not be closed cleanly.
    bool close();

private:
    static constexpr intptr_t kClosed = -1;
    intptr_t m_handle = kClosed;
};

}  // namespace kel::detail

#endif  // KEL_FILES_FILE_SYSTEM_H
