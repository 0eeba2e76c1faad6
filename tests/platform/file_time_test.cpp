#include <gtest/gtest.h>

#include <cstdint>
#include <random>

#include "platform/file_time.h"
#include "support/time_support.h"

namespace {

using namespace kel::detail;

using kel::test::makeTime;

uint64_t ticksOf(const SYSTEMTIME& t) {
    FILETIME ft = {};
    EXPECT_TRUE(systemTimeToFileTime(t, ft));
    return fileTimeTicks(ft);
}

// Days from 1601-01-01, counted the slow way.
int64_t naiveDays(int year, int month, int day) {
    auto leap = [](int y) { return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0; };
    const int lengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    int64_t days = 0;
    for (int y = 1601; y < year; ++y)
        days += leap(y) ? 366 : 365;
    for (int m = 1; m < month; ++m)
        days += lengths[m - 1] + (m == 2 && leap(year) ? 1 : 0);
    return days + day - 1;
}

TEST(FileTime, KnownMoments) {
    EXPECT_EQ(ticksOf(makeTime(1601, 1, 1)), 0u);
    EXPECT_EQ(ticksOf(makeTime(1970, 1, 1)), 116444736000000000u);
    EXPECT_EQ(ticksOf(makeTime(1601, 1, 1, 0, 0, 0, 1)), 10000u);
    EXPECT_EQ(ticksOf(makeTime(2000, 2, 29, 12, 34, 56, 789)),
              (naiveDays(2000, 2, 29) * 86400 + 12 * 3600 + 34 * 60 + 56) * 10000000ull + 7890000u);
}

TEST(FileTime, LargestFileTime_IsInSeptember30828) {
    SYSTEMTIME t = {};
    ASSERT_TRUE(fileTimeToSystemTime(fileTimeFromTicks(0x7FFFFFFFFFFFFFFFull), t));
    EXPECT_EQ(t.wYear, 30828);
    EXPECT_EQ(t.wMonth, 9);
    EXPECT_EQ(t.wDay, 14);
    EXPECT_EQ(t.wHour, 2);
    EXPECT_EQ(t.wMinute, 48);
    EXPECT_EQ(t.wSecond, 5);
    EXPECT_EQ(t.wMilliseconds, 477);
    SYSTEMTIME untouched = makeTime(2000, 1, 1);
    EXPECT_FALSE(fileTimeToSystemTime(fileTimeFromTicks(0x8000000000000000ull), untouched));
    EXPECT_EQ(untouched.wYear, 2000);
}

TEST(FileTime, Validation_FollowsTheWindowsRules) {
    FILETIME ft = fileTimeFromTicks(42);
    EXPECT_FALSE(systemTimeToFileTime(makeTime(1600, 12, 31), ft));
    EXPECT_FALSE(systemTimeToFileTime(makeTime(30828, 1, 1), ft));
    EXPECT_TRUE(systemTimeToFileTime(makeTime(30827, 12, 31, 23, 59, 59, 999), ft));
    EXPECT_FALSE(systemTimeToFileTime(makeTime(2024, 0, 1), ft));
    EXPECT_FALSE(systemTimeToFileTime(makeTime(2024, 13, 1), ft));
    EXPECT_FALSE(systemTimeToFileTime(makeTime(2024, 1, 0), ft));
    EXPECT_FALSE(systemTimeToFileTime(makeTime(2023, 2, 29), ft));
    EXPECT_TRUE(systemTimeToFileTime(makeTime(2024, 2, 29), ft));
    EXPECT_FALSE(systemTimeToFileTime(makeTime(1900, 2, 29), ft));
    EXPECT_FALSE(systemTimeToFileTime(makeTime(2024, 4, 31), ft));
    EXPECT_FALSE(systemTimeToFileTime(makeTime(2024, 1, 1, 24), ft));
    EXPECT_FALSE(systemTimeToFileTime(makeTime(2024, 1, 1, 0, 60), ft));
    EXPECT_FALSE(systemTimeToFileTime(makeTime(2024, 1, 1, 0, 0, 60), ft));
    EXPECT_FALSE(systemTimeToFileTime(makeTime(2024, 1, 1, 0, 0, 0, 1000), ft));
    SYSTEMTIME withDay = makeTime(2024, 1, 1);
    withDay.wDayOfWeek = 40;  // ignored
    EXPECT_TRUE(systemTimeToFileTime(withDay, ft));
}

TEST(FileTime, DayOfWeek_IsFilledIn) {
    SYSTEMTIME t = {};
    ASSERT_TRUE(fileTimeToSystemTime(fileTimeFromTicks(ticksOf(makeTime(2024, 2, 29))), t));
    EXPECT_EQ(t.wDayOfWeek, 4);
    ASSERT_TRUE(fileTimeToSystemTime(fileTimeFromTicks(0), t));
    EXPECT_EQ(t.wDayOfWeek, 1);
    ASSERT_TRUE(fileTimeToSystemTime(fileTimeFromTicks(ticksOf(makeTime(1970, 1, 1))), t));
    EXPECT_EQ(t.wDayOfWeek, 4);
}

TEST(FileTime, Compare_IsUnsignedOverBothHalves) {
    EXPECT_EQ(compareFileTime(fileTimeFromTicks(1), fileTimeFromTicks(2)), -1);
    EXPECT_EQ(compareFileTime(fileTimeFromTicks(2), fileTimeFromTicks(2)), 0);
    EXPECT_EQ(compareFileTime(fileTimeFromTicks(1ull << 32), fileTimeFromTicks(0xFFFFFFFFull)), 1);
    EXPECT_EQ(compareFileTime(fileTimeFromTicks(1ull << 63), fileTimeFromTicks(1)), 1);
}

TEST(FileTime, RandomDates_AgreeWithDayCountingAndRoundTrip) {
    std::mt19937 random(1601);
    std::uniform_int_distribution<int> year(1601, 30827);
    std::uniform_int_distribution<int> month(1, 12);
    std::uniform_int_distribution<int> day(1, 31);
    for (int i = 0; i < 2000; ++i) {
        const int y = year(random);
        const int m = month(random);
        int d = day(random);
        const SYSTEMTIME probe = makeTime(y, m, d, 13, 14, 15, 161);
        FILETIME ft = {};
        if (!systemTimeToFileTime(probe, ft)) {
            ASSERT_GT(d, 28) << y << '-' << m << '-' << d;
            continue;
        }
        const uint64_t expected =
            static_cast<uint64_t>(naiveDays(y, m, d) * 86400 + 13 * 3600 + 14 * 60 + 15) *
                10000000u +
            1610000u;
        ASSERT_EQ(fileTimeTicks(ft), expected) << y << '-' << m << '-' << d;
        SYSTEMTIME back = {};
        ASSERT_TRUE(fileTimeToSystemTime(ft, back));
        ASSERT_EQ(back.wYear, y);
        ASSERT_EQ(back.wMonth, m);
        ASSERT_EQ(back.wDay, d);
        ASSERT_EQ(back.wHour, 13);
        ASSERT_EQ(back.wMinute, 14);
        ASSERT_EQ(back.wSecond, 15);
        ASSERT_EQ(back.wMilliseconds, 161);
    }
}

}  // namespace
