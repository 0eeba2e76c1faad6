#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>
#include <vector>

#include "process/pool_test_support.h"

namespace {

using kel::test::Counter;
using kel::test::Gate;
using kel::test::ThreadWatch;

// How long a test gives a worker to (wrongly) start a task before it
// concludes that no worker is free. Only ever a lower bound: a slow machine
// can make such a test miss a fault, never fail a correct pool.
constexpr auto kSettle = std::chrono::milliseconds(200);

// A task that reports it runs, then waits at a gate.
struct Blocker {
    Counter started;
    Gate gate;
};

void block(void* argument) {
    auto* blocker = static_cast<Blocker*>(argument);
    blocker->started.add();
    blocker->gate.wait();
}

void addOne(void* argument) {
    static_cast<std::atomic<int>*>(argument)->fetch_add(1);
}

// Appends its number to a shared list.
struct Recorded {
    std::mutex* mutex;
    std::vector<int>* order;
    int number;
};

void record(void* argument) {
    auto* recorded = static_cast<Recorded*>(argument);
    std::lock_guard<std::mutex> guard(*recorded->mutex);
    recorded->order->push_back(recorded->number);
}

// Queues `count` blockers and reports how many ran at the same time at most:
// all of them may run only if that many workers exist.
int concurrentWorkers(KelThreadsPool& pool, int count) {
    Blocker blocker;
    for (int i = 0; i < count; ++i)
        pool.QueueTask(block, &blocker);
    blocker.started.waitFor(count - 1);
    std::this_thread::sleep_for(kSettle);
    const int running = blocker.started.value();
    blocker.gate.open();
    pool.WaitForThreadsToFinishWork();
    EXPECT_EQ(blocker.started.value(), count) << "every blocker ran in the end";
    return running;
}

}  // namespace

TEST(KelThreadsPool, OneWorker_TasksQueuedWhileItIsBusyRunNewestFirst) {
    KelThreadsPool pool(1);
    Blocker blocker;
    pool.QueueTask(block, &blocker);
    ASSERT_TRUE(blocker.started.waitFor(1));

    std::mutex mutex;
    std::vector<int> order;
    std::vector<Recorded> tasks;
    for (int number = 1; number <= 5; ++number)
        tasks.push_back(Recorded{&mutex, &order, number});
    for (Recorded& task : tasks)
        pool.QueueTask(record, &task);
    blocker.gate.open();
    pool.WaitForThreadsToFinishWork();
    EXPECT_EQ(order, (std::vector<int>{5, 4, 3, 2, 1}));
}

TEST(KelThreadsPool, OneWorker_LaterTasksOvertakeEarlierOnesAtEachTake) {
    KelThreadsPool pool(1);
    Blocker blocker;
    pool.QueueTask(block, &blocker);
    ASSERT_TRUE(blocker.started.waitFor(1));
    std::mutex mutex;
    std::vector<int> order;
    std::vector<Recorded> tasks;
    for (int number = 1; number <= 3; ++number)
        tasks.push_back(Recorded{&mutex, &order, number});

    // 1 and 2 wait behind the blocker; a second blocker queued after them
    // runs before them and holds the worker while 3 is queued.
    Blocker second;
    pool.QueueTask(record, &tasks[0]);
    pool.QueueTask(record, &tasks[1]);
    pool.QueueTask(block, &second);
    blocker.gate.open();
    ASSERT_TRUE(second.started.waitFor(1));
    pool.QueueTask(record, &tasks[2]);
    second.gate.open();
    pool.WaitForThreadsToFinishWork();
    EXPECT_EQ(order, (std::vector<int>{3, 2, 1}));
}

TEST(KelThreadsPool, DefaultConstructor_StartsFourWorkers) {
    KelThreadsPool pool;
    EXPECT_EQ(concurrentWorkers(pool, 5), 4);
}

TEST(KelThreadsPool, Constructor_StartsTheWorkersAskedFor) {
    KelThreadsPool pool(3);
    EXPECT_EQ(concurrentWorkers(pool, 4), 3);
}

TEST(KelThreadsPool, Constructor_StartsSixtyFourWorkersAtMost) {
    KelThreadsPool pool(100);
    EXPECT_EQ(concurrentWorkers(pool, 65), 64);
}

TEST(KelThreadsPool, Constructor_SixtyFourIsAccepted) {
    KelThreadsPool pool(64);
    EXPECT_EQ(concurrentWorkers(pool, 65), 64);
}

TEST(KelThreadsPool, Constructor_CountBelowOneStartsOneWorker) {
    for (int count : {0, -1, -1000}) {
        KelThreadsPool pool(count);
        EXPECT_EQ(concurrentWorkers(pool, 2), 1) << count;
    }
}

TEST(KelThreadsPool, Wait_WithAnEmptyQueueReturnsOnceEveryWorkerHasEnded) {
    ThreadWatch workers;
    {
        KelThreadsPool pool(3);
        // Three tasks that meet before they finish land on three different
        // workers; each has its thread watched.
        struct Meeting {
            Counter arrived;
            ThreadWatch* workers;
        } meeting{{}, &workers};
        auto meet = [](void* argument) {
            auto* meeting = static_cast<Meeting*>(argument);
            meeting->workers->watchCurrentThread();
            meeting->arrived.add();
            meeting->arrived.waitFor(3);
        };
        for (int i = 0; i < 3; ++i)
            pool.QueueTask(meet, &meeting);
        ASSERT_TRUE(meeting.arrived.waitFor(3));
        std::this_thread::sleep_for(kSettle);  // let the tasks return: the queue is empty
        EXPECT_EQ(workers.ended(), 0);

        pool.WaitForThreadsToFinishWork();
        EXPECT_EQ(workers.ended(), 3);
    }
}

TEST(KelThreadsPool, Wait_RunsEveryTaskQueuedBeforeIt) {
    std::atomic<int> count(0);
    KelThreadsPool pool(2);
    for (int i = 0; i < 10000; ++i)
        pool.QueueTask(addOne, &count);
    pool.WaitForThreadsToFinishWork();
    EXPECT_EQ(count.load(), 10000);
}

TEST(KelThreadsPool, Wait_TasksQueuedWhileStoppingStillRunIfAWorkerTakesThem) {
    ThreadWatch idle;
    std::atomic<int> late(0);
    KelThreadsPool pool(2);

    // One worker is held by `busy`; the other runs `mark` and becomes idle,
    // remembering to report when it ends.
    struct Busy {
        Blocker blocker;
        KelThreadsPool* pool;
        std::atomic<int>* late;
    } busy{{}, &pool, &late};
    pool.QueueTask(
        [](void* argument) {
            auto* busy = static_cast<Busy*>(argument);
            block(&busy->blocker);
            busy->pool->QueueTask(addOne, busy->late);  // queued while the pool stops
        },
        &busy);
    ASSERT_TRUE(busy.blocker.started.waitFor(1));
    struct Mark {
        ThreadWatch* idle;
        Counter done;
    } mark{&idle, {}};
    pool.QueueTask(
        [](void* argument) {
            auto* mark = static_cast<Mark*>(argument);
            mark->idle->watchCurrentThread();
            mark->done.add();
        },
        &mark);
    ASSERT_TRUE(mark.done.waitFor(1));

    std::thread waiter([&pool] { pool.WaitForThreadsToFinishWork(); });
    // The idle worker ends only because the pool is stopping.
    ASSERT_TRUE(idle.waitForEnded(1));
    busy.blocker.gate.open();
    waiter.join();
    EXPECT_EQ(late.load(), 1);
}

TEST(KelThreadsPool, Wait_TaskQueuedAfterEveryWorkerEndedIsNeverRun) {
    std::atomic<int> count(0);
    {
        KelThreadsPool pool(2);
        pool.WaitForThreadsToFinishWork();
        pool.QueueTask(addOne, &count);
        pool.WaitForThreadsToFinishWork();  // returns: nobody is left to wait for
        std::this_thread::sleep_for(kSettle);
        EXPECT_EQ(count.load(), 0);
    }  // the pool frees the task without running it
    EXPECT_EQ(count.load(), 0);
}

TEST(KelThreadsPool, Wait_FromSeveralThreadsAtOnceWaitsForTheSameEnd) {
    std::atomic<int> count(0);
    KelThreadsPool pool(2);
    Blocker blocker;
    pool.QueueTask(block, &blocker);
    for (int i = 0; i < 1000; ++i)
        pool.QueueTask(addOne, &count);
    std::vector<std::thread> waiters;
    std::atomic<int> returned(0);
    for (int i = 0; i < 3; ++i) {
        waiters.emplace_back([&] {
            pool.WaitForThreadsToFinishWork();
            EXPECT_EQ(count.load(), 1000);
            returned.fetch_add(1);
        });
    }
    std::this_thread::sleep_for(kSettle);
    EXPECT_EQ(returned.load(), 0);  // the blocker still holds a worker
    blocker.gate.open();
    for (std::thread& waiter : waiters)
        waiter.join();
    EXPECT_EQ(returned.load(), 3);
}

TEST(KelThreadsPool, Wait_FromOneOfItsOwnTasksStopsThePoolAndReturns) {
    std::atomic<int> count(0);
    KelThreadsPool pool(2);
    struct Stopper {
        KelThreadsPool* pool;
        Counter returned;
    } stopper{&pool, {}};
    for (int i = 0; i < 100; ++i)
        pool.QueueTask(addOne, &count);
    pool.QueueTask(
        [](void* argument) {
            auto* stopper = static_cast<Stopper*>(argument);
            stopper->pool->WaitForThreadsToFinishWork();
            stopper->returned.add();
        },
        &stopper);
    ASSERT_TRUE(stopper.returned.waitFor(1));
    pool.WaitForThreadsToFinishWork();
    EXPECT_EQ(count.load(), 100);
}

TEST(KelThreadsPool, Destructor_WithoutWaitRunsTheQueuedTasksFirst) {
    std::atomic<int> count(0);
    {
        KelThreadsPool pool(2);
        for (int i = 0; i < 500; ++i)
            pool.QueueTask(addOne, &count);
    }
    EXPECT_EQ(count.load(), 500);
}

TEST(KelThreadsPool, Destructor_OfAnUnusedPoolEndsItsWorkers) {
    ThreadWatch worker;
    {
        KelThreadsPool pool(1);
        pool.QueueTask([](void* watch) { static_cast<ThreadWatch*>(watch)->watchCurrentThread(); },
                       &worker);
    }
    EXPECT_EQ(worker.ended(), 1);
}

TEST(KelThreadsPool, QueueTask_NullFunctionIsIgnored) {
    std::atomic<int> count(0);
    KelThreadsPool pool(1);
    pool.QueueTask(nullptr, &count);
    pool.QueueTask(addOne, &count);
    pool.WaitForThreadsToFinishWork();
    EXPECT_EQ(count.load(), 1);
}

TEST(KelThreadsPool, QueueTask_PassesEachTaskItsOwnArgument) {
    std::vector<std::atomic<int>> runs(2000);
    KelThreadsPool pool(3);
    for (std::atomic<int>& slot : runs)
        pool.QueueTask(addOne, &slot);
    pool.WaitForThreadsToFinishWork();
    for (size_t i = 0; i < runs.size(); ++i)
        ASSERT_EQ(runs[i].load(), 1) << i;
}

TEST(KelThreadsPool, QueueTask_FromTasksWhileStoppingRunsTheWholeTree) {
    // Each task queues two smaller ones: 2^11 - 1 tasks in all, most of them
    // queued after WaitForThreadsToFinishWork has begun. The worker that
    // queues children is still running, so it finds them.
    struct Tree {
        KelThreadsPool* pool;
        std::atomic<int> count{0};
    };
    struct Branch {
        Tree* tree;
        int depth;
    };
    static void (*grow)(void*) = [](void* argument) {
        auto* branch = static_cast<Branch*>(argument);
        branch->tree->count.fetch_add(1);
        if (branch->depth > 0) {
            for (int i = 0; i < 2; ++i)
                branch->tree->pool->QueueTask(grow, new Branch{branch->tree, branch->depth - 1});
        }
        delete branch;
    };
    Tree tree;
    KelThreadsPool pool(4);
    tree.pool = &pool;
    pool.QueueTask(grow, new Branch{&tree, 10});
    pool.WaitForThreadsToFinishWork();
    EXPECT_EQ(tree.count.load(), 2047);
}

TEST(KelThreadsPool, QueueTask_FromManyThreadsLosesNothing) {
    constexpr int kProducers = 4;
    constexpr int kEach = 20000;
    std::vector<std::atomic<int>> runs(kProducers * kEach);
    KelThreadsPool pool(3);
    std::vector<std::thread> producers;
    for (int p = 0; p < kProducers; ++p) {
        producers.emplace_back([&, p] {
            for (int i = 0; i < kEach; ++i)
                pool.QueueTask(addOne, &runs[p * kEach + i]);
        });
    }
    for (std::thread& producer : producers)
        producer.join();
    pool.WaitForThreadsToFinishWork();
    for (size_t i = 0; i < runs.size(); ++i)
        ASSERT_EQ(runs[i].load(), 1) << i;
}

TEST(KelThreadsPool, ManyPools_OneAfterTheOther) {
    std::atomic<int> count(0);
    for (int round = 0; round < 50; ++round) {
        KelThreadsPool pool(2);
        pool.QueueTask(addOne, &count);
        pool.WaitForThreadsToFinishWork();
    }
    EXPECT_EQ(count.load(), 50);
}
