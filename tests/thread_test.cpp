// Threads: start, join, detach, the stop on destruction, cancellation, signals, and the fatal
// report of an exception escaping the work.
#include "nubase/thread.hpp"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <stdexcept>

#include "nubase/sync.hpp"
#include "support/raise.hpp"

namespace {

using nubase::semaphore;
using nubase::thread;
using nubase::thread_base;
using nubase::timestamp;

// Work built from a lambda, which is given the work itself; counts the stop requests.
template <class F>
struct work : thread_base {
    explicit work(F a_body) : body(a_body) {}
    void terminate() override { ++terminated; }
    void operator()() override { body(*this); }
    F body;
    std::atomic<int> terminated{0};
};

TEST(Thread, JoinReturnsToIdleAndIsIdempotent) {
    work w([](thread_base&) {});
    thread t(w);
    EXPECT_TRUE(t.running());
    t.join();
    EXPECT_FALSE(t.running());
    t.join();  // nothing left to join
    EXPECT_EQ(0, w.terminated.load());

    thread idle;
    idle.join();
    idle.cancel();
    idle.signal(SIGUSR1);
    idle.detach();
    EXPECT_FALSE(idle.running());
}

TEST(Thread, DestructionAndRestartStopTheRunningWork) {
    std::atomic<int> runs{0};
    const auto loop = [&](auto& a_self) {
        while (a_self.terminated == 0)
            thread::yield();
        ++runs;
    };
    work first(loop), second(loop);
    {
        thread t(first);
        t.start(second);
        EXPECT_EQ(1, runs.load());  // the first stopped and joined before the second started
        EXPECT_TRUE(t.running());
    }  // terminate() ends the loop; the join waits for it
    EXPECT_EQ(2, runs.load());

    // A work that has already returned is joined at once; terminate is still asked.
    semaphore finished(0);
    work w([&](thread_base&) { finished.post(); });
    {
        thread t(w);
        finished.wait();
    }
    EXPECT_EQ(1, w.terminated.load());
}

TEST(Thread, JoinAndDestructionFromInsideTheWork) {
    // join() inside the work does nothing; deleting the owner there detaches the thread.
    semaphore done(0);
    thread* owner = new thread;
    work w([&](thread_base&) {
        owner->join();
        EXPECT_TRUE(owner->running());
        delete owner;
        done.post();
    });
    owner->start(w);
    ASSERT_TRUE(done.wait(timestamp(30, 1)));
    EXPECT_EQ(0, w.terminated.load());
    // post() is the detached thread's last touch of `w`; let it leave before `w` and `done` go.
    usleep(10000);
}

TEST(Thread, DetachedIsNotJoinedAgain) {
    semaphore go(0), done(0);
    work w([&](thread_base&) {
        go.wait();
        done.post();
    });
    {
        thread t(w);
        t.detach();
        EXPECT_TRUE(t.running());
        nubase_vectors::expect_raise<nubase::es::call>([&] { t.join(); }, "lib/nubase/src/thread",
                                                       151, "thread join failed");
    }  // terminate() only; returns while the work still waits
    EXPECT_EQ(1, w.terminated.load());
    go.post();
    done.wait();
    usleep(10000);
}

TEST(Thread, ExitAndCancelEndOnlyTheThread) {
    std::atomic<bool> after_exit{false};
    work exiting([&](thread_base&) {
        thread::exit();
        after_exit = true;  // never reached
    });
    thread t(exiting);
    t.join();
    EXPECT_FALSE(after_exit.load());

    // Cancellation unwinds through the guarded start routine without being taken for a failure.
    std::atomic<bool> started{false};
    work cancelled([&](thread_base&) {
        started = true;
        for (;;)
            thread::cancel_point();
    });
    t.start(cancelled);
    while (!started)
        thread::yield();
    t.cancel();
    t.join();
}

TEST(Thread, DestructionDuringUnwindingCancels) {
    // The work ignores terminate(); only the cancel of an unwinding destructor ends it early.
    std::atomic<bool> cancelled{true};
    work stubborn([&](thread_base&) {
        const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (std::chrono::steady_clock::now() < until)
            thread::cancel_point();
        cancelled = false;
    });
    const auto start = std::chrono::steady_clock::now();
    try {
        thread t(stubborn);
        throw std::runtime_error("unwind");
    } catch (const std::runtime_error&) {
    }
    EXPECT_TRUE(cancelled.load());
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    EXPECT_EQ(1, stubborn.terminated.load());
}

std::atomic<int> g_signalled{0};

TEST(Thread, SignalReachesTheThread) {
    g_signalled = 0;
    struct sigaction action {
    }, previous{};
    action.sa_handler = [](int) { ++g_signalled; };
    sigemptyset(&action.sa_mask);
    ASSERT_EQ(0, sigaction(SIGUSR2, &action, &previous));
    work w([](thread_base&) {
        while (g_signalled == 0)
            thread::yield();
    });
    {
        thread t(w);
        t.signal(SIGUSR2);
    }
    sigaction(SIGUSR2, &previous, nullptr);
    EXPECT_EQ(1, g_signalled.load());
}

TEST(ThreadDeathTest, EscapingExceptionAbortsWithOneLine) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    struct row {
        const char* what;
        void (*body)(thread_base&);
        const char* expected;
    };
    const row rows[] = {
        {"es exception",
         [](thread_base&) { nubase::es::arg::raise("lib/nubase/src/x", 12, "bad value"); },
         "Abort \\[lib/nubase/src/thread:47\\] 'exception: 'bad value' at "
         "'lib/nubase/src/x:12'; 'bad value'\n'"},
        {"other exception", [](thread_base&) { throw 7; },
         "Abort \\[lib/nubase/src/thread:51\\] 'exception: 'unknown exception' at "
         "\\[ n/a:0 \\]; 'n/a'\n'"},
    };
    for (const row& r : rows) {
        SCOPED_TRACE(r.what);
        EXPECT_EXIT(
            {
                dup2(2, 1);  // the report goes to standard output
                work w(r.body);
                thread t(w);
                t.join();
            },
            ::testing::KilledBySignal(SIGABRT), r.expected);
    }
}

}  // namespace
