// Helpers for the diagnostics tests: whole files, the line ends of text
// mode, the sample PE files, module listings taken apart and UTC times.

#ifndef KEL_TESTS_DIAGNOSTICS_DIAGNOSTICS_TEST_SUPPORT_H
#define KEL_TESTS_DIAGNOSTICS_DIAGNOSTICS_TEST_SUPPORT_H

#include <cstdint>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "support/system.h"

namespace kel::test {

std::string readFile(const std::filesystem::path& path);
void writeFile(const std::filesystem::path& path, const std::string& bytes);

// The bytes a log writer puts in a file for `text`: "\n" becomes "\r\n" in
// Windows' text mode and stays as it is elsewhere.
std::string textMode(const std::string& text);

// The lines of a file's text, line ends ("\n" or "\r\n") removed.
std::vector<std::string> linesOf(const std::string& text);

// A file of the test's own folder.
std::filesystem::path inTestDir(const std::string& name);

// The names in the test's own folder, and those the isolation puts there
// before a test starts (home, config, ...).
std::set<std::string> testDirEntries();
std::set<std::string> isolationEntries();

// The sample PE files (tests/diagnostics/data), copied beside the test
// programs by the build.
std::filesystem::path peSample(const std::string& name);

// One module line of a listing, taken apart by its fixed columns.
struct ListingLine {
    std::string base;     // the 8 hexadecimal digits after "0x"
    std::string size;     // the hexadecimal digits of the size
    std::string version;  // the 16 version columns, blanks kept (more for a longer version)
    std::string path;     // the rest
};

// Parses "0x%08x  0x%-8x%-16s%s"; false when `line` is not of that form.
bool parseListingLine(const std::string& line, ListingLine& parsed);

// The id of the running process.
unsigned long currentProcessId();

// Milliseconds since 1970-01-01 UTC of a calendar time (proleptic
// Gregorian), and the present moment in the same unit.
int64_t utcMilliseconds(int year, int month, int day, int hour, int minute, int second,
                        int millisecond);
int64_t utcNowMilliseconds();

// The library's own file version as listings and GetFileVersion write it,
// from the version the library is built with: "1.01.0000.0000" for 1.1.0.
std::string libraryFileVersion();

// The file name `path` ends with.
std::string fileNameOf(const std::string& path);

}  // namespace kel::test

#endif  // KEL_TESTS_DIAGNOSTICS_DIAGNOSTICS_TEST_SUPPORT_H
