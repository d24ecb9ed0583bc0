// The hexadecimal coder: its tables, the reference and table-driven kernels, the path dispatch
// and the public buffer and string functions.
#include <array>
#include <cstring>
#include <limits>

#include "coding_kernels.hpp"
#include "nubase/coding.hpp"
#include "raise.hpp"

namespace {
constexpr char k_source[] = "lib/nubase/src/hex_dec";
}

namespace nubase {
namespace coding_kernels {
namespace {

constexpr char k_digits[] = "0123456789abcdef";

// "0".."9", "A".."F" and "a".."f" to their values; every other byte to 255.
constexpr std::array<unsigned char, 256> make_reverse() {
    std::array<unsigned char, 256> l_table{};
    for (auto& l_v : l_table)
        l_v = 255;
    for (unsigned l_i = 0; l_i < 16; ++l_i) {
        const auto l_c = static_cast<unsigned char>(k_digits[l_i]);
        l_table[l_c] = static_cast<unsigned char>(l_i);
        if (l_c >= 'a') l_table[l_c - 'a' + 'A'] = static_cast<unsigned char>(l_i);
    }
    return l_table;
}
constexpr std::array<unsigned char, 256> k_reverse = make_reverse();

// Byte to its two digits: one look-up and one two-byte store per byte.
constexpr std::array<std::array<unsigned char, 2>, 256> make_pairs() {
    std::array<std::array<unsigned char, 2>, 256> l_table{};
    for (unsigned l_i = 0; l_i < 256; ++l_i) {
        l_table[l_i][0] = static_cast<unsigned char>(k_digits[l_i >> 4]);
        l_table[l_i][1] = static_cast<unsigned char>(k_digits[l_i & 15]);
    }
    return l_table;
}
constexpr std::array<std::array<unsigned char, 2>, 256> k_pairs = make_pairs();

std::size_t encode_reference(const unsigned char* a_src, std::size_t a_count,
                             unsigned char* a_dst) noexcept {
    for (std::size_t l_i = 0; l_i < a_count; ++l_i) {
        a_dst[2 * l_i] = static_cast<unsigned char>(k_digits[a_src[l_i] >> 4]);
        a_dst[2 * l_i + 1] = static_cast<unsigned char>(k_digits[a_src[l_i] & 15]);
    }
    return 2 * a_count;
}

// Invalid digits keep their 255: the pair gives the low 8 bits of (255 << 4) | v1 or of
// (v0 << 4) | 255, that is F0 | v1 or FF.
std::size_t decode_reference(const unsigned char* a_src, std::size_t a_count,
                             unsigned char* a_dst) noexcept {
    for (std::size_t l_i = 0; l_i + 2 <= a_count; l_i += 2) {
        a_dst[l_i / 2] =
            static_cast<unsigned char>((k_reverse[a_src[l_i]] << 4) | k_reverse[a_src[l_i + 1]]);
    }
    return a_count / 2;
}

std::size_t encode_bound(std::size_t a_count) noexcept {
    return 2 * a_count;
}
std::size_t decode_bound(std::size_t a_count) noexcept {
    return a_count / 2;
}

}  // namespace

namespace detail {

std::size_t hex_encode_scalar(const unsigned char* a_src, std::size_t a_count,
                              unsigned char* a_dst) noexcept {
    for (std::size_t l_i = 0; l_i < a_count; ++l_i) {
        std::memcpy(a_dst + 2 * l_i, k_pairs[a_src[l_i]].data(), 2);
    }
    return 2 * a_count;
}

// The reference loop is already one look-up per character with nothing to branch on.
std::size_t hex_decode_scalar(const unsigned char* a_src, std::size_t a_count,
                              unsigned char* a_dst) noexcept {
    return decode_reference(a_src, a_count, a_dst);
}

}  // namespace detail

const coder k_hex_encoder = {encode_reference, detail::hex_encode_scalar, detail::hex_encode_avx2,
                             encode_bound, std::numeric_limits<std::size_t>::max() / 4};
const coder k_hex_decoder = {decode_reference, detail::hex_decode_scalar, detail::hex_decode_avx2,
                             decode_bound, std::numeric_limits<std::size_t>::max()};

std::size_t hex_encode(path a_path, const unsigned char* a_src, std::size_t a_count,
                       unsigned char* a_dst) noexcept {
    return run(k_hex_encoder, a_path, a_src, a_count, a_dst);
}

std::size_t hex_decode(path a_path, const unsigned char* a_src, std::size_t a_count,
                       unsigned char* a_dst) noexcept {
    return run(k_hex_decoder, a_path, a_src, a_count, a_dst);
}

}  // namespace coding_kernels

namespace {
// Only the length is checked; a null or empty input is not an error.
void check_length(const unsigned char* a_src, unsigned long long a_count) {
    if (a_src != nullptr && a_count % 2 != 0) NUBASE_RAISE(arg, nullptr);
}
}  // namespace

buffer buffer_encode_hex(const unsigned char* a_src, unsigned long long a_count) {
    return coding_kernels::code<buffer>(coding_kernels::k_hex_encoder, a_src, a_count);
}

std::string string_encode_hex(const unsigned char* a_src, unsigned long long a_count) {
    return coding_kernels::code<std::string>(coding_kernels::k_hex_encoder, a_src, a_count);
}

buffer buffer_decode_hex(const unsigned char* a_src, unsigned long long a_count) {
    check_length(a_src, a_count);
    return coding_kernels::code<buffer>(coding_kernels::k_hex_decoder, a_src, a_count);
}

std::string string_decode_hex(const unsigned char* a_src, unsigned long long a_count) {
    check_length(a_src, a_count);
    return coding_kernels::code<std::string>(coding_kernels::k_hex_decoder, a_src, a_count);
}

}  // namespace nubase
