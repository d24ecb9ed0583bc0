// src/coding_kernels.hpp - the base64 and hex kernels behind the public coders, one per
// implementation ("path"), on raw memory sized by the caller.
//
// Each coder is a `coder`: its kernel on every path plus the room its output needs. The public
// functions of coding.hpp run it through `code`, which sizes the result, runs the best path and
// trims. The per-path entry points exist so that the test suite, the fuzz targets and the
// benchmarks can run every path on the same input and compare it with the reference; they are
// exported for that reason only and are not part of the installed interface.
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
// Writes 2 x n lower-case digits and returns 2 x n.
NUBASE_API std::size_t hex_encode(path a_path, const unsigned char* a_src, std::size_t a_count,
                                  unsigned char* a_dst) noexcept;
// Decodes n characters (n even) into n / 2 bytes and returns n / 2.
NUBASE_API std::size_t hex_decode(path a_path, const unsigned char* a_src, std::size_t a_count,
                                  unsigned char* a_dst) noexcept;

// ---- private to the library's sources -------------------------------------------------------

// One kernel: codes n bytes at src into dst and returns how many bytes it wrote.
using kernel = std::size_t(const unsigned char* a_src, std::size_t a_count,
                           unsigned char* a_dst) noexcept;

// A coder: its kernel on each path and the room its output needs for n input bytes.
struct coder {
    kernel* reference;
    kernel* scalar;
    kernel* avx2;
    std::size_t (*bound)(std::size_t a_count) noexcept;
    // Larger inputs cannot be allocated (or would overflow the bound).
    unsigned long long limit;
};

// Runs the coder's kernel for `p`; a path the processor cannot run falls back to scalar.
std::size_t run(const coder& a_coder, path a_path, const unsigned char* a_src, std::size_t a_count,
                unsigned char* a_dst) noexcept;

namespace detail {
// The table-driven kernels, which the avx2 kernels use for what they leave over.
kernel base64_encode_scalar, base64_decode_scalar, hex_encode_scalar, hex_decode_scalar;
// Whole inputs, as the public kernels above; only run when avx2_usable(). On processors without
// the instructions they forward to the scalar kernels.
kernel base64_encode_avx2, base64_decode_avx2, hex_encode_avx2, hex_decode_avx2;
// True when this build has the avx2 kernels and the processor runs them.
bool avx2_usable() noexcept;
}  // namespace detail

// The public coders' frame, shared by their buffer and string forms: a null or empty input gives
// an empty (default-constructed) result; otherwise a fresh `Out` is sized to the bound, the best
// path writes into it, and it is cut to what was written. An input above the coder's limit
// raises std::bad_alloc before anything is built.
inline unsigned char* bytes_of(buffer& a_out) noexcept {
    return a_out.data();
}
inline unsigned char* bytes_of(std::string& a_out) noexcept {
    return reinterpret_cast<unsigned char*>(&a_out[0]);
}
template <class Out>
Out code(const coder& a_coder, const unsigned char* a_src, unsigned long long a_count) {
    // Every path returns the one named result, so that it is built in place: `buffer` has no
    // move constructor, and a second returned object would turn the return into a full copy.
    Out l_out;
    if (a_src == nullptr || a_count == 0) return l_out;
    if (a_count > a_coder.limit || a_count > std::numeric_limits<std::size_t>::max()) {
        throw std::bad_alloc();
    }
    const auto l_count = static_cast<std::size_t>(a_count);
    l_out.resize(a_coder.bound(l_count));
    l_out.resize(run(a_coder, path_best(), a_src, l_count, bytes_of(l_out)));
    return l_out;
}

}  // namespace coding_kernels
}  // namespace nubase

#endif  // NUBASE_SRC_CODING_KERNELS_HPP
