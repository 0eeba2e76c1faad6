// Small synchronisation helpers for the tests of threaded code: a gate that
// holds tasks until the test opens it, a counter that can be waited for,
// and a way to learn when a worker thread has ended.

#ifndef KEL_TESTS_PROCESS_POOL_TEST_SUPPORT_H
#define KEL_TESTS_PROCESS_POOL_TEST_SUPPORT_H

#include <chrono>
#include <condition_variable>
#include <mutex>

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

// Adds one to `counter` when the calling thread ends (its thread-local
// storage is destroyed before a join of it returns). The counter must
// outlive the thread.
inline void notifyAtExit(Counter* counter) {
    struct AtExit {
        Counter* counter = nullptr;
        ~AtExit() {
            if (counter != nullptr)
                counter->add();
        }
    };
    thread_local AtExit atExit;
    atExit.counter = counter;
}

}  // namespace kel::test

#endif  // KEL_TESTS_PROCESS_POOL_TEST_SUPPORT_H
