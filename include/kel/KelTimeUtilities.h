/// @file KelTimeUtilities.h
/// Calendar-time differences and additions.
///
/// Times are SYSTEMTIME values; the arithmetic runs on their FILETIME tick
/// counts (100 ns since 1601-01-01 on the Gregorian calendar), so a
/// SYSTEMTIME is taken as it reads, without any time-zone shift: the
/// difference between two local wall-clock readings across a daylight-saving
/// change is the difference of the readings.
///
/// @code
///   SYSTEMTIME due = {2024, 3, 0, 1, 12, 0, 0, 0};
///   int hours = 0;
///   int order = KelTimeUtilities::getDifferenceBetweenTimeAndLocalTimeInHours(due, hours);
///   // order +1 and hours > 0 while `due` lies ahead of the local clock
/// @endcode
///
/// The difference operations return -1, 0 or +1 as the first time is
/// earlier than, equal to or later than the second, and set `diff` to the
/// signed difference first - second in the unit, truncated toward zero
/// (119 seconds give 1 minute, -119 seconds -1 minute). A difference that
/// does not fit an int gives INT_MIN. An invalid SYSTEMTIME counts as the
/// tick count 0 (1601-01-01 00:00).

#ifndef KEL_KELTIMEUTILITIES_H
#define KEL_KELTIMEUTILITIES_H

#include <kel/KelExport.h>
#include <kel/KelPlatformTypes.h>

/// @copydoc KelTimeUtilities.h
class KEL_API KelTimeUtilities {
public:
    /// t1 compared with t2: -1, 0 or +1, with `diff` set to t1 - t2 in the
    /// unit of the name (see the class description).
    static int getDifferenceBetweenTimesInSeconds(const SYSTEMTIME& t1, const SYSTEMTIME& t2,
                                                  int& diff);
    /// @copydoc getDifferenceBetweenTimesInSeconds
    static int getDifferenceBetweenTimesInMinutes(const SYSTEMTIME& t1, const SYSTEMTIME& t2,
                                                  int& diff);
    /// @copydoc getDifferenceBetweenTimesInSeconds
    static int getDifferenceBetweenTimesInHours(const SYSTEMTIME& t1, const SYSTEMTIME& t2,
                                                int& diff);
    /// @copydoc getDifferenceBetweenTimesInSeconds
    static int getDifferenceBetweenTimesInDays(const SYSTEMTIME& t1, const SYSTEMTIME& t2,
                                               int& diff);

    /// t compared with the local wall clock, read at the call: -1, 0 or +1,
    /// with `diff` set to t - now in the unit of the name.
    static int getDifferenceBetweenTimeAndLocalTimeInSeconds(const SYSTEMTIME& t, int& diff);
    /// @copydoc getDifferenceBetweenTimeAndLocalTimeInSeconds
    static int getDifferenceBetweenTimeAndLocalTimeInMinutes(const SYSTEMTIME& t, int& diff);
    /// @copydoc getDifferenceBetweenTimeAndLocalTimeInSeconds
    static int getDifferenceBetweenTimeAndLocalTimeInHours(const SYSTEMTIME& t, int& diff);
    /// @copydoc getDifferenceBetweenTimeAndLocalTimeInSeconds
    static int getDifferenceBetweenTimeAndLocalTimeInDays(const SYSTEMTIME& t, int& diff);

    /// t compared with the present moment in UTC, read at the call: -1, 0 or
    /// +1, with `diff` set to t - now in the unit of the name.
    static int getDifferenceBetweenTimeAndSystemTimeInSeconds(const SYSTEMTIME& t, int& diff);
    /// @copydoc getDifferenceBetweenTimeAndSystemTimeInSeconds
    static int getDifferenceBetweenTimeAndSystemTimeInMinutes(const SYSTEMTIME& t, int& diff);
    /// @copydoc getDifferenceBetweenTimeAndSystemTimeInSeconds
    static int getDifferenceBetweenTimeAndSystemTimeInHours(const SYSTEMTIME& t, int& diff);
    /// @copydoc getDifferenceBetweenTimeAndSystemTimeInSeconds
    static int getDifferenceBetweenTimeAndSystemTimeInDays(const SYSTEMTIME& t, int& diff);

    /// result = t + hours, across month, year and leap-year ends. Nonzero on
    /// success; 0 when t is not a valid time or the sum falls outside the
    /// FILETIME range (result then untouched).
    static int addTime(const SYSTEMTIME& t, int hours, SYSTEMTIME& result);
    /// result = the local wall clock now + hours, as addTime.
    static int addTimeToLocalTime(int hours, SYSTEMTIME& result);

private:
    /// t1 compared with t2; diff = t1 - t2 in ticks (0 when equal).
    static int getDifferenceBetweenTimesIn100NanoSeconds(const SYSTEMTIME& t1, const SYSTEMTIME& t2,
                                                         long long& diff);
    /// The same, converted to `ticksPerUnit` and truncated toward zero.
    static int getDifferenceInUnits(const SYSTEMTIME& t1, const SYSTEMTIME& t2,
                                    long long ticksPerUnit, int& diff);
};

#endif  // KEL_KELTIMEUTILITIES_H
