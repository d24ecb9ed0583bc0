// nubase/coding.hpp - text codings: base64, hexadecimal, the length-prefixed network coding and
// a few UTF-8 helpers.
//
// Every coder returns its result by value, as a `buffer` or a `std::string` holding the same
// bytes; the only failure they raise is `es::arg`:
//
//   nubase::buffer text = nubase::buffer_encode_base64(bytes, 3);          // "Zm9v"
//   std::string raw = nubase::string_decode_hex(
//       reinterpret_cast<const unsigned char*>("00abFF"), 6);             // 00 AB FF
//
//   nubase::buffer wire;
//   nubase::encoder_network enc(wire);
//   nubase::string_encode_network("hi", enc);                            // 00 00 00 02 'h' 'i'
//   nubase::decoder_network dec(wire);
//   std::string item;
//   nubase::string_decode_network(item, dec);                            // "hi", offset 6
//
// The decoders are lenient by design: they check the length of their input and nothing else.
// A character outside the alphabet does not fail; it decodes by the fixed rules given with each
// decoder below, so that any text yields the same bytes on every machine and every code path.
//
// Speed: base64 and hex run through the widest implementation the processor offers (AVX2 where
// present, table-driven scalar code otherwise), picked once at the first call. All paths give
// exactly the same bytes for every input, invalid characters included.
//
// Sizes larger than the address space can hold raise `std::bad_alloc` (as `buffer` does);
// nothing is written in that case.
#ifndef NUBASE_CODING_HPP
#define NUBASE_CODING_HPP

#include <cstdint>
#include <string>

#include "nubase/buffer.hpp"
#include "nubase/config.hpp"

namespace nubase {

// ---- base64 ---------------------------------------------------------------------------------
//
// Alphabet "A".."Z", "a".."z", "0".."9", "+", "/" with the pad "=" (the standard alphabet of
// RFC 4648), no line breaks.

// The base64 text of the n bytes at p: 4 characters for every 3 bytes, the last group padded
// with "==" (one byte) or "=" (two bytes). A null p or n = 0 gives an empty (default-constructed)
// buffer. Never raises an `es` exception.
[[nodiscard]] NUBASE_API buffer buffer_encode_base64(const unsigned char* a_src,
                                                     unsigned long long a_count);
// The same text as `buffer_encode_base64`, in a string.
[[nodiscard]] NUBASE_API std::string string_encode_base64(const unsigned char* a_src,
                                                          unsigned long long a_count);

// The bytes coded by the n characters at p. A null p or n = 0 gives an empty buffer; otherwise
// n must be a multiple of 4, else `es::arg` is raised (source "lib/nubase/src/base64_dec",
// message "n/a") and nothing is built.
//
// Each group of four characters is decoded on its own. A character outside the alphabet (the
// pad "=" included, wherever it stands) takes the value 63, and the number k of such characters
// in the group sets how many bytes the group yields: 1 when k = 2, 2 when k = 1, and 3 when k is
// 0, 3 or 4. So "Zg==" gives "f", "Zm8=" gives "fo", "====" gives FF FF FF, and a padded group in
// the middle of the text does not end the decoding.
[[nodiscard]] NUBASE_API buffer buffer_decode_base64(const unsigned char* a_src,
                                                     unsigned long long a_count);
// The same bytes as `buffer_decode_base64`, in a string; raises alike.
[[nodiscard]] NUBASE_API std::string string_decode_base64(const unsigned char* a_src,
                                                          unsigned long long a_count);

// ---- hexadecimal ----------------------------------------------------------------------------

// 2 x n lower-case hex digits, the high nibble of each byte first. A null p or n = 0 gives an
// empty (default-constructed) buffer. Never raises an `es` exception.
[[nodiscard]] NUBASE_API buffer buffer_encode_hex(const unsigned char* a_src,
                                                  unsigned long long a_count);
// The same digits as `buffer_encode_hex`, in a string.
[[nodiscard]] NUBASE_API std::string string_encode_hex(const unsigned char* a_src,
                                                       unsigned long long a_count);

// n / 2 bytes, one for each pair of digits; upper and lower case decode alike. A null p or
// n = 0 gives an empty buffer; an odd n raises `es::arg` (source "lib/nubase/src/hex_dec",
// message "n/a") and builds nothing.
//
// A character that is not a hex digit takes the value 255 and the pair c0 c1 gives the low 8
// bits of (v0 << 4) | v1: an invalid first digit gives F0 | v1, an invalid second digit FF
// ("zz" and "0z" give FF, "z1" gives F1).
[[nodiscard]] NUBASE_API buffer buffer_decode_hex(const unsigned char* a_src,
                                                  unsigned long long a_count);
// The same bytes as `buffer_decode_hex`, in a string; raises alike.
[[nodiscard]] NUBASE_API std::string string_decode_hex(const unsigned char* a_src,
                                                       unsigned long long a_count);

// ---- network coding -------------------------------------------------------------------------
//
// One item is its length L as a 4-byte big-endian unsigned number, then its L bytes; items
// follow each other without terminator or alignment. L is the item's size taken modulo 2^32.

// Appends coded items to the end of a buffer it refers to (and does not own); the buffer must
// outlive the encoder.
class encoder_network {
  public:
    explicit encoder_network(buffer& a_target) noexcept : m_target(a_target) {}
    buffer& target() const noexcept { return m_target; }

  private:
    buffer& m_target;
};

class decoder_network;

// Appends the 4 length bytes and then the L bytes of the item to the encoder's buffer, growing
// it with `buffer::resize` twice (by 4, then by L). An item may be the encoder's own buffer: its
// bytes as they were before the call are appended. Never raises an `es` exception.
NUBASE_API void string_encode_network(const std::string& a_item, encoder_network& a_encoder);
NUBASE_API void buffer_encode_network(const buffer& a_item, encoder_network& a_encoder);

// Reads the next item into `out` (string assignment, or `buffer::assign`) and moves the
// decoder's offset past it.
//
// An item of length 0 leaves `out` exactly as it was (it is not cleared) and advances the offset
// by 4: pass a fresh output when that matters.
//
// Raises `es::arg` with "buffer offset out of range" (source "lib/nubase/include/nubase/coding")
// when fewer than 4 bytes remain at the offset (the offset does not move), or when fewer than L
// bytes follow the length (the offset stays advanced by 4). `out` is unchanged in both cases.
// The remaining byte count is taken modulo 2^32, as the length field is; a source that has
// shrunk below the offset since counts as having 0 bytes left.
NUBASE_API void string_decode_network(std::string& a_out, decoder_network& a_decoder);
NUBASE_API void buffer_decode_network(buffer& a_out, decoder_network& a_decoder);

// Reads coded items from a buffer it refers to (read-only, not owned), starting at offset 0. The
// buffer must outlive the decoder; it may grow between reads.
class decoder_network {
  public:
    explicit decoder_network(const buffer& a_source) noexcept : m_source(a_source) {}
    // A temporary source would be gone before the first read.
    explicit decoder_network(const buffer&&) = delete;

    // The offset of the next item's length field in the source.
    unsigned long long offset() const noexcept { return m_offset; }
    const buffer& source() const noexcept { return m_source; }

  private:
    friend void string_decode_network(std::string&, decoder_network&);
    friend void buffer_decode_network(buffer&, decoder_network&);

    const buffer& m_source;
    unsigned long long m_offset = 0;
};

// ---- UTF-8 ----------------------------------------------------------------------------------

// The length of the sequence a UTF-8 lead byte announces: 1 below 80 (hex), 2 for 110xxxxx,
// 3 for 1110xxxx, 4 for 11110xxx, and 0 for a continuation byte (10xxxxxx) or a byte that can
// never start a sequence (F8 to FF). Never throws.
[[nodiscard]] constexpr unsigned num_utf8_bytes(unsigned char a_c) noexcept {
    return a_c < 0x80             ? 1
           : (a_c & 0xE0) == 0xC0 ? 2
           : (a_c & 0xF0) == 0xE0 ? 3
           : (a_c & 0xF8) == 0xF0 ? 4
                                  : 0;
}

// True for the lead byte of a 2-, 3- or 4-byte sequence. Never throws.
[[nodiscard]] constexpr bool is_multibyte_utf8_char(unsigned char a_c) noexcept {
    return num_utf8_bytes(a_c) >= 2;
}

// True when the buffer starts with the UTF-8 signature EF BB BF. Never throws.
[[nodiscard]] NUBASE_API bool has_utf8_signature(const buffer& a_bytes) noexcept;

// The string form compares each character, taken as a signed char, with the signature byte
// taken as unsigned. The signature bytes are all above 7F, so this form never reports a
// signature and always returns false; callers that need the test on text use the buffer form.
// Kept this way because existing callers depend on the string being left alone. Never throws.
[[nodiscard]] NUBASE_API bool has_utf8_signature(const std::string& a_text) noexcept;

// When the buffer starts with EF BB BF, removes those three bytes and the byte after them (four
// in all; a buffer of 3 or 4 bytes becomes empty). The rest is copied into a fresh buffer that is
// swapped in, so the capacity follows from the new size. Otherwise leaves the buffer alone.
NUBASE_API void remove_utf8_signature_if_present(buffer& a_bytes);

// Uses the same test as the string form of `has_utf8_signature`, so it never changes the string.
// Were the test to pass, the first min(length, 3) characters would be erased.
NUBASE_API void remove_utf8_signature_if_present(std::string& a_text);

// A plain copy of the argument: text needs no repair for the file systems of this platform.
[[nodiscard]] NUBASE_API std::string windows_make_safe_utf8_string(const std::string& a_text);

}  // namespace nubase

#endif  // NUBASE_CODING_HPP
