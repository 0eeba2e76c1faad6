#include "diagnostics_test_support.h"

#include <kel/KelVersion.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <iterator>

#include "support/isolation.h"
#include "support/system.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <unistd.h>
#endif

namespace fs = std::filesystem;

namespace kel::test {

std::string readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void writeFile(const fs::path& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

std::string textMode(const std::string& text) {
    if (!kWindows)
        return text;
    std::string result;
    for (char c : text) {
        if (c == '\n')
            result += '\r';
        result += c;
    }
    return result;
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string::npos)
            end = text.size();
        std::string line = text.substr(start, end - start);
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        lines.push_back(line);
        start = end + 1;
    }
    return lines;
}

fs::path inTestDir(const std::string& name) {
    return fs::path(tempDirW()) / fs::u8path(name);
}

std::set<std::string> testDirEntries() {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(fs::path(tempDirW())))
        names.insert(entry.path().filename().u8string());
    return names;
}

std::set<std::string> isolationEntries() {
    return {"cache", "config", "data", "home", "registry", "runtime"};
}

fs::path peSample(const std::string& name) {
    return fs::path(selfPath()).parent_path() / "pe_samples" / name;
}

bool parseListingLine(const std::string& line, ListingLine& parsed) {
    auto isHex = [](const std::string& s) {
        return !s.empty() && s.find_first_not_of("0123456789abcdef") == std::string::npos;
    };
    if (line.size() < 38 || line.compare(0, 2, "0x") != 0 || line.compare(10, 4, "  0x") != 0)
        return false;
    parsed.base = line.substr(2, 8);
    const std::string sizeColumn = line.substr(14, 8);
    parsed.size = sizeColumn.substr(0, sizeColumn.find(' '));
    const size_t padding = sizeColumn.find(' ');
    if (padding != std::string::npos &&
        sizeColumn.find_first_not_of(' ', padding) != std::string::npos) {
        return false;
    }
    // A version longer than its 16 columns pushes the path to the right.
    const size_t versionEnd = line.find_first_not_of("0123456789.", 22);
    const size_t pathStart =
        std::max<size_t>(38, versionEnd == std::string::npos ? line.size() : versionEnd);
    if (line.find_first_not_of(' ', versionEnd) < 38)
        return false;
    parsed.version = line.substr(22, pathStart - 22);
    parsed.path = line.substr(pathStart);
    return isHex(parsed.base) && isHex(parsed.size);
}

unsigned long currentProcessId() {
#if defined(_WIN32)
    return ::GetCurrentProcessId();
#else
    return static_cast<unsigned long>(::getpid());
#endif
}

int64_t utcMilliseconds(int year, int month, int day, int hour, int minute, int second,
                        int millisecond) {
    // Days from 1970-01-01 of a proleptic Gregorian date (Howard Hinnant's
    // days_from_civil).
    const int y = year - (month <= 2 ? 1 : 0);
    const int era = (y >= 0 ? y : y - 399) / 400;
    const int yoe = y - era * 400;
    const int doy = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    const int doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    const int64_t days = static_cast<int64_t>(era) * 146097 + doe - 719468;
    return ((days * 24 + hour) * 60 + minute) * 60000 + second * 1000 + millisecond;
}

int64_t utcNowMilliseconds() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

std::string fileNameOf(const std::string& path) {
    const size_t slash = path.find_last_of("/\\");
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string libraryFileVersion() {
    char text[32];
    std::snprintf(text, sizeof text, "%d.%02d.%04d.0000", KEL_VERSION_MAJOR, KEL_VERSION_MINOR,
                  KEL_VERSION_PATCH);
    return text;
}

}  // namespace kel::test
