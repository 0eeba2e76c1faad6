// The encoded runtime modes for a C library that has none.
//
// Every stream the library opens here is a stdio stream over a cookie of
// ours (fopencookie), so that the C library's own buffering, positioning and
// byte functions work on it, and so that closing it by any means releases
// what the library keeps about it. The cookie reads and writes the file's
// bytes unchanged; the encoding work happens in the functions below, which
// look the stream's state up by its FILE pointer. (The cookie itself never
// moves a position: the C library assumes a seek lands where it asked.)

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <mutex>
#include <unordered_map>

#include "files/text_stream.h"
#include "platform/code_page.h"
#include "platform/invalid_parameter.h"
#include "platform/path.h"
#include "platform/utf.h"

namespace kel::detail {

namespace {

enum class FileEncoding { Narrow, Utf8, Utf16Le };

struct StreamState {
    int fd = -1;
    std::FILE* file = nullptr;
    FileEncoding encoding = FileEncoding::Narrow;
    // Length of the byte-order mark the file starts with (0, 2 or 3).
    off64_t markLength = 0;
    // UTF-16LE bytes of a character that was delivered only in part.
    std::string pending;
};

std::mutex g_streamsMutex;
std::unordered_map<std::FILE*, StreamState*> g_streams;

StreamState* stateOf(std::FILE* stream) {
    if (stream == nullptr)
        return nullptr;
    std::lock_guard<std::mutex> lock(g_streamsMutex);
    const auto found = g_streams.find(stream);
    return found == g_streams.end() ? nullptr : found->second;
}

// ----- the cookie ----------------------------------------------------------------

ssize_t cookieRead(void* cookie, char* buffer, size_t size) {
    const int fd = static_cast<StreamState*>(cookie)->fd;
    for (;;) {
        const ssize_t n = ::read(fd, buffer, size);
        if (n >= 0 || errno != EINTR)
            return n;
    }
}

ssize_t cookieWrite(void* cookie, const char* buffer, size_t size) {
    const int fd = static_cast<StreamState*>(cookie)->fd;
    size_t written = 0;
    while (written < size) {
        const ssize_t n = ::write(fd, buffer + written, size - written);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            break;
        written += static_cast<size_t>(n);
    }
    return static_cast<ssize_t>(written);
}

int cookieSeek(void* cookie, off64_t* offset, int whence) {
    const off64_t result = ::lseek64(static_cast<StreamState*>(cookie)->fd, *offset, whence);
    if (result < 0)
        return -1;
    *offset = result;
    return 0;
}

int cookieClose(void* cookie) {
    StreamState* state = static_cast<StreamState*>(cookie);
    {
        std::lock_guard<std::mutex> lock(g_streamsMutex);
        g_streams.erase(state->file);
    }
    const int result = ::close(state->fd);
    delete state;
    return result;
}

// ----- opening ---------------------------------------------------------------------

int openFlags(const StreamMode& mode) {
    int flags = O_CLOEXEC;
    if (mode.update) {
        flags |= O_RDWR;
    } else {
        flags |= mode.access == 'r' ? O_RDONLY : O_WRONLY;
    }
    if (mode.access == 'w')
        flags |= O_CREAT | O_TRUNC;
    if (mode.access == 'a')
        flags |= O_CREAT | O_APPEND;
    if (mode.exclusive)
        flags |= O_EXCL;
    return flags;
}

const char* cookieMode(const StreamMode& mode) {
    switch (mode.access) {
        case 'w':
            return mode.update ? "w+" : "w";
        case 'a':
            return mode.update ? "a+" : "a";
        default:
            return mode.update ? "r+" : "r";
    }
}

bool writeAll(int fd, const char* bytes, size_t length) {
    StreamState probe;
    probe.fd = fd;
    return cookieWrite(&probe, bytes, length) == static_cast<ssize_t>(length);
}

// Decides the encoding of a stream opened in an encoded mode: a new (or
// empty) file being written gets the mode's mark; an existing file is
// read by its mark, else in the mode's own encoding.
bool prepareEncoding(StreamState& state, const StreamMode& mode, off64_t size,
                     const NativePath& path) {
    const bool createsText = mode.access == 'w' || (mode.access == 'a' && size == 0);
    if (createsText) {
        const bool utf8 = mode.encoding == ModeEncoding::Utf8;
        state.encoding = utf8 ? FileEncoding::Utf8 : FileEncoding::Utf16Le;
        const char* mark = utf8 ? "\xEF\xBB\xBF" : "\xFF\xFE";
        state.markLength = utf8 ? 3 : 2;
        return writeAll(state.fd, mark, static_cast<size_t>(state.markLength));
    }
    unsigned char head[3] = {};
    ssize_t n = ::pread64(state.fd, head, sizeof head, 0);
    if (n < 0 && errno == EBADF) {
        // Opened for appending only: the mark is read through a second
        // descriptor.
        const int reader = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        n = reader < 0 ? 0 : ::pread64(reader, head, sizeof head, 0);
        if (reader >= 0)
            ::close(reader);
    }
    if (n == 3 && head[0] == 0xEF && head[1] == 0xBB && head[2] == 0xBF) {
        state.encoding = FileEncoding::Utf8;
        state.markLength = 3;
    } else if (n >= 2 && head[0] == 0xFF && head[1] == 0xFE) {
        state.encoding = FileEncoding::Utf16Le;
        state.markLength = 2;
    } else {
        state.encoding =
            mode.encoding == ModeEncoding::Utf16Le ? FileEncoding::Utf16Le : FileEncoding::Utf8;
    }
    return ::lseek64(state.fd, state.markLength, SEEK_SET) >= 0;
}

// ----- decoding ----------------------------------------------------------------------

// The bytes one character took from the file, to give them back.
struct RawBytes {
    unsigned char bytes[4] = {};
    int length = 0;
    void add(int b) { bytes[length++] = static_cast<unsigned char>(b); }
};

// What the last readWideChar of the calling thread returned, for
// unreadWideChar.
struct LastRead {
    std::FILE* stream = nullptr;
    wchar_t c = 0;
    RawBytes raw;
    std::string presented;  // set when the character came from `pending`
};

thread_local LastRead t_lastRead;

bool isHighSurrogate(unsigned int u) {
    return u >= 0xD800 && u <= 0xDBFF;
}

bool isLowSurrogate(unsigned int u) {
    return u >= 0xDC00 && u <= 0xDFFF;
}

// The allowed range of the second byte of a UTF-8 sequence led by `lead`
// (which excludes overlong forms, surrogates and values beyond U+10FFFF).
void secondByteRange(int lead, int& low, int& high) {
    low = 0x80;
    high = 0xBF;
    if (lead == 0xE0)
        low = 0xA0;
    if (lead == 0xED)
        high = 0x9F;
    if (lead == 0xF0)
        low = 0x90;
    if (lead == 0xF4)
        high = 0x8F;
}

// One UTF-8 character; each maximal invalid sequence gives U+FFFD.
bool decodeUtf8(std::FILE* stream, char32_t& c, RawBytes& raw) {
    const int lead = std::getc(stream);
    if (lead == EOF)
        return false;
    raw.add(lead);
    if (lead < 0x80) {
        c = static_cast<char32_t>(lead);
        return true;
    }
    const int follow = lead >= 0xC2 && lead <= 0xDF   ? 1
                       : lead >= 0xE0 && lead <= 0xEF ? 2
                       : lead >= 0xF0 && lead <= 0xF4 ? 3
                                                      : 0;
    c = kReplacementCharacter;
    if (follow == 0)
        return true;
    char32_t value = static_cast<char32_t>(lead & (0x3F >> follow));
    int low = 0;
    int high = 0;
    secondByteRange(lead, low, high);
    for (int i = 0; i < follow; ++i) {
        const int b = std::getc(stream);
        if (b == EOF)
            return true;
        if (b < low || b > high) {
            std::ungetc(b, stream);
            return true;
        }
        raw.add(b);
        value = (value << 6) | static_cast<char32_t>(b & 0x3F);
        low = 0x80;
        high = 0xBF;
    }
    c = value;
    return true;
}

// One UTF-16LE character; an unpaired surrogate stands for itself.
bool decodeUtf16(std::FILE* stream, char32_t& c, RawBytes& raw) {
    const int b0 = std::getc(stream);
    const int b1 = b0 == EOF ? EOF : std::getc(stream);
    if (b1 == EOF)
        return false;  // a lone last byte is not a character
    raw.add(b0);
    raw.add(b1);
    const unsigned int unit = static_cast<unsigned int>(b0 | (b1 << 8));
    c = unit;
    if (!isHighSurrogate(unit))
        return true;
    const int b2 = std::getc(stream);
    const int b3 = b2 == EOF ? EOF : std::getc(stream);
    const unsigned int next = static_cast<unsigned int>(b2 | (b3 << 8));
    if (b3 == EOF || !isLowSurrogate(next)) {
        if (b3 != EOF)
            std::ungetc(b3, stream);
        if (b2 != EOF)
            std::ungetc(b2, stream);
        return true;
    }
    raw.add(b2);
    raw.add(b3);
    c = 0x10000 + ((unit - 0xD800) << 10) + (next - 0xDC00);
    return true;
}

bool isDoubleByteCodePage(unsigned int codePage) {
    return codePage == 932 || codePage == 936 || codePage == 949 || codePage == 950 ||
           codePage == 1361;
}

// One character in the narrow code page: one byte, or two in the East
// Asian code pages when the first is a lead byte.
bool decodeNarrow(std::FILE* stream, char32_t& c, RawBytes& raw) {
    const unsigned int codePage = narrowCodePage();
    if (codePage == kCodePageUtf8)
        return decodeUtf8(stream, c, raw);
    const int b0 = std::getc(stream);
    if (b0 == EOF)
        return false;
    raw.add(b0);
    char bytes[2] = {static_cast<char>(b0), 0};
    wchar_t wide[2] = {};
    if (multiByteToWide(codePage, bytes, 1, wide, 2) == 1 && wide[0] != kReplacementCharacter) {
        c = static_cast<char32_t>(wide[0]);
        return true;
    }
    c = kReplacementCharacter;
    if (!isDoubleByteCodePage(codePage))
        return true;
    const int b1 = std::getc(stream);
    if (b1 == EOF)
        return true;
    bytes[1] = static_cast<char>(b1);
    if (multiByteToWide(codePage, bytes, 2, wide, 2) == 1 && wide[0] != kReplacementCharacter) {
        raw.add(b1);
        c = static_cast<char32_t>(wide[0]);
    } else {
        std::ungetc(b1, stream);
    }
    return true;
}

bool decode(std::FILE* stream, FileEncoding encoding, char32_t& c, RawBytes& raw) {
    switch (encoding) {
        case FileEncoding::Utf8:
            return decodeUtf8(stream, c, raw);
        case FileEncoding::Utf16Le:
            return decodeUtf16(stream, c, raw);
        default:
            return decodeNarrow(stream, c, raw);
    }
}

FileEncoding encodingOf(const StreamState* state) {
    return state == nullptr ? FileEncoding::Narrow : state->encoding;
}

void appendUnit(std::string& bytes, unsigned int unit) {
    bytes += static_cast<char>(unit & 0xFF);
    bytes += static_cast<char>((unit >> 8) & 0xFF);
}

// The UTF-16LE bytes of one character.
std::string utf16Bytes(char32_t c) {
    std::string bytes;
    if (c > 0xFFFF && c <= 0x10FFFF) {
        const unsigned int v = static_cast<unsigned int>(c) - 0x10000;
        appendUnit(bytes, 0xD800 + (v >> 10));
        appendUnit(bytes, 0xDC00 + (v & 0x3FF));
    } else {
        appendUnit(bytes, c > 0xFFFF ? 0xFFFD : static_cast<unsigned int>(c));
    }
    return bytes;
}

unsigned int takeUnit(std::string& pending) {
    const unsigned int unit =
        static_cast<unsigned char>(pending[0]) |
        (static_cast<unsigned int>(static_cast<unsigned char>(pending[1])) << 8);
    pending.erase(0, 2);
    return unit;
}

// Bytes in the file's encoding for wide text.
std::string encodeText(FileEncoding encoding, std::wstring_view text) {
    switch (encoding) {
        case FileEncoding::Utf8:
            return wideToUtf8(text);
        case FileEncoding::Utf16Le: {
            const Utf16String units = wideToUtf16(text.data(), text.size());
            std::string bytes;
            bytes.reserve(units.size() * 2);
            for (unsigned short unit : units)
                appendUnit(bytes, unit);
            return bytes;
        }
        default:
            return toNarrow(text, kCodePageAcp);
    }
}

}  // namespace

int openTextStream(std::FILE** stream, std::wstring_view name, std::wstring_view modeText) {
    if (!KEL_VALIDATE(stream != nullptr))
        return EINVAL;
    *stream = nullptr;
    const StreamMode mode = parseStreamMode(modeText);
    if (!KEL_VALIDATE(mode.valid))
        return EINVAL;
    const NativePath path = toNativePath(name);
    if (path.empty())
        return ENOENT;
    const int fd = ::open(path.c_str(), openFlags(mode), 0666);
    if (fd < 0)
        return errno;
    struct stat64 info = {};
    if (::fstat64(fd, &info) != 0 || S_ISDIR(info.st_mode)) {
        ::close(fd);
        return EACCES;
    }
    auto* state = new StreamState;
    state->fd = fd;
    if (mode.encoding != ModeEncoding::None && !prepareEncoding(*state, mode, info.st_size, path)) {
        const int error = errno != 0 ? errno : EIO;
        ::close(fd);
        delete state;
        return error;
    }
    const cookie_io_functions_t functions = {cookieRead, cookieWrite, cookieSeek, cookieClose};
    std::FILE* file = ::fopencookie(state, cookieMode(mode), functions);
    if (file == nullptr) {
        ::close(fd);
        delete state;
        return ENOMEM;
    }
    state->file = file;
    {
        std::lock_guard<std::mutex> lock(g_streamsMutex);
        g_streams[file] = state;
    }
    *stream = file;
    return 0;
}

int closeTextStream(std::FILE* stream) {
    if (!KEL_VALIDATE(stream != nullptr))
        return EOF;
    if (t_lastRead.stream == stream)
        t_lastRead = LastRead();
    return std::fclose(stream);
}

bool isEncodedStream(std::FILE* stream) {
    return encodingOf(stateOf(stream)) != FileEncoding::Narrow;
}

int writeBytes(std::FILE* stream, std::string_view bytes) {
    if (stream == nullptr)
        return EOF;
    if (StreamState* state = stateOf(stream))
        state->pending.clear();
    if (bytes.empty())
        return 0;
    return std::fwrite(bytes.data(), 1, bytes.size(), stream) == bytes.size() ? 0 : EOF;
}

int writeWide(std::FILE* stream, std::wstring_view text) {
    if (stream == nullptr)
        return EOF;
    return writeBytes(stream, encodeText(encodingOf(stateOf(stream)), text));
}

bool readWideChar(std::FILE* stream, wchar_t& c) {
    if (stream == nullptr)
        return false;
    StreamState* state = stateOf(stream);
    LastRead last;
    last.stream = stream;
    if (state != nullptr && state->pending.size() >= 2) {
        const std::string before = state->pending;
        unsigned int unit = takeUnit(state->pending);
        if (isHighSurrogate(unit) && state->pending.size() >= 2)
            unit = 0x10000 + ((unit - 0xD800) << 10) + (takeUnit(state->pending) - 0xDC00);
        state->pending.clear();
        last.presented = before;
        c = static_cast<wchar_t>(unit);
    } else {
        if (state != nullptr)
            state->pending.clear();
        char32_t value = 0;
        if (!decode(stream, encodingOf(state), value, last.raw))
            return false;
        c = static_cast<wchar_t>(value);
    }
    last.c = c;
    t_lastRead = last;
    return true;
}

void unreadWideChar(std::FILE* stream, wchar_t c) {
    LastRead last = t_lastRead;
    t_lastRead = LastRead();
    if (stream == nullptr || last.stream != stream || last.c != c)
        return;
    if (!last.presented.empty()) {
        if (StreamState* state = stateOf(stream))
            state->pending = last.presented;
        return;
    }
    for (int i = last.raw.length - 1; i >= 0; --i)
        std::ungetc(last.raw.bytes[i], stream);
}

int readUtf16Unit(std::FILE* stream) {
    if (stream == nullptr)
        return -1;
    StreamState* state = stateOf(stream);
    if (state != nullptr && state->pending.size() >= 2) {
        const unsigned int unit = takeUnit(state->pending);
        return static_cast<int>(unit);
    }
    char32_t value = 0;
    RawBytes raw;
    if (!decode(stream, encodingOf(state), value, raw))
        return -1;
    const std::string bytes = utf16Bytes(value);
    if (bytes.size() > 2 && state != nullptr)
        state->pending = bytes.substr(2);
    std::string first = bytes.substr(0, 2);
    return static_cast<int>(takeUnit(first));
}

size_t readBytes(void* buffer, size_t size, size_t count, std::FILE* stream) {
    if (buffer == nullptr || stream == nullptr || size == 0 || count == 0)
        return 0;
    if (count > static_cast<size_t>(-1) / size)
        return 0;
    StreamState* state = stateOf(stream);
    if (encodingOf(state) == FileEncoding::Narrow)
        return std::fread(buffer, size, count, stream);
    char* out = static_cast<char*>(buffer);
    const size_t total = size * count;
    size_t filled = std::min(total, state->pending.size());
    state->pending.copy(out, filled);
    state->pending.erase(0, filled);
    if (state->encoding == FileEncoding::Utf16Le) {
        // The file's bytes are the units already.
        filled += std::fread(out + filled, 1, total - filled, stream);
    } else {
        while (filled < total) {
            char32_t value = 0;
            RawBytes raw;
            if (!decode(stream, state->encoding, value, raw))
                break;
            const std::string bytes = utf16Bytes(value);
            const size_t now = std::min(bytes.size(), total - filled);
            bytes.copy(out + filled, now);
            filled += now;
            state->pending = bytes.substr(now);
        }
    }
    return filled / size;
}

int streamEof(std::FILE* stream) {
    if (stream == nullptr)
        return 0;
    const StreamState* state = stateOf(stream);
    if (state != nullptr && !state->pending.empty())
        return 0;
    return std::feof(stream);
}

int seekStream(std::FILE* stream, long long offset, int origin) {
    if (stream == nullptr)
        return -1;
    StreamState* state = stateOf(stream);
    if (state != nullptr)
        state->pending.clear();
    if (t_lastRead.stream == stream)
        t_lastRead = LastRead();
    if (::fseeko64(stream, static_cast<off64_t>(offset), origin) != 0)
        return -1;
    // A position inside the byte-order mark is moved behind it, so that
    // rewinding an encoded stream comes back to its first character.
    if (state != nullptr && state->markLength > 0 && ::ftello64(stream) < state->markLength)
        return ::fseeko64(stream, state->markLength, SEEK_SET) == 0 ? 0 : -1;
    return 0;
}

int tellStream(std::FILE* stream, long long& position) {
    if (stream == nullptr)
        return -1;
    const off64_t at = ::ftello64(stream);
    if (at < 0)
        return -1;
    position = static_cast<long long>(at);
    return 0;
}

}  // namespace kel::detail
