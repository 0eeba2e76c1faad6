// Local time under time-zone rules chosen by the test (POSIX TZ strings,
// read by the C library).

#include <kel/Kel.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <random>
#include <string>
#include <vector>

#include "support/isolation.h"
#include "support/time_support.h"

namespace {

using kel::test::fromTm;
using kel::test::makeTime;
using kel::test::sameMoment;

// Sets TZ for the life of the object and restores it afterwards.
class TimeZone {
public:
    explicit TimeZone(const char* rules) {
        const char* old = std::getenv("TZ");
        m_hadOld = old != nullptr;
        if (m_hadOld)
            m_old = old;
        kel::test::setEnv("TZ", rules);
        tzset();
    }
    ~TimeZone() {
        kel::test::setEnv("TZ", m_hadOld ? m_old.c_str() : nullptr);
        tzset();
    }

private:
    bool m_hadOld = false;
    std::string m_old;
};

SYSTEMTIME localReading(std::time_t at, long& offset) {
    std::tm tm = {};
    localtime_r(&at, &tm);
    offset = tm.tm_gmtoff;
    return fromTm(tm);
}

TEST(KelTimeUtilitiesTimeZone, LocalClock_FollowsTheZoneRules) {
    struct Zone {
        const char* rules;
        int hoursOfUtcHalfHourAgo;  // UTC now - 30 min, compared with local now
    };
    const Zone zones[] = {
        {"UTC0", 0},
        {"<+14>-14", -14},
        {"<-05>5", 4},
        {"AAA5BBB4,0/0,J365/25", 3},  // daylight time all year: UTC-4
    };
    for (const Zone& zone : zones) {
        TimeZone tz(zone.rules);
        const std::time_t before = std::time(nullptr) - 1800;
        std::tm utc = {};
        gmtime_r(&before, &utc);
        const SYSTEMTIME halfHourAgo = fromTm(utc);
        int diff = 99;
        KelTimeUtilities::getDifferenceBetweenTimeAndLocalTimeInHours(halfHourAgo, diff);
        EXPECT_EQ(diff, zone.hoursOfUtcHalfHourAgo) << zone.rules;
    }
}

TEST(KelTimeUtilitiesTimeZone, LocalClock_AgreesWithTheCLibrary) {
    for (const char* rules :
         {"EST5EDT,M3.2.0,M11.1.0", "CET-1CEST,M3.5.0,M10.5.0/3", "<+0530>-5:30"}) {
        TimeZone tz(rules);
        long offset = 0;
        const SYSTEMTIME expected = localReading(std::time(nullptr), offset);
        SYSTEMTIME local;
        ASSERT_NE(KelTimeUtilities::addTimeToLocalTime(0, local), 0);
        int seconds = 99;
        KelTimeUtilities::getDifferenceBetweenTimesInSeconds(local, expected, seconds);
        EXPECT_GE(seconds, 0) << rules;
        EXPECT_LE(seconds, 2) << rules;
    }
}

// Differences and additions are wall-clock arithmetic: two local readings
// on either side of a daylight-saving change differ by the difference of
// the readings (elapsed time plus the change of offset), and adding hours
// moves the reading by exactly that many hours.
class AcrossDaylightSaving : public ::testing::TestWithParam<const char*> {};

// The instants from 2000 to 2037 at which the zone's offset changes.
std::vector<std::time_t> offsetChanges() {
    std::vector<std::time_t> changes;
    long previous = 0;
    localReading(946684800, previous);  // 2000-01-01
    for (std::time_t t = 946684800; t < 2145916800; t += 3600) {
        long offset = 0;
        localReading(t, offset);
        if (offset != previous)
            changes.push_back(t);
        previous = offset;
    }
    return changes;
}

TEST_P(AcrossDaylightSaving, DifferencesAndAdditionsAreWallClockArithmetic) {
    TimeZone tz(GetParam());
    const std::vector<std::time_t> changes = offsetChanges();
    ASSERT_EQ(changes.size(), 2u * 38u);
    std::mt19937_64 random(77);
    std::uniform_int_distribution<size_t> change(0, changes.size() - 1);
    std::uniform_int_distribution<long> around(-48 * 3600, 48 * 3600);
    std::uniform_int_distribution<int> hours(-60, 60);
    int straddled = 0;
    for (int i = 0; i < 10000; ++i) {
        const std::time_t a = changes[change(random)] + around(random);
        const long step = around(random);
        long offsetA = 0;
        long offsetB = 0;
        const SYSTEMTIME readingA = localReading(a, offsetA);
        const SYSTEMTIME readingB = localReading(a + step, offsetB);
        if (offsetA != offsetB)
            ++straddled;

        const long wallClock = step + (offsetB - offsetA);
        int seconds = 0;
        const int order =
            KelTimeUtilities::getDifferenceBetweenTimesInSeconds(readingB, readingA, seconds);
        ASSERT_EQ(seconds, wallClock) << readingA << " -> " << readingB;
        ASSERT_EQ(order, wallClock > 0 ? 1 : (wallClock < 0 ? -1 : 0));

        const int h = hours(random);
        SYSTEMTIME moved;
        ASSERT_NE(KelTimeUtilities::addTime(readingA, h, moved), 0);
        // The reading taken as UTC, moved by h hours.
        const std::time_t wallMoved = a + offsetA + static_cast<std::time_t>(h) * 3600;
        std::tm expected = {};
        gmtime_r(&wallMoved, &expected);
        ASSERT_TRUE(sameMoment(moved, fromTm(expected))) << readingA << " + " << h;
        ASSERT_EQ(moved.wDayOfWeek, expected.tm_wday);
    }
    EXPECT_GT(straddled, 2000);
}

INSTANTIATE_TEST_SUITE_P(Zones, AcrossDaylightSaving,
                         ::testing::Values("EST5EDT,M3.2.0,M11.1.0", "CET-1CEST,M3.5.0,M10.5.0/3"));

}  // namespace
