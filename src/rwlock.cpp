// The read-write lock.
#include <pthread.h>

#include <cerrno>
#include <new>

#include "nubase/sync.hpp"
#include "raise.hpp"

namespace nubase {
namespace {

constexpr char k_source[] = "lib/nubase/src/rwlock";

pthread_rwlock_t* native_rwlock(const unsigned char* a_storage) noexcept {
    return std::launder(reinterpret_cast<pthread_rwlock_t*>(const_cast<unsigned char*>(a_storage)));
}

}  // namespace

rwlock::rwlock() {
    static_assert(sizeof(pthread_rwlock_t) <= sizeof m_native, "rwlock storage too small");
    static_assert(alignof(pthread_rwlock_t) <= 8, "rwlock storage is aligned to 8 only");
    if (pthread_rwlock_init(new (m_native) pthread_rwlock_t, nullptr) != 0) {
        NUBASE_RAISE_AT(18, call, "rwlock init failed");
    }
}

rwlock::~rwlock() {
    pthread_rwlock_destroy(native_rwlock(m_native));
}

bool rwlock::trylock_rd() const {
    const int l_result = pthread_rwlock_tryrdlock(native_rwlock(m_native));
    if (l_result == EBUSY) return false;
    if (l_result != 0) NUBASE_RAISE_AT(38, call, "rwlock tryrdlock error");
    return true;
}

bool rwlock::trylock_wr() const {
    const int l_result = pthread_rwlock_trywrlock(native_rwlock(m_native));
    if (l_result == EBUSY) return false;
    if (l_result != 0) NUBASE_RAISE_AT(54, call, "rwlock trywrlock error");
    return true;
}

void rwlock::lock_rd() const {
    if (pthread_rwlock_rdlock(native_rwlock(m_native)) != 0) {
        NUBASE_RAISE_AT(65, call, "rwlock rdlock error");
    }
}

void rwlock::lock_wr() const {
    if (pthread_rwlock_wrlock(native_rwlock(m_native)) != 0) {
        NUBASE_RAISE_AT(74, call, "rwlock wrlock error");
    }
}

void rwlock::unlock() const {
    if (pthread_rwlock_unlock(native_rwlock(m_native)) != 0) {
        NUBASE_RAISE_AT(83, call, "rwlock unlock error");
    }
}

}  // namespace nubase
