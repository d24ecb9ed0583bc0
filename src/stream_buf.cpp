// The stream over a caller-owned buffer.
#include <cstring>

#include "nubase/stream.hpp"
#include "raise.hpp"
#include "stream_detail.hpp"

namespace {
constexpr char k_source[] = "lib/nubase/src/stream_buf";
}

namespace nubase {
namespace stream {

buf::buf(buffer& a_buffer) noexcept : m_buffer(&a_buffer), m_position(0) {}

buf::~buf() = default;

void buf::set(buffer& a_buffer) noexcept {
    m_buffer = &a_buffer;
    m_position = 0;
}

unsigned long long buf::peek(void* a_p, unsigned long long a_n) {
    return detail::copy_from(m_buffer->data(), m_buffer->size(), m_position, a_p, a_n);
}

unsigned long long buf::read(void* a_p, unsigned long long a_n) {
    const unsigned long long l_count = buf::peek(a_p, a_n);
    m_position += l_count;
    return l_count;
}

void buf::write(const void* a_p, unsigned long long a_n) {
    if (a_n == 0) return;
    const unsigned long long l_size = m_buffer->size();
    if (l_size < m_position) {
        // The buffer shrank under the position: the gap reads as zeros, not as stale bytes. The
        // fill cannot fail halfway, since growing for the whole write comes first.
        m_buffer->reserve(m_position + a_n);
        m_buffer->resize(m_position, 0);
    }
    if (m_buffer->size() < m_position + a_n) m_buffer->resize(m_position + a_n);
    std::memmove(m_buffer->data() + m_position, a_p, a_n);
    m_position += a_n;
}

unsigned long long buf::seek(long long a_offset, whence a_whence) {
    const unsigned long long l_size = m_buffer->size();
    unsigned long long l_target;
    if (!detail::seek_target(detail::seek_base(a_whence, m_position, l_size), a_offset, l_size,
                             l_target)) {
        NUBASE_RAISE(range, nullptr);
    }
    m_position = l_target;
    return l_target;
}

void buf::resize(unsigned long long a_size) {
    m_buffer->resize(a_size);
}

void buf::flush() {}

}  // namespace stream
}  // namespace nubase
