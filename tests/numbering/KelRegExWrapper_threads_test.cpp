// KelRegExWrapper used from several threads at once: the compiled patterns
// they share through the cache, and the cache's entries coming and going
// while they match.

#include <kel/Kel.h>

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace {

using Groups = KelRegExWrapper::GroupArray;

struct Case {
    std::wstring pattern;
    std::wstring text;
    std::vector<std::wstring> groups;  // empty: no match
};

// More patterns than the cache holds, so that entries are replaced while
// other threads use them.
std::vector<Case> cases() {
    std::vector<Case> all = {
        {L"([A-Z]+) ?(\\d+)(?:x(\\d+))?", L"HEA 200x300", {L"HEA 200x300", L"HEA", L"200", L"300"}},
        {L"([A-Z]+) ?(\\d+)(?:x(\\d+))?", L"IPE 80", {L"IPE 80", L"IPE", L"80"}},
        {L"(HE[ABM])(\\d{3,4})", L"HEM1000", {L"HEM1000", L"HEM", L"1000"}},
        {L"(HE[ABM])(\\d{3,4})", L"HEX100", {}},
        {L"L(\\d+)[xX](\\d+)", L"L50x5", {L"L50x5", L"50", L"5"}},
        {L"(", L"(", {}},
    };
    for (int i = 0; i < 40; ++i) {
        const std::wstring n = std::to_wstring(i);
        all.push_back({L"P" + n + L"-(\\d+)", L"P" + n + L"-" + n, {L"P" + n + L"-" + n, n}});
    }
    return all;
}

std::vector<std::wstring> texts(const Groups& groups) {
    std::vector<std::wstring> result;
    for (long i = 0; i < groups.length(); ++i)
        result.push_back(groups[i].getStringW());
    return result;
}

TEST(KelRegExWrapperThreads, ConcurrentMatches_GiveTheirOwnResults) {
    const std::vector<Case> all = cases();
    constexpr int kThreads = 4;
    constexpr int kRounds = 30;
    std::atomic<int> wrong{0};
    std::atomic<int> done{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&all, &wrong, &done, t] {
            for (int round = 0; round < kRounds; ++round) {
                for (size_t i = 0; i < all.size(); ++i) {
                    // Each thread walks the cases in its own order.
                    const Case& c = all[(i * (2 * t + 1) + round) % all.size()];
                    KelRegExWrapper regex;
                    regex.setRegularExpression(c.pattern.c_str());
                    Groups groups;
                    const bool matched = regex.match(c.text.c_str(), groups);
                    if (matched != !c.groups.empty() || texts(groups) != c.groups)
                        ++wrong;
                    ++done;
                }
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong.load(), 0);
    EXPECT_EQ(done.load(), kThreads * kRounds * static_cast<int>(all.size()));
}

TEST(KelRegExWrapperThreads, LongAndRunawayMatches_BesideShortOnes) {
    // Long texts run on helper threads of their own, runaway matches are cut
    // short; short matches on other threads go on meanwhile.
    std::atomic<int> wrong{0};
    std::thread longTexts([&wrong] {
        // About 1 MiB of the engine's frames: more than it takes of the
        // caller's stack, and fewer than the 65,536 calls that
        // ThreadSanitizer can follow in one thread.
        const std::wstring text(4000, L'a');
        for (int i = 0; i < 3; ++i) {
            KelRegExWrapper regex;
            regex.setRegularExpression(L"(a|b)*");
            Groups groups;
            if (!regex.match(text.c_str(), groups) || groups.length() != 2)
                ++wrong;
        }
    });
    std::thread runaway([&wrong] {
        for (int i = 0; i < 3; ++i) {
            KelRegExWrapper regex;
            regex.setRegularExpression(L"(a+)+b");
            Groups groups;
            if (regex.match(std::wstring(40, L'a').c_str(), groups) || groups.length() != 0)
                ++wrong;
        }
    });
    std::thread shortTexts([&wrong] {
        for (int i = 0; i < 500; ++i) {
            KelRegExWrapper regex;
            regex.setRegularExpression(L"(\\d+)-(\\d+)");
            Groups groups;
            if (!regex.match(L"12-34", groups) ||
                texts(groups) != std::vector<std::wstring>{L"12-34", L"12", L"34"})
                ++wrong;
        }
    });
    longTexts.join();
    runaway.join();
    shortTexts.join();
    EXPECT_EQ(wrong.load(), 0);
}

}  // namespace
