// The system half of code-page conversion on POSIX: iconv.

#include <errno.h>
#include <iconv.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>
#include <vector>

#include "platform/code_page.h"
#include "platform/debug_output.h"
#include "platform/utf.h"

namespace kel::detail::system {

namespace {

const iconv_t kNoConverter = reinterpret_cast<iconv_t>(static_cast<intptr_t>(-1));

std::string iconvName(unsigned int codePage) {
    switch (codePage) {
        case 1361:
            return "JOHAB";
        case 20127:
            return "ASCII";
        case 20866:
            return "KOI8-R";
        case 21866:
            return "KOI8-U";
        case 28591:
            return "ISO-8859-1";
        case 28592:
            return "ISO-8859-2";
        case 28595:
            return "ISO-8859-5";
        case 28597:
            return "ISO-8859-7";
        case 28605:
            return "ISO-8859-15";
        case 51932:
            return "EUC-JP";
        case 51949:
            return "EUC-KR";
        default:
            return "CP" + std::to_string(codePage);
    }
}

// iconv descriptors are not safe to share between threads, so every thread
// keeps its own, opened on first use of a code page and closed when the
// thread ends.
class ConverterCache {
public:
    ~ConverterCache() {
        for (Entry& e : m_entries) {
            if (e.toWide != kNoConverter)
                iconv_close(e.toWide);
            if (e.toNarrow != kNoConverter)
                iconv_close(e.toNarrow);
        }
    }

    // Returns null when the code page is unknown to iconv.
    iconv_t get(unsigned int codePage, bool toWide) {
        for (int i = 0; i < m_count; ++i) {
            if (m_entries[i].codePage == codePage)
                return pick(m_entries[i], toWide);
        }
        Entry fresh;
        fresh.codePage = codePage;
        const std::string name = iconvName(codePage);
        fresh.toWide = iconv_open("WCHAR_T", name.c_str());
        fresh.toNarrow = iconv_open(name.c_str(), "WCHAR_T");
        if (fresh.toWide == kNoConverter || fresh.toNarrow == kNoConverter) {
            if (fresh.toWide != kNoConverter)
                iconv_close(fresh.toWide);
            if (fresh.toNarrow != kNoConverter)
                iconv_close(fresh.toNarrow);
            return nullptr;
        }
        Entry& slot = m_entries[m_count < kSize ? m_count++ : kSize - 1];
        if (slot.toWide != kNoConverter) {  // the cache is full: recycle the last entry
            iconv_close(slot.toWide);
            iconv_close(slot.toNarrow);
        }
        slot = fresh;
        return pick(slot, toWide);
    }

private:
    struct Entry {
        unsigned int codePage = 0;
        iconv_t toWide = kNoConverter;
        iconv_t toNarrow = kNoConverter;
    };
    static iconv_t pick(Entry& e, bool toWide) {
        iconv(toWide ? e.toWide : e.toNarrow, nullptr, nullptr, nullptr, nullptr);
        return toWide ? e.toWide : e.toNarrow;
    }

    static constexpr int kSize = 8;
    Entry m_entries[kSize];
    int m_count = 0;
};

thread_local ConverterCache t_converters;

// ----- Windows single-byte code pages ------------------------------------------------
//
// Windows maps every byte of its single-byte code pages: the bytes the code
// page's chart leaves undefined become the C1 control of the same value
// (0x81 of 1252 is U+0081), a few become private-use characters, and each
// maps back to its byte. iconv's tables leave them out, so these pages are
// converted from tables of their own: iconv's chart, completed with
// Windows' mappings of the undefined bytes.

struct ExtraByte {
    unsigned char byte;
    char16_t unit;
};

// The undefined bytes that Windows maps to something other than the C1
// control of the same value.
constexpr ExtraByte kExtras874[] = {{0xDB, 0xF8C1}, {0xDC, 0xF8C2}, {0xDD, 0xF8C3}, {0xDE, 0xF8C4},
                                    {0xFC, 0xF8C5}, {0xFD, 0xF8C6}, {0xFE, 0xF8C7}, {0xFF, 0xF8C8}};
constexpr ExtraByte kExtras1253[] = {{0xAA, 0xF8F9}, {0xD2, 0xF8FA}, {0xFF, 0xF8FB}};
constexpr ExtraByte kExtras1255[] = {{0xCA, 0x05BA}, {0xD9, 0xF88D}, {0xDA, 0xF88E}, {0xDB, 0xF88F},
                                     {0xDC, 0xF890}, {0xDD, 0xF891}, {0xDE, 0xF892}, {0xDF, 0xF893},
                                     {0xFB, 0xF894}, {0xFC, 0xF895}, {0xFF, 0xF896}};
constexpr ExtraByte kExtras1257[] = {{0xA1, 0xF8FC}, {0xA5, 0xF8FD}};

class SingleBytePage {
public:
    SingleBytePage(unsigned int codePage, const ExtraByte* extras, size_t extraCount) {
        const std::string name = "CP" + std::to_string(codePage);
        iconv_t cd = iconv_open("WCHAR_T", name.c_str());
        for (unsigned b = 0; b < 256; ++b) {
            m_toWide[b] = charted(cd, static_cast<char>(b));
            if (m_toWide[b] != kUndefined)
                continue;
            m_toWide[b] = static_cast<wchar_t>(b);  // the C1 control of the same value
            for (size_t i = 0; i < extraCount; ++i) {
                if (extras[i].byte == b)
                    m_toWide[b] = static_cast<wchar_t>(extras[i].unit);
            }
        }
        if (cd != kNoConverter)
            iconv_close(cd);
        for (unsigned b = 0; b < 256; ++b)
            m_toNarrow.push_back({m_toWide[b], static_cast<unsigned char>(b)});
        std::stable_sort(m_toNarrow.begin(), m_toNarrow.end(),
                         [](const Back& x, const Back& y) { return x.unit < y.unit; });
    }

    wchar_t toWide(unsigned char byte) const { return m_toWide[byte]; }

    // The byte of `unit`, or -1 when the code page has none.
    int toNarrow(wchar_t unit) const {
        const auto found = std::lower_bound(m_toNarrow.begin(), m_toNarrow.end(), unit,
                                            [](const Back& x, wchar_t u) { return x.unit < u; });
        return found != m_toNarrow.end() && found->unit == unit ? found->byte : -1;
    }

private:
    static constexpr wchar_t kUndefined = static_cast<wchar_t>(-1);

    struct Back {
        wchar_t unit;
        unsigned char byte;
    };

    static wchar_t charted(iconv_t cd, char byte) {
        if (cd == kNoConverter)
            return kUndefined;
        iconv(cd, nullptr, nullptr, nullptr, nullptr);
        char* in = &byte;
        size_t inLeft = 1;
        wchar_t out[2] = {};
        char* outPtr = reinterpret_cast<char*>(out);
        size_t outLeft = sizeof out;
        if (iconv(cd, &in, &inLeft, &outPtr, &outLeft) == static_cast<size_t>(-1))
            return kUndefined;
        // The converters of 1255 and 1258 hold a letter back, waiting for a
        // combining mark to compose it with; Windows composes nothing.
        iconv(cd, nullptr, nullptr, &outPtr, &outLeft);
        return outLeft == sizeof out - sizeof(wchar_t) ? out[0] : kUndefined;
    }

    wchar_t m_toWide[256];
    std::vector<Back> m_toNarrow;
};

// Each table is built on first use, once for the process.
template <unsigned int CodePage>
const SingleBytePage& singleBytePage(const ExtraByte* extras = nullptr, size_t count = 0) {
    static const SingleBytePage page(CodePage, extras, count);
    return page;
}

// The table of a Windows single-byte code page, or null for other pages.
const SingleBytePage* windowsSingleBytePage(unsigned int codePage) {
    switch (codePage) {
        case 874:
            return &singleBytePage<874>(kExtras874, std::size(kExtras874));
        case 1250:
            return &singleBytePage<1250>();
        case 1251:
            return &singleBytePage<1251>();
        case 1252:
            return &singleBytePage<1252>();
        case 1253:
            return &singleBytePage<1253>(kExtras1253, std::size(kExtras1253));
        case 1254:
            return &singleBytePage<1254>();
        case 1255:
            return &singleBytePage<1255>(kExtras1255, std::size(kExtras1255));
        case 1256:
            return &singleBytePage<1256>();
        case 1257:
            return &singleBytePage<1257>(kExtras1257, std::size(kExtras1257));
        case 1258:
            return &singleBytePage<1258>();
        default:
            return nullptr;
    }
}

// Collects converted output: copies what fits into the caller's buffer and
// counts everything.
template <typename Char>
struct BoundedOutput {
    Char* target;
    size_t capacity;
    size_t count = 0;

    void append(const Char* data, size_t n) {
        if (count < capacity) {
            const size_t fits = n < capacity - count ? n : capacity - count;
            std::memcpy(target + count, data, fits * sizeof(Char));
        }
        count += n;
    }
};

// Runs iconv over the whole input through a small staging buffer. On a
// byte sequence it cannot convert it calls `onInvalid` and skips `skip`
// input bytes, so a conversion always completes.
template <typename OutChar, typename OnInvalid>
void convert(iconv_t cd, const char* input, size_t inputBytes, size_t skip,
             BoundedOutput<OutChar>& output, OnInvalid onInvalid) {
    OutChar staging[512];
    char* in = const_cast<char*>(input);
    size_t inLeft = inputBytes;
    while (true) {
        char* out = reinterpret_cast<char*>(staging);
        size_t outLeft = sizeof(staging);
        const size_t rc = inLeft > 0 ? iconv(cd, &in, &inLeft, &out, &outLeft)
                                     : iconv(cd, nullptr, nullptr, &out, &outLeft);
        const int error = errno;
        output.append(
            staging, static_cast<size_t>(out - reinterpret_cast<char*>(staging)) / sizeof(OutChar));
        if (rc != static_cast<size_t>(-1)) {
            if (inLeft == 0) {
                // Flush any shift state once, then stop.
                out = reinterpret_cast<char*>(staging);
                outLeft = sizeof(staging);
                iconv(cd, nullptr, nullptr, &out, &outLeft);
                output.append(staging, static_cast<size_t>(out - reinterpret_cast<char*>(staging)) /
                                           sizeof(OutChar));
                return;
            }
            continue;
        }
        if (error == E2BIG)
            continue;
        if (error == EINVAL) {  // an incomplete sequence at the end of the input
            onInvalid();
            return;
        }
        // EILSEQ (or anything unexpected): replace and step over.
        onInvalid();
        const size_t step = skip < inLeft ? skip : inLeft;
        in += step;
        inLeft -= step;
        if (inLeft == 0)
            return;
    }
}

}  // namespace

size_t toWide(unsigned int codePage, const char* source, size_t length, wchar_t* target,
              size_t capacity, bool& ok) {
    if (const SingleBytePage* page = windowsSingleBytePage(codePage)) {
        ok = true;
        const size_t fits = length < capacity ? length : capacity;
        for (size_t i = 0; i < fits; ++i)
            target[i] = page->toWide(static_cast<unsigned char>(source[i]));
        return length;
    }
    iconv_t cd = t_converters.get(codePage, true);
    ok = cd != nullptr;
    if (!ok)
        return 0;
    BoundedOutput<wchar_t> output{target, capacity};
    const wchar_t replacement = kReplacementCharacter;
    convert(cd, source, length, 1, output, [&] { output.append(&replacement, 1); });
    return output.count;
}

size_t toNarrow(unsigned int codePage, const wchar_t* source, size_t length, char* target,
                size_t capacity, const char* defaultChar, bool* usedDefault, bool& ok) {
    if (const SingleBytePage* page = windowsSingleBytePage(codePage)) {
        ok = true;
        BoundedOutput<char> output{target, capacity};
        const char* replacement = defaultChar != nullptr ? defaultChar : "?";
        bool used = false;
        for (size_t i = 0; i < length; ++i) {
            const int byte = page->toNarrow(source[i]);
            if (byte >= 0) {
                const char c = static_cast<char>(byte);
                output.append(&c, 1);
            } else {
                used = true;
                output.append(replacement, std::strlen(replacement));
            }
        }
        if (usedDefault != nullptr)
            *usedDefault = used;
        return output.count;
    }
    iconv_t cd = t_converters.get(codePage, false);
    ok = cd != nullptr;
    if (!ok)
        return 0;
    BoundedOutput<char> output{target, capacity};
    const char* replacement = defaultChar != nullptr ? defaultChar : "?";
    bool used = false;
    convert(cd, reinterpret_cast<const char*>(source), length * sizeof(wchar_t), sizeof(wchar_t),
            output, [&] {
                used = true;
                output.append(replacement, std::strlen(replacement));
            });
    if (usedDefault != nullptr)
        *usedDefault = used;
    return output.count;
}

bool isSupported(unsigned int codePage) {
    return codePage == kCodePageUtf8 || windowsSingleBytePage(codePage) != nullptr ||
           t_converters.get(codePage, true) != nullptr;
}

unsigned int narrowCodePage() {
    const char* configured = std::getenv("KEL_ACP");
    if (configured == nullptr || *configured == '\0')
        return kCodePageUtf8;
    char* end = nullptr;
    const unsigned long value = std::strtoul(configured, &end, 10);
    if (*end != '\0' || value == 0 || value > 65535 || !isSupported(value)) {
        debugOutput(L"kel: KEL_ACP does not name a supported code page; using UTF-8");
        return kCodePageUtf8;
    }
    return static_cast<unsigned int>(value);
}

}  // namespace kel::detail::system
