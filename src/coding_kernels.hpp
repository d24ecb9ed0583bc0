// src/coding_kernels.hpp - the base64 and hex kernels behind the public coders, one per
// implementation ("path"), on raw memory sized by the caller.
//
// The public functions of coding.hpp size their output, call `*_best` and trim. The explicit
// per-path entry points exist so that the test suite and the fuzz targets can run every path on
// the same input and compare it with the reference; they are exported for that reason only and
// are not part of the installed interface.
//
// Paths:
//   reference  the documented algorithm, one character or group at a time with the 256-entry
//              reverse tables; the definition every other path must match byte for byte
//   scalar     wide tables, several bytes per step; runs on any processor
//   avx2       32 bytes per step with AVX2, for the bulk of the input; falls back to `scalar`
//              for the tail and, in the base64 decoder, for any 32-character block that holds a
//              character outside the alphabet
#ifndef NUBASE_SRC_CODING_KERNELS_HPP
#define NUBASE_SRC_CODING_KERNELS_HPP

#include <cstddef>
#include <limits>
#include <new>
#include <string>

#include "nubase/buffer.hpp"
#include "nubase/config.hpp"

namespace nubase {
namespace coding_kernels {

enum class path : int { reference, scalar, avx2 };

// True when the processor (and the operating system) can run `p`; reference and scalar always.
NUBASE_API bool path_available(path a_path) noexcept;
// The path the public coders use: avx2 where available, else scalar. Fixed at the first call.
NUBASE_API path path_best() noexcept;

// Output bounds the callers provide.
constexpr std::size_t base64_encoded_size(std::size_t a_count) noexcept {
    return 4 * ((a_count + 2) / 3);
}
constexpr std::size_t base64_decoded_bound(std::size_t a_count) noexcept {
    return 3 * (a_count / 4);
}

// Writes the base64 text of n bytes (base64_encoded_size(n) characters) and returns its length.
NUBASE_API std::size_t base64_encode(path a_path, const unsigned char* a_src, std::size_t a_count,
                                     unsigned char* a_dst) noexcept;
// Decodes n characters (n a multiple of 4) into at most base64_decoded_bound(n) bytes (the
// whole bound may be written as scratch) and returns the number of bytes decoded.
NUBASE_API std::size_t base64_decode(path a_path, const unsigned char* a_src, std::size_t a_count,
                                     unsigned char* a_dst) noexcept;
// Writes 2 x n lower-case digits.
NUBASE_API void hex_encode(path a_path, const unsigned char* a_src, std::size_t a_count,
                           unsigned char* a_dst) noexcept;
// Decodes n characters (n even) into n / 2 bytes.
NUBASE_API void hex_decode(path a_path, const unsigned char* a_src, std::size_t a_count,
                           unsigned char* a_dst) noexcept;

// ---- private to the library's sources -------------------------------------------------------

namespace detail {
// The table-driven kernels, used by the avx2 kernels for what they leave over.
std::size_t base64_encode_scalar(const unsigned char* a_src, std::size_t a_count,
                                 unsigned char* a_dst) noexcept;
std::size_t base64_decode_scalar(const unsigned char* a_src, std::size_t a_count,
                                 unsigned char* a_dst) noexcept;
void hex_encode_scalar(const unsigned char* a_src, std::size_t a_count,
                       unsigned char* a_dst) noexcept;
void hex_decode_scalar(const unsigned char* a_src, std::size_t a_count,
                       unsigned char* a_dst) noexcept;

// True when this build has the avx2 kernels and the processor runs them.
bool avx2_usable() noexcept;
// Whole inputs, as the public kernels above; only called when avx2_usable().
std::size_t base64_encode_avx2(const unsigned char* a_src, std::size_t a_count,
                               unsigned char* a_dst) noexcept;
std::size_t base64_decode_avx2(const unsigned char* a_src, std::size_t a_count,
                               unsigned char* a_dst) noexcept;
void hex_encode_avx2(const unsigned char* a_src, std::size_t a_count,
                     unsigned char* a_dst) noexcept;
void hex_decode_avx2(const unsigned char* a_src, std::size_t a_count,
                     unsigned char* a_dst) noexcept;
}  // namespace detail

// The public coders' frame, shared by their buffer and string forms: sizes a fresh `Out` to
// `bound` bytes, lets `fill(bytes)` write and return how many it wrote, and cuts to that. Counts
// above `limit` cannot be allocated (or would overflow the bound) and raise std::bad_alloc
// before anything is built.
inline unsigned char* bytes_of(buffer& a_out) noexcept {
    return a_out.data();
}
inline unsigned char* bytes_of(std::string& a_out) noexcept {
    return reinterpret_cast<unsigned char*>(&a_out[0]);
}
template <class Out, class Bound, class Fill>
Out coded(unsigned long long a_count, unsigned long long a_limit, Bound a_bound, Fill a_fill) {
    if (a_count > a_limit || a_count > std::numeric_limits<std::size_t>::max()) {
        throw std::bad_alloc();
    }
    Out l_out;
    l_out.resize(a_bound(static_cast<std::size_t>(a_count)));
    l_out.resize(a_fill(bytes_of(l_out), static_cast<std::size_t>(a_count)));
    return l_out;
}

}  // namespace coding_kernels
}  // namespace nubase

#endif  // NUBASE_SRC_CODING_KERNELS_HPP
