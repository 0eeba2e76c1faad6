// "kel modules" and "kel version", run as a user runs them: the built tool
// in a process of its own.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "../diagnostics/diagnostics_test_support.h"
#include "run_program.h"
#include "support/isolation.h"
#include "support/system.h"

namespace {

namespace fs = std::filesystem;
using kel::test::kelTool;
using kel::test::runProgram;

// The tool writes its standard streams in text mode: "\r\n" on Windows.
std::string lines(const std::vector<std::string>& texts) {
    std::string result;
    for (const std::string& text : texts)
        result += text + (kel::test::kWindows ? "\r\n" : "\n");
    return result;
}

// The sample PE files: beside the test program in a Windows build, in the
// source tree elsewhere.
fs::path sample(const std::string& name) {
    if (kel::test::kWindows)
        return fs::path(kel::test::selfPath()).parent_path() / "pe_samples" / name;
    return fs::path(KEL_PE_SAMPLES_DIR) / name;
}

// The library: kel.dll beside the test on Windows, the built file on Linux.
fs::path library() {
    if (kel::test::kWindows)
        return fs::path(kel::test::selfPath()).parent_path() / "kel.dll";
    return fs::path(KEL_LIBRARY_FILE);
}

std::string toolFileName() {
    return kelTool().filename().string();
}

// Checks a listing of the kel process; returns its module lines.
std::vector<kel::test::ListingLine> checkListing(const std::string& text) {
    const std::vector<std::string> all = kel::test::linesOf(text);
    std::vector<kel::test::ListingLine> modules;
    if (all.size() < 5) {
        ADD_FAILURE() << text;
        return modules;
    }
    const std::string prefix = toolFileName() + " PID : ";
    EXPECT_EQ(all[0].compare(0, prefix.size(), prefix), 0) << all[0];
    EXPECT_GT(std::stoul(all[0].substr(prefix.size())), 0ul);
    EXPECT_EQ(all[1], "");
    EXPECT_EQ(all[2], "");
    EXPECT_EQ(all[3], "Base        Size      Version         Path");
    for (size_t i = 4; i < all.size(); ++i) {
        kel::test::ListingLine parsed;
        EXPECT_TRUE(kel::test::parseListingLine(all[i], parsed)) << all[i];
        modules.push_back(parsed);
    }
    EXPECT_TRUE(fs::equivalent(fs::u8path(modules[0].path), kelTool())) << modules[0].path;
    EXPECT_EQ(modules[0].version, std::string(16, ' '));
    return modules;
}

TEST(KelModulesTool, PrintsTheListingOfTheKelProcess) {
    const auto r = runProgram(kelTool(), {L"modules"});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.err, "");
    EXPECT_GE(checkListing(r.out).size(), 2u);
}

TEST(KelModulesTool, WritesTheListingToAFileReplacingIt) {
    const fs::path file = kel::test::inTestDir("modules.txt");
    kel::test::writeFile(file, "an older listing\n");
    const auto r = runProgram(kelTool(), {L"modules", file.wstring()});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, "");
    const std::string text = kel::test::readFile(file);
    EXPECT_EQ(text.find("an older listing"), std::string::npos);
    EXPECT_GE(checkListing(text).size(), 2u);
}

TEST(KelModulesTool, AFileThatCannotBeWrittenIsAnError) {
    const fs::path file = kel::test::inTestDir("missing/modules.txt");
    const auto r = runProgram(kelTool(), {L"modules", file.wstring()});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, lines({"kel modules: cannot write " + file.string() +
                            ": No such file or directory"}));
}

TEST(KelModulesTool, BadArgumentsPrintTheUsage) {
    for (const std::vector<std::wstring>& arguments :
         {std::vector<std::wstring>{L"modules", L"a.txt", L"b.txt"},
          std::vector<std::wstring>{L"modules", L"--all"}}) {
        const auto r = runProgram(kelTool(), arguments);
        EXPECT_EQ(r.exitCode, 2);
        EXPECT_EQ(r.out, "");
        EXPECT_EQ(r.err, kel::test::kelUsage(L"modules"));
    }
    const auto help = runProgram(kelTool(), {L"modules", L"--help"});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_EQ(help.out.rfind(lines({"usage: kel modules [FILE]"}), 0), 0u) << help.out;
    EXPECT_EQ(help.out, kel::test::kelUsage(L"modules"));
    EXPECT_EQ(help.err, "");
}

TEST(KelVersionTool, PrintsTheLibrarysOwnVersion) {
    const auto r = runProgram(kelTool(), {L"version", library().wstring()});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.out, lines({kel::test::libraryFileVersion()}));
    EXPECT_EQ(r.err, "");
}

#if !defined(_WIN32)

// A DLL has no SONAME link.
TEST(KelVersionTool, ThroughTheLibrarysSonameLink) {
    const auto r =
        runProgram(kelTool(), {L"version", (library().parent_path() / "libkel.so.1").wstring()});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.out, lines({kel::test::libraryFileVersion()}));
}

#endif

TEST(KelVersionTool, PrintsTheVersionResourceOfAPeFileOnEverySystem) {
    const auto r = runProgram(kelTool(), {L"version", sample("versioned.dll").wstring()});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.out, lines({"1.02.0003.0004"}));
    EXPECT_EQ(r.err, "");
}

TEST(KelVersionTool, AFileWithoutAVersionIsAnError) {
    for (const char* name : {"unversioned.dll", "strings_only.dll"}) {
        const fs::path file = sample(name);
        const auto r = runProgram(kelTool(), {L"version", file.wstring()});
        EXPECT_EQ(r.exitCode, 1);
        EXPECT_EQ(r.out, "");
        EXPECT_EQ(r.err, lines({"kel version: " + file.string() + " has no version"}));
    }
    const auto tool = runProgram(kelTool(), {L"version", kelTool().wstring()});
    EXPECT_EQ(tool.exitCode, 1);
    EXPECT_EQ(tool.err, lines({"kel version: " + kelTool().string() + " has no version"}));
}

TEST(KelVersionTool, AMissingFileIsAnError) {
    const fs::path file = kel::test::inTestDir("missing.dll");
    const auto r = runProgram(kelTool(), {L"version", file.wstring()});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err,
              lines({"kel version: cannot open " + file.string() + ": No such file or directory"}));
}

TEST(KelVersionTool, BadArgumentsPrintTheUsage) {
    for (const std::vector<std::wstring>& arguments :
         {std::vector<std::wstring>{L"version"},
          std::vector<std::wstring>{L"version", L"a.dll", L"b.dll"},
          std::vector<std::wstring>{L"version", L"-x"}}) {
        const auto r = runProgram(kelTool(), arguments);
        EXPECT_EQ(r.exitCode, 2);
        EXPECT_EQ(r.out, "");
        EXPECT_EQ(r.err, kel::test::kelUsage(L"version"));
    }
    const auto help = runProgram(kelTool(), {L"version", L"--help"});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_EQ(help.out.rfind(lines({"usage: kel version FILE"}), 0), 0u) << help.out;
    EXPECT_EQ(help.out, kel::test::kelUsage(L"version"));
}

}  // namespace
