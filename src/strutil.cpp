// Tokenizing, joining, key-value strings and replacement tables.
#include "nubase/strutil.hpp"

#include <algorithm>
#include <cstring>

#include "nubase/string.hpp"

namespace nubase {
namespace strutil {

namespace {

// Appends s[first, last) as one piece.
void append_piece(std::vector<std::string>& a_out, const std::string& a_s, std::size_t a_first,
                  std::size_t a_last) {
    a_out.emplace_back(a_s.data() + a_first, a_last - a_first);
}

// The quote and bracket forms read the text up to its first NUL byte.
std::size_t c_length(const std::string& a_s) noexcept {
    const void* l_nul = std::memchr(a_s.data(), '\0', a_s.size());
    return l_nul == nullptr
               ? a_s.size()
               : static_cast<std::size_t>(static_cast<const char*>(l_nul) - a_s.data());
}

// Appends the pieces with `sep` (of `sep_size` bytes, possibly none) between them: sizes the
// output once, then copies each piece and separator into place.
template <class Pieces>
void join_with(const Pieces& a_pieces, const char* a_sep, std::size_t a_sep_size,
               std::string& a_out) {
    if (a_pieces.empty()) return;
    std::size_t l_total = a_sep_size * (a_pieces.size() - 1);
    bool l_aliased = false;
    for (const auto& l_piece : a_pieces) {
        l_total += l_piece.size();
        l_aliased = l_aliased || &l_piece == &a_out;
    }
    if (l_aliased) {
        // The output is also a piece: join into a scratch string so the piece stays intact.
        std::string l_joined;
        join_with(a_pieces, a_sep, a_sep_size, l_joined);
        a_out.append(l_joined);
        return;
    }
    const std::size_t l_at = a_out.size();
    a_out.resize(l_at + l_total);
    char* l_p = &a_out[l_at];
    auto l_it = a_pieces.begin();
    l_p = std::copy(l_it->begin(), l_it->end(), l_p);
    for (++l_it; l_it != a_pieces.end(); ++l_it) {
        if (a_sep_size == 1) {
            *l_p++ = *a_sep;
        } else {
            l_p = std::copy(a_sep, a_sep + a_sep_size, l_p);
        }
        l_p = std::copy(l_it->begin(), l_it->end(), l_p);
    }
}

}  // namespace

void tokenize_string(const std::string& a_s, char a_sep, std::vector<std::string>& a_out,
                     bool a_keep_empty) {
    // Counting first lets the vector grow once instead of moving its strings on every doubling.
    if (a_keep_empty) {
        a_out.reserve(a_out.size() + 1 +
                      static_cast<std::size_t>(std::count(a_s.begin(), a_s.end(), a_sep)));
    }
    // A plain byte loop: pieces are usually short, so a library search per piece costs more
    // than it saves.
    std::size_t l_start = 0;
    for (std::size_t l_i = 0; l_i < a_s.size(); ++l_i) {
        if (a_s[l_i] == a_sep) {
            if (a_keep_empty || l_i > l_start) append_piece(a_out, a_s, l_start, l_i);
            l_start = l_i + 1;
        }
    }
    if (a_keep_empty || a_s.size() > l_start) append_piece(a_out, a_s, l_start, a_s.size());
}

void tokenize_string(const std::string& a_s, char a_sep, unsigned a_width,
                     std::vector<std::string>& a_out) {
    // The rest still to be broken is a_s[l_b, end); indexes into it are offset by l_b.
    std::size_t l_b = 0;
    while (a_s.size() - l_b > a_width) {
        const std::size_t l_at = l_b + a_width;
        const std::size_t l_f = a_s.find(a_sep, l_at);
        std::size_t l_r = a_s.rfind(a_sep, l_at);
        if (l_r != std::string::npos && l_r < l_b) l_r = std::string::npos;
        std::size_t l_p;
        if (l_f == std::string::npos && l_r == std::string::npos) {
            break;
        } else if (l_f == std::string::npos) {
            l_p = l_r;
        } else if (l_r == std::string::npos) {
            l_p = l_f;
        } else {
            l_p = (l_f - l_at < l_at - l_r) ? l_f : l_r;
        }
        append_piece(a_out, a_s, l_b, l_p);
        l_b = l_p + 1;
    }
    append_piece(a_out, a_s, l_b, a_s.size());
}

void tokenize_string(const std::string& a_s, char a_sep, char a_quote,
                     std::vector<std::string>& a_out) {
    const std::size_t l_n = c_length(a_s);
    bool l_quoted = false;
    std::size_t l_start = 0;
    for (std::size_t l_i = 0; l_i < l_n; ++l_i) {
        const char l_c = a_s[l_i];
        if (l_c == a_quote) {
            l_quoted = !l_quoted;
        } else if (l_c == a_sep && !l_quoted) {
            append_piece(a_out, a_s, l_start, l_i);
            l_start = l_i + 1;
        }
    }
    append_piece(a_out, a_s, l_start, l_n);
}

void tokenize_string(const std::string& a_s, char a_sep, char a_open, char a_close,
                     std::vector<std::string>& a_out) {
    const std::size_t l_n = c_length(a_s);
    std::size_t l_depth = 0;
    std::size_t l_start = 0;
    for (std::size_t l_i = 0; l_i < l_n; ++l_i) {
        const char l_c = a_s[l_i];
        if (l_c == a_open) {
            ++l_depth;
        } else if (l_c == a_close) {
            if (l_depth > 0) --l_depth;
        } else if (l_c == a_sep && l_depth == 0) {
            append_piece(a_out, a_s, l_start, l_i);
            l_start = l_i + 1;
        }
    }
    append_piece(a_out, a_s, l_start, l_n);
}

void tokenize(const std::string& a_s, const std::string& a_delimiters,
              std::vector<std::string>& a_out) {
    bool l_is_delimiter[256] = {};
    for (const char l_c : a_delimiters)
        l_is_delimiter[static_cast<unsigned char>(l_c)] = true;
    std::size_t l_start = 0;
    for (std::size_t l_i = 0; l_i < a_s.size(); ++l_i) {
        if (l_is_delimiter[static_cast<unsigned char>(a_s[l_i])]) {
            append_piece(a_out, a_s, l_start, l_i);
            l_start = l_i + 1;
        }
    }
    append_piece(a_out, a_s, l_start, a_s.size());
}

void join_strings(const std::vector<std::string>& a_pieces, char a_sep, std::string& a_out) {
    join_with(a_pieces, &a_sep, a_sep == '\0' ? 0 : 1, a_out);
}

void join_strings(const std::list<std::string>& a_pieces, char a_sep, std::string& a_out) {
    join_with(a_pieces, &a_sep, a_sep == '\0' ? 0 : 1, a_out);
}

void join_strings(const std::vector<std::string>& a_pieces, const std::string& a_sep,
                  std::string& a_out) {
    if (&a_sep == &a_out) {
        const std::string l_sep(a_sep);
        join_with(a_pieces, l_sep.data(), l_sep.size(), a_out);
    } else {
        join_with(a_pieces, a_sep.data(), a_sep.size(), a_out);
    }
}

void kvmap_with_kvstr(kvmap& a_out, const std::string& a_s, char a_pair_sep, char a_kv_sep) {
    if (a_s.empty()) return;
    const char l_seps[2] = {a_pair_sep, a_kv_sep};
    // The walk goes on while the start is at most the length, so that a trailing pair
    // separator yields the empty key.
    std::size_t l_start = 0;
    while (l_start <= a_s.size()) {
        const std::size_t l_key_end = a_s.find_first_of(l_seps, l_start, 2);
        if (l_key_end == std::string::npos) {
            a_out[a_s.substr(l_start)].clear();
            return;
        }
        std::size_t l_pair_end = a_s.find(a_pair_sep, l_key_end);
        if (l_pair_end == std::string::npos) l_pair_end = a_s.size();
        std::string& l_value = a_out[a_s.substr(l_start, l_key_end - l_start)];
        if (l_key_end + 1 < l_pair_end) {
            l_value.assign(a_s, l_key_end + 1, l_pair_end - l_key_end - 1);
        } else {
            l_value.clear();
        }
        l_start = l_pair_end + 1;
    }
}

kvmap kvmap_with_kvstr(const std::string& a_s, char a_pair_sep, char a_kv_sep) {
    kvmap l_out;
    kvmap_with_kvstr(l_out, a_s, a_pair_sep, a_kv_sep);
    return l_out;
}

void kvstr_with_kvmap(std::string& a_out, const kvmap& a_map, char a_pair_sep, char a_kv_sep) {
    for (const auto& l_entry : a_map) {
        if (!l_entry.first.empty()) {
            if (!a_out.empty()) a_out.push_back(a_pair_sep);
            a_out.append(l_entry.first);
        }
        if (!l_entry.second.empty()) {
            a_out.push_back(a_kv_sep);
            a_out.append(l_entry.second);
        }
    }
}

std::string kvstr_with_kvmap(const kvmap& a_map, char a_pair_sep, char a_kv_sep) {
    std::string l_out;
    kvstr_with_kvmap(l_out, a_map, a_pair_sep, a_kv_sep);
    return l_out;
}

std::string& replace(std::string& a_s, const std::map<std::string, std::string>& a_table) {
    for (const auto& l_entry : a_table)
        nubase::replace(a_s, l_entry.first, l_entry.second);
    return a_s;
}

std::string string_replaced(const std::string& a_s,
                            const std::map<std::string, std::string>& a_table) {
    std::string l_out(a_s);
    return replace(l_out, a_table);
}

std::string& replace(std::string& a_s, const std::map<char, std::string>& a_table) {
    const std::string* l_with[256] = {};
    for (const auto& l_entry : a_table) {
        l_with[static_cast<unsigned char>(l_entry.first)] = &l_entry.second;
    }
    std::size_t l_i = 0;
    while (l_i < a_s.size() && l_with[static_cast<unsigned char>(a_s[l_i])] == nullptr)
        ++l_i;
    if (l_i == a_s.size()) return a_s;
    std::string l_out;
    l_out.reserve(a_s.size() + a_s.size() / 4);
    l_out.append(a_s, 0, l_i);
    for (; l_i < a_s.size(); ++l_i) {
        const std::string* l_r = l_with[static_cast<unsigned char>(a_s[l_i])];
        if (l_r == nullptr) {
            l_out.push_back(a_s[l_i]);
        } else {
            l_out.append(*l_r);
        }
    }
    a_s.swap(l_out);
    return a_s;
}

std::string string_replaced(const std::string& a_s, const std::map<char, std::string>& a_table) {
    std::string l_out(a_s);
    return replace(l_out, a_table);
}

std::string buffer_to_string(const buffer& a_buffer) {
    std::string l_out;
    return buffer_to_string(l_out, a_buffer);
}

std::string& buffer_to_string(std::string& a_out, const buffer& a_buffer) {
    a_out.assign(reinterpret_cast<const char*>(a_buffer.data()),
                 static_cast<std::size_t>(a_buffer.size()));
    return a_out;
}

}  // namespace strutil
}  // namespace nubase
