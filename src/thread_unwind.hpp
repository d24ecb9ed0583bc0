// src/thread_unwind.hpp - what the thread and call-queue sources share about a thread's forced
// unwinding. Internal to the library; not installed.
#ifndef NUBASE_SRC_THREAD_UNWIND_HPP
#define NUBASE_SRC_THREAD_UNWIND_HPP

namespace nubase {

// Called before passing on a thread's exit or cancellation (an exception of no C++ type). Under
// AddressSanitizer the forced unwinding leaves the redzones of the unwound frames poisoned, and
// the sanitizer's own bookkeeping on the rethrow then trips over them; clearing the unused part
// of the stack avoids that false report. Nothing in other builds.
void unpoison_unwound_stack() noexcept;

}  // namespace nubase

#endif  // NUBASE_SRC_THREAD_UNWIND_HPP
