// nubase/thread.hpp - running a work object on its own POSIX thread.
//
// A `thread_base` is the work; a `thread` runs it on a new thread and owns that thread's
// lifetime: destroying or restarting the `thread` asks the work to stop (`terminate()`) and waits
// for it. The work object is not owned and must outlive its `thread`.
//
//   struct ticker : nubase::thread_base {
//       std::atomic<bool> stop{false};
//       void terminate() override { stop = true; }
//       void operator()() override { while (!stop) tick(); }
//   };
//   ticker work;
//   {
//       nubase::thread t(work);  // runs work() on a new thread
//   }                            // work.terminate(), then join
//
// An exception escaping `operator()()` is fatal to the process: `ds::abort` prints
// "exception: '<what>' at '<file>:<line>'; '<msg>'" for an `es` exception (source
// "lib/nubase/src/thread", line 47) and "exception: 'unknown exception' at [ n/a:0 ]; 'n/a'" for
// any other (line 51). Thread exit and cancellation (`thread::exit`, `cancel`) are not exceptions
// of the work and end only the thread.
//
// Failures of the POSIX calls raise `es::call` with source "lib/nubase/src/thread". The POSIX
// handle is kept in opaque storage, so this header does not include <pthread.h>.
#ifndef NUBASE_THREAD_HPP
#define NUBASE_THREAD_HPP

#include "nubase/config.hpp"
#include "nubase/es.hpp"

namespace nubase {

// The work a `thread` runs.
class NUBASE_API thread_base {
  public:
    virtual ~thread_base();
    // A request to stop, made from the controlling thread while `operator()()` runs on the
    // worker, so it must be thread-safe (set an atomic flag, post a semaphore). The default does
    // nothing: work that does not loop simply finishes.
    virtual void terminate();
    // The work, run on the new thread.
    virtual void operator()() = 0;
};

// The owner of one POSIX thread running a `thread_base`. Idle (nothing attached), running (work
// and handle set) or detached; a work whose `operator()()` has returned stays attached until it is
// joined or the object destroyed. The members are not locked: one controlling thread uses the
// object.
class NUBASE_API thread {
  public:
    // Idle.
    thread() noexcept;
    // Attaches `work` and starts it at once, as `start`.
    explicit thread(thread_base& a_work);
    // If work is attached, stops it as `start` does. Destroyed by its own thread (from inside the
    // work), the thread is detached instead and left to finish alone. During stack unwinding the
    // thread is also cancelled, so that the stop does not wait for the work's next check. The
    // results of cancel and join are ignored; an exception from `terminate()` ends the process
    // (`std::terminate`).
    ~thread();

    thread(const thread&) = delete;
    thread& operator=(const thread&) = delete;

    // Stops whatever runs (terminate, then join; a detached thread is not joined again), attaches
    // `work` and creates a thread with default attributes running it. Raises `es::call` "thread
    // create failed" (line 62); the work then stays attached and no thread runs.
    void start(thread_base& a_work);

    // Waits for the thread to finish and returns the object to idle. Nothing when there is no
    // thread or when called from the thread itself. Raises `es::call` "thread join failed"
    // (line 151), also for a detached thread, which cannot be joined.
    void join();

    // Lets the thread finish alone; the work stays attached but is never joined. The destructor
    // still calls its `terminate()`. Nothing when there is no thread.
    void detach() noexcept;

    // Asks the thread to be cancelled at its next cancellation point (`cancel_point`, blocking
    // waits). Raises `es::call` "thread cancel failed" (line 173). On a detached thread, call it
    // only while the thread is known to run.
    void cancel();

    // Sends signal `sig` to the thread; nothing when there is no thread. Raises `es::call` "thread
    // signal failed" (line 185). On a detached thread, as for `cancel`.
    void signal(int a_sig);

    // Gives up the processor. Raises `es::call` "thread yield failed" (line 100).
    static void yield();
    // Ends the calling thread at once, with the unwinding of its stack.
    [[noreturn]] static void exit();
    // A cancellation point: a pending cancel of the calling thread takes effect here.
    static void cancel_point();

    // True while a thread is attached and not yet joined (running, finished or detached).
    bool running() const noexcept;

  private:
    // The destructor's stop: terminate the work, then cancel (while unwinding) and join; or
    // detach when called from the thread itself.
    void stop() noexcept;

    thread_base* m_work;
    // The pthread_t, or all zero bytes when there is none.
    alignas(8) unsigned char m_handle[8];
    // Set by `detach`: the handle may no longer be joined or cancelled by the destructor.
    bool m_detached;
};

}  // namespace nubase

#endif  // NUBASE_THREAD_HPP
