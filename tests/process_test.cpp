// Child processes: status, pipes, signals, environment and working directory; every test ends its
// children and gets back to the descriptors it started with.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include "nubase/process.hpp"
#include "descriptors.hpp"

namespace {

// ---- the child's side: this binary, in the role NUBASE_TEST_CHILD names -----------------------

void write_all(const std::string& a_data) {
    for (std::size_t l_at = 0; l_at < a_data.size();) {
        const ssize_t l_n = ::write(1, a_data.data() + l_at, a_data.size() - l_at);
        if (l_n <= 0) _exit(90);
        l_at += static_cast<std::size_t>(l_n);
    }
}

// Roles, played before the tests are registered and ended within 20 s: "exit:N" ends with code
// N; "echo" copies its input to its output; "flood" writes 8 MiB without reading; "sleep" waits
// to be signalled; "report" writes its arguments, NUBASE_TEST_VALUE and its working directory.
[[maybe_unused]] const bool g_child_role = [] {
    const char* l_role = std::getenv("NUBASE_TEST_CHILD");
    if (l_role == nullptr) return false;
    ::alarm(20);
    const std::string l_r = l_role;
    if (l_r.compare(0, 5, "exit:") == 0) _exit(std::atoi(l_role + 5));
    if (l_r == "echo") {
        char l_buf[4096];
        for (ssize_t l_n; (l_n = ::read(0, l_buf, sizeof l_buf)) > 0;)
            write_all(std::string(l_buf, static_cast<std::size_t>(l_n)));
        _exit(0);
    }
    if (l_r == "flood") {
        std::string l_block(65536, '\0');
        for (std::size_t i = 0; i < l_block.size(); ++i)
            l_block[i] = static_cast<char>(i % 251);
        for (int i = 0; i < 128; ++i)
            write_all(l_block);
        _exit(0);
    }
    while (l_r == "sleep")
        ::pause();
    if (l_r == "report") {
        std::string l_out;  // the arguments from /proc, argument zero as the kernel got it
        if (FILE* l_f = std::fopen("/proc/self/cmdline", "rb")) {
            for (int c; (c = std::fgetc(l_f)) != EOF;)
                l_out += c == 0 ? ',' : static_cast<char>(c);
            std::fclose(l_f);
        }
        const char* l_value = std::getenv("NUBASE_TEST_VALUE");
        char l_cwd[PATH_MAX];
        write_all(l_out + "|" + (l_value ? l_value : "(unset)") + "|" +
                  (::getcwd(l_cwd, sizeof l_cwd) ? l_cwd : "?"));
        _exit(0);
    }
    _exit(99);
}();

// ---- the parent's side ------------------------------------------------------------------------

std::string self() {
    return std::filesystem::read_symlink("/proc/self/exe").string();
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
    void SetUp() override { m_fds = nubase_test::open_descriptors(); }
    void TearDown() override {
        EXPECT_EQ(m_fds, nubase_test::open_descriptors()) << "a descriptor leaked";
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
    for (const auto& [role, status] : {std::pair{"exit:0", 0}, {"exit:3", 3}, {"exit:255", 255}}) {
        SCOPED_TRACE(role);
        recorder l_rec;
        auto l_p = start(role, l_rec);
        ASSERT_TRUE(l_rec.wait());
        EXPECT_EQ(status, l_p->get_status());
        EXPECT_FALSE(l_p->ended_by_signal());
        EXPECT_EQ(0, l_p->get_start_error());
        EXPECT_GT(l_p->get_peak_memory(), 100000u);  // this test binary, resident
    }

    recorder l_rec;
    auto l_p = start("sleep", l_rec);
    const int l_pid = l_p->get_pid();
    EXPECT_GT(l_pid, 0);
    EXPECT_EQ(-1, l_p->get_status());
    ::kill(l_pid, SIGKILL);
    ASSERT_TRUE(l_rec.wait());
    EXPECT_EQ(SIGKILL, l_p->get_status());
    EXPECT_TRUE(l_p->ended_by_signal());
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
    EXPECT_EQ(ENOENT, l_p.get_start_error());
    EXPECT_EQ("Failed to start process '/nonexistent/nubase-program' (No such file or directory)\n",
              testing::internal::GetCapturedStderr());
}

TEST_F(Process, PipesCarryInputAndOutputInSmallPieces) {
    // Larger than a pipe holds, so the input must be fed while the output is drained.
    std::string l_input(300000, '\0');
    for (std::size_t i = 0; i < l_input.size(); ++i)
        l_input[i] = static_cast<char>(i * 7 % 256);
    recorder l_rec, l_empty;
    auto l_p = start("echo", l_rec, nubase::process::flag_pipes, l_input);
    auto l_q = start("echo", l_empty, nubase::process::flag_pipes, "");  // input closed at once
    ASSERT_TRUE(l_rec.wait());
    EXPECT_EQ(0, l_p->get_status());
    EXPECT_TRUE(l_rec.output == l_input) << l_rec.output.size() << " bytes came back";
    EXPECT_LE(l_rec.largest_piece, 256u);
    EXPECT_GE(l_rec.pieces, l_input.size() / 256);
    ASSERT_TRUE(l_empty.wait());
    EXPECT_EQ("", l_empty.output);

    // A child that writes far more than it reads is read to the end.
    recorder l_flood;
    auto l_f = start("flood", l_flood, nubase::process::flag_pipes, std::string(200000, 'x'));
    ASSERT_TRUE(l_flood.wait());
    EXPECT_EQ(0, l_f->get_status());
    ASSERT_EQ(std::size_t{8} << 20, l_flood.output.size());
    EXPECT_EQ(static_cast<char>(70000 % 65536 % 251), l_flood.output[70000]);
}

TEST_F(Process, PauseResumeTerminate) {
    // The child never reads the pending input, which must not hang the monitor either.
    recorder l_rec;
    auto l_p = start("sleep", l_rec, nubase::process::flag_pipes, std::string(1 << 20, 'x'));
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
    EXPECT_EQ(l_exe + ",|inherited|" + std::filesystem::current_path().string(), l_second.output);
}

TEST_F(Process, CancelledOrDestroyedMonitorHandsTheChildToTheCaller) {
    for (bool destroy : {false, true}) {
        SCOPED_TRACE(destroy ? "destroyed" : "cancelled");
        recorder l_rec;
        auto l_p = start("sleep", l_rec, nubase::process::flag_pipes, "abc");
        const int l_pid = l_p->get_pid();
        if (destroy) {
            l_p.reset();  // the monitor is cancelled and its pipe ends closed; the child runs on
            EXPECT_EQ(0, ::kill(l_pid, 0));
            ::kill(l_pid, SIGTERM);
        } else {
            l_p->terminate(true);
        }
        int l_status = 0;
        ASSERT_EQ(l_pid, ::waitpid(l_pid, &l_status, 0));
        EXPECT_TRUE(WIFSIGNALED(l_status));
        EXPECT_EQ(SIGTERM, WTERMSIG(l_status));
        l_p.reset();  // waits for the cancelled monitor to let go
        EXPECT_EQ(0, l_rec.finished_calls);
    }
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
