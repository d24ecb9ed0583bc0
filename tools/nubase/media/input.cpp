// Opening a command-line input and reading it as a stream, with or without seeks.
#include "input.hpp"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace nubase_tool {

// One reader for both kinds: a regular file seeks with lseek, anything else counts what it read
// and refuses to seek.
class media_input::reader : public nubase::stream::rda {
  public:
    reader(int a_fd, bool a_regular) : m_fd(a_fd), m_regular(a_regular) {}

    unsigned long long read(void* a_p, unsigned long long a_n) override {
        for (;;) {
            const ssize_t l_got = ::read(m_fd, a_p, a_n);
            if (l_got >= 0) {
                m_position += static_cast<unsigned long long>(l_got);
                return static_cast<unsigned long long>(l_got);
            }
            if (errno != EINTR)
                throw input_error(std::string("cannot read: ") + std::strerror(errno));
        }
    }

    unsigned long long tell() override { return m_position; }

    unsigned long long seek(long long a_offset, nubase::stream::whence a_whence) override {
        const int l_whence = a_whence == nubase::stream::whence_start     ? SEEK_SET
                             : a_whence == nubase::stream::whence_current ? SEEK_CUR
                                                                          : SEEK_END;
        const off_t l_at = m_regular ? ::lseek(m_fd, a_offset, l_whence) : -1;
        if (l_at < 0) throw input_error(std::string("cannot seek: ") + std::strerror(errno));
        m_position = static_cast<unsigned long long>(l_at);
        return m_position;
    }

    unsigned long long size() override {
        struct stat l_st;
        if (::fstat(m_fd, &l_st) != 0)
            throw input_error(std::string("cannot stat: ") + std::strerror(errno));
        return static_cast<unsigned long long>(l_st.st_size);
    }

    bool regular() const { return m_regular; }

  private:
    int m_fd;
    bool m_regular;
    unsigned long long m_position = 0;
};

media_input::media_input(const std::string& a_path) {
    if (a_path == "-") {
        m_fd = STDIN_FILENO;
    } else {
        m_fd = ::open(a_path.c_str(), O_RDONLY | O_CLOEXEC);
        if (m_fd < 0) throw input_error(std::string("cannot open: ") + std::strerror(errno));
        m_owned = true;
    }
    struct stat l_st;
    if (::fstat(m_fd, &l_st) != 0) {
        const int l_errno = errno;
        if (m_owned) ::close(m_fd);
        throw input_error(std::string("cannot stat: ") + std::strerror(l_errno));
    }
    if (S_ISDIR(l_st.st_mode)) {
        if (m_owned) ::close(m_fd);
        throw input_error("is a directory");
    }
    m_reader.reset(new reader(m_fd, S_ISREG(l_st.st_mode)));
}

media_input::~media_input() {
    if (m_owned) ::close(m_fd);
}

nubase::stream::rd& media_input::stream() {
    return *m_reader;
}

nubase::stream::rda* media_input::seekable() {
    return m_reader->regular() ? m_reader.get() : nullptr;
}

}  // namespace nubase_tool
