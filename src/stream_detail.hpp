// src/stream_detail.hpp - stream helpers shared by the stream, byte-stream and bit-stream code.
#ifndef NUBASE_SRC_STREAM_DETAIL_HPP
#define NUBASE_SRC_STREAM_DETAIL_HPP

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

// Raises the end-of-data failure of `stream::read` (`es::uflow`, "lib/nubase/src/stream_rd").
[[noreturn]] void raise_end_of_data();

}  // namespace detail
}  // namespace stream
}  // namespace nubase

#endif  // NUBASE_SRC_STREAM_DETAIL_HPP
