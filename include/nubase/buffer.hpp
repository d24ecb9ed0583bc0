// nubase/buffer.hpp - the library's growable byte array.
//
// `buffer` is a value type with deep copies and one fixed growth rule; it carries raw bytes
// between the codings, streams, files and string conversions:
//
//   nubase::buffer b;                      // capacity 1024, size 0
//   b.append(header, 8);
//   b.append(payload.data(), payload.data() + payload.size());
//   write_all(fd, b.data(), b.size());
//
// Growth rule, used by every operation that needs room for n bytes: from capacity 0 the new
// capacity is 2 x n; otherwise the capacity doubles until it is strictly greater than n (a
// capacity of exactly n doubles once more). Growing allocates a new array, copies what the
// operation keeps and frees the old one.
//
// Failure: no operation raises an `es` exception. A size that cannot be allocated (one that does
// not fit the address space included) raises `std::bad_alloc` and leaves the buffer with its old
// array, size, capacity and contents.
//
// Moves between buffers are done with `swap`; a moved-from state would need an array of its own.
#ifndef NUBASE_BUFFER_HPP
#define NUBASE_BUFFER_HPP

#include <cstdint>
#include <cstring>

#include "nubase/config.hpp"

namespace nubase {

class NUBASE_API buffer {
  public:
    // Capacity 1024, size 0.
    buffer();
    // Capacity 2 x n, size 0: n is a size hint, not a size.
    explicit buffer(unsigned long long a_hint);
    // Capacity 2 x n, size n, every byte `fill`.
    buffer(unsigned long long a_size, unsigned char a_fill);
    // Capacity 2 x n, size n, a copy of the n bytes at `src`.
    buffer(unsigned long long a_size, const unsigned char* a_src);
    // Capacity 2 x (last - first), a copy of the range.
    buffer(const unsigned char* a_first, const unsigned char* a_last);
    // Capacity 2 x other's size (other's capacity is not copied), a copy of other's bytes.
    buffer(const buffer& a_other);
    // Replaces the contents with other's bytes (as `assign`); self-assignment keeps the bytes.
    buffer& operator=(const buffer& a_other);
    virtual ~buffer();

    unsigned long long size() const noexcept { return m_size; }
    unsigned long long capacity() const noexcept { return m_capacity; }
    bool empty() const noexcept { return m_size == 0; }
    // Never null, also for capacity 0. Bytes from size() to capacity() are unspecified.
    unsigned char* data() noexcept { return m_data; }
    const unsigned char* data() const noexcept { return m_data; }
    // Unchecked: the index must be below capacity().
    unsigned char& operator[](unsigned long long a_index) noexcept { return m_data[a_index]; }
    const unsigned char& operator[](unsigned long long a_index) const noexcept {
        return m_data[a_index];
    }

    // Grows for n (growth rule) when capacity < n, keeping the contents; size unchanged.
    void reserve(unsigned long long a_needed);

    // Replaces the contents with [first, last). The range may lie inside this buffer. When it
    // does not fit, the new array is allocated first and the old contents are not copied.
    void assign(const unsigned char* a_first, const unsigned char* a_last);

    // Size becomes n; grows (keeping the contents) when capacity < n. New bytes are not set.
    void resize(unsigned long long a_size);
    // Shrinks without reallocating when size >= n; otherwise grows if needed and sets the bytes
    // from the old size to n to `fill`.
    void resize(unsigned long long a_size, unsigned char a_fill);

    // Cuts the size to n when it is larger, then always moves the kept bytes into a fresh array
    // whose capacity the growth rule gives for n (a capacity already above n is kept; capacity
    // exactly n doubles). The one operation that reallocates unconditionally: it compacts.
    void adjust(unsigned long long a_size);

    // Appends [first, last) or the n bytes at p. The range may lie inside this buffer, also when
    // the append must grow it.
    void append(const unsigned char* a_first, const unsigned char* a_last) {
        append(a_first, static_cast<unsigned long long>(a_last - a_first));
    }
    void append(const unsigned char* a_src, unsigned long long a_count) {
        if (a_count <= m_capacity - m_size) {
            if (a_count <= 32) {
                move_small(m_data + m_size, a_src, static_cast<unsigned>(a_count));
            } else {
                std::memmove(m_data + m_size, a_src, a_count);
            }
            m_size += a_count;
        } else {
            append_grow(a_src, a_count);
        }
    }

    // Exchanges capacity, size and array; never allocates, never throws.
    void swap(buffer& a_other) noexcept;

  private:
    // Overlap-safe move of at most 32 bytes without a library call: every byte is loaded before
    // any is stored. Appends of small fields (the common case when writers build headers) stay
    // inline.
    static void move_small(unsigned char* a_dst, const unsigned char* a_src, unsigned a_count) {
        if (a_count >= 16) {
            std::uint64_t l_a, l_b, l_c, l_d;
            std::memcpy(&l_a, a_src, 8);
            std::memcpy(&l_b, a_src + 8, 8);
            std::memcpy(&l_c, a_src + a_count - 16, 8);
            std::memcpy(&l_d, a_src + a_count - 8, 8);
            std::memcpy(a_dst, &l_a, 8);
            std::memcpy(a_dst + 8, &l_b, 8);
            std::memcpy(a_dst + a_count - 16, &l_c, 8);
            std::memcpy(a_dst + a_count - 8, &l_d, 8);
        } else if (a_count >= 8) {
            std::uint64_t l_a, l_b;
            std::memcpy(&l_a, a_src, 8);
            std::memcpy(&l_b, a_src + a_count - 8, 8);
            std::memcpy(a_dst, &l_a, 8);
            std::memcpy(a_dst + a_count - 8, &l_b, 8);
        } else if (a_count >= 4) {
            std::uint32_t l_a, l_b;
            std::memcpy(&l_a, a_src, 4);
            std::memcpy(&l_b, a_src + a_count - 4, 4);
            std::memcpy(a_dst, &l_a, 4);
            std::memcpy(a_dst + a_count - 4, &l_b, 4);
        } else if (a_count != 0) {
            const unsigned char l_a = a_src[0], l_b = a_src[a_count / 2], l_c = a_src[a_count - 1];
            a_dst[0] = l_a;
            a_dst[a_count / 2] = l_b;
            a_dst[a_count - 1] = l_c;
        }
    }

    void append_grow(const unsigned char* a_src, unsigned long long a_count);
    // Replaces the array with one of `capacity` bytes holding the first `keep` bytes.
    void reallocate(unsigned long long a_capacity, unsigned long long a_keep);

    unsigned long long m_capacity;
    unsigned long long m_size;
    unsigned char* m_data;
};

// The capacity the growth rule gives for `needed` bytes from `capacity`. Saturates at the largest
// value, which no allocation can satisfy, instead of wrapping.
[[nodiscard]] NUBASE_API unsigned long long buffer_grown_capacity(
    unsigned long long a_capacity, unsigned long long a_needed) noexcept;

// The one process-wide empty buffer (capacity 1024, size 0), built at library load. Meant as a
// default argument; callers must not modify it.
[[nodiscard]] NUBASE_API const buffer& buffer_empty_buffer() noexcept;

// Equal sizes and equal bytes; capacities are ignored.
[[nodiscard]] NUBASE_API bool operator==(const buffer& a_left, const buffer& a_right) noexcept;
[[nodiscard]] NUBASE_API bool operator!=(const buffer& a_left, const buffer& a_right) noexcept;
// Lexicographic order on unsigned bytes; on an equal common prefix the shorter buffer is less.
// Only `<` and `<=` exist, not `>` and `>=`.
[[nodiscard]] NUBASE_API bool operator<(const buffer& a_left, const buffer& a_right) noexcept;
[[nodiscard]] NUBASE_API bool operator<=(const buffer& a_left, const buffer& a_right) noexcept;

}  // namespace nubase

#endif  // NUBASE_BUFFER_HPP
