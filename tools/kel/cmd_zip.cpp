// "kel zip" and "kel unzip": the library's zip archives from the shell.
//
//   kel zip PATH [ARCHIVE] [--flat]     archive a folder or a file
//   kel unzip ARCHIVE [FOLDER] [--flat] extract, listing what was written
//
// Without ARCHIVE, "kel zip" writes PATH.zip beside the folder (or the file
// with its extension replaced). Without FOLDER, "kel unzip" extracts into
// the archive's folder. --flat keeps only the file names of the entries.
//
// The archive classes answer only true or false (and, for extraction, a
// reason of their own); an error line names the file concerned and the
// system's reason, which the tool finds by asking the system itself where
// the library does not say.

#include <kel/Kel.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <set>
#include <string>
#include <system_error>
#include <vector>

#include "command.h"
#include "files/file_system.h"
#include "files/zip_directory.h"
#include "files/zip_failure.h"
#include "files/zip_names.h"
#include "platform/path.h"

namespace kel::tool {

namespace {

namespace fs = std::filesystem;

constexpr char kZipUsage[] =
    "usage: kel zip PATH [ARCHIVE] [--flat]\n"
    "\n"
    "Archives the folder or file PATH into ARCHIVE: by default PATH.zip beside\n"
    "a folder, or a file's name with its extension replaced by .zip. Entries are\n"
    "named from the folder that holds PATH; --flat keeps only the file names.\n"
    "Names beginning with \".\" are left out. A file or folder the library cannot\n"
    "add is named on stderr and the run fails (exit code 1); the archive holds\n"
    "the rest. A run that cannot write the archive leaves none behind.\n";

constexpr char kUnzipUsage[] =
    "usage: kel unzip ARCHIVE [FOLDER] [--flat]\n"
    "\n"
    "Extracts every entry of ARCHIVE into FOLDER (by default the archive's own\n"
    "folder), printing each path written; --flat writes the files without their\n"
    "folders. The archive's directory is checked whole before anything is\n"
    "written; an entry that fails its checks (name, size, CRC-32) is not written\n"
    "and ends the run (exit code 1).\n";

struct Arguments {
    std::vector<std::wstring> paths;
    bool flat = false;
    bool valid = true;
};

Arguments parse(const std::vector<std::string>& arguments) {
    Arguments result;
    for (const std::string& argument : arguments) {
        if (argument == "--flat") {
            result.flat = true;
        } else if (!argument.empty() && argument[0] == '-') {
            result.valid = false;
        } else {
            result.paths.push_back(KelString(argument.c_str()).getStringW());
        }
    }
    return result;
}

// The path as the user sees it: native separators, no doubled ones.
std::string shown(const std::wstring& path) {
    std::wstring text;
    for (wchar_t c : path) {
        const bool separator = c == L'\\' || c == L'/';
        if (separator && !text.empty() && text.back() == kel::detail::kNativeSeparator)
            continue;
        text += separator ? kel::detail::kNativeSeparator : c;
    }
    return KelString(text.c_str()).getStringA();
}

// A path of the library's (either separator) for the standard library.
fs::path nativePath(const std::wstring& path) {
    return fs::path(kel::detail::toNativePath(path));
}

// The system's words for why nothing can be found at `path` ("No such file
// or directory", "Not a directory"); empty when something is there.
std::string whyMissing(const std::wstring& path) {
    std::error_code error;
    static_cast<void>(fs::status(nativePath(path), error));
    return error ? error.message() : std::string();
}

bool isFolder(const std::wstring& path) {
    std::error_code error;
    return fs::is_directory(nativePath(path), error);
}

// Why `path` cannot be opened with `mode` ("rb", "ab"): the system's words,
// or empty when it can. Opening for appending creates a missing file and
// changes no existing one; the caller removes what it created.
std::string whyNotOpened(const std::wstring& path, const char* mode) {
    errno = 0;
    std::FILE* file = kel::detail::openBinaryStream(path, mode);
    if (file == nullptr)
        return std::strerror(errno != 0 ? errno : EIO);
    std::fclose(file);
    return std::string();
}

// The errors a write reports when the medium cannot take the data.
bool isWriteError(int error) {
    return error == ENOSPC || error == EFBIG || error == EIO || error == EROFS
#if defined(EDQUOT)
           || error == EDQUOT
#endif
        ;
}

int failure(const char* command, const std::string& text) {
    std::fflush(stdout);
    std::fprintf(stderr, "kel %s: %s\n", command, text.c_str());
    return 1;
}

// Removes what a failed run of "kel zip" wrote at `archive`: only a plain
// file, never what else may stand there (such as a device).
void removeArchive(const std::wstring& archive) {
    std::error_code error;
    if (fs::is_regular_file(nativePath(archive), error))
        kel::detail::deleteFile(archive);
}

// Why the archive of `source` could not be written: the system's answer to
// opening it for writing, the error of the write that failed (the
// library's archive stream leaves it in errno), or why `source` cannot be
// read.
std::string whyNotArchived(const std::wstring& source, const std::wstring& archive, bool folder,
                           int writeError) {
    if (archive.size() > MAX_PATH)
        return "cannot write " + shown(archive) + ": the path is longer than 260 characters";
    const std::string opening = whyNotOpened(archive, "ab");
    if (!opening.empty())
        return "cannot write " + shown(archive) + ": " + opening;
    if (isWriteError(writeError))
        return "cannot write " + shown(archive) + ": " + std::strerror(writeError);
    if (!folder) {
        const std::string reading = whyNotOpened(source, "rb");
        if (!reading.empty())
            return "cannot read " + shown(source) + ": " + reading;
    }
    return "cannot archive " + shown(source) + " into " + shown(archive);
}

// An entry name compared without regard to its separators: "a//b\\c\\" and
// "a/b/c" are the same.
std::wstring entryKey(const std::wstring& name) {
    std::wstring key;
    for (wchar_t c : name) {
        const bool separator = c == L'\\' || c == L'/';
        if (separator && (key.empty() || key.back() == L'/'))
            continue;
        key += separator ? L'/' : c;
    }
    if (!key.empty() && key.back() == L'/')
        key.pop_back();
    return key;
}

// Why the library could not have added `path`, for the user.
std::string whyLeftOut(const std::wstring& path) {
    if (path.size() > MAX_PATH)
        return "the path is longer than 260 characters";
    if (isFolder(path))
        return "not added";
    const std::string reading = whyNotOpened(path, "rb");
    return reading.empty() ? "not added" : "cannot read it: " + reading;
}

// Walks `folder` as AddFolderToZip does (names beginning with "." are
// skipped deliberately, as the library skips them) and collects every file
// and folder whose entry is missing from `entries`.
void collectLeftOut(const std::wstring& folder, const std::wstring& root, bool flat,
                    const std::wstring& archive, const std::set<std::wstring>& entries,
                    std::vector<std::wstring>& leftOut) {
    const std::wstring name = flat ? kel::detail::fileNamePart(folder)
                                   : folder.substr(std::min(root.size(), folder.size()));
    if (entries.count(entryKey(name)) == 0) {
        leftOut.push_back(folder);
        return;  // its children were not reached either
    }
    std::vector<kel::detail::FolderEntry> children;
    kel::detail::listFolder(folder, children);
    for (const kel::detail::FolderEntry& child : children) {
        if (child.name.empty() || child.name[0] == L'.')
            continue;
        const std::wstring path = kel::detail::joinPath(folder, child.name);
        if (kel::detail::samePathNoCase(path, archive))
            continue;
        if (child.isDirectory) {
            collectLeftOut(path, root, flat, archive, entries, leftOut);
            continue;
        }
        const std::wstring file =
            flat ? child.name : path.substr(std::min(root.size(), path.size()));
        if (entries.count(entryKey(file)) == 0)
            leftOut.push_back(path);
    }
}

// The entries of a written archive, as keys.
std::set<std::wstring> entryKeys(const std::wstring& archive) {
    std::set<std::wstring> keys;
    KelUnzipper zip(archive.c_str());
    UZ_FileInfo info;
    for (bool more = zip.GotoFirstFile(); more; more = zip.GotoNextFile()) {
        if (zip.GetFileInfo(info))
            keys.insert(entryKey(info.szFileName));
    }
    return keys;
}

int runZip(const std::vector<std::string>& arguments) {
    const Arguments args = parse(arguments);
    if (!args.valid || args.paths.empty() || args.paths.size() > 2)
        return usageError(kZipUsage);
    const std::wstring source =
        kel::detail::withoutTrailingSeparators(kel::detail::fullPath(args.paths[0]));
    const std::wstring archive = args.paths.size() == 2
                                     ? kel::detail::fullPath(args.paths[1])
                                     : kel::detail::withExtension(source, L"zip");
    const std::string missing = whyMissing(source);
    if (!missing.empty())
        return failure("zip", "cannot archive " + shown(source) + ": " + missing);
    const bool folder = isFolder(source);
    // The entries are named relative to the folder that holds PATH.
    errno = 0;
    KelZipper zip(archive.c_str(), kel::detail::folderPart(source).c_str(), false);
    const bool added = folder ? zip.AddFolderToZip(source.c_str(), args.flat)
                              : zip.AddFileToZip(source.c_str(), args.flat);
    const int addError = errno;
    Z_FileInfo info = {};
    zip.GetFileInfo(info);
    errno = 0;
    const bool closed = zip.CloseZip();
    const int closeError = errno;
    if (!closed || !added) {
        const std::string why =
            whyNotArchived(source, archive, folder, isWriteError(addError) ? addError : closeError);
        // A failed run leaves no archive behind.
        removeArchive(archive);
        return failure("zip", why);
    }
    std::printf("%s: %d files, %d folders, %lu bytes\n", shown(archive).c_str(), info.nFileCount,
                info.nFolderCount, static_cast<unsigned long>(info.dwUncompressedSize));
    if (!folder)
        return 0;
    // The library passes over children it cannot add; the user hears of
    // each one, and the run counts as failed.
    std::vector<std::wstring> leftOut;
    const std::wstring root = kel::detail::folderPart(source);
    collectLeftOut(source, root, args.flat, archive, entryKeys(archive), leftOut);
    std::fflush(stdout);  // the summary before the lines about it, also in a pipe
    for (const std::wstring& path : leftOut) {
        std::fprintf(stderr, "kel zip: left out %s: %s\n", shown(path).c_str(),
                     whyLeftOut(path).c_str());
    }
    return leftOut.empty() ? 0 : 1;
}

int cannotExtract(const std::wstring& what, const std::string& reason) {
    return failure("unzip", "cannot extract " + shown(what) + ": " + reason);
}

// Why `archive` does not open as a zip archive.
std::string whyNoArchive(const std::wstring& archive) {
    const std::string missing = whyMissing(archive);
    if (!missing.empty())
        return missing;
    if (isFolder(archive))
        return std::strerror(EISDIR);
    if (archive.size() > MAX_PATH)
        return "the path is longer than 260 characters";
    const std::string reading = whyNotOpened(archive, "rb");
    return reading.empty() ? "not a zip archive" : reading;
}

int runUnzip(const std::vector<std::string>& arguments) {
    const Arguments args = parse(arguments);
    if (!args.valid || args.paths.empty() || args.paths.size() > 2)
        return usageError(kUnzipUsage);
    const std::wstring archive = kel::detail::fullPath(args.paths[0]);
    KelUnzipper zip;
    if (!zip.OpenZip(archive.c_str())) {
        return failure("unzip",
                       "cannot open " + shown(args.paths[0]) + ": " + whyNoArchive(archive));
    }
    // The whole directory is checked before anything is written.
    kel::detail::ArchiveDirectory directory;
    std::string problem;
    if (!kel::detail::readArchiveDirectory(archive, directory, problem))
        return cannotExtract(args.paths[0], "damaged archive: " + problem);
    const int count = zip.GetFileCount();
    if (count == 0)
        return cannotExtract(args.paths[0], "the archive holds no entries");
    const std::wstring folder = kel::detail::withoutTrailingSeparators(
        args.paths.size() == 2 ? kel::detail::fullPath(args.paths[1])
                               : kel::detail::folderPart(archive));
    // A missing folder is created; anything else in the way is named.
    std::error_code error;
    const fs::file_status target = fs::status(nativePath(folder), error);
    if (error && error != std::errc::no_such_file_or_directory)
        return failure("unzip", "cannot extract into " + shown(folder) + ": " + error.message());
    if (!error && !fs::is_directory(target))
        return failure("unzip",
                       "cannot extract into " + shown(folder) + ": " + std::strerror(ENOTDIR));
    int written = 0;
    UZ_FileInfo info;
    for (bool more = zip.GotoFirstFile(); more; more = zip.GotoNextFile()) {
        zip.GetFileInfo(info);
        const std::wstring name = args.flat && !info.bFolder
                                      ? kel::detail::fileNamePart(info.szFileName)
                                      : std::wstring(info.szFileName);
        errno = 0;
        if (!zip.UnzipFile(folder.c_str(), args.flat)) {
            // A write the medium refused is named with the system's words,
            // which the extraction's own reason does not carry on every
            // system.
            const int writeError = errno;
            const std::string reason =
                isWriteError(writeError)
                    ? "cannot write the file: " + std::string(std::strerror(writeError))
                    : kel::detail::zipFailure();
            return failure("unzip", "cannot extract " + shown(info.szFileName) + " to " +
                                        shown(kel::detail::joinPath(folder, name)) + ": " + reason);
        }
        std::printf("%s\n", shown(kel::detail::joinPath(folder, name)).c_str());
        ++written;
    }
    if (written != count)
        return cannotExtract(args.paths[0], "damaged archive: the directory breaks off");
    std::printf("%d entries extracted into %s\n", written, shown(folder).c_str());
    return 0;
}

const Command zipCommand("zip", "archive a folder or a file as a zip archive", kZipUsage, runZip);
const Command unzipCommand("unzip", "extract a zip archive, listing what was written", kUnzipUsage,
                           runUnzip);

}  // namespace

}  // namespace kel::tool
