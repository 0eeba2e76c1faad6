// "kel pipe listen" and "kel pipe send", run as a user runs them: two
// processes of the built tool talking to each other through a pipe.

#include <kel/Kel.h>

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "run_program.h"
#include "support/isolation.h"
#include "support/system.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace {

namespace fs = std::filesystem;
using kel::test::kelTool;
using kel::test::ProgramResult;
using kel::test::runProgram;

std::string readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// The tool in the background, its output captured in files of the test's
// folder, while the test goes on (runProgram waits for its program).
class BackgroundProgram {
public:
    BackgroundProgram(const std::vector<std::wstring>& arguments, const std::string& tag)
        : m_out(fs::path(kel::test::tempDirW()) / (tag + "-stdout.txt")),
          m_err(fs::path(kel::test::tempDirW()) / (tag + "-stderr.txt")) {
        start(arguments);
    }
    ~BackgroundProgram() { finish(); }

    // Waits until the program has written `text` to its standard output.
    bool waitForOutput(const std::string& text) {
        for (int i = 0; i < 2000; ++i) {
            if (readFile(m_out).find(text) != std::string::npos)
                return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return false;
    }

    // Waits for the program to end.
    ProgramResult finish() {
        if (m_started) {
            m_result.exitCode = wait();
            m_result.out = readFile(m_out);
            m_result.err = readFile(m_err);
            m_started = false;
        }
        return m_result;
    }

private:
#if defined(_WIN32)
    static HANDLE inheritableFile(const fs::path& path) {
        SECURITY_ATTRIBUTES security = {sizeof security, nullptr, TRUE};
        return ::CreateFileW(path.wstring().c_str(), GENERIC_WRITE, FILE_SHARE_READ, &security,
                             CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    }

    void start(const std::vector<std::wstring>& arguments) {
        const std::wstring program = kelTool().wstring();
        std::wstring commandLine = L"\"" + program + L"\"";
        for (const std::wstring& argument : arguments)
            commandLine += argument.find(L' ') == std::wstring::npos ? L" " + argument
                                                                     : L" \"" + argument + L"\"";
        m_outFile = inheritableFile(m_out);
        m_errFile = inheritableFile(m_err);
        STARTUPINFOW startup = {};
        startup.cb = sizeof startup;
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdInput = nullptr;
        startup.hStdOutput = m_outFile;
        startup.hStdError = m_errFile;
        m_started = ::CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, TRUE, 0,
                                     nullptr, nullptr, &startup, &m_process) != FALSE;
    }

    int wait() {
        ::WaitForSingleObject(m_process.hProcess, 60000);
        DWORD code = static_cast<DWORD>(-1);
        ::GetExitCodeProcess(m_process.hProcess, &code);
        if (code == STILL_ACTIVE) {
            ::TerminateProcess(m_process.hProcess, 99);
            code = static_cast<DWORD>(-1);
        }
        ::CloseHandle(m_process.hThread);
        ::CloseHandle(m_process.hProcess);
        ::CloseHandle(m_outFile);
        ::CloseHandle(m_errFile);
        return static_cast<int>(code);
    }

    HANDLE m_outFile = INVALID_HANDLE_VALUE;
    HANDLE m_errFile = INVALID_HANDLE_VALUE;
    PROCESS_INFORMATION m_process = {};
#else
    void start(const std::vector<std::wstring>& arguments) {
        std::vector<std::string> words = {kelTool().string()};
        // Arguments in the narrow code page, as a shell passes them.
        for (const std::wstring& argument : arguments)
            words.push_back(KelString(argument.c_str()).getStringA());
        std::vector<char*> argv;
        for (std::string& word : words)
            argv.push_back(word.data());
        argv.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&actions, 1, m_out.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                         0644);
        posix_spawn_file_actions_addopen(&actions, 2, m_err.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                         0644);
        m_started =
            posix_spawn(&m_pid, words[0].c_str(), &actions, nullptr, argv.data(), environ) == 0;
        posix_spawn_file_actions_destroy(&actions);
    }

    int wait() {
        // A listener that never gets its client is stopped after a minute.
        for (int i = 0; i < 6000; ++i) {
            int status = 0;
            const pid_t done = ::waitpid(m_pid, &status, WNOHANG);
            if (done == m_pid)
                return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
            ::usleep(10000);
        }
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
        return -1;
    }

    pid_t m_pid = -1;
#endif

    fs::path m_out;
    fs::path m_err;
    bool m_started = false;
    ProgramResult m_result;
};

// The tool writes its standard streams in text mode: "\r\n" on Windows.
std::string lines(const std::vector<std::string>& texts) {
    std::string result;
    for (const std::string& text : texts)
        result += text + (kel::test::kWindows ? "\r\n" : "\n");
    return result;
}

std::string usageText() {
    return lines({"usage: kel pipe listen NAME TYPE... [--repeat] [--clients N]",
                  "       kel pipe send NAME VALUE... [--timeout MS]", "",
                  "NAME   a pipe name (\\\\.\\pipe\\demo) or its last part (demo)",
                  "TYPE   int or str: what the client is expected to send, in order",
                  "VALUE  int:N, str:TEXT or raw:HEX (bytes as they are)"});
}

// A pipe name of its own for each test: on Windows every process shares
// one pipe namespace.
class KelPipeTool : public ::testing::Test {
protected:
    KelPipeTool() {
        static int counter = 0;
        const std::string text = "kel-tool-test-" +
#if defined(_WIN32)
                                 std::to_string(::GetCurrentProcessId())
#else
                                 std::to_string(::getpid())
#endif
                                 + "-" + std::to_string(++counter);
        name = std::wstring(text.begin(), text.end());
        fullName = "\\\\.\\pipe\\" + text;
    }

    ProgramResult send(std::vector<std::wstring> values) {
        values.insert(values.begin(), {L"pipe", L"send", name});
        return runProgram(kelTool(), values);
    }

    std::wstring name;
    std::string fullName;
};

TEST_F(KelPipeTool, ListenAndSend_TalkToEachOther) {
    BackgroundProgram listener({L"pipe", L"listen", name, L"int", L"str", L"int"}, "listen");
    const ProgramResult sent = send({L"int:5", L"str:abc", L"int:-7"});
    EXPECT_EQ(sent.exitCode, 0);
    EXPECT_EQ(sent.out, lines({"sent 3 values (15 bytes) to " + fullName}));
    EXPECT_EQ(sent.err, "");
    const ProgramResult heard = listener.finish();
    EXPECT_EQ(heard.exitCode, 0);
    EXPECT_EQ(heard.out, lines({"waiting on " + fullName, "int:5", "str:abc", "int:-7"}));
    EXPECT_EQ(heard.err, "");
}

TEST_F(KelPipeTool, FullPipeName_IsTakenAsItIs) {
    const std::wstring full = L"\\\\.\\pipe\\" + name;
    BackgroundProgram listener({L"pipe", L"listen", full, L"str"}, "listen");
    const ProgramResult sent = runProgram(kelTool(), {L"pipe", L"send", full, L"str:two words"});
    EXPECT_EQ(sent.exitCode, 0);
    EXPECT_EQ(sent.out, lines({"sent 1 value (13 bytes) to " + fullName}));
    const ProgramResult heard = listener.finish();
    EXPECT_EQ(heard.exitCode, 0);
    EXPECT_EQ(heard.out, lines({"waiting on " + fullName, "str:two words"}));
}

TEST_F(KelPipeTool, ExtremeIntegersAndEmptyString) {
    BackgroundProgram listener({L"pipe", L"listen", name, L"int", L"int", L"str", L"int"},
                               "listen");
    const ProgramResult sent = send({L"int:2147483647", L"int:-2147483648", L"str:", L"int:0"});
    EXPECT_EQ(sent.exitCode, 0);
    const ProgramResult heard = listener.finish();
    EXPECT_EQ(heard.exitCode, 0);
    EXPECT_EQ(heard.out, lines({"waiting on " + fullName, "int:2147483647", "int:-2147483648",
                                "str:", "int:0"}));
}

TEST_F(KelPipeTool, TextBeyondAscii_TravelsInTheNarrowCodePage) {
    std::string narrow;
    if (!kel::test::narrowSample(kelGetNarrowCodePage(), L"Tr\u00E4ger", narrow))
        GTEST_SKIP() << kel::test::kNoNarrowSample << kelGetNarrowCodePage();
    BackgroundProgram listener({L"pipe", L"listen", name, L"str"}, "listen");
    // Not through runProgram: its arguments must be plain ASCII.
    const ProgramResult sent =
        BackgroundProgram({L"pipe", L"send", name, L"str:Tr\u00E4ger"}, "send").finish();
    EXPECT_EQ(sent.exitCode, 0);
    EXPECT_EQ(sent.out, lines({"sent 1 value (" + std::to_string(4 + narrow.size()) +
                               " bytes) to " + fullName}));
    const ProgramResult heard = listener.finish();
    EXPECT_EQ(heard.exitCode, 0);
    EXPECT_EQ(heard.out, lines({"waiting on " + fullName, "str:" + narrow}));
}

TEST_F(KelPipeTool, Repeat_ReadsTheSequenceUntilTheClientCloses) {
    BackgroundProgram listener({L"pipe", L"listen", name, L"int", L"str", L"--repeat"}, "listen");
    const ProgramResult sent =
        send({L"int:1", L"str:one", L"int:2", L"str:two", L"int:3", L"str:three"});
    EXPECT_EQ(sent.exitCode, 0);
    const ProgramResult heard = listener.finish();
    EXPECT_EQ(heard.exitCode, 0);
    EXPECT_EQ(heard.out, lines({"waiting on " + fullName, "int:1", "str:one", "int:2", "str:two",
                                "int:3", "str:three"}));
    EXPECT_EQ(heard.err, "");
}

TEST_F(KelPipeTool, Clients_ServesOneAfterTheOther) {
    BackgroundProgram listener({L"pipe", L"listen", name, L"int", L"--clients", L"3"}, "listen");
    for (int i = 1; i <= 3; ++i)
        EXPECT_EQ(send({L"int:" + std::to_wstring(i * 11)}).exitCode, 0) << i;
    const ProgramResult heard = listener.finish();
    EXPECT_EQ(heard.exitCode, 0);
    EXPECT_EQ(heard.out, lines({"waiting on " + fullName, "int:11", "int:22", "int:33"}));
}

TEST_F(KelPipeTool, StringOf128Bytes_IsAFailedRead) {
    BackgroundProgram listener({L"pipe", L"listen", name, L"str"}, "listen");
    const ProgramResult sent = send({L"str:" + std::wstring(128, L'x')});
    EXPECT_EQ(sent.exitCode, 0);
    const ProgramResult heard = listener.finish();
    EXPECT_EQ(heard.exitCode, 1);
    EXPECT_EQ(heard.out, lines({"waiting on " + fullName}));
    EXPECT_EQ(heard.err, lines({"kel pipe: cannot read value 1 (str) from " + fullName +
                                ": The data is invalid (a string of 128 bytes or more, or a "
                                "negative length). (13)"}));
}

TEST_F(KelPipeTool, RawBytes_MakeAHostilePeer) {
    BackgroundProgram listener({L"pipe", L"listen", name, L"int", L"str"}, "listen");
    // 1, then a count of -1.
    const ProgramResult sent = send({L"raw:01000000", L"raw:FFFFFFFF"});
    EXPECT_EQ(sent.exitCode, 0);
    EXPECT_EQ(sent.out, lines({"sent 2 values (8 bytes) to " + fullName}));
    const ProgramResult heard = listener.finish();
    EXPECT_EQ(heard.exitCode, 1);
    EXPECT_EQ(heard.out, lines({"waiting on " + fullName, "int:1"}));
    EXPECT_EQ(heard.err, lines({"kel pipe: cannot read value 2 (str) from " + fullName +
                                ": The data is invalid (a string of 128 bytes or more, or a "
                                "negative length). (13)"}));
}

TEST_F(KelPipeTool, ClientClosingEarly_EndsTheListenerWithAnError) {
    BackgroundProgram listener({L"pipe", L"listen", name, L"int", L"int"}, "listen");
    EXPECT_EQ(send({L"int:1", L"raw:0200"}).exitCode, 0);
    const ProgramResult heard = listener.finish();
    EXPECT_EQ(heard.exitCode, 1);
    EXPECT_EQ(heard.out, lines({"waiting on " + fullName, "int:1"}));
    EXPECT_EQ(heard.err, lines({"kel pipe: cannot read value 2 (int) from " + fullName +
                                ": The pipe has been ended. (109)"}));
}

TEST_F(KelPipeTool, SendWithoutAListener_Fails) {
    const ProgramResult sent = send({L"int:1", L"--timeout", L"100"});
    EXPECT_EQ(sent.exitCode, 1);
    EXPECT_EQ(sent.out, "");
    EXPECT_EQ(sent.err, lines({"kel pipe: cannot connect to " + fullName +
                               ": The system cannot find the file specified. (2)"}));
}

TEST_F(KelPipeTool, SecondListenerOfALivePipe_Fails) {
    KEL_SKIP_ON_WINDOWS("a second listener there is a second instance of the same pipe");
    BackgroundProgram listener({L"pipe", L"listen", name, L"int"}, "listen");
    ASSERT_TRUE(listener.waitForOutput("waiting on"));
    const ProgramResult second =
        BackgroundProgram({L"pipe", L"listen", name, L"int"}, "second").finish();
    EXPECT_EQ(second.exitCode, 1);
    EXPECT_EQ(second.out, "");
    EXPECT_EQ(second.err, lines({"kel pipe: cannot create " + fullName +
                                 ": All pipe instances are busy. (231)"}));
    EXPECT_EQ(send({L"int:9"}).exitCode, 0);
    EXPECT_EQ(listener.finish().out, lines({"waiting on " + fullName, "int:9"}));
}

TEST_F(KelPipeTool, BadName_FailsToCreate) {
    KEL_SKIP_ON_WINDOWS("the system decides there which pipe names it takes");
    const ProgramResult r = runProgram(kelTool(), {L"pipe", L"listen", L"a/b", L"int"});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, lines({"kel pipe: cannot create \\\\.\\pipe\\a/b: The filename, directory "
                            "name, or volume label syntax is incorrect. (123)"}));
}

TEST_F(KelPipeTool, Help_PrintsTheUsage) {
    const ProgramResult r = runProgram(kelTool(), {L"pipe", L"--help"});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.out, usageText());
    EXPECT_EQ(r.err, "");
    EXPECT_EQ(runProgram(kelTool(), {L"pipe", L"listen", L"--help"}).out, usageText());
}

TEST_F(KelPipeTool, BadArguments_PrintTheUsageWithExitCode2) {
    const std::vector<std::vector<std::wstring>> cases = {
        {L"pipe"},
        {L"pipe", L"talk", L"x"},
        {L"pipe", L"listen"},
        {L"pipe", L"listen", L"x"},
        {L"pipe", L"listen", L"x", L"float"},
        {L"pipe", L"listen", L"x", L"int", L"--clients"},
        {L"pipe", L"listen", L"x", L"int", L"--clients", L"0"},
        {L"pipe", L"send", L"x"},
        {L"pipe", L"send", L"x", L"int:"},
        {L"pipe", L"send", L"x", L"int:12z"},
        {L"pipe", L"send", L"x", L"int:2147483648"},
        {L"pipe", L"send", L"x", L"int:-2147483649"},
        {L"pipe", L"send", L"x", L"text:abc"},
        {L"pipe", L"send", L"x", L"raw:123"},
        {L"pipe", L"send", L"x", L"raw:zz"},
        {L"pipe", L"send", L"x", L"int:1", L"--timeout"},
        {L"pipe", L"send", L"x", L"int:1", L"--timeout", L"-5"},
        {L"pipe", L"send", L"x", L"int:1", L"--verbose"},
    };
    for (const auto& arguments : cases) {
        const ProgramResult r = runProgram(kelTool(), arguments);
        std::string shown;
        for (const std::wstring& a : arguments)
            shown += std::string(a.begin(), a.end()) + " ";
        EXPECT_EQ(r.exitCode, 2) << shown;
        EXPECT_EQ(r.out, "") << shown;
        EXPECT_EQ(r.err, usageText()) << shown;
    }
}

TEST_F(KelPipeTool, HelpListsTheCommand) {
    const ProgramResult r = runProgram(kelTool(), {L"help"});
    EXPECT_NE(r.out.find("  pipe       listen on a named pipe, or send values to one"),
              std::string::npos)
        << r.out;
}

}  // namespace
