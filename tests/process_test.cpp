// Child processes: status codes and signals, the pipes (pieces, floods, children that never read),
// pause/resume/terminate, environment and working directory, and that nothing is left behind:
// every test ends its children and gets back to the descriptors it started with.
//
// The children are this test binary itself: when NUBASE_TEST_CHILD is set, it plays the role it
// names before the tests are even registered, and ends within 20 s whatever happens.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "nubase/process.hpp"
#include "descriptors.hpp"

namespace {

// ---- the child's side -------------------------------------------------------------------------

void write_all(const char* a_data, std::size_t a_size) {
    while (a_size != 0) {
        const ssize_t l_n = ::write(1, a_data, a_size);
        if (l_n <= 0) _exit(90);
        a_data += l_n;
        a_size -= static_cast<std::size_t>(l_n);
    }
}

// Roles: "exit:N" ends with code N; "echo" copies its input to its output; "flood:N" writes N
// bytes without reading; "sleep" waits to be signalled; "report" writes its arguments, the
// variable NUBASE_TEST_VALUE and its working directory, separated by '|'.
[[maybe_unused]] const bool g_child_role = [] {
    const char* l_role = std::getenv("NUBASE_TEST_CHILD");
    if (l_role == nullptr) return false;
    ::alarm(20);  // bounded run, whatever the parent does
    const std::string l_r = l_role;
    if (l_r.compare(0, 5, "exit:") == 0) _exit(std::atoi(l_r.c_str() + 5));
    if (l_r == "echo") {
        char l_buf[4096];
        ssize_t l_n;
        while ((l_n = ::read(0, l_buf, sizeof l_buf)) > 0)
            write_all(l_buf, static_cast<std::size_t>(l_n));
        _exit(0);
    }
    if (l_r.compare(0, 6, "flood:") == 0) {
        std::string l_block(65536, '\0');
        for (std::size_t i = 0; i < l_block.size(); ++i)
            l_block[i] = static_cast<char>(i % 251);
        long l_left = std::atol(l_r.c_str() + 6);
        while (l_left > 0) {
            const std::size_t l_n = l_left < 65536 ? static_cast<std::size_t>(l_left) : 65536u;
            write_all(l_block.data(), l_n);
            l_left -= static_cast<long>(l_n);
        }
        _exit(0);
    }
    if (l_r == "sleep") {
        for (;;)
            ::pause();
    }
    if (l_r == "report") {
        std::string l_out;
        std::string l_cmdline;
        // Arguments from /proc so that argument zero is seen as the kernel got it.
        if (FILE* l_f = std::fopen("/proc/self/cmdline", "rb")) {
            int c;
            while ((c = std::fgetc(l_f)) != EOF)
                l_out += c == 0 ? ',' : static_cast<char>(c);
            std::fclose(l_f);
        }
        const char* l_value = std::getenv("NUBASE_TEST_VALUE");
        char l_cwd[PATH_MAX];
        l_out += std::string("|") + (l_value ? l_value : "(unset)") + "|" +
                 (::getcwd(l_cwd, sizeof l_cwd) ? l_cwd : "?");
        write_all(l_out.data(), l_out.size());
        _exit(0);
    }
    _exit(99);
}();

// ---- the parent's side ------------------------------------------------------------------------

using nubase_test::open_descriptors;

std::string self() {
    char l_path[PATH_MAX];
    const ssize_t l_n = ::readlink("/proc/self/exe", l_path, sizeof l_path);
    return std::string(l_path, l_n > 0 ? static_cast<std::size_t>(l_n) : 0);
}

// Collects output and signals the end.
struct recorder : nubase::process::status {
    std::string output;
    unsigned largest_piece = 0;
    unsigned pieces = 0;
    int finished_calls = 0;
    nubase::semaphore done{0};

    void stdout_data(const unsigned char* a_data, unsigned int a_size) override {
        output.append(reinterpret_cast<const char*>(a_data), a_size);
        largest_piece = std::max(largest_piece, a_size);
        ++pieces;
    }
    void finished(nubase::process&) override {
        ++finished_calls;
        done.post();
    }
    bool wait() { return done.wait(nubase::timestamp(10, 1)); }
};

class Process : public ::testing::Test {
  protected:
    void SetUp() override { m_fds = open_descriptors(); }
    void TearDown() override {
        EXPECT_EQ(m_fds, open_descriptors()) << "a descriptor leaked";
        // No child of this process is left, zombie or running.
        EXPECT_EQ(-1, ::waitpid(-1, nullptr, WNOHANG));
        EXPECT_EQ(ECHILD, errno);
    }
    // Starts this binary in the given role.
    std::unique_ptr<nubase::process> start(const char* a_role, recorder& a_observer,
                                           unsigned a_flags = 0, const std::string& a_input = "",
                                           std::vector<std::string> a_args = {},
                                           std::map<std::string, std::string> a_env = {},
                                           const std::string& a_dir = "") {
        a_env["NUBASE_TEST_CHILD"] = a_role;
        return std::make_unique<nubase::process>("child", self(), a_args, a_env, a_dir, a_input,
                                                 a_flags, &a_observer);
    }
    int m_fds = 0;
};

TEST_F(Process, StatusIsTheExitCodeOrTheSignal) {
    const struct {
        const char* role;
        int status;
    } k_rows[] = {{"exit:0", 0}, {"exit:3", 3}, {"exit:255", 255}};
    for (const auto& r : k_rows) {
        recorder l_rec;
        auto l_p = start(r.role, l_rec);
        EXPECT_EQ("child", l_p->get_id());
        ASSERT_TRUE(l_rec.wait()) << r.role;
        EXPECT_EQ(r.status, l_p->get_status()) << r.role;
        EXPECT_EQ(0, l_p->get_pid());
        EXPECT_EQ(1, l_rec.finished_calls);
    }

    recorder l_rec;
    auto l_p = start("sleep", l_rec);
    const int l_pid = l_p->get_pid();
    EXPECT_GT(l_pid, 0);
    EXPECT_EQ(-1, l_p->get_status());
    ::kill(l_pid, SIGKILL);
    ASSERT_TRUE(l_rec.wait());
    EXPECT_EQ(SIGKILL, l_p->get_status());
    EXPECT_GE(l_p->get_real_time(), 0.0);
    EXPECT_EQ(l_p->get_real_time(), l_p->get_uptime());  // frozen once reaped
    EXPECT_EQ(1000000u, l_p->get_starttime().rate());
}

TEST_F(Process, UnexecutableProgramEndsWithStatusOne) {
    recorder l_rec;
    testing::internal::CaptureStderr();
    nubase::process l_p("x", "/nonexistent/nubase-program", {}, {}, "", "", 0, &l_rec);
    ASSERT_TRUE(l_rec.wait());
    EXPECT_EQ(1, l_p.get_status());
    EXPECT_EQ("Failed to start process '/nonexistent/nubase-program' (No such file or directory)\n",
              testing::internal::GetCapturedStderr());
}

TEST_F(Process, PipesCarryInputAndOutputInSmallPieces) {
    // Larger than a pipe holds, so the input must be fed while the output is drained.
    std::string l_input(300000, '\0');
    for (std::size_t i = 0; i < l_input.size(); ++i)
        l_input[i] = static_cast<char>(i * 7 % 256);
    recorder l_rec;
    auto l_p = start("echo", l_rec, nubase::process::flag_pipes, l_input);
    ASSERT_TRUE(l_rec.wait());
    EXPECT_EQ(0, l_p->get_status());
    EXPECT_TRUE(l_rec.output == l_input) << l_rec.output.size() << " bytes came back";
    EXPECT_LE(l_rec.largest_piece, 256u);
    EXPECT_GE(l_rec.pieces, l_input.size() / 256);

    recorder l_empty;
    auto l_q = start("echo", l_empty, nubase::process::flag_pipes, "");  // input closed at once
    ASSERT_TRUE(l_empty.wait());
    EXPECT_EQ("", l_empty.output);
}

TEST_F(Process, FloodIsReadToTheEnd) {
    const long k_size = 8L << 20;
    recorder l_rec;
    auto l_p = start("flood:8388608", l_rec, nubase::process::flag_pipes, std::string(200000, 'x'));
    ASSERT_TRUE(l_rec.wait());
    EXPECT_EQ(0, l_p->get_status());
    ASSERT_EQ(static_cast<std::size_t>(k_size), l_rec.output.size());
    EXPECT_EQ(static_cast<char>(70000 % 65536 % 251), l_rec.output[70000]);
}

TEST_F(Process, ChildThatNeverReadsDoesNotHangTheMonitor) {
    recorder l_rec;
    auto l_p = start("sleep", l_rec, nubase::process::flag_pipes, std::string(1 << 20, 'x'));
    l_p->terminate(false);
    ASSERT_TRUE(l_rec.wait());
    EXPECT_EQ(SIGTERM, l_p->get_status());
}

TEST_F(Process, PauseResumeTerminate) {
    recorder l_rec;
    auto l_p = start("sleep", l_rec);
    l_p->pause();
    l_p->resume();
    l_p->pause();
    l_p->terminate(false);  // continues the paused child, then ends it
    ASSERT_TRUE(l_rec.wait());
    EXPECT_EQ(SIGTERM, l_p->get_status());
    EXPECT_EQ(0, l_p->get_pid());
    // Ended: nothing is sent any more (a signal to id 0 would hit this whole process group).
    l_p->pause();
    l_p->resume();
    l_p->terminate(true);
    EXPECT_EQ(1, l_rec.finished_calls);
}

TEST_F(Process, ArgumentsEnvironmentAndWorkingDirectory) {
    recorder l_rec;
    const std::string l_exe = self();
    auto l_p = start("report", l_rec, nubase::process::flag_pipes, "", {"a b", "", "c"},
                     {{"NUBASE_TEST_VALUE", "42"}, {"", "ignored"}}, "/tmp");
    ASSERT_TRUE(l_rec.wait());
    EXPECT_EQ(l_exe + ",a b,,c,|42|/tmp", l_rec.output);

    // An empty value is skipped (the inherited one stays); a bad directory is ignored.
    ::setenv("NUBASE_TEST_VALUE", "inherited", 1);
    recorder l_second;
    auto l_q = start("report", l_second, nubase::process::flag_pipes, "", {},
                     {{"NUBASE_TEST_VALUE", ""}}, "/nonexistent/nubase");
    ASSERT_TRUE(l_second.wait());
    ::unsetenv("NUBASE_TEST_VALUE");
    char l_cwd[PATH_MAX];
    ASSERT_NE(nullptr, ::getcwd(l_cwd, sizeof l_cwd));
    EXPECT_EQ(l_exe + ",|inherited|" + l_cwd, l_second.output);
}

TEST_F(Process, CancelledMonitorHandsTheChildToTheCaller) {
    recorder l_rec;
    auto l_p = start("sleep", l_rec, nubase::process::flag_pipes, "abc");
    const int l_pid = l_p->get_pid();
    l_p->terminate(true);
    int l_status = 0;
    ASSERT_EQ(l_pid, ::waitpid(l_pid, &l_status, 0));
    EXPECT_TRUE(WIFSIGNALED(l_status));
    EXPECT_EQ(SIGTERM, WTERMSIG(l_status));
    l_p.reset();  // waits for the cancelled monitor to let go
    EXPECT_EQ(0, l_rec.finished_calls);
}

TEST_F(Process, DestroyedWhileRunningLetsGoOfTheChild) {
    recorder l_rec;
    auto l_p = start("sleep", l_rec, nubase::process::flag_pipes, "abc");
    const int l_pid = l_p->get_pid();
    l_p.reset();  // the monitor is cancelled and its pipe ends closed; the child still runs
    EXPECT_EQ(0, ::kill(l_pid, 0));
    ::kill(l_pid, SIGKILL);
    EXPECT_EQ(l_pid, ::waitpid(l_pid, nullptr, 0));
    EXPECT_EQ(0, l_rec.finished_calls);
}

TEST(ProcessDeathTest, ObserverExceptionEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    struct thrower : nubase::process::status {
        void finished(nubase::process&) override {
            nubase::es::arg::raise("observer", 7, "observer failed");
        }
    };
    // The report goes to standard output; the end is SIGABRT.
    EXPECT_EXIT(
        {
            thrower l_obs;
            nubase::process l_p("t", "/bin/true", {}, {}, "", "", 0, &l_obs);
            ::sleep(10);
        },
        testing::KilledBySignal(SIGABRT), "");
}

}  // namespace
