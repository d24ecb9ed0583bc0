// The bit-stream reader and writer: a block cache of 32-bit big-endian words in front of a
// stream, and the start-code search.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>

#include <immintrin.h>

#include "nubase/bitstream.hpp"
#include "raise.hpp"
#include "stream_detail.hpp"

namespace {
constexpr char k_source[] = "lib/nubase/src/bitstream";

constexpr unsigned long long k_reader_spare = 12;
constexpr unsigned long long k_writer_spare = 4;

// The reader's block: whole 32-bit words, at least one; the source is asked for this much.
unsigned long long reader_block(unsigned long long a_block) {
    return nubase::stream::detail::cache_block(a_block, 4, 4);
}

// The reader's cache holds at least two words beside its spare bytes, so that a 32-bit field
// always fits beside a partial word, even when the block is one word.
unsigned long long reader_capacity(unsigned long long a_block) {
    return a_block < 8 ? 8 : a_block;
}

// The writer's block: whole 32-bit words, and at least two of them (a deliberate minimum).
unsigned long long writer_block(unsigned long long a_block) {
    return nubase::stream::detail::cache_block(a_block, 4, 8);
}

// ---- byte-aligned pattern scans
//
// Each returns the first position i in [first, last - L] whose L bytes equal `pattern`, or null.
// The vector forms compare L shifted loads at once and stop where the loads would pass `last`;
// the scalar form finishes the tail and is the reference for the others.

const unsigned char* scan_scalar(const unsigned char* a_first, const unsigned char* a_last,
                                 const unsigned char* a_pattern, unsigned a_length) {
    for (const unsigned char* l_p = a_first; a_last - l_p >= static_cast<long>(a_length); ++l_p) {
        unsigned l_j = 0;
        while (l_j < a_length && l_p[l_j] == a_pattern[l_j])
            ++l_j;
        if (l_j == a_length) return l_p;
    }
    return nullptr;
}

// The vector scans filter on the pattern's last two bytes, 64 positions per step, and check the
// bytes before them only at the rare candidates.
template <unsigned L>
bool head_matches(const unsigned char* a_p, const unsigned char* a_pattern) {
    return L == 2 || std::memcmp(a_p, a_pattern, L - 2) == 0;
}

template <unsigned L>
const unsigned char* scan_sse2(const unsigned char* a_first, const unsigned char* a_last,
                               const unsigned char* a_pattern) {
    const __m128i l_a = _mm_set1_epi8(static_cast<char>(a_pattern[L - 2]));
    const __m128i l_b = _mm_set1_epi8(static_cast<char>(a_pattern[L - 1]));
    const auto l_match = [&](const unsigned char* a_at) {
        const __m128i l_x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(a_at + L - 2));
        const __m128i l_y = _mm_loadu_si128(reinterpret_cast<const __m128i*>(a_at + L - 1));
        return static_cast<std::uint64_t>(static_cast<unsigned>(
            _mm_movemask_epi8(_mm_and_si128(_mm_cmpeq_epi8(l_x, l_a), _mm_cmpeq_epi8(l_y, l_b)))));
    };
    const unsigned char* l_p = a_first;
    while (a_last - l_p >= static_cast<long>(64 + L - 1)) {
        std::uint64_t l_mask = l_match(l_p) | l_match(l_p + 16) << 16 | l_match(l_p + 32) << 32 |
                               l_match(l_p + 48) << 48;
        while (l_mask != 0) {
            const unsigned char* const l_at = l_p + __builtin_ctzll(l_mask);
            if (head_matches<L>(l_at, a_pattern)) return l_at;
            l_mask &= l_mask - 1;
        }
        l_p += 64;
    }
    return scan_scalar(l_p, a_last, a_pattern, L);
}

template <unsigned L>
__attribute__((target("avx2"))) const unsigned char* scan_avx2(const unsigned char* a_first,
                                                               const unsigned char* a_last,
                                                               const unsigned char* a_pattern) {
    const __m256i l_a = _mm256_set1_epi8(static_cast<char>(a_pattern[L - 2]));
    const __m256i l_b = _mm256_set1_epi8(static_cast<char>(a_pattern[L - 1]));
    const auto l_match = [&](const unsigned char* a_at) __attribute__((target("avx2"))) {
        const __m256i l_x = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(a_at + L - 2));
        const __m256i l_y = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(a_at + L - 1));
        return static_cast<std::uint64_t>(static_cast<std::uint32_t>(_mm256_movemask_epi8(
            _mm256_and_si256(_mm256_cmpeq_epi8(l_x, l_a), _mm256_cmpeq_epi8(l_y, l_b)))));
    };
    const unsigned char* l_p = a_first;
    while (a_last - l_p >= static_cast<long>(64 + L - 1)) {
        std::uint64_t l_mask = l_match(l_p) | l_match(l_p + 32) << 32;
        while (l_mask != 0) {
            const unsigned char* const l_at = l_p + __builtin_ctzll(l_mask);
            if (head_matches<L>(l_at, a_pattern)) return l_at;
            l_mask &= l_mask - 1;
        }
        l_p += 64;
    }
    return scan_sse2<L>(l_p, a_last, a_pattern);
}

bool has_avx2() {
    static const bool s_avx2 = [] {
        __builtin_cpu_init();
        return __builtin_cpu_supports("avx2") != 0;
    }();
    return s_avx2;
}

const unsigned char* scan(const unsigned char* a_first, const unsigned char* a_last,
                          const unsigned char* a_pattern, unsigned a_length) {
    if (a_length == 1) {
        return static_cast<const unsigned char*>(
            std::memchr(a_first, a_pattern[0], static_cast<std::size_t>(a_last - a_first)));
    }
    const bool l_avx2 = has_avx2();
    switch (a_length) {
        case 2:
            return l_avx2 ? scan_avx2<2>(a_first, a_last, a_pattern)
                          : scan_sse2<2>(a_first, a_last, a_pattern);
        case 3:
            return l_avx2 ? scan_avx2<3>(a_first, a_last, a_pattern)
                          : scan_sse2<3>(a_first, a_last, a_pattern);
        default:
            return l_avx2 ? scan_avx2<4>(a_first, a_last, a_pattern)
                          : scan_sse2<4>(a_first, a_last, a_pattern);
    }
}

}  // namespace

namespace nubase {
namespace bitstream {

// ---- reader

rd::rd(stream::rd& a_source, unsigned long long a_block)
    : m_block(reader_block(a_block)),
      m_cache(new unsigned char[reader_capacity(m_block) + k_reader_spare]()),
      m_source(&a_source),
      m_fill_end(0),
      m_available(0) {}

rd::~rd() {
    delete[] m_cache;
}

void rd::set(stream::rd& a_source, unsigned long long a_block) {
    const unsigned long long l_block = reader_block(a_block);
    m_cache =
        stream::detail::replace_cache(m_cache, reader_capacity(l_block) + k_reader_spare, [] {});
    m_block = l_block;
    m_source = &a_source;
    m_fill_end = 0;
    m_available = 0;
}

void rd::clear(stream::rd& a_source) noexcept {
    m_source = &a_source;
    std::memset(m_cache, 0, 8);
    m_fill_end = 0;
    m_available = 0;
}

// Carries the unconsumed bytes (a partial byte counts whole) to the front of the cache, starting
// at their 32-bit word, and makes one `read` call behind them. The fill end never passes
// capacity + 7, so the two words read at the end of data and the padding stay inside the cache.
// Returns the count read.
unsigned long long rd::refill() const {
    const unsigned long long l_unconsumed = (m_available + 7) / 8;
    const unsigned long long l_consumed = m_fill_end - l_unconsumed;
    const unsigned long long l_word = l_consumed & ~3ULL;
    const unsigned long long l_carried = (l_consumed & 3) + l_unconsumed;
    if (l_carried <= 8) {
        std::uint64_t l_bytes;
        std::memcpy(&l_bytes, m_cache + l_word, 8);
        std::memcpy(m_cache, &l_bytes, 8);
    } else {
        std::memmove(m_cache, m_cache + l_word, l_carried);
    }
    m_fill_end = l_carried;
    const unsigned long long l_request =
        std::min(m_block, reader_capacity(m_block) + 7 - l_carried);
    const unsigned long long l_count =
        l_request == 0 ? 0 : m_source->read(m_cache + l_carried, l_request);
    m_fill_end = l_carried + l_count;
    // Bytes past the data read as zeros: the rest of the fill end's word and the next word.
    const unsigned long long l_pad_end = ((m_fill_end + 3) & ~3ULL) + 4;
    std::memset(m_cache + m_fill_end, 0, l_pad_end - m_fill_end);
    m_available += 8 * l_count;
    return l_count;
}

void rd::fill(unsigned long long a_n) const {
    while (m_available < a_n && refill() != 0) {
    }
}

bool rd::fill_test(unsigned long long a_n) const {
    fill(a_n);
    return m_available >= a_n;
}

void rd::skip(unsigned long long a_n) const {
    if (m_available >= a_n) {
        m_available -= a_n;
        return;
    }
    unsigned long long l_rest = a_n - m_available;
    m_available = 0;
    for (;;) {
        const unsigned long long l_bits = 8 * refill();
        if (l_bits == 0) return;
        if (l_bits >= l_rest) {
            m_available = l_bits - l_rest;
            return;
        }
        l_rest -= l_bits;
        m_available = 0;
    }
}

unsigned long long rd::read(unsigned char* a_p, unsigned long long a_n,
                            unsigned long long a_align) const {
    m_available &= ~(a_align - 1);
    if (m_available % 8 != 0) {
        // Not at a byte boundary: every byte is cut from the bit position.
        for (unsigned long long l_i = 0; l_i < a_n; ++l_i) {
            if (!has_bits(8)) stream::detail::raise_end_of_data();
            a_p[l_i] = static_cast<unsigned char>(read(8));
        }
        return a_n;
    }
    const unsigned long long l_bytes = m_available / 8;
    const unsigned long long l_cached = std::min(a_n, l_bytes);
    if (l_cached != 0) std::memcpy(a_p, m_cache + m_fill_end - l_bytes, l_cached);
    m_available -= 8 * l_cached;
    if (l_cached == a_n) return a_n;
    unsigned long long l_got;
    stream::detail::read_counted(*m_source, a_p + l_cached, a_n - l_cached, a_n - l_cached, l_got);
    return a_n;
}

bool rd::find(std::uint32_t a_pattern, unsigned long long a_bits, unsigned long long a_step,
              unsigned long long a_align) const {
    if (a_bits > 32) NUBASE_RAISE(arg, "pattern wider than 32 bits");
    if (a_step == 0) NUBASE_RAISE(arg, "step is 0");
    m_available &= ~(a_align - 1);
    if (a_bits == 0) return true;
    const std::uint32_t l_want =
        static_cast<std::uint32_t>(a_pattern & (~std::uint64_t{0} >> (64 - a_bits)));
    if (a_step == 8 && a_bits % 8 == 0 && m_available % 8 == 0) {
        return find_bytes(l_want, static_cast<unsigned>(a_bits / 8));
    }
    for (;;) {
        if (m_available < 33) fill(33);
        if (m_available < a_bits) {
            m_available = 0;
            return false;
        }
        if (window(a_bits) == l_want) {
            m_available -= a_bits;
            return true;
        }
        if (a_step <= m_available) {
            m_available -= a_step;
        } else {
            skip(a_step);
        }
    }
}

// The byte-aligned search: scans the cached bytes for the pattern, keeps the last length - 1
// bytes (which may begin a match that straddles the refill) and refills.
bool rd::find_bytes(std::uint32_t a_pattern, unsigned a_length) const {
    unsigned char l_pattern[4];
    for (unsigned l_j = 0; l_j < a_length; ++l_j) {
        l_pattern[l_j] = static_cast<unsigned char>(a_pattern >> (8 * (a_length - 1 - l_j)));
    }
    for (;;) {
        const unsigned char* const l_last = m_cache + m_fill_end;
        const unsigned char* const l_first = l_last - m_available / 8;
        if (m_available >= 8ULL * a_length) {
            const unsigned char* const l_hit = scan(l_first, l_last, l_pattern, a_length);
            if (l_hit != nullptr) {
                m_available = 8 * static_cast<unsigned long long>(l_last - l_hit - a_length);
                return true;
            }
            m_available = 8ULL * (a_length - 1);
        }
        if (refill() == 0) {
            m_available = 0;
            return false;
        }
    }
}

// ---- writer

wr::wr(stream::wr& a_sink, unsigned long long a_block)
    : m_block(writer_block(a_block)),
      m_cache(new unsigned char[m_block + k_writer_spare]()),
      m_sink(&a_sink),
      m_free(m_block * 8) {}

wr::~wr() {
    stream::detail::close_writer(m_cache, [this] { write_pending(); });
}

// Writes every pending byte, a partial last one padded with the zero bits behind it.
void wr::write_pending() {
    const unsigned long long l_pending = m_block - m_free / 8;
    if (l_pending != 0) m_sink->write(m_cache, l_pending);
    m_free = m_block * 8;
}

void wr::set(stream::wr& a_sink, unsigned long long a_block) {
    const unsigned long long l_block = writer_block(a_block);
    m_cache = stream::detail::replace_cache(m_cache, l_block + k_writer_spare,
                                            [this] { write_pending(); });
    m_block = l_block;
    m_sink = &a_sink;
    m_free = l_block * 8;
}

void wr::clear(stream::wr& a_sink) {
    write_pending();
    m_sink = &a_sink;
}

// Writes the pending whole words and moves the partial word to the front: at most 31 bits stay,
// so a 32-bit field always fits afterwards (the block is at least 8 bytes).
void wr::make_room() {
    const unsigned long long l_words = ((m_block * 8 - m_free) / 8) & ~3ULL;
    if (l_words == 0) return;
    m_sink->write(m_cache, l_words);
    std::memcpy(m_cache, m_cache + l_words, 4);
    m_free += 8 * l_words;
}

void wr::write_wide(std::uint32_t a_value, unsigned long long a_n) {
    if (a_n == 0) return;
    skip(a_n - 32);
    write(a_value, 32);
}

// Clears the bits from `from` to the end of the word that holds bit `to`.
void wr::clear_bits(unsigned long long a_from, unsigned long long a_to) noexcept {
    unsigned char* const l_word = m_cache + (a_from >> 5) * 4;
    std::uint32_t l_value;
    std::memcpy(&l_value, l_word, 4);
    l_value = __builtin_bswap32(l_value);
    const unsigned l_offset = static_cast<unsigned>(a_from & 31);
    l_value = l_offset == 0 ? 0 : l_value & ~(~std::uint32_t{0} >> l_offset);
    l_value = __builtin_bswap32(l_value);
    std::memcpy(l_word, &l_value, 4);
    const unsigned long long l_next = (a_from >> 5) * 4 + 4;
    const unsigned long long l_end = (a_to >> 5) * 4 + 4;
    if (l_end > l_next) std::memset(m_cache + l_next, 0, l_end - l_next);
}

void wr::skip(unsigned long long a_n) {
    while (a_n != 0) {
        if (m_free == 0) make_room();
        const unsigned long long l_bit = m_block * 8 - m_free;
        const unsigned long long l_take = std::min(a_n, m_free);
        clear_bits(l_bit, l_bit + l_take);
        m_free -= l_take;
        a_n -= l_take;
    }
}

void wr::align(unsigned long long a_n) noexcept {
    const unsigned long long l_free = m_free & ~(a_n - 1);
    clear_bits(m_block * 8 - m_free, m_block * 8 - l_free);
    m_free = l_free;
}

void wr::write(const unsigned char* a_p, unsigned long long a_n, unsigned long long a_align) {
    align(a_align);
    if (m_free % 8 != 0) {
        // Not at a byte boundary: every byte is shifted in as an 8-bit field.
        for (unsigned long long l_i = 0; l_i < a_n; ++l_i)
            write(a_p[l_i], 8);
        return;
    }
    if (m_free / 8 >= a_n) {
        if (a_n != 0) std::memcpy(m_cache + m_block - m_free / 8, a_p, a_n);
        m_free -= 8 * a_n;
        return;
    }
    write_pending();
    m_sink->write(a_p, a_n);
}

}  // namespace bitstream
}  // namespace nubase
