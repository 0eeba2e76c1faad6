// The system side of KelNamedPipe: a listening endpoint found by its name,
// one client at a time, blocking byte reads.
//
// On Windows (named_pipe_win32.cpp) an endpoint is the system's named pipe
// and the handle is its HANDLE. Elsewhere (named_pipe_posix.cpp) it is a
// Unix-domain stream socket in the pipe directory, and the handle is a
// number in a process-wide table: copies of a handle share the endpoint,
// and a handle that was closed is never given out again, so a stale copy
// fails with "invalid handle" instead of reaching another endpoint.
//
// Failures return false (or kInvalidPipeHandle) with the last error set to
// a Windows error code.
//
//   PipeHandle pipe = createPipeEndpoint(L"\\\\.\\pipe\\demo");
//   uint32_t got = 0;
//   if (pipe != kInvalidPipeHandle && connectPipeClient(pipe))
//       readPipe(pipe, buffer, sizeof buffer, got);
//   closePipeEndpoint(pipe);

#ifndef KEL_PROCESS_NAMED_PIPE_H
#define KEL_PROCESS_NAMED_PIPE_H

#include <cstdint>
#include <string>
#include <string_view>

namespace kel::detail {

using PipeHandle = void*;

// The "no pipe" value, INVALID_HANDLE_VALUE on every system.
inline PipeHandle const kInvalidPipeHandle = reinterpret_cast<PipeHandle>(~std::uintptr_t{0});

// Last errors of the pipe operations beyond those of platform/last_error.h.
constexpr unsigned long kErrorBrokenPipe = 109;
constexpr unsigned long kErrorInvalidName = 123;
constexpr unsigned long kErrorFilenameTooLong = 206;
constexpr unsigned long kErrorPipeBusy = 231;
constexpr unsigned long kErrorPipeListening = 536;

// Creates the listening endpoint `name` ("\\.\pipe\NAME").
PipeHandle createPipeEndpoint(const wchar_t* name);

// Blocks until a client is connected. A client that is connected already
// (it came before the call) gives false with last error 535.
bool connectPipeClient(PipeHandle pipe);

// Drops the connected client and what it sent that was not read.
bool disconnectPipeClient(PipeHandle pipe);

// Closes the endpoint; without Windows the socket file goes with it.
bool closePipeEndpoint(PipeHandle pipe);

// One blocking read of at most `size` bytes from the connected client.
// False with last error 109 (broken pipe) once the client has closed and
// everything it sent was read; `got` is the number of bytes read.
bool readPipe(PipeHandle pipe, void* into, uint32_t size, uint32_t& got);

// The client side, for the kel tool: connects to the pipe `name`, waiting
// up to `timeoutMs` milliseconds for it to exist and be free, and writes
// bytes to it. Writing to a pipe whose server went away fails with last
// error 232 (no data) and never raises a signal.
class PipeClient {
public:
    PipeClient() = default;
    ~PipeClient();
    PipeClient(const PipeClient&) = delete;
    PipeClient& operator=(const PipeClient&) = delete;

    bool connect(const wchar_t* name, unsigned int timeoutMs);
    bool write(const void* bytes, size_t size);
    void close();

private:
    std::intptr_t m_handle = -1;
};

}  // namespace kel::detail

#endif  // KEL_PROCESS_NAMED_PIPE_H
