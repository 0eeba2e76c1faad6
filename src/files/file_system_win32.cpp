// The file-system operations on Windows: the system's own calls.

#include <windows.h>

#include <direct.h>
#include <io.h>
#include <stdio.h>

#include <algorithm>
#include <cerrno>

#include "files/file_system.h"
#include "platform/last_error.h"
#include "platform/path.h"

namespace kel::detail {

namespace {

std::wstring native(std::wstring_view path) {
    return toNativePath(path);
}

bool toSystemTime(const LocalTime& time, SYSTEMTIME& system) {
    system = {};
    system.wYear = static_cast<WORD>(time.year);
    system.wMonth = static_cast<WORD>(time.month);
    system.wDay = static_cast<WORD>(time.day);
    system.wHour = static_cast<WORD>(time.hour);
    system.wMinute = static_cast<WORD>(time.minute);
    system.wSecond = static_cast<WORD>(time.second);
    return true;
}

class FindHandle {
public:
    explicit FindHandle(HANDLE handle) : m_handle(handle) {}
    ~FindHandle() {
        if (m_handle != INVALID_HANDLE_VALUE)
            ::FindClose(m_handle);
    }
    FindHandle(const FindHandle&) = delete;
    FindHandle& operator=(const FindHandle&) = delete;
    HANDLE get() const { return m_handle; }

private:
    HANDLE m_handle;
};

}  // namespace

bool isFullPath(std::wstring_view path) {
    return path.find(L':') != std::wstring_view::npos;
}

std::wstring fullPath(std::wstring_view path) {
    if (path.empty())
        return std::wstring();
    const std::wstring source = native(path);
    const DWORD needed = ::GetFullPathNameW(source.c_str(), 0, nullptr, nullptr);
    if (needed == 0)
        return std::wstring();
    std::wstring result(needed, L'\0');
    const DWORD written = ::GetFullPathNameW(source.c_str(), needed, &result[0], nullptr);
    if (written == 0 || written >= needed)
        return std::wstring();
    result.resize(written);
    return result;
}

bool fileAttributes(std::wstring_view path, uint32_t& attributes) {
    const DWORD value = ::GetFileAttributesW(native(path).c_str());
    if (value == INVALID_FILE_ATTRIBUTES)
        return false;
    attributes = value;
    return true;
}

bool fileSize(std::wstring_view path, uint64_t& size) {
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    if (!::GetFileAttributesExW(native(path).c_str(), GetFileExInfoStandard, &data))
        return false;
    size = (static_cast<uint64_t>(data.nFileSizeHigh) << 32) | data.nFileSizeLow;
    return true;
}

bool lastWriteLocalTime(std::wstring_view path, LocalTime& time) {
    WIN32_FIND_DATAW data = {};
    FindHandle find(::FindFirstFileW(native(path).c_str(), &data));
    if (find.get() == INVALID_HANDLE_VALUE)
        return false;
    FILETIME local = {};
    SYSTEMTIME system = {};
    if (!::FileTimeToLocalFileTime(&data.ftLastWriteTime, &local) ||
        !::FileTimeToSystemTime(&local, &system)) {
        return false;
    }
    time.year = system.wYear;
    time.month = system.wMonth;
    time.day = system.wDay;
    time.hour = system.wHour;
    time.minute = system.wMinute;
    time.second = system.wSecond;
    return true;
}

bool setWriteTimeFromLocal(std::wstring_view path, const LocalTime& time) {
    HANDLE file = ::CreateFileW(native(path).c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    FILETIME creation = {};
    FILETIME access = {};
    FILETIME write = {};
    SYSTEMTIME system = {};
    FILETIME local = {};
    FILETIME utc = {};
    const bool ok = ::GetFileTime(file, &creation, &access, &write) && toSystemTime(time, system) &&
                    ::SystemTimeToFileTime(&system, &local) &&
                    ::LocalFileTimeToFileTime(&local, &utc) &&
                    ::SetFileTime(file, &utc, &access, &utc);
    ::CloseHandle(file);
    return ok;
}

bool anythingMatches(std::wstring_view pattern) {
    WIN32_FIND_DATAW data = {};
    FindHandle find(::FindFirstFileW(native(pattern).c_str(), &data));
    return find.get() != INVALID_HANDLE_VALUE;
}

bool listFolder(std::wstring_view folder, std::vector<FolderEntry>& entries) {
    entries.clear();
    std::wstring pattern = native(folder);
    if (!pattern.empty() && pattern.back() != L'\\')
        pattern += L'\\';
    pattern += L'*';
    WIN32_FIND_DATAW data = {};
    FindHandle find(::FindFirstFileW(pattern.c_str(), &data));
    if (find.get() == INVALID_HANDLE_VALUE)
        return false;
    do {
        const std::wstring name = data.cFileName;
        if (name == L"." || name == L"..")
            continue;
        entries.push_back({name, (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0});
    } while (::FindNextFileW(find.get(), &data));
    std::sort(entries.begin(), entries.end(),
              [](const FolderEntry& a, const FolderEntry& b) { return a.name < b.name; });
    return true;
}

bool createDirectory(std::wstring_view path) {
    return ::CreateDirectoryW(native(path).c_str(), nullptr) != FALSE;
}

int removeFile(std::wstring_view path) {
    return ::_wremove(native(path).c_str());
}

int renameFile(std::wstring_view from, std::wstring_view to) {
    return ::_wrename(native(from).c_str(), native(to).c_str());
}

int changeDirectory(std::wstring_view path) {
    return ::_wchdir(native(path).c_str());
}

int makeDirectory(std::wstring_view path) {
    return ::_wmkdir(native(path).c_str());
}

bool deleteFile(std::wstring_view path) {
    return ::DeleteFileW(native(path).c_str()) != FALSE;
}

bool copyFile(std::wstring_view from, std::wstring_view to) {
    return ::CopyFileW(native(from).c_str(), native(to).c_str(), FALSE) != FALSE;
}

bool isLink(std::wstring_view path) {
    const DWORD value = ::GetFileAttributesW(native(path).c_str());
    return value != INVALID_FILE_ATTRIBUTES && (value & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

bool colonIsNameCharacter() {
    return false;
}

std::FILE* openBinaryStream(std::wstring_view path, const char* mode) {
    std::wstring wideMode;
    for (const char* p = mode; *p != '\0'; ++p)
        wideMode += static_cast<wchar_t>(*p);
    std::FILE* stream = nullptr;
    if (::_wfopen_s(&stream, native(path).c_str(), wideMode.c_str()) != 0)
        return nullptr;
    return stream;
}

int seekBinaryStream(std::FILE* stream, long long offset, int origin) {
    return ::_fseeki64(stream, offset, origin);
}

long long tellBinaryStream(std::FILE* stream) {
    return ::_ftelli64(stream);
}

// ----- BinaryFile ------------------------------------------------------------

BinaryFile::~BinaryFile() {
    close();
}

bool BinaryFile::openForReading(std::wstring_view path) {
    close();
    HANDLE file = ::CreateFileW(native(path).c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    m_handle = reinterpret_cast<intptr_t>(file);
    return true;
}

bool BinaryFile::create(std::wstring_view path) {
    close();
    HANDLE file = ::CreateFileW(native(path).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    m_handle = reinterpret_cast<intptr_t>(file);
    return true;
}

long BinaryFile::read(void* buffer, unsigned long size) {
    DWORD done = 0;
    if (!isOpen() || !::ReadFile(reinterpret_cast<HANDLE>(m_handle), buffer, size, &done, nullptr))
        return -1;
    return static_cast<long>(done);
}

bool BinaryFile::write(const void* buffer, unsigned long size) {
    DWORD done = 0;
    return isOpen() &&
           ::WriteFile(reinterpret_cast<HANDLE>(m_handle), buffer, size, &done, nullptr) &&
           done == size;
}

bool BinaryFile::close() {
    if (!isOpen())
        return true;
    HANDLE file = reinterpret_cast<HANDLE>(m_handle);
    m_handle = kClosed;
    return ::CloseHandle(file) != FALSE;
}

}  // namespace kel::detail
