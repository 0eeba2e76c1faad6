#include <kel/KelThreadsPool.h>

#include <mutex>
#include <new>
#include <system_error>
#include <thread>
#include <vector>

#include "process/manual_reset_event.h"

namespace kel::detail {

// A queued task: the list link and the task itself in one allocation, so
// that queueing costs one allocation.
struct PoolTask {
    PoolTask* next;
    void (*function)(void*);
    void* argument;
};

struct PoolLock {
    std::mutex mutex;
};

struct PoolWorkers {
    std::vector<std::thread> threads;
    // Serialises the joins: several threads may wait for the same pool.
    std::mutex joinMutex;
};

}  // namespace kel::detail

namespace {

using kel::detail::PoolTask;

// The number of workers a pool can wait for; the limit of the system's wait
// for many threads at once, kept on every system so that a pool behaves the
// same everywhere.
constexpr int kMaxWorkers = 64;
constexpr int kDefaultWorkers = 4;

// The pool whose worker the calling thread is, if any.
thread_local const KelThreadsPool* t_workerOf = nullptr;

int clampedWorkerCount(int requested) {
    if (requested < 1)
        return 1;
    return requested > kMaxWorkers ? kMaxWorkers : requested;
}

}  // namespace

KelThreadsPool::KelThreadsPool() : KelThreadsPool(kDefaultWorkers) {}

KelThreadsPool::KelThreadsPool(int threadCount)
    : m_threadCount(0),
      m_threads(new kel::detail::PoolWorkers),
      m_queue(nullptr),
      m_lock(new kel::detail::PoolLock),
      m_workAvailable(new kel::detail::ManualResetEvent),
      m_stopping(false),
      m_queueLength(0) {
    // The lock and the event exist before this point, so a worker never
    // meets them half made.
    const int wanted = clampedWorkerCount(threadCount);
    m_threads->threads.reserve(static_cast<size_t>(wanted));
    for (int i = 0; i < wanted; ++i) {
        try {
            m_threads->threads.emplace_back(&KelThreadsPool::runWorker, this);
        } catch (const std::system_error&) {
            break;  // the system has no more threads to give; work with those started
        }
    }
    m_threadCount = static_cast<int>(m_threads->threads.size());
}

KelThreadsPool::~KelThreadsPool() {
    WaitForThreadsToFinishWork();
    // Tasks queued after the last worker ended were never taken.
    while (m_queue != nullptr) {
        PoolTask* task = m_queue;
        m_queue = task->next;
        delete task;
    }
    delete m_threads;
    delete m_workAvailable;
    delete m_lock;
}

void KelThreadsPool::QueueTask(void (*function)(void*), void* argument) {
    if (function == nullptr)
        return;
    PoolTask* task =
        m_threadCount > 0 ? new (std::nothrow) PoolTask{nullptr, function, argument} : nullptr;
    if (task == nullptr) {
        function(argument);
        return;
    }
    std::lock_guard<std::mutex> guard(m_lock->mutex);
    task->next = m_queue;
    m_queue = task;
    ++m_queueLength;
    // The event is set when the queue goes from empty to one task; it stays
    // set until a worker empties the queue again. The length is compared as
    // a 16-bit count: deliberate, a queue of 65,537 tasks sets the event
    // again, which is harmless as it is set already.
    if (static_cast<unsigned short>(m_queueLength) == 1)
        m_workAvailable->set();
}

void KelThreadsPool::WaitForThreadsToFinishWork() {
    {
        std::lock_guard<std::mutex> guard(m_lock->mutex);
        m_stopping = true;
    }
    // Never reset from now on: every worker that looks finds the queue
    // empty sooner or later and ends.
    m_workAvailable->set();
    if (t_workerOf == this)
        return;  // a worker cannot wait for itself
    std::lock_guard<std::mutex> joinGuard(m_threads->joinMutex);
    for (std::thread& thread : m_threads->threads) {
        if (thread.joinable())
            thread.join();
    }
}

void KelThreadsPool::runWorker() {
    t_workerOf = this;
    for (;;) {
        std::unique_lock<std::mutex> lock(m_lock->mutex);
        if (m_queue != nullptr) {
            PoolTask* task = m_queue;
            m_queue = task->next;
            --m_queueLength;
            // Idle workers sleep again once the queue is empty, unless the
            // pool is stopping: then they must all come and find it empty.
            if (m_queue == nullptr && !m_stopping)
                m_workAvailable->reset();
            lock.unlock();
            task->function(task->argument);
            delete task;
        } else if (m_stopping) {
            return;  // the lock is released on the way out
        } else {
            lock.unlock();
        }
        m_workAvailable->wait();
    }
}
