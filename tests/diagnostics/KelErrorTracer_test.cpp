// KelErrorTracer: the settings, errors recorded with the stacks of known
// functions of this file (built with debug information), the report file
// and the message box, and the stack walker that keeps its paths.

#include <kel/Kel.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <string>
#include <thread>
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

#if defined(_MSC_VER)
#define TEST_NOINLINE __declspec(noinline)
#else
#define TEST_NOINLINE __attribute__((noinline))
#endif

// Records the line of a call in the same expression as the call.
#define AT_LINE(variable, call) (variable = __LINE__, call)

// ----- functions that report errors ---------------------------------------------------

KelErrorTracer* g_tracer = nullptr;
int g_lineFirst = 0;
int g_lineSecond = 0;
int g_lineSecondCaller = 0;
int g_lineThird = 0;

TEST_NOINLINE void tracerReportFirst() {
    AT_LINE(g_lineFirst, g_tracer->AddError(L"Beam B12: no profile"));
}

TEST_NOINLINE void tracerReportSecond() {
    AT_LINE(g_lineSecond, g_tracer->AddError(L"Plate P3: 100% of 0 mm"));
}

TEST_NOINLINE void tracerReportSecondFromHere() {
    AT_LINE(g_lineSecondCaller, tracerReportSecond());
}

TEST_NOINLINE void tracerReportThird() {
    AT_LINE(g_lineThird, g_tracer->AddError(L"Bolt M20: hole too small"));
}

namespace {

namespace fs = std::filesystem;

using kel::test::contents;
using kel::test::documents;
using kel::test::missingLibrary;
using kel::test::removeReports;
using kel::test::removeSettings;
using kel::test::reports;
using kel::test::setValue;

struct Shown {
    HWND owner;
    std::wstring text;
    std::wstring caption;
    unsigned int style;
};

std::vector<Shown> g_shown;

int recordBox(HWND owner, const wchar_t* text, const wchar_t* caption, unsigned int style, void*) {
    g_shown.push_back({owner, text, caption, style});
    return IDOK;
}

// The box's text before the numbered errors.
std::wstring messageHead(int count) {
    return L"The last command has caused " + std::to_wstring(count) +
           L" errors.\nFor more detailed informations please see the KelErrorTracer file from "
           L"'My Documents' folder.\n\nErrors:\n";
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    size_t start = 0;
    for (size_t end; (end = text.find('\n', start)) != std::string::npos; start = end + 1)
        lines.push_back(text.substr(start, end - start));
    return lines;
}

// This file as the walker names it: the absolute path of the source (under
// Wine, through its drive Z:, which shows the build machine's files).
std::string thisFile() {
    std::string path = std::string(KEL_TRACER_TEST_SOURCE_DIR) + "/KelErrorTracer_test.cpp";
#if defined(_WIN32)
    if (path[0] == '/')
        path = "Z:" + path;
    std::replace(path.begin(), path.end(), '/', '\\');
#endif
    return path;
}

// A function of this file as the walker names it: with its parameters where
// the name comes from the symbol table (mangled, then demangled), without
// them where DbgHelp gives the name of the debug information.
std::string fn(const char* name, const char* parameters) {
#if defined(_WIN32)
    (void)parameters;
    return name;
#else
    return std::string(name) + parameters;
#endif
}

std::string frameLine(const std::string& function, int line) {
    return thisFile() + " (" + std::to_string(line) + "): " + function;
}

std::string narrow(const KelString& text) {
    return text.getStringA();
}

class ErrorTracer : public ::testing::Test {
protected:
    void SetUp() override {
        g_tracer = KelErrorTracer::GetInstance();
        ASSERT_NE(g_tracer, nullptr);
        removeSettings();
        fs::create_directories(documents());
        removeReports();
        g_shown.clear();
        kelSetMessageBoxHandler(recordBox, nullptr);
        g_tracer->Reinitialize();
    }
    void TearDown() override {
        kelSetMessageBoxHandler(nullptr, nullptr);
        removeReports();
        removeSettings();
        g_tracer->Reinitialize();
    }
    void enable() {
        setValue(L"EnableErrorTracer", 1);
        g_tracer->Reinitialize();
        ASSERT_TRUE(g_tracer->IsTraceEnabled());
    }
};

// ----- settings -------------------------------------------------------------------

TEST_F(ErrorTracer, TheInstanceExistsOnceTheLibraryIsLoaded) {
    EXPECT_EQ(KelErrorTracer::GetInstance(), KelErrorTracer::m_pInstance);
    EXPECT_EQ(KelErrorTracer::GetInstance(), KelErrorTracer::GetInstance());
}

TEST_F(ErrorTracer, WithoutSettingsTheTracerIsOffWithTheDefaultPaths) {
    EXPECT_FALSE(g_tracer->IsTraceEnabled());
    EXPECT_STREQ(g_tracer->getDbgHelpPath().getStringW(), KelStackWalker::defaultLibraryPath());
    EXPECT_STREQ(g_tracer->getSymbolPaths().getStringW(), L"C:\\;");
}

TEST_F(ErrorTracer, EnableErrorTracerIsANonzeroNumber) {
    setValue(L"EnableErrorTracer", 0);
    g_tracer->Reinitialize();
    EXPECT_FALSE(g_tracer->IsTraceEnabled());
    setValue(L"EnableErrorTracer", 2);
    g_tracer->Reinitialize();
    EXPECT_TRUE(g_tracer->IsTraceEnabled());
    setValue(L"EnableErrorTracer", -1);
    g_tracer->Reinitialize();
    EXPECT_TRUE(g_tracer->IsTraceEnabled());
}

TEST_F(ErrorTracer, ThePathsComeFromTheSettings) {
    setValue(L"DbgHelpFullPath", L"/opt/elfutils/lib/libdw.so.1");
    setValue(L"SymbolPaths", L"D:\\Symbols;E:\\More");
    g_tracer->Reinitialize();
    EXPECT_STREQ(g_tracer->getDbgHelpPath().getStringW(), L"/opt/elfutils/lib/libdw.so.1");
    EXPECT_STREQ(g_tracer->getSymbolPaths().getStringW(), L"D:\\Symbols;E:\\More");
    EXPECT_FALSE(g_tracer->IsTraceEnabled());
    // Gone again: the defaults.
    removeSettings();
    g_tracer->Reinitialize();
    EXPECT_STREQ(g_tracer->getDbgHelpPath().getStringW(), KelStackWalker::defaultLibraryPath());
    EXPECT_STREQ(g_tracer->getSymbolPaths().getStringW(), L"C:\\;");
}

TEST_F(ErrorTracer, ReinitializeFollowsTheKeyTable) {
    KelProductDefines::setGXRelease(L"2016");
    KelRegistry::setRegistryPathes();
    setValue(L"EnableErrorTracer", 1);  // under ...\Gantrix\2016\Settings\ErrorTracer
    g_tracer->Reinitialize();
    EXPECT_TRUE(g_tracer->IsTraceEnabled());
    removeSettings();
    KelProductDefines::setGXRelease(L"2015.1");
    KelRegistry::setRegistryPathes();
    g_tracer->Reinitialize();
    EXPECT_FALSE(g_tracer->IsTraceEnabled());
}

TEST_F(ErrorTracer, ACopyHasTheFlagAndThePaths) {
    setValue(L"DbgHelpFullPath", L"custom.dll");
    enable();
    KelErrorTracer copy(*g_tracer);
    EXPECT_TRUE(copy.IsTraceEnabled());
    EXPECT_STREQ(copy.getDbgHelpPath().getStringW(), L"custom.dll");
    removeSettings();
    g_tracer->Reinitialize();
    copy = *g_tracer;
    EXPECT_FALSE(copy.IsTraceEnabled());
    EXPECT_STREQ(copy.getDbgHelpPath().getStringW(), KelStackWalker::defaultLibraryPath());
}

// ----- off ------------------------------------------------------------------------

TEST_F(ErrorTracer, WhileOffAddErrorRecordsNothingAndDumpErrorsShowsNothing) {
    tracerReportFirst();
    EXPECT_EQ(KelErrorTracer::m_arrErrors.length(), 0);
    EXPECT_EQ(KelErrorTracer::m_arrErrorsInfo.length(), 0);
    g_tracer->DumpErrors();
    EXPECT_TRUE(g_shown.empty());
    EXPECT_TRUE(reports().empty());
}

TEST_F(ErrorTracer, DumpErrorsWithoutErrorsShowsNoBoxAndWritesNoFile) {
    enable();
    g_tracer->DumpErrors();
    EXPECT_TRUE(g_shown.empty());
    EXPECT_TRUE(reports().empty());
}

// ----- errors and their stacks -----------------------------------------------------

TEST_F(ErrorTracer, AddErrorKeepsTheErrorAndTheStackOfTheCaller) {
    enable();
    tracerReportFirst();
    tracerReportSecondFromHere();
    tracerReportThird();
    ASSERT_EQ(KelErrorTracer::m_arrErrors.length(), 3);
    ASSERT_EQ(KelErrorTracer::m_arrErrorsInfo.length(), 3);
    EXPECT_STREQ(KelErrorTracer::m_arrErrors[0].getStringW(), L"Beam B12: no profile");
    EXPECT_STREQ(KelErrorTracer::m_arrErrors[1].getStringW(), L"Plate P3: 100% of 0 mm");
    EXPECT_STREQ(KelErrorTracer::m_arrErrors[2].getStringW(), L"Bolt M20: hole too small");

    // Each stack starts in AddError, then the function that reported.
    const std::vector<std::string> first = linesOf(narrow(KelErrorTracer::m_arrErrorsInfo[0]));
    const std::vector<std::string> second = linesOf(narrow(KelErrorTracer::m_arrErrorsInfo[1]));
    const std::vector<std::string> third = linesOf(narrow(KelErrorTracer::m_arrErrorsInfo[2]));
    ASSERT_GE(first.size(), 3u);
    ASSERT_GE(second.size(), 4u);
    ASSERT_GE(third.size(), 3u);
    const std::regex addError(
        "^.*KelErrorTracer\\.cpp \\([0-9]+\\): KelErrorTracer::AddError(\\(KelString\\))?$");
    EXPECT_TRUE(std::regex_match(first[0], addError)) << first[0];
    EXPECT_EQ(first[0], second[0]);
    EXPECT_EQ(first[0], third[0]);
    EXPECT_EQ(first[1], frameLine(fn("tracerReportFirst", "()"), g_lineFirst));
    EXPECT_EQ(second[1], frameLine(fn("tracerReportSecond", "()"), g_lineSecond));
    EXPECT_EQ(second[2], frameLine(fn("tracerReportSecondFromHere", "()"), g_lineSecondCaller));
    EXPECT_EQ(third[1], frameLine(fn("tracerReportThird", "()"), g_lineThird));
    EXPECT_NE(first[2].find("AddErrorKeepsTheErrorAndTheStackOfTheCaller"), std::string::npos);
    EXPECT_NE(second[3].find("AddErrorKeepsTheErrorAndTheStackOfTheCaller"), std::string::npos);
    EXPECT_NE(KelErrorTracer::m_pStackWalker, nullptr);
}

TEST_F(ErrorTracer, DumpErrorsWritesTheReportAndShowsTheBox) {
    enable();
    tracerReportFirst();
    tracerReportSecondFromHere();
    tracerReportThird();
    const std::string stack0 = narrow(KelErrorTracer::m_arrErrorsInfo[0]);
    const std::string stack1 = narrow(KelErrorTracer::m_arrErrorsInfo[1]);
    const std::string stack2 = narrow(KelErrorTracer::m_arrErrorsInfo[2]);
    ASSERT_FALSE(stack0.empty());
    g_tracer->DumpErrors();

    // The box: no owner, the information icon, numbered from 1.
    ASSERT_EQ(g_shown.size(), 1u);
    EXPECT_EQ(g_shown[0].owner, nullptr);
    EXPECT_EQ(g_shown[0].style, static_cast<unsigned int>(MB_ICONINFORMATION));
    EXPECT_EQ(g_shown[0].caption, L"Gantrix - Error tracer");
    EXPECT_EQ(g_shown[0].text, messageHead(3) +
                                   L"1: Beam B12: no profile\n"
                                   L"2: Plate P3: 100% of 0 mm\n"
                                   L"3: Bolt M20: hole too small\n");

    // The report: each error, then its stack.
    const std::vector<fs::path> written = reports();
    ASSERT_EQ(written.size(), 1u);
    const std::regex name(
        "KelErrorTracer - [0-9]+\\.[0-9]+\\.[0-9]+ [0-9]+\\.[0-9]+\\.[0-9]+\\.[0-9]+\\.txt");
    EXPECT_TRUE(std::regex_match(written[0].filename().string(), name)) << written[0];
    EXPECT_EQ(contents(written[0]), "Beam B12: no profile\n" + stack0 + "\n\n\n" +
                                        "Plate P3: 100% of 0 mm\n" + stack1 + "\n\n\n" +
                                        "Bolt M20: hole too small\n" + stack2 + "\n\n\n");
    EXPECT_NE(stack1.find(frameLine(fn("tracerReportSecond", "()"), g_lineSecond) + "\n"),
              std::string::npos);

    // Both lists are empty again: a second dump shows nothing.
    EXPECT_EQ(KelErrorTracer::m_arrErrors.length(), 0);
    EXPECT_EQ(KelErrorTracer::m_arrErrorsInfo.length(), 0);
    g_tracer->DumpErrors();
    EXPECT_EQ(g_shown.size(), 1u);
}

TEST_F(ErrorTracer, TheCaptionCarriesTheProductName) {
    enable();
    KelProductDefines::setGXProductName(L"Ferrix");
    tracerReportFirst();
    g_tracer->DumpErrors();
    KelProductDefines::setGXProductName(L"Gantrix");
    ASSERT_EQ(g_shown.size(), 1u);
    EXPECT_EQ(g_shown[0].caption, L"Ferrix - Error tracer");
    EXPECT_EQ(g_shown[0].text, messageHead(1) + L"1: Beam B12: no profile\n");
}

TEST_F(ErrorTracer, StackTextsAreWrittenOnlyWhenEveryErrorHasOne) {
    enable();
    tracerReportFirst();
    tracerReportThird();
    // A host that added an error of its own directly.
    KelErrorTracer::m_arrErrors.append(KelString(L"Weld W1: open"));
    g_tracer->DumpErrors();
    const std::vector<fs::path> written = reports();
    ASSERT_EQ(written.size(), 1u);
    EXPECT_EQ(contents(written[0]),
              "Beam B12: no profile\nBolt M20: hole too small\nWeld W1: open\n");
    ASSERT_EQ(g_shown.size(), 1u);
    EXPECT_EQ(g_shown[0].text, messageHead(3) +
                                   L"1: Beam B12: no profile\n"
                                   L"2: Bolt M20: hole too small\n"
                                   L"3: Weld W1: open\n");
}

TEST_F(ErrorTracer, ReinitializeEmptiesTheLists) {
    enable();
    tracerReportFirst();
    ASSERT_EQ(KelErrorTracer::m_arrErrors.length(), 1);
    g_tracer->Reinitialize();
    EXPECT_EQ(KelErrorTracer::m_arrErrors.length(), 0);
    EXPECT_EQ(KelErrorTracer::m_arrErrorsInfo.length(), 0);
    g_tracer->DumpErrors();
    EXPECT_TRUE(g_shown.empty());
}

TEST_F(ErrorTracer, TheStackWalkerKeepsItsPathsAfterReinitialize) {
    enable();
    tracerReportFirst();
    KelStackWalker* walker = KelErrorTracer::m_pStackWalker;
    ASSERT_NE(walker, nullptr);
    const std::wstring library = walker->getLibraryPath().getStringW();
    const std::wstring symbols = walker->getSymbolPaths().getStringW();

    setValue(L"DbgHelpFullPath", missingLibrary().c_str());
    setValue(L"SymbolPaths", L"Z:\\Elsewhere");
    g_tracer->Reinitialize();
    EXPECT_EQ(std::wstring(g_tracer->getDbgHelpPath().getStringW()), missingLibrary());
    tracerReportThird();
    // The same walker with its own paths, still walking.
    EXPECT_EQ(KelErrorTracer::m_pStackWalker, walker);
    EXPECT_EQ(std::wstring(walker->getLibraryPath().getStringW()), library);
    EXPECT_EQ(std::wstring(walker->getSymbolPaths().getStringW()), symbols);
    ASSERT_EQ(KelErrorTracer::m_arrErrorsInfo.length(), 1);
    const std::vector<std::string> lines = linesOf(narrow(KelErrorTracer::m_arrErrorsInfo[0]));
    ASSERT_GE(lines.size(), 2u);
    EXPECT_EQ(lines[1], frameLine(fn("tracerReportThird", "()"), g_lineThird));
}

TEST_F(ErrorTracer, ReportsOfTwoCommandsGoToTwoFiles) {
    enable();
    tracerReportFirst();
    g_tracer->DumpErrors();
    // A new file per report, named after the time to the millisecond.
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    tracerReportThird();
    g_tracer->DumpErrors();
    const std::vector<fs::path> written = reports();
    ASSERT_EQ(written.size(), 2u);
    std::vector<std::string> texts = {contents(written[0]), contents(written[1])};
    std::sort(texts.begin(), texts.end());
    EXPECT_EQ(texts[0].rfind("Beam B12: no profile\n", 0), 0u);
    EXPECT_EQ(texts[1].rfind("Bolt M20: hole too small\n", 0), 0u);
    ASSERT_EQ(g_shown.size(), 2u);
    EXPECT_EQ(g_shown[1].text, messageHead(1) + L"1: Bolt M20: hole too small\n");
}

}  // namespace
