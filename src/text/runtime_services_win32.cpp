// Runtime services on Windows: the system's clock and time zone, the process
// environment, file attributes, full paths and COM strings.

#include "text/runtime_services.h"

#include <windows.h>

#include <oleauto.h>

#include <ctime>
#include <string>
#include <vector>

namespace kel::detail::services {

long long currentTime() {
    return static_cast<long long>(_time64(nullptr));
}

namespace {

bool runtimeLocalTime(long long time, struct tm& result) {
    const __time64_t t = static_cast<__time64_t>(time);
    return _localtime64_s(&result, &t) == 0;
}

// Sets a calendar time on 1970-01-01 or 1970-01-02 back by one day.
void oneDayBack(struct tm& t) {
    t.tm_wday = (t.tm_wday + 6) % 7;
    if (t.tm_mday > 1) {
        --t.tm_mday;
        --t.tm_yday;
        return;
    }
    t.tm_year -= 1;
    t.tm_mon = 11;
    t.tm_mday = 31;
    t.tm_yday = 364;
}

}  // namespace

bool localCalendarTime(long long time, struct tm& result) {
    // The C runtime of MinGW programs (msvcrt.dll) converts no time before
    // 1970, where that of Visual Studio takes the last day of 1969 too. Such
    // a time converts as the same moment a day later, set back by a day.
    if (time < 0 && time >= -86400) {
        if (!runtimeLocalTime(time + 86400, result))
            return false;
        oneDayBack(result);
        return true;
    }
    return runtimeLocalTime(time, result);
}

// The runtime's own globals, which every C runtime of Windows exports (the
// _get_ functions are missing from the oldest one).
TimeZone currentTimeZone() {
    _tzset();
    TimeZone zone;
    zone.standardBias = _timezone;
    // A zone with daylight time but a bias of 0 takes the runtime's default
    // of -3600: some runtimes (Wine's) keep the bias of the previous zone
    // when TZ changes.
    zone.daylightBias = _daylight != 0 && _dstbias == 0 ? -3600 : _dstbias;
    zone.standardName = _tzname[0] != nullptr ? _tzname[0] : "";
    zone.daylightName = _tzname[1] != nullptr ? _tzname[1] : "";
    return zone;
}

bool environmentValue(const std::string& name, std::string& value) {
    const DWORD needed = GetEnvironmentVariableA(name.c_str(), nullptr, 0);
    if (needed == 0)
        return GetLastError() != ERROR_ENVVAR_NOT_FOUND && (value.clear(), true);
    std::vector<char> buffer(needed);
    const DWORD length = GetEnvironmentVariableA(name.c_str(), buffer.data(), needed);
    value.assign(buffer.data(), length);
    return true;
}

bool environmentValue(const std::wstring& name, std::wstring& value) {
    const DWORD needed = GetEnvironmentVariableW(name.c_str(), nullptr, 0);
    if (needed == 0)
        return GetLastError() != ERROR_ENVVAR_NOT_FOUND && (value.clear(), true);
    std::vector<wchar_t> buffer(needed);
    const DWORD length = GetEnvironmentVariableW(name.c_str(), buffer.data(), needed);
    value.assign(buffer.data(), length);
    return true;
}

const wchar_t* pathListSeparators() {
    return L";";
}

bool pathExists(const std::wstring& path) {
    return !path.empty() && GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

std::wstring fullPath(const std::wstring& path) {
    const DWORD needed = GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
    if (needed == 0)
        return std::wstring();
    std::vector<wchar_t> buffer(needed);
    const DWORD length = GetFullPathNameW(path.c_str(), needed, buffer.data(), nullptr);
    return std::wstring(buffer.data(), length);
}

wchar_t* allocateBstr(const wchar_t* text, unsigned int length) {
    return SysAllocStringLen(text, length);
}

void freeBstr(void* bstr) {
    SysFreeString(static_cast<BSTR>(bstr));
}

void* allocateBstrBlock(const void* data, size_t bytes) {
    return SysAllocStringByteLen(static_cast<const char*>(data), static_cast<UINT>(bytes));
}

}  // namespace kel::detail::services
