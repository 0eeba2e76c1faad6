// Path and entry-name text for the zip archive classes.
//
// The archive classes work on paths in the Windows form, with "\" between
// the parts ("C:\data\a.txt", or "\home\me\a.txt" on POSIX); callers may
// use "/" as well, which these helpers turn into "\" first.
//
//   fileNamePart(L"C:\\data\\a.txt")          // "a.txt"
//   withExtension(L"C:\\data\\a.txt", L"zip")  // "C:\\data\\a.zip"

#ifndef KEL_FILES_ZIP_NAMES_H
#define KEL_FILES_ZIP_NAMES_H

#include <string>
#include <string_view>

namespace kel::detail {

// The path with every "/" replaced by "\".
std::wstring withBackslashes(std::wstring_view path);

// The path without separators at its end, except one that is the whole
// root ("\", "C:\").
std::wstring withoutTrailingSeparators(std::wstring_view path);

// File name and extension: what follows the last separator (or drive).
std::wstring fileNamePart(std::wstring_view path);

// Drive and folder: everything up to and including the last separator
// (or the drive "X:" alone); empty when the path has neither.
std::wstring folderPart(std::wstring_view path);

// The extension without its dot; empty when the file name has none.
std::wstring extensionPart(std::wstring_view path);

// Drive, folder and file name kept, the extension replaced by `extension`.
std::wstring withExtension(std::wstring_view path, std::wstring_view extension);

// `folder` as a folder path: followed by "\" unless empty or already
// ending in a separator.
std::wstring asFolder(std::wstring_view folder);

// `folder` and `name` joined with one "\".
std::wstring joinPath(std::wstring_view folder, std::wstring_view name);

// Case-insensitive prefix test over the prefix's length (ASCII letters).
bool startsWithNoCase(std::wstring_view text, std::wstring_view prefix);

// Case-insensitive equality (ASCII letters), runs of separators counting
// as one separator of either kind.
bool samePathNoCase(std::wstring_view a, std::wstring_view b);

// True when the name begins with a drive ("C:", "c:x").
bool hasDrive(std::wstring_view name);

// A name that stays inside the folder it is extracted to or added from:
// not empty, not starting with a separator, without a drive, and never
// climbing above its start with "..". On POSIX any other ":" is part of a
// name ("12:30 log.txt"); on Windows every ":" is refused.
bool isContainedName(std::wstring_view name);

// An entry name as the archive stores it: plain ASCII as it is; any other
// name as UTF-8, with `utf8` set so that the entry carries the format's
// UTF-8 flag.
std::string entryNameBytes(std::wstring_view name, bool& utf8);

// An entry name or comment from the archive's bytes: UTF-8 when the
// entry's UTF-8 flag is set, else the narrow code page.
std::wstring entryText(std::string_view bytes, bool utf8);

}  // namespace kel::detail

#endif  // KEL_FILES_ZIP_NAMES_H
