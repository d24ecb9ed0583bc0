// Reading the kernel's text files.
#include "posix/procfs.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace nubase {
namespace sys {

bool read_text_file(const char* a_path, std::string& a_text) {
    const int l_fd = ::open(a_path, O_RDONLY | O_CLOEXEC);
    if (l_fd == -1) return false;
    a_text.clear();
    char l_piece[4096];
    for (;;) {
        const ssize_t l_count = ::read(l_fd, l_piece, sizeof l_piece);
        if (l_count > 0) {
            a_text.append(l_piece, static_cast<std::size_t>(l_count));
        } else if (l_count == 0) {
            break;
        } else if (errno != EINTR) {
            const int l_err = errno;
            ::close(l_fd);
            errno = l_err;
            return false;
        }
    }
    ::close(l_fd);
    return true;
}

bool find_field(const std::string& a_text, const char* a_key, std::string& a_value) {
    const std::size_t l_key_size = std::strlen(a_key);
    for (std::size_t l_line = 0; l_line < a_text.size();) {
        std::size_t l_end = a_text.find('\n', l_line);
        if (l_end == std::string::npos) l_end = a_text.size();
        if (a_text.compare(l_line, l_key_size, a_key) == 0) {
            std::size_t l_p = l_line + l_key_size;
            while (l_p < l_end && (a_text[l_p] == ' ' || a_text[l_p] == '\t'))
                ++l_p;
            if (l_p < l_end && a_text[l_p] == ':') {
                ++l_p;
                while (l_p < l_end && (a_text[l_p] == ' ' || a_text[l_p] == '\t'))
                    ++l_p;
                std::size_t l_last = l_end;
                while (l_last > l_p && (a_text[l_last - 1] == ' ' || a_text[l_last - 1] == '\t'))
                    --l_last;
                a_value.assign(a_text, l_p, l_last - l_p);
                return true;
            }
        }
        l_line = l_end + 1;
    }
    return false;
}

}  // namespace sys
}  // namespace nubase
