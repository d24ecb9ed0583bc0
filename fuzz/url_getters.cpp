// Every URL getter, the range scanners, the key-value getters, password masking and UNC
// splitting on arbitrary text. Nothing may throw (nothing is caught: a throw is a finding) or
// read outside the string; the checks tie the getters to the scanners and to each other.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "nubase/string.hpp"
#include "nubase/url.hpp"

namespace {

void check(bool a_condition) {
    if (!a_condition) std::abort();
}

std::string text(const std::string& a_u, const nubase::range& a_r) {
    return a_u.substr(a_r.first, a_r.second - a_r.first);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* a_data, std::size_t a_size) {
    const std::string u(reinterpret_cast<const char*>(a_data), a_size);

    nubase::range r(0, u.size());
    const nubase::range a = nubase::parse_authority(r, u);
    check(a.first <= a.second && a.second <= r.first && r.first <= r.second &&
          r.second <= u.size());
    nubase::range h = a;
    const nubase::range s = nubase::parse_service(h, u);
    check(a.first <= h.first && h.first <= h.second && h.second <= s.first && s.first <= s.second &&
          s.second <= a.second);

    const std::string authority = nubase::url_authority(u, false);
    check(authority == text(u, a));
    check(nubase::url_service(u, false) == text(u, s));
    check(nubase::url_host(u) == nubase::trimmed(text(u, h), "[]"));
    check(nubase::url_scheme(u) == nubase::uri_scheme(u));
    const std::string scheme = nubase::url_scheme(u);
    const std::string specific = nubase::uri_scheme_specific(u);
    check(specific.size() <= u.size() && nubase::ends_with(specific, u));
    check(nubase::starts_with(scheme, u));

    const std::string path = nubase::url_path(u, false);
    const std::string params = nubase::url_params(u, false);
    const std::string query = nubase::url_query(u, false);
    const std::string fragment = nubase::url_fragment(u, false);
    check(u.compare(r.first, path.size(), path) == 0);
    check(path.find_first_of("?;#") == std::string::npos);
    check(query.find('#') == std::string::npos && params.find_first_of("?#") == std::string::npos);
    check(fragment.size() < u.size() || u.empty());
    const std::string parts[] = {path,
                                 params,
                                 query,
                                 fragment,
                                 authority,
                                 nubase::url_domain(u, false),
                                 nubase::url_user(u, false),
                                 nubase::url_password(u, false),
                                 nubase::url_service(u, false)};
    const std::string decoded[] = {nubase::url_path(u, true),      nubase::url_params(u, true),
                                   nubase::url_query(u, true),     nubase::url_fragment(u, true),
                                   nubase::url_authority(u, true), nubase::url_domain(u, true),
                                   nubase::url_user(u, true),      nubase::url_password(u, true),
                                   nubase::url_service(u, true)};
    for (std::size_t i = 0; i < sizeof(parts) / sizeof(parts[0]); ++i) {
        check(u.find(parts[i]) != std::string::npos);
        check(nubase::url_decode(parts[i]) == decoded[i]);
    }

    const char sep = a_size > 0 ? static_cast<char>(a_data[0]) : '&';
    nubase::kvmap m = nubase::url_query_kvmap(u, true, sep, '=');
    nubase::url_params_kvmap(m, u, false, '&', sep);
    m = nubase::url_fragment_kvmap(u, true, '&', '=');

    const std::string masked = nubase::url_protected_output(u);
    if (nubase::url_password(u, true).empty()) check(masked == u);

    const std::string share = nubase::unc_share(u);
    const std::string object = nubase::unc_object(u);
    check(nubase::ends_with(object, u) && u.find(share) != std::string::npos);
    check(u.find(nubase::unc_host(u)) != std::string::npos);
    return 0;
}
