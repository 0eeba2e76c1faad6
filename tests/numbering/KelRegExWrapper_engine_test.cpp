// The bounded regular-expression engine and the cache of compiled patterns
// behind KelRegExWrapper.

#include <kel/Kel.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <locale>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "numbering/regex_cache.h"
#include "numbering/regex_engine.h"

// Counts the bytes the program holds from operator new, so that the tests
// can weigh a compiled pattern.
namespace {

std::atomic<long long> g_liveBytes{0};

constexpr size_t kHeader = alignof(std::max_align_t);

void* countedNew(size_t size) {
    void* block = std::malloc(size + kHeader);
    if (block == nullptr)
        throw std::bad_alloc();
    *static_cast<size_t*>(block) = size;
    g_liveBytes += static_cast<long long>(size);
    return static_cast<char*>(block) + kHeader;
}

void countedDelete(void* p) {
    if (p == nullptr)
        return;
    void* block = static_cast<char*>(p) - kHeader;
    g_liveBytes -= static_cast<long long>(*static_cast<size_t*>(block));
    std::free(block);
}

}  // namespace

void* operator new(size_t size) {
    return countedNew(size);
}
void* operator new[](size_t size) {
    return countedNew(size);
}
void operator delete(void* p) noexcept {
    countedDelete(p);
}
void operator delete[](void* p) noexcept {
    countedDelete(p);
}
void operator delete(void* p, size_t) noexcept {
    countedDelete(p);
}
void operator delete[](void* p, size_t) noexcept {
    countedDelete(p);
}

namespace {

using kel::detail::CompiledRegex;
using kel::detail::RegexKey;
using kel::detail::RegexResult;
using kel::detail::TextSpan;

constexpr size_t kStack = size_t(256) << 10;

std::shared_ptr<const CompiledRegex> compiled(const std::wstring& pattern) {
    std::shared_ptr<const CompiledRegex> regex;
    EXPECT_EQ(kel::detail::compileRegex(RegexKey{pattern, 0, std::locale()}, kStack, regex),
              RegexResult::kMatch)
        << std::string(pattern.begin(), pattern.end());
    return regex;
}

RegexResult matchText(const CompiledRegex& regex, const std::wstring& text,
                      std::vector<TextSpan>& groups, size_t stepLimit = 1000000,
                      size_t stackBytes = kStack) {
    size_t steps = 0;
    return kel::detail::matchRegex(regex, text.c_str(), text.size(), stackBytes, steps, stepLimit,
                                   groups);
}

// A locale that differs from the classic one only in being another object.
std::locale otherLocale() {
    return std::locale(std::locale::classic(), new std::numpunct<wchar_t>);
}

// ----- the engine ---------------------------------------------------------

TEST(RegexEngine, Match_GivesEachGroupAsOffsetAndLength) {
    const auto regex = compiled(L"([A-Z]+) ?(\\d+)(?:x(\\d+))?");
    std::vector<TextSpan> groups;
    ASSERT_EQ(matchText(*regex, L"HEA 200", groups), RegexResult::kMatch);
    ASSERT_EQ(groups.size(), 4u);
    EXPECT_EQ(groups[0].offset, 0u);
    EXPECT_EQ(groups[0].length, 7u);
    EXPECT_EQ(groups[1].offset, 0u);
    EXPECT_EQ(groups[1].length, 3u);
    EXPECT_EQ(groups[2].offset, 4u);
    EXPECT_EQ(groups[2].length, 3u);
    EXPECT_EQ(groups[3].length, 0u);  // took no part
    EXPECT_EQ(matchText(*regex, L"HEA 200x", groups), RegexResult::kNoMatch);
}

TEST(RegexEngine, InvalidPattern_IsReportedAsSuch) {
    std::shared_ptr<const CompiledRegex> regex;
    for (const wchar_t* pattern : {L"(", L"[a-", L"a{2,1}", L"*a", L"\\"}) {
        EXPECT_EQ(kel::detail::compileRegex(RegexKey{pattern, 0, std::locale()}, kStack, regex),
                  RegexResult::kInvalidPattern);
        EXPECT_EQ(regex, nullptr);
    }
}

TEST(RegexEngine, CompiledForm_KnowsItsKey) {
    const auto regex = compiled(L"a+");
    EXPECT_TRUE(kel::detail::isCompiledFrom(*regex, RegexKey{L"a+", 0, std::locale()}));
    EXPECT_FALSE(kel::detail::isCompiledFrom(*regex, RegexKey{L"a*", 0, std::locale()}));
    EXPECT_FALSE(kel::detail::isCompiledFrom(*regex, RegexKey{L"a+", 1, std::locale()}));
    EXPECT_FALSE(kel::detail::isCompiledFrom(*regex, RegexKey{L"a+", 0, otherLocale()}));
}

TEST(RegexEngine, ParserBeyondItsStack_StopsWithOutOfStack) {
    // A thousand nested groups take the parser well over 64 KiB.
    const std::wstring nested = std::wstring(1000, L'(') + L"a" + std::wstring(1000, L')');
    std::shared_ptr<const CompiledRegex> regex;
    EXPECT_EQ(kel::detail::compileRegex(RegexKey{nested, 0, std::locale()}, 64 << 10, regex),
              RegexResult::kOutOfStack);
    EXPECT_EQ(regex, nullptr);
    const std::wstring fewer = std::wstring(20, L'(') + L"a" + std::wstring(20, L')');
    EXPECT_EQ(kel::detail::compileRegex(RegexKey{fewer, 0, std::locale()}, 512 << 10, regex),
              RegexResult::kMatch);
}

TEST(RegexEngine, MatchBeyondItsStack_StopsWithOutOfStack) {
    const auto regex = compiled(L"(a|b)*");
    const std::wstring text(100000, L'a');
    std::vector<TextSpan> groups;
    EXPECT_EQ(matchText(*regex, text, groups, SIZE_MAX, 64 << 10), RegexResult::kOutOfStack);
    // The thread's engine is intact afterwards.
    EXPECT_EQ(matchText(*regex, L"abba", groups), RegexResult::kMatch);
    ASSERT_EQ(groups.size(), 2u);
    EXPECT_EQ(groups[1].offset, 3u);
}

TEST(RegexEngine, MatchBeyondItsSteps_StopsWithOutOfSteps) {
    const auto regex = compiled(L"(a+)+b");
    std::vector<TextSpan> groups;
    EXPECT_EQ(matchText(*regex, std::wstring(30, L'a'), groups, 100000), RegexResult::kOutOfSteps);
    EXPECT_EQ(matchText(*regex, L"aab", groups), RegexResult::kMatch);
}

TEST(RegexEngine, Steps_CountOnFromTheirValueOnEntry) {
    const auto regex = compiled(L"(a|b)*c");
    std::vector<TextSpan> groups;
    size_t steps = 0;
    const std::wstring text = L"ababc";
    ASSERT_EQ(
        kel::detail::matchRegex(*regex, text.c_str(), text.size(), kStack, steps, 1000000, groups),
        RegexResult::kMatch);
    const size_t once = steps;
    EXPECT_GT(once, text.size());
    ASSERT_EQ(
        kel::detail::matchRegex(*regex, text.c_str(), text.size(), kStack, steps, 1000000, groups),
        RegexResult::kMatch);
    EXPECT_EQ(steps, 2 * once);
    // A limit the steps so far already use up stops the next match.
    EXPECT_EQ(kel::detail::matchRegex(*regex, text.c_str(), text.size(), kStack, steps,
                                      2 * once + 1, groups),
              RegexResult::kOutOfSteps);
}

TEST(RegexEngine, StepLimit_GrowsWithTheText) {
    EXPECT_EQ(kel::detail::stepLimitFor(0), 1000000u);
    EXPECT_EQ(kel::detail::stepLimitFor(11), 1000704u);
    EXPECT_EQ(kel::detail::stepLimitFor(SIZE_MAX), SIZE_MAX);
}

// ----- the cache ----------------------------------------------------------

class RegexCacheTest : public ::testing::Test {
protected:
    void SetUp() override { kel::detail::regexCache().clear(); }
    void TearDown() override { kel::detail::regexCache().clear(); }

    static RegexKey key(const std::wstring& pattern) { return RegexKey{pattern, 0, std::locale()}; }

    static bool has(const std::wstring& pattern) {
        const CompiledRegex* found = nullptr;
        return kel::detail::regexCache().find(key(pattern), found);
    }

    static void add(const std::wstring& pattern) {
        kel::detail::regexCache().insert(key(pattern), compiled(pattern));
    }
};

TEST_F(RegexCacheTest, Insert_ThenFind_GivesTheCompiledForm) {
    const std::wstring pattern = L"(\\d+)-(\\d+)";
    const auto regex = compiled(pattern);
    const CompiledRegex* found = nullptr;
    EXPECT_FALSE(kel::detail::regexCache().find(key(pattern), found));
    kel::detail::regexCache().insert(key(pattern), regex);
    ASSERT_TRUE(kel::detail::regexCache().find(key(pattern), found));
    EXPECT_EQ(found, regex.get());
    EXPECT_EQ(kel::detail::regexCache().size(), 1u);
}

TEST_F(RegexCacheTest, InvalidPattern_IsCachedAsNull) {
    kel::detail::regexCache().insert(key(L"("), nullptr);
    const CompiledRegex* found = reinterpret_cast<const CompiledRegex*>(&found);
    ASSERT_TRUE(kel::detail::regexCache().find(key(L"("), found));
    EXPECT_EQ(found, nullptr);
}

TEST_F(RegexCacheTest, Entries_AreBounded) {
    for (int i = 0; i < 100; ++i)
        add(L"p" + std::to_wstring(i));
    EXPECT_EQ(kel::detail::regexCache().size(), kel::detail::kRegexCacheEntries);
    EXPECT_EQ(kel::detail::kRegexCacheEntries, 32u);
    for (int i = 0; i < 68; ++i)
        EXPECT_FALSE(has(L"p" + std::to_wstring(i))) << i;
    for (int i = 68; i < 100; ++i)
        EXPECT_TRUE(has(L"p" + std::to_wstring(i))) << i;
}

TEST_F(RegexCacheTest, Full_ReplacesTheEntryUsedLongestAgo) {
    for (int i = 0; i < 32; ++i)
        add(L"p" + std::to_wstring(i));
    EXPECT_TRUE(has(L"p0"));  // now used last
    add(L"new");
    EXPECT_TRUE(has(L"p0"));
    EXPECT_FALSE(has(L"p1"));
    EXPECT_TRUE(has(L"p2"));
    EXPECT_TRUE(has(L"new"));
    EXPECT_EQ(kel::detail::regexCache().size(), 32u);
}

TEST_F(RegexCacheTest, LongPattern_IsNotCached) {
    const std::wstring longest(kel::detail::kRegexCachedPatternLength, L'a');
    const std::wstring tooLong(kel::detail::kRegexCachedPatternLength + 1, L'a');
    add(longest);
    add(tooLong);
    EXPECT_TRUE(has(longest));
    EXPECT_FALSE(has(tooLong));
    EXPECT_EQ(kel::detail::regexCache().size(), 1u);
}

TEST_F(RegexCacheTest, Key_IncludesSyntaxAndLocale) {
    add(L"a+");
    const CompiledRegex* found = nullptr;
    EXPECT_FALSE(kel::detail::regexCache().find(RegexKey{L"a+", 1, std::locale()}, found));
    EXPECT_FALSE(kel::detail::regexCache().find(RegexKey{L"a+", 0, otherLocale()}, found));
    EXPECT_FALSE(has(L"a+ "));
    EXPECT_TRUE(has(L"a+"));
}

TEST_F(RegexCacheTest, Found_StaysAliveForTheThreadAfterItsEntryGoes) {
    add(L"kept");
    const CompiledRegex* found = nullptr;
    ASSERT_TRUE(kel::detail::regexCache().find(key(L"kept"), found));
    for (int i = 0; i < 40; ++i)
        add(L"p" + std::to_wstring(i));
    std::vector<TextSpan> groups;
    EXPECT_EQ(matchText(*found, L"kept", groups), RegexResult::kMatch);
}

TEST_F(RegexCacheTest, Wrapper_CompilesOncePerPatternAndLocale) {
    KelRegExWrapper regex;
    regex.setRegularExpression(L"([A-Z]+)(\\d+)");
    KelRegExWrapper::GroupArray groups;
    EXPECT_TRUE(regex.match(L"HEA200", groups));
    EXPECT_TRUE(regex.match(L"IPE300", groups));
    EXPECT_EQ(kel::detail::regexCache().size(), 1u);
    const std::locale before = std::locale::global(otherLocale());
    EXPECT_TRUE(regex.match(L"HEB100", groups));
    std::locale::global(before);
    EXPECT_EQ(kel::detail::regexCache().size(), 2u);
    EXPECT_EQ(groups.length(), 9);
    EXPECT_EQ(std::wstring(groups[8].getStringW()), L"100");
}

TEST_F(RegexCacheTest, CompiledForms_WeighLittle) {
    // Heavy forms of patterns as long as the cache takes (up to 42 bytes per
    // pattern character when measured): a compiled pattern holds at most 64
    // bytes per pattern character, 16 KiB, so the cache's 32 entries hold
    // at most 512 KiB; profile-name patterns take about 1 KiB each.
    const size_t length = kel::detail::kRegexCachedPatternLength;
    auto repeat = [length](const std::wstring& part) {
        std::wstring pattern;
        while (pattern.size() + part.size() <= length)
            pattern += part;
        return pattern;
    };
    const std::vector<std::wstring> shapes = {
        repeat(L"a"),          repeat(L"a?"),
        repeat(L"."),          repeat(L"(a)"),
        repeat(L"[a-z]"),      repeat(L"[^\\d\\s]"),
        repeat(L"(?:ab)*"),    repeat(L"a|"),
        repeat(L"\\w+"),       repeat(L"(?=a)"),
        repeat(L"(a|b|c|d)?"), repeat(L"[\u0100-\u0200x]"),
        repeat(L"a{2,9}"),     repeat(L"(?:a|b)+?"),
        repeat(L"\\b"),        repeat(L"[[:alpha:][:digit:]_]"),
        repeat(L"(?i:ab)"),    repeat(L"(a)\\1"),
        repeat(L"(?!a)"),      repeat(L"(?<=a)b"),
        repeat(L"a*?"),        repeat(L"(?:a|bc|def|ghij)"),
    };
    for (const std::wstring& pattern : shapes) {
        const long long before = g_liveBytes.load();
        auto regex = compiled(pattern);
        const long long weight = g_liveBytes.load() - before;
        EXPECT_LE(weight, static_cast<long long>(64 * pattern.size()))
            << std::string(pattern.begin(), pattern.begin() + 12) << "...: " << weight;
    }
}

}  // namespace
