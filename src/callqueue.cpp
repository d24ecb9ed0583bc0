// The call queue: posting, waiting for execution, and running on the queue's thread.
#include <pthread.h>

#include <mutex>
#include <utility>
#include <cxxabi.h>

#include "nubase/callqueue.hpp"
#include "nubase/string.hpp"
#include "posix/futex.hpp"
#include "posix/spin.hpp"
#include "raise.hpp"
#include "thread_unwind.hpp"

namespace nubase {

namespace {

constexpr char k_source[] = "lib/nubase/src/callqueue";

using hold = std::lock_guard<const mutex>;  // an object's mutex
using queue_hold = detail::word_guard;      // the queue's lock

// The queue's thread: the thread that built the singleton. Written once, inside the guarded
// initialisation of `instance()`, which every other reader passes through first.
pthread_t g_thread_id;

bool on_queue_thread() noexcept {
    return pthread_equal(pthread_self(), g_thread_id) != 0;
}

// Gives a posted object its name. An object posted again under the same name is not written
// to: the common repeat posting then leaves the object's memory to the queue's thread.
inline void name(callqueue_object& a_object, const std::string& a_name) {
    if (a_object.get_id() != a_name) a_object.set_id(a_name);
}

}  // namespace

callqueue_object::callqueue_object() = default;
callqueue_object::~callqueue_object() = default;

void callqueue_object::wait() const {
    struct counted {
        int& waiters;
        explicit counted(int& a_waiters) : waiters(a_waiters) { ++waiters; }
        ~counted() { --waiters; }
    } l_counted(m_waiters);
    m_condition.wait(m_mutex);
}

callqueue& callqueue::instance() {
    static callqueue s_instance;
    return s_instance;
}

callqueue::callqueue() : m_exited(false), m_sleeping(false) {
    g_thread_id = pthread_self();
}

callqueue::~callqueue() {
    for (const entry& l_entry : m_pending)
        l_entry.object->release();
    for (const entry& l_entry : m_exit_calls)
        l_entry.object->release();
}

void callqueue::add_call(ptr_refcount<callqueue_object> a_object, const std::string& a_name,
                         unsigned int a_flags) {
    if (exited()) {
        NUBASE_RAISE_AT(83, call,
                        string_with_format("Cannot add '%s' call to callqueue: callqueue has "
                                           "already exit()ed.",
                                           a_name.c_str())
                            .c_str());
    }
    if (!a_object) NUBASE_RAISE(null, "Cannot add a null call to callqueue");
    name(*a_object, a_name);
    if (is_duplicate(a_name, a_flags)) return;

    const bool l_own_thread = on_queue_thread();
    if (l_own_thread && !(a_flags & flag_defer)) {
        a_object->call();
        return;
    }
    if (!l_own_thread && (a_flags & flag_wait)) {
        // `done` is set under the object's mutex once the call has run; the entry takes a
        // reference of its own, and this one keeps the object alive for the wait.
        std::atomic<bool> l_done{false};
        std::unique_lock<const mutex> l_hold(a_object->m_mutex, std::defer_lock);
        // Alone on one processor, the object's mutex is held from before the append until the
        // wait releases it, so the queue's thread cannot finish the call (it takes that mutex)
        // before this thread waits. With another processor the call may well finish within a
        // short poll, which spares both threads a sleep and a wake-up; the flag is then checked
        // under the mutex before each wait, so a signal sent before the wait is not needed.
        const bool l_poll = detail::spinning_pays();
        if (!l_poll) l_hold.lock();
        append(m_pending, a_object, &l_done);
        if (l_poll) {
            if (detail::spin_until([&] { return l_done.load(std::memory_order_acquire); },
                                   detail::k_spin_ns))
                return;
            l_hold.lock();
        }
        while (!l_done.load(std::memory_order_relaxed))
            a_object->wait();
        return;
    }
    append(m_pending, std::move(a_object), nullptr);
}

void callqueue::add_exit_call(ptr_refcount<callqueue_object> a_object, const std::string& a_name,
                              unsigned int a_flags) {
    if (exited()) {
        NUBASE_RAISE_AT(143, call, "Cannot add call to callqueue: callqueue has already exit()ed.");
    }
    if (!a_object) NUBASE_RAISE(null, "Cannot add a null call to callqueue");
    name(*a_object, a_name);
    if (is_duplicate(a_name, a_flags)) return;
    append(m_exit_calls, std::move(a_object), nullptr);
}

void callqueue::run() {
    if (!on_queue_thread()) {
        NUBASE_RAISE_AT(166, unsupp, "callqueue::run() called from different thread");
    }
    std::vector<entry> l_calls;
    {
        queue_hold l_hold(m_lock);
        if (m_pending.empty()) return;
        l_calls.swap(m_pending);
        // Posting goes on into the spare array, which keeps the capacity of earlier runs.
        m_pending.swap(m_spare);
    }
    execute(l_calls, m_pending);
    // Only the queue's thread touches the spare array outside the swap above: no lock needed.
    if (m_spare.capacity() < l_calls.capacity()) m_spare.swap(l_calls);
}

void callqueue::exit() {
    if (!on_queue_thread()) {
        NUBASE_RAISE_AT(196, unsupp, "callqueue::exit() called from different thread");
    }
    m_exited.store(true, std::memory_order_release);
    std::vector<entry> l_calls;
    {
        queue_hold l_hold(m_lock);
        l_calls.swap(m_exit_calls);
    }
    execute(l_calls, m_exit_calls);
}

bool callqueue::exited() const noexcept {
    return m_exited.load(std::memory_order_acquire);
}

bool callqueue::wait_for_calls(const timestamp& a_timeout) {
    if (!on_queue_thread()) {
        NUBASE_RAISE(unsupp, "callqueue::wait_for_calls() called from different thread");
    }
    const timespec l_deadline = detail::monotonic_deadline(a_timeout.as_timespec());
    for (bool l_in_time = true;;) {
        std::uint32_t l_arrivals;
        {
            queue_hold l_hold(m_lock);
            m_sleeping = false;
            if (!m_pending.empty() || !l_in_time) return !m_pending.empty();
            // Asks the next poster to change the word and wake this thread. The word is read
            // under the lock, so a call appended between the unlock and the sleep changes it
            // first and the sleep returns at once.
            m_sleeping = true;
            l_arrivals = m_arrivals.load(std::memory_order_relaxed);
        }
        l_in_time = detail::futex_wait(m_arrivals, l_arrivals, &l_deadline);
    }
}

void callqueue::append(std::vector<entry>& a_list, ptr_refcount<callqueue_object> a_reference,
                       std::atomic<bool>* a_done) {
    bool l_wake;
    {
        queue_hold l_hold(m_lock);
        a_list.push_back(entry{a_reference.get(), a_done});
        // The entry owns the reference handed in; `run()` or `exit()` releases it.
        static_cast<void>(a_reference.detach());
        // Only the first pending call wakes a sleeping queue's thread: it takes them all.
        l_wake = m_sleeping && &a_list == &m_pending && a_list.size() == 1;
        if (l_wake) {
            m_sleeping = false;
            m_arrivals.fetch_add(1, std::memory_order_relaxed);
        }
    }
    if (l_wake) detail::futex_wake(m_arrivals, 1);
}

bool callqueue::is_duplicate(const std::string& a_name, unsigned int a_flags) {
    return (a_flags & flag_unique) != 0 && seen_before(a_name);
}

bool callqueue::seen_before(const std::string& a_name) {
    queue_hold l_hold(m_lock);
    return !m_unique_names.insert(a_name).second;
}

void callqueue::execute(std::vector<entry>& a_list, std::vector<entry>& a_origin) {
    std::size_t l_index = 0;
    try {
        for (; l_index < a_list.size(); ++l_index) {
            const entry l_entry = a_list[l_index];
            // Gives up the entry's reference however the call ends.
            struct releaser {
                const callqueue_object* object;
                ~releaser() { object->release(); }
            } l_releaser{l_entry.object};
            bool l_wake;
            {
                hold l_hold(l_entry.object->m_mutex);
                try {
                    l_entry.object->call();
                } catch (...) {
                    // An exception of no C++ type is the thread exiting or being cancelled inside
                    // the call: it must pass on, and the waiter is released all the same. Any
                    // other failure is the call's own affair: the queue goes on with the next.
                    if (!abi::__cxa_current_exception_type()) {
                        if (l_entry.done) l_entry.done->store(true, std::memory_order_release);
                        l_entry.object->m_condition.broadcast();
                        unpoison_unwound_stack();
                        throw;
                    }
                }
                if (l_entry.done) l_entry.done->store(true, std::memory_order_release);
                // Waiters count themselves under the mutex, so none can be missed here; a call
                // nobody waits for skips the wake-up.
                l_wake = l_entry.done != nullptr || l_entry.object->m_waiters != 0;
            }
            // Several threads may wait on one object, each for its own posting: wake them all
            // and let each check its own flag. Waking after the unlock spares the waiter a block
            // on the mutex; the entry's reference keeps the object alive until then.
            if (l_wake) l_entry.object->m_condition.broadcast();
        }
    } catch (...) {
        // Leave the calls not yet run queued, in order, for a later run.
        queue_hold l_queue(m_lock);
        a_origin.insert(a_origin.begin(), a_list.begin() + l_index + 1, a_list.end());
        a_list.clear();
        throw;
    }
    a_list.clear();
}

}  // namespace nubase
