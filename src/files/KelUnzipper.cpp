#include <kel/KelUnzipper.h>

#include <minizip/unzip.h>
#include <zlib.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <string>
#include <vector>

#include "files/file_system.h"
#include "files/zip_directory.h"
#include "files/zip_failure.h"
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

// The method numbers of the format that the library extracts.
constexpr unsigned kStored = 0;
constexpr unsigned kDeflated = 8;
constexpr unsigned long kEncryptedFlag = 0x1;

std::string methodText(unsigned method) {
    const char* name = kel::detail::compressionMethodName(method);
    return std::to_string(method) + (*name != '\0' ? std::string(" (") + name + ")" : "");
}

// Refuses an entry that cannot be extracted as it is, before anything is
// written for it.
bool checkExtractable(const kel::detail::DirectoryEntry& entry) {
    if ((entry.flags & kEncryptedFlag) != 0)
        return kel::detail::failWith("the entry is encrypted");
    if (entry.method != kStored && entry.method != kDeflated)
        return kel::detail::failWith("unsupported compression method " + methodText(entry.method));
    if (entry.method == kStored && entry.compressedSize != entry.uncompressedSize)
        return kel::detail::failWith("a stored entry whose two sizes differ");
    return true;
}

// Where the current entry's bytes go on their way to the file: the raw
// bytes of the archive are inflated here, not inside minizip, so that the
// end of the stream, the size and the CRC-32 are all seen.
class EntryWriter {
public:
    EntryWriter(const kel::detail::DirectoryEntry& entry, kel::detail::BinaryFile& out)
        : m_entry(entry), m_out(out) {}
    ~EntryWriter() {
        if (m_inflating)
            inflateEnd(&m_stream);
    }
    EntryWriter(const EntryWriter&) = delete;
    EntryWriter& operator=(const EntryWriter&) = delete;

    bool start() {
        if (m_entry.method == kStored)
            return true;
        m_stream = {};
        m_inflating = inflateInit2(&m_stream, -MAX_WBITS) == Z_OK;
        return m_inflating || kel::detail::failWith("not enough memory to inflate");
    }

    // Takes the next block of the entry's raw bytes.
    bool take(unsigned char* bytes, unsigned size) {
        if (m_entry.method == kStored)
            return put(bytes, size);
        if (m_ended)
            return true;  // bytes behind the end of the stream change nothing
        m_stream.next_in = bytes;
        m_stream.avail_in = size;
        while (m_stream.avail_in > 0) {
            m_stream.next_out = m_block.data();
            m_stream.avail_out = static_cast<uInt>(m_block.size());
            const int result = inflate(&m_stream, Z_NO_FLUSH);
            const unsigned produced = static_cast<unsigned>(m_block.size()) - m_stream.avail_out;
            if (result == Z_DATA_ERROR || result == Z_MEM_ERROR || result == Z_NEED_DICT)
                return kel::detail::failWith("damaged compressed data");
            if (produced > 0 && !put(m_block.data(), produced))
                return false;
            if (result == Z_STREAM_END) {
                m_ended = true;
                return true;
            }
            if (result == Z_BUF_ERROR && produced == 0)
                break;
        }
        return true;
    }

    // After the last raw byte: everything must have matched.
    bool finish(uint64_t rawBytes) {
        if (rawBytes != m_entry.compressedSize)
            return kel::detail::failWith("the archive ends inside the entry's data");
        if (m_entry.method == kDeflated && !m_ended) {
            // Drains what inflate still holds back, then insists on the end.
            m_stream.next_in = nullptr;
            m_stream.avail_in = 0;
            for (;;) {
                m_stream.next_out = m_block.data();
                m_stream.avail_out = static_cast<uInt>(m_block.size());
                const int result = inflate(&m_stream, Z_FINISH);
                const unsigned produced =
                    static_cast<unsigned>(m_block.size()) - m_stream.avail_out;
                if (produced > 0 && !put(m_block.data(), produced))
                    return false;
                if (result == Z_STREAM_END) {
                    m_ended = true;
                    break;
                }
                if (produced == 0)
                    return kel::detail::failWith("the compressed data ends before the entry does");
            }
        }
        if (m_written != m_entry.uncompressedSize) {
            return kel::detail::failWith("the data holds " + std::to_string(m_written) +
                                         " bytes, the entry " +
                                         std::to_string(m_entry.uncompressedSize));
        }
        if (m_crc != m_entry.crc)
            return kel::detail::failWith("the CRC-32 does not match");
        return true;
    }

private:
    bool put(const unsigned char* bytes, unsigned size) {
        // Never more than the entry announces: a bomb stops here.
        if (size > m_entry.uncompressedSize - m_written) {
            return kel::detail::failWith("the data holds more than the entry's " +
                                         std::to_string(m_entry.uncompressedSize) + " bytes");
        }
        if (!m_out.write(bytes, size))
            return kel::detail::failWithSystemError("cannot write the file");
        m_crc = crc32(m_crc, bytes, size);
        m_written += size;
        return true;
    }

    const kel::detail::DirectoryEntry& m_entry;
    kel::detail::BinaryFile& m_out;
    z_stream m_stream = {};
    bool m_inflating = false;
    bool m_ended = false;
    uint64_t m_written = 0;
    uLong m_crc = crc32(0, nullptr, 0);
    std::vector<unsigned char> m_block = std::vector<unsigned char>(kExtractBlock);
};

// Copies the entry into `path`, checking every byte on the way; a file
// that failed is removed. The entry's bytes are read here, from the
// checked directory's offsets, rather than through minizip: some minizip
// builds read the ZIP64 sizes of an entry wrongly.
bool extractEntry(std::FILE* archive, const kel::detail::DirectoryEntry& entry,
                  const std::wstring& path) {
    uint64_t dataStart = 0;
    std::string problem;
    if (!kel::detail::findEntryData(archive, entry, dataStart, problem))
        return kel::detail::failWith(problem);
    kel::detail::BinaryFile out;
    if (!out.create(path))
        return kel::detail::failWithSystemError("cannot create the file");
    EntryWriter writer(entry, out);
    bool ok = writer.start();
    std::vector<unsigned char> block(kExtractBlock);
    uint64_t raw = 0;
    while (ok && raw < entry.compressedSize) {
        const size_t want =
            static_cast<size_t>(std::min<uint64_t>(block.size(), entry.compressedSize - raw));
        const size_t n = std::fread(block.data(), 1, want, archive);
        if (n == 0)
            break;  // the archive ends early: finish() says so
        raw += n;
        ok = writer.take(block.data(), static_cast<unsigned>(n));
    }
    ok = ok && writer.finish(raw);
    if (!out.close() && ok)
        ok = kel::detail::failWithSystemError("cannot write the file");
    if (!ok)
        kel::detail::deleteFile(path);
    return ok;
}

// True when no part of `name` below `folder` is a link that already
// exists: extraction never follows one out of the folder.
bool staysOffLinks(const std::wstring& folder, const std::wstring& name) {
    std::wstring path = kel::detail::withoutTrailingSeparators(folder);
    size_t start = 0;
    while (start < name.size()) {
        size_t end = name.find(L'\\', start);
        if (end == std::wstring::npos)
            end = name.size();
        if (end > start) {
            path = kel::detail::joinPath(path, name.substr(start, end - start));
            if (kel::detail::isLink(path))
                return kel::detail::failWith("the path runs through a link inside the folder");
        }
        start = end + 1;
    }
    return true;
}

}  // namespace

// ----- opening and closing ----------------------------------------------------

struct KelUnzipper::Directory {
    kel::detail::ArchiveDirectory archive;
    bool sound = false;
    std::string problem;
    // The archive, open for reading the entries' data.
    std::FILE* file = nullptr;

    ~Directory() {
        if (file != nullptr)
            std::fclose(file);
    }
};

KelUnzipper::KelUnzipper(const wchar_t* zipPath)
    : m_uzFile(nullptr), m_szOutputFolder{}, m_pDirectory(nullptr), m_szZipPath{} {
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
    copyCut(m_szZipPath, MAX_PATH + 1, full);
    return true;
}

bool KelUnzipper::CloseZip() {
    delete m_pDirectory;
    m_pDirectory = nullptr;
    m_szZipPath[0] = L'\0';
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

const KelUnzipper::Directory* KelUnzipper::checkedDirectory() {
    if (m_pDirectory == nullptr) {
        m_pDirectory = new Directory;
        m_pDirectory->sound = kel::detail::readArchiveDirectory(m_szZipPath, m_pDirectory->archive,
                                                                m_pDirectory->problem);
        if (m_pDirectory->sound) {
            m_pDirectory->file = kel::detail::openBinaryStream(m_szZipPath, "rb");
            if (m_pDirectory->file == nullptr) {
                m_pDirectory->sound = false;
                m_pDirectory->problem = "cannot read the archive";
            }
        }
    }
    if (!m_pDirectory->sound) {
        kel::detail::failWith("damaged archive: " + m_pDirectory->problem);
        return nullptr;
    }
    return m_pDirectory;
}

bool KelUnzipper::UnzipFile(const wchar_t* folder, bool ignorePath) {
    kel::detail::clearZipFailure();
    unzFile zip = archiveOf(m_uzFile);
    if (zip == nullptr)
        return kel::detail::failWith("no archive is open");
    Entry entry;
    if (!readEntry(zip, entry))
        return kel::detail::failWith("damaged archive: cannot read the entry");
    const Directory* directory = checkedDirectory();
    if (directory == nullptr)
        return false;
    // minizip's walk and the checked directory must describe the same
    // record.
    unz64_file_pos position = {};
    if (unzGetFilePos64(zip, &position) != UNZ_OK ||
        position.num_of_file >= directory->archive.entries.size() ||
        directory->archive.entries[position.num_of_file].record != position.pos_in_zip_directory) {
        return kel::detail::failWith("damaged archive: the directory does not hold this entry");
    }
    const kel::detail::DirectoryEntry& record = directory->archive.entries[position.num_of_file];
    const bool isFolder = isFolderEntry(entry);
    const std::wstring name =
        (ignorePath && !isFolder) ? kel::detail::fileNamePart(entry.name) : entry.name;
    // Refused before anything is created: nothing may land outside the
    // target folder.
    if (!kel::detail::isContainedName(name))
        return kel::detail::failWith("the name leaves the target folder");
    if (!isFolder && !checkExtractable(record))
        return false;
    const std::wstring target = withBackslashes(folder != nullptr ? folder : m_szOutputFolder);
    if (!CreateFolder(target.c_str()))
        return kel::detail::failWithSystemError("cannot create the folder");
    const std::wstring path = kel::detail::joinPath(target, name);
    if (path.size() > MAX_PATH)
        return kel::detail::failWith("the path is longer than 260 characters");
    if (!staysOffLinks(target, name))
        return false;
    if (isFolder) {
        return CreateFolder(path.c_str()) ||
               kel::detail::failWithSystemError("cannot create the folder");
    }
    if (!CreateFilePath(path.c_str()))
        return kel::detail::failWithSystemError("cannot create the folder");
    // An existing file is replaced, not written through: it may be a hard
    // link to a file elsewhere.
    uint32_t attributes = 0;
    if (kel::detail::fileAttributes(path, attributes) &&
        (attributes & kel::detail::kAttributeDirectory) == 0) {
        kel::detail::deleteFile(path);
    }
    if (!extractEntry(directory->file, record, path))
        return false;
    SetFileModTime(path.c_str(), static_cast<unsigned long>(entry.info.dosDate));
    return true;
}

bool KelUnzipper::UnzipFile(int index, const wchar_t* folder, bool ignorePath) {
    return GotoFile(index) && UnzipFile(folder, ignorePath);
}

bool KelUnzipper::UnzipTo(const wchar_t* folder, bool ignorePath) {
    kel::detail::clearZipFailure();
    if (m_uzFile == nullptr)
        return kel::detail::failWith("no archive is open");
    if (!CreateFolder(folder))
        return kel::detail::failWithSystemError("cannot create the folder");
    if (GetFileCount() == 0)
        return kel::detail::failWith("the archive holds no entries");
    // A damaged directory fails before the first entry is written.
    if (checkedDirectory() == nullptr)
        return false;
    if (!GotoFirstFile())
        return kel::detail::failWith("damaged archive: cannot read the first entry");
    int next = UNZ_OK;
    do {
        if (!UnzipFile(folder, ignorePath))
            return false;
        next = unzGoToNextFile(archiveOf(m_uzFile));
    } while (next == UNZ_OK);
    // Only the end of the list is success: a directory that breaks off
    // before its announced count is a damaged archive.
    return next == UNZ_END_OF_LIST_OF_FILE ||
           kel::detail::failWith("damaged archive: the directory breaks off");
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
