// Per-thread objects: one per thread and purpose, made on first use and
// destroyed as their thread ends, also when many threads end at once.

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/per_thread.h"

namespace {

using kel::detail::perThread;

struct Counted {
    static std::atomic<int> made;
    static std::atomic<int> destroyed;
    Counted() { ++made; }
    ~Counted() { ++destroyed; }
    int value = 7;
};
std::atomic<int> Counted::made{0};
std::atomic<int> Counted::destroyed{0};

TEST(PerThread, OneObjectPerThreadAndTag) {
    int& first = perThread<int, struct First>();
    int& second = perThread<int, struct Second>();
    EXPECT_NE(&first, &second);
    EXPECT_EQ(&first, (&perThread<int, struct First>()));
    first = 1;
    second = 2;
    EXPECT_EQ((perThread<int, struct First>()), 1);
    EXPECT_EQ((perThread<int, struct Second>()), 2);
}

TEST(PerThread, AnotherThreadHasItsOwnFreshObject) {
    perThread<std::string, struct Text>() = "main";
    const std::string* mine = &perThread<std::string, struct Text>();
    const std::string* theirs = nullptr;
    std::string seen = "unset";
    std::thread([&] {
        theirs = &perThread<std::string, struct Text>();
        seen = *theirs;
    }).join();
    EXPECT_NE(mine, theirs);
    EXPECT_EQ(seen, "");
    EXPECT_EQ((perThread<std::string, struct Text>()), "main");
}

TEST(PerThread, IsDestroyedWhenItsThreadEnds) {
    const int madeBefore = Counted::made.load();
    const int destroyedBefore = Counted::destroyed.load();
    std::thread([] { EXPECT_EQ(perThread<Counted>().value, 7); }).join();
    EXPECT_EQ(Counted::made.load() - madeBefore, 1);
    EXPECT_EQ(Counted::destroyed.load() - destroyedBefore, 1);
    // A thread that never asks for one makes none.
    std::thread([] {}).join();
    EXPECT_EQ(Counted::made.load() - madeBefore, 1);
}

TEST(PerThread, ManyThreadsEndingAtOnceReleaseWhatTheirObjectsHold) {
    const auto shared = std::make_shared<std::string>("shared");
    for (int round = 0; round < 20; ++round) {
        std::vector<std::thread> threads;
        for (int t = 0; t < 16; ++t) {
            threads.emplace_back([&shared, t] {
                perThread<std::shared_ptr<std::string>>() = shared;
                perThread<std::string, struct Text>().assign(1000, static_cast<char>('a' + t));
                perThread<std::vector<int>>().assign(1000, t);
                perThread<Counted>().value = t;
            });
        }
        for (std::thread& thread : threads)
            thread.join();
        ASSERT_EQ(shared.use_count(), 1) << "round " << round;
    }
    EXPECT_EQ(Counted::made.load(), Counted::destroyed.load());
}

}  // namespace
