// nubase/bytestream.hpp - a block cache in front of a stream for byte-granular parsing and writing.
//
// `bytestream::rd` serves small fields by pointer straight from its cache, without a call to the
// underlying stream per field; `bytestream::wr` hands out room in its cache for small fields and
// writes whole blocks to its sink. Both keep their cache in 8-byte words.
//
//   nubase::stream::mem src(data, size);
//   nubase::bytestream::rd r(src, 65536);
//   std::uint32_t length = r.read_be32();              // an atom header: size, then type
//   std::uint32_t type = r.read_be32();
//   r.skip(length - 8);
//
// Failure state: running out of data raises `es::uflow` (source "lib/nubase/src/stream_rd",
// message "n/a"). Nothing is lost when that happens: the unconsumed bytes stay available, the
// bytes that arrived before the end are kept too, and `tell()` is where it was, so a caller may
// retry with a smaller request. Exceptions of the underlying stream pass through unchanged and
// leave the reader as it was.
//
// The cache is the only allocation; readers and writers are not copyable. A reader or writer is
// used by one thread at a time, and its stream must outlive it.
#ifndef NUBASE_BYTESTREAM_HPP
#define NUBASE_BYTESTREAM_HPP

#include <cstring>

#include "nubase/config.hpp"
#include "nubase/stream.hpp"

namespace nubase {
namespace bytestream {

namespace detail {

// `v` as stored in memory in big-endian (`big`) or little-endian order, or back: a byte swap
// where the host's order differs, nothing where it is the same.
template <bool big, class T>
inline T ordered(T a_v) noexcept {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    constexpr bool k_swap = !big;
#else
    constexpr bool k_swap = big;
#endif
    if (!k_swap || sizeof(T) == 1) return a_v;
    if (sizeof(T) == 2) return static_cast<T>(__builtin_bswap16(static_cast<std::uint16_t>(a_v)));
    if (sizeof(T) == 4) return static_cast<T>(__builtin_bswap32(static_cast<std::uint32_t>(a_v)));
    return static_cast<T>(__builtin_bswap64(static_cast<std::uint64_t>(a_v)));
}

}  // namespace detail

// Byte reader. Reading operations are const: the cache is internal state.
//
// The cache holds block + 24 bytes (block rounded up to a multiple of 8). A refill carries the
// unconsumed bytes to the front, from the start of their 8-byte word, and asks the source for
// block bytes after them. Fields served by pointer (`read_at`, `peek_at`, `has_bytes`) may be up
// to block + 8 bytes long; larger ones raise `es::arg` (source "lib/nubase/src/bytestream",
// message "field larger than the cache"); runs of any length go through `read`.
class NUBASE_API rd {
  public:
    // Binds to `src` with a block of `block` bytes rounded up to a multiple of 8 (a block of 10
    // becomes 16; 0 stays 0 and refills then ask for what fits the 24 spare bytes). Raises
    // `std::bad_alloc` when the cache cannot be allocated.
    rd(stream::rd& a_source, unsigned long long a_block);
    ~rd();
    rd(const rd&) = delete;
    rd& operator=(const rd&) = delete;

    // Re-creates the reader as if newly constructed. On `std::bad_alloc` nothing changes.
    void set(stream::rd& a_source, unsigned long long a_block);
    // Binds a new source and discards what is cached.
    void clear(stream::rd& a_source) noexcept;

    // True when n bytes are available. When fewer are cached the reader refills, reading until
    // they arrived or the source returns 0 (so a source giving short reads is not mistaken for
    // its end). A source that is already exhausted at the first read raises `es::uflow` rather
    // than returning false; one that ends later gives false, with what arrived kept.
    bool has_bytes(unsigned long long a_n) const { return m_available >= a_n || refill_test(a_n); }

    // A pointer to the next n bytes, consumed. Valid until the next call on the reader. Fewer
    // than n bytes left in the source raises `es::uflow` (see the failure state above).
    const unsigned char* read_at(unsigned long long a_n) const {
        if (m_available < a_n) refill_field(a_n);
        const unsigned char* const l_p = m_cache + m_fill_end - m_available;
        m_available -= a_n;
        return l_p;
    }

    // As `read_at`, without consuming.
    const unsigned char* peek_at(unsigned long long a_n) const {
        if (m_available < a_n) refill_field(a_n);
        return m_cache + m_fill_end - m_available;
    }

    // Typed fields: the next 2, 4 or 8 bytes as an unsigned number stored big-endian (`be`) or
    // little-endian (`le`). `read_*` consumes them, `peek_*` does not. Each leaves the reader
    // exactly as `read_at` or `peek_at` of the same width would, failure state included: fewer
    // bytes left raises `es::uflow` and consumes nothing. Inline like `read_at` (the cache
    // layout is part of this fast path): one unaligned load and, where the host's byte order
    // differs, a byte swap; the refill stays out of line.
    //
    //   nubase::stream::mem src(bytes, 6);          // 12 34 56 78 9a bc
    //   nubase::bytestream::rd r(src, 64);
    //   r.peek_le16();                              // 0x3412, nothing consumed
    //   r.read_be32();                              // 0x12345678
    //   r.read_be32();                              // raises es::uflow; r.tell() stays 4
    std::uint16_t read_be16() const { return field<std::uint16_t, true, true>(); }
    std::uint32_t read_be32() const { return field<std::uint32_t, true, true>(); }
    std::uint64_t read_be64() const { return field<std::uint64_t, true, true>(); }
    std::uint16_t read_le16() const { return field<std::uint16_t, false, true>(); }
    std::uint32_t read_le32() const { return field<std::uint32_t, false, true>(); }
    std::uint64_t read_le64() const { return field<std::uint64_t, false, true>(); }
    std::uint16_t peek_be16() const { return field<std::uint16_t, true, false>(); }
    std::uint32_t peek_be32() const { return field<std::uint32_t, true, false>(); }
    std::uint64_t peek_be64() const { return field<std::uint64_t, true, false>(); }
    std::uint16_t peek_le16() const { return field<std::uint16_t, false, false>(); }
    std::uint32_t peek_le32() const { return field<std::uint32_t, false, false>(); }
    std::uint64_t peek_le64() const { return field<std::uint64_t, false, false>(); }
    // Copies n bytes to p and returns n. The available count is first rounded down to a
    // multiple of `align` (a power of two; 1 keeps every byte), dropping the bytes before the
    // aligned position as `align()` does; the cached bytes are copied and the rest is read
    // straight from the source, bypassing the cache. A source that ends first raises
    // `es::uflow`; the bytes already copied to p are then consumed (`tell()` counts them).
    unsigned long long read(unsigned char* a_p, unsigned long long a_n,
                            unsigned long long a_align = 1) const;

    // Consumes n bytes. Past the cached bytes, each refill asks the source for one block with
    // min(block, bytes still to skip) as the least it waits for. A source that ends first raises
    // `es::uflow`; every byte that arrived is then consumed.
    void skip(unsigned long long a_n) const;

    // The available bytes beyond a whole number of n-byte units (n a power of two).
    unsigned long long boundary(unsigned long long a_n) const noexcept {
        return m_available & (a_n - 1);
    }
    // Drops those bytes: the available count is rounded down to a multiple of n.
    void align(unsigned long long a_n) const noexcept { m_available &= ~(a_n - 1); }

    // The position of the next unconsumed byte in the source: the source's `tell()` minus the
    // bytes still cached.
    unsigned long long tell() const { return m_source->tell() - m_available; }

  private:
    template <class T, bool big, bool consume>
    T field() const {
        if (m_available < sizeof(T)) refill_field(sizeof(T));
        T l_value;
        std::memcpy(&l_value, m_cache + m_fill_end - m_available, sizeof(T));
        if (consume) m_available -= sizeof(T);
        return detail::ordered<big>(l_value);
    }

    // The slow paths: carry the unconsumed bytes to the front and read behind them.
    void refill_field(unsigned long long a_n) const;
    bool refill_test(unsigned long long a_n) const;
    unsigned long long refill(unsigned long long a_missing, unsigned long long a_min,
                              bool a_single, bool a_one_block = false) const;

    unsigned long long m_block;
    unsigned char* m_cache;
    stream::rd* m_source;
    mutable unsigned long long m_fill_end;
    mutable unsigned long long m_available;
};

// Byte writer. Pending bytes reach the sink when the cache overflows, on a direct write of a
// run that does not fit, at `clear`, at `set` and at destruction; the sink's own `flush` is
// never called. Bytes skipped by `skip` and `align` come out as zeros.
//
// `boundary` and `align` count from the front of the cache, which starts on a whole 8-byte word
// of the output as long as every run written straight to the sink (a `write` that does not fit
// the room) has a length that is a multiple of 8.
class NUBASE_API wr {
  public:
    // Binds to `sink` with a block rounded up to a multiple of 8. A block of 0 makes an
    // unbuffered writer: runs go straight to the sink, `skip` writes its zeros at once and
    // `write_at` raises `es::arg`. Raises `std::bad_alloc` when the cache cannot be allocated.
    wr(stream::wr& a_sink, unsigned long long a_block);
    // Writes the pending bytes to the sink, then frees the cache. A sink failure here cannot
    // propagate out of a destructor and is discarded: call `clear(sink)` first to see it.
    ~wr();
    wr(const wr&) = delete;
    wr& operator=(const wr&) = delete;

    // Writes the pending bytes, then re-creates the writer over `sink` with the new block.
    // A sink failure leaves the writer as it was.
    void set(stream::wr& a_sink, unsigned long long a_block);
    // Writes the pending bytes to the old sink and binds the new one with an empty cache. A sink
    // failure leaves the writer as it was; `clear(same sink)` is therefore a checked flush.
    void clear(stream::wr& a_sink);

    // Room in the cache for the next n bytes, counted as written: the caller stores exactly n
    // bytes there before the next call. When the room is short the whole pending 8-byte words
    // go to the sink first. n above the block raises `es::arg` (source
    // "lib/nubase/src/bytestream", message "field larger than the cache").
    unsigned char* write_at(unsigned long long a_n) {
        if (m_free < a_n) make_room(a_n);
        unsigned char* const l_p = m_cache + m_block - m_free;
        m_free -= a_n;
        return l_p;
    }

    // Typed fields: `v` stored in the next 2, 4 or 8 bytes, big-endian (`be`) or little-endian
    // (`le`), through `write_at`, so they fail as it does.
    //
    //   w.write_be32(0x12345678);   // 12 34 56 78
    //   w.write_le16(0x1234);       // 34 12
    void write_be16(std::uint16_t a_v) { store<true>(a_v); }
    void write_be32(std::uint32_t a_v) { store<true>(a_v); }
    void write_be64(std::uint64_t a_v) { store<true>(a_v); }
    void write_le16(std::uint16_t a_v) { store<false>(a_v); }
    void write_le32(std::uint32_t a_v) { store<false>(a_v); }
    void write_le64(std::uint64_t a_v) { store<false>(a_v); }
    // Appends n bytes after first padding the output with zeros to a multiple of `align` (a
    // power of two) as `align()` does. A run that does not fit the room goes straight to the
    // sink after the pending bytes.
    void write(const unsigned char* a_p, unsigned long long a_n, unsigned long long a_align = 1);

    // Appends n zero bytes.
    void skip(unsigned long long a_n);

    // The free room beyond a whole number of n-byte units (n a power of two).
    unsigned long long boundary(unsigned long long a_n) const noexcept {
        return m_free & (a_n - 1);
    }
    // Pads with zero bytes until the free room is a multiple of n.
    void align(unsigned long long a_n) noexcept;

    // The sink's `tell()` plus the pending bytes.
    unsigned long long tell() const { return m_sink->tell() + (m_block - m_free); }

  private:
    template <bool big, class T>
    void store(T a_v) {
        const T l_value = detail::ordered<big>(a_v);
        std::memcpy(write_at(sizeof(T)), &l_value, sizeof(T));
    }

    void make_room(unsigned long long a_n);
    void write_pending();

    unsigned long long m_block;
    unsigned char* m_cache;
    stream::wr* m_sink;
    unsigned long long m_free;
};

}  // namespace bytestream
}  // namespace nubase

#endif  // NUBASE_BYTESTREAM_HPP
