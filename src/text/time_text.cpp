#include "text/time_text.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <string>

#include "text/runtime_services.h"
#include "text/safe_runtime.h"

namespace kel::detail {

namespace {

const char* const kDayNames[] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                 "Thursday", "Friday", "Saturday"};
const char* const kMonthNames[] = {"January",   "February", "March",    "April",
                                   "May",       "June",     "July",     "August",
                                   "September", "October",  "November", "December"};

// The fields of struct tm that directives read, each with the range the
// runtime accepts.
enum Field { kSecond, kMinute, kHour, kDay, kMonth, kYear, kWeekDay, kYearDay };

bool inRange(const struct tm& t, Field field) {
    switch (field) {
        case kSecond:
            return t.tm_sec >= 0 && t.tm_sec <= 60;  // a leap second is allowed
        case kMinute:
            return t.tm_min >= 0 && t.tm_min <= 59;
        case kHour:
            return t.tm_hour >= 0 && t.tm_hour <= 23;
        case kDay:
            return t.tm_mday >= 1 && t.tm_mday <= 31;
        case kMonth:
            return t.tm_mon >= 0 && t.tm_mon <= 11;
        case kYear:
            return t.tm_year >= -1900 && t.tm_year <= 8099;  // the years 0 to 9999
        case kWeekDay:
            return t.tm_wday >= 0 && t.tm_wday <= 6;
        case kYearDay:
            return t.tm_yday >= 0 && t.tm_yday <= 365;
    }
    return false;
}

// The ISO 8601 week of a date and the year it belongs to.
void isoWeek(const struct tm& t, int& week, int& year) {
    year = t.tm_year + 1900;
    const int mondayBased = (t.tm_wday + 6) % 7;  // Monday 0 ... Sunday 6
    // The Thursday of the date's week decides its year.
    int thursday = t.tm_yday - mondayBased + 3;
    const auto daysIn = [](int y) {
        return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0 ? 366 : 365;
    };
    if (thursday < 0) {
        --year;
        thursday += daysIn(year);
    } else if (thursday >= daysIn(year)) {
        thursday -= daysIn(year);
        ++year;
    }
    week = thursday / 7 + 1;
}

class TimeWriter {
public:
    explicit TimeWriter(const struct tm* t) : m_t(t) {}

    bool failed() const { return m_failed; }
    const std::string& text() const { return m_text; }

    // Expands one directive; false (reported) for one the runtime does not
    // know or a field out of range.
    bool directive(char c, bool alternate) {
        switch (c) {
            case 'a':
                return need({kWeekDay}) && put(std::string(kDayNames[m_t->tm_wday], 3));
            case 'A':
                return need({kWeekDay}) && put(kDayNames[m_t->tm_wday]);
            case 'b':
            case 'h':
                return need({kMonth}) && put(std::string(kMonthNames[m_t->tm_mon], 3));
            case 'B':
                return need({kMonth}) && put(kMonthNames[m_t->tm_mon]);
            case 'c':
                if (!directive('x', alternate))
                    return false;
                put(" ");
                return directive('X', false);
            case 'C':
                return need({kYear}) && number((m_t->tm_year + 1900) / 100, 2, false);
            case 'd':
                return need({kDay}) && number(m_t->tm_mday, 2, alternate);
            case 'D':
                return need({kMonth, kDay, kYear}) && number(m_t->tm_mon + 1, 2, alternate) &&
                       put("/") && number(m_t->tm_mday, 2, alternate) && put("/") &&
                       number((m_t->tm_year + 1900) % 100, 2, alternate);
            case 'e':
                return need({kDay}) && spaced(m_t->tm_mday, alternate);
            case 'F':
                return need({kYear, kMonth, kDay}) && number(m_t->tm_year + 1900, 4, alternate) &&
                       put("-") && number(m_t->tm_mon + 1, 2, alternate) && put("-") &&
                       number(m_t->tm_mday, 2, alternate);
            case 'g':
            case 'G':
            case 'V': {
                if (!need({kYear, kYearDay, kWeekDay}))
                    return false;
                int week = 0;
                int year = 0;
                isoWeek(*m_t, week, year);
                if (c == 'V')
                    return number(week, 2, alternate);
                return c == 'g' ? number(((year % 100) + 100) % 100, 2, false)
                                : number(year, 4, false);
            }
            case 'H':
                return need({kHour}) && number(m_t->tm_hour, 2, alternate);
            case 'I':
                return need({kHour}) && number(twelveHour(), 2, alternate);
            case 'j':
                return need({kYearDay}) && number(m_t->tm_yday + 1, 3, alternate);
            case 'm':
                return need({kMonth}) && number(m_t->tm_mon + 1, 2, alternate);
            case 'M':
                return need({kMinute}) && number(m_t->tm_min, 2, alternate);
            case 'n':
                return put("\n");
            case 'p':
                return need({kHour}) && put(m_t->tm_hour < 12 ? "AM" : "PM");
            case 'r':
                return need({kHour, kMinute, kSecond}) && number(twelveHour(), 2, alternate) &&
                       put(":") && number(m_t->tm_min, 2, alternate) && put(":") &&
                       number(m_t->tm_sec, 2, alternate) && put(" ") &&
                       put(m_t->tm_hour < 12 ? "AM" : "PM");
            case 'R':
                return need({kHour, kMinute}) && number(m_t->tm_hour, 2, alternate) && put(":") &&
                       number(m_t->tm_min, 2, alternate);
            case 'S':
                return need({kSecond}) && number(m_t->tm_sec, 2, alternate);
            case 't':
                return put("\t");
            case 'T':
                return need({kHour, kMinute, kSecond}) && number(m_t->tm_hour, 2, alternate) &&
                       put(":") && number(m_t->tm_min, 2, alternate) && put(":") &&
                       number(m_t->tm_sec, 2, alternate);
            case 'u':
                return need({kWeekDay}) && number(m_t->tm_wday == 0 ? 7 : m_t->tm_wday, 1, false);
            case 'U':
                return need({kYearDay, kWeekDay}) &&
                       number((m_t->tm_yday + 7 - m_t->tm_wday) / 7, 2, alternate);
            case 'w':
                return need({kWeekDay}) && number(m_t->tm_wday, 1, false);
            case 'W':
                return need({kYearDay, kWeekDay}) &&
                       number((m_t->tm_yday + 7 - (m_t->tm_wday + 6) % 7) / 7, 2, alternate);
            case 'x':
                if (alternate) {
                    // The long date of the "C" locale: "dddd, MMMM dd, yyyy".
                    return need({kWeekDay, kMonth, kDay, kYear}) && put(kDayNames[m_t->tm_wday]) &&
                           put(", ") && put(kMonthNames[m_t->tm_mon]) && put(" ") &&
                           number(m_t->tm_mday, 2, false) && put(", ") &&
                           number(m_t->tm_year + 1900, 4, false);
                }
                return need({kMonth, kDay, kYear}) && number(m_t->tm_mon + 1, 2, false) &&
                       put("/") && number(m_t->tm_mday, 2, false) && put("/") &&
                       number((m_t->tm_year + 1900) % 100, 2, false);
            case 'X':
                return need({kHour, kMinute, kSecond}) && number(m_t->tm_hour, 2, false) &&
                       put(":") && number(m_t->tm_min, 2, false) && put(":") &&
                       number(m_t->tm_sec, 2, false);
            case 'y':
                return need({kYear}) && number((m_t->tm_year + 1900) % 100, 2, alternate);
            case 'Y':
                return need({kYear}) && number(m_t->tm_year + 1900, 4, alternate);
            case 'z': {
                const services::TimeZone zone = services::currentTimeZone();
                long bias = zone.standardBias + (daylight() ? zone.daylightBias : 0);
                // West of UTC, and UTC itself, are written with "-".
                const char sign = bias >= 0 ? '-' : '+';
                if (bias < 0)
                    bias = -bias;
                char offset[48];
                std::snprintf(offset, sizeof offset, "%c%02ld%02ld", sign, bias / 3600,
                              (bias / 60) % 60);
                return put(offset);
            }
            case 'Z': {
                const services::TimeZone zone = services::currentTimeZone();
                return put(daylight() ? zone.daylightName : zone.standardName);
            }
            case '%':
                return put("%");
            default:
                return fail();
        }
    }

    bool put(const std::string& text) {
        m_text += text;
        return true;
    }

private:
    bool fail() {
        m_failed = true;
        return false;
    }

    // Whether every field is there and in range; reported when not.
    bool need(std::initializer_list<Field> fields) {
        if (m_t == nullptr)
            return fail();
        for (Field field : fields) {
            if (!inRange(*m_t, field))
                return fail();
        }
        return true;
    }

    // A time zone's daylight name and bias apply when the time says it is
    // daylight time (any value but 0, as the runtime reads it).
    bool daylight() const { return m_t != nullptr && m_t->tm_isdst != 0; }

    int twelveHour() const {
        const int hour = m_t->tm_hour % 12;
        return hour == 0 ? 12 : hour;
    }

    // `value` in at least `digits` digits with leading zeros, or without
    // them under the # flag.
    bool number(int value, int digits, bool noLeadingZeros) {
        char text[16];
        std::snprintf(text, sizeof text, "%0*d", noLeadingZeros ? 1 : digits, value);
        return put(text);
    }

    // The day of the month padded with a space to two characters, or bare
    // under the # flag.
    bool spaced(int value, bool noLeadingSpaces) {
        char text[16];
        std::snprintf(text, sizeof text, noLeadingSpaces ? "%d" : "%2d", value);
        return put(text);
    }

    const struct tm* m_t;
    std::string m_text;
    bool m_failed = false;
};

}  // namespace

size_t formatCalendarTime(char* buffer, size_t size, const char* format, const struct tm* t) {
    if (buffer == nullptr || size == 0 || format == nullptr) {
        if (buffer != nullptr && size > 0)
            buffer[0] = '\0';
        reportInvalid(kEinval, L"(buffer != nullptr && size > 0 && format != nullptr)", "strftime");
        return 0;
    }
    TimeWriter writer(t);
    for (const char* p = format; *p != '\0'; ++p) {
        if (*p != '%') {
            writer.put(std::string(1, *p));
            continue;
        }
        ++p;
        bool alternate = false;
        if (*p == '#') {
            alternate = true;
            ++p;
        }
        if (*p == '\0' || !writer.directive(*p, alternate)) {
            buffer[0] = '\0';
            reportInvalid(kEinval, L"(\"Invalid format directive\", 0)", "strftime");
            return 0;
        }
    }
    const std::string& text = writer.text();
    if (text.size() >= size) {
        buffer[0] = '\0';
        errno = kErange;
        return 0;
    }
    std::memcpy(buffer, text.data(), text.size() + 1);
    return text.size();
}

}  // namespace kel::detail
