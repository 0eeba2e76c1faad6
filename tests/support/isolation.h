// Per-test isolation for the library's tests.
//
// Before each test the support code creates a fresh temporary directory,
// makes it the current directory and points HOME, the XDG_* directories,
// KEL_REGISTRY_DIR and the Windows profile variables into it; after the test
// it removes the directory. A relative path in a test therefore never meets
// what other programs left in the system's temporary directory. On POSIX
// DISPLAY and WAYLAND_DISPLAY are removed once, at the start, so that no
// test shows a window on the developer's desktop.
//
//   TEST(Files, WritesIntoTheTestDirectory) {
//       const std::string file = kel::test::tempDir() + "/a.txt";
//   }

#ifndef KEL_TESTS_SUPPORT_ISOLATION_H
#define KEL_TESTS_SUPPORT_ISOLATION_H

#include <string>

namespace kel::test {

// The current test's own directory (native separators, no trailing one).
const std::string& tempDir();

// The same as wide text.
std::wstring tempDirW();

// Sets or removes (value == nullptr) an environment variable.
void setEnv(const char* name, const char* value);

// The path of the running test program.
std::string selfPath();

}  // namespace kel::test

#endif  // KEL_TESTS_SUPPORT_ISOLATION_H
