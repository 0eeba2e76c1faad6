// "kel zip" and "kel unzip": the library's zip archives from the shell.
//
//   kel zip PATH [ARCHIVE] [--flat]     archive a folder or a file
//   kel unzip ARCHIVE [FOLDER] [--flat] extract, listing what was written
//
// Without ARCHIVE, "kel zip" writes PATH.zip beside the folder (or the file
// with its extension replaced). Without FOLDER, "kel unzip" extracts into
// the archive's folder. --flat keeps only the file names of the entries.

#include <kel/Kel.h>

#include <algorithm>
#include <cstdio>
#include <set>
#include <string>
#include <vector>

#include "command.h"
#include "files/file_system.h"
#include "files/zip_directory.h"
#include "files/zip_failure.h"
#include "files/zip_names.h"
#include "platform/path.h"

namespace kel::tool {

namespace {

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

int cannotArchive(const std::wstring& source, const std::wstring& archive) {
    std::fprintf(stderr, "kel zip: cannot archive %s into %s\n", shown(source).c_str(),
                 shown(archive).c_str());
    return 1;
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
    kel::detail::BinaryFile file;
    uint32_t attributes = 0;
    if (kel::detail::fileAttributes(path, attributes) &&
        (attributes & kel::detail::kAttributeDirectory) == 0 && !file.openForReading(path)) {
        return "cannot read it";
    }
    return "not added";
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
    if (!args.valid || args.paths.empty() || args.paths.size() > 2) {
        std::fprintf(stderr, "usage: kel zip PATH [ARCHIVE] [--flat]\n");
        return 2;
    }
    const std::wstring source =
        kel::detail::withoutTrailingSeparators(kel::detail::fullPath(args.paths[0]));
    const std::wstring archive = args.paths.size() == 2
                                     ? kel::detail::fullPath(args.paths[1])
                                     : kel::detail::withExtension(source, L"zip");
    uint32_t attributes = 0;
    if (!kel::detail::fileAttributes(source, attributes))
        return cannotArchive(source, archive);
    const bool folder = (attributes & kel::detail::kAttributeDirectory) != 0;
    // The entries are named relative to the folder that holds PATH.
    KelZipper zip(archive.c_str(), kel::detail::folderPart(source).c_str(), false);
    const bool added = folder ? zip.AddFolderToZip(source.c_str(), args.flat)
                              : zip.AddFileToZip(source.c_str(), args.flat);
    Z_FileInfo info = {};
    zip.GetFileInfo(info);
    if (!zip.CloseZip() || !added) {
        // A failed run leaves no archive behind.
        kel::detail::deleteFile(archive);
        return cannotArchive(source, archive);
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
    for (const std::wstring& path : leftOut) {
        std::fprintf(stderr, "kel zip: left out %s: %s\n", shown(path).c_str(),
                     whyLeftOut(path).c_str());
    }
    return leftOut.empty() ? 0 : 1;
}

int cannotExtract(const std::wstring& what, const std::string& reason) {
    std::fprintf(stderr, "kel unzip: cannot extract %s: %s\n", shown(what).c_str(), reason.c_str());
    return 1;
}

int runUnzip(const std::vector<std::string>& arguments) {
    const Arguments args = parse(arguments);
    if (!args.valid || args.paths.empty() || args.paths.size() > 2) {
        std::fprintf(stderr, "usage: kel unzip ARCHIVE [FOLDER] [--flat]\n");
        return 2;
    }
    const std::wstring archive = kel::detail::fullPath(args.paths[0]);
    KelUnzipper zip;
    if (!zip.OpenZip(archive.c_str())) {
        std::fprintf(stderr, "kel unzip: cannot open %s\n", shown(args.paths[0]).c_str());
        return 1;
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
    int written = 0;
    UZ_FileInfo info;
    for (bool more = zip.GotoFirstFile(); more; more = zip.GotoNextFile()) {
        zip.GetFileInfo(info);
        const std::wstring name = args.flat && !info.bFolder
                                      ? kel::detail::fileNamePart(info.szFileName)
                                      : std::wstring(info.szFileName);
        if (!zip.UnzipFile(folder.c_str(), args.flat))
            return cannotExtract(info.szFileName, kel::detail::zipFailure());
        std::printf("%s\n", shown(kel::detail::joinPath(folder, name)).c_str());
        ++written;
    }
    if (written != count)
        return cannotExtract(args.paths[0], "damaged archive: the directory breaks off");
    std::printf("%d entries extracted into %s\n", written, shown(folder).c_str());
    return 0;
}

const Command zipCommand("zip", "archive a folder or a file as a zip archive", runZip);
const Command unzipCommand("unzip", "extract a zip archive, listing what was written", runUnzip);

}  // namespace

}  // namespace kel::tool
