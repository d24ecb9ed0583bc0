// The byte buffer: growth, reallocation and comparison.
#include "nubase/buffer.hpp"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <new>

namespace nubase {
namespace {

constexpr unsigned long long k_max_size = std::numeric_limits<unsigned long long>::max();

// Allocates `capacity` bytes; a request that does not fit the address space is made with the
// largest representable size so that it fails with std::bad_alloc rather than being truncated.
unsigned char* allocate(unsigned long long a_capacity) {
    if (a_capacity > std::numeric_limits<std::size_t>::max() ||
        a_capacity > static_cast<unsigned long long>(std::numeric_limits<std::ptrdiff_t>::max())) {
        throw std::bad_alloc();
    }
    return new unsigned char[static_cast<std::size_t>(a_capacity)];
}

// Twice n, for the constructors' head-room; saturating so that a huge n fails to allocate.
unsigned long long twice(unsigned long long a_count) {
    return a_count > k_max_size / 2 ? k_max_size : 2 * a_count;
}

}  // namespace

unsigned long long buffer_grown_capacity(unsigned long long a_capacity,
                                         unsigned long long a_needed) noexcept {
    if (a_capacity == 0) return twice(a_needed);
    while (a_capacity <= a_needed) {
        if (a_capacity > k_max_size / 2) return k_max_size;
        a_capacity *= 2;
    }
    return a_capacity;
}

buffer::buffer() : m_capacity(1024), m_size(0), m_data(allocate(1024)) {}

buffer::buffer(unsigned long long a_hint)
    : m_capacity(twice(a_hint)), m_size(0), m_data(allocate(m_capacity)) {}

buffer::buffer(unsigned long long a_size, unsigned char a_fill)
    : m_capacity(twice(a_size)), m_size(a_size), m_data(allocate(m_capacity)) {
    std::memset(m_data, a_fill, a_size);
}

buffer::buffer(unsigned long long a_size, const unsigned char* a_src)
    : m_capacity(twice(a_size)), m_size(a_size), m_data(allocate(m_capacity)) {
    if (a_size != 0) std::memcpy(m_data, a_src, a_size);
}

buffer::buffer(const unsigned char* a_first, const unsigned char* a_last)
    : buffer(static_cast<unsigned long long>(a_last - a_first), a_first) {}

buffer::buffer(const buffer& a_other) : buffer(a_other.m_size, a_other.m_data) {}

buffer& buffer::operator=(const buffer& a_other) {
    if (this != &a_other) assign(a_other.m_data, a_other.m_data + a_other.m_size);
    return *this;
}

buffer::~buffer() {
    delete[] m_data;
}

void buffer::reallocate(unsigned long long a_capacity, unsigned long long a_keep) {
    unsigned char* l_data = allocate(a_capacity);
    if (a_keep != 0) std::memcpy(l_data, m_data, a_keep);
    delete[] m_data;
    m_data = l_data;
    m_capacity = a_capacity;
}

void buffer::reserve(unsigned long long a_needed) {
    if (m_capacity >= a_needed) return;
    reallocate(buffer_grown_capacity(m_capacity, a_needed), m_size);
}

void buffer::assign(const unsigned char* a_first, const unsigned char* a_last) {
    const auto l_count = static_cast<unsigned long long>(a_last - a_first);
    if (l_count <= m_capacity) {
        if (l_count != 0) std::memmove(m_data, a_first, l_count);
    } else {
        // The old contents are about to be overwritten: allocate, move the range in, then free.
        const unsigned long long l_capacity = buffer_grown_capacity(m_capacity, l_count);
        unsigned char* l_data = allocate(l_capacity);
        std::memcpy(l_data, a_first, l_count);
        delete[] m_data;
        m_data = l_data;
        m_capacity = l_capacity;
    }
    m_size = l_count;
}

void buffer::resize(unsigned long long a_size) {
    if (m_capacity < a_size) reallocate(buffer_grown_capacity(m_capacity, a_size), m_size);
    m_size = a_size;
}

void buffer::resize(unsigned long long a_size, unsigned char a_fill) {
    if (m_size >= a_size) {
        m_size = a_size;
        return;
    }
    if (m_capacity < a_size) reallocate(buffer_grown_capacity(m_capacity, a_size), m_size);
    std::memset(m_data + m_size, a_fill, a_size - m_size);
    m_size = a_size;
}

void buffer::adjust(unsigned long long a_size) {
    const unsigned long long l_keep = std::min(m_size, a_size);
    reallocate(buffer_grown_capacity(m_capacity, a_size), l_keep);
    m_size = l_keep;
}

void buffer::append_grow(const unsigned char* a_src, unsigned long long a_count) {
    if (a_count > k_max_size - m_size) throw std::bad_alloc();
    const unsigned long long l_size = m_size + a_count;
    // The source may lie inside the old array: copy it before that array is freed.
    const unsigned long long l_capacity = buffer_grown_capacity(m_capacity, l_size);
    unsigned char* l_data = allocate(l_capacity);
    if (m_size != 0) std::memcpy(l_data, m_data, m_size);
    std::memcpy(l_data + m_size, a_src, a_count);
    delete[] m_data;
    m_data = l_data;
    m_capacity = l_capacity;
    m_size = l_size;
}

void buffer::swap(buffer& a_other) noexcept {
    std::swap(m_capacity, a_other.m_capacity);
    std::swap(m_size, a_other.m_size);
    std::swap(m_data, a_other.m_data);
}

namespace {
// Built at library load with the default constructor, destroyed at unload.
const buffer g_empty_buffer;
}  // namespace

const buffer& buffer_empty_buffer() noexcept {
    return g_empty_buffer;
}

bool operator==(const buffer& a_left, const buffer& a_right) noexcept {
    return a_left.size() == a_right.size() &&
           (a_left.size() == 0 || std::memcmp(a_left.data(), a_right.data(), a_left.size()) == 0);
}

bool operator!=(const buffer& a_left, const buffer& a_right) noexcept {
    return !(a_left == a_right);
}

namespace {
// memcmp of the common prefix: negative, zero or positive.
int compare_prefix(const buffer& a_left, const buffer& a_right) noexcept {
    const unsigned long long l_common = std::min(a_left.size(), a_right.size());
    return l_common == 0 ? 0 : std::memcmp(a_left.data(), a_right.data(), l_common);
}
}  // namespace

bool operator<(const buffer& a_left, const buffer& a_right) noexcept {
    const int l_order = compare_prefix(a_left, a_right);
    return l_order != 0 ? l_order < 0 : a_left.size() < a_right.size();
}

bool operator<=(const buffer& a_left, const buffer& a_right) noexcept {
    const int l_order = compare_prefix(a_left, a_right);
    return l_order != 0 ? l_order < 0 : a_left.size() <= a_right.size();
}

}  // namespace nubase
