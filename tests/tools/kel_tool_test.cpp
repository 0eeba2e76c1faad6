// The tool as a whole: its version, its list of commands, unknown commands.

#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <string>

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
