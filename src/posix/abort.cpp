// Fatal stop through SIGABRT.
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "nubase/es.hpp"
#include "posix/stop.hpp"

namespace nubase {
namespace ds {
namespace detail {

void stop_process() noexcept {
    // Closing the standard streams flushes whatever the process had buffered.
    std::fclose(stdin);
    std::fclose(stdout);
    std::fclose(stderr);

    sigset_t l_mask;
    sigfillset(&l_mask);
    sigdelset(&l_mask, SIGABRT);
    sigprocmask(SIG_SETMASK, &l_mask, nullptr);
    const bool l_first_raised = std::raise(SIGABRT) == 0;

    // Still alive: a handler caught the signal. Restore the default action and raise again.
    struct sigaction l_action {};
    l_action.sa_handler = SIG_DFL;
    l_action.sa_flags = 0;
    sigfillset(&l_action.sa_mask);
    sigaction(SIGABRT, &l_action, nullptr);
    sigdelset(&l_mask, SIGABRT);
    sigprocmask(SIG_SETMASK, &l_mask, nullptr);
    const bool l_second_raised = std::raise(SIGABRT) == 0;

    if (l_first_raised || l_second_raised) sigsuspend(&l_mask);
    std::exit(1);
}

}  // namespace detail

void abort_va(const char* a_file, unsigned a_line, const char* a_format, va_list a_args) {
    char l_message[1024];
    l_message[0] = '\0';
    if (a_format) std::vsnprintf(l_message, sizeof l_message, a_format, a_args);
    std::fprintf(stdout, "Abort [%s:%u] '%s'", a_file ? a_file : "n/a", a_line, l_message);

    detail::stop_process();
}

void abort(const char* a_file, unsigned a_line, const char* a_format, ...) {
    va_list l_args;
    va_start(l_args, a_format);
    abort_va(a_file, a_line, a_format, l_args);
}

}  // namespace ds
}  // namespace nubase
