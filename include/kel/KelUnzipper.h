/// @file KelUnzipper.h
/// Extracting the entries of a zip archive to disk.
///
/// @code
///   KelUnzipper zip(L"C:\\data\\parts.zip");      // output folder: the archive's folder
///   if (zip.GetFileCount() > 0)
///       zip.UnzipTo(L"C:\\data\\parts", false);   // with the entries' folders
///
///   UZ_FileInfo info;
///   for (bool more = zip.GotoFirstFile(L"txt"); more; more = zip.GotoNextFile(L"txt"))
///       if (zip.GetFileInfo(info)) { /* info.szFileName, info.dwUncompressedSize */ }
/// @endcode
///
/// Paths are wide paths of at most 260 characters (MAX_PATH); "\" and "/"
/// both separate their parts. Entry names are read with the narrow code page
/// (or as UTF-8 when the entry carries the format's UTF-8 flag) and shown
/// with "\" for every "/". Extraction never writes outside the target
/// folder: an entry whose name is absolute, carries a drive or climbs out
/// with "..", or whose path runs through a link that already exists inside
/// the target folder, is refused. An entry is reported as extracted only
/// when the file holds exactly its bytes (see UnzipFile). Every operation
/// returns false on failure.

#ifndef KEL_KELUNZIPPER_H
#define KEL_KELUNZIPPER_H

#include <kel/KelExport.h>
#include <kel/KelPlatformTypes.h>

#include <stdint.h>

/// What the archive says about one entry (KelUnzipper::GetFileInfo). Zero-
/// filled before it is filled.
///
/// @see KelUnzipper, whose example reads one.
struct UZ_FileInfo {
    /// The entry name, "/" replaced by "\"; cut at 260 characters.
    wchar_t szFileName[MAX_PATH + 1];
    /// The entry comment (at most 255 bytes of it).
    wchar_t szComment[256];
    /// @name Central-directory values
    /// The entry's values as its central-directory record gives them.
    ///@{
    uint32_t dwVersion;            ///< the version made by
    uint32_t dwVersionNeeded;      ///< the version needed to extract
    uint32_t dwFlags;              ///< the general-purpose bit flags
    uint32_t dwCompressionMethod;  ///< 0 stored, 8 deflated, ...
    /// MS-DOS date in the high 16 bits, time in the low 16 bits.
    uint32_t dwDosDate;
    uint32_t dwCRC;               ///< the CRC-32 of the data
    uint32_t dwCompressedSize;    ///< the low 32 bits of the stored size
    uint32_t dwUncompressedSize;  ///< the low 32 bits of the original size
    uint32_t dwInternalAttrib;    ///< the internal attributes
    uint32_t dwExternalAttrib;    ///< the external attributes
    ///@}
    /// Bit 0x10 (the directory attribute) of dwExternalAttrib.
    bool bFolder;
};

/// @copydoc KelUnzipper.h
class KEL_API KelUnzipper {
public:
    /// Opens the archive when a path is given.
    KelUnzipper(const wchar_t* zipPath = nullptr);
    /// Closes the archive.
    virtual ~KelUnzipper();

    /// Closes any open archive, then opens `zipPath` (made absolute). On
    /// success the output folder becomes the archive's own folder. False for
    /// a null, missing or unreadable archive. An archive without entries (its
    /// end record alone, 22 bytes) opens.
    bool OpenZip(const wchar_t* zipPath);
    /// Closes the archive; true also when none was open.
    bool CloseZip();

    /// The number of entries, from the end record or its ZIP64 form (clamped
    /// to 2,147,483,647); 0 when no archive is open.
    int GetFileCount();

    /// Makes `folder` the output folder and creates it with its missing
    /// parents. False when it exists as a file or cannot be created.
    bool SetOutputFolder(const wchar_t* folder);

    /// Go to the first / next entry. With a non-empty `ext`, entries whose
    /// extension (without the dot) differs from it, ignoring case, are
    /// skipped. False when there is no such entry.
    bool GotoFirstFile(const wchar_t* ext = nullptr);
    /// @copydoc GotoFirstFile
    bool GotoNextFile(const wchar_t* ext = nullptr);
    /// Go to entry `index` (from 0).
    bool GotoFile(int index);
    /// Go to the entry called `name` (either separator, runs of separators
    /// counting as one, case ignored); when there is none and `ignorePath` is
    /// true, to the first entry whose file name matches that of `name`.
    bool GotoFile(const wchar_t* name, bool ignorePath = true);

    /// The current entry's information, or that of entry `index`.
    bool GetFileInfo(UZ_FileInfo& info);
    /// @copydoc GetFileInfo(UZ_FileInfo&)
    bool GetFileInfo(int index, UZ_FileInfo& info);

    /// Extracts the current entry (or entry `index`) into `folder` (null: the
    /// output folder), which is created first. A folder entry creates the
    /// folder; a file entry is written with its folders (only its file name
    /// with `ignorePath`), replacing an existing file, and gets the entry's
    /// time. True only when the file holds exactly the entry: the deflate
    /// stream reached its end, the bytes written equal the entry's size and
    /// the CRC-32 matches; a failed file is removed. Before the first
    /// extraction the archive's whole directory is read and checked; a
    /// damaged one (fewer or more records than announced, records pointing
    /// outside the archive, entries whose data overlap) fails every
    /// extraction. Stored and deflated entries are extracted; other methods
    /// and encrypted entries fail and nothing is written for them. An entry
    /// that would land outside `folder`, or whose path runs through a link
    /// already inside it, fails and writes nothing; an existing file is
    /// replaced, never written through.
    bool UnzipFile(const wchar_t* folder = nullptr, bool ignorePath = false);
    /// @copydoc UnzipFile(const wchar_t*, bool)
    bool UnzipFile(int index, const wchar_t* folder = nullptr, bool ignorePath = false);

    /// Extracts every entry into `folder` (created first); false for an empty
    /// archive, for a damaged directory (before anything is written), at the
    /// first entry that fails, and when the directory breaks off before its
    /// last entry.
    bool UnzipTo(const wchar_t* folder, bool ignorePath = false);
    /// The same into the output folder.
    bool Unzip(bool ignorePath = false);
    /// Opens `zipPath` and extracts it into `folder` (null: the archive's
    /// folder).
    static bool Unzip(const wchar_t* zipPath, const wchar_t* folder = nullptr,
                      bool ignorePath = false);

protected:
    /// Creates `folder` and its missing parents. False for an empty path or
    /// when the path exists as a file. A path without any separator is taken
    /// as it stands and nothing is created (it names a drive or a folder
    /// relative to the current one).
    static bool CreateFolder(const wchar_t* folder);
    /// Creates the folders of a file path (everything before its last
    /// separator); false for a path without one.
    static bool CreateFilePath(const wchar_t* path);
    /// Gives an existing file the MS-DOS date (high word) and time (low word)
    /// as its last-write time, read as local time; the last-access time is
    /// kept.
    static bool SetFileModTime(const wchar_t* path, unsigned long dosDateTime);

    /// The open archive (minizip's unzFile), null when closed.
    void* m_uzFile;
    /// The output folder (SetOutputFolder, or the archive's folder after
    /// OpenZip); empty until then.
    wchar_t m_szOutputFolder[MAX_PATH + 1];

private:
    KelUnzipper(const KelUnzipper&) = delete;
    KelUnzipper& operator=(const KelUnzipper&) = delete;

    /// The archive's directory, read and checked whole before the first
    /// extraction; null until then.
    struct Directory;
    Directory* m_pDirectory;
    /// The archive's absolute path, for that check.
    wchar_t m_szZipPath[MAX_PATH + 1];

    /// The checked directory; null (with the reason recorded) when the
    /// archive's directory is damaged.
    const Directory* checkedDirectory();
};

#endif  // KEL_KELUNZIPPER_H
