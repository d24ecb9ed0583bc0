// Arbitrary bytes through the tokenizers, the key-value conversions, trimming, splitting,
// truncation, alignment and the version order, checking the invariants these functions promise.
// None of them may throw, so nothing is caught: any exception is a finding.
//
// Input layout: byte 0 and 1 choose separators, byte 2 a width or limit, byte 3 the truncation
// and alignment mode; the rest is the text.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "nubase/conv.hpp"
#include "nubase/string.hpp"
#include "nubase/strutil.hpp"

namespace {

namespace su = nubase::strutil;

void check(bool a_condition) {
    if (!a_condition) std::abort();
}

// The packed version value computed the long way: pieces kept empty, strtoul per piece.
std::uint32_t reference_version(const std::string& a_s) {
    std::vector<std::string> l_pieces;
    su::tokenize_string(a_s, '.', l_pieces, true);
    std::uint32_t l_value = 0;
    for (std::size_t l_i = 0; l_i < l_pieces.size() && l_i < 4; ++l_i) {
        const unsigned long l_n = std::strtoul(l_pieces[l_i].c_str(), nullptr, 10);
        l_value |= static_cast<std::uint32_t>(l_n << (24 - 8 * l_i));
    }
    return l_value;
}

void tokenizers(const std::string& a_s, char a_sep, char a_other, unsigned a_width) {
    std::vector<std::string> l_kept, l_skipped;
    su::tokenize_string(a_s, a_sep, l_kept, true);
    su::tokenize_string(a_s, a_sep, l_skipped, false);
    std::string l_joined;
    su::join_strings(l_kept, a_sep, l_joined);
    if (a_sep != '\0') check(l_joined == a_s);
    std::size_t l_non_empty = 0;
    for (const auto& l_p : l_kept)
        l_non_empty += l_p.empty() ? 0 : 1;
    check(l_skipped.size() == l_non_empty);
    for (const auto& l_p : l_skipped)
        check(!l_p.empty());

    std::vector<std::string> l_any;
    su::tokenize(a_s, std::string(1, a_sep), l_any);
    check(l_any == l_kept);

    // Line breaking drops exactly one separator per break and keeps every other byte in order.
    std::vector<std::string> l_lines;
    su::tokenize_string(a_s, a_sep, a_width, l_lines);
    std::string l_rejoined;
    su::join_strings(l_lines, std::string(1, a_sep), l_rejoined);
    check(l_rejoined == a_s);

    // The quote and bracket forms drop only the separators they split at, up to the first NUL.
    const std::string l_c_text = a_s.substr(0, a_s.find('\0'));
    std::vector<std::string> l_quoted, l_bracketed;
    su::tokenize_string(a_s, a_sep, a_other, l_quoted);
    su::tokenize_string(a_s, a_sep, a_other, static_cast<char>(a_other + 1), l_bracketed);
    for (const auto* l_list : {&l_quoted, &l_bracketed}) {
        std::string l_back;
        su::join_strings(*l_list, std::string(1, a_sep), l_back);
        check(l_back == l_c_text);
    }
}

void key_values(const std::string& a_s, char a_pair, char a_kv) {
    const nubase::kvmap l_map = su::kvmap_with_kvstr(a_s, a_pair, a_kv);
    // No key holds a separator of either kind, and no value a pair separator.
    for (const auto& l_e : l_map) {
        check(l_e.first.find(a_pair) == std::string::npos);
        check(l_e.first.find(a_kv) == std::string::npos);
        check(l_e.second.find(a_pair) == std::string::npos);
    }
    if (a_pair == a_kv) return;
    // Without the empty key and values holding kv_sep, writing and reading back is exact.
    nubase::kvmap l_clean;
    for (const auto& l_e : l_map) {
        if (!l_e.first.empty() && l_e.second.find(a_kv) == std::string::npos) {
            l_clean.insert(l_e);
        }
    }
    check(su::kvmap_with_kvstr(su::kvstr_with_kvmap(l_clean, a_pair, a_kv), a_pair, a_kv) ==
          l_clean);
}

void shapes(const std::string& a_s, char a_sep, unsigned a_limit, unsigned a_mode) {
    const auto l_whence = static_cast<nubase::e_truncate_whence>(a_mode % 3);
    const std::string l_cut = nubase::string_truncate(a_s, a_limit, l_whence);
    check(a_s.size() <= a_limit ? l_cut == a_s : l_cut.size() == a_limit);

    const auto l_align = static_cast<nubase::e_space_align>(a_mode % 3);
    const std::string l_wide = nubase::string_space_align(a_s, a_limit, l_align);
    check(l_wide.size() == std::max<std::size_t>(a_s.size(), a_limit));
    check(l_wide.find(a_s) != std::string::npos);

    const std::string l_trim = nubase::trimmed(a_s, a_sep);
    const bool l_all_trim = a_s.find_first_not_of(a_sep) == std::string::npos;
    check(l_all_trim ? l_trim == a_s
                     : (l_trim.front() != a_sep && l_trim.back() != a_sep &&
                        a_s.find(l_trim) != std::string::npos));

    const auto l_halves = nubase::split(a_s, a_sep);
    if (a_s.find(a_sep) != std::string::npos) {
        check(l_halves.first + a_sep + l_halves.second == a_s);
        check(l_halves.first.find(a_sep) == std::string::npos);
    } else {
        check(l_halves.first == a_s && l_halves.second.empty());
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* a_data, std::size_t a_size) {
    if (a_size < 4) return 0;
    const char l_sep = static_cast<char>(a_data[0]);
    const char l_other = static_cast<char>(a_data[1]);
    const unsigned l_width = a_data[2];
    const unsigned l_mode = a_data[3];
    const std::string l_s(reinterpret_cast<const char*>(a_data) + 4, a_size - 4);

    tokenizers(l_s, l_sep, l_other, l_width);
    key_values(l_s, l_sep, l_other);
    shapes(l_s, l_sep, l_width, l_mode);

    const std::uint32_t l_value = nubase::version::value(l_s);
    check(l_value == reference_version(l_s));
    const nubase::version::less l_less;
    check(!l_less(l_s, l_s));
    return 0;
}
