// The system half of code-page conversion on POSIX: iconv.

#include <errno.h>
#include <iconv.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

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
    return codePage == kCodePageUtf8 || t_converters.get(codePage, true) != nullptr;
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
