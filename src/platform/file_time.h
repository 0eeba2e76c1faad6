// SYSTEMTIME and FILETIME and the conversions between them.
//
// A FILETIME counts 100-nanosecond ticks since 1601-01-01 00:00:00 on the
// proleptic Gregorian calendar; a SYSTEMTIME is the same moment as calendar
// fields. The conversions are pure arithmetic, with the Windows rules: a
// SYSTEMTIME converts when its year is 1601..30827 and every other field
// (except the day of the week, which is ignored) is a valid value; a
// FILETIME converts while its top bit is clear.
//
//   SYSTEMTIME st = {2024, 2, 0, 29, 12, 0, 0, 0};
//   FILETIME ft;
//   if (systemTimeToFileTime(st, ft)) { ... fileTimeTicks(ft) ... }

#ifndef KEL_PLATFORM_FILE_TIME_H
#define KEL_PLATFORM_FILE_TIME_H

#include <kel/KelPlatformTypes.h>

#include <cstdint>

namespace kel::detail {

// 100-nanosecond ticks per unit.
constexpr int64_t kTicksPerMillisecond = 10000;
constexpr int64_t kTicksPerSecond = 10000000;
constexpr int64_t kTicksPerMinute = 600000000;
constexpr int64_t kTicksPerHour = 36000000000;
constexpr int64_t kTicksPerDay = 864000000000;

// Seconds from 1601-01-01 to 1970-01-01.
constexpr int64_t kSecondsFrom1601To1970 = 11644473600;

uint64_t fileTimeTicks(const FILETIME& time);
FILETIME fileTimeFromTicks(uint64_t ticks);

// False (and `out` untouched) for an invalid SYSTEMTIME.
bool systemTimeToFileTime(const SYSTEMTIME& time, FILETIME& out);
// False (and `out` untouched) when the top bit of the count is set. Fills
// in the day of the week.
bool fileTimeToSystemTime(const FILETIME& time, SYSTEMTIME& out);

// -1 when a is earlier than b, 0 when equal, +1 when later.
int compareFileTime(const FILETIME& a, const FILETIME& b);

}  // namespace kel::detail

#endif  // KEL_PLATFORM_FILE_TIME_H
