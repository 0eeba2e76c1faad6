#include <time.h>

#include <algorithm>

#include "platform/clock.h"
#include "platform/file_time.h"

namespace kel::detail {

namespace {

timespec realTime() {
    timespec now = {};
    ::clock_gettime(CLOCK_REALTIME, &now);
    return now;
}

}  // namespace

void systemTimeNow(SYSTEMTIME& now) {
    const timespec t = realTime();
    const int64_t ticks =
        (static_cast<int64_t>(t.tv_sec) + kSecondsFrom1601To1970) * kTicksPerSecond +
        t.tv_nsec / 100;
    fileTimeToSystemTime(fileTimeFromTicks(static_cast<uint64_t>(ticks)), now);
}

void localTimeNow(SYSTEMTIME& now) {
    const timespec t = realTime();
    tm local = {};
    ::localtime_r(&t.tv_sec, &local);
    now.wYear = static_cast<uint16_t>(local.tm_year + 1900);
    now.wMonth = static_cast<uint16_t>(local.tm_mon + 1);
    now.wDayOfWeek = static_cast<uint16_t>(local.tm_wday);
    now.wDay = static_cast<uint16_t>(local.tm_mday);
    now.wHour = static_cast<uint16_t>(local.tm_hour);
    now.wMinute = static_cast<uint16_t>(local.tm_min);
    // A leap second shows as :59, as on Windows, which has none.
    now.wSecond = static_cast<uint16_t>(std::min(local.tm_sec, 59));
    now.wMilliseconds = static_cast<uint16_t>(t.tv_nsec / 1000000);
}

}  // namespace kel::detail
