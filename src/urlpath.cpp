// Typed names to URLs, Windows and UNC conversions, and the path operations on URL paths. All
// URL reading and writing goes through nubase/url.hpp and all path arithmetic through
// nubase/path.hpp; this file only decides which to apply.
#include "nubase/urlpath.hpp"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

#include "nubase/env.hpp"
#include "nubase/path.hpp"
#include "nubase/string.hpp"
#include "nubase/url.hpp"

namespace nubase {
namespace {

std::string with_slashes(std::string a_s, char a_from, char a_to) {
    std::replace(a_s.begin(), a_s.end(), a_from, a_to);
    return a_s;
}

bool same_ignoring_case(const std::string& a_a, const char* a_b) {
    return a_a.size() == std::strlen(a_b) && string_to_lowercase(a_a) == a_b;
}

// `path` percent-encoded with '/' kept, as `url_set_path` encodes a path. The ':' of a leading
// drive ("/C:" followed by '/' or the end) is kept as it is, so that a drive path reads "/C:/d".
std::string encoded_path(const std::string& a_path) {
    const bool l_drive = a_path.size() >= 3 && a_path[0] == '/' && a_path[2] == ':' &&
                         (a_path.size() == 3 || a_path[3] == '/');
    if (!l_drive) return url_encode(a_path, false);
    std::string l_text = url_encode(a_path.substr(0, 2), false);
    l_text.push_back(':');
    return l_text += url_encode(a_path.substr(3), false);
}

std::string& set_encoded_path(std::string& a_url, const std::string& a_path) {
    return url_set_path(a_url, encoded_path(a_path), false);
}

// "file:" with the rooted `path` as its encoded path. "file:" has no path to replace, and a
// path that begins with '/' needs no separator in front, so setting it is appending it.
std::string file_url(const std::string& a_path) {
    return encoded_path(a_path).insert(0, "file:");
}

// The directory a relative name is read against.
std::string base_directory(const std::string& a_base) {
    return a_base.empty() ? env::get_current_working_directory_path() : a_base;
}

// Applies a path operation (separator '/') to the decoded path of `url` and writes it back.
template <class Op>
std::string& edit_path(std::string& a_url, Op&& a_op) {
    std::string l_path = url_path(a_url, true);
    a_op(l_path);
    return set_encoded_path(a_url, l_path);
}

}  // namespace

std::string url_create_from_url_or_path(const std::string& a_input, const std::string& a_base) {
    if (a_input.empty()) return file_url(path_rooted(base_directory(a_base), "/"));
    if (a_input.size() >= 3 && a_input[0] == '\\' && a_input[1] == '\\') {
        return unc_path_to_url(a_input, "smb");
    }
    const std::string l_scheme = uri_scheme(a_input);
    if (l_scheme.size() >= 2) return a_input;
    std::string l_work = with_slashes(a_input, '\\', '/');
    if (l_scheme.size() == 1) return file_url(path_root(l_work, "/"));
    if (l_work[0] == '/') return file_url(l_work);
    if (l_work[0] == '~') {
        std::string l_home = env::get_user_home_path();
        path_append(l_home, l_work.substr(1), '/');
        return file_url(path_root(l_home, "/"));
    }
    std::string l_path = base_directory(a_base);
    path_append(l_path, l_work, '/');
    return file_url(path_root(l_path, "/"));
}

std::string unc_path_to_url(const std::string& a_unc, const std::string& a_scheme) {
    std::string l_url = a_scheme + ':';
    url_set_authority(l_url, unc_host(a_unc), false);
    std::string l_path = "/";
    path_append(l_path, unc_share(a_unc), '/');
    path_append(l_path, with_slashes(unc_object(a_unc), '\\', '/'), '/');
    return set_encoded_path(l_url, l_path);
}

std::string windows_path_to_url_path(const std::string& a_path) {
    if (a_path.size() >= 2 && a_path[0] == '\\' && a_path[1] == '\\') {
        // The UNC marker travels inside the path, so that the way back can restore it.
        return "/\\\\" + with_slashes(a_path.substr(2), '\\', '/');
    }
    std::string l_path = with_slashes(a_path, '\\', '/');
    return path_root(l_path, "/");
}

std::string url_path_to_windows_path(const std::string& a_path) {
    return with_slashes(path_unrooted(a_path, "/"), '/', '\\');
}

std::string url_extract_to_unc_path(const std::string& a_url) {
    std::string l_host = url_host(a_url);
    if (l_host.empty()) l_host = "localhost";
    std::string l_unc = "\\\\" + to_uppercase(l_host);
    const std::string l_path = path_unrooted(url_path(a_url, true), "/");
    if (!l_path.empty()) l_unc += '\\' + with_slashes(l_path, '/', '\\');
    return l_unc;
}

std::string url_extract_to_unc_or_windows_path(const std::string& a_url) {
    if (same_ignoring_case(url_scheme(a_url), "smb")) return url_extract_to_unc_path(a_url);
    const std::string l_host = url_host(a_url);
    const std::string l_path = url_path(a_url, true);
    if (l_host.empty()) return url_path_to_windows_path(l_path);
    const bool l_local = same_ignoring_case(l_host, "localhost") || l_host == "127.0.0.1" ||
                         same_ignoring_case(l_host, "::1") || same_ignoring_case(l_host, "fe80::1");
    if (l_local && l_path.size() >= 4 && l_path[2] == ':') return url_path_to_windows_path(l_path);
    return url_extract_to_unc_path(a_url);
}

std::string url_extract_windows_path(const std::string& a_url) {
    return url_path_to_windows_path(url_path(a_url, true));
}

std::string& url_set_windows_path(std::string& a_url, const std::string& a_path) {
    return set_encoded_path(a_url, windows_path_to_url_path(a_path));
}

std::string url_new_windows_path(const std::string& a_url, const std::string& a_path) {
    std::string l_copy(a_url);
    return std::move(url_set_windows_path(l_copy, a_path));
}

std::string url_native_platform_path(const std::string& a_url) {
    return url_path(a_url, true);
}

std::string& url_correct_domain(std::string& a_url) {
    if (!url_domain(a_url, true).empty()) return a_url;
    const std::string l_user = url_user(a_url, true);
    std::size_t l_cut = l_user.find('/');
    if (l_cut == std::string::npos) l_cut = l_user.find('\\');
    if (l_cut == std::string::npos) return a_url;
    url_set_domain(a_url, l_user.substr(0, l_cut), false);
    return url_set_user(a_url, l_user.substr(l_cut + 1), true);
}

// ---------------------------------------------------------------------------------------------
// Path operations on the URL path.

std::string url_path_directory(const std::string& a_url, unsigned a_levels) {
    return path_directory(url_path(a_url, true), '/', a_levels);
}
std::string url_path_file(const std::string& a_url) {
    return path_file(url_path(a_url, true), '/');
}
std::string url_path_name(const std::string& a_url) {
    return path_name(url_path(a_url, true), '/');
}
std::string url_path_suffix(const std::string& a_url, unsigned a_levels) {
    return path_suffix(url_path(a_url, true), '/', a_levels);
}
std::string url_path_front(const std::string& a_url) {
    return path_front(url_path(a_url, true), '/');
}
std::string url_path_back(const std::string& a_url) {
    return path_back(url_path(a_url, true), '/');
}

std::string& url_path_set_directory(std::string& a_url, const std::string& a_dir,
                                    unsigned a_levels) {
    return edit_path(a_url,
                     [&](std::string& a_p) { path_set_directory(a_p, a_dir, '/', a_levels); });
}
std::string url_path_new_directory(const std::string& a_url, const std::string& a_dir,
                                   unsigned a_levels) {
    std::string l_copy(a_url);
    return std::move(url_path_set_directory(l_copy, a_dir, a_levels));
}

std::string& url_path_set_file(std::string& a_url, const std::string& a_file) {
    return edit_path(a_url, [&](std::string& a_p) { path_set_file(a_p, a_file, '/'); });
}
std::string url_path_new_file(const std::string& a_url, const std::string& a_file) {
    std::string l_copy(a_url);
    return std::move(url_path_set_file(l_copy, a_file));
}

std::string& url_path_set_name(std::string& a_url, const std::string& a_name) {
    return edit_path(a_url, [&](std::string& a_p) { path_set_name(a_p, a_name, '/'); });
}
std::string url_path_new_name(const std::string& a_url, const std::string& a_name) {
    std::string l_copy(a_url);
    return std::move(url_path_set_name(l_copy, a_name));
}

std::string& url_path_set_suffix(std::string& a_url, const std::string& a_suffix,
                                 unsigned a_levels) {
    return edit_path(a_url,
                     [&](std::string& a_p) { path_set_suffix(a_p, a_suffix, '/', a_levels); });
}
std::string url_path_new_suffix(const std::string& a_url, const std::string& a_suffix,
                                unsigned a_levels) {
    std::string l_copy(a_url);
    return std::move(url_path_set_suffix(l_copy, a_suffix, a_levels));
}

std::string& url_path_prepend(std::string& a_url, const std::string& a_head) {
    return edit_path(a_url, [&](std::string& a_p) { path_prepend(a_p, a_head, '/'); });
}
std::string url_path_prepended(const std::string& a_url, const std::string& a_head) {
    std::string l_copy(a_url);
    return std::move(url_path_prepend(l_copy, a_head));
}

std::string& url_path_append(std::string& a_url, const std::string& a_tail) {
    return edit_path(a_url, [&](std::string& a_p) { path_append(a_p, a_tail, '/'); });
}
std::string url_path_appended(const std::string& a_url, const std::string& a_tail) {
    std::string l_copy(a_url);
    return std::move(url_path_append(l_copy, a_tail));
}

std::string& url_path_pop_front(std::string& a_url) {
    return edit_path(a_url, [](std::string& a_p) { path_pop_front(a_p, '/'); });
}
std::string url_path_popped_front(const std::string& a_url) {
    std::string l_copy(a_url);
    return std::move(url_path_pop_front(l_copy));
}

std::string& url_path_pop_back(std::string& a_url) {
    return edit_path(a_url, [](std::string& a_p) { path_pop_back(a_p, '/'); });
}
std::string url_path_popped_back(const std::string& a_url) {
    std::string l_copy(a_url);
    return std::move(url_path_pop_back(l_copy));
}

std::string& url_path_root(std::string& a_url, const std::string& a_root) {
    return edit_path(a_url, [&](std::string& a_p) { path_root(a_p, a_root); });
}
std::string url_path_rooted(const std::string& a_url, const std::string& a_root) {
    std::string l_copy(a_url);
    return std::move(url_path_root(l_copy, a_root));
}

std::string& url_path_unroot(std::string& a_url, const std::string& a_root) {
    return edit_path(a_url, [&](std::string& a_p) { path_unroot(a_p, a_root); });
}
std::string url_path_unrooted(const std::string& a_url, const std::string& a_root) {
    std::string l_copy(a_url);
    return std::move(url_path_unroot(l_copy, a_root));
}

std::string& url_path_normalize(std::string& a_url) {
    return edit_path(a_url, [](std::string& a_p) { path_normalize(a_p, '/'); });
}
std::string url_path_normalized(const std::string& a_url) {
    std::string l_copy(a_url);
    return std::move(url_path_normalize(l_copy));
}

}  // namespace nubase
