// In-place rewriting of a few bytes of a file that was read before.
#include "rewrite.hpp"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "input.hpp"
#include "nubase/bytestream.hpp"
#include "nubase/stream.hpp"

namespace nubase_tool {
namespace {

[[noreturn]] void fail(const char* a_what) {
    throw input_error(std::string(a_what) + ": " + std::strerror(errno));
}

file_identity identity_of(const struct stat& a_st) {
    return {static_cast<std::uint64_t>(a_st.st_dev), static_cast<std::uint64_t>(a_st.st_ino),
            static_cast<std::uint64_t>(a_st.st_size)};
}

}  // namespace

namespace {

// The bytes `write` puts through the library's byte writer.
template <class Write>
std::vector<unsigned char> written(std::size_t a_size, Write a_write) {
    std::vector<unsigned char> l_bytes(a_size);
    nubase::stream::mem l_sink(l_bytes.data(), l_bytes.size());
    nubase::bytestream::wr l_writer(l_sink, 8);
    a_write(l_writer);
    l_writer.clear(l_sink);
    return l_bytes;
}

}  // namespace

std::vector<unsigned char> be32_field(std::uint32_t a_value) {
    return written(4, [&](nubase::bytestream::wr& a_w) { a_w.write_be32(a_value); });
}

std::vector<unsigned char> le64_field(std::uint64_t a_value) {
    return written(8, [&](nubase::bytestream::wr& a_w) { a_w.write_le64(a_value); });
}

file_identity identify_regular_file(const std::string& a_path) {
    struct stat l_st;
    if (::stat(a_path.c_str(), &l_st) != 0) fail("cannot open");
    if (!S_ISREG(l_st.st_mode)) throw input_error("not a regular file");
    return identity_of(l_st);
}

bool is_writable(const std::string& a_path) {
    return ::access(a_path.c_str(), W_OK) == 0;
}

void rewrite_in_place(const std::string& a_path, const file_identity& a_identity,
                      std::uint64_t a_offset, const std::vector<unsigned char>& a_bytes) {
    const int l_fd = ::open(a_path.c_str(), O_WRONLY | O_CLOEXEC);
    if (l_fd < 0) fail("cannot open for writing");
    struct stat l_st;
    const file_identity l_now = ::fstat(l_fd, &l_st) == 0 ? identity_of(l_st) : file_identity{};
    if (!S_ISREG(l_st.st_mode) || l_now.device != a_identity.device ||
        l_now.inode != a_identity.inode || l_now.size != a_identity.size || a_offset > l_now.size ||
        l_now.size - a_offset < a_bytes.size()) {
        ::close(l_fd);
        throw input_error("the file changed since it was read");
    }
    const ssize_t l_wrote =
        ::pwrite(l_fd, a_bytes.data(), a_bytes.size(), static_cast<off_t>(a_offset));
    if (l_wrote != static_cast<ssize_t>(a_bytes.size()) || ::fsync(l_fd) != 0) {
        const int l_errno =
            l_wrote < 0 || l_wrote == static_cast<ssize_t>(a_bytes.size()) ? errno : EIO;
        ::close(l_fd);
        errno = l_errno;
        fail("cannot write");
    }
    if (::close(l_fd) != 0) fail("cannot write");
}

}  // namespace nubase_tool
