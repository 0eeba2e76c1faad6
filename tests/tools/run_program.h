// Runs another program, as a user would from the shell, for the tests of
// the command-line tools: no shell in between, standard input read from the
// given bytes, standard output and error captured into files of the test's
// own folder.
//
//   const kel::test::ProgramResult r = kel::test::runProgram(kelTool(), {L"help"});
//   EXPECT_EQ(r.exitCode, 0);

#ifndef KEL_TESTS_TOOLS_RUN_PROGRAM_H
#define KEL_TESTS_TOOLS_RUN_PROGRAM_H

#include <filesystem>
#include <string>
#include <vector>

namespace kel::test {

struct ProgramResult {
    int exitCode = -1;  // -1 when the program could not run or did not exit
    std::string out;    // standard output, bytes as written
    std::string err;    // standard error
};

// Runs `program` with `arguments` and `input` on its standard input, and
// waits for it.
ProgramResult runProgram(const std::filesystem::path& program,
                         const std::vector<std::wstring>& arguments,
                         const std::string& input = std::string());

// `text` as the tool writes it to its standard streams, which are in text
// mode: each "\n" becomes "\r\n" on Windows.
std::string toolText(const std::string& text);

// The built kel tool: beside the test program in a Windows build, in its
// own build folder elsewhere.
std::filesystem::path kelTool();

// The usage of a kel command as "kel help COMMAND" prints it on stdout (in
// text mode), for tests that expect it elsewhere too.
std::string kelUsage(const std::wstring& command);

}  // namespace kel::test

#endif  // KEL_TESTS_TOOLS_RUN_PROGRAM_H
