#include <kel/KelUnzipper.h>

#include <minizip/unzip.h>

#include <cstring>
#include <cwchar>
#include <string>
#include <vector>

#include "files/file_system.h"
#include "files/zip_io.h"
#include "files/zip_names.h"

namespace {

using kel::detail::withBackslashes;

// The block size of extraction.
constexpr unsigned int kExtractBlock = 65536;

// The format's flag for entry names and comments in UTF-8.
constexpr unsigned long kUtf8Flag = 0x800;

unzFile archiveOf(void* handle) {
    return static_cast<unzFile>(handle);
}

// The current entry as the archive describes it.
struct Entry {
    unz_file_info64 info = {};
    std::wstring name;  // "\" for every "/"
    std::wstring comment;
};

bool readEntry(unzFile zip, Entry& entry) {
    if (unzGetCurrentFileInfo64(zip, &entry.info, nullptr, 0, nullptr, 0, nullptr, 0) != UNZ_OK)
        return false;
    std::string name(entry.info.size_filename, '\0');
    std::string comment(std::min<uLong>(entry.info.size_file_comment, 255), '\0');
    if (unzGetCurrentFileInfo64(zip, &entry.info, name.empty() ? nullptr : &name[0],
                                static_cast<uLong>(name.size()), nullptr, 0,
                                comment.empty() ? nullptr : &comment[0],
                                static_cast<uLong>(comment.size())) != UNZ_OK) {
        return false;
    }
    const bool utf8 = (entry.info.flag & kUtf8Flag) != 0;
    entry.name = withBackslashes(kel::detail::entryText(name.c_str(), utf8));
    entry.comment = kel::detail::entryText(comment.c_str(), utf8);
    return true;
}

// Copies `text` into a buffer of `capacity` characters, cut to fit.
void copyCut(wchar_t* target, size_t capacity, const std::wstring& text) {
    const size_t n = std::min(text.size(), capacity - 1);
    std::wmemcpy(target, text.data(), n);
    target[n] = L'\0';
}

bool extensionMatches(unzFile zip, const wchar_t* ext) {
    if (ext == nullptr || *ext == L'\0')
        return true;
    Entry entry;
    return readEntry(zip, entry) &&
           kel::detail::samePathNoCase(kel::detail::extensionPart(entry.name), ext);
}

// Moves on from the current entry (after `first` when it is true, to the
// first entry) to the next one whose extension matches.
bool gotoMatching(unzFile zip, const wchar_t* ext, bool first) {
    if (zip == nullptr)
        return false;
    int result = first ? unzGoToFirstFile(zip) : unzGoToNextFile(zip);
    while (result == UNZ_OK) {
        if (extensionMatches(zip, ext))
            return true;
        result = unzGoToNextFile(zip);
    }
    return false;
}

// Walks the entries until `matches(entry)`; false when none does.
template <typename Matches>
bool findEntry(unzFile zip, Matches matches) {
    for (int result = unzGoToFirstFile(zip); result == UNZ_OK; result = unzGoToNextFile(zip)) {
        Entry entry;
        if (readEntry(zip, entry) && matches(entry))
            return true;
    }
    return false;
}

bool isFolderEntry(const Entry& entry) {
    return (entry.info.external_fa & kel::detail::kAttributeDirectory) != 0 ||
           (!entry.name.empty() && entry.name.back() == L'\\');
}

bool isLeapYear(int year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

// The MS-DOS date and time as local calendar fields; false for values that
// are no date (as the system's conversion refuses them).
bool fromDosDateTime(unsigned long dosDateTime, kel::detail::LocalTime& time) {
    const unsigned long date = (dosDateTime >> 16) & 0xFFFF;
    const unsigned long clock = dosDateTime & 0xFFFF;
    time.year = static_cast<int>((date >> 9) + 1980);
    time.month = static_cast<int>((date >> 5) & 0x0F);
    time.day = static_cast<int>(date & 0x1F);
    time.hour = static_cast<int>(clock >> 11);
    time.minute = static_cast<int>((clock >> 5) & 0x3F);
    time.second = static_cast<int>((clock & 0x1F) * 2);
    static const int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (time.month < 1 || time.month > 12 || time.day < 1 || time.hour > 23 || time.minute > 59 ||
        time.second > 59) {
        return false;
    }
    const int days = kDays[time.month - 1] + (time.month == 2 && isLeapYear(time.year) ? 1 : 0);
    return time.day <= days;
}

// Copies the current entry into `path`; true when every byte was written
// and the entry's checksum matched.
bool extractCurrent(unzFile zip, const std::wstring& path) {
    kel::detail::BinaryFile out;
    if (!out.create(path))
        return false;
    if (unzOpenCurrentFile(zip) != UNZ_OK) {
        out.close();
        kel::detail::deleteFile(path);
        return false;
    }
    std::vector<char> block(kExtractBlock);
    bool ok = true;
    for (;;) {
        const int n = unzReadCurrentFile(zip, block.data(), kExtractBlock);
        if (n == 0)
            break;
        if (n < 0 || !out.write(block.data(), static_cast<unsigned long>(n))) {
            ok = false;
            break;
        }
    }
    // Closing the entry after reading it whole checks its CRC.
    ok = unzCloseCurrentFile(zip) == UNZ_OK && ok;
    ok = out.close() && ok;
    if (!ok)
        kel::detail::deleteFile(path);
    return ok;
}

}  // namespace

// ----- opening and closing ----------------------------------------------------

KelUnzipper::KelUnzipper(const wchar_t* zipPath) : m_uzFile(nullptr), m_szOutputFolder{} {
    if (zipPath != nullptr)
        OpenZip(zipPath);
}

KelUnzipper::~KelUnzipper() {
    CloseZip();
}

bool KelUnzipper::OpenZip(const wchar_t* zipPath) {
    CloseZip();
    if (zipPath == nullptr || *zipPath == L'\0')
        return false;
    const std::wstring full = kel::detail::fullPath(zipPath);
    uint32_t attributes = 0;
    if (full.empty() || full.size() > MAX_PATH || !kel::detail::fileAttributes(full, attributes) ||
        (attributes & kel::detail::kAttributeDirectory) != 0) {
        return false;
    }
    zlib_filefunc64_def io = kel::detail::nativeFileFunctions();
    m_uzFile = unzOpen2_64(full.c_str(), &io);
    if (m_uzFile == nullptr)
        return false;
    copyCut(m_szOutputFolder, MAX_PATH + 1, kel::detail::folderPart(full));
    return true;
}

bool KelUnzipper::CloseZip() {
    if (m_uzFile == nullptr)
        return true;
    const int result = unzClose(archiveOf(m_uzFile));
    m_uzFile = nullptr;
    return result == UNZ_OK;
}

int KelUnzipper::GetFileCount() {
    unz_global_info64 global = {};
    if (m_uzFile == nullptr || unzGetGlobalInfo64(archiveOf(m_uzFile), &global) != UNZ_OK)
        return 0;
    return global.number_entry > 0x7FFFFFFF ? 0x7FFFFFFF : static_cast<int>(global.number_entry);
}

bool KelUnzipper::SetOutputFolder(const wchar_t* folder) {
    if (folder == nullptr || *folder == L'\0')
        return false;
    uint32_t attributes = 0;
    if (kel::detail::fileAttributes(folder, attributes) &&
        (attributes & kel::detail::kAttributeDirectory) == 0) {
        return false;
    }
    const std::wstring path = withBackslashes(folder);
    if (path.size() > MAX_PATH)
        return false;
    copyCut(m_szOutputFolder, MAX_PATH + 1, path);
    return CreateFolder(m_szOutputFolder);
}

// ----- moving between entries -----------------------------------------------------

bool KelUnzipper::GotoFirstFile(const wchar_t* ext) {
    return gotoMatching(archiveOf(m_uzFile), ext, true);
}

bool KelUnzipper::GotoNextFile(const wchar_t* ext) {
    return gotoMatching(archiveOf(m_uzFile), ext, false);
}

bool KelUnzipper::GotoFile(int index) {
    unzFile zip = archiveOf(m_uzFile);
    if (zip == nullptr || index < 0 || unzGoToFirstFile(zip) != UNZ_OK)
        return false;
    for (int i = 0; i < index; ++i) {
        if (unzGoToNextFile(zip) != UNZ_OK)
            return false;
    }
    return true;
}

bool KelUnzipper::GotoFile(const wchar_t* name, bool ignorePath) {
    unzFile zip = archiveOf(m_uzFile);
    if (zip == nullptr || name == nullptr || *name == L'\0')
        return false;
    if (findEntry(zip, [&](const Entry& e) { return kel::detail::samePathNoCase(e.name, name); }))
        return true;
    if (!ignorePath)
        return false;
    const std::wstring wanted = kel::detail::fileNamePart(name);
    return findEntry(zip, [&](const Entry& e) {
        return kel::detail::samePathNoCase(kel::detail::fileNamePart(e.name), wanted);
    });
}

// ----- entry information ----------------------------------------------------------

bool KelUnzipper::GetFileInfo(UZ_FileInfo& info) {
    std::memset(&info, 0, sizeof info);
    Entry entry;
    if (m_uzFile == nullptr || !readEntry(archiveOf(m_uzFile), entry))
        return false;
    copyCut(info.szFileName, MAX_PATH + 1, entry.name);
    copyCut(info.szComment, 256, entry.comment);
    info.dwVersion = static_cast<uint32_t>(entry.info.version);
    info.dwVersionNeeded = static_cast<uint32_t>(entry.info.version_needed);
    info.dwFlags = static_cast<uint32_t>(entry.info.flag);
    info.dwCompressionMethod = static_cast<uint32_t>(entry.info.compression_method);
    info.dwDosDate = static_cast<uint32_t>(entry.info.dosDate);
    info.dwCRC = static_cast<uint32_t>(entry.info.crc);
    info.dwCompressedSize = static_cast<uint32_t>(entry.info.compressed_size);
    info.dwUncompressedSize = static_cast<uint32_t>(entry.info.uncompressed_size);
    info.dwInternalAttrib = static_cast<uint32_t>(entry.info.internal_fa);
    info.dwExternalAttrib = static_cast<uint32_t>(entry.info.external_fa);
    info.bFolder = (info.dwExternalAttrib & kel::detail::kAttributeDirectory) != 0;
    return true;
}

bool KelUnzipper::GetFileInfo(int index, UZ_FileInfo& info) {
    if (!GotoFile(index)) {
        std::memset(&info, 0, sizeof info);
        return false;
    }
    return GetFileInfo(info);
}

// ----- extraction -------------------------------------------------------------------

bool KelUnzipper::UnzipFile(const wchar_t* folder, bool ignorePath) {
    unzFile zip = archiveOf(m_uzFile);
    if (zip == nullptr)
        return false;
    Entry entry;
    if (!readEntry(zip, entry))
        return false;
    const bool isFolder = isFolderEntry(entry);
    const std::wstring name =
        (ignorePath && !isFolder) ? kel::detail::fileNamePart(entry.name) : entry.name;
    // Refused before anything is created: nothing may land outside the
    // target folder.
    if (!kel::detail::isContainedName(name))
        return false;
    const std::wstring target = withBackslashes(folder != nullptr ? folder : m_szOutputFolder);
    if (!CreateFolder(target.c_str()))
        return false;
    const std::wstring path = kel::detail::joinPath(target, name);
    if (path.size() > MAX_PATH)
        return false;
    if (isFolder)
        return CreateFolder(path.c_str());
    if (!CreateFilePath(path.c_str()) || !extractCurrent(zip, path))
        return false;
    SetFileModTime(path.c_str(), static_cast<unsigned long>(entry.info.dosDate));
    return true;
}

bool KelUnzipper::UnzipFile(int index, const wchar_t* folder, bool ignorePath) {
    return GotoFile(index) && UnzipFile(folder, ignorePath);
}

bool KelUnzipper::UnzipTo(const wchar_t* folder, bool ignorePath) {
    if (m_uzFile == nullptr || !CreateFolder(folder) || GetFileCount() == 0 || !GotoFirstFile())
        return false;
    int next = UNZ_OK;
    do {
        if (!UnzipFile(folder, ignorePath))
            return false;
        next = unzGoToNextFile(archiveOf(m_uzFile));
    } while (next == UNZ_OK);
    // Only the end of the list is success: a directory that breaks off
    // before its announced count is a damaged archive.
    return next == UNZ_END_OF_LIST_OF_FILE;
}

bool KelUnzipper::Unzip(bool ignorePath) {
    return UnzipTo(m_szOutputFolder, ignorePath);
}

bool KelUnzipper::Unzip(const wchar_t* zipPath, const wchar_t* folder, bool ignorePath) {
    KelUnzipper unzipper;
    if (!unzipper.OpenZip(zipPath))
        return false;
    return folder != nullptr ? unzipper.UnzipTo(folder, ignorePath) : unzipper.Unzip(ignorePath);
}

// ----- folders and times -------------------------------------------------------------

bool KelUnzipper::CreateFolder(const wchar_t* folder) {
    if (folder == nullptr || *folder == L'\0')
        return false;
    const std::wstring path = kel::detail::withoutTrailingSeparators(withBackslashes(folder));
    uint32_t attributes = 0;
    if (kel::detail::fileAttributes(path, attributes))
        return (attributes & kel::detail::kAttributeDirectory) != 0;
    const size_t cut = path.rfind(L'\\');
    // A path without a separator names a drive or a folder relative to the
    // current one; it is taken as it stands, deliberately.
    if (cut == std::wstring::npos)
        return true;
    const std::wstring parent = cut == 0 ? std::wstring(L"\\") : path.substr(0, cut);
    return CreateFolder(parent.c_str()) && kel::detail::createDirectory(path);
}

bool KelUnzipper::CreateFilePath(const wchar_t* path) {
    if (path == nullptr)
        return false;
    const std::wstring text = withBackslashes(path);
    const size_t cut = text.rfind(L'\\');
    if (cut == std::wstring::npos)
        return false;
    return CreateFolder(cut == 0 ? L"\\" : text.substr(0, cut).c_str());
}

bool KelUnzipper::SetFileModTime(const wchar_t* path, unsigned long dosDateTime) {
    kel::detail::LocalTime time;
    if (path == nullptr || *path == L'\0' || !fromDosDateTime(dosDateTime, time))
        return false;
    return kel::detail::setWriteTimeFromLocal(path, time);
}
