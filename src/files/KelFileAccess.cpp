#include <kel/KelFileAccess.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "files/file_system.h"
#include "files/text_stream.h"
#include "platform/format.h"
#include "platform/utf.h"

namespace kel::detail {

// The copies of one KelFileAccess share this: whichever closes the stream
// marks it closed for all of them, and the last one frees it.
struct StreamShare {
    int holders = 1;
    bool open = true;
};

}  // namespace kel::detail

namespace {

using kel::detail::printWide;
using kel::detail::WideArgs;

const wchar_t* modeSuffix(KelFileAccess::encodeType encoding) {
    switch (encoding) {
        case KelFileAccess::encodeUnicode:
            return L", ccs=UNICODE";
        case KelFileAccess::encodeUTF8:
            return L", ccs=UTF-8";
        case KelFileAccess::encodeUTF16LE:
            return L", ccs=UTF-16LE";
        default:
            return L"";
    }
}

// Lines move as wide text in the encodings 1 and 3 and as narrow text in 0
// and 2. Decided by value on purpose: a UTF-8 file goes through the narrow
// routines.
bool movesWideLines(KelFileAccess::encodeType encoding) {
    return encoding == KelFileAccess::encodeUnicode || encoding == KelFileAccess::encodeUTF16LE;
}

constexpr size_t kReadStep = 65536;

// Reads up to `count` items of `size` bytes, in steps, so that a large
// count costs memory only for what the file holds.
std::vector<unsigned char> readUpTo(FILE* stream, size_t size, size_t count) {
    std::vector<unsigned char> bytes;
    size_t items = 0;
    while (items < count) {
        const size_t step = std::min(count - items, kReadStep);
        bytes.resize((items + step) * size);
        const size_t got = kel::detail::readBytes(bytes.data() + items * size, size, step, stream);
        items += got;
        if (got < step)
            break;
    }
    bytes.resize(items * size);
    return bytes;
}

// Reads up to `count` UTF-16LE units into `text`, which ends at the first
// zero unit. Returns the units read.
size_t readUnits(FILE* stream, KelString& text, size_t count) {
    const std::vector<unsigned char> bytes = readUpTo(stream, 2, count);
    const size_t units = bytes.size() / 2;
    kel::detail::Utf16String wide;
    wide.reserve(units);
    for (size_t i = 0; i < units; ++i) {
        const unsigned short unit =
            static_cast<unsigned short>(bytes[2 * i] | (bytes[2 * i + 1] << 8));
        if (unit == 0)
            break;
        wide += unit;
    }
    text = kel::detail::utf16ToWide(wide.data(), wide.size()).c_str();
    return units;
}

// Reads up to `count` bytes of narrow text into `text` (through the
// string's per-thread scratch buffer). Returns the bytes read.
size_t readNarrowText(FILE* stream, KelString& text, size_t count) {
    std::vector<unsigned char> bytes = readUpTo(stream, 1, count);
    const size_t got = bytes.size();
    bytes.push_back(0);
    text = reinterpret_cast<const char*>(bytes.data());
    return got;
}

bool isUtf16Mark(const unsigned char* b) {
    return (b[0] == 0xFF && b[1] == 0xFE) || (b[0] == 0xFE && b[1] == 0xFF);
}

bool holds(const unsigned char* probe, unsigned char a, unsigned char b, unsigned char c) {
    return probe[0] == a && probe[1] == b && probe[2] == c;
}

}  // namespace

// ----- construction ---------------------------------------------------------

KelFileAccess::KelFileAccess() : m_stream(nullptr), m_encoding(encodeNone), m_share(nullptr) {}

KelFileAccess::KelFileAccess(const KelString& fileName, const KelString& mode, encodeType enc)
    : m_stream(nullptr), m_encoding(enc), m_share(nullptr) {
    if (fileName.isEmpty())
        return;
    const std::wstring fullMode = std::wstring(mode.getStringW()) + modeSuffix(enc);
    FILE* opened = nullptr;
    if (kel::detail::openTextStream(&opened, fileName.getStringW(), fullMode) != 0)
        return;
    m_share = new (std::nothrow) kel::detail::StreamShare;
    if (m_share == nullptr) {
        kel::detail::closeTextStream(opened);
        return;
    }
    m_stream = opened;
}

KelFileAccess::KelFileAccess(const KelFileAccess& other)
    : m_stream(other.m_stream), m_encoding(other.m_encoding), m_share(other.m_share) {
    if (m_share != nullptr)
        ++m_share->holders;
}

KelFileAccess& KelFileAccess::operator=(const KelFileAccess& other) {
    if (this == &other || m_share == other.m_share) {
        m_encoding = other.m_encoding;
        return *this;
    }
    release();
    m_stream = other.m_stream;
    m_encoding = other.m_encoding;
    m_share = other.m_share;
    if (m_share != nullptr)
        ++m_share->holders;
    return *this;
}

KelFileAccess::~KelFileAccess() {
    release();
}

FILE* KelFileAccess::stream() const {
    return m_share != nullptr && m_share->open ? m_stream : nullptr;
}

void KelFileAccess::release() {
    if (m_share == nullptr)
        return;
    if (m_share->open) {
        m_share->open = false;
        kel::detail::closeTextStream(m_stream);
    }
    if (--m_share->holders == 0)
        delete m_share;
    m_share = nullptr;
    m_stream = nullptr;
}

int KelFileAccess::isOpen() const {
    return stream() != nullptr ? 1 : 0;
}

void KelFileAccess::close() {
    release();
}

// ----- writing ----------------------------------------------------------------

int KelFileAccess::write(const char* format, ...) const {
    FILE* file = stream();
    if (file == nullptr || format == nullptr || *format == '\0')
        return 0;
    // The format becomes wide text, so it is a wide format: its "%s" takes
    // wide strings. Host code is written for that.
    const KelString wideFormat(format);
    va_list args;
    va_start(args, format);
    const int count = printWide(file, wideFormat.getStringW(), args, WideArgs::Native);
    va_end(args);
    return count;
}

int KelFileAccess::write(const wchar_t* format, ...) const {
    FILE* file = stream();
    if (file == nullptr || format == nullptr || *format == L'\0')
        return 0;
    va_list args;
    va_start(args, format);
    const int count = printWide(file, format, args, WideArgs::Native);
    va_end(args);
    return count;
}

int KelFileAccess::write(const unsigned short* format, ...) const {
    FILE* file = stream();
    if (file == nullptr || format == nullptr || *format == 0)
        return 0;
    const std::wstring wideFormat = kel::detail::utf16ToWide(format);
    va_list args;
    va_start(args, format);
    const int count = printWide(file, wideFormat.c_str(), args, WideArgs::Utf16);
    va_end(args);
    return count;
}

int KelFileAccess::puts(const KelString& text) const {
    FILE* file = stream();
    if (file == nullptr)
        return 0;
    if (movesWideLines(m_encoding))
        return kel::detail::writeWide(file, text.getStringW());
    return kel::detail::writeNarrow(file, text.getStringA());
}

// ----- reading ----------------------------------------------------------------

KelString KelFileAccess::gets(KelString& line, int maxChars) {
    FILE* file = stream();
    if (file == nullptr)
        return KelString();
    line.empty();
    if (maxChars < 2)
        return line;
    const size_t room = static_cast<size_t>(maxChars) - 1;
    if (movesWideLines(m_encoding)) {
        std::wstring text;
        wchar_t c = 0;
        while (text.size() < room && kel::detail::readWideChar(file, c)) {
            text += c;
            if (c == L'\n')
                break;
        }
        line = text.c_str();
        return line;
    }
    // Narrow lines are read in steps, so a large maxChars costs no memory
    // in advance; the text ends at its first zero byte.
    std::string text;
    std::vector<char> buffer;
    while (text.size() < room) {
        buffer.resize(std::min(room - text.size(), kReadStep) + 1);
        if (kel::detail::readNarrowLine(buffer.data(), static_cast<int>(buffer.size()), file) ==
            nullptr) {
            break;
        }
        const size_t n = std::strlen(buffer.data());
        text.append(buffer.data(), n);
        if (n == 0 || buffer[n - 1] == '\n' || n + 1 < buffer.size())
            break;
    }
    line = text.c_str();
    return line;
}

size_t KelFileAccess::read(void* buffer, size_t size, size_t count) const {
    FILE* file = stream();
    return file == nullptr ? 0 : kel::detail::readBytes(buffer, size, count, file);
}

int KelFileAccess::seek(long offset, int origin) const {
    FILE* file = stream();
    return file == nullptr ? 0 : kel::detail::seekStream(file, offset, origin);
}

int KelFileAccess::getPostion(long long* pos) const {
    FILE* file = stream();
    if (file == nullptr)
        return 0;
    long long position = 0;
    if (pos == nullptr || kel::detail::tellStream(file, position) != 0)
        return -1;
    *pos = position;
    return 0;
}

int KelFileAccess::setPostion(const long long* pos) {
    FILE* file = stream();
    if (file == nullptr)
        return 0;
    if (pos == nullptr)
        return -1;
    return kel::detail::seekStream(file, *pos, SEEK_SET);
}

int KelFileAccess::eof() const {
    FILE* file = stream();
    return file == nullptr ? 0 : kel::detail::streamEof(file);
}

int KelFileAccess::getChar() const {
    FILE* file = stream();
    if (file == nullptr)
        return 0;
    // The end marker reduced to 16 bits gives 65535, as host code expects.
    return static_cast<unsigned short>(kel::detail::readUtf16Unit(file));
}

int KelFileAccess::readString(KelString& word) const {
    FILE* file = stream();
    if (file == nullptr)
        return 0;
    std::wstring text;
    const int count = kel::detail::scanWord(file, text, 256);
    word = text.c_str();
    return count;
}

int KelFileAccess::readInt(int& value) const {
    FILE* file = stream();
    if (file == nullptr)
        return 0;
    int slot = 0;
    const int count = kel::detail::scanInt(file, slot);
    value = slot;  // copied whatever the scan's result
    return count;
}

int KelFileAccess::readDouble(double& value) const {
    FILE* file = stream();
    if (file == nullptr)
        return 0;
    double slot = 0.0;
    const int count = kel::detail::scanDouble(file, slot);
    value = slot;
    return count;
}

long KelFileAccess::getFileLength() {
    FILE* file = stream();
    if (file == nullptr)
        return 0;
    long long length = -1;
    if (kel::detail::seekStream(file, 0, SEEK_END) != 0 ||
        kel::detail::tellStream(file, length) != 0) {
        length = -1;
    }
    // Back to the beginning, not to where the stream stood: callers read
    // the whole file next.
    kel::detail::seekStream(file, 0, SEEK_SET);
    return static_cast<long>(length);
}

size_t KelFileAccess::readFile(KelString& text, size_t count) const {
    FILE* file = stream();
    if (file == nullptr)
        return 0;
    const bool utf8 = m_encoding == encodeUTF8;
    unsigned char probe[3] = {};
    if (kel::detail::readBytes(probe, 1, 2, file) == 2 && isUtf16Mark(probe))
        return readUnits(file, text, count);
    // The next 3 bytes continue after the first two: the probe deliberately
    // looks at bytes 2 to 4 here.
    if (kel::detail::readBytes(probe, 1, 3, file) == 3) {
        if (holds(probe, 0xEF, 0xBB, 0xBF))
            return readUnits(file, text, count);
        if (utf8 && holds(probe, '<', 0xFF, '?')) {
            kel::detail::seekStream(file, 0, SEEK_SET);
            return readUnits(file, text, count);
        }
    }
    kel::detail::seekStream(file, 0, SEEK_SET);
    if (kel::detail::readBytes(probe, 1, 3, file) == 3 && utf8 && holds(probe, '<', 0, '?')) {
        kel::detail::seekStream(file, 0, SEEK_SET);
        return readUnits(file, text, count);
    }
    kel::detail::seekStream(file, 0, SEEK_SET);
    return readNarrowText(file, text, count);
}

// ----- static file operations -------------------------------------------------

int KelFileAccess::removeFile(const KelString& path) {
    return kel::detail::removeFile(path.getStringW());
}

int KelFileAccess::renameFile(const KelString& from, const KelString& to) {
    return kel::detail::renameFile(from.getStringW(), to.getStringW());
}

int KelFileAccess::changeWorkingDir(const KelString& path) {
    return kel::detail::changeDirectory(path.getStringW());
}

int KelFileAccess::makeDir(const KelString& path) {
    if (kel::detail::makeDirectory(path.getStringW()) == 0)
        return 0;
    // A folder that exists already counts as made.
    return errno == EEXIST ? 0 : -1;
}
