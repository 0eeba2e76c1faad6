// A manual-reset event: once set it stays set, releasing every waiter and
// every later wait, until it is reset.

#ifndef KEL_PROCESS_MANUAL_RESET_EVENT_H
#define KEL_PROCESS_MANUAL_RESET_EVENT_H

#include <atomic>
#include <condition_variable>
#include <mutex>

namespace kel::detail {

class ManualResetEvent {
public:
    // Not set.
    ManualResetEvent();
    ManualResetEvent(const ManualResetEvent&) = delete;
    ManualResetEvent& operator=(const ManualResetEvent&) = delete;

    // Sets the event and wakes every waiter.
    void set();

    // Clears the event; later waits block until the next set().
    void reset();

    // Returns at once while the event is set, else blocks until it is set.
    // A waiter woken by a set() that a reset() undoes before the waiter
    // runs goes back to sleep: only the state at the time it looks counts.
    void wait();

    // Whether the event is set now.
    bool isSet() const;

private:
    std::mutex m_mutex;
    std::condition_variable m_condition;
    // Read without the mutex by the fast paths; changed to true only under
    // it, so that a sleeper cannot miss the change.
    std::atomic<bool> m_signalled;
    int m_waiters;  // guarded by m_mutex
};

}  // namespace kel::detail

#endif  // KEL_PROCESS_MANUAL_RESET_EVENT_H
