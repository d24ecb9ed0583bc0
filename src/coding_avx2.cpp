// AVX2 kernels of the base64 and hex coders, 32 bytes per step.
//
// Compiled for any x86-64: the functions carry the avx2 target attribute and are only entered
// after a run-time check of the processor (and of the operating system's support for the wide
// registers). Each kernel handles the bulk of its input and hands what is left to the scalar
// kernel, so a short input costs no more than the scalar path. On other processors the kernels
// are never usable and forward to the scalar ones.
#include "coding_kernels.hpp"

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#define NUBASE_CODING_AVX2 1
#define NUBASE_TARGET_AVX2 __attribute__((target("avx2")))
#endif

namespace nubase {
namespace coding_kernels {
namespace detail {

#if defined(NUBASE_CODING_AVX2)

bool avx2_usable() noexcept {
    static const bool s_usable = __builtin_cpu_supports("avx2");
    return s_usable;
}

namespace {

// 24 bytes, twelve in each 128-bit lane, to 32 characters.
NUBASE_TARGET_AVX2 inline __m256i encode_block(__m256i a_in) {
    // Each 3-byte group a b c becomes the 32-bit word with bytes b a c b, so that the 16-bit
    // halves are "ab" and "bc" and every 6-bit field sits in one of them.
    const __m256i l_spread = _mm256_shuffle_epi8(
        a_in, _mm256_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10,  //
                               1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10));
    // Fields 0 and 2 moved down by a high multiply, fields 1 and 3 moved up by a low one; each
    // lands in its own byte.
    const __m256i l_f02 = _mm256_mulhi_epu16(
        _mm256_and_si256(l_spread, _mm256_set1_epi32(0x0fc0fc00)), _mm256_set1_epi32(0x04000040));
    const __m256i l_f13 = _mm256_mullo_epi16(
        _mm256_and_si256(l_spread, _mm256_set1_epi32(0x003f03f0)), _mm256_set1_epi32(0x01000010));
    const __m256i l_index = _mm256_or_si256(l_f02, l_f13);
    // Class of each index: 13 for 0..25 ("A".."Z"), 0 for 26..51 ("a".."z"), 1..10 for 52..61
    // (digits), 11 for 62 ("+"), 12 for 63 ("/"); the class selects the offset to its character.
    __m256i l_class = _mm256_subs_epu8(l_index, _mm256_set1_epi8(51));
    l_class = _mm256_or_si256(
        l_class,
        _mm256_and_si256(_mm256_cmpgt_epi8(_mm256_set1_epi8(26), l_index), _mm256_set1_epi8(13)));
    const __m256i l_offsets =
        _mm256_setr_epi8('a' - 26, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52,
                         '0' - 52, '0' - 52, '0' - 52, '0' - 52, '+' - 62, '/' - 63, 'A', 0, 0,  //
                         'a' - 26, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52,
                         '0' - 52, '0' - 52, '0' - 52, '0' - 52, '+' - 62, '/' - 63, 'A', 0, 0);
    return _mm256_add_epi8(l_index, _mm256_shuffle_epi8(l_offsets, l_class));
}

// 32 characters to their 6-bit values; `a_bad` gets a non-zero byte for every character outside
// the alphabet. Classification by the two nibbles: each high nibble names a bit, and the low
// nibble's entry has that bit set when the pair is not a base64 character.
NUBASE_TARGET_AVX2 inline __m256i decode_values(__m256i a_in, __m256i& a_bad) {
    const __m256i l_low_mask = _mm256_set1_epi8(0x0f);
    const __m256i l_hi = _mm256_and_si256(_mm256_srli_epi32(a_in, 4), l_low_mask);
    const __m256i l_lo = _mm256_and_si256(a_in, l_low_mask);
    const __m256i l_by_lo = _mm256_setr_epi8(0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11,
                                             0x11, 0x13, 0x1a, 0x1b, 0x1b, 0x1b, 0x1a,  //
                                             0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11,
                                             0x11, 0x13, 0x1a, 0x1b, 0x1b, 0x1b, 0x1a);
    const __m256i l_by_hi = _mm256_setr_epi8(0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08, 0x10,
                                             0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10,  //
                                             0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08, 0x10,
                                             0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10);
    a_bad =
        _mm256_and_si256(_mm256_shuffle_epi8(l_by_lo, l_lo), _mm256_shuffle_epi8(l_by_hi, l_hi));
    // Offset from character to value by high nibble; "/" shares nibble 2 with "+" and is told
    // apart by moving it to slot 1.
    const __m256i l_shifts =
        _mm256_setr_epi8(0, 16, 19, 4, -65, -65, -71, -71, 0, 0, 0, 0, 0, 0, 0, 0,  //
                         0, 16, 19, 4, -65, -65, -71, -71, 0, 0, 0, 0, 0, 0, 0, 0);
    const __m256i l_slash = _mm256_cmpeq_epi8(a_in, _mm256_set1_epi8('/'));
    return _mm256_add_epi8(a_in, _mm256_shuffle_epi8(l_shifts, _mm256_add_epi8(l_slash, l_hi)));
}

// 32 values (8 groups) to 24 bytes in the low 24 bytes of the result.
NUBASE_TARGET_AVX2 inline __m256i decode_pack(__m256i a_values) {
    // Pairs to 12 bits, then pairs of those to the group's 24 bits, in each 32-bit word.
    const __m256i l_pairs = _mm256_maddubs_epi16(a_values, _mm256_set1_epi32(0x01400140));
    const __m256i l_words = _mm256_madd_epi16(l_pairs, _mm256_set1_epi32(0x00011000));
    const __m256i l_bytes = _mm256_shuffle_epi8(
        l_words, _mm256_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1,  //
                                  2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1));
    return _mm256_permutevar8x32_epi32(l_bytes, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7));
}

// Hex digit values, 255 for anything else.
NUBASE_TARGET_AVX2 inline __m256i hex_values(__m256i a_in) {
    const __m256i l_digit = _mm256_sub_epi8(a_in, _mm256_set1_epi8('0'));
    const __m256i l_letter =
        _mm256_sub_epi8(_mm256_or_si256(a_in, _mm256_set1_epi8(0x20)), _mm256_set1_epi8('a'));
    // Unsigned "at most": min(x, limit) == x.
    const __m256i l_is_digit =
        _mm256_cmpeq_epi8(_mm256_min_epu8(l_digit, _mm256_set1_epi8(9)), l_digit);
    const __m256i l_is_letter =
        _mm256_cmpeq_epi8(_mm256_min_epu8(l_letter, _mm256_set1_epi8(5)), l_letter);
    const __m256i l_valid = _mm256_or_si256(l_is_digit, l_is_letter);
    return _mm256_or_si256(
        _mm256_or_si256(
            _mm256_and_si256(l_is_digit, l_digit),
            _mm256_and_si256(l_is_letter, _mm256_add_epi8(l_letter, _mm256_set1_epi8(10)))),
        _mm256_andnot_si256(l_valid, _mm256_set1_epi8(-1)));
}

// 32 digit values to 16 bytes, each the low 8 bits of (v0 << 4) | v1, in the low byte of each
// 16-bit word.
NUBASE_TARGET_AVX2 inline __m256i hex_pairs(__m256i a_values) {
    const __m256i l_joined =
        _mm256_or_si256(_mm256_slli_epi16(a_values, 4), _mm256_srli_epi16(a_values, 8));
    return _mm256_and_si256(l_joined, _mm256_set1_epi16(0x00ff));
}

}  // namespace

NUBASE_TARGET_AVX2 std::size_t base64_encode_avx2(const unsigned char* a_src, std::size_t a_count,
                                                  unsigned char* a_dst) noexcept {
    const unsigned char* const l_start = a_src;
    unsigned char* const l_out_start = a_dst;
    // Each step reads 28 bytes (two 16-byte loads at 0 and 12) and consumes 24.
    while (a_count - static_cast<std::size_t>(a_src - l_start) >= 32) {
        const __m256i l_in = _mm256_inserti128_si256(
            _mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(a_src))),
            _mm_loadu_si128(reinterpret_cast<const __m128i*>(a_src + 12)), 1);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(a_dst), encode_block(l_in));
        a_src += 24;
        a_dst += 32;
    }
    const std::size_t l_done = static_cast<std::size_t>(a_src - l_start);
    a_dst += base64_encode_scalar(a_src, a_count - l_done, a_dst);
    return static_cast<std::size_t>(a_dst - l_out_start);
}

NUBASE_TARGET_AVX2 std::size_t base64_decode_avx2(const unsigned char* a_src, std::size_t a_count,
                                                  unsigned char* a_dst) noexcept {
    unsigned char* const l_out_start = a_dst;
    std::size_t l_i = 0;
    // A step reads 32 characters and stores 32 bytes, of which 24 are kept. The caller's room of
    // 3 bytes per group covers the store while at least 44 characters remain.
    while (a_count - l_i >= 44) {
        const __m256i l_in = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(a_src + l_i));
        __m256i l_bad;
        const __m256i l_values = decode_values(l_in, l_bad);
        if (!_mm256_testz_si256(l_bad, l_bad)) {
            // A character outside the alphabet: these 8 groups take the scalar rules, which
            // decide how many bytes each group yields.
            a_dst += base64_decode_scalar(a_src + l_i, 32, a_dst);
        } else {
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(a_dst), decode_pack(l_values));
            a_dst += 24;
        }
        l_i += 32;
    }
    a_dst += base64_decode_scalar(a_src + l_i, a_count - l_i, a_dst);
    return static_cast<std::size_t>(a_dst - l_out_start);
}

NUBASE_TARGET_AVX2 std::size_t hex_encode_avx2(const unsigned char* a_src, std::size_t a_count,
                                               unsigned char* a_dst) noexcept {
    const __m256i l_digits = _mm256_setr_epi8('0', '1', '2', '3', '4', '5', '6', '7', '8', '9', 'a',
                                              'b', 'c', 'd', 'e', 'f', '0', '1', '2', '3', '4', '5',
                                              '6', '7', '8', '9', 'a', 'b', 'c', 'd', 'e', 'f');
    const __m256i l_low_mask = _mm256_set1_epi8(0x0f);
    std::size_t l_i = 0;
    for (; a_count - l_i >= 32; l_i += 32) {
        const __m256i l_in = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(a_src + l_i));
        const __m256i l_hi =
            _mm256_shuffle_epi8(l_digits, _mm256_and_si256(_mm256_srli_epi16(l_in, 4), l_low_mask));
        const __m256i l_lo = _mm256_shuffle_epi8(l_digits, _mm256_and_si256(l_in, l_low_mask));
        // Interleaving works per 128-bit lane; the lane swap puts the halves back in order.
        const __m256i l_first = _mm256_unpacklo_epi8(l_hi, l_lo);
        const __m256i l_second = _mm256_unpackhi_epi8(l_hi, l_lo);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(a_dst + 2 * l_i),
                            _mm256_permute2x128_si256(l_first, l_second, 0x20));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(a_dst + 2 * l_i + 32),
                            _mm256_permute2x128_si256(l_first, l_second, 0x31));
    }
    hex_encode_scalar(a_src + l_i, a_count - l_i, a_dst + 2 * l_i);
    return 2 * a_count;
}

NUBASE_TARGET_AVX2 std::size_t hex_decode_avx2(const unsigned char* a_src, std::size_t a_count,
                                               unsigned char* a_dst) noexcept {
    std::size_t l_i = 0;
    for (; a_count - l_i >= 64; l_i += 64) {
        const __m256i l_a = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(a_src + l_i));
        const __m256i l_b = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(a_src + l_i + 32));
        // packus interleaves the lanes of its two sources; the 64-bit permute restores order.
        const __m256i l_packed =
            _mm256_packus_epi16(hex_pairs(hex_values(l_a)), hex_pairs(hex_values(l_b)));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(a_dst + l_i / 2),
                            _mm256_permute4x64_epi64(l_packed, 0xd8));
    }
    hex_decode_scalar(a_src + l_i, a_count - l_i, a_dst + l_i / 2);
    return a_count / 2;
}

#else  // not x86: never usable; the definitions only complete the coders' tables

bool avx2_usable() noexcept {
    return false;
}

std::size_t base64_encode_avx2(const unsigned char* a_src, std::size_t a_count,
                               unsigned char* a_dst) noexcept {
    return base64_encode_scalar(a_src, a_count, a_dst);
}
std::size_t base64_decode_avx2(const unsigned char* a_src, std::size_t a_count,
                               unsigned char* a_dst) noexcept {
    return base64_decode_scalar(a_src, a_count, a_dst);
}
std::size_t hex_encode_avx2(const unsigned char* a_src, std::size_t a_count,
                            unsigned char* a_dst) noexcept {
    return hex_encode_scalar(a_src, a_count, a_dst);
}
std::size_t hex_decode_avx2(const unsigned char* a_src, std::size_t a_count,
                            unsigned char* a_dst) noexcept {
    return hex_decode_scalar(a_src, a_count, a_dst);
}

#endif

}  // namespace detail
}  // namespace coding_kernels
}  // namespace nubase
