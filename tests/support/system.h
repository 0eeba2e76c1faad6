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

#include <string>

namespace kel::test {

// True in a Windows build (native or under Wine).
#if defined(_WIN32)
constexpr bool kWindows = true;
#else
constexpr bool kWindows = false;
#endif

// True when a Windows build runs under Wine rather than on Windows.
bool runningUnderWine();

// `text` in narrow code page `codePage`, for tests whose expected values are
// narrow text. Knows the two narrow code pages the tests meet: 65001
// (UTF-8, Linux) and 1252 (Windows in Western European settings, and Wine
// as the tests run it), for the characters of 1252. False for any other
// code page, and the test skips with a reason:
//
//   std::string eAcute;
//   if (!kel::test::narrowSample(kelGetNarrowCodePage(), L"\u00E9", eAcute))
//       GTEST_SKIP() << kel::test::kNoNarrowSample << kelGetNarrowCodePage();
bool narrowSample(unsigned int codePage, const std::wstring& text, std::string& narrow);

// Wide text (UTF-16 on Windows, UTF-32 elsewhere) as UTF-8, encoded here
// rather than by the library under test: for file contents and expected
// values.
std::string utf8(const std::wstring& text);

constexpr char kNoNarrowSample[] =
    "expected narrow text is written for the code pages 65001 and 1252; this system's is ";

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
