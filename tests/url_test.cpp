// URLs: grammar corners, range scanners, percent coding, key-value text, setters, masking, UNC.
#include "nubase/url.hpp"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "nubase/string.hpp"
#include "vectors/url.hpp"

namespace {

using nubase::kvmap;
using nubase::range;

// Each URL part's getter and setters, so one table row can name the part it edits.
const struct url_part {
    const char* name;
    std::string (*get)(const std::string&, bool);
    std::string (*make)(const std::string&, const std::string&, bool);
    std::string& (*set)(std::string&, const std::string&, bool);
    bool outside_authority;  // an edit leaves the scheme alone whatever the URL
} k_parts[] = {
    {"query", nubase::url_query, nubase::url_new_query, nubase::url_set_query, true},
    {"fragment", nubase::url_fragment, nubase::url_new_fragment, nubase::url_set_fragment, true},
    {"params", nubase::url_params, nubase::url_new_params, nubase::url_set_params, true},
    {"path", nubase::url_path, nubase::url_new_path, nubase::url_set_path, false},
    {"authority", nubase::url_authority, nubase::url_new_authority, nubase::url_set_authority,
     false},
    {"domain", nubase::url_domain, nubase::url_new_domain, nubase::url_set_domain, false},
    {"user", nubase::url_user, nubase::url_new_user, nubase::url_set_user, false},
    {"password", nubase::url_password, nubase::url_new_password, nubase::url_set_password, false},
    {"service", nubase::url_service, nubase::url_new_service, nubase::url_set_service, false},
    {"host", [](const std::string& u, bool) { return nubase::url_host(u); },
     [](const std::string& u, const std::string& v, bool) { return nubase::url_new_host(u, v); },
     [](std::string& u, const std::string& v, bool) -> std::string& {
         return nubase::url_set_host(u, v);
     },
     false},
};

const url_part& part(const std::string& a_name) {
    for (const auto& p : k_parts)
        if (a_name == p.name) return p;
    throw std::invalid_argument(a_name);
}

TEST(Url, GrammarTable) {
    for (const auto& r : nubase_vectors::k_url_grammar) {
        SCOPED_TRACE(r.url);
        const std::string u = r.url;
        EXPECT_EQ(r.scheme, nubase::url_scheme(u));  // uri_scheme under its URL name
        EXPECT_EQ(r.authority, nubase::url_authority(u, false));
        EXPECT_EQ(r.domain, nubase::url_domain(u, false));
        EXPECT_EQ(r.user, nubase::url_user(u, false));
        EXPECT_EQ(r.password, nubase::url_password(u, false));
        EXPECT_EQ(r.host, nubase::url_host(u));
        EXPECT_EQ(r.service, nubase::url_service(u, false));
        EXPECT_EQ(r.path, nubase::url_path(u, false));
        EXPECT_EQ(r.params, nubase::url_params(u, false));
        EXPECT_EQ(r.query, nubase::url_query(u, false));
        EXPECT_EQ(r.fragment, nubase::url_fragment(u, false));
        // Decoding getters are the raw part through url_decode.
        for (const auto& p : k_parts)
            EXPECT_EQ(nubase::url_decode(p.get(u, false)), p.get(u, true)) << p.name;
    }
}

TEST(Url, RangeScanners) {
    const std::string u = "proto://DOM;user:pw@[::1]:8080/p?q#f";
    range r(0, u.size());
    const range a = nubase::parse_authority(r, u);
    EXPECT_EQ("DOM;user:pw@[::1]:8080", u.substr(a.first, a.second - a.first));
    EXPECT_EQ(a.second, r.first);  // the path start
    EXPECT_EQ(u.find('#'), r.second);
    range h = a;
    const range s = nubase::parse_service(h, u);
    EXPECT_EQ("8080", u.substr(s.first, s.second - s.first));
    EXPECT_EQ("[::1]", u.substr(h.first, h.second - h.first));

    // No authority: an empty range at the path start; no service: empty at the host's end.
    const std::string m = "mailto:a@b";
    range rm(0, m.size());
    EXPECT_EQ(range(7, 7), nubase::parse_authority(rm, m));
    EXPECT_EQ(range(7, 10), rm);
    range hm(4, 8);
    EXPECT_EQ(range(8, 8), nubase::parse_service(hm, "p://host/"));

    // Ranges reaching outside the string are clipped, never read.
    range wild(5, 1000);
    EXPECT_EQ(range(2, 2), nubase::parse_authority(wild, "ab"));
    wild = range(7, 99);
    EXPECT_EQ(range(3, 3), nubase::parse_service(wild, "a:b"));
}

TEST(Url, EncodeKeepsExactlyTheDocumentedSet) {
    const std::string kept =
        "!$&'()+,-./0123456789=ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz";
    static const char k_hex[] = "0123456789abcdef";
    for (int b = 0; b < 256; ++b) {
        const std::string in(1, static_cast<char>(b));
        const bool keep = kept.find(static_cast<char>(b)) != std::string::npos;
        const std::string escaped = {'%', k_hex[b >> 4], k_hex[b & 15]};
        EXPECT_EQ(keep ? in : escaped, nubase::url_encode(in, false)) << b;
        EXPECT_EQ(keep && b != '/' ? in : escaped, nubase::url_encode(in, true)) << b;
    }
}

TEST(Url, DecodeIsLenient) {
    // A bad hex digit counts as 0, so "%4z" is '@' and "%zz" (byte 0) stays; "%%41" reads "%%4".
    const std::pair<const char*, const char*> rows[] = {
        {"%41%4a%00x%", "AJ%00x%"}, {"a%4", "a%4"},   {"%zz", "%zz"}, {"a+b", "a+b"},
        {"%C3%A9", "\xc3\xa9"},     {"%2F%2f", "//"}, {"%4z", "@"},   {"%%41", "\0041"},
    };
    for (const auto& r : rows)
        EXPECT_EQ(r.second, nubase::url_decode(r.first)) << r.first;
    const std::string d = "xx%41yy";
    EXPECT_EQ("A", nubase::url_decode(range(2, 5), d.data()));
    EXPECT_EQ("", nubase::url_decode(range(5, 2), d.data()));

    // Every byte except NUL survives encoding and decoding.
    std::string all;
    for (int b = 1; b < 256; ++b)
        all.push_back(static_cast<char>(b));
    EXPECT_EQ(all, nubase::url_decode(nubase::url_encode(all, true)));
}

TEST(Url, KeyValueText) {
    const std::pair<const char*, kvmap> rows[] = {
        {"a=1&&b=2", {{"", ""}, {"a", "1"}, {"b", "2"}}},
        {"a=1&", {{"a", "1"}}},
        {"a=1&a=2", {{"a", "2"}}},
        {"k=v=w&x", {{"k", "v=w"}, {"x", ""}}},
        {"=v", {{"", "v"}}},
        {"a%20b=c%26d", {{"a%20b", "c%26d"}}},
    };
    for (const auto& r : rows) {
        kvmap m;
        nubase::url_kvmap_with_kvstr(m, r.first, false, '&', '=');
        EXPECT_EQ(r.second, m) << r.first;
    }
    // Decoded, and added to what the map already holds.
    kvmap kept = {{"old", "1"}};
    nubase::url_kvmap_with_kvstr(kept, "a%20b=c%26d", true, '&', '=');
    EXPECT_EQ((kvmap{{"a b", "c&d"}, {"old", "1"}}), kept);

    // Writing: key order of the unencoded keys, bare keys, an empty key's value without '&'.
    std::string out;
    nubase::url_kvstr_with_kvmap(out, {{"", "e"}, {"a b", "1/2"}, {"a!", ""}}, true, '&', '=');
    EXPECT_EQ("=e&a%20b=1%2f2&a!", out);
    out = "x";
    nubase::url_kvstr_with_kvmap(out, {{"k", "v"}}, false, ';', ':');
    EXPECT_EQ("x;k:v", out);

    const std::string u = "p:/x;a=1;b=2?q=%41&r#f1,f2";
    EXPECT_EQ((kvmap{{"a", "1"}, {"b", "2"}}), nubase::url_params_kvmap(u, true, ';', '='));
    EXPECT_EQ((kvmap{{"q", "A"}, {"r", ""}}), nubase::url_query_kvmap(u, true, '&', '='));
    kvmap filled = {{"stale", "x"}};
    EXPECT_EQ((kvmap{{"f1", ""}, {"f2", ""}}),
              nubase::url_fragment_kvmap(filled, u, false, ',', '='));
}

TEST(Url, Scheme) {
    const struct {
        std::string in, scheme, out;
    } rows[] = {
        {"x", "proto", "proto:x"}, {"old:x", "new", "new:x"}, {":x", "p", "p:x"},
        {"proto:x", "", "x"},      {"a#b:c", "s", "s:a#b:c"}, {"", "s", "s:"},
    };
    for (const auto& r : rows) {
        EXPECT_EQ(r.out, nubase::uri_new_scheme(r.in, r.scheme)) << r.in;
        std::string u = r.in;
        EXPECT_EQ(r.out, nubase::url_set_scheme(u, r.scheme));
    }
    // The scheme-specific part keeps the fragment.
    EXPECT_EQ("//h/p#f", nubase::uri_scheme_specific("proto://h/p#f"));
    EXPECT_EQ("a/b:c", nubase::uri_scheme_specific("a/b:c"));
    EXPECT_EQ("x", nubase::uri_scheme_specific(":x"));
    EXPECT_EQ("", nubase::uri_scheme_specific("p:"));
    EXPECT_EQ("workflow:abc", nubase::uri_new_scheme_specific("workflow:old#f", "abc"));
    EXPECT_EQ("abc", nubase::uri_new_scheme_specific(":old", "abc"));
    EXPECT_EQ("abc", nubase::uri_new_scheme_specific("old", "abc"));
}

TEST(Url, PartSetters) {
    const struct {
        std::string in, value, part, out;
    } rows[] = {
        {"h:/p?q#f", "", "query", "h:/p#f"},
        {"h:/p#f", "a", "query", "h:/p?a#f"},
        {"h:/p#f", "", "fragment", "h:/p"},
        {"h:/p", "x/y", "fragment", "h:/p#x%2fy"},
        {"p:/a;b?c", "", "params", "p:/a?c"},
        {"p:/a?c", "x", "params", "p:/a;x?c"},
        {"proto://h", "x", "path", "proto://h/x"},
        {"proto://h/a?q", "", "path", "proto://h?q"},
        {"p://", "x", "path", "p:///x"},
        {"p://u@h/a;x", "", "path", "p://u@h;x"},
        {"x", "a/b", "path", "a/b"},
        {"proto://h/p", "", "authority", "proto:/p"},
        {"p:x", "a", "authority", "p://a/x"},
        {"p:/x", "a", "authority", "p://a/x"},
        {"p:;x", "a", "authority", "p://a/;x"},
        {"file:///x", "h", "authority", "file://h/x"},
        {"p://h#f/x", "a", "authority", "p://a/h#f/x"},
        {"p://old?q", "u@n", "authority", "p://u%40n?q"},
        {"p://h", "a;b", "user", "p://a%3bb@h"},
        {"p:x", "8", "service", "p://:8/x"},
        {"h:/p?#f", "a", "query", "h:/p?a#f"},      // the empty query's '?' is not doubled
        {"p://h", "x", "params", "p://h/;x"},       // a ';' here would extend the authority
        {"p://u@h", "x", "params", "p://u@h;x"},    // here it ends it
        {"p://h/a;x", "", "path", "p://h/;x"},      // "p://h;x" would have the authority "h;x"
        {"p://h/a#f/x", "", "path", "p://h/#f/x"},  // "p://h#f/x" would have no authority
        {"p:////x", "", "authority", "p:////x"},    // dropping "//" would make "//x" an authority
        {"p://a@b@c/", "", "user", "p://@b@c/"},    // an '@' in the host keeps the one before it
        {"p://h#f/x", "n", "host", "p://n/h#f/x"},  // an authority cut by '#' gets a '/'
        {"p://D;a;b:p@h", "", "domain", "p://;a;b:p@h"},  // a ';' in the user keeps the domain's
        {"p://[x/y#]", "u", "user", "p://u@[x/y#]"},  // '[' pairs only before '#'; '/' ends host
        {"p://u@h;x", "", "user", "p://@h;x"},        // the '@' stays: the ';' still ends it
        // Authority pieces replace their own range only; every other marker stays.
        {"ftp://anonymous:@ftp.example.com/pub", "mirror.example.com", "host",
         "ftp://anonymous:@mirror.example.com/pub"},
        {"ftp://anonymous:@ftp.example.com/pub", "21", "service",
         "ftp://anonymous:@ftp.example.com:21/pub"},
        {"proto://@h/p", "n", "host", "proto://@n/p"},
        {"proto://h:/p", "u", "user", "proto://u@h:/p"},
        {"p://[::1]:8[x/a;b]c", "h", "host", "p://h:8[x/a;b]c"},  // a stray '[' is kept as is
        {"p://[::1];x", "v", "host", "p://@v;x"},  // the '@' keeps the ';' ending the authority
        // Where the authority scan runs into the fragment, a '/' keeps the authority in place.
        {"s://D;u@#O;p", "v", "params", "s:///D;v#O;p"},   // without '@', "D;v" is the authority
        {"s://a@b#x;y", "", "fragment", "s:///a@b"},       // the ';' made the authority empty
        {"s://u@h#x/", "a", "fragment", "s:///u@h#a"},     // without the '/' "u@h" would be one
        {"s://D;u@?q#O;p", "", "query", "s://D;u@/#O;p"},  // the '?' ended the authority "D;u@"
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.in + " <- " + r.value + " as " + r.part);
        std::string u = r.in;
        EXPECT_EQ(r.out, part(r.part).make(r.in, r.value, true));
        EXPECT_EQ(r.out, part(r.part).set(u, r.value, true));
    }
    std::string port = "port:";
    EXPECT_EQ("port:in 1", nubase::url_set_path(port, "in 1", false));
}

TEST(Url, AuthorityPiecesInAnyOrder) {
    // Built up one piece at a time, then taken down again.
    std::string u = "p:/x";
    const struct {
        std::string part, value, out;
    } steps[] = {
        {"password", "pw", "p://:pw@/x"},
        {"domain", "D", "p://D;:pw@/x"},
        {"user", "u", "p://D;u:pw@/x"},
        {"host", "h", "p://D;u:pw@h/x"},
        {"service", "80", "p://D;u:pw@h:80/x"},
        {"host", "[::1]", "p://D;u:pw@[::1]:80/x"},
        {"domain", "", "p://u:pw@[::1]:80/x"},
        {"password", "", "p://u@[::1]:80/x"},
        {"user", "", "p://[::1]:80/x"},
        {"service", "", "p://[::1]/x"},
        {"host", "", "p:/x"},
    };
    for (const auto& step : steps)
        EXPECT_EQ(step.out, part(step.part).set(u, step.value, true));
}

// Every setter on every grammar row, with a value and with "": the getter gives back what was set
// and, for the parts behind the authority, the scheme stays.
TEST(Url, SetThenGetRoundTrips) {
    const char* const values[] = {"v", "a b;c?d#e@f:g/h", "/abs", "%41", ""};
    for (const auto& row : nubase_vectors::k_url_grammar) {
        for (const auto& p : k_parts) {
            for (const char* value : values) {
                const std::string name = p.name;
                std::string expected = value;
                if (name == "host" && expected.find_first_of(":;@/?#[]") != std::string::npos)
                    continue;  // the host is never encoded
                // A relative path behind "//" becomes absolute.
                if (name == "path" && !expected.empty() && expected[0] != '/' &&
                    nubase::starts_with("//", nubase::uri_scheme_specific(row.url)))
                    expected = "/" + expected;
                SCOPED_TRACE(std::string(row.url) + " <- " + p.name + " \"" + value + "\"");
                const std::string u = p.make(row.url, value, true);
                EXPECT_EQ(expected, p.get(u, true)) << u;
                if (p.outside_authority) {
                    EXPECT_EQ(row.scheme, nubase::url_scheme(u)) << u;
                }
            }
        }
    }
}

TEST(Url, ProtectedOutputMasksThePassword) {
    EXPECT_EQ("ftp://u:%2a%2a%2a%2a%2a%2a%2a%2a@h/", nubase::url_protected_output("ftp://u:pw@h/"));
    EXPECT_EQ("ftp://u:@h/", nubase::url_protected_output("ftp://u:@h/"));
    EXPECT_EQ("smb://D;u:%2a%2a%2a%2a%2a%2a%2a%2a@h:1/s?q",
              nubase::url_protected_output("smb://D;u:p%40ss@h:1/s?q"));
}

TEST(Url, UncSplitting) {
    const struct {
        std::string p, host, share, object;
    } rows[] = {
        {"\\\\h\\s\\d\\f", "h", "s", "\\d\\f"},
        {"\\\\srv", "srv", "", ""},
        {"\\\\srv\\", "srv", "", "\\"},
        {"\\\\srv\\share", "srv", "share", ""},
        {"\\\\", "", "", "\\"},
        {"\\a\\b", "", "a", "\\b"},
        {"x\\y", "", "", "x\\y"},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.p);
        EXPECT_EQ(r.host, nubase::unc_host(r.p));
        EXPECT_EQ(r.share, nubase::unc_share(r.p));
        EXPECT_EQ(r.object, nubase::unc_object(r.p));
    }
    unsigned long pos = 0;
    EXPECT_EQ(range(6, 11), nubase::parse_unc_share(pos, "\\\\srv\\share\\x"));
    EXPECT_EQ(11u, pos);
    pos = 99;
    EXPECT_EQ(range(1, 1), nubase::parse_unc_share(pos, "a"));
}

}  // namespace
