// Named pipes as Unix sockets: where the socket lives, which names make one,
// what create does with a socket file that is already there, and clients in
// child processes. No threads here: the children come from fork.

#include <kel/Kel.h>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

#include "pipe_test_client.h"
#include "process/named_pipe.h"
#include "support/isolation.h"

namespace {

namespace fs = std::filesystem;
using kel::test::expectedSocketPath;
using kel::test::pipeBaseName;
using kel::test::PipeTestClient;
using kel::test::uniquePipeName;
using kel::test::wireInt;
using kel::test::wireString;

constexpr unsigned long kErrorFileNotFound = 2;
constexpr unsigned long kErrorAccessDenied = 5;
constexpr unsigned long kErrorInvalidName = 123;
constexpr unsigned long kErrorAlreadyExists = 183;
constexpr unsigned long kErrorFilenameTooLong = 206;
constexpr unsigned long kErrorPipeBusy = 231;
constexpr unsigned long kErrorNoData = 232;

KelString kelName(const std::wstring& text) {
    return KelString(text.c_str());
}

unsigned modeOf(const std::string& path) {
    struct stat info {};
    if (::lstat(path.c_str(), &info) != 0)
        return 0;
    return info.st_mode & 07777;
}

bool isSocket(const std::string& path) {
    struct stat info {};
    return ::lstat(path.c_str(), &info) == 0 && S_ISSOCK(info.st_mode);
}

// A child process and a channel on which it says it is ready.
class Child {
public:
    // Runs `body` in a child process; its result is the exit code. `ready`
    // raises the signal the parent waits for with waitReady.
    explicit Child(std::function<int(const std::function<void()>& ready)> body) {
        int fds[2];
        if (::pipe(fds) != 0)
            return;
        m_pid = ::fork();
        if (m_pid == 0) {
            ::close(fds[0]);
            const int writeFd = fds[1];
            const int code = body([writeFd] { (void)!::write(writeFd, "r", 1); });
            ::_exit(code);
        }
        ::close(fds[1]);
        m_readyFd = fds[0];
    }

    ~Child() {
        if (m_pid > 0) {
            ::kill(m_pid, SIGKILL);
            exitCode();
        }
        if (m_readyFd >= 0)
            ::close(m_readyFd);
    }

    bool started() const { return m_pid > 0; }

    bool waitReady(int timeoutMs = 20000) {
        pollfd ready = {m_readyFd, POLLIN, 0};
        char byte = 0;
        return ::poll(&ready, 1, timeoutMs) == 1 && ::read(m_readyFd, &byte, 1) == 1;
    }

    void kill() { ::kill(m_pid, SIGKILL); }

    // Waits for the child: its exit code, or 128 + the signal that ended it.
    int exitCode() {
        if (m_pid <= 0)
            return m_code;
        int status = 0;
        while (::waitpid(m_pid, &status, 0) < 0 && errno == EINTR) {
        }
        m_pid = -1;
        m_code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        return m_code;
    }

private:
    pid_t m_pid = -1;
    int m_readyFd = -1;
    int m_code = -1;
};

// A child that connects to `name`, writes `bytes` and exits with 0 (1 when
// it could not connect, 2 when the write failed).
std::function<int(const std::function<void()>&)> writer(const std::wstring& name,
                                                        const std::string& bytes) {
    return [name, bytes](const std::function<void()>& ready) {
        PipeTestClient client;
        if (!client.connect(name))
            return 1;
        ready();
        return client.write(bytes) ? 0 : 2;
    };
}

// A child that creates the pipe `name`, says so, waits for a client and
// exits with the integer the client sends (200 + a failure step otherwise).
std::function<int(const std::function<void()>&)> server(const std::wstring& name) {
    return [name](const std::function<void()>& ready) {
        KelNamedPipe pipe(kelName(name));
        if (!pipe.create())
            return 201;
        ready();
        int value = 0;
        if (!pipe.waitForConnection())
            return 202;
        if (!pipe.read(value))
            return 203;
        return value;
    };
}

// A Unix socket bound at `path`, listening or not.
int boundSocket(const std::string& path, bool listening) {
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    if (::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        (listening && ::listen(fd, 4) != 0)) {
        ::close(fd);
        return -1;
    }
    return fd;
}

class PosixPipe : public ::testing::Test {
protected:
    PosixPipe() : name(uniquePipeName("posix")), pipe(kelName(name)) {}
    void TearDown() override { pipe.close(); }

    std::string runtime() const { return kel::test::tempDir() + "/runtime"; }
    std::string socketPath() const { return expectedSocketPath(pipeBaseName(name)); }

    std::wstring name;
    KelNamedPipe pipe;
};

// ----- where the socket lives ----------------------------------------------

TEST_F(PosixPipe, Socket_LivesInThePipeDirectoryPrivateToTheUser) {
    ASSERT_EQ(pipe.create(), 1);
    EXPECT_EQ(socketPath(), runtime() + "/kel/pipes/" + pipeBaseName(name));
    EXPECT_TRUE(isSocket(socketPath()));
    EXPECT_EQ(modeOf(socketPath()), 0700u);
    EXPECT_EQ(modeOf(runtime() + "/kel"), 0700u);
    EXPECT_EQ(modeOf(runtime() + "/kel/pipes"), 0700u);
}

TEST_F(PosixPipe, Close_RemovesTheSocketAndItsLock) {
    ASSERT_EQ(pipe.create(), 1);
    ASSERT_TRUE(isSocket(socketPath()));
    EXPECT_TRUE(fs::exists(runtime() + "/kel/pipe-locks/" + pipeBaseName(name)));
    pipe.close();
    EXPECT_FALSE(fs::exists(socketPath()));
    EXPECT_FALSE(fs::exists(runtime() + "/kel/pipe-locks/" + pipeBaseName(name)));
    PipeTestClient client;
    EXPECT_FALSE(client.connect(name, 0));
}

TEST_F(PosixPipe, WithoutXdgRuntimeDir_TheSocketIsInTmp) {
    kel::test::setEnv("XDG_RUNTIME_DIR", nullptr);
    const std::string folder = "/tmp/kel-" + std::to_string(::geteuid()) + "/pipes";
    ASSERT_EQ(pipe.create(), 1);
    EXPECT_EQ(socketPath(), folder + "/" + pipeBaseName(name));
    EXPECT_TRUE(isSocket(socketPath()));
    EXPECT_EQ(modeOf(folder), 0700u);
    EXPECT_EQ(modeOf("/tmp/kel-" + std::to_string(::geteuid())), 0700u);
    pipe.close();
    EXPECT_FALSE(fs::exists(folder + "/" + pipeBaseName(name)));
}

TEST_F(PosixPipe, RelativeXdgRuntimeDir_IsIgnored) {
    kel::test::setEnv("XDG_RUNTIME_DIR", "relative/runtime");
    ASSERT_EQ(pipe.create(), 1);
    EXPECT_TRUE(
        isSocket("/tmp/kel-" + std::to_string(::geteuid()) + "/pipes/" + pipeBaseName(name)));
    EXPECT_FALSE(fs::exists("relative"));
}

TEST_F(PosixPipe, XdgRuntimeDir_IsReadAtEachCreate) {
    ASSERT_EQ(pipe.create(), 1);
    const std::string other = kel::test::tempDir() + "/other runtime";
    kel::test::setEnv("XDG_RUNTIME_DIR", other.c_str());
    const std::wstring secondName = uniquePipeName("second");
    KelNamedPipe second(kelName(secondName));
    ASSERT_EQ(second.create(), 1);
    EXPECT_TRUE(isSocket(other + "/kel/pipes/" + pipeBaseName(secondName)));
    EXPECT_TRUE(isSocket(runtime() + "/kel/pipes/" + pipeBaseName(name)));
    second.close();
    EXPECT_FALSE(fs::exists(other + "/kel/pipes/" + pipeBaseName(secondName)));
}

TEST_F(PosixPipe, MissingRuntimeDirectory_IsCreated) {
    const std::string missing = kel::test::tempDir() + "/not yet";
    kel::test::setEnv("XDG_RUNTIME_DIR", missing.c_str());
    ASSERT_EQ(pipe.create(), 1);
    EXPECT_TRUE(isSocket(missing + "/kel/pipes/" + pipeBaseName(name)));
    EXPECT_EQ(modeOf(missing), 0700u);
}

TEST_F(PosixPipe, OpenPipeDirectory_IsMadePrivate) {
    fs::create_directories(runtime() + "/kel/pipes");
    ::chmod((runtime() + "/kel").c_str(), 0755);
    ::chmod((runtime() + "/kel/pipes").c_str(), 0777);
    ASSERT_EQ(pipe.create(), 1);
    EXPECT_EQ(modeOf(runtime() + "/kel"), 0700u);
    EXPECT_EQ(modeOf(runtime() + "/kel/pipes"), 0700u);
}

TEST_F(PosixPipe, SymbolicLinkForThePipeDirectory_IsRefused) {
    const std::string elsewhere = kel::test::tempDir() + "/elsewhere";
    fs::create_directories(elsewhere);
    fs::create_directory_symlink(elsewhere, runtime() + "/kel");
    kelSetLastError(0);
    EXPECT_EQ(pipe.create(), 0);
    EXPECT_EQ(kelGetLastError(), kErrorAccessDenied);
    EXPECT_TRUE(fs::is_empty(elsewhere));
}

TEST_F(PosixPipe, PipeDirectoryOfAnotherUser_IsRefused) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "giving a directory to another user takes root";
    fs::create_directories(runtime() + "/kel");
    ASSERT_EQ(::chown((runtime() + "/kel").c_str(), 12345, 12345), 0);
    EXPECT_EQ(pipe.create(), 0);
    EXPECT_EQ(kelGetLastError(), kErrorAccessDenied);
    EXPECT_FALSE(fs::exists(runtime() + "/kel/pipes"));
}

// ----- names ----------------------------------------------------------------

TEST_F(PosixPipe, NameWithoutThePipePrefixOrNoFileName_Fails123) {
    const wchar_t* const names[] = {L"",
                                    L"demo",
                                    L"\\\\.\\pipe\\",
                                    L"\\\\.\\pipe",
                                    L"\\\\.\\pipes\\demo",
                                    L"\\\\server\\pipe\\demo",
                                    L"//./pipe/demo",
                                    L"\\\\.\\pipe\\a/b",
                                    L"\\\\.\\pipe\\a\\b",
                                    L"\\\\.\\pipe\\.",
                                    L"\\\\.\\pipe\\.."};
    for (const wchar_t* bad : names) {
        KelNamedPipe refused{KelString(bad)};
        kelSetLastError(0);
        EXPECT_EQ(refused.create(), 0) << KelString(bad).getStringA();
        EXPECT_EQ(kelGetLastError(), kErrorInvalidName) << KelString(bad).getStringA();
        EXPECT_EQ(refused.isOpened(), 0);
    }
    EXPECT_FALSE(fs::exists(runtime() + "/kel"));
}

TEST_F(PosixPipe, PipePrefix_IgnoresCase) {
    KelNamedPipe upper(KelString(L"\\\\.\\PIPE\\Upper"));
    ASSERT_EQ(upper.create(), 1);
    EXPECT_TRUE(isSocket(runtime() + "/kel/pipes/Upper"));
    upper.close();
}

TEST_F(PosixPipe, NameBeyondAscii_IsAUtf8FileName) {
    KelNamedPipe beam(KelString(L"\\\\.\\pipe\\Tr\u00E4ger \u20AC"));
    ASSERT_EQ(beam.create(), 1);
    EXPECT_TRUE(isSocket(runtime() + "/kel/pipes/Tr\xC3\xA4ger \xE2\x82\xAC"));
    beam.close();
}

TEST_F(PosixPipe, NameTooLongForASocketAddress_Fails206) {
    const size_t room = sizeof(sockaddr_un{}.sun_path) - 1 - (runtime() + "/kel/pipes/").size();
    ASSERT_GT(room, 1u);
    KelNamedPipe longest(KelString((L"\\\\.\\pipe\\" + std::wstring(room, L'n')).c_str()));
    ASSERT_EQ(longest.create(), 1);
    EXPECT_TRUE(isSocket(runtime() + "/kel/pipes/" + std::string(room, 'n')));
    longest.close();
    KelNamedPipe tooLong(KelString((L"\\\\.\\pipe\\" + std::wstring(room + 1, L'n')).c_str()));
    kelSetLastError(0);
    EXPECT_EQ(tooLong.create(), 0);
    EXPECT_EQ(kelGetLastError(), kErrorFilenameTooLong);
}

// ----- a socket file already there ------------------------------------------

TEST_F(PosixPipe, StaleSocketFile_IsReplaced) {
    fs::create_directories(runtime() + "/kel/pipes");
    const int stale = boundSocket(socketPath(), false);
    ASSERT_GE(stale, 0);
    ::close(stale);
    ASSERT_TRUE(isSocket(socketPath()));
    ASSERT_EQ(pipe.create(), 1);
    Child client(writer(name, wireInt(17)));
    EXPECT_EQ(pipe.waitForConnection(), 1);
    int value = 0;
    EXPECT_EQ(pipe.read(value), 1);
    EXPECT_EQ(value, 17);
    EXPECT_EQ(client.exitCode(), 0);
}

TEST_F(PosixPipe, SocketOfAKilledProcess_IsReplaced) {
    Child holder(server(name));
    ASSERT_TRUE(holder.waitReady());
    holder.kill();
    EXPECT_EQ(holder.exitCode(), 128 + SIGKILL);
    ASSERT_TRUE(isSocket(socketPath()));
    ASSERT_EQ(pipe.create(), 1);
    Child client(writer(name, wireInt(23)));
    EXPECT_EQ(pipe.waitForConnection(), 1);
    int value = 0;
    EXPECT_EQ(pipe.read(value), 1);
    EXPECT_EQ(value, 23);
}

TEST_F(PosixPipe, LivePipeOfAnotherProcess_IsNotTakenOver) {
    Child holder(server(name));
    ASSERT_TRUE(holder.waitReady());
    kelSetLastError(0);
    EXPECT_EQ(pipe.create(), 0);
    EXPECT_EQ(kelGetLastError(), kErrorPipeBusy);
    EXPECT_EQ(pipe.isOpened(), 0);
    // The other process still owns the socket and gets the client.
    PipeTestClient client;
    ASSERT_TRUE(client.connect(name));
    ASSERT_TRUE(client.write(wireInt(42)));
    EXPECT_EQ(holder.exitCode(), 42);
}

TEST_F(PosixPipe, LivePipeOfThisProcess_IsNotTakenOverNorDisturbed) {
    ASSERT_EQ(pipe.create(), 1);
    KelNamedPipe second(kelName(name));
    kelSetLastError(0);
    EXPECT_EQ(second.create(), 0);
    EXPECT_EQ(kelGetLastError(), kErrorPipeBusy);
    // The first pipe's next client is a real one: create did not connect
    // to it to see whether it lives.
    Child client(writer(name, wireInt(5) + wireInt(6)));
    ASSERT_EQ(pipe.waitForConnection(), 1);
    int value = 0;
    EXPECT_EQ(pipe.read(value), 1);
    EXPECT_EQ(value, 5);
    EXPECT_EQ(pipe.read(value), 1);
    EXPECT_EQ(value, 6);
    EXPECT_EQ(client.exitCode(), 0);
}

TEST_F(PosixPipe, ListeningSocketOfAnotherProgram_IsNotTakenOver) {
    fs::create_directories(runtime() + "/kel/pipes");
    const int foreign = boundSocket(socketPath(), true);
    ASSERT_GE(foreign, 0);
    struct stat before {};
    ::lstat(socketPath().c_str(), &before);
    kelSetLastError(0);
    EXPECT_EQ(pipe.create(), 0);
    EXPECT_EQ(kelGetLastError(), kErrorPipeBusy);
    struct stat after {};
    ASSERT_EQ(::lstat(socketPath().c_str(), &after), 0);
    EXPECT_EQ(after.st_ino, before.st_ino);
    ::close(foreign);
}

TEST_F(PosixPipe, OtherFileInTheWay_Fails183AndStays) {
    fs::create_directories(runtime() + "/kel/pipes");
    std::ofstream(socketPath()) << "not a socket";
    kelSetLastError(0);
    EXPECT_EQ(pipe.create(), 0);
    EXPECT_EQ(kelGetLastError(), kErrorAlreadyExists);
    std::ifstream in(socketPath());
    std::string content;
    std::getline(in, content);
    EXPECT_EQ(content, "not a socket");
}

TEST_F(PosixPipe, SecondCreateAfterClose_Succeeds) {
    ASSERT_EQ(pipe.create(), 1);
    pipe.close();
    KelNamedPipe again(kelName(name));
    EXPECT_EQ(again.create(), 1);
    again.close();
}

// ----- clients in other processes ---------------------------------------------

TEST_F(PosixPipe, ChildProcessClient_WritesValues) {
    ASSERT_EQ(pipe.create(), 1);
    Child client(writer(name, wireInt(-5) + wireString("from a child") + wireInt(1 << 30)));
    ASSERT_EQ(pipe.waitForConnection(), 1);
    int value = 0;
    KelString text;
    EXPECT_EQ(pipe.read(value), 1);
    EXPECT_EQ(value, -5);
    EXPECT_EQ(pipe.read(text), 1);
    EXPECT_EQ(text, KelString(L"from a child"));
    EXPECT_EQ(pipe.read(value), 1);
    EXPECT_EQ(value, 1 << 30);
    EXPECT_EQ(client.exitCode(), 0);
    EXPECT_EQ(pipe.read(value), 0);
}

TEST_F(PosixPipe, ChildProcessesOneAfterTheOther) {
    ASSERT_EQ(pipe.create(), 1);
    for (int i = 0; i < 3; ++i) {
        Child client(writer(name, wireInt(i)));
        ASSERT_EQ(pipe.waitForConnection(), 1);
        int value = -1;
        EXPECT_EQ(pipe.read(value), 1);
        EXPECT_EQ(value, i);
        EXPECT_EQ(client.exitCode(), 0);
        pipe.disconnect();
    }
}

// ----- SIGPIPE ------------------------------------------------------------------

volatile sig_atomic_t g_sigpipes = 0;

class NoSigpipe : public PosixPipe {
protected:
    void SetUp() override {
        struct sigaction counting {};
        counting.sa_handler = [](int) { g_sigpipes = g_sigpipes + 1; };
        sigemptyset(&counting.sa_mask);
        ASSERT_EQ(::sigaction(SIGPIPE, &counting, &m_previous), 0);
        g_sigpipes = 0;
    }
    void TearDown() override {
        PosixPipe::TearDown();
        ::sigaction(SIGPIPE, &m_previous, nullptr);
    }

private:
    struct sigaction m_previous {};
};

TEST_F(NoSigpipe, ServerThatDropsAWritingClient) {
    ASSERT_EQ(pipe.create(), 1);
    Child client([this](const std::function<void()>& ready) {
        ::signal(SIGPIPE, SIG_IGN);
        PipeTestClient c;
        if (!c.connect(name))
            return 1;
        ready();
        for (int i = 0; i < 100000; ++i)
            if (!c.write(std::string(4096, '\x01')))
                return 0;
        return 2;
    });
    ASSERT_EQ(pipe.waitForConnection(), 1);
    ASSERT_TRUE(client.waitReady());
    int value = 0;
    EXPECT_EQ(pipe.read(value), 1);
    EXPECT_EQ(value, 0x01010101);
    pipe.disconnect();
    EXPECT_EQ(client.exitCode(), 0);
    pipe.close();
    EXPECT_EQ(g_sigpipes, 0);
}

TEST_F(NoSigpipe, ServerReadingFromAClosedPeerAndClosing) {
    ASSERT_EQ(pipe.create(), 1);
    Child client(writer(name, wireInt(3)));
    ASSERT_EQ(pipe.waitForConnection(), 1);
    EXPECT_EQ(client.exitCode(), 0);
    int value = 0;
    EXPECT_EQ(pipe.read(value), 1);
    EXPECT_EQ(pipe.read(value), 0);
    EXPECT_EQ(pipe.read(value), 0);
    pipe.disconnect();
    pipe.close();
    EXPECT_EQ(g_sigpipes, 0);
}

TEST_F(NoSigpipe, ToolClientWritingToAServerThatLeft) {
    ASSERT_EQ(pipe.create(), 1);
    kel::detail::PipeClient client;
    ASSERT_TRUE(client.connect(name.c_str(), 5000));
    ASSERT_EQ(pipe.waitForConnection(), 1);
    ASSERT_TRUE(client.write("\x07\0\0\0", 4));
    int value = 0;
    EXPECT_EQ(pipe.read(value), 1);
    EXPECT_EQ(value, 7);
    pipe.disconnect();
    bool failed = false;
    for (int i = 0; i < 100 && !failed; ++i)
        failed = !client.write("\x07\0\0\0", 4);
    EXPECT_TRUE(failed);
    EXPECT_EQ(kelGetLastError(), kErrorNoData);
    EXPECT_EQ(g_sigpipes, 0);
}

TEST_F(NoSigpipe, ToolClientWithoutAServer) {
    kel::detail::PipeClient client;
    kelSetLastError(0);
    EXPECT_FALSE(client.connect(name.c_str(), 50));
    EXPECT_EQ(kelGetLastError(), kErrorFileNotFound);
    EXPECT_FALSE(client.write("x", 1));
    EXPECT_FALSE(client.connect(L"no prefix", 50));
    EXPECT_EQ(kelGetLastError(), kErrorInvalidName);
    EXPECT_EQ(g_sigpipes, 0);
}

}  // namespace
