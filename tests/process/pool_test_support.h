// Small synchronisation helpers for the tests of threaded code: a gate that
// holds tasks until the test opens it, a counter that can be waited for,
// and a way to learn when worker threads have ended.

#ifndef KEL_TESTS_PROCESS_POOL_TEST_SUPPORT_H
#define KEL_TESTS_PROCESS_POOL_TEST_SUPPORT_H

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#if defined(_WIN32)
#include <windows.h>
#endif

namespace kel::test {

// Closed until opened; then every wait returns.
class Gate {
public:
    void open() {
        std::lock_guard<std::mutex> guard(m_mutex);
        m_open = true;
        m_condition.notify_all();
    }
    void wait() {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_condition.wait(lock, [this] { return m_open; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_condition;
    bool m_open = false;
};

// A counter whose value a thread can wait for.
class Counter {
public:
    void add() {
        std::lock_guard<std::mutex> guard(m_mutex);
        ++m_value;
        m_condition.notify_all();
    }
    int value() {
        std::lock_guard<std::mutex> guard(m_mutex);
        return m_value;
    }
    // True once the value is at least `target`; false after a minute
    // without (the test then fails instead of hanging).
    bool waitFor(int target) {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_condition.wait_for(lock, std::chrono::minutes(1),
                                    [&] { return m_value >= target; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_condition;
    int m_value = 0;
};

// Learns when threads end: a thread calls watchCurrentThread() (from a
// task, say), and the test asks later how many of the watched threads have
// ended.
//
// On Linux the watched thread's own thread-local storage reports its end as
// it is destroyed, before a join of the thread returns. The Windows build
// keeps a handle of each watched thread instead and asks the system: there
// the test program and kel.dll each carry their own static copy of the
// threads runtime, and a thread-local destructor of the program's copy
// running on a thread the DLL's copy started can leave the process heap
// locked at thread exit (seen under Wine).
class ThreadWatch {
public:
    ThreadWatch() = default;
    ThreadWatch(const ThreadWatch&) = delete;
    ThreadWatch& operator=(const ThreadWatch&) = delete;
    ~ThreadWatch();

    // Watches the calling thread; call it at most once per thread. The
    // watch must outlive the thread.
    void watchCurrentThread();

    // The number of watched threads that have ended.
    int ended();

    // True once `count` watched threads have ended; false after a minute
    // without.
    bool waitForEnded(int count);

private:
#if defined(_WIN32)
    std::mutex m_mutex;
    std::vector<void*> m_handles;
#else
    Counter m_ended;
#endif
};

#if defined(_WIN32)

inline ThreadWatch::~ThreadWatch() {
    for (void* handle : m_handles)
        CloseHandle(handle);
}

inline void ThreadWatch::watchCurrentThread() {
    HANDLE handle = nullptr;
    DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &handle,
                    SYNCHRONIZE, FALSE, 0);
    std::lock_guard<std::mutex> guard(m_mutex);
    m_handles.push_back(handle);
}

inline int ThreadWatch::ended() {
    std::lock_guard<std::mutex> guard(m_mutex);
    int count = 0;
    for (void* handle : m_handles)
        count += WaitForSingleObject(handle, 0) == WAIT_OBJECT_0 ? 1 : 0;
    return count;
}

inline bool ThreadWatch::waitForEnded(int count) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (ended() < count) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

#else

inline ThreadWatch::~ThreadWatch() = default;

inline void ThreadWatch::watchCurrentThread() {
    struct AtExit {
        Counter* counter = nullptr;
        ~AtExit() {
            if (counter != nullptr)
                counter->add();
        }
    };
    thread_local AtExit atExit;
    atExit.counter = &m_ended;
}

inline int ThreadWatch::ended() {
    return m_ended.value();
}

inline bool ThreadWatch::waitForEnded(int count) {
    return m_ended.waitFor(count);
}

#endif

}  // namespace kel::test

#endif  // KEL_TESTS_PROCESS_POOL_TEST_SUPPORT_H
