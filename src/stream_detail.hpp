// src/stream_detail.hpp - stream helpers shared by the stream, byte-stream and bit-stream code.
#ifndef NUBASE_SRC_STREAM_DETAIL_HPP
#define NUBASE_SRC_STREAM_DETAIL_HPP

#include <cstring>
#include <memory>
#include <new>

#include "nubase/stream.hpp"

namespace nubase {
namespace stream {
namespace detail {

// `stream::read` that keeps `a_got` equal to the bytes that arrived at p, also when it raises
// `es::uflow`, so that a cache built on it can keep what arrived before the end.
unsigned long long read_counted(rd& a_reader, unsigned char* a_p, unsigned long long a_n,
                                unsigned long long a_min, unsigned long long& a_got);

// The target of a seek of `offset` from `base` in a stream of `size` bytes: false when it falls
// outside 0..size (arithmetic overflow included), else true with the target in `a_target`.
inline bool seek_target(unsigned long long a_base, long long a_offset, unsigned long long a_size,
                        unsigned long long& a_target) noexcept {
    if (a_offset < 0) {
        const unsigned long long l_back = 0ULL - static_cast<unsigned long long>(a_offset);
        if (l_back > a_base) return false;
        a_target = a_base - l_back;
    } else {
        const unsigned long long l_ahead = static_cast<unsigned long long>(a_offset);
        if (a_base > a_size || l_ahead > a_size - a_base) return false;
        a_target = a_base + l_ahead;
    }
    return a_target <= a_size;
}

// The base of a seek: 0, the position, or the size for anything else.
inline unsigned long long seek_base(whence a_whence, unsigned long long a_position,
                                    unsigned long long a_size) noexcept {
    return a_whence == whence_start ? 0 : a_whence == whence_current ? a_position : a_size;
}

// A cache block size rounded up to a multiple of `unit` (a power of two) and at least `minimum`.
// Sizes no allocation could satisfy raise `std::bad_alloc` before the rounding could wrap.
inline unsigned long long cache_block(unsigned long long a_block, unsigned long long a_unit,
                                      unsigned long long a_minimum) {
    if (a_block > (1ULL << 48)) throw std::bad_alloc();
    const unsigned long long l_rounded = (a_block + a_unit - 1) & ~(a_unit - 1);
    return l_rounded < a_minimum ? a_minimum : l_rounded;
}

// Replaces a cache by a zeroed one of `size` bytes. `before` runs once the new cache exists (a
// writer's flush); if it or the allocation raises, the old cache is kept and nothing changes.
template <class Before>
unsigned char* replace_cache(unsigned char* a_old, unsigned long long a_size, Before a_before) {
    std::unique_ptr<unsigned char[]> l_new(new unsigned char[a_size]());
    a_before();
    delete[] a_old;
    return l_new.release();
}

// A writer's destructor: flushes, discarding what the sink raises (a destructor cannot report
// it; `clear` is the checked flush), then frees the cache.
template <class Flush>
void close_writer(unsigned char* a_cache, Flush a_flush) noexcept {
    try {
        a_flush();
    } catch (...) {
    }
    delete[] a_cache;
}

// Copies the bytes from `position` on, at most n, of `size` bytes at `data` to p; returns the
// count (0 when the position is at or past the size).
inline unsigned long long copy_from(const unsigned char* a_data, unsigned long long a_size,
                                    unsigned long long a_position, void* a_p,
                                    unsigned long long a_n) noexcept {
    if (a_position >= a_size) return 0;
    const unsigned long long l_count = a_n < a_size - a_position ? a_n : a_size - a_position;
    if (l_count != 0) std::memcpy(a_p, a_data + a_position, l_count);
    return l_count;
}

// Raises the end-of-data failure of `stream::read` (`es::uflow`, "lib/nubase/src/stream_rd").
[[noreturn]] void raise_end_of_data();

}  // namespace detail
}  // namespace stream
}  // namespace nubase

#endif  // NUBASE_SRC_STREAM_DETAIL_HPP
