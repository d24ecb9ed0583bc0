// The futex calls behind the call queue's lock and wake-up word.
#include "posix/futex.hpp"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

#include "posix/spin.hpp"

namespace nubase {
namespace detail {
namespace {

static_assert(sizeof(std::atomic<std::uint32_t>) == sizeof(std::uint32_t),
              "a futex word is a plain 32-bit integer");

// How long a blocked taker of a lock word polls before it sleeps.
constexpr unsigned long long k_lock_spin_ns = 2000;

std::uint32_t* address(const std::atomic<std::uint32_t>& a_word) noexcept {
    return reinterpret_cast<std::uint32_t*>(const_cast<std::atomic<std::uint32_t>*>(&a_word));
}

}  // namespace

bool futex_wait(const std::atomic<std::uint32_t>& a_word, std::uint32_t a_expected,
                const timespec* a_deadline) noexcept {
    // FUTEX_WAIT_BITSET takes an absolute time-out on CLOCK_MONOTONIC (plain FUTEX_WAIT takes
    // a relative one, which a retry after a spurious wake-up would have to recompute).
    const long l_result = syscall(SYS_futex, address(a_word), FUTEX_WAIT_BITSET_PRIVATE, a_expected,
                                  a_deadline, nullptr, FUTEX_BITSET_MATCH_ANY);
    // Woken, the word already changed, or a signal: the caller looks again. A time-out, or a
    // dead-line the kernel refuses (before the clock's epoch), ends the wait.
    return l_result == 0 || errno == EAGAIN || errno == EINTR;
}

void futex_wake(const std::atomic<std::uint32_t>& a_word, int a_count) noexcept {
    syscall(SYS_futex, address(a_word), FUTEX_WAKE_PRIVATE, a_count, nullptr, nullptr, 0);
}

timespec monotonic_deadline(const timespec& a_relative) noexcept {
    timespec l_now{};
    clock_gettime(CLOCK_MONOTONIC, &l_now);
    constexpr long k_second = 1000000000L;
    timespec l_deadline{l_now.tv_sec + a_relative.tv_sec, l_now.tv_nsec + a_relative.tv_nsec};
    while (l_deadline.tv_nsec >= k_second) {
        l_deadline.tv_nsec -= k_second;
        ++l_deadline.tv_sec;
    }
    while (l_deadline.tv_nsec < 0) {
        l_deadline.tv_nsec += k_second;
        --l_deadline.tv_sec;
    }
    return l_deadline;
}

void lock_word_contended(std::atomic<std::uint32_t>& a_word) noexcept {
    // The holder of a lock like this one keeps it for a few instructions: with another
    // processor, it is usually free again before a sleep could even begin.
    const auto l_take_free = [&a_word] {
        std::uint32_t l_state = a_word.load(std::memory_order_relaxed);
        return l_state == 0 && a_word.compare_exchange_weak(l_state, 1, std::memory_order_acquire,
                                                            std::memory_order_relaxed);
    };
    if (spinning_pays() && spin_until(l_take_free, k_lock_spin_ns)) return;
    // Mark the lock as having sleepers before each sleep, so that its holder wakes one at
    // `unlock`; a taker that finds it free this way holds it in the marked state, which costs at
    // most one needless wake-up.
    while (a_word.exchange(2, std::memory_order_acquire) != 0)
        futex_wait(a_word, 2, nullptr);
}

}  // namespace detail
}  // namespace nubase
