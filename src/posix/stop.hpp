// src/posix/stop.hpp - the fatal stop shared by `ds::abort` and `ds_og::abort` (not exported).
#ifndef NUBASE_SRC_POSIX_STOP_HPP
#define NUBASE_SRC_POSIX_STOP_HPP

namespace nubase {
namespace ds {
namespace detail {

// Closes the three standard streams (flushing them), blocks every signal but SIGABRT and raises
// it; if a handler returns, restores the default action and raises again; should the process
// still live, waits in `sigsuspend`, then calls `exit(1)`.
[[noreturn]] void stop_process() noexcept;

}  // namespace detail
}  // namespace ds
}  // namespace nubase

#endif  // NUBASE_SRC_POSIX_STOP_HPP
