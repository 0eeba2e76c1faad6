// Named pipes as Unix-domain stream sockets.
//
// The pipe "\\.\pipe\NAME" is the socket NAME in the pipe directory,
// "$XDG_RUNTIME_DIR/kel/pipes" or, without XDG_RUNTIME_DIR,
// "/tmp/kel-<uid>/pipes"; both directories are private to the user (0700),
// and the one under /tmp must be the user's own. The directory is looked up
// at each create, so a change of XDG_RUNTIME_DIR takes effect at once.
//
// While an endpoint is open its process holds an exclusive lock on the file
// NAME in the sibling directory "pipe-locks". That is how create tells a live
// pipe (locked: not taken over) from a socket file left behind by a process
// that is gone (not locked: replaced), without connecting to a live server,
// which would hand it a client that is not one. A socket file without a lock
// that still accepts connections belongs to some other program and is left
// alone too.
//
// The server only ever reads (recv with MSG_NOSIGNAL) and closes, so no
// SIGPIPE can come from it; the client side writes with MSG_NOSIGNAL.
//
// Handles are numbers in a table of endpoints. An operation takes a
// reference to its endpoint (and connection) and works on the socket outside
// the table's lock; sockets are closed only when the last reference goes,
// so a thread blocked in accept or recv never sees its descriptor reused.
// close and disconnect shut the sockets down, which wakes such a thread.

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_map>

#include "platform/last_error.h"
#include "platform/utf.h"
#include "process/named_pipe.h"

namespace kel::detail {

namespace {

constexpr std::wstring_view kPipePrefix = L"\\\\.\\pipe\\";
constexpr int kBacklog = 255;
constexpr unsigned long kErrorTooManyOpenFiles = 4;
constexpr unsigned long kErrorDiskFull = 112;
constexpr unsigned long kErrorGenFailure = 31;

unsigned long errorFromErrno(int error) {
    switch (error) {
        case ENOENT:
            return kErrorFileNotFound;
        case ENOTDIR:
        case ELOOP:
            return kErrorPathNotFound;
        case EACCES:
        case EPERM:
        case EROFS:
            return kErrorAccessDenied;
        case EBADF:
        case ENOTSOCK:
            return kErrorInvalidHandle;
        case ENOMEM:
        case ENOBUFS:
            return kErrorNotEnoughMemory;
        case EMFILE:
        case ENFILE:
            return kErrorTooManyOpenFiles;
        case ENAMETOOLONG:
            return kErrorFilenameTooLong;
        case ENOSPC:
            return kErrorDiskFull;
        case EADDRINUSE:
            return kErrorPipeBusy;
        case EPIPE:
        case ECONNRESET:
            return kErrorBrokenPipe;
        default:
            return kErrorGenFailure;
    }
}

bool failWith(unsigned long code) {
    setLastError(code);
    return false;
}

bool failFromErrno() {
    return failWith(errorFromErrno(errno));
}

int noDescriptor() {
    failFromErrno();
    return -1;
}

class Descriptor {
public:
    explicit Descriptor(int fd = -1) : m_fd(fd) {}
    ~Descriptor() { reset(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int get() const { return m_fd; }
    int release() {
        const int fd = m_fd;
        m_fd = -1;
        return fd;
    }
    void reset(int fd = -1) {
        if (m_fd >= 0)
            ::close(m_fd);
        m_fd = fd;
    }

private:
    int m_fd;
};

// ----- names and directories ---------------------------------------------

bool equalsIgnoringAsciiCase(std::wstring_view a, std::wstring_view b) {
    if (a.size() != b.size())
        return false;
    for (size_t i = 0; i < a.size(); ++i) {
        const auto fold = [](wchar_t c) { return c >= L'A' && c <= L'Z' ? c - L'A' + L'a' : c; };
        if (fold(a[i]) != fold(b[i]))
            return false;
    }
    return true;
}

// NAME of "\\.\pipe\NAME" as a file name, or false (last error 123).
bool socketFileName(std::wstring_view name, std::string& file) {
    if (name.size() <= kPipePrefix.size() ||
        !equalsIgnoringAsciiCase(name.substr(0, kPipePrefix.size()), kPipePrefix))
        return failWith(kErrorInvalidName);
    const std::wstring_view rest = name.substr(kPipePrefix.size());
    if (rest == L"." || rest == L".." || rest.find_first_of(L"/\\") != std::wstring_view::npos)
        return failWith(kErrorInvalidName);
    file = wideToUtf8(rest);
    return true;
}

struct PipeFolders {
    std::string base;     // $XDG_RUNTIME_DIR/kel or /tmp/kel-<uid>
    std::string runtime;  // $XDG_RUNTIME_DIR, when it is used
};

PipeFolders pipeFolders() {
    PipeFolders folders;
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    // A relative XDG_RUNTIME_DIR is ignored, as the base-directory rules say.
    if (runtime != nullptr && runtime[0] == '/') {
        folders.runtime = runtime;
        while (folders.runtime.size() > 1 && folders.runtime.back() == '/')
            folders.runtime.pop_back();
        folders.base = folders.runtime + "/kel";
    } else {
        folders.base = "/tmp/kel-" + std::to_string(::geteuid());
    }
    return folders;
}

// Creates `path` (its parent exists) or accepts it as it is when it is a
// real directory of this user, and makes it private (0700).
bool privateDirectory(const std::string& path) {
    if (::mkdir(path.c_str(), 0700) != 0 && errno != EEXIST)
        return failFromErrno();
    struct stat info {};
    if (::lstat(path.c_str(), &info) != 0)
        return failFromErrno();
    // A symbolic link or somebody else's directory (in /tmp anyone may have
    // made it first) would let another user near the sockets.
    if (!S_ISDIR(info.st_mode) || info.st_uid != ::geteuid())
        return failWith(kErrorAccessDenied);
    if ((info.st_mode & 07777) != 0700 && ::chmod(path.c_str(), 0700) != 0)
        return failFromErrno();
    return true;
}

bool pipeDirectories(const PipeFolders& folders) {
    if (!folders.runtime.empty() && ::mkdir(folders.runtime.c_str(), 0700) != 0 && errno != EEXIST)
        return failFromErrno();
    return privateDirectory(folders.base) && privateDirectory(folders.base + "/pipes") &&
           privateDirectory(folders.base + "/pipe-locks");
}

bool fitsSocketAddress(const std::string& path) {
    return path.size() < sizeof(sockaddr_un{}.sun_path);
}

sockaddr_un socketAddress(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

int newSocket() {
    return ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
}

// Connects `fd` to the socket file `path`; false with errno set.
bool connectTo(int fd, const std::string& path) {
    const sockaddr_un address = socketAddress(path);
    int rc;
    do {
        rc = ::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    } while (rc != 0 && errno == EINTR);
    return rc == 0;
}

// The exclusive lock of an open endpoint; -1 with last error 231 when
// another endpoint holds it.
int lockEndpoint(const std::string& path) {
    for (int attempt = 0; attempt < 16; ++attempt) {
        Descriptor fd(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
        if (fd.get() < 0) {
            failFromErrno();
            return -1;
        }
        if (::flock(fd.get(), LOCK_EX | LOCK_NB) != 0) {
            failWith(errno == EWOULDBLOCK ? kErrorPipeBusy : errorFromErrno(errno));
            return -1;
        }
        // The previous owner removes the file as it closes; a lock on a file
        // that is no longer at the path guards nothing.
        struct stat locked {};
        struct stat current {};
        if (::fstat(fd.get(), &locked) == 0 && ::stat(path.c_str(), &current) == 0 &&
            locked.st_dev == current.st_dev && locked.st_ino == current.st_ino)
            return fd.release();
    }
    failWith(kErrorPipeBusy);
    return -1;
}

// Makes room for a new socket at `path`: nothing there, or a socket file
// that nobody accepts on any more (removed). A socket that still accepts is
// another program's (231); any other kind of file stays (183).
bool clearStaleSocket(const std::string& path) {
    struct stat info {};
    if (::lstat(path.c_str(), &info) != 0)
        return errno == ENOENT ? true : failFromErrno();
    if (!S_ISSOCK(info.st_mode))
        return failWith(kErrorAlreadyExists);
    Descriptor probe(newSocket());
    if (probe.get() < 0)
        return failFromErrno();
    if (connectTo(probe.get(), path))
        return failWith(kErrorPipeBusy);
    if (errno != ECONNREFUSED && errno != ENOENT)
        return failFromErrno();
    if (::unlink(path.c_str()) != 0 && errno != ENOENT)
        return failFromErrno();
    return true;
}

// ----- endpoints -----------------------------------------------------------

struct Connection {
    explicit Connection(int fd_) : fd(fd_) {}
    ~Connection() { ::close(fd); }
    const int fd;
};

struct Endpoint {
    ~Endpoint() {
        ::close(listenFd);
        ::close(lockFd);
    }

    int listenFd = -1;
    int lockFd = -1;
    std::string socketPath;
    std::string lockPath;
    dev_t socketDevice = 0;
    ino_t socketInode = 0;

    std::mutex mutex;  // guards the fields below
    std::shared_ptr<Connection> client;
    bool everConnected = false;
    bool closed = false;
};

struct EndpointTable {
    std::mutex mutex;
    std::unordered_map<std::uintptr_t, std::shared_ptr<Endpoint>> endpoints;
    std::uintptr_t next = 1;
};

EndpointTable& table() {
    // Never destroyed: pipes may still be closed from static destructors.
    static EndpointTable* endpoints = new EndpointTable;
    return *endpoints;
}

PipeHandle addEndpoint(std::shared_ptr<Endpoint> endpoint) {
    EndpointTable& t = table();
    std::lock_guard<std::mutex> lock(t.mutex);
    const std::uintptr_t id = t.next++;
    t.endpoints.emplace(id, std::move(endpoint));
    return reinterpret_cast<PipeHandle>(id);
}

// The endpoint of `pipe`, or null with last error 6.
std::shared_ptr<Endpoint> findEndpoint(PipeHandle pipe) {
    EndpointTable& t = table();
    std::lock_guard<std::mutex> lock(t.mutex);
    const auto found = t.endpoints.find(reinterpret_cast<std::uintptr_t>(pipe));
    if (found == t.endpoints.end()) {
        setLastError(kErrorInvalidHandle);
        return nullptr;
    }
    return found->second;
}

std::shared_ptr<Endpoint> takeEndpoint(PipeHandle pipe) {
    EndpointTable& t = table();
    std::lock_guard<std::mutex> lock(t.mutex);
    const auto found = t.endpoints.find(reinterpret_cast<std::uintptr_t>(pipe));
    if (found == t.endpoints.end()) {
        setLastError(kErrorInvalidHandle);
        return nullptr;
    }
    std::shared_ptr<Endpoint> endpoint = std::move(found->second);
    t.endpoints.erase(found);
    return endpoint;
}

// Removes `path` if it is still the file `device`/`inode`.
void removeIfSame(const std::string& path, dev_t device, ino_t inode) {
    struct stat info {};
    if (::lstat(path.c_str(), &info) == 0 && info.st_dev == device && info.st_ino == inode)
        ::unlink(path.c_str());
}

void dropLock(int fd, const std::string& path) {
    // Removed while still locked, so that nobody locks the file in between
    // and then finds it gone (lockEndpoint checks for that).
    struct stat info {};
    if (::fstat(fd, &info) == 0)
        removeIfSame(path, info.st_dev, info.st_ino);
    ::close(fd);
}

// The socket file of the pipe `name` and the file its lock is taken on;
// false with last error 123 or 206.
bool pipePaths(const wchar_t* name, const PipeFolders& folders, std::string& socketPath,
               std::string& lockPath) {
    std::string file;
    if (!socketFileName(name != nullptr ? name : L"", file))
        return false;
    socketPath = folders.base + "/pipes/" + file;
    lockPath = folders.base + "/pipe-locks/" + file;
    return fitsSocketAddress(socketPath) || failWith(kErrorFilenameTooLong);
}

// Binds and listens on a new socket at `path`, private to the user; -1 with
// the last error set (and no file left behind).
int listenAt(const std::string& path, struct stat& info) {
    Descriptor listener(newSocket());
    if (listener.get() < 0)
        return noDescriptor();
    const sockaddr_un address = socketAddress(path);
    if (::bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        return noDescriptor();
    if (::chmod(path.c_str(), 0700) != 0 || ::lstat(path.c_str(), &info) != 0 ||
        ::listen(listener.get(), kBacklog) != 0) {
        failFromErrno();
        ::unlink(path.c_str());
        return -1;
    }
#ifdef SO_NOSIGPIPE
    const int on = 1;
    ::setsockopt(listener.get(), SOL_SOCKET, SO_NOSIGPIPE, &on, sizeof on);
#endif
    return listener.release();
}

}  // namespace

PipeHandle createPipeEndpoint(const wchar_t* name) {
    const PipeFolders folders = pipeFolders();
    auto endpoint = std::make_shared<Endpoint>();
    if (!pipePaths(name, folders, endpoint->socketPath, endpoint->lockPath) ||
        !pipeDirectories(folders))
        return kInvalidPipeHandle;
    const int lockFd = lockEndpoint(endpoint->lockPath);
    if (lockFd < 0)
        return kInvalidPipeHandle;
    struct stat info {};
    const int listenFd =
        clearStaleSocket(endpoint->socketPath) ? listenAt(endpoint->socketPath, info) : -1;
    if (listenFd < 0) {
        const unsigned long error = lastError();
        dropLock(lockFd, endpoint->lockPath);
        setLastError(error);
        return kInvalidPipeHandle;
    }
    endpoint->listenFd = listenFd;
    endpoint->lockFd = lockFd;
    endpoint->socketDevice = info.st_dev;
    endpoint->socketInode = info.st_ino;
    return addEndpoint(std::move(endpoint));
}

bool connectPipeClient(PipeHandle pipe) {
    const std::shared_ptr<Endpoint> endpoint = findEndpoint(pipe);
    if (!endpoint)
        return false;
    {
        std::lock_guard<std::mutex> lock(endpoint->mutex);
        if (endpoint->client)
            return failWith(kErrorPipeConnected);
    }
    // A client already waiting in the backlog came before this call.
    pollfd waiting = {endpoint->listenFd, POLLIN, 0};
    const bool cameFirst = ::poll(&waiting, 1, 0) == 1 && (waiting.revents & POLLIN) != 0;
    int fd;
    do {
        fd = ::accept4(endpoint->listenFd, nullptr, nullptr, SOCK_CLOEXEC);
    } while (fd < 0 && (errno == EINTR || errno == ECONNABORTED));
    if (fd < 0) {
        const int error = errno;
        std::lock_guard<std::mutex> lock(endpoint->mutex);
        return failWith(endpoint->closed ? kErrorInvalidHandle : errorFromErrno(error));
    }
#ifdef SO_NOSIGPIPE
    const int on = 1;
    ::setsockopt(fd, SOL_SOCKET, SO_NOSIGPIPE, &on, sizeof on);
#endif
    auto client = std::make_shared<Connection>(fd);
    std::lock_guard<std::mutex> lock(endpoint->mutex);
    if (endpoint->closed)
        return failWith(kErrorInvalidHandle);
    if (endpoint->client)
        return failWith(kErrorPipeConnected);  // another thread was quicker
    endpoint->client = std::move(client);
    endpoint->everConnected = true;
    return cameFirst ? failWith(kErrorPipeConnected) : true;
}

bool disconnectPipeClient(PipeHandle pipe) {
    const std::shared_ptr<Endpoint> endpoint = findEndpoint(pipe);
    if (!endpoint)
        return false;
    std::shared_ptr<Connection> client;
    {
        std::lock_guard<std::mutex> lock(endpoint->mutex);
        client = std::move(endpoint->client);
    }
    if (client)
        ::shutdown(client->fd, SHUT_RDWR);
    return true;
}

bool closePipeEndpoint(PipeHandle pipe) {
    const std::shared_ptr<Endpoint> endpoint = takeEndpoint(pipe);
    if (!endpoint)
        return false;
    std::shared_ptr<Connection> client;
    {
        std::lock_guard<std::mutex> lock(endpoint->mutex);
        endpoint->closed = true;
        client = std::move(endpoint->client);
    }
    if (client)
        ::shutdown(client->fd, SHUT_RDWR);
    ::shutdown(endpoint->listenFd, SHUT_RDWR);
    removeIfSame(endpoint->socketPath, endpoint->socketDevice, endpoint->socketInode);
    dropLock(endpoint->lockFd, endpoint->lockPath);
    endpoint->lockFd = -1;
    return true;
}

bool readPipe(PipeHandle pipe, void* into, uint32_t size, uint32_t& got) {
    got = 0;
    const std::shared_ptr<Endpoint> endpoint = findEndpoint(pipe);
    if (!endpoint)
        return false;
    std::shared_ptr<Connection> client;
    {
        std::lock_guard<std::mutex> lock(endpoint->mutex);
        client = endpoint->client;
        if (!client)
            return failWith(endpoint->everConnected ? kErrorPipeNotConnected : kErrorPipeListening);
    }
    if (size == 0)
        return true;
    ssize_t n;
    do {
        n = ::recv(client->fd, into, size, MSG_NOSIGNAL);
    } while (n < 0 && errno == EINTR);
    if (n > 0) {
        got = static_cast<uint32_t>(n);
        return true;
    }
    return failWith(n == 0 ? kErrorBrokenPipe : errorFromErrno(errno));
}

// ----- the client side -------------------------------------------------------

PipeClient::~PipeClient() {
    close();
}

bool PipeClient::connect(const wchar_t* name, unsigned int timeoutMs) {
    close();
    std::string path, lockPath;
    if (!pipePaths(name, pipeFolders(), path, lockPath))
        return false;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    for (;;) {
        Descriptor fd(newSocket());
        if (fd.get() < 0)
            return failFromErrno();
        if (connectTo(fd.get(), path)) {
#ifdef SO_NOSIGPIPE
            const int on = 1;
            ::setsockopt(fd.get(), SOL_SOCKET, SO_NOSIGPIPE, &on, sizeof on);
#endif
            m_handle = fd.release();
            return true;
        }
        // Not there yet, or between two servers: wait for it.
        const int error = errno;
        if ((error != ENOENT && error != ECONNREFUSED) ||
            std::chrono::steady_clock::now() >= deadline)
            return failWith(error == ENOENT || error == ECONNREFUSED ? kErrorFileNotFound
                                                                     : errorFromErrno(error));
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

bool PipeClient::write(const void* bytes, size_t size) {
    if (m_handle < 0)
        return failWith(kErrorInvalidHandle);
    const char* next = static_cast<const char*>(bytes);
    while (size > 0) {
        const ssize_t n = ::send(static_cast<int>(m_handle), next, size, MSG_NOSIGNAL);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return failWith(errno == EPIPE || errno == ECONNRESET ? kErrorNoData
                                                                  : errorFromErrno(errno));
        next += n;
        size -= static_cast<size_t>(n);
    }
    return true;
}

void PipeClient::close() {
    if (m_handle >= 0)
        ::close(static_cast<int>(m_handle));
    m_handle = -1;
}

}  // namespace kel::detail
