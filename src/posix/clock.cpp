// The high-resolution clock pair on Linux: the monotonic clock in nanoseconds. It never jumps
// with changes of the wall clock, so differences of time_now() are true elapsed times.
#include <time.h>

#include "nubase/timestamp.hpp"

namespace nubase {
namespace {

constexpr unsigned long long k_ticks_per_second = 1000000000ULL;

}  // namespace

unsigned long long time_now() noexcept {
    timespec now{};
    // CLOCK_MONOTONIC cannot fail with a valid address; a zeroed value stands for the impossible.
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<unsigned long long>(now.tv_sec) * k_ticks_per_second +
           static_cast<unsigned long long>(now.tv_nsec);
}

unsigned long long time_resolution() noexcept {
    return k_ticks_per_second;
}

}  // namespace nubase
