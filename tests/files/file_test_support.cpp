#include "file_test_support.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

#include "support/isolation.h"
#include "support/system.h"

#include <kel/KelPlatform.h>

#include <sys/stat.h>

#if !defined(_WIN32)
#include <sys/wait.h>
#endif

namespace kel::test {

std::string pathIn(const std::string& name) {
    return tempDir() + "/" + name;
}

std::wstring widePathIn(const std::string& name) {
    return widen(pathIn(name));
}

std::wstring widen(const std::string& utf8) {
    std::wstring result;
    for (size_t i = 0; i < utf8.size();) {
        const unsigned char lead = static_cast<unsigned char>(utf8[i]);
        const int follow = lead < 0x80 ? 0 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
        uint32_t value = follow == 0 ? lead : (lead & (0x3F >> follow));
        for (int k = 1; k <= follow && i + k < utf8.size(); ++k)
            value = (value << 6) | (static_cast<unsigned char>(utf8[i + k]) & 0x3F);
        result += static_cast<wchar_t>(value);
        i += static_cast<size_t>(follow) + 1;
    }
    return result;
}

Bytes readAll(const std::string& path) {
    std::ifstream in(std::filesystem::u8path(path), std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void writeAll(const std::string& path, const Bytes& bytes) {
    std::ofstream out(std::filesystem::u8path(path), std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes.data()),
              static_cast<std::streamsize>(bytes.size()));
}

void writeText(const std::string& path, const std::string& text) {
    writeAll(path, bytesOf(text));
}

Bytes bytesOf(const std::string& text) {
    return Bytes(text.begin(), text.end());
}

Bytes inTextMode(const Bytes& bytes, size_t unitSize) {
    if (!kWindows)
        return bytes;
    Bytes result;
    for (size_t i = 0; i < bytes.size(); i += unitSize) {
        const bool lineFeed = bytes[i] == '\n' && (unitSize == 1 || bytes[i + 1] == 0);
        if (lineFeed) {
            result.push_back('\r');
            result.insert(result.end(), unitSize - 1, 0);
        }
        result.insert(result.end(), bytes.begin() + i,
                      bytes.begin() + std::min(i + unitSize, bytes.size()));
    }
    return result;
}

std::wstring readInTextMode(const std::wstring& text) {
    if (!kWindows)
        return text;
    std::wstring result;
    for (size_t i = 0; i < text.size(); ++i) {
        if (!(text[i] == L'\r' && i + 1 < text.size() && text[i + 1] == L'\n'))
            result += text[i];
    }
    return result;
}

bool narrowText(const std::wstring& text, std::string& narrow) {
    return narrowSample(kelGetNarrowCodePage(), text, narrow);
}

Bytes randomBytes(size_t count, uint32_t seed) {
    // xorshift64*: fast enough for tens of megabytes in a debug build.
    uint64_t state = 0x9E3779B97F4A7C15ull ^ seed;
    Bytes bytes(count);
    for (size_t i = 0; i < count; i += 8) {
        state ^= state >> 12;
        state ^= state << 25;
        state ^= state >> 27;
        const uint64_t value = state * 0x2545F4914F6CDD1Dull;
        std::memcpy(bytes.data() + i, &value, std::min<size_t>(8, count - i));
    }
    return bytes;
}

Bytes textBytes(size_t count, uint32_t seed) {
    static const char* const kWords[] = {"beam",  "column", "plate",  "bolt",  "HEA",   "IPE",
                                         "200",   "S235JR", "weld",   "angle", "0.125", "mark",
                                         "frame", "brace",  "length", "=",     "mm",    "\n"};
    // A block of 256 KiB of words, repeated: compressible like real text.
    std::mt19937 generator(seed);
    Bytes block;
    const size_t blockSize = std::min<size_t>(count, 256 * 1024);
    while (block.size() < blockSize) {
        const char* word = kWords[generator() % (sizeof kWords / sizeof kWords[0])];
        block.insert(block.end(), word, word + std::char_traits<char>::length(word));
        block.push_back(' ');
    }
    block.resize(blockSize);
    Bytes bytes(count);
    for (size_t i = 0; i < count; i += blockSize)
        std::memcpy(bytes.data() + i, block.data(), std::min(blockSize, count - i));
    return bytes;
}

time_t modificationTime(const std::string& path) {
#if defined(_WIN32)
    struct _stat64 info = {};
    return _wstat64(widen(path).c_str(), &info) == 0 ? static_cast<time_t>(info.st_mtime) : 0;
#else
    struct stat info = {};
    return ::stat(path.c_str(), &info) == 0 ? info.st_mtime : 0;
#endif
}

std::tm localTime(time_t when) {
    std::tm local = {};
#if defined(_WIN32)
    localtime_s(&local, &when);
#else
    localtime_r(&when, &local);
#endif
    return local;
}

int run(const std::string& command, std::string* output) {
#if defined(_WIN32)
    FILE* pipe = ::_popen(command.c_str(), "r");
#else
    FILE* pipe = ::popen(command.c_str(), "r");
#endif
    if (pipe == nullptr)
        return -1;
    std::string text;
    char buffer[4096];
    size_t n = 0;
    while ((n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0)
        text.append(buffer, n);
#if defined(_WIN32)
    const int status = ::_pclose(pipe);
#else
    const int status = ::pclose(pipe);
#endif
    if (output != nullptr)
        *output = text;
#if defined(_WIN32)
    return status;
#else
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
#endif
}

std::string quoted(const std::string& text) {
    std::string result = "'";
    for (char c : text) {
        if (c == '\'') {
            result += "'\\''";
        } else {
            result += c;
        }
    }
    return result + "'";
}

std::string narrowPath(const std::wstring& path) {
    std::string result;
    for (wchar_t c : path) {
        const uint32_t v = static_cast<uint32_t>(c);
        if (v < 0x80) {
            result += static_cast<char>(v);
        } else if (v < 0x800) {
            result += static_cast<char>(0xC0 | (v >> 6));
            result += static_cast<char>(0x80 | (v & 0x3F));
        } else if (v < 0x10000) {
            result += static_cast<char>(0xE0 | (v >> 12));
            result += static_cast<char>(0x80 | ((v >> 6) & 0x3F));
            result += static_cast<char>(0x80 | (v & 0x3F));
        } else {
            result += static_cast<char>(0xF0 | (v >> 18));
            result += static_cast<char>(0x80 | ((v >> 12) & 0x3F));
            result += static_cast<char>(0x80 | ((v >> 6) & 0x3F));
            result += static_cast<char>(0x80 | (v & 0x3F));
        }
    }
    return result;
}

}  // namespace kel::test
