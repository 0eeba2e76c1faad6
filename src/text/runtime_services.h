// The operating-system services behind the bounded runtime routines and the
// string conversions: local time, environment variables, file lookup and
// COM strings. runtime_services_posix.cpp and runtime_services_win32.cpp
// provide them.

#ifndef KEL_TEXT_RUNTIME_SERVICES_H
#define KEL_TEXT_RUNTIME_SERVICES_H

#include <cstddef>
#include <ctime>
#include <string>

namespace kel::detail::services {

// The present time in seconds since 1970-01-01 UTC.
long long currentTime();

// The local calendar time of `time` (seconds since 1970-01-01 UTC) by the
// system's time-zone rules; false when the system cannot convert it.
bool localCalendarTime(long long time, struct tm& result);

// The runtime's time zone, as its _tzset leaves it (from TZ when that is
// set): the bias of standard time in seconds west of UTC, the bias added to
// it in daylight time (-3600 for most zones) and the two names.
struct TimeZone {
    long standardBias = 0;
    long daylightBias = -3600;
    std::string standardName;
    std::string daylightName;
};
TimeZone currentTimeZone();

// The value of an environment variable; false when it is not set. The
// narrow form passes names and values in the narrow code page.
bool environmentValue(const std::string& name, std::string& value);
bool environmentValue(const std::wstring& name, std::wstring& value);

// The characters that separate the directories of a search-path variable
// (";" on Windows; ":" and ";" elsewhere).
const wchar_t* pathListSeparators();

// True when a file or directory exists at `path` ("\" or "/" separated).
bool pathExists(const std::wstring& path);

// `path` made absolute against the current directory, with "." and ".."
// parts resolved; empty when that fails.
std::wstring fullPath(const std::wstring& path);

// A COM string holding `length` wide characters of `text`: the text is
// preceded by its length in bytes (32 bits) and followed by a terminator.
// Released with freeBstr (which wipes the text first).
wchar_t* allocateBstr(const wchar_t* text, unsigned int length);
void freeBstr(void* bstr);

// POSIX only: a block of the same layout holding `bytes` bytes of text of
// any width (the 16-bit entry points' COM strings).
void* allocateBstrBlock(const void* data, size_t bytes);

}  // namespace kel::detail::services

#endif  // KEL_TEXT_RUNTIME_SERVICES_H
