#include "pipe_test_client.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>

#if defined(_WIN32)
#include <windows.h>
#else
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#endif

namespace kel::test {

std::string wireInt(int32_t value) {
    const uint32_t bits = static_cast<uint32_t>(value);
    std::string bytes(4, '\0');
    for (int i = 0; i < 4; ++i)
        bytes[i] = static_cast<char>((bits >> (8 * i)) & 0xFF);
    return bytes;
}

std::string wireString(const std::string& text) {
    return wireInt(static_cast<int32_t>(text.size())) + text;
}

std::wstring uniquePipeName(const char* tag) {
    static std::atomic<int> counter{0};
#if defined(_WIN32)
    const unsigned long process = ::GetCurrentProcessId();
#else
    const unsigned long process = static_cast<unsigned long>(::getpid());
#endif
    const std::string name = std::string("kel-test-") + tag + "-" + std::to_string(process) + "-" +
                             std::to_string(++counter);
    return L"\\\\.\\pipe\\" + std::wstring(name.begin(), name.end());
}

std::string pipeBaseName(const std::wstring& name) {
    const std::wstring base = name.substr(9);
    return std::string(base.begin(), base.end());
}

#if defined(_WIN32)

PipeTestClient::~PipeTestClient() {
    close();
}

bool PipeTestClient::connect(const std::wstring& name, int timeoutMs) {
    close();
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    for (;;) {
        const HANDLE pipe =
            ::CreateFileW(name.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
        if (pipe != INVALID_HANDLE_VALUE) {
            m_handle = reinterpret_cast<std::intptr_t>(pipe);
            return true;
        }
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        ::Sleep(5);
    }
}

bool PipeTestClient::write(const std::string& bytes) {
    size_t done = 0;
    while (done < bytes.size()) {
        const DWORD chunk = static_cast<DWORD>(std::min<size_t>(bytes.size() - done, 65536));
        DWORD written = 0;
        if (!::WriteFile(reinterpret_cast<HANDLE>(m_handle), bytes.data() + done, chunk, &written,
                         nullptr))
            return false;
        done += written;
    }
    return true;
}

void PipeTestClient::close() {
    if (m_handle != -1)
        ::CloseHandle(reinterpret_cast<HANDLE>(m_handle));
    m_handle = -1;
}

#else

std::string expectedSocketPath(const std::string& base) {
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    if (runtime != nullptr && runtime[0] == '/')
        return std::string(runtime) + "/kel/pipes/" + base;
    return "/tmp/kel-" + std::to_string(::geteuid()) + "/pipes/" + base;
}

PipeTestClient::~PipeTestClient() {
    close();
}

bool PipeTestClient::connect(const std::wstring& name, int timeoutMs) {
    close();
    const std::string path = expectedSocketPath(pipeBaseName(name));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path)
        return false;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    for (;;) {
        const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (fd < 0)
            return false;
        if (::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
            m_handle = fd;
            return true;
        }
        ::close(fd);
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        ::usleep(5000);
    }
}

bool PipeTestClient::write(const std::string& bytes) {
    size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t n = ::send(static_cast<int>(m_handle), bytes.data() + done,
                                 bytes.size() - done, MSG_NOSIGNAL);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        done += static_cast<size_t>(n);
    }
    return true;
}

void PipeTestClient::close() {
    if (m_handle != -1)
        ::close(static_cast<int>(m_handle));
    m_handle = -1;
}

#endif

bool PipeTestClient::connected() const {
    return m_handle != -1;
}

void Signal::raise() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_raised = true;
    m_changed.notify_all();
}

bool Signal::wait(int timeoutMs) {
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                              [this] { return m_raised; });
}

ClientThread::ClientThread(const std::wstring& name, std::function<void(PipeTestClient&)> body)
    : m_thread([this, name, body = std::move(body)] {
          PipeTestClient client;
          m_connected = client.connect(name);
          if (m_connected)
              body(client);
          m_released.wait();
          client.close();
      }) {}

ClientThread::~ClientThread() {
    join();
}

void ClientThread::release() {
    m_released.raise();
}

void ClientThread::join() {
    release();
    if (m_thread.joinable())
        m_thread.join();
}

}  // namespace kel::test
