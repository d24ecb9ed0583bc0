// src/posix/futex.hpp - a one-word lock and a wake-up word over the kernel's futex.
//
// The call queue takes its own lock twice per posted call and lets its thread sleep between
// runs. A POSIX mutex costs a call into the C library and a type dispatch on each side, and a
// POSIX condition wait hands the mutex back in its contended state, so that every wake-up ends
// in one more system call to unlock it. These two pieces do the same work on one 32-bit word
// each: taking or giving a free lock is one atomic instruction inlined at the call site, and
// the kernel is entered only to sleep or to wake a sleeper.
//
// Both rely on Linux's futex (the platform this code is built for); the word is a
// `std::atomic<std::uint32_t>`, whose object representation is the plain 32-bit integer the
// kernel reads.
#ifndef NUBASE_SRC_POSIX_FUTEX_HPP
#define NUBASE_SRC_POSIX_FUTEX_HPP

#include <atomic>
#include <cstdint>
#include <ctime>

namespace nubase {
namespace detail {

// Sleeps while `word` holds `expected`: returns true when woken, at once if the word already
// differs, or spuriously; false once the CLOCK_MONOTONIC time `deadline` has passed (or when the
// kernel refuses it). A null deadline waits without limit. Not a cancellation point.
bool futex_wait(const std::atomic<std::uint32_t>& a_word, std::uint32_t a_expected,
                const timespec* a_deadline) noexcept;

// Wakes up to `count` threads sleeping on `word`.
void futex_wake(const std::atomic<std::uint32_t>& a_word, int a_count) noexcept;

// The CLOCK_MONOTONIC time `seconds` + `nanoseconds` from now, normalised.
timespec monotonic_deadline(const timespec& a_relative) noexcept;

// A mutual-exclusion lock in one word for short critical sections: 0 free, 1 held, 2 held with
// (possibly) sleepers. The word lives in its owner (a class of the public headers cannot name
// this one); `word_guard` holds it for a scope. Not recursive; released by its holder only. When
// the process may run on more than one processor, a blocked taker polls briefly before it
// sleeps, since the holder is about to let go.
void lock_word_contended(std::atomic<std::uint32_t>& a_word) noexcept;

inline void lock_word(std::atomic<std::uint32_t>& a_word) noexcept {
    std::uint32_t l_free = 0;
    if (!a_word.compare_exchange_strong(l_free, 1, std::memory_order_acquire,
                                        std::memory_order_relaxed))
        lock_word_contended(a_word);
}

inline void unlock_word(std::atomic<std::uint32_t>& a_word) noexcept {
    if (a_word.exchange(0, std::memory_order_release) == 2) futex_wake(a_word, 1);
}

class word_guard {
  public:
    explicit word_guard(std::atomic<std::uint32_t>& a_word) noexcept : m_word(a_word) {
        lock_word(m_word);
    }
    ~word_guard() { unlock_word(m_word); }
    word_guard(const word_guard&) = delete;
    word_guard& operator=(const word_guard&) = delete;

  private:
    std::atomic<std::uint32_t>& m_word;
};

}  // namespace detail
}  // namespace nubase

#endif  // NUBASE_SRC_POSIX_FUTEX_HPP
