// Calendar arithmetic on the proleptic Gregorian calendar.

#include "platform/file_time.h"

namespace kel::detail {

namespace {

constexpr int64_t kMaxTicks = INT64_MAX;

bool isLeapYear(int64_t year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int daysInMonth(int64_t year, int month) {
    static const int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && isLeapYear(year) ? 29 : kDays[month - 1];
}

// Days from 1970-01-01 to the given date (negative before it), for any
// date of the proleptic Gregorian calendar.
int64_t daysFromCivil(int64_t year, int month, int day) {
    year -= month <= 2 ? 1 : 0;
    const int64_t era = (year >= 0 ? year : year - 399) / 400;
    const int64_t yearOfEra = year - era * 400;
    const int64_t dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    const int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + dayOfEra - 719468;
}

// The inverse of daysFromCivil.
void civilFromDays(int64_t days, int64_t& year, int& month, int& day) {
    days += 719468;
    const int64_t era = (days >= 0 ? days : days - 146096) / 146097;
    const int64_t dayOfEra = days - era * 146097;
    const int64_t yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const int64_t monthIndex = (5 * dayOfYear + 2) / 153;
    day = static_cast<int>(dayOfYear - (153 * monthIndex + 2) / 5 + 1);
    month = static_cast<int>(monthIndex < 10 ? monthIndex + 3 : monthIndex - 9);
    year = yearOfEra + era * 400 + (month <= 2 ? 1 : 0);
}

// Days from 1601-01-01 to 1970-01-01.
constexpr int64_t kDaysFrom1601To1970 = kSecondsFrom1601To1970 / 86400;

bool isValid(const SYSTEMTIME& t) {
    return t.wYear >= 1601 && t.wYear <= 30827 && t.wMonth >= 1 && t.wMonth <= 12 && t.wDay >= 1 &&
           t.wDay <= daysInMonth(t.wYear, t.wMonth) && t.wHour < 24 && t.wMinute < 60 &&
           t.wSecond < 60 && t.wMilliseconds < 1000;
}

}  // namespace

uint64_t fileTimeTicks(const FILETIME& time) {
    return (static_cast<uint64_t>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
}

FILETIME fileTimeFromTicks(uint64_t ticks) {
    FILETIME time;
    time.dwLowDateTime = static_cast<uint32_t>(ticks & 0xFFFFFFFFu);
    time.dwHighDateTime = static_cast<uint32_t>(ticks >> 32);
    return time;
}

bool systemTimeToFileTime(const SYSTEMTIME& time, FILETIME& out) {
    if (!isValid(time))
        return false;
    const int64_t days = daysFromCivil(time.wYear, time.wMonth, time.wDay) + kDaysFrom1601To1970;
    const int64_t seconds = ((days * 24 + time.wHour) * 60 + time.wMinute) * 60 + time.wSecond;
    out = fileTimeFromTicks(static_cast<uint64_t>(seconds * kTicksPerSecond +
                                                  time.wMilliseconds * kTicksPerMillisecond));
    return true;
}

bool fileTimeToSystemTime(const FILETIME& time, SYSTEMTIME& out) {
    const uint64_t ticks = fileTimeTicks(time);
    if (ticks > static_cast<uint64_t>(kMaxTicks))
        return false;
    const int64_t days = static_cast<int64_t>(ticks / kTicksPerDay);
    int64_t rest = static_cast<int64_t>(ticks % kTicksPerDay);
    int64_t year = 0;
    int month = 0;
    int day = 0;
    civilFromDays(days - kDaysFrom1601To1970, year, month, day);
    out.wYear = static_cast<uint16_t>(year);
    out.wMonth = static_cast<uint16_t>(month);
    out.wDay = static_cast<uint16_t>(day);
    out.wDayOfWeek = static_cast<uint16_t>((days + 1) % 7);  // 1601-01-01 was a Monday
    out.wHour = static_cast<uint16_t>(rest / kTicksPerHour);
    rest %= kTicksPerHour;
    out.wMinute = static_cast<uint16_t>(rest / kTicksPerMinute);
    rest %= kTicksPerMinute;
    out.wSecond = static_cast<uint16_t>(rest / kTicksPerSecond);
    rest %= kTicksPerSecond;
    out.wMilliseconds = static_cast<uint16_t>(rest / kTicksPerMillisecond);
    return true;
}

int compareFileTime(const FILETIME& a, const FILETIME& b) {
    const uint64_t left = fileTimeTicks(a);
    const uint64_t right = fileTimeTicks(b);
    if (left < right)
        return -1;
    return left > right ? 1 : 0;
}

}  // namespace kel::detail
