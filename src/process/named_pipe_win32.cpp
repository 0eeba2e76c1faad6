// Named pipes on Windows: the system's own, one HANDLE per endpoint.

#include <windows.h>

#include <chrono>

#include "platform/last_error.h"
#include "process/named_pipe.h"

namespace kel::detail {

namespace {

constexpr DWORD kPipeBufferSize = 4096;

HANDLE handleOf(PipeHandle pipe) {
    return static_cast<HANDLE>(pipe);
}

// INVALID_HANDLE_VALUE is also the pseudo-handle of the current process:
// it never reaches the system as a pipe.
bool isPipe(PipeHandle pipe) {
    if (pipe != kInvalidPipeHandle)
        return true;
    ::SetLastError(ERROR_INVALID_HANDLE);
    return false;
}

}  // namespace

PipeHandle createPipeEndpoint(const wchar_t* name) {
    return ::CreateNamedPipeW(
        name, PIPE_ACCESS_DUPLEX, PIPE_TYPE_BYTE | PIPE_READMODE_BYTE | PIPE_WAIT,
        PIPE_UNLIMITED_INSTANCES, kPipeBufferSize, kPipeBufferSize, 0, nullptr);
}

bool connectPipeClient(PipeHandle pipe) {
    return isPipe(pipe) && ::ConnectNamedPipe(handleOf(pipe), nullptr) != FALSE;
}

bool disconnectPipeClient(PipeHandle pipe) {
    return isPipe(pipe) && ::DisconnectNamedPipe(handleOf(pipe)) != FALSE;
}

bool closePipeEndpoint(PipeHandle pipe) {
    return isPipe(pipe) && ::CloseHandle(handleOf(pipe)) != FALSE;
}

bool readPipe(PipeHandle pipe, void* into, uint32_t size, uint32_t& got) {
    got = 0;
    if (!isPipe(pipe))
        return false;
    DWORD read = 0;
    const BOOL ok = ::ReadFile(handleOf(pipe), into, size, &read, nullptr);
    got = read;
    return ok != FALSE;
}

// ----- the client side -------------------------------------------------------

PipeClient::~PipeClient() {
    close();
}

bool PipeClient::connect(const wchar_t* name, unsigned int timeoutMs) {
    close();
    const auto start = std::chrono::steady_clock::now();
    for (;;) {
        const HANDLE pipe =
            ::CreateFileW(name, GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
        if (pipe != INVALID_HANDLE_VALUE) {
            m_handle = reinterpret_cast<std::intptr_t>(pipe);
            return true;
        }
        const DWORD error = ::GetLastError();
        const auto elapsed =
            static_cast<unsigned long long>(std::chrono::duration_cast<std::chrono::milliseconds>(
                                                std::chrono::steady_clock::now() - start)
                                                .count());
        if ((error != ERROR_FILE_NOT_FOUND && error != ERROR_PIPE_BUSY) || elapsed >= timeoutMs) {
            ::SetLastError(error);
            return false;
        }
        // Busy: every instance has its client; not found: no server yet.
        if (error == ERROR_PIPE_BUSY)
            ::WaitNamedPipeW(name, static_cast<DWORD>(timeoutMs - elapsed));
        else
            ::Sleep(10);
    }
}

bool PipeClient::write(const void* bytes, size_t size) {
    if (m_handle == -1) {
        ::SetLastError(ERROR_INVALID_HANDLE);
        return false;
    }
    const char* next = static_cast<const char*>(bytes);
    while (size > 0) {
        const DWORD chunk = size > 65536 ? 65536 : static_cast<DWORD>(size);
        DWORD written = 0;
        if (!::WriteFile(reinterpret_cast<HANDLE>(m_handle), next, chunk, &written, nullptr))
            return false;
        next += written;
        size -= written;
    }
    return true;
}

void PipeClient::close() {
    if (m_handle != -1)
        ::CloseHandle(reinterpret_cast<HANDLE>(m_handle));
    m_handle = -1;
}

}  // namespace kel::detail
