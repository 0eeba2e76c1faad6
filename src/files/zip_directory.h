// The central directory of an archive, read and checked on its own before
// anything is extracted.
//
// minizip walks the directory one record at a time and trusts what each
// record says; a directory that holds fewer records than its end record
// announces, records that point outside the archive, or entries whose data
// share bytes (the "overlapping kernel" bomb) only show up here, where the
// whole directory is read at once.
//
//   ArchiveDirectory directory;
//   std::string problem;
//   if (!readArchiveDirectory(path, directory, problem))
//       ...  // problem: "the directory holds 2 of the 3 entries it announces"

#ifndef KEL_FILES_ZIP_DIRECTORY_H
#define KEL_FILES_ZIP_DIRECTORY_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kel::detail {

// One entry of the directory, its offsets absolute in the file.
struct DirectoryEntry {
    uint64_t header = 0;  // the entry's local header
    uint64_t limit = 0;   // where the next entry's header or the directory begins
    uint64_t record = 0;  // the directory record, counted as minizip counts it
    uint64_t compressedSize = 0;
    uint64_t uncompressedSize = 0;
    uint32_t crc = 0;
    uint16_t method = 0;
    uint16_t flags = 0;
    uint16_t nameLength = 0;
};

struct ArchiveDirectory {
    // In the directory's order, which is the order of minizip's walk.
    std::vector<DirectoryEntry> entries;
};

// Reads the directory of the archive at `path` and checks that it is whole:
// the end record (and its ZIP64 form) agree with the records found, every
// record is complete, every entry's header and data lie before the
// directory, and no two entries share bytes. On failure `problem` says what
// is wrong, for a person.
bool readArchiveDirectory(std::wstring_view path, ArchiveDirectory& directory,
                          std::string& problem);

// Reads the local header of `entry` from the open archive and finds where
// its data begin. The header must agree with the directory (method, name
// length, and CRC-32 and sizes unless they follow the data), and the data
// must end before the next entry: otherwise false, with the reason.
bool findEntryData(std::FILE* archive, const DirectoryEntry& entry, uint64_t& dataStart,
                   std::string& problem);

// Completes the end of an archive that minizip has just written: with
// 65,535 entries or more and a directory below 4 GiB, the end record says
// 0xFFFF ("see the ZIP64 record") where some minizip releases write no
// ZIP64 record. The ZIP64 end record and its locator are then added with
// the true count, counted from the directory. True when the end of the
// archive is complete, also when nothing was missing.
bool completeZip64End(std::wstring_view path);

// A name for a compression method of the format, for messages: "bzip2"
// for 12; empty for methods without a common name.
const char* compressionMethodName(unsigned method);

}  // namespace kel::detail

#endif  // KEL_FILES_ZIP_DIRECTORY_H
