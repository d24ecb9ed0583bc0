// Threads: the start routine that guards the work, and the stop-and-join of the owner.
#include <pthread.h>
#include <sched.h>
#include <signal.h>

#include <cstring>
#include <exception>
#include <cxxabi.h>
#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#endif

#include "nubase/es.hpp"
#include "nubase/thread.hpp"
#include "raise.hpp"
#include "thread_unwind.hpp"

namespace nubase {

namespace {

constexpr char k_source[] = "lib/nubase/src/thread";

static_assert(sizeof(pthread_t) <= 8 && alignof(pthread_t) <= 8,
              "thread handle storage holds 8 bytes aligned to 8");

pthread_t handle_of(const unsigned char* a_storage) noexcept {
    pthread_t l_handle;
    std::memcpy(&l_handle, a_storage, sizeof l_handle);
    return l_handle;
}

void clear_handle(unsigned char* a_storage) noexcept {
    std::memset(a_storage, 0, 8);
}

bool has_handle(const unsigned char* a_storage) noexcept {
    static const unsigned char k_none[8] = {};
    return std::memcmp(a_storage, k_none, 8) != 0;
}

bool is_calling_thread(const unsigned char* a_storage) noexcept {
    return pthread_equal(pthread_self(), handle_of(a_storage)) != 0;
}

// Runs the work. An exception escaping it ends the process: nobody could catch it, and the work's
// owner could not tell a half-done work from a finished one. Thread exit and cancellation unwind
// the stack with an exception of no C++ type, which must pass on untouched.
void* thread_start(void* a_work) {
    try {
        (*static_cast<thread_base*>(a_work))();
    } catch (const es::base& e) {
        ds::abort(k_source, 47, "exception: '%s' at '%s:%u'; '%s'\n", e.what(), e.file(), e.line(),
                  e.msg());
    } catch (...) {
        if (!abi::__cxa_current_exception_type()) {
            unpoison_unwound_stack();
            throw;
        }
        ds::abort(k_source, 51, "exception: 'unknown exception' at [ n/a:0 ]; 'n/a'\n");
    }
    return nullptr;
}

}  // namespace

// Shared with the call queue through thread_unwind.hpp; not exported.
void unpoison_unwound_stack() noexcept {
#if defined(__SANITIZE_ADDRESS__)
    pthread_attr_t l_attr;
    if (pthread_getattr_np(pthread_self(), &l_attr) != 0) return;
    void* l_low = nullptr;
    std::size_t l_size = 0;
    if (pthread_attr_getstack(&l_attr, &l_low, &l_size) == 0) {
        char* const l_here = static_cast<char*>(__builtin_frame_address(0));
        char* const l_bottom = static_cast<char*>(l_low);
        if (l_here > l_bottom) __asan_unpoison_memory_region(l_bottom, l_here - l_bottom);
    }
    pthread_attr_destroy(&l_attr);
#endif
}

thread_base::~thread_base() = default;

void thread_base::terminate() {}

thread::thread() noexcept : m_work(nullptr), m_handle{}, m_detached(false) {}

thread::thread(thread_base& a_work) : thread() {
    start(a_work);
}

thread::~thread() {
    stop();
}

void thread::stop() noexcept {
    if (!m_work || !has_handle(m_handle)) return;
    const pthread_t l_handle = handle_of(m_handle);
    if (is_calling_thread(m_handle)) {
        // Destroyed from inside its own work: nobody is left to join it.
        if (!m_detached) pthread_detach(l_handle);
        return;
    }
    m_work->terminate();
    // A detached thread may already have ended and its handle been reused.
    if (m_detached) return;
    if (std::uncaught_exceptions() > 0) pthread_cancel(l_handle);
    pthread_join(l_handle, nullptr);
}

void thread::start(thread_base& a_work) {
    stop();
    m_detached = false;
    m_work = &a_work;
    clear_handle(m_handle);
    // The handle is written in place, before the new thread runs, so that a work which joins or
    // destroys its own `thread` finds it set.
    if (pthread_create(reinterpret_cast<pthread_t*>(m_handle), nullptr, thread_start, &a_work) !=
        0) {
        clear_handle(m_handle);
        NUBASE_RAISE_AT(62, call, "thread create failed");
    }
}

void thread::join() {
    if (!has_handle(m_handle) || is_calling_thread(m_handle)) return;
    if (m_detached || pthread_join(handle_of(m_handle), nullptr) != 0) {
        NUBASE_RAISE_AT(151, call, "thread join failed");
    }
    m_work = nullptr;
    clear_handle(m_handle);
}

void thread::detach() noexcept {
    if (!has_handle(m_handle) || m_detached) return;
    pthread_detach(handle_of(m_handle));
    m_detached = true;
}

void thread::cancel() {
    if (has_handle(m_handle) && pthread_cancel(handle_of(m_handle)) != 0) {
        NUBASE_RAISE_AT(173, call, "thread cancel failed");
    }
}

void thread::signal(int a_sig) {
    if (has_handle(m_handle) && pthread_kill(handle_of(m_handle), a_sig) != 0) {
        NUBASE_RAISE_AT(185, call, "thread signal failed");
    }
}

void thread::yield() {
    if (sched_yield() != 0) NUBASE_RAISE_AT(100, call, "thread yield failed");
}

void thread::exit() {
    pthread_exit(nullptr);
}

void thread::cancel_point() {
    pthread_testcancel();
}

bool thread::running() const noexcept {
    return has_handle(m_handle);
}

}  // namespace nubase
