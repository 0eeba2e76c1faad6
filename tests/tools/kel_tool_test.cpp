// The tool as a whole: its version, its list of commands, unknown commands,
// and the help that every command answers in the same way.

#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <map>
#include <string>
#include <vector>

#include "run_program.h"

using kel::test::kelTool;
using kel::test::runProgram;
using kel::test::toolText;

TEST(KelTool, VersionNamesTheToolAndTheLoadedLibrary) {
    const auto r = runProgram(kelTool(), {L"--version"});
    EXPECT_EQ(0, r.exitCode);
    EXPECT_EQ(toolText("kel " KEL_VERSION_STRING " (library " KEL_VERSION_STRING ")\n"), r.out);
    EXPECT_EQ("", r.err);
}

TEST(KelTool, LoadedLibraryReportsTheHeadersVersion) {
    EXPECT_STREQ(KEL_VERSION_STRING, kelGetVersion());
    EXPECT_EQ(KEL_MAKE_VERSION(KEL_VERSION_MAJOR, KEL_VERSION_MINOR, KEL_VERSION_PATCH),
              KEL_VERSION_NUMBER);
    EXPECT_EQ(std::to_string(KEL_VERSION_MAJOR) + "." + std::to_string(KEL_VERSION_MINOR) + "." +
                  std::to_string(KEL_VERSION_PATCH),
              std::string(kelGetVersion()));
}

TEST(KelTool, WithoutArgumentsPrintsUsageOnStderrWithExitTwo) {
    const auto r = runProgram(kelTool(), {});
    EXPECT_EQ(2, r.exitCode);
    EXPECT_EQ("", r.out);
    EXPECT_EQ(0u, r.err.find(toolText("usage: kel <command> [arguments]\n")));
}

TEST(KelTool, UnknownCommandIsNamedWithExitTwo) {
    const auto r = runProgram(kelTool(), {L"frobnicate"});
    EXPECT_EQ(2, r.exitCode);
    EXPECT_EQ(toolText("kel: unknown command 'frobnicate' (try 'kel help')\n"), r.err);
}

// ----- help ---------------------------------------------------------------------------

namespace {

// The commands "kel help" lists, in its order.
std::vector<std::string> listedCommands() {
    const auto r = runProgram(kelTool(), {L"help"});
    std::vector<std::string> names;
    const std::string marker = toolText("commands:\n");
    size_t at = r.out.find(marker);
    if (at == std::string::npos)
        return names;
    at += marker.size();
    while (at < r.out.size()) {
        const size_t end = r.out.find('\n', at);
        const std::string line = r.out.substr(at, end - at);
        if (line.size() > 2 && line.compare(0, 2, "  ") == 0)
            names.push_back(line.substr(2, line.find(' ', 2) - 2));
        at = end == std::string::npos ? r.out.size() : end + 1;
    }
    return names;
}

std::wstring wide(const std::string& text) {
    return std::wstring(text.begin(), text.end());
}

// For each command, a command line it cannot take.
const std::map<std::string, std::vector<std::wstring>> kBadArguments = {
    {"datasource", {L"datasource", L"frobnicate"}},
    {"demo", {L"demo", L"extra"}},
    {"help", {L"help", L"zip", L"unzip"}},
    {"message", {L"message"}},
    {"modules", {L"modules", L"a.txt", L"b.txt"}},
    {"pipe", {L"pipe"}},
    {"reg", {L"reg"}},
    {"unzip", {L"unzip"}},
    {"version", {L"version"}},
    {"zip", {L"zip"}},
};

}  // namespace

TEST(KelToolHelp, ListsEveryCommandOnStdout) {
    for (const std::vector<std::wstring>& arguments :
         {std::vector<std::wstring>{L"help"}, std::vector<std::wstring>{L"--help"},
          std::vector<std::wstring>{L"-h"}}) {
        const auto r = runProgram(kelTool(), arguments);
        EXPECT_EQ(0, r.exitCode);
        EXPECT_EQ("", r.err);
        EXPECT_EQ(0u, r.out.find(toolText("usage: kel <command> [arguments]\n"))) << r.out;
    }
    const std::vector<std::string> names = listedCommands();
    EXPECT_EQ(names, (std::vector<std::string>{"datasource", "demo", "help", "message", "modules",
                                               "pipe", "reg", "unzip", "version", "zip"}));
}

TEST(KelToolHelp, EveryCommandAnswersHelpInThreeWays) {
    const std::vector<std::string> names = listedCommands();
    ASSERT_FALSE(names.empty());
    for (const std::string& name : names) {
        SCOPED_TRACE(name);
        const auto help = runProgram(kelTool(), {L"help", wide(name)});
        EXPECT_EQ(0, help.exitCode);
        EXPECT_EQ("", help.err);
        // "usage: kel zip PATH ...", or a list of forms after "usage:".
        EXPECT_EQ(0u, help.out.find("usage:")) << help.out;
        EXPECT_LT(help.out.find("kel " + name), help.out.find(toolText("\n\n"))) << help.out;
        EXPECT_EQ(toolText("\n"), help.out.substr(help.out.size() - toolText("\n").size()));
        for (const wchar_t* option : {L"--help", L"-h"}) {
            const auto asked = runProgram(kelTool(), {wide(name), option});
            EXPECT_EQ(0, asked.exitCode);
            EXPECT_EQ(help.out, asked.out);
            EXPECT_EQ("", asked.err);
        }
    }
}

TEST(KelToolHelp, HelpGoesBeforeAnythingTheCommandWouldDo) {
    // Wherever the option stands, the other arguments are not looked at:
    // nothing is archived, nothing is written to the store.
    for (const std::vector<std::wstring>& arguments :
         {std::vector<std::wstring>{L"zip", L"--help", L"no-such-folder"},
          std::vector<std::wstring>{L"zip", L"no-such-folder", L"-h"},
          std::vector<std::wstring>{L"reg", L"add", L"HKCU\\Software\\KelTest", L"--help"}}) {
        const auto r = runProgram(kelTool(), arguments);
        EXPECT_EQ(0, r.exitCode);
        EXPECT_EQ(kel::test::kelUsage(arguments[0]), r.out);
        EXPECT_EQ("", r.err);
    }
}

TEST(KelToolHelp, WrongArgumentsPrintTheUsageOnStderrWithExitTwo) {
    const std::vector<std::string> names = listedCommands();
    ASSERT_FALSE(names.empty());
    for (const std::string& name : names) {
        SCOPED_TRACE(name);
        const auto bad = kBadArguments.find(name);
        ASSERT_NE(bad, kBadArguments.end()) << "no wrong command line listed for " << name;
        const std::string usage = kel::test::kelUsage(wide(name));
        const auto r = runProgram(kelTool(), bad->second);
        EXPECT_EQ(2, r.exitCode);
        EXPECT_EQ("", r.out);
        // The usage ends what is printed; "kel reg" names the error first.
        ASSERT_GE(r.err.size(), usage.size()) << r.err;
        EXPECT_EQ(usage, r.err.substr(r.err.size() - usage.size())) << r.err;
    }
}

TEST(KelToolHelp, HelpForAnUnknownCommandIsAnError) {
    const auto r = runProgram(kelTool(), {L"help", L"frobnicate"});
    EXPECT_EQ(2, r.exitCode);
    EXPECT_EQ("", r.out);
    EXPECT_EQ(toolText("kel: unknown command 'frobnicate' (try 'kel help')\n"), r.err);
}
