// The condition variable: waits with and without a wall-clock dead-line.
#include <pthread.h>

#include <cerrno>
#include <new>

#include "nubase/sync.hpp"
#include "raise.hpp"

namespace nubase {
namespace {

constexpr char k_source[] = "lib/nubase/src/condition";
constexpr long k_nanoseconds_per_second = 1000000000L;

pthread_cond_t* native_cond(const unsigned char* a_storage) noexcept {
    return std::launder(reinterpret_cast<pthread_cond_t*>(const_cast<unsigned char*>(a_storage)));
}

}  // namespace

condition::condition() {
    static_assert(sizeof(pthread_cond_t) <= sizeof m_native, "condition storage too small");
    static_assert(alignof(pthread_cond_t) <= 8, "condition storage is aligned to 8 only");
    if (pthread_cond_init(new (m_native) pthread_cond_t, nullptr) != 0) {
        NUBASE_RAISE_AT(19, call, "condition init failed");
    }
}

condition::~condition() {
    pthread_cond_destroy(native_cond(m_native));
}

void condition::broadcast() const {
    if (pthread_cond_broadcast(native_cond(m_native)) != 0) {
        NUBASE_RAISE_AT(34, call, "condition broadcast failed");
    }
}

void condition::signal() const {
    if (pthread_cond_signal(native_cond(m_native)) != 0) {
        NUBASE_RAISE_AT(43, call, "condition signal failed");
    }
}

bool condition::wait_abs(const mutex& a_mutex, const timestamp& a_deadline) const {
    timespec l_deadline = a_deadline.as_timespec();
    // The conversion rounds to the nearest nanosecond without carrying; the wait insists on a
    // nanosecond part below one second.
    if (l_deadline.tv_nsec >= k_nanoseconds_per_second) {
        l_deadline.tv_sec += 1;
        l_deadline.tv_nsec -= k_nanoseconds_per_second;
    }
    switch (pthread_cond_timedwait(native_cond(m_native),
                                   std::launder(static_cast<pthread_mutex_t*>(a_mutex.native())),
                                   &l_deadline)) {
        case 0:
            return true;
        case ETIMEDOUT:
            return false;
        case EINTR:
            NUBASE_RAISE_AT(58, call, "condition timedwait was interrupted by signal");
        default:
            NUBASE_RAISE_AT(60, call, "condition timedwait error");
    }
}

bool condition::wait(const mutex& a_mutex, const timestamp& a_timeout) const {
    return wait_abs(a_mutex, timestamp_with_utc(0, 0) + a_timeout);
}

void condition::wait(const mutex& a_mutex) const {
    if (pthread_cond_wait(native_cond(m_native),
                          std::launder(static_cast<pthread_mutex_t*>(a_mutex.native()))) != 0) {
        NUBASE_RAISE_AT(77, call, "condition wait failed");
    }
}

}  // namespace nubase
