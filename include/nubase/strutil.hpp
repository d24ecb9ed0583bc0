// nubase/strutil.hpp - tokenizing, joining, key-value strings and replacement tables.
//
// The splitting functions append to the vector they are given and never clear it; the joining
// and key-value writers append to the string they are given. All work on bytes and none raises
// an `es` exception for any input: malformed text simply yields the pieces or pairs the rules
// below give.
//
//   std::vector<std::string> l_parts;
//   nubase::strutil::tokenize_string("a/b//c", '/', l_parts, false);   // "a", "b", "c"
//   nubase::kvmap l_query = nubase::strutil::kvmap_with_kvstr("a=1&b=2", '&', '=');
//   std::string l_back = nubase::strutil::kvstr_with_kvmap(l_query, '&', '=');  // "a=1&b=2"
#ifndef NUBASE_STRUTIL_HPP
#define NUBASE_STRUTIL_HPP

#include <list>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "nubase/buffer.hpp"
#include "nubase/config.hpp"

namespace nubase {

// An ordered map from string to string (byte-wise key order): the parsed form of key-value
// strings such as "a=1&b=2" and of URL queries.
using kvmap = std::map<std::string, std::string>;

// A half-open character range [first, second) into a string.
using range = std::pair<unsigned long, unsigned long>;

namespace strutil {

// Appends the pieces between occurrences of `sep`, plus the piece after the last one. With
// `keep_empty` every piece is appended: "" gives one empty piece, "a!!b" gives "a", "", "b", a
// trailing separator a trailing empty piece; joining the pieces with `sep` gives `s` back.
// Without it, empty pieces are skipped.
NUBASE_API void tokenize_string(const std::string& a_s, char a_sep, std::vector<std::string>& a_out,
                                bool a_keep_empty);

// Breaks `s` into lines of about `width` bytes at occurrences of `sep`, which are dropped.
// While the rest is longer than `width`, it breaks at whichever is nearer to index `width` of
// the rest: the first `sep` at or after it, or the last `sep` at or before it; at equal distance
// the earlier one wins, and with only one of them that one is taken. When there is neither, the
// rest is appended whole. A line can therefore be longer than `width` when the nearest separator
// lies beyond it: width 10 on "aaaa bbbb cccc dddd" gives "aaaa bbbb" and "cccc dddd".
NUBASE_API void tokenize_string(const std::string& a_s, char a_sep, unsigned a_width,
                                std::vector<std::string>& a_out);
// The same for a plain integer width (a negative width converts to unsigned as in C), so that a
// literal such as 72 does not make the call ambiguous with the quote form.
inline void tokenize_string(const std::string& a_s, char a_sep, int a_width,
                            std::vector<std::string>& a_out) {
    tokenize_string(a_s, a_sep, static_cast<unsigned>(a_width), a_out);
}

// Splits at `sep` outside quotes. Each `quote` byte toggles the inside-quotes state and stays in
// the piece; there is no escape. Every piece is appended, empty ones included, the last one too:
// a,"b,c",d gives a, "b,c" and d. The text ends at its first NUL byte. A byte equal to both
// `quote` and `sep` counts as a quote.
NUBASE_API void tokenize_string(const std::string& a_s, char a_sep, char a_quote,
                                std::vector<std::string>& a_out);

// Splits at `sep` outside brackets: `open` raises the nesting depth, `close` lowers it but never
// below zero (an unmatched closer is ignored), and only a `sep` at depth zero splits. Brackets
// stay in the pieces; every piece is appended, empty ones included: f(a,b),c gives f(a,b) and c.
// The text ends at its first NUL byte. A byte that is `open` is never taken as `close` or `sep`,
// and one that is `close` never as `sep`.
NUBASE_API void tokenize_string(const std::string& a_s, char a_sep, char a_open, char a_close,
                                std::vector<std::string>& a_out);

// Splits at every byte that occurs in `delimiters`, keeping empty pieces; the piece after the
// last delimiter is always appended ("" gives one empty piece).
NUBASE_API void tokenize(const std::string& a_s, const std::string& a_delimiters,
                         std::vector<std::string>& a_out);

// Appends the pieces to `out` with `sep` between them; a NUL `sep` means no separator. An empty
// list leaves `out` unchanged.
NUBASE_API void join_strings(const std::vector<std::string>& a_pieces, char a_sep,
                             std::string& a_out);
NUBASE_API void join_strings(const std::list<std::string>& a_pieces, char a_sep,
                             std::string& a_out);
NUBASE_API void join_strings(const std::vector<std::string>& a_pieces, const std::string& a_sep,
                             std::string& a_out);

// Adds the pairs of a key-value string to `out`. Pairs are separated by `pair_sep`; a key ends
// at its first `kv_sep` (the value is the rest of the pair, further `kv_sep` included) or at the
// end of the pair (the value is empty): "a=1&b&c=3=4" gives a = "1", b = "", c = "3=4". A key
// seen again replaces the earlier value, so the last occurrence wins. Empty keys are not
// filtered: a leading, doubled or trailing `pair_sep` adds the empty key with an empty value.
// An empty `s` adds nothing.
NUBASE_API void kvmap_with_kvstr(kvmap& a_out, const std::string& a_s, char a_pair_sep,
                                 char a_kv_sep);
[[nodiscard]] NUBASE_API kvmap kvmap_with_kvstr(const std::string& a_s, char a_pair_sep,
                                                char a_kv_sep);

// Appends the map's pairs to `out` in key order: a non-empty key is written after a `pair_sep`
// when `out` is already non-empty, and a non-empty value after a `kv_sep`. So an empty value
// gives the bare key ({a: "1", b: ""} gives "a=1&b") and an empty key with a value gives
// `kv_sep` and the value with no pair separator before it. Nothing is escaped: keys or values
// holding a separator do not survive a round trip.
NUBASE_API void kvstr_with_kvmap(std::string& a_out, const kvmap& a_map, char a_pair_sep,
                                 char a_kv_sep);
[[nodiscard]] NUBASE_API std::string kvstr_with_kvmap(const kvmap& a_map, char a_pair_sep,
                                                      char a_kv_sep);

// Applies each entry of the table in key order with the substring `nubase::replace`, one after
// the other, so a later key can match text produced by an earlier value. An empty key is a
// caller's error (see `nubase::replace`); it changes nothing here.
NUBASE_API std::string& replace(std::string& a_s,
                                const std::map<std::string, std::string>& a_table);
[[nodiscard]] NUBASE_API std::string string_replaced(
    const std::string& a_s, const std::map<std::string, std::string>& a_table);

// Replaces, in one pass, each byte that is a key of the table by its value; replacement text is
// never scanned again. With {'<': "&lt;", '>': "&gt;", '&': "&amp;"} this escapes HTML text.
NUBASE_API std::string& replace(std::string& a_s, const std::map<char, std::string>& a_table);
[[nodiscard]] NUBASE_API std::string string_replaced(const std::string& a_s,
                                                     const std::map<char, std::string>& a_table);

// The buffer's bytes (from its start, size() of them) as a string.
[[nodiscard]] NUBASE_API std::string buffer_to_string(const buffer& a_buffer);
// Assigns the buffer's bytes to `out` and returns it.
NUBASE_API std::string& buffer_to_string(std::string& a_out, const buffer& a_buffer);

}  // namespace strutil
}  // namespace nubase

#endif  // NUBASE_STRUTIL_HPP
