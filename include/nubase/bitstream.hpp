// nubase/bitstream.hpp - bit-granular reading, writing and start-code search over streams.
//
// `bitstream::rd` reads fields of 1 to 32 bits, most significant bit first, through a block
// cache of 32-bit big-endian words; `find` searches it for a bit pattern such as a start code.
// `bitstream::wr` appends such fields. Bits are numbered from the most significant bit of the
// first byte; a field of n bits is the next n bits in that order, returned right-aligned.
//
//   nubase::stream::mem src(data, size);
//   nubase::bitstream::rd r(src, 65536);
//   while (r.find(0x000001, 24, 8, 8)) {      // byte-aligned 00 00 01
//       unsigned type = r.read(8);
//       ...
//   }
//
// The reader never raises on end of data: `has_bits` is the test, and fields past the end read
// as zero bits. Only the byte-run `read` raises `es::uflow` (source "lib/nubase/src/stream_rd",
// message "n/a"). Exceptions of the underlying streams pass through and leave the reader or
// writer as it was.
//
// Blocks are rounded up to a multiple of 4 bytes. The reader asks its source for that block
// (4 bytes for a block of 0 to 4) and keeps a cache of at least two words, so that a 32-bit field
// fits beside a partial word. The writer's block is at least 8 bytes: a deliberate minimum, safer
// than a one-word block, for the same reason. The cache is the only allocation; readers and writers are not
// copyable, are used by one thread at a time, and their stream must outlive them.
#ifndef NUBASE_BITSTREAM_HPP
#define NUBASE_BITSTREAM_HPP

#include <cstdint>
#include <cstring>

#include "nubase/config.hpp"
#include "nubase/stream.hpp"

namespace nubase {
namespace bitstream {

// Bit reader. Reading operations are const: the cache is internal state. `read` and `peek` are
// inline: a field is cut from two cached words with shifts only, and the source is read once per
// block.
class NUBASE_API rd {
  public:
    // Binds to `src`. Raises `std::bad_alloc` when the cache (block + 12 bytes, at least 20)
    // cannot be allocated.
    rd(stream::rd& a_source, unsigned long long a_block);
    ~rd();
    rd(const rd&) = delete;
    rd& operator=(const rd&) = delete;

    // Re-creates the reader as if newly constructed. On `std::bad_alloc` nothing changes.
    void set(stream::rd& a_source, unsigned long long a_block);
    // Binds a new source and discards what is cached.
    void clear(stream::rd& a_source) noexcept;

    // True when n bits can be read. When fewer are cached the source is read until they are or
    // it returns 0 (so a source giving short reads is not mistaken for its end). Exact for n up
    // to 8 x block; a larger n may answer false while the source still has data.
    bool has_bits(unsigned long long a_n) const { return m_available >= a_n || fill_test(a_n); }

    // The next n bits (n from 0 to 32), right-aligned, consumed. Bits past the end of data read
    // as zeros, and the available count stops at 0. n = 0 returns 0 and consumes nothing; n
    // above 32 consumes n bits and returns the first 32 of them.
    std::uint32_t read(unsigned long long a_n) const {
        if (m_available < a_n) fill(a_n);
        const std::uint32_t l_value = window(a_n);
        m_available = m_available > a_n ? m_available - a_n : 0;
        return l_value;
    }

    // As `read`, without consuming.
    std::uint32_t peek(unsigned long long a_n) const {
        if (m_available < a_n) fill(a_n);
        return window(a_n);
    }

    // Consumes n bits, reading the source as needed; past the end it stops with nothing
    // available. Never raises on end of data.
    void skip(unsigned long long a_n) const;

    // Copies n whole bytes to p and returns n. The available bit count is first rounded down
    // to a multiple of `align` bits (8 for byte alignment), dropping the bits before. At a byte
    // boundary the cached bytes are copied and the rest is read straight from the source; at
    // any other bit position the bytes are cut from the cache one by one. A source that ends
    // first raises `es::uflow`; the bytes already stored at p are then consumed.
    unsigned long long read(unsigned char* a_p, unsigned long long a_n,
                            unsigned long long a_align) const;

    // The available bits beyond a whole number of n-bit units (n a power of two).
    unsigned long long boundary(unsigned long long a_n) const noexcept {
        return m_available & (a_n - 1);
    }
    // Drops those bits: available is rounded down to a multiple of n (8 aligns to a byte).
    void align(unsigned long long a_n) const noexcept { m_available &= ~(a_n - 1); }

    // The byte position in the source just past the bits consumed, a partly consumed byte
    // counted whole: the source's `tell()` minus the whole cached bytes not yet touched.
    unsigned long long tell() const { return m_source->tell() - m_available / 8; }

    // Searches for the low `bits` bits of `pattern` (bits from 0 to 32). The available count is
    // first rounded down to a multiple of `align`; then the next `bits` bits are compared at the
    // current position and at positions `step` bits apart. On a match the reader stands just
    // after the matched bits and the result is true; when the data ends first nothing is left
    // available and the result is false. bits = 0 matches at once. A step of 0 or more than 32
    // bits of pattern raise `es::arg` (source "lib/nubase/src/bitstream", messages "step is 0",
    // "pattern wider than 32 bits"). Byte-aligned searches (step 8, whole-byte patterns, byte
    // position) take a vectorised path with the same results.
    bool find(std::uint32_t a_pattern, unsigned long long a_bits, unsigned long long a_step,
              unsigned long long a_align) const;

  private:
    // The 32 bits that start at the current position, cut to the top n.
    std::uint32_t window(unsigned long long a_n) const {
        const unsigned long long l_bit = m_fill_end * 8 - m_available;
        std::uint64_t l_words;
        std::memcpy(&l_words, m_cache + (l_bit >> 5) * 4, 8);
        l_words = __builtin_bswap64(l_words);
        const std::uint32_t l_top = static_cast<std::uint32_t>((l_words << (l_bit & 31)) >> 32);
        return a_n >= 32 ? l_top : static_cast<std::uint32_t>(std::uint64_t{l_top} >> (32 - a_n));
    }

    // The slow paths: read until n bits are cached or the source ends.
    void fill(unsigned long long a_n) const;
    bool fill_test(unsigned long long a_n) const;
    unsigned long long refill() const;
    bool find_bytes(std::uint32_t a_pattern, unsigned a_length) const;

    unsigned long long m_block;
    unsigned char* m_cache;
    stream::rd* m_source;
    mutable unsigned long long m_fill_end;
    mutable unsigned long long m_available;
};

// Bit writer. Pending bits reach the sink when the cache overflows, on a direct write of a byte
// run that does not fit, at `clear`, at `set` and at destruction; the last partial byte goes out
// padded with zero bits. The sink's own `flush` is never called. Bits skipped by `skip` and
// `align` come out as zeros.
class NUBASE_API wr {
  public:
    // Binds to `sink`. Raises `std::bad_alloc` when the cache (block + 4 bytes) cannot be
    // allocated.
    wr(stream::wr& a_sink, unsigned long long a_block);
    // Destruction, `set` and `clear` write the pending bytes as for `bytestream::wr` (a sink
    // failure is discarded by the destructor and leaves the writer as it was in `set` and
    // `clear`). A partial last byte goes out padded, so a `clear` in the middle of a byte makes
    // the padding part of the output.
    ~wr();
    wr(const wr&) = delete;
    wr& operator=(const wr&) = delete;
    void set(stream::wr& a_sink, unsigned long long a_block);
    void clear(stream::wr& a_sink);

    // Appends the low n bits of value, most significant first (n from 0 to 32; 0 appends
    // nothing; above 32 the value is preceded by n - 32 zero bits). When the room is short the
    // pending whole words go to the sink first.
    void write(std::uint32_t a_value, unsigned long long a_n) {
        if (a_n - 1 >= 32) return write_wide(a_value, a_n);
        if (m_free < a_n) make_room();
        const unsigned long long l_bit = m_block * 8 - m_free;
        unsigned char* const l_word = m_cache + (l_bit >> 5) * 4;
        const unsigned l_offset = static_cast<unsigned>(l_bit & 31);
        std::uint64_t l_old;
        std::memcpy(&l_old, l_word, 8);
        l_old = __builtin_bswap64(l_old);
        // Keep the bits before the position; the value follows, then zeros to the end of the
        // next word.
        const std::uint64_t l_kept = l_old & ~(~std::uint64_t{0} >> l_offset);
        const std::uint64_t l_value = (std::uint64_t{a_value} << (64 - a_n)) >> l_offset;
        const std::uint64_t l_new = __builtin_bswap64(l_kept | l_value);
        std::memcpy(l_word, &l_new, 8);
        m_free -= a_n;
    }

    // Appends n whole bytes after first padding with zero bits to a multiple of `align` bits as
    // `align()` does. At a byte position a run that does not fit the room goes straight to the
    // sink after the pending bytes; at any other bit position the bytes are shifted in one by
    // one.
    void write(const unsigned char* a_p, unsigned long long a_n, unsigned long long a_align);

    // Appends n zero bits.
    void skip(unsigned long long a_n);

    // The free room in bits beyond a whole number of n-bit units (n a power of two).
    unsigned long long boundary(unsigned long long a_n) const noexcept {
        return m_free & (a_n - 1);
    }
    // Pads with zero bits until the free room is a multiple of n bits; the rest of the current
    // word is cleared.
    void align(unsigned long long a_n) noexcept;

    // The sink's `tell()` plus the pending bytes, a partial last byte counted whole.
    unsigned long long tell() const { return m_sink->tell() + (m_block - m_free / 8); }

  private:
    void write_wide(std::uint32_t a_value, unsigned long long a_n);
    void make_room();
    void write_pending();
    void clear_bits(unsigned long long a_from, unsigned long long a_to) noexcept;

    unsigned long long m_block;
    unsigned char* m_cache;
    stream::wr* m_sink;
    unsigned long long m_free;
};

}  // namespace bitstream
}  // namespace nubase

#endif  // NUBASE_BITSTREAM_HPP
