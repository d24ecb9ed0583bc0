// The call queue. Its thread is fixed by the first `instance()` of the process, so every test
// runs in a fresh child process (death-test style, the body exits 0 when its checks pass).
#include "nubase/callqueue.hpp"

#include <gtest/gtest.h>
#include <sched.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "nubase/thread.hpp"
#include "support/raise.hpp"

namespace {

using nubase::callqueue;
using nubase::callqueue_object;
using nubase::ptr_refcount;
using nubase::timestamp;
using nubase_vectors::expect_raise;

constexpr char k_source[] = "lib/nubase/src/callqueue";

std::atomic<int> g_live{0};

// A call running a function; counts the objects alive so that leaks show.
struct fn_call : callqueue_object {
    explicit fn_call(std::function<void()> a_fn) : fn(std::move(a_fn)) { ++g_live; }
    ~fn_call() override { --g_live; }
    void call() override { fn(); }
    std::function<void()> fn;
};

ptr_refcount<callqueue_object> make_call(std::function<void()> a_fn) {
    return ptr_refcount<callqueue_object>(new fn_call(std::move(a_fn)));
}

// Appends `a_label` to `a_log` when run.
ptr_refcount<callqueue_object> logging(std::string& a_log, const char* a_label) {
    return make_call([&a_log, a_label] { a_log += a_label; });
}

// Restricts the calling thread, and the threads it starts, to the processor it runs on. The
// queue's posters and its thread poll each other briefly when the process has several
// processors and block at once when it has one; tests run both ways.
void pin_to_one_cpu() {
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(sched_getcpu(), &set);
    ASSERT_EQ(0, sched_setaffinity(0, sizeof set, &set));
}

class CallQueue : public ::testing::Test {
  protected:
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

// Runs `a_body` in a fresh process; the child exits 0 exactly when its checks passed and every
// call object it made is gone.
void in_fresh_process(const std::function<void()>& a_body) {
    EXPECT_EXIT(
        {
            dup2(2, 1);  // a failed check's report reaches the parent
            a_body();
            std::exit(::testing::Test::HasFailure() || g_live != 0 ? 1 : 0);
        },
        ::testing::ExitedWithCode(0), "");
}

// Runs `a_body` in two fresh processes: one as started, one pinned to a single processor.
void on_one_and_on_every_cpu(const std::function<void()>& a_body) {
    for (const bool one_cpu : {false, true}) {
        in_fresh_process([&] {
            if (one_cpu) pin_to_one_cpu();
            a_body();
        });
    }
}

TEST_F(CallQueue, OwnThreadRunsAtOnceUnlessDeferred) {
    in_fresh_process([] {
        callqueue& q = callqueue::instance();
        std::string log;
        q.add_call(logging(log, "a"), "a", 0);
        EXPECT_EQ("a", log);  // before add_call returned
        q.add_call(logging(log, "b"), "b", callqueue::flag_defer);
        // The wait flag has no meaning on the queue's own thread: it must not block.
        q.add_call(logging(log, "c"), "c", callqueue::flag_defer | callqueue::flag_wait);
        q.add_call(make_call([] { throw std::runtime_error("swallowed"); }), "x",
                   callqueue::flag_defer);
        // A call that adds calls: deferred ones wait for the next run, others run at once.
        q.add_call(make_call([&] {
                       q.add_call(logging(log, "e"), "e", callqueue::flag_defer);
                       q.add_call(logging(log, "d"), "d", 0);
                   }),
                   "adder", callqueue::flag_defer);
        EXPECT_EQ("a", log);
        q.run();
        EXPECT_EQ("abcd", log);
        q.run();
        EXPECT_EQ("abcde", log);
        q.run();  // nothing pending
        EXPECT_EQ("abcde", log);

        // Executed at once, the call's exception reaches the caller.
        EXPECT_THROW(q.add_call(make_call([] { throw std::runtime_error("mine"); }), "y", 0),
                     std::runtime_error);
        EXPECT_THROW(q.add_call(ptr_refcount<callqueue_object>(), "null", 0), nubase::es::null);
    });
}

TEST_F(CallQueue, UniqueNameIsAcceptedOnceInTheQueuesLife) {
    in_fresh_process([] {
        callqueue& q = callqueue::instance();
        std::string log;
        const unsigned unique_later = callqueue::flag_unique | callqueue::flag_defer;
        q.add_call(logging(log, "1"), "u", unique_later);
        auto dropped = logging(log, "2");
        q.add_call(dropped, "u", unique_later);
        EXPECT_EQ("u", dropped->get_id());  // the id is set even on a dropped call
        q.run();
        EXPECT_EQ("1", log);
        q.add_call(logging(log, "3"), "u", unique_later);                 // still known after a run
        q.add_exit_call(logging(log, "4"), "u", callqueue::flag_unique);  // one set of names
        q.add_call(logging(log, "5"), "u", callqueue::flag_defer);  // without the flag: queued
        q.add_call(logging(log, "6"), "v", unique_later);
        q.run();
        q.exit();
        EXPECT_EQ("156", log);
    });
}

TEST_F(CallQueue, WaitingPosterReturnsOnlyAfterExecution) {
    on_one_and_on_every_cpu([] {
        callqueue& q = callqueue::instance();
        for (bool throws : {false, true}) {
            std::atomic<bool> executed{false}, returned{false};
            std::thread poster([&] {
                q.add_call(make_call([&] {
                               EXPECT_FALSE(returned.load());
                               executed = true;
                               if (throws) throw 1;
                           }),
                           "waited", callqueue::flag_wait);
                EXPECT_TRUE(executed.load());
                returned = true;
            });
            ASSERT_TRUE(q.wait_for_calls(timestamp(30, 1)));
            std::string log;
            q.add_call(logging(log, "next"), "next", callqueue::flag_defer);
            EXPECT_FALSE(returned.load());
            q.run();
            poster.join();
            EXPECT_TRUE(returned.load());
            EXPECT_EQ("next", log);  // run() went on after a throwing call
        }
    });
}

TEST_F(CallQueue, ExitRunsExitCallsOnceAndRefusesFromThen) {
    in_fresh_process([] {
        callqueue& q = callqueue::instance();
        std::string log;
        q.add_exit_call(logging(log, "x"), "x", callqueue::flag_wait | callqueue::flag_defer);
        q.add_exit_call(make_call([] { throw std::runtime_error("ignored"); }), "t", 0);
        q.add_exit_call(logging(log, "y"), "y", 0);
        q.add_call(logging(log, "p"), "p", callqueue::flag_defer);
        EXPECT_FALSE(q.exited());
        q.exit();
        EXPECT_TRUE(q.exited());
        EXPECT_EQ("xy", log);  // the pending ordinary call stays queued
        expect_raise<nubase::es::call>(
            [&] { q.add_call(logging(log, "-"), "late one", 0); }, k_source, 83,
            "Cannot add 'late one' call to callqueue: callqueue has already exit()ed.");
        expect_raise<nubase::es::call>(
            [&] { q.add_exit_call(logging(log, "-"), "late", 0); }, k_source, 143,
            "Cannot add call to callqueue: callqueue has already exit()ed.");
        std::thread([&] {
            // A would-be waiter is refused before it could block.
            EXPECT_THROW(q.add_call(logging(log, "-"), "w", callqueue::flag_wait),
                         nubase::es::call);
        }).join();
        q.exit();  // the exit calls ran once
        q.run();
        EXPECT_EQ("xyp", log);
    });
}

TEST_F(CallQueue, OnlyTheFirstCallersThreadMayServe) {
    in_fresh_process([] {
        std::thread([] { callqueue::instance(); }).join();
        callqueue& q = callqueue::instance();
        expect_raise<nubase::es::unsupp>([&] { q.run(); }, k_source, 166,
                                         "callqueue::run() called from different thread");
        expect_raise<nubase::es::unsupp>([&] { q.exit(); }, k_source, 196,
                                         "callqueue::exit() called from different thread");
        EXPECT_THROW(q.wait_for_calls(timestamp(0, 1)), nubase::es::unsupp);
        EXPECT_FALSE(q.exited());
        // From here a call is only queued, never run at once.
        std::string log;
        q.add_call(logging(log, "a"), "a", 0);
        EXPECT_EQ("", log);
        std::exit(::testing::Test::HasFailure() ? 1 : 0);  // the queued call is never run
    });
}

TEST_F(CallQueue, WaitForCallsSleepsUntilAPostOrTheTimeOut) {
    in_fresh_process([] {
        callqueue& q = callqueue::instance();
        const auto start = std::chrono::steady_clock::now();
        EXPECT_FALSE(q.wait_for_calls(timestamp(50, 1000)));
        EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(40));

        // Posted while the queue's thread sleeps: the post must wake it, long before the limit.
        std::thread poster([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            q.add_call(make_call([] {}), "p", 0);
        });
        const auto asleep = std::chrono::steady_clock::now();
        EXPECT_TRUE(q.wait_for_calls(timestamp(30, 1)));
        EXPECT_LT(std::chrono::steady_clock::now() - asleep, std::chrono::seconds(10));
        poster.join();
        q.run();
        EXPECT_FALSE(q.wait_for_calls(timestamp(0, 1)));
    });
}

TEST_F(CallQueue, ThreadExitInsideACallReleasesItsWaiter) {
    on_one_and_on_every_cpu([] {
        // The queue's thread is a library thread that ends itself inside a call.
        struct server : nubase::thread_base {
            std::atomic<bool> ready{false};
            void operator()() override {
                callqueue& q = callqueue::instance();
                ready = true;
                for (;;) {
                    q.wait_for_calls(timestamp(10, 1000));
                    q.run();
                }
            }
        } work;
        nubase::thread t(work);
        while (!work.ready)
            nubase::thread::yield();
        callqueue::instance().add_call(make_call([] { nubase::thread::exit(); }), "end",
                                       callqueue::flag_wait);
        t.join();  // returns: the exit ended only that thread
    });
}

TEST_F(CallQueue, StressEveryCallOnceInPerThreadOrder) {
    on_one_and_on_every_cpu([] {
        constexpr int k_threads = 4, k_calls = 3000;
        callqueue& q = callqueue::instance();
        // Touched only on the queue's thread, by the calls.
        std::vector<int> next(k_threads, 0);
        int out_of_order = 0, total = 0;
        std::atomic<int> posters_done{0};
        std::vector<std::thread> posters;
        for (int t = 0; t < k_threads; ++t) {
            posters.emplace_back([&, t] {
                for (int i = 0; i < k_calls; ++i) {
                    auto c = make_call([&, t, i] {
                        if (next[t] != i) ++out_of_order;
                        next[t] = i + 1;
                        ++total;
                    });
                    q.add_call(c, "s", i % 16 == 0 ? callqueue::flag_wait : 0u);
                }
                ++posters_done;
            });
        }
        const auto give_up = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while ((posters_done < k_threads || total < k_threads * k_calls) &&
               std::chrono::steady_clock::now() < give_up) {
            q.wait_for_calls(timestamp(10, 1000));
            q.run();
        }
        for (auto& p : posters)
            p.join();
        EXPECT_EQ(k_threads * k_calls, total);
        EXPECT_EQ(0, out_of_order);
        for (int n : next)
            EXPECT_EQ(k_calls, n);
    });
}

}  // namespace
