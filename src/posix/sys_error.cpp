// The system-services family's translation of failed system calls into exceptions.
#include "posix/sys_error.hpp"

#include <cstdarg>
#include <cstring>

#include "nubase/es.hpp"
#include "nubase/string.hpp"

namespace nubase {
namespace sys {

std::string error_text(int a_err) {
    char l_text[256];
    l_text[0] = '\0';
    // glibc's strerror_r returns the text, which may or may not be in the buffer we pass.
    return std::string(::strerror_r(a_err, l_text, sizeof l_text));
}

void raise_file(const char* a_source, unsigned a_line, int a_err, const char* a_action,
                const std::string& a_path) {
    es::file::raise(a_source, a_line, error_text(a_err), a_action, a_path);
}

void raise_call(const char* a_source, unsigned a_line, const char* a_format, ...) {
    va_list l_args;
    va_start(l_args, a_format);
    const std::string l_message = string_with_vformat(a_format, l_args);
    va_end(l_args);
    es::call::raise(a_source, a_line, l_message.c_str());
}

void raise_arg(const char* a_source, unsigned a_line, const char* a_format, ...) {
    va_list l_args;
    va_start(l_args, a_format);
    const std::string l_message = string_with_vformat(a_format, l_args);
    va_end(l_args);
    es::arg::raise(a_source, a_line, l_message.c_str());
}

}  // namespace sys
}  // namespace nubase
