/// @file KelZipper.h
/// Building zip archives from files and folders.
///
/// @code
///   KelZipper::ZipFolder(L"C:\\data\\parts", false);     // C:\data\parts.zip
///
///   KelZipper zip(L"C:\\out\\a.zip", L"C:\\data", false);  // root folder C:\data
///   zip.AddFileToZip(L"beams\\b1.nc1", false);            // entry "beams//b1.nc1"
///   zip.AddFileToZip(L"C:\\data\\x.txt", L"docs");         // entry "docs\x.txt"
///   zip.CloseZip();
/// @endcode
///
/// Entries are deflated at zlib's default level and carry the source's
/// last-write time (local time, two-second precision) and attributes. Entry
/// names are the paths relative to the root folder. The separators written
/// differ by operation, and both forms are kept because the library's own
/// readers and existing archives rely on them: AddFileToZip(path, ignorePath)
/// and ZipFile write every "\" as "//"; AddFileToZip(path, folderInZip) and
/// the folder entries of AddFolderToZip keep "\". Names that are not plain
/// ASCII are stored as UTF-8 with the format's UTF-8 flag. Files of 4 GiB
/// and more get entries with the ZIP64 fields, and an archive of 65,535
/// entries or more a ZIP64 end record, so that other tools read any archive
/// written here. Paths are wide paths of at most 260 characters; "\" and "/"
/// both separate their parts. A name that would climb out of the root
/// folder is refused. Every operation returns false on failure.

#ifndef KEL_KELZIPPER_H
#define KEL_KELZIPPER_H

#include <kel/KelExport.h>
#include <kel/KelPlatformTypes.h>

#include <stdint.h>

/// What a KelZipper has added since its archive was opened. Each total stops
/// at its largest value instead of wrapping.
struct Z_FileInfo {
    int32_t nFileCount;           ///< file entries added
    int32_t nFolderCount;         ///< folders added (counted when tried)
    uint32_t dwUncompressedSize;  ///< bytes copied into the archive
};

/// @copydoc KelZipper.h
class KEL_API KelZipper {
public:
    /// Opens the archive when a path is given (see OpenZip).
    KelZipper(const wchar_t* zipPath = nullptr, const wchar_t* rootFolder = nullptr,
              bool append = false);
    /// Closes the archive.
    virtual ~KelZipper();

    /// Closes any open archive, resets the counts and opens `zipPath` (made
    /// absolute) for writing. With `append` true and an existing file, the
    /// new archive is written after the file's present contents (minizip's
    /// "create after": the earlier entries are no longer listed); otherwise
    /// the file is replaced. The root folder becomes `rootFolder` as a folder
    /// path; an empty one leaves it empty, a null one gives the archive's own
    /// folder.
    bool OpenZip(const wchar_t* zipPath, const wchar_t* rootFolder = nullptr, bool append = false);
    /// Writes the archive's directory and closes it; true also when none was
    /// open.
    bool CloseZip();
    /// The counts since OpenZip.
    void GetFileInfo(Z_FileInfo& info);

    /// Adds a file. A path with a drive (on POSIX also one starting with a
    /// separator) is used as it is and must lie below the root folder; any
    /// other path is taken relative to the root folder, and one beginning
    /// with "..\" is refused. The entry name is the path relative to the
    /// root folder (a leading ".\" dropped), or only the file name with
    /// `ignorePath`, with every "\" written as "//".
    bool AddFileToZip(const wchar_t* path, bool ignorePath = false);
    /// Adds a file as `folderInZip` "\" file name (only the file name when
    /// `folderInZip` is null or empty; one leading "\" dropped); the "\" stay.
    /// False when `folderInZip` contains ":".
    bool AddFileToZip(const wchar_t* path, const wchar_t* folderInZip);
    /// Adds a folder entry (the path relative to the root folder, or only the
    /// folder's name with `ignorePath`, followed by "\") and then every file
    /// and sub-folder whose name does not begin with ".", in name order.
    /// Failures of the children are ignored. The root folder itself has no
    /// name below the root folder: without `ignorePath` adding it fails. The
    /// folder count grows by one at every call on an open archive, also
    /// when the call then fails.
    bool AddFolderToZip(const wchar_t* path, bool ignorePath = false);

    /// Zips one file into an archive beside it with the extension "zip",
    /// entry name the file name. False for a path beginning with "..", a
    /// missing file or an archive that cannot be written.
    static bool ZipFile(const wchar_t* path);
    /// Zips a folder into an archive named after it with the extension "zip"
    /// (for C:\data\parts: C:\data\parts.zip), as AddFolderToZip does.
    static bool ZipFolder(const wchar_t* path, bool ignorePath = false);

protected:
    /// A path without a drive (on POSIX: not absolute) becomes, in place, the
    /// root folder joined with it; `path` holds 261 characters.
    void PrepareSourcePath(wchar_t* path);

    /// The open archive (minizip's zipFile), null when closed.
    void* m_uzFile;
    /// The root folder that entry names are relative to (see OpenZip).
    wchar_t m_szRootFolder[MAX_PATH + 1];
    /// The counts since OpenZip (see GetFileInfo).
    Z_FileInfo m_info;

private:
    KelZipper(const KelZipper&) = delete;
    KelZipper& operator=(const KelZipper&) = delete;

    /// Writes one entry from `source` (a folder entry when `folder`).
    bool addEntry(const wchar_t* name, const wchar_t* source, bool folder);

    /// The archive's absolute path, so that a folder being zipped into
    /// itself leaves the archive out.
    wchar_t m_szZipPath[MAX_PATH + 1];
};

#endif  // KEL_KELZIPPER_H
