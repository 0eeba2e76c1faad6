#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "process/manual_reset_event.h"

using kel::detail::ManualResetEvent;

namespace {

constexpr auto kSettle = std::chrono::milliseconds(100);

}  // namespace

TEST(ManualResetEvent, StartsNotSet) {
    ManualResetEvent event;
    EXPECT_FALSE(event.isSet());
}

TEST(ManualResetEvent, StaysSetUntilReset) {
    ManualResetEvent event;
    event.set();
    EXPECT_TRUE(event.isSet());
    event.wait();  // returns at once
    event.wait();
    event.set();  // setting twice is harmless
    EXPECT_TRUE(event.isSet());
    event.reset();
    EXPECT_FALSE(event.isSet());
    event.reset();
    EXPECT_FALSE(event.isSet());
}

TEST(ManualResetEvent, SetReleasesEveryWaiter) {
    ManualResetEvent event;
    std::atomic<int> released(0);
    std::vector<std::thread> waiters;
    for (int i = 0; i < 4; ++i) {
        waiters.emplace_back([&] {
            event.wait();
            released.fetch_add(1);
        });
    }
    std::this_thread::sleep_for(kSettle);
    EXPECT_EQ(released.load(), 0);
    event.set();
    for (std::thread& waiter : waiters)
        waiter.join();
    EXPECT_EQ(released.load(), 4);
}

TEST(ManualResetEvent, WaitAfterResetBlocksUntilTheNextSet) {
    ManualResetEvent event;
    event.set();
    event.reset();
    std::atomic<bool> released(false);
    std::thread waiter([&] {
        event.wait();
        released = true;
    });
    std::this_thread::sleep_for(kSettle);
    EXPECT_FALSE(released.load());
    event.set();
    waiter.join();
    EXPECT_TRUE(released.load());
}

TEST(ManualResetEvent, ManySetsAndResetsLoseNoWakeUp) {
    // A waiter that sees the event set always finds it set again later: the
    // producer only resets after the waiter has acknowledged.
    ManualResetEvent ready;
    ManualResetEvent acknowledged;
    constexpr int kRounds = 2000;
    std::thread consumer([&] {
        for (int i = 0; i < kRounds; ++i) {
            ready.wait();
            ready.reset();
            acknowledged.set();
        }
    });
    for (int i = 0; i < kRounds; ++i) {
        ready.set();
        acknowledged.wait();
        acknowledged.reset();
    }
    consumer.join();
    EXPECT_FALSE(ready.isSet());
}
