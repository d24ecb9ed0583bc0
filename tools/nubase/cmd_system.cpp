// The system commands: run (a child process with its times), sysinfo and selftest.
#include <pwd.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "nubase/env.hpp"
#include "nubase/es.hpp"
#include "nubase/process.hpp"
#include "nubase/sync.hpp"
#include "nubase/test.hpp"
#include "tool.hpp"

namespace nubase_tool {

// ---- run --------------------------------------------------------------------------------------

namespace {

// Relays the child's output as it arrives and wakes the caller when the child has ended.
class relay : public nubase::process::status {
  public:
    void stdout_data(const unsigned char* a_data, unsigned int a_size) override {
        std::fwrite(a_data, 1, a_size, stdout);
        std::fflush(stdout);
    }
    void finished(nubase::process&) override { m_done.post(); }
    nubase::semaphore m_done{0};
};

}  // namespace

namespace {

// The program a name stands for: a name with a '/' as it is, else the first executable file of
// that name in a directory of PATH. Sets the exit status a shell would give when there is none
// (127: not found, 126: found but not executable) and returns "".
std::string find_program(const std::string& a_name, int& a_failure, std::string& a_reason) {
    if (a_name.find('/') != std::string::npos) {
        if (::access(a_name.c_str(), F_OK) != 0) {
            a_failure = 127;
            a_reason = std::strerror(errno);
        } else if (::access(a_name.c_str(), X_OK) != 0) {
            a_failure = 126;
            a_reason = std::strerror(errno);
        }
        return a_failure == 0 ? a_name : std::string();
    }
    const char* l_path = std::getenv("PATH");
    std::string l_dirs = l_path != nullptr ? l_path : "/usr/local/bin:/usr/bin:/bin";
    std::string l_denied;
    for (std::size_t l_at = 0; l_at <= l_dirs.size();) {
        const std::size_t l_end = std::min(l_dirs.find(':', l_at), l_dirs.size());
        const std::string l_dir = l_end == l_at ? "." : l_dirs.substr(l_at, l_end - l_at);
        const std::string l_candidate = l_dir + "/" + a_name;
        struct stat l_st;
        if (::stat(l_candidate.c_str(), &l_st) == 0 && S_ISREG(l_st.st_mode)) {
            if (::access(l_candidate.c_str(), X_OK) == 0) return l_candidate;
            if (l_denied.empty()) l_denied = l_candidate;
        }
        l_at = l_end + 1;
    }
    a_failure = l_denied.empty() ? 127 : 126;
    a_reason = l_denied.empty() ? "command not found" : "Permission denied";
    return std::string();
}

}  // namespace

int run_run(const arguments& a_args) {
    if (a_args.m_free.empty()) return user_error("run needs a program (see 'nubase run --help')");
    const std::string& l_name = a_args.m_free[0];
    int l_failure = 0;
    std::string l_reason;
    const std::string l_program = find_program(l_name, l_failure, l_reason);
    if (l_failure != 0) {
        user_error(l_name + ": " + l_reason);
        return l_failure;
    }
    const std::vector<std::string> l_program_args(a_args.m_free.begin() + 1, a_args.m_free.end());
    relay l_relay;
    nubase::process l_child("run", l_program, l_program_args, {}, "", a_args.value('i'),
                            nubase::process::flag_pipes, &l_relay);
    l_relay.m_done.wait();
    if (l_child.get_start_error() != 0) {
        // The child has said why on standard error; the status is the shell's.
        return l_child.get_start_error() == ENOENT ? 127 : 126;
    }
    const int l_status = l_child.get_status();
    const bool l_signal = l_child.ended_by_signal();
    std::fprintf(stderr, "status %s%d\nreal %.3f\nuser %.3f\nsys %.3f\npeak %llu KiB\n",
                 l_signal ? "signal " : "", l_status, l_child.get_real_time(),
                 l_child.get_user_time(), l_child.get_system_time(),
                 l_child.get_peak_memory() / 1024);
    return l_signal ? 128 + l_status : l_status;
}

void declare_run(nubase::arg::optparser& a_parser) {
    a_parser.add_opt('i', "input", 1, 1);
}

option_texts describe_run() {
    return {
        {'i',
         "Text to write to the program's standard input (default: none; its input is closed)."}};
}

// ---- sysinfo ----------------------------------------------------------------------------------

namespace {

// The user: USER as the library reads it when it is set, else the password entry of the real
// user id (the library's answer without USER is its documented "Unknown").
std::string user_name() {
    const char* l_set = std::getenv("USER");
    if (l_set != nullptr && *l_set != '\0') return nubase::env::get_user_name();
    const passwd* l_entry = ::getpwuid(::getuid());
    return l_entry != nullptr ? l_entry->pw_name : "unknown";
}

// The words of `text` in lines that fit `width` columns, continued at column 11.
std::string wrapped(const std::string& a_text, std::size_t a_width) {
    std::string l_out, l_word;
    std::size_t l_column = 11;
    std::istringstream l_words(a_text);
    while (l_words >> l_word) {
        if (l_column > 11 && l_column + 1 + l_word.size() > a_width) {
            l_out += "\n" + std::string(11, ' ');
            l_column = 11;
        } else if (l_column > 11) {
            l_out += ' ';
            ++l_column;
        }
        l_out += l_word;
        l_column += l_word.size();
    }
    return l_out;
}

// The terminal's width, 80 when standard output is not a terminal.
std::size_t output_width() {
    winsize l_size{};
    if (::isatty(STDOUT_FILENO) && ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &l_size) == 0 &&
        l_size.ws_col >= 20)
        return l_size.ws_col;
    return 80;
}

}  // namespace

int run_sysinfo(const arguments&) {
    namespace env = nubase::env;
    const auto line = [](const char* a_name, const std::string& a_value) {
        std::printf("%-10s %s\n", a_name, a_value.c_str());
    };
    const auto guarded = [](std::string (*a_query)()) {
        try {
            return a_query();
        } catch (const nubase::es::base& e) {
            return std::string("unknown (") + e.what() + ")";
        }
    };
    line("host", env::get_host_name());
    line("kernel", env::get_kernel_name() + " " + env::get_kernel_version());
    const nubase::cpuinfo l_cpu;
    line("cpus", std::to_string(l_cpu.active()) + " online of " + std::to_string(l_cpu.present()) +
                     ", " + l_cpu.isa() + ", " + std::to_string(env::get_cpu_frequency_Mhz()) +
                     " MHz");
    const std::string l_flags = l_cpu.flags();
    line("features", l_flags.find_first_not_of(' ') == std::string::npos
                         ? "none listed"
                         : wrapped(l_flags, output_width()));
    line("memory", std::to_string(env::get_mem_size_MiB()) + " MiB, " + guarded([] {
                       return std::to_string(env::get_avail_mem_MiB());
                   }) + " MiB available");
    double l_load[3] = {0, 0, 0};
    char l_text[64] = "unknown";
    if (::getloadavg(l_load, 3) == 3)
        std::snprintf(l_text, sizeof l_text, "%.2f %.2f %.2f (1, 5, 15 minutes)", l_load[0],
                      l_load[1], l_load[2]);
    line("load", l_text);
    line("user", user_name());
    line("home", guarded(&env::get_user_home_path));
    const char* l_tmpdir = std::getenv("TMPDIR");
    line("tmp", l_tmpdir != nullptr && *l_tmpdir != '\0' ? l_tmpdir : env::get_default_tmp_path());
    line("cwd", guarded(&env::get_current_working_directory_path));
    line("executable", env::get_executable());
    return k_exit_ok;
}

// ---- selftest ---------------------------------------------------------------------------------

int run_selftest(const arguments& a_args) {
    if (a_args.m_free.size() > 1)
        return user_error("selftest takes at most one SUITE[/UNIT[/CASE]]");
    const std::string l_selector = a_args.m_free.empty() ? "" : a_args.m_free[0];
    // The option parser's cases print the errors they expect on standard error: keep them aside
    // and show them only when a case failed, where they may tell why.
    std::fflush(stderr);
    std::FILE* l_aside = std::tmpfile();
    const int l_stderr = l_aside != nullptr ? ::dup(STDERR_FILENO) : -1;
    if (l_stderr >= 0) ::dup2(::fileno(l_aside), STDERR_FILENO);
    const nubase::test::run_summary l_summary = nubase::test::run(l_selector, stdout);
    if (l_stderr >= 0) {
        std::fflush(stderr);
        ::dup2(l_stderr, STDERR_FILENO);
        ::close(l_stderr);
        if (l_summary.failed != 0) {
            std::rewind(l_aside);
            char l_chunk[4096];
            for (std::size_t l_n; (l_n = std::fread(l_chunk, 1, sizeof l_chunk, l_aside)) != 0;)
                std::fwrite(l_chunk, 1, l_n, stderr);
        }
    }
    if (l_aside != nullptr) std::fclose(l_aside);
    if (l_summary.passed + l_summary.failed + l_summary.expected_failures == 0)
        return user_error("no test matches '" + l_selector + "' (see 'nubase selftest --help')");
    return l_summary.ok() ? k_exit_ok : k_exit_not_found;
}

}  // namespace nubase_tool
