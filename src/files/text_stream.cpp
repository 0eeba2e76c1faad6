// The text streams' shared layer: the encoded modes over a stream of the
// file's bytes, the same on every system.
//
// The system half (text_stream_system.h) opens the file; an encoded mode is
// opened in binary, and everything between the bytes and the text happens
// here: the byte-order mark, UTF-8 and UTF-16LE, the narrow code page, the
// line ends of text mode where the system has them, and bytes given back
// after looking ahead. What the library keeps about a stream is found by
// its FILE pointer.

#include "files/text_stream.h"

#include <algorithm>
#include <cerrno>
#include <memory>
#include <mutex>
#include <new>
#include <unordered_map>
#include <utility>

#include "files/text_stream_system.h"
#include "platform/code_page.h"
#include "platform/invalid_parameter.h"
#include "platform/per_thread.h"
#include "platform/utf.h"

namespace kel::detail {

namespace {

enum class FileEncoding { Narrow, Utf8, Utf16Le };

// What the library keeps about a stream it opened.
struct StreamState {
    FileEncoding encoding = FileEncoding::Narrow;
    // Length of the byte-order mark the file starts with (0, 2 or 3).
    long long markLength = 0;
    // "\r\n" in the file is "\n" in the text (text mode on Windows).
    bool translateLineEnds = false;
    // File bytes given back after reading ahead; the next byte is the last.
    std::string given;
    // UTF-16LE bytes of a character that was delivered only in part.
    std::string pending;
};

std::mutex g_streamsMutex;
std::unordered_map<std::FILE*, std::unique_ptr<StreamState>> g_streams;

StreamState* stateOf(std::FILE* stream) {
    if (stream == nullptr)
        return nullptr;
    std::lock_guard<std::mutex> lock(g_streamsMutex);
    const auto found = g_streams.find(stream);
    return found == g_streams.end() ? nullptr : found->second.get();
}

FileEncoding encodingOf(const StreamState* state) {
    return state == nullptr ? FileEncoding::Narrow : state->encoding;
}

// A FILE pointer that the runtime hands out again belonged to a stream that
// has closed: whatever was kept for it is replaced.
void remember(std::FILE* stream, std::unique_ptr<StreamState> state) {
    std::lock_guard<std::mutex> lock(g_streamsMutex);
    g_streams[stream] = std::move(state);
}

// ----- reading bytes -----------------------------------------------------------------

// The bytes of a stream: those given back first, then the runtime's. A
// stream the library did not open gives bytes back with ungetc.
class ByteSource {
public:
    ByteSource(std::FILE* file, StreamState* state) : m_file(file), m_state(state) {}

    int get() {
        if (m_state == nullptr || m_state->given.empty())
            return std::getc(m_file);
        const auto b = static_cast<unsigned char>(m_state->given.back());
        m_state->given.pop_back();
        return b;
    }

    void unget(int b) {
        if (b == EOF)
            return;
        if (m_state != nullptr) {
            m_state->given += static_cast<char>(b);
        } else {
            std::ungetc(b, m_file);
        }
    }

private:
    std::FILE* m_file;
    StreamState* m_state;
};

// The bytes one character took from the file, to give them back.
struct RawBytes {
    unsigned char bytes[8] = {};
    int length = 0;

    void add(int b) {
        if (length < static_cast<int>(sizeof bytes))
            bytes[length++] = static_cast<unsigned char>(b);
    }
    void append(const RawBytes& other) {
        for (int i = 0; i < other.length; ++i)
            add(other.bytes[i]);
    }
    void giveBack(ByteSource& source) const {
        for (int i = length - 1; i >= 0; --i)
            source.unget(bytes[i]);
    }
};

// Moves up to `room` given-back bytes to `out`; returns how many.
size_t takeGiven(StreamState& state, char* out, size_t room) {
    size_t n = 0;
    while (n < room && !state.given.empty()) {
        out[n++] = state.given.back();
        state.given.pop_back();
    }
    return n;
}

// ----- decoding ------------------------------------------------------------------------

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
bool decodeUtf8(ByteSource& source, char32_t& c, RawBytes& raw) {
    const int lead = source.get();
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
        const int b = source.get();
        if (b == EOF)
            return true;
        if (b < low || b > high) {
            source.unget(b);
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
bool decodeUtf16(ByteSource& source, char32_t& c, RawBytes& raw) {
    const int b0 = source.get();
    const int b1 = b0 == EOF ? EOF : source.get();
    if (b1 == EOF)
        return false;  // a lone last byte is not a character
    raw.add(b0);
    raw.add(b1);
    const unsigned int unit = static_cast<unsigned int>(b0) | (static_cast<unsigned int>(b1) << 8);
    c = unit;
    if (!isHighSurrogate(unit))
        return true;
    const int b2 = source.get();
    const int b3 = b2 == EOF ? EOF : source.get();
    // A file may end inside the pair: EOF is no byte to combine.
    const unsigned int next =
        b3 == EOF ? 0 : static_cast<unsigned int>(b2) | (static_cast<unsigned int>(b3) << 8);
    if (b3 == EOF || !isLowSurrogate(next)) {
        source.unget(b3);
        source.unget(b2);
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
bool decodeNarrow(ByteSource& source, char32_t& c, RawBytes& raw) {
    const unsigned int codePage = narrowCodePage();
    if (codePage == kCodePageUtf8)
        return decodeUtf8(source, c, raw);
    const int b0 = source.get();
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
    const int b1 = source.get();
    if (b1 == EOF)
        return true;
    bytes[1] = static_cast<char>(b1);
    if (multiByteToWide(codePage, bytes, 2, wide, 2) == 1 && wide[0] != kReplacementCharacter) {
        raw.add(b1);
        c = static_cast<char32_t>(wide[0]);
    } else {
        source.unget(b1);
    }
    return true;
}

bool decode(ByteSource& source, FileEncoding encoding, char32_t& c, RawBytes& raw) {
    switch (encoding) {
        case FileEncoding::Utf8:
            return decodeUtf8(source, c, raw);
        case FileEncoding::Utf16Le:
            return decodeUtf16(source, c, raw);
        default:
            return decodeNarrow(source, c, raw);
    }
}

// The next character of the text; in text mode with translated line ends,
// "\r\n" is one "\n" (a "\r" before anything else stays).
bool nextCharacter(ByteSource& source, const StreamState* state, char32_t& c, RawBytes& raw) {
    const FileEncoding encoding = encodingOf(state);
    if (!decode(source, encoding, c, raw))
        return false;
    if (c != U'\r' || state == nullptr || !state->translateLineEnds)
        return true;
    char32_t next = 0;
    RawBytes after;
    if (!decode(source, encoding, next, after))
        return true;
    if (next == U'\n') {
        c = U'\n';
        raw.append(after);
    } else {
        after.giveBack(source);
    }
    return true;
}

// ----- UTF-16 units ----------------------------------------------------------------------

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

// The next wide character from the units of a character delivered in part:
// where wchar_t has 32 bits a surrogate pair becomes one character, where
// it has 16 the units come one at a time. What cannot be a unit is dropped.
wchar_t takeWide(std::string& pending) {
    unsigned int unit = takeUnit(pending);
    if (!kWideIsUtf16 && isHighSurrogate(unit) && pending.size() >= 2)
        unit = 0x10000 + ((unit - 0xD800) << 10) + (takeUnit(pending) - 0xDC00);
    if (pending.size() < 2)
        pending.clear();
    return static_cast<wchar_t>(unit);
}

// A character as wide text: one wchar_t, or a surrogate pair where wchar_t
// has 16 bits.
std::wstring wideOf(char32_t c) {
    if (!kWideIsUtf16 || c <= 0xFFFF)
        return std::wstring(1, static_cast<wchar_t>(c));
    const unsigned int v = static_cast<unsigned int>(c) - 0x10000;
    return {static_cast<wchar_t>(0xD800 + (v >> 10)), static_cast<wchar_t>(0xDC00 + (v & 0x3FF))};
}

// ----- encoding ------------------------------------------------------------------------

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

// Text mode's line ends: "\n" becomes "\r\n".
std::wstring withLineEnds(std::wstring_view text) {
    std::wstring result;
    result.reserve(text.size() + text.size() / 16);
    for (wchar_t c : text) {
        if (c == L'\n')
            result += L'\r';
        result += c;
    }
    return result;
}

// Writes bytes where reading stands: bytes given back are unread, so the
// stream moves back over them first.
int writeBytes(std::FILE* stream, StreamState* state, std::string_view bytes) {
    if (state != nullptr) {
        state->pending.clear();
        if (!state->given.empty()) {
            const auto back = static_cast<long long>(state->given.size());
            state->given.clear();
            if (seekSystemStream(stream, -back, SEEK_CUR) != 0)
                return EOF;
        }
    }
    if (bytes.empty())
        return 0;
    return std::fwrite(bytes.data(), 1, bytes.size(), stream) == bytes.size() ? 0 : EOF;
}

// ----- opening -------------------------------------------------------------------------

const char kUtf8Mark[] = "\xEF\xBB\xBF";
const char kUtf16Mark[] = "\xFF\xFE";

// Up to 3 bytes from the start of the file. A stream opened for appending
// only cannot read them: a second stream reads them then.
size_t readHead(std::FILE* file, std::wstring_view name, const StreamMode& mode,
                unsigned char (&head)[3]) {
    if (mode.access == 'r' || mode.update) {
        return seekSystemStream(file, 0, SEEK_SET) == 0 ? std::fread(head, 1, sizeof head, file)
                                                        : 0;
    }
    std::FILE* reader = nullptr;
    if (openSystemStream(&reader, name, parseStreamMode(L"rb"), L"rb") != 0)
        return 0;
    const size_t n = std::fread(head, 1, sizeof head, reader);
    std::fclose(reader);
    return n;
}

// Decides the encoding of a stream opened in an encoded mode: a new (or
// empty) file being written gets the mode's mark; an existing file is read
// by its mark, else in the mode's own encoding. Returns 0 or an error
// number.
int prepareEncoding(std::FILE* file, std::wstring_view name, const StreamMode& mode,
                    StreamState& state) {
    long long size = 0;
    if (seekSystemStream(file, 0, SEEK_END) != 0 || tellSystemStream(file, size) != 0)
        return EIO;
    if (mode.access == 'w' || (mode.access == 'a' && size == 0)) {
        const bool utf8 = mode.encoding == ModeEncoding::Utf8;
        state.encoding = utf8 ? FileEncoding::Utf8 : FileEncoding::Utf16Le;
        const std::string_view mark = utf8 ? kUtf8Mark : kUtf16Mark;
        state.markLength = static_cast<long long>(mark.size());
        const bool written =
            std::fwrite(mark.data(), 1, mark.size(), file) == mark.size() && std::fflush(file) == 0;
        return written ? 0 : EIO;
    }
    unsigned char head[3] = {};
    const size_t n = readHead(file, name, mode, head);
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
    return seekSystemStream(file, state.markLength, SEEK_SET) == 0 ? 0 : EIO;
}

// ----- what unreadWideChar gives back ----------------------------------------------------

// What the last readWideChar of the calling thread returned.
struct LastRead {
    std::FILE* stream = nullptr;
    wchar_t c = 0;
    RawBytes raw;
    std::string presented;  // set when the character came from `pending`
};

LastRead& lastRead() {
    return perThread<LastRead>();
}

void forgetLastRead(std::FILE* stream) {
    LastRead& last = lastRead();
    if (last.stream == stream)
        last = LastRead();
}

// ----- narrow lines --------------------------------------------------------------------

// fgets on a stream without an encoding, after the bytes given back.
char* readPlainLine(char* buffer, int size, std::FILE* stream, StreamState* state) {
    if (state == nullptr || state->given.empty() || size == 1)
        return std::fgets(buffer, size, stream);
    size_t used = 0;
    const size_t room = static_cast<size_t>(size) - 1;
    while (used < room && !state->given.empty()) {
        used += takeGiven(*state, buffer + used, 1);
        if (buffer[used - 1] == '\n')
            break;
    }
    buffer[used] = '\0';
    if (used < room && buffer[used - 1] != '\n')
        std::fgets(buffer + used, size - static_cast<int>(used), stream);
    return buffer;
}

// The next character for a narrow line of an encoded stream, as wide text:
// the rest of a character delivered in part, or the next one of the file.
// `presented` and `raw` say how to give it back.
bool nextLineCharacter(ByteSource& source, StreamState& state, std::wstring& wide,
                       std::string& presented, RawBytes& raw) {
    if (state.pending.size() >= 2) {
        presented = state.pending;
        Utf16String units;
        while (state.pending.size() >= 2)
            units += static_cast<unsigned short>(takeUnit(state.pending));
        state.pending.clear();
        wide = utf16ToWide(units.data(), units.size());
        return true;
    }
    state.pending.clear();
    char32_t value = 0;
    if (!nextCharacter(source, &state, value, raw))
        return false;
    wide = wideOf(value);
    return true;
}

}  // namespace

// ----- the streams ---------------------------------------------------------------------

void forgetStream(std::FILE* stream) {
    forgetLastRead(stream);
    std::lock_guard<std::mutex> lock(g_streamsMutex);
    g_streams.erase(stream);
}

int openTextStream(std::FILE** stream, std::wstring_view name, std::wstring_view modeText) {
    if (!KEL_VALIDATE(stream != nullptr))
        return EINVAL;
    *stream = nullptr;
    const StreamMode mode = parseStreamMode(modeText);
    if (!KEL_VALIDATE(mode.valid))
        return EINVAL;
    const bool encoded = mode.encoding != ModeEncoding::None;
    std::FILE* file = nullptr;
    int error = openSystemStream(&file, name, mode, runtimeModeOf(modeText, encoded));
    if (error != 0)
        return error;
    std::unique_ptr<StreamState> state(new (std::nothrow) StreamState);
    if (state == nullptr) {
        error = ENOMEM;
    } else if (encoded) {
        // Text mode's line ends, where the system has them, are ours to
        // make: the file is open in binary.
        state->translateLineEnds = kTextModeTranslatesLineEnds && !mode.binary;
        error = prepareEncoding(file, name, mode, *state);
    }
    if (error != 0) {
        std::fclose(file);
        return error;
    }
    remember(file, std::move(state));
    *stream = file;
    return 0;
}

int closeTextStream(std::FILE* stream) {
    if (!KEL_VALIDATE(stream != nullptr))
        return EOF;
    forgetStream(stream);
    return std::fclose(stream);
}

bool isEncodedStream(std::FILE* stream) {
    return encodingOf(stateOf(stream)) != FileEncoding::Narrow;
}

int writeWide(std::FILE* stream, std::wstring_view text) {
    if (stream == nullptr)
        return EOF;
    forgetLastRead(stream);
    StreamState* state = stateOf(stream);
    const bool lineEnds =
        state != nullptr && state->translateLineEnds && text.find(L'\n') != std::wstring_view::npos;
    const std::string bytes = lineEnds ? encodeText(state->encoding, withLineEnds(text))
                                       : encodeText(encodingOf(state), text);
    return writeBytes(stream, state, bytes);
}

int printWide(std::FILE* stream, const wchar_t* format, va_list args, WideArgs wideArgs) {
    FormatStatus status = FormatStatus::Ok;
    const std::wstring text = formatToString(format, args, wideArgs, &status);
    if (status != FormatStatus::Ok || writeWide(stream, text) != 0)
        return -1;
    return static_cast<int>(text.size());
}

int writeNarrow(std::FILE* stream, std::string_view text) {
    if (stream == nullptr)
        return EOF;
    if (isEncodedStream(stream))
        return writeWide(stream, toWide(text, kCodePageAcp));
    forgetLastRead(stream);
    return writeBytes(stream, stateOf(stream), text);
}

bool readWideChar(std::FILE* stream, wchar_t& c) {
    if (stream == nullptr)
        return false;
    StreamState* state = stateOf(stream);
    LastRead last;
    last.stream = stream;
    if (state != nullptr && state->pending.size() >= 2) {
        last.presented = state->pending;
        c = takeWide(state->pending);
    } else {
        if (state != nullptr)
            state->pending.clear();
        ByteSource source(stream, state);
        char32_t value = 0;
        if (!nextCharacter(source, state, value, last.raw))
            return false;
        if (kWideIsUtf16 && value > 0xFFFF) {
            // The high surrogate now, the low one with the next read.
            if (state == nullptr) {
                c = kReplacementCharacter;
            } else {
                state->pending = utf16Bytes(value);
                c = takeWide(state->pending);
            }
        } else {
            c = static_cast<wchar_t>(value);
        }
    }
    last.c = c;
    lastRead() = last;
    return true;
}

void unreadWideChar(std::FILE* stream, wchar_t c) {
    const LastRead last = std::exchange(lastRead(), LastRead());
    if (stream == nullptr || last.stream != stream || last.c != c)
        return;
    StreamState* state = stateOf(stream);
    if (!last.presented.empty()) {
        if (state != nullptr)
            state->pending = last.presented;
        return;
    }
    if (state != nullptr)
        state->pending.clear();
    ByteSource source(stream, state);
    last.raw.giveBack(source);
}

int readUtf16Unit(std::FILE* stream) {
    if (stream == nullptr)
        return -1;
    StreamState* state = stateOf(stream);
    if (state != nullptr && state->pending.size() >= 2)
        return static_cast<int>(takeUnit(state->pending));
    if (state != nullptr)
        state->pending.clear();
    ByteSource source(stream, state);
    char32_t value = 0;
    RawBytes raw;
    if (!nextCharacter(source, state, value, raw))
        return -1;
    std::string bytes = utf16Bytes(value);
    const auto unit = static_cast<int>(takeUnit(bytes));
    if (state != nullptr)
        state->pending = bytes;
    return unit;
}

size_t readBytes(void* buffer, size_t size, size_t count, std::FILE* stream) {
    if (buffer == nullptr || stream == nullptr || size == 0 || count == 0)
        return 0;
    if (count > static_cast<size_t>(-1) / size)
        return 0;
    StreamState* state = stateOf(stream);
    if (state == nullptr || (state->encoding == FileEncoding::Narrow && state->given.empty()))
        return std::fread(buffer, size, count, stream);
    char* out = static_cast<char*>(buffer);
    const size_t total = size * count;
    if (state->encoding == FileEncoding::Narrow) {
        const size_t given = takeGiven(*state, out, total);
        return (given + std::fread(out + given, 1, total - given, stream)) / size;
    }
    size_t filled = std::min(total, state->pending.size());
    state->pending.copy(out, filled);
    state->pending.erase(0, filled);
    if (state->encoding == FileEncoding::Utf16Le && !state->translateLineEnds) {
        // The file's bytes are the units already.
        filled += takeGiven(*state, out + filled, total - filled);
        filled += std::fread(out + filled, 1, total - filled, stream);
        return filled / size;
    }
    ByteSource source(stream, state);
    while (filled < total) {
        char32_t value = 0;
        RawBytes raw;
        if (!nextCharacter(source, state, value, raw))
            break;
        const std::string bytes = utf16Bytes(value);
        const size_t now = std::min(bytes.size(), total - filled);
        bytes.copy(out + filled, now);
        filled += now;
        state->pending = bytes.substr(now);
    }
    return filled / size;
}

char* readNarrowLine(char* buffer, int size, std::FILE* stream) {
    if (buffer == nullptr || size <= 0 || stream == nullptr)
        return nullptr;
    StreamState* state = stateOf(stream);
    if (encodingOf(state) == FileEncoding::Narrow)
        return readPlainLine(buffer, size, stream, state);
    forgetLastRead(stream);
    ByteSource source(stream, state);
    size_t used = 0;
    bool readAny = false;
    const size_t room = static_cast<size_t>(size) - 1;
    while (used < room) {
        std::wstring wide;
        std::string presented;
        RawBytes raw;
        if (!nextLineCharacter(source, *state, wide, presented, raw))
            break;
        const std::string narrow = toNarrow(wide, kCodePageAcp);
        if (used + narrow.size() > room) {
            // Left whole for the next read.
            if (presented.empty()) {
                raw.giveBack(source);
            } else {
                state->pending = presented;
            }
            break;
        }
        narrow.copy(buffer + used, narrow.size());
        used += narrow.size();
        readAny = true;
        if (wide == L"\n")
            break;
    }
    buffer[used] = '\0';
    return readAny ? buffer : nullptr;
}

int streamEof(std::FILE* stream) {
    if (stream == nullptr)
        return 0;
    const StreamState* state = stateOf(stream);
    if (state != nullptr && (!state->pending.empty() || !state->given.empty()))
        return 0;
    return std::feof(stream);
}

int seekStream(std::FILE* stream, long long offset, int origin) {
    if (stream == nullptr)
        return -1;
    forgetLastRead(stream);
    StreamState* state = stateOf(stream);
    if (state != nullptr) {
        // A move from here starts where reading stands, before the bytes
        // given back.
        if (origin == SEEK_CUR)
            offset -= static_cast<long long>(state->given.size());
        state->given.clear();
        state->pending.clear();
    }
    if (seekSystemStream(stream, offset, origin) != 0)
        return -1;
    // A position inside the byte-order mark is moved behind it, so that
    // rewinding an encoded stream comes back to its first character.
    long long at = 0;
    if (state != nullptr && state->markLength > 0 && tellSystemStream(stream, at) == 0 &&
        at < state->markLength) {
        return seekSystemStream(stream, state->markLength, SEEK_SET);
    }
    return 0;
}

int tellStream(std::FILE* stream, long long& position) {
    if (stream == nullptr)
        return -1;
    long long at = 0;
    if (tellSystemStream(stream, at) != 0)
        return -1;
    const StreamState* state = stateOf(stream);
    position = at - (state == nullptr ? 0 : static_cast<long long>(state->given.size()));
    return 0;
}

}  // namespace kel::detail
