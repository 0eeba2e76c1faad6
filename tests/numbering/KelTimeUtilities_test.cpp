#include <kel/Kel.h>

#include <gtest/gtest.h>

#include <climits>

#include "support/time_support.h"

namespace {

using kel::test::makeTime;
using kel::test::sameMoment;

struct Difference {
    int result;
    int diff;
};

Difference seconds(const SYSTEMTIME& a, const SYSTEMTIME& b) {
    Difference d{99, 99};
    d.result = KelTimeUtilities::getDifferenceBetweenTimesInSeconds(a, b, d.diff);
    return d;
}

Difference minutes(const SYSTEMTIME& a, const SYSTEMTIME& b) {
    Difference d{99, 99};
    d.result = KelTimeUtilities::getDifferenceBetweenTimesInMinutes(a, b, d.diff);
    return d;
}

Difference hours(const SYSTEMTIME& a, const SYSTEMTIME& b) {
    Difference d{99, 99};
    d.result = KelTimeUtilities::getDifferenceBetweenTimesInHours(a, b, d.diff);
    return d;
}

Difference days(const SYSTEMTIME& a, const SYSTEMTIME& b) {
    Difference d{99, 99};
    d.result = KelTimeUtilities::getDifferenceBetweenTimesInDays(a, b, d.diff);
    return d;
}

void expectDifference(const Difference& actual, int result, int diff) {
    EXPECT_EQ(actual.result, result);
    EXPECT_EQ(actual.diff, diff);
}

SYSTEMTIME added(const SYSTEMTIME& t, int h) {
    SYSTEMTIME result = makeTime(1999, 9, 9);
    EXPECT_NE(KelTimeUtilities::addTime(t, h, result), 0) << t << " + " << h << " h";
    return result;
}

TEST(KelTimeUtilities, EqualTimes_GiveZeroAndZero) {
    const SYSTEMTIME t = makeTime(2024, 5, 17, 8, 30, 15, 250);
    expectDifference(seconds(t, t), 0, 0);
    expectDifference(minutes(t, t), 0, 0);
    expectDifference(hours(t, t), 0, 0);
    expectDifference(days(t, t), 0, 0);
}

TEST(KelTimeUtilities, DayOfWeek_IsIgnored) {
    SYSTEMTIME a = makeTime(2024, 5, 17, 8);
    SYSTEMTIME b = a;
    b.wDayOfWeek = 6;
    expectDifference(seconds(a, b), 0, 0);
}

TEST(KelTimeUtilities, OneHourFiftyNineMinutes_IsOneHour) {
    const SYSTEMTIME t2 = makeTime(2024, 5, 17, 8, 0);
    const SYSTEMTIME t1 = makeTime(2024, 5, 17, 9, 59);
    expectDifference(hours(t1, t2), 1, 1);
    expectDifference(hours(t2, t1), -1, -1);
    expectDifference(minutes(t1, t2), 1, 119);
    expectDifference(seconds(t1, t2), 1, 7140);
    expectDifference(days(t1, t2), 1, 0);
    expectDifference(days(t2, t1), -1, 0);
}

TEST(KelTimeUtilities, Truncation_GoesTowardZero) {
    const SYSTEMTIME t2 = makeTime(2024, 5, 17, 8, 0, 0);
    const SYSTEMTIME t1 = makeTime(2024, 5, 17, 8, 1, 59);
    expectDifference(minutes(t1, t2), 1, 1);
    expectDifference(minutes(t2, t1), -1, -1);
    const SYSTEMTIME almost = makeTime(2024, 5, 17, 8, 0, 0, 999);
    expectDifference(seconds(almost, t2), 1, 0);
    expectDifference(seconds(t2, almost), -1, 0);
}

TEST(KelTimeUtilities, Days_AcrossMonthAndLeapYearEnds) {
    expectDifference(days(makeTime(2024, 3, 1), makeTime(2024, 2, 28)), 1, 2);
    expectDifference(days(makeTime(2023, 3, 1), makeTime(2023, 2, 28)), 1, 1);
    expectDifference(days(makeTime(2025, 1, 1), makeTime(2024, 1, 1)), 1, 366);
    expectDifference(days(makeTime(2001, 1, 1), makeTime(1901, 1, 1)), 1, 36525);
    expectDifference(days(makeTime(2000, 1, 1), makeTime(1900, 1, 1)), 1, 36524);
    expectDifference(days(makeTime(1601, 1, 1), makeTime(2001, 1, 1)), -1, -146097);
}

TEST(KelTimeUtilities, SecondsBeyondSixtyEightYears_DoNotFitAnInt) {
    // 68 years fit in an int of seconds, 69 do not: the result is INT_MIN.
    expectDifference(seconds(makeTime(2038, 1, 1), makeTime(1970, 1, 1)), 1, 2145916800);
    expectDifference(seconds(makeTime(2039, 1, 1), makeTime(1970, 1, 1)), 1, INT_MIN);
    expectDifference(seconds(makeTime(1970, 1, 1), makeTime(2039, 1, 1)), -1, INT_MIN);
    expectDifference(minutes(makeTime(2039, 1, 1), makeTime(1970, 1, 1)), 1, 36290880);
}

TEST(KelTimeUtilities, InvalidTime_CountsAsTheFirstMoment) {
    const SYSTEMTIME invalid = makeTime(2024, 2, 30);
    const SYSTEMTIME origin = makeTime(1601, 1, 1);
    expectDifference(seconds(invalid, origin), 0, 0);
    expectDifference(days(makeTime(1601, 1, 2), makeTime(2024, 13, 1)), 1, 1);
    expectDifference(seconds(makeTime(1600, 12, 31, 23, 59, 59), origin), 0, 0);
    expectDifference(seconds(makeTime(2024, 1, 1, 24), origin), 0, 0);
    expectDifference(seconds(makeTime(2024, 1, 1, 0, 0, 0, 1000), origin), 0, 0);
}

TEST(KelTimeUtilities, AddTime_MinusOneDayCrossesMonthAndYearEnds) {
    EXPECT_TRUE(sameMoment(added(makeTime(2024, 3, 1, 0, 30), -24), makeTime(2024, 2, 29, 0, 30)));
    EXPECT_TRUE(sameMoment(added(makeTime(2023, 3, 1, 0, 30), -24), makeTime(2023, 2, 28, 0, 30)));
    EXPECT_TRUE(sameMoment(added(makeTime(1900, 3, 1), -24), makeTime(1900, 2, 28)));
    EXPECT_TRUE(sameMoment(added(makeTime(2000, 3, 1), -24), makeTime(2000, 2, 29)));
    EXPECT_TRUE(sameMoment(added(makeTime(2024, 1, 1, 5, 6, 7, 890), -24),
                           makeTime(2023, 12, 31, 5, 6, 7, 890)));
    EXPECT_TRUE(sameMoment(added(makeTime(2024, 5, 1), -24), makeTime(2024, 4, 30)));
}

TEST(KelTimeUtilities, AddTime_ForwardAcrossEnds) {
    EXPECT_TRUE(sameMoment(added(makeTime(2023, 12, 31, 23), 1), makeTime(2024, 1, 1, 0)));
    EXPECT_TRUE(sameMoment(added(makeTime(2024, 2, 28, 12), 24), makeTime(2024, 2, 29, 12)));
    EXPECT_TRUE(sameMoment(added(makeTime(2024, 2, 28, 12), 48), makeTime(2024, 3, 1, 12)));
    EXPECT_TRUE(sameMoment(added(makeTime(2024, 1, 31, 22), 3), makeTime(2024, 2, 1, 1)));
    EXPECT_TRUE(sameMoment(added(makeTime(2024, 1, 1), 24 * 366), makeTime(2025, 1, 1)));
    EXPECT_TRUE(sameMoment(added(makeTime(2024, 6, 15, 10), 0), makeTime(2024, 6, 15, 10)));
}

TEST(KelTimeUtilities, AddTime_SetsTheDayOfTheWeek) {
    EXPECT_EQ(added(makeTime(2024, 3, 1), -24).wDayOfWeek, 4);  // Thursday 29 February 2024
    EXPECT_EQ(added(makeTime(1601, 1, 1), 0).wDayOfWeek, 1);    // a Monday
    EXPECT_EQ(added(makeTime(2000, 1, 1), 0).wDayOfWeek, 6);    // a Saturday
}

TEST(KelTimeUtilities, AddTime_InvalidTimeFailsAndLeavesTheResult) {
    SYSTEMTIME result = makeTime(2001, 2, 3, 4, 5, 6, 7);
    const SYSTEMTIME before = result;
    EXPECT_EQ(KelTimeUtilities::addTime(makeTime(2023, 2, 29), 1, result), 0);
    EXPECT_EQ(KelTimeUtilities::addTime(makeTime(2024, 0, 1), 1, result), 0);
    EXPECT_EQ(KelTimeUtilities::addTime(makeTime(1600, 12, 31), 1, result), 0);
    EXPECT_EQ(KelTimeUtilities::addTime(makeTime(30828, 1, 1), 1, result), 0);
    EXPECT_TRUE(sameMoment(result, before));
}

TEST(KelTimeUtilities, AddTime_OutsideTheFileTimeRangeFails) {
    SYSTEMTIME result = makeTime(2001, 2, 3);
    EXPECT_EQ(KelTimeUtilities::addTime(makeTime(1601, 1, 1), -1, result), 0);
    EXPECT_EQ(KelTimeUtilities::addTime(makeTime(2024, 1, 1), INT_MAX, result), 0);
    EXPECT_EQ(KelTimeUtilities::addTime(makeTime(2024, 1, 1), INT_MIN, result), 0);
    EXPECT_EQ(KelTimeUtilities::addTime(makeTime(30827, 12, 31), 10000, result), 0);
    EXPECT_TRUE(sameMoment(result, makeTime(2001, 2, 3)));
    // Beyond the last valid SYSTEMTIME input, but still a FILETIME.
    EXPECT_NE(KelTimeUtilities::addTime(makeTime(30827, 12, 31), 6000, result), 0);
    EXPECT_TRUE(sameMoment(result, makeTime(30828, 9, 6)));
}

TEST(KelTimeUtilities, SystemTime_IsTheUtcClock) {
    // An hour ahead of UTC now (read to the second): a little less than an
    // hour ahead when the library reads the clock.
    SYSTEMTIME ahead = kel::test::utcNow();
    ASSERT_NE(KelTimeUtilities::addTime(ahead, 0, ahead), 0);
    SYSTEMTIME later;
    ASSERT_NE(KelTimeUtilities::addTime(ahead, 1, later), 0);
    Difference d{99, 99};
    d.result = KelTimeUtilities::getDifferenceBetweenTimeAndSystemTimeInHours(later, d.diff);
    EXPECT_EQ(d.result, 1);
    EXPECT_GE(d.diff, 0);
    EXPECT_LE(d.diff, 1);
    d.result = KelTimeUtilities::getDifferenceBetweenTimeAndSystemTimeInMinutes(later, d.diff);
    EXPECT_EQ(d.result, 1);
    EXPECT_GE(d.diff, 58);
    EXPECT_LE(d.diff, 60);
    d.result = KelTimeUtilities::getDifferenceBetweenTimeAndSystemTimeInSeconds(later, d.diff);
    EXPECT_GE(d.diff, 3500);
    EXPECT_LE(d.diff, 3600);
    SYSTEMTIME earlier;
    ASSERT_NE(KelTimeUtilities::addTime(ahead, -49, earlier), 0);
    d.result = KelTimeUtilities::getDifferenceBetweenTimeAndSystemTimeInDays(earlier, d.diff);
    EXPECT_EQ(d.result, -1);
    EXPECT_EQ(d.diff, -2);
}

TEST(KelTimeUtilities, LocalTime_AddZeroHoursReadsTheLocalClock) {
    SYSTEMTIME local = makeTime(1999, 9, 9);
    ASSERT_NE(KelTimeUtilities::addTimeToLocalTime(0, local), 0);
    Difference d{99, 99};
    d.result = KelTimeUtilities::getDifferenceBetweenTimeAndLocalTimeInMinutes(local, d.diff);
    EXPECT_LE(d.result, 0);  // read just before, so not later than now
    EXPECT_EQ(d.diff, 0);
    SYSTEMTIME tomorrow;
    ASSERT_NE(KelTimeUtilities::addTimeToLocalTime(25, tomorrow), 0);
    d.result = KelTimeUtilities::getDifferenceBetweenTimeAndLocalTimeInDays(tomorrow, d.diff);
    EXPECT_EQ(d.result, 1);
    EXPECT_EQ(d.diff, 1);
    d.result = KelTimeUtilities::getDifferenceBetweenTimeAndLocalTimeInHours(tomorrow, d.diff);
    EXPECT_GE(d.diff, 24);  // 25 hours less the moments that passed, if any
    EXPECT_LE(d.diff, 25);
    d.result = KelTimeUtilities::getDifferenceBetweenTimeAndLocalTimeInSeconds(tomorrow, d.diff);
    EXPECT_GE(d.diff, 24 * 3600 + 3500);
    EXPECT_LE(d.diff, 25 * 3600);
}

}  // namespace
