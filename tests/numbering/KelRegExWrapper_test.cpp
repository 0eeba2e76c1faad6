#include <kel/Kel.h>

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#if defined(_WIN32)
#include <windows.h>
#else
#include <pthread.h>
#endif

namespace {

#if defined(__SANITIZE_ADDRESS__)
#define KEL_TEST_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KEL_TEST_ADDRESS_SANITIZER 1
#endif
#endif

// A long text against a repeated group, and a deeply nested pattern: both
// need more stack than a thread usually has (100,000 repetitions take about
// 25 MiB, 12,000 levels 17 MiB), and fit the engine's bound of 52 MiB.
// AddressSanitizer's guard zones make the engine's frames four to six times
// larger; within the same bound fit about 41,000 repetitions and 5,000
// levels there.
#if defined(KEL_TEST_ADDRESS_SANITIZER)
constexpr int kLongText = 30000;
constexpr int kDeepNesting = 4000;
#else
constexpr int kLongText = 100000;
constexpr int kDeepNesting = 12000;
#endif

using Groups = KelArray<KelString, KelArrayObjectCopyReallocator<KelString>,
                        KelArrayMemoryController<KelString>>;

std::vector<std::wstring> texts(const Groups& groups) {
    std::vector<std::wstring> result;
    for (long i = 0; i < groups.length(); ++i)
        result.push_back(groups[i].getStringW());
    return result;
}

bool matchWith(const wchar_t* pattern, const wchar_t* text, Groups& groups) {
    KelRegExWrapper regex;
    regex.setRegularExpression(pattern);
    return regex.match(text, groups);
}

bool matchWith(const std::wstring& pattern, const std::wstring& text, Groups& groups) {
    return matchWith(pattern.c_str(), text.c_str(), groups);
}

// The lines written to the debug-output sink while it lives.
class DebugLines {
public:
    DebugLines() { kelSetDebugOutputHandler(collect, this); }
    ~DebugLines() { kelSetDebugOutputHandler(nullptr, nullptr); }
    DebugLines(const DebugLines&) = delete;
    DebugLines& operator=(const DebugLines&) = delete;

    std::vector<std::wstring> lines;

private:
    static void collect(const wchar_t* text, void* context) {
        static_cast<DebugLines*>(context)->lines.push_back(text);
    }
};

// Seconds since `start`.
double secondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// A bound that only a hang exceeds: the cases below take milliseconds to
// tenths of a second, unbounded they took from half a minute to hours; the
// build machine may be busy.
constexpr double kHangSeconds = 10.0;

TEST(KelRegExWrapper, Match_AppendsTheWholeMatchAndTheGroups) {
    Groups groups;
    EXPECT_TRUE(matchWith(L"(\\d+)-(\\d+)", L"12-34", groups));
    EXPECT_EQ(texts(groups), (std::vector<std::wstring>{L"12-34", L"12", L"34"}));
}

TEST(KelRegExWrapper, Match_MustCoverTheWholeText) {
    Groups groups;
    EXPECT_FALSE(matchWith(L"(\\d+)-(\\d+)", L"x12-34", groups));
    EXPECT_FALSE(matchWith(L"(\\d+)-(\\d+)", L"12-34x", groups));
    EXPECT_EQ(groups.length(), 0);
}

TEST(KelRegExWrapper, FailedMatch_LeavesTheGroups) {
    Groups groups;
    groups.append(KelString(L"kept"));
    EXPECT_FALSE(matchWith(L"\\d+", L"abc", groups));
    EXPECT_EQ(texts(groups), std::vector<std::wstring>{L"kept"});
}

TEST(KelRegExWrapper, EmptyGroup_IsSkipped) {
    Groups groups;
    EXPECT_TRUE(matchWith(L"a(b?)c", L"ac", groups));
    EXPECT_EQ(texts(groups), std::vector<std::wstring>{L"ac"});
    groups.setLogicalLength(0);
    EXPECT_TRUE(matchWith(L"a(b?)c", L"abc", groups));
    EXPECT_EQ(texts(groups), (std::vector<std::wstring>{L"abc", L"b"}));
}

TEST(KelRegExWrapper, NonParticipatingGroup_IsSkipped) {
    Groups groups;
    EXPECT_TRUE(matchWith(L"(a)|(b)", L"b", groups));
    EXPECT_EQ(texts(groups), (std::vector<std::wstring>{L"b", L"b"}));
}

TEST(KelRegExWrapper, TwoMatches_AccumulateInTheArray) {
    KelRegExWrapper regex;
    regex.setRegularExpression(L"([A-Z]+)(\\d+)");
    Groups groups;
    EXPECT_TRUE(regex.match(L"HEA200", groups));
    EXPECT_TRUE(regex.match(L"IPE300", groups));
    EXPECT_EQ(texts(groups),
              (std::vector<std::wstring>{L"HEA200", L"HEA", L"200", L"IPE300", L"IPE", L"300"}));
}

TEST(KelRegExWrapper, EmptyPattern_MatchesOnlyTheEmptyTextAndAppendsNothing) {
    Groups groups;
    EXPECT_TRUE(matchWith(L"", L"", groups));
    EXPECT_EQ(groups.length(), 0);
    EXPECT_FALSE(matchWith(L"", L"a", groups));
    KelRegExWrapper unset;
    EXPECT_TRUE(unset.match(KelString(), groups));
    EXPECT_EQ(groups.length(), 0);
}

TEST(KelRegExWrapper, InvalidPattern_GivesFalse) {
    Groups groups;
    groups.append(KelString(L"kept"));
    for (const wchar_t* pattern : {L"(", L"[a-", L"a{2,1}", L"*a", L"(?<", L"\\"}) {
        EXPECT_FALSE(matchWith(pattern, L"a", groups)) << pattern;
        EXPECT_FALSE(matchWith(pattern, L"", groups)) << pattern;
    }
    EXPECT_EQ(texts(groups), std::vector<std::wstring>{L"kept"});
}

TEST(KelRegExWrapper, Backreference_MatchesTheGroupsText) {
    Groups groups;
    EXPECT_TRUE(matchWith(L"(ab)-\\1", L"ab-ab", groups));
    EXPECT_EQ(texts(groups), (std::vector<std::wstring>{L"ab-ab", L"ab"}));
    EXPECT_FALSE(matchWith(L"(ab)-\\1", L"ab-ba", groups));
    // Ten groups: \\10 refers to the tenth.
    EXPECT_TRUE(matchWith(L"(a)(b)(c)(d)(e)(f)(g)(h)(i)(j)\\10", L"abcdefghijj", groups));
}

TEST(KelRegExWrapper, BackreferenceToAMissingGroup_MakesThePatternInvalid) {
    // The engine would read past its records of the groups. Escaped digits
    // in character classes count too: "[\\1]" is refused as well.
    Groups groups;
    DebugLines debug;
    for (const wchar_t* pattern : {L"\\1", L"(a)\\2", L"a|\\9", L"[\\1]", L"(?:a)\\1"}) {
        EXPECT_FALSE(matchWith(pattern, L"a", groups)) << pattern;
        EXPECT_FALSE(matchWith(pattern, L"aa", groups)) << pattern;
        EXPECT_FALSE(matchWith(pattern, L"", groups)) << pattern;
    }
    EXPECT_EQ(groups.length(), 0);
    EXPECT_TRUE(debug.lines.empty());
    // A backreference to a group that follows it is no error; the group has
    // not matched yet where it is referred to, so the match fails there.
    EXPECT_FALSE(matchWith(L"\\2(a)(b)", L"ab", groups));
    EXPECT_TRUE(matchWith(L"(a)\\\\1", L"a\\1", groups));  // an escaped backslash
    EXPECT_EQ(texts(groups), (std::vector<std::wstring>{L"a\\1", L"a"}));
}

TEST(KelRegExWrapper, SetRegularExpression_ReplacesThePattern) {
    KelRegExWrapper regex;
    regex.setRegularExpression(L"(");  // stored, not checked
    Groups groups;
    EXPECT_FALSE(regex.match(L"(", groups));
    regex.setRegularExpression(L"\\(");
    EXPECT_TRUE(regex.match(L"(", groups));
    EXPECT_EQ(texts(groups), std::vector<std::wstring>{L"("});
}

TEST(KelRegExWrapper, Copy_TakesThePattern) {
    KelRegExWrapper regex;
    regex.setRegularExpression(L"L(\\d+)x(\\d+)");
    KelRegExWrapper copy(regex);
    KelRegExWrapper assigned;
    assigned = regex;
    regex.setRegularExpression(L"nothing");
    Groups groups;
    EXPECT_TRUE(copy.match(L"L50x5", groups));
    EXPECT_TRUE(assigned.match(L"L60x6", groups));
    EXPECT_EQ(texts(groups),
              (std::vector<std::wstring>{L"L50x5", L"50", L"5", L"L60x6", L"60", L"6"}));
}

TEST(KelRegExWrapper, WideText_MatchesBeyondAscii) {
    Groups groups;
    EXPECT_TRUE(matchWith(L"Tr\u00E4ger (\\d+) \u20AC", L"Tr\u00E4ger 200 \u20AC", groups));
    EXPECT_EQ(texts(groups), (std::vector<std::wstring>{L"Tr\u00E4ger 200 \u20AC", L"200"}));
}

TEST(KelRegExWrapper, Syntax_IsEcmaScript) {
    Groups groups;
    EXPECT_TRUE(matchWith(L"(\\w+?)(\\d*)", L"abc123", groups));
    EXPECT_EQ(texts(groups), (std::vector<std::wstring>{L"abc123", L"abc", L"123"}));
    EXPECT_FALSE(matchWith(L"abc", L"ABC", groups));  // case counts
    EXPECT_TRUE(matchWith(L"(?:ab)+", L"ababab", groups));
}

TEST(KelRegExWrapper, LongText_MatchesWithoutExhaustingTheStack) {
    // The engine recurses once per repetition.
    const std::wstring text(kLongText, L'a');
    Groups groups;
    EXPECT_TRUE(matchWith(L"(a|b)*", text.c_str(), groups));
    ASSERT_EQ(groups.length(), 2);
    EXPECT_EQ(groups[0].length(), kLongText);
    EXPECT_EQ(std::wstring(groups[1].getStringW()), L"a");
    const std::wstring other = text + L"c";
    EXPECT_FALSE(matchWith(L"(a|b)*", other.c_str(), groups));
    EXPECT_EQ(groups.length(), 2);
}

TEST(KelRegExWrapper, DeeplyNestedPattern_CompilesWithoutExhaustingTheStack) {
    const std::wstring pattern =
        std::wstring(kDeepNesting, L'(') + L"a" + std::wstring(kDeepNesting, L')');
    Groups groups;
    EXPECT_TRUE(matchWith(pattern.c_str(), L"a", groups));
    EXPECT_EQ(groups.length(), kDeepNesting + 1);
    const std::wstring unbalanced = std::wstring(kDeepNesting, L'(') + L"a";
    EXPECT_FALSE(matchWith(unbalanced.c_str(), L"a", groups));
    EXPECT_EQ(groups.length(), kDeepNesting + 1);
}

// ----- bounds of stack and work ---------------------------------------------

TEST(KelRegExWrapper, TextBeyondTheStackBound_GivesFalseAndOneLine) {
    // Every repetition of the group is another set of the engine's frames:
    // three million of them would need gigabytes of stack. The text does
    // match; the engine gives up at its 52 MiB instead of crashing.
    std::wstring text;
    for (int i = 0; i < 2999999; ++i)
        text.push_back(i % 2 == 0 ? L'a' : L'b');
    text.push_back(L'c');
    Groups groups;
    groups.append(KelString(L"kept"));
    DebugLines debug;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(matchWith(L"(a|b)*c", text, groups));
    EXPECT_LT(secondsSince(start), kHangSeconds);
    EXPECT_EQ(texts(groups), std::vector<std::wstring>{L"kept"});
    EXPECT_EQ(debug.lines,
              std::vector<std::wstring>{
                  L"KelRegExWrapper::match: no match: matching a text of 3000000 characters "
                  L"against \"(a|b)*c\" needs more than 52 MiB of stack"});
}

TEST(KelRegExWrapper, AMillionNestedGroups_GiveFalseAndOneLine) {
    const std::wstring pattern = std::wstring(1000000, L'(') + L"a" + std::wstring(1000000, L')');
    Groups groups;
    DebugLines debug;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(matchWith(pattern, L"a", groups));
    EXPECT_LT(secondsSince(start), kHangSeconds);
    EXPECT_EQ(groups.length(), 0);
    EXPECT_EQ(debug.lines, std::vector<std::wstring>{
                               L"KelRegExWrapper::match: no match: the pattern has 2000001 "
                               L"characters, more than the 32768 that are compiled"});
}

TEST(KelRegExWrapper, AMillionOpeningParentheses_GiveFalseAndOneLine) {
    const std::wstring pattern(1000000, L'(');
    Groups groups;
    DebugLines debug;
    EXPECT_FALSE(matchWith(pattern, L"a", groups));
    EXPECT_EQ(groups.length(), 0);
    EXPECT_EQ(debug.lines, std::vector<std::wstring>{
                               L"KelRegExWrapper::match: no match: the pattern has 1000000 "
                               L"characters, more than the 32768 that are compiled"});
}

TEST(KelRegExWrapper, LongestPattern_IsStillCompiled) {
    // 10,922 groups and one more character: 32,767 characters, within the
    // bound.
    std::wstring pattern;
    for (int i = 0; i < 10922; ++i)
        pattern += L"(a)";
    pattern += L"b";
    ASSERT_EQ(pattern.size(), 32767u);
    const std::wstring text = std::wstring(10922, L'a') + L"b";
    Groups groups;
    DebugLines debug;
    EXPECT_TRUE(matchWith(pattern, text, groups));
    EXPECT_EQ(groups.length(), 10923);
    EXPECT_FALSE(matchWith(pattern + L")", text, groups));  // invalid: no line
    EXPECT_TRUE(debug.lines.empty());
}

TEST(KelRegExWrapper, CatastrophicBacktracking_GivesFalseAndOneLine) {
    // Every way of splitting the a's among the groups is tried before the
    // missing b fails the match: 2^40 of them, hours of work. The engine
    // gives up after 1,000,000 steps and 64 per character.
    const std::wstring text(40, L'a');
    Groups groups;
    DebugLines debug;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(matchWith(L"(a+)+b", text, groups));
    EXPECT_LT(secondsSince(start), kHangSeconds);
    EXPECT_EQ(groups.length(), 0);
    EXPECT_EQ(debug.lines,
              std::vector<std::wstring>{L"KelRegExWrapper::match: no match: matching a text of "
                                        L"40 characters against \"(a+)+b\" takes more than "
                                        L"1002560 steps"});
}

TEST(KelRegExWrapper, BacktrackingWithinTheBudget_IsAnOrdinaryResult) {
    // 2^12 ways: about 75,000 steps.
    Groups groups;
    DebugLines debug;
    EXPECT_FALSE(matchWith(L"(a+)+b", std::wstring(12, L'a'), groups));
    EXPECT_TRUE(matchWith(L"(a+)+b", std::wstring(40, L'a') + L"b", groups));
    ASSERT_EQ(groups.length(), 2);
    EXPECT_EQ(groups[0].length(), 41);
    EXPECT_EQ(groups[1].length(), 40);
    EXPECT_TRUE(debug.lines.empty());
}

TEST(KelRegExWrapper, ZeroWidthExplosion_GivesFalseAndOneLine) {
    // Thirty empty choices before an assertion that always fails: 2^30
    // paths without reading a character. Giving up fails fast only where a
    // character is needed, so this one is cut short a second time.
    std::wstring pattern;
    for (int i = 0; i < 30; ++i)
        pattern += L"(?:|)";
    pattern += L"(?!)";
    Groups groups;
    DebugLines debug;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(matchWith(pattern, L"", groups));
    EXPECT_LT(secondsSince(start), kHangSeconds);
    ASSERT_EQ(debug.lines.size(), 1u);
    EXPECT_EQ(debug.lines[0].find(L"KelRegExWrapper::match: no match: matching a text of 0 "
                                  L"characters against \"(?:|)(?:|)"),
              0u)
        << debug.lines[0];
    EXPECT_NE(debug.lines[0].find(L"...\" takes more than 1000000 steps"), std::wstring::npos)
        << debug.lines[0];
}

TEST(KelRegExWrapper, DeepZeroWidthRecursion_GivesFalseAndOneLine) {
    // Nested repetitions of a group that may be empty: the engine's stack
    // doubles with each level, 100 MiB at 16 levels for four characters.
    std::wstring pattern;
    for (int i = 0; i < 100; ++i)
        pattern += L"(?:";
    pattern += L"a";
    for (int i = 0; i < 100; ++i)
        pattern += L")*";
    Groups groups;
    DebugLines debug;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(matchWith(pattern, L"aaaa", groups));
    EXPECT_LT(secondsSince(start), kHangSeconds);
    ASSERT_EQ(debug.lines.size(), 1u);
    EXPECT_NE(debug.lines[0].find(L"matching a text of 4 characters against"), std::wstring::npos)
        << debug.lines[0];
    EXPECT_TRUE(matchWith(L"(?:(?:(?:a)*)*)*", L"aaaa", groups));
    EXPECT_EQ(texts(groups), std::vector<std::wstring>{L"aaaa"});
}

struct StackCall {
    void (*task)(void*);
    void* context;
};

#if defined(_WIN32)
DWORD WINAPI runStackCall(LPVOID argument) {
    const StackCall* call = static_cast<const StackCall*>(argument);
    call->task(call->context);
    return 0;
}
#else
void* runStackCall(void* argument) {
    const StackCall* call = static_cast<const StackCall*>(argument);
    call->task(call->context);
    return nullptr;
}
#endif

// Runs `task` on a thread whose stack has `bytes`, and waits for it.
void runWithStack(size_t bytes, void (*task)(void*), void* context) {
    StackCall call{task, context};
#if defined(_WIN32)
    HANDLE thread = ::CreateThread(nullptr, bytes, runStackCall, &call,
                                   STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
    ASSERT_NE(thread, nullptr);
    ::WaitForSingleObject(thread, INFINITE);
    ::CloseHandle(thread);
#else
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, bytes), 0);
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, &attributes, runStackCall, &call), 0);
    pthread_attr_destroy(&attributes);
    pthread_join(thread, nullptr);
#endif
}

TEST(KelRegExWrapper, CallerWithASmallStack_MatchesLongTextsAndDeepPatterns) {
    // The engine takes at most about 100 KiB of the caller's stack; what
    // needs more runs on a stack of its own.
    struct Results {
        bool longText = false;
        long longTextGroups = 0;
        bool nested = false;
        long nestedGroups = 0;
        bool profile = false;
    } results;
    runWithStack(
        256 << 10,
        [](void* context) {
            Results& r = *static_cast<Results*>(context);
            Groups groups;
            r.longText = matchWith(L"(a|b)*", std::wstring(20000, L'a'), groups);
            r.longTextGroups = groups.length();
            groups.setLogicalLength(0);
            const std::wstring nested = std::wstring(2000, L'(') + L"a" + std::wstring(2000, L')');
            r.nested = matchWith(nested, L"a", groups);
            r.nestedGroups = groups.length();
            groups.setLogicalLength(0);
            r.profile = matchWith(L"([A-Z]+) ?(\\d+)(?:x(\\d+))?", L"HEA 200x300", groups);
        },
        &results);
    EXPECT_TRUE(results.longText);
    EXPECT_EQ(results.longTextGroups, 2);
    EXPECT_TRUE(results.nested);
    EXPECT_EQ(results.nestedGroups, 2001);
    EXPECT_TRUE(results.profile);
}

// ----- profile names, first compiled and then from the cache --------------

struct ProfileCase {
    const wchar_t* pattern;
    const wchar_t* text;
    bool matches;
    std::vector<std::wstring> groups;
};

const std::vector<ProfileCase>& profileCases() {
    static const std::vector<ProfileCase> cases = {
        {L"([A-Z]+) ?(\\d+)(?:x(\\d+))?",
         L"HEA 200x300",
         true,
         {L"HEA 200x300", L"HEA", L"200", L"300"}},
        {L"([A-Z]+) ?(\\d+)(?:x(\\d+))?", L"IPE300", true, {L"IPE300", L"IPE", L"300"}},
        {L"([A-Z]+) ?(\\d+)(?:x(\\d+))?", L"HEA 200x", false, {}},
        {L"([A-Z]+) ?(\\d+)(?:x(\\d+))?", L"hea 200", false, {}},
        {L"(HE[ABM])(\\d{3,4})", L"HEB1000", true, {L"HEB1000", L"HEB", L"1000"}},
        {L"(HE[ABM])(\\d{3,4})", L"HEC100", false, {}},
        {L"L(\\d+)[xX](\\d+)(?:[xX](\\d+))?",
         L"L100x50x8",
         true,
         {L"L100x50x8", L"100", L"50", L"8"}},
        {L"L(\\d+)[xX](\\d+)(?:[xX](\\d+))?", L"L50X5", true, {L"L50X5", L"50", L"5"}},
        {L"(?:RO|ROR)(\\d+(?:\\.\\d+)?)\\*(\\d+(?:\\.\\d+)?)",
         L"ROR101.6*5",
         true,
         {L"ROR101.6*5", L"101.6", L"5"}},
        {L"[A-Z]{1,4}\\s*\\d+(\\.\\d+)?", L"UPE 80", true, {L"UPE 80"}},
        {L"(BL|FL|PL)\\s*(\\d+)\\s*\\*\\s*(\\d+)",
         L"PL 20*300",
         true,
         {L"PL 20*300", L"PL", L"20", L"300"}},
        {L"(BL|FL|PL)\\s*(\\d+)\\s*\\*\\s*(\\d+)", L"PL20*", false, {}},
        {L"(?:(W)|(S))(\\d+)X(\\d+(?:\\.\\d+)?)",
         L"S10X25.4",
         true,
         {L"S10X25.4", L"S", L"10", L"25.4"}},
        {L"(\\d+)-(\\d+)", L"12-34", true, {L"12-34", L"12", L"34"}},
    };
    return cases;
}

void expectProfileCases(const char* when) {
    for (const ProfileCase& c : profileCases()) {
        Groups groups;
        groups.append(KelString(L"before"));
        std::vector<std::wstring> expected{L"before"};
        expected.insert(expected.end(), c.groups.begin(), c.groups.end());
        EXPECT_EQ(matchWith(c.pattern, c.text, groups), c.matches) << when << ": " << c.text;
        EXPECT_EQ(texts(groups), expected) << when << ": " << c.text;
    }
}

TEST(KelRegExWrapper, ProfileNames_MatchTheSameFirstAndFromTheCache) {
    DebugLines debug;
    expectProfileCases("first");
    expectProfileCases("again");
    // Crowd the patterns out of the cache with others, then once more.
    for (int i = 0; i < 100; ++i) {
        Groups groups;
        const std::wstring pattern = L"P" + std::to_wstring(i) + L"(\\d*)";
        EXPECT_TRUE(matchWith(pattern, L"P" + std::to_wstring(i) + L"7", groups));
        EXPECT_EQ(texts(groups),
                  (std::vector<std::wstring>{L"P" + std::to_wstring(i) + L"7", L"7"}));
    }
    expectProfileCases("after others");
    EXPECT_TRUE(debug.lines.empty());
}

TEST(KelRegExWrapper, InvalidPattern_GivesFalseEveryTime) {
    KelRegExWrapper regex;
    regex.setRegularExpression(L"(HE[AB]");
    Groups groups;
    DebugLines debug;
    for (int i = 0; i < 3; ++i)
        EXPECT_FALSE(regex.match(L"HEA", groups));
    EXPECT_EQ(groups.length(), 0);
    EXPECT_TRUE(debug.lines.empty());
}

}  // namespace
