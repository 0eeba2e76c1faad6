/// @file KelThreadsPool.h
/// A fixed set of worker threads for one batch of tasks.
///
/// The workers start with the pool. Tasks (a plain function and an untyped
/// argument) are queued from any thread and taken newest first; then
/// WaitForThreadsToFinishWork lets the workers drain the queue and waits
/// until every one of them has ended. A pool serves one batch: it cannot be
/// restarted.
///
/// @code
///   static void addOne(void* counter) { ++*static_cast<std::atomic<int>*>(counter); }
///
///   std::atomic<int> counter(0);
///   KelThreadsPool pool(8);
///   for (int i = 0; i < 1000; ++i)
///       pool.QueueTask(addOne, &counter);
///   pool.WaitForThreadsToFinishWork();      // counter == 1000
/// @endcode
///
/// One lock guards the queue and the stop flag; idle workers sleep on one
/// manual-reset event, set while there is work (and for good once the pool
/// stops). Tasks run outside the lock, concurrently with each other.

#ifndef KEL_KELTHREADSPOOL_H
#define KEL_KELTHREADSPOOL_H

#include <kel/KelExport.h>

namespace kel::detail {
struct PoolWorkers;
struct PoolTask;
struct PoolLock;
class ManualResetEvent;
}  // namespace kel::detail

/// @copydoc KelThreadsPool.h
class KEL_API KelThreadsPool {
public:
    /// Starts 4 workers.
    KelThreadsPool();

    /// Starts `threadCount` workers, at least 1 and at most 64: a smaller
    /// count starts 1 worker (a pool without workers would never run its
    /// tasks) and a larger one 64. The lock and the event exist before the
    /// first worker starts. If the system refuses to start a thread the
    /// pool runs with the workers it got.
    KelThreadsPool(int threadCount);

    /// Waits for the pool as WaitForThreadsToFinishWork does (so the tasks
    /// queued until then run), then frees the tasks that no worker took: they
    /// are not run. A pool must not be destroyed from one of its own tasks.
    virtual ~KelThreadsPool();

    KelThreadsPool(const KelThreadsPool&) = delete;
    KelThreadsPool& operator=(const KelThreadsPool&) = delete;

    /// Queues `function(argument)` at the head of the queue: the task queued
    /// last is taken first. Any thread may queue, tasks included. A null
    /// function is ignored. After the pool has stopped a task is still run if
    /// a worker takes it before finding the queue empty; once every worker
    /// has ended it is never run. In the rare case that the pool cannot take
    /// the task (no memory for it, or no worker could be started) it runs at
    /// once on the calling thread, so that no task is lost.
    void QueueTask(void (*function)(void*), void* argument);

    /// Sets the stop flag, wakes every worker and waits (without time-out)
    /// until all of them have ended. Every task queued before the call runs
    /// first: a worker ends only when it finds the queue empty. Calling it
    /// again, or from several threads, waits for the same end. Called from a
    /// task of this pool it sets the stop flag and returns at once, since a
    /// worker cannot wait for itself.
    void WaitForThreadsToFinishWork();

private:
    void runWorker();

    int m_threadCount;                               ///< workers started
    kel::detail::PoolWorkers* m_threads;             ///< owned, one thread per worker
    kel::detail::PoolTask* m_queue;                  ///< owned, newest first
    kel::detail::PoolLock* m_lock;                   ///< guards the queue and m_stopping
    kel::detail::ManualResetEvent* m_workAvailable;  ///< owned, manual reset
    bool m_stopping;
    unsigned int m_queueLength;  ///< guarded by m_lock
};

#endif  // KEL_KELTHREADSPOOL_H
