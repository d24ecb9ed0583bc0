// nubase/debug.hpp - numbered debug output channels, hex dumps, dumps to a file and assertions.
//
// A process-wide bit mask says which channels are on; every output call names its channel and
// prints to standard error only when that channel's bit is set. Channels 0 to 4 are on when the
// library is loaded; the library gives no channel a meaning, their assignment is the host's.
//
//   nubase::ds_og::mask_set_bit(12);
//   nubase::ds_og::print(12, "parsed %u boxes\n", count);
//   nubase::ds_og::print_buf(12, header, 64);        // hex dump, 16 bytes a line
//   NUBASE_ABORT_IF(ptr == nullptr);                  // channel 0 reports, then SIGABRT
//
// The mask is not locked: set it up once (normally at start) and read it from any thread;
// growing it while other threads test channels is not allowed. Output functions report nothing
// and raise nothing.
#ifndef NUBASE_DEBUG_HPP
#define NUBASE_DEBUG_HPP

#include "nubase/config.hpp"

namespace nubase {
namespace ds_og {

// Whether channel `c` is on; channels beyond the mask are off.
[[nodiscard]] NUBASE_API bool mask_bit(unsigned long long a_c) noexcept;
// Turns channel `c` on. A channel beyond the mask grows it first to (c / 32 + 1) words rounded up
// to a multiple of 32 words (1024 channels); new channels are off, old ones kept. If the memory
// cannot be had, the process ends through `abort("0 == m_buf", ...)`.
NUBASE_API void mask_set_bit(unsigned long long a_c) noexcept;
// Turns channel `c` off; a channel beyond the mask is already off and the mask does not grow.
NUBASE_API void mask_clear_bit(unsigned long long a_c) noexcept;
// Every channel from `first` to `last` inclusive; nothing when first > last.
NUBASE_API void mask_set_range(unsigned long long a_first, unsigned long long a_last) noexcept;
NUBASE_API void mask_clear_range(unsigned long long a_first, unsigned long long a_last) noexcept;
// Every channel of the list; nothing for a null list or a count of 0.
NUBASE_API void mask_set_bits(const unsigned long long* a_list, unsigned long long a_n) noexcept;
NUBASE_API void mask_clear_bits(const unsigned long long* a_list, unsigned long long a_n) noexcept;
// When channel `c` is on, prints the channels that are on as runs: "{ [0..4], 7, 9, 10, }" and a
// newline (a run of three or more as "[a..b]", shorter runs channel by channel).
NUBASE_API void mask_print(unsigned long long a_c) noexcept;

// `vfprintf` to standard error when channel `c` is on.
NUBASE_API void print(unsigned long long a_c, const char* a_format, ...) noexcept
    __attribute__((format(printf, 2, 3)));
// Flushes standard error when channel `c` is on.
NUBASE_API void flush(unsigned long long a_c) noexcept;
// Hex dump of `n` bytes at `p` to standard error when channel `c` is on; nothing for a null
// pointer or n = 0. One 79-character line (newline included) per 16 bytes:
//   "00000010  41 00 7f ...                                      |A..             |"
// the offset in 8 hex digits, two blanks, 16 columns of two hex digits and a blank, "|", the
// bytes 32..126 as themselves and others as ".", "|". A short last line is padded with blanks.
NUBASE_API void print_buf(unsigned long long a_c, const void* a_p, unsigned long long a_n) noexcept;
// Writes exactly the `n` bytes at `p` to the file `filename` (created or truncated, mode 0644)
// when channel `c` is on. Never raises: a file that cannot be opened prints
// "error: debug dump failed: couldn't open file" and a failed write
// "error: debug dump failed: failed to write file" to standard error.
NUBASE_API void dump_buf(unsigned long long a_c, const char* a_filename, const void* a_p,
                         unsigned long long a_n) noexcept;

// When `cond` is true, `abort(expr, file, line)`; otherwise returns at once.
NUBASE_API void abort_if(bool a_cond, const char* a_expr, const char* a_file,
                         unsigned a_line) noexcept;
// Prints "abort: '<expr>' [ <file>:<line> ]" and a newline on channel 0 (silent when channel 0
// is off), then ends the process as `ds::abort` does: the standard streams are closed, every
// signal but SIGABRT blocked and SIGABRT raised; a caught SIGABRT is raised again with the
// default action; should the process still live, it exits with status 1.
[[noreturn]] NUBASE_API void abort(const char* a_expr, const char* a_file,
                                   unsigned a_line) noexcept;

}  // namespace ds_og
}  // namespace nubase

// `abort_if` with the expression's text and the caller's file and line.
#define NUBASE_ABORT_IF(cond) \
    ::nubase::ds_og::abort_if(static_cast<bool>(cond), #cond, __FILE__, __LINE__)

#endif  // NUBASE_DEBUG_HPP
