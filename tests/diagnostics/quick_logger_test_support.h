// What the quick logger tests share: the documents folder the logs go to,
// the logs a test made there, and the pieces of their names.

#ifndef KEL_TESTS_DIAGNOSTICS_QUICK_LOGGER_TEST_SUPPORT_H
#define KEL_TESTS_DIAGNOSTICS_QUICK_LOGGER_TEST_SUPPORT_H

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace kel::test {

// The documents folder of a test: the shell's personal folder on Windows;
// elsewhere the test's own home, which has no Documents folder.
std::filesystem::path documentsFolder();

// A log name of the running test's own: "kel-test-<pid>-<tag>".
std::wstring logName(const std::string& tag);

// The files in `folder` whose names begin with `name` + " - ".
std::vector<std::filesystem::path> logsNamed(const std::filesystem::path& folder,
                                             const std::wstring& name);

// Removes the logs of `name` from the documents folder (they live outside
// the test's folder on Windows).
void removeLogs(const std::wstring& name);

// The UTC time a log's file name carries ("<name> - Y.M.D h.m.s.ms.txt"),
// in milliseconds since 1970; -1 when the name is not of that form or a
// number has a leading zero.
int64_t timeOfLogName(const std::filesystem::path& file, const std::wstring& name);

// The time of day of a "h.m.s.ms" text in milliseconds since midnight; -1
// when it is not of that form or a number has a leading zero.
int64_t timeOfDay(const std::string& text);

}  // namespace kel::test

#endif  // KEL_TESTS_DIAGNOSTICS_QUICK_LOGGER_TEST_SUPPORT_H
