// Mutexes, conditions, read-write locks and semaphores: busy, timed-out and raised outcomes.
#include "nubase/sync.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <string>
#include <thread>
#include <type_traits>

#include "support/raise.hpp"

namespace {

using nubase::condition;
using nubase::mutex;
using nubase::rwlock;
using nubase::semaphore;
using nubase::timestamp;
using nubase_vectors::expect_raise;
using clock_type = std::chrono::steady_clock;

#if defined(__SANITIZE_THREAD__)
constexpr bool k_thread_sanitizer = true;
#elif defined(__has_feature)
constexpr bool k_thread_sanitizer = __has_feature(thread_sanitizer);
#else
constexpr bool k_thread_sanitizer = false;
#endif

static_assert(!std::is_copy_constructible_v<mutex> && !std::is_copy_assignable_v<mutex>);
static_assert(!std::is_copy_constructible_v<semaphore>);
static_assert(!std::is_convertible_v<bool, mutex>, "the constructors are explicit");

long long ms_since(clock_type::time_point a_start) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(clock_type::now() - a_start)
        .count();
}

template <class F>
void on_other_thread(F a_body) {
    std::thread(a_body).join();
}

TEST(Mutex, LiteralPicksTheNamedConstructor) {
    EXPECT_EQ("jobs", mutex("jobs").name());
    EXPECT_EQ("queue", mutex(std::string("queue")).name());
    EXPECT_EQ("", mutex(true).name());
}

TEST(Mutex, TrylockIsBusyWhileAnotherThreadHolds) {
    for (bool recursive : {false, true}) {
        SCOPED_TRACE(recursive ? "recursive" : "plain");
        const mutex m(recursive);
        std::unique_lock<const mutex> hold(m, std::try_to_lock);  // standard guards work too
        ASSERT_TRUE(hold.owns_lock());
        // Only a recursive mutex lets its holder lock again, and it counts the locks.
        EXPECT_EQ(recursive, m.trylock());
        if (recursive) m.unlock();
        on_other_thread([&] { EXPECT_FALSE(m.trylock()); });
        hold.unlock();
        on_other_thread([&] {
            EXPECT_TRUE(m.trylock());
            m.unlock();
        });
    }
}

TEST(Mutex, UnlockWithoutHoldingNamesTheMutex) {
    if (k_thread_sanitizer) GTEST_SKIP() << "the sanitizer reports the deliberate misuse itself";
    // The recursive type checks its owner; the unnamed mutex leaves two blanks in the message.
    mutex m(true);
    const auto unlock_fails = [&] {
        expect_raise<nubase::es::call>(
            [&] { m.unlock(); }, "lib/nubase/src/mutex", 136,
            "The current thread does not hold a lock on mutex  (unlock)");
    };
    unlock_fails();
    m.lock();
    on_other_thread(unlock_fails);
    m.unlock();  // still held by this thread, and still usable
}

TEST(Condition, TimedWaitsTimeOut) {
    const mutex m;
    const condition c;
    std::lock_guard<const mutex> hold(m);
    // Dead-lines in the past time out at once, also one whose nanoseconds round up to a whole
    // second (the wait would refuse it as invalid if that were not carried).
    for (const timestamp& past : {timestamp(1, 1), timestamp(3999999999ULL, 2000000000ULL)})
        EXPECT_FALSE(c.wait_abs(m, past));
    // 60 ms at two rates; with the larger count a wrong sum would wait hours or not at all.
    for (const timestamp& timeout : {timestamp(60, 1000), timestamp(60000000, 1000000000)}) {
        const auto start = clock_type::now();
        EXPECT_FALSE(c.wait(m, timeout));
        EXPECT_GE(ms_since(start), 50);
        EXPECT_LT(ms_since(start), 30000);
    }
}

TEST(Condition, SignalWakesAWaiterBroadcastWakesAll) {
    const mutex m;
    const condition c;
    bool ready = false;
    std::thread poster([&] {
        std::lock_guard<const mutex> hold(m);
        ready = true;
        c.signal();
    });
    {
        std::lock_guard<const mutex> hold(m);
        for (bool woken = true; !ready && woken;)
            woken = c.wait(m, timestamp(30, 1));
        EXPECT_TRUE(ready);
    }
    poster.join();

    int released = 0;
    bool go = false;
    std::thread waiters[3];
    for (auto& w : waiters) {
        w = std::thread([&] {
            std::lock_guard<const mutex> hold(m);
            while (!go)
                c.wait(m);
            ++released;
        });
    }
    {
        std::lock_guard<const mutex> hold(m);
        go = true;
        c.broadcast();
    }
    for (auto& w : waiters)
        w.join();
    EXPECT_EQ(3, released);
}

TEST(Rwlock, ReadersShareAWriterExcludes) {
    rwlock l;
    l.lock_rd();
    on_other_thread([&] {
        EXPECT_TRUE(l.trylock_rd());
        EXPECT_FALSE(l.trylock_wr());
        l.unlock();
    });
    l.unlock();

    l.lock_wr();
    on_other_thread([&] {
        EXPECT_FALSE(l.trylock_rd());
        EXPECT_FALSE(l.trylock_wr());
    });
    // Locking over its own write hold is reported instead of hanging.
    expect_raise<nubase::es::call>([&] { l.lock_wr(); }, "lib/nubase/src/rwlock", 74,
                                   "rwlock wrlock error");
    expect_raise<nubase::es::call>([&] { l.lock_rd(); }, "lib/nubase/src/rwlock", 65,
                                   "rwlock rdlock error");
    l.unlock();
    EXPECT_TRUE(l.trylock_wr());
    l.unlock();
}

TEST(Semaphore, Counting) {
    const struct {
        const char* what;
        void (*act)(semaphore&);
        bool taken;  // what trywait then returns
        int value;   // the value afterwards
    } steps[] = {
        {"empty", [](semaphore&) {}, false, 0},
        {"post(3) gives three units", [](semaphore& s) { s.post(3); }, true, 2},
        {"second", [](semaphore&) {}, true, 1},
        {"third", [](semaphore&) {}, true, 0},
        {"fourth fails", [](semaphore&) {}, false, 0},
        {"reset(0) withdraws posted units", [](semaphore& s) { s.post(5), s.reset(0); }, false, 0},
        {"negative value needs more posts", [](semaphore& s) { s.reset(-1), s.post(); }, false, 0},
        {"then one more", [](semaphore& s) { s.post(); }, true, 0},
    };
    semaphore s(0);
    for (const auto& st : steps) {
        SCOPED_TRACE(st.what);
        st.act(s);
        EXPECT_EQ(st.taken, s.trywait());
        EXPECT_EQ(st.value, s.get_value());
    }
}

TEST(Semaphore, TimedWaitsAndTrywaitNeverBlock) {
    semaphore s(0);
    const auto start = clock_type::now();
    EXPECT_FALSE(s.wait(timestamp(50, 1000)));
    EXPECT_GE(ms_since(start), 40);
    EXPECT_EQ(0, s.get_value());

    // A unit already there is taken even with a dead-line in the past.
    s.post();
    EXPECT_TRUE(s.wait_abs(timestamp(1, 1)));
    EXPECT_FALSE(s.wait_abs(timestamp(1, 1)));

    // trywait does not wait for the semaphore's own mutex either.
    s.post(2);
    s.get_mutex().lock();
    on_other_thread([&] { EXPECT_FALSE(s.trywait()); });
    s.get_mutex().unlock();
    EXPECT_EQ(2, s.get_value());
    EXPECT_TRUE(s.trywait());
}

TEST(Semaphore, HandsUnitsAcrossThreads) {
    constexpr int k_units = 2000;
    semaphore items(0);
    std::atomic<int> taken{0};
    std::thread consumers[2];
    for (auto& c : consumers) {
        c = std::thread([&] {
            for (int i = 0; i < k_units / 2; ++i) {  // untimed and timed waits in turn
                ASSERT_TRUE(i % 2 ? (items.wait(), true) : items.wait(timestamp(30, 1)));
                ++taken;
            }
        });
    }
    for (int i = 0; i < k_units; i += 4) {
        items.post();
        items.post(3);
    }
    for (auto& c : consumers)
        c.join();
    EXPECT_EQ(k_units, taken.load());
    EXPECT_EQ(0, items.get_value());
}

}  // namespace
