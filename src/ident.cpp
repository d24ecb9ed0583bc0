// The identifier schemes: thin layers over the URL functions, and the plid's own field layout.
#include "nubase/ident.hpp"

#include <cstddef>
#include <string>

#include "nubase/url.hpp"

namespace nubase {
namespace {

// Built by the library's static initialisation, in this order.
const std::string k_internal_port_scheme("port");
const std::string k_internal_egid_scheme("egid");
const std::string k_internal_wtid_scheme("wtid");
const std::string k_internal_workflow_scheme("workflow");
const std::string k_internal_graph_scheme("graph");

// The one operation behind each group of setters that share a layout.
std::string& set_fragment_encoded(std::string& a_id, const std::string& a_value) {
    return url_set_fragment(a_id, a_value, true);
}
std::string& set_path_encoded(std::string& a_id, const std::string& a_value) {
    return url_set_path(a_id, a_value, true);
}
std::string& set_scheme_specific(std::string& a_id, const std::string& a_value) {
    return uri_set_scheme_specific(a_id, a_value);
}

template <class Set>
std::string on_copy(const std::string& a_id, Set a_set) {
    std::string l_id(a_id);
    a_set(l_id);
    return l_id;
}

// The plid's field separators: the '/' between the fields' start and the working end.
struct plid_layout {
    std::size_t n, w, s;
    std::size_t slash[4];
    unsigned count;  // separators found, at most 4
};

plid_layout plid_scan(const std::string& a_id) {
    plid_layout l;
    l.n = a_id.size();
    l.w = a_id.find('#');
    if (l.w == std::string::npos) l.w = l.n;
    const std::size_t l_first = a_id.find_first_of(":/");
    l.s = l_first < l.w && a_id[l_first] == ':' ? l_first + 1 : 0;
    l.count = 0;
    for (std::size_t l_i = l.s; l_i < l.w && l.count < 4; ++l_i)
        if (a_id[l_i] == '/') l.slash[l.count++] = l_i;
    return l;
}

// Field `index` (0 category .. 3 version) as a range; the last field present runs to the end of
// the whole string for the category and type, to the working end for the key and version.
std::string plid_field(const std::string& a_id, unsigned a_index) {
    const plid_layout l = plid_scan(a_id);
    if (a_index > l.count) return std::string();
    const std::size_t l_start = a_index == 0 ? l.s : l.slash[a_index - 1] + 1;
    const std::size_t l_end = a_index < l.count ? l.slash[a_index] : (a_index < 2 ? l.n : l.w);
    return a_id.substr(l_start, l_end - l_start);
}

// Replaces field `index`, appending the separators it needs at the working end first.
std::string& plid_set_field(std::string& a_id, unsigned a_index, const std::string& a_value) {
    plid_layout l = plid_scan(a_id);
    if (a_index > l.count) {
        a_id.insert(l.w, a_index - l.count, '/');
        l = plid_scan(a_id);
    }
    const std::size_t l_start = a_index == 0 ? l.s : l.slash[a_index - 1] + 1;
    const std::size_t l_end = a_index < l.count ? l.slash[a_index] : l.w;
    return a_id.replace(l_start, l_end - l_start, a_value);
}

}  // namespace

const std::string& port_scheme() noexcept {
    return k_internal_port_scheme;
}
const std::string& egid_scheme() noexcept {
    return k_internal_egid_scheme;
}
const std::string& wtid_scheme() noexcept {
    return k_internal_wtid_scheme;
}
const std::string& workflow_scheme() noexcept {
    return k_internal_workflow_scheme;
}
const std::string& graph_scheme() noexcept {
    return k_internal_graph_scheme;
}

// Ports

std::string port_new() {
    return port_scheme() + ':';
}
std::string port_id(const std::string& a_id) {
    return url_path(a_id, true);
}
std::string& port_set_id(std::string& a_id, const std::string& a_value) {
    return url_set_path(a_id, a_value, false);
}
std::string port_new_id(const std::string& a_id, const std::string& a_value) {
    return on_copy(a_id, [&](std::string& l_id) { port_set_id(l_id, a_value); });
}
std::string port_param(const std::string& a_id) {
    return url_params(a_id, true);
}
std::string& port_set_param(std::string& a_id, const std::string& a_value) {
    return url_set_params(a_id, a_value, true);
}
std::string port_new_param(const std::string& a_id, const std::string& a_value) {
    return on_copy(a_id, [&](std::string& l_id) { port_set_param(l_id, a_value); });
}
std::string port_type(const std::string& a_id) {
    return url_fragment(a_id, true);
}
std::string& port_set_type(std::string& a_id, const std::string& a_value) {
    return set_fragment_encoded(a_id, a_value);
}
std::string port_new_type(const std::string& a_id, const std::string& a_value) {
    return on_copy(a_id, [&](std::string& l_id) { set_fragment_encoded(l_id, a_value); });
}

// Plids

std::string plid_new() {
    return "plid:";
}
std::string plid_category(const std::string& a_id) {
    return plid_field(a_id, 0);
}
std::string plid_type(const std::string& a_id) {
    return plid_field(a_id, 1);
}
std::string plid_key(const std::string& a_id, bool a_decode) {
    return a_decode ? url_decode(plid_field(a_id, 2)) : plid_field(a_id, 2);
}
std::string plid_version(const std::string& a_id) {
    return plid_field(a_id, 3);
}
std::string& plid_set_category(std::string& a_id, const std::string& a_value) {
    return plid_set_field(a_id, 0, a_value);
}
std::string plid_new_category(const std::string& a_id, const std::string& a_value) {
    return on_copy(a_id, [&](std::string& l_id) { plid_set_field(l_id, 0, a_value); });
}
std::string& plid_set_type(std::string& a_id, const std::string& a_value) {
    return plid_set_field(a_id, 1, a_value);
}
std::string plid_new_type(const std::string& a_id, const std::string& a_value) {
    return on_copy(a_id, [&](std::string& l_id) { plid_set_field(l_id, 1, a_value); });
}
std::string& plid_set_key(std::string& a_id, const std::string& a_value, bool a_encode) {
    return plid_set_field(a_id, 2, a_encode ? url_encode(a_value, true) : a_value);
}
std::string plid_new_key(const std::string& a_id, const std::string& a_value, bool a_encode) {
    return on_copy(a_id, [&](std::string& l_id) { plid_set_key(l_id, a_value, a_encode); });
}
std::string& plid_set_version(std::string& a_id, const std::string& a_value) {
    return plid_set_field(a_id, 3, a_value);
}
std::string plid_new_version(const std::string& a_id, const std::string& a_value) {
    return on_copy(a_id, [&](std::string& l_id) { plid_set_field(l_id, 3, a_value); });
}

// Entity identifiers

std::string egid_new() {
    return egid_scheme() + ':';
}
std::string egid_entity(const std::string& a_id) {
    return url_path(a_id, true);
}
std::string& egid_set_entity(std::string& a_id, const std::string& a_value) {
    return set_path_encoded(a_id, a_value);
}
std::string egid_new_entity(const std::string& a_id, const std::string& a_value) {
    return on_copy(a_id, [&](std::string& l_id) { set_path_encoded(l_id, a_value); });
}
std::string egid_instance(const std::string& a_id) {
    return url_fragment(a_id, true);
}
std::string& egid_set_instance(std::string& a_id, const std::string& a_value) {
    return set_fragment_encoded(a_id, a_value);
}
std::string egid_new_instance(const std::string& a_id, const std::string& a_value) {
    return on_copy(a_id, [&](std::string& l_id) { set_fragment_encoded(l_id, a_value); });
}

// Instance identifiers

std::string wtid_new() {
    return wtid_scheme() + ':';
}
std::string wtid_plid(const std::string& a_id) {
    return url_path(a_id, true);
}
std::string& wtid_set_plid(std::string& a_id, const std::string& a_value) {
    return set_path_encoded(a_id, a_value);
}
std::string wtid_new_plid(const std::string& a_id, const std::string& a_value) {
    return on_copy(a_id, [&](std::string& l_id) { set_path_encoded(l_id, a_value); });
}
std::string wtid_instance(const std::string& a_id) {
    return url_fragment(a_id, true);
}
std::string& wtid_set_instance(std::string& a_id, const std::string& a_value) {
    return set_fragment_encoded(a_id, a_value);
}
std::string wtid_new_instance(const std::string& a_id, const std::string& a_value) {
    return on_copy(a_id, [&](std::string& l_id) { set_fragment_encoded(l_id, a_value); });
}

// Workflow and graph identifiers

std::string workflow_new() {
    return workflow_scheme() + ':';
}
std::string workflow_id(const std::string& a_id) {
    return uri_scheme_specific(a_id);
}
std::string& workflow_set_id(std::string& a_id, const std::string& a_value) {
    return set_scheme_specific(a_id, a_value);
}
std::string workflow_new_id(const std::string& a_id, const std::string& a_value) {
    return on_copy(a_id, [&](std::string& l_id) { set_scheme_specific(l_id, a_value); });
}
std::string graph_new() {
    return graph_scheme() + ':';
}
std::string graph_id(const std::string& a_id) {
    return uri_scheme_specific(a_id);
}
std::string& graph_set_id(std::string& a_id, const std::string& a_value) {
    return set_scheme_specific(a_id, a_value);
}
std::string graph_new_id(const std::string& a_id, const std::string& a_value) {
    return on_copy(a_id, [&](std::string& l_id) { set_scheme_specific(l_id, a_value); });
}

std::pair<std::string, std::string> split_scheme(const std::string& a_s, char a_sep) {
    const std::size_t l_at = a_s.find(a_sep);
    if (l_at == std::string::npos) return {a_s, std::string()};
    return {a_s.substr(0, l_at), a_s.substr(l_at)};
}

}  // namespace nubase
