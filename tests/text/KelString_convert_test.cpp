// KelString conversions: numbers, paths, clock text and strftime.

#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <cerrno>
#include <climits>
#include <cmath>
#include <cstring>
#include <ctime>
#include <cwchar>
#include <string>

#include "support/isolation.h"
#include "support/system.h"
#include "text/invalid_parameter_counter.h"

namespace {

std::wstring text(const KelString& s) {
    return s.getStringW();
}

}  // namespace

// ----- text to numbers ------------------------------------------------------------------

TEST(KelStringToNumber, LeadingBlanksSignAndStopAtTheFirstNonDigit) {
    EXPECT_EQ(KelString(L"42").toInteger(), 42);
    EXPECT_EQ(KelString(L"  \t\n-17abc").toInteger(), -17);
    EXPECT_EQ(KelString(L"+8").toInteger(), 8);
    EXPECT_EQ(KelString(L"12.9").toInteger(), 12);
    EXPECT_EQ(KelString(L"abc").toInteger(), 0);
    EXPECT_EQ(KelString(L"").toInteger(), 0);
    EXPECT_EQ(KelString(L"- 5").toInteger(), 0);
    EXPECT_EQ(KelString(L"--5").toInteger(), 0);
    EXPECT_EQ(KelString(L"0x1A").toInteger(), 0);
}

TEST(KelStringToNumber, LeadingWhiteSpaceOfEveryScriptIsSkipped) {
    // The ideographic space, the no-break space, the line separator, next
    // line, vertical tab and form feed are all white space to the runtime.
    EXPECT_EQ(KelString(L"\u3000\u3000"
                        L"12")
                  .toInteger(),
              12);
    EXPECT_EQ(KelString(L"\u00A0-7").toInteger(), -7);
    EXPECT_EQ(KelString(L"\u2028\u0085\v\f"
                        L"5")
                  .toLong(),
              5L);
    EXPECT_EQ(KelString(L"\u2003"
                        L"8589934592")
                  .toIntPtr(),
              8589934592LL);
    EXPECT_DOUBLE_EQ(KelString(L"\u3000"
                               L"2.5")
                         .toDouble(),
                     2.5);
    EXPECT_DOUBLE_EQ(KelString(L"\u00A0\u205F-0.25").toDouble(), -0.25);
    // The zero-width space and the byte-order mark are not white space.
    EXPECT_EQ(KelString(L"\u200B"
                        L"12")
                  .toInteger(),
              0);
    EXPECT_EQ(KelString(L"\uFEFF"
                        L"12")
                  .toInteger(),
              0);
    EXPECT_DOUBLE_EQ(KelString(L"\u200B"
                               L"2.5")
                         .toDouble(),
                     0.0);
    // White space after the sign ends the number.
    EXPECT_EQ(KelString(L"-\u3000"
                        L"5")
                  .toInteger(),
              0);
}

TEST(KelStringToNumber, IntSaturatesOnOverflow) {
    EXPECT_EQ(KelString(L"2147483647").toInteger(), INT_MAX);
    EXPECT_EQ(KelString(L"2147483648").toInteger(), INT_MAX);
    EXPECT_EQ(KelString(L"99999999999999999999").toInteger(), INT_MAX);
    EXPECT_EQ(KelString(L"-2147483648").toInteger(), INT_MIN);
    EXPECT_EQ(KelString(L"-2147483649").toInteger(), INT_MIN);
    EXPECT_EQ(KelString(L"000000000000000000012").toInteger(), 12);
}

TEST(KelStringToNumber, Int64) {
    EXPECT_EQ(KelString(L" 9223372036854775807").toIntPtr(), LLONG_MAX);
    EXPECT_EQ(KelString(L"9223372036854775808").toIntPtr(), LLONG_MAX);
    EXPECT_EQ(KelString(L"-9223372036854775808").toIntPtr(), LLONG_MIN);
    EXPECT_EQ(KelString(L"-9223372036854775809").toIntPtr(), LLONG_MIN);
    EXPECT_EQ(KelString(L"4294967296x").toIntPtr(), 4294967296LL);
}

TEST(KelStringToNumber, LongSaturatesAtItsOwnLimits) {
    EXPECT_EQ(KelString(L"-123").toLong(), -123L);
    EXPECT_EQ(KelString(L"99999999999999999999999").toLong(), LONG_MAX);
    EXPECT_EQ(KelString(L"-99999999999999999999999").toLong(), LONG_MIN);
}

TEST(KelStringToNumber, Double) {
    EXPECT_DOUBLE_EQ(KelString(L"3.25").toDouble(), 3.25);
    EXPECT_DOUBLE_EQ(KelString(L"  -1.5e3mm").toDouble(), -1500.0);
    EXPECT_DOUBLE_EQ(KelString(L".5").toDouble(), 0.5);
    EXPECT_DOUBLE_EQ(KelString(L"abc").toDouble(), 0.0);
    EXPECT_DOUBLE_EQ(KelString(L"").toDouble(), 0.0);
    EXPECT_TRUE(std::isinf(KelString(L"1e999").toDouble()));
    EXPECT_DOUBLE_EQ(KelString(L"12,5").toDouble(), 12.0);
}

// ----- numbers to text ------------------------------------------------------------------

TEST(KelStringFromNumber, IntegerInEveryRadix) {
    EXPECT_EQ(text(KelString::integerToString(0)), L"0");
    EXPECT_EQ(text(KelString::integerToString(255)), L"255");
    EXPECT_EQ(text(KelString::integerToString(-255)), L"-255");
    EXPECT_EQ(text(KelString::integerToString(255, 16)), L"ff");
    EXPECT_EQ(text(KelString::integerToString(5, 2)), L"101");
    EXPECT_EQ(text(KelString::integerToString(35, 36)), L"z");
    EXPECT_EQ(text(KelString::integerToString(INT_MIN)), L"-2147483648");
    EXPECT_EQ(text(KelString::integerToString(INT_MAX, 8)), L"17777777777");
}

TEST(KelStringFromNumber, NegativeInOtherRadixesIsTwosComplement) {
    EXPECT_EQ(text(KelString::integerToString(-1, 16)), L"ffffffff");
    EXPECT_EQ(text(KelString::integerToString(-255, 16)), L"ffffff01");
    EXPECT_EQ(text(KelString::integerToString(-1, 2)), L"11111111111111111111111111111111");
    EXPECT_EQ(text(KelString::integerToString(INT_MIN, 16)), L"80000000");
}

TEST(KelStringFromNumber, BadRadixIsReportedAndGivesEmpty) {
    InvalidParameterCounter reports;
    EXPECT_EQ(KelString::integerToString(10, 1).isEmpty(), 1);
    EXPECT_EQ(KelString::integerToString(10, 37).isEmpty(), 1);
    EXPECT_EQ(KelString::longToString(10, 0).isEmpty(), 1);
    EXPECT_EQ(reports.calls(), 3);
}

TEST(KelStringFromNumber, Long) {
    EXPECT_EQ(text(KelString::longToString(-42)), L"-42");
    EXPECT_EQ(text(KelString::longToString(4095, 16)), L"fff");
    const std::wstring allOnes(sizeof(long) * 2, L'f');
    EXPECT_EQ(text(KelString::longToString(-1L, 16)), allOnes);
}

struct GcvtCase {
    double value;
    int digits;
    const wchar_t* expected;
};

TEST(KelStringFromNumber, DoubleAsGcvtWritesIt) {
    const GcvtCase cases[] = {
        // The runtime's own documented series.
        {-1234567890.123, 12, L"-1234567890.12"},
        {-12345678901.23, 12, L"-12345678901.2"},
        {-123456789012.3, 12, L"-123456789012"},
        {-1234567890123.0, 12, L"-1.23456789012e+12"},
        // A point only when the digits leave room for a fraction digit;
        // zeros ending the fraction go, the point stays.
        {-123456789012.0, 12, L"-123456789012"},
        {1.0, 5, L"1."},
        {1.0, 1, L"1"},
        {1.5, 5, L"1.5"},
        {100.0, 3, L"100"},
        {100.0, 4, L"100."},
        {-314150.0, 7, L"-314150."},
        {-314150.0, 6, L"-314150"},
        {2.5, 1, L"3"},
        {0.0, 5, L"0."},
        {0.0, 1, L"0"},
        {0.5, 3, L"0.5"},
        {3.14159265, 3, L"3.14"},
        {-12.34567890123, 12, L"-12.3456789012"},
        {-0.1234567890123, 12, L"-0.123456789012"},
        // Exponent form, where the point follows the same rule.
        {-0.01234567890123, 12, L"-1.23456789012e-02"},
        {1000.0, 3, L"1.e+03"},
        {99.9, 2, L"1.e+02"},
        {99.9, 1, L"1e+02"},
        {1e20, 1, L"1e+20"},
        {0.001234, 3, L"1.23e-03"},
    };
    for (const GcvtCase& c : cases) {
        EXPECT_EQ(text(KelString::doubleToString(c.value, c.digits)), c.expected)
            << c.value << " with " << c.digits << " digits";
    }
}

TEST(KelStringFromNumber, DoubleWithTooManyDigitsIsEmpty) {
    InvalidParameterCounter reports;
    EXPECT_EQ(KelString::doubleToString(1.0, 1024).isEmpty(), 1);
    EXPECT_EQ(KelString::doubleToString(1.0, -1).isEmpty(), 1);
    EXPECT_EQ(reports.calls(), 2);
}

// ----- paths ----------------------------------------------------------------------------

TEST(KelStringPaths, SplitPathWithBothSeparatorsAndADrive) {
    KelString drive, dir, fname, ext;
    KelString(L"c:\\models/steel\\beam.part.dxf").SplitPath(drive, dir, fname, ext);
    EXPECT_EQ(text(drive), L"c:");
    EXPECT_EQ(text(dir), L"\\models/steel\\");
    EXPECT_EQ(text(fname), L"beam.part");
    EXPECT_EQ(text(ext), L".dxf");
}

TEST(KelStringPaths, SplitPathWithoutParts) {
    KelString drive(L"x"), dir(L"x"), fname(L"x"), ext(L"x");
    KelString(L"readme").SplitPath(drive, dir, fname, ext);
    EXPECT_EQ(drive.isEmpty(), 1);
    EXPECT_EQ(dir.isEmpty(), 1);
    EXPECT_EQ(text(fname), L"readme");
    EXPECT_EQ(ext.isEmpty(), 1);
    KelString().SplitPath(drive, dir, fname, ext);
    EXPECT_EQ(fname.isEmpty(), 1);
}

TEST(KelStringPaths, SplitPathDotInADirectoryIsNoExtension) {
    KelString drive, dir, fname, ext;
    KelString(L"/home/a.b/file").SplitPath(drive, dir, fname, ext);
    EXPECT_EQ(drive.isEmpty(), 1);
    EXPECT_EQ(text(dir), L"/home/a.b/");
    EXPECT_EQ(text(fname), L"file");
    EXPECT_EQ(ext.isEmpty(), 1);
}

TEST(KelStringPaths, SplitPathTooLongComponentEmptiesAllParts) {
    InvalidParameterCounter reports;
    KelString drive, dir, fname, ext;
    const std::wstring longName = L"c:\\dir\\" + std::wstring(300, L'n') + L".txt";
    KelString(longName.c_str()).SplitPath(drive, dir, fname, ext);
    EXPECT_EQ(reports.calls(), 1);
    EXPECT_EQ(drive.isEmpty(), 1);
    EXPECT_EQ(dir.isEmpty(), 1);
    EXPECT_EQ(fname.isEmpty(), 1);
    EXPECT_EQ(ext.isEmpty(), 1);
}

TEST(KelStringPaths, MakePathAddsSeparatorsAndDot) {
    KelString p;
    p.MakePath(KelString(L"c"), KelString(L"\\models"), KelString(L"beam"), KelString(L"dxf"));
    EXPECT_EQ(text(p), L"c:\\models\\beam.dxf");
    p.MakePath(KelString(L"d:"), KelString(L"/data/"), KelString(L"x"), KelString(L".txt"));
    EXPECT_EQ(text(p), L"d:/data/x.txt");
    p.MakePath(KelString(), KelString(), KelString(L"name"), KelString());
    EXPECT_EQ(text(p), L"name");
    p.MakePath(KelString(), KelString(L"dir"), KelString(), KelString(L"e"));
    EXPECT_EQ(text(p), L"dir\\.e");
}

TEST(KelStringPaths, MakePathThatDoesNotFitEmptiesTheValue) {
    InvalidParameterCounter reports;
    KelString p(L"before");
    const std::wstring longDir(300, L'd');
    p.MakePath(KelString(L"c"), KelString(longDir.c_str()), KelString(L"f"), KelString(L"e"));
    EXPECT_EQ(reports.calls(), 1);
    EXPECT_EQ(p.isEmpty(), 1);
    // 259 characters fit, 260 do not.
    const std::wstring name(254, L'n');
    p.MakePath(KelString(L"c"), KelString(), KelString(name.c_str()), KelString(L"ab"));
    EXPECT_EQ(p.length(), 259);
    p.MakePath(KelString(L"c"), KelString(), KelString(name.c_str()), KelString(L"abc"));
    EXPECT_EQ(p.isEmpty(), 1);
    EXPECT_EQ(reports.calls(), 2);
}

TEST(KelStringPaths, SplitThenMakeRoundTrips) {
    const KelString original(L"e:\\work\\frame.ifc");
    KelString drive, dir, fname, ext, rebuilt;
    original.SplitPath(drive, dir, fname, ext);
    rebuilt.MakePath(drive, dir, fname, ext);
    EXPECT_EQ(text(rebuilt), text(original));
}

// ----- clock text -----------------------------------------------------------------------

TEST(KelStringClock, TimeIsHoursMinutesSeconds) {
    const std::wstring t = text(KelString::time());
    ASSERT_EQ(t.size(), 8u);
    EXPECT_EQ(t[2], L':');
    EXPECT_EQ(t[5], L':');
    const int hours = std::stoi(t.substr(0, 2));
    EXPECT_GE(hours, 0);
    EXPECT_LE(hours, 23);
}

namespace {

struct tm localTime(time_t t) {
    struct tm local = {};
#if defined(_WIN32)
    localtime_s(&local, &t);
#else
    localtime_r(&t, &local);
#endif
    return local;
}

}  // namespace

TEST(KelStringClock, DateIsMonthDayYearOfLocalTime) {
    const time_t now = std::time(nullptr);
    const struct tm local = localTime(now);
    wchar_t expected[16];
    std::swprintf(expected, 16, L"%02d/%02d/%02d", local.tm_mon + 1, local.tm_mday,
                  local.tm_year % 100);
    const std::wstring d = text(KelString::date());
    // Around midnight the day may turn between the two readings.
    if (d != expected) {
        if (localTime(std::time(nullptr)).tm_mday != local.tm_mday)
            GTEST_SKIP() << "the date changed while the test ran";
    }
    EXPECT_EQ(d, expected);
}

TEST(KelStringClock, FormatTime) {
    struct tm t = {};
    t.tm_year = 2015 - 1900;
    t.tm_mon = 6;
    t.tm_mday = 14;
    t.tm_hour = 9;
    t.tm_min = 5;
    t.tm_sec = 7;
    KelString s;
    EXPECT_EQ(&s.formatTime(64, "%Y-%m-%d %H:%M:%S", &t), &s);
    EXPECT_EQ(text(s), L"2015-07-14 09:05:07");
}

TEST(KelStringClock, FormatTimeThatProducesNothingGivesEmpty) {
    struct tm t = {};
    t.tm_year = 115;
    KelString s(L"before");
    s.formatTime(64, "", &t);
    EXPECT_EQ(s.isEmpty(), 1);
    KelString tooLong(L"before");
    tooLong.formatTime(4, "%Y-%m-%d", &t);
    EXPECT_EQ(tooLong.isEmpty(), 1);
    KelString zero(L"before");
    zero.formatTime(0, "%Y", &t);
    EXPECT_EQ(zero.isEmpty(), 1);
}

TEST(KelStringClock, FormatTimeWithNullArgumentsIsReported) {
    InvalidParameterCounter reports;
    KelString s(L"before");
    s.formatTime(10, nullptr, nullptr);
    EXPECT_EQ(reports.calls(), 1);
    EXPECT_EQ(s.isEmpty(), 1);
    // A null time is reported only where a directive reads it.
    s.formatTime(10, "plain%%", nullptr);
    EXPECT_EQ(text(s), L"plain%");
    s.formatTime(10, "%Y", nullptr);
    EXPECT_EQ(s.isEmpty(), 1);
    EXPECT_EQ(reports.calls(), 2);
}

// ----- strftime as the Windows runtime has it in the "C" locale --------------------------

namespace {

// Thursday, 29 February 2024, 13:05:09, the 60th day of the year.
struct tm leapDay() {
    struct tm t = {};
    t.tm_year = 124;
    t.tm_mon = 1;
    t.tm_mday = 29;
    t.tm_hour = 13;
    t.tm_min = 5;
    t.tm_sec = 9;
    t.tm_wday = 4;
    t.tm_yday = 59;
    return t;
}

// Tuesday, 5 March 2024, midnight.
struct tm marchFifth() {
    struct tm t = {};
    t.tm_year = 124;
    t.tm_mon = 2;
    t.tm_mday = 5;
    t.tm_wday = 2;
    t.tm_yday = 64;
    return t;
}

std::wstring formatted(const char* fmt, const struct tm& t) {
    KelString s(L"before");
    s.formatTime(256, fmt, &t);
    return text(s);
}

}  // namespace

struct TimeRow {
    const char* format;
    const wchar_t* leapDay;
    const wchar_t* marchFifth;
};

TEST(KelStringFormatTime, DirectivesInTheCLocale) {
    const TimeRow rows[] = {
        {"%c", L"02/29/24 13:05:09", L"03/05/24 00:00:00"},
        {"%x", L"02/29/24", L"03/05/24"},
        {"%X", L"13:05:09", L"00:00:00"},
        {"%a %A", L"Thu Thursday", L"Tue Tuesday"},
        {"%b %B %h", L"Feb February Feb", L"Mar March Mar"},
        {"%C|%y|%Y", L"20|24|2024", L"20|24|2024"},
        {"%d|%e|%j", L"29|29|060", L"05| 5|065"},
        {"%D|%F", L"02/29/24|2024-02-29", L"03/05/24|2024-03-05"},
        {"%H|%I|%M|%S|%p", L"13|01|05|09|PM", L"00|12|00|00|AM"},
        {"%r|%R|%T", L"01:05:09 PM|13:05|13:05:09", L"12:00:00 AM|00:00|00:00:00"},
        {"%u|%w|%U|%W|%V|%g|%G", L"4|4|08|09|09|24|2024", L"2|2|09|10|10|24|2024"},
        {"%m", L"02", L"03"},
        {"[%n|%t|%%]", L"[\n|\t|%]", L"[\n|\t|%]"},
        {"no directive", L"no directive", L"no directive"},
    };
    for (const TimeRow& row : rows) {
        EXPECT_EQ(formatted(row.format, leapDay()), row.leapDay) << row.format;
        EXPECT_EQ(formatted(row.format, marchFifth()), row.marchFifth) << row.format;
    }
}

TEST(KelStringFormatTime, AlternateForms) {
    const TimeRow rows[] = {
        // The long date of the "C" locale.
        {"%#c", L"Thursday, February 29, 2024 13:05:09", L"Tuesday, March 05, 2024 00:00:00"},
        {"%#x", L"Thursday, February 29, 2024", L"Tuesday, March 05, 2024"},
        // Leading zeros and spaces dropped.
        {"%#d|%#e|%#j|%#m", L"29|29|60|2", L"5|5|65|3"},
        {"%#H|%#I|%#M|%#S", L"13|1|5|9", L"0|12|0|0"},
        {"%#D|%#F", L"2/29/24|2024-2-29", L"3/5/24|2024-3-5"},
        {"%#r|%#R|%#T", L"1:5:9 PM|13:5|13:5:9", L"12:0:0 AM|0:0|0:0:0"},
        {"%#U|%#W|%#V|%#y|%#Y", L"8|9|9|24|2024", L"9|10|10|24|2024"},
        // Ignored.
        {"%#X|%#a|%#A|%#b|%#B|%#h|%#p|%#u|%#w|%#g|%#G|%#C|%#%",
         L"13:05:09|Thu|Thursday|Feb|February|Feb|PM|4|4|24|2024|20|%",
         L"00:00:00|Tue|Tuesday|Mar|March|Mar|AM|2|2|24|2024|20|%"},
    };
    for (const TimeRow& row : rows) {
        EXPECT_EQ(formatted(row.format, leapDay()), row.leapDay) << row.format;
        EXPECT_EQ(formatted(row.format, marchFifth()), row.marchFifth) << row.format;
    }
}

TEST(KelStringFormatTime, YearsWeeksAndTheEndsOfTheRange) {
    struct tm t = leapDay();
    t.tm_year = 999 - 1900;
    EXPECT_EQ(formatted("%Y|%#Y|%y|%#y|%C", t), L"0999|999|99|99|09");
    t.tm_year = 2009 - 1900;
    EXPECT_EQ(formatted("%y|%#y", t), L"09|9");
    // 1 January 2021 is a Friday of the last ISO week of 2020.
    struct tm newYear = {};
    newYear.tm_year = 121;
    newYear.tm_mday = 1;
    newYear.tm_wday = 5;
    EXPECT_EQ(formatted("%G-W%V-%u|%g|%U|%W", newYear), L"2020-W53-5|20|00|00");
    // 31 December 2024 is a Tuesday of the first ISO week of 2025.
    struct tm lastDay = {};
    lastDay.tm_year = 124;
    lastDay.tm_mon = 11;
    lastDay.tm_mday = 31;
    lastDay.tm_wday = 2;
    lastDay.tm_yday = 365;
    EXPECT_EQ(formatted("%G-W%V-%u|%j|%U|%W", lastDay), L"2025-W01-2|366|52|53");
    t = leapDay();
    t.tm_sec = 60;  // a leap second
    EXPECT_EQ(formatted("%S", t), L"60");
    t.tm_year = 9999 - 1900;
    EXPECT_EQ(formatted("%Y", t), L"9999");
    t.tm_year = -1900;
    EXPECT_EQ(formatted("%Y", t), L"0000");
}

TEST(KelStringFormatTime, UnknownDirectiveIsReportedAndGivesEmpty) {
    InvalidParameterCounter reports;
    for (const char* fmt : {"%Q", "%E", "%Ec", "%Oy", "%5d", "%-d", "%_d", "%k", "%l", "%P", "%s",
                            "%+", "abc%", "%#", "%#Q", "%Y %"}) {
        reports.reset();
        EXPECT_EQ(formatted(fmt, leapDay()), L"") << fmt;
        EXPECT_EQ(reports.calls(), 1) << fmt;
        EXPECT_EQ(reports.lastFunction(), L"strftime") << fmt;
    }
}

TEST(KelStringFormatTime, FieldOutOfRangeIsReportedWhereADirectiveReadsIt) {
    InvalidParameterCounter reports;
    struct tm t = leapDay();
    t.tm_mday = 0;
    EXPECT_EQ(formatted("%d", t), L"");
    EXPECT_EQ(formatted("%x", t), L"");
    EXPECT_EQ(reports.calls(), 2);
    EXPECT_EQ(formatted("%Y %H", t), L"2024 13");  // the day is not read
    t = leapDay();
    t.tm_hour = 24;
    EXPECT_EQ(formatted("%H", t), L"");
    t = leapDay();
    t.tm_wday = 7;
    EXPECT_EQ(formatted("%a", t), L"");
    EXPECT_EQ(formatted("%#x", t), L"");
    EXPECT_EQ(formatted("%x", t), L"02/29/24");  // the short date needs no weekday
    t = leapDay();
    t.tm_mon = 12;
    EXPECT_EQ(formatted("%b", t), L"");
    t = leapDay();
    t.tm_year = 10000 - 1900;
    EXPECT_EQ(formatted("%Y", t), L"");
    t.tm_year = -1 - 1900;
    EXPECT_EQ(formatted("%y", t), L"");
    t = leapDay();
    t.tm_sec = 61;
    EXPECT_EQ(formatted("%T", t), L"");
    t = leapDay();
    t.tm_yday = 366;
    EXPECT_EQ(formatted("%j", t), L"");
    EXPECT_EQ(reports.calls(), 10);
}

TEST(KelStringFormatTime, SizeZeroIsReportedAndResultsThatDoNotFitAreNot) {
    InvalidParameterCounter reports;
    const struct tm t = leapDay();
    KelString s(L"before");
    s.formatTime(0, "%Y", &t);
    EXPECT_EQ(s.isEmpty(), 1);
    EXPECT_EQ(reports.calls(), 1);
    s = L"before";
    errno = 0;
    s.formatTime(4, "%Y", &t);  // four characters need a size of five
    EXPECT_EQ(s.isEmpty(), 1);
    EXPECT_EQ(errno, ERANGE);
    s.formatTime(5, "%Y", &t);
    EXPECT_EQ(text(s), L"2024");
    s.formatTime(17, "%c", &t);
    EXPECT_EQ(s.isEmpty(), 1);
    s.formatTime(18, "%c", &t);
    EXPECT_EQ(text(s), L"02/29/24 13:05:09");
    EXPECT_EQ(reports.calls(), 1);
}

TEST(KelStringFormatTime, TimeZoneOffset) {
    struct tm t = leapDay();
    kel::test::setEnv("TZ", "PST8PDT");
    EXPECT_EQ(formatted("%z", t), L"-0800");
    t.tm_isdst = 1;
    EXPECT_EQ(formatted("%z", t), L"-0700");
    kel::test::setEnv("TZ", "IST-5:30");
    t.tm_isdst = 0;
    EXPECT_EQ(formatted("%#z", t), L"+0530");
    kel::test::setEnv("TZ", "UTC0");
    EXPECT_EQ(formatted("%z", t), L"-0000");
    kel::test::setEnv("TZ", nullptr);
}

TEST(KelStringFormatTime, TimeZoneName) {
    KEL_SKIP_UNDER_WINE("Wine's C runtime keeps only the first two letters of a TZ name");
    struct tm t = leapDay();
    kel::test::setEnv("TZ", "PST8PDT");
    EXPECT_EQ(formatted("%Z", t), L"PST");
    t.tm_isdst = 1;
    EXPECT_EQ(formatted("%Z|%#Z", t), L"PDT|PDT");
    kel::test::setEnv("TZ", nullptr);
}
