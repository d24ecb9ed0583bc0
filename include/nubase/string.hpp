// nubase/string.hpp - byte-string helpers: building, testing, case, replacing, trimming,
// splitting, truncating and aligning.
//
// Every function works on bytes (no multi-byte awareness) with the character classes of the C
// locale, whatever locale the host has set. A function that returns a new string leaves its
// argument untouched; an in-place function takes a mutable reference and returns it. In every
// test the pattern comes first and the string searched second:
//
//   if (nubase::starts_with("file:", url)) ...
//   std::string l = nubase::string_with_format("%s:%d", host.c_str(), port);
//   nubase::string_truncate("abcdefghijklmnop", 10, nubase::truncate_end);  // "abcdefgh.."
//
// None of these functions raises an `es` exception for any input; only the string class's own
// exceptions (allocation failure) pass through. The few inputs that the replacement rules cannot
// finish are callers' errors and are named at `replace`.
#ifndef NUBASE_STRING_HPP
#define NUBASE_STRING_HPP

#include <cstdarg>
#include <cstdint>
#include <string>
#include <utility>

#include "nubase/config.hpp"

namespace nubase {

// Where `string_truncate` removes characters.
enum e_truncate_whence {
    truncate_begin = 0,   // the start is cut, the end kept
    truncate_middle = 1,  // the middle is cut
    truncate_end = 2,     // the end is cut, the start kept
};

// How `string_space_align` pads.
enum e_space_align {
    space_align_left = 0,    // spaces after
    space_align_center = 1,  // spaces on both sides, the odd one in front
    space_align_right = 2,   // spaces before
};

// The one shared, constant empty string, returned by functions with nothing to return. It is
// built during static initialisation and lives until exit. `string_empty_string()` is safe to
// call at any time, also from other static initialisers; the `empty_string` reference is bound
// during the library's own initialisation.
NUBASE_API const std::string& string_empty_string() noexcept;
NUBASE_API extern const std::string& empty_string;

// The first `length` bytes at `str`, embedded NULs included. A length of all ones (the default)
// means up to the terminating NUL. A null `str` or a length of 0 gives an empty string.
[[nodiscard]] NUBASE_API std::string string_with_cstr(const char* a_str,
                                                      unsigned long long a_length = ~0ULL);

// printf-style formatting with no size limit. A null format, a format that produces no
// characters and a formatting error all give an empty string.
[[nodiscard]] NUBASE_API std::string string_with_format(const char* a_format, ...)
#if defined(__GNUC__) || defined(__clang__)
    __attribute__((format(printf, 1, 2)))
#endif
    ;
// The same over an argument list, which is left unconsumed (the function works on copies).
[[nodiscard]] NUBASE_API std::string string_with_vformat(const char* a_format, va_list a_args);

// The four bytes of `code`, most significant first; a byte outside 32..126 shows `replacement`.
// Always four characters: 0x41424344 gives "ABCD", 0 gives four replacements.
[[nodiscard]] NUBASE_API std::string string_with_fourcc(std::uint32_t a_code, char a_replacement);

// True if `s` begins with `prefix`. An empty prefix is always found; a prefix longer than `s`
// never is: starts_with("24.0", "24.000") is true, starts_with("24.000", "24.0") false.
[[nodiscard]] inline bool starts_with(const std::string& a_prefix,
                                      const std::string& a_s) noexcept {
    return a_prefix.size() <= a_s.size() && a_s.compare(0, a_prefix.size(), a_prefix) == 0;
}
// True if `s` ends with `suffix`; the same rules from the end.
[[nodiscard]] inline bool ends_with(const std::string& a_suffix, const std::string& a_s) noexcept {
    return a_suffix.size() <= a_s.size() &&
           a_s.compare(a_s.size() - a_suffix.size(), a_suffix.size(), a_suffix) == 0;
}
// True if `needle` occurs in `s`; an empty needle is always found.
[[nodiscard]] inline bool contains(const std::string& a_needle, const std::string& a_s) noexcept {
    return a_needle.size() <= a_s.size() && a_s.find(a_needle) != std::string::npos;
}
// True if the byte `c` occurs in `s`.
[[nodiscard]] inline bool contains(char a_c, const std::string& a_s) noexcept {
    return a_s.find(a_c) != std::string::npos;
}

// ASCII case changes ('A'..'Z' <-> 'a'..'z'); every other byte, 0x80 and above included, is kept.
NUBASE_API std::string& to_lowercase(std::string& a_s) noexcept;
NUBASE_API std::string& to_uppercase(std::string& a_s) noexcept;
[[nodiscard]] NUBASE_API std::string string_to_lowercase(const std::string& a_s);
[[nodiscard]] NUBASE_API std::string string_to_uppercase(const std::string& a_s);

// Character replacement. Each `c` is replaced by `with`, and the search goes on one byte after
// the replaced position, not after the inserted text. Consequences callers rely on:
//  - an empty `with` deletes a `c` and skips the byte that moves into its place, so "aaa"
//    becomes "a" and "aab" becomes "ab";
//  - a `with` that holds `c` at its first byte only is not rescanned ("a" -> "ab" is safe).
// Caller's error: a `with` that holds `c` after its first byte (two copies of `c`, say) would be
// rescanned without end under this rule. Do not pass one; this implementation then replaces each
// original `c` once and returns, but that result is not part of the contract.
NUBASE_API std::string& replace(std::string& a_s, char a_c, const std::string& a_with);
[[nodiscard]] NUBASE_API std::string string_replaced(const std::string& a_s, char a_c,
                                                     const std::string& a_with);

// Substring replacement: each occurrence of `what`, found left to right without overlap, is
// replaced by `with`; the search goes on after the inserted text, which is never rescanned
// ("aaa" with "aa" -> "b" gives "ba").
// Caller's error: an empty `what` (it would be found at every step without end). Do not pass
// one; this implementation then leaves the string unchanged.
NUBASE_API std::string& replace(std::string& a_s, const std::string& a_what,
                                const std::string& a_with);
[[nodiscard]] NUBASE_API std::string string_replaced(const std::string& a_s,
                                                     const std::string& a_what,
                                                     const std::string& a_with);

// `s` without its leading and trailing bytes that belong to `set`. A string made only of such
// bytes comes back whole, not emptied: trimmed("   ", ' ') is "   ". An empty set trims nothing.
[[nodiscard]] NUBASE_API std::string trimmed(const std::string& a_s, const std::string& a_set);
[[nodiscard]] NUBASE_API std::string trimmed(const std::string& a_s, char a_c);

// `s` followed by `tail`.
[[nodiscard]] NUBASE_API std::string appended(const std::string& a_s, const std::string& a_tail);

// Upper-cases the first byte when it is an ASCII lower-case letter; nothing else changes (the
// rest is not lower-cased): "hello World" -> "Hello World", "1abc" unchanged.
NUBASE_API std::string& capitalize(std::string& a_s) noexcept;
[[nodiscard]] NUBASE_API std::string capitalized(const std::string& a_s);

// Splits at the first `separator`: ("k", "v=w") for "k=v=w". Without a separator the whole
// string is the first half and the second is empty: ("kv", "").
[[nodiscard]] NUBASE_API std::pair<std::string, std::string> split(const std::string& a_s,
                                                                   char a_separator);

// `s` cut to at most `max_length` bytes. A string that fits is returned whole. Otherwise:
//  - limit 0 gives "", limit 1 gives the last byte (truncate_begin) or the first (else), no dot;
//  - from 2 up, an ellipsis of d dots (1 below 6, 2 from 6 to 12, 3 from 13) replaces the cut
//    part and k = max_length - d bytes are kept: the first k (truncate_end), the last k
//    (truncate_begin), or the first ceil(k/2) and the last floor(k/2) (truncate_middle).
// A cut result is exactly `max_length` bytes long. Any other `whence` value cuts as
// truncate_end.
[[nodiscard]] NUBASE_API std::string string_truncate(const std::string& a_s, unsigned a_max_length,
                                                     e_truncate_whence a_whence);

// `s` padded with spaces to `width` bytes: after it (left), before it (right) or around it
// (center, the odd space in front). A string longer than `width` is returned whole, never cut.
// Any other `align` value pads as space_align_left.
[[nodiscard]] NUBASE_API std::string string_space_align(const std::string& a_s, unsigned a_width,
                                                        e_space_align a_align);

}  // namespace nubase

#endif  // NUBASE_STRING_HPP
