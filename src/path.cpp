// Path manipulation: position arithmetic on a string with a caller-chosen separator. Every
// position is found with the string's own searches, so no input can make a function read
// outside the string.
#include "nubase/path.hpp"

#include <string>
#include <utility>
#include <vector>

#include "nubase/string.hpp"
#include "nubase/strutil.hpp"

namespace nubase {
namespace {

constexpr std::size_t k_none = std::string::npos;

// The copying forms: the in-place form applied to a copy.
template <class... Args, class... Given>
std::string on_copy(std::string& (*a_op)(std::string&, Args...), const std::string& a_path,
                    Given&&... a_args) {
    std::string l_copy(a_path);
    a_op(l_copy, std::forward<Given>(a_args)...);
    return l_copy;
}

// Start of the final component: behind the last separator, or 0.
std::size_t component_start(const std::string& a_path, char a_sep) noexcept {
    const std::size_t l_ls = a_path.rfind(a_sep);
    return l_ls == k_none ? 0 : l_ls + 1;
}

// Position of the dot that starts the final component's suffix, or k_none. The last dot of the
// whole path is taken and counts only when it lies in the final component.
std::size_t suffix_dot(const std::string& a_path, std::size_t a_cs) noexcept {
    const std::size_t l_d = a_path.rfind('.');
    return (l_d == k_none || l_d < a_cs) ? k_none : l_d;
}

// End of the directory part (the cut point) for `levels`: behind the last separator at level 0;
// each further level moves to the previous separator strictly before the cut, or to 0 when
// there is none (and stops there).
std::size_t directory_cut(const std::string& a_path, char a_sep, unsigned a_levels) noexcept {
    const std::size_t l_ls = a_path.rfind(a_sep);
    if (l_ls == k_none) return 0;
    std::size_t l_cut = l_ls + 1;
    for (unsigned l_i = 0; l_i < a_levels && l_cut > 0; ++l_i) {
        const std::size_t l_prev = a_path.rfind(a_sep, l_cut - 1);
        l_cut = l_prev == k_none ? 0 : l_prev;
    }
    return l_cut;
}

// Where the suffix starts (behind its dot), or the length when there is none. The level count
// plays no part: the suffix never reaches over an earlier dot.
std::size_t suffix_start(const std::string& a_path, char a_sep) noexcept {
    if (a_path.empty() || a_path.back() == a_sep) return a_path.size();
    const std::size_t l_d = suffix_dot(a_path, component_start(a_path, a_sep));
    return l_d == k_none ? a_path.size() : l_d + 1;
}

// True when normalising gives the path back unchanged: no "." or ".." component, and no empty
// one except at either end. Most paths are already normal; they skip the token list.
bool is_normal(const std::string& a_path, char a_sep) noexcept {
    std::size_t l_begin = 0;
    for (;;) {
        std::size_t l_end = a_path.find(a_sep, l_begin);
        const bool l_last = l_end == k_none;
        if (l_last) l_end = a_path.size();
        const std::size_t l_size = l_end - l_begin;
        if (l_size == 0) {
            if (l_begin != 0 && !l_last) return false;
        } else if (a_path[l_begin] == '.' &&
                   (l_size == 1 || (l_size == 2 && a_path[l_begin + 1] == '.'))) {
            return false;
        }
        if (l_last) return true;
        l_begin = l_end + 1;
    }
}

}  // namespace

std::string path_directory(const std::string& a_path, char a_sep, unsigned a_levels) {
    return a_path.substr(0, directory_cut(a_path, a_sep, a_levels));
}

std::string path_file(const std::string& a_path, char a_sep) {
    return a_path.substr(component_start(a_path, a_sep));
}

std::string path_name(const std::string& a_path, char a_sep) {
    const std::size_t l_cs = component_start(a_path, a_sep);
    const std::size_t l_d = suffix_dot(a_path, l_cs);
    return a_path.substr(l_cs, l_d == k_none ? k_none : l_d - l_cs);
}

std::string path_suffix(const std::string& a_path, char a_sep, unsigned /*a_levels*/) {
    return a_path.substr(suffix_start(a_path, a_sep));
}

std::string& path_set_directory(std::string& a_path, const std::string& a_dir, char a_sep,
                                unsigned a_levels) {
    std::size_t l_cut = directory_cut(a_path, a_sep, a_levels);
    if (!a_dir.empty()) {
        const bool l_dir_has_sep = a_dir.back() == a_sep;
        if (l_cut < a_path.size() && a_path[l_cut] == a_sep) {
            // The cut stands on a separator (levels >= 1): swallow it when `dir` brings its own.
            if (l_dir_has_sep) ++l_cut;
        } else if (!l_dir_has_sep) {
            a_path.insert(l_cut, 1, a_sep);
        }
    }
    return a_path.replace(0, l_cut, a_dir);
}

std::string path_new_directory(const std::string& a_path, const std::string& a_dir, char a_sep,
                               unsigned a_levels) {
    return on_copy(path_set_directory, a_path, a_dir, a_sep, a_levels);
}

std::string& path_set_file(std::string& a_path, const std::string& a_file, char a_sep) {
    return a_path.replace(component_start(a_path, a_sep), k_none, a_file);
}

std::string path_new_file(const std::string& a_path, const std::string& a_file, char a_sep) {
    return on_copy(path_set_file, a_path, a_file, a_sep);
}

std::string& path_set_name(std::string& a_path, const std::string& a_name, char a_sep) {
    const std::size_t l_cs = component_start(a_path, a_sep);
    const std::size_t l_d = suffix_dot(a_path, l_cs);
    return a_path.replace(l_cs, l_d == k_none ? k_none : l_d - l_cs, a_name);
}

std::string path_new_name(const std::string& a_path, const std::string& a_name, char a_sep) {
    return on_copy(path_set_name, a_path, a_name, a_sep);
}

std::string& path_set_suffix(std::string& a_path, const std::string& a_suffix, char a_sep,
                             unsigned /*a_levels*/) {
    std::size_t l_t = suffix_start(a_path, a_sep);
    if (!a_suffix.empty() && a_suffix.front() != '.' && l_t > 0 && a_path[l_t - 1] != '.') {
        a_path.insert(l_t, 1, '.');
        ++l_t;
    }
    return a_path.replace(l_t, k_none, a_suffix);
}

std::string path_new_suffix(const std::string& a_path, const std::string& a_suffix, char a_sep,
                            unsigned a_levels) {
    return on_copy(path_set_suffix, a_path, a_suffix, a_sep, a_levels);
}

std::string& path_prepend(std::string& a_path, const std::string& a_head, char a_sep) {
    if (a_head.empty()) return a_path;
    if (a_path.empty()) return a_path.assign(a_head);
    const bool l_head_sep = a_head.back() == a_sep;
    const bool l_path_sep = a_path.front() == a_sep;
    if (l_head_sep && l_path_sep) return a_path.insert(0, a_head, 0, a_head.size() - 1);
    if (!l_head_sep && !l_path_sep) a_path.insert(0, 1, a_sep);
    return a_path.insert(0, a_head);
}

std::string path_prepended(const std::string& a_path, const std::string& a_head, char a_sep) {
    return on_copy(path_prepend, a_path, a_head, a_sep);
}

std::string& path_append(std::string& a_path, const std::string& a_tail, char a_sep) {
    if (a_tail.empty()) return a_path;
    if (a_path.empty()) return a_path.assign(a_tail);
    const bool l_path_sep = a_path.back() == a_sep;
    const bool l_tail_sep = a_tail.front() == a_sep;
    if (l_path_sep && l_tail_sep) return a_path.append(a_tail, 1, k_none);
    if (!l_path_sep && !l_tail_sep) a_path.push_back(a_sep);
    return a_path.append(a_tail);
}

std::string path_appended(const std::string& a_path, const std::string& a_tail, char a_sep) {
    return on_copy(path_append, a_path, a_tail, a_sep);
}

std::string path_front(const std::string& a_path, char a_sep) {
    return a_path.substr(0, a_path.find(a_sep));
}

std::string path_back(const std::string& a_path, char a_sep) {
    return path_file(a_path, a_sep);
}

std::string& path_pop_front(std::string& a_path, char a_sep) {
    const std::size_t l_first = a_path.find(a_sep);
    return a_path.erase(0, l_first == k_none ? k_none : l_first + 1);
}

std::string path_popped_front(const std::string& a_path, char a_sep) {
    return on_copy(path_pop_front, a_path, a_sep);
}

std::string& path_pop_back(std::string& a_path, char a_sep) {
    const std::size_t l_ls = a_path.rfind(a_sep);
    return a_path.erase(l_ls == k_none ? 0 : l_ls);
}

std::string path_popped_back(const std::string& a_path, char a_sep) {
    return on_copy(path_pop_back, a_path, a_sep);
}

std::string& path_root(std::string& a_path, const std::string& a_root) {
    if (!a_path.empty() && a_path.front() == '/') return a_path;
    const bool l_root_ends_sep = !a_root.empty() && a_root.back() == '/';
    if (!a_root.empty() && a_root.front() == '/') {
        if (l_root_ends_sep) return a_path.insert(0, a_root);
        // An absolute root without a trailing '/' lands between a new leading '/' and the path
        // ("p" under "/r" gives "//rp"): long-standing behaviour that callers rely on.
        a_path.insert(0, 1, '/');
        return a_path.insert(1, a_root);
    }
    const bool l_was_empty = a_path.empty();
    a_path.insert(0, 1, '/');
    if (!a_root.empty() && !l_root_ends_sep && !l_was_empty) a_path.insert(0, 1, '/');
    return a_path.insert(1, a_root);
}

std::string path_rooted(const std::string& a_path, const std::string& a_root) {
    return on_copy(path_root, a_path, a_root);
}

std::string& path_unroot(std::string& a_path, const std::string& a_root) {
    const std::string l_root = trimmed(a_root, '/');
    if (a_path.empty()) return a_path;
    const std::size_t l_body = a_path.find_first_not_of('/');
    if (l_body == k_none) {
        // Only '/': the root itself becomes empty; a longer run is kept.
        if (a_path.size() == 1) {
            a_path.clear();
            return a_path;
        }
    } else {
        a_path.erase(0, l_body);
    }
    if (starts_with(l_root, a_path)) {
        const std::size_t l_rest = a_path.find_first_not_of('/', l_root.size());
        // Behind the root, the run of '/' goes too, unless nothing but '/' remains.
        a_path.erase(0, l_rest == k_none ? l_root.size() : l_rest);
    }
    return a_path;
}

std::string path_unrooted(const std::string& a_path, const std::string& a_root) {
    return on_copy(path_unroot, a_path, a_root);
}

std::string& path_normalize(std::string& a_path, char a_sep) {
    if (is_normal(a_path, a_sep)) return a_path;
    std::vector<std::string> l_tokens;
    strutil::tokenize_string(a_path, a_sep, l_tokens, true);
    // The kept elements are compacted to the front of the token list: element `l_kept` is
    // written only after token `l_kept` has been read.
    std::size_t l_kept = 0;
    const std::size_t l_last = l_tokens.size() - 1;  // the tokenizer always yields a piece
    for (std::size_t l_i = 0; l_i < l_tokens.size(); ++l_i) {
        std::string& l_token = l_tokens[l_i];
        if (l_token.empty() || l_token == ".") {
            // A leading or trailing empty element keeps the leading or trailing separator.
            if (l_i == 0 || l_i == l_last) l_tokens[l_kept++].clear();
        } else if (l_token == "..") {
            if (l_kept == 0) {
                l_tokens[l_kept++] = "..";
            } else {
                --l_kept;
            }
        } else {
            if (l_kept != l_i) l_tokens[l_kept] = std::move(l_token);
            ++l_kept;
        }
    }
    l_tokens.resize(l_kept);
    a_path.clear();
    // The string form of the joiner, so that a NUL separator is written too.
    strutil::join_strings(l_tokens, std::string(1, a_sep), a_path);
    return a_path;
}

std::string path_normalized(const std::string& a_path, char a_sep) {
    return on_copy(path_normalize, a_path, a_sep);
}

}  // namespace nubase
