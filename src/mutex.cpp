// The mutex: POSIX mutexes in opaque storage, every failure raised with its fixed message.
#include <pthread.h>

#include <cerrno>
#include <new>

#include "nubase/string.hpp"
#include "nubase/sync.hpp"
#include "raise.hpp"

namespace nubase {
namespace {

constexpr char k_source[] = "lib/nubase/src/mutex";

pthread_mutex_t* native_mutex(void* a_storage) noexcept {
    return std::launder(static_cast<pthread_mutex_t*>(a_storage));
}

// Raises the message of `a_format` ("... mutex %s ...") filled with the mutex's name.
[[noreturn]] void raise_named(unsigned a_line, const char* a_format, const std::string& a_name) {
    NUBASE_RAISE_AT(a_line, call, string_with_format(a_format, a_name.c_str()).c_str());
}

}  // namespace

mutex::mutex(bool a_recursive) {
    static_assert(sizeof(pthread_mutex_t) <= sizeof m_native, "mutex storage too small");
    static_assert(alignof(pthread_mutex_t) <= 8, "mutex storage is aligned to 8 only");
    pthread_mutex_t* l_mutex = new (m_native) pthread_mutex_t;
    int l_result;
    if (a_recursive) {
        pthread_mutexattr_t l_attr;
        l_result = pthread_mutexattr_init(&l_attr);
        if (l_result == 0) {
            l_result = pthread_mutexattr_settype(&l_attr, PTHREAD_MUTEX_RECURSIVE);
            if (l_result == 0) l_result = pthread_mutex_init(l_mutex, &l_attr);
            pthread_mutexattr_destroy(&l_attr);
        }
    } else {
        l_result = pthread_mutex_init(l_mutex, nullptr);
    }
    if (l_result != 0) NUBASE_RAISE_AT(65, call, "mutex init failed");
}

mutex::mutex(const std::string& a_name) : m_name(a_name) {
    if (pthread_mutex_init(new (m_native) pthread_mutex_t, nullptr) != 0) {
        NUBASE_RAISE_AT(75, call, "mutex init failed");
    }
}

mutex::~mutex() {
    pthread_mutex_destroy(native_mutex(m_native));
}

bool mutex::trylock() const {
    switch (pthread_mutex_trylock(native_mutex(native()))) {
        case 0:
            return true;
        case EBUSY:
            return false;
        case EINVAL:
            NUBASE_RAISE_AT(103, call, "The value specified by mutex is invalid (trylock)");
        default:
            NUBASE_RAISE_AT(105, call, "Undocumented mutex error (trylock)");
    }
}

void mutex::lock() const {
    switch (pthread_mutex_lock(native_mutex(native()))) {
        case 0:
            return;
        case EDEADLK:
            raise_named(119,
                        "A deadlock would occur if the thread blocked waiting for mutex %s (lock)",
                        m_name);
        case EINVAL:
            raise_named(121, "The value specified by mutex %s is invalid (lock)", m_name);
        default:
            NUBASE_RAISE_AT(123, call, "Undocumented mutex error (lock)");
    }
}

void mutex::unlock() const {
    switch (pthread_mutex_unlock(native_mutex(native()))) {
        case 0:
            return;
        case EPERM:
            raise_named(136, "The current thread does not hold a lock on mutex %s (unlock)",
                        m_name);
        case EINVAL:
            raise_named(138, "The value specified by mutex %s is invalid (unlock)", m_name);
        default:
            NUBASE_RAISE_AT(140, call, "Undocumented mutex error (unlock)");
    }
}

}  // namespace nubase
