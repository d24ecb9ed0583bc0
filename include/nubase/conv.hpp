// nubase/conv.hpp - numbers from text, booleans to words, percentages, four-character codes,
// the order of dotted version strings, and the pseudo-random helpers.
//
//   int l_port = nubase::conv::string_to_int(text.c_str(), 10);     // 0 for "http"
//   std::set<std::string, nubase::version::less> l_versions;        // newest first
//   nubase::math::rand_seed(7);
//   int l_die = nubase::math::rand_int(1, 6);
//
// Nothing here raises an `es` exception for any input.
#ifndef NUBASE_CONV_HPP
#define NUBASE_CONV_HPP

#include <cstdint>
#include <string>

#include "nubase/config.hpp"

namespace nubase {
namespace conv {

// Numbers from text with the rules of the C library's strtol family: leading white space and a
// sign are accepted, the base is as for strtol (0 reads a 0x or 0 prefix), reading stops at the
// first byte that does not fit, and text that is not a number gives 0. There is no error
// report: out-of-range text gives the clamped value of the underlying strtol-family call, cut to
// the result's width. A null text gives 0.

// The signed 32-bit value of strtol: "4294967297" gives 1 (the low 32 bits), "-7" gives -7.
[[nodiscard]] NUBASE_API std::int32_t string_to_long(const char* a_text, int a_base) noexcept;
[[nodiscard]] inline std::int32_t string_to_int(const char* a_text, int a_base) noexcept {
    return string_to_long(a_text, a_base);
}
// The unsigned 32-bit value of strtoul: "-1" gives 0xFFFFFFFF.
[[nodiscard]] NUBASE_API std::uint32_t string_to_ulong(const char* a_text, int a_base) noexcept;
[[nodiscard]] inline std::uint32_t string_to_uint(const char* a_text, int a_base) noexcept {
    return string_to_ulong(a_text, a_base);
}
// The 64-bit values of strtoll and strtoull.
[[nodiscard]] NUBASE_API std::int64_t string_to_longlong(const char* a_text, int a_base) noexcept;
[[nodiscard]] NUBASE_API std::uint64_t string_to_ulonglong(const char* a_text, int a_base) noexcept;
// strtof and strtod of the text (so "1e400" gives infinity, "nan" a NaN).
[[nodiscard]] NUBASE_API float string_to_float(const char* a_text) noexcept;
[[nodiscard]] NUBASE_API double string_to_double(const char* a_text) noexcept;

// "yes" or "no", and "true" or "false": static text, never to be freed.
[[nodiscard]] NUBASE_API const char* yes_no_c_str(bool a_value) noexcept;
[[nodiscard]] NUBASE_API const char* true_false_c_str(bool a_value) noexcept;

// A fraction as a whole percentage: |x| x 100 + 0.5, truncated toward zero. The sign is dropped
// on purpose: 0.123 gives 12, 0.125 gives 13, -0.5 gives 50. The float form computes in float.
// A NaN gives 0 and a result beyond the int range gives INT_MAX.
[[nodiscard]] NUBASE_API int float_to_percent(float a_fraction) noexcept;
[[nodiscard]] NUBASE_API int double_to_percent(double a_fraction) noexcept;

// The four-character code of the first four bytes of `s`, the first byte most significant
// ("abcd" gives 0x61626364); a shorter `s` is padded on the right with spaces ("" gives
// 0x20202020). The inverse of `string_with_fourcc` for printable codes.
[[nodiscard]] NUBASE_API std::uint32_t fourcc_with_string(const std::string& a_s) noexcept;

}  // namespace conv

namespace version {

// The packed value of a dotted version string: the first four fields (split at '.', empty fields
// kept) are read as decimal numbers (by the strtoul rules, so a non-numeric field is 0) and
// shifted left by 24, 16, 8 and 0 bits, then OR-ed into 32 bits. "1.2.3.4" is 0x01020304,
// "10.4" is 0x0A040000, a fifth field is ignored, and a field above 255 is not clamped: its high
// bits spill into the fields to its left ("1.256" gives 0x01000000 | 0x01000000, equal to "1").
[[nodiscard]] NUBASE_API std::uint32_t value(const std::string& a_version) noexcept;

// Orderings by packed value with deliberately reversed names: `less` is true when `a` is the
// NEWER version, `greater` when it is the older. A container keyed with `version::less` holds
// the newest version first. Equal values are equivalent ("1.2" and "1.2.0").
struct NUBASE_API less {
    bool operator()(const std::string& a_a, const std::string& a_b) const noexcept;
};
struct NUBASE_API greater {
    bool operator()(const std::string& a_a, const std::string& a_b) const noexcept;
};

}  // namespace version

namespace math {

// The single-precision machine epsilon, 2 to the power -23 (1.1920929e-7).
[[nodiscard]] NUBASE_API float float_epsilon() noexcept;

// The helpers below share the C library's one rand() generator state: they are exactly as
// thread-safe as rand and srand, and the library adds no lock.

// 2147483647, the largest value rand() returns.
[[nodiscard]] NUBASE_API int rand_max() noexcept;
// Seeds the generator with `seed`, or with the current time in seconds.
NUBASE_API void rand_seed(unsigned a_seed) noexcept;
NUBASE_API void rand_seed() noexcept;

// low + rand() modulo |high - low + 1|, computed without overflow: uniform-ish over [low, high]
// when low <= high, and rand_int(5, 5) is always 5. With high below low the modulus is
// low - high - 1 and the result lies at or above low, not between the two.
// Caller's error: high == low - 1 (a zero modulus); this implementation then returns `low`.
[[nodiscard]] NUBASE_API int rand_int(int a_low, int a_high) noexcept;

// low + rand() x 2^-31 x |high - low|: in [low, high) when low <= high. With high below low the
// result still lies above low (between low and low + the difference); this asymmetry is kept.
[[nodiscard]] NUBASE_API float rand_float(float a_low, float a_high) noexcept;

}  // namespace math
}  // namespace nubase

#endif  // NUBASE_CONV_HPP
