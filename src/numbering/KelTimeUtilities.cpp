// Time differences and additions on FILETIME tick counts.

#include <kel/KelTimeUtilities.h>

#include <cstdint>

#include "numbering/truncate.h"
#include "platform/clock.h"
#include "platform/file_time.h"

using namespace kel::detail;

namespace {

// The tick count of a time; an invalid time counts as 0.
FILETIME ticksOf(const SYSTEMTIME& time) {
    FILETIME ticks = fileTimeFromTicks(0);
    systemTimeToFileTime(time, ticks);
    return ticks;
}

SYSTEMTIME localNow() {
    SYSTEMTIME now;
    localTimeNow(now);
    return now;
}

SYSTEMTIME utcNow() {
    SYSTEMTIME now;
    systemTimeNow(now);
    return now;
}

}  // namespace

int KelTimeUtilities::getDifferenceBetweenTimesIn100NanoSeconds(const SYSTEMTIME& t1,
                                                                const SYSTEMTIME& t2,
                                                                long long& diff) {
    const FILETIME first = ticksOf(t1);
    const FILETIME second = ticksOf(t2);
    const int order = compareFileTime(first, second);
    // Both counts are below 2^63, so the difference fits.
    diff = order == 0 ? 0
                      : static_cast<long long>(fileTimeTicks(first)) -
                            static_cast<long long>(fileTimeTicks(second));
    return order;
}

int KelTimeUtilities::getDifferenceInUnits(const SYSTEMTIME& t1, const SYSTEMTIME& t2,
                                           long long ticksPerUnit, int& diff) {
    long long ticks = 0;
    const int order = getDifferenceBetweenTimesIn100NanoSeconds(t1, t2, ticks);
    diff = truncateToInt(static_cast<double>(ticks) / static_cast<double>(ticksPerUnit));
    return order;
}

int KelTimeUtilities::getDifferenceBetweenTimesInSeconds(const SYSTEMTIME& t1, const SYSTEMTIME& t2,
                                                         int& diff) {
    return getDifferenceInUnits(t1, t2, kTicksPerSecond, diff);
}

int KelTimeUtilities::getDifferenceBetweenTimesInMinutes(const SYSTEMTIME& t1, const SYSTEMTIME& t2,
                                                         int& diff) {
    return getDifferenceInUnits(t1, t2, kTicksPerMinute, diff);
}

int KelTimeUtilities::getDifferenceBetweenTimesInHours(const SYSTEMTIME& t1, const SYSTEMTIME& t2,
                                                       int& diff) {
    return getDifferenceInUnits(t1, t2, kTicksPerHour, diff);
}

int KelTimeUtilities::getDifferenceBetweenTimesInDays(const SYSTEMTIME& t1, const SYSTEMTIME& t2,
                                                      int& diff) {
    return getDifferenceInUnits(t1, t2, kTicksPerDay, diff);
}

int KelTimeUtilities::getDifferenceBetweenTimeAndLocalTimeInSeconds(const SYSTEMTIME& t,
                                                                    int& diff) {
    return getDifferenceInUnits(t, localNow(), kTicksPerSecond, diff);
}

int KelTimeUtilities::getDifferenceBetweenTimeAndLocalTimeInMinutes(const SYSTEMTIME& t,
                                                                    int& diff) {
    return getDifferenceInUnits(t, localNow(), kTicksPerMinute, diff);
}

int KelTimeUtilities::getDifferenceBetweenTimeAndLocalTimeInHours(const SYSTEMTIME& t, int& diff) {
    return getDifferenceInUnits(t, localNow(), kTicksPerHour, diff);
}

int KelTimeUtilities::getDifferenceBetweenTimeAndLocalTimeInDays(const SYSTEMTIME& t, int& diff) {
    return getDifferenceInUnits(t, localNow(), kTicksPerDay, diff);
}

int KelTimeUtilities::getDifferenceBetweenTimeAndSystemTimeInSeconds(const SYSTEMTIME& t,
                                                                     int& diff) {
    return getDifferenceInUnits(t, utcNow(), kTicksPerSecond, diff);
}

int KelTimeUtilities::getDifferenceBetweenTimeAndSystemTimeInMinutes(const SYSTEMTIME& t,
                                                                     int& diff) {
    return getDifferenceInUnits(t, utcNow(), kTicksPerMinute, diff);
}

int KelTimeUtilities::getDifferenceBetweenTimeAndSystemTimeInHours(const SYSTEMTIME& t, int& diff) {
    return getDifferenceInUnits(t, utcNow(), kTicksPerHour, diff);
}

int KelTimeUtilities::getDifferenceBetweenTimeAndSystemTimeInDays(const SYSTEMTIME& t, int& diff) {
    return getDifferenceInUnits(t, utcNow(), kTicksPerDay, diff);
}

int KelTimeUtilities::addTime(const SYSTEMTIME& t, int hours, SYSTEMTIME& result) {
    FILETIME ticks;
    if (!systemTimeToFileTime(t, ticks))
        return 0;
    // A sum outside 0 .. 2^63 - 1 ticks is no FILETIME; it fails instead of
    // wrapping around into a wrong date.
    const int64_t start = static_cast<int64_t>(fileTimeTicks(ticks));
    const int64_t maxHours = INT64_MAX / kTicksPerHour;
    if (hours > maxHours || hours < -maxHours)
        return 0;
    const int64_t delta = static_cast<int64_t>(hours) * kTicksPerHour;
    if ((delta > 0 && start > INT64_MAX - delta) || start + delta < 0)
        return 0;
    return fileTimeToSystemTime(fileTimeFromTicks(static_cast<uint64_t>(start + delta)), result)
               ? 1
               : 0;
}

int KelTimeUtilities::addTimeToLocalTime(int hours, SYSTEMTIME& result) {
    return addTime(localNow(), hours, result);
}
