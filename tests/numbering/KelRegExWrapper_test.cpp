#include <kel/Kel.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

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
    // The engine recurses once per repetition: 100,000 characters would
    // need far more than a thread's usual stack.
    const std::wstring text(100000, L'a');
    Groups groups;
    EXPECT_TRUE(matchWith(L"(a|b)*", text.c_str(), groups));
    ASSERT_EQ(groups.length(), 2);
    EXPECT_EQ(groups[0].length(), 100000);
    EXPECT_EQ(std::wstring(groups[1].getStringW()), L"a");
    const std::wstring other = text + L"c";
    EXPECT_FALSE(matchWith(L"(a|b)*", other.c_str(), groups));
    EXPECT_EQ(groups.length(), 2);
}

TEST(KelRegExWrapper, DeeplyNestedPattern_CompilesWithoutExhaustingTheStack) {
    // 12,000 levels overflow an 8 MiB stack. (Under AddressSanitizer the
    // error thrown from the depth of the unbalanced pattern stays within
    // the 64 MiB that the sanitizer follows through an exception.)
    const std::wstring pattern = std::wstring(12000, L'(') + L"a" + std::wstring(12000, L')');
    Groups groups;
    EXPECT_TRUE(matchWith(pattern.c_str(), L"a", groups));
    EXPECT_EQ(groups.length(), 12001);
    const std::wstring unbalanced = std::wstring(12000, L'(') + L"a";
    EXPECT_FALSE(matchWith(unbalanced.c_str(), L"a", groups));
    EXPECT_EQ(groups.length(), 12001);
}

}  // namespace
