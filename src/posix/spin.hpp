// src/posix/spin.hpp - bounded spinning before a blocking wait.
//
// Handing work between two threads costs a sleep and a wake-up when the partner is not yet ready;
// between processors that wake-up takes microseconds (tens of them under virtualisation). A
// waiter that expects its partner soon polls for a short, bounded time first and blocks only
// when that did not pay off. With a single processor polling only delays the partner, so it is
// skipped there.
#ifndef NUBASE_SRC_POSIX_SPIN_HPP
#define NUBASE_SRC_POSIX_SPIN_HPP

#include "nubase/timestamp.hpp"

namespace nubase {
namespace detail {

// How long a waiter polls before it blocks.
constexpr unsigned long long k_spin_ns = 50000;

// True when the process may run on more than one processor (its affinity mask at the first
// call; the answer is kept).
bool spinning_pays() noexcept;

inline void cpu_relax() noexcept {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#else
    __asm__ __volatile__("" ::: "memory");
#endif
}

// Polls `ready()` until it is true (returns true) or `budget` nanoseconds have passed (false).
template <class Ready>
bool spin_until(Ready a_ready, unsigned long long a_budget) {
    if (a_ready()) return true;
    const unsigned long long l_deadline = time_now() + a_budget;
    for (;;) {
        for (int l_i = 0; l_i < 64; ++l_i) {
            cpu_relax();
            if (a_ready()) return true;
        }
        if (time_now() >= l_deadline) return false;
    }
}

}  // namespace detail
}  // namespace nubase

#endif  // NUBASE_SRC_POSIX_SPIN_HPP
