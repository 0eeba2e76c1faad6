// File versions, read by the library's own code on every system.
//
// A PE file (a Windows program or DLL) carries its version in the fixed
// part of its version resource (VS_VERSION_INFO); the reader below finds
// that resource through the file's section table and resource directory,
// so a Windows module reads the same on Linux as on Windows. An ELF shared
// object carries its version in its real file name: "libz.so.1.2.13"
// (reached through "libz.so.1" or any other link) is 1.2.13.0. Anything
// else has no version.
//
//   FileVersion v;
//   int error = 0;
//   if (readFileVersion(L"/usr/lib/x86_64-linux-gnu/libz.so.1", v, error) == VersionLookup::Found)
//       std::wstring text = formatFileVersion(v);   // "1.02.0013.0000"

#ifndef KEL_DIAGNOSTICS_FILE_VERSION_H
#define KEL_DIAGNOSTICS_FILE_VERSION_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

namespace kel::detail {

// Random access to the bytes of a file or of a buffer.
class ByteSource {
public:
    virtual ~ByteSource() = default;
    // Reads exactly `size` bytes at `offset`; false when they are not all
    // there.
    virtual bool read(uint64_t offset, void* buffer, size_t size) = 0;
};

// The bytes of a buffer the caller keeps alive.
class MemoryBytes : public ByteSource {
public:
    MemoryBytes(const void* data, size_t size) : m_data(data), m_size(size) {}
    bool read(uint64_t offset, void* buffer, size_t size) override;

private:
    const void* m_data;
    size_t m_size;
};

// The bytes of a file, opened for reading (either separator).
class FileBytes : public ByteSource {
public:
    explicit FileBytes(std::wstring_view path);
    ~FileBytes() override;
    FileBytes(const FileBytes&) = delete;
    FileBytes& operator=(const FileBytes&) = delete;

    bool isOpen() const { return m_file != nullptr; }
    // The errno value of a failed open.
    int openError() const { return m_error; }
    bool read(uint64_t offset, void* buffer, size_t size) override;

private:
    std::FILE* m_file = nullptr;
    int m_error = 0;
};

// Major, minor, build and revision, as the version resource keeps them.
struct FileVersion {
    unsigned int major = 0;
    unsigned int minor = 0;
    unsigned int build = 0;
    unsigned int revision = 0;
};

// The file version of a PE file's version resource (type 16, name 1, its
// first language). False for anything that is not a PE file with such a
// resource, for a resource whose value length is 0, and for a file cut
// short or with offsets that lead outside it; never reads outside `bytes`.
bool peFileVersion(ByteSource& bytes, FileVersion& version);

// The version in a shared object's file name: the numbers after its last
// ".so.", up to four (more are ignored), each of at most 65535, missing ones
// 0. False when the name has no ".so." or the rest is not such numbers.
bool versionFromSharedObjectName(std::wstring_view fileName, FileVersion& version);

enum class VersionLookup { Found, NoVersion, CannotOpen };

// The version of the file at `path`: from the version resource of a PE
// file, from the real file name (links resolved) of an ELF file. When the
// file cannot be opened, `error` is the errno value.
VersionLookup readFileVersion(std::wstring_view path, FileVersion& version, int& error);

// "%d.%02d.%04d.%04d": 1.2.3.4 gives "1.02.0003.0004".
std::wstring formatFileVersion(const FileVersion& version);

}  // namespace kel::detail

#endif  // KEL_DIAGNOSTICS_FILE_VERSION_H
