// Byte-string helpers. The replacement functions do their work in one pass over the input
// (compacting in place, or growing once and filling from the back) while giving exactly the
// results of the search-and-restart rules documented in the header.
#include "nubase/string.hpp"

#include <cstdio>
#include <cstring>
#include <vector>

namespace nubase {

namespace {

constexpr char to_lower_ascii(char a_c) noexcept {
    return (a_c >= 'A' && a_c <= 'Z') ? static_cast<char>(a_c - 'A' + 'a') : a_c;
}

constexpr char to_upper_ascii(char a_c) noexcept {
    return (a_c >= 'a' && a_c <= 'z') ? static_cast<char>(a_c - 'a' + 'A') : a_c;
}

// Moves the bytes s[from, to) down to s[w, ...) and returns the new write index.
std::size_t move_down(std::string& a_s, std::size_t a_w, std::size_t a_from, std::size_t a_to) {
    if (a_w != a_from && a_to > a_from) {
        std::memmove(&a_s[a_w], a_s.data() + a_from, a_to - a_from);
    }
    return a_w + (a_to - a_from);
}

// Replaces the `what_size` bytes at each of `positions` (ascending, non-overlapping) by `with`,
// which is longer than `what_size`: grows once, then fills from the back so that no byte is
// moved twice.
void expand_at(std::string& a_s, const std::vector<std::size_t>& a_positions,
               std::size_t a_what_size, const std::string& a_with) {
    const std::size_t l_old = a_s.size();
    const std::size_t l_grow = a_with.size() - a_what_size;
    a_s.resize(l_old + a_positions.size() * l_grow);
    char* l_p = &a_s[0];
    std::size_t l_src_end = l_old;
    std::size_t l_dst_end = a_s.size();
    for (auto l_it = a_positions.rbegin(); l_it != a_positions.rend(); ++l_it) {
        const std::size_t l_tail = l_src_end - (*l_it + a_what_size);
        l_dst_end -= l_tail;
        std::memmove(l_p + l_dst_end, l_p + *l_it + a_what_size, l_tail);
        l_dst_end -= a_with.size();
        std::memcpy(l_p + l_dst_end, a_with.data(), a_with.size());
        l_src_end = *l_it;
    }
}

// Trims by a byte set or by one byte; a string made only of trimmed bytes is returned whole.
template <class Set>
std::string trim_by(const std::string& a_s, const Set& a_set) {
    const std::size_t l_first = a_s.find_first_not_of(a_set);
    if (l_first == std::string::npos) return a_s;
    const std::size_t l_last = a_s.find_last_not_of(a_set);
    return a_s.substr(l_first, l_last - l_first + 1);
}

}  // namespace

const std::string& string_empty_string() noexcept {
    static const std::string s_empty;
    return s_empty;
}

const std::string& empty_string = string_empty_string();

std::string string_with_cstr(const char* a_str, unsigned long long a_length) {
    if (a_str == nullptr) return std::string();
    if (a_length == ~0ULL) a_length = std::strlen(a_str);
    if (a_length == 0) return std::string();
    return std::string(a_str, static_cast<std::size_t>(a_length));
}

std::string string_with_vformat(const char* a_format, va_list a_args) {
    if (a_format == nullptr) return std::string();
    // Most results are short: format into the stack first and fall back to an exact-size heap
    // string only when the text does not fit.
    char l_small[256];
    va_list l_args;
    va_copy(l_args, a_args);
    const int l_n = std::vsnprintf(l_small, sizeof l_small, a_format, l_args);
    va_end(l_args);
    if (l_n <= 0) return std::string();
    if (static_cast<std::size_t>(l_n) < sizeof l_small) {
        return std::string(l_small, static_cast<std::size_t>(l_n));
    }
    std::string l_out(static_cast<std::size_t>(l_n), '\0');
    va_copy(l_args, a_args);
    const int l_m = std::vsnprintf(&l_out[0], l_out.size() + 1, a_format, l_args);
    va_end(l_args);
    if (l_m < 1) return std::string();
    return l_out;
}

std::string string_with_format(const char* a_format, ...) {
    va_list l_args;
    va_start(l_args, a_format);
    std::string l_out = string_with_vformat(a_format, l_args);
    va_end(l_args);
    return l_out;
}

std::string string_with_fourcc(std::uint32_t a_code, char a_replacement) {
    std::string l_out(4, a_replacement);
    for (int l_i = 0; l_i < 4; ++l_i) {
        const unsigned l_byte = (a_code >> (24 - 8 * l_i)) & 0xFFu;
        if (l_byte >= 32 && l_byte <= 126) l_out[l_i] = static_cast<char>(l_byte);
    }
    return l_out;
}

std::string& to_lowercase(std::string& a_s) noexcept {
    for (char& l_c : a_s)
        l_c = to_lower_ascii(l_c);
    return a_s;
}

std::string& to_uppercase(std::string& a_s) noexcept {
    for (char& l_c : a_s)
        l_c = to_upper_ascii(l_c);
    return a_s;
}

std::string string_to_lowercase(const std::string& a_s) {
    std::string l_out(a_s);
    return to_lowercase(l_out);
}

std::string string_to_uppercase(const std::string& a_s) {
    std::string l_out(a_s);
    return to_uppercase(l_out);
}

std::string& replace(std::string& a_s, char a_c, const std::string& a_with) {
    if (&a_with == &a_s) return replace(a_s, a_c, std::string(a_with));
    std::size_t l_pos = a_s.find(a_c);
    if (l_pos == std::string::npos) return a_s;
    if (a_with.size() == 1) {
        const char l_r = a_with[0];
        for (; l_pos < a_s.size(); ++l_pos) {
            if (a_s[l_pos] == a_c) a_s[l_pos] = l_r;
        }
    } else if (a_with.empty()) {
        // Deleting `c` pulls the next byte into the position the search restarts after, so that
        // byte is kept unexamined.
        std::size_t l_w = l_pos;
        std::size_t l_r = l_pos;
        while (l_r < a_s.size()) {
            if (a_s[l_r] == a_c) {
                if (l_r + 1 < a_s.size()) a_s[l_w++] = a_s[l_r + 1];
                l_r += 2;
            } else {
                a_s[l_w++] = a_s[l_r++];
            }
        }
        a_s.resize(l_w);
    } else {
        // The search restarts inside the inserted text, which (the caller guarantees) holds `c`
        // at most at its first byte: every original `c` is replaced once.
        std::vector<std::size_t> l_positions;
        for (; l_pos != std::string::npos; l_pos = a_s.find(a_c, l_pos + 1)) {
            l_positions.push_back(l_pos);
        }
        expand_at(a_s, l_positions, 1, a_with);
    }
    return a_s;
}

std::string string_replaced(const std::string& a_s, char a_c, const std::string& a_with) {
    std::string l_out(a_s);
    return replace(l_out, a_c, a_with);
}

std::string& replace(std::string& a_s, const std::string& a_what, const std::string& a_with) {
    if (a_what.empty()) return a_s;
    if (&a_what == &a_s || &a_with == &a_s) {
        return replace(a_s, std::string(a_what), std::string(a_with));
    }
    std::size_t l_pos = a_s.find(a_what);
    if (l_pos == std::string::npos) return a_s;
    const std::size_t l_wn = a_what.size();
    if (a_with.size() <= l_wn) {
        // Compacts in place: the write index never passes the read index, so the text still to
        // be searched is untouched.
        std::size_t l_w = l_pos;
        std::size_t l_r = l_pos;
        while (l_pos != std::string::npos) {
            l_w = move_down(a_s, l_w, l_r, l_pos);
            if (!a_with.empty()) std::memcpy(&a_s[l_w], a_with.data(), a_with.size());
            l_w += a_with.size();
            l_r = l_pos + l_wn;
            l_pos = a_s.find(a_what, l_r);
        }
        l_w = move_down(a_s, l_w, l_r, a_s.size());
        a_s.resize(l_w);
    } else {
        std::vector<std::size_t> l_positions;
        for (; l_pos != std::string::npos; l_pos = a_s.find(a_what, l_pos + l_wn)) {
            l_positions.push_back(l_pos);
        }
        expand_at(a_s, l_positions, l_wn, a_with);
    }
    return a_s;
}

std::string string_replaced(const std::string& a_s, const std::string& a_what,
                            const std::string& a_with) {
    std::string l_out(a_s);
    return replace(l_out, a_what, a_with);
}

std::string trimmed(const std::string& a_s, const std::string& a_set) {
    return trim_by(a_s, a_set);
}

std::string trimmed(const std::string& a_s, char a_c) {
    return trim_by(a_s, a_c);
}

std::string appended(const std::string& a_s, const std::string& a_tail) {
    std::string l_out;
    l_out.reserve(a_s.size() + a_tail.size());
    l_out.append(a_s).append(a_tail);
    return l_out;
}

std::string& capitalize(std::string& a_s) noexcept {
    if (!a_s.empty()) a_s[0] = to_upper_ascii(a_s[0]);
    return a_s;
}

std::string capitalized(const std::string& a_s) {
    std::string l_out(a_s);
    return capitalize(l_out);
}

std::pair<std::string, std::string> split(const std::string& a_s, char a_separator) {
    const std::size_t l_pos = a_s.find(a_separator);
    if (l_pos == std::string::npos) return {a_s, std::string()};
    return {a_s.substr(0, l_pos), a_s.substr(l_pos + 1)};
}

std::string string_truncate(const std::string& a_s, unsigned a_max_length,
                            e_truncate_whence a_whence) {
    const std::size_t l_size = a_s.size();
    if (l_size <= a_max_length) return a_s;
    if (a_max_length == 0) return std::string();
    if (a_max_length == 1) {
        return std::string(1, a_whence == truncate_begin ? a_s[l_size - 1] : a_s[0]);
    }
    const std::size_t l_dots = a_max_length < 6 ? 1 : (a_max_length <= 12 ? 2 : 3);
    const std::size_t l_keep = a_max_length - l_dots;
    std::string l_out;
    l_out.reserve(a_max_length);
    switch (a_whence) {
        case truncate_begin:
            l_out.append(l_dots, '.').append(a_s, l_size - l_keep, l_keep);
            break;
        case truncate_middle: {
            const std::size_t l_head = (l_keep + 1) / 2;
            const std::size_t l_tail = l_keep / 2;
            l_out.append(a_s, 0, l_head).append(l_dots, '.').append(a_s, l_size - l_tail, l_tail);
            break;
        }
        default:
            l_out.append(a_s, 0, l_keep).append(l_dots, '.');
            break;
    }
    return l_out;
}

std::string string_space_align(const std::string& a_s, unsigned a_width, e_space_align a_align) {
    if (a_s.size() >= a_width) return a_s;
    const std::size_t l_pad = a_width - a_s.size();
    std::size_t l_front = 0;
    if (a_align == space_align_right) {
        l_front = l_pad;
    } else if (a_align == space_align_center) {
        l_front = (l_pad + 1) / 2;
    }
    std::string l_out;
    l_out.reserve(a_width);
    l_out.append(l_front, ' ').append(a_s).append(l_pad - l_front, ' ');
    return l_out;
}

}  // namespace nubase
