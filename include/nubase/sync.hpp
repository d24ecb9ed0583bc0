// nubase/sync.hpp - mutexes, condition variables, read-write locks and counting semaphores.
//
// Thin, strict wrappers over the POSIX thread primitives. Every failure of the underlying call is
// raised as `es::call` with a fixed English message, the source name of the raising family
// ("lib/nubase/src/mutex", "lib/nubase/src/condition", "lib/nubase/src/rwlock") and a fixed line;
// the two expected outcomes of a non-blocking or timed operation, busy and timed out, are returned
// as `false` and never raised. Lock operations are `const`, so an object can be locked through a
// const reference; they also fit the standard guards (`std::lock_guard<const nubase::mutex>`).
//
//   nubase::mutex m("jobs");
//   nubase::condition ready;
//   std::lock_guard<const nubase::mutex> hold(m);
//   while (!have_job)
//       if (!ready.wait(m, nubase::timestamp(250, 1000))) break;  // 250 ms, false on time-out
//
// Time-outs are `timestamp` values on the wall clock (the clock of `pthread_cond_timedwait`):
// an absolute dead-line, or a relative time-out added to `timestamp_with_utc(0, 0)` (rate 10^6)
// with the least-common-multiple sum of timestamp.hpp. That sum is exact but wraps silently when
// the time-out's rate shares few factors with 10^6 (a rate of 2^32 already wraps); give relative
// time-outs at a rate that divides 10^9 (1, 1000, 10^6, 10^9).
//
// The POSIX objects are kept in opaque, suitably aligned storage inside each object, so this
// header does not include <pthread.h>; the implementation checks the sizes at compile time. None
// of the classes can be copied or moved (the POSIX objects must not change address). Destroying
// an object that a thread still holds or waits on is undefined, as for the POSIX objects.
#ifndef NUBASE_SYNC_HPP
#define NUBASE_SYNC_HPP

#include <atomic>
#include <string>

#include "nubase/config.hpp"
#include "nubase/es.hpp"
#include "nubase/timestamp.hpp"

namespace nubase {

class condition;

// A POSIX mutex with an optional name that failure messages carry.
//
// A recursive mutex may be locked again by the thread that holds it and must be unlocked as many
// times. The others have the platform's default type: on this platform a second lock by the
// holder deadlocks rather than reporting, and only a recursive mutex reports an unlock by a
// thread that does not hold it. The deadlock and not-owner messages are raised wherever the
// platform reports those errors.
class NUBASE_API mutex {
  public:
    // An unnamed mutex; recursive exactly when the argument is true. Raises `es::call` "mutex init
    // failed" (line 65) if the mutex cannot be made; the attribute object is freed on every path.
    explicit mutex(bool a_recursive = false);
    // A named mutex with the default attributes. Raises `es::call` "mutex init failed" (line 75).
    explicit mutex(const std::string& a_name);
    // The same for a literal: `mutex("jobs")` is named (without this overload a `const char*`
    // would convert to `bool` and make an unnamed recursive mutex).
    explicit mutex(const char* a_name) : mutex(std::string(a_name)) {}
    // Destroys the POSIX mutex, ignoring its result.
    ~mutex();

    mutex(const mutex&) = delete;
    mutex& operator=(const mutex&) = delete;

    // Blocks until the calling thread holds the mutex. Raises `es::call` (source
    // "lib/nubase/src/mutex") with, where `<name>` is the name (empty for an unnamed mutex, which
    // leaves two blanks before the parenthesis):
    //   deadlock detected (line 119)  "A deadlock would occur if the thread blocked waiting for
    //                                  mutex <name> (lock)"
    //   invalid mutex (line 121)      "The value specified by mutex <name> is invalid (lock)"
    //   anything else (line 123)      "Undocumented mutex error (lock)"
    void lock() const;

    // Releases the mutex. Raises `es::call` with
    //   not held by the caller (136)  "The current thread does not hold a lock on mutex <name>
    //                                  (unlock)"
    //   invalid mutex (line 138)      "The value specified by mutex <name> is invalid (unlock)"
    //   anything else (line 140)      "Undocumented mutex error (unlock)"
    void unlock() const;

    // Takes the mutex if it is free: true when taken, false when it is busy (held by another
    // thread, or by the caller for a non-recursive mutex). Never blocks. Raises `es::call`
    //   invalid mutex (line 103)      "The value specified by mutex is invalid (trylock)" (no name)
    //   anything else (line 105)      "Undocumented mutex error (trylock)"
    bool trylock() const;

    // The name given at construction; empty for the unnamed forms.
    const std::string& name() const noexcept { return m_name; }

    // std::mutex spelling, so that std::unique_lock and std::scoped_lock accept the class.
    bool try_lock() const { return trylock(); }

  private:
    friend class condition;
    void* native() const noexcept { return const_cast<unsigned char*>(m_native); }

    alignas(8) unsigned char m_native[48];
    std::string m_name;
};

// A POSIX condition variable with the default attributes (wall clock).
class NUBASE_API condition {
  public:
    // Raises `es::call` "condition init failed" (source "lib/nubase/src/condition", line 19).
    condition();
    // Destroys the POSIX condition, ignoring its result.
    ~condition();

    condition(const condition&) = delete;
    condition& operator=(const condition&) = delete;

    // Wakes one waiter / every waiter; nothing when none waits. Raise `es::call` "condition
    // signal failed" (line 43) / "condition broadcast failed" (line 34).
    void signal() const;
    void broadcast() const;

    // Releases `m`, which the caller holds, until signalled, and takes it again before returning.
    // Wakes may be spurious: wait for a predicate in a loop. Raises `es::call` "condition wait
    // failed" (line 77).
    void wait(const mutex& a_mutex) const;

    // As `wait`, up to the absolute wall-clock time `deadline` (a dead-line in the past times out
    // at once). True when woken, false when the dead-line passed. A nanosecond part that rounds
    // up to a whole second is carried into the seconds before the wait, on purpose, since the
    // system call refuses a nanosecond part of one second or more. Raises `es::call` "condition timedwait
    // was interrupted by signal" (line 58) on EINTR and "condition timedwait error" (line 60) on
    // any other failure.
    bool wait_abs(const mutex& a_mutex, const timestamp& a_deadline) const;

    // As `wait_abs` with the dead-line now (`timestamp_with_utc(0, 0)`, rate 10^6) plus
    // `timeout`, added with the least-common-multiple sum. Also raises what `timestamp_with_utc`
    // raises.
    bool wait(const mutex& a_mutex, const timestamp& a_timeout) const;

  private:
    alignas(8) unsigned char m_native[48];
};

// A POSIX read-write lock with the default attributes: many readers or one writer. Raises
// `es::call` with source "lib/nubase/src/rwlock".
class NUBASE_API rwlock {
  public:
    // Raises "rwlock init failed" (line 18).
    rwlock();
    // Destroys the POSIX lock, ignoring its result.
    ~rwlock();

    rwlock(const rwlock&) = delete;
    rwlock& operator=(const rwlock&) = delete;

    // Blocks for a shared (read) or exclusive (write) hold. Any failure raises "rwlock rdlock
    // error" (line 65) / "rwlock wrlock error" (line 74); taking a lock that would deadlock on the
    // caller's own write hold is such a failure on this platform.
    void lock_rd() const;
    void lock_wr() const;
    // Releases the caller's hold of either kind. Raises "rwlock unlock error" (line 83).
    void unlock() const;
    // True when taken, false when busy. Other failures raise "rwlock tryrdlock error" (line 38) /
    // "rwlock trywrlock error" (line 54).
    bool trylock_rd() const;
    bool trylock_wr() const;

  private:
    alignas(8) unsigned char m_native[56];
};

// A counting semaphore: a plain mutex, a condition and a signed value changed only under the
// mutex. Every operation that takes the mutex releases it again if an exception passes, and
// raises what its mutex and condition raise.
//
//   nubase::semaphore items(0);
//   // producer: items.post();
//   // consumer: if (!items.wait(nubase::timestamp(2, 1))) give_up();  // 2 s
class NUBASE_API semaphore {
  public:
    // Makes the mutex and the condition (if the condition cannot be made the mutex is destroyed
    // before the exception leaves) and sets the value; any value, negative ones included.
    explicit semaphore(int a_value);

    semaphore(const semaphore&) = delete;
    semaphore& operator=(const semaphore&) = delete;

    // Adds one and wakes one waiter.
    void post();
    // Adds n and wakes every waiter.
    void post(int a_n);
    // Sets the value and wakes every waiter; `reset(0)` withdraws every unit posted.
    void reset(int a_value);

    // Blocks until the value is positive, then takes one unit.
    void wait();
    // Takes one unit if one is available and the mutex is free; never blocks, not even on its
    // own mutex (a busy mutex gives false at once).
    bool trywait();
    // Waits for a unit until the absolute wall-clock `deadline`; true with one unit taken, false
    // without. The time-out wins: once the wait has timed out the result is false even if a unit
    // was posted while the mutex was being taken back, and that unit stays for the next waiter.
    bool wait_abs(const timestamp& a_deadline);
    // As `wait_abs` with the dead-line now plus `timeout`, computed before the mutex is taken.
    bool wait(const timestamp& a_timeout);

    // The value, read without the mutex (a snapshot unless the caller holds `get_mutex()`).
    int get_value() const noexcept { return m_value.load(std::memory_order_relaxed); }
    // The parts, for callers that build their own waits on the value.
    const mutex& get_mutex() const noexcept { return m_mutex; }
    const condition& get_condition() const noexcept { return m_condition; }

  private:
    mutex m_mutex;
    condition m_condition;
    // Written only under m_mutex; atomic so that `get_value` may read it from anywhere.
    std::atomic<int> m_value;
};

}  // namespace nubase

#endif  // NUBASE_SYNC_HPP
