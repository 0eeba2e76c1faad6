#include "process/manual_reset_event.h"

namespace kel::detail {

ManualResetEvent::ManualResetEvent() : m_signalled(false), m_waiters(0) {}

void ManualResetEvent::set() {
    // Already set: nobody sleeps on it, there is nothing to wake.
    if (m_signalled.load(std::memory_order_acquire))
        return;
    std::lock_guard<std::mutex> guard(m_mutex);
    m_signalled.store(true, std::memory_order_release);
    if (m_waiters > 0)
        m_condition.notify_all();
}

void ManualResetEvent::reset() {
    // No mutex needed: a sleeper only ever waits for the flag to become true.
    m_signalled.store(false, std::memory_order_release);
}

void ManualResetEvent::wait() {
    if (m_signalled.load(std::memory_order_acquire))
        return;
    std::unique_lock<std::mutex> lock(m_mutex);
    ++m_waiters;
    m_condition.wait(lock, [this] { return m_signalled.load(std::memory_order_acquire); });
    --m_waiters;
}

bool ManualResetEvent::isSet() const {
    return m_signalled.load(std::memory_order_acquire);
}

}  // namespace kel::detail
