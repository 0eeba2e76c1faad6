// Demonstration: part marks, running numbers, DSTV codes, polynomial roots,
// rounding, time arithmetic and regular expressions.

#include <kel/Kel.h>

#include <cstdio>
#include <string>

#include "command.h"

namespace kel::tool {

namespace {

std::wstring text(const KelString& value) {
    return value.getStringW();
}

std::string fixed(double value, int decimals = 4) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%.*f", decimals, value);
    return buffer;
}

std::string timeText(const SYSTEMTIME& t) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%04u-%02u-%02u %02u:%02u", static_cast<unsigned>(t.wYear),
                  static_cast<unsigned>(t.wMonth), static_cast<unsigned>(t.wDay),
                  static_cast<unsigned>(t.wHour), static_cast<unsigned>(t.wMinute));
    return buffer;
}

// With the day of the week, which the conversions fill in.
std::string resultText(const SYSTEMTIME& t) {
    static const char* const kDays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    return std::string(kDays[t.wDayOfWeek % 7]) + " " + timeText(t);
}

SYSTEMTIME makeTime(int year, int month, int day, int hour, int minute) {
    SYSTEMTIME t = {};
    t.wYear = static_cast<decltype(t.wYear)>(year);
    t.wMonth = static_cast<decltype(t.wMonth)>(month);
    t.wDay = static_cast<decltype(t.wDay)>(day);
    t.wHour = static_cast<decltype(t.wHour)>(hour);
    t.wMinute = static_cast<decltype(t.wMinute)>(minute);
    return t;
}

void showPartMarks() {
    StructIncrementalCounter marks;
    marks.startValue = L"A";
    marks.firstSymbol = L"A";
    marks.symbolCount = 26;
    marks.skippedSymbols = L"IO";
    marks.maxValues = -1;
    KelIncrementalCounter counter;
    counter.setDataFrom(marks);
    std::wstring sequence = text(counter.getCounterString());
    for (int i = 0; i < 15; ++i) {
        counter.increment();
        sequence += L" " + text(counter.getCounterString());
    }
    line(L"letters A..Z, skipping I and O  -> " + sequence + L" ...");
    counter.setCounterString(L"Y");
    std::wstring wrap = L"Y";
    for (int i = 0; i < 3; ++i) {
        counter.increment();
        wrap += L" " + text(counter.getCounterString());
    }
    line(L"                                   " + wrap);
    counter.setCounterString(L"AZ");
    counter.increment();
    line(L"                                   AZ " + text(counter.getCounterString()));

    StructIncrementalCounter digits;
    digits.startValue = L"1";
    digits.firstSymbol = L"1";
    digits.symbolCount = 9;
    digits.maxValues = 3;
    counter.setDataFrom(digits);
    std::wstring limited = text(counter.getCounterString());
    while (counter.increment() == KelIncrementalCounter::eIncremented)
        limited += L" " + text(counter.getCounterString());
    line(L"digits from 1, at most 3 values -> " + limited + L", then eLimitReached");
    digits.maxValues = -1;
    counter.setDataFrom(digits);
    counter.setCounterString(L"99");
    counter.increment();
    line(L"digits from 1, after 99         -> " + text(counter.getCounterString()));
}

void showNumberCreator() {
    StructNumberingDataRange range;
    range.firstSymbol = L"1";
    range.symbolCount = 10;
    range.startValue = L"7";
    KelNumberCreator positions(KelNumberCreator::eDecimal, L"POS-");
    positions.overrideDataRange(range, KelNumberCreator::eDecimal);
    positions.reinit();
    positions.setNumberingSufix(L"/A");
    std::wstring handedOut;
    for (int i = 0; i < 6; ++i)
        handedOut += (i > 0 ? L" " : L"") + text(positions.getNextNumber());
    line(L"decimal, prefix POS-, suffix /A, from 7 -> " + handedOut);
    positions.reset();
    line(L"after reset                             -> " + text(positions.getNextNumber()));

    StructNumberingDataRange letters;
    letters.firstSymbol = L"A";
    letters.symbolCount = 26;
    letters.startValue = L"W";
    letters.skippedSymbols = L"IOX";
    KelNumberCreator sheets;
    sheets.setNumberingPrefix(L"S");
    sheets.overrideDataRange(letters, static_cast<KelNumberCreator::eNumberingType>(1));
    std::wstring sheetNumbers;
    for (int i = 0; i < 5; ++i)
        sheetNumbers += (i > 0 ? L" " : L"") + text(sheets.getNextNumber());
    line(L"letters, prefix S, skipping I O X, from W -> " + sheetNumbers);
}

void showDstvCodes() {
    KelProfTypeDSTVValues profile;
    std::wstring codes;
    for (int type = -1; type <= 18; ++type) {
        profile.setDSTVType(static_cast<KelProfTypeDSTVValues::eDSTVType>(type));
        codes += (type > -1 ? L" " : L"") + std::to_wstring(type) + L"=" +
                 text(profile.getProftypeString());
    }
    line(L"type codes: " + codes);
    profile.setDSTVType(KelProfTypeDSTVValues::eDSTV_I);
    profile.setH1(200.0);
    profile.setB1(100.0);
    profile.setTS(5.6);
    profile.setTG(8.5);
    KelProfTypeDSTVValues copy(profile);
    line("IPE 200 as a record: " + std::string(copy.getProftypeString().getStringA()) + ", H1 " +
         fixed(copy.getH1(), 1) + ", B1 " + fixed(copy.getB1(), 1) + ", TS " +
         fixed(copy.getTS(), 1) + ", TG " + fixed(copy.getTG(), 1));
}

std::string rootList(const KelMathUtilities::RootArray& roots) {
    std::string list;
    for (long i = 0; i < roots.length(); ++i)
        list += (i > 0 ? ", " : "") + fixed(roots[i]);
    return list;
}

void showMath() {
    KelMathUtilities::RootArray roots;
    int n = KelMathUtilities::CubicSolver(1, -6, 11, -6, roots);
    line("x^3 - 6x^2 + 11x - 6 = 0      -> " + std::to_string(n) + " roots: " + rootList(roots) +
         " (in the solver's order)");
    n = KelMathUtilities::QuarticSolver(1, 0, -5, 0, 4, roots);
    line("x^4 - 5x^2 + 4 = 0            -> " + std::to_string(n) + " roots: " + rootList(roots));
    n = KelMathUtilities::QuadraticSolver(1, 0, 1, roots);
    line("x^2 + 1 = 0                   -> " + std::to_string(n) + " real roots");
    line("KelDouble::round(7.3, 1, 0.5) -> " + fixed(KelDouble::round(7.3, 1, 0.5), 1) +
         ", round(2.345, 2, 0) -> " + fixed(KelDouble::round(2.345, 2, 0), 2));
    line("KelDouble::longRound(-2.5, 0.5) -> " + std::to_string(KelDouble::longRound(-2.5, 0.5)) +
         ", longRound(2.99995, 0) -> " + std::to_string(KelDouble::longRound(2.99995, 0)));
}

void showTime() {
    const SYSTEMTIME march = makeTime(2024, 3, 1, 0, 30);
    SYSTEMTIME dayBefore;
    KelTimeUtilities::addTime(march, -24, dayBefore);
    line("addTime(" + timeText(march) + ", -24 h) -> " + resultText(dayBefore) + " (a leap year)");
    const SYSTEMTIME newYear = makeTime(2023, 12, 31, 22, 0);
    SYSTEMTIME later;
    KelTimeUtilities::addTime(newYear, 5, later);
    line("addTime(" + timeText(newYear) + ", +5 h)  -> " + resultText(later));
    const SYSTEMTIME start = makeTime(2024, 5, 17, 8, 0);
    const SYSTEMTIME end = makeTime(2024, 5, 17, 9, 59);
    int hours = 0;
    int minutes = 0;
    const int order = KelTimeUtilities::getDifferenceBetweenTimesInHours(end, start, hours);
    KelTimeUtilities::getDifferenceBetweenTimesInMinutes(end, start, minutes);
    line("09:59 compared with 08:00         -> " + std::to_string(order) + ", " +
         std::to_string(hours) + " h (truncated), " + std::to_string(minutes) + " min");
    SYSTEMTIME inTwoDays;
    KelTimeUtilities::addTimeToLocalTime(50, inTwoDays);
    int days = 0;
    KelTimeUtilities::getDifferenceBetweenTimeAndLocalTimeInDays(inTwoDays, days);
    line("local clock + 50 h                -> " + resultText(inTwoDays) + ", " +
         std::to_string(days) + " day(s) from now (truncated)");
}

void showRegex() {
    KelRegExWrapper regex;
    regex.setRegularExpression(L"([A-Z]+) ?(\\d+)(?:x(\\d+))?");
    KelRegExWrapper::GroupArray groups;
    for (const wchar_t* profile : {L"HEA 200", L"RHS 100x50", L"IPE200 S355"}) {
        groups.setLogicalLength(0);
        const bool matched = regex.match(profile, groups);
        std::wstring found;
        for (long i = 0; i < groups.length(); ++i)
            found += (i > 0 ? L" | " : L"") + text(groups[i]);
        line(L"match(\"" + std::wstring(profile) + L"\") -> " + (matched ? L"true: " : L"false") +
             found);
    }
    line("(the whole text must match; empty groups are left out)");
}

const DemoSection partMarks(40, "Part marks: incremental counter", showPartMarks);
const DemoSection numberCreator(41, "Running numbers: number creator", showNumberCreator);
const DemoSection dstv(42, "DSTV profile codes", showDstvCodes);
const DemoSection math(43, "Polynomial roots and rounding", showMath);
const DemoSection time(44, "Time arithmetic", showTime);
const DemoSection regularExpressions(45, "Regular expressions", showRegex);

}  // namespace

}  // namespace kel::tool
