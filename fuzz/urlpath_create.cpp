// Typed names through `url_create_from_url_or_path` against a fixed base directory, with "HOME"
// fixed at start-up so that no system query can fail. A URL must come back unchanged, and any
// other name must come back as a "file:" or "smb:" URL whose decoded path is the name's path
// (the encoding must survive the URL grammar). The result then goes through the Windows/UNC
// conversions and the URL path operations, whose copying and in-place forms must agree.
// Nothing may throw, so nothing is caught: any exception is a finding.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "nubase/path.hpp"
#include "nubase/string.hpp"
#include "nubase/url.hpp"
#include "nubase/urlpath.hpp"

namespace {

const std::string k_base = "/base dir";
const std::string k_home = "/home/ann";

void check(bool a_condition) {
    if (!a_condition) std::abort();
}

// The path the name stands for, by the documented rules.
std::string expected_path(const std::string& a_input) {
    std::string l_work = a_input;
    for (char& l_c : l_work) {
        if (l_c == '\\') l_c = '/';
    }
    if (nubase::uri_scheme(a_input).size() == 1 || l_work[0] == '/') {
        return nubase::path_rooted(l_work, "/");
    }
    if (l_work[0] == '~')
        return nubase::path_rooted(nubase::path_appended(k_home, l_work.substr(1), '/'), "/");
    return nubase::path_rooted(nubase::path_appended(k_base, l_work, '/'), "/");
}

void path_ops_agree(const std::string& a_url, const std::string& a_arg) {
    using setter = std::string& (*)(std::string&, const std::string&);
    using copier = std::string (*)(const std::string&, const std::string&);
    const std::pair<setter, copier> l_pairs[] = {
        {nubase::url_path_set_file, nubase::url_path_new_file},
        {nubase::url_path_set_name, nubase::url_path_new_name},
        {nubase::url_path_append, nubase::url_path_appended},
        {nubase::url_path_prepend, nubase::url_path_prepended},
        {nubase::url_path_root, nubase::url_path_rooted},
        {nubase::url_path_unroot, nubase::url_path_unrooted},
        {nubase::url_set_windows_path, nubase::url_new_windows_path},
    };
    for (const auto& l_pair : l_pairs) {
        std::string l_url = a_url;
        check(&l_pair.first(l_url, a_arg) == &l_url);
        check(l_pair.second(a_url, a_arg) == l_url);
    }
    std::string l_url = a_url;
    check(nubase::url_path_set_directory(l_url, a_arg, 1) ==
          nubase::url_path_new_directory(a_url, a_arg, 1));
    l_url = a_url;
    check(nubase::url_path_set_suffix(l_url, a_arg, 0) ==
          nubase::url_path_new_suffix(a_url, a_arg, 0));
    l_url = a_url;
    check(nubase::url_path_normalize(l_url) == nubase::url_path_normalized(a_url));
    l_url = a_url;
    check(nubase::url_path_pop_back(l_url) == nubase::url_path_popped_back(a_url));
    l_url = a_url;
    check(nubase::url_path_pop_front(l_url) == nubase::url_path_popped_front(a_url));
    (void)nubase::url_path_directory(a_url, 2);
    (void)nubase::url_path_suffix(a_url, 0);
    (void)nubase::url_path_front(a_url);
    (void)nubase::url_path_back(a_url);
    (void)nubase::url_path_name(a_url);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    setenv("HOME", k_home.c_str(), 1);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* a_data, std::size_t a_size) {
    const std::string l_input(reinterpret_cast<const char*>(a_data), a_size);
    const std::string l_url = nubase::url_create_from_url_or_path(l_input, k_base);

    const bool l_unc = a_size >= 3 && l_input[0] == '\\' && l_input[1] == '\\';
    if (!l_unc && nubase::uri_scheme(l_input).size() >= 2) {
        check(l_url == l_input);
    } else if (l_unc) {
        check(nubase::starts_with("smb:", l_url));
    } else {
        check(nubase::starts_with("file:", l_url));
        // A path that begins with "//" reads back as an authority, and "%00" is not decoded:
        // both are documented; every other path must come back exactly.
        const std::string l_path = l_input.empty() ? k_base : expected_path(l_input);
        if (l_path.compare(0, 2, "//") != 0 && l_path.find('\0') == std::string::npos) {
            check(nubase::url_path(l_url, true) == l_path);
            check(nubase::url_native_platform_path(l_url) == l_path);
        }
    }

    (void)nubase::url_extract_to_unc_or_windows_path(l_url);
    (void)nubase::url_extract_to_unc_path(l_input);
    (void)nubase::url_extract_windows_path(l_input);
    const std::string l_url_path = nubase::windows_path_to_url_path(l_input);
    check(!l_url_path.empty() && l_url_path[0] == '/');
    (void)nubase::url_path_to_windows_path(l_input);
    (void)nubase::unc_path_to_url(l_input, "smb");
    std::string l_corrected = l_input;
    nubase::url_correct_domain(l_corrected);

    path_ops_agree(l_url, l_input.substr(0, a_size / 2));
    path_ops_agree(l_input, l_input.substr(a_size / 2));
    return 0;
}
