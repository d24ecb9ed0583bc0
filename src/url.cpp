// URL scanning, getters and setters, percent coding, key-value text and UNC splitting.
//
// Every public function starts from `scan`, which walks the string once from the left and
// records the positions of the parts; getters copy one range, setters edit one range and, where
// the grammar would otherwise read the result differently, insert the delimiter that keeps the
// part in place.
#include "nubase/url.hpp"

#include <cstring>
#include <string>

namespace nubase {
namespace {

constexpr std::size_t k_npos = std::string::npos;

// Position of `c` in d[from, to), or `to`.
inline std::size_t find_in(const char* a_d, std::size_t a_from, std::size_t a_to, char a_c) {
    if (a_from >= a_to) return a_to;
    const void* l_p = std::memchr(a_d + a_from, a_c, a_to - a_from);
    return l_p == nullptr ? a_to : static_cast<std::size_t>(static_cast<const char*>(l_p) - a_d);
}

// Where the parts of a URL lie. All positions are within [0, n].
struct layout {
    std::size_t n;     // length of the string
    std::size_t w;     // working end: the first '#', or n
    std::size_t s;     // start of the scheme-specific part (0 without a scheme)
    bool scheme;       // a scheme is present: it is [0, s - 1)
    bool slashes;      // the scheme-specific part begins with "//"
    std::size_t a, b;  // the authority [a, b); a == b when it is absent or empty
    bool semi_ends;    // a ';' ends the authority (it holds an '@' or a bracketed host)
};

// The end of an authority starting at `a`, found over the whole string (the scan may run into
// the fragment); k_npos when no delimiter ends it. `semi_ends` tells whether an '@' or a
// bracketed host lies before the working end `w`, so that a ';' there would end the authority.
std::size_t authority_end(const char* a_d, std::size_t a_a, std::size_t a_w, std::size_t a_n,
                          bool& a_semi_ends) {
    bool l_at = false, l_bracketed = false;
    a_semi_ends = false;
    for (std::size_t l_i = a_a; l_i < a_n; ++l_i) {
        switch (a_d[l_i]) {
            case '/':
            case '?':
                return l_i;
            case ';':
                if (l_at || l_bracketed) return l_i;
                break;
            case '@':
                l_at = true;
                a_semi_ends = a_semi_ends || l_i < a_w;
                break;
            case '[':
                if (!l_bracketed) {
                    // An IPv6 literal: skip to its ']'. Without one before the working end the
                    // '[' is ordinary.
                    const std::size_t l_close = find_in(a_d, l_i + 1, a_w, ']');
                    if (l_close < a_w) {
                        l_i = l_close;
                        l_bracketed = true;
                        a_semi_ends = true;
                    }
                }
                break;
            default:
                break;
        }
    }
    return k_npos;
}

layout scan(const char* a_d, std::size_t a_n) {
    layout l;
    l.n = a_n;
    l.w = find_in(a_d, 0, a_n, '#');
    std::size_t l_i = 0;
    while (l_i < l.w && a_d[l_i] != ':' && a_d[l_i] != '/')
        ++l_i;
    l.scheme = l_i < l.w && a_d[l_i] == ':';
    l.s = l.scheme ? l_i + 1 : 0;
    l.slashes = l.s + 1 < l.w && a_d[l.s] == '/' && a_d[l.s + 1] == '/';
    l.semi_ends = false;
    if (!l.slashes) {
        l.a = l.b = l.s;
        return l;
    }
    l.a = l.s + 2;
    const std::size_t l_end = authority_end(a_d, l.a, l.w, a_n, l.semi_ends);
    if (l_end == k_npos) {
        l.b = l.w;
    } else if (l_end > l.w) {
        // The end lies in the fragment: no authority, the path starts behind the "//".
        l.b = l.a;
        l.semi_ends = false;
    } else {
        l.b = l_end;
    }
    return l;
}

inline layout scan(const std::string& a_u) {
    return scan(a_u.data(), a_u.size());
}

// The path [b, path end): the path ends at the first '?' or ';' before the working end.
std::size_t path_end(const char* a_d, const layout& a_l) {
    std::size_t l_i = a_l.b;
    while (l_i < a_l.w && a_d[l_i] != '?' && a_d[l_i] != ';')
        ++l_i;
    return l_i;
}

// A part's range and whether its delimiter is present (at first - 1).
struct part {
    std::size_t first, second;
    bool present;
};

part params_part(const char* a_d, const layout& a_l) {
    const std::size_t l_pe = path_end(a_d, a_l);
    if (l_pe < a_l.w && a_d[l_pe] == ';')
        return {l_pe + 1, find_in(a_d, l_pe + 1, a_l.w, '?'), true};
    return {l_pe, l_pe, false};
}

part query_part(const char* a_d, const layout& a_l) {
    const std::size_t l_q = find_in(a_d, a_l.b, a_l.w, '?');
    if (l_q < a_l.w) return {l_q + 1, a_l.w, true};
    return {a_l.w, a_l.w, false};
}

part fragment_part(const layout& a_l) {
    if (a_l.w < a_l.n) return {a_l.w + 1, a_l.n, true};
    return {a_l.n, a_l.n, false};
}

// The pieces of an authority [a, b). Absent pieces are empty ranges.
struct authority_parts {
    range domain, user, password, host, service;
    bool at;  // an '@' lies inside
};

authority_parts split_authority(const std::string& a_u, range a_r) {
    const char* l_d = a_u.data();
    authority_parts l_p;
    const std::size_t l_at = find_in(l_d, a_r.first, a_r.second, '@');
    l_p.at = l_at < a_r.second;
    if (l_p.at) {
        const std::size_t l_semi = find_in(l_d, a_r.first, l_at, ';');
        const std::size_t l_user = l_semi < l_at ? l_semi + 1 : a_r.first;
        l_p.domain = l_semi < l_at ? range(a_r.first, l_semi) : range(a_r.first, a_r.first);
        const std::size_t l_colon = find_in(l_d, l_user, l_at, ':');
        l_p.user = range(l_user, l_colon);
        l_p.password = l_colon < l_at ? range(l_colon + 1, l_at) : range(l_at, l_at);
    } else {
        l_p.domain = l_p.user = l_p.password = range(a_r.first, a_r.first);
    }
    l_p.host = a_r;
    l_p.service = parse_service(l_p.host, a_u);
    return l_p;
}

inline std::string copy(const std::string& a_u, std::size_t a_first, std::size_t a_second,
                        bool a_decode) {
    if (a_first >= a_second) return std::string();
    if (a_decode) return url_decode(range(a_first, a_second), a_u.data());
    return std::string(a_u.data() + a_first, a_second - a_first);
}

inline std::string copy(const std::string& a_u, const range& a_r, bool a_decode) {
    return copy(a_u, a_r.first, a_r.second, a_decode);
}

inline std::string encoded(const std::string& a_value, bool a_encode, bool a_encode_slash) {
    return a_encode ? url_encode(a_value, a_encode_slash) : a_value;
}

// Replaces the part `p` with `text` (already encoded), inserting `delim` in front when the part
// was absent, or removes the part and its delimiter when `text` is empty.
void replace_part(std::string& a_u, const part& a_p, const std::string& a_text, char a_delim) {
    if (a_text.empty()) {
        if (a_p.present) a_u.erase(a_p.first - 1, a_p.second - a_p.first + 1);
        return;
    }
    a_u.replace(a_p.first, a_p.second - a_p.first, a_text);
    if (!a_p.present) a_u.insert(a_p.first, 1, a_delim);
}

// After an edit behind the authority: the authority scan may read the edited text differently
// (new parameters behind an authority that a ';' does not end, an '@' or '/' that came or went
// where the scan runs on into the fragment). A '/' where the authority ended before puts the
// end back there; the text in front of that position is unchanged, so the scan stops at it.
std::string& keep_authority(std::string& a_u, const layout& a_before) {
    if (!a_before.slashes) return a_u;
    const layout l_after = scan(a_u);
    if (l_after.b != a_before.b) a_u.insert(a_before.b, 1, '/');
    return a_u;
}

// Sets the authority text (already encoded). A new or changed authority gets "//" in front when
// it has none and a '/' behind when the text behind would otherwise be read as part of it (the
// check is made by scanning the result); an empty one is removed with its "//".
std::string& place_authority(std::string& a_u, const std::string& a_text) {
    const layout l = scan(a_u);
    if (a_text.empty()) {
        if (!l.slashes) return a_u;
        a_u.erase(l.a, l.b - l.a);
        // Dropping the "//" in front of a path that begins with "//" would make that path an
        // authority; keep it then.
        if (a_u.compare(l.a, 2, "//") != 0) a_u.erase(l.s, 2);
        return a_u;
    }
    std::size_t l_at = l.a;
    a_u.replace(l.a, l.b - l.a, a_text);
    if (!l.slashes) {
        a_u.insert(l.s, "//");
        l_at += 2;
    }
    const std::size_t l_end = l_at + a_text.size();
    const layout l_new = scan(a_u);
    if (l_end < a_u.size() && (l_new.b > l_end || l_new.b == l_new.a)) a_u.insert(l_end, 1, '/');
    return a_u;
}

enum class piece { domain, user, password, host, service };

// An authority of one piece, for a URL that has none yet: the piece with the markers it needs
// to read back ("D;@", "u@", ":pw@", "h", ":80"; a host or service that holds an '@' gets one
// in front, which would otherwise end an empty user information there).
std::string lone_piece(piece a_which, const std::string& a_value) {
    switch (a_which) {
        case piece::domain:
            return a_value + ";@";
        case piece::user:
            return (a_value.find(';') != k_npos ? ";" : "") + a_value + "@";
        case piece::password:
            return (a_value.find(';') != k_npos ? ";:" : ":") + a_value + "@";
        case piece::host:
            return (a_value.find('@') != k_npos ? "@" : "") + a_value;
        case piece::service:
            return (a_value.find('@') != k_npos ? "@:" : ":") + a_value;
    }
    return a_value;
}

// Whether replacing [first, second) of `u` with `text` lets the authority that ended at
// `old_end` reach further than the edit moves that end.
bool reaches_further(const std::string& a_u, std::size_t a_first, std::size_t a_second,
                     const std::string& a_text, std::size_t a_old_end) {
    std::string l_edited = a_u;
    l_edited.replace(a_first, a_second - a_first, a_text);
    const layout l_after = scan(l_edited);
    return l_after.a == l_after.b || l_after.b + (a_second - a_first) > a_old_end + a_text.size();
}

// Where a piece lies in an existing authority, with the markers around it.
struct piece_site {
    layout l;
    authority_parts p;
    std::size_t at;  // the '@' (the authority's start without one)
    bool semi;       // the domain's ';' stands
    bool colon;      // the password's ':' stands
};

piece_site locate(const std::string& a_u) {
    piece_site l_s;
    l_s.l = scan(a_u);
    l_s.p = split_authority(a_u, range(l_s.l.a, l_s.l.b));
    l_s.at = l_s.p.at ? l_s.p.password.second : l_s.l.a;
    l_s.semi = l_s.p.at && l_s.p.domain.second < l_s.at && a_u[l_s.p.domain.second] == ';';
    l_s.colon = l_s.p.at && l_s.p.user.second < l_s.at;
    return l_s;
}

// The range [first, second) that setting `which` to `value` replaces, and its new text: the
// piece's own range, or an absent piece's place with the markers it needs.
struct piece_edit {
    std::size_t first, second;
    std::string text;
};

piece_edit edit_for(const std::string& a_u, const piece_site& a_s, piece a_which,
                    const std::string& a_value) {
    const authority_parts& l_p = a_s.p;
    const std::string l_at_mark = l_p.at ? "" : "@";
    const std::string l_semi_mark = !l_p.at && a_value.find(';') != k_npos ? ";" : "";
    piece_edit l_e{a_s.at, a_s.at, std::string()};
    switch (a_which) {
        case piece::domain:
            l_e.first = a_s.l.a;
            l_e.second = a_s.semi ? l_p.domain.second + 1 : a_s.l.a;
            // The ';' stays while the user information behind it holds another.
            if (a_value.empty() && a_s.semi &&
                find_in(a_u.data(), l_e.second, a_s.at, ';') < a_s.at)
                --l_e.second;
            if (!a_value.empty()) l_e.text = a_value + ";" + l_at_mark;
            break;
        case piece::user:
            if (l_p.at) l_e.first = l_p.user.first, l_e.second = l_p.user.second;
            if (!a_value.empty()) l_e.text = l_semi_mark + a_value + l_at_mark;
            break;
        case piece::password:
            if (a_s.colon) l_e.first = l_p.user.second;
            if (!a_value.empty()) l_e.text = l_semi_mark + ":" + a_value + l_at_mark;
            break;
        case piece::host:
            l_e = {l_p.host.first, l_p.host.second, a_value};
            break;
        case piece::service:
            l_e.first = l_p.service.first > l_p.host.second ? l_p.service.first - 1 : a_s.l.b;
            l_e.second = a_s.l.b;
            if (!a_value.empty()) l_e.text = ':' + a_value;
            break;
    }
    return l_e;
}

// Sets one piece of the authority by replacing that piece's range alone: every other character
// of the authority stays, empty markers included ("p://@h" keeps its '@', "ftp://anonymous:@h"
// its ':'). A piece that was absent comes with its markers; a piece set to "" goes with its
// own marker, as the header describes. A URL without an authority gets a new one.
std::string& set_authority_piece(std::string& a_u, piece a_which, const std::string& a_value) {
    const piece_site l_s = locate(a_u);
    const layout& l = l_s.l;
    if (l.a == l.b)
        return a_value.empty() ? a_u : place_authority(a_u, lone_piece(a_which, a_value));
    const bool l_userinfo =
        a_which == piece::domain || a_which == piece::user || a_which == piece::password;
    // Markers that must stand in front of the whole user information: a ';' for a user or
    // password that holds one (it would otherwise end a domain), an '@' for a host or service
    // that holds one (it would otherwise end an empty user information).
    if ((l_s.p.at && !l_s.semi && l_userinfo && a_which != piece::domain &&
         a_value.find(';') != k_npos) ||
        (!l_s.p.at && !l_userinfo && a_value.find('@') != k_npos)) {
        a_u.insert(l.a, 1, l_userinfo ? ';' : '@');
        return set_authority_piece(a_u, a_which, a_value);
    }
    piece_edit l_e = edit_for(a_u, l_s, a_which, a_value);
    const bool l_empties = l_e.text.empty() && l_e.first == l.a && l_e.second == l.b;
    // Where the edit would let the authority reach further (a bracketed host that ended it at a
    // ';' is replaced), an empty user information in front keeps the ';' ending it. A stray
    // bracket that pairs up anew is left as it stands.
    if (!l_s.p.at && !l_userinfo && !l_empties &&
        reaches_further(a_u, l_e.first, l_e.second, l_e.text, l.b)) {
        std::string l_marked = a_u;
        l_marked.insert(l.a, 1, '@');
        if (!reaches_further(l_marked, l_e.first + 1, l_e.second + 1, l_e.text, l.b + 1)) {
            a_u.swap(l_marked.replace(l_e.first + 1, l_e.second - l_e.first, l_e.text));
            return a_u;
        }
    }
    // A user information left empty loses its '@', unless the host or service holds one or the
    // authority would then reach further.
    if (l_s.p.at && l_userinfo && l_e.second > l_e.first && l_e.text.empty() && l_e.first == l.a &&
        l_e.second == l_s.at && find_in(a_u.data(), l_s.at + 1, l.b, '@') == l.b &&
        !reaches_further(a_u, l.a, l_s.at + 1, "", l.b))
        l_e.second = l_s.at + 1;
    a_u.replace(l_e.first, l_e.second - l_e.first, l_e.text);
    // An authority left empty goes with its "//".
    if (l_e.text.empty() && l_e.first == l.a && l_e.second == l.b)
        return place_authority(a_u, std::string());
    return a_u;
}

// Keeps bytes of this set unencoded (the set without '/' when '/' is to be encoded).
struct encode_table {
    bool keep[256];
    constexpr encode_table() : keep() {
        const char* l_kept =
            "!$&'()+,-./0123456789=ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz";
        for (const char* l_c = l_kept; *l_c != '\0'; ++l_c)
            keep[static_cast<unsigned char>(*l_c)] = true;
    }
};
constexpr encode_table k_encode;

// Hex digit values for decoding; every other byte counts as 0.
struct hex_table {
    unsigned char value[256];
    constexpr hex_table() : value() {
        for (int l_i = 0; l_i < 10; ++l_i)
            value['0' + l_i] = static_cast<unsigned char>(l_i);
        for (int l_i = 0; l_i < 6; ++l_i) {
            value['a' + l_i] = static_cast<unsigned char>(10 + l_i);
            value['A' + l_i] = static_cast<unsigned char>(10 + l_i);
        }
    }
};
constexpr hex_table k_hex;

std::string decode(const char* a_s, std::size_t a_n) {
    std::string l_out;
    if (a_n == 0) return l_out;
    l_out.resize(a_n);
    char* l_o = &l_out[0];
    std::size_t l_i = 0;
    while (l_i + 2 < a_n) {
        const char l_c = a_s[l_i];
        if (l_c == '%') {
            const unsigned l_byte = 16u * k_hex.value[static_cast<unsigned char>(a_s[l_i + 1])] +
                                    k_hex.value[static_cast<unsigned char>(a_s[l_i + 2])];
            if (l_byte != 0) {
                *l_o++ = static_cast<char>(l_byte);
                l_i += 3;
                continue;
            }
        }
        *l_o++ = l_c;
        ++l_i;
    }
    while (l_i < a_n)
        *l_o++ = a_s[l_i++];
    l_out.resize(static_cast<std::size_t>(l_o - l_out.data()));
    return l_out;
}

// The text of a map-valued setter.
std::string kvstr(const kvmap& a_m, bool a_encode, char a_pair_sep, char a_kv_sep) {
    std::string l_text;
    url_kvstr_with_kvmap(l_text, a_m, a_encode, a_pair_sep, a_kv_sep);
    return l_text;
}

// A copy of `u` edited by `set`: the copying twin of an in-place setter.
template <class Set>
std::string on_copy(const std::string& a_u, Set a_set) {
    std::string l_u(a_u);
    a_set(l_u);
    return l_u;
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Scanners

range parse_authority(range& a_r, const std::string& a_u) noexcept {
    // The scan runs on the window [r.first, r.second) as if it were the whole string.
    if (a_r.second > a_u.size()) a_r.second = a_u.size();
    if (a_r.first > a_r.second) a_r.first = a_r.second;
    const layout l = scan(a_u.data() + a_r.first, a_r.second - a_r.first);
    const std::size_t l_base = a_r.first;
    a_r.first = l_base + l.b;
    a_r.second = l_base + l.w;
    return range(l_base + l.a, l_base + l.b);
}

range parse_service(range& a_r, const std::string& a_u) noexcept {
    if (a_r.second > a_u.size()) a_r.second = a_u.size();
    if (a_r.first > a_r.second) a_r.first = a_r.second;
    const char* l_d = a_u.data();
    const std::size_t l_at = find_in(l_d, a_r.first, a_r.second, '@');
    if (l_at < a_r.second) a_r.first = l_at + 1;
    for (std::size_t l_i = a_r.first; l_i < a_r.second; ++l_i) {
        if (l_d[l_i] == ':') {
            const range l_service(l_i + 1, a_r.second);
            a_r.second = l_i;
            return l_service;
        }
        if (l_d[l_i] == '[') {
            // A bracketed host may hold ':'; without a ']' the '[' is ordinary.
            const std::size_t l_close = find_in(l_d, l_i + 1, a_r.second, ']');
            if (l_close < a_r.second) l_i = l_close;
        }
    }
    return range(a_r.second, a_r.second);
}

// ---------------------------------------------------------------------------------------------
// Getters

std::string uri_scheme(const std::string& a_u) {
    const char* l_d = a_u.data();
    const std::size_t l_n = a_u.size();
    for (std::size_t l_i = 0; l_i < l_n; ++l_i) {
        const char l_c = l_d[l_i];
        if (l_c == ':') return std::string(l_d, l_i);
        if (l_c == '/' || l_c == '#') break;
    }
    return std::string();
}

std::string url_scheme(const std::string& a_u) {
    return uri_scheme(a_u);
}

std::string uri_scheme_specific(const std::string& a_u) {
    const layout l = scan(a_u);
    return copy(a_u, l.s, l.n, false);
}

std::string url_authority(const std::string& a_u, bool a_decode) {
    const layout l = scan(a_u);
    return copy(a_u, l.a, l.b, a_decode);
}

std::string url_path(const std::string& a_u, bool a_decode) {
    const layout l = scan(a_u);
    return copy(a_u, l.b, path_end(a_u.data(), l), a_decode);
}

std::string url_params(const std::string& a_u, bool a_decode) {
    const layout l = scan(a_u);
    const part l_p = params_part(a_u.data(), l);
    return copy(a_u, l_p.first, l_p.second, a_decode);
}

std::string url_query(const std::string& a_u, bool a_decode) {
    const layout l = scan(a_u);
    const part l_p = query_part(a_u.data(), l);
    return copy(a_u, l_p.first, l_p.second, a_decode);
}

std::string url_fragment(const std::string& a_u, bool a_decode) {
    const std::size_t l_w = find_in(a_u.data(), 0, a_u.size(), '#');
    return copy(a_u, l_w + 1, a_u.size(), a_decode);
}

std::string url_domain(const std::string& a_u, bool a_decode) {
    const layout l = scan(a_u);
    return copy(a_u, split_authority(a_u, range(l.a, l.b)).domain, a_decode);
}

std::string url_user(const std::string& a_u, bool a_decode) {
    const layout l = scan(a_u);
    return copy(a_u, split_authority(a_u, range(l.a, l.b)).user, a_decode);
}

std::string url_password(const std::string& a_u, bool a_decode) {
    const layout l = scan(a_u);
    return copy(a_u, split_authority(a_u, range(l.a, l.b)).password, a_decode);
}

std::string url_host(const std::string& a_u) {
    const layout l = scan(a_u);
    range l_host(l.a, l.b);
    parse_service(l_host, a_u);
    // Brackets trimmed from both ends; a host made only of brackets is kept whole.
    const char* l_d = a_u.data();
    std::size_t l_first = l_host.first, l_last = l_host.second;
    while (l_first < l_last && (l_d[l_first] == '[' || l_d[l_first] == ']'))
        ++l_first;
    if (l_first == l_last) return copy(a_u, l_host, false);
    while (l_d[l_last - 1] == '[' || l_d[l_last - 1] == ']')
        --l_last;
    return std::string(l_d + l_first, l_last - l_first);
}

std::string url_service(const std::string& a_u, bool a_decode) {
    const layout l = scan(a_u);
    range l_host(l.a, l.b);
    return copy(a_u, parse_service(l_host, a_u), a_decode);
}

kvmap& url_params_kvmap(kvmap& a_out, const std::string& a_u, bool a_decode, char a_pair_sep,
                        char a_kv_sep) {
    a_out.clear();
    url_kvmap_with_kvstr(a_out, url_params(a_u, false), a_decode, a_pair_sep, a_kv_sep);
    return a_out;
}

kvmap& url_query_kvmap(kvmap& a_out, const std::string& a_u, bool a_decode, char a_pair_sep,
                       char a_kv_sep) {
    a_out.clear();
    url_kvmap_with_kvstr(a_out, url_query(a_u, false), a_decode, a_pair_sep, a_kv_sep);
    return a_out;
}

kvmap& url_fragment_kvmap(kvmap& a_out, const std::string& a_u, bool a_decode, char a_pair_sep,
                          char a_kv_sep) {
    a_out.clear();
    url_kvmap_with_kvstr(a_out, url_fragment(a_u, false), a_decode, a_pair_sep, a_kv_sep);
    return a_out;
}

kvmap url_params_kvmap(const std::string& a_u, bool a_decode, char a_pair_sep, char a_kv_sep) {
    kvmap l_m;
    return url_params_kvmap(l_m, a_u, a_decode, a_pair_sep, a_kv_sep);
}

kvmap url_query_kvmap(const std::string& a_u, bool a_decode, char a_pair_sep, char a_kv_sep) {
    kvmap l_m;
    return url_query_kvmap(l_m, a_u, a_decode, a_pair_sep, a_kv_sep);
}

kvmap url_fragment_kvmap(const std::string& a_u, bool a_decode, char a_pair_sep, char a_kv_sep) {
    kvmap l_m;
    return url_fragment_kvmap(l_m, a_u, a_decode, a_pair_sep, a_kv_sep);
}

// ---------------------------------------------------------------------------------------------
// Setters

std::string& uri_set_scheme(std::string& a_u, const std::string& a_scheme) {
    const layout l = scan(a_u);
    if (a_scheme.empty()) {
        if (l.scheme) a_u.erase(0, l.s);
        return a_u;
    }
    if (l.scheme) return a_u.replace(0, l.s - 1, a_scheme);
    return a_u.insert(0, a_scheme + ':');
}

std::string& url_set_scheme(std::string& a_u, const std::string& a_scheme) {
    return uri_set_scheme(a_u, a_scheme);
}

std::string& uri_set_scheme_specific(std::string& a_u, const std::string& a_text) {
    const layout l = scan(a_u);
    // Keep "scheme:" but not the ':' of an empty scheme.
    a_u.erase(l.scheme && l.s > 1 ? l.s : 0);
    return a_u.append(a_text);
}

std::string& url_set_authority(std::string& a_u, const std::string& a_authority, bool a_encode) {
    return place_authority(a_u, encoded(a_authority, a_encode, true));
}

std::string& url_set_path(std::string& a_u, const std::string& a_path, bool a_encode) {
    const layout l = scan(a_u);
    const std::size_t l_end = path_end(a_u.data(), l);
    const std::string l_text = encoded(a_path, a_encode, false);
    a_u.replace(l.b, l_end - l.b, l_text);
    if (!l_text.empty() && l_text[0] != '/' && l.slashes) a_u.insert(l.b, 1, '/');
    return keep_authority(a_u, l);
}

std::string& url_set_params(std::string& a_u, const std::string& a_params, bool a_encode) {
    const layout l = scan(a_u);
    const part l_p = params_part(a_u.data(), l);
    const std::string l_text = encoded(a_params, a_encode, true);
    replace_part(a_u, l_p, l_text, ';');
    return keep_authority(a_u, l);
}

std::string& url_set_query(std::string& a_u, const std::string& a_query, bool a_encode) {
    const layout l = scan(a_u);
    replace_part(a_u, query_part(a_u.data(), l), encoded(a_query, a_encode, true), '?');
    return keep_authority(a_u, l);
}

std::string& url_set_fragment(std::string& a_u, const std::string& a_fragment, bool a_encode) {
    const layout l = scan(a_u);
    replace_part(a_u, fragment_part(l), encoded(a_fragment, a_encode, true), '#');
    return keep_authority(a_u, l);
}

std::string& url_set_params(std::string& a_u, const kvmap& a_m, bool a_encode, char a_pair_sep,
                            char a_kv_sep) {
    return url_set_params(a_u, kvstr(a_m, a_encode, a_pair_sep, a_kv_sep), false);
}

std::string& url_set_query(std::string& a_u, const kvmap& a_m, bool a_encode, char a_pair_sep,
                           char a_kv_sep) {
    return url_set_query(a_u, kvstr(a_m, a_encode, a_pair_sep, a_kv_sep), false);
}

std::string& url_set_fragment(std::string& a_u, const kvmap& a_m, bool a_encode, char a_pair_sep,
                              char a_kv_sep) {
    return url_set_fragment(a_u, kvstr(a_m, a_encode, a_pair_sep, a_kv_sep), false);
}

std::string& url_set_domain(std::string& a_u, const std::string& a_domain, bool a_encode) {
    return set_authority_piece(a_u, piece::domain, encoded(a_domain, a_encode, true));
}

std::string& url_set_user(std::string& a_u, const std::string& a_user, bool a_encode) {
    return set_authority_piece(a_u, piece::user, encoded(a_user, a_encode, true));
}

std::string& url_set_password(std::string& a_u, const std::string& a_password, bool a_encode) {
    return set_authority_piece(a_u, piece::password, encoded(a_password, a_encode, true));
}

std::string& url_set_host(std::string& a_u, const std::string& a_host) {
    return set_authority_piece(a_u, piece::host, a_host);
}

std::string& url_set_service(std::string& a_u, const std::string& a_service, bool a_encode) {
    return set_authority_piece(a_u, piece::service, encoded(a_service, a_encode, true));
}

// The copying forms: each is its setter applied to a copy.
std::string uri_new_scheme(const std::string& a_u, const std::string& a_scheme) {
    return on_copy(a_u, [&](std::string& l_u) { uri_set_scheme(l_u, a_scheme); });
}
std::string url_new_scheme(const std::string& a_u, const std::string& a_scheme) {
    return on_copy(a_u, [&](std::string& l_u) { url_set_scheme(l_u, a_scheme); });
}
std::string uri_new_scheme_specific(const std::string& a_u, const std::string& a_text) {
    return on_copy(a_u, [&](std::string& l_u) { uri_set_scheme_specific(l_u, a_text); });
}
std::string url_new_authority(const std::string& a_u, const std::string& a_v, bool a_encode) {
    return on_copy(a_u, [&](std::string& l_u) { url_set_authority(l_u, a_v, a_encode); });
}
std::string url_new_path(const std::string& a_u, const std::string& a_v, bool a_encode) {
    return on_copy(a_u, [&](std::string& l_u) { url_set_path(l_u, a_v, a_encode); });
}
std::string url_new_params(const std::string& a_u, const std::string& a_v, bool a_encode) {
    return on_copy(a_u, [&](std::string& l_u) { url_set_params(l_u, a_v, a_encode); });
}
std::string url_new_query(const std::string& a_u, const std::string& a_v, bool a_encode) {
    return on_copy(a_u, [&](std::string& l_u) { url_set_query(l_u, a_v, a_encode); });
}
std::string url_new_fragment(const std::string& a_u, const std::string& a_v, bool a_encode) {
    return on_copy(a_u, [&](std::string& l_u) { url_set_fragment(l_u, a_v, a_encode); });
}
std::string url_new_params(const std::string& a_u, const kvmap& a_m, bool a_encode, char a_pair_sep,
                           char a_kv_sep) {
    return on_copy(
        a_u, [&](std::string& l_u) { url_set_params(l_u, a_m, a_encode, a_pair_sep, a_kv_sep); });
}
std::string url_new_query(const std::string& a_u, const kvmap& a_m, bool a_encode, char a_pair_sep,
                          char a_kv_sep) {
    return on_copy(
        a_u, [&](std::string& l_u) { url_set_query(l_u, a_m, a_encode, a_pair_sep, a_kv_sep); });
}
std::string url_new_fragment(const std::string& a_u, const kvmap& a_m, bool a_encode,
                             char a_pair_sep, char a_kv_sep) {
    return on_copy(
        a_u, [&](std::string& l_u) { url_set_fragment(l_u, a_m, a_encode, a_pair_sep, a_kv_sep); });
}
std::string url_new_domain(const std::string& a_u, const std::string& a_v, bool a_encode) {
    return on_copy(a_u, [&](std::string& l_u) { url_set_domain(l_u, a_v, a_encode); });
}
std::string url_new_user(const std::string& a_u, const std::string& a_v, bool a_encode) {
    return on_copy(a_u, [&](std::string& l_u) { url_set_user(l_u, a_v, a_encode); });
}
std::string url_new_password(const std::string& a_u, const std::string& a_v, bool a_encode) {
    return on_copy(a_u, [&](std::string& l_u) { url_set_password(l_u, a_v, a_encode); });
}
std::string url_new_host(const std::string& a_u, const std::string& a_host) {
    return on_copy(a_u, [&](std::string& l_u) { url_set_host(l_u, a_host); });
}
std::string url_new_service(const std::string& a_u, const std::string& a_v, bool a_encode) {
    return on_copy(a_u, [&](std::string& l_u) { url_set_service(l_u, a_v, a_encode); });
}

// ---------------------------------------------------------------------------------------------
// Codings and key-value text

std::string url_encode(const std::string& a_s, bool a_encode_slash) {
    static constexpr char k_digits[] = "0123456789abcdef";
    std::string l_out;
    if (a_s.empty()) return l_out;
    l_out.resize(a_s.size() * 3);
    char* l_o = &l_out[0];
    for (const char l_c : a_s) {
        const unsigned char l_b = static_cast<unsigned char>(l_c);
        if (k_encode.keep[l_b] && !(a_encode_slash && l_c == '/')) {
            *l_o++ = l_c;
        } else {
            *l_o++ = '%';
            *l_o++ = k_digits[l_b >> 4];
            *l_o++ = k_digits[l_b & 15];
        }
    }
    l_out.resize(static_cast<std::size_t>(l_o - l_out.data()));
    return l_out;
}

std::string url_decode(const std::string& a_s) {
    return decode(a_s.data(), a_s.size());
}

std::string url_decode(const range& a_r, const char* a_data) {
    if (a_data == nullptr || a_r.first >= a_r.second) return std::string();
    return decode(a_data + a_r.first, a_r.second - a_r.first);
}

void url_kvmap_with_kvstr(kvmap& a_out, const std::string& a_s, bool a_decode, char a_pair_sep,
                          char a_kv_sep) {
    const std::size_t l_n = a_s.size();
    std::size_t l_pos = 0;
    while (l_pos < l_n) {
        std::size_t l_key_end = l_pos;
        while (l_key_end < l_n && a_s[l_key_end] != a_kv_sep && a_s[l_key_end] != a_pair_sep)
            ++l_key_end;
        const std::size_t l_pair_end =
            l_key_end < l_n ? find_in(a_s.data(), l_key_end, l_n, a_pair_sep) : l_n;
        a_out[copy(a_s, l_pos, l_key_end, a_decode)] =
            copy(a_s, l_key_end + 1, l_pair_end, a_decode);
        l_pos = l_pair_end + 1;
    }
}

void url_kvstr_with_kvmap(std::string& a_out, const kvmap& a_m, bool a_encode, char a_pair_sep,
                          char a_kv_sep) {
    for (const auto& l_entry : a_m) {
        if (!l_entry.first.empty()) {
            if (!a_out.empty()) a_out.push_back(a_pair_sep);
            a_out.append(encoded(l_entry.first, a_encode, true));
        }
        if (!l_entry.second.empty()) {
            a_out.push_back(a_kv_sep);
            a_out.append(encoded(l_entry.second, a_encode, true));
        }
    }
}

std::string url_protected_output(const std::string& a_u) {
    if (url_password(a_u, true).empty()) return a_u;
    return url_new_password(a_u, "********", true);
}

// ---------------------------------------------------------------------------------------------
// UNC paths

namespace {

// Position behind the host of a UNC path ("\\host..."), or 0 when `p` is not one.
std::size_t unc_host_end(const std::string& a_p) {
    if (a_p.size() <= 2 || a_p[0] != '\\' || a_p[1] != '\\') return 0;
    return find_in(a_p.data(), 2, a_p.size(), '\\');
}

}  // namespace

std::string unc_host(const std::string& a_p) {
    const std::size_t l_end = unc_host_end(a_p);
    return l_end == 0 ? std::string() : a_p.substr(2, l_end - 2);
}

range parse_unc_share(unsigned long& a_pos, const std::string& a_p) noexcept {
    const std::size_t l_n = a_p.size();
    if (a_pos > l_n) a_pos = l_n;
    const std::size_t l_host_end = unc_host_end(a_p);
    if (l_host_end != 0) a_pos = l_host_end;
    if (a_pos + 1 < l_n && a_p[a_pos] == '\\') {
        const std::size_t l_end = find_in(a_p.data(), a_pos + 1, l_n, '\\');
        const range l_share(a_pos + 1, l_end);
        a_pos = l_end;
        return l_share;
    }
    return range(a_pos, a_pos);
}

std::string unc_share(const std::string& a_p) {
    unsigned long l_pos = 0;
    return copy(a_p, parse_unc_share(l_pos, a_p), false);
}

std::string unc_object(const std::string& a_p) {
    unsigned long l_pos = 0;
    parse_unc_share(l_pos, a_p);
    return a_p.substr(l_pos);
}

}  // namespace nubase
