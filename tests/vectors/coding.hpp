// Known answers for the text codings, shared by the tests, the fuzz seeds and the benchmarks.
#ifndef NUBASE_TESTS_VECTORS_CODING_HPP
#define NUBASE_TESTS_VECTORS_CODING_HPP

#include <cstddef>

namespace nubase_vectors {

// A text and its coding; `size` counts the decoded bytes, which may hold NULs.
struct coding_pair {
    const char* decoded;
    std::size_t size;
    const char* encoded;
};

// RFC 4648, section 10 (base64).
constexpr coding_pair k_base64_rfc4648[] = {
    {"", 0, ""},
    {"f", 1, "Zg=="},
    {"fo", 2, "Zm8="},
    {"foo", 3, "Zm9v"},
    {"foob", 4, "Zm9vYg=="},
    {"fooba", 5, "Zm9vYmE="},
    {"foobar", 6, "Zm9vYmFy"},
};

// RFC 4648, section 10 (base16), written in lower case as this library encodes it.
constexpr coding_pair k_hex_rfc4648[] = {
    {"", 0, ""},
    {"f", 1, "66"},
    {"fo", 2, "666f"},
    {"foo", 3, "666f6f"},
    {"foob", 4, "666f6f62"},
    {"fooba", 5, "666f6f6261"},
    {"foobar", 6, "666f6f626172"},
};

// Lenient base64 decoding, worked by hand: a character outside the alphabet (the pad included)
// counts as the value 63, and the number k of such characters in a group of four gives the
// group's length: 1 byte for k = 2, 2 for k = 1, 3 for k = 0, 3 or 4.
constexpr coding_pair k_base64_lenient[] = {
    {"\xFF\xFF\xFF", 3, "===="},                  // k = 4: three bytes of 63-valued fields
    {"\xFF\xFF\xFF", 3, "\x80\xFF\x01\n"},        // any non-alphabet byte acts as the pad does
    {"\x67\xFF\xFF", 3, "Z!=="},                  // k = 3: 25<<2|3, F0|0F, C0|3F
    {"\xFD\x99", 2, "=Zm9"},                      // k = 1 at the front: FC|1, 90|9
    {"fo", 2, "Zm=9"},                            // k = 1 in third place: 66, 60|0F
    {"f", 1, "Zm\n="},                            // k = 2 without two pads
    {"\xFC", 1, "/A=="},                          // k = 2: 63<<2 | 0
    {"ffoo", 4, "Zg==Zm9v"},                      // a padded group does not end the text
    {"\x00\x00\x00\xFF\xFF\xFF", 6, "AAAA****"},  // k = 4 from '*'
};

// Lenient hex decoding, worked by hand: a non-digit counts as 255, and the pair gives the low
// 8 bits of (v0 << 4) | v1.
constexpr coding_pair k_hex_lenient[] = {
    {"\x00\xAB\xFF", 3, "00ABff"},
    {"\xFF", 1, "zz"},
    {"\xF1", 1, "z1"},
    {"\xFF", 1, "0z"},
    {"\xF0", 1, "g0"},
    {"\xAB\xCD", 2, "aBCd"},
    {"\xFF\xFF", 2, "/:@G"},  // the neighbours of the digit ranges
};

}  // namespace nubase_vectors

#endif  // NUBASE_TESTS_VECTORS_CODING_HPP
