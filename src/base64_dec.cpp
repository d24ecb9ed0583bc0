// The base64 coder: its tables, the reference and table-driven kernels, the path dispatch and
// the public buffer and string functions.
#include <array>
#include <cstdint>
#include <cstring>
#include <limits>

#include "coding_kernels.hpp"
#include "nubase/coding.hpp"
#include "raise.hpp"

namespace {
constexpr char k_source[] = "lib/nubase/src/base64_dec";
}

namespace nubase {
namespace coding_kernels {
namespace {

constexpr char k_alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr unsigned char k_pad = '=';
constexpr unsigned char k_invalid = 255;

// Character to 6-bit value; every byte outside the alphabet, the pad included, maps to 255.
constexpr std::array<unsigned char, 256> make_reverse() {
    std::array<unsigned char, 256> l_table{};
    for (auto& l_v : l_table)
        l_v = k_invalid;
    for (unsigned l_i = 0; l_i < 64; ++l_i) {
        l_table[static_cast<unsigned char>(k_alphabet[l_i])] = static_cast<unsigned char>(l_i);
    }
    return l_table;
}
constexpr std::array<unsigned char, 256> k_reverse = make_reverse();

// ---- reference ------------------------------------------------------------------------------

std::size_t encode_reference(const unsigned char* a_src, std::size_t a_count,
                             unsigned char* a_dst) noexcept {
    unsigned char* l_out = a_dst;
    std::size_t l_i = 0;
    for (; l_i + 3 <= a_count; l_i += 3) {
        const unsigned l_b0 = a_src[l_i], l_b1 = a_src[l_i + 1], l_b2 = a_src[l_i + 2];
        *l_out++ = k_alphabet[l_b0 >> 2];
        *l_out++ = k_alphabet[((l_b0 & 3) << 4) | (l_b1 >> 4)];
        *l_out++ = k_alphabet[((l_b1 & 15) << 2) | (l_b2 >> 6)];
        *l_out++ = k_alphabet[l_b2 & 63];
    }
    if (a_count - l_i == 1) {
        const unsigned l_b0 = a_src[l_i];
        *l_out++ = k_alphabet[l_b0 >> 2];
        *l_out++ = k_alphabet[(l_b0 & 3) << 4];
        *l_out++ = k_pad;
        *l_out++ = k_pad;
    } else if (a_count - l_i == 2) {
        const unsigned l_b0 = a_src[l_i], l_b1 = a_src[l_i + 1];
        *l_out++ = k_alphabet[l_b0 >> 2];
        *l_out++ = k_alphabet[((l_b0 & 3) << 4) | (l_b1 >> 4)];
        *l_out++ = k_alphabet[(l_b1 & 15) << 2];
        *l_out++ = k_pad;
    }
    return static_cast<std::size_t>(l_out - a_dst);
}

// Group by group: the first byte always, then one more when exactly one character of the group
// is invalid, two more when none, three or four are; exactly two invalid end the group after
// the first byte.
std::size_t decode_reference(const unsigned char* a_src, std::size_t a_count,
                             unsigned char* a_dst) noexcept {
    unsigned char* l_out = a_dst;
    for (std::size_t l_i = 0; l_i + 4 <= a_count; l_i += 4) {
        const unsigned l_t0 = k_reverse[a_src[l_i]], l_t1 = k_reverse[a_src[l_i + 1]],
                       l_t2 = k_reverse[a_src[l_i + 2]], l_t3 = k_reverse[a_src[l_i + 3]];
        const unsigned l_k =
            (l_t0 == k_invalid) + (l_t1 == k_invalid) + (l_t2 == k_invalid) + (l_t3 == k_invalid);
        *l_out++ = static_cast<unsigned char>((l_t0 << 2) | ((l_t1 >> 4) & 3));
        if (l_k == 2) continue;
        *l_out++ = static_cast<unsigned char>((l_t1 << 4) | ((l_t2 >> 2) & 15));
        if (l_k == 1) continue;
        *l_out++ = static_cast<unsigned char>((l_t2 << 6) | (l_t3 & 63));
    }
    return static_cast<std::size_t>(l_out - a_dst);
}

// ---- scalar ---------------------------------------------------------------------------------

// 12 bits to their two characters: three input bytes take two look-ups.
constexpr std::array<std::array<unsigned char, 2>, 4096> make_pairs() {
    std::array<std::array<unsigned char, 2>, 4096> l_table{};
    for (unsigned l_i = 0; l_i < 4096; ++l_i) {
        l_table[l_i][0] = static_cast<unsigned char>(k_alphabet[l_i >> 6]);
        l_table[l_i][1] = static_cast<unsigned char>(k_alphabet[l_i & 63]);
    }
    return l_table;
}
constexpr std::array<std::array<unsigned char, 2>, 4096> k_pairs = make_pairs();

// One table per position in the group, holding the character's value already shifted into
// place, plus 1 << 24 for a character outside the alphabet. An invalid character decodes exactly
// as the value 63 would (the reference keeps the low bits of 255 in every position, and those are
// the bits of 63), so the sum of the four entries carries the group's 24 bits in its low bits
// and the count of invalid characters in bits 24..26.
constexpr std::uint32_t k_invalid_mark = 1u << 24;
constexpr std::array<std::uint32_t, 256> make_shifted(unsigned a_shift) {
    std::array<std::uint32_t, 256> l_table{};
    for (unsigned l_c = 0; l_c < 256; ++l_c) {
        const unsigned l_v = k_reverse[l_c];
        l_table[l_c] = l_v == k_invalid ? (63u << a_shift) | k_invalid_mark : l_v << a_shift;
    }
    return l_table;
}
constexpr std::array<std::uint32_t, 256> k_shift18 = make_shifted(18);
constexpr std::array<std::uint32_t, 256> k_shift12 = make_shifted(12);
constexpr std::array<std::uint32_t, 256> k_shift6 = make_shifted(6);
constexpr std::array<std::uint32_t, 256> k_shift0 = make_shifted(0);
// Bytes a group yields for 0 to 4 invalid characters.
constexpr unsigned char k_group_length[5] = {3, 2, 1, 3, 3};

}  // namespace

namespace detail {

std::size_t base64_encode_scalar(const unsigned char* a_src, std::size_t a_count,
                                 unsigned char* a_dst) noexcept {
    unsigned char* l_out = a_dst;
    std::size_t l_i = 0;
    for (; l_i + 3 <= a_count; l_i += 3) {
        const std::uint32_t l_v = (std::uint32_t{a_src[l_i]} << 16) |
                                  (std::uint32_t{a_src[l_i + 1]} << 8) | a_src[l_i + 2];
        std::memcpy(l_out, k_pairs[l_v >> 12].data(), 2);
        std::memcpy(l_out + 2, k_pairs[l_v & 0xFFF].data(), 2);
        l_out += 4;
    }
    l_out += encode_reference(a_src + l_i, a_count - l_i, l_out);
    return static_cast<std::size_t>(l_out - a_dst);
}

std::size_t base64_decode_scalar(const unsigned char* a_src, std::size_t a_count,
                                 unsigned char* a_dst) noexcept {
    unsigned char* l_out = a_dst;
    for (std::size_t l_i = 0; l_i + 4 <= a_count; l_i += 4) {
        const std::uint32_t l_v = k_shift18[a_src[l_i]] + k_shift12[a_src[l_i + 1]] +
                                  k_shift6[a_src[l_i + 2]] + k_shift0[a_src[l_i + 3]];
        // All three bytes are stored; a shorter group is overwritten by the next one. The bound
        // of 3 bytes per group leaves room for that.
        l_out[0] = static_cast<unsigned char>(l_v >> 16);
        l_out[1] = static_cast<unsigned char>(l_v >> 8);
        l_out[2] = static_cast<unsigned char>(l_v);
        l_out += k_group_length[l_v >> 24];
    }
    return static_cast<std::size_t>(l_out - a_dst);
}

}  // namespace detail

namespace {
// One spare byte past the text, dropped by the final resize.
std::size_t encode_bound(std::size_t a_count) noexcept {
    return base64_encoded_size(a_count) + 1;
}
std::size_t decode_bound(std::size_t a_count) noexcept {
    return base64_decoded_bound(a_count) + 1;
}
}  // namespace

const coder k_base64_encoder = {encode_reference, detail::base64_encode_scalar,
                                detail::base64_encode_avx2, encode_bound,
                                std::numeric_limits<std::size_t>::max() / 4};
const coder k_base64_decoder = {decode_reference, detail::base64_decode_scalar,
                                detail::base64_decode_avx2, decode_bound,
                                std::numeric_limits<std::size_t>::max()};

std::size_t base64_encode(path a_path, const unsigned char* a_src, std::size_t a_count,
                          unsigned char* a_dst) noexcept {
    return run(k_base64_encoder, a_path, a_src, a_count, a_dst);
}

std::size_t base64_decode(path a_path, const unsigned char* a_src, std::size_t a_count,
                          unsigned char* a_dst) noexcept {
    return run(k_base64_decoder, a_path, a_src, a_count, a_dst);
}

}  // namespace coding_kernels

namespace {
// Only the length is checked; a null or empty input is not an error.
void check_length(const unsigned char* a_src, unsigned long long a_count) {
    if (a_src != nullptr && a_count % 4 != 0) NUBASE_RAISE(arg, nullptr);
}
}  // namespace

buffer buffer_encode_base64(const unsigned char* a_src, unsigned long long a_count) {
    return coding_kernels::code<buffer>(coding_kernels::k_base64_encoder, a_src, a_count);
}

std::string string_encode_base64(const unsigned char* a_src, unsigned long long a_count) {
    return coding_kernels::code<std::string>(coding_kernels::k_base64_encoder, a_src, a_count);
}

buffer buffer_decode_base64(const unsigned char* a_src, unsigned long long a_count) {
    check_length(a_src, a_count);
    return coding_kernels::code<buffer>(coding_kernels::k_base64_decoder, a_src, a_count);
}

std::string string_decode_base64(const unsigned char* a_src, unsigned long long a_count) {
    check_length(a_src, a_count);
    return coding_kernels::code<std::string>(coding_kernels::k_base64_decoder, a_src, a_count);
}

}  // namespace nubase
