// The counting semaphore, built on this family's mutex and condition.
#include <mutex>

#include "nubase/sync.hpp"

namespace nubase {
namespace {

// Holds the semaphore's mutex for a scope, so that every exception leaves it unlocked.
using hold = std::lock_guard<const mutex>;

}  // namespace

semaphore::semaphore(int a_value) : m_value(a_value) {}

void semaphore::post() {
    hold l_hold(m_mutex);
    m_value.store(m_value.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    m_condition.signal();
}

void semaphore::post(int a_n) {
    hold l_hold(m_mutex);
    m_value.store(m_value.load(std::memory_order_relaxed) + a_n, std::memory_order_relaxed);
    m_condition.broadcast();
}

void semaphore::reset(int a_value) {
    hold l_hold(m_mutex);
    m_value.store(a_value, std::memory_order_relaxed);
    m_condition.broadcast();
}

void semaphore::wait() {
    hold l_hold(m_mutex);
    while (m_value.load(std::memory_order_relaxed) <= 0)
        m_condition.wait(m_mutex);
    m_value.store(m_value.load(std::memory_order_relaxed) - 1, std::memory_order_relaxed);
}

bool semaphore::trywait() {
    if (!m_mutex.trylock()) return false;
    hold l_hold(m_mutex, std::adopt_lock);
    const int l_value = m_value.load(std::memory_order_relaxed);
    if (l_value <= 0) return false;
    m_value.store(l_value - 1, std::memory_order_relaxed);
    return true;
}

bool semaphore::wait_abs(const timestamp& a_deadline) {
    hold l_hold(m_mutex);
    // Once the wait reports a time-out the loop ends without taking a unit, even if one arrived
    // while the mutex was being taken back: the time-out wins.
    bool l_woken = true;
    while (l_woken && m_value.load(std::memory_order_relaxed) <= 0) {
        l_woken = m_condition.wait_abs(m_mutex, a_deadline);
    }
    if (l_woken) {
        m_value.store(m_value.load(std::memory_order_relaxed) - 1, std::memory_order_relaxed);
    }
    return l_woken;
}

bool semaphore::wait(const timestamp& a_timeout) {
    return wait_abs(timestamp_with_utc(0, 0) + a_timeout);
}

}  // namespace nubase
