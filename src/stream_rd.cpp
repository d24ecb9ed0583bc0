// The stream interfaces' seek-based defaults, the concatenating reader and the free helpers.
#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#include "nubase/stream.hpp"
#include "raise.hpp"
#include "stream_detail.hpp"

namespace {
constexpr char k_source[] = "lib/nubase/src/stream_rd";
}

namespace nubase {
namespace stream {

namespace detail {

unsigned long long read_counted(rd& a_reader, unsigned char* a_p, unsigned long long a_n,
                                unsigned long long a_min, unsigned long long& a_got) {
    a_got = 0;
    for (;;) {
        const unsigned long long l_count = a_reader.read(a_p + a_got, a_n - a_got);
        if (l_count == 0) raise_end_of_data();
        a_got += l_count;
        if (a_got >= a_min) return a_got;
    }
}

void raise_end_of_data() {
    NUBASE_RAISE(uflow, nullptr);
}

}  // namespace detail

namespace {

// size() of a seekable stream: the end's offset, with the position restored from the start.
template <class Stream>
unsigned long long size_by_seek(Stream& a_stream) {
    const unsigned long long l_position = a_stream.seek(0, whence_current);
    const unsigned long long l_size = a_stream.seek(0, whence_end);
    a_stream.seek(static_cast<long long>(l_position), whence_start);
    return l_size;
}

}  // namespace

rd::~rd() = default;

rda::~rda() = default;
unsigned long long rda::tell() {
    return seek(0, whence_current);
}
unsigned long long rda::peek(void* a_p, unsigned long long a_n) {
    const unsigned long long l_count = read(a_p, a_n);
    seek(-static_cast<long long>(l_count), whence_current);
    return l_count;
}
unsigned long long rda::size() {
    return size_by_seek(*this);
}

wr::~wr() = default;

wra::~wra() = default;
unsigned long long wra::tell() {
    return seek(0, whence_current);
}
unsigned long long wra::size() {
    return size_by_seek(*this);
}

rwa::~rwa() = default;
unsigned long long rwa::tell() {
    return seek(0, whence_current);
}
unsigned long long rwa::size() {
    return size_by_seek(*this);
}

multird::multird() : m_capacity(8), m_list(new rd*[9]()), m_count(0), m_current(0), m_position(0) {}

multird::~multird() {
    delete[] m_list;
}

void multird::clear() noexcept {
    m_list[0] = nullptr;
    m_count = 0;
    m_current = 0;
    m_position = 0;
}

void multird::add(rd& a_reader) {
    if (m_count == m_capacity) {
        // Grow first, so that a failed allocation leaves the list untouched; the finished
        // readers before the current one are not carried over.
        const unsigned long long l_capacity = m_capacity * 2;
        rd** l_list = new rd*[l_capacity + 1];
        const unsigned long long l_kept = m_count - m_current;
        std::copy(m_list + m_current, m_list + m_count, l_list);
        delete[] m_list;
        m_list = l_list;
        m_capacity = l_capacity;
        m_count = l_kept;
        m_current = 0;
    }
    m_list[m_count++] = &a_reader;
    m_list[m_count] = nullptr;
}

unsigned long long multird::read(void* a_p, unsigned long long a_n) {
    unsigned char* const l_out = static_cast<unsigned char*>(a_p);
    unsigned long long l_got = 0;
    while (l_got < a_n) {
        rd* const l_reader = m_list[m_current];
        if (l_reader == nullptr) break;
        const unsigned long long l_count = l_reader->read(l_out + l_got, a_n - l_got);
        if (l_count == 0) {
            ++m_current;
        } else {
            l_got += l_count;
        }
    }
    m_position += l_got;
    return l_got;
}

unsigned long long read(rd& a_reader, void* a_p, unsigned long long a_n, unsigned long long a_min) {
    unsigned long long l_got;
    return detail::read_counted(a_reader, static_cast<unsigned char*>(a_p), a_n, a_min, l_got);
}

void read(rd& a_reader, buffer& a_buffer, unsigned long long a_n) {
    a_buffer.resize(a_n);
    a_buffer.resize(a_reader.read(a_buffer.data(), a_n));
}

void write(wr& a_writer, const buffer& a_buffer, unsigned long long a_n) {
    a_writer.write(a_buffer.data(), a_n);
}

unsigned long long copy(wr& a_writer, rd& a_reader, unsigned long long a_chunk) {
    if (a_chunk == 0) return 0;
    const std::unique_ptr<unsigned char[]> l_area(new unsigned char[a_chunk]);
    unsigned long long l_total = 0;
    for (;;) {
        const unsigned long long l_count = a_reader.read(l_area.get(), a_chunk);
        if (l_count == 0) return l_total;
        a_writer.write(l_area.get(), l_count);
        l_total += l_count;
    }
}

unsigned long long write(wr& a_writer, rd& a_reader, unsigned long long a_n,
                         unsigned long long a_chunk) {
    if (a_chunk == 0) NUBASE_RAISE(arg, "chunk size is 0");
    // Every pass asks for 8 bytes whatever the chunk; the area is never smaller than that.
    constexpr unsigned long long k_pass_request = 8;
    const std::unique_ptr<unsigned char[]> l_area(
        new unsigned char[std::max(a_chunk, k_pass_request)]);
    const unsigned long long l_passes = a_n / a_chunk;
    unsigned long long l_total = 0;
    for (unsigned long long l_pass = 0; l_pass < l_passes; ++l_pass) {
        const unsigned long long l_count = a_reader.read(l_area.get(), k_pass_request);
        if (l_count == 0) return l_total;
        a_writer.write(l_area.get(), l_count);
        l_total += l_count;
    }
    const unsigned long long l_rest = a_n % a_chunk;
    if (l_passes != 0 && l_rest != 0) {
        const unsigned long long l_count = a_reader.read(l_area.get(), l_rest);
        if (l_count != 0) a_writer.write(l_area.get(), l_count);
        l_total += l_count;
    }
    return l_total;
}

}  // namespace stream
}  // namespace nubase
