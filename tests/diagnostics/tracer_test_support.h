// What the error tracer's test programs share: the folder the reports go
// to, the reports found there, and the tracer's settings in the user hive.

#ifndef KEL_TESTS_DIAGNOSTICS_TRACER_TEST_SUPPORT_H
#define KEL_TESTS_DIAGNOSTICS_TRACER_TEST_SUPPORT_H

#include <filesystem>
#include <string>
#include <vector>

namespace kel::test {

// Where the reports go: the shell's personal folder on Windows, the test
// home's Documents folder (made by the test) elsewhere.
std::filesystem::path documents();

// The tracer's reports ("KelErrorTracer - <time>.txt") in documents().
std::vector<std::filesystem::path> reports();
void removeReports();

// A file's text, with Windows' text-mode line ends turned back into "\n".
std::string contents(const std::filesystem::path& path);

// Removes the tracer's settings key, values and all. On Windows the
// settings live in the system registry, shared by the tests (which take
// turns); elsewhere each test has its own hive.
void removeSettings();

// Sets a value under the tracer's settings key (a failure fails the test).
void setValue(const wchar_t* name, int value);
void setValue(const wchar_t* name, const std::wstring& value);

// A debug-help library path that does not exist. Inline: the walker's
// tests use it without the rest of this support.
inline std::wstring missingLibrary() {
#if defined(_WIN32)
    return L"C:\\kel-missing\\DbgHelp.dll";
#else
    return L"/kel-missing/libdw.so.1";
#endif
}

}  // namespace kel::test

#endif  // KEL_TESTS_DIAGNOSTICS_TRACER_TEST_SUPPORT_H
