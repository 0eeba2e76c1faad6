// Clients for the named-pipe tests: a real peer that connects to the pipe
// the test created and writes bytes in the wire format, written here
// without the library (a Unix socket at the path the tests expect, or the
// Windows pipe opened with CreateFileW).
//
//   const std::wstring name = kel::test::uniquePipeName("ints");
//   KelNamedPipe pipe(name.c_str());
//   pipe.create();
//   kel::test::ClientThread client(name, [](kel::test::PipeTestClient& c) {
//       c.write(kel::test::wireInt(5));
//   });
//   pipe.waitForConnection();

#ifndef KEL_TESTS_PROCESS_PIPE_TEST_CLIENT_H
#define KEL_TESTS_PROCESS_PIPE_TEST_CLIENT_H

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace kel::test {

// An integer in the wire format: 4 bytes, little-endian.
std::string wireInt(int32_t value);

// A string in the wire format: its byte count, then the bytes.
std::string wireString(const std::string& text);

// "\\.\pipe\kel-test-<tag>-<process id>-<n>": unique in the process and
// among processes, since Windows has one pipe namespace for everybody.
std::wstring uniquePipeName(const char* tag);

// The part of a pipe name after "\\.\pipe\", as narrow text.
std::string pipeBaseName(const std::wstring& name);

#if !defined(_WIN32)
// Where the tests expect the socket of pipe `base`: in
// $XDG_RUNTIME_DIR/kel/pipes, or /tmp/kel-<uid>/pipes without it.
std::string expectedSocketPath(const std::string& base);
#endif

// One connection to a pipe, as a peer process makes it.
class PipeTestClient {
public:
    PipeTestClient() = default;
    ~PipeTestClient();
    PipeTestClient(const PipeTestClient&) = delete;
    PipeTestClient& operator=(const PipeTestClient&) = delete;

    // Connects, retrying until the pipe exists and is free or `timeoutMs`
    // has passed.
    bool connect(const std::wstring& name, int timeoutMs = 20000);
    // Writes every byte; false once the server is gone. Never raises
    // SIGPIPE.
    bool write(const std::string& bytes);
    void close();
    bool connected() const;

private:
    std::intptr_t m_handle = -1;
};

// A flag one thread raises and another waits for.
class Signal {
public:
    void raise();
    // Waits until raised; false when `timeoutMs` passed first.
    bool wait(int timeoutMs = 20000);

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_raised = false;
};

// A client in a thread of its own: connects to `name`, runs `body` with the
// connection, and keeps it until released, then closes it. (A Windows
// server's wait fails when its client came and already went.) join and the
// destructor release the client and wait for the thread. After join,
// `connected` reports whether the connection was made.
class ClientThread {
public:
    ClientThread(const std::wstring& name, std::function<void(PipeTestClient&)> body);
    ~ClientThread();
    ClientThread(const ClientThread&) = delete;
    ClientThread& operator=(const ClientThread&) = delete;

    // Lets the client close its end once `body` is done.
    void release();
    void join();
    bool connected() const { return m_connected; }

private:
    bool m_connected = false;
    Signal m_released;
    std::thread m_thread;
};

}  // namespace kel::test

#endif  // KEL_TESTS_PROCESS_PIPE_TEST_CLIENT_H
