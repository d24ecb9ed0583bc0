// Child processes: vfork and exec, the pipes, and the monitor thread that feeds, reads and reaps.
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <mutex>

#include "nubase/process.hpp"
#include "posix/sys_error.hpp"

extern char** environ;

namespace nubase {

namespace {
constexpr char k_source[] = "lib/nubase/src/darwin/process";

constexpr unsigned k_piece = 256;       // the largest piece handed to the observer
constexpr int k_poll_timeout_ms = 100;  // how often a child that keeps its output open is checked

void close_fd(int& a_fd) noexcept {
    if (a_fd >= 0) ::close(a_fd);
    a_fd = -1;
}

// Moves a pipe end that landed on a standard descriptor (the host had closed it) to 3 or above,
// so the child's dup2 onto 0 and 1 can never overwrite one end with the other.
bool lift_fd(int& a_fd) noexcept {
    if (a_fd > 2) return true;
    const int l_new = ::fcntl(a_fd, F_DUPFD_CLOEXEC, 3);
    if (l_new == -1) return false;
    ::close(a_fd);
    a_fd = l_new;
    return true;
}

// Creates a close-on-exec pipe with both ends above the standard descriptors; the ends are only
// inherited by the child through its dup2 onto 0 and 1, never by other children.
bool make_pipe(int& a_read, int& a_write) noexcept {
    int l_ends[2];
    if (::pipe2(l_ends, O_CLOEXEC) == -1) return false;
    a_read = l_ends[0];
    a_write = l_ends[1];
    if (lift_fd(a_read) && lift_fd(a_write)) return true;
    close_fd(a_read);
    close_fd(a_write);
    return false;
}

// The child's environment: the parent's, with the given non-empty entries set.
std::vector<std::string> child_environment(const std::map<std::string, std::string>& a_changes) {
    std::vector<std::string> l_env;
    for (char** l_entry = environ; l_entry && *l_entry; ++l_entry)
        l_env.emplace_back(*l_entry);
    for (const auto& l_change : a_changes) {
        const std::string& l_name = l_change.first;
        if (l_name.empty() || l_change.second.empty() || l_name.find('=') != std::string::npos)
            continue;
        const std::string l_assignment = l_name + "=" + l_change.second;
        bool l_replaced = false;
        for (auto& l_entry : l_env) {
            if (l_entry.compare(0, l_name.size() + 1, l_assignment, 0, l_name.size() + 1) == 0) {
                l_entry = l_assignment;
                l_replaced = true;
            }
        }
        if (!l_replaced) l_env.push_back(l_assignment);
    }
    return l_env;
}

std::vector<char*> c_strings(std::vector<std::string>& a_strings) {
    std::vector<char*> l_pointers;
    l_pointers.reserve(a_strings.size() + 1);
    for (auto& l_s : a_strings)
        l_pointers.push_back(&l_s[0]);
    l_pointers.push_back(nullptr);
    return l_pointers;
}

// Appends `a_text` to the message being built in the child (no allocation after fork).
void append(char* a_message, std::size_t a_size, std::size_t& a_used, const char* a_text) noexcept {
    while (*a_text != '\0' && a_used + 1 < a_size)
        a_message[a_used++] = *a_text++;
    a_message[a_used] = '\0';
}

// What the child needs, all prepared before it exists.
struct child_plan {
    const char* path;
    char* const* argv;
    char* const* envp;
    const char* working_directory;
    bool pipes;
    int in_read;
    int out_write;
    const sigset_t* signal_mask;  // the parent's own, to be restored for the program
    int report;                   // a close-on-exec pipe end for the errno of a failed exec, or -1
};

// The child's side, between the fork and the exec. Only async-signal-safe calls and no writes
// outside this frame: the child shares the parent's memory until it executes or exits. A failed
// exec writes its errno to the report pipe, which a successful one closes unwritten.
[[noreturn]] __attribute__((noinline)) void run_child(const child_plan& a_plan) noexcept {
    // Every signal is blocked on arrival here. The host's handlers must not run in memory the
    // parent still uses: handled signals go back to their default before the mask is restored.
    for (int l_sig = 1; l_sig < NSIG; ++l_sig) {
        struct sigaction l_action;
        if (::sigaction(l_sig, nullptr, &l_action) == 0 && l_action.sa_handler != SIG_IGN &&
            l_action.sa_handler != SIG_DFL) {
            l_action.sa_handler = SIG_DFL;
            l_action.sa_flags = 0;
            ::sigaction(l_sig, &l_action, nullptr);
        }
    }
    ::pthread_sigmask(SIG_SETMASK, a_plan.signal_mask, nullptr);
    if (a_plan.pipes) {
        // The originals are close-on-exec and vanish with the exec.
        ::dup2(a_plan.in_read, 0);
        ::dup2(a_plan.out_write, 1);
    }
    if (a_plan.working_directory[0] != '\0' && ::chdir(a_plan.working_directory) != 0) {
        // Ignored: the program starts in the parent's directory.
    }
    ::execve(a_plan.path, a_plan.argv, a_plan.envp);
    const int l_err = errno;
    if (a_plan.report != -1 && ::write(a_plan.report, &l_err, sizeof l_err) < 0) {
        // The parent then sees no start error; the message below still says why.
    }
    char l_message[1024];
    std::size_t l_used = 0;
    append(l_message, sizeof l_message, l_used, "Failed to start process '");
    append(l_message, sizeof l_message, l_used, a_plan.path);
    append(l_message, sizeof l_message, l_used, "' (");
    const char* l_reason = ::strerrordesc_np(l_err);
    append(l_message, sizeof l_message, l_used, l_reason ? l_reason : "Unknown error");
    append(l_message, sizeof l_message, l_used, ")\n");
    if (::write(2, l_message, l_used) < 0) {
        // Nothing more can be reported.
    }
    ::_exit(1);
}

// The seconds of a resource-usage time.
double seconds(const timeval& a_tv) noexcept {
    return static_cast<double>(a_tv.tv_sec) + static_cast<double>(a_tv.tv_usec) / 1000000.0;
}
}  // namespace

process::status::~status() = default;

void process::status::stdout_data(const unsigned char*, unsigned int) {}

process::process(const std::string& a_id, const std::string& a_path,
                 const std::vector<std::string>& a_args,
                 const std::map<std::string, std::string>& a_environment,
                 const std::string& a_working_directory, const std::string& a_input,
                 unsigned int a_flags, status* a_observer)
    : m_id(a_id),
      m_finished(false),
      m_paused(false),
      m_status(-1),
      m_start(timestamp_with_utc(0, 0)),
      m_start_ticks(time_now()),
      m_real_time(0),
      m_user_time(0),
      m_system_time(0),
      m_pid(-1),
      m_working_directory(a_working_directory),
      m_input(a_input),
      m_out_read(-1),
      m_out_write(-1),
      m_in_read(-1),
      m_in_write(-1),
      m_flags(a_flags),
      m_observer(a_observer),
      m_monitoring(false),
      m_stop(false),
      m_wake(-1),
      m_pidfd(-1) {
    const bool l_pipes = (m_flags & flag_pipes) != 0;
    if (l_pipes) {
        if (!make_pipe(m_out_read, m_out_write))
            sys::raise_call(k_source, 164, "Failed to create pipe");
        if (!make_pipe(m_in_read, m_in_write)) {
            close_fd(m_out_read);
            close_fd(m_out_write);
            sys::raise_call(k_source, 164, "Failed to create pipe");
        }
    }

    // Everything the child needs is built before the fork: after it, in a threaded program, the
    // child may only make async-signal-safe calls.
    std::vector<std::string> l_argv_text;
    l_argv_text.reserve(a_args.size() + 1);
    l_argv_text.push_back(a_path);
    l_argv_text.insert(l_argv_text.end(), a_args.begin(), a_args.end());
    std::vector<std::string> l_env_text = child_environment(a_environment);
    const std::vector<char*> l_argv = c_strings(l_argv_text);
    const std::vector<char*> l_envp = c_strings(l_env_text);

    // The report pipe tells the parent why an exec failed, whether the child shares its memory
    // (vfork) or not (a fork, as sanitizers make of vfork).
    int l_report_read = -1, l_report_write = -1;
    if (!make_pipe(l_report_read, l_report_write)) l_report_read = l_report_write = -1;

    sigset_t l_all, l_old;
    sigfillset(&l_all);
    ::pthread_sigmask(SIG_SETMASK, &l_all, &l_old);
    const child_plan l_plan{
        a_path.c_str(), l_argv.data(), l_envp.data(), m_working_directory.c_str(),
        l_pipes,        m_in_read,     m_out_write,   &l_old, l_report_write};
    // The parent waits while the child shares its memory until the exec, which is what makes
    // starting a child cheap; the child only runs `run_child` on its own stack frame.
    const pid_t l_pid = ::vfork();
    if (l_pid == 0) run_child(l_plan);
    const int l_fork_err = errno;
    ::pthread_sigmask(SIG_SETMASK, &l_old, nullptr);
    if (l_report_write != -1) {
        close_fd(l_report_write);
        // Empty when the exec succeeded (the pipe closed with it), else the exec's errno.
        int l_err = 0;
        ssize_t l_got;
        while ((l_got = ::read(l_report_read, &l_err, sizeof l_err)) == -1 && errno == EINTR) {
        }
        if (l_pid != -1 && l_got == static_cast<ssize_t>(sizeof l_err)) m_start_error = l_err;
        close_fd(l_report_read);
    }

    if (l_pipes) {
        close_fd(m_out_write);
        close_fd(m_in_read);
    }
    if (l_pid == -1) {
        close_fd(m_out_read);
        close_fd(m_in_write);
        sys::raise_call(k_source, __LINE__, "Failed to fork process (%s)",
                        sys::error_text(l_fork_err).c_str());
    }

    std::lock_guard<const mutex> l_hold(m_mutex);
    m_pid = l_pid;
    try {
        m_wake = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
        if (m_wake == -1) sys::raise_call(k_source, __LINE__, "Failed to create pipe");
        // Readable when the child ends (kernels since 5.3); without it the end is polled.
        m_pidfd = static_cast<int>(::syscall(SYS_pidfd_open, l_pid, 0));
        m_monitor.start(*this);
    } catch (...) {
        // Nobody would watch the child: end it, reap it and report.
        ::kill(l_pid, SIGKILL);
        while (::waitpid(l_pid, nullptr, 0) == -1 && errno == EINTR) {
        }
        m_pid = 0;
        close_fd(m_out_read);
        close_fd(m_in_write);
        close_fd(m_wake);
        close_fd(m_pidfd);
        throw;
    }
    m_monitoring = true;
    m_monitor.detach();
}

process::~process() {
    {
        std::lock_guard<const mutex> l_hold(m_mutex);
        cancel_monitor_locked();
        while (m_monitoring)
            m_monitor_left.wait(m_mutex);
    }
    close_fd(m_wake);
}

std::string process::get_id() const {
    return m_id;
}

int process::get_pid() const {
    std::lock_guard<const mutex> l_hold(m_mutex);
    return m_pid;
}

int process::get_status() const {
    std::lock_guard<const mutex> l_hold(m_mutex);
    return m_status;
}

timestamp process::get_starttime() const {
    return m_start;
}

double process::get_uptime() const {
    std::lock_guard<const mutex> l_hold(m_mutex);
    if (m_pid == 0) return m_real_time;
    return static_cast<double>(time_now() - m_start_ticks) / static_cast<double>(time_resolution());
}

double process::get_real_time() const {
    std::lock_guard<const mutex> l_hold(m_mutex);
    return m_real_time;
}

double process::get_user_time() const {
    std::lock_guard<const mutex> l_hold(m_mutex);
    return m_user_time;
}

double process::get_system_time() const {
    std::lock_guard<const mutex> l_hold(m_mutex);
    return m_system_time;
}

bool process::ended_by_signal() const {
    std::lock_guard<const mutex> l_hold(m_mutex);
    return m_signaled;
}

int process::get_start_error() const {
    std::lock_guard<const mutex> l_hold(m_mutex);
    return m_start_error;
}

unsigned long long process::get_peak_memory() const {
    std::lock_guard<const mutex> l_hold(m_mutex);
    return m_peak_memory;
}

void process::cancel_monitor_locked() {
    if (!m_monitoring) return;
    m_stop.store(true);
    const std::uint64_t l_one = 1;
    if (::write(m_wake, &l_one, sizeof l_one) < 0) {
        // The counter cannot overflow from one write per request; the flag is seen regardless
        // at the next 100 ms check.
    }
}

void process::terminate(bool a_cancel_monitor) {
    std::lock_guard<const mutex> l_hold(m_mutex);
    if (m_finished || m_pid <= 0) return;
    if (a_cancel_monitor) cancel_monitor_locked();
    if (m_paused) ::kill(m_pid, SIGCONT);
    ::kill(m_pid, SIGTERM);
}

void process::signal_child(int a_signal) {
    if (m_pid > 0) ::kill(m_pid, a_signal);
}

void process::pause() {
    std::lock_guard<const mutex> l_hold(m_mutex);
    if (m_pid <= 0) return;
    signal_child(SIGSTOP);
    m_paused = true;
}

void process::resume() {
    std::lock_guard<const mutex> l_hold(m_mutex);
    if (m_pid <= 0) return;
    signal_child(SIGCONT);
    m_paused = false;
}

void process::terminate() {}

bool process::read_output() {
    unsigned char l_piece[k_piece];
    for (;;) {
        const ssize_t l_count = ::read(m_out_read, l_piece, sizeof l_piece);
        if (l_count > 0) {
            if (m_observer) m_observer->stdout_data(l_piece, static_cast<unsigned int>(l_count));
            continue;
        }
        if (l_count == -1 && errno == EINTR) continue;
        // 0 is the end of the output; EAGAIN means nothing more for now.
        return l_count == -1 && errno == EAGAIN;
    }
}

void process::operator()() {
    // Waits until the constructor has finished starting this thread.
    { std::lock_guard<const mutex> l_hold(m_mutex); }

    // A stop request (destructor, `terminate(true)`) makes the monitor let go: it closes its pipe
    // ends and tells a waiting destructor that this object is free.
    const auto l_let_go = [this] {
        close_fd(m_out_read);
        close_fd(m_in_write);
        close_fd(m_pidfd);
        std::lock_guard<const mutex> l_hold(m_mutex);
        m_monitoring = false;
        m_monitor_left.broadcast();
    };

    // A child that ends without reading its input must not kill the host with SIGPIPE: the
    // monitor blocks the signal for itself and sees EPIPE instead.
    sigset_t l_sigpipe;
    sigemptyset(&l_sigpipe);
    sigaddset(&l_sigpipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &l_sigpipe, nullptr);

    const int l_pid = m_pid;
    if (m_flags & flag_pipes) {
        ::fcntl(m_out_read, F_SETFL, ::fcntl(m_out_read, F_GETFL) | O_NONBLOCK);
        ::fcntl(m_in_write, F_SETFL, ::fcntl(m_in_write, F_GETFL) | O_NONBLOCK);
        std::size_t l_written = 0;
        if (m_input.empty()) close_fd(m_in_write);
        bool l_output_open = true;
        for (;;) {
            if (!l_output_open && m_in_write < 0) break;  // nothing left to move
            pollfd l_fds[3];
            nfds_t l_count = 0;
            l_fds[l_count++] = pollfd{m_wake, POLLIN, 0};
            if (l_output_open) l_fds[l_count++] = pollfd{m_out_read, POLLIN, 0};
            if (m_in_write >= 0) l_fds[l_count++] = pollfd{m_in_write, POLLOUT, 0};
            if (::poll(l_fds, l_count, k_poll_timeout_ms) > 0) {
                if (m_stop.load()) return l_let_go();
                for (nfds_t l_i = 1; l_i < l_count; ++l_i) {
                    if (l_fds[l_i].revents == 0) continue;
                    if (l_fds[l_i].fd == m_out_read) {
                        l_output_open = read_output();
                    } else {
                        const ssize_t l_n = ::write(m_in_write, m_input.data() + l_written,
                                                    m_input.size() - l_written);
                        if (l_n > 0) l_written += static_cast<std::size_t>(l_n);
                        if (l_written == m_input.size() ||
                            (l_n == -1 && errno != EAGAIN && errno != EINTR))
                            close_fd(m_in_write);  // all given, or the child closed its input
                    }
                }
            }
            // A child whose output stays open (a grandchild holds it) is still seen to end.
            siginfo_t l_info{};
            if (::waitid(P_PID, static_cast<id_t>(l_pid), &l_info, WEXITED | WNOHANG | WNOWAIT) ==
                    0 &&
                l_info.si_pid != 0)
                break;
        }
    }

    // Wait for the end without reaping, so the id stays the child's until the reap below. The
    // child's process descriptor wakes the wait at its end; without one the end is checked
    // every 100 ms. A stop request wakes it too.
    siginfo_t l_info{};
    int l_waited;
    for (;;) {
        l_info = siginfo_t{};
        l_waited = ::waitid(P_PID, static_cast<id_t>(l_pid), &l_info, WEXITED | WNOHANG | WNOWAIT);
        if (l_waited == -1 && errno == EINTR) continue;
        if (l_waited == -1 || l_info.si_pid != 0) break;
        pollfd l_fds[2] = {{m_wake, POLLIN, 0}, {m_pidfd, POLLIN, 0}};
        ::poll(l_fds, m_pidfd >= 0 ? 2 : 1, m_pidfd >= 0 ? -1 : k_poll_timeout_ms);
        if (m_stop.load()) return l_let_go();
    }
    if (m_flags & flag_pipes) {
        if (m_out_read >= 0) read_output();
        close_fd(m_out_read);
        close_fd(m_in_write);
    }

    {
        std::lock_guard<const mutex> l_hold(m_mutex);
        // From here on the run completes: a stop request that comes now is not acted upon.
        close_fd(m_pidfd);
        m_monitoring = false;
        m_monitor_left.broadcast();

        int l_wait_status = 0;
        rusage l_usage{};
        pid_t l_reaped = -1;
        if (l_waited == 0) {
            while ((l_reaped = ::wait4(l_pid, &l_wait_status, 0, &l_usage)) == -1 &&
                   errno == EINTR) {
            }
        }
        if (l_reaped <= 0) {
            // Someone else reaped the child (SIGCHLD ignored, another waiter): its id is no
            // longer ours to signal. The run stays unfinished and the observer is not called.
            const int l_err = errno;
            m_pid = 0;
            std::fprintf(stderr, "wait4 returned error: %s\n", sys::error_text(l_err).c_str());
            return;
        }
        m_finished = true;
        m_paused = false;
        m_signaled = (l_wait_status & 0x7F) != 0;
        m_status = m_signaled ? (l_wait_status & 0x7F) : ((l_wait_status >> 8) & 0xFF);
        m_peak_memory = static_cast<unsigned long long>(l_usage.ru_maxrss) * 1024;  // KiB
        m_real_time = static_cast<double>(time_now() - m_start_ticks) /
                      static_cast<double>(time_resolution());
        m_user_time = seconds(l_usage.ru_utime);
        m_system_time = seconds(l_usage.ru_stime);
        m_pid = 0;
    }
    // The last use of this object: the observer may destroy it.
    if (status* l_observer = m_observer) l_observer->finished(*this);
}

}  // namespace nubase
