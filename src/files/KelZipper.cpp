#include <kel/KelZipper.h>

#include <minizip/zip.h>

#include <cstdint>
#include <cstring>
#include <cwchar>
#include <limits>
#include <string>
#include <vector>

#include "files/file_system.h"
#include "files/zip_directory.h"
#include "files/zip_io.h"
#include "files/zip_names.h"

namespace {

using kel::detail::withBackslashes;

// The block size of the copies into the archive.
constexpr unsigned long kCopyBlock = 2048;

// "Version made by": a file system with Windows attribute bits, so that
// readers take the external attributes as such. Plain ASCII names say
// MS-DOS, whose readers also turn "\" into folders; names in UTF-8 say
// VFAT (format version 2.0), because readers convert MS-DOS names from the
// OEM code page whatever the UTF-8 flag says.
constexpr uLong kMadeByDos = 0;
constexpr uLong kMadeByVfat = (14 << 8) | 20;

constexpr uLong kUtf8Flag = 0x800;

zipFile archiveOf(void* handle) {
    return static_cast<zipFile>(handle);
}

void copyInto(wchar_t* target, const std::wstring& text) {
    const size_t n = std::min<size_t>(text.size(), MAX_PATH);
    std::wmemcpy(target, text.data(), n);
    target[n] = L'\0';
}

// The entry time and attributes of a file or folder.
bool describeSource(const std::wstring& source, zip_fileinfo& info) {
    kel::detail::LocalTime time;
    uint32_t attributes = 0;
    if (!kel::detail::lastWriteLocalTime(source, time) ||
        !kel::detail::fileAttributes(source, attributes)) {
        return false;
    }
    info = {};
    info.tmz_date.tm_sec = static_cast<uInt>(time.second);
    info.tmz_date.tm_min = static_cast<uInt>(time.minute);
    info.tmz_date.tm_hour = static_cast<uInt>(time.hour);
    info.tmz_date.tm_mday = static_cast<uInt>(time.day);
    info.tmz_date.tm_mon = static_cast<uInt>(time.month - 1);
    info.tmz_date.tm_year = static_cast<uInt>(time.year);
    info.dosDate = 0;
    info.internal_fa = 0;
    info.external_fa = attributes;
    return true;
}

// Sources from this size on get an entry with the ZIP64 fields. The
// margin covers deflate's growth of data it cannot compress (zlib's bound:
// about 0.03 %, 1.3 MiB at 4 GiB), so that neither size of a plain entry
// can reach 4 GiB; it is kept small because minizip leaves a ZIP64 entry
// that ends below 4 GiB with an extra field of zeros in its local header.
constexpr uint64_t kZip64From = 0xFFFFFFFFull - (2ull << 20);

bool openEntry(zipFile zip, const std::wstring& name, const zip_fileinfo& info, bool zip64) {
    bool utf8 = false;
    const std::string bytes = kel::detail::entryNameBytes(name, utf8);
    return zipOpenNewFileInZip4_64(zip, bytes.c_str(), &info, nullptr, 0, nullptr, 0, nullptr,
                                   Z_DEFLATED, Z_DEFAULT_COMPRESSION, 0, -MAX_WBITS, DEF_MEM_LEVEL,
                                   Z_DEFAULT_STRATEGY, nullptr, 0, utf8 ? kMadeByVfat : kMadeByDos,
                                   utf8 ? kUtf8Flag : 0, zip64 ? 1 : 0) == ZIP_OK;
}

// Adds to a total that stops at its largest value instead of wrapping.
template <typename Total>
void addCapped(Total& total, uint64_t amount) {
    const uint64_t largest = static_cast<uint64_t>(std::numeric_limits<Total>::max());
    const uint64_t now = static_cast<uint64_t>(total);
    total = static_cast<Total>(amount >= largest - now ? largest : now + amount);
}

// The doubled forward separator this operation writes for every "\":
// deliberate, the library's readers and existing archives expect it.
std::wstring withDoubledSlashes(const std::wstring& name) {
    std::wstring result;
    for (wchar_t c : name) {
        if (c == L'\\') {
            result += L"//";
        } else {
            result += c;
        }
    }
    return result;
}

}  // namespace

// ----- opening and closing ----------------------------------------------------

KelZipper::KelZipper(const wchar_t* zipPath, const wchar_t* rootFolder, bool append)
    : m_uzFile(nullptr), m_szRootFolder{}, m_info{}, m_szZipPath{} {
    if (zipPath != nullptr)
        OpenZip(zipPath, rootFolder, append);
}

KelZipper::~KelZipper() {
    CloseZip();
}

bool KelZipper::OpenZip(const wchar_t* zipPath, const wchar_t* rootFolder, bool append) {
    CloseZip();
    m_szRootFolder[0] = L'\0';
    m_szZipPath[0] = L'\0';
    m_info = Z_FileInfo{};
    if (zipPath == nullptr || *zipPath == L'\0')
        return false;
    const std::wstring full = kel::detail::fullPath(zipPath);
    if (full.empty() || full.size() > MAX_PATH)
        return false;
    uint32_t attributes = 0;
    append = append && kel::detail::fileAttributes(full, attributes);
    // Appending writes a new archive behind the file's present contents
    // (minizip's "create after"), deliberately: host code uses it to add an
    // archive to the end of an existing file.
    zlib_filefunc64_def io = kel::detail::nativeFileFunctions();
    m_uzFile = zipOpen2_64(full.c_str(), append ? APPEND_STATUS_CREATEAFTER : APPEND_STATUS_CREATE,
                           nullptr, &io);
    copyInto(m_szZipPath, full);
    if (rootFolder == nullptr) {
        copyInto(m_szRootFolder, kel::detail::folderPart(full));
    } else if (*rootFolder != L'\0') {
        const std::wstring root = kel::detail::asFolder(withBackslashes(rootFolder));
        if (root.size() <= MAX_PATH)
            copyInto(m_szRootFolder, root);
    }
    return m_uzFile != nullptr;
}

bool KelZipper::CloseZip() {
    if (m_uzFile == nullptr)
        return true;
    const int result = zipClose(archiveOf(m_uzFile), nullptr);
    m_uzFile = nullptr;
    return result == ZIP_OK && kel::detail::completeZip64End(m_szZipPath);
}

void KelZipper::GetFileInfo(Z_FileInfo& info) {
    info = m_info;
}

// ----- adding --------------------------------------------------------------------

bool KelZipper::addEntry(const wchar_t* name, const wchar_t* source, bool folder) {
    zipFile zip = archiveOf(m_uzFile);
    zip_fileinfo info = {};
    if (!describeSource(source, info))
        return false;
    if (folder)
        return openEntry(zip, name, info, false) && zipCloseFileInZip(zip) == ZIP_OK;
    uint64_t size = 0;
    kel::detail::BinaryFile in;
    if (!kel::detail::fileSize(source, size) || !in.openForReading(source))
        return false;
    const bool zip64 = size >= kZip64From;
    if (!openEntry(zip, name, info, zip64))
        return false;
    std::vector<char> block(kCopyBlock);
    uint64_t copied = 0;
    bool ok = true;
    for (;;) {
        const long n = in.read(block.data(), kCopyBlock);
        if (n <= 0) {
            ok = n == 0;
            break;
        }
        // A file that grew past the plain fields while it was copied
        // cannot be described by them: the entry fails.
        if (!zip64 && copied + static_cast<uint64_t>(n) >= kZip64From) {
            ok = false;
            break;
        }
        if (zipWriteInFileInZip(zip, block.data(), static_cast<unsigned>(n)) != ZIP_OK) {
            ok = false;
            break;
        }
        copied += static_cast<uint64_t>(n);
    }
    ok = zipCloseFileInZip(zip) == ZIP_OK && ok;
    addCapped(m_info.nFileCount, 1);
    addCapped(m_info.dwUncompressedSize, copied);
    return ok;
}

bool KelZipper::AddFileToZip(const wchar_t* path, bool ignorePath) {
    if (m_uzFile == nullptr || path == nullptr || *path == L'\0')
        return false;
    const std::wstring given = withBackslashes(path);
    if (!ignorePath && given.compare(0, 3, L"..\\") == 0)
        return false;
    const bool full = kel::detail::isFullPath(given);
    const std::wstring root = m_szRootFolder;
    const std::wstring source = full ? given : kel::detail::joinPath(root, given);
    std::wstring name;
    if (ignorePath) {
        name = kel::detail::fileNamePart(given);
    } else if (!full) {
        name = given.compare(0, 2, L".\\") == 0 ? given.substr(2) : given;
    } else {
        if (!kel::detail::startsWithNoCase(given, root))
            return false;
        name = given.substr(root.size());
    }
    if (!kel::detail::isContainedName(name) || source.size() > MAX_PATH)
        return false;
    return addEntry(withDoubledSlashes(name).c_str(), source.c_str(), false);
}

bool KelZipper::AddFileToZip(const wchar_t* path, const wchar_t* folderInZip) {
    if (m_uzFile == nullptr || path == nullptr || *path == L'\0')
        return false;
    if (folderInZip != nullptr && std::wcschr(folderInZip, L':') != nullptr)
        return false;
    const std::wstring given = withBackslashes(path);
    const std::wstring source =
        kel::detail::isFullPath(given) ? given : kel::detail::joinPath(m_szRootFolder, given);
    std::wstring name = kel::detail::fileNamePart(given);
    if (folderInZip != nullptr && *folderInZip != L'\0')
        name = kel::detail::joinPath(withBackslashes(folderInZip), name);
    if (!name.empty() && name[0] == L'\\')
        name.erase(0, 1);
    // This operation keeps the "\" of the name as they are.
    if (!kel::detail::isContainedName(name) || source.size() > MAX_PATH)
        return false;
    return addEntry(name.c_str(), source.c_str(), false);
}

bool KelZipper::AddFolderToZip(const wchar_t* path, bool ignorePath) {
    if (m_uzFile == nullptr)
        return false;
    addCapped(m_info.nFolderCount, 1);  // counted before anything can fail
    if (path == nullptr || *path == L'\0')
        return false;
    const std::wstring given = kel::detail::withoutTrailingSeparators(withBackslashes(path));
    const std::wstring root = m_szRootFolder;
    const std::wstring folder =
        kel::detail::isFullPath(given) ? given : kel::detail::joinPath(root, given);
    uint32_t attributes = 0;
    if (folder.size() > MAX_PATH || !kel::detail::fileAttributes(folder, attributes) ||
        (attributes & kel::detail::kAttributeDirectory) == 0) {
        return false;
    }
    // The root folder itself has no name below the root folder ("C:\data"
    // does not begin with "C:\data\"): the call fails, deliberately, as
    // host code expects.
    std::wstring name;
    if (ignorePath) {
        name = kel::detail::fileNamePart(folder);
    } else if (kel::detail::startsWithNoCase(folder, root) && folder.size() > root.size()) {
        name = folder.substr(root.size());
    } else {
        return false;
    }
    name = kel::detail::asFolder(name);
    if (!kel::detail::isContainedName(name) || !addEntry(name.c_str(), folder.c_str(), true))
        return false;
    std::vector<kel::detail::FolderEntry> children;
    kel::detail::listFolder(folder, children);
    for (const kel::detail::FolderEntry& child : children) {
        if (child.name.empty() || child.name[0] == L'.')
            continue;  // ".", ".." and every other name starting with a dot
        const std::wstring childPath = kel::detail::joinPath(folder, child.name);
        if (kel::detail::samePathNoCase(childPath, m_szZipPath))
            continue;  // the archive being written
        if (child.isDirectory) {
            AddFolderToZip(childPath.c_str(), ignorePath);
        } else {
            AddFileToZip(childPath.c_str(), ignorePath);
        }
    }
    return true;
}

// ----- one-call archives ----------------------------------------------------------

bool KelZipper::ZipFile(const wchar_t* path) {
    if (path == nullptr || *path == L'\0')
        return false;
    const std::wstring given = withBackslashes(path);
    if (given.compare(0, 2, L"..") == 0)
        return false;
    const std::wstring full = kel::detail::fullPath(given);
    uint32_t attributes = 0;
    // The source is checked first, so that a missing file leaves an archive
    // of the same name alone.
    if (full.empty() || !kel::detail::fileAttributes(full, attributes) ||
        (attributes & kel::detail::kAttributeDirectory) != 0) {
        return false;
    }
    const std::wstring zipPath = kel::detail::withExtension(full, L"zip");
    if (kel::detail::samePathNoCase(zipPath, full))
        return false;  // never replace the file being zipped
    KelZipper zipper;
    return zipper.OpenZip(zipPath.c_str(), nullptr, false) &&
           zipper.AddFileToZip(full.c_str(), false);
}

bool KelZipper::ZipFolder(const wchar_t* path, bool ignorePath) {
    if (path == nullptr || *path == L'\0')
        return false;
    const std::wstring full =
        kel::detail::fullPath(kel::detail::withoutTrailingSeparators(withBackslashes(path)));
    uint32_t attributes = 0;
    if (full.empty() || !kel::detail::fileAttributes(full, attributes) ||
        (attributes & kel::detail::kAttributeDirectory) == 0) {
        return false;
    }
    const std::wstring folder = kel::detail::withoutTrailingSeparators(full);
    KelZipper zipper;
    if (!zipper.OpenZip(kel::detail::withExtension(folder, L"zip").c_str(), nullptr, false))
        return false;
    return zipper.AddFolderToZip(folder.c_str(), ignorePath);
}

void KelZipper::PrepareSourcePath(wchar_t* path) {
    if (path == nullptr || kel::detail::isFullPath(path))
        return;
    const std::wstring joined = kel::detail::joinPath(m_szRootFolder, path);
    if (joined.size() <= MAX_PATH)
        copyInto(path, joined);
}
