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

void encode_reference(const unsigned char* a_src, std::size_t a_count,
                      unsigned char* a_dst) noexcept {
    for (std::size_t l_i = 0; l_i < a_count; ++l_i) {
        *a_dst++ = static_cast<unsigned char>(k_digits[a_src[l_i] >> 4]);
        *a_dst++ = static_cast<unsigned char>(k_digits[a_src[l_i] & 15]);
    }
}

// Invalid digits keep their 255: the pair gives the low 8 bits of (255 << 4) | v1 or of
// (v0 << 4) | 255, that is F0 | v1 or FF.
void decode_reference(const unsigned char* a_src, std::size_t a_count,
                      unsigned char* a_dst) noexcept {
    for (std::size_t l_i = 0; l_i + 2 <= a_count; l_i += 2) {
        *a_dst++ =
            static_cast<unsigned char>((k_reverse[a_src[l_i]] << 4) | k_reverse[a_src[l_i + 1]]);
    }
}

}  // namespace

namespace detail {

void hex_encode_scalar(const unsigned char* a_src, std::size_t a_count,
                       unsigned char* a_dst) noexcept {
    for (std::size_t l_i = 0; l_i < a_count; ++l_i) {
        std::memcpy(a_dst + 2 * l_i, k_pairs[a_src[l_i]].data(), 2);
    }
}

// The reference loop is already one look-up per character with nothing to branch on.
void hex_decode_scalar(const unsigned char* a_src, std::size_t a_count,
                       unsigned char* a_dst) noexcept {
    decode_reference(a_src, a_count, a_dst);
}

}  // namespace detail

void hex_encode(path a_path, const unsigned char* a_src, std::size_t a_count,
                unsigned char* a_dst) noexcept {
    switch (a_path) {
        case path::reference:
            return encode_reference(a_src, a_count, a_dst);
        case path::avx2:
            if (detail::avx2_usable()) return detail::hex_encode_avx2(a_src, a_count, a_dst);
            break;
        case path::scalar:
            break;
    }
    detail::hex_encode_scalar(a_src, a_count, a_dst);
}

void hex_decode(path a_path, const unsigned char* a_src, std::size_t a_count,
                unsigned char* a_dst) noexcept {
    switch (a_path) {
        case path::reference:
            return decode_reference(a_src, a_count, a_dst);
        case path::avx2:
            if (detail::avx2_usable()) return detail::hex_decode_avx2(a_src, a_count, a_dst);
            break;
        case path::scalar:
            break;
    }
    detail::hex_decode_scalar(a_src, a_count, a_dst);
}

}  // namespace coding_kernels

namespace {

using coding_kernels::coded;

template <class Out>
Out encode(const unsigned char* a_src, unsigned long long a_count) {
    if (a_src == nullptr || a_count == 0) return Out();
    return coded<Out>(
        a_count, std::numeric_limits<std::size_t>::max() / 4,
        [](std::size_t a_n) { return 2 * a_n; },
        [a_src](unsigned char* a_dst, std::size_t a_n) {
            coding_kernels::hex_encode(coding_kernels::path_best(), a_src, a_n, a_dst);
            return 2 * a_n;
        });
}

template <class Out>
Out decode(const unsigned char* a_src, unsigned long long a_count) {
    if (a_src == nullptr || a_count == 0) return Out();
    if (a_count % 2 != 0) NUBASE_RAISE(arg, nullptr);
    return coded<Out>(
        a_count, std::numeric_limits<std::size_t>::max(), [](std::size_t a_n) { return a_n / 2; },
        [a_src](unsigned char* a_dst, std::size_t a_n) {
            coding_kernels::hex_decode(coding_kernels::path_best(), a_src, a_n, a_dst);
            return a_n / 2;
        });
}

}  // namespace

buffer buffer_encode_hex(const unsigned char* a_src, unsigned long long a_count) {
    return encode<buffer>(a_src, a_count);
}

std::string string_encode_hex(const unsigned char* a_src, unsigned long long a_count) {
    return encode<std::string>(a_src, a_count);
}

buffer buffer_decode_hex(const unsigned char* a_src, unsigned long long a_count) {
    return decode<buffer>(a_src, a_count);
}

std::string string_decode_hex(const unsigned char* a_src, unsigned long long a_count) {
    return decode<std::string>(a_src, a_count);
}

}  // namespace nubase
