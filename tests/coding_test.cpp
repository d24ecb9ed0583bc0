// The text codings: known answers, lenient decoding, every path against the reference, the
// network coding's failure states and the UTF-8 helpers.
#include "nubase/coding.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "../src/coding_kernels.hpp"
#include "nubase/es.hpp"
#include "vectors/coding.hpp"
#include "support/raise.hpp"

namespace {

using nubase::buffer;
namespace kernels = nubase::coding_kernels;

const unsigned char* bytes(const std::string& s) {
    return reinterpret_cast<const unsigned char*>(s.data());
}
std::string text(const buffer& b) {
    return std::string(b.data(), b.data() + b.size());
}
buffer buffer_of(const std::string& s) {
    return buffer(bytes(s), bytes(s) + s.size());
}

constexpr const char* k_network_source = "lib/nubase/include/nubase/coding";
constexpr const char* k_out_of_range = "buffer offset out of range";

// Checks that `call` raises `es::arg` from `source` with `message` (the line is not promised).
template <class Call>
void expect_arg(Call call, const char* source, const char* message = "n/a") {
    nubase_vectors::expect_raise<nubase::es::arg>(call, source, 0, message);
}

// Checks known pairs through the buffer and string forms, both ways (encoding when given).
using buffer_form = buffer (*)(const unsigned char*, unsigned long long);
using string_form = std::string (*)(const unsigned char*, unsigned long long);
template <class Table>
void expect_known_pairs(const Table& table, buffer_form encode_buffer, string_form encode_string,
                        buffer_form decode_buffer, string_form decode_string) {
    for (const auto& v : table) {
        SCOPED_TRACE(testing::PrintToString(std::string(v.encoded)));
        const std::string raw(v.decoded, v.size), coded(v.encoded);
        if (encode_buffer != nullptr) {
            EXPECT_EQ(coded, text(encode_buffer(bytes(raw), raw.size())));
            EXPECT_EQ(coded, encode_string(bytes(raw), raw.size()));
        }
        EXPECT_EQ(raw, text(decode_buffer(bytes(coded), coded.size())));
        EXPECT_EQ(raw, decode_string(bytes(coded), coded.size()));
    }
}

TEST(Coding, KnownAnswersIncludingTheLenientRules) {
    using namespace nubase_vectors;
    expect_known_pairs(k_base64_rfc4648, nubase::buffer_encode_base64, nubase::string_encode_base64,
                       nubase::buffer_decode_base64, nubase::string_decode_base64);
    expect_known_pairs(k_hex_rfc4648, nubase::buffer_encode_hex, nubase::string_encode_hex,
                       nubase::buffer_decode_hex, nubase::string_decode_hex);
    expect_known_pairs(k_base64_lenient, nullptr, nullptr, nubase::buffer_decode_base64,
                       nubase::string_decode_base64);
    expect_known_pairs(k_hex_lenient, nullptr, nullptr, nubase::buffer_decode_hex,
                       nubase::string_decode_hex);
    // A NUL inside the text is one more invalid character, not an end.
    EXPECT_EQ("f", nubase::string_decode_base64(bytes(std::string("Zg\0=", 4)), 4));
    const unsigned char all_nibbles[] = {0x00, 0xAB, 0xFF, 0x12, 0x34, 0x56, 0x78, 0x9C, 0xDE};
    EXPECT_EQ("00abff123456789cde", nubase::string_encode_hex(all_nibbles, sizeof all_nibbles));
    // Results are built in place in a default buffer: a copy would double the capacity.
    EXPECT_EQ(1024u, nubase::buffer_encode_base64(bytes("foo"), 3).capacity());
    EXPECT_EQ(1024u, nubase::buffer_decode_hex(bytes("666f"), 4).capacity());
}

TEST(Coding, EmptyInputsAndWrongLengths) {
    const unsigned char some[] = "Zm9vYg==";
    // Null or zero-length input gives a default-constructed buffer, whatever the length says.
    for (const buffer& b :
         {nubase::buffer_encode_base64(nullptr, 5), nubase::buffer_encode_base64(some, 0),
          nubase::buffer_decode_base64(nullptr, 5), nubase::buffer_decode_base64(some, 0),
          nubase::buffer_encode_hex(nullptr, 3), nubase::buffer_decode_hex(nullptr, 3),
          nubase::buffer_decode_hex(some, 0)}) {
        EXPECT_EQ(0u, b.size());
        EXPECT_EQ(1024u, b.capacity());
    }
    EXPECT_EQ("", nubase::string_decode_base64(nullptr, 3));
    for (unsigned long long n = 1; n < 8; ++n) {
        SCOPED_TRACE(n);
        const char* base64 = "lib/nubase/src/base64_dec";
        const char* hex = "lib/nubase/src/hex_dec";
        if (n % 4 != 0) expect_arg([&] { (void)nubase::buffer_decode_base64(some, n); }, base64);
        if (n % 4 != 0) expect_arg([&] { (void)nubase::string_decode_base64(some, n); }, base64);
        if (n % 2 != 0) expect_arg([&] { (void)nubase::buffer_decode_hex(some, n); }, hex);
        if (n % 2 != 0) expect_arg([&] { (void)nubase::string_decode_hex(some, n); }, hex);
    }
}

TEST(Coding, EveryOneAndTwoByteInputRoundTrips) {
    // 0..255 are the one-byte inputs, then every pair of bytes once.
    for (unsigned v = 0; v < 256 + 65536; ++v) {
        const std::string raw =
            v < 256 ? std::string(1, static_cast<char>(v))
                    : std::string{static_cast<char>(v - 256), static_cast<char>((v - 256) >> 8)};
        const std::string b64 = nubase::string_encode_base64(bytes(raw), raw.size());
        const std::string hex = nubase::string_encode_hex(bytes(raw), raw.size());
        ASSERT_EQ(raw.size() == 1 ? "==" : "=", b64.substr(raw.size() + 1)) << v;
        ASSERT_EQ(raw, nubase::string_decode_base64(bytes(b64), b64.size())) << v;
        ASSERT_EQ(raw, nubase::string_decode_hex(bytes(hex), hex.size())) << v;
        ASSERT_EQ(hex, text(nubase::buffer_encode_hex(bytes(raw), raw.size()))) << v;
    }
}

// Expects every path the processor offers to give the reference path's bytes.
using kernel_fn = std::size_t (*)(kernels::path, const unsigned char*, std::size_t,
                                  unsigned char*) noexcept;
void expect_paths_agree(kernel_fn kernel, const std::string& in) {
    const std::size_t room = 2 * in.size() + 4;  // enough for every coder
    std::vector<unsigned char> want(room);
    want.resize(kernel(kernels::path::reference, bytes(in), in.size(), want.data()));
    for (auto p : {kernels::path::scalar, kernels::path::avx2}) {
        if (!kernels::path_available(p)) continue;
        std::vector<unsigned char> got(room);
        got.resize(kernel(p, bytes(in), in.size(), got.data()));
        ASSERT_EQ(want, got) << "path " << static_cast<int>(p) << " on "
                             << testing::PrintToString(in);
    }
}

std::string random_bytes(std::mt19937& rng, std::size_t n) {
    std::string s(n, '\0');
    for (auto& c : s)
        c = static_cast<char>(rng());
    return s;
}

TEST(CodingPaths, EncodersAgreeOnEveryLengthAroundTheBlockSizes) {
    std::mt19937 rng(7);
    const std::string in = random_bytes(rng, 1000);
    for (std::size_t n = 0; n <= in.size(); n += (n < 200 ? 1 : 37)) {
        expect_paths_agree(kernels::base64_encode, in.substr(0, n));
        expect_paths_agree(kernels::hex_encode, in.substr(0, n));
    }
}

TEST(CodingPaths, DecodersAgreeWithEveryByteValueAtEveryBlockPosition) {
    // Valid text of two wide blocks and a tail; each position in turn takes every byte value.
    std::mt19937 rng(11);
    const std::string raw = random_bytes(rng, 72);
    const std::string base64 = nubase::string_encode_base64(bytes(raw), raw.size());  // 96
    const std::string hex = nubase::string_encode_hex(bytes(raw), raw.size());        // 144
    for (unsigned c = 0; c < 256; ++c) {
        for (std::size_t at = 0; at < 64; ++at) {
            std::string s = base64, h = hex;
            s[at] = h[at] = static_cast<char>(c);
            expect_paths_agree(kernels::base64_decode, s);
            expect_paths_agree(kernels::hex_decode, h);
        }
    }
}

TEST(CodingPaths, DecodersAgreeOnRandomAndAdversarialText) {
    std::mt19937 rng(23);
    const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const std::string hex_digits = "0123456789abcdefABCDEF";
    // Density of invalid characters from none to all; lengths across the wide-step thresholds.
    for (unsigned density : {0u, 1u, 5u, 50u, 100u}) {
        for (std::size_t n : {4u, 40u, 44u, 48u, 64u, 76u, 128u, 300u, 1024u}) {
            for (int round = 0; round < 20; ++round) {
                std::string s = random_bytes(rng, n), h = random_bytes(rng, n);
                for (std::size_t i = 0; i < n; ++i) {
                    if (rng() % 100 < density) continue;  // keep the random byte
                    s[i] = alphabet[rng() % 64];
                    h[i] = hex_digits[rng() % 22];
                }
                // Pads in the last group as well as in the middle.
                if (round % 4 == 1) s[n - 1] = '=';
                if (round % 4 == 2) s[n - 1] = s[n - 2] = '=';
                if (round % 4 == 3) s[n / 2] = '=';
                expect_paths_agree(kernels::base64_decode, s);
                expect_paths_agree(kernels::hex_decode, h);
            }
        }
    }
}

static_assert(std::is_constructible_v<nubase::decoder_network, const buffer&> &&
                  !std::is_constructible_v<nubase::decoder_network, buffer&&> &&
                  !std::is_constructible_v<nubase::encoder_network, buffer&&>,
              "coders refer to their buffer, so they must not bind a temporary");

TEST(CodingNetwork, ItemsOnTheWireAndBack) {
    buffer wire(0ULL);
    nubase::encoder_network enc(wire);
    nubase::string_encode_network("hi", enc);
    EXPECT_EQ(std::string("\0\0\0\2hi", 6), text(wire));
    nubase::string_encode_network("", enc);
    nubase::buffer_encode_network(buffer(300ULL, static_cast<unsigned char>(7)), enc);
    EXPECT_EQ(std::string("\0\0\0\0\0\0\x01\x2C", 8), text(wire).substr(6, 8));

    nubase::decoder_network dec(wire);
    std::string s;
    nubase::string_decode_network(s, dec);
    EXPECT_EQ("hi", s);
    EXPECT_EQ(6u, dec.offset());
    s = "old";  // an empty item leaves the output as it was and moves past its length field
    nubase::string_decode_network(s, dec);
    EXPECT_EQ("old", s);
    EXPECT_EQ(10u, dec.offset());
    buffer b;
    nubase::buffer_decode_network(b, dec);
    EXPECT_EQ(buffer(300ULL, static_cast<unsigned char>(7)), b);
    EXPECT_EQ(wire.size(), dec.offset());
}

TEST(CodingNetwork, ShortInputLeavesOutputAndOffsetAsDocumented) {
    const struct {
        const char* what;
        std::string wire;
        unsigned long long offset_after;
    } rows[] = {
        {"no bytes", "", 0},
        {"three length bytes", std::string("\0\0\0", 3), 0},
        {"body one short", std::string("\0\0\0\3ab", 6), 4},
        {"length far beyond the end", "\xFF\xFF\xFF\xFFxyz", 4},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.what);
        const buffer wire = buffer_of(r.wire);
        nubase::decoder_network dec(wire);
        std::string s = "keep";
        expect_arg([&] { nubase::string_decode_network(s, dec); }, k_network_source,
                   k_out_of_range);
        EXPECT_EQ("keep", s);
        EXPECT_EQ(r.offset_after, dec.offset());
    }
}

TEST(CodingNetwork, ABufferCodedIntoOrOutOfItself) {
    // Appending a buffer to itself must copy its old bytes, also when the append reallocates.
    buffer b = buffer_of(std::string(1022, 'x'));
    nubase::encoder_network enc(b);
    nubase::buffer_encode_network(b, enc);
    ASSERT_EQ(1022u + 4 + 1022, b.size());
    EXPECT_EQ(std::string("\0\0\x03\xFE", 4) + std::string(1022, 'x'), text(b).substr(1022));

    // Decoding into its own source replaces it with the item; then the offset is past the end.
    buffer wire = buffer_of(std::string("\0\0\0\3abcrest", 11));
    nubase::decoder_network dec(wire);
    nubase::buffer_decode_network(wire, dec);
    EXPECT_EQ("abc", text(wire));
    EXPECT_EQ(7u, dec.offset());
    expect_arg([&] { nubase::buffer_decode_network(wire, dec); }, k_network_source, k_out_of_range);
}

TEST(CodingUtf8, LeadBytesByRange) {
    const struct {
        unsigned first, last, length;
    } rows[] = {{0x00, 0x7F, 1}, {0x80, 0xBF, 0}, {0xC0, 0xDF, 2},
                {0xE0, 0xEF, 3}, {0xF0, 0xF7, 4}, {0xF8, 0xFF, 0}};
    for (const auto& r : rows) {
        for (unsigned c = r.first; c <= r.last; ++c) {
            const auto lead = static_cast<unsigned char>(c);
            EXPECT_EQ(r.length, nubase::num_utf8_bytes(lead)) << c;
            EXPECT_EQ(r.length >= 2, nubase::is_multibyte_utf8_char(lead)) << c;
        }
    }
}

TEST(CodingUtf8, SignatureInBuffersAndStrings) {
    const std::string sig = "\xEF\xBB\xBF";
    const struct {
        std::string in, out;
        bool signature;
    } rows[] = {
        {sig + "AB", "B", true},  // the byte after the signature goes too
        {sig + "A", "", true},           {sig, "", true},
        {"\xEF\xBB", "\xEF\xBB", false}, {"\xEF\xBB\xBE!", "\xEF\xBB\xBE!", false},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(testing::PrintToString(r.in));
        buffer b = buffer_of(r.in);
        EXPECT_EQ(r.signature, nubase::has_utf8_signature(b));
        nubase::remove_utf8_signature_if_present(b);
        EXPECT_EQ(r.out, text(b));
        // The string forms compare signed characters with unsigned bytes and never match.
        std::string s = r.in;
        EXPECT_FALSE(nubase::has_utf8_signature(s));
        nubase::remove_utf8_signature_if_present(s);
        EXPECT_EQ(r.in, s);
    }
    EXPECT_EQ(sig + "x", nubase::windows_make_safe_utf8_string(sig + "x"));
}

}  // namespace
