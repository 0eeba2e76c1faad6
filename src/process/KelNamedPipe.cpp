// The named-pipe server: the receive buffer and the decoding of the wire
// format. The pipe itself is the system's (process/named_pipe.h).

#include <kel/KelNamedPipe.h>

#include <cstring>

#include "platform/last_error.h"
#include "process/named_pipe.h"

namespace {

constexpr uint32_t kIntegerSize = 4;
// The one read made for a value brought only part of it.
constexpr unsigned long kErrorPartialCopy = 299;
constexpr unsigned long kErrorInvalidData = 13;

#if defined(__GNUC__)
#define KEL_PIPE_NOINLINE __attribute__((noinline))
#else
#define KEL_PIPE_NOINLINE
#endif

}  // namespace

KelNamedPipe::KelNamedPipe(const KelString& name)
    : m_handle(kel::detail::kInvalidPipeHandle),
      m_buffer{},
      m_consumed(0),
      m_cursor(nullptr),
      m_valid(0) {
    reset();
    m_name = name;
}

KelNamedPipe::KelNamedPipe(const KelNamedPipe& other)
    : m_name(other.m_name),
      m_handle(other.m_handle),
      m_consumed(other.m_consumed),
      m_cursor(nullptr),
      m_valid(other.m_valid) {
    std::memcpy(m_buffer, other.m_buffer, sizeof m_buffer);
    // The same read position, in this object's own buffer: a copied pointer
    // would point into the other object and dangle once it is gone.
    if (other.m_cursor != nullptr)
        m_cursor = m_buffer + (other.m_cursor - other.m_buffer);
}

KelNamedPipe& KelNamedPipe::operator=(const KelNamedPipe& other) {
    if (this == &other)
        return *this;
    m_name = other.m_name;
    m_handle = other.m_handle;
    std::memcpy(m_buffer, other.m_buffer, sizeof m_buffer);
    m_consumed = other.m_consumed;
    m_valid = other.m_valid;
    m_cursor = other.m_cursor != nullptr ? m_buffer + (other.m_cursor - other.m_buffer) : nullptr;
    return *this;
}

// Deliberately leaves the pipe open: copies share it, and a host that wants
// it closed calls close.
KelNamedPipe::~KelNamedPipe() = default;

int KelNamedPipe::create() {
    m_handle = kel::detail::createPipeEndpoint(m_name.getStringW());
    return isOpened();
}

int KelNamedPipe::waitForConnection() {
    if (kel::detail::connectPipeClient(m_handle))
        return 1;
    // A client that connected between create and this call counts.
    return kel::detail::lastError() == kel::detail::kErrorPipeConnected ? 1 : 0;
}

void KelNamedPipe::disconnect() {
    kel::detail::disconnectPipeClient(m_handle);
    // The dropped client's unread bytes go with it, so that they are never
    // taken for the next client's values.
    m_consumed = 0;
    m_cursor = nullptr;
    m_valid = 0;
}

void KelNamedPipe::close() {
    if (isOpened())
        kel::detail::closePipeEndpoint(m_handle);
    reset();
}

int KelNamedPipe::isOpened() {
    return m_handle != kel::detail::kInvalidPipeHandle ? 1 : 0;
}

int KelNamedPipe::read(KelString& text) {
    if (!buffered(kIntegerSize) && !fetch(kIntegerSize))
        return 0;
    const int32_t length = littleEndian32(m_cursor);
    // Nothing is consumed until the whole string is here, so a failed read
    // never leaves the stream in the middle of a value.
    if (length < 0 || length > kMaxStringLength) {
        kel::detail::setLastError(kErrorInvalidData);
        return 0;
    }
    const uint32_t size = kIntegerSize + static_cast<uint32_t>(length);
    if (!buffered(size) && !fetch(size))
        return 0;
    if (length > 0) {
        char narrow[kMaxStringLength + 1];
        std::memcpy(narrow, m_cursor + kIntegerSize, static_cast<size_t>(length));
        narrow[length] = '\0';
        text = narrow;
    }
    advance(size);
    return 1;
}

int KelNamedPipe::readData(int offset) {
    if (offset < 0 || offset > kBufferSize) {
        kel::detail::setLastError(kel::detail::kErrorInvalidParameter);
        return 0;
    }
    uint32_t got = 0;
    const bool ok = kel::detail::readPipe(m_handle, m_buffer + offset,
                                          static_cast<uint32_t>(kBufferSize - offset), got);
    m_valid = got + static_cast<uint32_t>(offset);
    return ok || kel::detail::lastError() == kel::detail::kErrorMoreData ? 1 : 0;
}

int KelNamedPipe::readMoreDataIfNeccessary(int size) {
    if (buffered(size > 0 ? static_cast<uint32_t>(size) : 0))
        return 1;
    const uint32_t remaining = m_consumed < m_valid ? m_valid - m_consumed : 0;
    if (remaining > 0)
        std::memmove(m_buffer, m_buffer + m_consumed, remaining);
    // Deliberate: one read only, even when it brings fewer bytes than
    // `size`. A read that waited for the rest could block on a client that
    // has nothing more to send; the callers check what actually arrived.
    const int ok = readData(static_cast<int>(remaining));
    m_consumed = 0;
    m_cursor = m_buffer;
    return ok && m_valid > 0 ? 1 : 0;
}

void KelNamedPipe::reset() {
    m_handle = kel::detail::kInvalidPipeHandle;
    m_name.empty();
    m_consumed = 0;
    m_cursor = nullptr;
    m_valid = 0;
}

// Out of line, so that the reads' common path stays a leaf.
KEL_PIPE_NOINLINE bool KelNamedPipe::fetch(uint32_t count) {
    if (!readMoreDataIfNeccessary(static_cast<int>(count)))
        return false;
    if (buffered(count))
        return true;
    kel::detail::setLastError(kErrorPartialCopy);
    return false;
}

void KelNamedPipe::advance(uint32_t count) {
    m_cursor += count;
    m_consumed += count;
}

bool KelNamedPipe::buffered(uint32_t count) const {
    return m_cursor != nullptr && m_consumed <= m_valid && m_valid - m_consumed >= count;
}
