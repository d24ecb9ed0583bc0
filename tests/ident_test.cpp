// Identifier schemes: stored forms, the plid's fields, and setters that share one operation.
#include "nubase/ident.hpp"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace {

TEST(Ident, SchemesAndEmptyIdentifiers) {
    EXPECT_EQ("port", nubase::port_scheme());
    EXPECT_EQ("egid", nubase::egid_scheme());
    EXPECT_EQ("wtid", nubase::wtid_scheme());
    EXPECT_EQ("workflow", nubase::workflow_scheme());
    EXPECT_EQ("graph", nubase::graph_scheme());
    EXPECT_EQ("workflow:", nubase::workflow_new());
    EXPECT_EQ("graph:", nubase::graph_new());
}

TEST(Ident, PortFields) {
    std::string p = nubase::port_new();
    EXPECT_EQ("port:in 1", nubase::port_set_id(p, "in 1"));  // the id is not encoded
    EXPECT_EQ("port:in 1#a%20b", nubase::port_set_type(p, "a b"));
    EXPECT_EQ("port:in 1;x=1%20y#a%20b", nubase::port_set_param(p, "x=1 y"));
    EXPECT_EQ("in 1", nubase::port_id(p));
    EXPECT_EQ("x=1 y", nubase::port_param(p));
    EXPECT_EQ("a b", nubase::port_type(p));
    EXPECT_EQ("port:out;x=1%20y#a%20b", nubase::port_new_id(p, "out"));
    EXPECT_EQ("port:in 1#a%20b", nubase::port_new_param(p, ""));
    EXPECT_EQ("port:in 1;x=1%20y", nubase::port_new_type(p, ""));
}

TEST(Ident, PlidFields) {
    struct row {
        std::string id, category, type, key, version;  // the key raw
    };
    const row rows[] = {
        {"plid:codec/video/k/2", "codec", "video", "k", "2"},
        {"plid:a", "a", "", "", ""},
        {"plid:", "", "", "", ""},
        {"plid:a/b/c/d/e", "a", "b", "c", "d"},
        {"a/b/c", "a", "b", "c", ""},  // no scheme: the fields start at 0
        {"plid:a/b/c#f/g", "a", "b", "c", ""},
        {"plid:a#f/g", "a#f/g", "", "", ""},  // the last field read runs to the very end
        {"plid:a/b#f", "a", "b#f", "", ""},
        {"plid://x%2fy", "", "", "x%2fy", ""},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.id);
        EXPECT_EQ(r.category, nubase::plid_category(r.id));
        EXPECT_EQ(r.type, nubase::plid_type(r.id));
        EXPECT_EQ(r.key, nubase::plid_key(r.id, false));
        EXPECT_EQ(r.version, nubase::plid_version(r.id));
    }
    EXPECT_EQ("x/y", nubase::plid_key("plid://x%2fy", true));
}

TEST(Ident, PlidSetters) {
    EXPECT_EQ("plid://x/y", nubase::plid_new_key("plid:", "x/y", false));
    EXPECT_EQ("plid:a//k", nubase::plid_new_key("plid:a", "k", true));
    EXPECT_EQ("plid:a/b/k/9/x", nubase::plid_new_version("plid:a/b/k/2/x", "9"));
    EXPECT_EQ("plid:/b", nubase::plid_new_category("plid:a/b", ""));
    // A plid that carries a fragment gets its separators and field in front of the '#'.
    EXPECT_EQ("plid:a/t#f", nubase::plid_new_type("plid:a#f", "t"));

    // Built field by field, in any order, and read back.
    std::string id = nubase::plid_new();
    nubase::plid_set_version(id, "2");
    EXPECT_EQ("plid:///2", id);
    nubase::plid_set_key(id, "k/1", true);
    nubase::plid_set_category(id, "codec");
    nubase::plid_set_type(id, "video");
    EXPECT_EQ("plid:codec/video/k%2f1/2", id);
    EXPECT_EQ("k/1", nubase::plid_key(id, true));
}

TEST(Ident, EgidAndWtid) {
    std::string w = nubase::wtid_new();
    nubase::wtid_set_plid(w, "plid:codec/video/k/2");
    nubase::wtid_set_instance(w, "7");
    EXPECT_EQ("wtid:plid%3acodec/video/k/2#7", w);
    EXPECT_EQ("plid:codec/video/k/2", nubase::wtid_plid(w));
    EXPECT_EQ("7", nubase::wtid_instance(w));

    std::string e = nubase::egid_new();
    nubase::egid_set_entity(e, "media/clip a");
    nubase::egid_set_instance(e, "#1");
    EXPECT_EQ("egid:media/clip%20a#%231", e);
    EXPECT_EQ("media/clip a", nubase::egid_entity(e));
    EXPECT_EQ("#1", nubase::egid_instance(e));

    // The setters documented as one operation agree on any identifier.
    for (const char* id : {"egid:x#y", "wtid:", "port:a;b#c", "", "x:/y?z"}) {
        for (const char* v : {"v 1", "", "a/b:c"}) {
            SCOPED_TRACE(std::string(id) + " <- " + v);
            EXPECT_EQ(nubase::egid_new_instance(id, v), nubase::wtid_new_instance(id, v));
            EXPECT_EQ(nubase::egid_new_instance(id, v), nubase::port_new_type(id, v));
            EXPECT_EQ(nubase::egid_new_entity(id, v), nubase::wtid_new_plid(id, v));
            EXPECT_EQ(nubase::workflow_new_id(id, v), nubase::graph_new_id(id, v));
        }
    }
}

TEST(Ident, WorkflowAndGraphIdsAreTheSchemeSpecificPart) {
    EXPECT_EQ("abc#z", nubase::workflow_id("workflow:abc#z"));
    std::string g = "graph:old#f";
    EXPECT_EQ("graph:n w", nubase::graph_set_id(g, "n w"));
    EXPECT_EQ("n w", nubase::graph_id(g));
}

TEST(Ident, SplitSchemeKeepsTheSeparator) {
    using pair = std::pair<std::string, std::string>;
    EXPECT_EQ(pair("port", ":x"), nubase::split_scheme("port:x", ':'));
    EXPECT_EQ(pair("port", ""), nubase::split_scheme("port", ':'));
    EXPECT_EQ(pair("", ":"), nubase::split_scheme(":", ':'));
}

}  // namespace
