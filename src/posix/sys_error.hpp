// src/posix/sys_error.hpp - the system-services family's one route from a failed system call to
// an exception.
//
// Every failed POSIX call in files, processes, environment queries and user look-ups passes
// through these helpers, so the error text is produced in one place (thread-safe, never null) and
// the raise sites only name their source, line and fixed message.
#ifndef NUBASE_SRC_POSIX_SYS_ERROR_HPP
#define NUBASE_SRC_POSIX_SYS_ERROR_HPP

#include <string>

namespace nubase {
namespace sys {

// The system's text for an error number, as `strerror` gives it, but safe to call from several
// threads at once.
std::string error_text(int a_err);

// Raises es::file "Failed to <action> file <path> (<error text>)" for `a_err`.
[[noreturn]] void raise_file(const char* a_source, unsigned a_line, int a_err, const char* a_action,
                             const std::string& a_path = std::string());

// Raise es::call or es::arg with the message formatted by printf rules from a fixed format, so
// each raise site keeps its documented text verbatim and passes the error text as an argument.
[[noreturn]] void raise_call(const char* a_source, unsigned a_line, const char* a_format, ...)
    __attribute__((format(printf, 3, 4)));
[[noreturn]] void raise_arg(const char* a_source, unsigned a_line, const char* a_format, ...)
    __attribute__((format(printf, 3, 4)));

}  // namespace sys
}  // namespace nubase

#endif  // NUBASE_SRC_POSIX_SYS_ERROR_HPP
