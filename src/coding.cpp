// The coders' path selection, the network coding and the UTF-8 helpers.
#include <cstdint>
#include <cstring>

#include "coding_kernels.hpp"
#include "nubase/coding.hpp"
#include "raise.hpp"

namespace {
// The network decoders report under the coding header's name, their documented identity.
constexpr char k_source[] = "lib/nubase/include/nubase/coding";
}  // namespace

namespace nubase {

namespace coding_kernels {

bool path_available(path a_path) noexcept {
    return a_path != path::avx2 || detail::avx2_usable();
}

path path_best() noexcept {
    static const path s_best = detail::avx2_usable() ? path::avx2 : path::scalar;
    return s_best;
}

std::size_t run(const coder& a_coder, path a_path, const unsigned char* a_src, std::size_t a_count,
                unsigned char* a_dst) noexcept {
    switch (a_path) {
        case path::reference:
            return a_coder.reference(a_src, a_count, a_dst);
        case path::avx2:
            if (detail::avx2_usable()) return a_coder.avx2(a_src, a_count, a_dst);
            break;
        case path::scalar:
            break;
    }
    return a_coder.scalar(a_src, a_count, a_dst);
}

}  // namespace coding_kernels

// ---- network coding -------------------------------------------------------------------------

namespace {

constexpr char k_out_of_range[] = "buffer offset out of range";

// Appends the length field and the item. A buffer item is passed as `item` rather than as bytes:
// it may be the target itself, which the resizes can move, so its address is read only after
// them (its old contents are then still the target's first `length` bytes).
void encode_item(const unsigned char* a_bytes, const buffer* a_item, std::uint32_t a_length,
                 buffer& a_target) {
    const unsigned long long l_at = a_target.size();
    a_target.resize(l_at + 4);
    unsigned char* l_field = a_target.data() + l_at;
    l_field[0] = static_cast<unsigned char>(a_length >> 24);
    l_field[1] = static_cast<unsigned char>(a_length >> 16);
    l_field[2] = static_cast<unsigned char>(a_length >> 8);
    l_field[3] = static_cast<unsigned char>(a_length);
    a_target.resize(l_at + 4 + a_length);
    const unsigned char* l_src = a_item != nullptr ? a_item->data() : a_bytes;
    if (a_length != 0) std::memcpy(a_target.data() + l_at + 4, l_src, a_length);
}

// Bytes left after the offset, modulo 2^32 (as the length field); none when the source has
// shrunk below the offset.
std::uint32_t remaining(const buffer& a_source, unsigned long long a_offset) noexcept {
    if (a_offset > a_source.size()) return 0;
    return static_cast<std::uint32_t>(a_source.size() - a_offset);
}

// Reads the length field at the offset and checks that the item's bytes follow it. Returns the
// item's first byte and length, or null for an empty item; the offset is left past the length
// field and the caller advances it past the item once it holds the bytes.
const unsigned char* next_item(const buffer& a_source, unsigned long long& a_offset,
                               std::uint32_t& a_length) {
    if (remaining(a_source, a_offset) < 4) NUBASE_RAISE(arg, k_out_of_range);
    const unsigned char* l_p = a_source.data() + a_offset;
    a_length = (std::uint32_t{l_p[0]} << 24) | (std::uint32_t{l_p[1]} << 16) |
               (std::uint32_t{l_p[2]} << 8) | l_p[3];
    a_offset += 4;
    if (a_length == 0) return nullptr;
    if (remaining(a_source, a_offset) < a_length) NUBASE_RAISE(arg, k_out_of_range);
    return l_p + 4;
}

}  // namespace

void string_encode_network(const std::string& a_item, encoder_network& a_encoder) {
    encode_item(reinterpret_cast<const unsigned char*>(a_item.data()), nullptr,
                static_cast<std::uint32_t>(a_item.size()), a_encoder.target());
}

void buffer_encode_network(const buffer& a_item, encoder_network& a_encoder) {
    encode_item(nullptr, &a_item, static_cast<std::uint32_t>(a_item.size()), a_encoder.target());
}

void string_decode_network(std::string& a_out, decoder_network& a_decoder) {
    std::uint32_t l_length = 0;
    const unsigned char* l_item = next_item(a_decoder.m_source, a_decoder.m_offset, l_length);
    if (l_item == nullptr) return;
    a_out.assign(reinterpret_cast<const char*>(l_item), l_length);
    a_decoder.m_offset += l_length;
}

void buffer_decode_network(buffer& a_out, decoder_network& a_decoder) {
    std::uint32_t l_length = 0;
    const unsigned char* l_item = next_item(a_decoder.m_source, a_decoder.m_offset, l_length);
    if (l_item == nullptr) return;
    // `assign` copes with an item inside `out` itself (decoding a buffer into its own source).
    a_out.assign(l_item, l_item + l_length);
    a_decoder.m_offset += l_length;
}

// ---- UTF-8 ----------------------------------------------------------------------------------

namespace {
const unsigned char k_signature[3] = {0xEF, 0xBB, 0xBF};

// The string test: each character as a signed char against the signature byte as unsigned, so
// no character ever matches (see the header).
bool string_starts_with_signature(const std::string& a_text) noexcept {
    if (a_text.size() < 3) return false;
    for (unsigned l_i = 0; l_i < 3; ++l_i) {
        const int l_char = static_cast<signed char>(a_text[l_i]);
        const int l_sig = k_signature[l_i];
        if (l_char != l_sig) return false;
    }
    return true;
}
}  // namespace

bool has_utf8_signature(const buffer& a_bytes) noexcept {
    return a_bytes.size() >= 3 && std::memcmp(a_bytes.data(), k_signature, 3) == 0;
}

bool has_utf8_signature(const std::string& a_text) noexcept {
    return string_starts_with_signature(a_text);
}

void remove_utf8_signature_if_present(buffer& a_bytes) {
    if (!has_utf8_signature(a_bytes)) return;
    // The byte after the signature goes too; with nothing after it the result is empty.
    const unsigned long long l_from = a_bytes.size() < 4 ? a_bytes.size() : 4;
    buffer l_rest;
    l_rest.assign(a_bytes.data() + l_from, a_bytes.data() + a_bytes.size());
    a_bytes.swap(l_rest);
}

void remove_utf8_signature_if_present(std::string& a_text) {
    if (string_starts_with_signature(a_text)) a_text.erase(0, 3);
}

std::string windows_make_safe_utf8_string(const std::string& a_text) {
    return a_text;
}

}  // namespace nubase
