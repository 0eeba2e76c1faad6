// Helpers for the time tests: building SYSTEMTIME values and reading the
// clock with the C library.

#ifndef KEL_TESTS_SUPPORT_TIME_SUPPORT_H
#define KEL_TESTS_SUPPORT_TIME_SUPPORT_H

#include <kel/Kel.h>

#include <ctime>
#include <ostream>

namespace kel::test {

inline SYSTEMTIME makeTime(int year, int month, int day, int hour = 0, int minute = 0,
                           int second = 0, int milliseconds = 0) {
    SYSTEMTIME t = {};
    t.wYear = static_cast<decltype(t.wYear)>(year);
    t.wMonth = static_cast<decltype(t.wMonth)>(month);
    t.wDay = static_cast<decltype(t.wDay)>(day);
    t.wHour = static_cast<decltype(t.wHour)>(hour);
    t.wMinute = static_cast<decltype(t.wMinute)>(minute);
    t.wSecond = static_cast<decltype(t.wSecond)>(second);
    t.wMilliseconds = static_cast<decltype(t.wMilliseconds)>(milliseconds);
    return t;
}

inline SYSTEMTIME fromTm(const std::tm& tm) {
    SYSTEMTIME t = makeTime(tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min,
                            tm.tm_sec > 59 ? 59 : tm.tm_sec);
    t.wDayOfWeek = static_cast<decltype(t.wDayOfWeek)>(tm.tm_wday);
    return t;
}

// The present moment in UTC, to the second, read with the C library.
inline SYSTEMTIME utcNow() {
    const std::time_t now = std::time(nullptr);
    return fromTm(*std::gmtime(&now));
}

// Calendar fields only (the day of the week is compared separately).
inline bool sameMoment(const SYSTEMTIME& a, const SYSTEMTIME& b) {
    return a.wYear == b.wYear && a.wMonth == b.wMonth && a.wDay == b.wDay && a.wHour == b.wHour &&
           a.wMinute == b.wMinute && a.wSecond == b.wSecond && a.wMilliseconds == b.wMilliseconds;
}

}  // namespace kel::test

inline std::ostream& operator<<(std::ostream& out, const SYSTEMTIME& t) {
    return out << t.wYear << '-' << t.wMonth << '-' << t.wDay << ' ' << t.wHour << ':' << t.wMinute
               << ':' << t.wSecond << '.' << t.wMilliseconds << " (day " << t.wDayOfWeek << ')';
}

#endif  // KEL_TESTS_SUPPORT_TIME_SUPPORT_H
