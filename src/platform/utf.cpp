#include "platform/utf.h"

#include <cstdint>
#include <cstring>

namespace kel::detail {

namespace {

// Appends one code point to a bounded wide output, as a surrogate pair
// where wchar_t is 16 bits. Counts what would have been written either way.
struct WideSink {
    wchar_t* out;
    size_t capacity;
    size_t count = 0;

    void put(uint32_t cp) {
        if (kWideIsUtf16 && cp >= 0x10000) {
            cp -= 0x10000;
            unit(static_cast<wchar_t>(0xD800 + (cp >> 10)));
            unit(static_cast<wchar_t>(0xDC00 + (cp & 0x3FF)));
            return;
        }
        unit(static_cast<wchar_t>(cp));
    }
    void unit(wchar_t c) {
        if (count < capacity)
            out[count] = c;
        ++count;
    }
};

struct ByteSink {
    char* out;
    size_t capacity;
    size_t count = 0;

    void put(char c) {
        if (count < capacity)
            out[count] = c;
        ++count;
    }
    void putCodePoint(uint32_t cp) {
        if (cp < 0x80) {
            put(static_cast<char>(cp));
        } else if (cp < 0x800) {
            put(static_cast<char>(0xC0 | (cp >> 6)));
            put(static_cast<char>(0x80 | (cp & 0x3F)));
        } else if (cp < 0x10000) {
            put(static_cast<char>(0xE0 | (cp >> 12)));
            put(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
            put(static_cast<char>(0x80 | (cp & 0x3F)));
        } else {
            put(static_cast<char>(0xF0 | (cp >> 18)));
            put(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
            put(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
            put(static_cast<char>(0x80 | (cp & 0x3F)));
        }
    }
};

bool isHighSurrogate(uint32_t u) {
    return u >= 0xD800 && u <= 0xDBFF;
}
bool isLowSurrogate(uint32_t u) {
    return u >= 0xDC00 && u <= 0xDFFF;
}

}  // namespace

size_t utf8ToWide(const char* in, size_t length, wchar_t* out, size_t capacity) {
    WideSink sink{out, capacity};
    const auto* bytes = reinterpret_cast<const unsigned char*>(in);
    size_t i = 0;
    while (i < length) {
        const unsigned char lead = bytes[i];
        if (lead < 0x80) {
            sink.unit(static_cast<wchar_t>(lead));
            ++i;
            continue;
        }
        // Well-formed sequences per the Unicode table; the first trail byte
        // has a narrower range after E0, ED, F0 and F4.
        int trailing = 0;
        uint32_t cp = 0;
        unsigned char low = 0x80, high = 0xBF;
        if (lead >= 0xC2 && lead <= 0xDF) {
            trailing = 1;
            cp = lead & 0x1F;
        } else if (lead >= 0xE0 && lead <= 0xEF) {
            trailing = 2;
            cp = lead & 0x0F;
            if (lead == 0xE0)
                low = 0xA0;
            if (lead == 0xED)
                high = 0x9F;
        } else if (lead >= 0xF0 && lead <= 0xF4) {
            trailing = 3;
            cp = lead & 0x07;
            if (lead == 0xF0)
                low = 0x90;
            if (lead == 0xF4)
                high = 0x8F;
        } else {
            sink.unit(kReplacementCharacter);
            ++i;
            continue;
        }
        size_t j = i + 1;
        int seen = 0;
        for (; seen < trailing && j < length; ++seen, ++j) {
            const unsigned char c = bytes[j];
            if (c < low || c > high)
                break;
            low = 0x80;
            high = 0xBF;
            cp = (cp << 6) | (c & 0x3F);
        }
        // A truncated or broken sequence becomes one U+FFFD for its maximal
        // valid prefix; decoding resumes at the offending byte.
        sink.put(seen == trailing ? cp : kReplacementCharacter);
        i = j;
    }
    return sink.count;
}

size_t wideToUtf8(const wchar_t* in, size_t length, char* out, size_t capacity,
                  const char* replacement, bool* usedReplacement) {
    ByteSink sink{out, capacity};
    bool replaced = false;
    auto unencodable = [&] {
        replaced = true;
        if (replacement == nullptr) {
            sink.putCodePoint(kReplacementCharacter);
            return;
        }
        for (const char* r = replacement; *r != '\0'; ++r)
            sink.put(*r);
    };
    for (size_t i = 0; i < length; ++i) {
        // Runs of ASCII go straight through while they fit.
        while (i < length && static_cast<uint32_t>(in[i]) < 0x80 && sink.count < capacity) {
            out[sink.count++] = static_cast<char>(in[i++]);
        }
        if (i == length)
            break;
        uint32_t cp = static_cast<uint32_t>(in[i]);
        if (cp < 0x80) {
            sink.put(static_cast<char>(cp));
            continue;
        }
        if (kWideIsUtf16 && isHighSurrogate(cp) && i + 1 < length &&
            isLowSurrogate(static_cast<uint32_t>(in[i + 1]))) {
            cp = 0x10000 + ((cp - 0xD800) << 10) + (static_cast<uint32_t>(in[i + 1]) - 0xDC00);
            ++i;
        } else if (isHighSurrogate(cp) || isLowSurrogate(cp) || cp > 0x10FFFF) {
            unencodable();
            continue;
        }
        sink.putCodePoint(cp);
    }
    if (usedReplacement != nullptr)
        *usedReplacement = replaced;
    return sink.count;
}

size_t utf16Length(const unsigned short* text) {
    if (text == nullptr)
        return 0;
    size_t n = 0;
    while (text[n] != 0)
        ++n;
    return n;
}

std::wstring utf16ToWide(const unsigned short* in, size_t length) {
    std::wstring result;
    if (in == nullptr || length == 0)
        return result;
    if constexpr (kWideIsUtf16) {
        result.assign(reinterpret_cast<const wchar_t*>(in), length);
        return result;
    }
    result.reserve(length);
    for (size_t i = 0; i < length; ++i) {
        uint32_t u = in[i];
        if (isHighSurrogate(u) && i + 1 < length && isLowSurrogate(in[i + 1])) {
            u = 0x10000 + ((u - 0xD800) << 10) + (in[i + 1] - 0xDC00u);
            ++i;
        }
        result.push_back(static_cast<wchar_t>(u));
    }
    return result;
}

std::wstring utf16ToWide(const unsigned short* zeroTerminated) {
    return utf16ToWide(zeroTerminated, utf16Length(zeroTerminated));
}

Utf16String wideToUtf16(const wchar_t* in, size_t length) {
    Utf16String result;
    if (in == nullptr || length == 0)
        return result;
    result.reserve(length);
    for (size_t i = 0; i < length; ++i) {
        const uint32_t cp = static_cast<uint32_t>(in[i]);
        if (!kWideIsUtf16 && cp >= 0x10000 && cp <= 0x10FFFF) {
            const uint32_t v = cp - 0x10000;
            result.push_back(static_cast<unsigned short>(0xD800 + (v >> 10)));
            result.push_back(static_cast<unsigned short>(0xDC00 + (v & 0x3FF)));
        } else if (cp > 0xFFFF) {
            result.push_back(static_cast<unsigned short>(kReplacementCharacter));
        } else {
            result.push_back(static_cast<unsigned short>(cp));
        }
    }
    return result;
}

std::wstring utf8ToWide(std::string_view text) {
    std::wstring result(text.size(), L'\0');  // never more characters than bytes
    result.resize(utf8ToWide(text.data(), text.size(), result.data(), result.size()));
    return result;
}

std::string wideToUtf8(std::wstring_view text) {
    std::string result;
    result.resize(wideToUtf8(text.data(), text.size(), nullptr, 0, nullptr, nullptr));
    wideToUtf8(text.data(), text.size(), result.data(), result.size(), nullptr, nullptr);
    return result;
}

}  // namespace kel::detail
