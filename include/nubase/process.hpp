// nubase/process.hpp - a child process started at construction and watched by a thread of its own.
//
// `process` forks and executes a program the moment it is constructed. A detached monitor thread
// then feeds the child's standard input from a string and hands its standard output to an
// observer (with `flag_pipes`), reaps the child when it ends, records its status and times, and
// tells the observer once.
//
//   struct watcher : nubase::process::status {
//       std::string out;
//       void stdout_data(const unsigned char* d, unsigned int n) override { out.append(d, d + n); }
//       void finished(nubase::process& p) override { done.post(); }   // on the monitor thread
//       nubase::semaphore done{0};
//   } w;
//   nubase::process p("sort", "/usr/bin/sort", {"-r"}, {}, "", "b\na\n",
//                     nubase::process::flag_pipes, &w);
//   w.done.wait();                      // p.get_status() == 0, w.out == "b\na\n"
//
// Failures to set up raise `es::call` with the source name "lib/nubase/src/darwin/process".
// Signals are only ever sent to the live child: before a successful fork and after the child has
// been reaped `pause`, `resume` and `terminate` do nothing.
#ifndef NUBASE_PROCESS_HPP
#define NUBASE_PROCESS_HPP

#include <atomic>
#include <map>
#include <string>
#include <vector>

#include "nubase/config.hpp"
#include "nubase/sync.hpp"
#include "nubase/thread.hpp"
#include "nubase/timestamp.hpp"

namespace nubase {

// A child process and its monitor. The object must outlive its monitor: destroy it only after
// `finished` has returned, or from inside `finished` itself (the monitor touches nothing after that
// call). Not copyable.
class NUBASE_API process : public thread_base {
  public:
    // Connect the child's standard input and standard output to the parent. Standard error is
    // never redirected.
    static constexpr unsigned int flag_pipes = 1;

    // The observer. Both operations run on the monitor thread; an exception escaping either ends
    // the process (as for any thread's work).
    class NUBASE_API status {
      public:
        virtual ~status();
        // Called once, after the child has been reaped and every field is final.
        virtual void finished(process& a_process) = 0;
        // A piece of the child's standard output, at most 256 bytes. The default ignores it.
        virtual void stdout_data(const unsigned char* a_data, unsigned int a_size);
    };

    // Starts `path` as a child process:
    //  - argument zero is `path`, followed by `args`; the program is executed directly (no shell,
    //    no search of PATH);
    //  - the child's environment is the parent's, with each entry of `environment` whose name and
    //    value are both non-empty set (overwriting); an entry with an empty value is skipped, not
    //    removed;
    //  - a non-empty `working_directory` is entered first (a failure to enter it is ignored);
    //  - with `flag_pipes`, `input` is written to the child's standard input, which is then
    //    closed, and its standard output goes to `observer->stdout_data`. The input is written as
    //    the child takes it, interleaved with reading its output, so a child that floods its
    //    output before reading, or never reads at all, blocks nobody.
    // A program that cannot be executed prints "Failed to start process '<path>' (<reason>)" to
    // standard error and ends with exit code 1, which is then its status.
    // Raises es::call "Failed to create pipe" (line 164) or "Failed to fork process (<reason>)";
    // no child runs then and nothing is left open. The child is started with vfork: the
    // constructing thread waits until it has executed the program (or failed to), and no handler
    // of the host runs in the child meanwhile. `observer` may be null and is not owned.
    process(const std::string& a_id, const std::string& a_path,
            const std::vector<std::string>& a_args,
            const std::map<std::string, std::string>& a_environment,
            const std::string& a_working_directory, const std::string& a_input,
            unsigned int a_flags, status* a_observer);
    // While the monitor still watches the child, stops it and waits until it has let go of this
    // object (its pipe ends are closed; an observer call under way is finished first). The child
    // itself is left running, unwatched and unreaped: end it with `terminate` and wait for
    // `finished` first.
    ~process() override;
    process(const process&) = delete;
    process& operator=(const process&) = delete;

    // The caller's label.
    [[nodiscard]] std::string get_id() const;
    // The child's process id; 0 once it has been reaped.
    [[nodiscard]] int get_pid() const;
    // -1 while the child runs; then the number of the signal that killed it, else its exit code.
    [[nodiscard]] int get_status() const;
    // The wall-clock time of construction, rate 10^6.
    [[nodiscard]] timestamp get_starttime() const;
    // Seconds since construction while the child runs; afterwards its real time.
    [[nodiscard]] double get_uptime() const;
    // The child's real (measured on the monotonic clock), user and system time in seconds; 0
    // until it has been reaped.
    [[nodiscard]] double get_real_time() const;
    [[nodiscard]] double get_user_time() const;
    [[nodiscard]] double get_system_time() const;
    // Additions beside the status above, which keeps its documented form:
    // whether the child ended by a signal (then `get_status()` is the signal's number, which an
    // exit code of the same number cannot be told from); false while it runs;
    [[nodiscard]] bool ended_by_signal() const;
    // the errno of an exec that failed (the child then printed its message and exited 1), 0
    // when the program started; known as soon as the constructor returns;
    [[nodiscard]] int get_start_error() const;
    // the child's peak resident memory in bytes, from the resource usage of its reaping; 0
    // until it has been reaped.
    [[nodiscard]] unsigned long long get_peak_memory() const;

    // Nothing once the child has ended (or before it started). Otherwise: with `cancel_monitor`
    // the monitor is stopped first (nobody then reaps the child or calls the observer: the
    // caller takes over, for example with `waitpid(get_pid(), ...)`); a paused child gets SIGCONT;
    // then SIGTERM. The results of the signals are ignored.
    void terminate(bool a_cancel_monitor);
    // Stops the child with SIGSTOP and marks it paused; nothing once it has ended.
    void pause();
    // Continues it with SIGCONT and clears the mark; nothing once it has ended.
    void resume();

    // The monitor, run on its own thread.
    void operator()() override;

  private:
    // Asked by the monitor's `thread` when it is stopped; the monitor is detached and never
    // stopped that way, and `terminate(bool)` is the child's stop.
    void terminate() override;

    // Sends `a_signal` to the live child, under the mutex so it cannot be reaped meanwhile.
    void signal_child(int a_signal);
    // Reads what the child has written so far and hands it to the observer; false at the end.
    bool read_output();
    // Asks the monitor to let go if it still watches; the caller holds the mutex.
    void cancel_monitor_locked();

    thread m_monitor;
    mutex m_mutex;
    condition m_monitor_left;
    std::string m_id;
    bool m_finished;
    bool m_paused;
    int m_status;
    timestamp m_start;
    unsigned long long m_start_ticks;  // monotonic clock at construction
    double m_real_time;
    double m_user_time;
    double m_system_time;
    bool m_signaled = false;
    int m_start_error = 0;
    unsigned long long m_peak_memory = 0;
    int m_pid;
    std::string m_working_directory;
    std::string m_input;
    int m_out_read;
    int m_out_write;
    int m_in_read;
    int m_in_write;
    unsigned int m_flags;
    status* m_observer;
    bool m_monitoring;         // the monitor runs and may still be stopped
    std::atomic<bool> m_stop;  // a request to the monitor to let go
    int m_wake;                // wakes the monitor for a stop request
    int m_pidfd;               // readable when the child ends; -1 where the kernel has none
};

}  // namespace nubase

#endif  // NUBASE_PROCESS_HPP
