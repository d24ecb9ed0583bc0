// The stream over caller-owned fixed memory.
#include <cstring>

#include "nubase/stream.hpp"
#include "raise.hpp"
#include "stream_detail.hpp"

namespace {
constexpr char k_source[] = "lib/nubase/src/stream_mem";
}

namespace nubase {
namespace stream {

mem::mem(unsigned char* a_p, unsigned long long a_n) noexcept
    : m_size(a_n), m_data(a_p), m_position(0) {}

mem::~mem() = default;

void mem::set(unsigned char* a_p, unsigned long long a_n) noexcept {
    m_size = a_n;
    m_data = a_p;
    m_position = 0;
}

unsigned long long mem::peek(void* a_p, unsigned long long a_n) {
    return detail::copy_from(m_data, m_size, m_position, a_p, a_n);
}

unsigned long long mem::read(void* a_p, unsigned long long a_n) {
    const unsigned long long l_count = mem::peek(a_p, a_n);
    m_position += l_count;
    return l_count;
}

void mem::write(const void* a_p, unsigned long long a_n) {
    if (a_n > m_size - m_position) NUBASE_RAISE(range, nullptr);
    if (a_n != 0) std::memmove(m_data + m_position, a_p, a_n);
    m_position += a_n;
}

unsigned long long mem::seek(long long a_offset, whence a_whence) {
    unsigned long long l_target;
    if (!detail::seek_target(detail::seek_base(a_whence, m_position, m_size), a_offset, m_size,
                             l_target)) {
        NUBASE_RAISE(range, nullptr);
    }
    m_position = l_target;
    return l_target;
}

void mem::flush() {}

}  // namespace stream
}  // namespace nubase
