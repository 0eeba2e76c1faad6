// KelErrorTracer in a process whose first error meets a debug-help library
// that cannot be loaded: the settings are read by the first call that needs
// them, the errors are kept with empty stack texts, and the stack walker
// keeps the path it was created with after Reinitialize. Its own program,
// because the tracer reads its settings and creates its walker once per
// process.

#include <kel/Kel.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "environment/hive_store.h"
#include "support/isolation.h"
#include "tracer_test_support.h"

#if defined(_WIN32)
// clang-format off
#include <windows.h>  // first: shlobj.h relies on its types
#include <shlobj.h>
// clang-format on
#endif

namespace {

namespace fs = std::filesystem;

using kel::test::contents;
using kel::test::documents;
using kel::test::missingLibrary;
using kel::test::removeReports;
using kel::test::removeSettings;
using kel::test::reports;
using kel::test::setValue;

std::vector<std::wstring> g_boxes;

int recordBox(HWND, const wchar_t* text, const wchar_t*, unsigned int, void*) {
    g_boxes.push_back(text);
    return IDOK;
}

TEST(ErrorTracerWithoutLibrary, ErrorsAreKeptWithEmptyStackTexts) {
    KelErrorTracer* tracer = KelErrorTracer::GetInstance();
    ASSERT_NE(tracer, nullptr);
    ASSERT_EQ(KelErrorTracer::m_pStackWalker, nullptr);
    removeSettings();
    fs::create_directories(documents());
    removeReports();
    kelSetMessageBoxHandler(recordBox, nullptr);

    ASSERT_EQ(KelRegistry::setRegValueCurrentUser(KelRegistry::getRegPathErrorTracer(),
                                                  L"EnableErrorTracer", 1),
              1);
    setValue(L"DbgHelpFullPath", missingLibrary());
    setValue(L"SymbolPaths", L"D:\\Symbols");
    // Nothing was read while the library loaded: the first call that needs
    // the settings reads them.
    ASSERT_TRUE(tracer->IsTraceEnabled());
    EXPECT_EQ(std::wstring(tracer->getDbgHelpPath().getStringW()), missingLibrary());
    EXPECT_STREQ(tracer->getSymbolPaths().getStringW(), L"D:\\Symbols");

    kelSetLastError(0);
    tracer->AddError(L"Beam B12: no profile");
    EXPECT_EQ(kelGetLastError(), 1114u);
    ASSERT_EQ(KelErrorTracer::m_arrErrors.length(), 1);
    ASSERT_EQ(KelErrorTracer::m_arrErrorsInfo.length(), 1);
    EXPECT_STREQ(KelErrorTracer::m_arrErrors[0].getStringW(), L"Beam B12: no profile");
    EXPECT_TRUE(KelErrorTracer::m_arrErrorsInfo[0].isEmpty());
    ASSERT_NE(KelErrorTracer::m_pStackWalker, nullptr);
    EXPECT_EQ(std::wstring(KelErrorTracer::m_pStackWalker->getLibraryPath().getStringW()),
              missingLibrary());
    EXPECT_STREQ(KelErrorTracer::m_pStackWalker->getSymbolPaths().getStringW(), L"D:\\Symbols");
    EXPECT_EQ(KelErrorTracer::m_pStackWalker->modulesLoaded(), 0);

    // The library that works, read by Reinitialize, reaches the tracer but
    // not the walker, which keeps the path it was created with.
    setValue(L"DbgHelpFullPath", KelStackWalker::defaultLibraryPath());
    setValue(L"SymbolPaths", L"C:\\;");
    tracer->Reinitialize();
    EXPECT_STREQ(tracer->getDbgHelpPath().getStringW(), KelStackWalker::defaultLibraryPath());
    kelSetLastError(0);
    tracer->AddError(L"Plate P3: thickness 0");
    EXPECT_EQ(kelGetLastError(), 1114u);
    EXPECT_EQ(std::wstring(KelErrorTracer::m_pStackWalker->getLibraryPath().getStringW()),
              missingLibrary());
    ASSERT_EQ(KelErrorTracer::m_arrErrorsInfo.length(), 1);
    EXPECT_TRUE(KelErrorTracer::m_arrErrorsInfo[0].isEmpty());

    // The report still lists the error, with its empty stack text.
    tracer->AddError(L"Bolt M20: hole too small");
    tracer->DumpErrors();
    const std::vector<fs::path> written = reports();
    ASSERT_EQ(written.size(), 1u);
    EXPECT_EQ(contents(written[0]),
              "Plate P3: thickness 0\n\n\n\nBolt M20: hole too small\n\n\n\n");
    ASSERT_EQ(g_boxes.size(), 1u);
    EXPECT_NE(g_boxes[0].find(L"2 errors.\n"), std::wstring::npos);
    EXPECT_NE(
        g_boxes[0].find(L"\n\nErrors:\n1: Plate P3: thickness 0\n2: Bolt M20: hole too small\n"),
        std::wstring::npos);

    kelSetMessageBoxHandler(nullptr, nullptr);
    removeReports();
    removeSettings();
    tracer->Reinitialize();
}

}  // namespace
