// The descriptor handle and the path classifiers.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

#include "nubase/file.hpp"
#include "nubase/path.hpp"
#include "nubase/strutil.hpp"
#include "posix/sys_error.hpp"

namespace nubase {

namespace {
constexpr char k_source[] = "lib/nubase/src/darwin/file";

// One system call may move at most this many bytes on Linux; larger requests are capped so the
// count always fits the signed result.
constexpr unsigned long long k_max_io = 0x7ffff000ULL;
}  // namespace

file::file(const std::string& a_path, unsigned int a_flags, unsigned int a_mode)
    : m_fd(new int(-1)) {
    try {
        open(a_path, a_flags, a_mode);
    } catch (...) {
        delete m_fd;
        throw;
    }
}

file::file(int a_fd) : m_fd(new int(a_fd)) {}

file::file(const file& a_other) : m_fd(new int(*a_other.m_fd)) {}

file& file::operator=(const file& a_other) {
    *m_fd = *a_other.m_fd;
    return *this;
}

file::~file() {
    delete m_fd;
}

void file::open(const std::string& a_path, unsigned int a_flags, unsigned int a_mode) {
    if (a_path.empty()) return;
    int l_fd;
    do {
        l_fd = ::open(a_path.c_str(), static_cast<int>(a_flags), static_cast<mode_t>(a_mode));
    } while (l_fd == -1 && errno == EINTR);
    *m_fd = l_fd;
    if (l_fd == -1) sys::raise_file(k_source, 83, errno, "open", a_path);
}

void file::close() {
    if (*m_fd <= 0) return;
    const int l_fd = *m_fd;
    *m_fd = -1;
    // Linux releases the descriptor even when close reports EINTR, so it is never retried.
    if (::close(l_fd) == -1) sys::raise_file(k_source, 94, errno, "close");
}

bool file::is_open() const noexcept {
    return *m_fd > 0;
}

unsigned long long file::read(void* a_data, unsigned long long a_size) {
    const size_t l_size = a_size < k_max_io ? a_size : k_max_io;
    ssize_t l_count;
    do {
        l_count = ::read(*m_fd, a_data, l_size);
    } while (l_count == -1 && errno == EINTR);
    if (l_count == -1) sys::raise_file(k_source, 110, errno, "read");
    return static_cast<unsigned long long>(l_count);
}

unsigned long long file::write(const void* a_data, unsigned long long a_size) {
    const size_t l_size = a_size < k_max_io ? a_size : k_max_io;
    ssize_t l_count;
    do {
        errno = 0;
        l_count = ::write(*m_fd, a_data, l_size);
    } while (l_count == -1 && errno == EINTR);
    if (l_count < 0 || static_cast<unsigned long long>(l_count) != a_size)
        sys::raise_file(k_source, 120, errno, "write");
    return a_size;
}

unsigned long long file::tell() {
    const off_t l_offset = ::lseek(*m_fd, 0, SEEK_CUR);
    if (l_offset == -1) sys::raise_file(k_source, 130, errno, "tell");
    return static_cast<unsigned long long>(l_offset);
}

unsigned long long file::seek(unsigned long long a_offset, int a_whence) {
    const off_t l_offset = ::lseek(*m_fd, static_cast<off_t>(a_offset), a_whence);
    if (l_offset == -1) sys::raise_file(k_source, 140, errno, "seek");
    return static_cast<unsigned long long>(l_offset);
}

unsigned long long file::size() {
    struct stat l_stat;
    if (::fstat(*m_fd, &l_stat) == -1) sys::raise_file(k_source, 155, errno, "stat");
    return static_cast<unsigned long long>(l_stat.st_size);
}

void file::close_on_exec() noexcept {
    const int l_flags = ::fcntl(*m_fd, F_GETFD);
    if (l_flags != -1) ::fcntl(*m_fd, F_SETFD, l_flags | FD_CLOEXEC);
}

bool file::is_system_file(const std::string&) {
    return false;
}

bool file::is_hidden_file(const std::string& a_path) {
    const std::string l_last = path_back(a_path, '/');
    return l_last.empty() || l_last[0] == '.';
}

bool file::is_alias(const std::string&) {
    return false;
}
bool file::is_alias_to_directory(const std::string&) {
    return false;
}
bool file::is_alias_to_file(const std::string&) {
    return false;
}

std::string file::resolve_alias(const std::string& a_path) {
    // With no aliases to follow, walking the components only rebuilds the prefix.
    std::vector<std::string> l_parts;
    strutil::tokenize_string(a_path, '/', l_parts, false);
    std::string l_prefix;
    strutil::join_strings(l_parts, '/', l_prefix);
    return path_rooted(l_prefix, "/");
}

}  // namespace nubase
