// The thread pool under load: millions of tasks from several producers,
// every one run exactly once.

#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <thread>
#include <vector>

namespace {

#if defined(__SANITIZE_THREAD__)
#define KEL_TEST_THREAD_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define KEL_TEST_THREAD_SANITIZER 1
#endif
#endif

// Ten million tasks natively (about 3 s on the 2-core build machine).
// ThreadSanitizer makes every lock, atomic and allocation of a task many
// times dearer: ten million take about a minute there, too much of the
// test budget, so the instrumented run queues one million (about 5 s), which
// still hands tasks between threads a million times.
#if defined(KEL_TEST_THREAD_SANITIZER)
constexpr int kTasks = 1000000;
#else
constexpr int kTasks = 10000000;
#endif

constexpr int kProducers = 2;
// Producers pause while this many tasks wait, so that the queue does not
// hold millions of records at once.
constexpr std::int64_t kBacklog = 1 << 16;

struct Load {
    std::unique_ptr<std::atomic<std::uint8_t>[]> runs { new std::atomic<std::uint8_t>[ kTasks ] };
    std::atomic<std::int64_t> done{0};
};

Load* g_load = nullptr;

// The argument is the task's number.
void runTask(void* argument) {
    const auto number = reinterpret_cast<std::uintptr_t>(argument);
    g_load->runs[number].fetch_add(1, std::memory_order_relaxed);
    g_load->done.fetch_add(1, std::memory_order_release);
}

}  // namespace

TEST(KelThreadsPoolLoad, EveryTaskRunsExactlyOnce) {
    Load load;
    for (int i = 0; i < kTasks; ++i)
        load.runs[i].store(0, std::memory_order_relaxed);
    g_load = &load;
    {
        KelThreadsPool pool;
        std::vector<std::thread> producers;
        for (int p = 0; p < kProducers; ++p) {
            producers.emplace_back([&pool, &load, p] {
                for (int i = p; i < kTasks; i += kProducers) {
                    while (static_cast<std::int64_t>(i) -
                               load.done.load(std::memory_order_acquire) >
                           kBacklog) {
                        std::this_thread::yield();
                    }
                    pool.QueueTask(runTask,
                                   reinterpret_cast<void*>(static_cast<std::uintptr_t>(i)));
                }
            });
        }
        for (std::thread& producer : producers)
            producer.join();
        pool.WaitForThreadsToFinishWork();
    }
    g_load = nullptr;

    EXPECT_EQ(load.done.load(), kTasks);
    int lost = 0;
    int repeated = 0;
    for (int i = 0; i < kTasks; ++i) {
        const int runs = load.runs[i].load(std::memory_order_relaxed);
        lost += runs == 0 ? 1 : 0;
        repeated += runs > 1 ? 1 : 0;
    }
    EXPECT_EQ(lost, 0);
    EXPECT_EQ(repeated, 0);
}
