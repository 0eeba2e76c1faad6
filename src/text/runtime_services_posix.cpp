// Runtime services on POSIX: the C library's clock and time zones, the
// process environment, access(2) and a BSTR-compatible block on the heap.

#include "text/runtime_services.h"

#include <unistd.h>

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <vector>

#include "platform/code_page.h"
#include "platform/path.h"
#include "platform/secure_zero.h"

namespace kel::detail::services {

long long currentTime() {
    return static_cast<long long>(std::time(nullptr));
}

bool localCalendarTime(long long time, struct tm& result) {
    const time_t t = static_cast<time_t>(time);
    return localtime_r(&t, &result) != nullptr;
}

TimeZone currentTimeZone() {
    ::tzset();
    TimeZone zone;
    zone.standardBias = static_cast<long>(::timezone);
    zone.standardName = ::tzname[0] != nullptr ? ::tzname[0] : "";
    zone.daylightName = ::tzname[1] != nullptr ? ::tzname[1] : "";
    // The C library keeps no daylight bias: it is the offset of a moment of
    // this year that falls in daylight time, if any does.
    const time_t now = std::time(nullptr);
    struct tm local = {};
    if (::daylight != 0 && localtime_r(&now, &local) != nullptr) {
        const int year = local.tm_year;
        for (int month = 0; month < 12; ++month) {
            struct tm probe = {};
            probe.tm_year = year;
            probe.tm_mon = month;
            probe.tm_mday = 15;
            probe.tm_hour = 12;
            probe.tm_isdst = -1;
            const time_t t = std::mktime(&probe);
            struct tm back = {};
            if (t != static_cast<time_t>(-1) && localtime_r(&t, &back) != nullptr &&
                back.tm_isdst > 0) {
                zone.daylightBias = -back.tm_gmtoff - zone.standardBias;
                break;
            }
        }
    }
    return zone;
}

bool environmentValue(const std::string& name, std::string& value) {
    const char* found = std::getenv(name.c_str());
    if (found == nullptr)
        return false;
    value = found;
    return true;
}

bool environmentValue(const std::wstring& name, std::wstring& value) {
    std::string narrow;
    if (!environmentValue(toNarrow(name), narrow))
        return false;
    value = toWide(narrow);
    return true;
}

const wchar_t* pathListSeparators() {
    return L":;";
}

bool pathExists(const std::wstring& path) {
    if (path.empty())
        return false;
    return ::access(toNativePath(path).c_str(), F_OK) == 0;
}

std::wstring fullPath(const std::wstring& path) {
    std::wstring joined = toNativeSeparators(path);
    if (joined.empty() || joined[0] != L'/') {
        std::vector<char> cwd(4096);
        if (::getcwd(cwd.data(), cwd.size()) == nullptr)
            return std::wstring();
        joined = fromNativePath(cwd.data()) + L"/" + joined;
    }
    // Resolve "." and ".." lexically, as the runtime's _fullpath does.
    const std::vector<std::wstring> parts = resolvedParts(joined, L'/');
    std::wstring result;
    for (const std::wstring& part : parts)
        result += L"/" + part;
    return result.empty() ? std::wstring(L"/") : result;
}

// The block: a 32-bit byte count, the characters, a terminator (four zero
// bytes, enough for units of either width).
void* allocateBstrBlock(const void* data, size_t bytes) {
    if (bytes > UINT32_MAX)
        return nullptr;
    auto* block = static_cast<unsigned char*>(std::malloc(sizeof(uint32_t) + bytes + 4));
    if (block == nullptr)
        return nullptr;
    const uint32_t prefix = static_cast<uint32_t>(bytes);
    std::memcpy(block, &prefix, sizeof prefix);
    unsigned char* characters = block + sizeof(uint32_t);
    if (bytes > 0)
        std::memcpy(characters, data, bytes);
    std::memset(characters + bytes, 0, 4);
    return characters;
}

wchar_t* allocateBstr(const wchar_t* text, unsigned int length) {
    return static_cast<wchar_t*>(
        allocateBstrBlock(text, static_cast<size_t>(length) * sizeof(wchar_t)));
}

void freeBstr(void* bstr) {
    if (bstr == nullptr)
        return;
    unsigned char* block = static_cast<unsigned char*>(bstr) - sizeof(uint32_t);
    uint32_t bytes = 0;
    std::memcpy(&bytes, block, sizeof bytes);
    secureZero(block, sizeof(uint32_t) + bytes);
    std::free(block);
}

}  // namespace kel::detail::services
