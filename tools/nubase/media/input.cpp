// Opening a command-line input and reading it as a stream, with or without seeks.
#include "input.hpp"

#include <cerrno>
#include <algorithm>
#include <cstring>
#include <string>
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
        if (m_replayed < m_front.size()) {
            const std::size_t l_n = std::min<std::size_t>(a_n, m_front.size() - m_replayed);
            std::memcpy(a_p, m_front.data() + m_replayed, l_n);
            m_replayed += l_n;
            m_position += l_n;
            return l_n;
        }
        return read_fd(a_p, a_n);
    }

    // The first n bytes, kept to be read again (a regular file reads them in place).
    std::string front(std::size_t a_n) {
        std::string l_bytes(a_n, '\0');
        std::size_t l_got = 0;
        if (m_regular) {
            const ssize_t l_n = ::pread(m_fd, &l_bytes[0], a_n, 0);
            l_got = l_n > 0 ? static_cast<std::size_t>(l_n) : 0;
        } else {
            while (l_got < a_n) {
                const unsigned long long l_n = read_fd(&l_bytes[l_got], a_n - l_got);
                if (l_n == 0) break;
                l_got += l_n;
            }
            m_front.assign(l_bytes, 0, l_got);
            m_position = 0;
        }
        l_bytes.resize(l_got);
        return l_bytes;
    }

    unsigned long long read_fd(void* a_p, unsigned long long a_n) {
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
    std::string m_front;  // a pipe's first bytes, read again first
    std::size_t m_replayed = 0;
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

std::string media_input::front(std::size_t a_n) {
    return m_reader->front(a_n);
}

nubase::stream::rda* media_input::seekable() {
    return m_reader->regular() ? m_reader.get() : nullptr;
}

}  // namespace nubase_tool
