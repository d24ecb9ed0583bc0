// Tokenizers, joiners, key-value strings and replacement tables. Expected values are worked by
// hand from the rules in nubase/strutil.hpp.
#include "nubase/strutil.hpp"

#include <gtest/gtest.h>

#include <list>
#include <string>
#include <vector>

namespace {

using namespace std::string_literals;
using pieces = std::vector<std::string>;
namespace su = nubase::strutil;

TEST(Strutil, TokenizeOneSeparator) {
    struct row {
        std::string s;
        pieces kept, skipped;
    };
    const row l_rows[] = {
        {"a!!b", {"a", "", "b"}, {"a", "b"}},
        {"", {""}, {}},
        {"!", {"", ""}, {}},
        {"a!", {"a", ""}, {"a"}},
        {"!a", {"", "a"}, {"a"}},
        {"abc", {"abc"}, {"abc"}},
        {"a\0!b"s, {"a\0"s, "b"}, {"a\0"s, "b"}},
    };
    for (const auto& l_r : l_rows) {
        SCOPED_TRACE(l_r.s);
        pieces l_kept, l_skipped;
        su::tokenize_string(l_r.s, '!', l_kept, true);
        su::tokenize_string(l_r.s, '!', l_skipped, false);
        EXPECT_EQ(l_r.kept, l_kept);
        EXPECT_EQ(l_r.skipped, l_skipped);
    }
    pieces l_out = {"old"};
    su::tokenize_string("x,y", ',', l_out, true);
    EXPECT_EQ((pieces{"old", "x", "y"}), l_out) << "pieces are appended, never cleared";
}

TEST(Strutil, LineBreakingTakesTheNearerSeparator) {
    struct row {
        std::string s;
        unsigned width;
        pieces expected;
    };
    const row l_rows[] = {
        {"aaaa bbbb cccc dddd", 10, {"aaaa bbbb", "cccc dddd"}},
        // Equal distance (2 back, 2 ahead): the earlier separator wins.
        {"ab cde fg", 4, {"ab", "cde", "fg"}},
        // One ahead beats two back.
        {"abc de fg", 5, {"abc de", "fg"}},
        {"abcd efgh", 4, {"abcd", "efgh"}},
        // Only a separator beyond the width: the line is longer than the width.
        {"abcdef ghij", 3, {"abcdef", "ghij"}},
        {"a bcdefgh", 4, {"a", "bcdefgh"}},
        {"abcdefghij", 3, {"abcdefghij"}},
        {"abc", 3, {"abc"}},
        {"", 5, {""}},
        {"a  b", 1, {"a", "", "b"}},
        {"a b", 0, {"a", "b"}},
        {"  ", 0, {"", "", ""}},
    };
    for (const auto& l_r : l_rows) {
        SCOPED_TRACE(l_r.s + " / " + std::to_string(l_r.width));
        pieces l_out;
        su::tokenize_string(l_r.s, ' ', l_r.width, l_out);
        EXPECT_EQ(l_r.expected, l_out);
    }
    // A plain int width picks the line-breaking form, not the quote form.
    pieces l_out;
    su::tokenize_string("aaaa bbbb cccc dddd", ' ', 10, l_out);
    EXPECT_EQ((pieces{"aaaa bbbb", "cccc dddd"}), l_out);
}

TEST(Strutil, QuotesAndBracketsProtectSeparators) {
    struct row {
        std::string s;
        pieces expected;
    };
    const row l_quoted[] = {
        {"a,\"b,c\",d", {"a", "\"b,c\"", "d"}},
        {"", {""}},
        {",", {"", ""}},
        {"a,\"b,c", {"a", "\"b,c"}},
        {"\"\",x", {"\"\"", "x"}},
        {"a,b\0,c"s, {"a", "b"}},
    };
    for (const auto& l_r : l_quoted) {
        SCOPED_TRACE(l_r.s);
        pieces l_out;
        su::tokenize_string(l_r.s, ',', '"', l_out);
        EXPECT_EQ(l_r.expected, l_out);
    }
    pieces l_same;
    su::tokenize_string("a,b", ',', ',', l_same);
    EXPECT_EQ(pieces{"a,b"}, l_same) << "a byte that is both counts as a quote";

    const row l_bracketed[] = {
        {"f(a,b),c", {"f(a,b)", "c"}},
        {"g(f(a,b),c),d", {"g(f(a,b),c)", "d"}},
        // Unmatched closers are ignored at depth zero; the depth never goes negative.
        {"a),b", {"a)", "b"}},
        {"(a)),b", {"(a))", "b"}},
        {"),(x,y)", {")", "(x,y)"}},
        {"(a,b", {"(a,b"}},
        {",,", {"", "", ""}},
        {"(a\0,b),c"s, {"(a"}},
    };
    for (const auto& l_r : l_bracketed) {
        SCOPED_TRACE(l_r.s);
        pieces l_out;
        su::tokenize_string(l_r.s, ',', '(', ')', l_out);
        EXPECT_EQ(l_r.expected, l_out);
    }
}

TEST(Strutil, TokenizeAtAnyDelimiter) {
    struct row {
        std::string s, delimiters;
        pieces expected;
    };
    const row l_rows[] = {
        {"a,b;c", ",;", {"a", "b", "c"}},
        {",;", ",;", {"", "", ""}},
        {"", ",", {""}},
        {"a,b", "", {"a,b"}},
        {"a\0b\xFF"s
         "c",
         "\0\xFF"s,
         {"a", "b", "c"}},
    };
    for (const auto& l_r : l_rows) {
        SCOPED_TRACE(l_r.s);
        pieces l_out;
        su::tokenize(l_r.s, l_r.delimiters, l_out);
        EXPECT_EQ(l_r.expected, l_out);
    }
}

TEST(Strutil, JoinAppendsWithSeparators) {
    const pieces l_xyz = {"x", "y", "z"};
    const std::list<std::string> l_list(l_xyz.begin(), l_xyz.end());
    std::string l_out;
    su::join_strings(l_xyz, '\0', l_out);
    EXPECT_EQ("xyz", l_out);
    l_out.clear();
    su::join_strings(l_xyz, ',', l_out);
    EXPECT_EQ("x,y,z", l_out);
    l_out = "p:";
    su::join_strings(l_list, '/', l_out);
    EXPECT_EQ("p:x/y/z", l_out);
    su::join_strings(pieces{}, ',', l_out);
    su::join_strings(std::list<std::string>{}, ',', l_out);
    su::join_strings(pieces{}, "--", l_out);
    EXPECT_EQ("p:x/y/z", l_out) << "empty lists leave the output alone";
    l_out.clear();
    su::join_strings(l_xyz, ", ", l_out);
    EXPECT_EQ("x, y, z", l_out);
    l_out.clear();
    su::join_strings(pieces{"", ""}, "", l_out);
    su::join_strings(pieces{"", ""}, ':', l_out);
    EXPECT_EQ(":", l_out);
    // The output may be one of the pieces or the separator itself.
    pieces l_self = {"a", "b"};
    su::join_strings(l_self, '+', l_self[0]);
    EXPECT_EQ("aa+b", l_self[0]);
    l_out = "-";
    su::join_strings(l_xyz, l_out, l_out);
    EXPECT_EQ("-x-y-z", l_out);
}

TEST(Strutil, KvmapLastOccurrenceWinsAndEmptyKeysStay) {
    struct row {
        std::string s;
        nubase::kvmap expected;
    };
    const row l_rows[] = {
        {"a=1&b&c=3=4", {{"a", "1"}, {"b", ""}, {"c", "3=4"}}},
        {"a=1&a=2", {{"a", "2"}}},
        {"a=1&b=2&a=", {{"a", ""}, {"b", "2"}}},
        {"", {}},
        {"&", {{"", ""}}},
        {"a=1&", {{"", ""}, {"a", "1"}}},
        {"&&a", {{"", ""}, {"a", ""}}},
        {"=v", {{"", "v"}}},
        {"a=", {{"a", ""}}},
        {"a=1&=2", {{"", "2"}, {"a", "1"}}},
        {"k", {{"k", ""}}},
    };
    for (const auto& l_r : l_rows) {
        SCOPED_TRACE(l_r.s);
        EXPECT_EQ(l_r.expected, su::kvmap_with_kvstr(l_r.s, '&', '='));
    }
    nubase::kvmap l_out = {{"a", "old"}, {"z", "kept"}};
    su::kvmap_with_kvstr(l_out, "a=new;b:x", ';', ':');
    EXPECT_EQ((nubase::kvmap{{"a=new", ""}, {"a", "old"}, {"b", "x"}, {"z", "kept"}}), l_out);
}

TEST(Strutil, KvstrWritesBareKeysAndNoEscapes) {
    struct row {
        nubase::kvmap map;
        std::string prefix, expected;
    };
    const row l_rows[] = {
        {{{"a", "1"}, {"b", ""}}, "", "a=1&b"},
        {{{"b", "2"}, {"a", "1"}}, "", "a=1&b=2"},
        {{{"", "x"}, {"a", "1"}}, "", "=x&a=1"},
        {{{"", "x"}}, "p", "p=x"},
        {{{"", ""}}, "", ""},
        {{{"a", "1"}}, "p", "p&a=1"},
        {{}, "p", "p"},
    };
    for (const auto& l_r : l_rows) {
        SCOPED_TRACE(l_r.expected);
        std::string l_out = l_r.prefix;
        su::kvstr_with_kvmap(l_out, l_r.map, '&', '=');
        EXPECT_EQ(l_r.expected, l_out);
        if (l_r.prefix.empty()) {
            EXPECT_EQ(l_r.expected, su::kvstr_with_kvmap(l_r.map, '&', '='));
        }
    }
    const nubase::kvmap l_clean = {{"a", "1"}, {"b", ""}, {"c", "x y"}};
    EXPECT_EQ(l_clean, su::kvmap_with_kvstr(su::kvstr_with_kvmap(l_clean, '&', '='), '&', '='));
}

TEST(Strutil, ReplacementTables) {
    const std::map<char, std::string> l_html = {{'<', "&lt;"}, {'>', "&gt;"}, {'&', "&amp;"}};
    EXPECT_EQ("a&lt;b&amp;c", su::string_replaced("a<b&c", l_html));
    EXPECT_EQ("plain", su::string_replaced("plain", l_html));
    EXPECT_EQ("", su::string_replaced("", l_html));
    // Replacement text is not scanned again.
    EXPECT_EQ("ba", su::string_replaced("ab", std::map<char, std::string>{{'a', "b"}, {'b', "a"}}));
    EXPECT_EQ("\xFF\xFFx",
              su::string_replaced("\0x"s, std::map<char, std::string>{{'\0', "\xFF\xFF"}}));
    std::string l_s = "1<2";
    EXPECT_EQ(&l_s, &su::replace(l_s, l_html));
    EXPECT_EQ("1&lt;2", l_s);

    // String tables apply in key order, each over the result of the ones before.
    const std::map<std::string, std::string> l_chain = {{"a", "b"}, {"b", "c"}};
    EXPECT_EQ("cc", su::string_replaced("ab", l_chain));
    const std::map<std::string, std::string> l_back = {{"b", "a"}, {"a", "x"}};
    EXPECT_EQ("xa", su::string_replaced("ab", l_back));
    const std::map<std::string, std::string> l_empty_key = {{"", "z"}, {"ab", "A"}};
    l_s = "abab";
    su::replace(l_s, l_empty_key);
    EXPECT_EQ("AA", l_s);
}

TEST(Strutil, BufferToString) {
    const unsigned char l_bytes[] = {'a', 0, 0xFF, 'b'};
    const nubase::buffer l_b(4ULL, l_bytes);
    EXPECT_EQ(
        "a\0\xFF"
        "b"s,
        su::buffer_to_string(l_b));
    std::string l_out = "previous text";
    EXPECT_EQ(&l_out, &su::buffer_to_string(l_out, l_b));
    EXPECT_EQ(
        "a\0\xFF"
        "b"s,
        l_out);
    EXPECT_EQ("", su::buffer_to_string(l_out, nubase::buffer(0ULL)));
}

}  // namespace
