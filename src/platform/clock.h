// The present moment, in UTC and in local time.
//
// Local time follows the system's time-zone rules: on Windows the system's
// zone, elsewhere the C library's (the TZ variable, else /etc/localtime).
//
//   SYSTEMTIME now;
//   localTimeNow(now);

#ifndef KEL_PLATFORM_CLOCK_H
#define KEL_PLATFORM_CLOCK_H

#include <kel/KelPlatformTypes.h>

namespace kel::detail {

// The present moment in UTC, as GetSystemTime gives it.
void systemTimeNow(SYSTEMTIME& now);

// The present moment as the local wall clock shows it, as GetLocalTime
// gives it.
void localTimeNow(SYSTEMTIME& now);

}  // namespace kel::detail

#endif  // KEL_PLATFORM_CLOCK_H
