// The byte-stream reader and writer: a block cache of 8-byte words in front of a stream.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>

#include "nubase/bytestream.hpp"
#include "raise.hpp"
#include "stream_detail.hpp"

namespace {
constexpr char k_source[] = "lib/nubase/src/bytestream";

// Spare bytes behind the block: room for carried-over bytes and the zero padding.
constexpr unsigned long long k_spare = 24;

unsigned long long rounded_block(unsigned long long a_block) {
    return nubase::stream::detail::cache_block(a_block, 8, 0);
}

unsigned char* new_cache(unsigned long long a_block) {
    return new unsigned char[a_block + k_spare]();
}

// Copies 16 bytes within the cache; every byte is loaded before any is stored.
void move16(unsigned char* a_dst, const unsigned char* a_src) {
    std::uint64_t l_a, l_b;
    std::memcpy(&l_a, a_src, 8);
    std::memcpy(&l_b, a_src + 8, 8);
    std::memcpy(a_dst, &l_a, 8);
    std::memcpy(a_dst + 8, &l_b, 8);
}

}  // namespace

namespace nubase {
namespace bytestream {

// ---- reader

rd::rd(stream::rd& a_source, unsigned long long a_block)
    : m_block(rounded_block(a_block)),
      m_cache(new_cache(m_block)),
      m_source(&a_source),
      m_fill_end(0),
      m_available(0) {}

rd::~rd() {
    delete[] m_cache;
}

void rd::set(stream::rd& a_source, unsigned long long a_block) {
    const unsigned long long l_block = rounded_block(a_block);
    m_cache = stream::detail::replace_cache(m_cache, l_block + k_spare, [] {});
    m_block = l_block;
    m_source = &a_source;
    m_fill_end = 0;
    m_available = 0;
}

void rd::clear(stream::rd& a_source) noexcept {
    m_source = &a_source;
    m_fill_end = 0;
    m_available = 0;
}

// Carries the unconsumed bytes to the front of the cache, starting at their 8-byte word, and
// reads behind them with `stream::read`, at least `min` bytes. The request is the block, cut to
// the room left behind the carried bytes, or that whole room when the field wanted (`missing`
// bytes beyond the available ones) needs more than a block. Whatever arrives is kept,
// also when the source ends.
unsigned long long rd::refill(unsigned long long a_missing, unsigned long long a_min,
                              bool a_single, bool a_one_block) const {
    const unsigned long long l_consumed = m_fill_end - m_available;
    const unsigned long long l_word = l_consumed & ~7ULL;
    const unsigned long long l_carried = (l_consumed & 7) + m_available;
    if (l_carried <= 16) {
        move16(m_cache, m_cache + l_word);
    } else {
        std::memmove(m_cache, m_cache + l_word, l_carried);
    }
    m_fill_end = l_carried;

    // The fill end stays at most block + 15, so that the next carry (16 bytes from the fill
    // end's word) and the padding stay inside the cache.
    const unsigned long long l_room = m_block + 15 - l_carried;
    // A field larger than the block takes what fits; a skip asks for one block at a time.
    const unsigned long long l_request =
        (a_missing > m_block && !a_one_block) || m_block == 0 ? l_room : std::min(m_block, l_room);
    unsigned long long l_got = 0;
    const auto l_commit = [&] {
        m_fill_end += l_got;
        m_available += l_got;
        // Bytes past the data read as zeros: the rest of the fill end's word and the next one.
        const unsigned long long l_pad_end = std::min((m_fill_end & ~7ULL) + 16, m_block + k_spare);
        std::memset(m_cache + m_fill_end, 0, l_pad_end - m_fill_end);
    };
    try {
        if (a_single) {
            l_got = m_source->read(m_cache + l_carried, l_request);
        } else {
            stream::detail::read_counted(*m_source, m_cache + l_carried, l_request,
                                         std::min(a_min, l_request), l_got);
        }
    } catch (...) {
        l_commit();
        throw;
    }
    l_commit();
    return l_got;
}

void rd::refill_field(unsigned long long a_n) const {
    if (a_n > m_block + 8) NUBASE_RAISE(arg, "field larger than the cache");
    refill(a_n - m_available, a_n - m_available, false);
}

bool rd::refill_test(unsigned long long a_n) const {
    if (a_n > m_block + 8) NUBASE_RAISE(arg, "field larger than the cache");
    // The first read raises on an exhausted source; later ones only end the test, so that a
    // source giving short reads is not mistaken for its end.
    refill(a_n - m_available, 0, false);
    while (m_available < a_n && refill(a_n - m_available, 0, true) != 0) {
    }
    return m_available >= a_n;
}

unsigned long long rd::read(unsigned char* a_p, unsigned long long a_n,
                            unsigned long long a_align) const {
    const unsigned long long l_aligned = m_available & ~(a_align - 1);
    const unsigned long long l_cached = std::min(a_n, l_aligned);
    if (l_cached != 0) std::memcpy(a_p, m_cache + m_fill_end - l_aligned, l_cached);
    m_available = l_aligned - l_cached;
    if (l_cached == a_n) return a_n;
    unsigned long long l_got;
    stream::detail::read_counted(*m_source, a_p + l_cached, a_n - l_cached, a_n - l_cached, l_got);
    return a_n;
}

void rd::skip(unsigned long long a_n) const {
    if (m_available >= a_n) {
        m_available -= a_n;
        return;
    }
    unsigned long long l_rest = a_n - m_available;
    m_available = 0;
    for (;;) {
        unsigned long long l_got;
        try {
            l_got = refill(l_rest, std::min(m_block, l_rest), false, true);
        } catch (...) {
            // Everything that arrived was short of the skip, so all of it is consumed.
            m_available = 0;
            throw;
        }
        if (l_got >= l_rest) {
            m_available = l_got - l_rest;
            return;
        }
        l_rest -= l_got;
        m_available = 0;
    }
}

// ---- writer

wr::wr(stream::wr& a_sink, unsigned long long a_block)
    : m_block(rounded_block(a_block)),
      m_cache(new_cache(m_block)),
      m_sink(&a_sink),
      m_free(m_block) {}

wr::~wr() {
    stream::detail::close_writer(m_cache, [this] { write_pending(); });
}

void wr::write_pending() {
    const unsigned long long l_pending = m_block - m_free;
    if (l_pending != 0) m_sink->write(m_cache, l_pending);
    m_free = m_block;
}

void wr::set(stream::wr& a_sink, unsigned long long a_block) {
    const unsigned long long l_block = rounded_block(a_block);
    m_cache =
        stream::detail::replace_cache(m_cache, l_block + k_spare, [this] { write_pending(); });
    m_block = l_block;
    m_sink = &a_sink;
    m_free = l_block;
}

void wr::clear(stream::wr& a_sink) {
    write_pending();
    m_sink = &a_sink;
}

void wr::make_room(unsigned long long a_n) {
    if (a_n > m_block) NUBASE_RAISE(arg, "field larger than the cache");
    const unsigned long long l_pending = m_block - m_free;
    if (l_pending >= 8) {
        // Whole words go out; the partial word (at most 7 bytes) moves to the front.
        const unsigned long long l_words = l_pending & ~7ULL;
        m_sink->write(m_cache, l_words);
        std::memcpy(m_cache, m_cache + l_words, 8);
        m_free += l_words;
    }
    // Only a field wider than the room left beside the partial word gets here.
    if (m_free < a_n) write_pending();
}

void wr::write(const unsigned char* a_p, unsigned long long a_n, unsigned long long a_align) {
    align(a_align);
    if (m_free >= a_n) {
        if (a_n != 0) std::memcpy(m_cache + m_block - m_free, a_p, a_n);
        m_free -= a_n;
        return;
    }
    write_pending();
    m_sink->write(a_p, a_n);
}

void wr::skip(unsigned long long a_n) {
    if (m_block == 0) {
        static const unsigned char k_zeros[256] = {};
        while (a_n != 0) {
            const unsigned long long l_piece = std::min<unsigned long long>(a_n, sizeof k_zeros);
            m_sink->write(k_zeros, l_piece);
            a_n -= l_piece;
        }
        return;
    }
    std::memset(m_cache + m_block - m_free, 0, m_free);
    if (a_n < m_free) {
        m_free -= a_n;
        return;
    }
    a_n -= m_free;
    m_free = 0;
    m_sink->write(m_cache, m_block);
    std::memset(m_cache, 0, m_block);
    m_free = m_block;
    while (a_n >= m_block) {
        m_sink->write(m_cache, m_block);
        a_n -= m_block;
    }
    m_free = m_block - a_n;
}

void wr::align(unsigned long long a_n) noexcept {
    const unsigned long long l_free = m_free & ~(a_n - 1);
    std::memset(m_cache + m_block - m_free, 0, m_free - l_free);
    m_free = l_free;
}

}  // namespace bytestream
}  // namespace nubase
