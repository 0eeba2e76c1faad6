// What the test programs know about the system they run on.
//
// Expected values that depend on the system branch on these; a test that
// cannot run somewhere skips there with its reason, never silently:
//
//   TEST(Dialog, ShowsTheProgressBar) {
//       KEL_SKIP_UNDER_WINE("needs a desktop to show the dialog on");
//       ...
//   }

#ifndef KEL_TESTS_SUPPORT_SYSTEM_H
#define KEL_TESTS_SUPPORT_SYSTEM_H

#include <gtest/gtest.h>

namespace kel::test {

// True in a Windows build (native or under Wine).
#if defined(_WIN32)
constexpr bool kWindows = true;
#else
constexpr bool kWindows = false;
#endif

// True when a Windows build runs under Wine rather than on Windows.
bool runningUnderWine();

}  // namespace kel::test

// Skips the current test, with the reason printed, when it runs under Wine.
#define KEL_SKIP_UNDER_WINE(reason)                             \
    do {                                                        \
        if (::kel::test::runningUnderWine())                    \
            GTEST_SKIP() << "skipped under Wine: " << (reason); \
    } while (false)

// Skips the current test, with the reason printed, in a Windows build.
#define KEL_SKIP_ON_WINDOWS(reason)                             \
    do {                                                        \
        if (::kel::test::kWindows)                              \
            GTEST_SKIP() << "skipped on Windows: " << (reason); \
    } while (false)

#endif  // KEL_TESTS_SUPPORT_SYSTEM_H
