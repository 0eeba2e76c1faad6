#include "run_program.h"

#include <filesystem>
#include <fstream>
#include <iterator>

#include "support/isolation.h"
#include "support/system.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#endif

namespace kel::test {

namespace {

namespace fs = std::filesystem;

std::string readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

#if defined(_WIN32)

// One argument as the runtime's command-line parser takes it apart again:
// quoted when it holds blanks or quotes, backslashes doubled before a quote.
std::wstring quotedArgument(const std::wstring& argument) {
    if (!argument.empty() && argument.find_first_of(L" \t\"") == std::wstring::npos)
        return argument;
    std::wstring result = L"\"";
    size_t backslashes = 0;
    for (wchar_t c : argument) {
        if (c == L'\\') {
            ++backslashes;
            continue;
        }
        result.append(c == L'"' ? 2 * backslashes + 1 : backslashes, L'\\');
        backslashes = 0;
        result += c;
    }
    result.append(2 * backslashes, L'\\');
    return result + L"\"";
}

HANDLE inheritableFile(const fs::path& path, bool write) {
    SECURITY_ATTRIBUTES security = {sizeof security, nullptr, TRUE};
    return ::CreateFileW(path.wstring().c_str(), write ? GENERIC_WRITE : GENERIC_READ,
                         FILE_SHARE_READ, &security, write ? CREATE_ALWAYS : OPEN_EXISTING,
                         FILE_ATTRIBUTE_NORMAL, nullptr);
}

int runCaptured(const fs::path& program, const std::vector<std::wstring>& arguments,
                const fs::path& in, const fs::path& out, const fs::path& err) {
    std::wstring commandLine = quotedArgument(program.wstring());
    for (const std::wstring& argument : arguments)
        commandLine += L" " + quotedArgument(argument);
    const HANDLE inFile = inheritableFile(in, false);
    const HANDLE outFile = inheritableFile(out, true);
    const HANDLE errFile = inheritableFile(err, true);
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = inFile;
    startup.hStdOutput = outFile;
    startup.hStdError = errFile;
    PROCESS_INFORMATION process = {};
    const bool started = inFile != INVALID_HANDLE_VALUE && outFile != INVALID_HANDLE_VALUE &&
                         errFile != INVALID_HANDLE_VALUE &&
                         ::CreateProcessW(program.wstring().c_str(), commandLine.data(), nullptr,
                                          nullptr, TRUE, 0, nullptr, nullptr, &startup, &process);
    DWORD exitCode = static_cast<DWORD>(-1);
    if (started) {
        ::WaitForSingleObject(process.hProcess, INFINITE);
        ::GetExitCodeProcess(process.hProcess, &exitCode);
        ::CloseHandle(process.hThread);
        ::CloseHandle(process.hProcess);
    }
    ::CloseHandle(inFile);
    ::CloseHandle(outFile);
    ::CloseHandle(errFile);
    return static_cast<int>(exitCode);
}

#else

int runCaptured(const fs::path& program, const std::vector<std::wstring>& arguments,
                const fs::path& in, const fs::path& out, const fs::path& err) {
    std::vector<std::string> words = {program.string()};
    for (const std::wstring& argument : arguments)
        words.push_back(fs::path(argument).string());
    std::vector<char*> argv;
    for (std::string& word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, in.c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_addopen(&actions, 2, err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    pid_t child = 0;
    const int spawned =
        posix_spawn(&child, words[0].c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (spawned != 0)
        return -1;
    int status = 0;
    if (::waitpid(child, &status, 0) != child || !WIFEXITED(status))
        return -1;
    return WEXITSTATUS(status);
}

#endif

}  // namespace

ProgramResult runProgram(const fs::path& program, const std::vector<std::wstring>& arguments,
                         const std::string& input) {
    const fs::path folder(tempDirW());
    const fs::path in = folder / "program-stdin.txt";
    const fs::path out = folder / "program-stdout.txt";
    const fs::path err = folder / "program-stderr.txt";
    std::ofstream(in, std::ios::binary | std::ios::trunc) << input;
    ProgramResult result;
    result.exitCode = runCaptured(program, arguments, in, out, err);
    result.out = readFile(out);
    result.err = readFile(err);
    std::error_code ignored;
    fs::remove(in, ignored);
    fs::remove(out, ignored);
    fs::remove(err, ignored);
    return result;
}

fs::path kelTool() {
    if (kWindows)
        return fs::path(selfPath()).parent_path() / KEL_TOOL_NAME;
    return KEL_TOOL_PATH;
}

std::string kelUsage(const std::wstring& command) {
    return runProgram(kelTool(), {L"help", command}).out;
}

std::string toolText(const std::string& text) {
    if (!kWindows)
        return text;
    std::string result;
    for (char c : text) {
        if (c == '\n')
            result += '\r';
        result += c;
    }
    return result;
}

}  // namespace kel::test
