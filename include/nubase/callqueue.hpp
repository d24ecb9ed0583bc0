// nubase/callqueue.hpp - handing calls from any thread to one designated thread.
//
// The call queue is a process-wide singleton. Its thread is whichever thread first calls
// `callqueue::instance()`; that thread executes the queued calls when it calls `run()`. Any
// thread posts a `callqueue_object` (reference counted, so it lives until it has run) and may
// block until it has been executed:
//
//   struct show_timecode : nubase::callqueue_object {
//       nubase::timecode value;
//       void call() override { display(value); }  // runs on the queue's thread
//   };
//   // worker thread:
//   nubase::ptr_refcount<show_timecode> job(new show_timecode);
//   job->value = tc;
//   nubase::callqueue::instance().add_call(job, "show", nubase::callqueue::flag_wait);
//   // queue's thread, in its own loop:
//   while (serving) {
//       q.wait_for_calls(nubase::timestamp(100, 1000));
//       q.run();
//   }
//
// A second list holds exit calls, executed once when the queue's thread calls `exit()`; after
// that the queue refuses new calls for good.
//
// Locks: each object has its own mutex and condition; the queue has one lock for its lists and
// its set of names. An object's mutex is always taken before the queue's lock. `run()` and
// `exit()` hold no queue lock while a call executes, so a call may itself add calls (they run at
// the next `run()`).
//
// Failures raise `es::call` and `es::unsupp` with source "lib/nubase/src/callqueue".
#ifndef NUBASE_CALLQUEUE_HPP
#define NUBASE_CALLQUEUE_HPP

#include <atomic>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "nubase/config.hpp"
#include "nubase/refcount.hpp"
#include "nubase/sync.hpp"

namespace nubase {

// A queued call: subclass it and implement `call()`. The id is the name under which the object
// was last queued. The mutex and condition let a poster wait until the queue's thread has
// executed the call; hosts rarely need them directly.
class NUBASE_API callqueue_object : public object_refcount {
  public:
    callqueue_object();
    ~callqueue_object() override;

    // The work, run on the queue's thread (or at once in the caller, see `add_call`).
    virtual void call() = 0;

    void set_id(const std::string& a_id) { m_id = a_id; }
    const std::string& get_id() const noexcept { return m_id; }

    // The object's own (non-recursive) mutex.
    void lock() const { m_mutex.lock(); }
    void unlock() const { m_mutex.unlock(); }
    // Waits on the object's condition; the caller holds the object's mutex. May wake spuriously.
    void wait() const;
    // Wakes one thread waiting on the object's condition. (`run()` itself wakes every waiter
    // of the object after its call, since one object may be queued by several waiting posters.)
    void signal() const { m_condition.signal(); }

  private:
    friend class callqueue;

    std::string m_id;
    mutex m_mutex;
    condition m_condition;
    // Threads inside `wait()`; guarded by the mutex. `run()` wakes the object's waiters after a
    // call only when there are any.
    mutable int m_waiters = 0;
};

// The process-wide call queue.
class NUBASE_API callqueue {
  public:
    // Flags of `add_call` and `add_exit_call`, combined with `|`; other bits are ignored.
    // unique: drop the call silently if a call was ever queued with this flag under the same
    //         name (in the queue's whole lifetime; names are never forgotten).
    static constexpr unsigned int flag_unique = 2;
    // wait:   from another thread than the queue's, return only after the call has executed.
    static constexpr unsigned int flag_wait = 4;
    // defer:  from the queue's own thread, queue the call instead of executing it at once.
    static constexpr unsigned int flag_defer = 8;

    // The singleton, built on first use; the first caller's thread becomes the queue's thread.
    // Lives until the process exits, and releases the calls still queued then. Posting from other
    // threads while the process is exiting is undefined.
    static callqueue& instance();

    callqueue(const callqueue&) = delete;
    callqueue& operator=(const callqueue&) = delete;

    // Queues a call under `name` (the object's id is set to it first, even when the call is then
    // dropped as a duplicate under `flag_unique`):
    //  - on the queue's thread without `flag_defer`, `call()` executes at once in the caller
    //    (without the object's lock) and its exceptions reach the caller;
    //  - from another thread with `flag_wait`, the object is queued and the caller blocks until
    //    `run()` has executed it (however `call()` ended). When the process may use more than
    //    one processor, the caller first polls for up to 50 microseconds before it sleeps on the
    //    object's condition, which makes a quick hand-off about ten times faster;
    //  - otherwise the object is queued and the call returns.
    // Passing the object by move (`std::move(p)`) spares a count: the queue keeps that reference.
    // A null object raises `es::null` "Cannot add a null call to callqueue" and queues nothing.
    // Raises `es::call` "Cannot add '<name>' call to callqueue: callqueue has already exit()ed."
    // (line 83) after `exit()`.
    void add_call(ptr_refcount<callqueue_object> a_object, const std::string& a_name,
                  unsigned int a_flags);

    // Queues an exit call under `name`, executed by `exit()`. `flag_unique` applies (against the
    // same names as `add_call`); `flag_wait` and `flag_defer` have no effect. Raises `es::call`
    // "Cannot add call to callqueue: callqueue has already exit()ed." (line 143) after `exit()`.
    void add_exit_call(ptr_refcount<callqueue_object> a_object, const std::string& a_name,
                       unsigned int a_flags);

    // Executes, in arrival order, the calls queued when it starts; calls added meanwhile wait for
    // the next `run()`. Each call runs under its object's mutex; an exception from it is
    // discarded and its waiter released all the same. Works after `exit()` too. From the queue's
    // thread only: elsewhere raises `es::unsupp` "callqueue::run() called from different thread"
    // (line 166).
    void run();

    // Marks the queue exited (both add operations refuse from now on) and executes the exit calls
    // as `run()` executes calls. Ordinary calls still queued stay queued for a later `run()`. From
    // the queue's thread only: elsewhere raises `es::unsupp` "callqueue::exit() called from
    // different thread" (line 196).
    void exit();

    // Whether `exit()` has been called. Never throws.
    bool exited() const noexcept;

    // Blocks the queue's thread until calls are pending or `timeout` (relative) has passed on the
    // monotonic clock, so that setting the wall clock neither shortens nor stretches it; true
    // when calls are pending. Lets the queue's thread sleep between `run()`s instead of polling.
    // Exit calls do not count. Not a cancellation point: a cancellation request takes effect at
    // the next one after the wait. From the queue's thread only:
    // elsewhere raises `es::unsupp` "callqueue::wait_for_calls() called from different thread".
    bool wait_for_calls(const timestamp& a_timeout);

  private:
    // One queued call, holding one reference to its object (taken by `append`, given up once
    // the call has run). A plain pair, so that growing the arrays moves no counts. `done` is the
    // flag of a waiting poster (null when nobody waits), set under the object's mutex once the
    // call has executed.
    struct entry {
        callqueue_object* object;
        std::atomic<bool>* done;
    };

    callqueue();
    ~callqueue();

    void append(std::vector<entry>& a_list, ptr_refcount<callqueue_object> a_reference,
                std::atomic<bool>* a_done);
    // True when `flags` asks for a unique name already seen (the name is recorded otherwise).
    bool is_duplicate(const std::string& a_name, unsigned int a_flags);
    bool seen_before(const std::string& a_name);
    // Executes the calls of a list taken from `origin` (the pending or the exit calls), to which
    // the calls not yet run return should the thread end inside a call.
    void execute(std::vector<entry>& a_list, std::vector<entry>& a_origin);

    std::vector<entry> m_pending;
    // The queue's lock, guarding the lists, the name set and `m_sleeping`: one word, taken
    // inline without a call into the C library (0 free, 1 held, 2 held with sleepers).
    std::atomic<std::uint32_t> m_lock{0};
    std::vector<entry> m_exit_calls;
    // An empty array that keeps its capacity between runs; `run()` swaps it in for posting.
    // Used by the queue's thread only.
    std::vector<entry> m_spare;
    // Set once by `exit()`; read by every add operation. An atomic rather than a flag under a
    // mutex of its own: the same ordering, without a lock on every post.
    std::atomic<bool> m_exited;
    std::set<std::string> m_unique_names;
    // The queue's thread sleeps in `wait_for_calls` on this word while `m_sleeping` is set; a
    // poster that finds it set clears it, changes the word and wakes the thread.
    std::atomic<std::uint32_t> m_arrivals{0};
    bool m_sleeping;
};

}  // namespace nubase

#endif  // NUBASE_CALLQUEUE_HPP
