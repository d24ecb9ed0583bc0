// nubase/ident.hpp - the identifier schemes: ports, plids, entity (egid), instance (wtid),
// workflow and graph identifiers.
//
// An identifier is a plain URI-shaped `std::string`. Each kind has a scheme word, a function
// that makes an empty identifier (nothing is generated: no counter, clock or random number), and
// getters and setters for its fields, built on the URL functions of nubase/url.hpp. Nothing
// checks that a string given to a getter carries the right scheme; no function raises.
//
//   std::string w = nubase::wtid_new();                      // "wtid:"
//   nubase::wtid_set_plid(w, "plid:codec/video/k/2");        // "wtid:plid%3acodec/video/k/2"
//   nubase::wtid_set_instance(w, "7");                       // "...k/2#7"
//   nubase::wtid_plid(w);                                    // "plid:codec/video/k/2"
//
// Forms:
//
//   port      "port:" id [";" param] ["#" type]     id = URL path (never encoded), param = URL
//                                                   parameters, type = fragment (both encoded)
//   plid      "plid:" category "/" type "/" key "/" version
//   egid      "egid:" entity ["#" instance]         entity = URL path (encoded, '/' kept)
//   wtid      "wtid:" plid ["#" instance]           the plid is the URL path (encoded, '/' kept,
//                                                   so its ':' is stored as "%3a")
//   workflow  "workflow:" id                        id = the whole scheme-specific part
//   graph     "graph:" id                           likewise
//
// Setters replace a field in place and return the identifier; the `_new_` forms return an
// edited copy. The setters of one layout are one operation: the port type and the egid and
// wtid instances (the fragment, encoded), the egid entity and the wtid plid (the path, encoded
// with '/' kept), and the workflow and graph ids (the scheme-specific part).
#ifndef NUBASE_IDENT_HPP
#define NUBASE_IDENT_HPP

#include <string>
#include <utility>

#include "nubase/config.hpp"

namespace nubase {

// The scheme words "port", "egid", "wtid", "workflow" and "graph". They are constant strings
// built by the library's static initialisation, so they are valid from the moment the library
// is loaded until it is unloaded; do not call these from another library's static initialiser
// that may run first.
NUBASE_API const std::string& port_scheme() noexcept;
NUBASE_API const std::string& egid_scheme() noexcept;
NUBASE_API const std::string& wtid_scheme() noexcept;
NUBASE_API const std::string& workflow_scheme() noexcept;
NUBASE_API const std::string& graph_scheme() noexcept;

// Ports. `port_new()` is "port:". The id is the URL path, decoded when read and written
// without encoding ("port:" with "in 1" gives "port:in 1"); the parameter is the URL parameters
// and the type the fragment, both decoded when read and encoded when written ("a b" is stored
// as "a%20b"). An empty value removes the field.
[[nodiscard]] NUBASE_API std::string port_new();
[[nodiscard]] NUBASE_API std::string port_id(const std::string& a_id);
NUBASE_API std::string& port_set_id(std::string& a_id, const std::string& a_value);
[[nodiscard]] NUBASE_API std::string port_new_id(const std::string& a_id,
                                                 const std::string& a_value);
[[nodiscard]] NUBASE_API std::string port_param(const std::string& a_id);
NUBASE_API std::string& port_set_param(std::string& a_id, const std::string& a_value);
[[nodiscard]] NUBASE_API std::string port_new_param(const std::string& a_id,
                                                    const std::string& a_value);
[[nodiscard]] NUBASE_API std::string port_type(const std::string& a_id);
NUBASE_API std::string& port_set_type(std::string& a_id, const std::string& a_value);
[[nodiscard]] NUBASE_API std::string port_new_type(const std::string& a_id,
                                                   const std::string& a_value);

// Plids: "plid:" and four slash-separated fields. Let the working end be the first '#' (or the
// end) and the fields start behind the scheme's ':' (when the first ':' or '/' is a ':' before
// the working end; else at 0). Only slashes before the working end separate fields. Reading:
//  - category: up to the first '/'; without one, to the end of the whole string (fragment
//    included);
//  - type: behind the first '/' up to the second; without a second, to the end of the whole
//    string; "" without a first '/';
//  - key: behind the second '/' up to the third or the working end; "" with fewer than two;
//  - version: behind the third '/' up to the fourth or the working end; "" with fewer than
//    three. Fields behind a fourth '/' are ignored.
// Writing replaces one field up to the next '/' (or the working end). Missing separators are
// appended first: one for the type, up to two for the key, up to three for the version. In a
// plid that carries a '#' they go, with the field, in front of the '#', so the fragment stays
// the fragment. The key is URL-encoded (with '/') when `encode` is true and decoded when
// `decode` is true, so a key may hold '/'; no other field is coded or checked.
// `plid_category("plid:codec/video/k/2")` is "codec"; `plid_new_key("plid:", "x/y", true)` is
// "plid://x%2fy".
[[nodiscard]] NUBASE_API std::string plid_new();
[[nodiscard]] NUBASE_API std::string plid_category(const std::string& a_id);
[[nodiscard]] NUBASE_API std::string plid_type(const std::string& a_id);
[[nodiscard]] NUBASE_API std::string plid_key(const std::string& a_id, bool a_decode = true);
[[nodiscard]] NUBASE_API std::string plid_version(const std::string& a_id);
NUBASE_API std::string& plid_set_category(std::string& a_id, const std::string& a_value);
[[nodiscard]] NUBASE_API std::string plid_new_category(const std::string& a_id,
                                                       const std::string& a_value);
NUBASE_API std::string& plid_set_type(std::string& a_id, const std::string& a_value);
[[nodiscard]] NUBASE_API std::string plid_new_type(const std::string& a_id,
                                                   const std::string& a_value);
NUBASE_API std::string& plid_set_key(std::string& a_id, const std::string& a_value,
                                     bool a_encode = true);
[[nodiscard]] NUBASE_API std::string plid_new_key(const std::string& a_id,
                                                  const std::string& a_value, bool a_encode = true);
NUBASE_API std::string& plid_set_version(std::string& a_id, const std::string& a_value);
[[nodiscard]] NUBASE_API std::string plid_new_version(const std::string& a_id,
                                                      const std::string& a_value);

// Entity identifiers. `egid_new()` is "egid:"; the entity is the URL path (decoded / encoded
// with '/' kept), the instance the fragment (decoded / encoded).
[[nodiscard]] NUBASE_API std::string egid_new();
[[nodiscard]] NUBASE_API std::string egid_entity(const std::string& a_id);
NUBASE_API std::string& egid_set_entity(std::string& a_id, const std::string& a_value);
[[nodiscard]] NUBASE_API std::string egid_new_entity(const std::string& a_id,
                                                     const std::string& a_value);
[[nodiscard]] NUBASE_API std::string egid_instance(const std::string& a_id);
NUBASE_API std::string& egid_set_instance(std::string& a_id, const std::string& a_value);
[[nodiscard]] NUBASE_API std::string egid_new_instance(const std::string& a_id,
                                                       const std::string& a_value);

// Instance identifiers. `wtid_new()` is "wtid:"; the plid is the URL path (decoded / encoded
// with '/' kept), the instance the fragment (decoded / encoded).
[[nodiscard]] NUBASE_API std::string wtid_new();
[[nodiscard]] NUBASE_API std::string wtid_plid(const std::string& a_id);
NUBASE_API std::string& wtid_set_plid(std::string& a_id, const std::string& a_value);
[[nodiscard]] NUBASE_API std::string wtid_new_plid(const std::string& a_id,
                                                   const std::string& a_value);
[[nodiscard]] NUBASE_API std::string wtid_instance(const std::string& a_id);
NUBASE_API std::string& wtid_set_instance(std::string& a_id, const std::string& a_value);
[[nodiscard]] NUBASE_API std::string wtid_new_instance(const std::string& a_id,
                                                       const std::string& a_value);

// Workflow and graph identifiers. The id is the whole scheme-specific part, raw: its fragment
// is part of it ("workflow:abc#z" has the id "abc#z"). Setting keeps the scheme and replaces
// everything behind its ':'.
[[nodiscard]] NUBASE_API std::string workflow_new();
[[nodiscard]] NUBASE_API std::string workflow_id(const std::string& a_id);
NUBASE_API std::string& workflow_set_id(std::string& a_id, const std::string& a_value);
[[nodiscard]] NUBASE_API std::string workflow_new_id(const std::string& a_id,
                                                     const std::string& a_value);
[[nodiscard]] NUBASE_API std::string graph_new();
[[nodiscard]] NUBASE_API std::string graph_id(const std::string& a_id);
NUBASE_API std::string& graph_set_id(std::string& a_id, const std::string& a_value);
[[nodiscard]] NUBASE_API std::string graph_new_id(const std::string& a_id,
                                                  const std::string& a_value);

// Splits at the first `sep`: the text before it, and the rest with the separator kept, so
// split_scheme("port:x", ':') gives ("port", ":x"). Without `sep`: (s, "").
[[nodiscard]] NUBASE_API std::pair<std::string, std::string> split_scheme(const std::string& a_s,
                                                                          char a_sep);

}  // namespace nubase

#endif  // NUBASE_IDENT_HPP
